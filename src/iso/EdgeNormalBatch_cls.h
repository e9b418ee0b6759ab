#pragma once
// Gradient normals of edge vertices, four at a time.
#include <cstddef>
#include <cstdint>
#include <vector>

/// Computes the normals of vertices that lie on grid edges (two integer coordinates, a fraction
/// along the third axis) with the trilinear central differences of
/// ThreadMarching::GetNormalPrecise2, bit for bit, but four vertices per step with vector
/// instructions. Vertices whose samples stay inside the grid are queued and computed by Flush;
/// the others (next to a grid face, where the samples are clamped) are left to the caller.
/// One object per worker; not shared between threads.
class EdgeNormalBatch_cls
{
  public:
    /// The grid the normals are taken from (x fastest, not owned; must outlive the queued work).
    void SetGrid(const unsigned char* data, const int size[3]);
    /// Queues the normal of the vertex at voxel `index` plus `frac` (in [0, 1]) along `axis`
    /// (0..2), to be written as three floats at `normals + id * stride` by Flush. Returns false
    /// (and queues nothing) when its samples would reach past the grid; the caller then computes
    /// that normal itself.
    bool Queue(int axis, const int index[3], float frac, uint32_t id);
    /// Queue for an axis known at compile time (the march's per-axis edge loops).
    template <int A> bool QueueOn(const int index[3], float frac, uint32_t id)
    {
        int base[3] = {index[0], index[1], index[2]};
        if (frac >= 1.0f) { // a fraction of exactly 1 moves to the next voxel
            frac -= 1.0f;
            ++base[A];
        }
        // Along the edge the samples reach one voxel below and two above the base; across it one
        // voxel either side: base - 1 must lie in [0, limit) (the unsigned compare takes both ends).
        const bool inside = static_cast<unsigned>(base[0] - 1) < muLimit[A == 0][0] &&
                            static_cast<unsigned>(base[1] - 1) < muLimit[A == 1][1] &&
                            static_cast<unsigned>(base[2] - 1) < muLimit[A == 2][2];
        if (!inside)
            return false;
        const size_t offset = static_cast<size_t>(base[2]) * muSlice +
                              static_cast<size_t>(base[1]) * static_cast<size_t>(miSize[0]) +
                              static_cast<size_t>(base[0]);
        mvItem[A].push_back(Item{offset, frac, id});
        return true;
    }
    /// Computes every queued normal and writes it; the queue is empty afterwards.
    void Flush(float* normals, size_t stride);
    /// Number of normals waiting for Flush.
    size_t GetQueued() const { return mvItem[0].size() + mvItem[1].size() + mvItem[2].size(); }

    /// The normals of n edge vertices (axis of each, voxel index, fraction in [0, 1]) written to
    /// normal[i]; the same floats as GetNormalPrecise2 gives for each. Queued ones are computed
    /// four at a time, the others one by one.
    static void Compute(const unsigned char* data, const int size[3], const int* axis, const int (*index)[3],
                        const float* frac, size_t n, float (*normal)[3]);

  private:
    struct Item {
        size_t muOffset; ///< voxel number of the sample base (after a fraction of 1 moved on)
        float mfFrac;    ///< fraction along the edge axis, in [0, 1)
        uint32_t muId;   ///< where the normal goes
    };
    template <int A> void FlushAxis(float* normals, size_t stride);

    const unsigned char* mpData = nullptr;
    int miSize[3] = {0, 0, 0};
    size_t muSlice = 0;
    /// Per axis, the count of bases whose samples stay inside: [0] across an edge, [1] along it.
    unsigned muLimit[2][3] = {{0, 0, 0}, {0, 0, 0}};
    std::vector<Item> mvItem[3];
};
