// Off-screen framebuffers and stereo pairs rendered for real in Mesa's software renderer: a
// picture drawn at twice the size and scaled down equals the window-sized one, very large
// buffers work, and every stereo layout puts each eye's picture where its camera projects it.
#include "OsMesaContext_cls.h"

#include "config/TextFormat.h"
#include "gl/GuideGL_cls.h"
#include "gl/OffscreenFBO_cls.h"
#include "gl/StereoViewGL_cls.h"
#include "pov/StereoGram_cls.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace
{

// Restores the guide drawing's global pixel scale however a case ends.
struct ScaleGuard {
    ~ScaleGuard() { GuideGL_cls::SetPixelScale(1.0); }
};

// A scene with filled faces in several colours, the guide box and the axis triad: enough
// structure that a shifted or scaled picture would not match.
void DrawScene(const Camera_cls& camera, int width, int height)
{
    GuideGL_cls::Clear(0.1f, 0.1f, 0.15f);
    GuideGL_cls::LoadCamera(camera, width, height);
    glEnable(GL_DEPTH_TEST);
    glBegin(GL_TRIANGLES);
    glColor3f(0.9f, 0.3f, 0.2f);
    glVertex3d(-0.4, -0.3, 0.0);
    glVertex3d(0.3, -0.35, 0.1);
    glVertex3d(0.0, 0.4, -0.1);
    glColor3f(0.2f, 0.8f, 0.4f);
    glVertex3d(-0.2, -0.1, 0.3);
    glVertex3d(0.4, 0.2, 0.2);
    glVertex3d(-0.3, 0.35, 0.25);
    glEnd();
    static const float kBox[3] = {0.85f, 0.85f, 0.85f};
    GuideGL_cls::DrawBoundingBox({-0.5, -0.5, -0.5}, {0.5, 0.5, 0.5}, kBox);
    GuideGL_cls::DrawAxisTriad(camera, width, height, 20);
}

// A white square facing +z centred on `centre`, on black.
void DrawSquare(const Camera_cls& camera, int width, int height, const Vec3d& centre, double half)
{
    GuideGL_cls::Clear(0.0f, 0.0f, 0.0f);
    GuideGL_cls::LoadCamera(camera, width, height);
    glDisable(GL_DEPTH_TEST);
    glColor3f(1.0f, 1.0f, 1.0f);
    glBegin(GL_QUADS);
    glVertex3d(centre[0] - half, centre[1] - half, centre[2]);
    glVertex3d(centre[0] + half, centre[1] - half, centre[2]);
    glVertex3d(centre[0] + half, centre[1] + half, centre[2]);
    glVertex3d(centre[0] - half, centre[1] + half, centre[2]);
    glEnd();
}

// Brightness-weighted centroid of channel c inside the pixel rectangle [x0,x1) x [y0,y1) of a
// top-down RGB picture; false when the rectangle is dark.
bool Centroid(const std::vector<uint8_t>& rgb, int width, int c, int x0, int y0, int x1, int y1, double& cx, double& cy)
{
    double sum = 0, sx = 0, sy = 0;
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) {
            const double v = rgb[(static_cast<size_t>(y) * width + x) * 3 + c];
            sum += v;
            sx += v * (x + 0.5);
            sy += v * (y + 0.5);
        }
    if (sum < 255.0)
        return false;
    cx = sx / sum;
    cy = sy / sum;
    return true;
}

Camera_cls FrontCamera()
{
    Camera_cls camera;
    camera.Set({0.3, 0.4, 3.0}, {0, 0, 0}, {0, 1, 0});
    camera.SetViewAngle(35);
    return camera;
}

