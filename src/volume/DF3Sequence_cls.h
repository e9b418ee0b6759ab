#pragma once
// One data slot: the ordered frames of one time sequence of volumes, brought from the file to
// displayable form stage by stage in idle time, prefetched around the current time and released
// by age when the controller's memory limits are passed. Frames keep what they ask of their
// owner here: the down-size factors, the prompt for messages, the time-remap blend and the
// slot's processing step.
//
// Sections: settings and owner links; files and frames; bringing a frame up; fetching, ages and
// releasing; time remap; processing; file block of project files.
#include "config/ConfItemList_cls.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class DF3_cls;
class DF3SeqCtrl_cls;
class FilterCtrl_cls;
class LineStream_cls;
class TexObjectJobs_cls;
class ThreadProcessFrame;
class TimeCtrl_cls;
class UserPrompt_cls;

class DF3Sequence_cls
{
  public:
    /// Results of IdleProcessesMain.
    enum IdleResult { kIdleFailed = 0, kIdleStep = 1, kIdleNothing = 2, kIdleBound = 3 };
    /// How AppendFileSequence places the files it found.
    enum AppendType { kAppendAtEnd = 0, kInsertAfterCurrent = 1 };
    /// One entry of the file list: the file (or an image stack's first image), the second path
    /// (an image stack's last image, else empty) and the source format (DF3_cls::Format).
    struct FileEntry {
        std::wstring strPath;
        std::wstring strPath2;
        int iFormat = 0;
        bool operator==(const FileEntry&) const = default;
    };

    /// A stand-alone sequence (no controller, no clock): frames use its own down-size factors,
    /// headless textures and frame 0 as the current one.
    DF3Sequence_cls();
    ~DF3Sequence_cls();
    DF3Sequence_cls(const DF3Sequence_cls&) = delete;
    DF3Sequence_cls& operator=(const DF3Sequence_cls&) = delete;

    // ---- settings and owner links --------------------------------------------------------------
    /// Joins a controller as slot `slot` and follows `clock` (neither owned; both may be null).
    void Link(DF3SeqCtrl_cls* ctrl, int slot, TimeCtrl_cls* clock);
    DF3SeqCtrl_cls* GetCtrl() const { return mpCtrl; }
    TimeCtrl_cls* GetTimeCtrl() const { return mpTimeCtrl; }
    int GetSlot() const { return miSlot; }
    /// Down-size factor along axis 0..2 ("DownSizeSRC=", the controller's when linked; 1 = none,
    /// 0 is treated as 1).
    uint32_t GetDownSizeSRC(int axis) const;
    /// Sets the factor along axis 0..2. Takes effect at the next Allocate of each frame.
    void SetDownSizeSRC(int axis, uint32_t factor);
    /// The settings of a stand-alone sequence ("DownSizeSRC=").
    ConfItemList_cls& GetConfList() { return mCConfList; }
    /// Where frames report failures; GetUserPrompt() unless one was set. Never null.
    UserPrompt_cls* GetMessageParent() const;
    /// Sets the message parent (not owned; null restores the process-wide prompt).
    void SetMessageParent(UserPrompt_cls* parent) { mpMessageParent = parent; }

    // ---- files and frames ----------------------------------------------------------------------
    /// Adds the files of `path` (format by SourceFormat_cls): with findSeries the whole numbered
    /// series it belongs to, else the one file. An image is one slice of a stack: each frame is
    /// a whole stack, and with findSeries every time point found by ImageStackSeries_cls is one
    /// frame. kAppendAtEnd puts them after the last frame, kInsertAfterCurrent after the
    /// current frame. Frames are rebuilt (SetIndividualFileNames). With a clock, the scene length
    /// becomes the frame count - 1; when frames existed before, the keys of every parameter set
    /// are moved so that they stay on their data frames. Returns the number of files added.
    int AppendFileSequence(const std::wstring& path, bool findSeries, unsigned appendType);
    /// Adds files exactly as given at the end (no series search, no clock change).
    void AppendFiles(const std::vector<FileEntry>& files);
    /// Releases every frame and empties the file list.
    void ClearFileSequence();
    /// Makes the frames match the file list: frames whose file stays keep their data, new files
    /// get new frames (with texture jobs from the controller's factory), the rest are deleted.
    /// Sets each frame's index and its time-remap neighbour (the next frame).
    void SetIndividualFileNames();
    const std::vector<FileEntry>& GetFileList() const { return mvFiles; }
    int GetFrameCount() const { return static_cast<int>(mvFrames.size()); }
    /// Index of the last frame, -1 when empty.
    int GetLastIndex() const { return GetFrameCount() - 1; }
    /// Frame i (null when out of range).
    DF3_cls* GetDF3(int i) const;
    /// Texture jobs of frame i (null when out of range).
    TexObjectJobs_cls* GetTexJobs(int i) const;
    /// The frame the clock shows now (null when empty).
    DF3_cls* GetCurrentDF3() const { return GetDF3(GetRemappedIndex(-1)); }
    /// Short description for titles: the file name, or first and last names and the count.
    std::wstring GetInformationText() const;

