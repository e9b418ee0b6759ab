#include "filter/FilterOutput_cls.h"

#include <algorithm>
#include <cmath>
#include <cstring>

FilterOutput_cls::FilterOutput_cls(unsigned dimension, const std::wstring& setName, const double* defaults)
    : FilterWithParameter_cls(dimension, setName, defaults)
{
}

void FilterOutput_cls::RefreshFilter(const unsigned char* data, const unsigned int* sizes)
{
    const size_t n = static_cast<size_t>(sizes[0]) * sizes[1] * sizes[2];
    bool changed = !std::equal(sizes, sizes + 3, muSize) || mvData.size() != n;
    if (!changed && n > 0)
        changed = std::memcmp(mvData.data(), data, n) != 0;
    if (changed) {
        mvData.assign(data, data + n);
        std::copy(sizes, sizes + 3, muSize);
        ++muGeneration;
    }
    OnRefresh(changed);
}

bool FilterOutput_cls::GetSection(int axis, double layer, std::vector<unsigned char>& plane, unsigned& width,
                                  unsigned& height) const
{
    if (mvData.empty() || axis < 0 || axis > 2)
        return false;
    const size_t X = muSize[0], Y = muSize[1], Z = muSize[2];
    const double clamped = std::clamp(layer, 0.0, 1.0);
    const size_t k = static_cast<size_t>(std::floor(clamped * (muSize[axis] - 1) + 0.5));
    if (axis == 2) {
        width = muSize[0];
        height = muSize[1];
        plane.assign(mvData.begin() + static_cast<long>(k * X * Y),
                     mvData.begin() + static_cast<long>((k + 1) * X * Y));
        return true;
    }
    width = axis == 0 ? muSize[1] : muSize[0];
    height = muSize[2];
    plane.resize(static_cast<size_t>(width) * height);
    for (size_t z = 0; z < Z; ++z)
        for (size_t c = 0; c < width; ++c)
            plane[z * width + c] = axis == 0 ? mvData[(z * Y + c) * X + k] : mvData[(z * Y + k) * X + c];
    return true;
}
