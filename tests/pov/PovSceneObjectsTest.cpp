// The exported object kinds of the slots' chains, rendered by the real POV-Ray: the volume, an
// isosurface with a light, a cross-section, fog, primitives and a cut-out, each compared with
// where the camera model (the preview's geometry) puts the data; stream lines and velocity
// arrows from velocity slots; and the media placement rule for both density modes.
#include "anim/TimeCtrl_cls.h"
#include "anim/UndoManager_cls.h"
#include "color/Coloring_cls.h"
#include "config/Main_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterClipping_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/PovCrossSection_cls.h"
#include "filter/PovDiffObject_cls.h"
#include "filter/PovFog_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "filter/PovObject_cls.h"
#include "filter/PovStreamLine_cls.h"
#include "filter/PovVelField_cls.h"
#include "filter/PovVolume_cls.h"
#include "pov/PovExport_cls.h"
#include "pov/PovSceneObjects_cls.h"
#include "support/PovRayRunner.h"
#include "support/TestUtil.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <regex>
#include <type_traits>

namespace
{

namespace fs = std::filesystem;
constexpr int kW = 96, kH = 72;

std::vector<uint8_t> Df3Bytes(unsigned nx, unsigned ny, unsigned nz, const std::function<uint8_t(int, int, int)>& f)
{
    std::vector<uint8_t> b = {static_cast<uint8_t>(nx >> 8), static_cast<uint8_t>(nx),
                              static_cast<uint8_t>(ny >> 8), static_cast<uint8_t>(ny),
                              static_cast<uint8_t>(nz >> 8), static_cast<uint8_t>(nz)};
    for (unsigned z = 0; z < nz; ++z)
        for (unsigned y = 0; y < ny; ++y)
            for (unsigned x = 0; x < nx; ++x)
                b.push_back(f(static_cast<int>(x), static_cast<int>(y), static_cast<int>(z)));
    return b;
}

// A ball whose density falls linearly from 255 at voxel (cx, cy, cz) to 0 at radius r.
std::function<uint8_t(int, int, int)> Ball(double cx, double cy, double cz, double r)
{
    return [=](int x, int y, int z) {
        const double d = std::sqrt((x - cx) * (x - cx) + (y - cy) * (y - cy) + (z - cz) * (z - cz));
        return static_cast<uint8_t>(255.0 * std::clamp(1.0 - d / r, 0.0, 1.0));
    };
}

double Brightness(const PovImage& img, int x, int y)
{
    const auto p = img.Pixel(x, y);
    return p[0] + p[1] + p[2];
}

// Intersection over union of two pixel masks.
double IoU(const std::vector<bool>& a, const std::vector<bool>& b)
{
    size_t both = 0, any = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        both += a[i] && b[i];
        any += a[i] || b[i];
    }
    return any == 0 ? 0.0 : static_cast<double>(both) / static_cast<double>(any);
}

struct SceneFixture : public ::testing::Test {
    TempDir mDir;
    RecordingPrompt_cls mPrompt;
    UndoManager_cls mUndo;
    std::unique_ptr<Main_cls> mpMain;
    Coloring_cls mColoring;
    std::unique_ptr<PovSceneObjects_cls> mpObjects;
    unsigned muN = 24;

