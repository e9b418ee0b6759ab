// The counted block stage (the command-line tool's path): the block outputs go to one arena per
// worker lane, the block value ranges come from the classification, and the full weld sizes its
// lists on a helper. Whatever the thread count, grid shape or previous extraction, the welded
// surface must be the one of the cube-by-cube march, bit for bit.
#include "IsoTestUtil.h"

#include "config/Preference_cls.h"
#include "iso/IsoSpareMemory_cls.h"
#include "iso/LargeBuffer_cls.h"
#include "iso/MarchingCube_cls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <random>
#include <string>

namespace
{

class ScopedThreadNum
{
  public:
    explicit ScopedThreadNum(int n) : miOld(GetPreference().GetThreadNumFilter())
    {
        GetPreference().SetThreadNumFilter(n);
    }
    ~ScopedThreadNum() { GetPreference().SetThreadNumFilter(miOld); }

  private:
    int miOld;
};

constexpr unsigned kCounted =
    MarchingCube_cls::kFlagNormals | MarchingCube_cls::kFlagWeldInBlock | MarchingCube_cls::kFlagWeldCountOnly;
constexpr unsigned kReference =
    MarchingCube_cls::kFlagNormals | MarchingCube_cls::kFlagWeldInBlock | MarchingCube_cls::kFlagCubeByCube;

// Everything a caller of the counted path can see, against the reference march.
void ExpectSameSurface(const MarchingCube_cls& ref, const MarchingCube_cls& got, const std::string& what)
{
    ASSERT_EQ(got.GetMarchedBlockNumber(), ref.GetMarchedBlockNumber()) << what;
    ASSERT_EQ(got.GetVertexNumber(), ref.GetVertexNumber()) << what;
    ASSERT_EQ(got.GetVertexNumberOpt(), ref.GetVertexNumberOpt()) << what;
    ASSERT_EQ(got.GetVertexNumberOptFull(), ref.GetVertexNumberOptFull()) << what;
    ASSERT_EQ(got.GetFaceNumberOptFull(), ref.GetFaceNumberOptFull()) << what;
    ASSERT_EQ(got.GetPositionsFull(), ref.GetPositionsFull()) << what;
    ASSERT_EQ(got.GetNormalsFull(), ref.GetNormalsFull()) << what;
    ASSERT_EQ(got.GetIndicesFull(), ref.GetIndicesFull()) << what;
    for (int i = 0; i < MarchingCube_cls::kBlockNum; ++i) {
        const MarchingBlock_cls& a = ref.GetBlock(i);
        const MarchingBlock_cls& b = got.GetBlock(i);
        ASSERT_EQ(b.miStatus, a.miStatus) << what << " block " << i;
        ASSERT_EQ(b.miMin, a.miMin) << what << " block " << i;
        ASSERT_EQ(b.miMax, a.miMax) << what << " block " << i;
        ASSERT_EQ(b.muFirstVertexFull, a.muFirstVertexFull) << what << " block " << i;
        ASSERT_EQ(b.muFaceBeginFull, a.muFaceBeginFull) << what << " block " << i;
        ASSERT_EQ(b.muFaceNumFull, a.muFaceNumFull) << what << " block " << i;
    }
}

// Noise, plateaus at the level (vertices of different edges meeting on voxels, within and across
// blocks) and empty regions (blocks that are not marched), on one grid.
TestVolume MakeMixed(int nx, int ny, int nz, unsigned seed)
{
    TestVolume t(nx, ny, nz);
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> any(0, 255);
    for (int z = 0; z < nz; ++z)
        for (int y = 0; y < ny; ++y)
            for (int x = 0; x < nx; ++x) {
                unsigned char v;
                if (z < nz / 4)
                    v = 10; // a slab of blocks entirely above the level (at 0.5 and at 128)
                else if (x % 11 < 3)
                    v = static_cast<unsigned char>(any(rng));
                else
                    v = static_cast<unsigned char>(
                        64 * std::lround(2.0 + 2.0 * std::sin(x * 0.29) * std::cos(y * 0.21 + z * 0.13)));
                t.at(x, y, z) = v;
            }
    return t;
}

TEST(MarchingCounted, SameSurfaceAsTheReferenceForAnyThreadCountAndOddGrids)
{
    const int shapes[][3] = {{3, 5, 7}, {9, 2, 13}, {37, 29, 41}, {65, 33, 17}, {131, 7, 19}};
    unsigned seed = 11;
    for (const auto& s : shapes) {
        const TestVolume t = MakeMixed(s[0], s[1], s[2], seed++);
        for (float level : {0.5f, 128.0f / 255.0f, 0.0f}) {
            MarchingCube_cls ref;
            {
                ScopedThreadNum one(1);
                ASSERT_TRUE(ref.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, level, kReference));
                ref.OptimizeVerticesFull();
            }
            for (int threads : {1, 2, 7}) {
                ScopedThreadNum scope(threads);
                MarchingCube_cls got;
                ASSERT_TRUE(got.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, level, kCounted));
                got.OptimizeVerticesFull();
                ExpectSameSurface(ref, got,
                                  std::to_string(s[0]) + "x" + std::to_string(s[1]) + "x" + std::to_string(s[2]) +
                                      " level " + std::to_string(level) + " threads " + std::to_string(threads));
            }
        }
    }
}

