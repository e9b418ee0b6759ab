#pragma once
// The volume item of a filter chain: its settings, animated values and text form.
#include "filter/FilterWithParameter_cls.h"
#include "filter/PovVolumeData_cls.h"

#include <string>
#include <vector>

/// Volume item (chain type 4, "Volume"): marks the place in the chain whose data is drawn in the
/// preview and exported as media; the chain copies the data into the frame's processed buffer here.
/// Drawing and export read its settings and values; the item itself keeps them and its text.
class PovVolume_cls : public FilterWithParameter_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 4;
    /// Name of the key-framed set.
    static const wchar_t* const msParamSetName;
    /// Number of animated values.
    static constexpr int kParamNum = 1;

    /// Default settings and values; `owner` may be null outside a chain.
    explicit PovVolume_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    /// Settings lines followed by the key-framed set.
    std::wstring SerializeConf() const override;
    /// "BaseAlpha::" + the values in use + the settings that change the result.
    std::wstring GetFilterStatusStr() const override;

    PovVolumeData_cls& GetData() { return mCData; }
    /// Animated value i in use (0 beyond the set).
    double GetValue(int i) const { return i >= 0 && i < kParamNum ? mdValue[i] : 0.0; }
    /// Animated value i in use ("Alpha").
    double GetVolumeParameter(int i) const { return GetValue(i); }

  protected:
    void ApplyParameterValues(const double* values) override;

  private:
    PovVolumeData_cls mCData;
    double mdValue[kParamNum];
};
