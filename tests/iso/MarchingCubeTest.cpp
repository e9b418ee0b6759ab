#include "IsoTestUtil.h"

#include "config/Preference_cls.h"
#include "iso/MarchingCube_cls.h"
#include "iso/ThreadMarching.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <set>

namespace
{

// ------------------------------------------------------------------------------------------
// Case tables, checked against the cube geometry rather than against a copy of themselves.
// ------------------------------------------------------------------------------------------

int EdgeAxis(int e)
{
    const float* d = ThreadMarching::a2fEdgeDirection[e];
    return d[0] != 0 ? 0 : (d[1] != 0 ? 1 : 2);
}

std::array<float, 3> EdgeMid(int e)
{
    std::array<float, 3> m{};
    for (int a = 0; a < 3; ++a)
        m[a] = 0.5f * (ThreadMarching::VOffset[ThreadMarching::a2iEdgeConnection[e][0]][a] +
                       ThreadMarching::VOffset[ThreadMarching::a2iEdgeConnection[e][1]][a]);
    return m;
}

TEST(MarchingTables, EdgesJoinNeighbouringCornersAlongTheirDirection)
{
    for (int e = 0; e < 12; ++e) {
        const int* c = ThreadMarching::a2iEdgeConnection[e];
        for (int a = 0; a < 3; ++a) {
            float step = static_cast<float>(ThreadMarching::VOffset[c[1]][a] - ThreadMarching::VOffset[c[0]][a]);
            EXPECT_EQ(step, ThreadMarching::a2fEdgeDirection[e][a]) << "edge " << e << " axis " << a;
        }
    }
}

TEST(MarchingTables, EdgeFlagsAreTheEdgesWhoseCornersDiffer)
{
    for (int c = 0; c < 256; ++c) {
        int expect = 0;
        for (int e = 0; e < 12; ++e) {
            bool a = c >> ThreadMarching::a2iEdgeConnection[e][0] & 1;
            bool b = c >> ThreadMarching::a2iEdgeConnection[e][1] & 1;
            if (a != b)
                expect |= 1 << e;
        }
        EXPECT_EQ(ThreadMarching::aiCubeEdgeFlags[c], expect) << "case " << c;
    }
}

TEST(MarchingTables, TriangleRowsFormSurfacesOverExactlyTheCutEdges)
{
    const signed char* row1 = ThreadMarching::a2iTriangleConnectionTable[1];
    EXPECT_EQ(row1[0], 0);
    EXPECT_EQ(row1[1], 8);
    EXPECT_EQ(row1[2], 3);
    EXPECT_EQ(row1[3], -1);

    for (int c = 0; c < 256; ++c) {
        const signed char* row = ThreadMarching::a2iTriangleConnectionTable[c];
        int k = 0, used = 0;
        std::map<std::pair<int, int>, int> directed;
        while (k < 16 && row[k] >= 0) {
            ASSERT_LT(k + 2, 16) << "case " << c;
            for (int j = 0; j < 3; ++j) {
                ASSERT_GE(row[k + j], 0) << "case " << c << ": triangle cut short";
                ASSERT_LT(row[k + j], 12);
                used |= 1 << row[k + j];
                directed[{row[k + j], row[k + (j + 1) % 3]}]++;
            }
            k += 3;
        }
        ASSERT_LE(k, 15) << "case " << c;
        for (int r = k; r < 16; ++r)
            EXPECT_EQ(row[r], -1) << "case " << c << " column " << r;
        EXPECT_EQ(used, ThreadMarching::aiCubeEdgeFlags[c]) << "case " << c;

        // Every mesh edge either lies inside the cube (used once in each direction) or on a cube
        // face, where it is used once and joins two cut edges of that face.
        for (auto [edge, count] : directed) {
            int rev = directed.count({edge.second, edge.first}) ? directed[{edge.second, edge.first}] : 0;
            EXPECT_EQ(count, 1) << "case " << c;
            auto m0 = EdgeMid(edge.first), m1 = EdgeMid(edge.second);
            bool onFace = false;
            for (int a = 0; a < 3; ++a)
                onFace |= m0[a] == m1[a] && (m0[a] == 0.0f || m0[a] == 1.0f);
            if (rev == 0)
                EXPECT_TRUE(onFace) << "case " << c << ": open edge " << edge.first << "-" << edge.second
                                    << " inside the cube";
        }
    }
}

// Trilinear blend of the corner values inside the unit cube.
float CornerField(int c, const std::array<float, 3>& q)
{
    float f = 0;
    for (int corner = 0; corner < 8; ++corner) {
        const int* o = ThreadMarching::VOffset[corner];
        float w = 1;
        for (int a = 0; a < 3; ++a)
            w *= o[a] ? q[a] : 1 - q[a];
        f += w * ((c >> corner & 1) ? 0.0f : 1.0f);
    }
    return f;
}

TEST(MarchingTables, TrianglesFaceTheCornersAtOrBelowTheLevel)
{
    // With corners at or below the level set to 0 and the others to 1, each triangle's winding
    // normal must point down the slope of the blended field: lower in front than behind.
    for (int c = 1; c < 255; ++c) {
        const signed char* row = ThreadMarching::a2iTriangleConnectionTable[c];
        for (int k = 0; row[k] >= 0; k += 3) {
            auto a = EdgeMid(row[k]), b = EdgeMid(row[k + 1]), d = EdgeMid(row[k + 2]);
            std::array<float, 3> u{b[0] - a[0], b[1] - a[1], b[2] - a[2]}, w{d[0] - a[0], d[1] - a[1], d[2] - a[2]};
            std::array<float, 3> n{u[1] * w[2] - u[2] * w[1], u[2] * w[0] - u[0] * w[2], u[0] * w[1] - u[1] * w[0]};
            float len = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
            ASSERT_GT(len, 0.0f) << "case " << c << ": degenerate triangle";
            std::array<float, 3> front{}, back{};
            for (int j = 0; j < 3; ++j) {
                float centroid = (a[j] + b[j] + d[j]) / 3;
                front[j] = centroid + 0.05f * n[j] / len;
                back[j] = centroid - 0.05f * n[j] / len;
            }
            EXPECT_LT(CornerField(c, front), CornerField(c, back)) << "case " << c << " triangle " << k / 3;
        }
    }
}

// ------------------------------------------------------------------------------------------
// Marching
// ------------------------------------------------------------------------------------------

// Reference count: every cube of the grid looked up in the table once, no blocks, no skipping.
size_t ReferenceTriangles(const TestVolume& t, int L)
{
    size_t n = 0;
    for (int z = 0; z + 1 < t.nz; ++z)
        for (int y = 0; y + 1 < t.ny; ++y)
            for (int x = 0; x + 1 < t.nx; ++x) {
                int c = 0;
                for (int i = 0; i < 8; ++i) {
                    const int* o = ThreadMarching::VOffset[i];
                    c |= (t.at(x + o[0], y + o[1], z + o[2]) <= L) << i;
                }
                const signed char* row = ThreadMarching::a2iTriangleConnectionTable[c];
                for (int k = 0; row[k] >= 0; k += 3)
                    ++n;
            }
    return n;
}

class ScopedThreads
{
  public:
    explicit ScopedThreads(int n) : mOld(GetPreference().GetThreadNumFilter())
    {
        GetPreference().SetThreadNumFilter(n);
    }
    ~ScopedThreads() { GetPreference().SetThreadNumFilter(mOld); }

