#include "filter/BoxCopy_cls.h"

#include "config/TextFormat.h"

#include <algorithm>

BoxCopy_cls::BoxCopy_cls(FilterCtrl_cls* owner)
{
    ConstructorCommon(owner, L"Box Copy", kTypeCode);
}

std::wstring BoxCopy_cls::GetFilterStatusStr() const
{
    return L"BoxCopy::" + WStrPrintf("%d %d %d %.9g %.9g %.9g", GetNumber(0), GetNumber(1), GetNumber(2),
                                     static_cast<double>(mCData.mvfGap.Get(0)),
                                     static_cast<double>(mCData.mvfGap.Get(1)),
                                     static_cast<double>(mCData.mvfGap.Get(2)));
}

int BoxCopy_cls::GetNumber(int axis) const
{
    return std::clamp(mCData.mviNumber.Get(axis), 1, kMaxNumber);
}

std::vector<std::array<double, 3>> BoxCopy_cls::GetCopyOffsets() const
{
    if (!mCData.IsValid())
        return {{0.0, 0.0, 0.0}};
    std::vector<std::array<double, 3>> offsets;
    double step[3];
    for (int a = 0; a < 3; ++a)
        step[a] = 1.0 + static_cast<double>(mCData.mvfGap.Get(a));
    for (int k = 0; k < GetNumber(2); ++k)
        for (int j = 0; j < GetNumber(1); ++j)
            for (int i = 0; i < GetNumber(0); ++i)
                offsets.push_back({i * step[0], j * step[1], k * step[2]});
    return offsets;
}
