#include "pov/StereoGram_cls.h"

#include "config/LineStream_cls.h"
#include "config/TextFormat.h"

#include <cmath>

namespace
{
const std::wstring kBlockTag = L"--StereoGram";
const std::wstring kBlockEnd = L"--StereoGramEnd";
constexpr double kDefaultSeparation = 0.065;
constexpr double kDefaultConvergence = 3.0;
// Below this the toe-in angle would approach 90 degrees and the pair becomes unviewable.
constexpr double kMinConvergence = 1e-6;

std::wstring Trimmed(const std::wstring& line)
{
    std::wstring s = StripLineEnd(line);
    while (!s.empty() && (s.back() == L' ' || s.back() == L'\t'))
        s.pop_back();
    return s;
}
} // namespace

StereoGram_cls::StereoGram_cls()
{
    mCConfList.Add(&mdItemSeparation, L"StereoGramEyeSeparation=", L"0.065");
    mCConfList.Add(&mdItemConvergence, L"StereoGramConvergence=", L"3");
    mCConfList.Add(&muItemMode, L"StereoGramMode=", L"0");
}

void StereoGram_cls::SetToDefault()
{
    mdItemSeparation.Set(kDefaultSeparation);
    mdItemConvergence.Set(kDefaultConvergence);
    muItemMode.Set(kModeOff);
}

void StereoGram_cls::SetEyeSeparation(double d)
{
    mdItemSeparation.Set(d);
    MakeValid();
}

void StereoGram_cls::SetConvergence(double d)
{
    mdItemConvergence.Set(d);
    MakeValid();
}

StereoGram_cls::Mode StereoGram_cls::GetMode() const
{
    return muItemMode.Get() > kModeLast ? kModeOff : static_cast<Mode>(muItemMode.Get());
}

void StereoGram_cls::SetMode(unsigned mode)
{
    muItemMode.Set(mode > kModeLast ? kModeOff : mode);
}

void StereoGram_cls::MakeValid()
{
    if (!std::isfinite(mdItemSeparation.Get()) || mdItemSeparation.Get() < 0.0)
        mdItemSeparation.Set(std::isfinite(mdItemSeparation.Get()) ? -mdItemSeparation.Get() : kDefaultSeparation);
    if (!std::isfinite(mdItemConvergence.Get()) || mdItemConvergence.Get() < kMinConvergence)
        mdItemConvergence.Set(kDefaultConvergence);
    if (muItemMode.Get() > kModeLast)
        muItemMode.Set(kModeOff);
}

double StereoGram_cls::GetEyeOffset(unsigned eye) const
{
    if (eye == 1)
        return -0.5 * GetEyeSeparation();
    if (eye == 2)
        return 0.5 * GetEyeSeparation();
    return 0.0;
}

double StereoGram_cls::GetToeInAngle(unsigned eye) const
{
    if (eye != 1 && eye != 2)
        return 0.0;
    const double angle = std::atan2(0.5 * GetEyeSeparation(), GetConvergence());
    return eye == 1 ? angle : -angle;
}

int StereoGram_cls::GetHalfForEye(unsigned eye) const
{
    const int natural = eye == 2 ? 1 : 0;
    return GetMode() == kModeCrossed ? 1 - natural : natural;
}

std::wstring StereoGram_cls::Serialize() const
{
    return kBlockTag + L"\n" + mCConfList.SerializeAll() + kBlockEnd + L"\n";
}

bool StereoGram_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& firstLine)
{
    if (Trimmed(firstLine) != kBlockTag)
        return false;
    std::wstring line;
    while (stream.GetLine(line)) {
        const std::wstring head = Trimmed(line);
        if (head == kBlockEnd)
            break;
        if (head.rfind(L"--", 0) == 0) { // cut short: the next block is not ours
            stream.UngetLine();
            break;
        }
        mCConfList.ReadStrLineAll(line);
    }
    MakeValid();
    return true;
}
