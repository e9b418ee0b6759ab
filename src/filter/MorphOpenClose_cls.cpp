// Grey-scale erosion and dilation.
//
// Sections:
//   1. Byte extreme kernels (scalar, SSE2, AVX2): sliding window along a row, and the
//      combination of several rows.
//   2. Element construction and its decomposition into runs along x.
//   3. The worker body: per-slice cache of row extremes, then per output row the extreme over
//      the element's runs.
//   4. Workers, steps and the operation sequences.
//
// Why runs: every row of the element along x is one contiguous run dx = -w..w (membership
// depends on dx only through dx^2), so the extreme under the whole element is the extreme over
// its runs, and the extreme of one run is a windowed extreme along x that every output row using
// that input row and width shares. Each input row is therefore scanned once per run width
// instead of once per output voxel, and the remaining work is byte max/min over whole rows.
// Cells outside the volume are never read: rows outside are skipped, windows are clipped.
#include "filter/MorphOpenClose_cls.h"

#include "config/GlobalFlags.h"
#include "config/TessanAssert.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "filter/SimdLevel.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define TESSAN_MORPH_X86 1
#endif

namespace
{

// ---- 1. Byte extreme kernels ----

template <bool IsMax> inline unsigned char Ext(unsigned char a, unsigned char b)
{
    if constexpr (IsMax)
        return a > b ? a : b;
    else
        return a < b ? a : b;
}

/// Running extreme for positions [xb, xe) of a row with the window [x - w, x + w] clipped to
/// the row: the position of the current extreme is kept, and while it stays inside the window
/// only the cell entering at the leading end is compared; otherwise the window is scanned again.
template <bool IsMax> void RowExtremeRunning(unsigned char* dst, const unsigned char* src, int X, int w, int xb, int xe)
{
    int pos = -1;
    unsigned char best = 0;
    for (int x = xb; x < xe; ++x) {
        int lo = x - w < 0 ? 0 : x - w;
        int hi = x + w >= X ? X - 1 : x + w;
        if (pos >= lo) {
            if (x + w == hi && Ext<IsMax>(src[hi], best) == src[hi]) {
                best = src[hi];
                pos = hi;
            }
        } else {
            best = src[lo];
            pos = lo;
            for (int i = lo + 1; i <= hi; ++i)
                if (Ext<IsMax>(src[i], best) == src[i]) { // ties move to the later cell: it stays longer
                    best = src[i];
                    pos = i;
                }
        }
        dst[x] = best;
    }
}

/// dst[i] = extreme of src[i .. i + taps - 1] for i in [0, n): the centre of a row, where the
/// window lies wholly inside.
template <bool IsMax> void CentreExtremeScalar(unsigned char* dst, const unsigned char* src, size_t n, int taps)
{
    for (size_t i = 0; i < n; ++i) {
        unsigned char v = src[i];
        for (int d = 1; d < taps; ++d)
            v = Ext<IsMax>(v, src[i + static_cast<size_t>(d)]);
        dst[i] = v;
    }
}

/// dst[x] = extreme over k of rows[k][x], for x in [0, n).
template <bool IsMax>
void CombineRowsScalar(unsigned char* dst, const unsigned char* const* rows, size_t nRows, size_t n)
{
    for (size_t x = 0; x < n; ++x) {
        unsigned char v = rows[0][x];
        for (size_t k = 1; k < nRows; ++k)
            v = Ext<IsMax>(v, rows[k][x]);
        dst[x] = v;
    }
}

#ifdef TESSAN_MORPH_X86
template <bool IsMax> inline __m128i Ext16(__m128i a, __m128i b)
{
    if constexpr (IsMax)
        return _mm_max_epu8(a, b);
    else
        return _mm_min_epu8(a, b);
}
template <bool IsMax> __attribute__((target("avx2"))) inline __m256i Ext32(__m256i a, __m256i b)
{
    if constexpr (IsMax)
        return _mm256_max_epu8(a, b);
    else
        return _mm256_min_epu8(a, b);
}
inline __m128i L16(const unsigned char* p)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline void S16(unsigned char* p, __m128i v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}
__attribute__((target("avx2"))) inline __m256i L32(const unsigned char* p)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
__attribute__((target("avx2"))) inline void S32(unsigned char* p, __m256i v)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

// The vector forms finish with one block that overlaps the previous one: recomputing a few
// outputs is harmless because dst never aliases the inputs.
template <bool IsMax> void CentreExtremeSse2(unsigned char* dst, const unsigned char* src, size_t n, int taps)
{
    if (n < 16) {
        CentreExtremeScalar<IsMax>(dst, src, n, taps);
        return;
    }
    for (size_t i = 0;; i += 16) {
        if (i + 16 > n)
            i = n - 16;
        __m128i v = L16(src + i);
        for (int d = 1; d < taps; ++d)
            v = Ext16<IsMax>(v, L16(src + i + static_cast<size_t>(d)));
        S16(dst + i, v);
        if (i + 16 == n)
            break;
    }
}
template <bool IsMax>
__attribute__((target("avx2"))) void CentreExtremeAvx2(unsigned char* dst, const unsigned char* src, size_t n, int taps)
{
    if (n < 32) {
        CentreExtremeSse2<IsMax>(dst, src, n, taps);
        return;
    }
    for (size_t i = 0;; i += 32) {
        if (i + 32 > n)
            i = n - 32;
        __m256i v = L32(src + i);
        for (int d = 1; d < taps; ++d)
            v = Ext32<IsMax>(v, L32(src + i + static_cast<size_t>(d)));
        S32(dst + i, v);
        if (i + 32 == n)
            break;
    }
}
template <bool IsMax> void CombineRowsSse2(unsigned char* dst, const unsigned char* const* rows, size_t nRows, size_t n)
{
    if (n < 16) {
        CombineRowsScalar<IsMax>(dst, rows, nRows, n);
        return;
    }
    for (size_t x = 0;; x += 16) {
        if (x + 16 > n)
            x = n - 16;
        __m128i v = L16(rows[0] + x);
        for (size_t k = 1; k < nRows; ++k)
            v = Ext16<IsMax>(v, L16(rows[k] + x));
        S16(dst + x, v);
        if (x + 16 == n)
            break;
    }
}
template <bool IsMax>
__attribute__((target("avx2"))) void CombineRowsAvx2(unsigned char* dst, const unsigned char* const* rows, size_t nRows,
                                                     size_t n)
{
    if (n < 32) {
        CombineRowsSse2<IsMax>(dst, rows, nRows, n);
        return;
    }
    for (size_t x = 0;; x += 32) {
        if (x + 32 > n)
            x = n - 32;
        __m256i v = L32(rows[0] + x);
        for (size_t k = 1; k < nRows; ++k)
            v = Ext32<IsMax>(v, L32(rows[k] + x));
        S32(dst + x, v);
        if (x + 32 == n)
            break;
    }
}
#endif

template <bool IsMax>
void CentreExtreme(unsigned char* dst, const unsigned char* src, size_t n, int taps, SimdLevel level)
{
#ifdef TESSAN_MORPH_X86
    if (level >= SimdLevel::Avx2)
        return CentreExtremeAvx2<IsMax>(dst, src, n, taps);
    if (level == SimdLevel::Sse41)
        return CentreExtremeSse2<IsMax>(dst, src, n, taps);
#endif
    CentreExtremeScalar<IsMax>(dst, src, n, taps);
}

template <bool IsMax>
void CombineRows(unsigned char* dst, const unsigned char* const* rows, size_t nRows, size_t n, SimdLevel level)
{
#ifdef TESSAN_MORPH_X86
    if (level >= SimdLevel::Avx2)
        return CombineRowsAvx2<IsMax>(dst, rows, nRows, n);
    if (level == SimdLevel::Sse41)
        return CombineRowsSse2<IsMax>(dst, rows, nRows, n);
#endif
    CombineRowsScalar<IsMax>(dst, rows, nRows, n);
}

/// The windowed extreme of half-width w (w > 0) along one row of X voxels: the edge positions,
/// whose window is clipped, by the running extreme; the centre by whole-window vector scans.
template <bool IsMax> void RowExtreme(unsigned char* dst, const unsigned char* src, int X, int w, SimdLevel level)
{
    if (X <= 2 * w) {
        RowExtremeRunning<IsMax>(dst, src, X, w, 0, X);
        return;
    }
    RowExtremeRunning<IsMax>(dst, src, X, w, 0, w);
    CentreExtreme<IsMax>(dst + w, src, static_cast<size_t>(X - 2 * w), 2 * w + 1, level);
    RowExtremeRunning<IsMax>(dst, src, X, w, X - w, X);
}

} // namespace

