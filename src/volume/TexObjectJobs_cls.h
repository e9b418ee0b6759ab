#pragma once
// The texture side of one volume frame: generating, filling (binding) and deleting its texture
// objects, each a tracked job with three states (in process, finished, finish condition
// satisfied) that may be spread over idle passes. The OpenGL code derives from this class and
// does the real work in the unit hooks; the data slots only see the job states and the memory.
#include "volume/ResumableProgress_cls.h"

#include <chrono>
#include <cstdint>

class DF3_cls;

class TexObjectJobs_cls
{
  public:
    virtual ~TexObjectJobs_cls() = default;

    // --- jobs (GUI thread; the thread that owns the GL context for the OpenGL implementation) --
    /// One step of generation (all of it with full). The first step of a job starts the frame's
    /// processing on its slot's worker (DF3_cls::StartProcessXYZData), so textures always show
    /// processed voxels; without full that is all the first step does, and the steps after it
    /// wait a few milliseconds for the worker before they make units (with full: until it ends).
    /// Generating again after a finished job starts over. False when a unit failed (the job is
    /// then dropped).
    bool GenerateTexObjects(DF3_cls& frame, bool full);
    /// True while a started generation still waits for the frame's processing.
    bool IsWaitingForProcessing(const DF3_cls& frame) const;
    /// How long one idle step waits for the processing worker before it gives the pass back.
    static constexpr std::chrono::microseconds kProcessPollWait{8000};
    /// One step of filling the generated textures with texels (all of it with full). Without
    /// generated textures nothing can be bound and the result is false.
    bool BindTexObjects(DF3_cls& frame, bool full);
    /// One step of deleting the textures (all of it with full); isCurrent tells whether the frame
    /// is the one the clock shows. Ends with no texture memory and both other jobs cleared.
    bool DeleteTexObjects(bool full, bool isCurrent);

    // --- states ---------------------------------------------------------------------------------
    bool IsTexObjectGenInProcess() const { return mCGen.IsInProgress(); }
    bool IsTexObjectGenFinished() const { return mCGen.IsFinished(); }
    bool IsTexObjectGenFinishConditionSatisfied() const { return mCGen.IsFinishConditionSatisfied(); }
    bool IsTexObjectBindInProcess() const { return mCBind.IsInProgress(); }
    bool IsTexObjectBindFinished() const { return mCBind.IsFinished(); }
    bool IsTexObjectBindFinishConditionSatisfied() const { return mCBind.IsFinishConditionSatisfied(); }
    bool IsTexObjectDeleteInProcess() const { return mCDelete.IsInProgress(); }
    bool IsTexObjectDeleteFinished() const { return mCDelete.IsFinished(); }
    bool IsTexObjectDeleteFinishConditionSatisfied() const { return mCDelete.IsFinishConditionSatisfied(); }
    /// True while textures exist or are being generated (what the release step counts as held).
    bool HasTexObjects() const { return mCGen.IsFinished() || mCGen.IsInProgress(); }
    /// Progress of the bind job, percent.
    int GetTextureBindPercent() const { return mCBind.GetPercent(); }
    /// Texture memory held by this frame, kilobytes.
    virtual uint32_t GetAllocatedTextureKB() const = 0;
    /// Whether the textures made by the last generation are one 3D texture (else 2D stacks).
    bool Is3DTexture() const { return mb3DTexture; }

    /// Budget of one non-full step in clock() ticks (0: one unit per step); applies to all jobs.
    void SetTimeBudget(int64_t ticks);

    /// Texture memory kept by an implementation for reuse after a deletion (no frame holds it;
    /// the controller counts it with the frames'), kilobytes.
    static uint32_t GetSpareTextureKB() { return msSpareKB; }
    static void SetSpareTextureKB(uint32_t kb) { msSpareKB = kb; }

  protected:
    /// Prepares a generation job for `frame` and returns its number of units in `total` (at
    /// least 1); false when nothing can be generated.
    virtual bool StartGenerate(DF3_cls& frame, uint32_t& total) = 0;
    /// Generates unit `unit` (0 .. total-1).
    virtual bool GenerateUnit(DF3_cls& frame, uint32_t unit) = 0;
    /// Prepares a bind job; units as for generation.
    virtual bool StartBind(DF3_cls& frame, uint32_t& total) = 0;
    /// Fills unit `unit` of the textures.
    virtual bool BindUnit(DF3_cls& frame, uint32_t unit) = 0;
    /// Prepares a delete job (units as above).
    virtual bool StartDelete(bool isCurrent, uint32_t& total) = 0;
    /// Deletes unit `unit`; after the last unit the textures hold no memory.
    virtual bool DeleteUnit(bool isCurrent, uint32_t unit) = 0;
    /// Records the kind of textures being made (the implementation decides at generation).
    void Set3DTexture(bool on) { mb3DTexture = on; }

  private:
    ResumableProgress_cls mCGen;
    ResumableProgress_cls mCBind;
    ResumableProgress_cls mCDelete;
    bool mb3DTexture = false;
    static uint32_t msSpareKB;
};
