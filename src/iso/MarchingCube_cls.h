#pragma once
// Isosurface extraction by marching cubes over one-byte voxel data, with vertex welding and the
// mesh2 / Wavefront OBJ text of the welded surface.
#include "filter/MultiThreadCtrl_cls.h"
#include "iso/MarchingArena_cls.h"
#include "iso/MarchingBlock_cls.h"
#include "iso/MarchingScratch_cls.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Turns voxel bytes into a triangle mesh with per-vertex normals. Use from one thread at a time
/// (normally the one that runs the filter chain); the work itself fans out to worker slots.
/// Stages: ThreadControlMain (unshared triangles per block) -> OptimizeVertices (welding inside
/// each block) -> OptimizeVerticesFull (one welded list for the whole surface) -> text.
class MarchingCube_cls
{
  public:
    /// Parts per axis of the block split, and the block count.
    static constexpr int kDiv = 8;
    static constexpr int kBlockNum = kDiv * kDiv * kDiv;
    /// Option bit for ThreadControlMain: compute per-vertex normals.
    static constexpr unsigned kFlagNormals = 1u;
    /// Option bit for ThreadControlMain: weld inside each block while marching. The block lists
    /// are the same as OptimizeVertices() gives, but the unshared arrays are never stored (they
    /// are the largest arrays of the extraction), so only the counts of that stage remain.
    static constexpr unsigned kFlagWeldInBlock = 2u;
    /// Option bit for ThreadControlMain: march cube by cube instead of classifying each block
    /// first. Same results, bit for bit, and slower; kept as the reference of the fast march.
    static constexpr unsigned kFlagCubeByCube = 4u;
    /// Option bit for ThreadControlMain, with kFlagWeldInBlock: keep only the count of the
    /// block-welded vertices (GetVertexNumberOpt) and, instead of the block lists, the exactly
    /// welded block vertices that OptimizeVerticesFull merges. The fully welded surface is the
    /// same; for callers that want the counts and the final mesh only (the command-line tool).
    static constexpr unsigned kFlagWeldCountOnly = 8u;
    /// Decimals written for positions and normals.
    static constexpr int kPrecisionPosition = 6;
    static constexpr int kPrecisionNormal = 3;

    MarchingCube_cls();
    /// Leaves the lanes' arenas and the welded-list arrays to IsoSpareMemory_cls for the next
    /// extractor of the process.
    ~MarchingCube_cls();
    MarchingCube_cls(const MarchingCube_cls&) = delete;
    MarchingCube_cls& operator=(const MarchingCube_cls&) = delete;

    /// Extracts the surface of `data` (nx*ny*nz bytes, x fastest, not kept after the call) at
    /// `level` in 0..1 (byte level trunc(255*level)). Previous results of every stage are
    /// dropped. Worker count from "ThreadNumFilter=". Returns false (and extracts nothing) for
    /// a null pointer, a size below 2 along an axis or a level outside 0..1.
    bool ThreadControlMain(const unsigned char* data, int nx, int ny, int nz, float level, unsigned flags);
    /// Welds the vertices inside each block that has vertices and is not welded yet.
    void OptimizeVertices();
    /// Merges the welded blocks into one list (runs OptimizeVertices first when needed).
    void OptimizeVerticesFull();

    /// Releases the results of every stage. keepCapacity != 0 keeps the block arrays allocated
    /// for the next extraction of a similar surface; 0 frees them (and the lanes' arenas).
    void Clear(int keepCapacity);
    /// Releases the block-welded lists.
    void ClearOpt();
    /// Releases the fully welded lists (their arrays go to IsoSpareMemory_cls, which keeps the
    /// largest set for the next full weld in the process).
    void ClearOptFull();

    /// Unshared vertex count (three per triangle).
    size_t GetVertexNumber() const;
    /// Vertex count after welding inside blocks.
    size_t GetVertexNumberOpt() const;
    /// Vertex and triangle count after full welding.
    size_t GetVertexNumberOptFull() const { return mvPosFull.size() / 3; }
    size_t GetFaceNumberOptFull() const { return mvIndexFull.size() / 3; }
    /// Unshared vertices per cube of the grid (0 when nothing was extracted).
    double GetVertexDensity() const;
    /// The highest unshared-vertices-per-cube ratio of a single block.
    double GetMaxVertexDensity() const;
    /// Number of blocks that were marched (the level lay within their value range).
    int GetMarchedBlockNumber() const { return miMarchedBlocks; }
    /// Whether the last extraction computed normals.
    bool HasNormals() const { return mbNormals; }
    /// The byte level of the last extraction.
    int GetByteLevel() const { return miLevel; }

    /// Block i of the split (z-slab, then y, then x order).
    const MarchingBlock_cls& GetBlock(int i) const { return mvBlocks[static_cast<size_t>(i)]; }
    /// The fully welded surface: positions (x y z per vertex, fractions of the grid extent),
    /// unit normals in the same layout (empty without normals), three indices per triangle.
    const std::vector<float>& GetPositionsFull() const { return mvPosFull; }
    const std::vector<float>& GetNormalsFull() const { return mvNormFull; }
    const std::vector<uint32_t>& GetIndicesFull() const { return mvIndexFull; }

    /// Lowest and highest voxel of every block's cubes (the block ranges must be set).
    void GetMinMaxValue(const unsigned char* data);

    /// mesh2 declaration "ISOSURF_<name><suffix>" of the fully welded surface (UTF-8, written to
    /// *out). Normals are written when withNormals is set and the surface has them. The two
    /// ten-digit header fields hold the byte offsets of the normal and index sections.
    bool GetStrPovMesh2(std::string* out, const std::wstring& name, const std::wstring& suffix, bool withNormals) const;
    /// Wavefront OBJ text of the fully welded surface (vertices counted from 1).
    bool GetStrWaveFrontObj(std::string* out, bool withNormals) const;

    /// Writes text to a new file; never replaces an existing one. 0: written, 1: the file exists,
    /// 2: it could not be created or written (a partial file is removed).
    static int WriteNewFile(const std::string& path, const std::string& text);

  private:
    void SetBlockRanges();

    MultiThreadCtrl_cls mCThreadCtrl;
    MarchingScratchPool_cls mCScratchPool;
    /// One per worker lane: the counted block stage's output (kept for the next extraction).
    /// Taken from IsoSpareMemory_cls when first needed; blocks point into them, so they never move.
    std::vector<std::unique_ptr<MarchingArena_cls>> mvArena;
    std::vector<MarchingBlock_cls> mvBlocks;
    std::vector<float> mvPosFull;
    std::vector<float> mvNormFull;
    std::vector<uint32_t> mvIndexFull;
    int miSize[3] = {0, 0, 0};
    int miLevel = 0;
    int miMarchedBlocks = 0;
    bool mbNormals = false;
};
