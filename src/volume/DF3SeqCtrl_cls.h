#pragma once
// The four data slots and what they share: the active slot, the memory limits and the current
// use of texture, axis-copy and voxel memory, the prefetch window around the current time, the
// prefetch and pause-loading switches, the down-size settings, the factory of the frames' texture
// jobs, and the slots' part of project files. The idle loop and the playback step drive it, one
// small step per call, all on the GUI thread.
//
// Sections: slots and settings; memory and the prefetch window; idle work and playback; files;
// project text; hooks for the texture and filter code.
#include "config/ConfItemList_cls.h"
#include "volume/DF3Sequence_cls.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

class DF3_cls;
class LineStream_cls;
class Parameters_cls;
class TexObjectJobs_cls;
class TimeCtrl_cls;

class DF3SeqCtrl_cls
{
  public:
    static constexpr int kSlotCount = 4;
    /// Margins of IdleProcessesRelease(…, true), megabytes.
    static constexpr uint32_t kTexMarginMB = 8;
    static constexpr uint32_t kXYMarginMB = 16;
    static constexpr uint32_t kXYZMarginMB = 24;
    /// Largest forward + backward prefetch count.
    static constexpr int kMaxPrefetch = 200;
    /// Makes the texture jobs of one frame (the OpenGL code installs its own).
    using TexJobsFactory = std::function<std::unique_ptr<TexObjectJobs_cls>(DF3_cls&)>;
    /// Writes a slot's filter chain into project text.
    using SlotSerializer = std::function<std::wstring(int slot)>;
    /// Offers a project line to a slot's filter chain; true when taken.
    using SlotLineReader = std::function<bool(int slot, LineStream_cls& stream, const std::wstring& line)>;

    /// clock: the scene clock the slots follow (not owned; must outlive the controller). Installs
    /// the preview's filter-required hook. GUI thread.
    explicit DF3SeqCtrl_cls(TimeCtrl_cls* clock);
    /// Removes the preview hook and deletes the slots with their frames.
    ~DF3SeqCtrl_cls();
    DF3SeqCtrl_cls(const DF3SeqCtrl_cls&) = delete;
    DF3SeqCtrl_cls& operator=(const DF3SeqCtrl_cls&) = delete;

    // ---- slots and settings ----------------------------------------------------------------------
    /// Slot 0..3 (out-of-range numbers are clamped).
    DF3Sequence_cls& GetSequence(int slot);
    const DF3Sequence_cls& GetSequence(int slot) const;
    DF3Sequence_cls& GetActiveSequence() { return GetSequence(miActiveSlot); }
    int GetActiveSlot() const { return miActiveSlot; }
    /// Selects the slot that opening, appending and closing act on (clamped to 0..3).
    void SetActiveSlot(int slot);
    TimeCtrl_cls* GetTimeCtrl() const { return mpTimeCtrl; }
    /// "DF3CritTexMemoryMB=", "DF3CritXYMemoryMB=", "DF3CritXYZMemoryMB=", "DF3SequenceAppendType=".
    ConfItemList_cls& GetConfList() { return mCConfList; }
    std::wstring SerializeConf() const { return mCConfList.SerializeAll(); }
    bool ReadStrLine(const std::wstring& line) { return mCConfList.ReadStrLineAll(line); }
    uint32_t GetCritTexMemoryMB() const { return muCritTexMB.Get(); }
    uint32_t GetCritXYMemoryMB() const { return muCritXYMB.Get(); }
    uint32_t GetCritXYZMemoryMB() const { return muCritXYZMB.Get(); }
    void SetCritMemoryMB(uint32_t tex, uint32_t xy, uint32_t xyz);
    /// 0: appended files go after the last frame; 1: after the current frame.
    uint32_t GetAppendType() const { return muAppendType.Get(); }
    void SetAppendType(uint32_t type) { muAppendType.Set(type); }
    /// Down-size factor of the voxels along axis 0..2 ("DownSizeSRC="; 0 counts as 1).
    uint32_t GetDownSizeSRC(int axis) const;
    void SetDownSizeSRC(int axis, uint32_t factor) { muDownSizeSRC.Set(axis, factor); }
    /// Every n-th slice drawn along axis 0..2 ("DownSizeLayer="; 0 counts as 1).
    uint32_t GetDownSizeLayer(int axis) const;
    void SetDownSizeLayer(int axis, uint32_t step) { muDownSizeLayer.Set(axis, step); }
    /// Fetch frames around the current time in the background and while playing.
    bool IsPrefetch() const { return mbItemPrefetch.Get(); }
    void SetPrefetch(bool on) { mbItemPrefetch.Set(on); }
    /// While set, no frame is loaded.
    bool IsPauseLoading() const { return mbPauseLoading; }
    void SetPauseLoading(bool on) { mbPauseLoading = on; }