TEST(MarchingCounted, MeshTextIsTheSameAsFromTheReference)
{
    TestVolume t = MakeBall(45, 38, 51, 21.6, 18.9, 25.2, 14.8);
    for (size_t i = 0; i < t.v.size(); i += 61)
        t.v[i] = 128; // voxels at the level scattered over the ball
    MarchingCube_cls ref, got;
    ASSERT_TRUE(ref.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, 128.0f / 255.0f, kReference));
    ref.OptimizeVerticesFull();
    {
        ScopedThreadNum two(2);
        ASSERT_TRUE(got.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, 128.0f / 255.0f, kCounted));
        got.OptimizeVerticesFull();
    }
    ASSERT_GT(got.GetFaceNumberOptFull(), 1000u);
    std::string a, b;
    ASSERT_TRUE(ref.GetStrPovMesh2(&a, L"Ball", L"_1", true));
    ASSERT_TRUE(got.GetStrPovMesh2(&b, L"Ball", L"_1", true));
    EXPECT_EQ(a, b);
    ASSERT_TRUE(ref.GetStrWaveFrontObj(&a, true));
    ASSERT_TRUE(got.GetStrWaveFrontObj(&b, true));
    EXPECT_EQ(a, b);
}

TEST(MarchingCounted, ReusedExtractorGivesTheResultsOfAFreshOne)
{
    // The arenas keep their memory between extractions; a larger surface, a smaller one, one
    // without normals and one without any cut block must each start from an empty arena.
    const TestVolume big = MakeMixed(70, 61, 53, 5);
    const TestVolume small = MakeBall(23, 19, 27, 11.2, 9.7, 13.1, 6.4);
    const TestVolume flat(30, 30, 30, 200);
    ScopedThreadNum two(2);
    MarchingCube_cls reused;
    struct Step {
        const TestVolume* t;
        float level;
        unsigned flags;
    };
    const Step steps[] = {{&big, 0.5f, kCounted},
                          {&small, 0.5f, kCounted},
                          {&big, 128.0f / 255.0f, kCounted & ~MarchingCube_cls::kFlagNormals},
                          {&flat, 0.5f, kCounted},
                          {&small, 0.5f, kCounted},
                          {&big, 0.5f, kCounted}};
    int n = 0;
    for (const Step& st : steps) {
        const std::string what = "step " + std::to_string(n++);
        if (n == 5)
            reused.Clear(0); // released memory must come back as well
        ASSERT_TRUE(reused.ThreadControlMain(st.t->v.data(), st.t->nx, st.t->ny, st.t->nz, st.level, st.flags));
        reused.OptimizeVerticesFull();
        MarchingCube_cls fresh;
        ASSERT_TRUE(fresh.ThreadControlMain(st.t->v.data(), st.t->nx, st.t->ny, st.t->nz, st.level,
                                            (st.flags & ~MarchingCube_cls::kFlagWeldCountOnly) |
                                                MarchingCube_cls::kFlagCubeByCube));
        fresh.OptimizeVerticesFull();
        ExpectSameSurface(fresh, reused, what);
        const size_t normals = (st.flags & MarchingCube_cls::kFlagNormals) ? reused.GetPositionsFull().size() : 0;
        EXPECT_EQ(reused.GetNormalsFull().size(), normals) << what;
        EXPECT_EQ(reused.GetFaceNumberOptFull() == 0, st.t == &flat) << what;
    }
}

