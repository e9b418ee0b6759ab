#include "iso/ThreadWavefrontWriterBase_cls.h"

#include <cstring>

void ThreadWavefrontWriterVector3_cls::Entry()
{
    const std::vector<float>& v = *mpvValues;
    const size_t items = v.size() / 3;
    const size_t prefixLen = mStrPrefix.size();
    char* p = Begin(items * (prefixLen + 3 * 49 + 1) + 1);
    for (size_t i = 0; i < items; ++i) {
        std::memcpy(p, mStrPrefix.data(), prefixLen);
        p += prefixLen;
        for (int a = 0; a < 3; ++a) {
            *p++ = ' ';
            p = WriteFixed(p, v[i * 3 + a], miPrecision);
        }
        *p++ = '\n';
    }
    SerializeClose(p);
}

void ThreadWavefrontWriterFaces_cls::Entry()
{
    const std::vector<uint32_t>& v = *mpvIndices;
    const size_t items = v.size() / 3;
    char* p = Begin(items * (2 + 3 * 12 + 1) + 1);
    for (size_t i = 0; i < items; ++i) {
        *p++ = 'f';
        for (int a = 0; a < 3; ++a) {
            *p++ = ' ';
            p = WriteUInt(p, static_cast<uint64_t>(v[i * 3 + a]) + 1);
        }
        *p++ = '\n';
    }
    SerializeClose(p);
}
