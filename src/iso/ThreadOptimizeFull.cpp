// Cross-block vertex welding.
//
// Sections:
//   1. Position hash tables
//   2. Per block: exact de-duplication and border flags (parallel)
//   3. Global numbering of border vertices (sequential, z-slab window)
//   4. Copying vertices and remapping indices (parallel, each block as soon as it is numbered)
#include "iso/ThreadOptimizeFull.h"

#include "iso/IsoSpareMemory_cls.h"
#include "iso/LargeVector.h"
#include "iso/MarchingArena_cls.h"
#include "iso/ThreadIsoLane.h"

#include <algorithm>
#include <atomic>
#include <bit>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <cstring>
#include <functional>
#include <memory>
#include <thread>

namespace
{

// ---------------------------------------------------------------------------------------------
// 1. Position hash tables: open addressing keyed by the exact bits of a position.
// ---------------------------------------------------------------------------------------------

inline size_t HashPosition(const float* p)
{
    uint64_t h = std::bit_cast<uint32_t>(p[0]) * 0x9E3779B97F4A7C15ull;
    h ^= std::bit_cast<uint32_t>(p[1]) * 0xC2B2AE3D27D4EB4Full;
    h ^= std::bit_cast<uint32_t>(p[2]) * 0x165667B19E3779F9ull;
    return static_cast<size_t>(h ^ (h >> 29));
}

inline bool SamePosition(const float* a, const float* b)
{
    return a[0] == b[0] && a[1] == b[1] && a[2] == b[2];
}

// Maps positions to numbers; entries carry their own copy of the position.
class PositionTable
{
  public:
    void Reset(size_t expected)
    {
        size_t cap = std::bit_ceil(expected * 2 + 16);
        mvSlots.assign(cap, Slot{});
        mMask = cap - 1;
        mCount = 0;
    }

    // The number stored for p, or UINT32_MAX.
    uint32_t Find(const float* p) const
    {
        if (mvSlots.empty())
            return UINT32_MAX;
        for (size_t s = HashPosition(p) & mMask;; s = (s + 1) & mMask) {
            const Slot& slot = mvSlots[s];
            if (slot.muId == UINT32_MAX)
                return UINT32_MAX;
            if (SamePosition(slot.mfPos, p))
                return slot.muId;
        }
    }

    // Stores p -> id; p must not be present.
    void Insert(const float* p, uint32_t id)
    {
        if ((mCount + 1) * 2 > mvSlots.size())
            Grow();
        size_t s = HashPosition(p) & mMask;
        while (mvSlots[s].muId != UINT32_MAX)
            s = (s + 1) & mMask;
        mvSlots[s] = Slot{{p[0], p[1], p[2]}, id};
        ++mCount;
    }

    void Swap(PositionTable& other)
    {
        mvSlots.swap(other.mvSlots);
        std::swap(mMask, other.mMask);
        std::swap(mCount, other.mCount);
    }

  private:
    struct Slot {
        float mfPos[3] = {0, 0, 0};
        uint32_t muId = UINT32_MAX;
    };

    void Grow()
    {
        std::vector<Slot> old;
        old.swap(mvSlots);
        mvSlots.assign(old.empty() ? 32 : old.size() * 2, Slot{});
        mMask = mvSlots.size() - 1;
        for (const Slot& slot : old) {
            if (slot.muId == UINT32_MAX)
                continue;
            size_t s = HashPosition(slot.mfPos) & mMask;
            while (mvSlots[s].muId != UINT32_MAX)
                s = (s + 1) & mMask;
            mvSlots[s] = slot;
        }
    }

    std::vector<Slot> mvSlots;
    size_t mMask = 0;
    size_t mCount = 0;
};

// Maps positions to numbers by index into a position list that outlives the table (the per-block
// de-duplication: four bytes a slot keep the table small).
class IndexTable
{
  public:
    void Reset(const float* positions, size_t expected)
    {
        mpPos = positions;
        size_t cap = std::bit_ceil(expected * 2 + 16);
        mvSlots.assign(cap, UINT32_MAX);
        mMask = cap - 1;
    }
    // The number stored for the position at list index u, inserting u when it is new.
    uint32_t FindOrInsert(uint32_t u, uint32_t id, std::vector<uint32_t>& ids)
    {
        const float* p = mpPos + static_cast<size_t>(u) * 3;
        for (size_t s = HashPosition(p) & mMask;; s = (s + 1) & mMask) {
            uint32_t slot = mvSlots[s];
            if (slot == UINT32_MAX) {
                mvSlots[s] = u;
                ids[u] = id;
                return id;
            }
            if (SamePosition(mpPos + static_cast<size_t>(slot) * 3, p))
                return ids[slot];
        }
    }