// ---- 2. Element construction ----

const wchar_t* const MorphOpenClose_cls::msOperationName[kOperationNum] = {
    L"Dilation(Expand)",   L"Erosion(Shirink)", L"Opening(Remove Noise)",
    L"Closing(Fill Gaps)", L"Opening(EEDD)",    L"Closing(DDEE)"};
const char* const MorphOpenClose_cls::msOperationSteps[kOperationNum] = {"D", "E", "ED", "DE", "EEDD", "DDEE"};
const wchar_t* const MorphOpenClose_cls::msKernelTypeName[2] = {L"Sphere", L"Ellipsoid"};

MorphOpenClose_cls::MorphOpenClose_cls(FilterCtrl_cls* owner)
{
    ConstructorCommon(owner, L"Morph Filter", kTypeCode);
    SetElement(1, 1, 1);
}

namespace
{
int ClampRadius(int r)
{
    return r < 0 ? 0 : (r > MorphOpenClose_cls::kMaxElementSize / 2 ? 12 : r);
}
} // namespace

void MorphOpenClose_cls::BuildElement()
{
    int type = mCData.miKernelType.Get();
    if (type == 0) {
        int s = 2 * ClampRadius(mCData.miKernelSize.Get()) + 1;
        SetElement(s, s, s);
    } else if (type == 1) {
        SetElement(2 * ClampRadius(mCData.mviAsymSize.Get(0)) + 1, 2 * ClampRadius(mCData.mviAsymSize.Get(1)) + 1,
                   2 * ClampRadius(mCData.mviAsymSize.Get(2)) + 1);
    }
    // Other kernel types keep the element last used.
}

