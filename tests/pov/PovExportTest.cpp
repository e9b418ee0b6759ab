// The scene export driver: pre-flight questions, sequence export edge cases, stereo names,
// failures, the real ray tracer on an exported volume (placement against the camera model), and
// sequence and snapshot renders through the render threads.
#include "anim/TimeCtrl_cls.h"
#include "color/Coloring_cls.h"
#include "config/LineStream_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "config/TextFormat.h"
#include "pov/PovExport_cls.h"
#include "filter/PovVolume_cls.h"
#include "support/PovRayRunner.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <thread>

namespace
{

namespace fs = std::filesystem;

// A soft ball of density centred on voxel (cx, cy, cz) of an n^3 volume.
std::vector<uint8_t> Ball(unsigned n, double cx, double cy, double cz, double radius)
{
    std::vector<uint8_t> v(static_cast<size_t>(n) * n * n);
    for (unsigned z = 0; z < n; ++z)
        for (unsigned y = 0; y < n; ++y)
            for (unsigned x = 0; x < n; ++x) {
                const double d = std::sqrt((x - cx) * (x - cx) + (y - cy) * (y - cy) + (z - cz) * (z - cz));
                const double f = std::clamp(1.0 - d / radius, 0.0, 1.0);
                v[(y + static_cast<size_t>(z) * n) * n + x] = static_cast<uint8_t>(255.0 * f);
            }
    return v;
}

struct ExportFixture : public ::testing::Test {
    TimeCtrl_cls mClock;
    RecordingPrompt_cls mPrompt;
    TempDir mDir;
    PovExport_cls mExport{&mClock};
    std::vector<uint8_t> mvVoxels;
    unsigned muN = 16;

    void SetUp() override
    {
        mClock.SetMaxFrame(200);
        mExport.SetPrompt(&mPrompt);
        mExport.GetPovRay().SetWorkingDir(Widen(mDir.Path().string()));
        mExport.GetPovRay().SetOutputDir(Widen(mDir.Path().string()));
        mvVoxels = Ball(muN, 7.5, 7.5, 7.5, 6.0);
        mExport.mDataBoxes = [this](int) {
            PovExport_cls::DataBox box;
            box.pVoxels = mvVoxels.data();
            box.uX = box.uY = box.uZ = muN;
            box.fEmission = 3.0f;
            return std::vector<PovExport_cls::DataBox>{box};
        };
        ASSERT_TRUE(mExport.GetSavedCamera().Set({0, 0, 3}, {0, 0, 0}, {0, 1, 0}));
    }
    bool Exists(const std::string& name) const { return fs::exists(mDir.Path() / name); }
    size_t CountQuestions(const std::wstring& text) const
    {
        size_t n = 0;
        for (const auto& e : mPrompt.Entries())
            n += e.kind == RecordingPrompt_cls::Kind::YesNo && e.text == text;
        return n;
    }
    bool HasStatus(const std::wstring& text) const
    {
        for (const auto& e : mPrompt.Entries())
            if (e.kind == RecordingPrompt_cls::Kind::Status && e.text == text)
                return true;
        return false;
    }
    // Drives the sequence render as the idle loop would, until it has finished.
    void DriveRender()
    {
        PovRay_cls& pov = mExport.GetPovRay();
        const auto start = std::chrono::steady_clock::now();
        while (pov.IsRendering() || pov.IsRenderThreadRunning()) {
            pov.ProcessRenderAnim();
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            ASSERT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(240)) << "render hangs";
        }
        pov.ProcessRenderAnim(); // reports errors and joins the last thread
    }
};

