#include "iso/ThreadIsoWriterBase_cls.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace
{
constexpr double kPow10[] = {1.0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
} // namespace

char* ThreadIsoWriterBase_cls::WriteUInt(char* p, uint64_t v)
{
    return std::to_chars(p, p + 24, v).ptr;
}

char* ThreadIsoWriterBase_cls::WriteFixed(char* p, float v, int precision)
{
    // A float has a 24-bit mantissa and 10^precision (precision <= 9) needs at most 30 bits, so
    // their product is exact in a double; rounding it to an integer half-to-even is then exactly
    // the rounding printf applies to the decimal expansion. Much faster than general formatting.
    const double scaled = static_cast<double>(v) * kPow10[precision < 0 ? 0 : (precision > 9 ? 9 : precision)];
    if (precision < 0 || precision > 9 || !(std::fabs(scaled) < 9.0e15))
        return std::to_chars(p, p + 48, static_cast<double>(v), std::chars_format::fixed, precision).ptr;
    double r = std::nearbyint(std::fabs(scaled));
    auto digits = static_cast<uint64_t>(r);
    if (std::signbit(v))
        *p++ = '-';
    const auto unit = static_cast<uint64_t>(kPow10[precision]);
    p = WriteUInt(p, digits / unit);
    if (precision == 0)
        return p;
    *p++ = '.';
    uint64_t frac = digits % unit;
    for (int i = precision - 1; i >= 0; --i) {
        p[i] = static_cast<char>('0' + frac % 10);
        frac /= 10;
    }
    return p + precision;
}

char* ThreadIsoWriterBase_cls::Begin(size_t bytes)
{
    mStrBuf.resize(bytes);
    return mStrBuf.data();
}

void ThreadIsoWriterBase_cls::SerializeClose(char* end)
{
    miLength = static_cast<size_t>(end - mStrBuf.data());
    mStrBuf.resize(miLength);
    mbDone.store(true, std::memory_order_release);
}

void ThreadIsoWriterVectors3_cls::Entry()
{
    const std::vector<float>& v = *mpvValues;
    const size_t items = v.size() / 3;
    // Per item: "<" + three numbers of at most 48 characters + separators; per line: tab and LF.
    char* p = Begin(items * (3 * 48 + 5) + items / 3 * 2 + 4);
    for (size_t i = 0; i < items; ++i) {
        if (i % 3 == 0)
            *p++ = '\t';
        *p++ = '<';
        p = WriteFixed(p, v[i * 3] + mfOffset, miPrecision);
        *p++ = ',';
        p = WriteFixed(p, v[i * 3 + 1] + mfOffset, miPrecision);
        *p++ = ',';
        p = WriteFixed(p, v[i * 3 + 2] + mfOffset, miPrecision);
        *p++ = '>';
        *p++ = ',';
        if (i % 3 == 2 || i + 1 == items)
            *p++ = '\n';
    }
    SerializeClose(p);
}

void ThreadIsoWriterFaces_cls::Entry()
{
    const std::vector<uint32_t>& v = *mpvIndices;
    const size_t items = v.size() / 3;
    char* p = Begin(items * (3 * 11 + 5) + items / 3 * 2 + 4);
    for (size_t i = 0; i < items; ++i) {
        if (i % 3 == 0)
            *p++ = '\t';
        *p++ = '<';
        p = WriteUInt(p, v[i * 3]);
        *p++ = ',';
        p = WriteUInt(p, v[i * 3 + 1]);
        *p++ = ',';
        p = WriteUInt(p, v[i * 3 + 2]);
        *p++ = '>';
        *p++ = ',';
        if (i % 3 == 2 || i + 1 == items)
            *p++ = '\n';
    }
    SerializeClose(p);
}
