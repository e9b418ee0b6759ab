#pragma once
// The cross-section item of a filter chain: its settings, animated values and text form.
#include "filter/FilterOutput_cls.h"
#include "filter/PovCrossSectionData_cls.h"

#include <string>
#include <vector>

/// Cross-section item (chain type 11, "Cross-section"): a plane of the data at its place in the chain, across
/// the chosen axis at the animated "Z layer", drawn with "Emboss", "Alpha" and the threshold "Crit".
/// Drawing and export read its settings and values; the item itself keeps them and its text.
class PovCrossSection_cls : public FilterOutput_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 11;
    /// Name of the key-framed set.
    static const wchar_t* const msParamSetName;
    /// Number of animated values.
    static constexpr int kParamNum = 4;

    /// Default settings and values; `owner` may be null outside a chain.
    explicit PovCrossSection_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    /// Settings lines followed by the key-framed set.
    std::wstring SerializeConf() const override;
    /// "CrossSection::" + the values in use + the settings that change the result.
    std::wstring GetFilterStatusStr() const override;

    PovCrossSectionData_cls& GetData() { return mCData; }
    /// Animated value i in use (0 beyond the set).
    double GetValue(int i) const { return i >= 0 && i < kParamNum ? mdValue[i] : 0.0; }
    /// The plane at the layer in use (see FilterOutput_cls::GetSection); false without data.
    bool GetCurrentSection(std::vector<unsigned char>& plane, unsigned& width, unsigned& height) const;

  protected:
    void ApplyParameterValues(const double* values) override;

  private:
    PovCrossSectionData_cls mCData;
    double mdValue[kParamNum];
};
