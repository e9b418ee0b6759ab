#include "filter/PovStreamLine_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <cmath>

const wchar_t* const PovStreamLine_cls::msParamSetName = L"StreamLine";

namespace
{
const double kDefault[3] = {1.0, 1.0, 0.01};
}

PovStreamLine_cls::PovStreamLine_cls(FilterCtrl_cls* owner)
    : FilterWithParameter_cls(kParamNum, msParamSetName, kDefault)
{
    ConstructorCommon(owner, L"Streamline", kTypeCode);
    std::copy(kDefault, kDefault + kParamNum, mdValue);
}

void PovStreamLine_cls::ApplyParameterValues(const double* values)
{
    std::copy(values, values + kParamNum, mdValue);
}

std::wstring PovStreamLine_cls::SerializeConf() const
{
    return mCData.SerializeConf() + GetParameters().Serialize();
}

std::wstring PovStreamLine_cls::GetFilterStatusStr() const
{
    std::wstring s = L"StreamLine::";
    for (double v : mdValue)
        s += WStrPrintf("%.17g ", v);
    return s + GetSettingsStatusStr();
}
