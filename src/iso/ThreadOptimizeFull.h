#pragma once
// Vertex welding across blocks: merges the block lists into one list for the whole surface.
#include "filter/MultiThreadCtrl_cls.h"
#include "iso/MarchingBlock_cls.h"

#include <cstdint>
#include <vector>

/// Merges the block-welded lists of every block into one list of unique positions (exact on all
/// three coordinates), their normals and global triangle indices, and records per block its first
/// vertex and face range. Blocks come z-slab by z-slab, so a vertex can only equal a vertex of its
/// own slab or of the slab just below; candidates more than 3/n below a vertex are never searched.
/// Runs as one worker (or on the caller's thread through Entry()).
class ThreadOptimizeFull final : public MultiThreadThread_cls
{
  public:
    /// blocks: the 8x8x8 blocks in z-slab, y, x order (not owned); gridZ: grid size n along z;
    /// out*: cleared and filled (not owned).
    ThreadOptimizeFull(std::vector<MarchingBlock_cls>* blocks, int gridZ, std::vector<float>* outPos,
                       std::vector<float>* outNorm, std::vector<uint32_t>* outIndex);
    /// Merges every block.
    void Entry() override;

  private:
    std::vector<MarchingBlock_cls>* mpvBlocks;
    int miGridZ;
    std::vector<float>* mpvPos;
    std::vector<float>* mpvNorm;
    std::vector<uint32_t>* mpvIndex;
};
