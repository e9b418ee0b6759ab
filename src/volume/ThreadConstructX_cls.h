#pragma once
// Worker that builds one axis copy of a frame: the voxels re-ordered so that the slices across
// the X axis (axis 0) or the Y axis (axis 1) are contiguous.
#include "filter/MultiThreadCtrl_cls.h"

#include <cstdint>

class AxisXYZSTU_cls;
class ResumableProgress_cls;

class ThreadConstructX_cls : public MultiThreadThread_cls
{
  public:
    /// axis: 0 (X copy) or 1 (Y copy); sizes: the frame (current sizes); src: the as-read voxels;
    /// dst: the copy, current-total bytes; progress: this copy's record (continued from its
    /// position); resumable: stop after the slice in which the 25 ms budget ran out. Not owned.
    ThreadConstructX_cls(int axis, const AxisXYZSTU_cls* sizes, const uint8_t* src, uint8_t* dst,
                         ResumableProgress_cls* progress, bool resumable);
    /// Copies slices on the worker thread.
    void Entry() override;

  private:
    int miAxis;
    const AxisXYZSTU_cls* mpSizes;
    const uint8_t* mpSrc;
    uint8_t* mpDst;
    ResumableProgress_cls* mpProgress;
    bool mbResumable;
};
