#pragma once
// A worker that runs one function, and the lanes of the extraction built on it.
#include "filter/MultiThreadCtrl_cls.h"

#include <cstddef>
#include <functional>

/// Runs one function on a worker slot of MultiThreadCtrl_cls.
class ThreadIsoLane final : public MultiThreadThread_cls
{
  public:
    /// fn runs once, on the worker thread.
    explicit ThreadIsoLane(std::function<void()> fn);
    /// Calls the function.
    void Entry() override;

    /// Runs fn(lane) for every lane in [0, lanes) and returns when all have finished. Lanes 1 and
    /// up start on worker slots of ctrl; lane 0 runs on the calling thread, which would otherwise
    /// only wait (on a busy machine a thread that is already running also need not queue for the
    /// processor again). lanes must not exceed ctrl's worker count (one slot is spared).
    static void RunLanes(MultiThreadCtrl_cls& ctrl, size_t lanes, const std::function<void(size_t)>& fn);

  private:
    std::function<void()> mFn;
};
