#pragma once
// Where the blocks of one worker lane put their exactly welded vertices and their triangle corners
// when the march only counts the block stage. One arena per lane instead of four arrays per block:
// the blocks' outputs fill a few large buffers (huge pages where the system offers them) that are
// kept for the next extraction, instead of hundreds of small fresh allocations page-faulted one
// 4 KB page at a time.
#include "iso/LargeBuffer_cls.h"

#include <cstddef>
#include <cstdint>

/// The appended outputs of the blocks of one lane; a block records where its part begins.
/// Written by one worker at a time; read by the full weld after the march.
class MarchingArena_cls
{
  public:
    /// Forgets the contents (the memory stays for the next extraction).
    void Reset()
    {
        muVertexNum = 0;
        muIndexNum = 0;
        muBlockNum = 0;
    }
    /// How many blocks the lane is expected to take in this extraction: when the arena must grow,
    /// it grows at once to what that many blocks like the ones so far would need, instead of
    /// doubling (and copying) its way up.
    void SetExpectedBlocks(size_t blocks) { muExpectedBlocks = blocks; }
    /// Frees the memory.
    void Release();
    /// Makes room for `vertices` more exact vertices (with normals when `normals`) and `indices`
    /// more triangle corners after the current contents.
    void MakeRoom(size_t vertices, size_t indices, bool normals);
    /// Appends what a block wrote after the current contents (MakeRoom gave the room).
    void Commit(size_t vertices, size_t indices)
    {
        muVertexNum += vertices;
        muIndexNum += indices;
        ++muBlockNum;
    }

    /// Positions and normals (x y z per vertex), border flags (one per vertex) and exact vertex
    /// numbers (one per triangle corner, counted from the block's first vertex).
    float* Pos() { return mCPos.Data(); }
    float* Norm() { return mCNorm.Data(); }
    uint8_t* Border() { return mCBorder.Data(); }
    uint32_t* Index() { return mCIndex.Data(); }
    const float* Pos() const { return mCPos.Data(); }
    const float* Norm() const { return mCNorm.Data(); }
    const uint8_t* Border() const { return mCBorder.Data(); }
    const uint32_t* Index() const { return mCIndex.Data(); }
    /// Vertices and corners stored so far.
    size_t GetVertexNumber() const { return muVertexNum; }
    size_t GetIndexNumber() const { return muIndexNum; }
    /// Bytes of storage the arena holds (used or not).
    size_t GetCapacityBytes() const
    {
        return mCPos.Capacity() * sizeof(float) + mCNorm.Capacity() * sizeof(float) + mCBorder.Capacity() +
               mCIndex.Capacity() * sizeof(uint32_t);
    }

  private:
    LargeBuffer_cls<float> mCPos;
    LargeBuffer_cls<float> mCNorm;
    LargeBuffer_cls<uint8_t> mCBorder;
    LargeBuffer_cls<uint32_t> mCIndex;
    size_t muVertexNum = 0;
    size_t muIndexNum = 0;
    size_t muBlockNum = 0;
    size_t muExpectedBlocks = 0;
};