TEST(OffscreenFBO, DoubleSizeRenderScaledDownMatchesTheWindowSizedOne)
{
    constexpr int kW = 120, kH = 90;
    OsMesaContext_cls ctx(kW, kH);
    ASSERT_TRUE(ctx.IsValid());
    if (!OffscreenFBO_cls::IsSupported())
        GTEST_SKIP() << "no framebuffer objects in this Mesa";
    const Camera_cls camera = FrontCamera();
    DrawScene(camera, kW, kH);
    const std::vector<uint8_t> screen = ctx.ReadRGB();

    ScaleGuard guard;
    OffscreenFBO_cls fbo;
    ASSERT_TRUE(fbo.Create(2 * kW, 2 * kH)) << Narrow(fbo.GetErrorText());
    GuideGL_cls::SetPixelScale(2.0);
    DrawScene(camera, 2 * kW, 2 * kH);
    std::vector<uint8_t> big;
    ASSERT_TRUE(fbo.ReadRGB(big));
    fbo.Unbind();
    ASSERT_EQ(big.size(), size_t(4) * kW * kH * 3);

    // Scaled down by averaging each 2x2 block. Edges of faces and thin lines fall on pixel
    // boundaries differently at the two sizes (a line one pixel wide on screen is half-covering
    // two pixels after scaling down), so both pictures are compared after a 3x3 box blur, which
    // evens that out; a shift or scale error of more than a pixel, or anything missing, still
    // shows.
    std::vector<int> down(static_cast<size_t>(kW) * kH * 3);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            for (int c = 0; c < 3; ++c) {
                int s = 0;
                for (int dy = 0; dy < 2; ++dy)
                    for (int dx = 0; dx < 2; ++dx)
                        s += big[((static_cast<size_t>(2 * y + dy) * 2 * kW) + 2 * x + dx) * 3 + c];
                down[(static_cast<size_t>(y) * kW + x) * 3 + c] = s;
            }
    auto blurred = [&](auto at, int x, int y, int c) {
        int s = 0;
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
                const int xx = std::clamp(x + dx, 0, kW - 1), yy = std::clamp(y + dy, 0, kH - 1);
                s += at((static_cast<size_t>(yy) * kW + xx) * 3 + c);
            }
        return s / 9.0;
    };
    double total = 0;
    int far = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            double worst = 0;
            for (int c = 0; c < 3; ++c) {
                const double a = blurred([&](size_t i) { return static_cast<int>(screen[i]); }, x, y, c);
                const double b = blurred([&](size_t i) { return down[i]; }, x, y, c) / 4.0;
                total += std::abs(a - b);
                worst = std::max(worst, std::abs(a - b));
            }
            far += worst > 40;
        }
    EXPECT_LT(total / (kW * kH * 3), 2.5);
    EXPECT_LT(far, kW * kH / 100) << "more than 1 % of the pixels differ strongly";

    // The window's own buffer is untouched by the off-screen drawing.
    EXPECT_EQ(ctx.ReadRGB(), screen);
}

TEST(OffscreenFBO, UltraHdBufferShowsTheSamePictureScaled)
{
    OsMesaContext_cls ctx(64, 36);
    ASSERT_TRUE(ctx.IsValid());
    if (!OffscreenFBO_cls::IsSupported())
        GTEST_SKIP() << "no framebuffer objects in this Mesa";
    if (OffscreenFBO_cls::GetMaxSize() < 3840)
        GTEST_SKIP() << "driver limit below 3840";
    // Facing the square squarely, its picture's centroid is the projection of its centre.
    Camera_cls camera;
    ASSERT_TRUE(camera.Set({0, 0, 3}, {0, 0, 0}, {0, 1, 0}));
    const Vec3d centre = {0.2, -0.1, 0.0};
    DrawSquare(camera, 64, 36, centre, 0.2);
    double sx = 0, sy = 0;
    ASSERT_TRUE(Centroid(ctx.ReadRGB(), 64, 0, 0, 0, 64, 36, sx, sy));

    OffscreenFBO_cls fbo;
    ASSERT_TRUE(fbo.Create(3840, 2160)) << Narrow(fbo.GetErrorText());
    EXPECT_EQ(fbo.GetWidth(), 3840);
    DrawSquare(camera, 3840, 2160, centre, 0.2);
    std::vector<uint8_t> rgb;
    ASSERT_TRUE(fbo.ReadRGB(rgb));
    fbo.Release();
    double bx = 0, by = 0;
    ASSERT_TRUE(Centroid(rgb, 3840, 0, 0, 0, 3840, 2160, bx, by));
    double ex = 0, ey = 0, depth = 0;
    ASSERT_TRUE(camera.Project(centre, 3840, 2160, ex, ey, depth));
    EXPECT_NEAR(bx, ex, 1.0);
    EXPECT_NEAR(by, ey, 1.0);
    // The small picture is the same one at 1/60 of the size.
    EXPECT_NEAR(sx * 60.0, bx, 60.0);
    EXPECT_NEAR(sy * 60.0, by, 60.0);
}

