#include "filter/PovCrossSection_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <cmath>

const wchar_t* const PovCrossSection_cls::msParamSetName = L"CrossSection";

namespace
{
const double kDefault[4] = {0.5, 0.0, 1.0, 0.0};
}

PovCrossSection_cls::PovCrossSection_cls(FilterCtrl_cls* owner) : FilterOutput_cls(kParamNum, msParamSetName, kDefault)
{
    ConstructorCommon(owner, L"Cross-section", kTypeCode);
    std::copy(kDefault, kDefault + kParamNum, mdValue);
}

void PovCrossSection_cls::ApplyParameterValues(const double* values)
{
    std::copy(values, values + kParamNum, mdValue);
}

std::wstring PovCrossSection_cls::SerializeConf() const
{
    return mCData.SerializeConf() + GetParameters().Serialize();
}

std::wstring PovCrossSection_cls::GetFilterStatusStr() const
{
    std::wstring s = L"CrossSection::";
    for (double v : mdValue)
        s += WStrPrintf("%.17g ", v);
    return s + GetSettingsStatusStr();
}

bool PovCrossSection_cls::GetCurrentSection(std::vector<unsigned char>& plane, unsigned& width, unsigned& height) const
{
    return GetSection(mCData.miAxis.Get(), GetValue(0), plane, width, height);
}
