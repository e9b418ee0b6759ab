#pragma once
// A random user for robustness runs (hidden option `--monkey SEED:COUNT`): after the window is up
// it performs COUNT actions chosen by a fixed-seed generator - menu commands, key presses and
// mouse drags and wheel turns on the views - as real wx events sent to the real menus and widgets,
// one action per timer tick so that idle work (loading, playback) runs in between. Commands that
// would open a modal file dialog or quit are skipped; a modal dialog that opens anyway is
// cancelled. A failed programming check is recorded instead of aborting, and the run ends with
// exit status 3 when there was any; otherwise the window closes with status 0.
#include <wx/timer.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

class wxFrame;
class wxWindow;

class MonkeyDriver_cls : public wxTimer
{
  public:
    /// frame: the main window (not owned; the driver is deleted with the application).
    MonkeyDriver_cls(wxFrame* frame, uint32_t seed, long count);
    /// Starts the actions once the window has had time to show itself.
    void Begin();
    /// Called by the timer: one action, or the end of the run.
    void Notify() override;

  private:
    void MenuCommand();
    void KeyPress();
    void MouseDrag();
    void MouseWheel();
    bool CancelModalDialog();
    void Finish();
    wxWindow* RandomView();
    int Pick(int n) { return static_cast<int>(mCRandom() % static_cast<uint32_t>(n)); }

    wxFrame* mpFrame;
    std::mt19937 mCRandom;
    long miCount;
    long miDone = 0;
    long miMenus = 0, miKeys = 0, miDrags = 0, miWheels = 0, miCancelled = 0;
    bool mbFinished = false;
};
