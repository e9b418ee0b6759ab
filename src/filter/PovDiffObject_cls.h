#pragma once
// The diffobject item of a filter chain: its settings, animated values and text form.
#include "filter/FilterWithParameter_cls.h"
#include "filter/PovDiffObjectData_cls.h"

#include <string>
#include <vector>

/// Difference-object item (chain type 14, "DiffObject"): a primitive cut out of the exported volume
/// (position, scale and rotations animated).
/// Drawing and export read its settings and values; the item itself keeps them and its text.
class PovDiffObject_cls : public FilterWithParameter_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 14;
    /// Name of the key-framed set.
    static const wchar_t* const msParamSetName;
    /// Number of animated values.
    static constexpr int kParamNum = 10;

    /// Default settings and values; `owner` may be null outside a chain.
    explicit PovDiffObject_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    /// Settings lines followed by the key-framed set.
    std::wstring SerializeConf() const override;
    /// "PovDiffObject::" + the values in use + the settings that change the result.
    std::wstring GetFilterStatusStr() const override;

    PovDiffObjectData_cls& GetData() { return mCData; }
    /// Animated value i in use (0 beyond the set).
    double GetValue(int i) const { return i >= 0 && i < kParamNum ? mdValue[i] : 0.0; }

  protected:
    void ApplyParameterValues(const double* values) override;

  private:
    PovDiffObjectData_cls mCData;
    double mdValue[kParamNum];
};