TEST_F(ExportFixture, PreflightQuestions)
{
    mExport.mIsAllDataDF3 = [] { return false; };
    EXPECT_FALSE(mExport.IsPovrayCondistionSatisfiled());
    ASSERT_EQ(mPrompt.MessageCount(), 1u);
    EXPECT_EQ(mPrompt.Messages()[0].text, L"Please Use DF3 File");
    EXPECT_EQ(mPrompt.Messages()[0].title, L"Can not Render");

    mExport.mIsAllDataDF3 = [] { return true; };
    int kinds = 0; // bit set of existing kinds
    mExport.mDoesFilterExist = [&kinds](int kind) { return (kinds >> kind) & 1; };
    kinds = (1 << PovExport_cls::kDiffObject) | (1 << PovExport_cls::kVelocityField);
    mPrompt.QueueAnswer(0);
    EXPECT_FALSE(mExport.IsPovrayCondistionSatisfiled());
    EXPECT_EQ(CountQuestions(L"No Object"), 1u);
    mPrompt.QueueAnswer(1);
    EXPECT_TRUE(mExport.IsPovrayCondistionSatisfiled());
    EXPECT_EQ(CountQuestions(L"No Light"), 0u);

    kinds = 1 << PovExport_cls::kIsosurface; // a lit object without light
    mPrompt.QueueAnswer(0);
    EXPECT_FALSE(mExport.IsPovrayCondistionSatisfiled());
    EXPECT_EQ(CountQuestions(L"No Light"), 1u);
    kinds |= 1 << PovExport_cls::kVolume; // a volume needs no light
    EXPECT_TRUE(mExport.IsPovrayCondistionSatisfiled());
    kinds = 1 << PovExport_cls::kCrossSection;
    const double p[3] = {1, 1, 1}, c[3] = {1, 1, 1};
    mExport.GetLights().AddLight(LightSRC_cls::kPoint, p, c, 1.0);
    EXPECT_TRUE(mExport.IsPovrayCondistionSatisfiled());
    EXPECT_EQ(CountQuestions(L"No Light"), 1u);
    EXPECT_EQ(CountQuestions(L"No Object"), 2u);
}

TEST_F(ExportFixture, ManyFilesQuestionStartsAboveOneHundred)
{
    mExport.mDataBoxes = nullptr;
    mExport.mDoesFilterExist = [](int kind) { return kind == PovExport_cls::kVolume; };
    mExport.GetPovRay().GetRender().SetRegion(PovRender_cls::kRegionCustom);
    mClock.SetWA(0, 200);
    mExport.GetPovRay().GetRender().SetCustom(0, 100);
    unsigned first = 0, last = 0;
    ASSERT_TRUE(mExport.OutputPovRayIOAnim(&first, &last, true));
    EXPECT_EQ(CountQuestions(L"You are goint to export many files.\nExecute it now?"), 0u);
    EXPECT_EQ(mExport.GetPovRay().GetCommands().size(), 101u);
    EXPECT_TRUE(Exists("povanim0100.pov"));

    mExport.GetPovRay().GetRender().SetCustom(0, 101);
    mPrompt.QueueAnswer(0);
    fs::remove(mDir.Path() / "povanim0101.pov");
    EXPECT_FALSE(mExport.OutputPovRayIOAnim(&first, &last, true));
    EXPECT_EQ(CountQuestions(L"You are goint to export many files.\nExecute it now?"), 1u);
    EXPECT_FALSE(Exists("povanim0101.pov"));
    // Without asking, the same range is written.
    EXPECT_TRUE(mExport.OutputPovRayIOAnim(&first, &last, false));
    EXPECT_TRUE(Exists("povanim0101.pov"));
    EXPECT_TRUE(HasStatus(L"Disk Output Suceed.povanim0101.ini"));
}