    // ---- memory and the prefetch window ------------------------------------------------------------
    /// Recomputes the use counters from every frame of every slot (megabytes, integer division).
    void CalcCurrentUsedMemory();
    uint32_t GetUsedTexMB() const { return muUsedTexMB; }
    uint32_t GetUsedXYMB() const { return muUsedXYMB; }
    uint32_t GetUsedXYZMB() const { return muUsedXYZMB; }
    /// Texture megabytes one time step of all slots needs: each slot's frame voxels times the
    /// bytes per voxel of the texture type; at least 1.
    double CalcTextureMBPerStep() const;
    /// Sets the prefetch window for m megabytes per step (see SplitPrefetchCount).
    void CalcPrefetchRange(double m);
    /// Splits n frames into forward f and backward b, three times as many ahead as behind.
    static void SplitPrefetchCount(int n, int& forward, int& backward);
    /// First index before / after the current frame that is no longer fetched.
    int GetPrefetchBackwardEnd() const { return miPrefetchBackwardEnd; }
    int GetPrefetchForwardEnd() const { return miPrefetchForwardEnd; }
    /// The data index the window is centred on: the current remapped index of slot 0, or of the
    /// first slot that holds frames when slot 0 is empty.
    int GetPrefetchCentre() const;

    // ---- idle work and playback ---------------------------------------------------------------
    /// IdleProcessesMain of one slot (index: a data index of that slot). Empty slot: 2.
    int IdleProcessesMainEach(int slot, int index, bool full, bool skipTexture);
    /// The same for every slot that holds frames, at scene step `step` (-1: current) mapped
    /// through each slot's remap. Returns 0 if any failed, else 1 if any did a stage, else 3 if
    /// any bound in one step, else 2.
    int IdleProcessesMainAll(int step, bool full, bool skipTexture);
    /// One fetch stage in the first slot that has one; true when a stage was done.
    bool IdleProcessesFetch();
    /// Recomputes the use counters and the prefetch window, then releases in `slot` (-1: every
    /// slot, recounting after each release). True when anything was released.
    bool IdleProcessesRelease(int slot, bool withMargin);
    /// Playback: when the clock's play wait has passed (nowMs: a millisecond clock), steps the
    /// clock, ages the frames and brings the new current frame of every slot up in full. False
    /// when nothing could be shown (not playing, waiting, or no slot holds frames).
    bool PlayTex(long long nowMs);
    /// Spare time of a played frame: brings up the frames of scene step `nextStep` in every slot,
    /// releasing where a slot has no work, while timeLeft() holds and the prefetch switch is on.
    /// Stops after a pass over the slots in which no slot did anything. Returns the stages done.
    int PrefetchForPlay(int nextStep, const std::function<bool()>& timeLeft);
    /// The remapped data index of scene step `step` (-1: current) in `slot`.
    int GetRemappedIndex(int slot, int step) const;
    /// Releases every frame of every slot.
    void ReleaseAll();
    /// Every loaded frame of every slot reads its file again at its next fetch.
    void SetFileChangedTagAll();

