#pragma once
// The ray-tracer export settings and the render launch: every setting of the export with its
// configuration key, the common scene header, the camera block, the option file, the render
// command and script, the per-frame command lists, and the render threads (one at a time for a
// sequence, driven from idle time; up to 16 side by side for snapshots).
//
// Sections: settings and defaults; file names; scene and option text; render script; commands
// and frame range; sequence render; snapshots; thread events.
#include "config/ConfItemList_cls.h"
#include "pov/PovBG_cls.h"
#include "pov/PovFocalBlur_cls.h"
#include "pov/PovFormat_cls.h"
#include "pov/PovPhotons_cls.h"
#include "pov/PovRadiosity_cls.h"
#include "pov/PovRender_cls.h"

#include <array>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class Camera_cls;
class ThreadPovRay;
class TimeCtrl_cls;
class UserPrompt_cls;

class PovRay_cls
{
  public:
    /// Number of snapshot threads that may run side by side.
    static constexpr int kSnapThreadMax = 16;
    /// Stem buffer length in wide characters (the stem holds at most one less).
    static constexpr size_t kStemBufferLength = 64;

    /// Registers every item and applies the defaults.
    PovRay_cls();
    /// Waits for running render threads.
    ~PovRay_cls();
    PovRay_cls(const PovRay_cls&) = delete;
    PovRay_cls& operator=(const PovRay_cls&) = delete;

    // ---- settings and defaults ---------------------------------------------------------------
    /// Every setting back to its default, the media defaults of the volume object too.
    void SetToDefault();
    /// All items (the own ones first, then render, format, radiosity, photons, focal blur,
    /// background).
    ConfItemList_cls& GetConfList() { return mCConfList; }
    /// The settings' lines.
    std::wstring Serialize() const { return mCConfList.SerializeAll(); }
    /// The settings' lines for a file, every sub-setting included. A project leaves out
    /// "POVRAY_PATH=": where the ray tracer is installed belongs to the machine, not the scene,
    /// so opening a project from another machine keeps the local path.
    std::wstring SerializeConf(bool project) const;
    /// Takes a line holding one of the settings' keys.
    bool ReadStrLine(const std::wstring& line) { return mCConfList.ReadStrLineAll(line); }

    PovRender_cls& GetRender() { return mCRender; }
    PovFormat_cls& GetFormat() { return mCFormat; }
    PovRadiosity_cls& GetRadiosity() { return mCRadiosity; }
    PovPhotons_cls& GetPhotons() { return mCPhotons; }
    PovFocalBlur_cls& GetFocalBlur() { return mCFocalBlur; }
    PovBG_cls& GetBG() { return mCBG; }
    const PovRender_cls& GetRender() const { return mCRender; }
    const PovFormat_cls& GetFormat() const { return mCFormat; }

    const std::wstring& GetPovRayPath() const { return mStrPovRayPath.Get(); }
    void SetPovRayPath(const std::wstring& path) { mStrPovRayPath.Set(path); }
    const std::wstring& GetWorkingDir() const { return mStrWorkingDir.Get(); }
    void SetWorkingDir(const std::wstring& dir) { mStrWorkingDir.Set(dir); }
    const std::wstring& GetSnapPattern() const { return mStrSnapFile.Get(); }
    const std::wstring& GetAnimPattern() const { return mStrAnimFile.Get(); }
    void SetSnapPattern(const std::wstring& p) { mStrSnapFile.Set(p); }
    void SetAnimPattern(const std::wstring& p) { mStrAnimFile.Set(p); }
    /// Scene files that name each other relative to the ray tracer's current directory ("./")
    /// instead of by the working directory's absolute path, so a frame's files can be copied
    /// to another machine and rendered there; the picture is then written to "./" as well.
    /// Not a saved setting: the render-farm exports turn it on for one export.
    void SetRelativePaths(bool on) { mbRelativePaths = on; }
    bool IsRelativePaths() const { return mbRelativePaths; }
    /// The folder the pictures go to ("PovOutputDir="; empty: "./", the ray tracer's folder).
    const std::wstring& GetOutputDir() const { return mStrOutputDir.Get(); }
    void SetOutputDir(const std::wstring& dir) { mStrOutputDir.Set(dir); }
    int GetMaxTraceLevel() const { return miMaxTraceLevel.Get(); }
    double GetAssumedGamma() const { return mdAssumedGamma.Get(); }
    unsigned GetWorkThread() const { return muWorkThread.Get(); }
    void SetWorkThread(unsigned n) { muWorkThread.Set(n); }
    void SetBoundingMethod(unsigned m) { muBoundingMethod.Set(m); }
    bool GetRemoveFile() const { return mbRemoveFile.Get(); }
    void SetRemoveFile(bool on) { mbRemoveFile.Set(on); }
    bool GetShowTweaks() const { return mbShowTweaks.Get(); }
    void SetShowTweaks(bool on) { mbShowTweaks.Set(on); }
    void SetSubsetRow(bool on, unsigned first, unsigned last);
    /// The processor count used for "PovWorkThread=" 0 (0: ask the machine).
    void SetProcessorCount(unsigned n) { muProcessorCount = n; }
    /// Threads written to the option file: the setting, or half the processors (at least 1).
    unsigned GetWorkThreadsForIni() const;
    /// Half view angle used for the visibility test of the data blocks, in radians.
    double GetRadianForVisCheck() const;

