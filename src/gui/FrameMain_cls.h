#pragma once
// The main window: menus from the shortcut table, the splitter with the view panels and the
// control panel, the three-field status bar with its progress gauge, the extra view window, the
// recent-project menu, the configuration and project files, and the idle loop that drives
// dragging (and, with the data slots, loading and playback).
#include "config/ConfItemList_cls.h"
#include "gui/Shortcut_cls.h"
#include "pov/Camera_cls.h"

#include <wx/colourdata.h>
#include <wx/frame.h>

#include <array>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

class ColorMapChooser_cls;
class CameraPathCtrl_cls;
class Coloring_cls;
class CustomColorGUI_cls;
class DF3GL_cls;
class DrawingBlockGUI_cls;
class ImgSequence_cls;
class IsosurfSeqGUI_cls;
class IdleBenchLog_cls;
class WidgetDriver_cls;
class RenderMenu_cls;
class FilterCtrl_cls;
class FilterPanels_cls;
class ThreadFilterChain;
class SceneGL_cls;
class ScenePanelGUI_cls;
class Main_cls;
class MainGLCanvas_cls;
class Parameters_cls;
class PreviewPropertyGUI_cls;
class SequencePanel_cls;
class StereoViewGUI_cls;
class TimeCtrl_cls;
class TimeLineGUI_cls;
class GLCanvasCtrl_cls;
class WxUserPrompt_cls;
class wxGauge;
class wxPanel;
class wxSplitterWindow;
class wxSplitterEvent;
class wxStaticText;

class FrameMain_cls : public wxFrame
{
  public:
    /// Number of view controllers: four panels and the extra window.
    static constexpr int kViewCount = 5;
    /// Index of the extra window's view.
    static constexpr int kExtraView = 4;
    /// Target time per played or dragged frame.
    static constexpr unsigned kFrameIntervalMs = 25;

    /// What the start-up workers prepare for the GUI thread (plain data only).
    struct StartupData {
        std::wstring mStrBackground;          ///< colour name of the frame's background
        std::wstring mStrColourDialogInitial; ///< initial colour of the colour dialog
        std::wstring mStrProjectWildcard;     ///< file-dialog filter for projects
        std::wstring mStrDataWildcard;        ///< file-dialog filter for data files
        std::vector<Shortcut_cls::Menu> mvMenuModel;
    };

    /// Builds the window (see the start-up order in the constructor). GUI thread.
    FrameMain_cls(const std::wstring& title, Main_cls* main, int x, int y, int width, int height);
    ~FrameMain_cls() override;

    /// Filled by the start-up workers while the GUI thread waits.
    StartupData& GetStartupData() { return mCStartup; }
    /// The shortcut table with the user's keys.
    Shortcut_cls& GetShortcut() { return *mpShortcut; }
    /// The view controller i (0..4).
    GLCanvasCtrl_cls& GetViewCtrl(int i) { return *mvViewCtrl[static_cast<size_t>(i)]; }

    /// The scene frame shown in the views' frame-number guide: the clock's current frame.
    int GetCurrentFrame() const;
    /// The scene clock (owned by the main controller).
    TimeCtrl_cls& GetTimeCtrl();
    /// The shared box parameter sets of the main controller ("BoxSize": minX..maxZ in clip
    /// fractions; "BoxRotate": rotation of the drawing boxes).
    Parameters_cls& GetBoxSize();
    Parameters_cls& GetBoxRotate();
    /// The time-line panel.
    TimeLineGUI_cls& GetTimeLine() { return *mpTimeLine; }
    /// Makes view i the one the View menu's camera commands act on.
    void SetActiveView(int i);
    /// A view's camera changed outside the idle pass (wheel): repaint it and update the info.
    void OnViewChanged(int i);
    /// Asks for another idle pass (mouse motion waiting to be applied).
    void WakeIdle();

