#pragma once
// Settings of the fog item.
#include "filter/FilterData_cls.h"

class PovFogData_cls : public FilterData_cls
{
  public:
    PovFogData_cls() : FilterData_cls(L"Fog")
    {
        mCConfList.Add(&mfDistance, L"FogDistance=", L"0.5");
        mCConfList.Add(&mvfColor, L"FogColor=", L"1 1 1");
        mCConfList.Add(&mStrTarget, L"FogTarget=", L"");
    }

    /// Distance at which the fog hides 63 % of what lies behind it, in box units.
    ConfItemFLOAT_cls mfDistance;
    /// Fog colour (red, green, blue in 0..1).
    ConfItemFLOATARRAY_cls mvfColor;
    /// Tag of the volume item the fog belongs to (empty: the scene).
    ConfItemSTR_cls mStrTarget;
};
