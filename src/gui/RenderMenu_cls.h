#pragma once
// The window's side of the ray-tracer export: the Render menu commands (snapshot, export and
// render of a sequence, the settings dialog), the render button of the control panel that turns
// into "StopAnim" while a sequence renders, and the hooks through which the export driver sees
// the window: the camera of the chosen view panel, the slots' current frames as data boxes with
// their colour maps, the filter items of the slots' chains. A sequence render is advanced from
// the window's idle loop one frame at a time (IdleStep); render threads wake the loop.
// GUI thread only.
#include <wx/event.h>

#include <memory>
#include <string>

class FrameMain_cls;
class Main_cls;
class PovExport_cls;
class PovSceneObjects_cls;
class wxButton;
class wxWindow;

class RenderMenu_cls : public wxEvtHandler
{
  public:
    /// Label of the render button while no sequence renders.
    static constexpr const wchar_t* kRenderLabel = L"Render Anim";

    /// Binds the Render menu's command ids on `frame` and installs the export hooks. frame and
    /// main outlive this object.
    RenderMenu_cls(FrameMain_cls* frame, Main_cls* main);
    ~RenderMenu_cls() override;
    RenderMenu_cls(const RenderMenu_cls&) = delete;
    RenderMenu_cls& operator=(const RenderMenu_cls&) = delete;

    /// Creates the render button in `parent` (the control panel); the caller places it.
    wxButton* CreateRenderButton(wxWindow* parent);
    /// One idle step: lets a running sequence render start its next frame and shows the errors
    /// that render threads reported.
    void IdleStep();
    /// True while the export writes files (the idle loop then leaves the data slots alone).
    bool IsBusy() const { return mbBusy; }
    /// What the render side shows, for the state report: "render=" rendering flag, next index,
    /// command count, running sequence threads, running snapshot threads; "render_button=" label,
    /// background and foreground colour as "#RRGGBB"; "render_button_place=" its screen rectangle;
    /// "gauge=" value and 1 when shown.
    std::wstring DescribeState() const;

    /// The window's command handlers (also reachable from tests through the menu ids).
    void OnSnapshot(wxCommandEvent& event);
    void OnExportSnapshot(wxCommandEvent& event);
    void OnExportAnim(wxCommandEvent& event);
    void OnRenderAnim(wxCommandEvent& event);
    void OnPovSettings(wxCommandEvent& event);
    /// Exports the sequence and writes RenderParallel.sh with its job list beside the scenes,
    /// after asking whether the hosts share the working directory or get the files sent; then
    /// tells the user the command that runs it.
    void OnExportParallel(wxCommandEvent& event);
    /// Exports the sequence and writes the Slurm job array RenderSlurm.sh beside the scenes;
    /// then tells the user the sbatch command.
    void OnExportSlurm(wxCommandEvent& event);

  private:
    void InstallHooks();
    void SetRenderButton(bool rendering);
    /// Creates the working directory when it is missing, so the first export finds it; false
    /// (after a message) when it cannot be made.
    bool EnsureWorkingDir();
    /// Runs an export command with the busy mark set and the clock's frame restored afterwards.
    template <typename Fn> bool RunExport(Fn&& command);
    /// The farm exports: the sequence's scenes (relative paths when transfer), then the script
    /// of the kind (true: GNU Parallel, false: Slurm) and the message naming its command.
    bool ExportForFarm(bool parallel, bool transfer);

    FrameMain_cls* mpFrame;
    Main_cls* mpMain;
    PovExport_cls* mpExport;
    /// The chains' object kinds (isosurfaces, sections, primitives, fog) as scene text.
    std::unique_ptr<PovSceneObjects_cls> mpSceneObjects;
    wxButton* mpButton = nullptr;
    bool mbBusy = false;
    bool mbSequenceActive = false; ///< a sequence rendered at the last idle step
};
