// Custom colour maps.
// Sections:
//   1. Construction, maps and flags
//   2. Lookups
//   3. Templates
//   4. Editor cursor and key buttons
//   5. Shift of a whole map
//   6. Short two-entry form
//   7. Persistence
#include "color/CustomColor_cls.h"

#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"

#include <algorithm>
#include <cmath>

namespace
{

struct TemplateKey {
    double pos, r, g, b;
};

struct ColorTemplate {
    const char* name;
    std::vector<TemplateKey> keys;
};

// The stops of the ten templates. The positions 0.167, 0.333, 0.666 and 0.833 are three-decimal
// values on purpose (not thirds and sixths): maps made with them must not change.
const std::vector<ColorTemplate>& Templates()
{
    static const std::vector<ColorTemplate> sTemplates = {
        {"Red Yellow", {{0, 1, 0, 0}, {1, 1, 1, 0}}},
        {"Cold Color", {{0, 0, 0, 1}, {1, 0, 1, 1}}},
        {"Green Red", {{0, 0, 1, 0}, {0.5, 1, 1, 0}, {1, 1, 0, 0}}},
        {"Black White", {{0, 0, 0, 0}, {1, 1, 1, 1}}},
        {"Modelate Gray", {{0, 0.5, 0.5, 0.5}, {1, 0.75, 0.75, 0.75}}},
        {"Optical",
         {{0, 0.03, 0, 0.07},
          {0.167, 0.32, 0, 0.77},
          {0.333, 0, 0.31, 0.59},
          {0.5, 0, 0.78, 0},
          {0.666, 0.82, 0.56, 0},
          {0.833, 0.84, 0, 0},
          {1, 0.26, 0, 0}}},
        {"SpectrumRBG", {{0, 1, 0, 0}, {0.25, 0.5, 0, 0.5}, {0.5, 0, 0, 1}, {0.75, 0, 0.5, 0.5}, {1, 0, 1, 0}}},
        {"SpectrumRBGR",
         {{0, 1, 0, 0},
          {0.167, 0.5, 0, 0.5},
          {0.333, 0, 0, 1},
          {0.5, 0, 0.5, 0.5},
          {0.666, 0, 1, 0},
          {0.833, 0.5, 0.5, 0},
          {1, 1, 0, 0}}},
        {"Incandescent",
         {{0, 0, 0, 0},
          {0.594, 0.73, 0, 0},
          {0.8097, 1, 0.55, 0.2},
          {0.8998, 0.97, 0.94, 0.07},
          {1, 0.97, 0.97, 0.83}}},
        {"Cold Steel", {{0, 1, 1, 1}, {0.6477, 0.05, 0.02, 0.14}, {1, 0.36, 0.73, 0.76}}},
    };
    return sTemplates;
}

// Opens a block for the lifetime of the scope so that a compound edit is one undo step.
class UndoBlock
{
  public:
    explicit UndoBlock(UndoManager_cls& undo) : mrUndo(undo) { mrUndo.OpenBlock(); }
    ~UndoBlock() { mrUndo.CloseBlock(); }
    UndoBlock(const UndoBlock&) = delete;
    UndoBlock& operator=(const UndoBlock&) = delete;

  private:
    UndoManager_cls& mrUndo;
};

// Marks an edit of our own: it refreshes once at its end instead of on every executed command.
class EditScope
{
  public:
    explicit EditScope(int& depth) : mrDepth(depth) { ++mrDepth; }
    ~EditScope() { --mrDepth; }
    EditScope(const EditScope&) = delete;
    EditScope& operator=(const EditScope&) = delete;

