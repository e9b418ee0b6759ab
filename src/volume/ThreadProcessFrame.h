#pragma once
// The processing worker of one data slot: runs the slot's filter chain over one frame away from
// the GUI thread, so that a 16 MB frame (or a chain with a large blur) never holds up an idle
// pass. The GUI thread decides on its own side whether the frame needs processing (that records
// the chain's signature and evaluates its parameters at the time of the request), starts the
// worker, polls it from later idle passes and joins it. While the worker runs, it holds the frame,
// the frame's time-remap neighbour (read only) and the slot's chain: the GUI thread touches none
// of them before Join.
#include "filter/MultiThreadCtrl_cls.h"
#include "volume/DF3_cls.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

class ThreadProcessFrame : public MultiThreadThread_cls
{
  public:
    /// No run yet.
    ThreadProcessFrame() = default;
    /// Joins a run still going.
    ~ThreadProcessFrame() override;
    ThreadProcessFrame(const ThreadProcessFrame&) = delete;
    ThreadProcessFrame& operator=(const ThreadProcessFrame&) = delete;

    /// Starts processing `frame` as `job` says (see DF3_cls::BeginProcessXYZData). False when a
    /// run has not been joined yet. GUI thread.
    bool Start(DF3_cls* frame, const DF3_cls::ProcessJob& job);
    /// True from Start until Join.
    bool IsRunning() const { return mpFrame != nullptr; }
    /// The frame of the run (null when none).
    DF3_cls* GetFrame() const { return mpFrame; }
    /// True once the work of the run is done (Join then returns at once).
    bool IsFinished() const;
    /// Waits at most `limit` for the work to end; true when it has ended.
    bool WaitFor(std::chrono::microseconds limit);
    /// Waits for the run and forgets it; returns the chain's result (true when none ran).
    bool Join();
    /// Runs started since construction (tests count them).
    unsigned GetRunCount() const { return muRuns; }

    /// The work; runs on the worker thread.
    void Entry() override;

  private:
    DF3_cls* mpFrame = nullptr;
    DF3_cls::ProcessJob mCJob;
    mutable std::mutex mMutex;
    std::condition_variable mCDone;
    bool mbDone = false;
    bool mbResult = true;
    unsigned muRuns = 0;
};
