// The camera path drawn in a view, rendered for real in Mesa's software renderer: frusta land
// where the view camera projects their corners, the track follows the keyed eye positions, and
// a path camera turns into a view camera even when it looks straight down.
#include "OsMesaContext_cls.h"

#include "anim/CameraPathCtrl_cls.h"
#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"
#include "gl/CameraPathGL_cls.h"
#include "gl/GuideGL_cls.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{

constexpr int kW = 160, kH = 120;

class CameraPathRender : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        miOldFrames = Parameters_cls::GetFrameNumber();
        Parameters_cls::SetFrameNumber(100);
        mCPath.SetUndoManager(&mCUndo);
        ASSERT_TRUE(mCView.Set({0, 0, 5}, {0, 0, 0}, {0, 1, 0}));
        mCView.SetViewAngle(40);
    }
    void TearDown() override { Parameters_cls::SetFrameNumber(miOldFrames); }

    // Draws the path through the view camera on black; returns the picture.
    std::vector<uint8_t> Render(OsMesaContext_cls& ctx, double time, double size)
    {
        GuideGL_cls::Clear(0, 0, 0);
        GuideGL_cls::LoadCamera(mCView, kW, kH);
        CameraPathGL_cls::Draw(mCPath, time, static_cast<double>(kW) / kH, size);
        return ctx.ReadRGB();
    }
    static bool Lit(const std::vector<uint8_t>& rgb, int x, int y)
    {
        if (x < 0 || y < 0 || x >= kW || y >= kH)
            return false;
        const size_t i = (static_cast<size_t>(y) * kW + x) * 3;
        return rgb[i] + rgb[i + 1] + rgb[i + 2] > 60;
    }
    // True when a lit pixel lies within `r` pixels of (px, py).
    static bool LitNear(const std::vector<uint8_t>& rgb, double px, double py, int r)
    {
        for (int dy = -r; dy <= r; ++dy)
            for (int dx = -r; dx <= r; ++dx)
                if (Lit(rgb, static_cast<int>(std::floor(px)) + dx, static_cast<int>(std::floor(py)) + dy))
                    return true;
        return false;
    }

    int miOldFrames = 1;
    UndoManager_cls mCUndo;
    CameraPathCtrl_cls mCPath;
    Camera_cls mCView;
};

TEST_F(CameraPathRender, FrustumIsDrawnWhereItsCornersProject)
{
    OsMesaContext_cls ctx(kW, kH);
    ASSERT_TRUE(ctx.IsValid());
    // A camera standing right of centre, looking left across the view.
    ASSERT_TRUE(mCPath.AddCamera({0.8, 0.1, 0.0, -1.0, 0.1, 0.0}));
    const double size = 0.5;
    const std::vector<uint8_t> rgb = Render(ctx, 0.0, size);

    Camera_cls pathCam;
    ASSERT_TRUE(CameraPathGL_cls::MakeCamera(mCPath, 0, 0.0, pathCam));
    const auto points = CameraPathGL_cls::FrustumPoints(pathCam, static_cast<double>(kW) / kH, size);
    double minX = 1e9, maxX = -1e9, minY = 1e9, maxY = -1e9;
    for (const Vec3d& p : points) {
        double px = 0, py = 0, depth = 0;
        ASSERT_TRUE(mCView.Project(p, kW, kH, px, py, depth));
        EXPECT_TRUE(LitNear(rgb, px, py, 1)) << "corner at " << px << ", " << py;
        minX = std::min(minX, px);
        maxX = std::max(maxX, px);
        minY = std::min(minY, py);
        maxY = std::max(maxY, py);
    }
    // Lines join the corners: the lit pixels span the projected frustum (the line of sight to
    // the look-at point reaches further left, so only the right, top and bottom edges bound).
    int litMaxX = -1, litMinY = kH, litMaxY = -1, lit = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            if (Lit(rgb, x, y)) {
                ++lit;
                litMaxX = std::max(litMaxX, x);
                litMinY = std::min(litMinY, y);
                litMaxY = std::max(litMaxY, y);
            }
    EXPECT_GT(lit, 50);
    EXPECT_NEAR(litMaxX, maxX, 2.5);
    // Above the top edge only the up tick, 0.3 of the frustum's height long.
    EXPECT_LT(litMinY, minY + 2.5);
    EXPECT_GT(litMinY, minY - 0.3 * (maxY - minY) - 3.0);
    EXPECT_NEAR(litMaxY, maxY, 2.5);
    // Nothing is drawn far from the path.
    for (int y = 0; y < kH; ++y)
        EXPECT_FALSE(Lit(rgb, 3, y));
}

