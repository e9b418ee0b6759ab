// The stereo pair in the ray-tracer export: the left and right scenes use the stereogram's eye
// cameras, so they differ only in where the eye stands (by exactly the eye separation), both
// render, and each picture shows the volume where its eye camera projects it.
#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "config/TextFormat.h"
#include "pov/PovExport_cls.h"
#include "pov/StereoGram_cls.h"
#include "support/PovRayRunner.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace
{

// A soft ball of density around voxel (c, c, c) of an n^3 volume.
std::vector<uint8_t> Ball(unsigned n, double c, double radius)
{
    std::vector<uint8_t> v(static_cast<size_t>(n) * n * n);
    for (unsigned z = 0; z < n; ++z)
        for (unsigned y = 0; y < n; ++y)
            for (unsigned x = 0; x < n; ++x) {
                const double d = std::sqrt((x - c) * (x - c) + (y - c) * (y - c) + (z - c) * (z - c));
                v[(y + static_cast<size_t>(z) * n) * n + x] =
                    static_cast<uint8_t>(255.0 * std::max(0.0, 1.0 - d / radius));
            }
    return v;
}

// The lines of the first camera block of a scene.
std::vector<std::string> CameraLines(const std::string& scene)
{
    std::vector<std::string> lines;
    const size_t start = scene.find("camera {");
    if (start == std::string::npos)
        return lines;
    std::istringstream in(scene.substr(start, scene.find("}\n", start) - start));
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// "0005" for frame 5, as the anim pattern numbers its files.
std::string FrameDigits(int frame)
{
    char buf[16];
    std::snprintf(buf, sizeof buf, "%04d", frame);
    return buf;
}

// The vector after `key` ("location", "look_at") in the camera lines.
bool VectorOf(const std::vector<std::string>& lines, const std::string& key, Vec3d& v)
{
    for (const std::string& line : lines)
        if (line.find("  " + key + " <") == 0)
            return std::sscanf(line.c_str() + key.size() + 4, "%lf, %lf, %lf", &v[0], &v[1], &v[2]) == 3;
    return false;
}

struct StereoExportFixture : public ::testing::Test {
    TimeCtrl_cls mClock;
    RecordingPrompt_cls mPrompt;
    TempDir mDir;
    PovExport_cls mExport{&mClock};
    StereoGram_cls mStereo;
    std::vector<uint8_t> mvVoxels = Ball(16, 7.5, 6.0);

    void SetUp() override
    {
        mClock.SetMaxFrame(10);
        mClock.SetWA(0, 0);
        mExport.SetPrompt(&mPrompt);
        mExport.GetPovRay().SetWorkingDir(Widen(mDir.Path().string()));
        mExport.GetPovRay().SetOutputDir(Widen(mDir.Path().string()));
        mExport.mDataBoxes = [this](int) {
            PovExport_cls::DataBox box;
            box.pVoxels = mvVoxels.data();
            box.uX = box.uY = box.uZ = 16;
            box.dSize[0] = box.dSize[1] = box.dSize[2] = 0.5;
            box.dCenter[2] = 0.6; // nearer than the convergence point: the eyes see it apart
            box.fEmission = 4.0f;
            return std::vector<PovExport_cls::DataBox>{box};
        };
        ASSERT_TRUE(mExport.GetSavedCamera().Set({0, 0, 3}, {0, 0, 0}, {0, 1, 0}));
        mExport.GetSavedCamera().SetViewAngle(40);
        mStereo.SetEyeSeparation(0.4);
        mStereo.SetConvergence(3.0);
        mStereo.SetMode(StereoGram_cls::kModeParallel);
        mExport.SetStereoGram(&mStereo);
        mExport.GetPovRay().GetRender().SetStereoEye(1);
    }
};

TEST_F(StereoExportFixture, EyeScenesDifferOnlyByTheEyeSeparation)
{
    unsigned first = 9, last = 9;
    ASSERT_TRUE(mExport.OutputPovRayIOAnim(&first, &last, true));
    const std::string left = ReadFileText(mDir.File("povanimL0000.pov"));
    const std::string right = ReadFileText(mDir.File("povanimR0000.pov"));
    const std::vector<std::string> lc = CameraLines(left), rc = CameraLines(right);
    ASSERT_FALSE(lc.empty());
    ASSERT_EQ(lc.size(), rc.size());
    Vec3d ll{}, rl{}, la{}, ra{};
    ASSERT_TRUE(VectorOf(lc, "location", ll));
    ASSERT_TRUE(VectorOf(rc, "location", rl));
    ASSERT_TRUE(VectorOf(lc, "look_at", la));
    ASSERT_TRUE(VectorOf(rc, "look_at", ra));
    // Apart along x by the separation (the camera looks along -z, so its right axis is +x),
    // both looking at the convergence point.
    EXPECT_NEAR(rl[0] - ll[0], 0.4, 1e-8);
    EXPECT_NEAR(rl[1] - ll[1], 0.0, 1e-8);
    EXPECT_NEAR(rl[2] - ll[2], 0.0, 1e-8);
    EXPECT_NEAR(ll[0], -0.2, 1e-8);
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(la[k], ra[k], 1e-9);
    for (size_t i = 0; i < lc.size(); ++i) {
        if (lc[i].find("  location") != 0) {
            EXPECT_EQ(lc[i], rc[i]);
        }
    }
    // Outside the camera the two scenes are the same text, but for the density file names.
    const size_t lcam = left.find("camera {"), rcam = right.find("camera {");
    EXPECT_EQ(left.substr(0, lcam), right.substr(0, rcam));
}

TEST_F(StereoExportFixture, BothEyesRenderWithTheBallWhereTheirCamerasProjectIt)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed";
    const int w = 64, h = 48;
    mExport.GetPovRay().GetFormat().SetSize(w, h);
    unsigned first = 0, last = 0;
    ASSERT_TRUE(mExport.OutputPovRayIOAnim(&first, &last, false));
    double centroid[2] = {0, 0};
    for (unsigned eye = 1; eye <= 2; ++eye) {
        SCOPED_TRACE(eye);
        const std::string name = eye == 1 ? "povanimL0000.pov" : "povanimR0000.pov";
        PovRayOptions opt;
        opt.width = w;
        opt.height = h;
        opt.vExtraOptions.push_back("+MV3.7");
        const PovRayResult r = RunPovRay(ReadFileText(mDir.File(name)), opt);
        ASSERT_TRUE(r.Ok()) << r.err;
        double sum = 0, sx = 0, sy = 0;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const auto px = r.image.Pixel(x, y);
                const double b = px[0] + px[1] + px[2];
                sum += b;
                sx += b * (x + 0.5);
                sy += b * (y + 0.5);
            }
        ASSERT_GT(sum, 1.0) << "nothing visible";
        const Camera_cls camera = mStereo.MakeEyeCamera(mExport.GetSavedCamera(), eye);
        double ex = 0, ey = 0, depth = 0;
        ASSERT_TRUE(camera.Project({0, 0, 0.6}, w, h, ex, ey, depth));
        EXPECT_NEAR(sx / sum, ex, 1.5);
        EXPECT_NEAR(sy / sum, ey, 1.5);
        centroid[eye - 1] = sx / sum;
    }
    // In front of the convergence point: the left eye sees the ball further right.
    EXPECT_GT(centroid[0] - centroid[1], 2.0);
}

