#include "filter/MorphOpenCloseData_cls.h"

MorphOpenCloseData_cls::MorphOpenCloseData_cls() : FilterData_cls(L"Morph Filter")
{
    // A freshly added filter does the smallest visible thing: a dilation by a radius-1 ball.
    mCConfList.Add(&miType, L"MorphOpenCloseType=", L"0");
    mCConfList.Add(&miKernelType, L"MorphOpenCloseKernelType=", L"0");
    mCConfList.Add(&miKernelSize, L"MorphOpenCloseKernelSize=", L"1");
    mCConfList.Add(&mviAsymSize, L"MorphOpenCloseAsymSize=", L"1 1 1");
}
