#pragma once
// The streamline item of a filter chain: its settings, animated values and text form.
#include "filter/FilterWithParameter_cls.h"
#include "filter/PovStreamLineData_cls.h"

#include <string>
#include <vector>

/// Stream-line item (chain type 17, "Streamline"): lines along the velocity held in three data slots,
/// with line alpha, point alpha and point size animated.
/// Drawing and export read its settings and values; the item itself keeps them and its text.
class PovStreamLine_cls : public FilterWithParameter_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 17;
    /// Name of the key-framed set.
    static const wchar_t* const msParamSetName;
    /// Number of animated values.
    static constexpr int kParamNum = 3;

    /// Default settings and values; `owner` may be null outside a chain.
    explicit PovStreamLine_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    /// Settings lines followed by the key-framed set.
    std::wstring SerializeConf() const override;
    /// "StreamLine::" + the values in use + the settings that change the result.
    std::wstring GetFilterStatusStr() const override;

    PovStreamLineData_cls& GetData() { return mCData; }
    /// Animated value i in use (0 beyond the set).
    double GetValue(int i) const { return i >= 0 && i < kParamNum ? mdValue[i] : 0.0; }

  protected:
    void ApplyParameterValues(const double* values) override;

  private:
    PovStreamLineData_cls mCData;
    double mdValue[kParamNum];
};