TEST_F(ExportFixture, NoObjectAnsweredYesStillWritesHeaderCameraAndColourMaps)
{
    mExport.mDataBoxes = nullptr;
    mExport.mColorMaps = [](double) { return std::wstring(L"#macro CLRMAP3_0CLR()\n\t[0 color rgb <1,0,0>]\n#end\n"); };
    mPrompt.QueueAnswer(1);
    unsigned first = 0, last = 0;
    mClock.SetWA(0, 0);
    ASSERT_TRUE(mExport.OutputPovRayIOAnim(&first, &last, true));
    EXPECT_EQ(CountQuestions(L"No Object"), 1u);
    const std::string scene = ReadFileText(mDir.File("povanim0000.pov"));
    const size_t header = scene.find("global_settings {");
    const size_t camera = scene.find("camera {");
    const size_t maps = scene.find("#macro CLRMAP3_0CLR()");
    ASSERT_NE(header, std::string::npos);
    ASSERT_NE(camera, std::string::npos);
    ASSERT_NE(maps, std::string::npos);
    EXPECT_LT(header, camera);
    EXPECT_LT(camera, maps);
    EXPECT_EQ(scene.find("union {"), std::string::npos);
    EXPECT_TRUE(Exists("povanim0000.ini"));
}

TEST_F(ExportFixture, StereoWritesBothEyes)
{
    mExport.GetPovRay().GetRender().SetStereoEye(1);
    mClock.SetWA(0, 0);
    unsigned first = 9, last = 9;
    ASSERT_TRUE(mExport.OutputPovRayIOAnim(&first, &last, true));
    EXPECT_TRUE(Exists("povanimL0000.pov"));
    EXPECT_TRUE(Exists("povanimR0000.pov"));
    EXPECT_TRUE(Exists("povanimL0000.ini"));
    EXPECT_TRUE(Exists("povanimR0000.ini"));
    ASSERT_EQ(mExport.GetPovRay().GetCommands().size(), 2u);
    EXPECT_NE(mExport.GetPovRay().GetCommands()[1].find(L"povanimR0000.ini"), std::wstring::npos);
    // The eyes see the scene from different places.
    const std::string left = ReadFileText(mDir.File("povanimL0000.pov"));
    const std::string right = ReadFileText(mDir.File("povanimR0000.pov"));
    EXPECT_NE(left.substr(left.find("camera {"), 120), right.substr(right.find("camera {"), 120));
}

TEST_F(ExportFixture, UnwritableDirectoryReportsAndStops)
{
    mExport.GetPovRay().SetWorkingDir(Widen((mDir.Path() / "missing").string()));
    EXPECT_FALSE(mExport.ProcOutputPovRay(3));
    ASSERT_EQ(mPrompt.MessageCount(), 1u);
    EXPECT_EQ(mPrompt.Messages()[0].text,
              L"File output failed. Please check the working directory and its permission.");
    EXPECT_TRUE(HasStatus(L"Disk I/O Error"));
    unsigned first = 0, last = 0;
    mClock.SetWA(0, 3);
    EXPECT_FALSE(mExport.OutputPovRayIOAnim(&first, &last, false));
    EXPECT_EQ(mPrompt.MessageCount(), 2u);
    EXPECT_TRUE(mExport.GetPovRay().GetCommands().empty());
}

TEST_F(ExportFixture, SceneOrderAndDensityFile)
{
    const double p[3] = {2, 3, 4}, c[3] = {1, 0.5, 0.25};
    mExport.GetLights().AddLight(LightSRC_cls::kPoint, p, c, 2.0);
    mExport.mFog = [](double) { return std::wstring(L"fog { distance 5 color rgb 0.5 }\n"); };
    mExport.mObjects = [](int, double) {
        return PovExport_cls::ObjectsText{L"#declare POVOBJ_0=sphere{0,0.1}\n", L"\tobject { POVOBJ_0 }\n"};
    };
    ASSERT_TRUE(mExport.ProcOutputPovRay(5));
    EXPECT_TRUE(HasStatus(L"Disk Output Suceed.povsnap0005.ini"));
    const std::string s = ReadFileText(mDir.File("povsnap0005.pov"));
    const char* order[] = {"global_settings {",     "light_source {\n\t<2,3,-4>\n\tcolor rgb <2,1,0.5>",
                           "fog { distance 5",      "camera {",
                           "#macro MatrixYZ2Cam()", "#declare BOX_TEX_FINISH=finish{",
                           "#declare BOX_0=",       "#declare BOX_TEX=texture{",
                           "#declare POVOBJ_0=",    "union {",
                           "\tobject { BOX_0",      "\t\ttexture { BOX_TEX }",
                           "\tobject { POVOBJ_0 }"};
    size_t at = 0;
    for (const char* piece : order) {
        const size_t found = s.find(piece, at);
        ASSERT_NE(found, std::string::npos) << piece << " missing or out of order in\n" << s;
        at = found;
    }
    // The density file is padded by one empty sample on each side.
    const auto df3 = ReadFileBytes(mDir.File("povsnap0005_BOX0.df3"));
    ASSERT_EQ(df3.size(), 6u + 18u * 18u * 18u);
    EXPECT_EQ(df3[1], 18);
    EXPECT_EQ(df3[6], 0);
    const size_t centre = 6 + (9 + 9 * 18) * 18 + 9; // padded (9,9,9) = voxel (8,8,8)
    EXPECT_EQ(df3[centre], mvVoxels[(8 + 8 * 16) * 16 + 8]);
}