    // ---- file names ----------------------------------------------------------------------------
    /// The stem pattern: kind 1 = anim pattern, otherwise the snap pattern; eye 1 = left puts
    /// "L" before every "%", eye 2 = right puts "R" there.
    std::wstring GetFileStr(unsigned kind, unsigned eye) const;
    /// The pattern with its "%04d" (or other integer conversion) filled with frame, cut to 63
    /// characters.
    static std::wstring FormatStem(const std::wstring& pattern, int frame);

    // ---- scene and option text -----------------------------------------------------------------
    /// The scene header: includes, WORKINGDIR, global_settings, background.
    std::wstring GetPovStrCommon() const;
    /// Appends the camera block for the camera (image aspect from the format; focal blur inside)
    /// and the camera matrix macro with "#declare SCALE=".
    void GetPovStrCamInfo(std::wstring& out, const Camera_cls& camera, double time) const;
    /// "#macro MatrixYZ2Cam()" ... "#end" and "#declare SCALE=<scale>;".
    std::wstring GetPovStrCamMatrix(const Camera_cls& camera) const;
    /// Appends the option file of stem for frame; with "PovRemoveFile=" on it also fills the
    /// post-scene command text of the frame.
    void GetPovStrIniFile(std::wstring& out, const std::wstring& stem, int frame);
    /// "nice " + ray-tracer path + " " + working dir + "/" + stem + ".ini".
    std::wstring GetPovRayCommand(const std::wstring& stem) const;
    /// The post-scene command text of the frame being written.
    const std::wstring& GetPostSceneCommands() const { return mStrPostSceneCommands; }
    void ResetPostSceneCommands() { mStrPostSceneCommands.clear(); }

    // ---- render script -------------------------------------------------------------------------
    /// The text of "RenderAnim.sh" for eye (0 mono, 1 left, 2 right).
    std::wstring GetRenderScriptText(unsigned eye);
    /// Writes working dir + "/RenderAnim.sh"; false when the file cannot be written.
    bool WriteRenderScript(unsigned eye);
    /// The buffer whose address the script carries (the anim pattern without "%04d").
    const wchar_t* GetScriptNameBuffer() const { return mvScriptName.data(); }

    // ---- commands and frame range --------------------------------------------------------------
    /// Appends the render command of stem and the current post-scene command text.
    void PushBackCommands(const std::wstring& stem);
    void ClearCommands();
    const std::vector<std::wstring>& GetCommands() const { return mvCommands; }
    const std::vector<std::wstring>& GetPostCommands() const { return mvPostCommands; }
    /// The frames a sequence export covers under "PovRenderRegion=".
    void GetFrameRange(const TimeCtrl_cls& clock, unsigned* first, unsigned* last) const;

    // ---- sequence render -----------------------------------------------------------------------
    /// Where messages and status texts go (null: the process-wide prompt). Not owned.
    void SetPrompt(UserPrompt_cls* prompt) { mpPrompt = prompt; }
    /// Called (from any thread) when a render thread has news; the window wakes its idle loop.
    void SetWakeHook(std::function<void()> hook);
    /// Called with true when a sequence render starts (the window shows "StopAnim" in RED on
    /// WHITE) and false when it ends.
    void SetRenderButtonHook(std::function<void(bool rendering)> hook) { mRenderButtonHook = std::move(hook); }
    /// Starts rendering the command list from its first entry (one frame at a time).
    void RenderByPovAnim();
    /// Idle step of a sequence render (see the definition); also reports thread errors.
    void ProcessRenderAnim();
    /// Ends the sequence render: no further frame is started, the running one completes.
    void StopRenderAnim();
    bool IsRendering() const { return mbRendering; }
    unsigned GetRenderIndex() const { return muRenderIndex; }
    /// True while a sequence thread exists and runs.
    bool IsRenderThreadRunning() const;
    /// Joins the sequence thread (and the snapshot threads); for shutdown and tests.
    void WaitForThreads();

