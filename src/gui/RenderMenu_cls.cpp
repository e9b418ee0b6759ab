// Sections: construction and hooks; commands; render button; idle step and state.
#include "gui/RenderMenu_cls.h"

#include "anim/TimeCtrl_cls.h"
#include "config/Main_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "gl/DF3GL_cls.h"
#include "gui/FrameMain_cls.h"
#include "gui/GLCanvasCtrl_cls.h"
#include "gui/PovSettingsDialog_cls.h"
#include "gui/Shortcut_cls.h"
#include "pov/PovExport_cls.h"
#include "pov/PovFarm_cls.h"
#include "pov/PovSceneObjects_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"

#include <wx/app.h>
#include <wx/button.h>
#include <wx/gauge.h>
#include <wx/statusbr.h>
#include <wx/utils.h>

#include <algorithm>
#include <filesystem>
#include <thread>

// --- construction and hooks --------------------------------------------------------------------

RenderMenu_cls::RenderMenu_cls(FrameMain_cls* frame, Main_cls* main)
    : mpFrame(frame), mpMain(main), mpExport(&main->GetPovExport())
{
    mpFrame->Bind(wxEVT_MENU, &RenderMenu_cls::OnSnapshot, this, kIdSnapshot);
    mpFrame->Bind(wxEVT_MENU, &RenderMenu_cls::OnExportSnapshot, this, kIdExportSnapshot);
    mpFrame->Bind(wxEVT_MENU, &RenderMenu_cls::OnExportAnim, this, kIdExportAnim);
    mpFrame->Bind(wxEVT_MENU, &RenderMenu_cls::OnRenderAnim, this, kIdRenderAnim);
    mpFrame->Bind(wxEVT_MENU, &RenderMenu_cls::OnPovSettings, this, kIdPovSettings);
    mpFrame->Bind(wxEVT_MENU, &RenderMenu_cls::OnExportParallel, this, kIdExportParallel);
    mpFrame->Bind(wxEVT_MENU, &RenderMenu_cls::OnExportSlurm, this, kIdExportSlurm);
    InstallHooks();
}

RenderMenu_cls::~RenderMenu_cls()
{
    // The export outlives the window: it must not call back into it.
    PovRay_cls& pov = mpExport->GetPovRay();
    pov.SetWakeHook(nullptr);
    pov.SetRenderButtonHook(nullptr);
    pov.StopRenderAnim();
    mpExport->mCameraOfPanel0 = nullptr;
    mpExport->mDoesFilterExist = nullptr;
    mpExport->mPrepareFrame = nullptr;
    mpExport->mUpdateFilterParameters = nullptr;
    mpExport->mPumpEvents = nullptr;
    mpExport->mDataBoxes = nullptr;
    mpExport->mObjects = nullptr;
    mpExport->mFog = nullptr;
}