TEST(OffscreenFBO, RefusesSizesOutOfRangeAndKeepsTheWindowBound)
{
    OsMesaContext_cls ctx(32, 32);
    ASSERT_TRUE(ctx.IsValid());
    if (!OffscreenFBO_cls::IsSupported())
        GTEST_SKIP() << "no framebuffer objects in this Mesa";
    OffscreenFBO_cls fbo;
    EXPECT_FALSE(fbo.Create(0, 100));
    EXPECT_FALSE(fbo.GetErrorText().empty());
    EXPECT_FALSE(fbo.Create(OffscreenFBO_cls::GetMaxSize() + 1, 16));
    EXPECT_FALSE(fbo.IsCreated());
    std::vector<uint8_t> rgb;
    EXPECT_FALSE(fbo.ReadRGB(rgb));
    GLint bound = -1;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING_EXT, &bound);
    EXPECT_EQ(bound, 0);
    // Drawing after a failed attempt still reaches the window.
    GuideGL_cls::Clear(1.0f, 0.0f, 0.0f);
    const std::vector<uint8_t> screen = ctx.ReadRGB();
    EXPECT_EQ(screen[0], 255);
    EXPECT_EQ(screen[1], 0);
}

// Expected pixel of `p` for eye `eye` in a view of width x height.
void Expect(const StereoGram_cls& stereo, const Camera_cls& mono, unsigned eye, const Vec3d& p, int width, int height,
            double& ex, double& ey)
{
    const Camera_cls camera = stereo.MakeEyeCamera(mono, eye);
    double depth = 0;
    ASSERT_TRUE(camera.Project(p, width, height, ex, ey, depth));
}

TEST(StereoView, AnaglyphRedAndCyanDifferByTheEyeDisparity)
{
    constexpr int kW = 160, kH = 120;
    OsMesaContext_cls ctx(kW, kH);
    ASSERT_TRUE(ctx.IsValid());
    StereoGram_cls stereo;
    stereo.SetMode(StereoGram_cls::kModeAnaglyph);
    stereo.SetEyeSeparation(0.3);
    stereo.SetConvergence(1.5); // nearer than the square: it shows behind the screen
    Camera_cls mono;
    ASSERT_TRUE(mono.Set({0, 0, 3}, {0, 0, 0}, {0, 1, 0}));
    const Vec3d centre = {0, 0, 0};
    StereoViewGL_cls::Draw(stereo, mono, kW, kH,
                           [&](const Camera_cls& c, int w, int h) { DrawSquare(c, w, h, centre, 0.15); });
    const std::vector<uint8_t> rgb = ctx.ReadRGB();
    double rx = 0, ry = 0, gx = 0, gy = 0, bx = 0, by = 0;
    ASSERT_TRUE(Centroid(rgb, kW, 0, 0, 0, kW, kH, rx, ry));
    ASSERT_TRUE(Centroid(rgb, kW, 1, 0, 0, kW, kH, gx, gy));
    ASSERT_TRUE(Centroid(rgb, kW, 2, 0, 0, kW, kH, bx, by));
    double lx = 0, ly = 0, qx = 0, qy = 0;
    Expect(stereo, mono, 1, centre, kW, kH, lx, ly);
    Expect(stereo, mono, 2, centre, kW, kH, qx, qy);
    ASSERT_GT(std::abs(lx - qx), 8.0) << "the set-up must give a visible disparity";
    // Red is the left eye, green and blue the right one; the shift between them is the
    // disparity the two eye cameras predict.
    EXPECT_NEAR(rx - gx, lx - qx, 1.0);
    EXPECT_NEAR(rx, lx, 1.0);
    EXPECT_NEAR(gx, qx, 1.0);
    EXPECT_NEAR(bx, gx, 0.01);
    EXPECT_NEAR(ry, gy, 0.5);
    // Seen from the left the square behind the convergence point lies left of the right
    // eye's view of it.
    EXPECT_LT(rx, gx);
    // The colour mask is put back.
    GLboolean mask[4] = {GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE};
    glGetBooleanv(GL_COLOR_WRITEMASK, mask);
    EXPECT_TRUE(mask[0] && mask[1] && mask[2] && mask[3]);
}

