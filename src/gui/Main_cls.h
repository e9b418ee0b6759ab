#pragma once
// The main controller: owns the long-lived model objects and the main window, keeps the
// recent-project list beside the executable and the "ToolTip=" setting. No GUI base class.
#include "config/ConfItemList_cls.h"
#include "config/RecentList_cls.h"

#include <string>

class FrameMain_cls;

class Main_cls
{
  public:
    /// Reads the recent list, computes the window rectangle (10 px inside the screen's client
    /// area, or the client size asked on the command line) and creates the main window.
    /// clientWidth/clientHeight: 0 for the default size.
    Main_cls(int clientWidth, int clientHeight);
    ~Main_cls();
    Main_cls(const Main_cls&) = delete;
    Main_cls& operator=(const Main_cls&) = delete;

    /// The main window (owned by the toolkit once shown; valid until it is destroyed).
    FrameMain_cls* GetFrame() const { return mpFrame; }
    /// "Kivrel Tessan v 0.778".
    std::wstring GetTitle() const { return mStrTitlePrefix + mStrVersion; }
    /// The folder of the running executable (where "KivrelRecent.txt" lives).
    const std::wstring& GetAppDir() const { return mStrAppDir; }
    /// The recent-project list.
    RecentList_cls& GetRecent() { return mCRecent; }
    /// Puts `path` at the front of the recent list.
    void PushBackRecent(const std::wstring& path) { mCRecent.PushBackRecent(path); }
    /// The full path of the recent file: application folder + "/" + "KivrelRecent.txt".
    std::string RecentFilePath() const;

    /// The "ToolTip=" setting.
    bool GetToolTip() const { return mbItemToolTip.Get(); }
    void SetToolTip(bool on) { mbItemToolTip.Set(on); }
    /// The controller's own lines ("ToolTip=").
    std::wstring Serialize() const { return mCConfList.SerializeAll(); }
    /// Takes the line when it is one of the controller's keys.
    bool ReadStrLine(const std::wstring& line) { return mCConfList.ReadStrLineAll(line); }

    /// The end of a quit: writes the recent list beside the executable.
    void QuitProcess();

  private:
    std::wstring mStrTitlePrefix = L"Kivrel Tessan v ";
    std::wstring mStrVersion = L"0.778";
    std::wstring mStrAppDir;
    long mlPid = 0;
    RecentList_cls mCRecent;
    ConfItemBOOL_cls mbItemToolTip;
    ConfItemList_cls mCConfList;
    FrameMain_cls* mpFrame = nullptr;
};