    /// --screenshot: once every visible view has been drawn, save the client area to `path` as
    /// PNG and exit (exit code 0, or 1 with a message when it cannot be saved).
    void SetScreenshotPath(const std::wstring& path) { mStrScreenshotPath = path; }
    /// The view exported pictures are taken from: the active view when shown, else the first
    /// shown one (null when none is).
    MainGLCanvas_cls* GetExportCanvas();
    /// Base name of exported image sequences ("ImgSequenceName=").
    std::wstring GetImgSeqName() const;
    /// --screenshot-every: step through every frame of the working area, saving each drawn
    /// frame as dir/frame_NNNN.png, then exit.
    void SetScreenshotEvery(const std::wstring& dir) { mStrScreenshotEvery = dir; }
    /// --play: start playing once the start-up file is open.
    void SetPlayAtStart(bool play) { mbPlayAtStart = play; }
    /// --bench-log: log idle passes and played frames to `path`; exit after quitAfter seconds
    /// (0: no limit) or, when not playing, after stepping through every frame of the working
    /// area, each step once the frame before is loaded and drawn.
    void SetBenchLog(const std::string& path, int quitAfter);
    /// The drawing companion of data slot `slot` (0..3).
    DF3GL_cls* GetDF3GL(int slot)
    {
        return slot >= 0 && slot < 4 ? mvpDF3GL[static_cast<size_t>(slot)].get() : nullptr;
    }
    /// Shows scene frame `frame` (-1: the clock's frame) with every slot's frame brought up in
    /// full (voxels processed, textures bound) and the views repainted, as the export needs it.
    void PrepareFrameForExport(int frame);

    /// Sets the view anchor shared by all views and gives it to every view's camera.
    void SetViewAnchor(const Vec3d& anchor);
    /// The drawing block of `slot` (0..3).
    class DrawingBlock_cls& GetDrawingBlock(int slot);
    /// Asks every view to repaint (settings that change the drawing).
    void RepaintViews() { RefreshViews(); }
    /// The client size --size asked for: when the window could not become that large, the
    /// screenshot is the active view drawn off-screen at that size instead.
    void SetScreenshotSize(int width, int height)
    {
        miScreenshotWidth = width;
        miScreenshotHeight = height;
    }
    /// --view-shot: as the screenshot, but only the active view, drawn off-screen at `scale`
    /// times its size when scale > 1 or `offscreen`.
    void SetViewShot(const std::wstring& path, int scale, bool offscreen);
    /// The stereogram, off-screen picture and camera-path commands.
    StereoViewGUI_cls& GetStereoGUI() { return *mpStereoGUI; }
    /// The canvas of view i (0..4), null before the views are built.
    MainGLCanvas_cls* GetCanvas(int i) const
    {
        return i >= 0 && i < kViewCount ? mvCanvas[static_cast<size_t>(i)] : nullptr;
    }
    /// The view the View menu's camera commands act on.
    int GetActiveView() const { return miActiveView; }
    /// Shows or hides the extra view window (and checks its menu entry).
    void ShowExtraView(bool shown) { SetExtraViewShown(shown); }
    /// Opens the file named on the command line (a project, or data when the slots exist).
    void OpenAtStart(const std::wstring& path);

    /// Opens a data file (or, after the ".vsp" question, a project) through the controller.
    void OpenDataFile(const std::wstring& path);
    /// After the start-up file: shows scene frame `frame` (clamped to the clock's range).
    void ShowFrameAtStart(int frame);
    /// Draws the current frame of every slot holding data (a paint, context current).
    void DrawVolumes();
    /// Draws the lights and the camera path as markers (a paint, context current).
    void DrawSceneMarkers();
    /// The colour maps of the preview and the export (custom maps included).
    Coloring_cls& GetColoring();
    /// The camera path.
    CameraPathCtrl_cls& GetCameraPath();
    /// Sides of the box the volumes are drawn in: the active frame's aspect (longest side 1)
    /// times the current "BoxSize" extent.
    std::array<double, 3> GetVolumeExtent();
    /// Shows one large perspective view (false) or the four views (true).
    void SetFourViews(bool four);
    bool IsFourViews() const { return muItemLayout.Get() == 1; }

