#include "gui/Main_cls.h"

#include "config/TextFormat.h"
#include "gui/FrameMain_cls.h"

#include <wx/display.h>
#include <wx/filename.h>
#include <wx/stdpaths.h>

#include <unistd.h>

Main_cls::Main_cls(int clientWidth, int clientHeight)
{
    mStrAppDir = wxFileName(wxStandardPaths::Get().GetExecutablePath()).GetPath().ToStdWstring();
    mlPid = static_cast<long>(getpid());
    mCRecent.ReadRecentList(RecentFilePath());
    mCConfList.Add(&mbItemToolTip, L"ToolTip=", L"1");

    // 10 px inside the screen's work area; a --size request is honoured as the client size.
    wxRect area = wxDisplay(0u).GetClientArea();
    area.Deflate(10);
    mpFrame = new FrameMain_cls(GetTitle(), this, area.x, area.y, area.width, area.height);
    if (clientWidth > 0 && clientHeight > 0)
        mpFrame->SetClientSize(clientWidth, clientHeight);
}

Main_cls::~Main_cls() = default;

std::string Main_cls::RecentFilePath() const
{
    return Narrow(mStrAppDir) + "/" + "KivrelRecent.txt";
}

void Main_cls::QuitProcess()
{
    mCRecent.SaveRecentFile(RecentFilePath());
}