  private:
    int mOld;
};

TEST(MarchingCube, OneVoxelAboveTheLevelGivesAnOctahedron)
{
    TestVolume t(3, 3, 3, 0);
    t.at(1, 1, 1) = 255;
    MarchingCube_cls mc;
    ASSERT_TRUE(mc.ThreadControlMain(t.v.data(), 3, 3, 3, 0.5f, MarchingCube_cls::kFlagNormals));
    EXPECT_EQ(mc.GetByteLevel(), 127);
    EXPECT_EQ(mc.GetVertexNumber(), 24u) << "8 cubes, one triangle each";
    mc.OptimizeVerticesFull();
    ASSERT_EQ(mc.GetFaceNumberOptFull(), 8u);
    ASSERT_EQ(mc.GetVertexNumberOptFull(), 6u);

    // Each vertex lies on an axis through the centre voxel, at 127/255 of the way from the empty
    // neighbour (low side) or 128/255 from the centre (high side); positions are fractions of 3.
    const auto& p = mc.GetPositionsFull();
    const auto& n = mc.GetNormalsFull();
    const float lowSide = static_cast<float>((127.0 / 255.0) / 3.0);
    const float highSide = static_cast<float>((1.0 + 128.0 / 255.0) / 3.0);
    const float centre = static_cast<float>(1.0 / 3.0);
    std::set<std::array<float, 3>> found;
    for (size_t v = 0; v < 6; ++v) {
        std::array<float, 3> q{p[v * 3], p[v * 3 + 1], p[v * 3 + 2]};
        found.insert(q);
        // The normal points away from the dense centre voxel, along the vertex's axis.
        for (int a = 0; a < 3; ++a) {
            if (q[a] == centre) {
                EXPECT_EQ(n[v * 3 + a], 0.0f);
            } else {
                EXPECT_FLOAT_EQ(n[v * 3 + a], q[a] < centre ? -1.0f : 1.0f);
            }
        }
    }
    for (int a = 0; a < 3; ++a)
        for (float side : {lowSide, highSide}) {
            std::array<float, 3> q{centre, centre, centre};
            q[a] = side;
            EXPECT_TRUE(found.count(q)) << "axis " << a << " side " << side;
        }

    // Closed: 12 edges, each shared by two triangles, all wound outwards.
    auto use = EdgeUse(mc.GetIndicesFull());
    EXPECT_EQ(use.size(), 12u);
    for (auto& [e, c] : use)
        EXPECT_EQ(c, 2);
    const auto& idx = mc.GetIndicesFull();
    for (size_t f = 0; f < 8; ++f) {
        const float* a = &p[idx[f * 3] * 3];
        const float* b = &p[idx[f * 3 + 1] * 3];
        const float* c = &p[idx[f * 3 + 2] * 3];
        float u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, w[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
        float cr[3] = {u[1] * w[2] - u[2] * w[1], u[2] * w[0] - u[0] * w[2], u[0] * w[1] - u[1] * w[0]};
        float out = 0;
        for (int k = 0; k < 3; ++k)
            out += cr[k] * ((a[k] + b[k] + c[k]) / 3 - centre);
        EXPECT_GT(out, 0.0f) << "face " << f;
    }
}

TEST(MarchingCube, EdgeOffsetsAndMidpointRule)
{
    EXPECT_EQ(ThreadMarching::GetEdgeOffset(40, 40, 40), 0.5);
    EXPECT_EQ(ThreadMarching::GetEdgeOffset(7, 7, 200), 0.5);
    EXPECT_EQ(ThreadMarching::GetEdgeOffset(0, 255, 127), 127.0 / 255.0);
    EXPECT_EQ(ThreadMarching::GetEdgeOffset(255, 0, 127), 128.0 / 255.0);
    EXPECT_EQ(ThreadMarching::GetEdgeOffset(100, 200, 100), 0.0);
    EXPECT_EQ(ThreadMarching::GetEdgeOffset(10, 20, 20), 1.0);
}

TEST(MarchingCube, UniformVolumesAndLevelExtremes)
{
    MarchingCube_cls mc;
    for (unsigned char fill : {0, 127, 128, 255}) {
        TestVolume t(20, 9, 11, fill);
        for (float level : {0.0f, 0.5f, 1.0f}) {
            ASSERT_TRUE(mc.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, level, 0));
            EXPECT_EQ(mc.GetVertexNumber(), 0u) << int(fill) << " " << level;
            mc.OptimizeVerticesFull();
            EXPECT_EQ(mc.GetFaceNumberOptFull(), 0u);
        }
    }
    TestVolume t(20, 9, 11, 0);
    t.at(5, 5, 5) = 255;
    mc.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, 0.0f, 0);
    EXPECT_EQ(mc.GetByteLevel(), 0);
    EXPECT_EQ(mc.GetVertexNumber(), 24u) << "level 0: the zero voxels are inside";
    mc.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, 1.0f, 0);
    EXPECT_EQ(mc.GetByteLevel(), 255);
    EXPECT_EQ(mc.GetVertexNumber(), 0u) << "level 1: every voxel is at or below 255";

    EXPECT_FALSE(mc.ThreadControlMain(nullptr, 4, 4, 4, 0.5f, 0));
    EXPECT_FALSE(mc.ThreadControlMain(t.v.data(), 1, 4, 4, 0.5f, 0));
    EXPECT_FALSE(mc.ThreadControlMain(t.v.data(), 4, 4, 4, 1.5f, 0));
}