    void SetUp() override
    {
        mpMain = std::make_unique<Main_cls>(Widen(mDir.Path().string()));
        mpMain->SetPrompt(&mPrompt);
        PovRay_cls& pov = Export().GetPovRay();
        pov.SetWorkingDir(Widen(mDir.Path().string()));
        pov.SetOutputDir(Widen(mDir.Path().string()));
        pov.GetFormat().SetSize(kW, kH);
        pov.GetFormat().SetAntialias(false);
        mpObjects = std::make_unique<PovSceneObjects_cls>(&mpMain->GetSeqCtrl(), &mpMain->GetTimeCtrl(), &mColoring,
                                                          &mpMain->GetBoxSize());
        mpObjects->Install(Export());
        ASSERT_TRUE(Export().GetSavedCamera().Set({1.4, 1.0, 2.2}, {0, 0, 0}, {0, 1, 0}));
        Export().GetSavedCamera().SetViewAngle(35);
    }
    PovExport_cls& Export() { return mpMain->GetPovExport(); }
    Camera_cls& Cam() { return Export().GetSavedCamera(); }
    FilterCtrl_cls& Chain(int slot = 0) { return mpMain->GetSeqCtrl().GetSequence(slot).GetFilterCtrl(); }
    // Frame files of a slot: one DF3 per generator.
    void SetData(int slot, const std::vector<std::function<uint8_t(int, int, int)>>& frames)
    {
        std::vector<DF3Sequence_cls::FileEntry> files;
        for (size_t i = 0; i < frames.size(); ++i) {
            const std::string path = mDir.File(StrPrintf("slot%d_%02zu.df3", slot, i));
            WriteFileBytes(path, Df3Bytes(muN, muN, muN, frames[i]));
            files.push_back({Widen(path), L"", 0});
        }
        mpMain->GetSeqCtrl().GetSequence(slot).AppendFiles(files);
        mpMain->GetTimeCtrl().SetMaxFrame(static_cast<int>(frames.size()) - 1);
    }
    template <class T> T* Add(int slot = 0)
    {
        auto item = std::make_unique<T>(&Chain(slot));
        T* p = item.get();
        Chain(slot).AddToList(-1, std::move(item));
        if constexpr (std::is_base_of_v<FilterWithParameter_cls, T>)
            p->GetParameters().SetUndoManager(&mUndo);
        return p;
    }
    // Sets animated values as constant keys.
    template <class T> void Values(T* item, std::initializer_list<std::pair<int, double>> values)
    {
        for (const auto& [i, v] : values)
            item->SetParam(i, v);
        item->SetKeyIfChanged(0.0);
    }
    void AddLight()
    {
        const double p[3] = {2, 3, 4}, c[3] = {1, 1, 1};
        Export().GetLights().AddLight(LightSRC_cls::kPoint, p, c, 1.0);
    }
    std::string Scene(int frame = 0) { return ReadFileText(mDir.File(StrPrintf("povsnap%04d.pov", frame))); }
    PovRayResult Render(int frame = 0)
    {
        EXPECT_TRUE(Export().ProcOutputPovRay(frame));
        PovRayOptions opt;
        opt.width = kW;
        opt.height = kH;
        opt.vExtraOptions.push_back("+MV3.7");
        PovRayResult r = RunPovRay(Scene(frame), opt);
        // TESSAN_DUMP=DIR keeps each picture and scene there, to look at when a comparison fails.
        if (const char* dump = std::getenv("TESSAN_DUMP")) {
            static int k = 0;
            std::string ppm = StrPrintf("P6 %d %d 255\n", r.image.width, r.image.height);
            for (int y = 0; y < r.image.height; ++y)
                for (int x = 0; x < r.image.width; ++x)
                    for (double v : r.image.Pixel(x, y))
                        ppm += static_cast<char>(std::clamp(v, 0.0, 1.0) * 255);
            WriteFileText(StrPrintf("%s/%d.ppm", dump, k++), ppm);
            WriteFileText(StrPrintf("%s/%d.pov", dump, k), Scene(frame));
        }
        return r;
    }
    // The pixels covered by the projection of a world-space sphere.
    std::vector<bool> ProjectedSphere(const Vec3d& c, double radius)
    {
        std::vector<bool> mask(kW * kH, false);
        double cx, cy, depth;
        if (!Cam().Project(c, kW, kH, cx, cy, depth))
            return mask;
        const Vec3d up = Cam().Up();
        double ux, uy;
        Cam().Project({c[0] + up[0] * radius, c[1] + up[1] * radius, c[2] + up[2] * radius}, kW, kH, ux, uy, depth);
        const double r = std::hypot(ux - cx, uy - cy);
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x)
                mask[y * kW + x] = std::hypot(x + 0.5 - cx, y + 0.5 - cy) <= r;
        return mask;
    }
    static std::vector<bool> Lit(const PovImage& img, double threshold)
    {
        std::vector<bool> mask(kW * kH, false);
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x)
                mask[y * kW + x] = Brightness(img, x, y) > threshold;
        return mask;
    }
    // World position of voxel coordinates in the unit box the preview draws (cube data).
    Vec3d World(double x, double y, double z) const
    {
        return {(x + 0.5) / muN - 0.5, (y + 0.5) / muN - 0.5, (z + 0.5) / muN - 0.5};
    }
};

