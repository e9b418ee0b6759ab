// The block-tree rule drives the division of the drawing blocks, and the volume boxes' colour
// and alpha factors reach the slices that are drawn.
#include "config/LineStream_cls.h"
#include "config/PreviewProperty_cls.h"
#include "config/TexPropertyCtrl_cls.h"
#include "gl/DF3GL_cls.h"
#include "gl/DrawingBlock_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/TreeBoxRule_cls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace
{

// Links `rule` to every drawing block for the scope of a test.
class ScopedRule
{
  public:
    explicit ScopedRule(const TreeBoxRule_cls& rule) { DrawingBlock_cls::SetTreeBoxRule(&rule); }
    ~ScopedRule() { DrawingBlock_cls::SetTreeBoxRule(nullptr); }
    ScopedRule(const ScopedRule&) = delete;
    ScopedRule& operator=(const ScopedRule&) = delete;
};

class ScopedTexProperty
{
  public:
    explicit ScopedTexProperty(const TexPropertyCtrl_cls& tex) { DF3GL_cls::SetTexProperty(&tex); }
    ~ScopedTexProperty() { DF3GL_cls::SetTexProperty(nullptr); }
    ScopedTexProperty(const ScopedTexProperty&) = delete;
    ScopedTexProperty& operator=(const ScopedTexProperty&) = delete;
};

} // namespace

TEST(TreeBoxRuleDrawing, DepthAndThinnestHalfDecideTheLeaves)
{
    const uint32_t size[3] = {64, 64, 64};
    const DrawingBlock_cls::Box whole;
    TreeBoxRule_cls rule;
    ScopedRule link(rule);
    EXPECT_EQ(DrawingBlock_cls::SplitBox(whole, size).size(), 64u) << "default: two levels";
    rule.SetDepth(0);
    EXPECT_EQ(DrawingBlock_cls::SplitBox(whole, size).size(), 1u);
    rule.SetDepth(3);
    EXPECT_EQ(DrawingBlock_cls::SplitBox(whole, size).size(), 512u);
    // 64 voxels: 32 per half at level 1, 16 at level 2; halves of 16 would be 8 < 12.
    rule.SetMinVoxels(12);
    EXPECT_EQ(DrawingBlock_cls::SplitBox(whole, size).size(), 64u);
    rule.SetMinVoxels(40);
    EXPECT_EQ(DrawingBlock_cls::SplitBox(whole, size).size(), 1u);
    // Reading the rule from lines works the same way; out-of-range values are held but clamped.
    EXPECT_TRUE(rule.ReadStrLine(L"TreeBoxRuleMinVoxels=1"));
    EXPECT_TRUE(rule.ReadStrLine(L"TreeBoxRuleDepth=99"));
    EXPECT_EQ(rule.GetDepth(), TreeBoxRule_cls::kMaxDepth);
    EXPECT_NE(rule.SerializeConf().find(L"TreeBoxRuleDepth=99\n"), std::wstring::npos);
    // A flat volume can only be cut along its long axes: 4 x 4 x 1 leaves for 2 levels; with
    // halves of one voxel allowed its 3 slices are cut into 1 + 2, then 1 + 1 + 1.
    rule.SetDepth(2);
    const uint32_t flat[3] = {64, 64, 3};
    EXPECT_EQ(DrawingBlock_cls::SplitBox(whole, flat).size(), 4u * 4u * 3u);
    rule.SetMinVoxels(4);
    EXPECT_EQ(DrawingBlock_cls::SplitBox(whole, flat).size(), 4u * 4u * 1u);
}

