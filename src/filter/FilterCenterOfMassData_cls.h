#pragma once
// Settings of the centre-of-mass tracker.
#include "filter/FilterData_cls.h"

class FilterCenterOfMassData_cls : public FilterData_cls
{
  public:
    FilterCenterOfMassData_cls() : FilterData_cls(L"CenterOfMass")
    {
        mCConfList.Add(&mfThreshold, L"CenterOfMassThreshold=", L"0");
        mCConfList.Add(&mfMarkerSize, L"CenterOfMassMarkerSize=", L"0.02");
        mCConfList.Add(&mvfMarkerColor, L"CenterOfMassMarkerColor=", L"1 0 0");
    }

    /// Normalised density a voxel must exceed to count (0: every non-empty voxel).
    ConfItemFLOAT_cls mfThreshold;
    /// Radius of the marker, as a fraction of the data box's largest extent.
    ConfItemFLOAT_cls mfMarkerSize;
    /// Colour of the marker (red, green, blue in 0..1).
    ConfItemFLOATARRAY_cls mvfMarkerColor;
};
