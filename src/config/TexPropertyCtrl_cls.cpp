#include "config/TexPropertyCtrl_cls.h"

#include "config/LineStream_cls.h"
#include "config/TextFormat.h"

#include <algorithm>
#include <cmath>

namespace
{

float ClampFactor(float v)
{
    if (!std::isfinite(v) || v < 0.0f)
        return 0.0f;
    return std::min(v, TexPropertyCtrl_cls::kMaxFactor);
}

} // namespace

TexPropertyCtrl_cls::TexPropertyCtrl_cls()
{
    for (int slot = 0; slot < kSlotCount; ++slot) {
        mCConfList.Add(&mvCColor[static_cast<size_t>(slot)], WStrPrintf("TexBoxColorFactor%d=", slot), L"1 1 1");
        mCConfList.Add(&mvfAlpha[static_cast<size_t>(slot)], WStrPrintf("TexBoxAlphaFactor%d=", slot), L"1");
    }
}

float TexPropertyCtrl_cls::GetColorFactor(int slot, int component) const
{
    if (!InRange(slot) || component < 0 || component > 2)
        return 1.0f;
    return ClampFactor(mvCColor[static_cast<size_t>(slot)].Get(component));
}

void TexPropertyCtrl_cls::SetColorFactor(int slot, float r, float g, float b)
{
    if (!InRange(slot))
        return;
    auto& item = mvCColor[static_cast<size_t>(slot)];
    item.Set(0, ClampFactor(r));
    item.Set(1, ClampFactor(g));
    item.Set(2, ClampFactor(b));
    ++muSerial;
}

float TexPropertyCtrl_cls::GetAlphaFactor(int slot) const
{
    return InRange(slot) ? ClampFactor(mvfAlpha[static_cast<size_t>(slot)].Get()) : 1.0f;
}

void TexPropertyCtrl_cls::SetAlphaFactor(int slot, float alpha)
{
    if (!InRange(slot))
        return;
    mvfAlpha[static_cast<size_t>(slot)].Set(ClampFactor(alpha));
    ++muSerial;
}

bool TexPropertyCtrl_cls::IsNeutral(int slot) const
{
    return GetAlphaFactor(slot) == 1.0f && GetColorFactor(slot, 0) == 1.0f && GetColorFactor(slot, 1) == 1.0f &&
           GetColorFactor(slot, 2) == 1.0f;
}

std::wstring TexPropertyCtrl_cls::Serialize() const
{
    return std::wstring(kMarker) + L"\n" + mCConfList.SerializeAll();
}

bool TexPropertyCtrl_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& line)
{
    if (StripLineEnd(line) != kMarker) {
        if (!mCConfList.ReadStrLineAll(line))
            return false;
        ++muSerial;
        return true;
    }
    // The block's own lines follow the marker; the first other line (a damaged or shortened
    // block, or the next block) goes back to the stream for the readers after this one.
    for (std::wstring inner; stream.GetLine(inner);) {
        const std::wstring stripped = StripLineEnd(inner);
        if (stripped.rfind(L"-", 0) == 0 || !mCConfList.ReadStrLineAll(stripped)) {
            stream.UngetLine();
            break;
        }
    }
    ++muSerial;
    return true;
}
