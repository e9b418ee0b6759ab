// Gaussian blur.
//
// Sections:
//   1. Span kernels: dst[i] = sum_j k[j] * src[i + j * stride], scalar, SSE4.1 and AVX2 forms.
//   2. Row and slice passes with their border rules (y then x inside a slice, then z; the row
//      between y and x is kept in floats, truncated in the byte variant).
//   3. Kernel construction and settings.
//   4. Workers and the two phases.
//
// Every vector form adds the taps of one voxel in the same order as the scalar form, with a
// separate multiply and add (no fused multiply-add), so all forms give the same bytes.
#include "filter/BlurGauss_cls.h"

#include "config/GlobalFlags.h"
#include "config/Preference_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "filter/SimdLevel.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define TESSAN_BLUR_X86 1
#endif

namespace
{

// ---- 1. Span kernels ----

inline unsigned char StoreByte(float v)
{
    // Truncation toward zero; a normalised kernel keeps sums below 256, the clamp only guards.
    int i = static_cast<int>(v);
    return static_cast<unsigned char>(i < 0 ? 0 : (i > 255 ? 255 : i));
}
inline void StoreValue(unsigned char* d, float v)
{
    *d = StoreByte(v);
}
inline void StoreValue(float* d, float v)
{
    *d = v;
}

/// A float that holds a value truncated toward zero: the byte variant keeps its row between the
/// y and x passes in this form. The values are exactly the bytes the pass would store, so the
/// result is the same, but the x pass can step along the row without re-converting bytes.
struct TruncFloat {
    float mf;
    operator float() const { return mf; }
};
inline void StoreValue(TruncFloat* d, float v)
{
    d->mf = std::trunc(v);
}

template <typename S, typename D>
void BlurSpanScalar(D* dst, const S* src, ptrdiff_t stride, const float* k, int taps, size_t n)
{
    for (size_t i = 0; i < n; ++i) {
        const S* s = src + i;
        float acc = 0.0f;
        for (int j = 0; j < taps; ++j)
            acc += k[j] * static_cast<float>(s[j * stride]);
        StoreValue(dst + i, acc);
    }
}

#ifdef TESSAN_BLUR_X86
// SSE4.1 is part of the x86-64-v2 baseline the project is built for.
__attribute__((target("sse4.1"))) inline void Load16(const unsigned char* p, __m128& a, __m128& b, __m128& c, __m128& d)
{
    __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    a = _mm_cvtepi32_ps(_mm_cvtepu8_epi32(v));
    b = _mm_cvtepi32_ps(_mm_cvtepu8_epi32(_mm_srli_si128(v, 4)));
    c = _mm_cvtepi32_ps(_mm_cvtepu8_epi32(_mm_srli_si128(v, 8)));
    d = _mm_cvtepi32_ps(_mm_cvtepu8_epi32(_mm_srli_si128(v, 12)));
}
__attribute__((target("sse4.1"))) inline void Load16(const float* p, __m128& a, __m128& b, __m128& c, __m128& d)
{
    a = _mm_loadu_ps(p);
    b = _mm_loadu_ps(p + 4);
    c = _mm_loadu_ps(p + 8);
    d = _mm_loadu_ps(p + 12);
}
__attribute__((target("sse4.1"))) inline void Store16(unsigned char* p, __m128 a, __m128 b, __m128 c, __m128 d)
{
    __m128i ab = _mm_packus_epi32(_mm_cvttps_epi32(a), _mm_cvttps_epi32(b));
    __m128i cd = _mm_packus_epi32(_mm_cvttps_epi32(c), _mm_cvttps_epi32(d));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(ab, cd));
}
__attribute__((target("sse4.1"))) inline void Load16(const TruncFloat* p, __m128& a, __m128& b, __m128& c, __m128& d)
{
    Load16(reinterpret_cast<const float*>(p), a, b, c, d);
}
__attribute__((target("sse4.1"))) inline void Store16(float* p, __m128 a, __m128 b, __m128 c, __m128 d);
__attribute__((target("sse4.1"))) inline void Store16(TruncFloat* p, __m128 a, __m128 b, __m128 c, __m128 d)
{
    constexpr int kMode = _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC;
    Store16(reinterpret_cast<float*>(p), _mm_round_ps(a, kMode), _mm_round_ps(b, kMode), _mm_round_ps(c, kMode),
            _mm_round_ps(d, kMode));
}
__attribute__((target("sse4.1"))) inline void Store16(float* p, __m128 a, __m128 b, __m128 c, __m128 d)
{
    _mm_storeu_ps(p, a);
    _mm_storeu_ps(p + 4, b);
    _mm_storeu_ps(p + 8, c);
    _mm_storeu_ps(p + 12, d);
}

