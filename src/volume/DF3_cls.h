#pragma once
// One volume frame: the voxels of one time step of one data slot, one unsigned byte per voxel,
// x fastest. Holds the voxels as read, the processed voxels, and two re-ordered copies whose
// slices across X and Y are contiguous; knows its file and accounts for its memory. Its owning
// sequence decides when it is read, processed and released.
#include "volume/AxisXYZSTU_cls.h"
#include "volume/ExportIMGSeq_cls.h"
#include "volume/LevelMap_cls.h"
#include "volume/ReadBodyDF3_cls.h"
#include "volume/ReadBodyImgSeq_cls.h"
#include "volume/ReadBodyTxt_cls.h"
#include "volume/ResumableProgress_cls.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

class DF3Sequence_cls;
class UserPrompt_cls;

class DF3_cls : public AxisXYZSTU_cls
{
  public:
    /// Source formats (SetFilePath): a DF3 file, a stack of images, a text volume; any other value
    /// makes reading fail. SourceFormat_cls::FromPath picks one by the file name.
    enum Format { FORMAT_DF3 = 0, FORMAT_IMGSEQ = 1, FORMAT_TXT = 2 };
    /// Work states (GetWorkState).
    enum WorkState { WORK_IDLE = 0, WORK_AXIS = 5, WORK_READ = 10 };
    /// Largest voxel count a frame may hold (exactly 2 GB is still allowed).
    static constexpr uint64_t kMaxTotalSize = 2147483648ULL;

    /// owner: the sequence (not owned; may be null for a stand-alone frame, which then uses no
    /// down-sizing, no processing and the process-wide prompt).
    explicit DF3_cls(DF3Sequence_cls* owner);
    ~DF3_cls() override;
    DF3_cls(const DF3_cls&) = delete;
    DF3_cls& operator=(const DF3_cls&) = delete;

    // --- memory -------------------------------------------------------------------------------
    /// Computes the current sizes from the true sizes and the owner's down-size factors and
    /// allocates the voxel buffers (reusing buffers kept by FakeRelease when the size matches).
    /// Above kMaxTotalSize it shows "Allocation Error" and returns false with mbValid cleared.
    bool Allocate();
    /// Pure size test used by Allocate: false when total exceeds kMaxTotalSize.
    static bool IsAllowedTotalSize(uint64_t total) { return total <= kMaxTotalSize; }
    /// Allocates the two axis buffers (their progress records must be cleared).
    bool AllocateXY();
    /// Frees every buffer and forgets the loaded file, the read progress and the level map.
    void Release();
    /// Like Release, but keeps the voxel buffers for the next file when the size is unchanged.
    void FakeRelease();
    /// Frees only the axis copies.
    void ReleaseXY();
    bool IsAllocated() const { return mbAllocated; }
    bool IsAllocatedXY() const { return mbAllocatedXYAxis; }
    /// Byte size of the voxel buffers when they were last allocated.
    uint64_t GetAllocatedSize() const { return muAllocatedSize; }

    // --- axis copies --------------------------------------------------------------------------
    /// Builds (or continues building) the X and Y copies on two workers. With resumable set the
    /// work stops when the 25 ms budget is spent; returns true when both copies are complete.
    bool ConstructXYAxisData(bool resumable);
    bool IsXYConstructFinished() const;
    bool IsXYFinishConditionSatisfied() const;
    /// Mean of both copies' percentages.
    int GetConstructPercent() const;
    /// The progress record of axis copy 0 (X) or 1 (Y).
    ResumableProgress_cls& GetConstructProgress(int axis) { return mCConstructXY[axis]; }

    // --- processing ---------------------------------------------------------------------------
    /// What one processing run needs, gathered on the GUI thread by BeginProcessXYZData.
    struct ProcessJob {
        bool bRun = false;              ///< false: the processed voxels are up to date
        bool bBlend = false;            ///< the time remap is on
        float fFactor = 0.0f;           ///< blend factor of the neighbour
        const uint8_t* pNext = nullptr; ///< the neighbour's voxels (null: no blend)
        int iFrame = -1;                ///< data frame index the chain processes for
    };
    /// Runs the owner's processing into the processed buffer when it is out of date
    /// (BeginProcessXYZData and RunProcessXYZData on the calling thread).
    bool ProcessXYZData();
    /// The deciding half: whether the processed voxels are out of date (this records the chain's
    /// signature and evaluates its parameters now); when they are, marks the frame processed and
    /// dirty, fills `job` and returns true. GUI thread.
    bool BeginProcessXYZData(ProcessJob& job);
    /// The work: the owner's chain over the voxels into the processed buffer. Any thread, as long
    /// as nothing else touches this frame, the neighbour's voxels or the chain meanwhile.
    bool RunProcessXYZData(const ProcessJob& job);
    bool IsProcessed() const { return mbProcessed; }
    /// The frame blended in when the time remap asks for it (not owned; may be null).
    void SetNeighbourFrame(DF3_cls* frame) { mpNeighbourFrame = frame; }
    const DF3_cls* GetNeighbourFrame() const { return mpNeighbourFrame; }
    /// Starts ProcessXYZData on the owner's processing worker (on this thread without an
    /// owner). False when nothing had to be done. GUI thread.
    bool StartProcessXYZData();
    /// Whether the owner's worker is processing this frame (not joined yet).
    bool IsProcessingOnWorker() const;
    /// Waits at most `wait` for the worker's run on this frame and joins it when it has ended;
    /// true when this frame is no longer being processed.
    bool PollProcessXYZData(std::chrono::microseconds wait);