TEST(MarchingCube, BlockRangeTestIsInclusive)
{
    // Every voxel equals L: each block's minimum and maximum equal L, so every block with cubes is
    // marched (and finds every corner at or below L).
    TestVolume t(16, 16, 16, 127);
    MarchingCube_cls mc;
    mc.ThreadControlMain(t.v.data(), 16, 16, 16, 0.5f, 0);
    EXPECT_EQ(mc.GetMarchedBlockNumber(), 512);
    for (int i = 0; i < MarchingCube_cls::kBlockNum; ++i)
        EXPECT_EQ(mc.GetBlock(i).miStatus, MarchingBlock_cls::kAllBelow);
    // One above: nothing is marched; the blocks report which side they are on.
    mc.ThreadControlMain(t.v.data(), 16, 16, 16, 126.0f / 255.0f + 1e-4f, 0);
    EXPECT_EQ(mc.GetByteLevel(), 126);
    EXPECT_EQ(mc.GetMarchedBlockNumber(), 0);
    EXPECT_EQ(mc.GetBlock(0).miStatus, MarchingBlock_cls::kAllAbove);
}

TEST(MarchingCube, EveryCubeIsMarchedOnceWhateverTheGridShape)
{
    std::mt19937 rng(12345);
    const int shapes[][3] = {{2, 2, 2}, {3, 20, 5}, {7, 7, 7}, {9, 2, 17}, {37, 19, 23}, {64, 33, 8}};
    MarchingCube_cls mc;
    for (auto& s : shapes) {
        TestVolume t(s[0], s[1], s[2]);
        // Smooth blobs plus noise: uniform runs for the skipping logic and plenty of cut cubes.
        std::uniform_int_distribution<int> noise(0, 40);
        for (int z = 0; z < t.nz; ++z)
            for (int y = 0; y < t.ny; ++y)
                for (int x = 0; x < t.nx; ++x) {
                    double f = 110 + 90 * std::sin(x * 0.7) * std::cos(y * 0.45) * std::sin(z * 0.3 + 1);
                    t.at(x, y, z) = static_cast<unsigned char>(std::clamp(f + noise(rng) - 20, 0.0, 255.0));
                }
        for (float level : {0.2f, 0.43f, 0.5f, 0.8f}) {
            ASSERT_TRUE(mc.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, level, MarchingCube_cls::kFlagNormals));
            EXPECT_EQ(mc.GetVertexNumber(), 3 * ReferenceTriangles(t, mc.GetByteLevel()))
                << s[0] << "x" << s[1] << "x" << s[2] << " level " << level;
        }
    }
    // The arrays are sized by a counting pass before the march: exact for a fresh object.
    {
        TestVolume t(37, 19, 23);
        for (size_t i = 0; i < t.v.size(); ++i)
            t.v[i] = static_cast<unsigned char>((i * 2654435761u) >> 24);
        MarchingCube_cls fresh;
        fresh.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, 0.5f, MarchingCube_cls::kFlagNormals);
        ASSERT_GT(fresh.GetVertexNumber(), 0u);
        for (int i = 0; i < MarchingCube_cls::kBlockNum; ++i) {
            EXPECT_EQ(fresh.GetBlock(i).mvPos.capacity(), fresh.GetBlock(i).mvPos.size()) << "block " << i;
            EXPECT_EQ(fresh.GetBlock(i).mvNorm.size(), fresh.GetBlock(i).mvPos.size());
        }
    }
    // Long uniform runs with isolated cut cubes at odd and even offsets and at block borders.
    TestVolume t(40, 40, 40, 10);
    for (int i : {0, 1, 4, 5, 6, 9, 10, 19, 20, 38, 39})
        t.at(i, (i * 7) % 40, (i * 3) % 40) = 250;
    mc.ThreadControlMain(t.v.data(), 40, 40, 40, 0.5f, 0);
    EXPECT_EQ(mc.GetVertexNumber(), 3 * ReferenceTriangles(t, 127));
}