template <typename S, typename D>
__attribute__((target("sse4.1"))) void BlurSpanSse41(D* dst, const S* src, ptrdiff_t stride, const float* k, int taps,
                                                     size_t n)
{
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const S* s = src + i;
        __m128 a0, a1, a2, a3;
        Load16(s, a0, a1, a2, a3);
        __m128 k0 = _mm_set1_ps(k[0]);
        a0 = _mm_mul_ps(k0, a0);
        a1 = _mm_mul_ps(k0, a1);
        a2 = _mm_mul_ps(k0, a2);
        a3 = _mm_mul_ps(k0, a3);
        for (int j = 1; j < taps; ++j) {
            __m128 v0, v1, v2, v3;
            Load16(s + j * stride, v0, v1, v2, v3);
            __m128 kj = _mm_set1_ps(k[j]);
            a0 = _mm_add_ps(a0, _mm_mul_ps(kj, v0));
            a1 = _mm_add_ps(a1, _mm_mul_ps(kj, v1));
            a2 = _mm_add_ps(a2, _mm_mul_ps(kj, v2));
            a3 = _mm_add_ps(a3, _mm_mul_ps(kj, v3));
        }
        Store16(dst + i, a0, a1, a2, a3);
    }
    BlurSpanScalar(dst + i, src + i, stride, k, taps, n - i);
}

__attribute__((target("avx2"))) inline __m256 Cvt8(const unsigned char* p)
{
    return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
}
__attribute__((target("avx2"))) inline void Load32(const unsigned char* p, __m256& a, __m256& b, __m256& c, __m256& d)
{
    a = Cvt8(p);
    b = Cvt8(p + 8);
    c = Cvt8(p + 16);
    d = Cvt8(p + 24);
}
__attribute__((target("avx2"))) inline void Load32(const float* p, __m256& a, __m256& b, __m256& c, __m256& d)
{
    a = _mm256_loadu_ps(p);
    b = _mm256_loadu_ps(p + 8);
    c = _mm256_loadu_ps(p + 16);
    d = _mm256_loadu_ps(p + 24);
}
__attribute__((target("avx2"))) inline void Store32(unsigned char* p, __m256 a, __m256 b, __m256 c, __m256 d)
{
    // The packs work per 128-bit lane; the permutation restores voxel order.
    __m256i ab = _mm256_packus_epi32(_mm256_cvttps_epi32(a), _mm256_cvttps_epi32(b));
    __m256i cd = _mm256_packus_epi32(_mm256_cvttps_epi32(c), _mm256_cvttps_epi32(d));
    __m256i bytes = _mm256_packus_epi16(ab, cd);
    bytes = _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), bytes);
}
__attribute__((target("avx2"))) inline void Load32(const TruncFloat* p, __m256& a, __m256& b, __m256& c, __m256& d)
{
    Load32(reinterpret_cast<const float*>(p), a, b, c, d);
}
__attribute__((target("avx2"))) inline void Store32(float* p, __m256 a, __m256 b, __m256 c, __m256 d);
__attribute__((target("avx2"))) inline void Store32(TruncFloat* p, __m256 a, __m256 b, __m256 c, __m256 d)
{
    constexpr int kMode = _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC;
    Store32(reinterpret_cast<float*>(p), _mm256_round_ps(a, kMode), _mm256_round_ps(b, kMode),
            _mm256_round_ps(c, kMode), _mm256_round_ps(d, kMode));
}
__attribute__((target("avx2"))) inline void Store32(float* p, __m256 a, __m256 b, __m256 c, __m256 d)
{
    _mm256_storeu_ps(p, a);
    _mm256_storeu_ps(p + 8, b);
    _mm256_storeu_ps(p + 16, c);
    _mm256_storeu_ps(p + 24, d);
}