TEST_F(CameraPathRender, TrackFollowsTheKeyedEyeAndTheFrustumMovesWithTime)
{
    OsMesaContext_cls ctx(kW, kH);
    ASSERT_TRUE(ctx.IsValid());
    ASSERT_TRUE(mCPath.AddCamera({-1.0, -0.5, 0.0, 0.0, 0.0, -3.0}));
    ASSERT_TRUE(mCPath.SetCameraKey(0, 0.0, {-1.0, -0.5, 0.0, 0.0, 0.0, -3.0}));
    ASSERT_TRUE(mCPath.SetCameraKey(0, 1.0, {1.0, 0.6, 0.0, 0.0, 0.0, -3.0}));
    const std::vector<uint8_t> early = Render(ctx, 0.0, 0.2);
    for (double t : {0.1, 0.25, 0.5, 0.75, 0.9}) {
        CameraPathCtrl_cls::CameraValues v{};
        ASSERT_TRUE(mCPath.GetCameraAt(0, t, v));
        double px = 0, py = 0, depth = 0;
        ASSERT_TRUE(mCView.Project({v[0], v[1], v[2]}, kW, kH, px, py, depth));
        EXPECT_TRUE(LitNear(early, px, py, 1)) << "track at t=" << t;
    }
    // The current camera's frustum stands at the time's eye position: the far corners drawn at
    // time 0.5 are not drawn at time 0 (keys are at the ends only).
    const std::vector<uint8_t> middle = Render(ctx, 0.5, 0.2);
    Camera_cls cam;
    ASSERT_TRUE(CameraPathGL_cls::MakeCamera(mCPath, 0, 0.5, cam));
    const auto points = CameraPathGL_cls::FrustumPoints(cam, static_cast<double>(kW) / kH, 0.2);
    int onlyInMiddle = 0;
    for (int c = 1; c <= 4; ++c) {
        double px = 0, py = 0, depth = 0;
        ASSERT_TRUE(mCView.Project(points[static_cast<size_t>(c)], kW, kH, px, py, depth));
        EXPECT_TRUE(LitNear(middle, px, py, 1));
        onlyInMiddle += !LitNear(early, px, py, 0);
    }
    EXPECT_GE(onlyInMiddle, 2);
}

TEST(CameraPathGL, MakeCameraKeepsSettingsAndCopesWithStraightDownViews)
{
    UndoManager_cls undo;
    CameraPathCtrl_cls path;
    path.SetUndoManager(&undo);
    ASSERT_TRUE(path.AddCamera({0, 3, 0, 0, 0, 0})); // straight down the default sky
    ASSERT_TRUE(path.AddCamera({1, 1, 1, 1, 1, 1})); // eye on the look-at point
    Camera_cls camera;
    camera.SetViewAngle(55);
    ASSERT_TRUE(CameraPathGL_cls::MakeCamera(path, 0, 0.0, camera));
    EXPECT_EQ(camera.GetPosition(), (Vec3d{0, 3, 0}));
    EXPECT_EQ(camera.GetLookAt(), (Vec3d{0, 0, 0}));
    EXPECT_DOUBLE_EQ(camera.GetViewAngle(), 55.0);
    EXPECT_NEAR(camera.Direction()[1], -1.0, 1e-12);
    const Vec3d before = camera.GetPosition();
    EXPECT_FALSE(CameraPathGL_cls::MakeCamera(path, 1, 0.0, camera));
    EXPECT_FALSE(CameraPathGL_cls::MakeCamera(path, 7, 0.0, camera));
    EXPECT_EQ(camera.GetPosition(), before);
    // The frustum's far rectangle is centred on the line of sight at the given depth.
    const auto p = CameraPathGL_cls::FrustumPoints(camera, 2.0, 1.0);
    for (int k = 0; k < 3; ++k) {
        const double centre = 0.25 * (p[1][k] + p[2][k] + p[3][k] + p[4][k]);
        EXPECT_NEAR(centre, k == 1 ? 2.0 : 0.0, 1e-12);
    }
    const double width = std::hypot(p[2][0] - p[1][0], p[2][2] - p[1][2]);
    const double height = std::hypot(p[4][0] - p[1][0], p[4][2] - p[1][2]);
    EXPECT_NEAR(width / height, 2.0, 1e-9);
    EXPECT_NEAR(height, 2.0 * std::tan(55.0 * 0.5 * 3.14159265358979323846 / 180.0), 1e-9);
}

} // namespace