void RenderMenu_cls::InstallHooks()
{
    PovRay_cls& pov = mpExport->GetPovRay();
    // Render threads report from their own thread; waking the idle loop is safe from any thread
    // and the loop picks the news up in IdleStep.
    pov.SetWakeHook([] { wxWakeUpIdle(); });
    pov.SetRenderButtonHook([this](bool rendering) { SetRenderButton(rendering); });

    // The camera of the view panel that "PovRenderCamera=" names (panel 0 unless set).
    mpExport->mCameraOfPanel0 = [this] {
        const unsigned chosen = mpExport->GetPovRay().GetRender().GetCamera();
        const int view = chosen < static_cast<unsigned>(FrameMain_cls::kViewCount) ? static_cast<int>(chosen) : 0;
        return mpFrame->GetViewCtrl(view).GetCamera();
    };
    // The preview draws every slot that holds data, so every such slot is a volume object; the
    // other kinds are items of the chains.
    mpExport->mDoesFilterExist = [this](int kind) {
        DF3SeqCtrl_cls& slots = mpMain->GetSeqCtrl();
        for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
            DF3Sequence_cls& sequence = slots.GetSequence(slot);
            if (kind == PovExport_cls::kVolume && sequence.GetFrameCount() > 0)
                return true;
            if (sequence.GetFilterCtrl().DoesFilterExist(kind, 0, nullptr))
                return true;
        }
        return false;
    };
    // The window brings the frame up for the views; then every chain runs once more on it, as
    // the headless export does, because the output items (sections, isosurfaces) keep the data
    // they last saw, which may be a frame the idle loop read ahead.
    mpExport->mPrepareFrame = [this](int frame) {
        mpFrame->PrepareFrameForExport(frame);
        if (mpSceneObjects)
            mpSceneObjects->PrepareFrame(frame >= 0 ? frame : mpMain->GetTimeCtrl().GetIndex());
    };
    // Every chain's animated settings at the frame's time, for the objects the chains export.
    mpExport->mUpdateFilterParameters = [this](double time) {
        // The slots' processing workers hold the chains until they end.
        mpMain->GetSeqCtrl().WaitProcessingAll();
        for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot)
            mpMain->GetSeqCtrl().GetSequence(slot).GetFilterCtrl().UpdateParameters(time);
    };
    // The gauge and the status texts are drawn between frames; input stays blocked meanwhile.
    mpExport->mPumpEvents = [this] {
        if (wxStatusBar* bar = mpFrame->GetStatusBar())
            bar->Update();
    };
    // The chains' other items become scene text from the frame the window brought up; the
    // volumes stay the window's own boxes, drawn the size the preview shows them.
    mpSceneObjects = std::make_unique<PovSceneObjects_cls>(&mpMain->GetSeqCtrl(), &mpMain->GetTimeCtrl(),
                                                           &mpMain->GetColoring(), &mpMain->GetBoxSize());
    PovExport_cls* exporter = mpExport;
    mpExport->mObjects = [this, exporter](int frame, double time) {
        return mpSceneObjects->GetObjects(frame, time, exporter->GetPovRay().GetWorkingDir(),
                                          exporter->GetCurrentStem());
    };
    mpExport->mFog = [this](double time) { return mpSceneObjects->GetFog(time); };
    mpExport->mDataBoxes = [this](int /*frame*/) {
        // The frames were brought up by mPrepareFrame for this frame; each slot's current frame
        // becomes one box the size the preview draws it.
        std::vector<PovExport_cls::DataBox> boxes;
        DF3SeqCtrl_cls& slots = mpMain->GetSeqCtrl();
        const std::array<double, 3> scale = DF3GL_cls::GetBoxScale();
        for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
            DF3Sequence_cls& sequence = slots.GetSequence(slot);
            const DF3_cls* df3 = sequence.GetCurrentDF3();
            if (df3 == nullptr)
                continue;
            const uint8_t* voxels = df3->GetXYZData();
            if (sequence.IsFilterProcessRequired() && df3->IsProcessed() && df3->GetProcessedData() != nullptr)
                voxels = df3->GetProcessedData();
            if (voxels == nullptr || df3->GetCurrentTotalSize() == 0)
                continue;
            PovExport_cls::DataBox box;
            box.pVoxels = voxels;
            box.uX = df3->GetCurrSize(0);
            box.uY = df3->GetCurrSize(1);
            box.uZ = df3->GetCurrSize(2);
            const double longest = std::max({box.uX, box.uY, box.uZ});
            const unsigned sizes[3] = {box.uX, box.uY, box.uZ};
            for (int a = 0; a < 3; ++a)
                box.dSize[a] = scale[static_cast<size_t>(a)] * sizes[a] / longest;
            // The colour the preview shows the slot in; the media as the slot's volume item
            // sets them up, as the command-line export does.
            if (const DF3GL_cls* gl = mpFrame->GetDF3GL(slot))
                box.iColorIndex = gl->GetColorIndex();
            PovSceneObjects_cls::ApplyVolumeItem(sequence.GetFilterCtrl(), box);
            boxes.push_back(box);
        }
        return boxes;
    };
}

// --- commands ----------------------------------------------------------------------------------

bool RenderMenu_cls::EnsureWorkingDir()
{
    const std::filesystem::path dir(mpExport->GetPovRay().GetWorkingDir());
    std::error_code ec;
    if (std::filesystem::is_directory(dir, ec))
        return true;
    if (std::filesystem::create_directories(dir, ec) && !ec)
        return true;
    GetUserPrompt()->Message(TrW("File output failed. Please check the working directory and its permission."),
                             TrW("Write Error"));
    return false;
}