template <typename S, typename D>
__attribute__((target("avx2"))) void BlurSpanAvx2(D* dst, const S* src, ptrdiff_t stride, const float* k, int taps,
                                                  size_t n)
{
    size_t i = 0;
    for (; i + 32 <= n; i += 32) {
        const S* s = src + i;
        __m256 a0, a1, a2, a3;
        Load32(s, a0, a1, a2, a3);
        __m256 k0 = _mm256_set1_ps(k[0]);
        a0 = _mm256_mul_ps(k0, a0);
        a1 = _mm256_mul_ps(k0, a1);
        a2 = _mm256_mul_ps(k0, a2);
        a3 = _mm256_mul_ps(k0, a3);
        for (int j = 1; j < taps; ++j) {
            __m256 v0, v1, v2, v3;
            Load32(s + j * stride, v0, v1, v2, v3);
            __m256 kj = _mm256_set1_ps(k[j]);
            a0 = _mm256_add_ps(a0, _mm256_mul_ps(kj, v0));
            a1 = _mm256_add_ps(a1, _mm256_mul_ps(kj, v1));
            a2 = _mm256_add_ps(a2, _mm256_mul_ps(kj, v2));
            a3 = _mm256_add_ps(a3, _mm256_mul_ps(kj, v3));
        }
        Store32(dst + i, a0, a1, a2, a3);
    }
    BlurSpanSse41(dst + i, src + i, stride, k, taps, n - i);
}

__attribute__((target("avx2"))) inline __m256 Load8F(const unsigned char* p)
{
    return Cvt8(p);
}
__attribute__((target("avx2"))) inline __m256 Load8F(const float* p)
{
    return _mm256_loadu_ps(p);
}
__attribute__((target("avx2"))) inline void Store16Bytes(unsigned char* p, __m256 a, __m256 b)
{
    __m256i ia = _mm256_cvttps_epi32(a), ib = _mm256_cvttps_epi32(b);
    __m128i wa = _mm_packus_epi32(_mm256_castsi256_si128(ia), _mm256_extracti128_si256(ia, 1));
    __m128i wb = _mm_packus_epi32(_mm256_castsi256_si128(ib), _mm256_extracti128_si256(ib, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(wa, wb));
}

/// Four consecutive outputs at once: dst[b][i] = sum_j k[j] * src[i + (j + b) * stride] for
/// b = 0..3. Each input is loaded and converted once for all four outputs it feeds, instead of
/// once per output; every output still adds its taps in the order j = 0, 1, ...
template <typename S>
__attribute__((target("avx2"))) void BlurSpan4Avx2(unsigned char* const* dst, const S* src, ptrdiff_t stride,
                                                   const float* k, int taps, size_t n)
{
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        __m256 acc[4][2];
        for (int b = 0; b < 4; ++b)
            acc[b][0] = acc[b][1] = _mm256_setzero_ps();
        for (int t = 0; t < taps + 3; ++t) {
            const S* p = src + i + t * stride;
            __m256 v0 = Load8F(p), v1 = Load8F(p + 8);
#pragma GCC unroll 4
            for (int b = 0; b < 4; ++b) {
                int j = t - b;
                if (j < 0 || j >= taps)
                    continue;
                __m256 kj = _mm256_set1_ps(k[j]);
                if (j == 0) {
                    acc[b][0] = _mm256_mul_ps(kj, v0);
                    acc[b][1] = _mm256_mul_ps(kj, v1);
                } else {
                    acc[b][0] = _mm256_add_ps(acc[b][0], _mm256_mul_ps(kj, v0));
                    acc[b][1] = _mm256_add_ps(acc[b][1], _mm256_mul_ps(kj, v1));
                }
            }
        }
        for (int b = 0; b < 4; ++b)
            Store16Bytes(dst[b] + i, acc[b][0], acc[b][1]);
    }
    for (int b = 0; b < 4; ++b)
        BlurSpanSse41(dst[b] + i, src + i + b * stride, stride, k, taps, n - i);
}
#endif

