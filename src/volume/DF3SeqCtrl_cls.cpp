#include "volume/DF3SeqCtrl_cls.h"

#include "volume/TexObjectJobs_cls.h"

#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "config/LineStream_cls.h"
#include "config/PreviewProperty_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterCtrl_cls.h"
#include "volume/DF3_cls.h"
#include "volume/TexObjectJobsHeadless_cls.h"

#include <algorithm>
#include <cmath>

namespace
{

const std::wstring kActiveDataSlotKey = L"ActiveDataSlot=";

uint32_t ToMB(uint64_t kb)
{
    const uint64_t mb = kb / 1024;
    return mb > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(mb);
}

} // namespace

// ---- slots and settings --------------------------------------------------------------------------

DF3SeqCtrl_cls::DF3SeqCtrl_cls(TimeCtrl_cls* clock) : mpTimeCtrl(clock)
{
    mCConfList.Add(&muCritTexMB, L"DF3CritTexMemoryMB=", L"100");
    mCConfList.Add(&muCritXYMB, L"DF3CritXYMemoryMB=", L"200");
    mCConfList.Add(&muCritXYZMB, L"DF3CritXYZMemoryMB=", L"400");
    mCConfList.Add(&muAppendType, L"DF3SequenceAppendType=", L"0");
    mCDownSizeList.Add(&muDownSizeLayer, L"DownSizeLayer=", L"1 1 1");
    mCDownSizeList.Add(&muDownSizeSRC, L"DownSizeSRC=", L"1 1 1");
    muActiveDataSlot.SetItem(kActiveDataSlotKey, L"0");
    mCSceneConfList.Add(&mbItemPrefetch, L"DF3SequencePrefetch=", L"1");
    mpSlotAlpha = std::make_unique<Parameters_cls>(kSlotCount, L"SlotAlpha");
    mpSlotAlpha->ProcClearKey(std::vector<double>(kSlotCount, 1.0));
    for (int s = 0; s < kSlotCount; ++s) {
        mvpSequence[static_cast<size_t>(s)] = std::make_unique<DF3Sequence_cls>();
        mvpSequence[static_cast<size_t>(s)]->Link(this, s, clock);
    }
    GetPreviewProperty().SetFilterProcessRequiredHook([this](int slot) { return IsFilterProcessRequired(slot); });
    // Each slot's chain writes its blocks after the slot's file block and reads them back while
    // its "ActiveDataSlot=" section is selected.
    SetSlotBlockHooks([this](int slot) { return GetSequence(slot).GetFilterCtrl().SerializeConf(); },
                      [this](int slot, LineStream_cls& stream, const std::wstring& line) {
                          return GetSequence(slot).GetFilterCtrl().ReadStrLine(stream, line);
                      });
}

DF3SeqCtrl_cls::~DF3SeqCtrl_cls()
{
    GetPreviewProperty().SetFilterProcessRequiredHook(nullptr);
    // Frames first: their texture jobs may still need the factory's owner.
    for (auto& sequence : mvpSequence)
        sequence->ClearFileSequence();
}

int DF3SeqCtrl_cls::ClampSlot(int slot) const
{
    return std::clamp(slot, 0, kSlotCount - 1);
}

DF3Sequence_cls& DF3SeqCtrl_cls::GetSequence(int slot)
{
    return *mvpSequence[static_cast<size_t>(ClampSlot(slot))];
}

const DF3Sequence_cls& DF3SeqCtrl_cls::GetSequence(int slot) const
{
    return *mvpSequence[static_cast<size_t>(ClampSlot(slot))];
}

void DF3SeqCtrl_cls::SetActiveSlot(int slot)
{
    miActiveSlot = ClampSlot(slot);
}

void DF3SeqCtrl_cls::SetCritMemoryMB(uint32_t tex, uint32_t xy, uint32_t xyz)
{
    muCritTexMB.Set(tex);
    muCritXYMB.Set(xy);
    muCritXYZMB.Set(xyz);
}

uint32_t DF3SeqCtrl_cls::GetDownSizeSRC(int axis) const
{
    const uint32_t f = muDownSizeSRC.Get(axis);
    return f == 0 ? 1 : f;
}

uint32_t DF3SeqCtrl_cls::GetDownSizeLayer(int axis) const
{
    const uint32_t f = muDownSizeLayer.Get(axis);
    return f == 0 ? 1 : f;
}

// ---- memory and the prefetch window ----------------------------------------------------------------

void DF3SeqCtrl_cls::CalcCurrentUsedMemory()
{
    uint64_t tex = 0, xy = 0, xyz = 0;
    for (const auto& sequence : mvpSequence) {
        tex += sequence->GetTextureKB();
        xy += sequence->GetXYKB();
        xyz += sequence->GetXYZKB();
    }
    // A texture kept for the next frame of the same size holds memory as well.
    tex += TexObjectJobs_cls::GetSpareTextureKB();
    muUsedTexMB = ToMB(tex);
    muUsedXYMB = ToMB(xy);
    muUsedXYZMB = ToMB(xyz);
}