#define REQUIRE_POVRAY()                                                                                               \
    if (!IsPovRayAvailable())                                                                                          \
    GTEST_SKIP() << "POV-Ray not installed"

TEST_F(SceneFixture, VolumeSilhouetteMatchesTheProjectedBall)
{
    REQUIRE_POVRAY();
    SetData(0, {Ball(8, 14, 11, 6)});
    Add<PovVolume_cls>();
    const PovRayResult r = Render();
    ASSERT_TRUE(r.Ok()) << r.err;
    const std::vector<bool> lit = Lit(r.image, 0.05);
    const std::vector<bool> expected = ProjectedSphere(World(8, 14, 11), 6.0 / muN);
    EXPECT_GT(std::count(lit.begin(), lit.end(), true), 20) << "the volume is not visible";
    EXPECT_GT(IoU(lit, expected), 0.5);
    // The colour map of the volume (palette 1: red at low density) is in the picture.
    double red = 0, blue = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            red += r.image.Pixel(x, y)[0];
            blue += r.image.Pixel(x, y)[2];
        }
    EXPECT_GT(red, 2.0 * blue);
}

TEST_F(SceneFixture, IsosurfaceWithLightMatchesTheProjectedSphere)
{
    REQUIRE_POVRAY();
    SetData(0, {Ball(12, 10, 13, 8)});
    auto* iso = Add<PovIsosurface_cls>();
    Values(iso, {{0, 0.5}, {1, 1.0}});
    AddLight();
    const PovRayResult r = Render();
    ASSERT_TRUE(r.Ok()) << r.err;
    EXPECT_TRUE(fs::exists(mDir.File("povsnap0000_ISO0_0.inc")));
    const std::string scene = Scene();
    EXPECT_NE(scene.find("#include concat(WORKINGDIR, \"povsnap0000_ISO0_0.inc\")"), std::string::npos);
    EXPECT_NE(scene.find("\tobject { ISOBOX_0_0 }"), std::string::npos);
    EXPECT_NE(scene.find("#ifdef (ISOTEXGLOBAL_0_0)"), std::string::npos);
    // Density 0.5 of this ball lies at radius 4 voxels.
    const std::vector<bool> expected = ProjectedSphere(World(12, 10, 13), 4.0 / muN);
    const std::vector<bool> lit = Lit(r.image, 0.02);
    EXPECT_GT(IoU(lit, expected), 0.8);
    const size_t isoArea = static_cast<size_t>(std::count(lit.begin(), lit.end(), true));

    // With the volume as well, the glow spreads beyond the surface and both still parse.
    Add<PovVolume_cls>();
    const PovRayResult both = Render();
    ASSERT_TRUE(both.Ok()) << both.err;
    const std::vector<bool> litBoth = Lit(both.image, 0.02);
    EXPECT_GT(static_cast<size_t>(std::count(litBoth.begin(), litBoth.end(), true)), isoArea);
}

TEST_F(SceneFixture, CrossSectionShowsThePlaneOfTheData)
{
    REQUIRE_POVRAY();
    // Off-centre in x and y, so a flipped or swapped axis moves the disc.
    SetData(0, {Ball(7, 15, 12, 6)});
    auto* section = Add<PovCrossSection_cls>();
    section->GetData().miAxis.Set(2);
    section->GetData().miColorIndex.Set(0);
    Values(section, {{0, 12.0 / 23.0}, {2, 1.0}});
    Cam().SetFixedView(Camera_cls::kViewFront, 3.0);
    const PovRayResult r = Render();
    ASSERT_TRUE(r.Ok()) << r.err;
    // Expected: where the voxel centres of layer 12 with density above a quarter project.
    const auto f = Ball(7, 15, 12, 6);
    double ex = 0, ey = 0, count = 0;
    for (int y = 0; y < static_cast<int>(muN); ++y)
        for (int x = 0; x < static_cast<int>(muN); ++x)
            if (f(x, y, 12) > 64) {
                double px, py, depth;
                ASSERT_TRUE(Cam().Project(World(x, y, 12), kW, kH, px, py, depth));
                ex += px;
                ey += py;
                count += 1;
            }
    double gx = 0, gy = 0, lit = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            if (Brightness(r.image, x, y) > 3 * 0.25) {
                gx += x + 0.5;
                gy += y + 0.5;
                lit += 1;
            }
    ASSERT_GT(lit, 0) << "the section is not visible";
    EXPECT_NEAR(gx / lit, ex / count, 1.5);
    EXPECT_NEAR(gy / lit, ey / count, 1.5);
    EXPECT_TRUE(fs::exists(mDir.File("povsnap0000_CS0_0.df3")));
}

