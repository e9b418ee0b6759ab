#include "gl/SliceGeometry_cls.h"

#include <algorithm>
#include <cmath>

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

constexpr int kNQuality[SliceGeometry_cls::kNQualityCount] = {32,  48,  64,  96,   128,  192, 256,
                                                              384, 512, 768, 1024, 1536, 2048};

} // namespace

// --- lattice slices ---------------------------------------------------------------------------

std::vector<int> SliceGeometry_cls::LatticeSlices(int n, double clipMin, double clipMax, int step, bool fromLow)
{
    std::vector<int> out;
    if (n <= 0)
        return out;
    step = std::max(step, 1);
    const int m = static_cast<int>(std::floor(n * clipMin));
    const int M = static_cast<int>(std::floor(n * clipMax));
    // The two directions align the step to different ends on purpose: drawing from the high end
    // starts one step below M, drawing from the low end starts at m.
    if (fromLow) {
        for (int i = m; i < M; i += step)
            out.push_back(i);
    } else {
        for (int i = M - step; i >= m; i -= step)
            out.push_back(i);
    }
    return out;
}

int SliceGeometry_cls::ChooseAxis(const Vec3d& d, bool& fromLow)
{
    int axis = 0;
    for (int a = 1; a < 3; ++a)
        if (std::fabs(d[a]) > std::fabs(d[axis]))
            axis = a;
    // Looking toward +axis, the high end is farthest; looking toward -axis, the low end is.
    fromLow = d[axis] < 0.0;
    return axis;
}

// --- camera-facing slices ---------------------------------------------------------------------

int SliceGeometry_cls::GetNQuality(unsigned index)
{
    return kNQuality[std::min<unsigned>(index, kNQualityCount - 1)];
}

bool SliceGeometry_cls::CalcAllSlice(const Vec3d& viewDirection, int n, const std::array<double, 3>& clipMin,
                                     const std::array<double, 3>& clipMax, std::vector<SlicePolygon>& slices)
{
    slices.clear();
    const double len = std::sqrt(Dot(viewDirection, viewDirection));
    if (!(len > 0.0) || n < 1)
        return false;
    const double spacing = 2.0 / (n * len);
    const Vec3d u = {viewDirection[0] / len, viewDirection[1] / len, viewDirection[2] / len};
    const Vec3d lo = {clipMin[0] - 0.5, clipMin[1] - 0.5, clipMin[2] - 0.5};
    const Vec3d hi = {clipMax[0] - 0.5, clipMax[1] - 0.5, clipMax[2] - 0.5};
    const double reach = 0.87 * n * len;
    // Descending k: u points away from the eye, so the largest offset is the farthest plane.
    for (long k = static_cast<long>(std::floor(reach)); k >= -reach; --k) {
        SlicePolygon poly = CalcSingleSlice(u, k * spacing, lo, hi);
        if (!poly.empty())
            slices.push_back(std::move(poly));
    }
    return true;
}