void MorphOpenClose_cls::SetElement(int sx, int sy, int sz)
{
    miElementSize[0] = sx;
    miElementSize[1] = sy;
    miElementSize[2] = sz;
    int hx = sx / 2, hy = sy / 2, hz = sz / 2;
    double limit = (hx + 0.5) * (hx + 0.5);
    mvElement.assign(static_cast<size_t>(sx) * sy * sz, 0);
    for (int dz = -hz; dz <= hz; ++dz)
        for (int dy = -hy; dy <= hy; ++dy)
            for (int dx = -hx; dx <= hx; ++dx) {
                // y and z are rescaled to the x extent (integer division truncating toward zero),
                // so an ellipsoid is the ball of radius hx + 0.5 in rescaled coordinates.
                int ry = dy * sx / sy, rz = dz * sx / sz;
                bool in = limit > static_cast<double>(dx * dx + ry * ry + rz * rz);
                mvElement[(static_cast<size_t>(dz + hz) * sy + (dy + hy)) * sx + (dx + hx)] = in ? 1 : 0;
            }
    mvRun.clear();
    mviWidth.clear();
    for (int dz = -hz; dz <= hz; ++dz)
        for (int dy = -hy; dy <= hy; ++dy) {
            int count = 0, w = -1;
            for (int dx = -hx; dx <= hx; ++dx)
                if (IsInElement(dx, dy, dz)) {
                    ++count;
                    w = std::max(w, dx);
                }
            if (count == 0)
                continue;
            TESSAN_ASSERT(count == 2 * w + 1 && IsInElement(-w, dy, dz), "SRC/FILTER/clsMorphOpenClose");
            int index = -1;
            if (w > 0) {
                auto it = std::find(mviWidth.begin(), mviWidth.end(), w);
                index = static_cast<int>(it - mviWidth.begin());
                if (it == mviWidth.end())
                    mviWidth.push_back(w);
            }
            mvRun.push_back(Run{dy, dz, w, index});
        }
}

bool MorphOpenClose_cls::IsInElement(int dx, int dy, int dz) const
{
    int hx = miElementSize[0] / 2, hy = miElementSize[1] / 2, hz = miElementSize[2] / 2;
    if (dx < -hx || dx > hx || dy < -hy || dy > hy || dz < -hz || dz > hz)
        return false;
    size_t i = (static_cast<size_t>(dz + hz) * miElementSize[1] + (dy + hy)) * miElementSize[0] + (dx + hx);
    return mvElement[i] != 0;
}

size_t MorphOpenClose_cls::CountElementCells() const
{
    return static_cast<size_t>(std::count(mvElement.begin(), mvElement.end(), 1));
}

