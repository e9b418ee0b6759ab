// Edge-vertex normals four at a time.
//
// Sections:
//   1. Queueing (the inside test and the carry of a fraction of 1)
//   2. The four-lane kernels, one per edge axis
//   3. The one-call form used by the tests
//
// The kernels repeat, lane by lane, the float operations of the trilinear sampling that
// ThreadMarching::GetNormalPrecise2 performs for a point on an edge along axis A: two of its three
// fractions are 0, and a + 0 * (b - a) is a itself (a is a voxel value, never negative, so even
// a = 0 gives +0), so the general formula reduces to the interpolations written out below, in its
// order (x innermost, then y, then z) and with its roundings. SSE float operations round each lane
// as the scalar ones do (no fused multiply-add on the target), sqrtps is correctly rounded like
// sqrtss, so every lane yields the float the scalar code would.
#include "iso/EdgeNormalBatch_cls.h"

#include "iso/ThreadMarching.h"

#include <cmath>
#include <cstring>
#if defined(__SSE4_1__)
#include <smmintrin.h>
#endif

// ---------------------------------------------------------------------------------------------
// 1. Queueing
// ---------------------------------------------------------------------------------------------

void EdgeNormalBatch_cls::SetGrid(const unsigned char* data, const int size[3])
{
    mpData = data;
    for (int a = 0; a < 3; ++a)
        miSize[a] = size[a];
    muSlice = static_cast<size_t>(size[0]) * static_cast<size_t>(size[1]);
    for (int a = 0; a < 3; ++a) {
        // Bases 1 .. size - 2 across an edge, 1 .. size - 3 along it (none on short axes).
        muLimit[0][a] = size[a] > 2 ? static_cast<unsigned>(size[a] - 2) : 0u;
        muLimit[1][a] = size[a] > 3 ? static_cast<unsigned>(size[a] - 3) : 0u;
    }
}

bool EdgeNormalBatch_cls::Queue(int axis, const int index[3], float frac, uint32_t id)
{
    switch (axis) {
    case 0:
        return QueueOn<0>(index, frac, id);
    case 1:
        return QueueOn<1>(index, frac, id);
    default:
        return QueueOn<2>(index, frac, id);
    }
}

void EdgeNormalBatch_cls::Flush(float* normals, size_t stride)
{
    FlushAxis<0>(normals, stride);
    FlushAxis<1>(normals, stride);
    FlushAxis<2>(normals, stride);
}

// ---------------------------------------------------------------------------------------------
// 2. The kernels
// ---------------------------------------------------------------------------------------------

