#pragma once
// Progress of a piece of work that is spread over several calls (idle passes): where it stopped,
// how far it has to go, and a CPU-time budget after which the current call should return.
#include <cstdint>
#include <ctime>

class ResumableProgress_cls
{
  public:
    /// Default budget per call: 25 ms in clock() ticks (CLOCKS_PER_SEC is 1 000 000 on POSIX).
    static constexpr int64_t kDefaultTimeBudget = 25000;

    virtual ~ResumableProgress_cls() = default;

    /// Starts (or continues) a run: sets the total, the in-progress flag and the start time of
    /// this call's budget. The position is kept, so a cleared record starts at 0.
    void Initialize(uint32_t total);
    /// Forgets everything: not finished, not in progress, position 0.
    void Clear();
    /// True when nothing has been done since the last Clear().
    bool IsCleared() const { return !mbFinished && !mbInProgress && muPosition == 0; }
    /// True once Finalize() was called.
    bool IsFinished() const { return mbFinished; }
    /// True between Initialize() and Finalize().
    bool IsInProgress() const { return mbInProgress; }
    /// Marks the work as done.
    void Finalize();
    /// False when noInterrupt is set; otherwise true once the budget since Initialize() is spent.
    /// Note that clock() is process CPU time, so workers running meanwhile consume it too.
    bool IsResumeConditionSatisfied(bool noInterrupt) const;
    /// The same, and also true when one more unit of `nextTicks` (say, the longest unit of this
    /// call so far) would spend more than the budget: a call stops before a unit that would
    /// overrun it rather than after.
    bool IsResumeConditionSatisfied(bool noInterrupt, int64_t nextTicks) const;
    /// clock() now, for measuring units against the budget.
    static int64_t Now() { return static_cast<int64_t>(clock()); }
    /// Position >= total.
    virtual bool IsFinishConditionSatisfied() const { return muPosition >= muTotal; }
    /// 100 when finished, 0 when not in progress, 100 when past the end, else position*100/total.
    int GetPercent() const;

    /// Next unit of work to do (slices for readers and axis copies).
    uint32_t GetPosition() const { return muPosition; }
    /// Stores where the work stopped.
    void SetPosition(uint32_t position) { muPosition = position; }
    /// Units of work in all.
    uint32_t GetTotal() const { return muTotal; }
    /// Budget per call in clock() ticks; 0 makes every call do one step (useful in tests).
    void SetTimeBudget(int64_t ticks) { miTimeBudget = ticks; }
    int64_t GetTimeBudget() const { return miTimeBudget; }

  private:
    int64_t miTimeBudget = kDefaultTimeBudget;
    bool mbFinished = false;
    bool mbInProgress = false;
    int64_t miStartTime = 0;
    uint32_t muPosition = 0;
    uint32_t muTotal = 0;
};
