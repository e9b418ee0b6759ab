#pragma once
// The preview's copy of one isosurface: the welded mesh of MarchingCube_cls uploaded into vertex
// buffers (client arrays when the driver has no buffer objects), drawn lit with its normals in
// the volume's box. Opaque surfaces write depth so the slices behind them are hidden; translucent
// ones are drawn in two passes (depth first, then colour where the depth matches), so only the
// nearest layer of the surface blends over the volume and nothing depends on triangle order.
//
// Everything runs on the thread that owns the GL context, with the context current.
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

class MarchingCube_cls;

class IsoMeshGL_cls
{
  public:
    IsoMeshGL_cls() = default;
    IsoMeshGL_cls(const IsoMeshGL_cls&) = delete;
    IsoMeshGL_cls& operator=(const IsoMeshGL_cls&) = delete;
    /// Frees the buffer objects (the context must be current, or already gone with them).
    ~IsoMeshGL_cls();

    /// Copies the surface of `mesh`: the fully welded lists when they exist, else the block
    /// lists (welded or not). gridSize: the voxel counts the mesh was extracted from, used to
    /// put its vertices on the voxel centres the slices show. The buffers are filled at the
    /// next Draw. Returns false (and holds an empty mesh) when the mesh has no triangles.
    bool SetMesh(const MarchingCube_cls& mesh, const unsigned gridSize[3]);
    /// Same from plain lists: positions as fractions of the grid (x y z per vertex), unit
    /// normals in the same layout (may be empty: flat shading from the triangles), three
    /// indices per triangle. Indices past the vertex list make the call fail.
    bool SetMesh(std::vector<float> positions, std::vector<float> normals, std::vector<uint32_t> indices,
                 const unsigned gridSize[3]);
    /// Drops the mesh and its buffers.
    void Clear();
    bool IsEmpty() const { return mvIndex.empty(); }
    size_t GetVertexCount() const { return mvPos.size() / 3; }
    size_t GetTriangleCount() const { return mvIndex.size() / 3; }
    /// Bumped by every SetMesh/Clear (callers compare it to see whether they hold the newest).
    uint64_t GetSerial() const { return muSerial; }

    /// One light source of the scene as the preview uses it.
    struct SceneLight {
        double dPos[3] = {0, 0, 0}; ///< world position (parallel lights: shining from there to the origin)
        float fRgb[3] = {1, 1, 1};  ///< colour times energy (clamped to 0..1 when drawn)
        unsigned uKind = 0;         ///< 0 point, 1 spot (aimed at the origin), 2 parallel
    };
    /// Most lights the fixed-function pipeline offers; further ones are left out of the preview.
    static constexpr size_t kMaxLights = 8;
    /// The scene's lights for every following Draw (empty: a white headlight). Set by the window
    /// before it draws a frame, with the time's values.
    static void SetSceneLights(std::vector<SceneLight> lights) { msvLights = std::move(lights); }
    static const std::vector<SceneLight>& GetSceneLights() { return msvLights; }

    /// Draws the surface in the unit box centred on the origin, scaled by `scale` per axis (the
    /// same scale the slices use), in colour rgb (0..1) with `alpha` (clamped to 0..1; 1 is
    /// opaque). Lighting, two-sided: the scene's lights in their colours where there are any
    /// (positions taken in the modelview in force, which holds the camera), else one white light
    /// at the viewer. Leaves the GL state as it found it. False when there is nothing to draw.
    bool Draw(const float rgb[3], float alpha, const double scale[3]);
    /// Whether the last Draw used buffer objects (false: client arrays).
    bool IsUsingBuffers() const { return mbUseBuffers; }

  private:
    void Upload();
    void ReleaseBuffers();
    void DrawElements();

    std::vector<float> mvPos;  ///< box coordinates, centred on the origin
    std::vector<float> mvNorm; ///< one unit normal per vertex
    std::vector<uint32_t> mvIndex;
    unsigned muBuffer[3] = {0, 0, 0}; ///< positions, normals, indices
    bool mbUploaded = false;
    bool mbUseBuffers = false;
    uint64_t muSerial = 0;
    static std::vector<SceneLight> msvLights;
};
