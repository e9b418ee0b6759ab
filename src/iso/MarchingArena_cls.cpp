#include "iso/MarchingArena_cls.h"

#include <algorithm>

void MarchingArena_cls::Release()
{
    mCPos.Release();
    mCNorm.Release();
    mCBorder.Release();
    mCIndex.Release();
    Reset();
}

void MarchingArena_cls::MakeRoom(size_t vertices, size_t indices, bool normals)
{
    // Room for the rest of the lane's blocks at the rate of the blocks so far (this one included),
    // with a quarter to spare; only taken when the arena has to grow anyway. Untouched room costs
    // address space only.
    const size_t blocksLeft = muExpectedBlocks > muBlockNum ? muExpectedBlocks - muBlockNum : 1;
    auto want = [&](size_t used, size_t now) {
        const size_t perBlock = (used + now) / (muBlockNum + 1) + 1;
        // Never more than four times what is needed now: one dense block at the start must not
        // make a huge reservation for a surface that is sparse elsewhere.
        const size_t guess = std::min(perBlock * blocksLeft / 4 * 5, 4 * (used + now));
        return used + std::max(now, guess);
    };
    const size_t needVertices = muVertexNum + vertices, needIndices = muIndexNum + indices;
    if (needVertices * 3 > mCPos.Capacity() || (normals && needVertices * 3 > mCNorm.Capacity()) ||
        needVertices > mCBorder.Capacity()) {
        const size_t v = want(muVertexNum, vertices);
        mCPos.Reserve(v * 3, muVertexNum * 3);
        if (normals)
            mCNorm.Reserve(v * 3, muVertexNum * 3);
        mCBorder.Reserve(v, muVertexNum);
    }
    if (needIndices > mCIndex.Capacity())
        mCIndex.Reserve(want(muIndexNum, indices), muIndexNum);
}
