#pragma once
// Camera-facing slices through one 3D texture: planes normal to the view, cut with the clipped
// box by SliceGeometry_cls, drawn farthest first as triangle fans. The polygons are kept in one
// list shared by all sequences and recalculated only when the view, the slice count or the box
// changes (the last view is kept in a class-wide record). GL thread only.
//
// A frame's 3D texture may be cut along z into bricks (TexObjectGL_cls): each slice is then cut
// at the seams and every piece drawn from its own brick, its r coordinate mapped through the
// texture matrix. The pieces of one slice share their seam vertices exactly, so they neither
// overlap nor leave a gap.
#include "gl/SliceGeometry_cls.h"

#include <GL/gl.h>

#include <array>
#include <limits>
#include <vector>

/// One z brick of a frame's 3D texture as the slice drawing takes it.
struct TexBrickGL {
    GLuint uName = 0;
    /// The part of the volume it draws: z fractions [dFirst, dEnd] of the whole volume (the
    /// volume's own ends are infinite: nothing is cut there).
    double dFirst = -std::numeric_limits<double>::infinity();
    double dEnd = std::numeric_limits<double>::infinity();
    /// Its r texture coordinate from the whole volume's: r * dRScale + dROffset.
    double dRScale = 1.0;
    double dROffset = 0.0;
};

class Draw3DTexBoxA_cls
{
  public:
    /// Recalculates the shared slice list for the view direction `direction` (object coordinates
    /// pointing away from the viewer; its length scales the spacing to 2 / (n * |d|)), n slices
    /// and the clip box (fractions 0..1), unless these equal the last call's. Returns the list.
    static const std::vector<SlicePolygon>& CalcAllSlice(const Vec3d& direction, int n,
                                                         const std::array<double, 3>& clipMin,
                                                         const std::array<double, 3>& clipMax);
    /// The shared list as last calculated.
    static const std::vector<SlicePolygon>& GetSlices() { return msSlices; }
    /// How many times the list was really recalculated (the cache is visible to tests).
    static unsigned GetRecalcCount() { return msRecalcCount; }
    /// Forgets the last view so that the next CalcAllSlice recalculates.
    static void Invalidate() { msLast.mbValid = false; }
    /// One slice as a triangle fan; each vertex p gets the 3D texture coordinate p + 0.5 - centre.
    static void DrawSingleSlice(const SlicePolygon& slice, const Vec3d& centre);
    /// One slice from the bricks of a 3D texture: bound here, one piece per brick it crosses
    /// (the texture matrix maps r for each; it is the identity again afterwards). 3D texturing
    /// must be enabled.
    static void DrawBrickedSlice(const SlicePolygon& slice, const Vec3d& centre, const std::vector<TexBrickGL>& bricks);
    /// Every slice of the list, farthest first, from the bricks, with the passes of
    /// DF3GL_cls::DrawPasses. Returns the slices drawn.
    static int DrawAllSlice(const Vec3d& centre, const std::vector<TexBrickGL>& bricks, const float colour[3],
                            const float complement[3], float alpha, unsigned flags);

  private:
    struct ViewRecord {
        Vec3d mvDirection{};
        int miN = 0;
        std::array<double, 3> mvMin{};
        std::array<double, 3> mvMax{};
        bool mbValid = false;
    };
    static ViewRecord msLast;
    static std::vector<SlicePolygon> msSlices;
    static unsigned msRecalcCount;
};
