#include "iso/ThreadIsoLane.h"

#include <memory>
#include <utility>

ThreadIsoLane::ThreadIsoLane(std::function<void()> fn) : mFn(std::move(fn))
{
}

void ThreadIsoLane::Entry()
{
    mFn();
}

void ThreadIsoLane::RunLanes(MultiThreadCtrl_cls& ctrl, size_t lanes, const std::function<void(size_t)>& fn)
{
    for (size_t lane = 1; lane < lanes; ++lane)
        ctrl.WaitForThreadsAndRun(std::make_unique<ThreadIsoLane>([&fn, lane] { fn(lane); }));
    if (lanes > 0)
        fn(0);
    if (lanes > 1)
        ctrl.WaitAllThreadsEnd();
}
