#pragma once
// Vertex welding across blocks: merges the block lists into one list for the whole surface.
#include "filter/MultiThreadCtrl_cls.h"
#include "iso/MarchingBlock_cls.h"

#include <cstdint>
#include <vector>

/// Merges the block-welded lists of every block into one list of unique positions (exact on all
/// three coordinates), their normals and global triangle indices, and records per block its first
/// vertex and face range. Vertices are numbered in order of first appearance, block by block.
///
/// Only a vertex on a block's border planes can equal a vertex of another block, and blocks come
/// z-slab by z-slab, so such a vertex is searched among the border vertices of its own slab and,
/// when it lies within 3/n of the slab's bottom, of the slab below; older slabs are dropped.
/// The per-block work (exact de-duplication, copying, index remapping) runs on the worker slots
/// of the given controller; only the numbering of border vertices is sequential, and the other
/// lanes copy each block as soon as it is numbered.
class ThreadOptimizeFull final : public MultiThreadThread_cls
{
  public:
    /// blocks: the 8x8x8 blocks in z-slab, y, x order (not owned); size: grid sizes nx, ny, nz;
    /// ctrl: worker slots for the per-block passes (not owned); out*: cleared and filled.
    ThreadOptimizeFull(std::vector<MarchingBlock_cls>* blocks, const int size[3], MultiThreadCtrl_cls* ctrl,
                       std::vector<float>* outPos, std::vector<float>* outNorm, std::vector<uint32_t>* outIndex);
    /// Merges every block.
    void Entry() override;

  private:
    std::vector<MarchingBlock_cls>* mpvBlocks;
    int miSize[3];
    MultiThreadCtrl_cls* mpCtrl;
    std::vector<float>* mpvPos;
    std::vector<float>* mpvNorm;
    std::vector<uint32_t>* mpvIndex;
};