    // ---- bringing a frame up -------------------------------------------------------------------
    /// One stage (or, with full, all stages) of making frame `index` (clamped to the last frame)
    /// displayable: header and buffers, body, axis copies (2D textures only), texture deletion of
    /// stale textures, generation (runs the processing), binding. Returns IdleResult: 1 one stage
    /// done, 2 nothing to do (or skipTexture after the voxel stages), 3 textures bound in one
    /// step, 0 binding failed. GUI thread.
    int IdleProcessesMain(int index, bool full, bool skipTexture);

    // ---- fetching, ages and releasing ----------------------------------------------------------
    /// One stage of loading inside the prefetch window, frames ahead of the current one first.
    /// True when a stage was done. Does nothing while loading is paused.
    bool IdleProcessesFetch();
    /// Releases one kind of memory of the oldest frame other than the current one when the
    /// controller's use passes a limit (plus 8/16/24 MB with withMargin). True when released.
    bool IdleProcessesRelease(bool withMargin);
    /// Marks the frames the clock will show (every step of the scene through the time remap).
    void UpdatePreFetchList();
    /// Ages every frame by one evaluation (see the source for the increments).
    void EvaluateOldPoint();
    /// Releases the voxels, axis copies and textures of every frame.
    void ReleaseAll();
    /// Makes every loaded frame read its file again at its next fetch.
    void SetFileChangedTagAll();
    /// Prefetch mark of frame i (0 or 1; 0 out of range).
    uint8_t GetPreFetchMark(int i) const;
    uint32_t GetTexAge(int i) const;
    uint32_t GetVoxAge(int i) const;
    /// Kilobytes of textures, axis copies and voxel buffers held by all frames.
    uint64_t GetTextureKB() const;
    uint64_t GetXYKB() const;
    uint64_t GetXYZKB() const;
    /// Voxels of one frame of this slot for texture estimates: the current frame's size, or the
    /// first frame whose header is known; 0 when none is known.
    uint64_t GetStepVoxelCount() const;

    // ---- time remap ----------------------------------------------------------------------------
    /// Whether the time remap is active: the clock's switch when linked, else SetRemap's state.
    bool IsRemap() const;
    /// The clock's remapped data index of scene step `step` (-1: the current step), clamped to
    /// this slot's last frame (0 when empty). Without a clock: the step itself, clamped.
    int GetRemappedIndex(int step) const;
    /// Fraction of the current remapped position beyond GetRemappedIndex(-1) (0 <= f < 1).
    float GetRemapInterpolateFactor() const;
    /// Remap state for a stand-alone sequence (a linked one follows the clock).
    void SetRemap(bool active, float factor);