TEST_F(SceneFixture, FogTintsTheBackground)
{
    REQUIRE_POVRAY();
    SetData(0, {Ball(12, 12, 12, 5)});
    Add<PovVolume_cls>();
    const PovRayResult clear = Render();
    ASSERT_TRUE(clear.Ok()) << clear.err;
    auto* fog = Add<PovFog_cls>();
    fog->GetData().mfDistance.Set(0.5f);
    fog->GetData().mvfColor.Set(0, 0.1f);
    fog->GetData().mvfColor.Set(1, 0.3f);
    fog->GetData().mvfColor.Set(2, 0.9f);
    const PovRayResult foggy = Render();
    ASSERT_TRUE(foggy.Ok()) << foggy.err;
    EXPECT_LT(Brightness(clear.image, 0, 0), 0.01);
    const auto corner = foggy.image.Pixel(0, 0);
    // The scene's colours are given in its assumed gamma (2.2); the picture is linear.
    EXPECT_NEAR(corner[2], std::pow(0.9, 2.2), 0.03);
    EXPECT_GT(corner[2], 2 * corner[0]);
    const std::string s = Scene();
    EXPECT_LT(s.find("fog {"), s.find("camera {"));
}

TEST_F(SceneFixture, ObjectSphereSitsAtItsPosition)
{
    REQUIRE_POVRAY();
    SetData(0, {Ball(12, 12, 12, 3)});
    auto* object = Add<PovObject_cls>();
    object->GetData().miShape.Set(0);
    object->GetData().mvfColor.Set(1, 0.0f);
    object->GetData().mvfColor.Set(2, 0.0f);
    Values(object, {{0, 0.2}, {1, 0.75}, {2, 0.6}, {3, 0.08}, {4, 0.08}, {5, 0.08}});
    AddLight();
    const PovRayResult r = Render();
    ASSERT_TRUE(r.Ok()) << r.err;
    EXPECT_NE(Scene().find("\tPOVOBJ_0_0\n"), std::string::npos);
    const Vec3d at = {0.2 - 0.5, 0.75 - 0.5, 0.6 - 0.5};
    const std::vector<bool> expected = ProjectedSphere(at, 0.08);
    EXPECT_GT(IoU(Lit(r.image, 0.02), expected), 0.75);
}

TEST_F(SceneFixture, DiffObjectCutsAHoleIntoTheMedia)
{
    REQUIRE_POVRAY();
    SetData(0, {[](int, int, int) { return uint8_t{60}; }}); // faint: the picture must not clip
    Add<PovVolume_cls>();
    Cam().SetFixedView(Camera_cls::kViewFront, 3.0);
    const PovRayResult full = Render();
    ASSERT_TRUE(full.Ok()) << full.err;
    auto* cut = Add<PovDiffObject_cls>();
    cut->GetData().miShape.Set(0);
    Values(cut, {{0, 0.5}, {1, 0.5}, {2, 0.5}, {3, 0.3}, {4, 0.3}, {5, 0.3}});
    const PovRayResult holed = Render();
    ASSERT_TRUE(holed.Ok()) << holed.err;
    EXPECT_NE(Scene().find("#declare BOX_0=difference {\n\tbox { <0,0,0>, <1,1,1> }\n\tobject {"), std::string::npos);
    double cx, cy, depth;
    ASSERT_TRUE(Cam().Project({0, 0, 0}, kW, kH, cx, cy, depth));
    const int x = static_cast<int>(cx), y = static_cast<int>(cy);
    // Through the centre the ray crosses 0.6 of the box less media; near the edge nothing changes.
    EXPECT_LT(Brightness(holed.image, x, y), 0.7 * Brightness(full.image, x, y));
    double ex, ey;
    ASSERT_TRUE(Cam().Project({0.45, 0.45, 0}, kW, kH, ex, ey, depth));
    EXPECT_NEAR(Brightness(holed.image, static_cast<int>(ex), static_cast<int>(ey)),
                Brightness(full.image, static_cast<int>(ex), static_cast<int>(ey)), 0.05);
}

