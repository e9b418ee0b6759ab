#include "config/Main_cls.h"

#include "config/TextFormat.h"

#include <unistd.h>

Main_cls::Main_cls(const std::wstring& appDir) : mStrAppDir(appDir)
{
    mlPid = static_cast<long>(getpid());
    mCRecent.ReadRecentList(RecentFilePath());
    mCConfList.Add(&mbItemToolTip, L"ToolTip=", L"1");
}

Main_cls::~Main_cls() = default;

std::string Main_cls::RecentFilePath() const { return Narrow(mStrAppDir) + "/" + "KivrelRecent.txt"; }

void Main_cls::QuitProcess() { mCRecent.SaveRecentFile(RecentFilePath()); }