TEST_F(StereoExportFixture, AnimatedSeparationIsTakenAtEachFramesTime)
{
    UndoManager_cls undo;
    Parameters_cls& keys = mStereo.GetParam();
    keys.SetUndoManager(&undo);
    ASSERT_TRUE(keys.SetTimeDependent(true, false));
    const double k0[2] = {0.1, 3.0}, k1[2] = {0.3, 3.0};
    ASSERT_TRUE(keys.ExecCommandSetKey(0.0, k0, 0, nullptr, nullptr));
    ASSERT_TRUE(keys.ExecCommandSetKey(1.0, k1, 0, nullptr, nullptr));
    mClock.SetWA(0, 10);
    unsigned first = 9, last = 9;
    ASSERT_TRUE(mExport.OutputPovRayIOAnim(&first, &last, false));
    for (int frame : {0, 5, 10}) {
        SCOPED_TRACE(frame);
        const std::string stem = FrameDigits(frame);
        Vec3d l{}, r{};
        ASSERT_TRUE(VectorOf(CameraLines(ReadFileText(mDir.File("povanimL" + stem + ".pov"))), "location", l));
        ASSERT_TRUE(VectorOf(CameraLines(ReadFileText(mDir.File("povanimR" + stem + ".pov"))), "location", r));
        double expected[2] = {0, 0};
        keys.Evaluate(mClock.GetDoubleIndex(frame), 0.0, expected);
        EXPECT_NEAR(r[0] - l[0], expected[0], 1e-8);
    }
    double atEnd[2] = {0, 0};
    keys.Evaluate(mClock.GetDoubleIndex(10), 0.0, atEnd);
    EXPECT_NEAR(atEnd[0], 0.3, 1e-9);
}

TEST_F(StereoExportFixture, StereoSnapshotUsesTheSameEyesAsTheSequence)
{
    mClock.SetIndex(3);
    mPrompt.QueueAnswer(0); // "0: Take two stereogram snapshots."
    ASSERT_TRUE(mExport.CommandSnapshot(false));
    Vec3d l{}, r{}, mono{};
    ASSERT_TRUE(VectorOf(CameraLines(ReadFileText(mDir.File("povsnapL0003.pov"))), "location", l));
    ASSERT_TRUE(VectorOf(CameraLines(ReadFileText(mDir.File("povsnapR0003.pov"))), "location", r));
    EXPECT_NEAR(r[0] - l[0], 0.4, 1e-8);
    // "1: Take only one snapshot." is the mono camera.
    mPrompt.QueueAnswer(1);
    ASSERT_TRUE(mExport.CommandSnapshot(false));
    ASSERT_TRUE(VectorOf(CameraLines(ReadFileText(mDir.File("povsnap0003.pov"))), "location", mono));
    EXPECT_NEAR(mono[0], 0.0, 1e-12);
    EXPECT_NEAR(0.5 * (l[0] + r[0]), mono[0], 1e-8);
}

} // namespace