    /// Reads a configuration or project file; a missing file leaves the defaults.
    void ReadConfigure(const std::wstring& path);
    /// Writes the configuration (project false) or a project (project true). Returns false
    /// after showing "File open fails" when the file cannot be written (the old file stays).
    bool SaveConfigure(const std::wstring& path, bool project);
    /// Opens a project file: reads it, remembers it and titles the window after it.
    void OpenProjectMain(const std::wstring& path);
    /// The colour dialogs' shared data: their 16 custom colours are kept in project files.
    wxColourData& GetColourData() { return mCColourData; }
    /// The custom colours as one line ("ColourDialogCustomColours=" and 16 "#rrggbb" words).
    std::wstring SerializeCustomColours() const;
    /// Takes the custom-colours line; words that are not colours leave their entry as it was.
    bool ReadCustomColours(const std::wstring& line);
    /// The current project's path (empty until a project was opened or saved).
    const std::wstring& GetProjectPath() const { return mStrProjectPath; }
    /// Rebuilds the recent-project menu from the controller's list.
    void UpdateRecentMenu();

  private:
    /// The window's parts of the configuration and project files.
    void InstallProjectHooks();
    void RemoveProjectHooks();
    /// Panels, layout and clock after a configuration or project was read.
    void RefreshAfterRead();
    void OnIdle(wxIdleEvent& event);
    void InitializeOnIdle();
    void OnQuit(wxCommandEvent& event);
    void OnClose(wxCloseEvent& event);
    void OnOpenProject(wxCommandEvent& event);
    void OnSaveProject(wxCommandEvent& event);
    void OnSaveProjectAs(wxCommandEvent& event);
    void OnRecent(wxCommandEvent& event);
    void OnOneView(wxCommandEvent& event);
    void OnFourViews(wxCommandEvent& event);
    void OnResetCamera(wxCommandEvent& event);
    void OnExtraView(wxCommandEvent& event);
    void OnToolTip(wxCommandEvent& event);
    void OnAbout(wxCommandEvent& event);
    void OnSashMoved(wxSplitterEvent& event);
    void OnFixedViewButton(wxCommandEvent& event);
    void OnUndo(wxCommandEvent& event);
    void OnRedo(wxCommandEvent& event);
    /// Adds the item of the chosen Filter menu entry to the active slot's chain.
    void OnFilterAdd(wxCommandEvent& event);
    /// Frames to be processed again and the views redrawn after the chain changed.
    void OnFilterChainChanged();
    /// Starts the chains of the shown frames on the worker (after an edit).
    void StartFilterRun();
    /// Idle: progress of a chain run, and its end.
    void PollFilterRun();
    /// Waits for a chain run to end (before anything touches the chains or the frames).
    void WaitForFilterRun();
    /// Joins the run and lets the idle pass make the textures.
    void FinishFilterRun();
    /// Evaluates every chain's animated values at the current time (the panels show them).
    void UpdateChainParameters();
    /// The time line's sets: the scene's sets and, when given, a filter item's set (shown).
    void SetFilterSetOnTimeLine(Parameters_cls* set, const std::wstring& tag);
    /// Takes a filter item's set off the time line when the item left its chain.
    void ValidateTimeLineSet();
    /// Edit > Preferences.
    void OnPreferences(wxCommandEvent& event);
    /// The Filter menu, built from the chain's menu table, inserted before Help.
    void AppendFilterMenu(class wxMenuBar* bar);
    void OnKeyCommand(wxCommandEvent& event);
    void OnAnimCommand(wxCommandEvent& event);
    void OnUseTimeRemap(wxCommandEvent& event);
    void OnOpenData(wxCommandEvent& event);
    /// Preselects the data-open dialog's file type remembered by the import list.
    void SetImportFilter(class wxFileDialog& dialog) const;
    void OnAppendData(wxCommandEvent& event);
    void OnCloseData(wxCommandEvent& event);
    /// The controller opened, appended or closed data: title, views, loading.
    void OnDataChanged();
    /// Makes the views' shared context current on a shown canvas; false when none can take it.
    bool MakeContextCurrent();
    /// True when any slot holds frames.
    bool HasAnyData() const;
    /// One loading step of the idle loop (not playing). True while work is left.
    bool IdleLoadStep();
    /// True when every slot's current frame was drawn by the last paint (or cannot be).
    bool AreCurrentFramesDrawn() const;
    /// Repaints the views when a slot's current frame became ready since the last check.
    void RefreshIfFramesChanged();
    /// The slot lines of the state report.
    std::wstring DescribeSlots() const;
    void OnCharHook(wxKeyEvent& event);