  private:
    const float* mpPos = nullptr;
    std::vector<uint32_t> mvSlots;
    size_t mMask = 0;
};

// Calls f(e), in increasing e, for each e < n whose flag is set. Border flags are mostly 0, so
// sixteen are tested at a time.
template <class F> inline void ForEachFlagged(const uint8_t* flags, size_t n, F&& f)
{
    size_t e = 0;
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    for (; e + 16 <= n; e += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(flags + e));
        for (unsigned bits = ~static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, zero))) & 0xFFFFu; bits != 0;
             bits &= bits - 1)
            f(e + static_cast<size_t>(std::countr_zero(bits)));
    }
#endif
    for (; e < n; ++e)
        if (flags[e])
            f(e);
}

// Per-block working lists of the merge.
struct BlockMerge {
    std::vector<uint32_t> mvOptToExact; // block-welded vertex -> exactly unique vertex of the block
    std::vector<uint32_t> mvExactFirst; // exactly unique vertex -> its first block-welded vertex
    std::vector<uint8_t> mvBorder;      // exactly unique vertex lies on a border plane of the block
    size_t muBorderBegin = 0;           // first global number of its border vertices in the merge's list
    size_t muNewBegin = 0;              // the global numbers new in this block: [begin, end)
    size_t muNewEnd = 0;
    size_t muIndexBegin = 0; // first slot of the block in the global index list
    // What the numbering and copying read, whichever stage produced it: the position (and normal)
    // of exact vertex e is mpPos[first(e) * 3], first(e) = mpExactFirst ? mpExactFirst[e] : e; the
    // exact number of unshared vertex k is mpOptToExact ? mpOptToExact[mpIndex[k]] : mpIndex[k].
    const float* mpPos = nullptr;
    const float* mpNorm = nullptr;
    const uint32_t* mpExactFirst = nullptr;
    const uint8_t* mpBorder = nullptr;
    size_t muExactNum = 0;
    const uint32_t* mpIndex = nullptr;
    const uint32_t* mpOptToExact = nullptr;
    size_t muIndexNum = 0;

    // The block lists of the block stage, with the exact duplicates worked out.
    void Use(const MarchingBlock_cls& b, const std::vector<uint32_t>& optToExact,
             const std::vector<uint32_t>& exactFirst, const std::vector<uint8_t>& border)
    {
        mpPos = b.mvPosOpt.data();
        mpNorm = b.mvNormOpt.data();
        mpExactFirst = exactFirst.data();
        mpBorder = border.data();
        muExactNum = exactFirst.size();
        mpIndex = b.mvIndexOpt.data();
        mpOptToExact = optToExact.data();
        muIndexNum = b.mvIndexOpt.size();
    }
    // The exact lists the march keeps when it only counts the block stage.
    void UseExact(const MarchingBlock_cls& b)
    {
        const MarchingArena_cls& a = *b.mpArena;
        mpPos = a.Pos() + b.muArenaVertexBegin * 3;
        mpNorm = b.mbArenaNormals ? a.Norm() + b.muArenaVertexBegin * 3 : nullptr;
        mpBorder = a.Border() + b.muArenaVertexBegin;
        muExactNum = b.muExactNum;
        mpIndex = a.Index() + b.muArenaIndexBegin;
        muIndexNum = b.muVertexNum;
    }
    size_t First(size_t e) const { return mpExactFirst ? mpExactFirst[e] : e; }
    size_t Exact(size_t k) const { return mpOptToExact ? mpOptToExact[mpIndex[k]] : mpIndex[k]; }
};

} // namespace

