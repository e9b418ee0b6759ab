#include "volume/ResumableProgress_cls.h"

void ResumableProgress_cls::Initialize(uint32_t total)
{
    muTotal = total;
    mbInProgress = true;
    miStartTime = Now();
}

void ResumableProgress_cls::Clear()
{
    mbFinished = false;
    mbInProgress = false;
    muPosition = 0;
}

void ResumableProgress_cls::Finalize()
{
    mbFinished = true;
    mbInProgress = false;
}

bool ResumableProgress_cls::IsResumeConditionSatisfied(bool noInterrupt) const
{
    if (noInterrupt)
        return false;
    return Now() - miStartTime >= miTimeBudget;
}

bool ResumableProgress_cls::IsResumeConditionSatisfied(bool noInterrupt, int64_t nextTicks) const
{
    if (noInterrupt)
        return false;
    return Now() - miStartTime + (nextTicks > 0 ? nextTicks : 0) >= miTimeBudget;
}

int ResumableProgress_cls::GetPercent() const
{
    if (mbFinished)
        return 100;
    if (!mbInProgress)
        return 0;
    if (muPosition > muTotal || muTotal == 0)
        return 100;
    return static_cast<int>(static_cast<uint64_t>(muPosition) * 100 / muTotal);
}
