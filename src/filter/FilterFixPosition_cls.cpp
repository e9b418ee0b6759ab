#include "filter/FilterFixPosition_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <cmath>

FilterFixPosition_cls::FilterFixPosition_cls(FilterCtrl_cls* owner)
{
    ConstructorCommon(owner, L"FixPosition", kTypeCode);
}

std::wstring FilterFixPosition_cls::GetFilterStatusStr() const
{
    return L"FixPosition::" + WStrPrintf("%.9g %d %d%d%d", static_cast<double>(mCData.mfThreshold.Get()),
                                         mCData.miReferenceFrame.Get(), mCData.mvbAxis.Get(0) ? 1 : 0,
                                         mCData.mvbAxis.Get(1) ? 1 : 0, mCData.mvbAxis.Get(2) ? 1 : 0);
}

void FilterFixPosition_cls::DoCalc(const unsigned char* data, const unsigned int* sizes, int frame)
{
    if (!mCData.IsValid() || !data)
        return;
    // A new frame size means new data: positions of the old size no longer compare.
    if (!std::equal(sizes, sizes + 3, muSize))
        mResults.clear();
    std::copy(sizes, sizes + 3, muSize);
    // A threshold from a garbled file (NaN, huge) must not overflow the conversion: 0..1 only.
    const float level = std::clamp(std::isnan(mCData.mfThreshold.Get()) ? 0.0f : mCData.mfThreshold.Get(), 0.0f, 1.0f);
    const int threshold = static_cast<int>(std::floor(level * 255.0f));
    mCThreadCtrl.InitializeThreadCtrl();
    mResults[frame] = FilterCenterOfMass_cls::ComputeCentroid(data, sizes, threshold, mCThreadCtrl);
}

bool FilterFixPosition_cls::GetFeaturePosition(int frame, double* position) const
{
    auto it = mResults.find(frame);
    if (it == mResults.end() || it->second.uMass == 0)
        return false;
    std::copy(it->second.dCentre, it->second.dCentre + 3, position);
    return true;
}

bool FilterFixPosition_cls::GetOffset(int frame, double* offset) const
{
    std::fill(offset, offset + 3, 0.0);
    double here[3], there[3];
    if (!mCData.IsValid() || !GetFeaturePosition(frame, here) ||
        !GetFeaturePosition(mCData.miReferenceFrame.Get(), there))
        return false;
    for (int a = 0; a < 3; ++a)
        if (mCData.mvbAxis.Get(a) && muSize[a] > 0)
            offset[a] = (there[a] - here[a]) / muSize[a];
    return true;
}