TEST(TreeBoxRuleDrawing, EmptyLevelSkipsFaintLeavesAndARuleChangeRedividesOnce)
{
    const uint32_t size[3] = {16, 16, 16};
    std::vector<uint8_t> voxels(16 * 16 * 16, 0);
    voxels[(1 * 16 + 1) * 16 + 1] = 9;      // faint, in the low corner leaf
    voxels[(14 * 16 + 14) * 16 + 14] = 200; // dense, in the high corner leaf
    TreeBoxRule_cls rule;
    ScopedRule link(rule);
    DrawingBlock_cls block;
    block.SetUse8Tree(true);
    block.MakeChilds(voxels.data(), size, 7, 2);
    EXPECT_EQ(block.GetVisibleCount(), 2u);
    EXPECT_TRUE(block.IsChildsValidFor(7));

    rule.SetEmptyLevel(9);
    EXPECT_FALSE(block.IsChildsValidFor(7)) << "a division made under another rule is stale";
    block.MakeChilds(voxels.data(), size, 7, 2);
    EXPECT_TRUE(block.IsChildsValidFor(7));
    ASSERT_EQ(block.GetVisibleCount(), 1u);
    EXPECT_DOUBLE_EQ(block.GetDrawBoxes({0, 0, 1})[0].mvMin[0], 0.75);
    rule.SetEmptyLevel(8);
    block.MakeChilds(voxels.data(), size, 7, 2);
    EXPECT_EQ(block.GetVisibleCount(), 2u) << "density 9 is above level 8";

    // One level: 8 leaves; the same two voxels are in two of them.
    rule.ReadStrLine(L"TreeBoxRuleDepth=1");
    EXPECT_FALSE(block.IsChildsValidFor(7));
    block.MakeChilds(voxels.data(), size, 7, 1);
    EXPECT_EQ(block.GetLeafCount(), 8u);
    EXPECT_EQ(block.GetVisibleCount(), 2u);

    // Another rule object linked in its place also makes the division stale.
    TreeBoxRule_cls other;
    DrawingBlock_cls::SetTreeBoxRule(&other);
    EXPECT_FALSE(block.IsChildsValidFor(7));
    DrawingBlock_cls::SetTreeBoxRule(&rule);
    EXPECT_TRUE(block.IsChildsValidFor(7));
}

TEST(TreeBoxRuleDrawing, BoxFactorsScaleTheSliceColourAndAlphaOfTheirSlotOnly)
{
    // The preview settings are process-wide: put them back afterwards.
    struct Restore {
        std::wstring mStrSaved = GetPreviewProperty().SerializeConf();
        ~Restore()
        {
            LineStream_cls lines(mStrSaved);
            for (std::wstring line; lines.GetLine(line);)
                GetPreviewProperty().ReadStrLine(line);
        }
    } restore;
    GetPreviewProperty().ReadStrLine(L"PreviewTextureType=0");
    GetPreviewProperty().ReadStrLine(L"PreviewLuminanceFactor=1");
    DF3Sequence_cls seq; // slot 0
    DF3GL_cls gl(&seq);
    DF3GL_cls::InitializeStaticMembers(nullptr, nullptr, nullptr, nullptr);
    float colour[3], complement[3];
    gl.GetCurrentColour(colour, complement);
    const float plain[3] = {colour[0], colour[1], colour[2]};
    const float plainAlpha = gl.GetSliceAlpha();
    ASSERT_GT(plain[0], 0.0f);

    TexPropertyCtrl_cls tex;
    ScopedTexProperty link(tex);
    tex.SetColorFactor(1, 0.0f, 0.0f, 0.0f); // another slot: no effect on slot 0
    tex.SetAlphaFactor(1, 0.0f);
    gl.GetCurrentColour(colour, complement);
    EXPECT_FLOAT_EQ(colour[0], plain[0]);
    EXPECT_FLOAT_EQ(gl.GetSliceAlpha(), plainAlpha);

    tex.SetColorFactor(0, 0.5f, 1.0f, 2.0f);
    tex.SetAlphaFactor(0, 0.25f);
    gl.GetCurrentColour(colour, complement);
    EXPECT_FLOAT_EQ(colour[0], plain[0] * 0.5f);
    EXPECT_FLOAT_EQ(colour[1], plain[1]);
    EXPECT_FLOAT_EQ(colour[2], plain[2] * 2.0f);
    EXPECT_FLOAT_EQ(gl.GetSliceAlpha(), plainAlpha * 0.25f);
    // The complement is taken of the tinted colour: same length, and no longer the plain one.
    const float len = std::sqrt(colour[0] * colour[0] + colour[1] * colour[1] + colour[2] * colour[2]);
    const float clen =
        std::sqrt(complement[0] * complement[0] + complement[1] * complement[1] + complement[2] * complement[2]);
    EXPECT_NEAR(clen, len, 1e-5);
    EXPECT_GT(complement[0], complement[2]) << "more blue in the colour, more red in its complement";

    // Baked colours: the factors still apply to the white slice colour and the alpha.
    GetPreviewProperty().ReadStrLine(L"PreviewTextureType=2");
    gl.GetCurrentColour(colour, complement);
    EXPECT_FLOAT_EQ(colour[0], 0.5f);
    EXPECT_FLOAT_EQ(gl.GetSliceAlpha(), 0.25f);
}
