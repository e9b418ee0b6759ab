#pragma once
// The main controller: owns the long-lived model objects shared by the window, the CLI and the
// tests — the scene clock, the "BoxSize" and "BoxRotate" parameter sets, the four data slots —
// keeps the recent-project list beside the executable and the "ToolTip=" setting, and opens,
// appends and closes data. No GUI base class; the window is created by the application object
// and talks to this one. Questions go through the user prompt. GUI thread.
#include "config/ConfItemList_cls.h"
#include "config/RecentList_cls.h"

#include <functional>
#include <memory>
#include <string>

class CameraPathCtrl_cls;
class Coloring_cls;
class DF3_cls;
class DF3SeqCtrl_cls;
class ParameterGroup_cls;
class ProjectFile_cls;
class StereoGram_cls;
class DF3Sequence_cls;
class ImportList_cls;
class TexPropertyCtrl_cls;
class TreeBoxRule_cls;
class Parameters_cls;
class PovExport_cls;
class TimeCtrl_cls;
class UserPrompt_cls;

class Main_cls
{
  public:
    /// What OpenData did with a file.
    enum OpenResult { kOpenedData = 0, kOpenedProject = 1, kOpenFailed = 2 };
    /// Reads a project file; true on success (installed by whoever owns the project reader).
    using ProjectOpener = std::function<bool(const std::wstring& path)>;

    /// appDir: the folder of the running executable (where "KivrelRecent.txt" lives); the recent
    /// list is read from there at once. Creates the clock, the box parameter sets and the slots.
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

    // ---- owned model objects ---------------------------------------------------------------------
    /// The scene clock.
    TimeCtrl_cls& GetTimeCtrl() { return *mpTimeCtrl; }
    /// The box size (6 values) and box rotation (4 values) shared by all drawing blocks.
    Parameters_cls& GetBoxSize() { return *mpBoxSize; }
    Parameters_cls& GetBoxRotate() { return *mpBoxRotate; }
    /// The four data slots.
    DF3SeqCtrl_cls& GetSeqCtrl() { return *mpSeqCtrl; }
    /// The camera path (cameras as key-framed eye and look-at positions).
    CameraPathCtrl_cls& GetCameraPath() { return *mpCameraPath; }
    /// The stereo pair settings.
    StereoGram_cls& GetStereoGram() { return *mpStereoGram; }
    /// The hot-spot sets ("HSpot": x, y, z and size of the highlighted spot).
    ParameterGroup_cls& GetHotSpotGroup() { return *mpHotSpotGroup; }
    /// The controller's own animated sets ("BaseAlpha": overall opacity of the preview,
    /// "Brightness": overall brightness factor).
    ParameterGroup_cls& GetMainParamGroup() { return *mpMainParamGroup; }
    /// The colour maps (palettes and custom maps) that the preview bakes and the export writes.
    Coloring_cls& GetColoring() { return *mpColoring; }
    /// The rule dividing the drawing blocks into sub-boxes.
    TreeBoxRule_cls& GetTreeBoxRule() { return *mpTreeBoxRule; }
    /// The drawing blocks' per-slot texture settings ("--TextureForVolumeBox").
    TexPropertyCtrl_cls& GetTexProperty() { return *mpTexProperty; }
    /// The data-open dialog's remembered folder, filter and files.
    ImportList_cls& GetImportList() { return *mpImportList; }
    /// Base name of exported image sequences (the window keeps it in "ImgSequenceName=").
    const std::wstring& GetImgSeqName() const { return mStrImgSeqName; }
    void SetImgSeqName(const std::wstring& name) { mStrImgSeqName = name; }
    /// Writes and reads the configuration and project files of this controller's objects.
    ProjectFile_cls& GetProjectFile() { return *mpProjectFile; }
    /// The active slot's sequence.
    DF3Sequence_cls* GetPDF3SeqActive();
    /// The active slot's current frame (null when the slot is empty).
    DF3_cls* GetPDF3Active();

    // ---- recent projects -------------------------------------------------------------------------
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

