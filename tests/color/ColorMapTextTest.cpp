#include "color/ColorTable_cls.h"
#include "color/Coloring_cls.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

// Colour of the written map at density d as the ray tracer blends it: linear between entries,
// constant beyond the ends.
std::array<float, 4> Blend(const std::vector<ClrMapEntry>& e, double d)
{
    auto pack = [](const ClrMapEntry& x) { return std::array<float, 4>{x.mvRGB[0], x.mvRGB[1], x.mvRGB[2], x.mfTF}; };
    if (d <= e.front().mfPos)
        return pack(e.front());
    for (size_t i = 1; i < e.size(); ++i) {
        if (d <= e[i].mfPos) {
            const double s = (d - e[i - 1].mfPos) / (e[i].mfPos - e[i - 1].mfPos);
            auto a = pack(e[i - 1]), b = pack(e[i]);
            std::array<float, 4> out;
            for (size_t c = 0; c < 4; ++c)
                out[c] = static_cast<float>(a[c] + (b[c] - a[c]) * s);
            return out;
        }
    }
    return pack(e.back());
}

TEST(ColorMapText, ColourKeywordByKindAndValue)
{
    const float c[3] = {1.0f, 0.5f, 0.25f};
    EXPECT_EQ(Coloring_cls::GetPovStrClr(c, 0, 0.3f), L"color rgb <1.000,0.500,0.250>");
    EXPECT_EQ(Coloring_cls::GetPovStrClr(c, 1, 0.0f), L"color rgb <1.000,0.500,0.250>");
    EXPECT_EQ(Coloring_cls::GetPovStrClr(c, 1, 0.3f), L"color rgbt <1.000,0.500,0.250,0.300>");
    EXPECT_EQ(Coloring_cls::GetPovStrClr(c, 2, 0.3f), L"color rgbf <1.000,0.500,0.250,0.300>");
    EXPECT_EQ(Coloring_cls::GetPovStrClr(c, 7, 0.3f), L"color rgb <1.000,0.500,0.250>");
    EXPECT_EQ(Coloring_cls::GetClrMapItem(0.5f, c, 2, 0.125f), L"[0.500 color rgbf <1.000,0.500,0.250,0.125>]");
}

TEST(ColorMapText, WhiteMacroIsTwoEntries)
{
    Coloring_cls col;
    ClrMapStyle_cls style;
    EXPECT_EQ(col.GetPovStrColorMapMacro(-1, style), L"// clrindex=-1\n#macro CLRMAP0_0CLR()\n"
                                                     L"\t[0.000 color rgb <1.000,1.000,1.000>]\n"
                                                     L"\t[1.000 color rgb <1.000,1.000,1.000>]\n#end\n");
    EXPECT_EQ(col.GetPovStrPigment(L"gradient x", 0, style), L"pigment { gradient x color_map { CLRMAP0_0CLR() } }");
}

TEST(ColorMapText, MacroNames)
{
    Coloring_cls col;
    ClrMapStyle_cls s;
    s.miLayer = 2;
    EXPECT_EQ(col.GetPovStrColorMapName(7, s), L"CLRMAP7_2CLR");
    s.mbShade = true;
    EXPECT_EQ(col.GetPovStrColorMapName(7, s), L"CLRMAP7_2SHADECLR");
    s.mbColor = false;
    EXPECT_EQ(col.GetPovStrColorMapName(12, s), L"CLRMAP12_2SHADE");
    s.mbShade = false;
    EXPECT_EQ(col.GetPovStrColorMapName(3, s), L"CLRMAP3_2");
}

TEST(ColorMapText, DensityOnlyMapIsAlphaRamp)
{
    Coloring_cls col;
    ClrMapStyle_cls s;
    s.mbColor = false;
    s.miLayer = 1; // alpha factor 0.5 in every palette
    EXPECT_EQ(col.GetPovStrColorMap(2, s), L"\t[0.000 color rgb <0.000,0.000,0.000>]\n"
                                           L"\t[1.000 color rgb <0.500,0.500,0.500>]\n");
}

TEST(ColorMapText, TransmitFollowsPreviewAlpha)
{
    Coloring_cls col;
    ClrMapStyle_cls s;
    s.miKind = 1;
    s.mfValue = 1.0f;
    // White: alpha = density, so transmit runs from 1 to 0; the opaque end is written "rgb".
    EXPECT_EQ(col.GetPovStrColorMap(0, s), L"\t[0.000 color rgbt <1.000,1.000,1.000,1.000>]\n"
                                           L"\t[1.000 color rgb <1.000,1.000,1.000>]\n");
    s.miKind = 2;
    s.mfValue = 0.5f;
    EXPECT_EQ(col.GetPovStrColorMap(0, s), L"\t[0.000 color rgbf <1.000,1.000,1.000,0.500>]\n"
                                           L"\t[1.000 color rgb <1.000,1.000,1.000>]\n");
}

TEST(ColorMapText, ShadedVariantUsesComplementaryHue)
{
    Coloring_cls col;
    ClrMapStyle_cls s;
    s.mbShade = true;
    float rgb[3], tf;
    col.EvalMapColor(0.0, 1, s, rgb, tf); // palette 1 at 0 is red
    EXPECT_NEAR(rgb[0], 0.0f, 1e-6);
    EXPECT_NEAR(rgb[1], std::sqrt(0.5f), 1e-6);
    EXPECT_NEAR(rgb[2], std::sqrt(0.5f), 1e-6);
    EXPECT_EQ(tf, 0.0f);
    col.EvalMapColor(0.3, 0, s, rgb, tf); // white is its own complement
    for (float c : rgb)
        EXPECT_NEAR(c, 1.0f, 1e-6);
    s.mfComplement = 0.5f;
    col.EvalMapColor(0.0, 1, s, rgb, tf);
    EXPECT_NEAR(rgb[0], 0.5f, 1e-6);
    EXPECT_NEAR(rgb[1], std::sqrt(0.5f) / 2, 1e-6);
}

TEST(ColorMapText, EntriesReproducePreviewTableEverywhere)
{
    Coloring_cls col;
    for (int index = 0; index < 10; ++index) {
        for (int kind : {0, 1}) {
            ClrMapStyle_cls s;
            s.miKind = kind;
            s.mfValue = kind ? 1.0f : 0.0f;
            s.miLayer = index % 3;
            const auto entries = col.GetClrMapEntries(index, s);
            ASSERT_GE(entries.size(), 2u);
            ASSERT_LE(entries.size(), 256u) << "the ray tracer accepts at most 256 entries";
            EXPECT_EQ(entries.front().mfPos, 0.0f);
            EXPECT_EQ(entries.back().mfPos, 1.0f);
            for (size_t i = 1; i < entries.size(); ++i)
                ASSERT_LT(entries[i - 1].mfPos, entries[i].mfPos);
            for (int i = 0; i < 256; ++i) {
                float rgba[4];
                ColorTable_cls::EvalEntry(col, i / 255.0, index, s.miLayer, true, rgba);
                auto b = Blend(entries, i / 255.0);
                for (int c = 0; c < 3; ++c) {
                    ASSERT_NEAR(b[size_t(c)], rgba[c], Coloring_cls::msMapTolerance + 1e-6)
                        << "palette " << index << " density " << i;
                }
                ASSERT_NEAR(b[3], kind ? 1.0f - rgba[3] : 0.0f, Coloring_cls::msMapTolerance + 1e-6);
            }
            if (index >= 1 && kind == 0) {
                EXPECT_LT(entries.size(), 64u) << "a smooth blend should not need every sample";
            }
        }
    }
}

} // namespace