TEST(PovVolume, PaddingPlacesVoxelsInsideAnEmptyBorder)
{
    std::vector<uint8_t> v(2 * 3 * 4);
    for (size_t i = 0; i < v.size(); ++i)
        v[i] = static_cast<uint8_t>(i + 1);
    const auto p = PovVolume_cls::PadVoxels(v.data(), 2, 3, 4);
    ASSERT_EQ(p.size(), 4u * 5u * 6u);
    size_t nonzero = 0;
    for (unsigned z = 0; z < 6; ++z)
        for (unsigned y = 0; y < 5; ++y)
            for (unsigned x = 0; x < 4; ++x) {
                const uint8_t got = p[(y + z * 5) * 4 + x];
                const bool inside = x >= 1 && x <= 2 && y >= 1 && y <= 3 && z >= 1 && z <= 4;
                if (inside)
                    EXPECT_EQ(got, v[((y - 1) + (z - 1) * 3) * 2 + (x - 1)]);
                else
                    EXPECT_EQ(got, 0);
                nonzero += got != 0;
            }
    EXPECT_EQ(nonzero, v.size());
}

// The rendered blob must sit where the camera model projects the voxels' centre, seen from an
// oblique camera so that a mirrored or shifted axis moves it visibly.
TEST_F(ExportFixture, RenderedVolumeLandsWhereTheCameraProjectsIt)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed";
    const unsigned n = 24;
    mvVoxels = Ball(n, 5.0, 15.0, 18.0, 4.5);
    muN = n;
    const Vec3d blob = {(5.0 + 0.5) / n - 0.5, (15.0 + 0.5) / n - 0.5, (18.0 + 0.5) / n - 0.5};
    Camera_cls& cam = mExport.GetSavedCamera();
    ASSERT_TRUE(cam.Set({1.6, 1.1, 2.4}, {0, 0, 0}, {0, 1, 0}));
    cam.SetViewAngle(30);
    const int w = 96, h = 72;
    mExport.GetPovRay().GetFormat().SetSize(w, h);
    ASSERT_TRUE(mExport.ProcOutputPovRay(0));

    PovRayOptions opt;
    opt.width = w;
    opt.height = h;
    // The exported option file names the language version ("Version=3.7"); so does this option.
    ASSERT_NE(ReadFileText(mDir.File("povsnap0000.ini")).find("Version=3.7\n"), std::string::npos);
    opt.vExtraOptions.push_back("+MV3.7");
    PovRayResult r = RunPovRay(ReadFileText(mDir.File("povsnap0000.pov")), opt);
    ASSERT_TRUE(r.Ok()) << r.err;
    EXPECT_FALSE(r.bParseWarning) << r.err;
    double sum = 0, sx = 0, sy = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const auto px = r.image.Pixel(x, y);
            const double b = px[0] + px[1] + px[2];
            sum += b;
            sx += b * (x + 0.5);
            sy += b * (y + 0.5);
        }
    ASSERT_GT(sum, 1.0) << "the volume is not visible";
    const auto corner = r.image.Pixel(0, 0);
    EXPECT_LT(corner[0] + corner[1] + corner[2], 0.01);
    double ex = 0, ey = 0, depth = 0;
    ASSERT_TRUE(cam.Project(blob, w, h, ex, ey, depth));
    EXPECT_NEAR(sx / sum, ex, 1.5);
    EXPECT_NEAR(sy / sum, ey, 1.5);
}

