#pragma once
// Volumes and scoped settings shared by the filter tests.
#include "config/Preference_cls.h"
#include "filter/SimdLevel.h"

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

/// A volume of one byte per voxel, x fastest.
struct TestVolume {
    unsigned int size[3] = {0, 0, 0};
    std::vector<unsigned char> v;
    size_t Count() const { return static_cast<size_t>(size[0]) * size[1] * size[2]; }
    unsigned char At(long x, long y, long z) const { return v[(static_cast<size_t>(z) * size[1] + y) * size[0] + x]; }
    std::string Name() const
    {
        return std::to_string(size[0]) + "x" + std::to_string(size[1]) + "x" + std::to_string(size[2]);
    }
};

inline TestVolume RandomVolume(unsigned X, unsigned Y, unsigned Z, unsigned seed)
{
    TestVolume t{{X, Y, Z}, {}};
    std::mt19937 rng(seed);
    t.v.resize(t.Count());
    for (auto& b : t.v)
        b = static_cast<unsigned char>(rng() & 0xFF);
    return t;
}

/// A smooth density: two soft blobs and a ramp, full 0..255 range.
inline TestVolume SmoothVolume(unsigned X, unsigned Y, unsigned Z)
{
    TestVolume t{{X, Y, Z}, {}};
    t.v.resize(t.Count());
    size_t i = 0;
    for (unsigned z = 0; z < Z; ++z)
        for (unsigned y = 0; y < Y; ++y)
            for (unsigned x = 0; x < X; ++x, ++i) {
                double a = std::exp(
                    -((x - X * 0.3) * (x - X * 0.3) + (y - Y * 0.5) * (y - Y * 0.5) + (z - Z * 0.4) * (z - Z * 0.4)) /
                    (0.05 * (X * X + Y * Y + Z * Z) + 1.0));
                double b = 0.5 + 0.5 * std::sin(0.37 * x + 0.21 * y - 0.5 * z);
                t.v[i] = static_cast<unsigned char>(std::min(255.0, 180.0 * a + 75.0 * b));
            }
    return t;
}

/// The shapes every filter is checked on: odd sizes, degenerate axes, and one large enough for
/// the widest vector blocks.
inline std::vector<TestVolume> TestVolumes()
{
    return {RandomVolume(17, 9, 13, 1), SmoothVolume(17, 9, 13), RandomVolume(1, 1, 1, 2),
            RandomVolume(31, 1, 5, 3),  SmoothVolume(31, 1, 5),  RandomVolume(67, 35, 21, 4),
            SmoothVolume(70, 33, 19)};
}

/// Sets "ThreadNumFilter=" for the scope.
class ScopedThreadNum
{
  public:
    explicit ScopedThreadNum(int n) : miOld(GetPreference().GetThreadNumFilter())
    {
        GetPreference().SetThreadNumFilter(n);
    }
    ~ScopedThreadNum() { GetPreference().SetThreadNumFilter(miOld); }

  private:
    int miOld;
};

/// Caps the vector instruction set for the scope.
class ScopedSimdLimit
{
  public:
    explicit ScopedSimdLimit(SimdLevel level) { SetSimdLevelLimit(level); }
    ~ScopedSimdLimit() { SetSimdLevelLimit(SimdLevel::Avx512Vbmi); }
};

/// The levels worth comparing on this processor.
inline std::vector<SimdLevel> AvailableSimdLevels()
{
    std::vector<SimdLevel> levels{SimdLevel::Scalar};
    if (GetSimdLevelSupported() >= SimdLevel::Sse41)
        levels.push_back(SimdLevel::Sse41);
    if (GetSimdLevelSupported() >= SimdLevel::Avx2)
        levels.push_back(SimdLevel::Avx2);
    if (GetSimdLevelSupported() >= SimdLevel::Avx512Vbmi)
        levels.push_back(SimdLevel::Avx512Vbmi);
    return levels;
}

/// Index of the first differing byte, or -1.
inline long FirstDifference(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b)
{
    if (a.size() != b.size())
        return 0;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i])
            return static_cast<long>(i);
    return -1;
}
