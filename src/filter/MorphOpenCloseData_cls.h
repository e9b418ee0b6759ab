#pragma once
// Settings of the morphological filter: the operation and the structuring element.
#include "filter/FilterData_cls.h"

class MorphOpenCloseData_cls : public FilterData_cls
{
  public:
    MorphOpenCloseData_cls();

    /// Operation code 0..5 (dilation, erosion, opening, closing, EEDD, DDEE); 6 and above: none.
    ConfItemINT_cls miType;
    /// Element shape: 0 sphere, 1 ellipsoid; any other value keeps the element last used.
    ConfItemINT_cls miKernelType;
    /// Radius of the sphere in voxels (0..12).
    ConfItemINT_cls miKernelSize;
    /// Radii of the ellipsoid along x, y and z (0..12 each).
    ConfItemINTARRAY_cls mviAsymSize;
};
