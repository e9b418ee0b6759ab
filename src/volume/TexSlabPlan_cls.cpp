#include "volume/TexSlabPlan_cls.h"

#include "volume/AxisXYZSTU_cls.h"

#include <algorithm>

double TexSlabPlan_cls::msBytesPerMs = 0.0;

namespace
{
constexpr uint64_t kMinUnitBytes = 256u * 1024u;
constexpr uint64_t kMaxUnitBytes = 8u * 1024u * 1024u;
} // namespace

void TexSlabPlan_cls::Make(const uint32_t size[3], bool is3D, unsigned bytesPerTexel, uint64_t unitBytes)
{
    mvUnit.clear();
    for (int a = 0; a < 3; ++a)
        mvSize[a] = size[a];
    muBytesPerTexel = std::max(bytesPerTexel, 1u);
    if (size[0] == 0 || size[1] == 0 || size[2] == 0)
        return;
    const int firstAxis = is3D ? 2 : 0;
    for (int axis = firstAxis; axis < 3; ++axis) {
        // A plane across `axis` (a z plane of the 3D texture, or one 2D slice).
        const uint64_t plane =
            uint64_t{size[AxisXYZSTU_cls::GetAxisS(axis)]} * size[AxisXYZSTU_cls::GetAxisT(axis)] * muBytesPerTexel;
        const uint32_t n = size[axis];
        const uint32_t per = static_cast<uint32_t>(std::clamp<uint64_t>(unitBytes / plane, 1, n));
        for (uint32_t first = 0; first < n; first += per)
            mvUnit.push_back(Unit{axis, first, std::min(per, n - first)});
    }
}

uint64_t TexSlabPlan_cls::GetUnitBytes(uint32_t i) const
{
    const Unit& u = mvUnit[i];
    return uint64_t{mvSize[AxisXYZSTU_cls::GetAxisS(u.iAxis)]} * mvSize[AxisXYZSTU_cls::GetAxisT(u.iAxis)] * u.uCount *
           muBytesPerTexel;
}

std::vector<TexSlabPlan_cls::Brick> TexSlabPlan_cls::MakeBricks(uint32_t depth, uint64_t planeBytes,
                                                                uint64_t brickBytes)
{
    std::vector<Brick> bricks;
    if (depth == 0)
        return bricks;
    planeBytes = std::max<uint64_t>(planeBytes, 1);
    if (planeBytes * depth <= brickBytes) {
        bricks.push_back(Brick{0, depth, 0, depth});
        return bricks;
    }
    // Drawn planes per brick: what fits beside the two overlap planes, then spread evenly.
    const uint64_t fit = brickBytes / planeBytes;
    const uint32_t most = static_cast<uint32_t>(std::clamp<uint64_t>(fit > 2 ? fit - 2 : 1, 1, depth));
    const uint32_t count = (depth + most - 1) / most;
    const uint32_t base = depth / count, extra = depth % count;
    uint32_t first = 0;
    for (uint32_t k = 0; k < count; ++k) {
        const uint32_t end = first + base + (k < extra ? 1 : 0);
        bricks.push_back(Brick{first, end, first > 0 ? first - 1 : 0, std::min(depth, end + 1)});
        first = end;
    }
    return bricks;
}

uint64_t TexSlabPlan_cls::BrickedBytes(uint32_t depth, uint64_t planeBytes, uint64_t brickBytes)
{
    uint64_t bytes = 0;
    for (const Brick& b : MakeBricks(depth, planeBytes, brickBytes))
        bytes += uint64_t{b.GetStoredPlanes()} * planeBytes;
    return bytes;
}

uint64_t TexSlabPlan_cls::UnitBytesFor(double bytesPerMs, double targetMs)
{
    if (!(bytesPerMs > 0.0) || !(targetMs > 0.0))
        return kMinUnitBytes;
    const double bytes = bytesPerMs * targetMs;
    if (bytes >= static_cast<double>(kMaxUnitBytes))
        return kMaxUnitBytes;
    return std::max<uint64_t>(static_cast<uint64_t>(bytes), kMinUnitBytes);
}

void TexSlabPlan_cls::AddUploadSample(uint64_t bytes, double ms)
{
    if (bytes == 0 || !(ms > 0.0))
        return;
    const double rate = static_cast<double>(bytes) / ms;
    // A running average that forgets slowly: one slow unit (the machine was busy) does not
    // halve the next slabs, a lasting change does within a few frames.
    msBytesPerMs = msBytesPerMs > 0.0 ? msBytesPerMs * 0.75 + rate * 0.25 : rate;
}
