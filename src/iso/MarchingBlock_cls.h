#pragma once
// The output of one block of the 8x8x8 split, through every stage of the extraction.
// Each block is written by exactly one worker at a time, so no member needs a lock.
#include <cstdint>
#include <vector>

class MarchingArena_cls;

class MarchingBlock_cls
{
  public:
    /// Block status after marching.
    enum Status : int {
        kCut = 0,       ///< the surface passes through the block
        kAllAbove = 1,  ///< every corner lies above the level
        kAllBelow = 2,  ///< every corner lies at or below the level
        kNotMarched = 3 ///< nothing has been extracted yet (or the grid has no cubes here)
    };

    /// Cube index range of the block along x, y, z: [miBegin, miEnd).
    int miBegin[3] = {0, 0, 0};
    int miEnd[3] = {0, 0, 0};
    /// Lowest and highest voxel value of the block (its cubes' corners).
    int miMin = 0;
    int miMax = 0;
    /// One of Status.
    int miStatus = kNotMarched;

    /// Unshared vertices (empty when the march welded on the fly): three per triangle, x y z each, as fractions of the
    /// grid extent.
    std::vector<float> mvPos;
    /// Unit normals in the same layout as mvPos (empty when normals were not asked for).
    std::vector<float> mvNorm;

    /// After block welding: unique positions, their normals and three block-local indices per triangle.
    std::vector<float> mvPosOpt;
    std::vector<float> mvNormOpt;
    std::vector<uint32_t> mvIndexOpt;
    /// Left by the march when it welds on the fly (empty otherwise): for each block-welded vertex
    /// its number among the block's exactly unique positions, for each of those the first
    /// block-welded vertex with it and whether it lies on one of the block's six border planes.
    /// The full weld uses them instead of hashing the positions again.
    std::vector<uint32_t> mvOptToExact;
    std::vector<uint32_t> mvExactFirst;
    std::vector<uint8_t> mvExactBorder;
    /// With kFlagWeldCountOnly the block-welded lists are not kept: their vertex count, and the
    /// block's exactly unique vertices in order of first appearance (positions, normals, border
    /// flags) with one exact number per unshared vertex, which is all the full weld needs. They
    /// lie in the arena of the lane that marched the block, from vertex muArenaVertexBegin and
    /// corner muArenaIndexBegin on (muExactNum vertices, muVertexNum corners). Null (and 0)
    /// otherwise.
    size_t muVertexOptNum = 0;
    const MarchingArena_cls* mpArena = nullptr;
    size_t muArenaVertexBegin = 0;
    size_t muArenaIndexBegin = 0;
    size_t muExactNum = 0;
    bool mbArenaNormals = false;
    /// Set once the block has been welded (a second OptimizeVertices pass skips it).
    bool mbOptDone = false;

    /// After full welding: number of the block's first triangle in the global face list and its
    /// triangle count, and the global number of the first vertex that the block introduced.
    size_t muFaceBeginFull = 0;
    size_t muFaceNumFull = 0;
    size_t muFirstVertexFull = 0;

    /// Unshared vertices the march produced (three per triangle); also counted when the march
    /// welded on the fly and mvPos stayed empty.
    size_t muVertexNum = 0;

    /// Unshared vertex count.
    size_t GetVertexNumber() const { return muVertexNum; }
    /// Number of cubes in the block.
    size_t GetCubeNumber() const
    {
        size_t n = 1;
        for (int a = 0; a < 3; ++a)
            n *= static_cast<size_t>(miEnd[a] > miBegin[a] ? miEnd[a] - miBegin[a] : 0);
        return n;
    }
};
