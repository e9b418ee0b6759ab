#pragma once
// Volumes and mesh checks shared by the isosurface tests.
#include "iso/MarchingCube_cls.h"

#include <cmath>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

/// A grid of voxel bytes, x fastest.
struct TestVolume {
    int nx, ny, nz;
    std::vector<unsigned char> v;
    TestVolume(int x, int y, int z, unsigned char fill = 0)
        : nx(x), ny(y), nz(z), v(static_cast<size_t>(x) * y * z, fill)
    {
    }
    unsigned char& at(int x, int y, int z) { return v[(static_cast<size_t>(z) * ny + y) * nx + x]; }
    unsigned char at(int x, int y, int z) const { return v[(static_cast<size_t>(z) * ny + y) * nx + x]; }
};

/// A ball of high density: 2*round(100 - 100*(d - r)/4) clamped to even bytes, so no voxel
/// ever equals an odd level and no vertex falls on a grid point.
inline TestVolume MakeBall(int nx, int ny, int nz, double cx, double cy, double cz, double r)
{
    TestVolume t(nx, ny, nz);
    for (int z = 0; z < nz; ++z)
        for (int y = 0; y < ny; ++y)
            for (int x = 0; x < nx; ++x) {
                double d = std::sqrt((x - cx) * (x - cx) + (y - cy) * (y - cy) + (z - cz) * (z - cz));
                double half = 64.0 - 30.0 * (d - r);
                half = half < 0 ? 0 : (half > 127 ? 127 : half);
                t.at(x, y, z) = static_cast<unsigned char>(2 * static_cast<int>(std::lround(half)));
            }
    return t;
}

/// Counts of an indexed triangle mesh's edges: how many triangles use each undirected edge.
inline std::map<std::pair<uint32_t, uint32_t>, int> EdgeUse(const std::vector<uint32_t>& idx)
{
    std::map<std::pair<uint32_t, uint32_t>, int> use;
    for (size_t t = 0; t + 2 < idx.size(); t += 3)
        for (int k = 0; k < 3; ++k) {
            uint32_t a = idx[t + k], b = idx[t + (k + 1) % 3];
            use[{std::min(a, b), std::max(a, b)}]++;
        }
    return use;
}
