#pragma once
// First start-up worker of the main window: prepares the window's look and the shared dialogs'
// settings while the GUI thread waits. It only fills plain data; the GUI thread applies it, since
// GTK accepts widget calls from the main thread only.
#include "filter/MultiThreadCtrl_cls.h"

class FrameMain_cls;

class FrameMainInitializer01_cls : public MultiThreadThread_cls
{
  public:
    /// frame: the window whose start-up data is filled; done: set to true by the worker at its
    /// end (read by the GUI thread after Wait()).
    FrameMainInitializer01_cls(FrameMain_cls* frame, bool* done) : mpFrame(frame), mpDone(done) {}
    /// Creates and starts the thread ("Can't create thread" / "Error!" and exit on failure).
    void SetParameters() { Run(); }
    /// The work, on the worker thread.
    void Entry() override;

  private:
    FrameMain_cls* mpFrame;
    bool* mpDone;
};
