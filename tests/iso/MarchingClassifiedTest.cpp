// The classified block march against the cube-by-cube march: every array of every block must be
// the same, bit for bit, whatever the grid shape, level and options.
#include "IsoTestUtil.h"

#include "config/Preference_cls.h"
#include "iso/MarchingCube_cls.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace
{

void ExpectSameBlocks(const MarchingCube_cls& ref, const MarchingCube_cls& fast, const std::string& what)
{
    ASSERT_EQ(ref.GetMarchedBlockNumber(), fast.GetMarchedBlockNumber()) << what;
    ASSERT_EQ(ref.GetVertexNumber(), fast.GetVertexNumber()) << what;
    for (int i = 0; i < MarchingCube_cls::kBlockNum; ++i) {
        const MarchingBlock_cls& a = ref.GetBlock(i);
        const MarchingBlock_cls& b = fast.GetBlock(i);
        ASSERT_EQ(a.miStatus, b.miStatus) << what << " block " << i;
        ASSERT_EQ(a.muVertexNum, b.muVertexNum) << what << " block " << i;
        ASSERT_EQ(a.mvPos, b.mvPos) << what << " block " << i;
        ASSERT_EQ(a.mvNorm, b.mvNorm) << what << " block " << i;
        ASSERT_EQ(a.mvPosOpt, b.mvPosOpt) << what << " block " << i;
        ASSERT_EQ(a.mvNormOpt, b.mvNormOpt) << what << " block " << i;
        ASSERT_EQ(a.mvIndexOpt, b.mvIndexOpt) << what << " block " << i;
        ASSERT_EQ(a.mbOptDone, b.mbOptDone) << what << " block " << i;
    }
}

void CompareOnVolume(const TestVolume& t, float level, const std::string& name)
{
    for (unsigned flags :
         {0u, MarchingCube_cls::kFlagNormals, MarchingCube_cls::kFlagNormals | MarchingCube_cls::kFlagWeldInBlock,
          MarchingCube_cls::kFlagWeldInBlock}) {
        const std::string what = name + " level " + std::to_string(level) + " flags " + std::to_string(flags);
        MarchingCube_cls ref, fast;
        ASSERT_TRUE(
            ref.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, level, flags | MarchingCube_cls::kFlagCubeByCube));
        ASSERT_TRUE(fast.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, level, flags));
        ExpectSameBlocks(ref, fast, what);
        ref.OptimizeVerticesFull();
        fast.OptimizeVerticesFull();
        ASSERT_EQ(ref.GetPositionsFull(), fast.GetPositionsFull()) << what;
        ASSERT_EQ(ref.GetNormalsFull(), fast.GetNormalsFull()) << what;
        ASSERT_EQ(ref.GetIndicesFull(), fast.GetIndicesFull()) << what;
    }
}

TEST(MarchingClassified, SameArraysAsTheCubeByCubeMarch)
{
    std::mt19937 rng(2024);
    // Widths from one cube per block to more than sixteen (the vector loops and their tails) and
    // more than 64 (several words of cut-cube bits per row).
    const int shapes[][3] = {{2, 2, 2}, {3, 9, 5}, {17, 4, 11}, {40, 33, 26}, {150, 19, 21}, {137, 140, 9}, {531, 5, 4}};
    for (const auto& s : shapes) {
        TestVolume noise(s[0], s[1], s[2]);
        std::uniform_int_distribution<int> any(0, 255);
        for (auto& v : noise.v)
            v = static_cast<unsigned char>(any(rng));
        CompareOnVolume(noise, 0.5f, "noise " + std::to_string(s[0]));

        // Plateaus of 0, 64, 128, 192 and 255: at byte level 128 many voxels equal the level, so
        // vertices of different edges meet on grid points and the welding must still agree.
        TestVolume steps(s[0], s[1], s[2]);
        for (int z = 0; z < steps.nz; ++z)
            for (int y = 0; y < steps.ny; ++y)
                for (int x = 0; x < steps.nx; ++x) {
                    double f = 2.0 + 2.0 * std::sin(x * 0.31) * std::cos(y * 0.23 + z * 0.17);
                    steps.at(x, y, z) =
                        static_cast<unsigned char>(std::min(255, 64 * static_cast<int>(std::lround(f))));
                }
        CompareOnVolume(steps, 128.5f / 255.0f, "steps " + std::to_string(s[0]));
        CompareOnVolume(steps, 0.0f, "steps " + std::to_string(s[0]));
    }
    const TestVolume ball = MakeBall(70, 45, 52, 33.2, 20.7, 27.1, 18.4);
    for (float level : {0.1f, 0.5f, 0.93f, 1.0f})
        CompareOnVolume(ball, level, "ball");
}