namespace
{

#if defined(__SSE4_1__)
using Vec = __m128;

// The voxel at offset o from each lane's base, as floats.
inline Vec Load(const unsigned char* const p[4], ptrdiff_t o)
{
    // Each byte into the low byte of its 32-bit lane (the others stay zero), then to float.
    __m128i v = _mm_cvtsi32_si128(p[0][o]);
    v = _mm_insert_epi8(v, p[1][o], 4);
    v = _mm_insert_epi8(v, p[2][o], 8);
    v = _mm_insert_epi8(v, p[3][o], 12);
    return _mm_cvtepi32_ps(v);
}

// a + w * (b - a), the interpolation step of the trilinear sampling.
inline Vec Lerp(Vec a, Vec b, Vec w)
{
    return _mm_add_ps(a, _mm_mul_ps(w, _mm_sub_ps(b, a)));
}

// The samples at f - 0.5 and f + 0.5 along the edge axis (stride s), each carried into the
// neighbouring voxel when its fraction leaves [0, 1), and their difference times the grid size.
inline Vec AlongEdge(const unsigned char* const p[4], const float f[4], ptrdiff_t s, Vec size)
{
    const unsigned char* pm[4];
    const unsigned char* pp[4];
    alignas(16) float fm[4], fp[4];
    for (int i = 0; i < 4; ++i) {
        const float m = f[i] - 0.5f, q = f[i] + 0.5f;
        const bool carryM = m < 0.0f, carryP = q >= 1.0f;
        fm[i] = carryM ? m + 1.0f : m;
        fp[i] = carryP ? q - 1.0f : q;
        pm[i] = carryM ? p[i] - s : p[i];
        pp[i] = carryP ? p[i] + s : p[i];
    }
    const Vec lo = Lerp(Load(pm, 0), Load(pm, s), _mm_load_ps(fm));
    const Vec hi = Lerp(Load(pp, 0), Load(pp, s), _mm_load_ps(fp));
    return _mm_mul_ps(_mm_sub_ps(lo, hi), size);
}

// Normalises (n0, n1, n2) lane by lane as the scalar code does: length from the sum taken left to
// right, (0, 0, 1) where it is 0; writes lane i to out[i].
inline void Normalise(Vec n0, Vec n1, Vec n2, float* const out[4])
{
    const Vec len = _mm_sqrt_ps(_mm_add_ps(_mm_add_ps(_mm_mul_ps(n0, n0), _mm_mul_ps(n1, n1)), _mm_mul_ps(n2, n2)));
    const Vec zero = _mm_cmpeq_ps(len, _mm_setzero_ps());
    n0 = _mm_blendv_ps(_mm_div_ps(n0, len), _mm_setzero_ps(), zero);
    n1 = _mm_blendv_ps(_mm_div_ps(n1, len), _mm_setzero_ps(), zero);
    n2 = _mm_blendv_ps(_mm_div_ps(n2, len), _mm_set1_ps(1.0f), zero);
    alignas(16) float a[4], b[4], c[4];
    _mm_store_ps(a, n0);
    _mm_store_ps(b, n1);
    _mm_store_ps(c, n2);
    for (int i = 0; i < 4; ++i) {
        out[i][0] = a[i];
        out[i][1] = b[i];
        out[i][2] = c[i];
    }
}

// One step of four vertices on edges along axis A. p: each lane's base voxel; f: its fraction.
template <int A>
inline void Kernel(const unsigned char* const p[4], const float f[4], ptrdiff_t nx, ptrdiff_t slice, const int size[3],
                   float* const out[4])
{
    const Vec half = _mm_set1_ps(0.5f);
    const Vec w = _mm_loadu_ps(f);
    const Vec sx = _mm_set1_ps(static_cast<float>(size[0]));
    const Vec sy = _mm_set1_ps(static_cast<float>(size[1]));
    const Vec sz = _mm_set1_ps(static_cast<float>(size[2]));
    if constexpr (A == 0) {
        // Across the edge the samples interpolate along x first (fraction f), then by 0.5 along
        // y or z; the x step at the base row serves both.
        auto x = [&](ptrdiff_t o) { return Lerp(Load(p, o), Load(p, o + 1), w); };
        const Vec c = x(0), ym = x(-nx), yp = x(nx), zm = x(-slice), zp = x(slice);
        const Vec n0 = AlongEdge(p, f, 1, sx);
        const Vec n1 = _mm_mul_ps(_mm_sub_ps(Lerp(ym, c, half), Lerp(c, yp, half)), sy);
        const Vec n2 = _mm_mul_ps(_mm_sub_ps(Lerp(zm, c, half), Lerp(c, zp, half)), sz);
        Normalise(n0, n1, n2, out);
    } else if constexpr (A == 1) {
        // x: by 0.5 along x first, then by f along y. z: by f along y first, then 0.5 along z.
        auto hx = [&](ptrdiff_t o) { return Lerp(Load(p, o), Load(p, o + 1), half); };
        auto y = [&](ptrdiff_t o) { return Lerp(Load(p, o), Load(p, o + nx), w); };
        const Vec n0 = _mm_mul_ps(_mm_sub_ps(Lerp(hx(-1), hx(-1 + nx), w), Lerp(hx(0), hx(nx), w)), sx);
        const Vec n1 = AlongEdge(p, f, nx, sy);
        const Vec c = y(0);
        const Vec n2 = _mm_mul_ps(_mm_sub_ps(Lerp(y(-slice), c, half), Lerp(c, y(slice), half)), sz);
        Normalise(n0, n1, n2, out);
    } else {
        // x and y: by 0.5 across first, then by f along z.
        auto hx = [&](ptrdiff_t o) { return Lerp(Load(p, o), Load(p, o + 1), half); };
        auto hy = [&](ptrdiff_t o) { return Lerp(Load(p, o), Load(p, o + nx), half); };
        const Vec n0 = _mm_mul_ps(_mm_sub_ps(Lerp(hx(-1), hx(-1 + slice), w), Lerp(hx(0), hx(slice), w)), sx);
        const Vec n1 = _mm_mul_ps(_mm_sub_ps(Lerp(hy(-nx), hy(-nx + slice), w), Lerp(hy(0), hy(slice), w)), sy);
        const Vec n2 = AlongEdge(p, f, slice, sz);
        Normalise(n0, n1, n2, out);
    }
}
#endif

} // namespace

template <int A> void EdgeNormalBatch_cls::FlushAxis(float* normals, size_t stride)
{
    std::vector<Item>& items = mvItem[A];
    const size_t n = items.size();
#if defined(__SSE4_1__)
    const ptrdiff_t nx = miSize[0], slice = static_cast<ptrdiff_t>(muSlice);
    size_t i = 0;
    for (; i < n; i += 4) {
        // A short last step repeats its last vertex in the spare lanes and drops their results.
        const unsigned char* p[4];
        float f[4];
        float* out[4];
        float spare[3];
        for (size_t k = 0; k < 4; ++k) {
            const bool real = i + k < n;
            const Item& it = items[real ? i + k : n - 1];
            p[k] = mpData + it.muOffset;
            f[k] = it.mfFrac;
            out[k] = real ? normals + static_cast<size_t>(it.muId) * stride : spare;
        }
        Kernel<A>(p, f, nx, slice, miSize, out);
    }
#else
    for (const Item& it : items) {
        const size_t nx = static_cast<size_t>(miSize[0]);
        int index[3] = {static_cast<int>(it.muOffset % nx), static_cast<int>(it.muOffset / nx % miSize[1]),
                        static_cast<int>(it.muOffset / muSlice)};
        float frac[3] = {0.0f, 0.0f, 0.0f};
        frac[A] = it.mfFrac;
        ThreadMarching::GetNormalPrecise2(mpData, miSize, index, frac, normals + static_cast<size_t>(it.muId) * stride);
    }
#endif
    (void)n;
    items.clear();
}

// ---------------------------------------------------------------------------------------------
// 3. The one-call form
// ---------------------------------------------------------------------------------------------

void EdgeNormalBatch_cls::Compute(const unsigned char* data, const int size[3], const int* axis, const int (*index)[3],
                                  const float* frac, size_t n, float (*normal)[3])
{
    EdgeNormalBatch_cls batch;
    batch.SetGrid(data, size);
    for (size_t i = 0; i < n; ++i) {
        if (batch.Queue(axis[i], index[i], frac[i], static_cast<uint32_t>(i)))
            continue;
        float f[3] = {0.0f, 0.0f, 0.0f};
        f[axis[i]] = frac[i];
        ThreadMarching::GetNormalPrecise2(data, size, index[i], f, normal[i]);
    }
    batch.Flush(&normal[0][0], 3);
}
