#pragma once
// The clipping box: a key-framed box (fractions of the data box) that limits what the items
// after it in the chain draw and export.
#include "filter/FilterClippingData_cls.h"
#include "filter/FilterWithParameter_cls.h"

#include <string>

/// Clipping item (chain type 3, "Clipping", block "--ClipBox"), animated set "Clipping" with
/// "minX" ... "maxZ". It leaves the voxels alone; drawing and export ask the chain for the box.
class FilterClipping_cls : public FilterWithParameter_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 3;
    /// Name of the key-framed set.
    static const wchar_t* const msParamSetName;

    /// The whole data box (0, 0, 0) - (1, 1, 1); `owner` may be null outside a chain.
    explicit FilterClipping_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    std::wstring SerializeConf() const override;
    /// "ClipBox::" + the box in use.
    std::wstring GetFilterStatusStr() const override;
    /// The box in use (min corner, max corner); false when switched off.
    bool GetClippingInformation(double* boxMin, double* boxMax) const override;

    FilterClippingData_cls& GetData() { return mCData; }
    /// True when the box in use holds no volume (some min not below its max).
    bool IsClippingEmpty() const;

  protected:
    void ApplyParameterValues(const double* values) override;

  private:
    FilterClippingData_cls mCData;
    double mdBox[6] = {0.0, 0.0, 0.0, 1.0, 1.0, 1.0};
};