  private:
    int& mrDepth;
};

int TruncToInt(double v)
{
    return static_cast<int>(std::trunc(v));
}

// A new key at density t holding the map's colour there. Built here rather than by the set's own
// helper because a map is evaluated on its own density grid, not on the animation's frame grid.
KeyFrame_cls MakeKeyAt(const Parameters_cls& p, double t, double resolution)
{
    double v[CustomColor_cls::msDimension] = {0, 0, 0, 1};
    if (p.GetKeyNumber() > 0)
        p.Evaluate(t, resolution, v);
    unsigned type = kInterpLinear;
    for (int i = 0; i < p.GetKeyNumber(); ++i) {
        if (i == 0 || p.GetKeyFrameDoubleIndex(i) <= t + resolution / 2)
            type = p.GetPKeyFrame(i)->GetType();
    }
    KeyFrame_cls key(CustomColor_cls::msDimension);
    key.Set(t, type, v, nullptr, nullptr, false);
    return key;
}

// Slider position 0..255 of a channel value (out-of-range values pin the slider to an end).
int SliderOf(double v)
{
    return v < 0.0 ? 0 : (v > 1.0 ? 255 : TruncToInt(255.0 * v));
}

} // namespace

// ---- 1. Construction, maps and flags ---------------------------------------------------------

CustomColor_cls::CustomColor_cls(UndoManager_cls* undo) : mCItems(msDimension, L"Color"), mpUndo(undo)
{
    mCItems.SetUndoManager(undo);
    const double init[msDimension] = {0.5, 0.5, 0.5, 1.0};
    mCItems.SetInitParam(init);
    mCConfList.Add(&miItemNum, L"CUSTOMCOLOR_NUM=", L"0");
    mCConfList.Add(&miActiveItem, L"CUSTOMCOLOR_ACTIVE=", L"0");
    mCConfList.Add(&mStrMultiply, L"CUSTOMCOLOR_MULTIPLY=", L"");
    // Undo and redo of map edits change what the editor and the preview show. Key commands on
    // "Color" sets carry the colour flags; adding or removing a map shows in the map count.
    miUndoListener = mCItems.GetUndo().AddListener([this](uint32_t flags) {
        if (miEditDepth == 0 && ((flags & kComColorRedraw) != 0 || GetItemNumber() != miSeenItemNumber))
            Refresh();
    });
    UpdateColorBar();
}

CustomColor_cls::~CustomColor_cls()
{
    mCItems.GetUndo().RemoveListener(miUndoListener);
}

int CustomColor_cls::GetActiveItem() const
{
    return GetItemNumber() == 0 ? -1 : mCItems.GetActiveIndex();
}

void CustomColor_cls::SetActiveItem(int item)
{
    mCItems.SetActiveIndex(item);
    Refresh();
}

int CustomColor_cls::ResolveIndex(int item) const
{
    if (GetItemNumber() == 0)
        return -1;
    if (item < 0 || item >= GetItemNumber())
        return GetActiveItem();
    return item;
}

Parameters_cls* CustomColor_cls::ResolveItem(int item) const
{
    return mCItems.GetPItem(ResolveIndex(item));
}

const Parameters_cls* CustomColor_cls::GetPItem(int item) const
{
    return ResolveItem(item);
}

bool CustomColor_cls::AddItem()
{
    EditScope edit(miEditDepth);
    UndoBlock block(mCItems.GetUndo());
    if (!mCItems.AddItem())
        return false;
    mCMultiply[mCItems.GetPActiveItem()] = false; // a new map never inherits a stale flag
    SetColorTemplate(4);
    return true;
}

bool CustomColor_cls::RemoveItem()
{
    EditScope edit(miEditDepth);
    if (GetItemNumber() == 0 || !mCItems.RemoveItem())
        return false;
    Refresh();
    return true;
}

void CustomColor_cls::PruneFlags()
{
    // Maps held only by the history stay registered and keep their flags; destroyed ones go.
    for (auto it = mCMultiply.begin(); it != mCMultiply.end();)
        it = Parameters_cls::IsLive(it->first) ? std::next(it) : mCMultiply.erase(it);
}

bool CustomColor_cls::IsMultiplyLevel(int item) const
{
    const Parameters_cls* p = ResolveItem(item);
    if (!p)
        return false;
    auto it = mCMultiply.find(p);
    return it != mCMultiply.end() && it->second;
}

void CustomColor_cls::SetMultiplyLevel(int item, bool on)
{
    const Parameters_cls* p = ResolveItem(item);
    if (!p || IsMultiplyLevel(item) == on)
        return;
    mCMultiply[p] = on;
    Refresh();
}

