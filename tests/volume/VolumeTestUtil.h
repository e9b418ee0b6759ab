#pragma once
// Small helpers shared by the volume tests: DF3 files built byte by byte.
#include "support/TestUtil.h"

#include <cstdint>
#include <string>
#include <vector>

/// The 6 header bytes for the given 16-bit size fields (written big-endian).
inline std::vector<uint8_t> Df3Header(uint16_t x, uint16_t y, uint16_t z)
{
    return {uint8_t(x >> 8), uint8_t(x), uint8_t(y >> 8), uint8_t(y), uint8_t(z >> 8), uint8_t(z)};
}

/// Header followed by the given body bytes.
inline std::vector<uint8_t> Df3File(uint16_t x, uint16_t y, uint16_t z, const std::vector<uint8_t>& body)
{
    std::vector<uint8_t> f = Df3Header(x, y, z);
    f.reserve(6 + body.size());
    for (uint8_t b : body) // (not insert(): GCC 12 warns falsely about the range copy)
        f.push_back(b);
    return f;
}

/// Deterministic pseudo-random bytes (xorshift), different for each seed.
inline std::vector<uint8_t> PatternBytes(size_t n, uint32_t seed)
{
    std::vector<uint8_t> v(n);
    uint32_t s = seed * 2654435761u + 1;
    for (auto& b : v) {
        s ^= s << 13;
        s ^= s >> 17;
        s ^= s << 5;
        b = uint8_t(s >> 7);
    }
    return v;
}