// Welding checks on a closed surface: each edge used by exactly two triangles, V - E + F = 2,
// unshared count = 3 * faces, every vertex near the sphere, normals pointing outwards.
void ExpectClosedSphere(const MarchingCube_cls& mc, int n, double cx, double cy, double cz, double r)
{
    const auto& p = mc.GetPositionsFull();
    const auto& nor = mc.GetNormalsFull();
    const auto& idx = mc.GetIndicesFull();
    ASSERT_GT(idx.size(), 0u);
    EXPECT_EQ(mc.GetVertexNumber(), idx.size());
    auto use = EdgeUse(idx);
    size_t bad = 0;
    for (auto& [e, c] : use)
        bad += c != 2;
    EXPECT_EQ(bad, 0u) << "edges not shared by exactly two triangles";
    long long euler = static_cast<long long>(mc.GetVertexNumberOptFull()) - static_cast<long long>(use.size()) +
                      static_cast<long long>(mc.GetFaceNumberOptFull());
    EXPECT_EQ(euler, 2);
    for (size_t v = 0; v < p.size() / 3; ++v) {
        double d[3] = {p[v * 3] * n - cx, p[v * 3 + 1] * n - cy, p[v * 3 + 2] * n - cz};
        double len = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
        ASSERT_NEAR(len, r, 1.0) << "vertex " << v;
        double dot = (d[0] * nor[v * 3] + d[1] * nor[v * 3 + 1] + d[2] * nor[v * 3 + 2]) / len;
        ASSERT_GT(dot, 0.8) << "normal of vertex " << v << " does not point outwards";
    }
}