template <typename Fn> bool RenderMenu_cls::RunExport(Fn&& command)
{
    // One export at a time: a command chosen again while files are written is ignored.
    if (mbBusy || mpExport->GetPovRay().IsExporting())
        return false;
    if (!EnsureWorkingDir())
        return false;
    TimeCtrl_cls& clock = mpMain->GetTimeCtrl();
    const int shown = clock.GetIndex();
    mbBusy = true;
    wxBusyCursor busy;
    const bool ok = command();
    mbBusy = false;
    // The export walks the clock through the frames; the user gets the frame back they were on.
    if (clock.GetIndex() != shown) {
        clock.SetIndex(shown);
        clock.DispatchTimeData();
    }
    mpFrame->PrepareFrameForExport(-1);
    mpFrame->WakeIdle();
    return ok;
}

void RenderMenu_cls::OnSnapshot(wxCommandEvent&)
{
    RunExport([this] { return mpExport->CommandSnapshot(true); });
}

void RenderMenu_cls::OnExportSnapshot(wxCommandEvent&)
{
    RunExport([this] { return mpExport->CommandSnapshot(false); });
}

void RenderMenu_cls::OnExportAnim(wxCommandEvent&)
{
    RunExport([this] { return mpExport->CommandExportAnim(); });
}

void RenderMenu_cls::OnRenderAnim(wxCommandEvent&)
{
    // While rendering the command only offers to stop, which writes nothing.
    if (mpExport->GetPovRay().IsRendering()) {
        mpExport->CommandRenderAnim();
        return;
    }
    if (RunExport([this] { return mpExport->CommandRenderAnim(); }))
        mpFrame->WakeIdle();
}

void RenderMenu_cls::OnPovSettings(wxCommandEvent&)
{
    PovSettingsDialog_cls dialog(mpFrame, &mpExport->GetPovRay());
    dialog.ShowModal();
}

bool RenderMenu_cls::ExportForFarm(bool parallel, bool transfer)
{
    PovRay_cls& pov = mpExport->GetPovRay();
    unsigned first = 0, last = 0;
    pov.GetFrameRange(mpMain->GetTimeCtrl(), &first, &last);
    // Relative paths only for this export: the window's own renders run POV-Ray from elsewhere.
    pov.SetRelativePaths(transfer);
    std::string script;
    const bool exported = RunExport([&] {
        if (!mpExport->CommandExportAnim())
            return false;
        const PovFarm_cls farm(&pov);
        if (parallel) {
            // Frames side by side on this machine: as many as the cores hold at "PovWorkThread="
            // threads each.
            const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
            const unsigned jobs = std::max(1u, cores / std::max(1u, pov.GetWorkThreadsForIni()));
            script = farm.WriteParallelScript(static_cast<int>(first), static_cast<int>(last), jobs, transfer);
        } else {
            script = farm.WriteSlurmScript(static_cast<int>(first), static_cast<int>(last), 0);
        }
        return true;
    });
    pov.SetRelativePaths(false);
    if (!exported)
        return false;
    if (script.empty()) {
        GetUserPrompt()->SetStatusText(TrW("Disk I/O Error"), 0);
        GetUserPrompt()->Message(TrW("File output failed. Please check the working directory and its permission."),
                                 TrW("Write Error"));
        return false;
    }
    const std::wstring command = parallel ? L"bash " + Widen(PovFarm_cls::Quote(script)) + L" [HOSTFILE]"
                                          : L"sbatch " + Widen(PovFarm_cls::Quote(script));
    GetUserPrompt()->SetStatusText(TrW("Render with: ") + command, 0);
    if (parallel)
        GetUserPrompt()->Message(TrW("The GNU Parallel job is written beside the scenes.\nRender the frames with\n\n") +
                                     command +
                                     TrW("\n\nHOSTFILE lists the hosts (':' is this machine); without it the frames "
                                         "render here. Running it again renders the frames whose picture is missing."),
                                 TrW("Render Farm"));
    else
        GetUserPrompt()->Message(TrW("The Slurm job array is written beside the scenes.\nSubmit it with\n\n") +
                                     command +
                                     TrW("\n\nA task whose picture exists does nothing, so submitting it again "
                                         "finishes an interrupted run."),
                                 TrW("Render Farm"));
    return true;
}

