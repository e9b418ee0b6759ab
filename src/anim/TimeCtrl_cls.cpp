// The scene clock.
//
// Sections: construction and text form; normalised times; range repair and setting the frame;
// stepping, snipping and zooming; push to listeners; time remap; play state.
#include "anim/TimeCtrl_cls.h"

#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"

#include <algorithm>

namespace
{
const wchar_t kRemapTag[] = L"--TimeRemap";
const wchar_t kEndTag[] = L"--END";

std::wstring Trimmed(const std::wstring& line)
{
    std::wstring s = StripLineEnd(line);
    while (!s.empty() && (s.back() == L' ' || s.back() == L'\t'))
        s.pop_back();
    size_t start = 0;
    while (start < s.size() && (s[start] == L' ' || s[start] == L'\t'))
        ++start;
    return s.substr(start);
}
} // namespace

// ---- construction and text form --------------------------------------------------------------

TimeCtrl_cls::TimeCtrl_cls() : mCTimeRemap(1, L"TimeRemap")
{
    mCConfList.Add(&miMaxFrame, L"DF3MaxFrame=", L"99");
    mCConfList.Add(&miWAMin, L"DF3WorkAreaMin=", L"0");
    mCConfList.Add(&miWAMax, L"DF3WorkAreaMax=", L"99");
    mCConfList.Add(&miAAMin, L"DF3ActiveAreaMin=", L"0");
    mCConfList.Add(&miAAMax, L"DF3ActiveAreaMax=", L"99");
    mCConfList.Add(&mbUseTimeRemap, L"DF3SequenceUseTimeRemap=", L"0");
    mCConfList.Add(&miStep, L"DF3SequenceStep=", L"1");
    mCConfList.Add(&mbRepeat, L"DF3SequenceRepeat=", L"0");
    mCConfList.Add(&muSceneLengthType, L"DF3SequenceSceneLengthType=", L"0");
    mCConfList.Add(&muWaitMs, L"DF3SequencePlayWaitMS=", L"0");

    // The default remap curve is the identity: data time equals scene time.
    Parameters_cls::Snapshot identity;
    identity.bTimeDepend = true;
    identity.bSelectable = false;
    for (double t : {0.0, 1.0}) {
        KeyFrame_cls key(1);
        key.Set(t, kInterpLinear, &t, nullptr, nullptr, false);
        identity.vKeys.push_back(key);
    }
    mCTimeRemap.RestoreSnapshot(identity);
    mvbSnipTag.assign(static_cast<size_t>(GetMaxFrame()), false);
}

std::wstring TimeCtrl_cls::SerializeParam() const
{
    std::wstring out = mCConfList.SerializeAll();
    out += std::wstring(kRemapTag) + L"\n";
    out += mCTimeRemap.Serialize();
    out += std::wstring(kEndTag) + L"\n";
    return out;
}

bool TimeCtrl_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& line)
{
    if (Trimmed(line) != kRemapTag)
        return mCConfList.ReadStrLineAll(line);
    std::wstring inner;
    while (stream.GetLine(inner)) {
        if (Trimmed(inner) == kEndTag)
            break;
        mCTimeRemap.ReadStrLine(stream, inner); // unknown lines inside the block are skipped
    }
    return true;
}

void TimeCtrl_cls::SetWA(int min, int max)
{
    miWAMin.Set(min);
    miWAMax.Set(max);
}

void TimeCtrl_cls::SetAA(int min, int max)
{
    miAAMin.Set(min);
    miAAMax.Set(max);
}

// ---- normalised times ------------------------------------------------------------------------

double TimeCtrl_cls::GetDoubleIndex(int frame) const
{
    if (frame == -1)
        frame = miIndex;
    const int length = GetMaxFrame();
    if (length == 0)
        return 0.0;
    return static_cast<double>(frame) / static_cast<double>(length);
}

int TimeCtrl_cls::GetIndexFromDouble(double t) const
{
    const int length = GetMaxFrame();
    if (length == 0)
        return 0;
    return static_cast<int>(length * t + 0.1);
}

double TimeCtrl_cls::GetPercentage() const
{
    if (GetWAMin() == GetWAMax())
        return 0.0;
    const double span = GetDoubleIndexWAMax() - GetDoubleIndexWAMin();
    if (span == 0.0)
        return 0.0;
    return (GetDoubleIndex() - GetDoubleIndexWAMin()) / span * 100.0;
}

int TimeCtrl_cls::GetOffsetForImgSeq() const
{
    return (miIndex - GetWAMin()) / GetStep();
}

bool TimeCtrl_cls::IsWorkingArea(int frame) const
{
    return GetWAMin() <= frame && frame <= GetWAMax() && frame <= GetMaxFrame();
}

int TimeCtrl_cls::GetInterval(int n)
{
    if (n > 1000)
        return 10;
    if (n > 500)
        return 5;
    if (n > 200)
        return 2;
    return 1;
}

// ---- range repair and setting the frame ------------------------------------------------------

