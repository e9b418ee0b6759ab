#include "volume/ThreadProcessFrame.h"

ThreadProcessFrame::~ThreadProcessFrame()
{
    Join();
}

bool ThreadProcessFrame::Start(DF3_cls* frame, const DF3_cls::ProcessJob& job)
{
    if (IsRunning() || frame == nullptr)
        return false;
    mpFrame = frame;
    mCJob = job;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mbDone = false;
        mbResult = true;
    }
    ++muRuns;
    Run();
    return true;
}

bool ThreadProcessFrame::IsFinished() const
{
    std::lock_guard<std::mutex> lock(mMutex);
    return mbDone;
}

bool ThreadProcessFrame::WaitFor(std::chrono::microseconds limit)
{
    if (!IsRunning())
        return true;
    std::unique_lock<std::mutex> lock(mMutex);
    return mCDone.wait_for(lock, limit, [this] { return mbDone; });
}

bool ThreadProcessFrame::Join()
{
    if (!IsRunning())
        return true;
    Wait();
    mpFrame = nullptr;
    std::lock_guard<std::mutex> lock(mMutex);
    return mbResult;
}

void ThreadProcessFrame::Entry()
{
    const bool ok = mpFrame->RunProcessXYZData(mCJob);
    std::lock_guard<std::mutex> lock(mMutex);
    mbResult = ok;
    mbDone = true;
    mCDone.notify_all();
}