// A clipping item before the volume and the isosurface keeps only its box of them, as the
// preview draws them.
TEST_F(SceneFixture, ClippingBoxCutsVolumeAndIsosurface)
{
    REQUIRE_POVRAY();
    SetData(0, {Ball(12, 12, 12, 11)});
    auto* clip = Add<FilterClipping_cls>();
    Values(clip, {{0, 0.0}, {1, 0.0}, {2, 0.0}, {3, 0.5}, {4, 1.0}, {5, 1.0}});
    Add<PovVolume_cls>();
    Add<PovIsosurface_cls>();
    AddLight();
    Cam().SetFixedView(Camera_cls::kViewFront, 3.0);
    const PovRayResult r = Render();
    ASSERT_TRUE(r.Ok()) << r.err;
    EXPECT_NE(Scene().find("\tclipped_by { box { <0,0,0>, <0.5,1,1> } }"), std::string::npos);
    // Left of the middle both show; right of it nothing is left.
    for (double x : {0.1, 0.3}) {
        double lx, rx, y, depth;
        ASSERT_TRUE(Cam().Project({-x, 0, 0}, kW, kH, lx, y, depth));
        ASSERT_TRUE(Cam().Project({x, 0, 0}, kW, kH, rx, y, depth));
        EXPECT_GT(Brightness(r.image, static_cast<int>(lx), static_cast<int>(y)), 0.1) << x;
        EXPECT_LT(Brightness(r.image, static_cast<int>(rx), static_cast<int>(y)), 0.01) << x;
    }
}

TEST_F(SceneFixture, StreamLinesAndArrowsNeedVelocitySlots)
{
    SetData(0, {Ball(12, 12, 12, 5)});
    Add<PovVolume_cls>();
    auto* lines = Add<PovStreamLine_cls>();
    lines->GetData().miSeedNumber.Set(5);
    auto* arrows = Add<PovVelField_cls>();
    arrows->GetData().miStride.Set(8);
    ASSERT_TRUE(Export().ProcOutputPovRay(0));
    std::string s = Scene();
    EXPECT_NE(s.find("// Streamline 0_1: slots 1, 2, 3 hold no velocity data"), std::string::npos);
    EXPECT_NE(s.find("// VelocityField 0_2: slots 1, 2, 3 hold no velocity data"), std::string::npos);
    EXPECT_EQ(s.find("sphere_sweep"), std::string::npos);

    // A uniform flow along +x: x component full, y and z at rest.
    SetData(1, {[](int, int, int) { return uint8_t{255}; }});
    SetData(2, {[](int, int, int) { return uint8_t{128}; }});
    SetData(3, {[](int, int, int) { return uint8_t{128}; }});
    ASSERT_TRUE(Export().ProcOutputPovRay(0));
    s = Scene();
    const std::regex sweep(R"(sphere_sweep \{ linear_spline (\d+),\n((?:\t\t<[^>]*>, [0-9.e-]+\n)+))");
    size_t sweeps = 0;
    for (auto it = std::sregex_iterator(s.begin(), s.end(), sweep); it != std::sregex_iterator(); ++it) {
        ++sweeps;
        // Every point of a line shares y and z, and x grows along it.
        const std::string pts = (*it)[2];
        const std::regex point(R"(<([^,]+),([^,]+),([^>]+)>)");
        double lastX = -1, y0 = 0, z0 = 0;
        size_t n = 0;
        for (auto p = std::sregex_iterator(pts.begin(), pts.end(), point); p != std::sregex_iterator(); ++p, ++n) {
            const double x = std::stod((*p)[1]), y = std::stod((*p)[2]), z = std::stod((*p)[3]);
            if (n == 0) {
                y0 = y;
                z0 = z;
            }
            EXPECT_NEAR(y, y0, 1e-6);
            EXPECT_NEAR(z, z0, 1e-6);
            EXPECT_GT(x, lastX);
            lastX = x;
        }
        EXPECT_EQ(n, std::stoul((*it)[1]));
    }
    EXPECT_EQ(sweeps, 5u);
    // One arrow per stride cell: (24 / 8)^3.
    size_t cones = 0;
    for (size_t at = s.find("\tcone {"); at != std::string::npos; at = s.find("\tcone {", at + 1))
        ++cones;
    EXPECT_EQ(cones, 27u);
    EXPECT_NE(s.find("\tobject { OBJECT_STREAM_LINES_0_1 }"), std::string::npos);
    EXPECT_NE(s.find("\tobject { OBJECT_VELOCITYFIELD_0_2 }"), std::string::npos);
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed";
    PovRayOptions opt;
    opt.width = kW;
    opt.height = kH;
    const PovRayResult r = RunPovRay(s, opt);
    EXPECT_TRUE(r.Ok()) << r.err;
}

