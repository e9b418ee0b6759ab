#pragma once
// Work arrays of one block march, and the pool that lends them to the block workers so that
// the 512 workers of an extraction reuse a few sets instead of allocating (and page-faulting)
// fresh ones per block.
#include "iso/EdgeNormalBatch_cls.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

/// The per-block work arrays of ThreadMarching; contents are meaningless between blocks.
class MarchingScratch_cls
{
  public:
    /// One vertex on a cut edge: position (fractions of the grid extent) and unit normal.
    struct Vertex {
        float mfPos[3];
        float mfNorm[3];
        int miGridEnd;    ///< 0 or 1: the position coincides with that end of its edge (a voxel); -1: it does not
        uint32_t muCanon; ///< the number of the first vertex at the same position (its own for most)
    };
    /// 0xFF where a block point lies at or below the level, else 0; x fastest over the block's points.
    std::vector<uint8_t> mvInside;
    /// Corner pattern of each cube of the block, x fastest.
    std::vector<uint8_t> mvCase;
    /// Per row of cubes (y fastest, then z): the cut cubes as bits, 64 cubes a word.
    std::vector<uint64_t> mvCutMask;
    /// A cut edge's vertex number and canonical number, read together for every triangle corner.
    struct EdgeRef {
        uint32_t muId;
        uint32_t muCanon;
    };
    /// Per canonical vertex number: the newest block-welded vertex with it and its number among the
    /// block's exactly unique vertices (kNoVertex-style UINT32_MAX while none).
    struct CanonState {
        uint32_t muLast;
        uint32_t muExact;
    };
    /// The vertex of each cut edge of the two voxel layers and the cube layer in work.
    std::vector<EdgeRef> mvEdgeVertex;
    /// Vertices of the cut edges, in the order they were computed.
    std::vector<Vertex> mvVertex;
    /// Block-welded output under construction: unique positions and normals.
    std::vector<float> mvUniquePos;
    std::vector<float> mvUniqueNorm;
    /// Indexed by canonical vertex number.
    std::vector<CanonState> mvCanon;
    /// Per axis: the position (fraction of the extent) of the block's voxel planes.
    std::vector<float> mvGridPos[3];
    /// Per block point: the first vertex lying exactly on it (kept all-empty between blocks).
    std::vector<uint32_t> mvPointVertex;
    /// Per block point: the first vertex exactly on it (fraction 0 or 1), whose normal the others
    /// exactly there share (kept all-empty between blocks, like mvPointVertex).
    std::vector<uint32_t> mvPointNormal;
    /// The points of mvPointVertex (and mvPointNormal) set during this block.
    std::vector<size_t> mvPointTouched;
    /// Vertices whose normal is copied from another one's after the batch: (to, from).
    std::vector<std::pair<uint32_t, uint32_t>> mvNormalCopy;
    /// Normals of the vertices computed so far that still wait for their batch.
    EdgeNormalBatch_cls mCNormals;
};
// The batch writes normals into mvVertex through a float stride.
static_assert(sizeof(MarchingScratch_cls::Vertex) % sizeof(float) == 0 &&
              offsetof(MarchingScratch_cls::Vertex, mfNorm) % sizeof(float) == 0);

/// Lends scratch sets to workers; any thread may call it.
class MarchingScratchPool_cls
{
  public:
    /// A free set (a new one when all are lent out). Give it back with Release.
    std::unique_ptr<MarchingScratch_cls> Acquire();
    /// Returns a set for the next worker.
    void Release(std::unique_ptr<MarchingScratch_cls> scratch);
    /// Frees every set that is not lent out.
    void Clear();

  private:
    std::mutex mMutex;
    std::vector<std::unique_ptr<MarchingScratch_cls>> mvFree;
};