void CustomColor_cls::Refresh()
{
    miSeenItemNumber = GetItemNumber();
    PruneFlags();
    UpdateCacheColor();
    UpdateColorBar();
}

// ---- 2. Lookups ------------------------------------------------------------------------------

double CustomColor_cls::GetCustomColor(double pos, unsigned channel, bool clampFlag, int item) const
{
    const Parameters_cls* p = ResolveItem(item);
    if (!p)
        return 0.5;
    double v[msDimension] = {0, 0, 0, 0};
    p->Evaluate(pos, msDensityResolution, v);
    double out = channel < msDimension ? v[channel] : 0.0;
    if (clampFlag)
        out = std::clamp(out, 0.0, 1.0);
    return out;
}

std::array<float, 4> CustomColor_cls::GetV4CustomColor(double pos, bool clampFlag, int item, float factor) const
{
    std::array<float, 4> out{};
    for (unsigned c = 0; c < 3; ++c)
        out[c] = static_cast<float>(GetCustomColor(pos, c, clampFlag, item)) * factor;
    out[3] = 1.0f;
    return out;
}

// ---- 3. Templates ----------------------------------------------------------------------------

std::vector<std::wstring> CustomColor_cls::GetTemplateNames()
{
    std::vector<std::wstring> names = {TrW("-- select --")};
    for (const ColorTemplate& t : Templates())
        names.push_back(TrW(t.name));
    return names;
}

bool CustomColor_cls::SetColorTemplate(int t)
{
    EditScope edit(miEditDepth);
    Parameters_cls* p = ResolveItem(-1);
    if (t < 1 || t > msTemplateCount || !p)
        return false;
    const ColorTemplate& tpl = Templates()[static_cast<size_t>(t - 1)];
    {
        UndoBlock block(p->GetUndo());
        if (!p->IsTimeDependent())
            p->SetTimeDependent(true, true);
        for (int i = p->GetKeyNumber() - 1; i >= 0; --i)
            p->ExecCommandDeleteKey(i);
        // Straight blends between the stops: a colour map's stops are meant as a linear ramp,
        // and curves through them would overshoot the 0..1 range between close stops.
        for (const TemplateKey& k : tpl.keys) {
            const double values[msDimension] = {k.r, k.g, k.b, 1.0};
            KeyFrame_cls key(msDimension);
            key.Set(k.pos, kInterpLinear, values, nullptr, nullptr, false);
            p->SetKey(key, KeyFrame_cls(), msDensityResolution);
        }
    }
    Refresh();
    return true;
}

// ---- 4. Editor cursor and key buttons --------------------------------------------------------

void CustomColor_cls::SetCursor(int step)
{
    miCursor = std::clamp(step, 0, msFrameCount - 1);
    UpdateCacheColor();
}

void CustomColor_cls::UpdateCacheColor()
{
    const double p = miCursor / 255.0;
    for (unsigned c = 0; c < 3; ++c) {
        if (GetItemNumber() == 0) {
            mviCacheDisplay[c] = mviCacheSlider[c] = 127;
            continue;
        }
        const double v = GetCustomColor(p, c, false, -1);
        mviCacheDisplay[c] = TruncToInt(255.0 * v + 0.1);
        mviCacheSlider[c] = SliderOf(v);
    }
    mbCacheMultiply = IsMultiplyLevel(-1);
}

void CustomColor_cls::SetCacheSlider(unsigned channel, int value)
{
    if (channel < 3)
        mviCacheSlider[channel] = std::clamp(value, 0, 255);
}

bool CustomColor_cls::SyncFromCache()
{
    EditScope edit(miEditDepth);
    Parameters_cls* p = ResolveItem(-1);
    if (!p)
        return false;
    if (mbCacheMultiply != IsMultiplyLevel(-1))
        SetMultiplyLevel(-1, mbCacheMultiply);
    const double t = miCursor / 255.0;
    KeyFrame_cls key = MakeKeyAt(*p, t, msDensityResolution);
    double* v = key.GetPValue();
    bool changed = false;
    for (unsigned c = 0; c < 3; ++c) {
        // Only channels whose slider moved take the slider's value; the others keep their exact
        // value (0.32 stays 0.32 instead of becoming 81/255).
        if (SliderOf(v[c]) != mviCacheSlider[c]) {
            v[c] = mviCacheSlider[c] / 255.0;
            changed = true;
        }
    }
    if (!changed)
        return false;
    p->SetKey(key, KeyFrame_cls(), msDensityResolution);
    Refresh();
    return true;
}