    // ---- project text --------------------------------------------------------------------------
    /// The memory limits and the append type ("DF3CritTexMemoryMB=" ... "DF3SequenceAppendType=").
    std::wstring SerializeRenderParam() const { return mCConfList.SerializeAll(); }
    /// Takes a line of SerializeRenderParam.
    bool ReadStrLineRenderParam(const std::wstring& line) { return mCConfList.ReadStrLineAll(line); }
    /// Settings of how the scene is played from the slots ("DF3SequencePrefetch=").
    std::wstring SerializeSceneConf() const { return mCSceneConfList.SerializeAll(); }
    /// Takes a line of SerializeSceneConf.
    bool ReadStrLineSceneConf(const std::wstring& line) { return mCSceneConfList.ReadStrLineAll(line); }
    /// The controller's own key-framed set "SlotAlpha": one opacity factor (0..1) per slot,
    /// applied on top of each slot's colour map when the slots are drawn together.
    Parameters_cls& GetSlotAlpha() { return *mpSlotAlpha; }
    /// "DownSizeLayer=", "DownSizeSRC=", then per slot "ActiveDataSlot=n", its file block and its
    /// filter chain, and a final "ActiveDataSlot=" with the active slot.
    std::wstring SerializeAllDF3Sequence() const;
    /// Takes the down-size items, "ActiveDataSlot=" (which selects the slot that receives the
    /// following lines) and the selected slot's file block and filter lines.
    bool ReadStrLineAllDF3Sequence(LineStream_cls& stream, const std::wstring& line);

    // ---- hooks for the texture and filter code ------------------------------------------------
    /// Installs the texture-job factory used for frames created from now on (null: headless).
    void SetTexJobsFactory(TexJobsFactory factory) { mTexJobsFactory = std::move(factory); }
    /// New texture jobs for `frame` from the installed factory (headless without one).
    std::unique_ptr<TexObjectJobs_cls> CreateTexJobs(DF3_cls& frame) const;
    /// Whether the slot's filter chain holds a data filter (false until the chain exists).
    bool IsFilterProcessRequired(int slot) const;
    /// Whether processed frames of the slot must be processed again.
    bool IsReprocessRequired(int slot) const;
    /// Hooks through which the slots' filter chains take part in project text.
    void SetSlotBlockHooks(SlotSerializer serializer, SlotLineReader reader);

    // ---- processing workers ------------------------------------------------------------------
    /// Joins the processing worker of every slot (before edits of chains or frames).
    void WaitProcessingAll();
    /// Whether any slot's processing worker holds a run.
    bool IsProcessingAny() const;
    /// What the last loading call of any slot did (see DF3Sequence_cls::GetLastStage); the
    /// window's benchmark log reads and clears it.
    const char* GetLastStage() const { return mpLastStage; }
    void NoteStage(const char* stage) { mpLastStage = stage; }

  private:
    int ClampSlot(int slot) const;
    const char* mpLastStage = "";

    TimeCtrl_cls* mpTimeCtrl;
    std::array<std::unique_ptr<DF3Sequence_cls>, kSlotCount> mvpSequence;
    int miActiveSlot = 0;
    ConfItemList_cls mCConfList;
    ConfItemUINT_cls muCritTexMB;
    ConfItemUINT_cls muCritXYMB;
    ConfItemUINT_cls muCritXYZMB;
    ConfItemUINT_cls muAppendType;
    ConfItemList_cls mCDownSizeList;
    ConfItemUINTARRAY_cls muDownSizeLayer;
    ConfItemUINTARRAY_cls muDownSizeSRC;
    ConfItemUINT_cls muActiveDataSlot;
    uint32_t muUsedTexMB = 0;
    uint32_t muUsedXYMB = 0;
    uint32_t muUsedXYZMB = 0;
    int miPrefetchBackwardEnd = 0;
    int miPrefetchForwardEnd = 0;
    ConfItemList_cls mCSceneConfList;
    ConfItemBOOL_cls mbItemPrefetch;
    std::unique_ptr<Parameters_cls> mpSlotAlpha;
    bool mbPauseLoading = false;
    TexJobsFactory mTexJobsFactory;
    SlotSerializer mSlotSerializer;
    SlotLineReader mSlotLineReader;
};