SlicePolygon SliceGeometry_cls::CalcSingleSlice(const Vec3d& u, double offset, const Vec3d& lo, const Vec3d& hi)
{
    // The plane cuts at most 6 of the 12 box edges. Each edge runs along one axis between two
    // corners; a corner exactly on the plane is reached by three edges and must be kept once.
    SlicePolygon pts;
    const double eps = 1e-12 * (1.0 + std::fabs(offset));
    auto addUnique = [&](const Vec3d& p) {
        for (const Vec3d& q : pts)
            if (std::fabs(p[0] - q[0]) < 1e-9 && std::fabs(p[1] - q[1]) < 1e-9 && std::fabs(p[2] - q[2]) < 1e-9)
                return;
        pts.push_back(p);
    };
    for (int axis = 0; axis < 3; ++axis) {
        const int a1 = (axis + 1) % 3, a2 = (axis + 2) % 3;
        for (int c = 0; c < 4; ++c) {
            Vec3d p0{}, p1{};
            p0[a1] = p1[a1] = (c & 1) ? hi[a1] : lo[a1];
            p0[a2] = p1[a2] = (c & 2) ? hi[a2] : lo[a2];
            p0[axis] = lo[axis];
            p1[axis] = hi[axis];
            const double s0 = Dot(u, p0) - offset, s1 = Dot(u, p1) - offset;
            if ((s0 > eps && s1 > eps) || (s0 < -eps && s1 < -eps))
                continue;
            if (std::fabs(s1 - s0) <= eps) {
                // The edge lies in the plane: both its ends belong to the outline.
                addUnique(p0);
                addUnique(p1);
                continue;
            }
            const double t = std::clamp(s0 / (s0 - s1), 0.0, 1.0);
            Vec3d p = p0;
            p[axis] = p0[axis] + t * (p1[axis] - p0[axis]);
            addUnique(p);
        }
    }
    if (pts.size() < 3)
        return {};
    // Order along the outline by the angle around the centroid in the plane. The basis (e1, e2)
    // satisfies e1 x e2 = -u, i.e. it points toward the viewer, so increasing angle runs
    // counter-clockwise on screen.
    Vec3d centre{0, 0, 0};
    for (const Vec3d& p : pts)
        for (int i = 0; i < 3; ++i)
            centre[i] += p[i] / pts.size();
    const Vec3d helper = std::fabs(u[0]) < 0.9 ? Vec3d{1, 0, 0} : Vec3d{0, 1, 0};
    Vec3d e1 = Cross(helper, u);
    const double l1 = std::sqrt(Dot(e1, e1));
    e1 = {e1[0] / l1, e1[1] / l1, e1[2] / l1};
    const Vec3d e2 = Cross(u, e1); // e1 x e2 = u, so (e1, -e2) is the viewer's basis
    std::vector<std::pair<double, Vec3d>> byAngle;
    byAngle.reserve(pts.size());
    for (const Vec3d& p : pts) {
        const Vec3d r = {p[0] - centre[0], p[1] - centre[1], p[2] - centre[2]};
        byAngle.emplace_back(std::atan2(-Dot(r, e2), Dot(r, e1)), p);
    }
    std::sort(byAngle.begin(), byAngle.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    SlicePolygon out;
    out.reserve(byAngle.size());
    for (const auto& [angle, p] : byAngle)
        out.push_back(p);
    // A box flat along the normal (zero thickness) gives points on a line: no area, no slice.
    double area2 = 0.0;
    for (size_t i = 0; i < out.size(); ++i) {
        const Vec3d& a = out[i];
        const Vec3d& b = out[(i + 1) % out.size()];
        area2 += Dot(Cross(a, b), u);
    }
    if (std::fabs(area2) < 1e-12)
        return {};
    return out;
}

// --- colours ----------------------------------------------------------------------------------

bool SliceGeometry_cls::ComplementColour(const std::array<float, 3>& c, std::array<float, 3>& complement)
{
    const double len = std::sqrt(double(c[0]) * c[0] + double(c[1]) * c[1] + double(c[2]) * c[2]);
    if (len == 0.0)
        return false;
    const double d[3] = {1.0 - c[0] / len, 1.0 - c[1] / len, 1.0 - c[2] / len};
    const double dl = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    if (dl == 0.0)
        return false;
    for (int i = 0; i < 3; ++i)
        complement[static_cast<size_t>(i)] = static_cast<float>(d[i] / dl * len);
    return true;
}

namespace
{
/// Where the edge a-b crosses the plane p[axis] = c (strictly between its ends), reckoned from
/// the end with the lower coordinate so that the answer does not depend on the edge's direction.
Vec3d Crossing(const Vec3d& a, const Vec3d& b, size_t axis, double c)
{
    const Vec3d& lo = a[axis] < b[axis] ? a : b;
    const Vec3d& hi = a[axis] < b[axis] ? b : a;
    const double f = (c - lo[axis]) / (hi[axis] - lo[axis]);
    Vec3d p{};
    for (size_t k = 0; k < 3; ++k)
        p[k] = lo[k] + (hi[k] - lo[k]) * f;
    p[axis] = c;
    return p;
}
} // namespace

bool SliceGeometry_cls::ClipToSlab(const SlicePolygon& slice, int axis, double lo, double hi, SlicePolygon& piece)
{
    piece.clear();
    if (axis < 0 || axis > 2 || !(lo <= hi))
        return false;
    const size_t a = static_cast<size_t>(axis);
    const size_t n = slice.size();
    if (n < 3)
        return false;
    // A slice that lies in one plane across the axis belongs to one slab only: on a seam, to the
    // slab above it.
    const auto [low, high] =
        std::minmax_element(slice.begin(), slice.end(), [a](const Vec3d& p, const Vec3d& q) { return p[a] < q[a]; });
    if ((*low)[a] == (*high)[a]) {
        if (!(lo <= (*low)[a] && (*low)[a] < hi))
            return false;
        piece = slice;
        return true;
    }
    for (size_t i = 0; i < n; ++i) {
        const Vec3d& p = slice[i];
        const Vec3d& q = slice[(i + 1) % n];
        if (p[a] >= lo && p[a] <= hi)
            piece.push_back(p);
        // The edge's crossings of the slab's planes, in the order the edge meets them.
        const bool up = q[a] > p[a];
        const double first = up ? lo : hi, second = up ? hi : lo;
        for (double c : {first, second})
            if ((p[a] < c && c < q[a]) || (q[a] < c && c < p[a]))
                piece.push_back(Crossing(p, q, a, c));
    }
    if (piece.size() < 3) {
        piece.clear();
        return false;
    }
    return true;
}
