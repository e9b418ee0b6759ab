#include "volume/TexObjectJobs_cls.h"

#include "volume/DF3_cls.h"

#include <algorithm>

namespace
{

// Runs units of a started job until it is complete or (unless full) the budget is spent or
// would be by one more unit as long as the longest so far. Returns false when a unit failed.
template <typename Unit> bool RunUnits(ResumableProgress_cls& job, bool full, Unit unit)
{
    int64_t longest = 0;
    while (!job.IsFinishConditionSatisfied()) {
        const uint32_t position = job.GetPosition();
        const int64_t started = ResumableProgress_cls::Now();
        if (!unit(position))
            return false;
        longest = std::max(longest, ResumableProgress_cls::Now() - started);
        job.SetPosition(position + 1);
        if (job.IsResumeConditionSatisfied(full, longest))
            break;
    }
    if (job.IsFinishConditionSatisfied())
        job.Finalize();
    return true;
}

} // namespace

uint32_t TexObjectJobs_cls::msSpareKB = 0;

void TexObjectJobs_cls::SetTimeBudget(int64_t ticks)
{
    mCGen.SetTimeBudget(ticks);
    mCBind.SetTimeBudget(ticks);
    mCDelete.SetTimeBudget(ticks);
}

bool TexObjectJobs_cls::GenerateTexObjects(DF3_cls& frame, bool full)
{
    if (!mCGen.IsInProgress()) {
        // A new job: the textures of an earlier one are replaced, so the bind job starts over.
        mCGen.Clear();
        mCBind.Clear();
        uint32_t total = 0;
        if (!StartGenerate(frame, total))
            return false;
        mCGen.Initialize(total < 1 ? 1 : total);
        // Textures show the processed voxels: the filter chain runs once per generation, on the
        // slot's processing worker. In idle time starting it is the whole step; later steps
        // poll it, and the units follow once it has ended.
        frame.StartProcessXYZData();
        if (!full)
            return true;
    }
    if (full) {
        while (!frame.PollProcessXYZData(std::chrono::seconds(1))) {
        }
    } else if (!frame.PollProcessXYZData(kProcessPollWait)) {
        return true;
    }
    mCGen.Initialize(mCGen.GetTotal());
    if (!RunUnits(mCGen, full, [&](uint32_t u) { return GenerateUnit(frame, u); })) {
        mCGen.Clear();
        return false;
    }
    return true;
}

bool TexObjectJobs_cls::IsWaitingForProcessing(const DF3_cls& frame) const
{
    return mCGen.IsInProgress() && mCGen.GetPosition() == 0 && frame.IsProcessingOnWorker();
}

bool TexObjectJobs_cls::BindTexObjects(DF3_cls& frame, bool full)
{
    if (!mCGen.IsFinished())
        return false;
    if (!mCBind.IsInProgress()) {
        mCBind.Clear();
        uint32_t total = 0;
        if (!StartBind(frame, total))
            return false;
        mCBind.Initialize(total < 1 ? 1 : total);
    } else {
        mCBind.Initialize(mCBind.GetTotal());
    }
    if (!RunUnits(mCBind, full, [&](uint32_t u) { return BindUnit(frame, u); })) {
        mCBind.Clear();
        return false;
    }
    return true;
}

bool TexObjectJobs_cls::DeleteTexObjects(bool full, bool isCurrent)
{
    if (!mCDelete.IsInProgress()) {
        mCDelete.Clear();
        uint32_t total = 0;
        if (!StartDelete(isCurrent, total))
            return false;
        mCDelete.Initialize(total < 1 ? 1 : total);
    } else {
        mCDelete.Initialize(mCDelete.GetTotal());
    }
    const bool ok = RunUnits(mCDelete, full, [&](uint32_t u) { return DeleteUnit(isCurrent, u); });
    if (!ok)
        mCDelete.Clear();
    // Whatever was generated or bound is gone (or going) once deletion has begun.
    mCGen.Clear();
    mCBind.Clear();
    return ok;
}