    // --- reading ------------------------------------------------------------------------------
    /// Reads the header of the current format; sets mbValid and, on success, the loaded-file tag.
    bool ReadHeader(UserPrompt_cls* parent);
    /// Continues reading the body (all of it with noInterrupt); stores the result in mbValid.
    bool ReadBodyIfNotFinished(bool noInterrupt, UserPrompt_cls* parent);
    /// Whether the reader of the current format has read everything (false for unknown formats).
    bool IsReadFinished() const;
    bool IsValid() const { return mbValid; }
    ReadBodyDF3_cls& GetReadBodyDF3() { return mCReadBodyDF3; }
    ReadBodyImgSeq_cls& GetReadBodyImgSeq() { return mCReadBodyImgSeq; }
    ReadBodyTxt_cls& GetReadBodyTxt() { return mCReadBodyTxt; }
    /// 0 idle, 5 building axis copies, 10 reading.
    uint32_t GetWorkState() const { return muWorkState; }
    /// Set by the readers around their work.
    void SetWorkState(uint32_t state) { muWorkState = state; }

    // --- writing ------------------------------------------------------------------------------
    /// Writes the frame as an 8-bit DF3 file, loading it first when needed (and releasing it again
    /// afterwards in that case). doubleAxes: three flags for X, Y, Z, or null. Never overwrites.
    bool ExportDF3(const std::wstring& path, const bool* doubleAxes);
    /// Writes the frame as numbered 8-bit grey PNG slices across one axis, loading it first when
    /// needed (and releasing it again afterwards in that case). Never overwrites: every name is
    /// checked before the first is written. Progress goes to `progress` (null: the message parent).
    bool ExportIMGSeq(const ExportIMGSeq_cls::Settings& settings, UserPrompt_cls* progress);

    // --- accounting ---------------------------------------------------------------------------
    /// Kilobytes held by the axis copies: 0 without them, else (2 * total) / 1024.
    uint32_t GetAllocatedXYKB() const;
    /// Kilobytes of the voxel buffers (total/1024 twice) plus total/512 with axis copies.
    uint32_t GetAllocatedXYZKB() const;

    // --- file and change tracking -------------------------------------------------------------
    /// Sets the file (for an image stack one of its slices), a second path (for an image stack the
    /// last slice of a sub-range, empty for the whole numbered series; cleared for the one-file
    /// formats) and the format (0 DF3, 1 images, 2 text).
    void SetFilePath(const std::wstring& path, const std::wstring& path2 = L"", int format = FORMAT_DF3);
    const std::wstring& GetFilePath() const { return mStrFilePath; }
    const std::wstring& GetFilePathWXStr() const { return mStrFilePath; }
    const std::wstring& GetFilePath2() const { return mStrFilePath2; }
    int GetFilePathFormat() const { return miSourceFormat; }
    /// The path whose contents are in memory (empty when nothing is loaded).
    const std::wstring& GetLoadedFileTag() const { return mStrLoadedFile; }
    /// True when the file path differs from the loaded-file tag.
    bool IsFileChanged() const { return mStrFilePath != mStrLoadedFile; }
    /// Forces a reload at the next fetch: a non-empty tag becomes "."; an empty one stays empty.
    void SetFileChangedTag();
    /// Dirty mark for the drawing code: set whenever the voxels change.
    bool IsDirty() const { return mbDirty; }
    void Clean() { mbDirty = false; }
    void SetDirty() { mbDirty = true; }

    // --- data ---------------------------------------------------------------------------------
    /// The voxels as read (null when not allocated). Writable for the readers and generators.
    uint8_t* GetXYZData() { return mpXYZData.get(); }
    const uint8_t* GetXYZData() const { return mpXYZData.get(); }
    /// The processed voxels (null when not allocated).
    const uint8_t* GetProcessedData() const { return mpProcessedData.get(); }
    /// Axis copy 0 (X) or 1 (Y), null without axis buffers.
    const uint8_t* GetAxisData(int axis) const { return mpAxisData[axis].get(); }
    /// Density statistics of the frame, computed on first use once the body is completely read
    /// (null before). Cleared on release. GUI thread.
    const LevelMap_cls* GetLevelMap();
    /// Marks the body as completely read (readers call this when their last block is in).
    void SetReadFinished();
    bool GetReadFinishedFlag() const { return mbReadFinished; }

    /// The owning sequence (may be null).
    DF3Sequence_cls* GetOwner() const { return mpOwner; }
    /// Where messages about this frame go when no parent is given: the owner's prompt.
    UserPrompt_cls* GetMessageParent() const;

  private:
    void ClearReaders();
    /// Loads the frame when needed, runs write, and releases a frame it loaded.
    bool ExportLoaded(const std::function<bool()>& write);
    void FreeAxisBuffers();
    void ReleaseImpl(bool keepSameSize);

    DF3_cls* mpNeighbourFrame = nullptr;
    std::unique_ptr<uint8_t[]> mpAxisData[2];
    std::unique_ptr<uint8_t[]> mpXYZData;
    std::unique_ptr<uint8_t[]> mpProcessedData;
    std::wstring mStrFilePath;
    std::wstring mStrFilePath2;
    std::wstring mStrLoadedFile;
    ResumableProgress_cls mCConstructXY[2];
    bool mbConstructResumable = false;
    ReadBodyDF3_cls mCReadBodyDF3;
    ReadBodyImgSeq_cls mCReadBodyImgSeq;
    ReadBodyTxt_cls mCReadBodyTxt;
    DF3Sequence_cls* mpOwner;
    bool mbAllocatedXYAxis = false;
    bool mbAllocated = false;
    bool mbAllocatedProcessed = false;
    uint64_t muAllocatedSize = 0;
    bool mbProcessed = false;
    bool mbReadFinished = false;
    bool mbValid = true;
    bool mbDirty = false;
    uint32_t muWorkState = WORK_IDLE;
    int miSourceFormat = FORMAT_DF3;
    LevelMap_cls mCLevelMap;
};