    // ---- opening data ----------------------------------------------------------------------------
    /// A file chosen by the open command: a ".vsp" name asks "Read as a Project file?" first
    /// (Yes: the project opener reads it); otherwise, or on No, opens it as data in the active
    /// slot and clears the project-loaded flag.
    OpenResult OpenData(const std::wstring& path);
    /// Replaces the active slot's files with the series of `path`, clears the undo history, and
    /// asks once per run whether a snapshot (a single file) may set the scene length to 0.
    void OpenFileSequence(const std::wstring& path);
    /// Adds the series of `path` to the active slot (append type 0: after the last frame, 1:
    /// after the current one), remembers the path and sets the data title. Returns the number of
    /// files added.
    int AddFileSequence(const std::wstring& path, unsigned appendType);
    /// AddFileSequence with the slots' "DF3SequenceAppendType=".
    int AppendData(const std::wstring& path);
    /// Releases every frame of the active slot, marks its files changed and empties its list.
    void CloseData();
    /// The last opened data file (its folder is where the open dialog starts).
    const std::wstring& GetLastDataPath() const { return mStrLastDataPath; }
    /// Window title after opening data: the slot's information text + " - " + "Tessan"
    /// (empty until data was opened).
    const std::wstring& GetDataTitle() const { return mStrDataTitle; }
    /// 1 after a project was opened, 0 after a data file was opened.
    bool IsProjectLoaded() const { return mbProjectLoaded; }
    void SetProjectLoaded(bool on) { mbProjectLoaded = on; }
    /// Whether the snapshot question was answered with No in this run.
    bool IsSnapShotAnswered() const { return mbSnapShotAnswered; }
    /// Installs the project reader used for ".vsp" files.
    void SetProjectOpener(ProjectOpener opener) { mProjectOpener = std::move(opener); }
    /// Called after data was opened, appended or closed (the window refreshes there).
    void SetDataChangedHook(std::function<void()> hook) { mDataChangedHook = std::move(hook); }
    /// Where questions and status texts go (not owned; null: the process-wide prompt).
    void SetPrompt(UserPrompt_cls* prompt);

    // ---- ray-tracer export -----------------------------------------------------------------------
    /// The scene export with its settings, lights and hooks (the window fills the hooks).
    PovExport_cls& GetPovExport() { return *mpPovExport; }
    /// Whether the scene can be exported (asks when objects or lights are missing).
    bool IsPovrayCondistionSatisfiled();
    /// Exports one snapshot frame (eye 0 mono, 1 left, 2 right); reports in the status bar.
    bool ProcOutputPovRay(int frame, unsigned eye = 0);
    /// Exports every frame of the chosen range and fills the render command list.
    bool OutputPovRayIOAnim(unsigned* first, unsigned* last, bool ask);
    /// Writes one frame's .pov and .ini files.
    bool OutputPovRayIO(const std::wstring& stem, int frame);

    // ---- settings --------------------------------------------------------------------------------
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
    UserPrompt_cls* Prompt() const;
    void NotifyDataChanged();

    std::wstring mStrTitlePrefix = L"Kivrel Tessan v ";
    std::wstring mStrVersion = L"0.778";
    std::wstring mStrAppDir;
    long mlPid = 0;
    RecentList_cls mCRecent;
    ConfItemBOOL_cls mbItemToolTip;
    ConfItemList_cls mCConfList;
    std::unique_ptr<Parameters_cls> mpBoxSize;
    std::unique_ptr<Parameters_cls> mpBoxRotate;
    std::unique_ptr<TimeCtrl_cls> mpTimeCtrl;
    std::unique_ptr<DF3SeqCtrl_cls> mpSeqCtrl;
    std::unique_ptr<Coloring_cls> mpColoring;
    std::unique_ptr<PovExport_cls> mpPovExport;
    std::unique_ptr<CameraPathCtrl_cls> mpCameraPath;
    std::unique_ptr<StereoGram_cls> mpStereoGram;
    std::unique_ptr<ParameterGroup_cls> mpHotSpotGroup;
    std::unique_ptr<ParameterGroup_cls> mpMainParamGroup;
    std::unique_ptr<TreeBoxRule_cls> mpTreeBoxRule;
    std::unique_ptr<TexPropertyCtrl_cls> mpTexProperty;
    std::unique_ptr<ImportList_cls> mpImportList;
    std::unique_ptr<ProjectFile_cls> mpProjectFile;
    std::wstring mStrImgSeqName = L"Image";
    std::wstring mStrLastDataPath;
    std::wstring mStrDataTitle;
    bool mbSnapShotAnswered = false;
    bool mbProjectLoaded = false;
    ProjectOpener mProjectOpener;
    std::function<void()> mDataChangedHook;
    UserPrompt_cls* mpPrompt = nullptr;
};
