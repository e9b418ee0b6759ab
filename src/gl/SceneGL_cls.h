#pragma once
// The scene items of one data slot drawn around its volume: the isosurface meshes and the
// cross-section / three-view planes of the slot's filter chain. The meshes are not extracted
// here: the chain builds them on its workers whenever its reprocessing test says so (level,
// data or chain changed); this class only notices a new build (the item's build count) and
// uploads it again.
//
// Order in a paint: DrawOpaque before the volume (opaque surfaces write depth and hide the slices
// behind them), DrawTranslucent after it (translucent surfaces and planes over the slices).
//
// While the slot's worker runs the chain (SetItemsBusy), the items' results are being written:
// the views then draw the copies uploaded before, and nothing of the items' results is read.
//
// Everything runs on the thread that owns the GL context, with the context current.
#include "gl/IsoMeshGL_cls.h"
#include "gl/SectionGL_cls.h"

#include <array>
#include <map>
#include <memory>
#include <string>

class Coloring_cls;
class FilterBase_cls;
class FilterCtrl_cls;
class PovIsosurface_cls;

class SceneGL_cls
{
  public:
    /// What the last pass drew (tests and the window's state report).
    struct Counters {
        int miMeshes = 0;   ///< isosurface meshes drawn
        int miSections = 0; ///< section planes drawn
        int miUploads = 0;  ///< meshes copied from a new build since construction
        size_t muTriangles = 0;
    };

    SceneGL_cls() = default;
    SceneGL_cls(const SceneGL_cls&) = delete;
    SceneGL_cls& operator=(const SceneGL_cls&) = delete;

    /// Draws the opaque isosurfaces of `chain` (switched on, alpha 1). boxScale: the shared box
    /// scale (DF3GL_cls::GetBoxScale); colorIndex: the slot's colour choice; the surface colour
    /// is the colour map at the item's level times the item's own colour.
    void DrawOpaque(const FilterCtrl_cls& chain, const Coloring_cls& coloring, int colorIndex,
                    const std::array<double, 3>& boxScale);
    /// Draws the translucent isosurfaces and the section planes of `chain`.
    void DrawTranslucent(const FilterCtrl_cls& chain, const Coloring_cls& coloring, int colorIndex,
                         const std::array<double, 3>& boxScale);
    /// Whether the slot's worker is running the chain: the next draws use only the copies
    /// uploaded before (meshes, section planes, the data size they were made for).
    void SetItemsBusy(bool busy) { mbItemsBusy = busy; }
    /// Drops the copies of items that are gone (and their GL objects).
    void Prune(const FilterCtrl_cls& chain);
    /// Drops every copy (data closed, context going away).
    void Clear() { mCEntries.clear(); }
    const Counters& GetCounters() const { return mCCounters; }
    /// Resets the per-pass counts (meshes, sections, triangles), not the upload count.
    void ResetPassCounters();

    /// The surface colour of an isosurface item: colour map at its level times its colour.
    static void IsoColour(const PovIsosurface_cls& iso, const Coloring_cls& coloring, int colorIndex, float rgb[3]);

  private:
    struct Entry {
        std::wstring strTag;
        int iBuild = -1; ///< build count of the mesh held
        IsoMeshGL_cls CMesh;
        std::array<SectionGL_cls, 3> vSection;
        std::array<std::wstring, 3> vSectionKey; ///< what the section texels were baked from
        std::array<unsigned, 3> vSectionLayer{0, 0, 0}; ///< the voxel plane each section shows
        std::array<unsigned, 3> vSize{0, 0, 0};         ///< data size of the copies held
    };
    Entry& EntryFor(const FilterBase_cls* item);
    /// The entry of item when one is held for it (busy draws create none).
    Entry* HeldEntry(const FilterBase_cls* item);
    void DrawIso(const FilterCtrl_cls& chain, const Coloring_cls& coloring, int colorIndex,
                 const std::array<double, 3>& boxScale, bool opaque);
    void DrawSections(const FilterCtrl_cls& chain, const Coloring_cls& coloring, int colorIndex,
                      const std::array<double, 3>& boxScale);

    std::map<const FilterBase_cls*, std::unique_ptr<Entry>> mCEntries;
    Counters mCCounters;
    bool mbItemsBusy = false;
};
