#pragma once
// The main window: menus from the shortcut table, the splitter with the view panels and the
// control panel, the three-field status bar with its progress gauge, the extra view window, the
// recent-project menu, the configuration and project files, and the idle loop that drives
// dragging (and, with the data slots, loading and playback).
#include "config/ConfItemList_cls.h"
#include "gui/Shortcut_cls.h"

#include <wx/frame.h>

#include <array>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

class CameraPathCtrl_cls;
class Coloring_cls;
class CustomColorGUI_cls;
class DF3GL_cls;
class SceneGL_cls;
class ScenePanelGUI_cls;
class Main_cls;
class MainGLCanvas_cls;
class Parameters_cls;
class PreviewPropertyGUI_cls;
class SequencePanel_cls;
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
    Coloring_cls& GetColoring() { return *mpColoring; }
    /// The camera path.
    CameraPathCtrl_cls& GetCameraPath() { return *mpCameraPath; }
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
    /// Rebuilds the recent-project menu from the controller's list.
    void UpdateRecentMenu();

  private:
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
    /// The Filter menu, built from the chain's menu table, inserted before Help.
    void AppendFilterMenu(class wxMenuBar* bar);
    void OnKeyCommand(wxCommandEvent& event);
    void OnAnimCommand(wxCommandEvent& event);
    void OnUseTimeRemap(wxCommandEvent& event);
    void OnOpenData(wxCommandEvent& event);
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
    /// Playback: view panel 0 takes the camera path's camera at the current frame.
    void FollowCameraPath();
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
    void RunStartupThreads();
    void WriteStateReport();

    Main_cls* mpMain;
    StartupData mCStartup;
    std::unique_ptr<Shortcut_cls> mpShortcut;
    std::unique_ptr<WxUserPrompt_cls> mpPrompt;
    int miTimeListener = 0;
    int miUndoListener = 0;
    std::wstring mStrBaseTitle;
    std::chrono::steady_clock::time_point mCStopWatchStart;

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
    ScenePanelGUI_cls* mpScenePanel = nullptr;
    CustomColorGUI_cls* mpCustomColorGUI = nullptr;
    std::array<MainGLCanvas_cls*, kViewCount> mvCanvas{};
    std::array<std::unique_ptr<GLCanvasCtrl_cls>, kViewCount> mvViewCtrl;
    // The drawing companions of the four data slots (their textures live in the shared context).
    std::array<std::unique_ptr<DF3GL_cls>, 4> mvpDF3GL;
    // The scene items drawn with each slot's volume, the colour maps and the camera path.
    std::array<std::unique_ptr<SceneGL_cls>, 4> mvpSceneGL;
    std::unique_ptr<Coloring_cls> mpColoring;
    std::unique_ptr<CameraPathCtrl_cls> mpCameraPath;
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
    int miScreenshotDataPasses = 0;
    unsigned muTextureSettings = 0; ///< texel format * 2 + linear filter, as the textures were made
    std::string mStrStateFile;      ///< TESSAN_STATE_FILE: where the visible state is reported
    std::wstring mStrLastState;     ///< the last report written

    wxDECLARE_EVENT_TABLE();
};
