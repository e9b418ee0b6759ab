#include "filter/PovVelField_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <cmath>

const wchar_t* const PovVelField_cls::msParamSetName = L"VelField";

namespace
{
const double kDefault[2] = {1.0, 1.0};
}

PovVelField_cls::PovVelField_cls(FilterCtrl_cls* owner) : FilterWithParameter_cls(kParamNum, msParamSetName, kDefault)
{
    ConstructorCommon(owner, L"VelocityField", kTypeCode);
    std::copy(kDefault, kDefault + kParamNum, mdValue);
}

void PovVelField_cls::ApplyParameterValues(const double* values)
{
    std::copy(values, values + kParamNum, mdValue);
}

std::wstring PovVelField_cls::SerializeConf() const
{
    return mCData.SerializeConf() + GetParameters().Serialize();
}

std::wstring PovVelField_cls::GetFilterStatusStr() const
{
    std::wstring s = L"VelField::";
    for (double v : mdValue)
        s += WStrPrintf("%.17g ", v);
    return s + GetSettingsStatusStr();
}
