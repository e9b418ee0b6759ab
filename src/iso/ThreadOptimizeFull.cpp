#include "iso/ThreadOptimizeFull.h"

#include <bit>
#include <cstring>

namespace
{

// Open-addressing set of vertex numbers keyed by the exact bits of their positions. One holds the
// current z-slab, one the slab below; older slabs can no longer match and are dropped, which keeps
// the tables small enough to stay in cache.
class PositionTable
{
  public:
    explicit PositionTable(const std::vector<float>* positions) : mpPos(positions) {}

    void Reset(size_t expected)
    {
        size_t cap = std::bit_ceil(expected * 2 + 16);
        if (mvSlots.size() != cap)
            mvSlots.assign(cap, 0u);
        else
            std::memset(mvSlots.data(), 0, cap * sizeof(uint32_t));
        mMask = cap - 1;
        mCount = 0;
    }

    // Returns the vertex number whose position equals p, or UINT32_MAX.
    uint32_t Find(const float* p) const
    {
        if (mvSlots.empty())
            return UINT32_MAX;
        for (size_t s = Hash(p) & mMask;; s = (s + 1) & mMask) {
            uint32_t slot = mvSlots[s];
            if (slot == 0)
                return UINT32_MAX;
            const float* q = &(*mpPos)[static_cast<size_t>(slot - 1) * 3];
            if (q[0] == p[0] && q[1] == p[1] && q[2] == p[2])
                return slot - 1;
        }
    }

    // Adds vertex number v (its position is already in the position list); p must not be present.
    void Insert(const float* p, uint32_t v)
    {
        if ((mCount + 1) * 2 > mvSlots.size())
            Grow();
        size_t s = Hash(p) & mMask;
        while (mvSlots[s] != 0)
            s = (s + 1) & mMask;
        mvSlots[s] = v + 1;
        ++mCount;
    }

    void Swap(PositionTable& other)
    {
        mvSlots.swap(other.mvSlots);
        std::swap(mMask, other.mMask);
        std::swap(mCount, other.mCount);
    }

  private:
    static size_t Hash(const float* p)
    {
        uint64_t h = std::bit_cast<uint32_t>(p[0]) * 0x9E3779B97F4A7C15ull;
        h ^= std::bit_cast<uint32_t>(p[1]) * 0xC2B2AE3D27D4EB4Full;
        h ^= std::bit_cast<uint32_t>(p[2]) * 0x165667B19E3779F9ull;
        return static_cast<size_t>(h ^ (h >> 29));
    }

    void Grow()
    {
        std::vector<uint32_t> old;
        old.swap(mvSlots);
        mvSlots.assign(old.size() * 2, 0u);
        mMask = mvSlots.size() - 1;
        for (uint32_t slot : old) {
            if (slot == 0)
                continue;
            size_t s = Hash(&(*mpPos)[static_cast<size_t>(slot - 1) * 3]) & mMask;
            while (mvSlots[s] != 0)
                s = (s + 1) & mMask;
            mvSlots[s] = slot;
        }
    }

    const std::vector<float>* mpPos;
    std::vector<uint32_t> mvSlots;
    size_t mMask = 0;
    size_t mCount = 0;
};

} // namespace

ThreadOptimizeFull::ThreadOptimizeFull(std::vector<MarchingBlock_cls>* blocks, int gridZ, std::vector<float>* outPos,
                                       std::vector<float>* outNorm, std::vector<uint32_t>* outIndex)
    : mpvBlocks(blocks), miGridZ(gridZ), mpvPos(outPos), mpvNorm(outNorm), mpvIndex(outIndex)
{
}

void ThreadOptimizeFull::Entry()
{
    std::vector<MarchingBlock_cls>& blocks = *mpvBlocks;
    const size_t blockNum = blocks.size();
    const size_t perSlab = blockNum >= 64 ? 64 : (blockNum ? blockNum : 1);

    size_t uniqueTotal = 0, indexTotal = 0;
    bool normals = true;
    for (const MarchingBlock_cls& b : blocks) {
        uniqueTotal += b.mvPosOpt.size() / 3;
        indexTotal += b.mvIndexOpt.size();
        if (!b.mvPosOpt.empty() && b.mvNormOpt.size() != b.mvPosOpt.size())
            normals = false;
    }
    std::vector<float>& pos = *mpvPos;
    std::vector<float>& norm = *mpvNorm;
    std::vector<uint32_t>& index = *mpvIndex;
    pos.clear();
    norm.clear();
    index.clear();
    // The block stage's unique count is an upper bound of the merged count: no reallocation.
    pos.reserve(uniqueTotal * 3);
    if (normals)
        norm.reserve(uniqueTotal * 3);
    index.reserve(indexTotal);

    const double window = miGridZ > 0 ? 3.0 / miGridZ : 0.0;
    PositionTable current(&pos), below(&pos);
    double slabStartZ = -1.0;
    std::vector<uint32_t> localToGlobal;

    for (size_t bi = 0; bi < blockNum; ++bi) {
        MarchingBlock_cls& b = blocks[bi];
        if (bi % perSlab == 0) {
            // Slab change: a slab without cubes is no neighbour of anything, keep the old tables.
            bool slabHasCubes = false;
            size_t slabUnique = 0;
            for (size_t k = bi; k < bi + perSlab && k < blockNum; ++k) {
                slabHasCubes |= blocks[k].GetCubeNumber() > 0;
                slabUnique += blocks[k].mvPosOpt.size() / 3;
            }
            if (slabHasCubes) {
                below.Swap(current);
                current.Reset(slabUnique);
                slabStartZ = miGridZ > 0 ? static_cast<double>(b.miBegin[2]) / miGridZ : 0.0;
            }
        }
        b.muFirstVertexFull = pos.size() / 3;
        b.muFaceBeginFull = index.size() / 3;
        const size_t local = b.mvPosOpt.size() / 3;
        localToGlobal.resize(local);
        for (size_t u = 0; u < local; ++u) {
            const float* p = &b.mvPosOpt[u * 3];
            uint32_t g = current.Find(p);
            if (g == UINT32_MAX && static_cast<double>(p[2]) <= slabStartZ + window)
                g = below.Find(p);
            if (g == UINT32_MAX) {
                g = static_cast<uint32_t>(pos.size() / 3);
                pos.insert(pos.end(), p, p + 3);
                if (normals)
                    norm.insert(norm.end(), &b.mvNormOpt[u * 3], &b.mvNormOpt[u * 3] + 3);
                current.Insert(p, g);
            }
            localToGlobal[u] = g;
        }
        for (uint32_t li : b.mvIndexOpt)
            index.push_back(localToGlobal[li]);
        b.muFaceNumFull = index.size() / 3 - b.muFaceBeginFull;
    }
}
