#include "volume/LevelMap_cls.h"

void LevelMap_cls::Compute(const uint8_t* data, size_t n)
{
    // Four interleaved tables: consecutive equal bytes (common in smooth data) would otherwise
    // serialise on one counter's store-to-load dependency.
    std::array<std::array<uint64_t, 256>, 4> part{};
    size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        ++part[0][data[i]];
        ++part[1][data[i + 1]];
        ++part[2][data[i + 2]];
        ++part[3][data[i + 3]];
    }
    for (; i < n; ++i)
        ++part[0][data[i]];

    uint64_t sum = 0;
    miMin = -1;
    miMax = 0;
    for (int d = 0; d < 256; ++d) {
        uint64_t c = part[0][d] + part[1][d] + part[2][d] + part[3][d];
        mvHistogram[static_cast<size_t>(d)] = c;
        if (c == 0)
            continue;
        if (miMin < 0)
            miMin = d;
        miMax = d;
        sum += c * static_cast<uint64_t>(d);
    }
    if (miMin < 0)
        miMin = 0;
    muTotal = n;
    mdMean = n ? static_cast<double>(sum) / static_cast<double>(n) : 0.0;
    mbValid = true;
}

void LevelMap_cls::Clear()
{
    mvHistogram.fill(0);
    muTotal = 0;
    miMin = miMax = 0;
    mdMean = 0.0;
    mbValid = false;
}