TEST_F(ExportFixture, SequenceRenderMakesOneImagePerFrame)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed";
    PovRay_cls& pov = mExport.GetPovRay();
    pov.SetPovRayPath(Widen(PovRayPath()));
    pov.GetFormat().SetSize(16, 12);
    pov.GetFormat().SetAntialias(false);
    muN = 8;
    mvVoxels = Ball(8, 3.5, 3.5, 3.5, 3.0);
    mClock.SetWA(0, 2);
    std::vector<bool> button;
    pov.SetRenderButtonHook([&button](bool on) { button.push_back(on); });
    unsigned first = 0, last = 0;
    ASSERT_TRUE(mExport.OutputPovRayIOAnim(&first, &last, true));
    ASSERT_EQ(pov.GetCommands().size(), 3u);
    pov.RenderByPovAnim();
    EXPECT_TRUE(pov.IsRendering());
    DriveRender();
    for (const char* name : {"povanim0000.png", "povanim0001.png", "povanim0002.png"})
        EXPECT_TRUE(Exists(name)) << name;
    EXPECT_TRUE(HasStatus(L"PovRendering 1/3"));
    EXPECT_TRUE(HasStatus(L"PovRendering 3/3"));
    EXPECT_TRUE(HasStatus(L"not rendering"));
    EXPECT_EQ(mPrompt.MessageCount(), 0u);
    EXPECT_EQ(button, (std::vector<bool>{true, false}));
    EXPECT_TRUE(Exists("povanim0002.pov")); // kept without "PovRemoveFile="
}

TEST_F(ExportFixture, RemoveFileDeletesTheFrameFilesAfterRendering)
{
    PovRay_cls& pov = mExport.GetPovRay();
    pov.SetPovRayPath(L"true"); // stands in for the ray tracer: succeeds at once
    pov.SetRemoveFile(true);
    mClock.SetWA(4, 5);
    unsigned first = 0, last = 0;
    ASSERT_TRUE(mExport.OutputPovRayIOAnim(&first, &last, false));
    ASSERT_TRUE(Exists("povanim0004.pov"));
    EXPECT_NE(pov.GetPostCommands()[0].find(L"povanim0004.pov\";"), std::wstring::npos);
    pov.RenderByPovAnim();
    DriveRender();
    EXPECT_FALSE(Exists("povanim0004.pov"));
    EXPECT_FALSE(Exists("povanim0004.ini"));
    EXPECT_FALSE(Exists("povanim0005.pov"));
    EXPECT_FALSE(Exists("povanim0005.ini"));
}

TEST_F(ExportFixture, FailingRayTracerStopsTheSequenceWithTheMessage)
{
    PovRay_cls& pov = mExport.GetPovRay();
    pov.SetPovRayPath(Widen((mDir.Path() / "no-such-povray").string()));
    mClock.SetWA(0, 4);
    unsigned first = 0, last = 0;
    ASSERT_TRUE(mExport.OutputPovRayIOAnim(&first, &last, false));
    pov.RenderByPovAnim();
    DriveRender();
    ASSERT_EQ(mPrompt.MessageCount(), 1u);
    const auto msg = mPrompt.Messages()[0];
    EXPECT_EQ(msg.title, L"Failed to start or finish Pov-Ray.");
    EXPECT_EQ(msg.text, L"Error is detected.\nInterrupted by user, or Pov-Ray is not installed or wrong path is "
                        L"set,\nor another Pov-Ray is already opend.\nYou can set path by configure dialog."
                        L"\nAnimation sequence is automatically stopped.");
    EXPECT_FALSE(pov.IsRendering());
    EXPECT_LT(pov.GetRenderIndex(), 5u); // stopped after the failing frame, not run to the end
    EXPECT_NE(pov.GetLastErrorCommand().find(L"no-such-povray"), std::wstring::npos);
}

