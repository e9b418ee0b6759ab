#include "anim/KeyFrame_cls.h"

#include "config/TextFormat.h"
#include "config/Translate.h"

#include <cmath>

namespace
{
// A larger dimension in a key line can only be a damaged file; it is capped so that reading
// never allocates without bound.
constexpr unsigned kMaxReadDimension = 4096;

const char* const kInterpNames[KeyFrame_cls::kInterpTypeCount] = {"LINEAR", "HERMITE (AUTO)", "HERMITE (SEMIAUTO)",
                                                                  "HERMITE", "STEP"};

bool IsNumberToken(const std::wstring& token)
{
    if (token.empty())
        return false;
    size_t i = 0;
    if (token[i] == L'+' || token[i] == L'-')
        ++i;
    if (i < token.size() && token[i] == L'.')
        ++i;
    return i < token.size() && token[i] >= L'0' && token[i] <= L'9';
}

void AppendNumber(std::wstring& out, double v)
{
    out += L' ';
    out += WStrPrintf("%.9g", v);
}
} // namespace

std::array<std::wstring, KeyFrame_cls::kInterpTypeCount> KeyFrame_cls::msAstrInterp = {
    L"LINEAR", L"HERMITE (AUTO)", L"HERMITE (SEMIAUTO)", L"HERMITE", L"STEP"};

KeyFrame_cls::KeyFrame_cls(unsigned dimension)
    : muDimension(dimension), mvValue(dimension, 0.0), mvD1(dimension, 0.0), mvD2(dimension, 0.0)
{
}

void KeyFrame_cls::Set(double time, unsigned type, const double* values, const double* D1, const double* D2,
                       bool selected)
{
    mdTime = time;
    muType = type;
    mbSelected = selected;
    for (unsigned i = 0; i < muDimension; ++i) {
        mvValue[i] = values ? values[i] : 0.0;
        mvD1[i] = D1 ? D1[i] : 0.0;
        mvD2[i] = D2 ? D2[i] : 0.0;
    }
}

void KeyFrame_cls::Resize(unsigned dimension)
{
    muDimension = dimension;
    mvValue.resize(dimension, 0.0);
    mvD1.resize(dimension, 0.0);
    mvD2.resize(dimension, 0.0);
}

bool KeyFrame_cls::SameContent(const KeyFrame_cls& other) const
{
    return muDimension == other.muDimension && muType == other.muType && mdTime == other.mdTime &&
           mvValue == other.mvValue && mvD1 == other.mvD1 && mvD2 == other.mvD2;
}

bool KeyFrame_cls::Select(double time, double halfWidth, bool testOnly)
{
    const bool hit = IsHit(time, halfWidth);
    if (hit && !testOnly)
        mbSelected = true;
    return hit;
}

bool KeyFrame_cls::Toggle(double time, double halfWidth)
{
    const bool hit = Select(time, halfWidth, true);
    if (hit)
        mbSelected = !mbSelected;
    return hit;
}

std::wstring KeyFrame_cls::Serialize() const
{
    std::wstring out = WStrPrintf("%.9g %u %u", mdTime, muDimension, muType);
    for (double v : mvValue)
        AppendNumber(out, v);
    for (double v : mvD1)
        AppendNumber(out, v);
    for (double v : mvD2)
        AppendNumber(out, v);
    out += L'\n';
    return out;
}

bool KeyFrame_cls::ReadStrLine(const std::wstring& line)
{
    const std::vector<std::wstring> parts = SplitBlanks(StripLineEnd(line));
    if (parts.size() < 3 || !IsNumberToken(parts[0]) || !IsNumberToken(parts[1]) || !IsNumberToken(parts[2]))
        return false;
    const double time = ParseDouble(parts[0]);
    long dimension = ParseLong(parts[1]);
    if (dimension < 0)
        dimension = 0;
    if (dimension > static_cast<long>(kMaxReadDimension))
        dimension = kMaxReadDimension;
    const long type = ParseLong(parts[2]);

    Resize(static_cast<unsigned>(dimension));
    mdTime = std::isfinite(time) ? time : 0.0;
    muType = type < 0 ? kInterpLinear : static_cast<unsigned>(type);
    auto valueAt = [&parts](size_t index) { return index < parts.size() ? ParseDouble(parts[index]) : 0.0; };
    const size_t d = static_cast<size_t>(dimension);
    for (size_t i = 0; i < d; ++i) {
        mvValue[i] = valueAt(3 + i);
        mvD1[i] = valueAt(3 + d + i);
        mvD2[i] = valueAt(3 + 2 * d + i);
    }
    return true;
}

const std::wstring& KeyFrame_cls::GetInterpName(unsigned type)
{
    return msAstrInterp[type < kInterpTypeCount ? type : kInterpLinear];
}

void KeyFrame_cls::InitializeStaticMembers()
{
    for (unsigned i = 0; i < kInterpTypeCount; ++i)
        msAstrInterp[i] = TrW(kInterpNames[i]);
}
