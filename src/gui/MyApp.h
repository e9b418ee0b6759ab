#pragma once
// The application object: locale and message catalogue, image handlers, idle mode, and the one
// main controller.
#include "gui/CommandLine_cls.h"

#include <wx/app.h>
#include <wx/intl.h>

#include <memory>

class Main_cls;
class MonkeyDriver_cls;

class MyApp : public wxApp
{
  public:
    /// The options parsed by main() before the toolkit started (set before wxEntry).
    static void SetCommandLine(const CommandLine_cls& commandLine);

    /// Start-up in order: locale and catalogue, image handlers, idle mode, controller and window.
    bool OnInit() override;
    /// Runs the main loop; returns the exit code set by SetExitCode when there is one.
    int OnRun() override;
    /// Deletes the controller. Returns 0.
    int OnExit() override;
    /// The process exit code (a failed --screenshot sets 1).
    void SetExitCode(int code) { miExitCode = code; }

  private:
    wxLocale mCLocale;
    std::unique_ptr<Main_cls> mpMain;
    std::unique_ptr<MonkeyDriver_cls> mpMonkey; ///< --monkey runs only
    int miExitCode = 0;
    static CommandLine_cls msCommandLine;
};

wxDECLARE_APP(MyApp);
