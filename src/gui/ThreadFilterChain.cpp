#include "gui/ThreadFilterChain.h"

#include "config/UserPrompt_cls.h"
#include "volume/DF3_cls.h"

#include <system_error>

ThreadFilterChain::~ThreadFilterChain()
{
    Join();
}

bool ThreadFilterChain::Start(std::vector<DF3_cls*> frames, std::function<void()> progress)
{
    if (IsRunning() || frames.empty())
        return false;
    mvpFrame = std::move(frames);
    mOnProgress = std::move(progress);
    mbFinished = false;
    miDone = 0;
    try {
        mThread = std::thread([this] { Entry(); });
    } catch (const std::system_error&) {
        FatalCannotCreateThread();
    }
    return true;
}

void ThreadFilterChain::Join()
{
    if (mThread.joinable())
        mThread.join();
    mvpFrame.clear();
}

void ThreadFilterChain::Entry()
{
    for (DF3_cls* frame : mvpFrame) {
        // The frame decides by the chain's signature whether anything must run at all.
        frame->ProcessXYZData();
        ++miDone;
        if (miDone.load() < static_cast<int>(mvpFrame.size()) && mOnProgress)
            mOnProgress();
    }
    mbFinished = true;
    if (mOnProgress)
        mOnProgress();
}
