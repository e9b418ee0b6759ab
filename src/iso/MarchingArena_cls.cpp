#include "iso/MarchingArena_cls.h"

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
    mCPos.Reserve((muVertexNum + vertices) * 3, muVertexNum * 3);
    if (normals)
        mCNorm.Reserve((muVertexNum + vertices) * 3, muVertexNum * 3);
    mCBorder.Reserve(muVertexNum + vertices, muVertexNum);
    mCIndex.Reserve(muIndexNum + indices, muIndexNum);
}
