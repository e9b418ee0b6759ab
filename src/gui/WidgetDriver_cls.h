#pragma once
// Unattended runs of the window (TESSAN_DRIVE_FILE=path): commands appended to the file, one a
// line, are carried out on the GUI thread in order, through the widgets themselves:
//   walk TARGET          every setting control of the target edited once (WidgetWalker_cls),
//                        one control per event-loop turn, so the panel answers each edit first
//   press TARGET|LABEL   the button labelled LABEL under the target is clicked
//   listselect TARGET|N  row N of the first list under the target is chosen
//   menu MENU|ITEM       the menu command is given; menuall MENU gives every command of a menu
//   ok / cancel          the open modal dialog's OK or Cancel button is clicked
// Targets are named by the window ("scene", "preview", ...); "dialog" is the modal dialog shown.
// The state report carries "drive.done=<commands done>", the last walk's result ("TARGET <controls>
// <edited> <disabled> [<index>:<value> of each control that kept its value]") and every
// target's controls as "wd.<target>.<n>=<value>" lines. A watcher thread only reads the file and
// hands new lines to the GUI thread.
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class wxFrame;
class wxWindow;

class WidgetDriver_cls
{
  public:
    /// target: the root window of a named target (null when it is not there now); report:
    /// writes the state report again.
    struct Links {
        std::function<wxWindow*(const std::wstring&)> mTarget;
        std::vector<std::wstring> mvTargetNames; ///< the targets listed in the report
        std::function<void()> mReport;
    };
    /// Starts watching `file`; frame: where menu commands go (outlives the driver). GUI thread.
    WidgetDriver_cls(wxFrame* frame, std::string file, Links links);
    /// Stops the watcher. GUI thread.
    ~WidgetDriver_cls();
    WidgetDriver_cls(const WidgetDriver_cls&) = delete;
    WidgetDriver_cls& operator=(const WidgetDriver_cls&) = delete;

    /// The report lines (see above). GUI thread.
    std::wstring Describe() const;

  private:
    void Watch();
    void Take(std::vector<std::wstring> lines);
    void Pump();
    bool Run(const std::wstring& line); ///< false: the command goes on asynchronously
    void WalkStep(size_t index);
    void Done();
    wxWindow* Target(const std::wstring& name) const;
    wxWindow* ModalDialog() const;

    wxFrame* mpFrame;
    std::string mStrFile;
    Links mCLinks;
    std::deque<std::wstring> mvQueue;
    bool mbBusy = false;
    int miDone = 0;
    std::wstring mStrWalkTarget;
    std::wstring mStrLastWalk;
    std::wstring mStrBefore; ///< what the control last edited showed before the edit
    int miEdited = 0;
    int miSkipped = 0;      ///< disabled controls met by the walk
    bool mbSkipped = false; ///< the control last met was disabled
    std::vector<std::wstring> mvUnchanged;
    std::wstring mStrLastError;

    std::mutex mCMutex;
    std::condition_variable mCWake;
    bool mbStop = false;
    std::thread mCThreadWatch;
    std::shared_ptr<std::atomic<bool>> mpAlive;
};
