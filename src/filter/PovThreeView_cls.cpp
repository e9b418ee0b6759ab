#include "filter/PovThreeView_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <cmath>

const wchar_t* const PovThreeView_cls::msParamSetName = L"ThreeView";

namespace
{
const double kDefault[6] = {0.5, 0.5, 0.5, 0.0, 1.0, 0.0};
}

PovThreeView_cls::PovThreeView_cls(FilterCtrl_cls* owner) : FilterOutput_cls(kParamNum, msParamSetName, kDefault)
{
    ConstructorCommon(owner, L"Three-view", kTypeCode);
    std::copy(kDefault, kDefault + kParamNum, mdValue);
}

void PovThreeView_cls::ApplyParameterValues(const double* values)
{
    std::copy(values, values + kParamNum, mdValue);
}

std::wstring PovThreeView_cls::SerializeConf() const
{
    return mCData.SerializeConf() + GetParameters().Serialize();
}

std::wstring PovThreeView_cls::GetFilterStatusStr() const
{
    std::wstring s = L"ThreeView::";
    for (double v : mdValue)
        s += WStrPrintf("%.17g ", v);
    return s + GetSettingsStatusStr();
}

bool PovThreeView_cls::GetCurrentSection(int axis, std::vector<unsigned char>& plane, unsigned& width,
                                         unsigned& height) const
{
    return axis >= 0 && axis < 3 && GetSection(axis, GetValue(axis), plane, width, height);
}
