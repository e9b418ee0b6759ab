#pragma once
// Worker that marches the cubes of one block and the case tables of the marching-cubes method.
#include "filter/MultiThreadCtrl_cls.h"
#include "iso/MarchingArena_cls.h"
#include "iso/MarchingBlock_cls.h"
#include "iso/MarchingScratch_cls.h"

#include <cstdint>
#include <vector>

/// Marches every cube of one block into the block's unshared vertex and normal arrays.
/// Runs on a worker slot of MultiThreadCtrl_cls; reads the voxels, writes only its own block.
class ThreadMarching final : public MultiThreadThread_cls
{
  public:
    /// For each corner pattern (bit i = corner i at or below the level) the set of cut edges.
    static const int aiCubeEdgeFlags[256];
    /// For each corner pattern up to five triangles as edge triples, ended by -1.
    static const signed char a2iTriangleConnectionTable[256][16];
    /// The twelve edges as pairs of corners.
    static const int a2iEdgeConnection[12][2];
    /// Unit direction of each edge, from its first corner to its second.
    static const float a2fEdgeDirection[12][3];
    /// Corner offsets (x, y, z) of the eight corners.
    static const int VOffset[8][3];

    /// Option bit: compute a normal for every vertex.
    static constexpr unsigned kFlagNormals = 1u;
    /// Option bit: weld each vertex against the last ThreadOptimizeA::kLookBack unique vertices
    /// as it is emitted, writing the block-welded lists instead of the unshared arrays.
    static constexpr unsigned kFlagWeldInBlock = 2u;
    /// Option bit: march cube by cube (MarchCubeLOOPY), computing each cube's corners and edge
    /// vertices as it goes. The default classifies the whole block first and computes each cut
    /// edge once; both give the same arrays, bit for bit. Kept as the reference for that claim.
    static constexpr unsigned kFlagCubeByCube = 4u;
    /// Option bit, with kFlagWeldInBlock (classified march only): count the block-welded vertices
    /// and keep the block's exactly welded vertices instead of the block lists.
    static constexpr unsigned kFlagWeldCountOnly = 8u;

    /// data: nx*ny*nz voxels, x fastest (not owned, must outlive the worker); size: nx, ny, nz;
    /// level: the byte level L (0..255); out: the block, whose miBegin/miEnd give the cubes.
    /// pool: where the work arrays are borrowed from (not owned; null: the worker allocates its own).
    /// arena: where the counted block stage appends the block's exact vertices (not owned; without
    /// one, kFlagWeldCountOnly is ignored and the block keeps its block-welded lists).
    ThreadMarching(const unsigned char* data, const int size[3], int level, unsigned flags, MarchingBlock_cls* out,
                   MarchingScratchPool_cls* pool = nullptr, MarchingArena_cls* arena = nullptr);

    /// Marches the whole block and sets its status.
    void Entry() override;

    /// Offset of the surface from corner value a towards corner value b at level L, in double
    /// precision: (L - a) / (b - a), or 0.5 when a == b.
    static double GetEdgeOffset(int a, int b, int level);
    /// Trilinear sample at voxel (ix + fx, iy + fy, iz + fz), fractions in [0, 1); indices outside
    /// the grid are clamped to its border.
    static float GetInterpolatedValue2(const unsigned char* data, const int size[3], const int index[3],
                                       const float frac[3]);
    /// Unit normal at voxel index + fraction: central differences over +-0.5 voxel, scaled by the
    /// grid size, pointing from higher towards lower density; (0, 0, 1) where the gradient is zero.
    static void GetNormalPrecise2(const unsigned char* data, const int size[3], const int index[3], const float frac[3],
                                  float normal[3]);

    /// Marches one cube; returns 0 when cut, 1 when all corners lie above L, 2 when all at or below.
    int MarchCube(int x, int y, int z);
    /// Marches one row of cubes (odd offsets first, skipping cubes proven uniform); returns 0 when
    /// any cube was cut, otherwise the common code of the row.
    int MarchCubeLOOPX1(int y, int z);
    /// Marches one layer of rows the same way; returns 0 when any row was cut, else the common code.
    int MarchCubeLOOPY(int z);

  private:
    // One computed edge vertex. Vertices are cached per edge for the current layer of cubes: the
    // four cubes around an edge then compute its position and normal once instead of four times.
    struct EdgeVertex {
        float mfPos[3];
        float mfNorm[3];
    };
    /// Number of triangles the block will produce (for reserving its arrays).
    size_t CountTriangles() const;
    /// The reference march: every cube on its own, through MarchCubeLOOPY.
    void MarchBlockCubeByCube();
    /// The default march: classify the block, compute each cut edge once, emit in march order.
    void MarchBlockClassified(MarchingScratch_cls& s);
    /// Computes the vertices of the cut x and y edges of voxel layer z (absolute) of the block.
    void ComputeLayerEdges(MarchingScratch_cls& s, int z);
    /// Computes the vertices of the cut z edges between voxel layers z and z + 1.
    void ComputeVerticalEdges(MarchingScratch_cls& s, int z);
    /// Computes the normals that AddVertex queued.
    void FlushNormals(MarchingScratch_cls& s) const;
    /// Appends the vertex on the edge from voxel (x, y, z) one step along axis A to the block's
    /// vertices; returns its number and canonical number.
    template <int A> MarchingScratch_cls::EdgeRef AddVertex(MarchingScratch_cls& s, int x, int y, int z) const;
    /// Drops the cached edges that the next layer of cubes cannot share (called when the march
    /// moves up one layer of cubes).
    void AdvanceLayer();
    /// The vertex on edge e of cube (x, y, z), computed or taken from the cache.
    const EdgeVertex& GetEdgeVertex(int e, int x, int y, int z, const int v[8]);
    /// Appends one vertex to the block's output (unshared, or welded on the fly).
    void Emit(const EdgeVertex& ev);

    const unsigned char* mpData;
    int miSize[3];
    size_t muSliceStride;
    int miLevel;
    bool mbNormals;
    bool mbWeld;
    bool mbCubeByCube;
    bool mbCountOnly;
    MarchingScratchPool_cls* mpPool;
    MarchingArena_cls* mpArena;
    size_t muEmitted = 0; ///< unshared vertices emitted so far
    MarchingBlock_cls* mpOut;
    int miCacheW = 0;                   ///< voxel points per cache row (block width + 1)
    int miCacheZ = 0;                   ///< the cube layer the cache holds
    std::vector<EdgeVertex> mvCache;    ///< [even x, even y, odd x, odd y, vertical] planes
    std::vector<unsigned char> mvValid; ///< one flag per cache entry
    size_t muPlane = 0;                 ///< entries per plane
};
