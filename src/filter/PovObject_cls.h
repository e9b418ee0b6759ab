#pragma once
// The object item of a filter chain: its settings, animated values and text form.
#include "filter/FilterOutput_cls.h"
#include "filter/PovObjectData_cls.h"

#include <string>
#include <vector>

/// Object item (chain type 12, "Object"): a primitive placed in the data box (position, scale, yaw,
/// pitch, roll, second yaw, alpha animated); it sees the data at its place to sample the density there.
/// Drawing and export read its settings and values; the item itself keeps them and its text.
class PovObject_cls : public FilterOutput_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 12;
    /// Name of the key-framed set.
    static const wchar_t* const msParamSetName;
    /// Number of animated values.
    static constexpr int kParamNum = 11;

    /// Default settings and values; `owner` may be null outside a chain.
    explicit PovObject_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    /// Settings lines followed by the key-framed set.
    std::wstring SerializeConf() const override;
    /// "PovObject::" + the values in use + the settings that change the result.
    std::wstring GetFilterStatusStr() const override;

    PovObjectData_cls& GetData() { return mCData; }
    /// Animated value i in use (0 beyond the set).
    double GetValue(int i) const { return i >= 0 && i < kParamNum ? mdValue[i] : 0.0; }
    /// The voxel value at the object's position in the data copy (0 without data).
    int GetDensityAtPosition() const;

  protected:
    void ApplyParameterValues(const double* values) override;

  private:
    PovObjectData_cls mCData;
    double mdValue[kParamNum];
};