TEST(StereoView, SplitLayoutsPutEachEyeInItsHalf)
{
    constexpr int kW = 200, kH = 120;
    OsMesaContext_cls ctx(kW, kH);
    ASSERT_TRUE(ctx.IsValid());
    Camera_cls mono;
    ASSERT_TRUE(mono.Set({0, 0, 3}, {0, 0, 0}, {0, 1, 0}));
    const Vec3d centre = {0.1, 0.05, 0.4}; // in front of the convergence point
    StereoGram_cls stereo;
    stereo.SetEyeSeparation(0.25);
    stereo.SetConvergence(3.0);
    for (unsigned mode :
         {StereoGram_cls::kModeParallel, StereoGram_cls::kModeCrossed, StereoGram_cls::kModeOverUnder}) {
        SCOPED_TRACE(mode);
        stereo.SetMode(mode);
        glViewport(0, 0, 7, 7); // whatever the last drawing left
        StereoViewGL_cls::Draw(stereo, mono, kW, kH,
                               [&](const Camera_cls& c, int w, int h) { DrawSquare(c, w, h, centre, 0.1); });
        const std::vector<uint8_t> rgb = ctx.ReadRGB();
        for (unsigned eye = 1; eye <= 2; ++eye) {
            SCOPED_TRACE(eye);
            const StereoViewGL_cls::Rect r = StereoViewGL_cls::EyeRect(stereo, eye, kW, kH);
            // The rectangle in top-down rows.
            const int top = kH - (r.iY + r.iHeight);
            double cx = 0, cy = 0, ex = 0, ey = 0;
            ASSERT_TRUE(Centroid(rgb, kW, 0, r.iX, top, r.iX + r.iWidth, top + r.iHeight, cx, cy));
            Expect(stereo, mono, eye, centre, r.iWidth, r.iHeight, ex, ey);
            EXPECT_NEAR(cx - r.iX, ex, 1.0);
            EXPECT_NEAR(cy - top, ey, 1.0);
        }
        const StereoViewGL_cls::Rect left = StereoViewGL_cls::EyeRect(stereo, 1, kW, kH);
        if (mode == StereoGram_cls::kModeParallel) {
            EXPECT_EQ(left.iX, 0);
        } else if (mode == StereoGram_cls::kModeCrossed) {
            EXPECT_EQ(left.iX, kW / 2);
        } else {
            EXPECT_EQ(left.iY, kH / 2); // upper half
            EXPECT_EQ(left.iWidth, kW);
        }
        int ox = -1, oy = -1;
        GuideGL_cls::GetViewportOrigin(ox, oy);
        EXPECT_EQ(ox, 0);
        EXPECT_EQ(oy, 0);
        EXPECT_FALSE(glIsEnabled(GL_SCISSOR_TEST));
        // Labels drawn afterwards cover the whole view.
        GLint viewport[4] = {-1, -1, -1, -1};
        glGetIntegerv(GL_VIEWPORT, viewport);
        EXPECT_EQ(viewport[2], kW);
        EXPECT_EQ(viewport[3], kH);
    }
}

} // namespace
