#include "volume/AxisXYZSTU_cls.h"

#include <limits>

namespace
{

uint64_t MulSaturated(uint64_t a, uint64_t b)
{
    if (a != 0 && b > std::numeric_limits<uint64_t>::max() / a)
        return std::numeric_limits<uint64_t>::max();
    return a * b;
}

} // namespace

void AxisXYZSTU_cls::SetTrueSize(uint32_t x, uint32_t y, uint32_t z)
{
    muTrue[0] = x;
    muTrue[1] = y;
    muTrue[2] = z;
}

void AxisXYZSTU_cls::CalcCurrentSize(uint32_t fx, uint32_t fy, uint32_t fz)
{
    const uint32_t f[3] = {fx, fy, fz};
    for (int a = 0; a < 3; ++a) {
        muDownSize[a] = f[a] == 0 ? 1 : f[a];
        muCurr[a] = muTrue[a] / muDownSize[a];
    }
}

uint64_t AxisXYZSTU_cls::GetTrueTotalSize() const
{
    return MulSaturated(MulSaturated(muTrue[0], muTrue[1]), muTrue[2]);
}

uint64_t AxisXYZSTU_cls::GetCurrentTotalSize() const
{
    return MulSaturated(MulSaturated(muCurr[0], muCurr[1]), muCurr[2]);
}
