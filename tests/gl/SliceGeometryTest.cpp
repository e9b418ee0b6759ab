// Slice placement of the slice-stack drawing, checked without a display.
#include "gl/SliceGeometry_cls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

double Dot(const Vec3d& a, const Vec3d& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
Vec3d Cross(const Vec3d& a, const Vec3d& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// Twice the signed area of the polygon projected along u (negative: counter-clockwise seen by a
// viewer looking along u).
double SignedArea2(const SlicePolygon& p, const Vec3d& u)
{
    double a = 0;
    for (size_t i = 0; i < p.size(); ++i)
        a += Dot(Cross(p[i], p[(i + 1) % p.size()]), u);
    return a;
}

// True when every edge of the polygon keeps all other corners on the same side: convex and
// ordered along the outline (a fan over a shuffled outline fails this).
bool IsConvexOutline(const SlicePolygon& p, const Vec3d& u)
{
    const size_t n = p.size();
    for (size_t i = 0; i < n; ++i) {
        const Vec3d& a = p[i];
        const Vec3d& b = p[(i + 1) % n];
        const Vec3d e = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
        for (size_t j = 0; j < n; ++j) {
            const Vec3d r = {p[j][0] - a[0], p[j][1] - a[1], p[j][2] - a[2]};
            if (Dot(Cross(e, r), u) > 1e-9)
                return false;
        }
    }
    return true;
}

} // namespace

TEST(LatticeSlices, BothEndsDrawTheSameSlicesWithStepOne)
{
    const auto high = SliceGeometry_cls::LatticeSlices(10, 0.2, 0.75, 1, false);
    const auto low = SliceGeometry_cls::LatticeSlices(10, 0.2, 0.75, 1, true);
    EXPECT_EQ(high, (std::vector<int>{6, 5, 4, 3, 2}));
    EXPECT_EQ(low, (std::vector<int>{2, 3, 4, 5, 6}));
    EXPECT_EQ(SliceGeometry_cls::LatticeSlices(4, 0.0, 1.0, 1, true), (std::vector<int>{0, 1, 2, 3}));
}

TEST(LatticeSlices, StepsAlignToDifferentEnds)
{
    // m = 0, M = 10, s = 3: the low end starts at m, the high end one step below M.
    EXPECT_EQ(SliceGeometry_cls::LatticeSlices(10, 0.0, 1.0, 3, true), (std::vector<int>{0, 3, 6, 9}));
    EXPECT_EQ(SliceGeometry_cls::LatticeSlices(10, 0.0, 1.0, 3, false), (std::vector<int>{7, 4, 1}));
    // m = 2 (floor 2.5), M = 7 (floor 7.9)
    EXPECT_EQ(SliceGeometry_cls::LatticeSlices(10, 0.25, 0.79, 2, true), (std::vector<int>{2, 4, 6}));
    EXPECT_EQ(SliceGeometry_cls::LatticeSlices(10, 0.25, 0.79, 2, false), (std::vector<int>{5, 3}));
}

TEST(LatticeSlices, EdgeCases)
{
    // m = M: nothing from either end.
    EXPECT_TRUE(SliceGeometry_cls::LatticeSlices(10, 0.5, 0.55, 1, true).empty());
    EXPECT_TRUE(SliceGeometry_cls::LatticeSlices(10, 0.5, 0.55, 1, false).empty());
    // 0 < M - m < s: the low end draws m only, the high end nothing.
    EXPECT_EQ(SliceGeometry_cls::LatticeSlices(10, 0.3, 0.5, 4, true), (std::vector<int>{3}));
    EXPECT_TRUE(SliceGeometry_cls::LatticeSlices(10, 0.3, 0.5, 4, false).empty());
    // A step below 1 counts as 1; an empty axis draws nothing.
    EXPECT_EQ(SliceGeometry_cls::LatticeSlices(3, 0.0, 1.0, 0, false), (std::vector<int>{2, 1, 0}));
    EXPECT_TRUE(SliceGeometry_cls::LatticeSlices(0, 0.0, 1.0, 1, true).empty());
    EXPECT_DOUBLE_EQ(SliceGeometry_cls::SliceDepth(0, 4), 0.125);
    EXPECT_DOUBLE_EQ(SliceGeometry_cls::SliceDepth(3, 4), 0.875);
}

TEST(LatticeSlices, AxisFollowsTheViewAndFarEndIsBehind)
{
    bool fromLow = false;
    EXPECT_EQ(SliceGeometry_cls::ChooseAxis({0.1, -0.2, -0.9}, fromLow), 2);
    EXPECT_TRUE(fromLow); // looking toward -z: the low end is farthest
    EXPECT_EQ(SliceGeometry_cls::ChooseAxis({0.7, 0.5, 0.2}, fromLow), 0);
    EXPECT_FALSE(fromLow);
    EXPECT_EQ(SliceGeometry_cls::ChooseAxis({0.1, -0.8, 0.6}, fromLow), 1);
    EXPECT_TRUE(fromLow);
}

TEST(CameraFacingSlices, SliceCountChoices)
{
    EXPECT_EQ(SliceGeometry_cls::GetNQuality(0), 32);
    EXPECT_EQ(SliceGeometry_cls::GetNQuality(1), 48);
    EXPECT_EQ(SliceGeometry_cls::GetNQuality(4), 128); // the default
    EXPECT_EQ(SliceGeometry_cls::GetNQuality(12), 2048);
    EXPECT_EQ(SliceGeometry_cls::GetNQuality(99), 2048);
}

TEST(CameraFacingSlices, AxisViewGivesSquaresFarToNear)
{
    // Looking along -z with n = 8, |d| = 1: spacing 1/4, k from 6 down to -6; the planes
    // z = -k/4 that cut the box [-0.5, 0.5] are k = 2 .. -2 (the box faces included).
    std::vector<SlicePolygon> slices;
    ASSERT_TRUE(SliceGeometry_cls::CalcAllSlice({0, 0, -1}, 8, {0, 0, 0}, {1, 1, 1}, slices));
    ASSERT_EQ(slices.size(), 5u);
    double lastZ = 1.0;
    for (const SlicePolygon& p : slices) {
        ASSERT_EQ(p.size(), 4u);
        // The farthest slice (lowest z, since we look toward -z) comes first.
        const double z = p[0][2];
        for (const Vec3d& v : p)
            EXPECT_DOUBLE_EQ(v[2], z);
        if (&p != &slices.front()) {
            EXPECT_GT(z, lastZ);
        }
        lastZ = z;
        EXPECT_NEAR(std::fabs(SignedArea2(p, {0, 0, -1})), 2.0, 1e-12); // a unit square
    }
    EXPECT_DOUBLE_EQ(slices.front()[0][2], -0.5);
    EXPECT_DOUBLE_EQ(slices.back()[0][2], 0.5);
}

TEST(CameraFacingSlices, ObliqueCutsAreConvexOutlinesFacingTheViewer)
{
    const Vec3d d = {0.5, -0.6, -0.7};
    const double len = std::sqrt(Dot(d, d));
    const Vec3d u = {d[0] / len, d[1] / len, d[2] / len};
    std::vector<SlicePolygon> slices;
    ASSERT_TRUE(SliceGeometry_cls::CalcAllSlice(d, 64, {0, 0, 0}, {1, 1, 1}, slices));
    ASSERT_GT(slices.size(), 20u);
    double lastOffset = 1e9;
    size_t hexagons = 0;
    for (const SlicePolygon& p : slices) {
        ASSERT_GE(p.size(), 3u);
        ASSERT_LE(p.size(), 6u);
        hexagons += p.size() == 6;
        EXPECT_LT(SignedArea2(p, u), 0.0);
        EXPECT_TRUE(IsConvexOutline(p, u));
        const double off = Dot(p[0], u);
        for (const Vec3d& v : p) {
            EXPECT_NEAR(Dot(v, u), off, 1e-12); // planar, normal to the view
            for (int a = 0; a < 3; ++a) {
                EXPECT_GE(v[a], -0.5 - 1e-12);
                EXPECT_LE(v[a], 0.5 + 1e-12);
            }
        }
        EXPECT_LT(off, lastOffset + 1e-12); // the farthest plane (largest offset along u) first
        lastOffset = off;
    }
    EXPECT_GT(hexagons, 0u); // an oblique view cuts hexagons through the middle
    // Successive planes are 2 / (n |d|) apart.
    EXPECT_NEAR(Dot(slices[0][0], u) - Dot(slices[1][0], u), 2.0 / (64 * len), 1e-12);
}

// Slices cut into slabs (the bricks of a 3D texture): the pieces keep the slice's outline order,
// add up to its area, and two slabs meeting at a plane give their pieces the very same seam
// points; a slice lying in a seam goes to one slab only.
TEST(CameraFacingSlices, SlabPiecesShareTheirSeamsAndAddUpToTheSlice)
{
    const Vec3d d = {0.3, -0.5, -0.8};
    const double len = std::sqrt(Dot(d, d));
    const Vec3d u = {d[0] / len, d[1] / len, d[2] / len};
    std::vector<SlicePolygon> slices;
    ASSERT_TRUE(SliceGeometry_cls::CalcAllSlice(d, 48, {0, 0, 0}, {1, 1, 1}, slices));
    const double inf = std::numeric_limits<double>::infinity();
    const std::vector<double> seams = {-inf, -0.5 + 7.0 / 32, -0.5 + 13.0 / 32, 0.1, inf};
    size_t cut = 0;
    for (const SlicePolygon& slice : slices) {
        double area = 0;
        std::vector<SlicePolygon> pieces;
        for (size_t k = 0; k + 1 < seams.size(); ++k) {
            SlicePolygon piece;
            if (!SliceGeometry_cls::ClipToSlab(slice, 2, seams[k], seams[k + 1], piece)) {
                EXPECT_TRUE(piece.empty());
                pieces.emplace_back();
                continue;
            }
            EXPECT_LT(SignedArea2(piece, u), 0.0) << "the outline keeps its turn";
            EXPECT_TRUE(IsConvexOutline(piece, u));
            for (const Vec3d& v : piece) {
                EXPECT_GE(v[2], seams[k]);
                EXPECT_LE(v[2], seams[k + 1]);
            }
            area += SignedArea2(piece, u);
            pieces.push_back(piece);
        }
        EXPECT_NEAR(area, SignedArea2(slice, u), 1e-12);
        // Every point of a piece on a finite seam is a point of the neighbour's piece, bit for bit.
        for (size_t k = 0; k + 1 < pieces.size(); ++k) {
            if (pieces[k].empty() || pieces[k + 1].empty())
                continue;
            ++cut;
            for (const Vec3d& v : pieces[k])
                if (v[2] == seams[k + 1])
                    EXPECT_NE(std::find(pieces[k + 1].begin(), pieces[k + 1].end(), v), pieces[k + 1].end());
        }
    }
    EXPECT_GT(cut, 10u);

    // A slice in the plane of a seam belongs to the slab above it; one across the axis inside a
    // slab, whole to that slab.
    const SlicePolygon flat = {{-0.5, -0.5, 0.1}, {0.5, -0.5, 0.1}, {0.5, 0.5, 0.1}, {-0.5, 0.5, 0.1}};
    SlicePolygon piece;
    EXPECT_FALSE(SliceGeometry_cls::ClipToSlab(flat, 2, -0.2, 0.1, piece));
    EXPECT_TRUE(SliceGeometry_cls::ClipToSlab(flat, 2, 0.1, 0.3, piece));
    EXPECT_EQ(piece, flat);
    // A slice that only touches the slab along an edge has no area in it.
    const SlicePolygon wall = {{-0.5, 0.0, -0.5}, {0.5, 0.0, -0.5}, {0.5, 0.0, 0.1}, {-0.5, 0.0, 0.1}};
    EXPECT_FALSE(SliceGeometry_cls::ClipToSlab(wall, 2, 0.1, 0.3, piece));
    EXPECT_TRUE(SliceGeometry_cls::ClipToSlab(wall, 2, -0.2, 0.3, piece));
    EXPECT_EQ(piece.size(), 4u);
}

TEST(CameraFacingSlices, ClippingAndDegenerateInput)
{
    std::vector<SlicePolygon> slices;
    // Clipped to the upper half in x: every corner stays inside [0, 0.5] in x.
    ASSERT_TRUE(SliceGeometry_cls::CalcAllSlice({1, 1, 1}, 32, {0.5, 0, 0}, {1, 1, 1}, slices));
    ASSERT_FALSE(slices.empty());
    for (const SlicePolygon& p : slices)
        for (const Vec3d& v : p)
            EXPECT_GE(v[0], -1e-12);
    // A flat box (zero thickness along z) seen along z gives one square at its plane; seen
    // from the side it has no area and gives nothing.
    ASSERT_TRUE(SliceGeometry_cls::CalcAllSlice({0, 0, 1}, 8, {0, 0, 0.5}, {1, 1, 0.5}, slices));
    ASSERT_EQ(slices.size(), 1u);
    EXPECT_EQ(slices[0].size(), 4u);
    ASSERT_TRUE(SliceGeometry_cls::CalcAllSlice({1, 0, 0}, 8, {0, 0, 0.5}, {1, 1, 0.5}, slices));
    EXPECT_TRUE(slices.empty());
    // The list is cleared even when the call is refused.
    slices.assign(3, SlicePolygon{});
    EXPECT_FALSE(SliceGeometry_cls::CalcAllSlice({0, 0, 0}, 8, {0, 0, 0}, {1, 1, 1}, slices));
    EXPECT_TRUE(slices.empty());
    EXPECT_FALSE(SliceGeometry_cls::CalcAllSlice({0, 0, 1}, 0, {0, 0, 0}, {1, 1, 1}, slices));
}

TEST(CameraFacingSlices, LongerDirectionGivesDenserSlices)
{
    std::vector<SlicePolygon> a, b;
    SliceGeometry_cls::CalcAllSlice({0, 0, -1}, 32, {0, 0, 0}, {1, 1, 1}, a);
    SliceGeometry_cls::CalcAllSlice({0, 0, -2}, 32, {0, 0, 0}, {1, 1, 1}, b);
    // Spacing 2/32 over a unit depth: 17 planes; with |d| = 2 the spacing halves: 33.
    EXPECT_EQ(a.size(), 17u);
    EXPECT_EQ(b.size(), 33u);
}

TEST(CameraFacingSlices, SinglePlaneThroughCornersAndMisses)
{
    const Vec3d u = {1 / std::sqrt(3.0), 1 / std::sqrt(3.0), 1 / std::sqrt(3.0)};
    // Through the centre of the unit box: the regular hexagon.
    const SlicePolygon hex = SliceGeometry_cls::CalcSingleSlice(u, 0.0, {-0.5, -0.5, -0.5}, {0.5, 0.5, 0.5});
    ASSERT_EQ(hex.size(), 6u);
    for (const Vec3d& v : hex)
        EXPECT_NEAR(std::sqrt(Dot(v, v)), std::sqrt(0.5), 1e-12);
    // Through three corners (offset 0.5/sqrt(3)): a triangle, each corner once.
    const double off = 0.5 / std::sqrt(3.0);
    const SlicePolygon tri = SliceGeometry_cls::CalcSingleSlice(u, off, {-0.5, -0.5, -0.5}, {0.5, 0.5, 0.5});
    EXPECT_EQ(tri.size(), 3u);
    // Touching only the far corner, or missing the box, gives nothing.
    EXPECT_TRUE(
        SliceGeometry_cls::CalcSingleSlice(u, 1.5 / std::sqrt(3.0), {-0.5, -0.5, -0.5}, {0.5, 0.5, 0.5}).empty());
    EXPECT_TRUE(SliceGeometry_cls::CalcSingleSlice(u, 2.0, {-0.5, -0.5, -0.5}, {0.5, 0.5, 0.5}).empty());
    // The texture coordinate maps the box onto 0..1 around the drawing centre.
    const Vec3d t = SliceGeometry_cls::TexCoord({-0.5, 0.25, 0.5}, {0, 0, 0});
    EXPECT_DOUBLE_EQ(t[0], 0.0);
    EXPECT_DOUBLE_EQ(t[1], 0.75);
    EXPECT_DOUBLE_EQ(t[2], 1.0);
}

TEST(SliceColour, ComplementKeepsBrightnessAndOpposesHue)
{
    std::array<float, 3> comp{0, 0, 0};
    ASSERT_TRUE(SliceGeometry_cls::ComplementColour({1, 0, 0}, comp));
    // d = (0, 1, 1) -> (0, 1/sqrt2, 1/sqrt2) * 1
    EXPECT_NEAR(comp[0], 0.0f, 1e-6);
    EXPECT_NEAR(comp[1], 1 / std::sqrt(2.0), 1e-6);
    EXPECT_NEAR(comp[2], 1 / std::sqrt(2.0), 1e-6);

    const std::array<float, 3> c = {0.2f, 0.6f, 0.3f};
    ASSERT_TRUE(SliceGeometry_cls::ComplementColour(c, comp));
    const double lc = std::sqrt(0.04 + 0.36 + 0.09);
    EXPECT_NEAR(std::sqrt(double(comp[0]) * comp[0] + double(comp[1]) * comp[1] + double(comp[2]) * comp[2]), lc, 1e-6);
    EXPECT_GT(comp[0], comp[1]); // the green-heavy colour turns toward magenta

    // Black has no complement: the output stays as it was.
    comp = {0.5f, 0.5f, 0.5f};
    EXPECT_FALSE(SliceGeometry_cls::ComplementColour({0, 0, 0}, comp));
    EXPECT_EQ(comp, (std::array<float, 3>{0.5f, 0.5f, 0.5f}));
}
