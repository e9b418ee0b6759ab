#pragma once
// Worker that reduces big-endian 16-bit samples to their most significant byte.
#include "filter/MultiThreadCtrl_cls.h"

#include <cstdint>

class Thread16bitTo8bit : public MultiThreadThread_cls
{
  public:
    /// Trace interval: "buffersize=%d, %d\n" is printed at sample 0, 100 000, 200 000, ...
    static constexpr int kTraceStep = 100000;

    /// done: set to true when the work is over (read it only after Wait()); count: samples to
    /// convert (below 1: nothing but the flag); in: 2*count bytes, each pair big-endian;
    /// out: count bytes. Pointers are not owned.
    void SetParameters(bool* done, int count, const uint8_t* in, uint8_t* out);
    /// Converts on the worker thread.
    void Entry() override;

    /// The conversion itself: out[i] = in[2*i] (the high byte comes first in the file).
    static void Convert(const uint8_t* in, uint8_t* out, int count);

  private:
    bool* mpDone = nullptr;
    int miCount = 0;
    const uint8_t* mpIn = nullptr;
    uint8_t* mpOut = nullptr;
};
