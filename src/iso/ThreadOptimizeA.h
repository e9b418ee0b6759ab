#pragma once
// Vertex welding inside one block.
#include "filter/MultiThreadCtrl_cls.h"
#include "iso/MarchingBlock_cls.h"

/// Welds the unshared vertices of one block into unique positions and block-local indices.
/// Each vertex is compared with the last kLookBack unique vertices only: the march emits the
/// vertices that neighbouring triangles share close together, so a short look-back finds most of
/// them while staying linear. Runs on a worker slot; writes only its own block.
class ThreadOptimizeA final : public MultiThreadThread_cls
{
  public:
    /// How many of the most recent unique vertices a vertex is compared with.
    static constexpr int kLookBack = 9;

    /// block: not owned; its mvPos (and mvNorm when present) are read, the *Opt arrays written.
    explicit ThreadOptimizeA(MarchingBlock_cls* block) : mpBlock(block) {}
    /// Welds the block and marks it done.
    void Entry() override;

  private:
    MarchingBlock_cls* mpBlock;
};
