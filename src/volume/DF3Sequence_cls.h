#pragma once
// One data slot's time sequence of volume frames. For now it carries only what a frame asks of
// its owner: the sequence-wide down-size factors, the prompt used for messages, the time-remap
// blend settings, the slot's processing step and whether processing is required.
#include "config/ConfItemList_cls.h"

#include <cstdint>

class UserPrompt_cls;

class DF3Sequence_cls
{
  public:
    DF3Sequence_cls();
    DF3Sequence_cls(const DF3Sequence_cls&) = delete;
    DF3Sequence_cls& operator=(const DF3Sequence_cls&) = delete;

    /// Down-size factor along axis 0..2 ("DownSizeSRC="; 1 = none, 0 is treated as 1).
    uint32_t GetDownSizeSRC(int axis) const;
    /// Sets the factor along axis 0..2. Takes effect at the next Allocate of each frame.
    void SetDownSizeSRC(int axis, uint32_t factor);
    /// The settings of this sequence ("DownSizeSRC=").
    ConfItemList_cls& GetConfList() { return mCConfList; }

    /// Where frames report failures; GetUserPrompt() unless one was set. Never null.
    UserPrompt_cls* GetMessageParent() const;
    /// Sets the message parent (not owned; null restores the process-wide prompt).
    void SetMessageParent(UserPrompt_cls* parent) { mpMessageParent = parent; }

    /// Whether the time remap is active (then frames are blended with their neighbour).
    bool IsRemap() const { return mbRemap; }
    /// The fractional part of the remapped position, 0 <= f < 1.
    float GetRemapInterpolateFactor() const { return mfRemapFactor; }
    /// Sets the remap state and factor (the scene clock will drive this).
    void SetRemap(bool active, float factor);

    /// Runs the slot's processing on n = size[0]*size[1]*size[2] voxels from `in` into `out`.
    /// When blend is set, factor is non-zero and next is given, the input is first blended with
    /// the neighbour frame as trunc(in*(1-f) + next*f) in single precision. `in` is never written.
    bool ProcessXYZData(uint8_t* out, const uint8_t* in, const uint32_t* size, bool blend, float factor,
                        const uint8_t* next);
    /// Whether frames that were processed must be processed again (settings changed).
    bool IsReprocessRequired() const { return mbReprocessRequired; }
    void SetReprocessRequired(bool required) { mbReprocessRequired = required; }
    /// Whether exports must write processed voxels rather than the voxels as read.
    bool IsFilterProcessRequired() const { return mbFilterProcessRequired; }
    void SetFilterProcessRequired(bool required) { mbFilterProcessRequired = required; }

  private:
    ConfItemList_cls mCConfList;
    ConfItemUINTARRAY_cls mCDownSizeSRC;
    UserPrompt_cls* mpMessageParent = nullptr;
    bool mbRemap = false;
    float mfRemapFactor = 0.0f;
    bool mbReprocessRequired = false;
    bool mbFilterProcessRequired = false;
};