/// dst[i] = sum over j of k[j] * src[i + j * stride], for i in [0, n).
template <typename S, typename D>
void BlurSpan(D* dst, const S* src, ptrdiff_t stride, const float* k, int taps, size_t n)
{
#ifdef TESSAN_BLUR_X86
    switch (GetSimdLevel()) {
    case SimdLevel::Avx512Vbmi:
    case SimdLevel::Avx2:
        BlurSpanAvx2(dst, src, stride, k, taps, n);
        return;
    case SimdLevel::Sse41:
        BlurSpanSse41(dst, src, stride, k, taps, n);
        return;
    default:
        break;
    }
#endif
    BlurSpanScalar(dst, src, stride, k, taps, n);
}

template <typename S, typename D> void CopyConvert(D* dst, const S* src, size_t n)
{
    if constexpr (std::is_same_v<S, D>) {
        std::memcpy(dst, src, n * sizeof(D));
    } else {
        // A one-tap kernel of weight 1 is an exact conversion, done by the vector loops.
        static const float kOne = 1.0f;
        BlurSpan(dst, src, 0, &kOne, 1, n);
    }
}

// ---- 2. Row and slice passes ----

/// Along y: row y of a slice (X wide, Y rows). The first and last r rows of every slice keep
/// their values, as the x and z borders do.
template <typename S, typename D>
void BlurRowY(D* dstRow, const S* slice, size_t X, size_t Y, size_t y, const std::vector<float>& k, int r)
{
    size_t ur = static_cast<size_t>(r);
    if (r == 0 || y < ur || y + ur >= Y)
        CopyConvert(dstRow, slice + y * X, X);
    else
        BlurSpan(dstRow, slice + (y - ur) * X, static_cast<ptrdiff_t>(X), k.data(), 2 * r + 1, X);
}

/// Along x: the first and last r positions of the row take the input unchanged.
template <typename S, typename D> void BlurRowX(D* dst, const S* row, size_t X, const std::vector<float>& k, int r)
{
    size_t ur = static_cast<size_t>(r);
    if (r == 0) {
        CopyConvert(dst, row, X);
        return;
    }
    CopyConvert(dst, row, ur);
    BlurSpan(dst + ur, row, 1, k.data(), 2 * r + 1, X - 2 * ur);
    CopyConvert(dst + X - ur, row + X - ur, ur);
}

/// Along z: slices 0 to r inclusive are copied (slice r too, although its taps are all inside:
/// existing renderings depend on it), and the last r slices, whose taps would leave the volume.
template <typename S>
void BlurSliceZ(unsigned char* out, const S* temp, size_t XY, size_t Z, size_t z, const std::vector<float>& k, int r)
{
    size_t ur = static_cast<size_t>(r);
    if (r == 0 || z <= ur || z + ur >= Z)
        CopyConvert(out + z * XY, temp + z * XY, XY);
    else
        BlurSpan(out + z * XY, temp + (z - ur) * XY, static_cast<ptrdiff_t>(XY), k.data(), 2 * r + 1, XY);
}

