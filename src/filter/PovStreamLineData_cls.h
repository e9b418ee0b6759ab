#pragma once
// Settings of the stream-line item that are not animated.
#include "filter/FilterData_cls.h"

class PovStreamLineData_cls : public FilterData_cls
{
  public:
    PovStreamLineData_cls() : FilterData_cls(L"Streamline")
    {
        mCConfList.Add(&miSeedNumber, L"StreamLineSeedNumber=", L"64");
        mCConfList.Add(&mfStepLength, L"StreamLineStepLength=", L"0.5");
        mCConfList.Add(&mviSlot, L"StreamLineSlot=", L"1 2 3");
    }

    /// Number of seed points.
    ConfItemINT_cls miSeedNumber;
    /// Integration step, voxels.
    ConfItemFLOAT_cls mfStepLength;
    /// Data slots holding the x, y and z velocity components.
    ConfItemINTARRAY_cls mviSlot;
};
