#pragma once
// The three-view item of a filter chain: its settings, animated values and text form.
#include "filter/FilterOutput_cls.h"
#include "filter/PovThreeViewData_cls.h"

#include <string>
#include <vector>

/// Three-view item (chain type 16, "Three-view"): the three planes through the animated point
/// ("LayerX", "LayerY", "LayerZ") of the data at its place in the chain.
/// Drawing and export read its settings and values; the item itself keeps them and its text.
class PovThreeView_cls : public FilterOutput_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 16;
    /// Name of the key-framed set.
    static const wchar_t* const msParamSetName;
    /// Number of animated values.
    static constexpr int kParamNum = 6;

    /// Default settings and values; `owner` may be null outside a chain.
    explicit PovThreeView_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    /// Settings lines followed by the key-framed set.
    std::wstring SerializeConf() const override;
    /// "ThreeView::" + the values in use + the settings that change the result.
    std::wstring GetFilterStatusStr() const override;

    PovThreeViewData_cls& GetData() { return mCData; }
    /// Animated value i in use (0 beyond the set).
    double GetValue(int i) const { return i >= 0 && i < kParamNum ? mdValue[i] : 0.0; }
    /// The plane across `axis` at its layer in use; false without data.
    bool GetCurrentSection(int axis, std::vector<unsigned char>& plane, unsigned& width, unsigned& height) const;

  protected:
    void ApplyParameterValues(const double* values) override;

  private:
    PovThreeViewData_cls mCData;
    double mdValue[kParamNum];
};