double DF3SeqCtrl_cls::CalcTextureMBPerStep() const
{
    const double bytesPerVoxel = GetPreviewProperty().GetTextureBytesPerVoxel();
    double bytes = 0.0;
    for (const auto& sequence : mvpSequence)
        bytes += static_cast<double>(sequence->GetStepVoxelCount()) * bytesPerVoxel;
    // Small frames would give an endless window; one megabyte per step is the least counted.
    return std::max(bytes / (1024.0 * 1024.0), 1.0);
}

void DF3SeqCtrl_cls::SplitPrefetchCount(int n, int& forward, int& backward)
{
    forward = 0;
    backward = 0;
    if (n < 0)
        return;
    if (n <= 2) {
        forward = n;
        return;
    }
    // Three times as far ahead as behind: playback mostly runs forward.
    forward = std::min(n, kMaxPrefetch);
    while (forward / 3 > backward) {
        --forward;
        ++backward;
    }
}

int DF3SeqCtrl_cls::GetPrefetchCentre() const
{
    const DF3Sequence_cls& first = GetSequence(0);
    if (first.GetFrameCount() > 0)
        return std::min(first.GetRemappedIndex(-1), first.GetLastIndex());
    // Slot 0 empty: the window follows the first slot that holds data.
    for (const auto& sequence : mvpSequence)
        if (sequence->GetFrameCount() > 0)
            return sequence->GetRemappedIndex(-1);
    return mpTimeCtrl ? mpTimeCtrl->GetRemappedIndex(-1) : 0;
}

void DF3SeqCtrl_cls::CalcPrefetchRange(double m)
{
    if (!(m >= 1.0))
        m = 1.0;
    const double perLimit = std::floor(static_cast<double>(GetCritTexMemoryMB()) / m);
    const int n = static_cast<int>(std::min(perLimit, 1.0e6)) - 1;
    int forward = 0, backward = 0;
    SplitPrefetchCount(n, forward, backward);
    const int c = GetPrefetchCentre();
    const int step = mpTimeCtrl ? mpTimeCtrl->GetStep() : 1;
    miPrefetchBackwardEnd = c - backward * step;
    miPrefetchForwardEnd = c + forward * step;
}

// ---- idle work and playback -------------------------------------------------------------------------

int DF3SeqCtrl_cls::IdleProcessesMainEach(int slot, int index, bool full, bool skipTexture)
{
    return GetSequence(slot).IdleProcessesMain(index, full, skipTexture);
}

int DF3SeqCtrl_cls::IdleProcessesMainAll(int step, bool full, bool skipTexture)
{
    bool failed = false, stepped = false, bound = false;
    for (auto& sequence : mvpSequence) {
        if (sequence->GetFrameCount() == 0)
            continue;
        const int result = sequence->IdleProcessesMain(sequence->GetRemappedIndex(step), full, skipTexture);
        failed |= result == DF3Sequence_cls::kIdleFailed;
        stepped |= result == DF3Sequence_cls::kIdleStep;
        bound |= result == DF3Sequence_cls::kIdleBound;
    }
    if (failed)
        return DF3Sequence_cls::kIdleFailed;
    if (stepped)
        return DF3Sequence_cls::kIdleStep;
    return bound ? DF3Sequence_cls::kIdleBound : DF3Sequence_cls::kIdleNothing;
}

bool DF3SeqCtrl_cls::IdleProcessesFetch()
{
    for (auto& sequence : mvpSequence)
        if (sequence->IdleProcessesFetch())
            return true;
    return false;
}

bool DF3SeqCtrl_cls::IdleProcessesRelease(int slot, bool withMargin)
{
    CalcCurrentUsedMemory();
    CalcPrefetchRange(CalcTextureMBPerStep());
    if (slot >= 0)
        return GetSequence(slot).IdleProcessesRelease(withMargin);
    bool released = false;
    for (auto& sequence : mvpSequence) {
        if (sequence->IdleProcessesRelease(withMargin)) {
            released = true;
            // The next slot decides on what is really left in use.
            CalcCurrentUsedMemory();
        }
    }
    return released;
}