std::wstring MorphOpenClose_cls::GetFilterStatusStr() const
{
    return L"MorphOpenClose::" +
           WStrPrintf("%d %d %d %d %d %d %d %d", mCData.miType.Get(), mCData.miKernelType.Get(),
                      mCData.miKernelSize.Get(), mCData.mviAsymSize.Get(0), mCData.mviAsymSize.Get(1),
                      mCData.mviAsymSize.Get(2), miElementSize[0], miElementSize[1]) +
           WStrPrintf(" %d", miElementSize[2]);
}

// ---- 3. The worker body ----

namespace
{

template <bool IsMax>
void ExtremeSlicesT(unsigned char* out, const unsigned char* in, const unsigned int* sizes, unsigned int z0,
                    unsigned int z1, int rz, size_t cacheLimit, const std::vector<int>& widths,
                    const std::vector<int>& runDy, const std::vector<int>& runDz, const std::vector<int>& runW,
                    const std::vector<int>& runIndex)
{
    const int X = static_cast<int>(sizes[0]), Y = static_cast<int>(sizes[1]), Z = static_cast<int>(sizes[2]);
    const size_t XY = static_cast<size_t>(X) * Y;
    const SimdLevel level = GetSimdLevel();
    const size_t nW = widths.size(), nRun = runDy.size();

    // Row extremes of the input slices in reach, kept in a ring of 2 rz + 1 slots so that every
    // input slice is scanned once per width for all the output slices that need it. A cache too
    // large for memory (huge slices with a wide element) falls back to computing per output row.
    const size_t slotNum = static_cast<size_t>(2 * rz + 1);
    std::vector<unsigned char> cache;
    std::vector<int> slotZ(slotNum, -1);
    bool useCache = nW > 0 && slotNum * nW * XY <= cacheLimit;
    if (useCache) {
        try {
            cache.resize(slotNum * nW * XY);
        } catch (const std::bad_alloc&) {
            useCache = false;
        }
    }
    std::vector<unsigned char> scratch;
    if (!useCache && nW > 0)
        scratch.resize(nRun * static_cast<size_t>(X)); // one row per run: small
    std::vector<const unsigned char*> rows(nRun);

    auto cachedSlice = [&](int zin) -> unsigned char* {
        size_t slot = static_cast<size_t>(zin) % slotNum;
        unsigned char* base = cache.data() + slot * nW * XY;
        if (slotZ[slot] != zin) {
            const unsigned char* src = in + static_cast<size_t>(zin) * XY;
            for (size_t wi = 0; wi < nW; ++wi)
                for (int y = 0; y < Y; ++y)
                    RowExtreme<IsMax>(base + wi * XY + static_cast<size_t>(y) * X, src + static_cast<size_t>(y) * X, X,
                                      widths[wi], level);
            slotZ[slot] = zin;
        }
        return base;
    };

    for (int z = static_cast<int>(z0); z < static_cast<int>(z1); ++z) {
        for (int y = 0; y < Y; ++y) {
            // Edge rows have runs that fall outside the volume; those runs are simply left out.
            size_t n = 0;
            for (size_t k = 0; k < nRun; ++k) {
                int yy = y + runDy[k], zz = z + runDz[k];
                if (yy < 0 || yy >= Y || zz < 0 || zz >= Z)
                    continue;
                size_t rowOffset = static_cast<size_t>(zz) * XY + static_cast<size_t>(yy) * X;
                if (runIndex[k] < 0) {
                    rows[n++] = in + rowOffset;
                } else if (useCache) {
                    rows[n++] = cachedSlice(zz) + static_cast<size_t>(runIndex[k]) * XY + static_cast<size_t>(yy) * X;
                } else {
                    unsigned char* r = scratch.data() + n * static_cast<size_t>(X);
                    RowExtreme<IsMax>(r, in + rowOffset, X, runW[k], level);
                    rows[n++] = r;
                }
            }
            // The centre run (dy = dz = 0) is always inside, so n >= 1.
            CombineRows<IsMax>(out + static_cast<size_t>(z) * XY + static_cast<size_t>(y) * X, rows.data(), n,
                               static_cast<size_t>(X), level);
        }
    }
}

} // namespace

