#include "gui/IsosurfSeqGUI_cls.h"

#include "anim/TimeCtrl_cls.h"
#include "config/Main_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "gui/FrameMain_cls.h"
#include "gui/ImgSequence_cls.h"
#include "gui/SeqExportProgressGUI_cls.h"
#include "gui/Shortcut_cls.h"
#include "iso/ExportIsosurfSeq_cls.h"
#include "volume/DF3SeqCtrl_cls.h"

#include <wx/filedlg.h>

#include <algorithm>

IsosurfSeqGUI_cls::IsosurfSeqGUI_cls(FrameMain_cls* frame, Main_cls* main) : mpFrame(frame), mpMain(main)
{
    mpFrame->Bind(wxEVT_MENU, &IsosurfSeqGUI_cls::OnMenu, this, kIdExportIsoSeq);
    mpFrame->Bind(wxEVT_IDLE, &IsosurfSeqGUI_cls::OnIdle, this);
}

IsosurfSeqGUI_cls::~IsosurfSeqGUI_cls()
{
    mpFrame->Unbind(wxEVT_MENU, &IsosurfSeqGUI_cls::OnMenu, this, kIdExportIsoSeq);
    mpFrame->Unbind(wxEVT_IDLE, &IsosurfSeqGUI_cls::OnIdle, this);
    mpExport.reset(); // stops and joins the workers
}

bool IsosurfSeqGUI_cls::IsRunning() const
{
    return mpExport && mpExport->IsRunning();
}

void IsosurfSeqGUI_cls::OnMenu(wxCommandEvent&)
{
    if (IsRunning())
        return;
    wxFileDialog dialog(mpFrame, TrW("Export isosurface sequence"), wxEmptyString, L"iso_0000.pov",
                        TrW("povray mesh2 format(*.pov)|*.pov|Wavefront OBJ Format(*.obj)|*.obj"), wxFD_SAVE);
    if (dialog.ShowModal() != wxID_OK)
        return;
    const std::wstring ext = dialog.GetFilterIndex() == 1 ? L".obj" : L".pov";
    Start(ImgSequence_cls::PatternFromName(dialog.GetPath().ToStdWstring(), ext));
}

bool IsosurfSeqGUI_cls::Start(const std::wstring& pattern)
{
    if (IsRunning())
        return false;
    TimeCtrl_cls& clock = mpMain->GetTimeCtrl();
    ExportIsosurfSeq_cls::Settings settings;
    settings.iFirst = clock.GetWAMin();
    settings.iLast = clock.GetWAMax();
    settings.iStep = clock.GetStep();
    const bool obj = pattern.size() >= 4 && (pattern.compare(pattern.size() - 4, 4, L".obj") == 0 ||
                                             pattern.compare(pattern.size() - 4, 4, L".OBJ") == 0);
    (obj ? settings.strPatternObj : settings.strPatternMesh2) = pattern;
    mpExport = std::make_unique<ExportIsosurfSeq_cls>(&mpMain->GetSeqCtrl().GetActiveSequence());
    if (!mpExport->Start(settings, GetUserPrompt()))
        return false;
    mpProgress = new SeqExportProgressGUI_cls(mpFrame, TrW("Isosurface sequence"));
    mpProgress->Update(0, WStrPrintf(Tr("Exporting isosurfaces of %d frames").c_str(), mpExport->GetFrameNumber()));
    mpFrame->WakeIdle();
    return true;
}

void IsosurfSeqGUI_cls::OnIdle(wxIdleEvent& event)
{
    event.Skip();
    if (!mpExport || !mpExport->IsRunning())
        return;
    if (mpProgress && mpProgress->IsStopRequested())
        mpExport->RequestStop();
    // The workers run on their own; a short wait keeps this pass from spinning the processor.
    mpExport->WaitFinished(20);
    if (mpExport->Poll()) {
        if (mpProgress) {
            const int total = std::max(1, mpExport->GetFrameNumber());
            mpProgress->Update(mpExport->GetDoneNumber() * 100 / total,
                               WStrPrintf(Tr("Isosurface sequence: %d of %d frames written").c_str(),
                                          mpExport->GetDoneNumber(), mpExport->GetFrameNumber()));
        }
        event.RequestMore();
        return;
    }
    if (mpProgress) {
        mpProgress->Destroy();
        mpProgress = nullptr;
    }
}