/// Along z for slices [z0, z1): with AVX2, runs of four blurred slices share their inputs.
template <typename S>
void BlurSlicesZGeneric(unsigned char* out, const S* temp, size_t XY, size_t Z, size_t z0, size_t z1,
                        const std::vector<float>& k, int r)
{
    size_t ur = static_cast<size_t>(r);
    size_t z = z0;
#ifdef TESSAN_BLUR_X86
    if (r > 0 && GetSimdLevel() >= SimdLevel::Avx2) {
        for (; z < z1 && z <= ur; ++z)
            BlurSliceZ(out, temp, XY, Z, z, k, r);
        for (; z + 4 <= z1 && z + 3 + ur < Z; z += 4) {
            unsigned char* dst[4] = {out + z * XY, out + (z + 1) * XY, out + (z + 2) * XY, out + (z + 3) * XY};
            BlurSpan4Avx2(dst, temp + (z - ur) * XY, static_cast<ptrdiff_t>(XY), k.data(), 2 * r + 1, XY);
        }
    }
#endif
    for (; z < z1; ++z)
        BlurSliceZ(out, temp, XY, Z, z, k, r);
}

template <typename R, typename D>
void BlurSlicesXYGeneric(D* temp, const unsigned char* in, const unsigned int* sizes, unsigned int z0, unsigned int z1,
                         const std::vector<float>* kernels, const int* radius)
{
    size_t X = sizes[0], Y = sizes[1];
    std::vector<R> row(X);
    // Along y every voxel feeds 2 r + 1 output rows: converting the slice to floats once, rather
    // than once per tap, takes the byte conversions out of the inner loop. Exact either way.
    std::vector<float> sliceF;
    if (radius[1] > 0) {
        try {
            sliceF.resize(X * Y);
        } catch (const std::bad_alloc&) {
            sliceF.clear(); // not enough memory: convert per tap instead
        }
    }
    for (size_t z = z0; z < z1; ++z) {
        const unsigned char* slice = in + z * X * Y;
        D* dstSlice = temp + z * X * Y;
        if (!sliceF.empty())
            CopyConvert(sliceF.data(), slice, X * Y);
        for (size_t y = 0; y < Y; ++y) {
            if (sliceF.empty())
                BlurRowY(row.data(), slice, X, Y, y, kernels[1], radius[1]);
            else
                BlurRowY(row.data(), sliceF.data(), X, Y, y, kernels[1], radius[1]);
            BlurRowX(dstSlice + y * X, row.data(), X, kernels[0], radius[0]);
        }
    }
}

} // namespace

// ---- 3. Kernel construction and settings ----

BlurGauss_cls::BlurGauss_cls(FilterCtrl_cls* owner)
{
    ConstructorCommon(owner, L"Gauss Blur", kTypeCode);
}

int BlurGauss_cls::KernelRadius(float s)
{
    if (!(s > 0.0f))
        return 0;
    if (s >= 1.0e9f)
        return 1000000000;
    return static_cast<int>(s) + 1;
}

std::vector<float> BlurGauss_cls::MakeKernel(float s, int maxRadius)
{
    int r = std::min(KernelRadius(s), maxRadius);
    if (r <= 0)
        return {1.0f};
    std::vector<double> w(static_cast<size_t>(2 * r + 1));
    double sum = 0.0;
    for (int i = -r; i <= r; ++i) {
        // The denominator is twice s, not twice its square: s is a variance, as projects expect.
        double v = std::exp(-static_cast<double>(i) * i / (2.0 * static_cast<double>(s)));
        w[static_cast<size_t>(i + r)] = v;
        sum += v;
    }
    std::vector<float> k(w.size());
    for (size_t i = 0; i < w.size(); ++i)
        k[i] = static_cast<float>(w[i] / sum);
    return k;
}