TEST(MarchingClassified, CountingTheBlockStageGivesTheSameSurface)
{
    TestVolume t = MakeBall(61, 47, 39, 30.2, 22.9, 18.8, 15.7);
    // Specks and a plateau at the level: duplicates far beyond the look-back, and vertices of
    // different edges on the same voxel.
    for (size_t i = 0; i < t.v.size(); i += 53)
        t.v[i] = 255;
    for (int z = 5; z < 30; ++z)
        for (int y = 3; y < 9; ++y)
            for (int x = 10; x < 50; ++x)
                t.at(x, y, z) = (x + z) % 3 == 0 ? 128 : 127;
    for (float level : {0.5f, 128.5f / 255.0f}) {
        const unsigned base = MarchingCube_cls::kFlagNormals | MarchingCube_cls::kFlagWeldInBlock;
        MarchingCube_cls lists, counted;
        ASSERT_TRUE(lists.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, level, base));
        ASSERT_TRUE(counted.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, level,
                                              base | MarchingCube_cls::kFlagWeldCountOnly));
        EXPECT_EQ(counted.GetVertexNumber(), lists.GetVertexNumber()) << level;
        EXPECT_EQ(counted.GetVertexNumberOpt(), lists.GetVertexNumberOpt()) << level;
        for (int i = 0; i < MarchingCube_cls::kBlockNum; ++i)
            ASSERT_TRUE(counted.GetBlock(i).mvPosOpt.empty()) << "block " << i;
        lists.OptimizeVerticesFull();
        counted.OptimizeVerticesFull();
        ASSERT_GT(lists.GetFaceNumberOptFull(), 1000u);
        EXPECT_LT(lists.GetVertexNumberOptFull(), lists.GetVertexNumberOpt());
        EXPECT_EQ(counted.GetPositionsFull(), lists.GetPositionsFull()) << level;
        EXPECT_EQ(counted.GetNormalsFull(), lists.GetNormalsFull()) << level;
        EXPECT_EQ(counted.GetIndicesFull(), lists.GetIndicesFull()) << level;
        for (int i = 0; i < MarchingCube_cls::kBlockNum; ++i) {
            EXPECT_EQ(counted.GetBlock(i).muFirstVertexFull, lists.GetBlock(i).muFirstVertexFull) << i;
            EXPECT_EQ(counted.GetBlock(i).muFaceBeginFull, lists.GetBlock(i).muFaceBeginFull) << i;
            EXPECT_EQ(counted.GetBlock(i).muFaceNumFull, lists.GetBlock(i).muFaceNumFull) << i;
        }
        std::string a, b;
        lists.GetStrPovMesh2(&a, L"S", L"", true);
        counted.GetStrPovMesh2(&b, L"S", L"", true);
        EXPECT_EQ(a, b);
        // Releasing the block stage releases what stands in for it.
        counted.ClearOpt();
        EXPECT_EQ(counted.GetVertexNumberOpt(), 0u);
    }
}

TEST(MarchingClassified, BlockStatusOfUniformBlocks)
{
    // A slab above the level and one at it: blocks of one kind report it, blocks across the
    // boundary are cut, on both paths.
    TestVolume t(24, 24, 24, 200);
    for (int z = 0; z < 12; ++z)
        for (int y = 0; y < 24; ++y)
            for (int x = 0; x < 24; ++x)
                t.at(x, y, z) = 127;
    MarchingCube_cls mc;
    for (unsigned extra : {0u, MarchingCube_cls::kFlagCubeByCube}) {
        ASSERT_TRUE(mc.ThreadControlMain(t.v.data(), 24, 24, 24, 0.5f, extra));
        EXPECT_EQ(mc.GetBlock(0).miStatus, MarchingBlock_cls::kAllBelow) << extra;
        EXPECT_EQ(mc.GetBlock(MarchingCube_cls::kBlockNum - 1).miStatus, MarchingBlock_cls::kAllAbove) << extra;
        // Slab 3 covers cubes 9..11, whose top corners at z = 12 lie above the level.
        EXPECT_EQ(mc.GetBlock(3 * 64).miStatus, MarchingBlock_cls::kCut) << extra;
        EXPECT_EQ(mc.GetVertexNumber(), 23u * 23u * 2u * 3u) << extra;
    }
}

} // namespace

namespace
{

TEST(MarchingClassified, BlockValueRangesCoverTheirCubesCorners)
{
    // Rows long enough for the 16-byte loops and their tails; random bytes with a few extremes.
    TestVolume t(300, 21, 17);
    std::mt19937 rng(7);
    std::uniform_int_distribution<int> mid(20, 230);
    for (auto& v : t.v)
        v = static_cast<unsigned char>(mid(rng));
    t.at(299, 20, 16) = 255;
    t.at(37, 2, 2) = 0;
    t.at(150, 10, 8) = 3;
    MarchingCube_cls mc;
    ASSERT_TRUE(mc.ThreadControlMain(t.v.data(), t.nx, t.ny, t.nz, 0.5f, 0));
    for (int i = 0; i < MarchingCube_cls::kBlockNum; ++i) {
        const MarchingBlock_cls& b = mc.GetBlock(i);
        if (b.GetCubeNumber() == 0)
            continue;
        int lo = 255, hi = 0;
        for (int z = b.miBegin[2]; z <= b.miEnd[2]; ++z)
            for (int y = b.miBegin[1]; y <= b.miEnd[1]; ++y)
                for (int x = b.miBegin[0]; x <= b.miEnd[0]; ++x) {
                    lo = std::min<int>(lo, t.at(x, y, z));
                    hi = std::max<int>(hi, t.at(x, y, z));
                }
        EXPECT_EQ(b.miMin, lo) << "block " << i;
        EXPECT_EQ(b.miMax, hi) << "block " << i;
    }
}

} // namespace
