#pragma once
// Settings of the object item that are not animated.
#include "filter/FilterData_cls.h"

class PovObjectData_cls : public FilterData_cls
{
  public:
    PovObjectData_cls() : FilterData_cls(L"Object")
    {
        mCConfList.Add(&miShape, L"PovObjectShape=", L"0");
        mCConfList.Add(&mvfColor, L"PovObjectColor=", L"1 1 1");
    }

    /// Shape: 0 sphere, 1 box, 2 cylinder, 3 cone, 4 torus.
    ConfItemINT_cls miShape;
    /// Colour (red, green, blue in 0..1).
    ConfItemFLOATARRAY_cls mvfColor;
};
