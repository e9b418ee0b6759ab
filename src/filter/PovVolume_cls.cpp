#include "filter/PovVolume_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <cmath>

const wchar_t* const PovVolume_cls::msParamSetName = L"BaseAlpha";

namespace
{
const double kDefault[1] = {1.0};
}

PovVolume_cls::PovVolume_cls(FilterCtrl_cls* owner) : FilterWithParameter_cls(kParamNum, msParamSetName, kDefault)
{
    ConstructorCommon(owner, L"Volume", kTypeCode);
    std::copy(kDefault, kDefault + kParamNum, mdValue);
}

void PovVolume_cls::ApplyParameterValues(const double* values)
{
    std::copy(values, values + kParamNum, mdValue);
}

std::wstring PovVolume_cls::SerializeConf() const
{
    return mCData.SerializeConf() + GetParameters().Serialize();
}

std::wstring PovVolume_cls::GetFilterStatusStr() const
{
    std::wstring s = L"BaseAlpha::";
    for (double v : mdValue)
        s += WStrPrintf("%.17g ", v);
    return s + GetSettingsStatusStr();
}
