#include "filter/MultiThreadCtrl_cls.h"

#include "config/Preference_cls.h"
#include "config/UserPrompt_cls.h"

#include <system_error>

MultiThreadThread_cls::~MultiThreadThread_cls()
{
    if (mThread.joinable())
        mThread.join();
}

void MultiThreadThread_cls::Run()
{
    try {
        mThread = std::thread([this] { Entry(); });
    } catch (const std::system_error&) {
        FatalCannotCreateThread();
    }
}

void MultiThreadThread_cls::Wait()
{
    if (mThread.joinable())
        mThread.join();
}

MultiThreadCtrl_cls::MultiThreadCtrl_cls() { InitializeThreadCtrl(); }

MultiThreadCtrl_cls::~MultiThreadCtrl_cls() { WaitAllThreadsEnd(); }

void MultiThreadCtrl_cls::InitializeThreadCtrl()
{
    WaitAllThreadsEnd();
    SetThreadNum(GetPreference().GetThreadNumFilter());
}

void MultiThreadCtrl_cls::SetThreadNum(int n)
{
    miThreadNum = n < 1 ? 1 : (n > kMaxSlots ? kMaxSlots : n);
}

void MultiThreadCtrl_cls::JoinSlot(Slot& slot)
{
    if (slot.mThread.joinable())
        slot.mThread.join();
    slot.mpWorker.reset();
}

void MultiThreadCtrl_cls::WaitForThreadsAndRun(std::unique_ptr<MultiThreadThread_cls> worker)
{
    std::unique_lock lock(mMutex);
    Slot* free = nullptr;
    mCondition.wait(lock, [&] {
        for (int i = 0; i < miThreadNum; ++i)
            if (mSlots[i].mbReady) {
                free = &mSlots[i];
                return true;
            }
        return false;
    });
    // The previous occupant has signalled ready; its thread is about to return.
    lock.unlock();
    JoinSlot(*free);
    lock.lock();
    free->mbReady = false;
    free->mpWorker = std::move(worker);
    MultiThreadThread_cls* w = free->mpWorker.get();
    bool* ready = &free->mbReady;
    try {
        free->mThread = std::thread([this, w, ready] {
            w->Entry();
            std::lock_guard done(mMutex);
            *ready = true;
            mCondition.notify_all();
        });
    } catch (const std::system_error&) {
        lock.unlock();
        FatalCannotCreateThread();
    }
}

void MultiThreadCtrl_cls::WaitAllThreadsEnd()
{
    {
        std::unique_lock lock(mMutex);
        mCondition.wait(lock, [&] {
            for (const Slot& s : mSlots)
                if (!s.mbReady)
                    return false;
            return true;
        });
    }
    for (Slot& s : mSlots)
        JoinSlot(s);
}

std::pair<size_t, size_t> MultiThreadCtrl_cls::Range(size_t total, int t, int n)
{
    auto tt = static_cast<unsigned long long>(t), nn = static_cast<unsigned long long>(n);
    auto tot = static_cast<unsigned long long>(total);
    return {static_cast<size_t>(tot * tt / nn), static_cast<size_t>(tot * (tt + 1) / nn)};
}

namespace {
class RangeWorker_cls final : public MultiThreadThread_cls {
public:
    RangeWorker_cls(const std::function<void(size_t, size_t)>& fn, size_t b, size_t e) : mFn(fn), mBegin(b), mEnd(e) {}
    void Entry() override { mFn(mBegin, mEnd); }

private:
    const std::function<void(size_t, size_t)>& mFn;
    size_t mBegin, mEnd;
};
} // namespace

void MultiThreadCtrl_cls::RunRanges(size_t total, const std::function<void(size_t, size_t)>& fn)
{
    int n = miThreadNum;
    if (n <= 1 || total < 2) {
        fn(0, total);
        return;
    }
    for (int t = 0; t < n; ++t) {
        auto [b, e] = Range(total, t, n);
        WaitForThreadsAndRun(std::make_unique<RangeWorker_cls>(fn, b, e));
    }
    WaitAllThreadsEnd();
}
