#pragma once
// The velocityfield item of a filter chain: its settings, animated values and text form.
#include "filter/FilterWithParameter_cls.h"
#include "filter/PovVelFieldData_cls.h"

#include <string>
#include <vector>

/// Velocity-field item (chain type 18, "VelocityField"): arrows of the velocity held in three data
/// slots, with alpha and length animated.
/// Drawing and export read its settings and values; the item itself keeps them and its text.
class PovVelField_cls : public FilterWithParameter_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 18;
    /// Name of the key-framed set.
    static const wchar_t* const msParamSetName;
    /// Number of animated values.
    static constexpr int kParamNum = 2;

    /// Default settings and values; `owner` may be null outside a chain.
    explicit PovVelField_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    /// Settings lines followed by the key-framed set.
    std::wstring SerializeConf() const override;
    /// "VelField::" + the values in use + the settings that change the result.
    std::wstring GetFilterStatusStr() const override;

    PovVelFieldData_cls& GetData() { return mCData; }
    /// Animated value i in use (0 beyond the set).
    double GetValue(int i) const { return i >= 0 && i < kParamNum ? mdValue[i] : 0.0; }

  protected:
    void ApplyParameterValues(const double* values) override;

  private:
    PovVelFieldData_cls mCData;
    double mdValue[kParamNum];
};
