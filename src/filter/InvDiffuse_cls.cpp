#include "filter/InvDiffuse_cls.h"

#include "config/GlobalFlags.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace
{

std::unique_ptr<float[]> AllocateFloats(size_t n, size_t limit)
{
    if (limit != 0 && n * sizeof(float) > limit)
        return nullptr;
    try {
        return std::make_unique_for_overwrite<float[]>(n);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

/// One step for the slices [z0, z1): from -> to.
void StepSlices(float* to, const float* from, const unsigned int* sizes, float s, size_t z0, size_t z1)
{
    const size_t X = sizes[0], Y = sizes[1], Z = sizes[2], XY = X * Y;
    for (size_t z = z0; z < z1; ++z) {
        const size_t dzm = z > 0 ? XY : 0, dzp = z + 1 < Z ? XY : 0;
        for (size_t y = 0; y < Y; ++y) {
            const size_t dym = y > 0 ? X : 0, dyp = y + 1 < Y ? X : 0;
            const float* row = from + z * XY + y * X;
            float* dst = to + z * XY + y * X;
            const float* ym = row - dym;
            const float* yp = row + dyp;
            const float* zm = row - dzm;
            const float* zp = row + dzp;
            // One voxel; xm and xp are its x neighbours (the voxel itself at the row's ends).
            auto step = [&](size_t x, float xm, float xp) {
                const float c = row[x];
                const float lap = ((xm + xp) + (ym[x] + yp[x])) + (zm[x] + zp[x]) - 6.0f * c;
                const float v = c - s * lap;
                dst[x] = v < 0.0f ? 0.0f : (v > 255.0f ? 255.0f : v);
            };
            if (X == 1) {
                step(0, row[0], row[0]);
                continue;
            }
            step(0, row[0], row[1]);
            // The interior has no branches, so the compiler turns it into vector code; the
            // arithmetic per voxel is the same as at the ends.
            for (size_t x = 1; x + 1 < X; ++x)
                step(x, row[x - 1], row[x + 1]);
            step(X - 1, row[X - 2], row[X - 1]);
        }
    }
}

} // namespace

InvDiffuse_cls::InvDiffuse_cls(FilterCtrl_cls* owner)
{
    ConstructorCommon(owner, L"Inverse Diffuse", kTypeCode);
}

std::wstring InvDiffuse_cls::GetFilterStatusStr() const
{
    return L"InvDiffuse::" + WStrPrintf("%.9g %d", static_cast<double>(mCData.mfStrength.Get()), mCData.miStep.Get());
}

bool InvDiffuse_cls::ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* sizes)
{
    const size_t n = static_cast<size_t>(sizes[0]) * sizes[1] * sizes[2];
    const int steps = std::min(mCData.miStep.Get(), kMaxStep);
    if (!mCData.IsValid() || steps <= 0 || n == 0) {
        if (out != in)
            std::memcpy(out, in, n);
        return mCData.IsValid();
    }
    // The two float volumes are kept between frames of the same size (first touches of fresh
    // pages cost more than a step).
    if (muAllocated != n || !mpFrom || !mpTo) {
        mpFrom.reset();
        mpTo.reset();
        muAllocated = 0;
        mpFrom = AllocateFloats(n, msuAllocLimit);
        mpTo = mpFrom ? AllocateFloats(n, msuAllocLimit) : nullptr;
        if (mpFrom && mpTo)
            muAllocated = n;
    }
    if (!mpFrom || !mpTo) {
        mpFrom.reset();
        GetUserPrompt()->Message(TrW("Memory Allocation for temporal buffer *pFrom fails. Ingnore InvDiffuse"),
                                 TrW("Allocation Error"));
        if (out != in)
            std::memcpy(out, in, n);
        return true;
    }
    GbGLLockForMultithread = true;
    mCThreadCtrl.InitializeThreadCtrl();
    const float s = mCData.mfStrength.Get();
    float* pFrom = mpFrom.get();
    float* pTo = mpTo.get();
    mCThreadCtrl.RunRanges(n, [&](size_t b, size_t e) {
        for (size_t i = b; i < e; ++i)
            pFrom[i] = static_cast<float>(in[i]);
    });
    // Every step reads neighbouring slices of the previous one, so the workers of a step all end
    // before the next begins (RunRanges joins them).
    for (int k = 0; k < steps; ++k) {
        mCThreadCtrl.RunRanges(sizes[2], [&](size_t z0, size_t z1) { StepSlices(pTo, pFrom, sizes, s, z0, z1); });
        std::swap(pFrom, pTo);
    }
    mCThreadCtrl.RunRanges(n, [&](size_t b, size_t e) {
        for (size_t i = b; i < e; ++i)
            out[i] = static_cast<unsigned char>(std::floor(pFrom[i] + 0.5f));
    });
    GbGLLockForMultithread = false;
    return true;
}