// Each frame's objects come from that frame's data, even when frames are exported out of order
// and the settings are the same.
TEST_F(SceneFixture, EachFrameExportsItsOwnData)
{
    SetData(0, {Ball(6, 12, 12, 6), Ball(18, 12, 12, 6)});
    Add<PovIsosurface_cls>();
    AddLight();
    ASSERT_TRUE(Export().ProcOutputPovRay(0));
    const std::string first = ReadFileText(mDir.File("povsnap0000_ISO0_0.inc"));
    ASSERT_TRUE(Export().ProcOutputPovRay(1));
    const std::string second = ReadFileText(mDir.File("povsnap0001_ISO0_0.inc"));
    EXPECT_NE(first, second);
    ASSERT_TRUE(Export().ProcOutputPovRay(0));
    EXPECT_EQ(ReadFileText(mDir.File("povsnap0000_ISO0_0.inc")), first);
    // The first frame's surface lies left of the second's: mean x of the vertices.
    auto meanX = [](const std::string& text) {
        const size_t begin = text.find("vertex_vectors{"), end = text.find("}", begin);
        const std::string v = text.substr(begin, end - begin);
        const std::regex point(R"(<([^,]+),)");
        double sum = 0;
        size_t n = 0;
        for (auto p = std::sregex_iterator(v.begin(), v.end(), point); p != std::sregex_iterator(); ++p, ++n)
            sum += std::stod((*p)[1]);
        return n ? sum / n : -1.0;
    };
    EXPECT_NEAR(meanX(first), 6.0 / 24.0, 0.02);
    EXPECT_NEAR(meanX(second), 18.0 / 24.0, 0.02);

    // Output type 2: the same mesh inside the scene, no include file.
    fs::remove(mDir.File("povsnap0000_ISO0_0.inc"));
    Export().miIsoOutputType = 2;
    ASSERT_TRUE(Export().ProcOutputPovRay(0));
    EXPECT_FALSE(fs::exists(mDir.File("povsnap0000_ISO0_0.inc")));
    const std::string scene = Scene(0);
    EXPECT_EQ(scene.find("#include concat(WORKINGDIR, \"povsnap0000_ISO0_0.inc\")"), std::string::npos);
    EXPECT_NE(scene.find(first.substr(first.find("#declare ISOSURF_0_0"))), std::string::npos);
}