TEST(MarchingCube, FullWeldClosesSpheresAcrossBlockBorders)
{
    struct Case {
        int n;
        double cx, cy, cz, r;
    };
    // 40^3 has block borders at 5, 10, 15 ...; 12^3 has blocks one cube thick; the last case sits
    // off-centre in a 64^3 grid crossing borders on all three axes.
    const Case cases[] = {{40, 19.3, 20.1, 20.6, 11.2},
                          {12, 5.6, 5.4, 5.9, 3.3},
                          {64, 30.2, 33.7, 28.9, 17.5},
                          {24, 11.5, 11.5, 11.5, 2.2}};
    MarchingCube_cls mc;
    for (const Case& c : cases) {
        TestVolume t = MakeBall(c.n, c.n, c.n, c.cx, c.cy, c.cz, c.r);
        ASSERT_TRUE(mc.ThreadControlMain(t.v.data(), c.n, c.n, c.n, 0.5f, MarchingCube_cls::kFlagNormals));
        mc.OptimizeVertices();
        EXPECT_LT(mc.GetVertexNumberOpt(), mc.GetVertexNumber());
        mc.OptimizeVerticesFull();
        EXPECT_LT(mc.GetVertexNumberOptFull(), mc.GetVertexNumberOpt());
        SCOPED_TRACE(c.n);
        ExpectClosedSphere(mc, c.n, c.cx, c.cy, c.cz, c.r);
    }
}

TEST(MarchingCube, BlockWeldSharesTheIndicesOfACommonEdge)
{
    // Corners 0 and 1 at or below the level: two triangles over the edges 1, 8, 3, 9.
    TestVolume t(2, 2, 2, 255);
    t.at(0, 0, 0) = 0;
    t.at(1, 0, 0) = 0;
    MarchingCube_cls mc;
    mc.ThreadControlMain(t.v.data(), 2, 2, 2, 0.5f, 0);
    EXPECT_EQ(mc.GetVertexNumber(), 6u);
    mc.OptimizeVertices();
    EXPECT_EQ(mc.GetVertexNumberOpt(), 4u);
    const MarchingBlock_cls* b = nullptr;
    for (int i = 0; i < MarchingCube_cls::kBlockNum; ++i)
        if (!mc.GetBlock(i).mvIndexOpt.empty())
            b = &mc.GetBlock(i);
    ASSERT_NE(b, nullptr);
    ASSERT_EQ(b->mvIndexOpt.size(), 6u);
    std::set<uint32_t> first(b->mvIndexOpt.begin(), b->mvIndexOpt.begin() + 3);
    int shared = 0;
    for (int k = 3; k < 6; ++k)
        shared += first.count(b->mvIndexOpt[k]);
    EXPECT_EQ(shared, 2);
}