void CustomColor_cls::UpdateColorBar()
{
    const bool multiply = IsMultiplyLevel(-1);
    for (int i = 0; i < msFrameCount; ++i) {
        const double d = i / 255.0;
        for (unsigned c = 0; c < 3; ++c) {
            double v = GetCustomColor(d, c, true, -1);
            if (multiply)
                v *= d;
            mvColorBar[static_cast<size_t>(i) * 3 + c] = static_cast<uint8_t>(std::lround(v * 255.0));
        }
    }
    if (FuncHookMapChanged)
        FuncHookMapChanged();
}

bool CustomColor_cls::IsKeyPoint() const
{
    const Parameters_cls* p = ResolveItem(-1);
    return p && p->IsKeyFrame(miCursor / 255.0, msDensityResolution);
}

bool CustomColor_cls::AddKey()
{
    EditScope edit(miEditDepth);
    Parameters_cls* p = ResolveItem(-1);
    if (!p || IsKeyPoint())
        return false;
    p->SetKey(MakeKeyAt(*p, miCursor / 255.0, msDensityResolution), KeyFrame_cls(), msDensityResolution);
    Refresh();
    return true;
}

bool CustomColor_cls::RemoveKey()
{
    EditScope edit(miEditDepth);
    Parameters_cls* p = ResolveItem(-1);
    if (!p || !p->DeleteKey(miCursor / 255.0, msDensityResolution))
        return false;
    Refresh();
    return true;
}

// ---- 5. Shift of a whole map -----------------------------------------------------------------

bool CustomColor_cls::ClrShift()
{
    const Parameters_cls* p = ResolveItem(-1);
    if (!p || p->GetKeyNumber() == 0)
        return false;
    const double cursor = miCursor / 255.0;
    int anchor = p->GetSelectedKeyIndex();
    if (anchor < 0) {
        anchor = 0;
        for (int i = 1; i < p->GetKeyNumber(); ++i) {
            if (std::fabs(p->GetKeyFrameDoubleIndex(i) - cursor) <
                std::fabs(p->GetKeyFrameDoubleIndex(anchor) - cursor))
                anchor = i;
        }
    }
    return ClrShiftBy(cursor - p->GetKeyFrameDoubleIndex(anchor));
}

bool CustomColor_cls::ClrShiftBy(double offset)
{
    EditScope edit(miEditDepth);
    Parameters_cls* p = ResolveItem(-1);
    if (!p || p->GetKeyNumber() == 0 || offset == 0.0 || !std::isfinite(offset))
        return false;
    Parameters_cls::Snapshot snap = p->TakeSnapshot();
    std::vector<KeyFrame_cls> moved;
    moved.reserve(snap.vKeys.size());
    // Keys pushed past an end stop there; of several keys at the same end only the innermost
    // (the one that was nearest the remaining map) survives, so the map stays continuous.
    for (const KeyFrame_cls& k : snap.vKeys) {
        KeyFrame_cls m = k;
        m.SetTime(std::clamp(k.GetTime() + offset, 0.0, 1.0));
        if (!moved.empty() && offset > 0.0 && m.GetTime() == 1.0 && moved.back().GetTime() == 1.0)
            continue; // the earlier key at 1 is the innermost one
        if (!moved.empty() && offset < 0.0 && m.GetTime() == 0.0 && moved.back().GetTime() == 0.0) {
            moved.back() = m; // the later key at 0 is the innermost one
            continue;
        }
        moved.push_back(m);
    }
    bool same = moved.size() == snap.vKeys.size();
    for (size_t i = 0; same && i < moved.size(); ++i)
        same = moved[i].GetTime() == snap.vKeys[i].GetTime();
    if (same)
        return false;
    snap.vKeys = std::move(moved);
    Parameters_cls shifted(*p);
    shifted.RestoreSnapshot(snap);
    shifted.AdjustAutoControl();
    const bool done = p->CopyParameterFromP(&shifted, true);
    Refresh();
    return done;
}