void TimeCtrl_cls::CheckWorkingArea()
{
    const int length = GetMaxFrame();
    if (GetWAMax() > length)
        miWAMax.Set(length);
    if (GetWAMin() > GetWAMax())
        SetWA(GetWAMax(), GetWAMin()); // entered in reverse order: swapped, not rejected
    if (GetAAMax() > length)
        miAAMax.Set(length);
    if (GetAAMin() > GetAAMax())
        SetAA(GetAAMax(), GetAAMin());
    if (miIndex < GetAAMin())
        miIndex = GetAAMin();
    if (miIndex > GetAAMax())
        miIndex = GetAAMax();
    if (miIndex > length)
        miIndex = IsRepeat() ? 0 : length;
    miIndex = Grid(miIndex);
    NotifyFrameBox();
}

void TimeCtrl_cls::SetIndex(int frame)
{
    const int length = GetMaxFrame();
    if (frame > length)
        frame = IsRepeat() ? 0 : length;
    miIndex = Grid(frame);
    CheckWorkingArea();
    DispatchTimeData();
}

void TimeCtrl_cls::SetIndexWithinWA()
{
    SetIndex(std::clamp(miIndex, std::min(GetWAMin(), GetWAMax()), std::max(GetWAMin(), GetWAMax())));
}

void TimeCtrl_cls::SetMaxFrame(int n)
{
    const int old = GetMaxFrame();
    miMaxFrame.Set(n);
    if (miIndex > n)
        miIndex = 0;
    if (n != old) {
        if (GetAAMax() == old)
            miAAMax.Set(n);
        if (GetWAMax() == old)
            miWAMax.Set(n);
        if (GetAAMax() > n)
            miAAMax.Set(n);
    }
    mvbSnipTag.resize(static_cast<size_t>(std::max(n, 0)), false);
    DispatchTimeData();
}

void TimeCtrl_cls::SetWorkingArea(int n)
{
    SetWA(0, n);
    SetAA(0, n);
    DispatchTimeData();
}

void TimeCtrl_cls::SetWAInHere()
{
    miWAMin.Set(miIndex);
    CheckWorkingArea();
    DispatchTimeData();
}

void TimeCtrl_cls::SetWAOutHere()
{
    miWAMax.Set(miIndex);
    CheckWorkingArea();
    DispatchTimeData();
}

// ---- stepping, snipping and zooming ----------------------------------------------------------

int TimeCtrl_cls::CalcNextStep(int direction, bool withinWA, bool wrap) const
{
    const int length = GetMaxFrame();
    int next = miIndex + direction * GetStep();
    // Only an overshoot above the length is handled; a step below 0 is left to the range repair.
    if (next > length) {
        if (direction > 0)
            next = (wrap && IsRepeat()) ? 0 : length;
        else if (direction < 0)
            next = (wrap && IsRepeat()) ? length : 0;
    }
    if (direction != 0 && withinWA)
        next = std::clamp(next, std::min(GetWAMin(), GetWAMax()), std::max(GetWAMin(), GetWAMax()));
    return Grid(next);
}

void TimeCtrl_cls::FrameStep(int direction, bool withinWA)
{
    miIndex = CalcNextStep(direction, withinWA, true);
    DispatchTimeData();
}

void TimeCtrl_cls::FrameMoveL(int direction, bool withinWA)
{
    int target = miIndex + direction * 10 * GetStep();
    target = std::clamp(target, 0, std::max(GetMaxFrame(), 0));
    if (withinWA)
        target = std::clamp(target, std::min(GetWAMin(), GetWAMax()), std::max(GetWAMin(), GetWAMax()));
    SetIndex(target);
}

void TimeCtrl_cls::SetSnipTag(int frame, bool on)
{
    if (frame < 0 || frame >= GetMaxFrame())
        return;
    if (static_cast<size_t>(frame) >= mvbSnipTag.size())
        mvbSnipTag.resize(static_cast<size_t>(GetMaxFrame()), false);
    mvbSnipTag[static_cast<size_t>(frame)] = on;
}

bool TimeCtrl_cls::GetSnipTag(int frame) const
{
    return frame >= 0 && static_cast<size_t>(frame) < mvbSnipTag.size() && mvbSnipTag[static_cast<size_t>(frame)];
}

void TimeCtrl_cls::SnipNext()
{
    const int length = GetMaxFrame();
    int target = length;
    for (int f = miIndex + GetStep(); f < length; ++f) {
        if (GetSnipTag(f)) {
            target = f;
            break;
        }
    }
    miIndex = target;
    CheckWorkingArea();
    DispatchTimeData();
}

void TimeCtrl_cls::SnipPrev()
{
    int target = 0;
    for (int f = miIndex - GetStep(); f > 0; --f) {
        if (GetSnipTag(f)) {
            target = f;
            break;
        }
    }
    miIndex = target;
    CheckWorkingArea();
    DispatchTimeData();
}

void TimeCtrl_cls::ZoomIn()
{
    const int half = std::max((GetWAMax() - GetWAMin()) / 4, GetStep());
    SetWA(std::max(miIndex - half, 0), std::min(miIndex + half, GetMaxFrame()));
    CheckWorkingArea();
    DispatchTimeData();
}

