#pragma once
// One run of the ray tracer: the render command line, then the post-scene commands (file
// clean-up), both through the system shell. Reports back to its owner only through
// PovRay_cls::PostError / PostFinished, which are safe to call from this thread.
#include "filter/MultiThreadCtrl_cls.h"

#include <atomic>
#include <string>

class PovRay_cls;

class ThreadPovRay : public MultiThreadThread_cls
{
  public:
    ThreadPovRay() = default;
    /// Owner (not owned), command line and post-scene commands; call before Run().
    void SetParameters(PovRay_cls* owner, const std::wstring& command, const std::wstring& postCommands);
    /// The thread body: runs the command, prints "Return Value=%d\n", posts an error on a non-zero
    /// result, runs the post commands when there are any, then posts "finished".
    void Entry() override;
    /// True while the body runs (set before Run() returns, cleared at its end).
    bool IsRunning() const { return mbRunning.load(); }
    /// Marks the thread running before it is started, so a poll right after Run() sees it busy.
    void MarkStarted() { mbRunning.store(true); }
    const std::wstring& GetCommand() const { return mStrCommand; }
    /// The shell's result of the render command (valid once the thread is no longer running).
    int GetReturnValue() const { return miReturnValue.load(); }

  private:
    PovRay_cls* mpOwner = nullptr;
    std::wstring mStrCommand;
    std::wstring mStrPostCommands;
    std::atomic<bool> mbRunning{false};
    std::atomic<int> miReturnValue{0};
};