TEST_F(SceneFixture, KindsCountOnlyWhenSwitchedOnInASlotWithData)
{
    auto* iso = Add<PovIsosurface_cls>();
    EXPECT_FALSE(mpObjects->DoesFilterExist(PovExport_cls::kIsosurface)); // no data in the slot
    SetData(0, {Ball(12, 12, 12, 5)});
    EXPECT_TRUE(mpObjects->DoesFilterExist(PovExport_cls::kIsosurface));
    EXPECT_FALSE(mpObjects->DoesFilterExist(PovExport_cls::kVolume));
    iso->GetData().SetValid(false);
    EXPECT_FALSE(mpObjects->DoesFilterExist(PovExport_cls::kIsosurface));
}

// POV-Ray's interpolating density modes put sample j on the vertex j / m and wrap around; mode
// 0 fills the cell. Either way voxel i must appear where the preview draws it, (i + 0.5) / n,
// and a slab at one face must not leak to the opposite face.
TEST(MediaPlacement, VoxelLayersLandOnTheirCellsInBothModes)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed";
    for (unsigned mode : {0u, 1u}) {
        for (int layer : {0, 5}) {
            SCOPED_TRACE(StrPrintf("interpolate %u, layer %d", mode, layer));
            TimeCtrl_cls clock;
            RecordingPrompt_cls prompt;
            TempDir dir;
            PovExport_cls exporter(&clock);
            exporter.SetPrompt(&prompt);
            exporter.GetPovRay().SetWorkingDir(Widen(dir.Path().string()));
            exporter.GetPovRay().GetFormat().SetSize(kW, kH);
            exporter.GetPovRay().GetFormat().SetAntialias(false);
            const unsigned n = 8;
            std::vector<uint8_t> voxels(n * n * n, 0);
            for (unsigned z = 0; z < n; ++z)
                for (unsigned y = 0; y < n; ++y)
                    voxels[(y + z * n) * n + static_cast<unsigned>(layer)] = 255;
            exporter.mDataBoxes = [&](int) {
                PovExport_cls::DataBox box;
                box.pVoxels = voxels.data();
                box.uX = box.uY = box.uZ = n;
                box.fEmission = 2.0f;
                return std::vector<PovExport_cls::DataBox>{box};
            };
            Camera_cls& cam = exporter.GetSavedCamera();
            cam.SetFixedView(Camera_cls::kViewFront, 3.0);
            PovVolume_cls::msInterpolation = mode;
            const bool written = exporter.ProcOutputPovRay(0);
            PovVolume_cls::ResetDefaults();
            ASSERT_TRUE(written);
            PovRayOptions opt;
            opt.width = kW;
            opt.height = kH;
            const PovRayResult r = RunPovRay(ReadFileText(dir.File("povsnap0000.pov")), opt);
            ASSERT_TRUE(r.Ok()) << r.err;
            double sum = 0, sx = 0;
            for (int y = 0; y < kH; ++y)
                for (int x = 0; x < kW; ++x) {
                    const double b = Brightness(r.image, x, y);
                    sum += b;
                    sx += b * (x + 0.5);
                }
            ASSERT_GT(sum, 1.0);
            double ex, ey, depth, rightX, farX;
            ASSERT_TRUE(cam.Project({(layer + 0.5) / n - 0.5, 0, 0}, kW, kH, ex, ey, depth));
            // The centroid of a layer at a face is pulled inward by the half-voxel fade of
            // interpolation; in the box interior it sits on the cell centre.
            const double tolerance = layer == 0 && mode == 1 ? 2.0 : 1.0;
            EXPECT_NEAR(sx / sum, ex, tolerance);
            // Nothing at the opposite face (no wrap-around), i.e. right of the middle.
            ASSERT_TRUE(cam.Project({0.05, 0, 0}, kW, kH, rightX, ey, depth));
            ASSERT_TRUE(cam.Project({0.5, 0, 0}, kW, kH, farX, ey, depth));
            if (layer == 0) {
                for (int x = static_cast<int>(rightX); x < static_cast<int>(farX) + 2 && x < kW; ++x)
                    EXPECT_LT(Brightness(r.image, x, kH / 2), 0.01) << "column " << x;
            }
        }
    }
}

