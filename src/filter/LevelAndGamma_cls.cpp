#include "filter/LevelAndGamma_cls.h"

#include "config/GlobalFlags.h"
#include "config/Preference_cls.h"
#include "config/TextFormat.h"

#include "filter/SimdLevel.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define TESSAN_LEVEL_X86 1
#endif

const wchar_t* const LevelAndGamma_cls::msParamSetName = L"LevelAndGamma";
const wchar_t* const LevelAndGamma_cls::msParamLabel[kParamNum] = {L"InMin",  L"InMax", L"OutMin",
                                                                   L"OutMax", L"gamma", L"offset"};
const double LevelAndGamma_cls::msParamDefault[kParamNum] = {0.0, 1.0, 0.0, 1.0, 1.0, 0.0};

LevelAndGamma_cls::LevelAndGamma_cls(FilterCtrl_cls* owner)
    : FilterWithParameter_cls(kParamNum, msParamSetName, msParamDefault)
{
    ConstructorCommon(owner, L"Level Gamma", kTypeCode);
    std::copy(msParamDefault, msParamDefault + kParamNum, mdParam);
}

void LevelAndGamma_cls::ApplyParameterValues(const double* values)
{
    std::copy(values, values + kParamNum, mdParam);
}

std::wstring LevelAndGamma_cls::SerializeConf() const
{
    return mCData.SerializeConf() + GetParameters().Serialize();
}

double LevelAndGamma_cls::GetParam(int index) const
{
    return index >= 0 && index < kParamNum ? mdParam[index] : 0.0;
}

double LevelAndGamma_cls::GetLevelIn(double x) const
{
    double a = mdParam[InMin], b = mdParam[InMax];
    if (b > a) {
        if (x < a)
            return 0.0;
        if (x >= b)
            return 1.0;
        return (x - a) / (b - a);
    }
    // Inverted window; with a == b there is no middle: below gives 1, at or above gives 0.
    if (x >= a)
        return 0.0;
    if (x < b)
        return 1.0;
    return 1.0 - (x - b) / (a - b);
}

double LevelAndGamma_cls::GetLevelInSmooth(double x) const
{
    double a = mdParam[InMin], b = mdParam[InMax];
    // a maps to -1 and b to +1. The closed form below approximates (1 + erf(u)) / 2 and is kept
    // in this form: saved animations were tuned against it.
    double u = 2.0 * x / (b - a) - (b + a) / (b - a);
    double e = std::exp(-4.0 * u * u / M_PI);
    double w = std::sqrt(1.0 - e);
    if (u < 0.0)
        w = -w;
    return (1.0 + w) / 2.0;
}

double LevelAndGamma_cls::GetLevelMapping(double x) const
{
    if (!mCData.IsValid())
        return x;
    double i = mCData.mbLevelSmooth.Get() ? GetLevelInSmooth(x) : GetLevelIn(x);
    double g = std::pow(i, mdParam[Gamma]);
    double v = std::max(0.0, g + mdParam[Offset]);
    // Only the bottom is clamped: an output window or offset above 1 is allowed to overflow.
    return mdParam[OutMin] + (mdParam[OutMax] - mdParam[OutMin]) * v;
}

namespace
{
/// The integer part of v kept to its low eight bits, as the table has always stored it. Values
/// that have no integer part in range (NaN, infinities, beyond 32 bits) give 0, which is what
/// the processor's truncating conversion yields for them.
unsigned char TableByte(double v)
{
    if (!(v > -2147483649.0 && v < 2147483648.0))
        return 0;
    return static_cast<unsigned char>(static_cast<int>(v)); // conversion to unsigned: modulo 256
}
} // namespace

void LevelAndGamma_cls::MakeLevelMap(unsigned char* table) const
{
    for (int k = 0; k < 256; ++k) {
        double x = k / 255.0;
        table[k] = TableByte(GetLevelMapping(x) * 255.0);
    }
}

