// The density curve, inverse diffusion and rotation against plain single-threaded references.
#include "FilterTestUtil.h"

#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "filter/DataRotate_cls.h"
#include "filter/InvDiffuse_cls.h"
#include "filter/LayerColorCurve_cls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace
{

const int kThreadCounts[] = {1, 2, 7};

// ---- references: plain loops written from the filters' documented behaviour ----

std::vector<unsigned char> CurveReference(const TestVolume& t, std::vector<std::pair<double, double>> p, bool sCurve)
{
    std::stable_sort(p.begin(), p.end(), [](auto& a, auto& b) { return a.first < b.first; });
    unsigned char table[256];
    for (int k = 0; k < 256; ++k) {
        const double x = k / 255.0;
        double y = x;
        if (!p.empty()) {
            if (x <= p.front().first)
                y = p.front().second;
            else if (x >= p.back().first)
                y = p.back().second;
            else
                for (size_t i = 0; i + 1 < p.size(); ++i)
                    if (p[i].first <= x && x < p[i + 1].first) {
                        double u = (x - p[i].first) / (p[i + 1].first - p[i].first);
                        if (sCurve)
                            u = u * u * (3 - 2 * u);
                        y = p[i].second + (p[i + 1].second - p[i].second) * u;
                    }
        }
        table[k] = static_cast<unsigned char>(std::clamp(std::floor(y * 255.0 + 0.5), 0.0, 255.0));
    }
    std::vector<unsigned char> out(t.v.size());
    for (size_t i = 0; i < out.size(); ++i)
        out[i] = table[t.v[i]];
    return out;
}

std::vector<unsigned char> SharpenReference(const TestVolume& t, float s, int steps)
{
    const long X = t.size[0], Y = t.size[1], Z = t.size[2];
    std::vector<float> a(t.v.begin(), t.v.end()), b(a.size());
    auto at = [&](const std::vector<float>& v, long x, long y, long z) {
        x = std::clamp(x, 0L, X - 1);
        y = std::clamp(y, 0L, Y - 1);
        z = std::clamp(z, 0L, Z - 1);
        return v[static_cast<size_t>((z * Y + y) * X + x)];
    };
    for (int k = 0; k < steps; ++k) {
        for (long z = 0; z < Z; ++z)
            for (long y = 0; y < Y; ++y)
                for (long x = 0; x < X; ++x) {
                    const float c = at(a, x, y, z);
                    const float lap =
                        ((at(a, x - 1, y, z) + at(a, x + 1, y, z)) + (at(a, x, y - 1, z) + at(a, x, y + 1, z))) +
                        (at(a, x, y, z - 1) + at(a, x, y, z + 1)) - 6.0f * c;
                    b[static_cast<size_t>((z * Y + y) * X + x)] = std::clamp(c - s * lap, 0.0f, 255.0f);
                }
        std::swap(a, b);
    }
    std::vector<unsigned char> out(a.size());
    for (size_t i = 0; i < out.size(); ++i)
        out[i] = static_cast<unsigned char>(std::floor(a[i] + 0.5f));
    return out;
}

std::vector<unsigned char> RotateReference(const TestVolume& t, int axis, double degree)
{
    const long X = t.size[0], Y = t.size[1], Z = t.size[2];
    double c = std::cos(degree * M_PI / 180.0), s = std::sin(degree * M_PI / 180.0);
    if (std::fmod(degree, 90.0) == 0.0) {
        c = std::round(c);
        s = std::round(s);
    }
    const double ctr[3] = {(X - 1) / 2.0, (Y - 1) / 2.0, (Z - 1) / 2.0};
    const long n[3] = {X, Y, Z};
    std::vector<unsigned char> out(t.v.size());
    for (long z = 0; z < Z; ++z)
        for (long y = 0; y < Y; ++y)
            for (long x = 0; x < X; ++x) {
                double p[3] = {x - ctr[0], y - ctr[1], z - ctr[2]}, q[3] = {p[0], p[1], p[2]};
                const int u = (axis + 1) % 3, w = (axis + 2) % 3; // (y,z) about x, (z,x) about y, (x,y) about z
                q[u] = c * p[u] + s * p[w];
                q[w] = -s * p[u] + c * p[w];
                bool inside = true;
                long i0[3];
                double f[3];
                for (int a = 0; a < 3; ++a) {
                    double v = q[a] + ctr[a];
                    if (v < -1e-6 || v > n[a] - 1 + 1e-6) {
                        inside = false;
                        break;
                    }
                    v = std::clamp(v, 0.0, static_cast<double>(n[a] - 1));
                    i0[a] = std::clamp(static_cast<long>(std::floor(v)), 0L, std::max(n[a] - 2, 0L));
                    f[a] = n[a] > 1 ? v - i0[a] : 0.0;
                }
                double value = 0.0;
                if (inside) {
                    auto V = [&](int dx, int dy, int dz) {
                        return static_cast<double>(t.At(std::min(i0[0] + dx, X - 1), std::min(i0[1] + dy, Y - 1),
                                                        std::min(i0[2] + dz, Z - 1)));
                    };
                    const double c00 = V(0, 0, 0) + (V(1, 0, 0) - V(0, 0, 0)) * f[0];
                    const double c10 = V(0, 1, 0) + (V(1, 1, 0) - V(0, 1, 0)) * f[0];
                    const double c01 = V(0, 0, 1) + (V(1, 0, 1) - V(0, 0, 1)) * f[0];
                    const double c11 = V(0, 1, 1) + (V(1, 1, 1) - V(0, 1, 1)) * f[0];
                    const double c0 = c00 + (c10 - c00) * f[1], c1 = c01 + (c11 - c01) * f[1];
                    value = c0 + (c1 - c0) * f[2];
                }
                out[static_cast<size_t>((z * Y + y) * X + x)] = static_cast<unsigned char>(std::floor(value + 0.5));
            }
    return out;
}

template <typename F> std::vector<unsigned char> Apply(F& filter, const TestVolume& t)
{
    std::vector<unsigned char> out(t.v.size(), 0xCD);
    filter.ProcessXYZData(out.data(), t.v.data(), t.size);
    return out;
}

// ---- density curve ----

TEST(LayerColorCurve, IdentityByDefaultAndTheTableRounds)
{
    LayerColorCurve_cls f;
    EXPECT_EQ(f.GetType(), 10);
    EXPECT_EQ(f.GetPoints().GetName(), L"DensityCurvePoints");
    EXPECT_EQ(f.GetPoints().GetPItem(0)->GetLabel(0), L"x(in)");
    EXPECT_EQ(f.GetPoints().GetPItem(0)->GetLabel(1), L"x(out)");
    unsigned char table[256];
    f.MakeTable(table);
    for (int k = 0; k < 256; ++k)
        ASSERT_EQ(table[k], k);
    f.SetPoints({{0.0, 1.0}, {1.0, 0.0}}); // inversion
    f.MakeTable(table);
    EXPECT_EQ(table[0], 255);
    EXPECT_EQ(table[255], 0);
    EXPECT_EQ(table[100], 155);
    f.SetPoints({{0.2, 0.4}, {0.8, 1.4}}); // flat ends, clamped above 1
    EXPECT_DOUBLE_EQ(f.GetCurveValue(0.0), 0.4);
    EXPECT_DOUBLE_EQ(f.GetCurveValue(0.9), 1.4);
    f.MakeTable(table);
    EXPECT_EQ(table[0], 102);
    EXPECT_EQ(table[255], 255) << "clamped, not wrapped";
}

TEST(LayerColorCurve, MatchesReferenceForEveryVolumeAndThreadCount)
{
    const std::vector<std::pair<double, double>> points = {{0.7, 0.2}, {0.1, 0.0}, {0.4, 0.9}, {0.4, 0.5}};
    for (int interp : {0, 1})
        for (int threads : kThreadCounts) {
            ScopedThreadNum scope(threads);
            LayerColorCurve_cls f;
            f.GetData().miInterpolation.Set(interp);
            f.SetPoints(points);
            for (const TestVolume& t : TestVolumes())
                ASSERT_EQ(FirstDifference(Apply(f, t), CurveReference(t, points, interp == 1)), -1)
                    << t.Name() << " threads " << threads << " interp " << interp;
        }
}

TEST(LayerColorCurve, KeyedPointsMoveWithTimeAndTheTextComesBack)
{
    GetUndoManager().Clear();
    const int oldFrames = Parameters_cls::GetFrameNumber();
    Parameters_cls::SetFrameNumber(10);
    LayerColorCurve_cls f;
    Parameters_cls* p = f.GetPoints().GetPItem(1);
    ASSERT_TRUE(p->ExecCommandTimeDependent(true));
    const double a[2] = {1.0, 1.0}, b[2] = {1.0, 0.0};
    ASSERT_TRUE(p->ExecCommandSetKey(0.0, a, kInterpLinear, nullptr, nullptr));
    ASSERT_TRUE(p->ExecCommandSetKey(1.0, b, kInterpLinear, nullptr, nullptr));
    f.UpdateParameters(0.5);
    EXPECT_DOUBLE_EQ(f.GetCurveValue(1.0), 0.5);
    const std::wstring status = f.GetFilterStatusStr();
    f.UpdateParameters(1.0);
    EXPECT_NE(f.GetFilterStatusStr(), status) << "a moved point must force reprocessing";

    LineStream_cls stream(f.SerializeConf());
    LayerColorCurve_cls g;
    std::wstring line;
    while (stream.GetLine(line))
        g.ReadStrLine(stream, line);
    g.UpdateParameters(0.5);
    EXPECT_EQ(g.SerializeConf(), f.SerializeConf());
    EXPECT_DOUBLE_EQ(g.GetCurveValue(1.0), 0.5);
    Parameters_cls::SetFrameNumber(oldFrames);
    GetUndoManager().Clear();
}

// Keys read from a damaged project can be infinite ("1e3085") or so far apart that their
// difference overflows: such points are left out, and the table never sees a NaN.
TEST(LayerColorCurve, PointsAtInfinityOrFarApartGiveAValidTable)
{
    LayerColorCurve_cls f;
    const std::wstring text = L"--MultiParameter:DensityCurvePoints\nMultiParamItemNum=3\n"
                              L"Parameter_DensityCurvePoints\ndimension 2\ntimeDepend 0\nitemnum 1\n"
                              L"0 2 1 0 0 0 0 0 0\n"
                              L"Parameter_DensityCurvePoints\ndimension 2\ntimeDepend 0\nitemnum 1\n"
                              L"0 2 1 1e3085 1e3085 0 0 0 0\n"
                              L"Parameter_DensityCurvePoints\ndimension 2\ntimeDepend 0\nitemnum 1\n"
                              L"0 2 1 1 1 0 0 0 0\n--END\n";
    LineStream_cls stream(text);
    std::wstring line;
    ASSERT_TRUE(stream.GetLine(line) && f.ReadStrLine(stream, line));
    ASSERT_EQ(f.GetPoints().GetItemNumber(), 3);
    EXPECT_DOUBLE_EQ(f.GetCurveValue(0.25), 0.25) << "the infinite point is left out";

    // Finite outputs 3.4e308 apart: their difference is infinite, and at the segment's own start
    // (t = 0) infinity times zero would be NaN.
    f.SetPoints({{0.0, 0.0}, {128 / 255.0, -1.7e308}, {1.0, 1.7e308}});
    EXPECT_EQ(f.GetCurveValue(128 / 255.0), -1.7e308);
    f.GetData().miInterpolation.Set(1);
    unsigned char table[256];
    f.MakeTable(table);
    for (int k = 0; k < 256; ++k)
        ASSERT_FALSE(std::isnan(f.GetCurveValue(k / 255.0))) << k;
    EXPECT_EQ(table[0], 0);
    EXPECT_EQ(table[255], 255);
}

// ---- inverse diffusion ----

TEST(InvDiffuse, MatchesReferenceForEveryVolumeAndThreadCount)
{
    for (auto [s, steps] : {std::pair{0.1f, 1}, std::pair{0.15f, 3}, std::pair{0.5f, 2}})
        for (int threads : kThreadCounts) {
            ScopedThreadNum scope(threads);
            InvDiffuse_cls f;
            f.GetData().mfStrength.Set(s);
            f.GetData().miStep.Set(steps);
            for (const TestVolume& t : TestVolumes())
                ASSERT_EQ(FirstDifference(Apply(f, t), SharpenReference(t, s, steps)), -1)
                    << t.Name() << " threads " << threads << " s " << s << " steps " << steps;
        }
}

TEST(InvDiffuse, SharpensAnEdgeLeavesFlatDataAloneAndCopiesWhenOff)
{
    TestVolume step{{9, 3, 3}, {}};
    for (unsigned z = 0; z < 3; ++z)
        for (unsigned y = 0; y < 3; ++y)
            for (unsigned x = 0; x < 9; ++x)
                step.v.push_back(x < 4 ? 100 : (x == 4 ? 120 : 140));
    InvDiffuse_cls f;
    f.GetData().mfStrength.Set(0.25f);
    std::vector<unsigned char> out = Apply(f, step);
    EXPECT_EQ(out[3], 95) << "the dark side of the edge gets darker: 100 - 0.25 * 20";
    EXPECT_EQ(out[5], 145) << "the bright side brighter";
    EXPECT_EQ(out[0], 100) << "flat data keeps its value";
    TestVolume flat{{5, 4, 3}, std::vector<unsigned char>(60, 77)};
    EXPECT_EQ(Apply(f, flat), flat.v);
    f.GetData().SetValid(false);
    const TestVolume r = RandomVolume(6, 5, 4, 9);
    EXPECT_EQ(Apply(f, r), r.v);
}

TEST(InvDiffuse, FailedAllocationShowsTheMessageAndPassesTheDataOn)
{
    RecordingPrompt_cls prompt;
    ScopedUserPrompt_cls scope(&prompt);
    InvDiffuse_cls::SetAllocationLimit(64);
    InvDiffuse_cls f;
    const TestVolume t = RandomVolume(11, 7, 5, 3);
    const std::vector<unsigned char> out = Apply(f, t);
    InvDiffuse_cls::SetAllocationLimit(0);
    EXPECT_EQ(out, t.v);
    ASSERT_EQ(prompt.MessageCount(), 1u);
    EXPECT_EQ(prompt.Messages()[0].text, L"Memory Allocation for temporal buffer *pFrom fails. Ingnore InvDiffuse");
}

// ---- rotation ----

TEST(DataRotate, MatchesReferenceForEveryAxisAngleAndThreadCount)
{
    for (int axis = 0; axis < 3; ++axis)
        for (double degree : {0.0, 30.0, -75.5, 90.0, 180.0})
            for (int threads : kThreadCounts) {
                ScopedThreadNum scope(threads);
                DataRotate_cls f;
                f.GetData().miAxis.Set(axis);
                f.GetParameters().ProcClearKey({degree});
                f.UpdateParameters(0.0);
                ASSERT_EQ(f.GetDegree(), degree);
                for (const TestVolume& t : TestVolumes())
                    ASSERT_EQ(FirstDifference(Apply(f, t), RotateReference(t, axis, degree)), -1)
                        << t.Name() << " axis " << axis << " degree " << degree << " threads " << threads;
            }
}

TEST(DataRotate, QuarterTurnsMoveVoxelsExactlyAndZeroIsIdentity)
{
    const TestVolume t = RandomVolume(7, 7, 5, 21);
    DataRotate_cls f;
    EXPECT_EQ(Apply(f, t), t.v) << "angle 0";
    f.GetParameters().ProcClearKey({90.0});
    f.UpdateParameters(0.0);
    std::vector<unsigned char> out = Apply(f, t);
    // About z, counter-clockwise: the voxel at (x, y) moves to (6 - y, x) about the centre (3, 3).
    for (int z = 0; z < 5; ++z)
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 7; ++x)
                ASSERT_EQ(out[static_cast<size_t>((z * 7 + x) * 7 + (6 - y))], t.At(x, y, z)) << x << "," << y;
    // A non-square slice loses what turns outside; those voxels become 0.
    const TestVolume wide = RandomVolume(9, 3, 1, 5);
    std::vector<unsigned char> turned = Apply(f, wide);
    EXPECT_EQ(turned[0], 0);
    EXPECT_EQ(turned[4 + 9], wide.At(4, 1, 0)) << "the centre stays";
}

} // namespace
