// End-to-end checks: text built by the scene formatting helpers is parsed and rendered by the
// real POV-Ray.
#include "config/TextFormat.h"
#include "pov/PovSerialize_cls.h"
#include "support/PovRayRunner.h"

#include <gtest/gtest.h>

namespace
{

using PS = PovSerialize_cls;

// An orthographic view of the unit square [0,1]x[0,1] at z = 0, ambient-only lighting, linear
// colours, so a pixel shows its pigment colour exactly.
std::wstring FlatHeader()
{
    const double loc[3] = {0.5, 0.5, -2.0};
    const double at[3] = {0.5, 0.5, 0.0};
    std::wstring s = L"#version 3.7;\nglobal_settings { assumed_gamma 1.0 }\n";
    s += L"camera {\n" + PS::GetTab(1) + L"orthographic\n" + PS::PovOut3d(PS::GetTab(1) + L"location ", loc, 3) +
         L"\n" + PS::PovOut3dS(PS::GetTab(1) + L"look_at ", at, 3) + L"\n" + PS::GetTab(1) + L"right x up y\n}\n";
    return s;
}

TEST(PovRayParse, HarnessReportsParseErrors)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed at " << PovRayPath();
    PovRayResult bad = RunPovRay("#version 3.7;\nsphere { 0, 1 pigment { color rgbx <1,0,0> } }\n");
    EXPECT_TRUE(bad.bParseError) << bad.err;
    EXPECT_NE(bad.exitCode, 0);
    EXPECT_FALSE(bad.Ok());
}

TEST(PovRayParse, GeneratedTextParsesAndRendersItsColours)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed at " << PovRayPath();
    std::wstring s = FlatHeader();
    s += L"#declare FilterAlpha = 1;\n";
    s += L"#declare F_Flat = finish { ambient 1 diffuse 0 };\n";
    // Left half: an opaque colour through the texture block; right half: the rgb form.
    const float left[3] = {0.8f, 0.2f, 0.4f};
    const float lo[3] = {0, 0, 0}, hiLeft[3] = {0.5f, 1, 0.1f};
    s += L"box {\n" + PS::PovOut3f(PS::GetTab(1), lo, 1) + L"," + PS::PovOut3fS(L"", hiLeft, 2) + L"\n";
    PS::GetStrPovTextureColor(s, left, 0.0f, 0.0f, L"F_Flat", L"", 1);
    const double rot[4] = {0, 0, 0, 0};
    s += PS::PovOutRotation(PS::GetTab(1), rot) + L"}\n";
    const float right[4] = {0.1f, 0.6f, 0.9f, 1.0f};
    s += L"box { " + PS::PovOut3(L"", 0.5f, 0, 0) + L", " + PS::PovOut3(L"", 1, 1, 0.1f) + L" pigment { color " +
         PS::PovOut4fRGBTfromRGBA(right, 3, true, false) + L" } finish { F_Flat } }\n";
    // Transparent and filtered forms must parse too (they sit behind the boxes).
    const float see[4] = {1, 1, 1, 0.5f};
    const float ft[5] = {0.5f, 0.5f, 0.5f, 0.2f, 0.3f};
    const double angles[4] = {30, 10, 5, 45};
    s += L"sphere { <0.5,0.5,2>, 0.2 pigment { color " + PS::PovOut4fRGBTfromRGBA(see, 3, true, true) + L" }\n" +
         PS::PovOutRotation(PS::GetTab(1), angles) + L"}\n";
    s += L"sphere { <0.5,0.5,3>, 0.2 pigment { color " + PS::PovOut4fRGBTfromRGBA(see, 3, true, false) + L" } }\n";
    s += L"sphere { <0.5,0.5,4>, 0.2 pigment { color " + PS::PovOut5rgbft(ft, 3) + L" } }\n";
    s += L"sphere { <0.5,0.5,5>, 0.2 pigment { color " + PS::PovOut4(L"rgbf ", 1, 0, 0, 0.5f) + L" } scale " +
         PS::PovOutf(1.5f, 2) + L" }\n";

    PovRayOptions opt;
    opt.width = 8;
    opt.height = 4;
    PovRayResult r = RunPovRay(Narrow(s), opt);
    ASSERT_TRUE(r.Ok()) << r.err << "\n" << Narrow(s);
    ASSERT_EQ(r.image.width, 8);
    for (int x = 0; x < 8; ++x) {
        auto px = r.image.Pixel(x, 2);
        const float* want = x < 4 ? left : right;
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(px[static_cast<size_t>(c)], want[c], 1.0 / 255 + 1e-9) << "pixel " << x << " channel " << c;
    }
}

TEST(PovRayParse, PpmDecoder)
{
    PovImage img;
    const std::string text = "P3\n# comment\n2 1 # another\n255\n255 0 0  0 128 255\n";
    ASSERT_TRUE(DecodePpm(std::vector<uint8_t>(text.begin(), text.end()), img));
    EXPECT_EQ(img.width, 2);
    EXPECT_EQ(img.Pixel(0, 0)[0], 1.0);
    EXPECT_NEAR(img.Pixel(1, 0)[1], 128 / 255.0, 1e-12);
    std::vector<uint8_t> bin = {'P', '6', '\n', '1',  ' ',  '1',  '\n', '6',  '5', '5',
                                '3', '5', '\n', 0xFF, 0xFF, 0x80, 0x00, 0x00, 0x01};
    ASSERT_TRUE(DecodePpm(bin, img));
    EXPECT_EQ(img.maxValue, 65535);
    EXPECT_EQ(img.Pixel(0, 0)[0], 1.0);
    EXPECT_NEAR(img.Pixel(0, 0)[1], 0x8000 / 65535.0, 1e-12);
    bin.pop_back();
    EXPECT_FALSE(DecodePpm(bin, img)) << "truncated body";
    const std::string junk = "P5\n1 1\n255\n\x01";
    EXPECT_FALSE(DecodePpm(std::vector<uint8_t>(junk.begin(), junk.end()), img));
    EXPECT_FALSE(DecodePpm({}, img));
}

} // namespace