    // The scene items (isosurfaces, sections, lights, camera path, custom colours).
    /// Creates the colour maps and the camera path and connects their change notices.
    void InitializeScene();
    /// Lights or cameras changed: panel, time-line sets and views follow.
    void OnSceneChanged();
    /// A custom colour map changed: baked textures are made again, the views redrawn.
    void OnColourMapChanged();
    /// Shows the "Custom Color" editor (made at first use).
    void OpenCustomColorEditor();
    /// Exports the isosurface through its dialog.
    void ExportIsosurface(class PovIsosurface_cls* iso);
    /// A new time: slots whose animated output items (isosurface level, planes) take other
    /// values now have their current frame processed again. True when one was marked.
    bool RefreshAnimatedSceneItems();
    /// The parameter sets offered on the time line (shared sets, lights, camera path).
    void UpdateTimeLineSets();

    /// One playback step of the idle loop: advance the clock, aim at one frame per interval.
    void ProcPlayTex();
    void UpdateEditMenu();
    void UpdateAnimationMenu();
    /// The title: the base title, marked with "*" while the history is away from its clean mark.
    void SetBaseTitle(const std::wstring& title);
    void UpdateTitle();

    void BuildViews();
    void BuildControlPanel();
    void LayoutViews();
    void RefreshViews();
    void UpdateCameraInfo();
    void SetExtraViewShown(bool shown);
    bool ScreenshotReady();
    void TakeScreenshot();
    /// Saves the client area with the GL views as PNG; false when it cannot be saved.
    bool SaveScreenshot(const std::wstring& path);
    /// One step of --screenshot-every; true while frames are left.
    bool ScreenshotEveryStep();
    /// The colours of slot `slot` changed: textures with baked colours are made again.
    void OnSlotColoursChanged(int slot);
    /// Ends a --bench-log run: writes the log and exits.
    void FinishBench();
    void RunStartupThreads();
    void WriteStateReport();

    Main_cls* mpMain;
    StartupData mCStartup;
    std::unique_ptr<Shortcut_cls> mpShortcut;
    std::unique_ptr<WxUserPrompt_cls> mpPrompt;
    std::unique_ptr<StereoViewGUI_cls> mpStereoGUI;
    int miTimeListener = 0;
    int miUndoListener = 0;
    std::wstring mStrBaseTitle;
    std::chrono::steady_clock::time_point mCStopWatchStart;

    wxColourData mCColourData;

    // Window settings.
    ConfItemList_cls mCConfList;
    ConfItemSTR_cls mStrItemImgSeqName;
    ConfItemINT_cls miItemSashPos;
    ConfItemUINT_cls muItemLayout;