TEST_F(ExportFixture, SnapshotTableHoldsSixteenThreads)
{
    PovRay_cls& pov = mExport.GetPovRay();
    const std::string flag = mDir.File("release");
    // Each "render" waits until the test creates the flag file.
    pov.SetPovRayPath(Widen("sh -c 'while [ ! -e " + flag + " ]; do sleep 0.05; done'"));
    for (int i = 0; i < PovRay_cls::kSnapThreadMax; ++i)
        EXPECT_TRUE(pov.RenderByPovSnap(WStrPrintf("snap%d", i)));
    EXPECT_EQ(pov.CountRunningSnapThreads(), 16);
    EXPECT_FALSE(pov.RenderByPovSnap(L"one-more"));
    ASSERT_EQ(mPrompt.MessageCount(), 1u);
    EXPECT_EQ(mPrompt.Messages()[0].text, L"thread max");
    EXPECT_TRUE(HasStatus(L"Render by Pov-Ray. Output to " + Widen(mDir.Path().string())));
    WriteFileText(flag, "go");
    const auto start = std::chrono::steady_clock::now();
    while (pov.CountRunningSnapThreads() > 0 && std::chrono::steady_clock::now() - start < std::chrono::seconds(30))
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(pov.CountRunningSnapThreads(), 0);
    EXPECT_TRUE(pov.RenderByPovSnap(L"again")); // a finished slot is reused
    pov.WaitForThreads();
}

TEST_F(ExportFixture, ColouredVolumeShowsItsMapHue)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed";
    Coloring_cls coloring;
    // A palette and a density at which it has a clear hue.
    int index = -1;
    int strongest = 0;
    float density = 0;
    for (int i = 1; i <= 9 && index < 0; ++i)
        for (float x : {1.0f, 0.75f, 0.5f}) {
            float rgb[3];
            coloring.GetColor(rgb, x, i, true);
            const float hi = std::max({rgb[0], rgb[1], rgb[2]}), lo = std::min({rgb[0], rgb[1], rgb[2]});
            if (index < 0 && hi - lo > 0.3f) {
                index = i;
                density = x;
                strongest = static_cast<int>(std::max_element(rgb, rgb + 3) - rgb);
            }
        }
    ASSERT_GE(index, 1) << "no coloured palette";
    mExport.SetColoring(&coloring);
    mExport.mDataBoxes = [this, index](int) {
        PovExport_cls::DataBox box;
        box.pVoxels = mvVoxels.data();
        box.uX = box.uY = box.uZ = muN;
        box.iColorIndex = index;
        box.fEmission = 1.2f; // times the density: below saturation, so the hue survives
        return std::vector<PovExport_cls::DataBox>{box};
    };
    mvVoxels.assign(static_cast<size_t>(muN) * muN * muN, static_cast<uint8_t>(density * 255.0f));
    mExport.GetPovRay().GetFormat().SetSize(16, 12);
    ASSERT_TRUE(mExport.ProcOutputPovRay(1));
    const std::string scene = ReadFileText(mDir.File("povsnap0001.pov"));
    const size_t macro = scene.find("#macro CLRMAP");
    ASSERT_NE(macro, std::string::npos);
    EXPECT_LT(macro, scene.find("#declare BOX_0="));
    PovRayOptions opt;
    opt.width = 16;
    opt.height = 12;
    opt.vExtraOptions.push_back("+MV3.7");
    PovRayResult r = RunPovRay(scene, opt);
    ASSERT_TRUE(r.Ok()) << r.err;
    const auto px = r.image.Pixel(8, 6);
    EXPECT_GT(px[0] + px[1] + px[2], 0.1);
    EXPECT_EQ(std::max_element(px.begin(), px.end()) - px.begin(), strongest);
    EXPECT_GT(*std::max_element(px.begin(), px.end()) - *std::min_element(px.begin(), px.end()), 0.1)
        << "the volume is grey: the colour map was not applied: " << px[0] << " " << px[1] << " " << px[2];
}

