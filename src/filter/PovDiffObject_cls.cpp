#include "filter/PovDiffObject_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <cmath>

const wchar_t* const PovDiffObject_cls::msParamSetName = L"PovDiffObject";

namespace
{
const double kDefault[10] = {0.5, 0.5, 0.5, 0.25, 0.25, 0.25, 0.0, 0.0, 0.0, 0.0};
}

PovDiffObject_cls::PovDiffObject_cls(FilterCtrl_cls* owner)
    : FilterWithParameter_cls(kParamNum, msParamSetName, kDefault)
{
    ConstructorCommon(owner, L"DiffObject", kTypeCode);
    std::copy(kDefault, kDefault + kParamNum, mdValue);
}

void PovDiffObject_cls::ApplyParameterValues(const double* values)
{
    std::copy(values, values + kParamNum, mdValue);
}

std::wstring PovDiffObject_cls::SerializeConf() const
{
    return mCData.SerializeConf() + GetParameters().Serialize();
}

std::wstring PovDiffObject_cls::GetFilterStatusStr() const
{
    std::wstring s = L"PovDiffObject::";
    for (double v : mdValue)
        s += WStrPrintf("%.17g ", v);
    return s + GetSettingsStatusStr();
}
