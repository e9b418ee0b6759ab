// The written colour maps go through the real POV-Ray: every generated macro must parse, and a
// gradient strip coloured by a map must show the preview table's colours at the same densities.
#include "anim/UndoManager_cls.h"
#include "color/ColorTable_cls.h"
#include "color/Coloring_cls.h"
#include "color/CustomColor_cls.h"
#include "config/TextFormat.h"
#include "support/PovRayRunner.h"

#include <gtest/gtest.h>

namespace
{

// Pixel i of a 16-pixel strip sits at density (8 + 16 i) / 255: the picture spans densities
// 0 .. 256/255 so that no pixel centre lies on the gradient's wrap-around at 0 or 1.
constexpr int kStripWidth = 16;
int StripDensityIndex(int pixel)
{
    return 8 + 16 * pixel;
}

std::string StripScene(const std::wstring& macros, const std::wstring& pigment)
{
    const double x1 = 256.0 / 255.0;
    std::wstring s = L"#version 3.7;\nglobal_settings { assumed_gamma 1.0 }\nbackground { color rgb 0 }\n";
    s += WStrPrintf("camera { orthographic location <%.9f,0.5,-2> look_at <%.9f,0.5,0> right %.9f*x up y }\n", x1 / 2,
                    x1 / 2, x1);
    s += macros;
    // A plane, not a box: a transmitting box would show its back face through its front face.
    s += L"plane { -z, 0 " + pigment + L" finish { ambient 1 diffuse 0 } }\n";
    return Narrow(s);
}

TEST(ColorMapRender, EveryGeneratedMapParses)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed at " << PovRayPath();
    Coloring_cls col;
    std::wstring macros, objects;
    int n = 0;
    for (int index = -1; index < 10; ++index) {
        for (int variant = 0; variant < 4; ++variant) {
            ClrMapStyle_cls s;
            s.miLayer = variant % 3;
            s.mbColor = variant != 1;
            s.mbShade = variant == 2;
            s.miKind = variant == 3 ? 2 : (variant == 1 ? 1 : 0);
            s.mfValue = 0.7f;
            if (index == 0 && variant == 0)
                continue; // index -1 already declares the white map of this name
            macros += col.GetPovStrColorMapMacro(index, s);
            objects += L"box { <0,0,0>, <1,1,1> " + col.GetPovStrPigment(L"gradient x", index, s) +
                       WStrPrintf(" translate <0,0,%d> }\n", ++n);
        }
    }
    PovRayOptions opt;
    opt.width = 4;
    opt.height = 4;
    opt.vIncludes.push_back({"maps.inc", Narrow(macros)});
    const std::string scene = "#version 3.7;\n#include \"maps.inc\"\ncamera { location <0.5,0.5,-3> look_at "
                              "<0.5,0.5,0> }\nlight_source { <0,5,-5> color rgb 1 }\n" +
                              Narrow(objects);
    PovRayResult r = RunPovRay(scene, opt);
    EXPECT_FALSE(r.bParseError) << r.err;
    EXPECT_TRUE(r.Ok()) << r.err;
}

TEST(ColorMapRender, RenderedStripMatchesPreviewTable)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed at " << PovRayPath();
    Coloring_cls col;
    for (int index : {1, 6, 9}) {
        ClrMapStyle_cls s;
        ColorTable_cls table;
        table.Build(col, index, s.miLayer, true);
        PovRayOptions opt;
        opt.width = kStripWidth;
        opt.height = 2;
        PovRayResult r = RunPovRay(
            StripScene(col.GetPovStrColorMapMacro(index, s), col.GetPovStrPigment(L"gradient x", index, s)), opt);
        ASSERT_TRUE(r.Ok()) << r.err;
        for (int x = 0; x < kStripWidth; ++x) {
            const uint8_t* want = table.GetEntry(StripDensityIndex(x));
            auto px = r.image.Pixel(x, 1);
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(px[size_t(c)] * 255.0, want[c], 2.5)
                    << "palette " << index << " pixel " << x << " ch " << c;
        }
    }
}