void RenderMenu_cls::OnExportParallel(wxCommandEvent&)
{
    if (mbBusy || mpExport->GetPovRay().IsExporting())
        return;
    const int choice = GetUserPrompt()->AskChoice(
        TrW("How do the render hosts reach the scene files?"), TrW("Export for GNU Parallel"),
        {TrW("0: The working directory is at the same path on every host."),
         TrW("1: Send each frame's files to its host and bring the picture back.")},
        0);
    if (choice < 0)
        return;
    ExportForFarm(true, choice == 1);
}

void RenderMenu_cls::OnExportSlurm(wxCommandEvent&)
{
    ExportForFarm(false, false);
}

// --- render button -----------------------------------------------------------------------------

wxButton* RenderMenu_cls::CreateRenderButton(wxWindow* parent)
{
    mpButton = new wxButton(parent, wxID_ANY, TrW("Render Anim"));
    mpButton->SetToolTip(TrW("Render every frame by Pov-Ray, one after the other; again to stop"));
    mpButton->Bind(wxEVT_BUTTON, [this](wxCommandEvent& event) { OnRenderAnim(event); });
    SetRenderButton(mpExport->GetPovRay().IsRendering());
    return mpButton;
}

void RenderMenu_cls::SetRenderButton(bool rendering)
{
    if (mpButton == nullptr)
        return;
    if (rendering) {
        mpButton->SetLabel(PovRay_cls::kStopLabel);
        mpButton->SetBackgroundColour(wxColour(PovRay_cls::kStopBackground));
        mpButton->SetForegroundColour(wxColour(PovRay_cls::kStopForeground));
    } else {
        mpButton->SetLabel(TrW("Render Anim"));
        mpButton->SetBackgroundColour(wxNullColour);
        mpButton->SetForegroundColour(wxNullColour);
    }
    mpButton->Refresh();
}

// --- idle step and state -----------------------------------------------------------------------

void RenderMenu_cls::IdleStep()
{
    PovRay_cls& pov = mpExport->GetPovRay();
    pov.ProcessRenderAnim();
    // The gauge shows the sequence's progress while it renders and goes once the last frame
    // (or the one running when it was stopped) is done.
    const bool active = pov.IsRendering() || pov.IsRenderThreadRunning();
    if (mbSequenceActive && !active)
        GetUserPrompt()->SetProgress(-1);
    mbSequenceActive = active;
}

std::wstring RenderMenu_cls::DescribeState() const
{
    const PovRay_cls& pov = mpExport->GetPovRay();
    std::wstring text =
        WStrPrintf("render=%d %u %zu %d %d\n", pov.IsRendering() ? 1 : 0, pov.GetRenderIndex(),
                   pov.GetCommands().size(), pov.IsRenderThreadRunning() ? 1 : 0, pov.CountRunningSnapThreads());
    if (mpButton != nullptr) {
        auto hex = [](const wxColour& c) { return WStrPrintf("#%02X%02X%02X", c.Red(), c.Green(), c.Blue()); };
        // The colours asked for; the theme may paint the button differently.
        const wxColour bg = mpButton->GetBackgroundColour();
        const wxColour fg = mpButton->GetForegroundColour();
        text += L"render_button=" + mpButton->GetLabel().ToStdWstring() + L"|" + hex(bg) + L"|" + hex(fg) + L"\n";
        const wxPoint at = mpButton->IsShownOnScreen() ? mpButton->GetScreenPosition() : wxPoint(0, 0);
        text +=
            WStrPrintf("render_button_place=%d %d %d %d\n", at.x, at.y, mpButton->GetSize().x, mpButton->GetSize().y);
    }
    if (wxStatusBar* bar = mpFrame->GetStatusBar()) {
        for (wxWindow* child : bar->GetChildren())
            if (auto* gauge = dynamic_cast<wxGauge*>(child))
                text += WStrPrintf("gauge=%d %d\n", gauge->GetValue(), gauge->IsShown() ? 1 : 0);
    }
    return text;
}
