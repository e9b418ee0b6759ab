#include "config/PreviewProperty_cls.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

TEST(PreviewProperty, DefaultsAndKeyOrder)
{
    PreviewProperty_cls p;
    EXPECT_EQ(p.SerializeConf(), L"PreviewType3D=1\nPreviewNormalQuality=4\nPreviewTextureType=0\nPreviewType=0\n"
                                 L"PreviewHiding=0\nPreviewAbsorption=0.000000\nPreviewAbsorptionComplement=0.000000\n"
                                 L"PreviewLuminanceFactor=1.000000\nPreviewShading=0\nPreviewShadingCoord=0\n"
                                 L"PreviewShadingPattern=0\nPreviewShadeOffset=0.001000\nPreviewTexFilter=1\n");
    EXPECT_EQ(p.GetNQuality(), 128);
    EXPECT_TRUE(p.IsTexFilterLinear());
    EXPECT_EQ(p.GetTextureBytesPerVoxel(), 3u);
}

TEST(PreviewProperty, SliceCountsFilterAndTextureBytes)
{
    PreviewProperty_cls p;
    const int expected[] = {32, 48, 64, 96, 128, 192, 256, 384, 512, 768, 1024, 1536, 2048};
    for (int i = 0; i < 13; ++i) {
        p.ReadStrLine(L"PreviewNormalQuality=" + std::to_wstring(i));
        EXPECT_EQ(p.GetNQuality(), expected[i]);
    }
    p.ReadStrLine(L"PreviewNormalQuality=99");
    EXPECT_EQ(p.GetNQuality(), 2048) << "out-of-range index is held at the last choice";
    EXPECT_STREQ(PreviewProperty_cls::GetNormalQualityChoices()[1], "48 noamal layers");
    for (const wchar_t* v : {L"0", L"2", L"7"}) {
        p.ReadStrLine(std::wstring(L"PreviewTexFilter=") + v);
        EXPECT_FALSE(p.IsTexFilterLinear()) << "anything but 1 means nearest";
    }
    p.ReadStrLine(L"PreviewTextureType=2");
    EXPECT_EQ(p.GetTextureBytesPerVoxel(), 4u);
}

TEST(PreviewProperty, ThreeDTextureConditionNeedsGl12AndCanBeForcedOff)
{
    unsetenv("TESSAN_FORCE_2D_TEXTURES");
    PreviewProperty_cls p;
    p.Set3DTextureCondition(1, 1);
    EXPECT_FALSE(p.Is3DTexture());
    p.Set3DTextureCondition(1, 2);
    EXPECT_TRUE(p.Is3DTexture());
    p.Set3DTextureCondition(1, 0);
    EXPECT_TRUE(p.Is3DTexture()) << "never turned off by a later call";

    PreviewProperty_cls q;
    setenv("TESSAN_FORCE_2D_TEXTURES", "1", 1);
    q.Set3DTextureCondition(4, 5);
    unsetenv("TESSAN_FORCE_2D_TEXTURES");
    EXPECT_FALSE(q.Is3DTexture());
}

TEST(PreviewProperty, HooksAnswerForTheChain)
{
    PreviewProperty_cls p;
    EXPECT_FALSE(p.IsFilterProcessRequired(0));
    EXPECT_DOUBLE_EQ(p.GetLevelMapping(0.25), 0.25);
    p.SetFilterProcessRequiredHook([](int slot) { return slot == 2; });
    p.SetLevelMappingHook([](double x) { return 1.0 - x; });
    EXPECT_TRUE(p.IsFilterProcessRequired(2));
    EXPECT_FALSE(p.IsFilterProcessRequired(1));
    EXPECT_DOUBLE_EQ(p.GetLevelMapping(0.25), 0.75);
}

} // namespace
