#pragma once
// Runs the slots' filter chains on the frames being shown, away from the GUI thread, after a
// chain or one of its settings changed: a chain with a large blur or morphology takes seconds,
// and the window must keep drawing and answering meanwhile. The frames' processed voxels and
// their signatures are what the chain leaves; the texture generation of the idle loop then finds
// the signature unchanged and only uploads. The GUI thread starts it, polls it from the idle loop
// and joins it; while it runs the GUI thread must not touch the chains or the frames (it waits
// with Join before any edit).
#include <atomic>
#include <functional>
#include <thread>
#include <vector>

class DF3_cls;

class ThreadFilterChain
{
  public:
    /// No run yet.
    ThreadFilterChain() = default;
    /// Joins a run still going.
    ~ThreadFilterChain();
    /// One worker per window: not copied.
    ThreadFilterChain(const ThreadFilterChain&) = delete;
    ThreadFilterChain& operator=(const ThreadFilterChain&) = delete;

    /// Starts processing `frames` (each frame's own chain, in order); `progress` is called on the
    /// worker after each frame (it must only wake the GUI thread). False when a run is still
    /// going or there is nothing to do. GUI thread.
    bool Start(std::vector<DF3_cls*> frames, std::function<void()> progress);
    /// True from Start until Join.
    bool IsRunning() const { return mThread.joinable(); }
    /// True once the worker has processed every frame (Join returns at once then).
    bool IsFinished() const { return mbFinished.load(); }
    /// Frames done and frames in the run, for the progress gauge.
    int GetDone() const { return miDone.load(); }
    int GetTotal() const { return static_cast<int>(mvpFrame.size()); }
    /// Waits for the run to end (nothing when none runs). GUI thread.
    void Join();

  private:
    void Entry();

    std::vector<DF3_cls*> mvpFrame;
    std::function<void()> mOnProgress;
    std::thread mThread;
    std::atomic<bool> mbFinished{false};
    std::atomic<int> miDone{0};
};
