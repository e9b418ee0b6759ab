#pragma once
// A plane through the data drawn as one textured quad: the cross-section item's plane and each
// of the three-view item's planes. The plane's bytes become RGBA texels through a colour index
// (the same colour maps the slices use); voxels below the threshold are left transparent so the
// volume shows through them.
//
// Everything runs on the thread that owns the GL context, with the context current.
#include <cstdint>
#include <vector>

class Coloring_cls;

class SectionGL_cls
{
  public:
    SectionGL_cls() = default;
    SectionGL_cls(const SectionGL_cls&) = delete;
    SectionGL_cls& operator=(const SectionGL_cls&) = delete;
    /// Frees the texture (the context must be current, or already gone with it).
    ~SectionGL_cls();

    /// Bakes the plane (width x height bytes, rows as FilterOutput_cls::GetSection gives them)
    /// into texels: colour of the density through `colorIndex` of `coloring` times the density
    /// when `multiplyDensity`, alpha 255 x alpha for voxels at or above threshold (0..1), else 0.
    /// The texture is (re)made at the next Draw. False for an empty plane.
    bool SetPlane(const std::vector<uint8_t>& plane, unsigned width, unsigned height, const Coloring_cls& coloring,
                  int colorIndex, float alpha, float threshold);
    /// The texels of the last SetPlane (RGBA rows, for checks).
    const std::vector<uint8_t>& GetTexels() const { return mvTexel; }
    unsigned GetWidth() const { return muWidth; }
    unsigned GetHeight() const { return muHeight; }

    /// Draws the plane across `axis` (0 x, 1 y, 2 z) at voxel plane `layerIndex` of `gridSize`
    /// voxels along it, in the unit box centred on the origin scaled by `scale`. Texture columns
    /// run along y (axis 0) or x, rows along z (axes 0, 1) or y. Blended, depth-tested without
    /// depth writes (it is as translucent as the slices). False when there is nothing to draw.
    bool Draw(int axis, unsigned layerIndex, unsigned gridSize, const double scale[3]);
    /// The voxel plane GetSection picks for a fraction 0..1 of n voxels.
    static unsigned LayerIndex(double layer, unsigned n);

  private:
    std::vector<uint8_t> mvTexel;
    unsigned muWidth = 0, muHeight = 0;
    unsigned muTexture = 0;
    bool mbDirty = false;
};
