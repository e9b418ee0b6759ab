// The drawing block: its keys, the clip box made valid, the octree leaves tiling the box, the
// visibility of empty leaves and the far-to-near order.
#include "gl/DrawingBlock_cls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

TEST(DrawingBlock, KeysDefaultsAndReading)
{
    DrawingBlock_cls block;
    const std::wstring text = block.SerializeConf();
    for (const wchar_t* key :
         {L"DrawingBoxUse8TRee=", L"DrawingBoxUse8TReeForCopy=", L"DrawingBoxMinX=", L"DrawingBoxMinY=",
          L"DrawingBoxMinZ=", L"DrawingBoxMaxX=", L"DrawingBoxMaxY=", L"DrawingBoxMaxZ="})
        EXPECT_NE(text.find(key), std::wstring::npos) << std::wstring(key);
    EXPECT_EQ(block.GetBox(), DrawingBlock_cls::Box{});
    EXPECT_FALSE(block.IsUse8Tree());

    EXPECT_TRUE(block.ReadStrLine(L"DrawingBoxMinY=0.25"));
    EXPECT_TRUE(block.ReadStrLine(L"DrawingBoxMaxZ=0.5"));
    EXPECT_TRUE(block.ReadStrLine(L"DrawingBoxUse8TRee=1"));
    EXPECT_FALSE(block.ReadStrLine(L"SomethingElse=3"));
    EXPECT_TRUE(block.IsUse8Tree());
    EXPECT_FALSE(block.IsUse8TreeForCopy());
    EXPECT_DOUBLE_EQ(block.GetBox().mvMin[1], 0.25);
    EXPECT_DOUBLE_EQ(block.GetBox().mvMax[2], 0.5);

    // The text form carries the values into a fresh block.
    DrawingBlock_cls copy;
    std::wstring all = block.SerializeConf();
    size_t start = 0;
    while (start < all.size()) {
        const size_t end = all.find(L'\n', start);
        copy.ReadStrLine(all.substr(start, end - start));
        start = end + 1;
    }
    EXPECT_EQ(copy.GetBox(), block.GetBox());
    EXPECT_TRUE(copy.IsUse8Tree());
}

TEST(DrawingBlock, OutOfRangeAndSwappedValuesAreMadeValid)
{
    DrawingBlock_cls block;
    block.ReadStrLine(L"DrawingBoxMinX=-3");
    block.ReadStrLine(L"DrawingBoxMaxX=7");
    block.ReadStrLine(L"DrawingBoxMinY=0.75");
    block.ReadStrLine(L"DrawingBoxMaxY=0.25");
    const DrawingBlock_cls::Box box = block.GetBox();
    EXPECT_DOUBLE_EQ(box.mvMin[0], 0.0);
    EXPECT_DOUBLE_EQ(box.mvMax[0], 1.0);
    EXPECT_DOUBLE_EQ(box.mvMin[1], 0.25);
    EXPECT_DOUBLE_EQ(box.mvMax[1], 0.75);
}

TEST(DrawingBlock, LeavesTileTheBoxWithoutGapsOrOverlaps)
{
    const uint32_t size[3] = {32, 20, 9};
    DrawingBlock_cls::Box box{{0.1, 0.0, 0.0}, {0.9, 1.0, 1.0}};
    const auto leaves = DrawingBlock_cls::SplitBox(box, size);
    // z holds 9 voxels: cut once (4 + 5), the halves are too thin to cut again.
    EXPECT_EQ(leaves.size(), 4u * 4u * 2u);
    // Count how often every voxel of the box falls in a leaf under the floor(N * fraction) rule.
    std::vector<int> hits(32 * 20 * 9, 0);
    for (const auto& b : leaves)
        for (int z = int(std::floor(9 * b.mvMin[2])); z < int(std::floor(9 * b.mvMax[2])); ++z)
            for (int y = int(std::floor(20 * b.mvMin[1])); y < int(std::floor(20 * b.mvMax[1])); ++y)
                for (int x = int(std::floor(32 * b.mvMin[0])); x < int(std::floor(32 * b.mvMax[0])); ++x)
                    ++hits[(z * 20 + y) * 32 + x];
    for (int z = 0; z < 9; ++z)
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 32; ++x) {
                const bool inside = x >= 3 && x < 28; // floor(3.2) .. floor(28.8)
                EXPECT_EQ(hits[(z * 20 + y) * 32 + x], inside ? 1 : 0) << x << " " << y << " " << z;
            }
}

TEST(DrawingBlock, EmptyLeavesAreDroppedAndTheRestSortedFarToNear)
{
    const uint32_t size[3] = {16, 16, 16};
    std::vector<uint8_t> voxels(16 * 16 * 16, 0);
    // Two dense voxels: one in the low corner leaf, one in the high corner leaf.
    voxels[(1 * 16 + 1) * 16 + 1] = 9;
    voxels[(14 * 16 + 14) * 16 + 14] = 200;
    DrawingBlock_cls block;
    block.SetUse8Tree(true);
    EXPECT_EQ(block.GetDrawBoxes({0, 0, 1}).size(), 1u) << "before the division the whole box is drawn";
    block.MakeChilds(voxels.data(), size, 42, 3);
    EXPECT_TRUE(block.IsChildsValidFor(42));
    EXPECT_FALSE(block.IsChildsValidFor(43));
    EXPECT_EQ(block.GetLeafCount(), 64u);
    ASSERT_EQ(block.GetVisibleCount(), 2u);

    // Looking along +z (away from the viewer): the high-z leaf is the far one and comes first.
    auto boxes = block.GetDrawBoxes({0, 0, 1});
    ASSERT_EQ(boxes.size(), 2u);
    EXPECT_DOUBLE_EQ(boxes[0].mvMin[2], 0.75);
    EXPECT_DOUBLE_EQ(boxes[1].mvMax[2], 0.25);
    boxes = block.GetDrawBoxes({0, 0, -1});
    EXPECT_DOUBLE_EQ(boxes[0].mvMax[2], 0.25);

    // Copying uses the leaves only when asked.
    EXPECT_EQ(block.GetCopyBoxes().size(), 1u);
    block.SetUse8TreeForCopy(true);
    EXPECT_EQ(block.GetCopyBoxes().size(), 2u);

    // A new box drops the division.
    block.ReadStrLine(L"DrawingBoxMaxX=0.5");
    EXPECT_FALSE(block.IsChildsValidFor(42));
}

TEST(DrawingBlock, CheckVisLooksOnlyInsideTheBox)
{
    const uint32_t size[3] = {8, 8, 8};
    std::vector<uint8_t> voxels(512, 0);
    voxels[(3 * 8 + 3) * 8 + 4] = 1; // x = 4, y = 3, z = 3
    EXPECT_TRUE(DrawingBlock_cls::CheckVis(voxels.data(), size, {{0.5, 0, 0}, {1, 1, 1}}));
    EXPECT_FALSE(DrawingBlock_cls::CheckVis(voxels.data(), size, {{0, 0, 0}, {0.5, 1, 1}}));
    EXPECT_FALSE(DrawingBlock_cls::CheckVis(voxels.data(), size, {{0.5, 0.5, 0}, {1, 1, 1}}));
    EXPECT_FALSE(DrawingBlock_cls::CheckVis(voxels.data(), size, {{0.5, 0, 0}, {0.5, 1, 1}})) << "empty range";
    EXPECT_FALSE(DrawingBlock_cls::CheckVis(nullptr, size, {}));
}