void TimeCtrl_cls::ZoomOut()
{
    const int centre = (GetWAMin() + GetWAMax()) / 2;
    const int half = std::max(GetWAMax() - GetWAMin(), GetStep());
    SetWA(std::max(centre - half, 0), std::min(centre + half, GetMaxFrame()));
    CheckWorkingArea();
    DispatchTimeData();
}

// ---- push to listeners -----------------------------------------------------------------------

void TimeCtrl_cls::DispatchTimeData()
{
    Parameters_cls::SetFrameNumber(GetMaxFrame(), GetStep());
    Parameters_cls::SetCurrentDoubleIndex(GetDoubleIndex());
    TimeData data;
    data.iIndex = miIndex;
    data.iMaxFrame = GetMaxFrame();
    data.iAAMin = GetAAMin();
    data.iAAMax = GetAAMax();
    data.dIndex = GetDoubleIndex();
    data.dAAMin = GetDoubleIndexAAMin();
    data.dAAMax = GetDoubleIndexAAMax();
    data.dWAMin = GetDoubleIndexWAMin();
    data.dWAMax = GetDoubleIndexWAMax();
    mCTimeRemap.Evaluate(data.dIndex, 0.0, &data.dRemapped);
    mCTimeRemap.RefreshCurrent();
    const auto listeners = mvTimeListener; // a listener may unsubscribe while being called
    for (const auto& entry : listeners)
        if (entry.second)
            entry.second(data);
}

void TimeCtrl_cls::NotifyFrameBox()
{
    const auto listeners = mvFrameBoxListener;
    for (const auto& entry : listeners)
        if (entry.second)
            entry.second(miIndex);
}

int TimeCtrl_cls::AddTimeListener(TimeListener listener)
{
    const int id = miNextListenerId++;
    mvTimeListener.emplace_back(id, std::move(listener));
    return id;
}

int TimeCtrl_cls::AddFrameBoxListener(FrameBoxListener listener)
{
    const int id = miNextListenerId++;
    mvFrameBoxListener.emplace_back(id, std::move(listener));
    return id;
}

void TimeCtrl_cls::RemoveListener(int id)
{
    auto drop = [id](auto& list) {
        list.erase(std::remove_if(list.begin(), list.end(), [id](const auto& e) { return e.first == id; }), list.end());
    };
    drop(mvTimeListener);
    drop(mvFrameBoxListener);
}

void TimeCtrl_cls::SetParameterListProvider(std::function<std::vector<Parameters_cls*>()> provider)
{
    mParameterListProvider = std::move(provider);
}

bool TimeCtrl_cls::RemapParameterKeys(double factor)
{
    std::vector<Parameters_cls*> sets;
    if (mParameterListProvider) {
        sets = mParameterListProvider();
    } else {
        // A slave follows its master's moves, so moving it on its own would move it twice.
        for (Parameters_cls* p : Parameters_cls::GetInstances())
            if (!p->GetPMaster())
                sets.push_back(p);
    }
    UndoManager_cls& undo = GetUndoManager();
    undo.OpenBlock();
    bool moved = false;
    for (Parameters_cls* p : sets)
        if (Parameters_cls::IsLive(p))
            moved |= p->RemapKeys(factor, &p->GetUndo() == &undo);
    undo.CloseBlock();
    return moved;
}

// ---- time remap ------------------------------------------------------------------------------

double TimeCtrl_cls::GetRemappedIndexDouble(int frame, int lastDataFrame) const
{
    if (frame == -1)
        frame = miIndex;
    if (!IsUseTimeRemap())
        return static_cast<double>(frame);
    const int last = std::max(lastDataFrame >= 0 ? lastDataFrame : GetLastDataFrame(), 0);
    double value = 0.0;
    mCTimeRemap.Evaluate(GetDoubleIndex(frame), 0.0, &value);
    return std::clamp(value * last, 0.0, static_cast<double>(last));
}

int TimeCtrl_cls::GetRemappedIndex(int frame, int lastDataFrame) const
{
    return static_cast<int>(GetRemappedIndexDouble(frame, lastDataFrame));
}

// ---- play state ------------------------------------------------------------------------------

void TimeCtrl_cls::Play(PlayState state)
{
    mPlayState = state;
    if (state != kStopped)
        miPlayDirection = static_cast<int>(state);
    mbPlayStarted = false;
}

std::wstring TimeCtrl_cls::GetWaitLabel()
{
    return TrW("Wait(ms)");
}

bool TimeCtrl_cls::PlayTick(long long nowMs)
{
    if (!IsPlaying())
        return false;
    if (mbPlayStarted && nowMs - mllLastPlayMs < static_cast<long long>(GetWaitMs()))
        return false;
    mbPlayStarted = true;
    mllLastPlayMs = nowMs;
    const int direction = static_cast<int>(mPlayState);
    int next = CalcNextStep(direction, true, true);
    if (next == miIndex) {
        // Standing at an end of the working area.
        if (!IsRepeat()) {
            Stop();
            return false;
        }
        next = Grid(direction > 0 ? std::min(GetWAMin(), GetWAMax()) : std::max(GetWAMin(), GetWAMax()));
    }
    miIndex = next;
    DispatchTimeData();
    return true;
}