namespace
{

/// Eight, four, two or one voxels per step. The eight-voxel step reads and writes whole words,
/// so the compiler need not reload the input after every byte stored.
void MapRangeScalar(unsigned char* out, const unsigned char* in, size_t i, size_t end, const unsigned char* t)
{
    for (; i + 8 <= end; i += 8) {
        uint64_t w, o = 0;
        std::memcpy(&w, in + i, 8);
        for (int b = 0; b < 8; ++b)
            o |= static_cast<uint64_t>(t[(w >> (8 * b)) & 0xFF]) << (8 * b);
        std::memcpy(out + i, &o, 8);
    }
    if (i + 4 <= end) {
        out[i] = t[in[i]];
        out[i + 1] = t[in[i + 1]];
        out[i + 2] = t[in[i + 2]];
        out[i + 3] = t[in[i + 3]];
        i += 4;
    }
    if (i + 2 <= end) {
        out[i] = t[in[i]];
        out[i + 1] = t[in[i + 1]];
        i += 2;
    }
    if (i < end)
        out[i] = t[in[i]];
}

#ifdef TESSAN_LEVEL_X86
/// 32 voxels per step: the table as sixteen 16-byte pieces, each looked up with a byte shuffle
/// by the low nibble. Adding 0x70 with saturation leaves bit 7 clear only for the voxels whose
/// high nibble selects the piece, and the shuffle gives 0 for the others.
__attribute__((target("avx2"))) size_t MapRangeAvx2(unsigned char* out, const unsigned char* in, size_t i, size_t end,
                                                    const unsigned char* t)
{
    __m256i piece[16];
    for (int h = 0; h < 16; ++h)
        piece[h] = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(t + 16 * h)));
    const __m256i bias = _mm256_set1_epi8(0x70), step = _mm256_set1_epi8(16);
    for (; i + 32 <= end; i += 32) {
        __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i));
        __m256i r = _mm256_setzero_si256();
        for (int h = 0; h < 16; ++h) {
            r = _mm256_or_si256(r, _mm256_shuffle_epi8(piece[h], _mm256_adds_epu8(x, bias)));
            x = _mm256_sub_epi8(x, step);
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), r);
    }
    return i;
}

/// 64 voxels per step: two 128-entry permutes (bit 7 of the density chooses between them).
__attribute__((target("avx512f,avx512bw,avx512vbmi"))) size_t
MapRangeAvx512(unsigned char* out, const unsigned char* in, size_t i, size_t end, const unsigned char* t)
{
    const __m512i t0 = _mm512_loadu_si512(t), t1 = _mm512_loadu_si512(t + 64);
    const __m512i t2 = _mm512_loadu_si512(t + 128), t3 = _mm512_loadu_si512(t + 192);
    for (; i + 64 <= end; i += 64) {
        __m512i x = _mm512_loadu_si512(in + i);
        __m512i low = _mm512_permutex2var_epi8(t0, x, t1);
        __m512i high = _mm512_permutex2var_epi8(t2, x, t3);
        _mm512_storeu_si512(out + i, _mm512_mask_blend_epi8(_mm512_movepi8_mask(x), low, high));
    }
    return i;
}
#endif

} // namespace

void LevelAndGamma_cls::MapRange(unsigned char* out, const unsigned char* in, size_t first, size_t end,
                                 const unsigned char* table)
{
    size_t i = first;
#ifdef TESSAN_LEVEL_X86
    SimdLevel level = GetSimdLevel();
    if (level >= SimdLevel::Avx512Vbmi)
        i = MapRangeAvx512(out, in, i, end, table);
    else if (level >= SimdLevel::Avx2)
        i = MapRangeAvx2(out, in, i, end, table);
#endif
    MapRangeScalar(out, in, i, end, table);
}

void ThreadLevel::SetParameters(LevelAndGamma_cls* filter, unsigned char* out, const unsigned char* in, size_t first,
                                size_t end, const unsigned char* table)
{
    mpFilter = filter;
    mpOut = out;
    mpIn = in;
    muFirst = first;
    muEnd = end;
    mpTable = table;
}

void ThreadLevel::Entry()
{
    LevelAndGamma_cls::MapRange(mpOut, mpIn, muFirst, muEnd, mpTable);
}

bool LevelAndGamma_cls::ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* sizes)
{
    size_t n = static_cast<size_t>(sizes[0]) * sizes[1] * sizes[2];
    if (!mCData.IsValid()) {
        if (n > 0 && out != in)
            std::memcpy(out, in, n);
        return false;
    }
    unsigned char table[256];
    MakeLevelMap(table);
    if (GetPreference().GetThreadNumFilter() > 1) {
        // Two workers whatever the preference says: a table lookup is bound by memory
        // bandwidth, which two threads already saturate.
        GbGLLockForMultithread = true;
        ThreadLevel first, second;
        first.SetParameters(this, out, in, 0, n / 2, table);
        second.SetParameters(this, out, in, n / 2, n, table);
        first.Run();
        second.Run();
        first.Wait();
        second.Wait();
        GbGLLockForMultithread = false;
        miLastWorkerNum = 2;
    } else {
        MapRange(out, in, 0, n, table);
        miLastWorkerNum = 0;
    }
    return true;
}

std::wstring LevelAndGamma_cls::GetFilterStatusStr() const
{
    // %.17g: any change of a value, however small, changes the text.
    return L"LevelAndGamma::" + WStrPrintf("%.17g %.17g %.17g %.17g %.17g %.17g %d %d", mdParam[0], mdParam[1],
                                           mdParam[2], mdParam[3], mdParam[4], mdParam[5],
                                           mCData.mbLevelSmooth.Get() ? 1 : 0, mCData.IsValid() ? 1 : 0);
}
