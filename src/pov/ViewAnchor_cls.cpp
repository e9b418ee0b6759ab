#include "pov/ViewAnchor_cls.h"

#include "config/LineStream_cls.h"
#include "config/TextFormat.h"

#include <cmath>

ViewAnchor_cls::ViewAnchor_cls()
{
    mCConfList.Add(&mCItemAnchor, L"AnchorPos=", L"0 0 0");
}

Vec3d ViewAnchor_cls::Get() const
{
    Vec3d v{};
    for (int i = 0; i < 3; ++i) {
        const double c = mCItemAnchor.Get(i);
        v[static_cast<size_t>(i)] = std::isfinite(c) ? c : 0.0;
    }
    return v;
}

void ViewAnchor_cls::Set(const Vec3d& anchor)
{
    for (int i = 0; i < 3; ++i)
        mCItemAnchor.Set(i, static_cast<float>(anchor[static_cast<size_t>(i)]));
}

std::wstring ViewAnchor_cls::SerializeAnchor() const
{
    return std::wstring(kMarker) + L"\n" + mCConfList.SerializeAll();
}

bool ViewAnchor_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& line)
{
    if (StripLineEnd(line) != kMarker) {
        if (!mCConfList.ReadStrLineAll(line))
            return false;
        mbRead = true;
        return true;
    }
    // A marker without its line (a cut file) leaves the anchor as it was; the line after it
    // then belongs to the next reader.
    std::wstring next;
    if (stream.GetLine(next)) {
        if (mCConfList.ReadStrLineAll(StripLineEnd(next)))
            mbRead = true;
        else
            stream.UngetLine();
    }
    return true;
}
