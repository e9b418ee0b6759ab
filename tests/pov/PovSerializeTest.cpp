#include "pov/PovSerialize_cls.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

namespace
{

using PS = PovSerialize_cls;

TEST(PovSerialize, ScalarPrecisionAndFormatTemplate)
{
    EXPECT_EQ(PS::GetPrecisionFormat(3), "%.3f");
    EXPECT_EQ(PS::GetPrecisionFormat(0), "%.0f");
    EXPECT_EQ(PS::PovOutf(1.23456f, 3), L"1.235");
    EXPECT_EQ(PS::PovOutf(-0.5f, 0), L"-0") << "printf rounds half to even at 0 digits";
    EXPECT_EQ(PS::PovOutf(2.5f, 0), L"2");
    EXPECT_EQ(PS::PovOutf(1.0f, 6), L"1.000000");
    EXPECT_EQ(PS::PovOutf(L"scale ", 0.25f, 2), L"scale 0.25");
    EXPECT_EQ(PS::GetCutoffString(3.14159f, 2), L"3.14");
    EXPECT_EQ(PS::GetCutoffString(3.14159f, 2), PS::PovOutf(3.14159f, 2));
    // A negative digit count would be an invalid printf precision; it is taken as 0.
    EXPECT_EQ(PS::PovOutf(7.7f, -2), L"8");
}

TEST(PovSerialize, FixedVectors)
{
    const double d[3] = {1.0, -2.5, 0.0001};
    const float f[4] = {0.5f, 0.25f, 1.0f, 0.125f};
    EXPECT_EQ(PS::PovOut3d(L"location ", d, 3), L"location <1.000,-2.500,0.000>");
    EXPECT_EQ(PS::PovOut3d(L"", d, 4), L"<1.0000,-2.5000,0.0001>");
    EXPECT_EQ(PS::PovOut3f(L"scale ", f, 2), L"scale <0.50,0.25,1.00>");
    EXPECT_EQ(PS::PovOut4f(L"", f, 3), L"<0.500,0.250,1.000,0.125>");
    EXPECT_EQ(PS::PovOut4f(L"v ", f, 0), L"v <0,0,1,0>");

    std::wstring target = L"box { ";
    PS::PushBackPovOut3f(&target, L"", f, 1);
    PS::PushBackPovOut3f(&target, L", ", f, 1);
    EXPECT_EQ(target, L"box { <0.5,0.2,1.0>, <0.5,0.2,1.0>");
    PS::PushBackPovOut3f(nullptr, L"", f, 1); // must not crash
}

TEST(PovSerialize, ShortestGForms)
{
    EXPECT_EQ(PS::PovOut3(L"translate ", 1.0f, 0.5f, -3.0f), L"translate <1,0.5,-3>");
    EXPECT_EQ(PS::PovOut3(L"", 1e-7f, 123456789.0f, 0.1f), L"<1e-07,1.23457e+08,0.1>");
    EXPECT_EQ(PS::PovOut4(L"q ", 0.0f, -0.0f, 2.0f, 0.333333f), L"q <0,-0,2,0.333333>");
}

TEST(PovSerialize, ShortStringTrimsOnlyDecimals)
{
    EXPECT_EQ(PS::GetShortString(std::wstring(L"1.500000")), L"1.5");
    EXPECT_EQ(PS::GetShortString(std::wstring(L"2.000000")), L"2");
    EXPECT_EQ(PS::GetShortString(std::wstring(L"100")), L"100") << "no '.' - zeros of an integer stay";
    EXPECT_EQ(PS::GetShortString(std::wstring(L"0.000000")), L"0");
    EXPECT_EQ(PS::GetShortString(std::wstring(L"-0.500000")), L"-0.5");
    EXPECT_EQ(PS::GetShortString(std::wstring(L"12")), L"12");
    EXPECT_EQ(PS::GetShortString(std::wstring(L"100.0")), L"100") << "zeros left of '.' survive";
    EXPECT_EQ(PS::GetShortString(std::wstring(L".000")), L"");
    EXPECT_EQ(PS::GetShortString(std::wstring(L"")), L"");
    EXPECT_EQ(PS::GetShortString(std::wstring(L"1.50e+10")), L"1.50e+10");
    EXPECT_EQ(PS::GetShortString(0.0f), L"0");
    EXPECT_EQ(PS::GetShortString(-0.5f), L"-0.5");
    EXPECT_EQ(PS::GetShortString(12.0f), L"12");
    EXPECT_EQ(PS::GetShortString(0.1234567f), L"0.123457") << "%f keeps six decimals";
}

TEST(PovSerialize, ShortVectors)
{
    const double d[3] = {1.5, 2.0, -0.25};
    const float f[3] = {0.0f, 10.0f, 0.12345f};
    EXPECT_EQ(PS::PovOut3dS(L"scale ", d, 3), L"scale <1.5,2,-0.25>");
    EXPECT_EQ(PS::PovOut3fS(L"", f, 3), L"<0,10,0.123>");
    EXPECT_EQ(PS::PovOut3fS(L"", f, 0), L"<0,10,0>");
}

TEST(PovSerialize, TabLimits)
{
    EXPECT_EQ(PS::GetTab(0), L"");
    EXPECT_EQ(PS::GetTab(-3), L"");
    EXPECT_EQ(PS::GetTab(8), L"");
    EXPECT_EQ(PS::GetTab(1), L"\t");
    EXPECT_EQ(PS::GetTab(7), L"\t\t\t\t\t\t\t");
}

TEST(PovSerialize, ColourFromRGBA)
{
    const float opaque[4] = {1.0f, 0.5f, 0.0f, 1.0f};
    EXPECT_EQ(PS::PovOut4fRGBTfromRGBA(opaque, 3, true, false), L"rgb <1.000,0.500,0.000>");
    EXPECT_EQ(PS::PovOut4fRGBTfromRGBA(opaque, 3, false, false), L"<1.000,0.500,0.000>");
    const float almost[4] = {0.2f, 0.4f, 0.6f, 0.999f};
    EXPECT_EQ(PS::PovOut4fRGBTfromRGBA(almost, 3, true, false), L"rgbt <0.200,0.400,0.600,0.001>");
    const float half[4] = {0.2f, 0.4f, 0.6f, 0.25f};
    EXPECT_EQ(PS::PovOut4fRGBTfromRGBA(half, 2, false, false), L"<0.20,0.40,0.60,0.75>");
    EXPECT_EQ(PS::PovOut4fRGBTfromRGBA(half, 3, true, true), L"rgbt <0.200,0.400,0.600,1-0.250*FilterAlpha>");
    // Even an opaque colour defers its transmit to the scene-wide factor when asked to.
    EXPECT_EQ(PS::PovOut4fRGBTfromRGBA(opaque, 1, false, true), L"<1.0,0.5,0.0,1-1.0*FilterAlpha>");
    const float over[4] = {1.0f, 1.0f, 1.0f, 1.5f};
    EXPECT_EQ(PS::PovOut4fRGBTfromRGBA(over, 1, true, false), L"rgb <1.0,1.0,1.0>");
}

TEST(PovSerialize, FiveComponentColour)
{
    const float c[5] = {1.0f, 0.0f, 0.5f, 0.1f, 0.9f};
    EXPECT_EQ(PS::PovOut5rgbft(c, 3), L"rgbft <1.000,0.000,0.500,0.100,0.900>");
    EXPECT_EQ(PS::PovOut5rgbft(c, 1), L"rgbft <1.0,0.0,0.5,0.1,0.9>");
}

TEST(PovSerialize, RotationStatementsInApplicationOrder)
{
    const double none[4] = {0, 0, 0, 0};
    EXPECT_EQ(PS::PovOutRotation(L"\t", none), L"");
    const double all[4] = {30, -15.5, 90, 45};
    EXPECT_EQ(PS::PovOutRotation(L"\t", all),
              L"\trotate <0,0,90>\n\trotate <-15.5,0,0>\n\trotate <0,30,0>\n\trotate <0,45,0>\n");
    const double yawOnly[4] = {1e-5, 0, 0, 0};
    EXPECT_EQ(PS::PovOutRotation(L"", yawOnly), L"rotate <0,1e-05,0>\n");
}

TEST(PovSerialize, ImageMapPigment)
{
    std::wstring out = L"pigment { ";
    PS::GetStrPovPigmentImageMap(out, L"", 1.0f, 1.0f);
    EXPECT_EQ(out, L"pigment { ") << "no file, no text";
    PS::GetStrPovPigmentImageMap(out, L"tex/Face.png", 2.2f, 1.0f);
    EXPECT_EQ(out, L"pigment { uv_mapping image_map { png \"tex/Face.png\" gamma 2.20 interpolate 2}");
    std::wstring t;
    PS::GetStrPovPigmentImageMap(t, L"a.png", 1.0f, 0.75f);
    EXPECT_EQ(t, L"uv_mapping image_map { png \"a.png\" gamma 1.00 interpolate 2 transmit all 0.250}");
    std::wstring z;
    PS::GetStrPovPigmentImageMap(z, L"a.png", 1.0f, 0.0f);
    EXPECT_EQ(z, L"uv_mapping image_map { png \"a.png\" gamma 1.00 interpolate 2 transmit all 1.000}");
}

TEST(PovSerialize, TextureBlock)
{
    const float rgb[3] = {0.9f, 0.1f, 0.0f};
    std::wstring out;
    PS::GetStrPovTextureColor(out, rgb, 0.0f, 0.5f, L"F_Glass1", L"", 1);
    EXPECT_EQ(out, L"\ttexture {\n\t\tpigment { color rgbft <0.900,0.100,0.000,0.000,0.500> }\n"
                   L"\t\tfinish { F_Glass1 }\n\t}\n");
    std::wstring n;
    PS::GetStrPovTextureColor(n, rgb, 0.25f, 0.0f, L"", L"bumps 0.5 scale 0.1", 0, 2);
    EXPECT_EQ(n, L"texture {\n\tpigment { color rgbft <0.90,0.10,0.00,0.25,0.00> }\n"
                 L"\tnormal { bumps 0.5 scale 0.1 }\n}\n");
}

TEST(PovSerialize, IndependentOfProcessLocale)
{
    ScopedCommaLocale comma;
    if (!comma.Active())
        GTEST_SKIP() << "no locale with a decimal comma installed";
    const double d[3] = {1.5, 2.0, -0.25};
    const float rgba[4] = {0.5f, 0.5f, 0.5f, 0.5f};
    EXPECT_EQ(PS::PovOutf(1.5f, 2), L"1.50");
    EXPECT_EQ(PS::PovOut3(L"", 0.5f, 1.5f, 2.0f), L"<0.5,1.5,2>");
    EXPECT_EQ(PS::PovOut3dS(L"", d, 3), L"<1.5,2,-0.25>");
    EXPECT_EQ(PS::GetShortString(0.5f), L"0.5");
    EXPECT_EQ(PS::PovOut4fRGBTfromRGBA(rgba, 3, true, false), L"rgbt <0.500,0.500,0.500,0.500>");
}

} // namespace
