#include "color/ColorTable_cls.h"
#include "color/Coloring_cls.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

constexpr float kGrey = 0.57735026f;

struct PaletteRow {
    float c[3][4];
};

// The palettes as users know them: primary colour, secondary colour, white.
const PaletteRow kExpected[10] = {
    {{{1, 1, 1, 1}}},
    {{{1, 0, 0, 1}, {1, 1, 0, 0.5f}, {1, 1, 1, 0.25f}}},
    {{{1, 0, 0, 1}, {1, 0, 1, 0.5f}, {1, 1, 1, 0.25f}}},
    {{{1, 0, 0, 1}, {0, 1, 1, 0.5f}, {1, 1, 1, 0.25f}}},
    {{{0, 1, 0, 1}, {0, 1, 1, 0.5f}, {1, 1, 1, 0.25f}}},
    {{{0, 1, 0, 1}, {1, 1, 0, 0.5f}, {1, 1, 1, 0.25f}}},
    {{{0, 1, 0, 1}, {1, 0, 1, 0.5f}, {1, 1, 1, 0.25f}}},
    {{{0, 0, 1, 1}, {1, 0, 1, 0.5f}, {1, 1, 1, 0.25f}}},
    {{{0, 0, 1, 1}, {0, 1, 1, 0.5f}, {1, 1, 1, 0.25f}}},
    {{{0, 0, 1, 1}, {1, 1, 0, 0.5f}, {1, 1, 1, 0.25f}}},
};

TEST(Coloring, PaletteTableValues)
{
    Coloring_cls col;
    for (int p = 0; p < 10; ++p) {
        const auto& pal = col.GetPVV(p);
        const size_t n = p == 0 ? 1 : 3;
        ASSERT_EQ(pal.size(), n) << "palette " << p;
        EXPECT_EQ(col.GetPVVSize(p), n);
        for (size_t k = 0; k < n; ++k)
            for (int c = 0; c < 4; ++c)
                EXPECT_EQ(pal[k][static_cast<size_t>(c)], kExpected[p].c[k][c]) << "palette " << p << " entry " << k;
    }
}

TEST(Coloring, PaletteLookupOutsideRange)
{
    Coloring_cls col;
    EXPECT_EQ(&col.GetPVV(10), &col.GetPVV(0));
    EXPECT_EQ(&col.GetPVV(57), &col.GetPVV(0));
    EXPECT_EQ(&col.GetPVV(-1), &col.GetPVV(0));
    EXPECT_EQ(col.GetPVVSize(10), 3u) << "custom maps count as three layers";
    EXPECT_EQ(col.GetPVVSize(999), 3u);
    EXPECT_EQ(col.GetPVVSize(-1), 1u);
    EXPECT_EQ(col.GetPVVSize(0), 1u);
}

TEST(Coloring, WhiteIndices)
{
    Coloring_cls col;
    for (int index : {0, -1}) {
        float rgb[3] = {9, 9, 9};
        col.GetColor(rgb, 0.3f, index, false);
        EXPECT_EQ(rgb[0], 1.0f);
        EXPECT_EQ(rgb[1], 1.0f);
        EXPECT_EQ(rgb[2], 1.0f);
        col.CopyRGB(rgb, 2, index);
        EXPECT_EQ(rgb[0] + rgb[1] + rgb[2], 3.0f);
        EXPECT_EQ(col.GetAlphaFactor(0, index), 1.0f);
        EXPECT_EQ(col.GetAlphaFactor(2, index), 1.0f);
    }
}

TEST(Coloring, PaletteBlendIsUnitLength)
{
    Coloring_cls col;
    float rgb[3];
    col.GetColor(rgb, 0.0f, 1, false);
    EXPECT_FLOAT_EQ(rgb[0], 1.0f);
    EXPECT_FLOAT_EQ(rgb[1], 0.0f);
    EXPECT_FLOAT_EQ(rgb[2], 0.0f);

    col.GetColor(rgb, 1.0f, 1, false);
    for (float c : rgb)
        EXPECT_FLOAT_EQ(c, kGrey);

    // Density 0.5 of palette 1: 0.75 red + 1 yellow + 0.25 white = (2, 1.25, 0.25), normalised.
    col.GetColor(rgb, 0.5f, 1, false);
    const double len = std::sqrt(2.0 * 2.0 + 1.25 * 1.25 + 0.25 * 0.25);
    EXPECT_NEAR(rgb[0], 2.0 / len, 1e-6);
    EXPECT_NEAR(rgb[1], 1.25 / len, 1e-6);
    EXPECT_NEAR(rgb[2], 0.25 / len, 1e-6);

    // Palette 8 at 0.25: weights 0.9375, 0.75, 0.0625 on blue, cyan, white.
    col.GetColor(rgb, 0.25f, 8, false);
    const double s[3] = {0.0625, 0.75 + 0.0625, 0.9375 + 0.75 + 0.0625};
    const double l8 = std::sqrt(s[0] * s[0] + s[1] * s[1] + s[2] * s[2]);
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(rgb[c], s[c] / l8, 1e-6);
    EXPECT_NEAR(std::sqrt(rgb[0] * rgb[0] + rgb[1] * rgb[1] + rgb[2] * rgb[2]), 1.0, 1e-6);
}

TEST(Coloring, PaletteBlendWithoutDirectionFallsBackToGrey)
{
    Coloring_cls col;
    float rgb[3];
    // The primary channel of a three-layer palette never cancels for real densities, so a blend
    // without direction comes only from a density that is no number; it must not leak NaN into
    // textures.
    for (float bad : {std::nanf(""), INFINITY, -INFINITY}) {
        col.GetColor(rgb, bad, 2, false);
        for (float c : rgb)
            EXPECT_EQ(c, kGrey);
    }
    // Densities outside 0..1 are not clamped: the weights go negative, the result stays unit length.
    col.GetColor(rgb, 2.0f, 3, false);
    EXPECT_NEAR(std::sqrt(rgb[0] * rgb[0] + rgb[1] * rgb[1] + rgb[2] * rgb[2]), 1.0, 1e-6);
    EXPECT_LT(rgb[1], 0.0f);
}

