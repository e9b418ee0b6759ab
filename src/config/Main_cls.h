#pragma once
// The main controller: owns the long-lived model objects shared by the window, the CLI and the
// tests, keeps the recent-project list beside the executable and the "ToolTip=" setting.
// No GUI base class; the window is created by the application object and talks to this one.
#include "config/ConfItemList_cls.h"
#include "config/RecentList_cls.h"

#include <string>

class Main_cls {
public:
    /// appDir: the folder of the running executable (where "KivrelRecent.txt" lives); the recent
    /// list is read from there at once.
    explicit Main_cls(const std::wstring& appDir);
    ~Main_cls();
    Main_cls(const Main_cls&) = delete;
    Main_cls& operator=(const Main_cls&) = delete;

    /// "Kivrel Tessan v 0.778".
    std::wstring GetTitle() const { return mStrTitlePrefix + mStrVersion; }
    /// The folder of the running executable.
    const std::wstring& GetAppDir() const { return mStrAppDir; }
    /// The process id, taken at construction.
    long GetPid() const { return mlPid; }
    /// The recent-project list.
    RecentList_cls& GetRecent() { return mCRecent; }
    /// Puts `path` at the front of the recent list.
    void PushBackRecent(const std::wstring& path) { mCRecent.PushBackRecent(path); }
    /// Reads the recent list from `file` (missing file: unchanged).
    void ReadRecentList(const std::string& file) { mCRecent.ReadRecentList(file); }
    /// Writes the recent list to `file`; returns 1.
    int SaveRecentFile(const std::string& file) const { return mCRecent.SaveRecentFile(file); }
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
};