bool BlurGauss_cls::PrepareKernels(const unsigned int* sizes)
{
    bool any = false;
    for (int a = 0; a < 3; ++a) {
        int r = KernelRadius(mCData.GetAxisValue(a));
        // An axis thinner than the kernel is not blurred at all: every position is a border.
        if (static_cast<long long>(2) * r + 1 > static_cast<long long>(sizes[a]))
            r = 0;
        miRadius[a] = r;
        mvfKernel[a] = r == 0 ? std::vector<float>{1.0f} : MakeKernel(mCData.GetAxisValue(a), r);
        any = any || r > 0;
    }
    return any;
}

std::wstring BlurGauss_cls::GetFilterStatusStr() const
{
    return L"BlurGauss::" + WStrPrintf("%u", mCData.muKernelType.Get()) +
           WStrPrintf("%f", static_cast<double>(mCData.mfKernelSize.Get())) +
           WStrPrintf("%f", static_cast<double>(mCData.mvfAssymSize.Get(0))) +
           WStrPrintf("%f", static_cast<double>(mCData.mvfAssymSize.Get(1))) +
           WStrPrintf("%f", static_cast<double>(mCData.mvfAssymSize.Get(2))) +
           // The variant changes the bytes; the mark is only added when set, so the status of a
           // byte-variant blur reads as it always has.
           (mCData.mbFloatVariant.Get() ? L" float" : L"");
}

// ---- 4. Workers and the two phases ----

void BlurGauss_cls::BlurSlicesXY(unsigned char* temp, const unsigned char* in, const unsigned int* sizes,
                                 unsigned int z0, unsigned int z1) const
{
    BlurSlicesXYGeneric<TruncFloat>(temp, in, sizes, z0, z1, mvfKernel, miRadius);
}

void BlurGauss_cls::BlurSlicesXYF(float* temp, const unsigned char* in, const unsigned int* sizes, unsigned int z0,
                                  unsigned int z1) const
{
    BlurSlicesXYGeneric<float>(temp, in, sizes, z0, z1, mvfKernel, miRadius);
}

void BlurGauss_cls::BlurSlicesZ(unsigned char* out, const unsigned char* temp, const unsigned int* sizes,
                                unsigned int z0, unsigned int z1) const
{
    size_t XY = static_cast<size_t>(sizes[0]) * sizes[1];
    BlurSlicesZGeneric(out, temp, XY, sizes[2], z0, z1, mvfKernel[2], miRadius[2]);
}

void BlurGauss_cls::BlurSlicesZF(unsigned char* out, const float* temp, const unsigned int* sizes, unsigned int z0,
                                 unsigned int z1) const
{
    size_t XY = static_cast<size_t>(sizes[0]) * sizes[1];
    BlurSlicesZGeneric(out, temp, XY, sizes[2], z0, z1, mvfKernel[2], miRadius[2]);
}

void ThreadBluring::SetParameters(BlurGauss_cls* filter, unsigned char* out, const unsigned char* in,
                                  const unsigned int* sizes, unsigned char* temp, unsigned int zFirst,
                                  unsigned int zEnd, int mode)
{
    mpFilter = filter;
    mpOut = out;
    mpIn = in;
    mpTemp = temp;
    std::copy(sizes, sizes + 3, muSize);
    muZFirst = zFirst;
    muZEnd = zEnd;
    miMode = mode;
}

void ThreadBluring::Entry()
{
    if (miMode == 0)
        mpFilter->BlurSlicesXY(mpTemp, mpIn, muSize, muZFirst, muZEnd);
    else
        mpFilter->BlurSlicesZ(mpOut, mpTemp, muSize, muZFirst, muZEnd);
}

void ThreadBluringF::SetParameters(BlurGauss_cls* filter, unsigned char* out, const unsigned char* in,
                                   const unsigned int* sizes, float* temp, unsigned int zFirst, unsigned int zEnd,
                                   int mode)
{
    mpFilter = filter;
    mpOut = out;
    mpIn = in;
    mpTemp = temp;
    std::copy(sizes, sizes + 3, muSize);
    muZFirst = zFirst;
    muZEnd = zEnd;
    miMode = mode;
}

