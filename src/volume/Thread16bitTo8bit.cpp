#include "volume/Thread16bitTo8bit.h"

#include <cstdio>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

void Thread16bitTo8bit::SetParameters(bool* done, int count, const uint8_t* in, uint8_t* out)
{
    mpDone = done;
    miCount = count;
    mpIn = in;
    mpOut = out;
}

void Thread16bitTo8bit::Convert(const uint8_t* __restrict in, uint8_t* __restrict out, int count)
{
    int i = 0;
#if defined(__SSE2__)
    // GCC's -O2 cost model leaves this strided copy scalar, so it is spelled out: the first byte
    // of each pair is the low half of a little-endian 16-bit lane, so masking the lanes to their
    // low byte and packing them with unsigned saturation yields 16 high bytes per step.
    const __m128i low = _mm_set1_epi16(0x00FF);
    for (; i + 16 <= count; i += 16) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 2 * i));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 2 * i + 16));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i),
                         _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low)));
    }
#endif
    for (; i < count; ++i)
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