TEST(MarchingCube, ResultsDoNotDependOnTheThreadCount)
{
    TestVolume t = MakeBall(48, 40, 44, 23.1, 18.4, 21.7, 15.3);
    // Add a second surface so that many blocks carry triangles.
    for (int z = 0; z < 44; ++z)
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 48; ++x)
                if ((x / 6 + y / 5 + z / 7) % 5 == 0)
                    t.at(x, y, z) = static_cast<unsigned char>(std::min(254, t.at(x, y, z) + 200));
    std::vector<float> refPos, refNorm;
    std::vector<uint32_t> refIdx;
    size_t refOpt = 0;
    for (int threads : {1, 2, 7}) {
        ScopedThreads scope(threads);
        MarchingCube_cls mc;
        ASSERT_TRUE(mc.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, 0.5f, MarchingCube_cls::kFlagNormals));
        mc.OptimizeVerticesFull();
        if (threads == 1) {
            refPos = mc.GetPositionsFull();
            refNorm = mc.GetNormalsFull();
            refIdx = mc.GetIndicesFull();
            refOpt = mc.GetVertexNumberOpt();
            ASSERT_GT(refIdx.size(), 1000u);
            continue;
        }
        EXPECT_EQ(mc.GetVertexNumberOpt(), refOpt) << threads;
        EXPECT_EQ(mc.GetPositionsFull(), refPos) << threads;
        EXPECT_EQ(mc.GetNormalsFull(), refNorm) << threads;
        EXPECT_EQ(mc.GetIndicesFull(), refIdx) << threads;
    }
}

TEST(MarchingCube, WeldingWhileMarchingGivesTheSameLists)
{
    TestVolume t = MakeBall(50, 44, 47, 24.3, 20.8, 22.2, 16.1);
    for (size_t i = 0; i < t.v.size(); i += 97)
        t.v[i] = 255; // scattered specks: many tiny separate surfaces in every block
    MarchingCube_cls separate, fused;
    separate.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, 0.5f, MarchingCube_cls::kFlagNormals);
    separate.OptimizeVertices();
    fused.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, 0.5f,
                            MarchingCube_cls::kFlagNormals | MarchingCube_cls::kFlagWeldInBlock);
    EXPECT_EQ(fused.GetVertexNumber(), separate.GetVertexNumber());
    EXPECT_EQ(fused.GetVertexNumberOpt(), separate.GetVertexNumberOpt());
    for (int i = 0; i < MarchingCube_cls::kBlockNum; ++i) {
        const MarchingBlock_cls& a = separate.GetBlock(i);
        const MarchingBlock_cls& b = fused.GetBlock(i);
        ASSERT_EQ(a.mvPosOpt, b.mvPosOpt) << "block " << i;
        ASSERT_EQ(a.mvNormOpt, b.mvNormOpt) << "block " << i;
        ASSERT_EQ(a.mvIndexOpt, b.mvIndexOpt) << "block " << i;
        EXPECT_TRUE(b.mvPos.empty());
    }
    separate.OptimizeVerticesFull();
    fused.OptimizeVerticesFull();
    EXPECT_EQ(fused.GetIndicesFull(), separate.GetIndicesFull());
    EXPECT_EQ(fused.GetPositionsFull(), separate.GetPositionsFull());
}

TEST(MarchingCube, ClearingReleasesEachStage)
{
    TestVolume t = MakeBall(20, 20, 20, 9.5, 9.5, 9.5, 6.0);
    MarchingCube_cls mc;
    mc.ThreadControlMain(t.v.data(), 20, 20, 20, 0.5f, MarchingCube_cls::kFlagNormals);
    mc.OptimizeVerticesFull();
    ASSERT_GT(mc.GetFaceNumberOptFull(), 0u);
    size_t opt = mc.GetVertexNumberOpt();
    mc.ClearOptFull();
    EXPECT_EQ(mc.GetFaceNumberOptFull(), 0u);
    EXPECT_EQ(mc.GetVertexNumberOpt(), opt);
    mc.ClearOpt();
    EXPECT_EQ(mc.GetVertexNumberOpt(), 0u);
    EXPECT_GT(mc.GetVertexNumber(), 0u);
    EXPECT_GT(mc.GetVertexDensity(), 0.0);
    EXPECT_GE(mc.GetMaxVertexDensity(), mc.GetVertexDensity());
    // The full weld redoes the block stage it needs.
    mc.OptimizeVerticesFull();
    EXPECT_EQ(mc.GetVertexNumberOpt(), opt);
    mc.Clear(0);
    EXPECT_EQ(mc.GetVertexNumber(), 0u);
    EXPECT_EQ(mc.GetVertexDensity(), 0.0);
}

} // namespace