TEST(ColorMapRender, TransmitOverBlackShowsPreviewOpacity)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed at " << PovRayPath();
    Coloring_cls col;
    ClrMapStyle_cls s;
    s.miKind = 1;
    s.mfValue = 1.0f;
    const int index = 4;
    ColorTable_cls table;
    table.Build(col, index, 0, true);
    PovRayOptions opt;
    opt.width = kStripWidth;
    opt.height = 2;
    PovRayResult r =
        RunPovRay(StripScene(col.GetPovStrColorMapMacro(index, s), col.GetPovStrPigment(L"gradient x", index, s)), opt);
    ASSERT_TRUE(r.Ok()) << r.err;
    // A single preview slice over black shows colour times alpha; so must the transmitting map.
    for (int x = 0; x < kStripWidth; ++x) {
        const uint8_t* want = table.GetEntry(StripDensityIndex(x));
        auto px = r.image.Pixel(x, 1);
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(px[size_t(c)] * 255.0, want[c] * (want[3] / 255.0), 2.5) << "pixel " << x << " ch " << c;
    }
}

// Custom maps 10..19 hold the ten templates; map 20 is "Optical" with curved (automatic
// Hermite) segments and map 21 "Green Red" whose first stop holds as a step up to the middle.
void FillCustomMaps(CustomColor_cls& cc)
{
    for (int t = 1; t <= 10; ++t) {
        ASSERT_TRUE(cc.AddItem());
        ASSERT_TRUE(cc.SetColorTemplate(t));
    }
    ASSERT_TRUE(cc.AddItem());
    ASSERT_TRUE(cc.SetColorTemplate(6));
    Parameters_cls* curved = cc.GetItems().GetPItem(10);
    for (int k = 0; k < curved->GetKeyNumber(); ++k)
        curved->SetKeyType(static_cast<unsigned>(k), kInterpHermiteAuto);
    ASSERT_TRUE(cc.AddItem());
    ASSERT_TRUE(cc.SetColorTemplate(3));
    cc.GetItems().GetPItem(11)->SetKeyType(0, kInterpStep);
}

TEST(ColorMapRender, EveryCustomMapVariantParses)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed at " << PovRayPath();
    UndoManager_cls undo;
    Coloring_cls col(&undo);
    FillCustomMaps(*col.GetPCustomColor());
    std::wstring macros, objects;
    int n = 0;
    for (int index = 10; index <= 21; ++index) {
        for (int variant = 0; variant < 4; ++variant) {
            ClrMapStyle_cls s;
            s.mbColor = variant != 1;
            s.mbShade = variant == 2;
            s.miKind = variant == 3 ? 1 : 0;
            s.mfValue = 0.5f;
            macros += col.GetPovStrColorMapMacro(index, s);
            objects += L"box { <0,0,0>, <1,1,1> " + col.GetPovStrPigment(L"gradient y", index, s) +
                       WStrPrintf(" translate <%d,0,0> }\n", ++n);
        }
    }
    // The two-stop templates take the short form.
    EXPECT_NE(macros.find(L"#macro CLRMAP10_0CLR()\n\t[0.000 color rgb <1.000,0.000,0.000>]\n"
                          L"\t[1.000 color rgb <1.000,1.000,0.000>]\n#end\n"),
              std::wstring::npos);
    PovRayOptions opt;
    opt.width = 4;
    opt.height = 4;
    const std::string scene = "#version 3.7;\nglobal_settings { assumed_gamma 1.0 }\ncamera { location <0,0.5,-30> "
                              "look_at <0,0.5,0> }\nlight_source { <0,5,-5> color rgb 1 }\n" +
                              Narrow(macros + objects);
    PovRayResult r = RunPovRay(scene, opt);
    EXPECT_FALSE(r.bParseError) << r.err;
    EXPECT_TRUE(r.Ok()) << r.err;
}

TEST(ColorMapRender, CustomStripsMatchPreviewTable)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed at " << PovRayPath();
    UndoManager_cls undo;
    Coloring_cls col(&undo);
    FillCustomMaps(*col.GetPCustomColor());
    col.GetPCustomColor()->SetMultiplyLevel(8, true); // "Incandescent" times density
    for (int index : {15, 18, 19, 20, 21}) {
        ClrMapStyle_cls s;
        ColorTable_cls table;
        table.Build(col, index, s.miLayer, true);
        PovRayOptions opt;
        opt.width = kStripWidth;
        opt.height = 2;
        PovRayResult r = RunPovRay(
            StripScene(col.GetPovStrColorMapMacro(index, s), col.GetPovStrPigment(L"gradient x", index, s)), opt);
        ASSERT_TRUE(r.Ok()) << r.err;
        for (int x = 0; x < kStripWidth; ++x) {
            const uint8_t* want = table.GetEntry(StripDensityIndex(x));
            auto px = r.image.Pixel(x, 1);
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(px[size_t(c)] * 255.0, want[c], 2.5) << "map " << index << " pixel " << x << " ch " << c;
        }
    }
}

} // namespace
