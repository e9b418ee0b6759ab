#include "volume/ThreadConstructX_cls.h"

#include "volume/AxisXYZSTU_cls.h"
#include "volume/ResumableProgress_cls.h"

#include <algorithm>
#include <cstring>

ThreadConstructX_cls::ThreadConstructX_cls(int axis, const AxisXYZSTU_cls* sizes, const uint8_t* src, uint8_t* dst,
                                           ResumableProgress_cls* progress, bool resumable)
    : miAxis(axis), mpSizes(sizes), mpSrc(src), mpDst(dst), mpProgress(progress), mbResumable(resumable)
{
}

void ThreadConstructX_cls::Entry()
{
    const size_t X = mpSizes->GetCurrSize(0), Y = mpSizes->GetCurrSize(1), Z = mpSizes->GetCurrSize(2);
    const uint32_t total = mpSizes->GetCurrSize(miAxis);
    if (mpProgress->IsFinished())
        return;
    mpProgress->Initialize(total);
    uint32_t p = mpProgress->GetPosition();
    const bool noInterrupt = !mbResumable;
    if (miAxis == 1) {
        // Y copy: slice p holds (x = s, y = p, z = t) at p*(X*Z) + t*X + s; every row is a
        // contiguous row of the source.
        for (; p < total; ++p) {
            uint8_t* d = mpDst + static_cast<size_t>(p) * X * Z;
            for (size_t t = 0; t < Z; ++t)
                std::memcpy(d + t * X, mpSrc + (p + t * Y) * X, X);
            mpProgress->SetPosition(p + 1);
            if (mpProgress->IsResumeConditionSatisfied(noInterrupt))
                return;
        }
        return;
    }
    // X copy: slice p holds (x = p, y = s, z = t) at p*(Y*Z) + t*Y + s, a gather with stride X.
    // Slices are done in groups so that every source cache line serves the whole group instead
    // of being fetched again for each slice; the position still advances slice by slice.
    constexpr uint32_t kGroup = 16;
    const size_t sliceSize = Y * Z;
    while (p < total) {
        uint32_t n = std::min<uint32_t>(kGroup, total - p);
        for (size_t row = 0; row < sliceSize; ++row) { // row = s + t*Y, the source row index
            const uint8_t* s = mpSrc + row * X + p;
            uint8_t* d = mpDst + static_cast<size_t>(p) * sliceSize + row;
            for (uint32_t k = 0; k < n; ++k)
                d[k * sliceSize] = s[k];
        }
        p += n;
        mpProgress->SetPosition(p);
        if (mpProgress->IsResumeConditionSatisfied(noInterrupt))
            return;
    }
}