TEST_F(ExportFixture, StopRequestEndsTheExportAtTheNextFrame)
{
    mClock.SetWA(0, 9);
    int written = 0;
    mExport.mPumpEvents = [this, &written] {
        if (++written == 3)
            mExport.GetPovRay().StopExportAnim(); // the user pressed stop while frame 2 was written
    };
    unsigned first = 0, last = 0;
    EXPECT_FALSE(mExport.OutputPovRayIOAnim(&first, &last, false));
    EXPECT_TRUE(Exists("povanim0002.pov"));
    EXPECT_FALSE(Exists("povanim0003.pov"));
    EXPECT_FALSE(mExport.GetPovRay().IsExporting());
    // A new export starts afresh.
    mExport.mPumpEvents = nullptr;
    EXPECT_TRUE(mExport.OutputPovRayIOAnim(&first, &last, false));
    EXPECT_TRUE(Exists("povanim0009.pov"));
}

TEST_F(ExportFixture, StoppingASequenceLetsTheCurrentFrameFinish)
{
    PovRay_cls& pov = mExport.GetPovRay();
    // Each "render" leaves a mark beside its option file after a short while.
    pov.SetPovRayPath(L"sh -c 'sleep 0.3; touch \"$0.done\"'");
    mClock.SetWA(0, 3);
    unsigned first = 0, last = 0;
    ASSERT_TRUE(mExport.OutputPovRayIOAnim(&first, &last, false));
    pov.RenderByPovAnim();
    pov.ProcessRenderAnim(); // starts frame 0
    EXPECT_TRUE(pov.IsRenderThreadRunning());
    pov.StopRenderAnim();
    DriveRender();
    EXPECT_TRUE(Exists("povanim0000.ini.done"));
    EXPECT_FALSE(Exists("povanim0001.ini.done"));
    EXPECT_EQ(pov.GetRenderIndex(), 1u);
    EXPECT_EQ(mPrompt.MessageCount(), 0u);
}

TEST_F(ExportFixture, ExportAnimCommandWritesTheRenderScript)
{
    mClock.SetWA(2, 4);
    ASSERT_TRUE(mExport.CommandExportAnim());
    EXPECT_TRUE(Exists("povanim0004.ini"));
    const std::string script = ReadFileText(mDir.File("RenderAnim.sh"));
    EXPECT_EQ(script.rfind("trap ctrl_c INT\nfunction ctrl_c() {\n", 0), 0u);
    EXPECT_NE(script.find("do povray 0x"), std::string::npos);
    const std::string tail = "${f}.ini; done"; // the last line has no newline
    ASSERT_GE(script.size(), tail.size());
    EXPECT_EQ(script.substr(script.size() - tail.size()), tail);
    EXPECT_FALSE(mExport.GetPovRay().IsExportWaiting());
}

TEST_F(ExportFixture, RenderAnimCommandAsksThenOffersToStop)
{
    PovRay_cls& pov = mExport.GetPovRay();
    pov.SetPovRayPath(L"true");
    mClock.SetWA(0, 1);
    mPrompt.QueueAnswer(0);
    EXPECT_FALSE(mExport.CommandRenderAnim());
    EXPECT_EQ(CountQuestions(L"You are goint to render sequence.\nExecute it now?"), 1u);
    EXPECT_FALSE(Exists("povanim0000.pov"));
    EXPECT_FALSE(pov.IsRendering());

    mPrompt.QueueAnswer(1);
    ASSERT_TRUE(mExport.CommandRenderAnim());
    EXPECT_TRUE(Exists("povanim0001.pov"));
    EXPECT_TRUE(pov.IsRendering());
    EXPECT_FALSE(pov.IsExporting());
    mPrompt.QueueAnswer(1);
    EXPECT_FALSE(mExport.CommandRenderAnim());
    EXPECT_EQ(CountQuestions(L"Rendering sequence is running.\nStop the rendering?\n(Rendering stops after the "
                             L"current frame is finished.)"),
              1u);
    EXPECT_FALSE(pov.IsRendering());
    DriveRender();
}