    // Widgets (owned by the toolkit).
    wxSplitterWindow* mpSplitter = nullptr;
    wxPanel* mpViewArea = nullptr;
    wxPanel* mpControlPanel = nullptr;
    wxStaticText* mpCamInfo = nullptr;
    wxStaticText* mpAncInfo = nullptr;
    wxStaticText* mpActiveInfo = nullptr;
    wxGauge* mpGauge = nullptr;
    wxMenu* mpRecentMenu = nullptr;
    wxFrame* mpExtraFrame = nullptr;
    TimeLineGUI_cls* mpTimeLine = nullptr;
    PreviewPropertyGUI_cls* mpPreviewGUI = nullptr;
    SequencePanel_cls* mpSequencePanel = nullptr;
    FilterPanels_cls* mpFilterPanels = nullptr;
    std::unique_ptr<ThreadFilterChain> mpFilterThread; ///< runs the chains of the shown frames
    class wxNotebook* mpControlBook = nullptr;         ///< the control panel's pages
    FilterCtrl_cls* mpTLChain = nullptr;               ///< chain of the filter item whose set the time line shows
    std::wstring mStrTLTag;                            ///< that item's tag ("" when none)
    Parameters_cls* mpTLSet = nullptr;                 ///< that item's set
    ScenePanelGUI_cls* mpScenePanel = nullptr;
    CustomColorGUI_cls* mpCustomColorGUI = nullptr;
    std::array<MainGLCanvas_cls*, kViewCount> mvCanvas{};
    std::array<std::unique_ptr<GLCanvasCtrl_cls>, kViewCount> mvViewCtrl;
    // The drawing companions of the four data slots (their textures live in the shared context).
    std::array<std::unique_ptr<DF3GL_cls>, 4> mvpDF3GL;
    // The scene items drawn with each slot's volume.
    std::array<std::unique_ptr<SceneGL_cls>, 4> mvpSceneGL;
    int miSceneTimeListener = 0;
    std::array<int, 4> mvDrawnIndex{-1, -1, -1, -1};     ///< frame each slot's last paint drew, or -1
    std::array<bool, 4> mvFailedCurrent{};               ///< the current frame could not be brought up
    std::array<int, 4> mvReadySignature{-1, -1, -1, -1}; ///< current index * 1000 + bind percent

    // Run-time values.
    std::chrono::microseconds mCFrameBudget{kFrameIntervalMs * 1000};
    std::chrono::steady_clock::time_point mCLastFrameMark;
    bool mbNothingLeftToFetch = false;
    int miProjectLoaded = 0;
    std::wstring mStrLastDataPath;
    std::wstring mStrProjectPath;
    int miActiveView = 3;
    bool mb3DConditionApplied = false;
    bool mbInitialized = false;
    bool mbPendingRelayout = false;
    bool mbPendingViewUpdate = false;
    std::wstring mStrScreenshotPath;
    int miScreenshotIdlePasses = 0;
    int miScreenshotPaintWaits = 0; ///< passes spent waiting for the time line to paint
    int miScreenshotDataPasses = 0;
    int miScreenshotWidth = 0;
    int miScreenshotHeight = 0;
    unsigned muTextureSettings = 0; ///< texel format * 2 + linear filter, as the textures were made
    // The sequence exports (File > Export), each with its own menu and idle handlers.
    std::unique_ptr<ImgSequence_cls> mpImgSequence;
    std::unique_ptr<DrawingBlockGUI_cls> mpDrawingBlockGUI;
    std::unique_ptr<IsosurfSeqGUI_cls> mpIsosurfSeqGUI;
    std::string mStrStateFile; ///< TESSAN_STATE_FILE: where the visible state is reported
    std::unique_ptr<RenderMenu_cls> mpRenderMenu;
    ColorMapChooser_cls* mpColorChooser = nullptr;
    std::wstring mStrScreenshotEvery;
    int miShotFrame = -1; ///< frame --screenshot-every shows now (-1: not started)
    bool mbPlayAtStart = false;
    std::unique_ptr<IdleBenchLog_cls> mpBenchLog;
    std::unique_ptr<WidgetDriver_cls> mpDriver; ///< TESSAN_DRIVE_FILE: commands for unattended runs
    int miQuitAfter = 0;
    bool mbBenchHadData = false;
    bool mbBenchFinished = false;
    int miBenchLastFrame = -1;
    std::wstring mStrLastState; ///< the last report written

    wxDECLARE_EVENT_TABLE();
};