bool DF3SeqCtrl_cls::PlayTex(long long nowMs)
{
    if (!mpTimeCtrl || !mpTimeCtrl->IsPlaying())
        return false;
    std::array<int, kSlotCount> before{};
    bool anyData = false;
    for (int s = 0; s < kSlotCount; ++s) {
        before[static_cast<size_t>(s)] = GetSequence(s).GetRemappedIndex(-1);
        anyData |= GetSequence(s).GetFrameCount() > 0;
    }
    if (!anyData || !mpTimeCtrl->PlayTick(nowMs))
        return false;
    bool shown = false;
    for (int s = 0; s < kSlotCount; ++s) {
        DF3Sequence_cls& sequence = GetSequence(s);
        if (sequence.GetFrameCount() == 0)
            continue;
        const int current = sequence.GetRemappedIndex(-1);
        if (current != before[static_cast<size_t>(s)])
            sequence.EvaluateOldPoint();
        shown |= sequence.IdleProcessesMain(current, true, false) != DF3Sequence_cls::kIdleFailed;
    }
    return shown;
}

int DF3SeqCtrl_cls::PrefetchForPlay(int nextStep, const std::function<bool()>& timeLeft)
{
    int stages = 0;
    bool stop = false;
    while (!stop && IsPrefetch() && timeLeft()) {
        bool any = false;
        for (int s = 0; s < kSlotCount; ++s) {
            DF3Sequence_cls& sequence = GetSequence(s);
            // Empty slots have nothing to prepare and must not end the prefetch of the others.
            if (sequence.GetFrameCount() == 0)
                continue;
            any = true;
            const int result = IdleProcessesMainEach(s, sequence.GetRemappedIndex(nextStep), false, false);
            if (result == DF3Sequence_cls::kIdleStep || result == DF3Sequence_cls::kIdleBound) {
                ++stages;
                continue;
            }
            if (IdleProcessesRelease(s, false))
                ++stages;
            else
                stop = true;
        }
        if (!any)
            break;
    }
    return stages;
}

int DF3SeqCtrl_cls::GetRemappedIndex(int slot, int step) const
{
    return GetSequence(slot).GetRemappedIndex(step);
}

void DF3SeqCtrl_cls::WaitProcessingAll()
{
    for (auto& sequence : mvpSequence)
        sequence->WaitProcessing();
}

bool DF3SeqCtrl_cls::IsProcessingAny() const
{
    for (const auto& sequence : mvpSequence)
        if (sequence->IsProcessing())
            return true;
    return false;
}

void DF3SeqCtrl_cls::ReleaseAll()
{
    for (auto& sequence : mvpSequence)
        sequence->ReleaseAll();
}

void DF3SeqCtrl_cls::SetFileChangedTagAll()
{
    for (auto& sequence : mvpSequence)
        sequence->SetFileChangedTagAll();
}

// ---- project text ------------------------------------------------------------------------------------

std::wstring DF3SeqCtrl_cls::SerializeAllDF3Sequence() const
{
    std::wstring text = mCDownSizeList.SerializeAll();
    // The active-slot item doubles as the section selector: each one switches the slot that
    // receives the following lines, and the last one selects the slot that was active.
    for (int s = 0; s < kSlotCount; ++s) {
        text += kActiveDataSlotKey + WStrPrintf("%d", s) + L"\n";
        text += GetSequence(s).SerializeFile();
        if (mSlotSerializer)
            text += mSlotSerializer(s);
    }
    text += kActiveDataSlotKey + WStrPrintf("%d", miActiveSlot) + L"\n";
    return text;
}

bool DF3SeqCtrl_cls::ReadStrLineAllDF3Sequence(LineStream_cls& stream, const std::wstring& line)
{
    // Anchored: the selector must never be taken from a line that merely contains the key.
    if (line.compare(0, kActiveDataSlotKey.size(), kActiveDataSlotKey) == 0) {
        muActiveDataSlot.ReadStrLine(line);
        SetActiveSlot(static_cast<int>(std::min<uint32_t>(muActiveDataSlot.Get(), kSlotCount - 1)));
        return true;
    }
    if (mCDownSizeList.ReadStrLineAll(line))
        return true;
    if (GetActiveSequence().ReadStrLineFile(stream, line))
        return true;
    return mSlotLineReader && mSlotLineReader(miActiveSlot, stream, line);
}

// ---- hooks for the texture and filter code ----------------------------------------------------------

std::unique_ptr<TexObjectJobs_cls> DF3SeqCtrl_cls::CreateTexJobs(DF3_cls& frame) const
{
    if (mTexJobsFactory)
        if (auto jobs = mTexJobsFactory(frame))
            return jobs;
    return std::make_unique<TexObjectJobsHeadless_cls>();
}

bool DF3SeqCtrl_cls::IsFilterProcessRequired(int slot) const
{
    return GetSequence(slot).IsFilterProcessRequired();
}

bool DF3SeqCtrl_cls::IsReprocessRequired(int slot) const
{
    return GetSequence(slot).IsReprocessRequired();
}

void DF3SeqCtrl_cls::SetSlotBlockHooks(SlotSerializer serializer, SlotLineReader reader)
{
    mSlotSerializer = std::move(serializer);
    mSlotLineReader = std::move(reader);
}