TEST_F(ExportFixture, StereoSnapshotChoices)
{
    mExport.GetPovRay().GetRender().SetStereoEye(1);
    mClock.SetIndex(7);
    mPrompt.QueueAnswer(-1);
    EXPECT_FALSE(mExport.CommandSnapshot(false));
    const auto asked = mPrompt.Entries().back();
    EXPECT_EQ(asked.kind, RecordingPrompt_cls::Kind::Choice);
    EXPECT_EQ(asked.title, L"Stereogram Snapshot");
    EXPECT_EQ(asked.text, L"Exporting with Stereogram.\nSelect Export type.\n\n*)To Render 2 images,\nCheck off "
                          L"[Keep Single Instance]");

    mPrompt.QueueAnswer(0);
    ASSERT_TRUE(mExport.CommandSnapshot(false));
    EXPECT_TRUE(Exists("povsnapL0007.pov"));
    EXPECT_TRUE(Exists("povsnapR0007.pov"));
    EXPECT_FALSE(Exists("povsnap0007.pov"));

    mPrompt.QueueAnswer(3); // one snapshot, and do not ask again
    ASSERT_TRUE(mExport.CommandSnapshot(false));
    EXPECT_TRUE(Exists("povsnap0007.pov"));
    fs::remove(mDir.Path() / "povsnap0007.pov");
    const size_t before = mPrompt.Entries().size();
    ASSERT_TRUE(mExport.CommandSnapshot(false));
    EXPECT_TRUE(Exists("povsnap0007.pov"));
    for (size_t i = before; i < mPrompt.Entries().size(); ++i)
        EXPECT_NE(mPrompt.Entries()[i].kind, RecordingPrompt_cls::Kind::Choice);
}

TEST(LightSource, TextAndProjectBlock)
{
    LightSRC_cls lights;
    EXPECT_TRUE(lights.GetPovStrLightSource(0.0).empty());
    const double p[3] = {1, 2, 3}, white[3] = {1, 1, 1}, red[3] = {1, 0, 0};
    lights.AddLight(LightSRC_cls::kPoint, p, white, 0.5);
    lights.AddLight(LightSRC_cls::kSpot, p, red, 2.0);
    const std::string t = Narrow(lights.GetPovStrLightSource(0.5));
    EXPECT_EQ(t, "light_source {\n\t<1,2,-3>\n\tcolor rgb <0.5,0.5,0.5>\n}\n"
                 "light_source {\n\t<1,2,-3>\n\tcolor rgb <2,0,0>\n\tspotlight\n\tpoint_at <0,0,0>\n"
                 "\tradius 15\n\tfalloff 30\n}\n");
    const std::wstring block = lights.Serialize();
    ASSERT_EQ(block.rfind(L"--LightSource\n", 0), 0u);
    LightSRC_cls back;
    LineStream_cls stream(block + L"AfterBlock=1\n");
    std::wstring first;
    ASSERT_TRUE(stream.GetLine(first));
    ASSERT_TRUE(back.ReadStrLine(stream, first));
    ASSERT_EQ(back.GetCount(), 2u);
    EXPECT_EQ(back.GetKind(1), LightSRC_cls::kSpot);
    EXPECT_EQ(Narrow(back.GetPovStrLightSource(0.5)), t);
    std::wstring next;
    ASSERT_TRUE(stream.GetLine(next));
    EXPECT_EQ(next, L"AfterBlock=1");
}

} // namespace
