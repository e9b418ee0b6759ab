#include "pov/PovRadiosity_cls.h"

#include "config/TextFormat.h"

PovRadiosity_cls::PovRadiosity_cls()
{
    AddItem(&mbOn, L"PovRadiosity=", L"0");
    AddItem(&muCount, L"PovRadiosityCount=", L"35");
    AddItem(&mfErrorBound, L"PovRadiosityErrorBound=", L"1.8");
    AddItem(&muRecursion, L"PovRadiosityRecursion=", L"1");
    AddItem(&mfBrightness, L"PovRadiosityBrightness=", L"1");
}

std::wstring PovRadiosity_cls::GetPovStr() const
{
    if (!IsOn())
        return L"";
    return WStrPrintf(
        "\tradiosity {\n\t\tcount %u\n\t\terror_bound %g\n\t\trecursion_limit %u\n\t\tbrightness %g\n\t}\n",
        muCount.Get() < 1 ? 1u : muCount.Get(), static_cast<double>(mfErrorBound.Get()),
        muRecursion.Get() < 1 ? 1u : muRecursion.Get(), static_cast<double>(mfBrightness.Get()));
}

std::wstring PovRadiosity_cls::GetIniText() const
{
    return IsOn() ? L"Radiosity_Vain_Pretrace=On\n" : L"";
}
