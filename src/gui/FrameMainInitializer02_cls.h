#pragma once
// Second start-up worker of the main window: builds the menu model (texts, keys, help) from the
// shortcut table while the GUI thread waits; the GUI thread then creates the menu bar from it.
#include "filter/MultiThreadCtrl_cls.h"

class FrameMain_cls;

class FrameMainInitializer02_cls : public MultiThreadThread_cls
{
  public:
    /// frame: the window whose menu model is built; done: set to true by the worker at its end.
    FrameMainInitializer02_cls(FrameMain_cls* frame, bool* done) : mpFrame(frame), mpDone(done) {}
    /// Creates and starts the thread ("Can't create thread" / "Error!" and exit on failure).
    void SetParameters() { Run(); }
    /// The work, on the worker thread.
    void Entry() override;

  private:
    FrameMain_cls* mpFrame;
    bool* mpDone;
};