    // ---- processing ----------------------------------------------------------------------------
    /// The slot's filter chain (owned by the slot, never null).
    FilterCtrl_cls& GetFilterCtrl() { return *mpFilterCtrl; }
    const FilterCtrl_cls& GetFilterCtrl() const { return *mpFilterCtrl; }
    /// Runs the slot's filter chain on n = size[0]*size[1]*size[2] voxels from `in` into `out`
    /// for data frame `frame` (-1: the current one). When blend is set, factor is non-zero and
    /// next is given, the input is first blended with the neighbour frame as
    /// trunc(in*(1-f) + next*f) in single precision. Without a volume item in the chain, `out`
    /// receives the (blended) input. `in` is never written.
    bool ProcessXYZData(uint8_t* out, const uint8_t* in, const uint32_t* size, bool blend, float factor,
                        const uint8_t* next, int frame = -1);
    /// Whether frames must be processed again regardless of the chain (set by callers that
    /// changed something the chain's signature cannot see).
    bool IsReprocessRequired() const { return mbReprocessRequired; }
    void SetReprocessRequired(bool required) { mbReprocessRequired = required; }
    /// Whether data frame `frame` must be processed (again): the chain's signature at the
    /// current time differs from the one the frame was last processed with, an output item
    /// needs it, or SetReprocessRequired says so. Records the new signature. GUI thread.
    bool IsReprocessRequiredFor(int frame);
    /// Whether exports and the preview must use processed voxels rather than the voxels as
    /// read: the chain changes what its volume item receives, or SetFilterProcessRequired.
    bool IsFilterProcessRequired() const;
    void SetFilterProcessRequired(bool required) { mbFilterProcessRequired = required; }
    /// Starts bringing the processed voxels of `frame` (one of this slot's) up to date on the
    /// slot's processing worker, after the run before it has ended. False when nothing had to
    /// be done (the frame was up to date). GUI thread.
    bool StartProcessing(DF3_cls& frame);
    /// Whether the worker holds a run (on `frame` when one is given) that was not joined yet.
    bool IsProcessing(const DF3_cls* frame = nullptr) const;
    /// Waits at most `wait` for the run; joins it when it has ended. True when no run is left.
    bool PollProcessing(std::chrono::microseconds wait);
    /// Waits for the run and joins it (nothing when none runs). Everything that writes or
    /// frees a frame, or touches the chain, of this slot comes after this.
    void WaitProcessing();
    /// Whether the chain holds items whose results the preview draws (isosurfaces, sections).
    bool HasPreviewOutputItems() const;
    /// Whether every such item holds the results of frame `index` (true without such items).
    bool PreviewOutputsHold(int index) const;
    /// Joins the run when it reads `frame` (its frame, or the neighbour it blends).
    void WaitProcessingOn(const DF3_cls& frame);
    /// Waits at most `wait` for a run that reads `frame` and joins it when it has ended. True
    /// when no run reads the frame any more.
    bool PollProcessingOn(const DF3_cls& frame, std::chrono::microseconds wait);
    /// Runs the worker has started (tests check that processing left the calling thread).
    unsigned GetProcessRunCount() const;
    /// What the last loading call did ("header", "body", "axis", "delete", "process",
    /// "texgen", "bind", "release"), for the window's benchmark log.
    const char* GetLastStage() const { return mpLastStage; }

    // ---- file block of project files -----------------------------------------------------------
    /// The file list as a block: "--DF3SequenceFiles", one "File=" line per DF3 file (or
    /// "ImageStack=" with both paths), "--END". Backslashes, tabs and line breaks in paths are
    /// escaped so every path comes back exactly.
    std::wstring SerializeFile() const;
    /// Takes the block when `line` opens it: replaces the file list with the listed files (no
    /// series search) and rebuilds the frames. False for any other line.
    bool ReadStrLineFile(LineStream_cls& stream, const std::wstring& line);

  private:
    struct Frame_cls;
    /// Whether a run not yet joined reads `frame` (its frame, or the neighbour it blends).
    bool RunReads(const DF3_cls& frame) const;
    int CurrentIndex() const { return GetRemappedIndex(-1); }
    bool IsPaused() const;
    bool IsPrefetchOn() const;
    bool Is3DTexturePreview() const;
    bool IsCurrentFrame(int index) const { return index == CurrentIndex(); }
    void ResetAges(int i);
    std::unique_ptr<TexObjectJobs_cls> CreateTexJobs(DF3_cls& frame);
    void NoteStage(const char* stage);

    ConfItemList_cls mCConfList;
    ConfItemUINTARRAY_cls mCDownSizeSRC;
    UserPrompt_cls* mpMessageParent = nullptr;
    DF3SeqCtrl_cls* mpCtrl = nullptr;
    TimeCtrl_cls* mpTimeCtrl = nullptr;
    int miSlot = 0;
    std::vector<FileEntry> mvFiles;
    std::vector<std::unique_ptr<Frame_cls>> mvFrames;
    std::vector<uint8_t> mvPreFetch;
    int miLastEvaluated = -1;
    bool mbRemap = false;
    float mfRemapFactor = 0.0f;
    bool mbReprocessRequired = false;
    bool mbFilterProcessRequired = false;
    std::unique_ptr<FilterCtrl_cls> mpFilterCtrl;
    const char* mpLastStage = "";
    // Last, so that it is joined (destroyed) before the chain and the frames it may hold.
    std::unique_ptr<ThreadProcessFrame> mpProcessThread;
};
