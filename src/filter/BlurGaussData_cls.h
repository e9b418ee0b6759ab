#pragma once
// Settings of the Gaussian blur: the kernel type and the kernel values.
#include "filter/FilterData_cls.h"

class BlurGaussData_cls : public FilterData_cls
{
  public:
    BlurGaussData_cls();

    /// 0: one kernel value for all three axes; any other value: one value per axis.
    ConfItemUINT_cls muKernelType;
    /// The kernel value (a variance, in voxels squared) used for every axis when the type is 0.
    ConfItemFLOAT_cls mfKernelSize;
    /// The kernel values for x, y and z when the type is not 0.
    ConfItemFLOATARRAY_cls mvfAssymSize;

    /// The float variant (passes hand floats to each other) instead of the byte variant; the
    /// chain passes it to ProcessXYZData.
    ConfItemBOOL_cls mbFloatVariant;

    /// The kernel value in use for axis 0 (x), 1 (y) or 2 (z).
    float GetAxisValue(int axis) const;
};
