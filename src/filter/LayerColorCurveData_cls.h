#pragma once
// Settings of the density curve that are not animated: how the curve runs between its points.
#include "filter/FilterData_cls.h"

class LayerColorCurveData_cls : public FilterData_cls
{
  public:
    LayerColorCurveData_cls() : FilterData_cls(L"Density Curve")
    {
        mCConfList.Add(&miInterpolation, L"DensityCurveInterpolation=", L"0");
    }

    /// 0: straight segments between the points; 1: each segment an S-curve (flat at both points).
    ConfItemINT_cls miInterpolation;
};