TEST(Coloring, CopyRGBOfPalettesAndAlphaFactors)
{
    Coloring_cls col;
    float rgb[3];
    col.CopyRGB(rgb, 1, 7);
    EXPECT_EQ(rgb[0], 1.0f);
    EXPECT_EQ(rgb[1], 0.0f);
    EXPECT_EQ(rgb[2], 1.0f);
    col.CopyRGB(rgb, 3, 7);
    EXPECT_EQ(rgb[0] + rgb[1] + rgb[2], 0.0f) << "no fourth layer: black";
    col.CopyRGB(rgb, -1, 7);
    EXPECT_EQ(rgb[0] + rgb[1] + rgb[2], 0.0f);
    EXPECT_EQ(col.GetAlphaFactor(0, 4), 1.0f);
    EXPECT_EQ(col.GetAlphaFactor(1, 4), 0.5f);
    EXPECT_EQ(col.GetAlphaFactor(2, 4), 0.25f);
    EXPECT_EQ(col.GetAlphaFactor(3, 4), 0.0f);
    // Custom maps: (3 - layer) / 6.
    EXPECT_FLOAT_EQ(col.GetAlphaFactor(0, 10), 0.5f);
    EXPECT_FLOAT_EQ(col.GetAlphaFactor(1, 12), 1.0f / 3.0f);
    EXPECT_FLOAT_EQ(col.GetAlphaFactor(2, 10), 1.0f / 6.0f);
}

TEST(Coloring, CustomWithoutMapsIsMidGreyAndHalvingAccumulates)
{
    Coloring_cls col;
    float rgb[3];
    col.GetColor(rgb, 0.7f, 10, true);
    for (float c : rgb)
        EXPECT_EQ(c, 0.5f);
    // Halving: layer 0 -> c, layer 1 -> c/2 + c = 1.5c, layer 2 -> 1.75c.
    const float expected[3] = {0.5f, 0.75f, 0.875f};
    for (int layer = 0; layer < 3; ++layer) {
        col.CopyRGB(rgb, layer, 11);
        for (float c : rgb)
            EXPECT_FLOAT_EQ(c, expected[layer]) << "layer " << layer;
    }
    col.CopyRGB(rgb, -1, 10);
    EXPECT_EQ(rgb[0] + rgb[1] + rgb[2], 0.0f) << "a negative layer stops before the first halving";
}

TEST(ColorTable, PaletteTableMatchesLookupAndAlphaRamp)
{
    Coloring_cls col;
    ColorTable_cls table;
    table.Build(col, 1, 1, true);
    // Entry 0: red, transparent. Entry 255: grey of unit length, alpha = layer 1 factor 0.5.
    const uint8_t* e0 = table.GetEntry(0);
    EXPECT_EQ(e0[0], 255);
    EXPECT_EQ(e0[1], 0);
    EXPECT_EQ(e0[2], 0);
    EXPECT_EQ(e0[3], 0);
    const uint8_t* e255 = table.GetEntry(255);
    EXPECT_EQ(e255[0], 147); // 0.57735 * 255 = 147.2
    EXPECT_EQ(e255[1], 147);
    EXPECT_EQ(e255[2], 147);
    EXPECT_EQ(e255[3], 128); // 0.5 * 255 = 127.5, rounded up
    for (int i = 0; i < 256; i += 17) {
        float rgb[3];
        col.GetColor(rgb, i / 255.0f, 1, true);
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(table.GetEntry(i)[c], rgb[c] * 255.0f, 0.5f) << "entry " << i;
        EXPECT_NEAR(table.GetEntry(i)[3], i * 0.5, 0.5);
    }
}

TEST(ColorTable, DensityOnlyModeUsesLayerColour)
{
    Coloring_cls col;
    ColorTable_cls table;
    table.Build(col, 5, 1, false); // palette 5, layer 1: yellow, factor 0.5
    for (int i : {0, 100, 255}) {
        EXPECT_EQ(table.GetEntry(i)[0], 255);
        EXPECT_EQ(table.GetEntry(i)[1], 255);
        EXPECT_EQ(table.GetEntry(i)[2], 0);
    }
    EXPECT_EQ(table.GetEntry(100)[3], 50);
    // White: every colour white, alpha = density.
    table.Build(col, 0, 0, true);
    EXPECT_EQ(table.GetEntry(77)[0], 255);
    EXPECT_EQ(table.GetEntry(77)[3], 77);
    // Custom halving may exceed 1: the table clamps instead of wrapping around.
    table.Build(col, 10, 2, false);
    EXPECT_EQ(table.GetEntry(255)[0], 223); // 0.875 * 255 = 223.1
    table.Build(col, 10, 0, false);
    EXPECT_EQ(table.GetEntry(255)[0], 128);
}

TEST(ColorTable, ByteConversionClamps)
{
    EXPECT_EQ(ColorTable_cls::ToByte(-0.2f), 0);
    EXPECT_EQ(ColorTable_cls::ToByte(1.7f), 255);
    EXPECT_EQ(ColorTable_cls::ToByte(std::nanf("")), 0);
    EXPECT_EQ(ColorTable_cls::ToByte(0.5f), 128);
    EXPECT_EQ(ColorTable_cls::ToByte(0.2f), 51);
}

} // namespace
