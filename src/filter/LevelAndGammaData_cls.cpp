#include "filter/LevelAndGammaData_cls.h"

LevelAndGammaData_cls::LevelAndGammaData_cls() : FilterData_cls(L"Level Gamma")
{
    mCConfList.Add(&mbLevelSmooth, L"FilterLevelSmooth", L"");
}