    /// Marks the export running.
    void ExportPovAnim()
    {
        mbExporting = true;
        mbExportStop = false;
    }
    /// Asks a running export to stop at the next frame, and ends it.
    void StopExportAnim()
    {
        mbExportStop = true;
        mbExporting = false;
    }
    /// Marks the export as waiting (true) or not.
    void WaitingForExport(bool waiting) { mbExportWaiting = waiting; }
    bool IsExporting() const { return mbExporting; }
    bool IsExportStopRequested() const { return mbExportStop; }
    bool IsExportWaiting() const { return mbExportWaiting; }

    // ---- snapshots -----------------------------------------------------------------------------
    /// Starts a snapshot render of stem in a free slot of the 16; "thread max" when all are busy.
    /// True when a thread was started.
    bool RenderByPovSnap(const std::wstring& stem);
    /// Number of snapshot threads still running.
    int CountRunningSnapThreads() const;

    // ---- thread events (any thread) ------------------------------------------------------------
    /// A render command failed; the message is shown at the next ProcessRenderAnim.
    void PostError(const std::wstring& command);
    /// A render thread ended.
    void PostFinished();
    /// Shows the error message for a failed command and stops a running sequence. GUI thread.
    void OnRenderError(const std::wstring& command);
    /// The command of the last failure (empty when none).
    const std::wstring& GetLastErrorCommand() const { return mStrLastErrorCommand; }

    /// Label and colours of the render button while a sequence renders.
    static constexpr const wchar_t* kStopLabel = L"StopAnim";
    static constexpr const wchar_t* kStopBackground = L"RED";
    static constexpr const wchar_t* kStopForeground = L"WHITE";

  private:
    UserPrompt_cls* Prompt() const;
    void Wake();

    ConfItemList_cls mCConfList;
    ConfItemSTR_cls mStrPovRayPath;
    ConfItemSTR_cls mStrWorkingDir;
    ConfItemSTR_cls mStrSnapFile;
    ConfItemSTR_cls mStrAnimFile;
    ConfItemSTR_cls mStrOutputDir;
    ConfItemINT_cls miMaxTraceLevel;
    ConfItemDOUBLE_cls mdAssumedGamma;
    ConfItemUINT_cls muWorkThread;
    ConfItemUINT_cls muRenderBlockSize;
    ConfItemUINT_cls muBoundingMethod;
    ConfItemUINT_cls muBufferSize;
    ConfItemUINT_cls muSSSQuality1;
    ConfItemUINT_cls muSSSQuality2;
    ConfItemDOUBLE_cls mdFileGamma;
    ConfItemDOUBLE_cls mdDisplayGamma;
    ConfItemBOOL_cls mbRemoveFile;
    ConfItemBOOL_cls mbShowTweaks;
    ConfItemBOOL_cls mbSubsetRow;
    ConfItemUINT_cls muStartRow;
    ConfItemUINT_cls muEndRow;
    std::vector<std::pair<ConfItem_cls*, std::wstring>> mvOwnDefaults;

    PovRender_cls mCRender;
    PovFormat_cls mCFormat;
    PovRadiosity_cls mCRadiosity;
    PovPhotons_cls mCPhotons;
    PovFocalBlur_cls mCFocalBlur;
    PovBG_cls mCBG;

    unsigned muProcessorCount = 0;
    bool mbRelativePaths = false;
    std::wstring mStrPostSceneCommands;
    std::array<wchar_t, kStemBufferLength> mvScriptName{};
    std::vector<std::wstring> mvCommands;
    std::vector<std::wstring> mvPostCommands;
    unsigned muRenderIndex = 0;
    bool mbRendering = false;
    bool mbExporting = false;
    bool mbExportStop = false;
    bool mbExportWaiting = false;
    std::unique_ptr<ThreadPovRay> mpThread;
    std::array<std::unique_ptr<ThreadPovRay>, kSnapThreadMax> mvSnapThreads;

    std::mutex mMutexEvents;
    std::vector<std::wstring> mvPendingErrors;
    std::function<void()> mWakeHook;
    std::function<void(bool)> mRenderButtonHook;
    std::wstring mStrLastErrorCommand;
    UserPrompt_cls* mpPrompt = nullptr;
};
