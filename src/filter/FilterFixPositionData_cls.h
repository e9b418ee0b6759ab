#pragma once
// Settings of the fix-position tracker.
#include "filter/FilterData_cls.h"

class FilterFixPositionData_cls : public FilterData_cls
{
  public:
    FilterFixPositionData_cls() : FilterData_cls(L"FixPosition")
    {
        mCConfList.Add(&mfThreshold, L"FixPositionThreshold=", L"0.5");
        mCConfList.Add(&miReferenceFrame, L"FixPositionReferenceFrame=", L"0");
        mCConfList.Add(&mvbAxis, L"FixPositionAxis=", L"1 1 1");
    }

    /// Normalised density above which a voxel belongs to the tracked feature.
    ConfItemFLOAT_cls mfThreshold;
    /// The data frame whose feature position the others are moved to.
    ConfItemINT_cls miReferenceFrame;
    /// Which axes (x, y, z) are held in place.
    ConfItemBOOLARRAY_cls mvbAxis;
};