// ---- 6. Short two-entry form -----------------------------------------------------------------

bool CustomColor_cls::IsShortClrMapPossible(int item) const
{
    const Parameters_cls* p = ResolveItem(item);
    if (!p || p->GetKeyNumber() >= 3)
        return false;
    if (p->GetKeyNumber() < 2)
        return true;
    // Two keys: the segment must be a straight line, which holds for linear keys and automatic
    // tangents but not for steps or hand-set tangents. Checked on the density grid.
    const double t0 = p->GetKeyFrameDoubleIndex(0), t1 = p->GetKeyFrameDoubleIndex(1);
    const double* v0 = p->GetPKeyFrameValue(0);
    const double* v1 = p->GetPKeyFrameValue(1);
    for (int i = 0; i <= 255; ++i) {
        const double d = i / 255.0;
        // Within half a step before the second key a lookup already gives that key's value:
        // the blend differs there by less than half a step of the colour, which is not a bend.
        if (d <= t0 || d >= t1 - msDensityResolution / 2)
            continue;
        double v[msDimension];
        p->Evaluate(d, msDensityResolution, v);
        const double s = (d - t0) / (t1 - t0);
        for (unsigned c = 0; c < 3; ++c) {
            if (std::fabs(v[c] - (v0[c] + (v1[c] - v0[c]) * s)) > 1e-9)
                return false;
        }
    }
    return true;
}

bool CustomColor_cls::GetShortClrMap(int item, float* pos, float (*rgb)[3]) const
{
    const Parameters_cls* p = ResolveItem(item);
    if (!p || !IsShortClrMapPossible(item))
        return false;
    const int n = p->GetKeyNumber();
    pos[0] = n == 2 ? static_cast<float>(p->GetKeyFrameDoubleIndex(0)) : 0.0f;
    pos[1] = n == 2 ? static_cast<float>(p->GetKeyFrameDoubleIndex(1)) : 1.0f;
    for (int e = 0; e < 2; ++e) {
        double v[msDimension] = {0, 0, 0, 0};
        if (n > 0) {
            const double* k = p->GetPKeyFrameValue(n == 2 ? e : 0);
            std::copy(k, k + msDimension, v);
        }
        for (int c = 0; c < 3; ++c)
            rgb[e][c] = static_cast<float>(v[c]);
    }
    return true;
}

// ---- 7. Persistence --------------------------------------------------------------------------

std::wstring CustomColor_cls::Serialize() const
{
    std::wstring flags;
    for (int i = 0; i < GetItemNumber(); ++i)
        flags += (i ? L" " : L"") + std::wstring(IsMultiplyLevel(i) ? L"1" : L"0");
    std::wstring out = WStrPrintf("CUSTOMCOLOR_NUM=%d\n", GetItemNumber());
    out += WStrPrintf("CUSTOMCOLOR_ACTIVE=%d\n", std::max(GetActiveItem(), 0));
    out += L"CUSTOMCOLOR_MULTIPLY=" + flags + L"\n";
    out += mCItems.Serialize();
    return out;
}

bool CustomColor_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& line)
{
    if (mCItems.ReadStrLine(stream, line)) {
        // The maps were replaced: flags and the active map come from the lines read before.
        mCMultiply.clear();
        const std::vector<std::wstring> flags = SplitBlanks(mStrMultiply.Get());
        for (int i = 0; i < GetItemNumber(); ++i)
            mCMultiply[mCItems.GetPItem(i)] = static_cast<size_t>(i) < flags.size() && ParseLong(flags[size_t(i)]) != 0;
        mCItems.SetActiveIndex(miActiveItem.Get());
        Refresh();
        return true;
    }
    return mCConfList.ReadStrLineAll(line);
}
