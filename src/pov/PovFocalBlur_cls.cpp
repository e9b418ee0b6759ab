#include "pov/PovFocalBlur_cls.h"

#include "config/TextFormat.h"

PovFocalBlur_cls::PovFocalBlur_cls()
{
    AddItem(&mbOn, L"PovFocalBlur=", L"0");
    AddItem(&mfAperture, L"PovFocalAperture=", L"0.1");
    AddItem(&muSamples, L"PovFocalBlurSamples=", L"20");
    AddItem(&mCFocalPoint, L"PovFocalPoint=", L"0 0 0");
}

std::wstring PovFocalBlur_cls::GetPovStr() const
{
    if (!IsOn())
        return L"";
    return WStrPrintf("\taperture %g\n\tblur_samples %u\n\tfocal_point <%g,%g,%g>\n",
                      static_cast<double>(mfAperture.Get()), muSamples.Get() < 1 ? 1u : muSamples.Get(),
                      static_cast<double>(mCFocalPoint.Get(0)), static_cast<double>(mCFocalPoint.Get(1)),
                      -static_cast<double>(mCFocalPoint.Get(2)));
}
