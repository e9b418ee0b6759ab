#include "filter/PovObject_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <cmath>

const wchar_t* const PovObject_cls::msParamSetName = L"PovObject";

namespace
{
const double kDefault[11] = {0.5, 0.5, 0.5, 0.1, 0.1, 0.1, 0.0, 0.0, 0.0, 0.0, 1.0};
}

PovObject_cls::PovObject_cls(FilterCtrl_cls* owner) : FilterOutput_cls(kParamNum, msParamSetName, kDefault)
{
    ConstructorCommon(owner, L"Object", kTypeCode);
    std::copy(kDefault, kDefault + kParamNum, mdValue);
}

void PovObject_cls::ApplyParameterValues(const double* values)
{
    std::copy(values, values + kParamNum, mdValue);
}

std::wstring PovObject_cls::SerializeConf() const
{
    return mCData.SerializeConf() + GetParameters().Serialize();
}

std::wstring PovObject_cls::GetFilterStatusStr() const
{
    std::wstring s = L"PovObject::";
    for (double v : mdValue)
        s += WStrPrintf("%.17g ", v);
    return s + GetSettingsStatusStr();
}

int PovObject_cls::GetDensityAtPosition() const
{
    const unsigned* s = GetDataSize();
    if (GetDataCopy().empty())
        return 0;
    size_t idx[3];
    for (int a = 0; a < 3; ++a) {
        const double f = std::clamp(GetValue(a), 0.0, 1.0);
        idx[a] = static_cast<size_t>(std::floor(f * (s[a] - 1) + 0.5));
    }
    return GetDataCopy()[(idx[2] * s[1] + idx[1]) * s[0] + idx[0]];
}
