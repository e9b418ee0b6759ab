#include "gui/MyApp.h"

#include "config/Main_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "gui/FrameMain_cls.h"
#include "gui/StereoViewGUI_cls.h"
#include "pov/StereoGram_cls.h"
#include "gui/MonkeyDriver_cls.h"

#include <wx/display.h>
#include <wx/filename.h>
#include <wx/stdpaths.h>

#include <wx/image.h>

#include <cstdio>

wxIMPLEMENT_APP_NO_MAIN(MyApp);

CommandLine_cls MyApp::msCommandLine;

void MyApp::SetCommandLine(const CommandLine_cls& commandLine)
{
    msCommandLine = commandLine;
}

bool MyApp::OnInit()
{
    // 1. Locale and catalogue; every user-visible text goes through the catalogue.
    mCLocale.Init(wxLANGUAGE_DEFAULT, wxLOCALE_DONT_LOAD_DEFAULT);
    wxLocale::AddCatalogLookupPathPrefix(".");
    wxLocale::AddCatalogLookupPathPrefix("./locale");
    mCLocale.AddCatalog("Tessan");
    SetTranslator(
        [](const char* msgid) { return std::string(wxGetTranslation(wxString::FromUTF8(msgid)).utf8_str()); });

    // 2. Image handlers (BMP is built in).
    wxImage::AddHandler(new wxPNGHandler);
    wxImage::AddHandler(new wxJPEGHandler);
    wxImage::AddHandler(new wxTIFFHandler);

    // 3. Idle events only for windows that ask for them (the main window does).
    wxIdleEvent::SetMode(wxIDLE_PROCESS_SPECIFIED);

    // 4. Controller and window.
    const std::wstring appDir = wxFileName(wxStandardPaths::Get().GetExecutablePath()).GetPath().ToStdWstring();
    mpMain = std::make_unique<Main_cls>(appDir);

    // The window: 10 px inside the screen's work area; a --size request is honoured as the client size.
    wxRect area = wxDisplay(0u).GetClientArea();
    area.Deflate(10);
    auto* frame = new FrameMain_cls(mpMain->GetTitle(), mpMain.get(), area.x, area.y, area.width, area.height);
    if (msCommandLine.GetWidth() > 0 && msCommandLine.GetHeight() > 0)
        frame->SetClientSize(msCommandLine.GetWidth(), msCommandLine.GetHeight());
    if (!msCommandLine.GetScreenshotPath().empty()) {
        frame->SetScreenshotPath(Widen(msCommandLine.GetScreenshotPath()));
        frame->SetScreenshotSize(msCommandLine.GetWidth(), msCommandLine.GetHeight());
    }
    if (!msCommandLine.GetViewShotPath().empty())
        frame->SetViewShot(Widen(msCommandLine.GetViewShotPath()), msCommandLine.GetViewScale(),
                           msCommandLine.IsOffscreen());
    if (!msCommandLine.GetScreenshotEvery().empty())
        frame->SetScreenshotEvery(Widen(msCommandLine.GetScreenshotEvery()));
    frame->SetPlayAtStart(msCommandLine.GetPlay());
    if (!msCommandLine.GetBenchLog().empty())
        frame->SetBenchLog(msCommandLine.GetBenchLog(), msCommandLine.GetQuitAfter());
    frame->Show(true);
    SetTopWindow(frame);
    if (msCommandLine.GetStereoMode() > 0) {
        mpMain->GetStereoGram().SetMode(static_cast<unsigned>(msCommandLine.GetStereoMode()));
        frame->GetStereoGUI().SetStereoView(true);
    }
    if (!msCommandLine.GetFile().empty()) {
        const std::wstring file = Widen(msCommandLine.GetFile());
        const int startFrame = msCommandLine.GetFrame();
        frame->CallAfter([frame, file, startFrame] {
            frame->OpenAtStart(file);
            frame->ShowFrameAtStart(startFrame);
        });
    }
    if (msCommandLine.GetMonkeyCount() > 0) {
        mpMonkey =
            std::make_unique<MonkeyDriver_cls>(frame, msCommandLine.GetMonkeySeed(), msCommandLine.GetMonkeyCount());
        // After the start-up file: its opening is queued first.
        frame->CallAfter([this] { mpMonkey->Begin(); });
    }
    return true;
}

int MyApp::OnRun()
{
    const int rc = wxApp::OnRun();
    return miExitCode != 0 ? miExitCode : rc;
}

int MyApp::OnExit()
{
    // A closed window is only scheduled for deletion; let it go first, it still talks to the
    // controller's clock on its way out.
    DeletePendingObjects();
    mpMonkey.reset();
    mpMain.reset();
    return 0;
}
