#include "filter/FilterClipping_cls.h"

#include "config/TextFormat.h"

#include <algorithm>

const wchar_t* const FilterClipping_cls::msParamSetName = L"Clipping";

namespace
{
const double kDefault[6] = {0.0, 0.0, 0.0, 1.0, 1.0, 1.0};
}

FilterClipping_cls::FilterClipping_cls(FilterCtrl_cls* owner) : FilterWithParameter_cls(6, msParamSetName, kDefault)
{
    ConstructorCommon(owner, L"Clipping", kTypeCode);
}

void FilterClipping_cls::ApplyParameterValues(const double* values)
{
    std::copy(values, values + 6, mdBox);
}

std::wstring FilterClipping_cls::SerializeConf() const
{
    return mCData.SerializeConf() + GetParameters().Serialize();
}

std::wstring FilterClipping_cls::GetFilterStatusStr() const
{
    return L"ClipBox::" + WStrPrintf("%.17g %.17g %.17g %.17g %.17g %.17g", mdBox[0], mdBox[1], mdBox[2], mdBox[3],
                                     mdBox[4], mdBox[5]);
}

bool FilterClipping_cls::GetClippingInformation(double* boxMin, double* boxMax) const
{
    if (!mCData.IsValid())
        return false;
    for (int a = 0; a < 3; ++a) {
        // A box keyed with its corners swapped is the same box.
        boxMin[a] = std::min(mdBox[a], mdBox[a + 3]);
        boxMax[a] = std::max(mdBox[a], mdBox[a + 3]);
    }
    return true;
}

bool FilterClipping_cls::IsClippingEmpty() const
{
    for (int a = 0; a < 3; ++a)
        if (!(std::min(mdBox[a], mdBox[a + 3]) < std::max(mdBox[a], mdBox[a + 3])))
            return true;
    return false;
}