TEST(MarchingCounted, SkippedBlocksKeepTheirValueRangeAndStatus)
{
    // Two slabs of constant value with a thin band between them: most blocks are never marched and
    // must report the side they lie on and their exact range, as the reference does.
    TestVolume t(40, 40, 40, 0);
    for (int z = 0; z < 40; ++z)
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 40; ++x)
                t.at(x, y, z) = z < 18 ? 40 : (z > 21 ? 220 : static_cast<unsigned char>(60 + 30 * (z - 18) + x % 3));
    t.at(5, 5, 2) = 0;
    t.at(35, 35, 37) = 255;
    for (float level : {0.5f, 0.1f, 0.95f}) {
        MarchingCube_cls ref, got;
        ASSERT_TRUE(ref.ThreadControlMain(t.v.data(), 40, 40, 40, level, kReference));
        ASSERT_TRUE(got.ThreadControlMain(t.v.data(), 40, 40, 40, level, kCounted));
        ref.OptimizeVerticesFull();
        got.OptimizeVerticesFull();
        ExpectSameSurface(ref, got, "level " + std::to_string(level));
        EXPECT_LT(got.GetMarchedBlockNumber(), MarchingCube_cls::kBlockNum) << level;
    }
    MarchingCube_cls got;
    ASSERT_TRUE(got.ThreadControlMain(t.v.data(), 40, 40, 40, 0.5f, kCounted));
    EXPECT_EQ(got.GetBlock(0).miStatus, MarchingBlock_cls::kAllBelow);
    EXPECT_EQ(got.GetBlock(0).miMin, 0);
    EXPECT_EQ(got.GetBlock(MarchingCube_cls::kBlockNum - 1).miStatus, MarchingBlock_cls::kAllAbove);
    EXPECT_EQ(got.GetBlock(MarchingCube_cls::kBlockNum - 1).miMax, 255);
}

TEST(LargeBuffer, GrowingKeepsTheWrittenPrefix)
{
    LargeBuffer_cls<uint32_t> buf;
    EXPECT_EQ(buf.Data(), nullptr);
    uint32_t* p = buf.Reserve(10, 0);
    ASSERT_NE(p, nullptr);
    ASSERT_GE(buf.Capacity(), 10u);
    const size_t first = buf.Capacity();
    std::iota(p, p + first, 1000u);
    // Within the capacity nothing moves.
    EXPECT_EQ(buf.Reserve(first, first), p);
    // Past it the buffer at least doubles and keeps exactly the prefix it was told to keep.
    uint32_t* q = buf.Reserve(first + 1, first);
    ASSERT_GE(buf.Capacity(), 2 * first);
    for (size_t i = 0; i < first; ++i)
        ASSERT_EQ(q[i], 1000u + i) << i;
    q[buf.Capacity() - 1] = 7;
    EXPECT_EQ(buf.Data()[buf.Capacity() - 1], 7u);
    buf.Release();
    EXPECT_EQ(buf.Data(), nullptr);
    EXPECT_EQ(buf.Capacity(), 0u);
}

} // namespace

TEST(MarchingCounted, NewExtractorsTakeOverTheMemoryOfFinishedOnes)
{
    // A new extractor per surface, as a program extracting one surface after another would use
    // them: each takes the arenas and welded lists the previous one left, contents and all (the
    // lists are resized, not cleared), and must still give the reference surface.
    IsoSpareMemory_cls& store = IsoSpareMemory_cls::Get();
    store.Release();
    EXPECT_EQ(store.GetKeptBytes(), 0u);
    const TestVolume big = MakeMixed(70, 61, 53, 9);
    const TestVolume small = MakeBall(23, 19, 27, 11.2, 9.7, 13.1, 6.4);
    const TestVolume* order[] = {&big, &small, &big, &small};
    for (int threads : {1, 2, 7}) {
        ScopedThreadNum scoped(threads);
        int n = 0;
        for (const TestVolume* t : order) {
            const std::string what = std::to_string(threads) + " threads, surface " + std::to_string(n++);
            MarchingCube_cls ref;
            ASSERT_TRUE(ref.ThreadControlMain(t->v.data(), t->nx, t->ny, t->nz, 0.5f, kReference));
            ref.OptimizeVerticesFull();
            {
                MarchingCube_cls got;
                ASSERT_TRUE(got.ThreadControlMain(t->v.data(), t->nx, t->ny, t->nz, 0.5f, kCounted));
                got.OptimizeVerticesFull();
                ExpectSameSurface(ref, got, what);
            }
            EXPECT_GT(store.GetKeptBytes(), 0u) << what;
        }
    }
    // What is kept can be given back; a kept set is replaced only by a larger one.
    EXPECT_GT(store.Release(), 0u);
    EXPECT_EQ(store.GetKeptBytes(), 0u);
    std::vector<float> pos(3000), norm(3000);
    std::vector<uint32_t> index(6000);
    store.GiveLists(pos, norm, index);
    EXPECT_TRUE(pos.empty() && norm.empty() && index.empty());
    const size_t kept = store.GetKeptBytes();
    EXPECT_GE(kept, 12000u * sizeof(float));
    std::vector<float> p2(30), n2(30);
    std::vector<uint32_t> i2(60);
    store.GiveLists(p2, n2, i2);
    EXPECT_EQ(store.GetKeptBytes(), kept);
    std::vector<float> p3, n3;
    std::vector<uint32_t> i3;
    store.TakeLists(p3, n3, i3);
    EXPECT_GE(p3.capacity(), 3000u);
    EXPECT_GE(i3.capacity(), 6000u);
    EXPECT_EQ(store.GetKeptBytes(), 0u);
    store.Release();
}
