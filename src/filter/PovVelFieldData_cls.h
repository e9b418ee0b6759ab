#pragma once
// Settings of the velocity-field item that are not animated.
#include "filter/FilterData_cls.h"

class PovVelFieldData_cls : public FilterData_cls
{
  public:
    PovVelFieldData_cls() : FilterData_cls(L"VelocityField")
    {
        mCConfList.Add(&miStride, L"VelFieldStride=", L"8");
        mCConfList.Add(&mviSlot, L"VelFieldSlot=", L"1 2 3");
    }

    /// One arrow every this many voxels along each axis.
    ConfItemINT_cls miStride;
    /// Data slots holding the x, y and z velocity components.
    ConfItemINTARRAY_cls mviSlot;
};
