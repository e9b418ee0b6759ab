#include "volume/Thread16bitTo8bit.h"

#include <cstdio>

void Thread16bitTo8bit::SetParameters(bool* done, int count, const uint8_t* in, uint8_t* out)
{
    mpDone = done;
    miCount = count;
    mpIn = in;
    mpOut = out;
}

void Thread16bitTo8bit::Convert(const uint8_t* __restrict in, uint8_t* __restrict out, int count)
{
    // Kept as a plain strided byte copy so the compiler turns it into shuffles.
    for (int i = 0; i < count; ++i)
        out[i] = in[2 * i];
}

void Thread16bitTo8bit::Entry()
{
    // The trace at every 100 000th sample is expected on standard output by people watching
    // long loads; the chunks between two trace points are converted in one vectorised run.
    for (int i = 0; i < miCount; i += kTraceStep) {
        std::printf("buffersize=%d, %d\n", miCount, i);
        int n = miCount - i < kTraceStep ? miCount - i : kTraceStep;
        Convert(mpIn + 2 * static_cast<size_t>(i), mpOut + i, n);
    }
    if (mpDone)
        *mpDone = true;
}
