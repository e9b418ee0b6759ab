#pragma once
// Settings of the level-and-gamma filter that are not animated: the smooth input window.
#include "filter/FilterData_cls.h"

class LevelAndGammaData_cls : public FilterData_cls
{
  public:
    LevelAndGammaData_cls();

    /// Smooth (error-function shaped) input window instead of the linear ramp. Its key has no
    /// "=" (existing files carry the 0 or 1 right after the key).
    ConfItemBOOL_cls mbLevelSmooth;
};
