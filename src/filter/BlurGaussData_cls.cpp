#include "filter/BlurGaussData_cls.h"

BlurGaussData_cls::BlurGaussData_cls() : FilterData_cls(L"Gauss Blur")
{
    mCConfList.Add(&muKernelType, L"GaussBlurKernelType=", L"0");
    mCConfList.Add(&mfKernelSize, L"GaussBlurKernelSize=", L"0");
    // The key's spelling is the one existing project files carry.
    mCConfList.Add(&mvfAssymSize, L"GaussBlurAssymSize=", L"0 0 0");
    mCConfList.Add(&mbFloatVariant, L"GaussBlurFloat=", L"0");
}

float BlurGaussData_cls::GetAxisValue(int axis) const
{
    if (muKernelType.Get() == 0)
        return mfKernelSize.Get();
    return mvfAssymSize.Get(axis);
}
