#pragma once
// Settings of the cross-section item that are not animated.
#include "filter/FilterData_cls.h"

class PovCrossSectionData_cls : public FilterData_cls
{
  public:
    PovCrossSectionData_cls() : FilterData_cls(L"Cross-section")
    {
        mCConfList.Add(&miAxis, L"CrossSectionAxis=", L"2");
        mCConfList.Add(&miColorIndex, L"CrossSectionColorIndex=", L"1");
    }

    /// Axis the section is perpendicular to: 0 x, 1 y, 2 z.
    ConfItemINT_cls miAxis;
    /// Colour index of the section (0 white, 1..9 layer palettes, 10.. custom maps).
    ConfItemINT_cls miColorIndex;
};