// Every setting of the volume item reaches its media block: colour map, emission or absorption
// (or both) at the strength of its "Alpha", and the sampling intervals; the scene still renders.
TEST_F(SceneFixture, VolumeItemSettingsReachTheMedia)
{
    SetData(0, {Ball(12, 12, 12, 6)});
    auto* volume = Add<PovVolume_cls>();
    auto media = [&] {
        EXPECT_TRUE(Export().ProcOutputPovRay(0));
        const std::string scene = Scene();
        const size_t at = scene.find("#declare BOX_0=");
        return at == std::string::npos ? std::string() : scene.substr(at);
    };
    // Defaults: emission only at full strength, the item's 10 intervals (not the class-wide 1).
    std::string text = media();
    ASSERT_FALSE(text.empty());
    EXPECT_NE(text.find("\t\t\tintervals 10\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\t\t\temission 6\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("absorption"), std::string::npos) << text;
    EXPECT_NE(text.find("CLRMAP1_0CLR()"), std::string::npos) << text;

    volume->GetData().miIntervals.Set(3);
    volume->GetData().miDataType.Set(2);
    volume->GetData().miColorIndex.Set(4);
    Values(volume, {{0, 0.5}});
    text = media();
    EXPECT_NE(text.find("\t\t\tintervals 3\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\t\t\temission 3\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\t\t\tabsorption 3\n"), std::string::npos) << text;
    EXPECT_NE(text.find("CLRMAP4_0CLR()"), std::string::npos) << text;
    EXPECT_EQ(text.find("CLRMAP1_0CLR()"), std::string::npos) << text;
    // The macro the media call is declared in the same scene.
    EXPECT_NE(Scene().find("#macro CLRMAP4_0CLR()"), std::string::npos);

    // Absorption only; a count below 1 (a hand-edited project) falls back to the class-wide one.
    volume->GetData().miDataType.Set(1);
    volume->GetData().miIntervals.Set(0);
    PovVolume_cls::msInterval = 5;
    text = media();
    PovVolume_cls::ResetDefaults();
    EXPECT_NE(text.find("\t\t\tintervals 5\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("emission"), std::string::npos) << text;
    EXPECT_NE(text.find("\t\t\tabsorption 3\n"), std::string::npos) << text;

    REQUIRE_POVRAY();
    // The non-default settings parse and render: emission and absorption, 3 intervals, palette 4.
    volume->GetData().miDataType.Set(2);
    volume->GetData().miIntervals.Set(3);
    const PovRayResult r = Render();
    ASSERT_TRUE(r.Ok()) << r.err;
    const std::vector<bool> lit = Lit(r.image, 0.05);
    EXPECT_GT(std::count(lit.begin(), lit.end(), true), 20) << "the volume is not visible";
    EXPECT_NE(Scene().find("\t\t\tintervals 3\n"), std::string::npos);
}

// The window exports slots that have no volume item too (it draws every slot with data): such
// a box gets the item's defaults, and the class-wide interval.
TEST(VolumeItemSettings, ChainWithoutVolumeItemGetsTheDefaults)
{
    FilterCtrl_cls chain;
    PovExport_cls::DataBox box;
    box.uIntervals = 99;
    PovSceneObjects_cls::ApplyVolumeItem(chain, box);
    EXPECT_FLOAT_EQ(box.fEmission, 6.0f);
    EXPECT_FLOAT_EQ(box.fAbsorption, 0.0f);
    EXPECT_EQ(box.uIntervals, 0u);
    const std::wstring text = PovVolume_cls::GetPovStrDensityDeclare(L"BOX_0", L"b.df3", 4, 4, 4, L"", box.fEmission,
                                                                     box.fAbsorption, std::wstring(), box.uIntervals);
    EXPECT_NE(text.find(L"\t\t\tintervals 1\n"), std::wstring::npos);

    chain.AddToList(-1, std::make_unique<PovVolume_cls>(&chain));
    chain.GetVolumeItem()->GetData().miIntervals.Set(12);
    chain.GetVolumeItem()->GetData().miDataType.Set(1);
    PovSceneObjects_cls::ApplyVolumeItem(chain, box);
    EXPECT_EQ(box.uIntervals, 12u);
    EXPECT_FLOAT_EQ(box.fEmission, 0.0f);
    EXPECT_FLOAT_EQ(box.fAbsorption, 6.0f);
}

} // namespace