ThreadOptimizeFull::ThreadOptimizeFull(std::vector<MarchingBlock_cls>* blocks, const int size[3],
                                       MultiThreadCtrl_cls* ctrl, std::vector<float>* outPos,
                                       std::vector<float>* outNorm, std::vector<uint32_t>* outIndex)
    : mpvBlocks(blocks), miSize{size[0], size[1], size[2]}, mpCtrl(ctrl), mpvPos(outPos), mpvNorm(outNorm),
      mpvIndex(outIndex)
{
}

void ThreadOptimizeFull::Entry()
{
    std::vector<MarchingBlock_cls>& blocks = *mpvBlocks;
    const size_t blockNum = blocks.size();
    const size_t perSlab = blockNum >= 64 ? 64 : (blockNum ? blockNum : 1);
    std::vector<BlockMerge> merge(blockNum);

    bool normals = true;
    size_t indexTotal = 0;
    for (size_t bi = 0; bi < blockNum; ++bi) {
        const MarchingBlock_cls& b = blocks[bi];
        const bool exactOnly = b.mpArena != nullptr && b.muVertexNum > 0;
        if (exactOnly) {
            merge[bi].UseExact(b);
            if (!b.mbArenaNormals)
                normals = false;
        } else if (!b.mvPosOpt.empty() && b.mvNormOpt.size() != b.mvPosOpt.size()) {
            normals = false;
        }
        merge[bi].muIndexBegin = indexTotal;
        indexTotal += exactOnly ? b.muVertexNum : b.mvIndexOpt.size();
    }

    // -----------------------------------------------------------------------------------------
    // 2. Per block: the block stage looks back only a few vertices and leaves duplicates; remove
    //    them exactly, and flag the vertices on the block's six border planes.
    // -----------------------------------------------------------------------------------------
    auto plane = [&](int index, int axis) {
        // The same expression the march uses for a vertex on a voxel plane, so equality is exact.
        return static_cast<float>(static_cast<double>(index) / miSize[axis]);
    };
    // The workers take contiguous ranges; spreading them over all slabs balances the load when
    // the surface fills only part of the volume.
    auto spread = [blockNum](size_t k) { return blockNum == 512 ? ((k & 7) << 6) | (k >> 3) : k; };
    bool blockListsPresent = false;
    for (size_t bi = 0; bi < blockNum; ++bi)
        blockListsPresent |= merge[bi].mpIndex == nullptr && !blocks[bi].mvPosOpt.empty();
    // With the counted block stage every block is ready: no workers to start.
    if (blockListsPresent)
        mpCtrl->RunRanges(blockNum, [&](size_t first, size_t last) {
            IndexTable local;
            for (size_t k = first; k < last; ++k) {
                const size_t bi = spread(k);
                const MarchingBlock_cls& b = blocks[bi];
                BlockMerge& m = merge[bi];
                const size_t n = b.mvPosOpt.size() / 3;
                if (n == 0 || m.mpIndex != nullptr)
                    continue; // nothing welded, or the exact lists of the march are in use
                if (b.mvOptToExact.size() == n && b.mvExactFirst.size() == b.mvExactBorder.size()) {
                    // The march welded on the fly and already told which vertices coincide.
                    m.Use(b, b.mvOptToExact, b.mvExactFirst, b.mvExactBorder);
                    continue;
                }
                const float lo[3] = {plane(b.miBegin[0], 0), plane(b.miBegin[1], 1), plane(b.miBegin[2], 2)};
                const float hi[3] = {plane(b.miEnd[0], 0), plane(b.miEnd[1], 1), plane(b.miEnd[2], 2)};
                local.Reset(b.mvPosOpt.data(), n);
                m.mvOptToExact.resize(n);
                m.mvExactFirst.clear();
                m.mvBorder.clear();
                for (size_t u = 0; u < n; ++u) {
                    const float* p = &b.mvPosOpt[u * 3];
                    const auto fresh = static_cast<uint32_t>(m.mvExactFirst.size());
                    uint32_t e = local.FindOrInsert(static_cast<uint32_t>(u), fresh, m.mvOptToExact);
                    if (e == fresh) {
                        m.mvExactFirst.push_back(static_cast<uint32_t>(u));
                        bool border = false;
                        for (int a = 0; a < 3; ++a)
                            border |= p[a] == lo[a] || p[a] == hi[a];
                        m.mvBorder.push_back(border ? 1 : 0);
                    }
                    m.mvOptToExact[u] = e;
                }
                m.Use(b, m.mvOptToExact, m.mvExactFirst, m.mvBorder);
            }
        });

    // -----------------------------------------------------------------------------------------
    // 3. Global numbering in block order. Interior vertices are new by construction; border
    //    vertices are looked up among the border vertices of this slab and the slab below.
    // -----------------------------------------------------------------------------------------
    // One array for the global numbers of all blocks (each block its own range): one allocation
    // with huge-page advice instead of one per block.
    size_t exactTotal = 0;
    for (const BlockMerge& m : merge)
        exactTotal += m.muExactNum;
    // Sizing a vector fills it, which is also the first touch of its pages. A helper does that for
    // the three output lists while this thread numbers the vertices (the positions and normals at
    // the most they can need, the exactly unique vertices of all blocks; cut to size afterwards).
    std::vector<float>& pos = *mpvPos;
    std::vector<float>& norm = *mpvNorm;
    std::vector<uint32_t>& index = *mpvIndex;
    const size_t mostVertices = exactTotal;
    auto sizeOutputs = [&pos, &norm, &index, indexTotal, mostVertices, normals] {
        IsoSpareMemory_cls::Get().TakeLists(pos, norm, index);
        ReserveWithLargePages(index, indexTotal);
        index.resize(indexTotal);
        ReserveWithLargePages(pos, mostVertices * 3);
        pos.resize(mostVertices * 3);
        ReserveWithLargePages(norm, normals ? mostVertices * 3 : 0);
        norm.resize(normals ? mostVertices * 3 : 0);
    };
    // Border vertices of every block, counted once: per slab for the tables, and all of them so
    // that their global numbers go into one list that never reallocates (the copying lanes read it
    // while this thread appends).
    std::vector<size_t> blockBorder(blockNum, 0);
    size_t borderTotal = 0;
    for (size_t bi = 0; bi < blockNum; ++bi) {
        size_t n = 0;
        ForEachFlagged(merge[bi].mpBorder, merge[bi].muExactNum, [&n](size_t) { ++n; });
        blockBorder[bi] = n;
        borderTotal += n;
    }
    std::vector<uint32_t> borderGlobal; // per block in order: the global number of each border vertex
    borderGlobal.reserve(borderTotal);

    const double window = 3.0 / miSize[2];
    PositionTable current, below;
    double slabStartZ = -1.0;
    size_t count = 0;
    // Blocks numbered so far (in block order), blocks handed out for copying, and whether the
    // output lists have their size: the copying of a block starts as soon as it is numbered.
    std::atomic<size_t> numbered{0}, nextCopy{0};
    std::atomic<bool> sized{false};
    auto numberAll = [&] {
        for (size_t bi = 0; bi < blockNum; ++bi) {
            const MarchingBlock_cls& b = blocks[bi];
            BlockMerge& m = merge[bi];
            if (bi % perSlab == 0) {
                // A slab without cubes is nobody's neighbour: keep the tables as they are.
                bool slabHasCubes = false;
                size_t slabBorder = 0;
                for (size_t k = bi; k < bi + perSlab && k < blockNum; ++k) {
                    slabHasCubes |= blocks[k].GetCubeNumber() > 0;
                    slabBorder += blockBorder[k];
                }
                if (slabHasCubes) {
                    below.Swap(current);
                    current.Reset(slabBorder);
                    slabStartZ = static_cast<double>(b.miBegin[2]) / miSize[2];
                }
            }
            // Only the border vertices are looked up; their global numbers are kept in order.
            // Every other vertex is new, and a new vertex's number is the block's first one plus
            // the count of new vertices before it (its exact number minus the border vertices
            // found before it), which the copy works out again instead of storing a number per
            // vertex.
            m.muNewBegin = count;
            m.muBorderBegin = borderGlobal.size();
            const size_t exact = m.muExactNum;
            size_t found = 0;
            ForEachFlagged(m.mpBorder, exact, [&](size_t e) {
                const float* p = m.mpPos + m.First(e) * 3;
                uint32_t g = current.Find(p);
                if (g == UINT32_MAX && static_cast<double>(p[2]) <= slabStartZ + window)
                    g = below.Find(p);
                if (g == UINT32_MAX) {
                    g = static_cast<uint32_t>(m.muNewBegin + e - found);
                    current.Insert(p, g);
                } else {
                    ++found;
                }
                borderGlobal.push_back(g);
            });
            count += exact - found;
            m.muNewEnd = count;
            numbered.store(bi + 1, std::memory_order_release);
        }
    };

    // -----------------------------------------------------------------------------------------
    // 4. Copy the new vertices of each block to their global numbers and remap its triangles.
    // -----------------------------------------------------------------------------------------
    auto copyBlock = [&](size_t bi, std::vector<uint32_t>& global) {
        MarchingBlock_cls& b = blocks[bi];
        BlockMerge& m = merge[bi];
        // The block's new vertices have consecutive global numbers from muNewBegin, in exact
        // order; border vertices found in earlier blocks take those blocks' numbers.
        const size_t exactNum = m.muExactNum, newBegin = m.muNewBegin;
        if (global.size() < exactNum)
            global.resize(exactNum);
        const uint32_t* borderG = borderGlobal.data() + m.muBorderBegin;
        float* dstPos = pos.data();
        float* dstNorm = normals ? norm.data() : nullptr;
        size_t found = 0;
        for (size_t e = 0; e < exactNum; ++e) {
            size_t g = newBegin + e - found;
            if (m.mpBorder[e]) {
                const size_t known = *borderG++;
                if (known < newBegin) {
                    global[e] = static_cast<uint32_t>(known);
                    ++found;
                    continue;
                }
                g = known;
            }
            global[e] = static_cast<uint32_t>(g);
            const float* sp = m.mpPos + m.First(e) * 3;
            dstPos[g * 3] = sp[0];
            dstPos[g * 3 + 1] = sp[1];
            dstPos[g * 3 + 2] = sp[2];
            if (dstNorm) {
                const float* sn = m.mpNorm + m.First(e) * 3;
                dstNorm[g * 3] = sn[0];
                dstNorm[g * 3 + 1] = sn[1];
                dstNorm[g * 3 + 2] = sn[2];
            }
        }
        uint32_t* out = index.data() + m.muIndexBegin;
        const uint32_t* local = m.mpIndex;
        if (m.mpOptToExact) {
            for (size_t k = 0; k < m.muIndexNum; ++k)
                out[k] = global[m.mpOptToExact[local[k]]];
        } else {
            for (size_t k = 0; k < m.muIndexNum; ++k)
                out[k] = global[local[k]];
        }
        b.muFirstVertexFull = m.muNewBegin;
        b.muFaceBeginFull = m.muIndexBegin / 3;
        b.muFaceNumFull = m.muIndexNum / 3;
    };
    auto copyAll = [&] {
        while (!sized.load(std::memory_order_acquire))
            std::this_thread::yield();
        std::vector<uint32_t> global; // the block's exact vertex -> global number, reused block by block
        for (size_t k = nextCopy.fetch_add(1); k < blockNum; k = nextCopy.fetch_add(1)) {
            // Numbering runs ahead in block order; a block is rarely waited for, and briefly.
            while (numbered.load(std::memory_order_acquire) <= k)
                std::this_thread::yield();
            copyBlock(k, global);
        }
    };

    // Lane 0 (this thread) numbers and then copies; lane 1 first sizes the output lists (sizing
    // fills, which is also the first touch of fresh pages), and every other lane copies the
    // blocks as they are numbered. Alone, this thread does all three in turn.
    const size_t lanes = static_cast<size_t>(std::max(1, mpCtrl->GetThreadNum()));
    ThreadIsoLane::RunLanes(*mpCtrl, lanes, [&](size_t lane) {
        if (lane == (lanes > 1 ? 1u : 0u)) {
            sizeOutputs();
            sized.store(true, std::memory_order_release);
        }
        if (lane == 0)
            numberAll();
        copyAll();
    });
    pos.resize(count * 3);
    norm.resize(normals ? count * 3 : 0);
}