void MorphOpenClose_cls::ExtremeSlices(unsigned char* out, const unsigned char* in, const unsigned int* sizes,
                                       unsigned int z0, unsigned int z1, bool isMax) const
{
    std::vector<int> dy, dz, w, index;
    for (const Run& r : mvRun) {
        dy.push_back(r.miDy);
        dz.push_back(r.miDz);
        w.push_back(r.miW);
        index.push_back(r.miWidthIndex);
    }
    int rz = miElementSize[2] / 2;
    if (isMax)
        ExtremeSlicesT<true>(out, in, sizes, z0, z1, rz, msuRowCacheLimit, mviWidth, dy, dz, w, index);
    else
        ExtremeSlicesT<false>(out, in, sizes, z0, z1, rz, msuRowCacheLimit, mviWidth, dy, dz, w, index);
}

// ---- 4. Workers, steps and sequences ----

void ThreadMorphStep_cls::SetParameters(const MorphOpenClose_cls* filter, unsigned char* out, const unsigned char* in,
                                        const unsigned int* sizes, unsigned int zFirst, unsigned int zEnd)
{
    mpFilter = filter;
    mpOut = out;
    mpIn = in;
    std::copy(sizes, sizes + 3, muSize);
    muZFirst = zFirst;
    muZEnd = zEnd;
}

void ThreadMorphStep_cls::RunExtreme(bool isMax)
{
    mpFilter->ExtremeSlices(mpOut, mpIn, muSize, muZFirst, muZEnd, isMax);
}

template <typename W>
void MorphOpenClose_cls::RunStep(unsigned char* out, const unsigned char* in, const unsigned int* sizes)
{
    unsigned int Z = sizes[2];
    int n = std::min(mCThreadCtrl.GetThreadNum(), static_cast<int>(std::min<unsigned int>(Z, 16)));
    if (n <= 1) {
        W worker;
        worker.SetParameters(this, out, in, sizes, 0, Z);
        worker.Entry();
        return;
    }
    for (int t = 0; t < n; ++t) {
        auto [z0, z1] = MultiThreadCtrl_cls::Range(Z, t, n);
        auto worker = std::make_unique<W>();
        worker->SetParameters(this, out, in, sizes, static_cast<unsigned int>(z0), static_cast<unsigned int>(z1));
        mCThreadCtrl.WaitForThreadsAndRun(std::move(worker));
    }
    mCThreadCtrl.WaitAllThreadsEnd();
}

void MorphOpenClose_cls::Erosion3D(unsigned char* out, const unsigned char* in, const unsigned int* sizes)
{
    RunStep<ThreadMorphErosion>(out, in, sizes);
}

void MorphOpenClose_cls::Dilation3D(unsigned char* out, const unsigned char* in, const unsigned int* sizes)
{
    RunStep<ThreadMorphDilation>(out, in, sizes);
}

bool MorphOpenClose_cls::ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* sizes)
{
    bool on = mCData.IsValid();
    size_t n = static_cast<size_t>(sizes[0]) * sizes[1] * sizes[2];
    int type = mCData.miType.Get();
    if (!on || type < 0 || type >= kOperationNum || n == 0) {
        if (n > 0 && out != in)
            std::memcpy(out, in, n);
        return on;
    }
    BuildElement();
    const char* steps = msOperationSteps[type];
    size_t stepNum = std::strlen(steps);

    // The first step reads the source and the last writes the destination directly; the steps
    // between alternate over one or two work volumes (the result is the same as staging
    // everything through work volumes, without the two extra copies).
    std::unique_ptr<unsigned char[]> work[2];
    try {
        for (size_t i = 0; i + 1 < stepNum && i < 2; ++i)
            work[i] = std::make_unique_for_overwrite<unsigned char[]>(n);
    } catch (const std::bad_alloc&) {
        work[0].reset();
        work[1].reset();
        GetUserPrompt()->Message(TrW("Memory Allocation for temporal buffer fails. Ignore Morph Filter"),
                                 TrW("Allocation Error"));
        std::memcpy(out, in, n);
        return on;
    }
    mCThreadCtrl.InitializeThreadCtrl();
    GbGLLockForMultithread = true;
    const unsigned char* src = in;
    for (size_t i = 0; i < stepNum; ++i) {
        unsigned char* dst = i + 1 == stepNum ? out : work[i % 2].get();
        if (steps[i] == 'D')
            Dilation3D(dst, src, sizes);
        else
            Erosion3D(dst, src, sizes);
        src = dst;
    }
    GbGLLockForMultithread = false;
    return on;
}