void ThreadBluringF::Entry()
{
    if (miMode == 0)
        mpFilter->BlurSlicesXYF(mpTemp, mpIn, muSize, muZFirst, muZEnd);
    else
        mpFilter->BlurSlicesZF(mpOut, mpTemp, muSize, muZFirst, muZEnd);
}

template <typename W, typename T>
void BlurGauss_cls::RunPhases(int threadNum, unsigned char* out, const unsigned char* in, const unsigned int* sizes,
                              T* temp)
{
    unsigned int Z = sizes[2];
    // More workers than slices would only start idle threads.
    int n = std::min<long long>(threadNum, std::min<long long>(Z, MultiThreadCtrl_cls::kMaxSlots));
    GbGLLockForMultithread = true;
    if (n <= 1) {
        W worker;
        worker.SetParameters(this, out, in, sizes, temp, 0, Z, 0);
        worker.Entry();
        worker.SetParameters(this, out, in, sizes, temp, 0, Z, 3);
        worker.Entry();
    } else {
        // Phase 2 reads slices outside its own range, so it starts only after phase 1 has ended.
        for (int mode : {0, 3}) {
            std::vector<std::unique_ptr<W>> workers;
            for (int t = 0; t < n; ++t) {
                auto [z0, z1] = MultiThreadCtrl_cls::Range(Z, t, n);
                workers.push_back(std::make_unique<W>());
                workers.back()->SetParameters(this, out, in, sizes, temp, static_cast<unsigned int>(z0),
                                              static_cast<unsigned int>(z1), mode);
            }
            for (auto& w : workers)
                w->Run();
            for (auto& w : workers)
                w->Wait();
        }
    }
    GbGLLockForMultithread = false;
}

namespace
{
/// Resizes a kept temporary volume; false (after telling the user) when memory is short.
template <typename T> bool EnsureTemp(std::vector<T>& buffer, size_t n)
{
    if (buffer.size() == n)
        return true;
    try {
        buffer.clear();
        buffer.shrink_to_fit();
        buffer.resize(n);
    } catch (const std::bad_alloc&) {
        buffer = std::vector<T>();
        GetUserPrompt()->Message(TrW("Memory Allocation for temporal buffer fails. Ignore Gauss Blur"),
                                 TrW("Allocation Error"));
        return false;
    }
    return true;
}
} // namespace

bool BlurGauss_cls::ProcessXYZDataC(unsigned char* out, const unsigned char* in, const unsigned int* sizes)
{
    int threadNum = GetPreference().GetThreadNumFilter();
    if (threadNum < 1)
        return true; // the output is left as it was, as it always has been
    if (!PrepareKernels(sizes))
        return false;
    size_t n = static_cast<size_t>(sizes[0]) * sizes[1] * sizes[2];
    if (!EnsureTemp(mvTemp, n))
        return false;
    RunPhases<ThreadBluring>(threadNum, out, in, sizes, mvTemp.data());
    return true;
}

bool BlurGauss_cls::ProcessXYZDataF(unsigned char* out, const unsigned char* in, const unsigned int* sizes)
{
    int threadNum = GetPreference().GetThreadNumFilter();
    if (threadNum < 1)
        return true;
    if (!PrepareKernels(sizes))
        return false;
    size_t n = static_cast<size_t>(sizes[0]) * sizes[1] * sizes[2];
    if (!EnsureTemp(mvfTemp, n))
        return false;
    RunPhases<ThreadBluringF>(threadNum, out, in, sizes, mvfTemp.data());
    return true;
}

bool BlurGauss_cls::ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* sizes,
                                   size_t byteCount, bool floatVariant)
{
    bool on = mCData.IsValid();
    bool done = false;
    if (on)
        done = floatVariant ? ProcessXYZDataF(out, in, sizes) : ProcessXYZDataC(out, in, sizes);
    if (!done && out != in)
        std::memcpy(out, in, byteCount);
    return on;
}
