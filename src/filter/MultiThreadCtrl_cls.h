#pragma once
// Worker-thread slots shared by the filters, marching cubes and the mesh writers.
// The work is cut into ranges [total*t/N, total*(t+1)/N); each worker writes only its own range,
// so no locks are taken on the data. The controller only hands out slots and waits.
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

class MultiThreadCtrl_cls;

/// Base of every worker: override Entry(). Started by MultiThreadCtrl_cls or by Run()/Wait().
class MultiThreadThread_cls {
public:
    virtual ~MultiThreadThread_cls();
    /// The work; runs on the worker thread.
    virtual void Entry() = 0;
    /// Starts the thread (a thread that cannot be created ends the program with
    /// "Can't create thread" / "Error!").
    void Run();
    /// Joins the thread started by Run().
    void Wait();

private:
    std::thread mThread;
};

class MultiThreadCtrl_cls {
public:
    static constexpr int kMaxSlots = 16;

    MultiThreadCtrl_cls();
    ~MultiThreadCtrl_cls();
    MultiThreadCtrl_cls(const MultiThreadCtrl_cls&) = delete;
    MultiThreadCtrl_cls& operator=(const MultiThreadCtrl_cls&) = delete;

    /// Reads the worker count from "ThreadNumFilter=" (clamped to 1..16) and marks every slot ready.
    void InitializeThreadCtrl();
    /// Sets the worker count explicitly (clamped to 1..16).
    void SetThreadNum(int n);
    int GetThreadNum() const { return miThreadNum; }

    /// Waits for a ready slot among the first N, then starts the worker in it. Takes ownership.
    void WaitForThreadsAndRun(std::unique_ptr<MultiThreadThread_cls> worker);
    /// Waits until every slot is ready again; finished workers are joined and deleted.
    void WaitAllThreadsEnd();

    /// Part t of n of [0, total): [total*t/n, total*(t+1)/n).
    static std::pair<size_t, size_t> Range(size_t total, int t, int n);
    /// Runs fn(begin, end) over the N parts of [0, total) on the slots and waits for all.
    /// With one worker (or total < 2) it runs on the calling thread.
    void RunRanges(size_t total, const std::function<void(size_t, size_t)>& fn);

private:
    struct Slot {
        bool mbReady = true;
        std::thread mThread;
        std::unique_ptr<MultiThreadThread_cls> mpWorker;
    };
    void JoinSlot(Slot& slot);

    int miThreadNum = 1;
    std::mutex mMutex;
    std::condition_variable mCondition;
    Slot mSlots[kMaxSlots];
};
