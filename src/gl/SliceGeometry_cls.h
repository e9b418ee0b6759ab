#pragma once
// Where the slices of the slice-stack drawing go: pure geometry with no GL calls, so it can be
// checked without a display. The drawing code asks this class which slices to draw and with
// which polygons, then only binds textures and emits vertices.
//
// Sections: lattice slices (axis-parallel stacks); camera-facing slices (planes normal to the
// view cut with the clipped box); colours.
#include "pov/Camera_cls.h"

#include <array>
#include <vector>

/// One camera-facing slice: its corners in drawing coordinates (unit box centred on the
/// origin), ordered along the outline counter-clockwise as seen by the viewer.
using SlicePolygon = std::vector<Vec3d>;

class SliceGeometry_cls
{
  public:
    /// Number of slice-count choices of "PreviewNormalQuality=".
    static constexpr int kNQualityCount = 13;

    // --- lattice slices --------------------------------------------------------------------
    /// The slice indices drawn along one axis, farthest first. n: slices along that axis (after
    /// down-sizing); clipMin, clipMax: clip fractions 0..1 of that axis; step: every step-th
    /// slice is drawn (>= 1; smaller values count as 1); fromLow: the low end is the far end.
    /// With m = floor(n*clipMin), M = floor(n*clipMax): from the high end M-step, M-2*step, ...
    /// while >= m; from the low end m, m+step, ... while < M.
    static std::vector<int> LatticeSlices(int n, double clipMin, double clipMax, int step, bool fromLow);
    /// Depth of slice i of n along its axis, as a fraction 0..1 of the unit cube: (i + 0.5) / n.
    static double SliceDepth(int i, int n) { return (i + 0.5) / n; }
    /// The axis (0 x, 1 y, 2 z) most nearly along the view direction, and whether its low end is
    /// the far end (true when the view looks toward lower coordinates along it).
    static int ChooseAxis(const Vec3d& viewDirection, bool& fromLow);

    // --- camera-facing slices --------------------------------------------------------------
    /// The slice count of a "PreviewNormalQuality=" index (32 ... 2048); out-of-range indices
    /// are clamped to the list.
    static int GetNQuality(unsigned index);
    /// Cuts the clipped box with planes normal to the view, farthest first, into `slices`
    /// (cleared first). viewDirection points from the eye into the scene; its length scales
    /// the spacing 2 / (n * |d|) and the range of plane numbers k from floor(0.87*n*|d|) down to
    /// -0.87*n*|d| (0.87 is a little above half the unit cube's diagonal, so every plane that
    /// can cut the box is tried). clipMin/clipMax: clip fractions 0..1 per axis; the box used is
    /// clip - 0.5. Planes that miss the box add nothing. Returns false (and no slices) for a
    /// zero direction or n < 1.
    static bool CalcAllSlice(const Vec3d& viewDirection, int n, const std::array<double, 3>& clipMin,
                             const std::array<double, 3>& clipMax, std::vector<SlicePolygon>& slices);
    /// The polygon where the plane {p : dot(p, unitNormal) = offset} cuts the box [lo, hi]:
    /// counter-clockwise as seen looking along unitNormal; empty when the plane misses the box
    /// or only touches it in a point or an edge.
    static SlicePolygon CalcSingleSlice(const Vec3d& unitNormal, double offset, const Vec3d& lo, const Vec3d& hi);
    /// The part of the convex polygon `slice` with lo <= p[axis] <= hi into `piece` (cleared
    /// first), in the outline's order. A point where an edge crosses lo or hi is reckoned from
    /// the edge's own ends, the lower one first, and lies exactly on the plane, so two slabs
    /// that meet at a plane give their pieces the same seam vertices. A slice lying in one
    /// plane across the axis goes whole to the slab with lo <= plane < hi. False (and an empty
    /// piece) when nothing with an area is left.
    static bool ClipToSlab(const SlicePolygon& slice, int axis, double lo, double hi, SlicePolygon& piece);
    /// The 3D texture coordinate of a slice vertex: p + 0.5 - centre, per component.
    static Vec3d TexCoord(const Vec3d& p, const Vec3d& centre)
    {
        return {p[0] + 0.5 - centre[0], p[1] + 0.5 - centre[1], p[2] + 0.5 - centre[2]};
    }

    // --- colours ---------------------------------------------------------------------------
    /// The complement of `colour` at the same brightness (Euclidean length L): d = 1 - c/L per
    /// component, complement = d / |d| * L. Returns false and leaves `complement` untouched for
    /// black.
    static bool ComplementColour(const std::array<float, 3>& colour, std::array<float, 3>& complement);
};
