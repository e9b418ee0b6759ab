#pragma once
// Settings of the volume item that are not animated.
#include "filter/FilterData_cls.h"

class PovVolumeData_cls : public FilterData_cls
{
  public:
    PovVolumeData_cls() : FilterData_cls(L"Volume")
    {
        mCConfList.Add(&miColorIndex, L"VolumeColorIndex=", L"1");
        mCConfList.Add(&miDataType, L"VolumeDataType=", L"0");
        mCConfList.Add(&miIntervals, L"VolumeIntervals=", L"10");
    }

    /// Colour index of the volume (0 white, 1..9 layer palettes, 10.. custom maps).
    ConfItemINT_cls miColorIndex;
    /// How the density is used: 0 emission, 1 absorption, 2 both.
    ConfItemINT_cls miDataType;
    /// Sampling intervals of the exported media.
    ConfItemINT_cls miIntervals;
};
