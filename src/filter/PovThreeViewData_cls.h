#pragma once
// Settings of the three-view item that are not animated.
#include "filter/FilterData_cls.h"

class PovThreeViewData_cls : public FilterData_cls
{
  public:
    PovThreeViewData_cls() : FilterData_cls(L"Three-view")
    {
        mCConfList.Add(&miColorIndex, L"ThreeViewColorIndex=", L"1");
        mCConfList.Add(&mvbShow, L"ThreeViewShow=", L"1 1 1");
    }

    /// Colour index of the three planes.
    ConfItemINT_cls miColorIndex;
    /// Which of the planes across x, y and z are shown.
    ConfItemBOOLARRAY_cls mvbShow;
};
