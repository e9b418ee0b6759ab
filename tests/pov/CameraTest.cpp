// The camera model: screen orientation of the fixed views, navigation, matrices, its saved text,
// and agreement with a real POV-Ray render of the exported camera.
#include "pov/Camera_cls.h"

#include "config/TextFormat.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

namespace
{

struct Pixel {
    double x = 0, y = 0, depth = 0;
};

Pixel ProjectOk(const Camera_cls& cam, const Vec3d& p, int w = 400, int h = 300)
{
    Pixel px;
    EXPECT_TRUE(cam.Project(p, w, h, px.x, px.y, px.depth));
    return px;
}

double Len(const Vec3d& v)
{
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}
Vec3d Diff(const Vec3d& a, const Vec3d& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

void ExpectVecNear(const Vec3d& a, const Vec3d& b, double tol)
{
    EXPECT_NEAR(a[0], b[0], tol);
    EXPECT_NEAR(a[1], b[1], tol);
    EXPECT_NEAR(a[2], b[2], tol);
}

} // namespace

TEST(Camera, FixedViewsShowTheAxesWhereAUserExpectsThem)
{
    Camera_cls cam;
    const int w = 400, h = 300;
    // Front: +x right, +y up, the look-at point in the middle.
    cam.SetFixedView(Camera_cls::kViewFront, 4.0);
    EXPECT_EQ(cam.GetProjection(), Camera_cls::kOrthographic);
    Pixel c = ProjectOk(cam, {0, 0, 0}, w, h);
    EXPECT_NEAR(c.x, w / 2.0, 1e-9);
    EXPECT_NEAR(c.y, h / 2.0, 1e-9);
    EXPECT_GT(ProjectOk(cam, {0.3, 0, 0}).x, c.x);
    EXPECT_LT(ProjectOk(cam, {0, 0.3, 0}).y, c.y);
    // A point nearer the eye has the smaller depth.
    EXPECT_LT(ProjectOk(cam, {0, 0, 0.5}).depth, ProjectOk(cam, {0, 0, -0.5}).depth);

    // Top: looking down, +x right, -z up on screen.
    cam.SetFixedView(Camera_cls::kViewTop, 4.0);
    EXPECT_GT(ProjectOk(cam, {0.3, 0, 0}).x, c.x);
    EXPECT_LT(ProjectOk(cam, {0, 0, -0.3}).y, c.y);
    EXPECT_NEAR(ProjectOk(cam, {0, 0.4, 0}).x, c.x, 1e-9); // height only changes the depth

    // Side (from +x): -z right, +y up.
    cam.SetFixedView(Camera_cls::kViewSide, 4.0);
    EXPECT_GT(ProjectOk(cam, {0, 0, -0.3}).x, c.x);
    EXPECT_LT(ProjectOk(cam, {0, 0.3, 0}).y, c.y);

    // Perspective: the box corner nearest the eye (+,+,+) is drawn larger than the far one.
    cam.SetFixedView(Camera_cls::kViewPerspective, 4.0);
    EXPECT_EQ(cam.GetProjection(), Camera_cls::kPerspective);
    const double nearEdge = ProjectOk(cam, {0.5, 0.5, 0.5}).x - ProjectOk(cam, {-0.5, 0.5, 0.5}).x;
    const double farEdge = ProjectOk(cam, {0.5, 0.5, -0.5}).x - ProjectOk(cam, {-0.5, 0.5, -0.5}).x;
    EXPECT_GT(nearEdge, farEdge);
    EXPECT_NEAR(cam.Distance(), 4.0, 1e-12);
}

TEST(Camera, ScreenFrameIsRightHandedAndOrthonormal)
{
    Camera_cls cam;
    ASSERT_TRUE(cam.Set({1, 2, 3}, {-0.5, 0.25, 0.1}, {0.2, 1, 0.3}));
    const Vec3d f = cam.Direction(), r = cam.Right(), u = cam.Up();
    auto dot = [](const Vec3d& a, const Vec3d& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; };
    EXPECT_NEAR(dot(f, r), 0, 1e-12);
    EXPECT_NEAR(dot(f, u), 0, 1e-12);
    EXPECT_NEAR(dot(r, u), 0, 1e-12);
    EXPECT_NEAR(Len(u), 1, 1e-12);
    // right x up = -direction (the viewer looks down -z of the eye frame)
    const Vec3d ru = {r[1] * u[2] - r[2] * u[1], r[2] * u[0] - r[0] * u[2], r[0] * u[1] - r[1] * u[0]};
    ExpectVecNear(ru, {-f[0], -f[1], -f[2]}, 1e-12);
    // The sky leans toward the screen's up side.
    EXPECT_GT(dot(u, cam.GetSky()), 0.0);
}

TEST(Camera, DegenerateFramesAreRefusedAndLeaveTheCameraAsItWas)
{
    Camera_cls cam;
    const Vec3d pos = cam.GetPosition();
    EXPECT_FALSE(cam.Set({1, 1, 1}, {1, 1, 1}, {0, 1, 0})); // eye on the target
    EXPECT_FALSE(cam.Set({0, 5, 0}, {0, 0, 0}, {0, 1, 0})); // sky along the view
    EXPECT_FALSE(cam.Set({0, 0, 5}, {0, 0, 0}, {0, 0, 0})); // no sky
    ExpectVecNear(cam.GetPosition(), pos, 0);
    EXPECT_FALSE(cam.Dolly(0.0));
    EXPECT_FALSE(cam.Dolly(-2.0));
    ExpectVecNear(cam.GetPosition(), pos, 0);
    cam.SetViewAngle(0.0);
    EXPECT_DOUBLE_EQ(cam.GetViewAngle(), 1.0);
    cam.SetViewAngle(400.0);
    EXPECT_DOUBLE_EQ(cam.GetViewAngle(), 170.0);
}

TEST(Camera, OrbitTurnsAroundTheAnchorAndComesBack)
{
    Camera_cls cam;
    cam.SetAnchor({0.2, -0.1, 0.3});
    ASSERT_TRUE(cam.Set({0.2, -0.1, 4.3}, {0.2, -0.1, 0.3}, {0, 1, 0}));
    const Vec3d start = cam.GetPosition();

    // Positive yaw: the eye moves left, so a point right of the anchor comes toward the viewer.
    cam.Orbit(30.0, 0.0);
    EXPECT_LT(cam.GetPosition()[0], 0.2);
    EXPECT_NEAR(Len(Diff(cam.GetPosition(), cam.GetAnchor())), 4.0, 1e-9);
    cam.Orbit(-30.0, 0.0);
    ExpectVecNear(cam.GetPosition(), start, 1e-9);

    // Positive pitch lifts the eye; passing the pole keeps a valid frame with the sky turned.
    cam.Orbit(0.0, 20.0);
    EXPECT_GT(cam.GetPosition()[1], -0.1);
    cam.Orbit(0.0, 100.0);
    EXPECT_NEAR(Len(Diff(cam.GetPosition(), cam.GetAnchor())), 4.0, 1e-9);
    EXPECT_LT(cam.GetSky()[1], 0.0); // upside down beyond the pole
    cam.Orbit(0.0, -120.0);
    ExpectVecNear(cam.GetPosition(), start, 1e-9);
    ExpectVecNear(cam.GetSky(), {0, 1, 0}, 1e-9);

    // Twelve yaw steps of 30 degrees make a full turn.
    for (int i = 0; i < 12; ++i)
        cam.Orbit(30.0, 0.0);
    ExpectVecNear(cam.GetPosition(), start, 1e-9);

    // With the anchor away from the look-at point both turn round the anchor.
    cam.SetAnchor({0, 0, 0});
    cam.Orbit(180.0, 0.0);
    ExpectVecNear(cam.GetLookAt(), {-0.2, -0.1, -0.3}, 1e-9);
}

TEST(Camera, PanMovesTheSceneByTheRequestedFractionOfTheView)
{
    for (auto proj : {Camera_cls::kPerspective, Camera_cls::kOrthographic}) {
        Camera_cls cam;
        cam.SetFixedView(Camera_cls::kViewPerspective, 5.0);
        cam.SetProjection(proj);
        const int w = 640, h = 480;
        const Vec3d target = cam.GetLookAt();
        cam.Pan(0.1, -0.05);
        const Pixel p = ProjectOk(cam, target, w, h);
        EXPECT_NEAR(p.x, w / 2.0 + 0.1 * h, 1e-6);
        EXPECT_NEAR(p.y, h / 2.0 + 0.05 * h, 1e-6);
        ExpectVecNear(Diff(cam.GetAnchor(), cam.GetLookAt()), {0, 0, 0}, 1e-12);
        EXPECT_NEAR(cam.Distance(), 5.0, 1e-9);
    }
}

TEST(Camera, DollyScalesTheDistanceAndTheApparentSize)
{
    Camera_cls cam;
    cam.SetFixedView(Camera_cls::kViewFront, 6.0);
    cam.SetProjection(Camera_cls::kPerspective);
    const double before = ProjectOk(cam, {0.5, 0, 0}).x - 200.0;
    ASSERT_TRUE(cam.Dolly(0.5));
    EXPECT_NEAR(cam.Distance(), 3.0, 1e-12);
    ExpectVecNear(cam.GetLookAt(), {0, 0, 0}, 0);
    const double after = ProjectOk(cam, {0.5, 0, 0}).x - 200.0;
    EXPECT_NEAR(after / before, 2.0, 1e-9);
    // The orthographic view zooms too, because its height follows the distance.
    cam.SetProjection(Camera_cls::kOrthographic);
    const double o1 = ProjectOk(cam, {0.5, 0, 0}).x - 200.0;
    cam.Dolly(2.0);
    EXPECT_NEAR((ProjectOk(cam, {0.5, 0, 0}).x - 200.0) * 2.0, o1, 1e-9);
    // Never onto the target.
    cam.Dolly(1e-12);
    EXPECT_GT(cam.Distance(), 0.0);
    EXPECT_TRUE(cam.Set(cam.GetPosition(), cam.GetLookAt(), cam.GetSky()));
}

TEST(Camera, ProjectionMatricesMatchTheOpenGLFormulas)
{
    Camera_cls cam;
    cam.SetFixedView(Camera_cls::kViewFront, 2.0);
    cam.SetProjection(Camera_cls::kPerspective);
    cam.SetViewAngle(90.0);
    const Mat4d p = cam.ProjectionMatrix(2.0);
    // gluPerspective(90, 2, n, f): cot(45) = 1.
    EXPECT_NEAR(p[0], 0.5, 1e-12);
    EXPECT_NEAR(p[5], 1.0, 1e-12);
    EXPECT_DOUBLE_EQ(p[11], -1.0);
    EXPECT_DOUBLE_EQ(p[15], 0.0);
    // The near and far planes map to depth -1 and +1.
    const double n = cam.NearClip(), f = cam.FarClip();
    auto depthAt = [&](double dist) { return (p[10] * -dist + p[14]) / dist; };
    EXPECT_NEAR(depthAt(n), -1.0, 1e-9);
    EXPECT_NEAR(depthAt(f), 1.0, 1e-9);
    // With a 90 degree view the point at 45 degrees up lands on the top edge.
    const Pixel top = ProjectOk(cam, {0, 2.0, 0}, 200, 100);
    EXPECT_NEAR(top.y, 0.0, 1e-9);
    // Behind the eye nothing is projected.
    double x, y, d;
    EXPECT_FALSE(cam.Project({0, 0, 3.0}, 200, 100, x, y, d));
    EXPECT_FALSE(cam.Project({0, 0, 0}, 0, 100, x, y, d));
    // The view matrix takes the eye to the origin and the target onto -z.
    const Mat4d v = cam.ViewMatrix();
    EXPECT_NEAR(v[14], -2.0, 1e-12);              // the target (origin) lies at eye z = -2
    EXPECT_NEAR(v[10] * 2.0 + v[14], 0.0, 1e-12); // the eye (0,0,2) maps to eye z = 0
    EXPECT_NEAR(v[3] + v[7] + v[11], 0.0, 1e-12); // no projective part
}

TEST(Camera, HorizontalAngleFollowsTheAspect)
{
    Camera_cls cam;
    cam.SetViewAngle(60.0);
    EXPECT_NEAR(cam.HorizontalAngle(1.0), 60.0, 1e-12);
    // tan(h/2) = aspect * tan(30 deg)
    EXPECT_NEAR(std::tan(cam.HorizontalAngle(16.0 / 9.0) * M_PI / 360.0), 16.0 / 9.0 * std::tan(M_PI / 6), 1e-12);
}

TEST(Camera, SavedLinesRestoreTheCameraInAnyOrder)
{
    Camera_cls a;
    a.SetKeyPrefix(L"View2");
    ASSERT_TRUE(a.Set({1.25, -2.5, 3.75}, {0.5, 0.25, -0.125}, {0, 0, 1}));
    a.SetAnchor({0.5, 0.5, 0.5});
    a.SetViewAngle(42.5);
    a.SetProjection(Camera_cls::kOrthographic);
    const std::wstring text = a.SerializeConf();
    EXPECT_NE(text.find(L"View2CamLocation=1.250000 -2.500000 3.750000\n"), std::wstring::npos);
    EXPECT_NE(text.find(L"View2CamProjection=1\n"), std::wstring::npos);

    // Read back in reverse line order: the intermediate frames are degenerate for a moment
    // (the new look-at arrives while the eye still sits at the default place) and must not
    // lose a line.
    std::vector<std::wstring> lines;
    size_t start = 0;
    for (size_t nl; (nl = text.find(L'\n', start)) != std::wstring::npos; start = nl + 1)
        lines.push_back(text.substr(start, nl - start));
    ASSERT_EQ(lines.size(), 6u);
    Camera_cls b;
    b.SetKeyPrefix(L"View2");
    ASSERT_TRUE(b.Set({0.5, 0.25, -0.125 + 1e-3}, {0, 0, 0}, {0, 1, 0}));
    for (auto it = lines.rbegin(); it != lines.rend(); ++it)
        EXPECT_TRUE(b.ReadStrLine(*it));
    ExpectVecNear(b.GetPosition(), a.GetPosition(), 1e-6);
    ExpectVecNear(b.GetLookAt(), a.GetLookAt(), 1e-6);
    ExpectVecNear(b.GetSky(), a.GetSky(), 1e-6);
    ExpectVecNear(b.GetAnchor(), a.GetAnchor(), 1e-6);
    EXPECT_NEAR(b.GetViewAngle(), 42.5, 1e-5);
    EXPECT_EQ(b.GetProjection(), Camera_cls::kOrthographic);

    // Another view's lines are not taken.
    Camera_cls c;
    c.SetKeyPrefix(L"View3");
    const Vec3d before = c.GetPosition();
    for (const auto& l : lines)
        EXPECT_FALSE(c.ReadStrLine(l));
    ExpectVecNear(c.GetPosition(), before, 0);
}

TEST(Camera, PovTextIsTheMirroredCamera)
{
    Camera_cls cam;
    ASSERT_TRUE(cam.Set({1, 2, 3}, {0, 0, 0}, {0, 1, 0}));
    cam.SetViewAngle(40.0);
    const std::wstring text = cam.PovCameraText(1.0);
    EXPECT_EQ(text, L"camera {\n"
                    L"  perspective\n"
                    L"  location <1, 2, -3>\n"
                    L"  right x*1\n"
                    L"  up y\n"
                    L"  sky <0, 1, -0>\n"
                    L"  angle 40\n"
                    L"  look_at <0, 0, -0>\n"
                    L"}\n");
    cam.SetProjection(Camera_cls::kOrthographic);
    const std::wstring ortho = cam.PovCameraText(2.0);
    EXPECT_NE(ortho.find(L"  orthographic\n"), std::wstring::npos);
    EXPECT_EQ(ortho.find(L"angle"), std::wstring::npos);
    const double h = cam.ViewHeightAtLookAt();
    EXPECT_NE(ortho.find(WStrPrintf("  right x*%.9g\n", 2.0 * h)), std::wstring::npos);
}

// --- POV-Ray agreement -------------------------------------------------------------------------

namespace
{

// Reads a binary PPM (P6, maxval 255, comment lines allowed) into RGB bytes.
bool ReadPpm(const std::string& path, int& w, int& h, std::vector<uint8_t>& rgb)
{
    const std::vector<uint8_t> bytes = ReadFileBytes(path);
    size_t pos = 0;
    auto token = [&]() {
        std::string t;
        while (pos < bytes.size()) {
            if (bytes[pos] == '#') {
                while (pos < bytes.size() && bytes[pos] != '\n')
                    ++pos;
            } else if (std::isspace(bytes[pos])) {
                ++pos;
            } else {
                break;
            }
        }
        while (pos < bytes.size() && !std::isspace(bytes[pos]))
            t += static_cast<char>(bytes[pos++]);
        return t;
    };
    if (token() != "P6")
        return false;
    w = std::atoi(token().c_str());
    h = std::atoi(token().c_str());
    const int maxval = std::atoi(token().c_str());
    ++pos; // the single white space after maxval
    if (w <= 0 || h <= 0 || maxval != 255 || bytes.size() < pos + size_t(w) * h * 3)
        return false;
    rgb.assign(bytes.begin() + static_cast<long>(pos), bytes.begin() + static_cast<long>(pos) + w * h * 3);
    return true;
}

// Renders a small white sphere at `centre` (world coordinates) with the camera's POV-Ray text
// and returns the centroid of the lit pixels.
bool RenderSphereCentroid(const Camera_cls& cam, const Vec3d& centre, int w, int h, double& cx, double& cy)
{
    TempDir dir;
    const Vec3d p = Camera_cls::ToPov(centre);
    std::string scene = "background { rgb 0 }\n" + Narrow(cam.PovCameraText(static_cast<double>(w) / h)) +
                        StrPrintf("sphere { <%.9g, %.9g, %.9g>, 0.04 pigment { rgb 1 } "
                                  "finish { ambient 1 diffuse 0 } }\n",
                                  p[0], p[1], p[2]);
    WriteFileText(dir.File("s.pov"), scene);
    const RunResult r = RunCommand("cd '" + dir.Path().string() + "' && /usr/bin/povray +Is.pov +Oout.ppm " +
                                   StrPrintf("+W%d +H%d", w, h) + " -D +FP -GA +A0.1");
    if (r.exitCode != 0) {
        ADD_FAILURE() << "povray failed: " << r.err;
        return false;
    }
    int rw = 0, rh = 0;
    std::vector<uint8_t> rgb;
    if (!ReadPpm(dir.File("out.ppm"), rw, rh, rgb) || rw != w || rh != h)
        return false;
    double sum = 0, sx = 0, sy = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const double v = rgb[(size_t(y) * w + x) * 3] / 255.0;
            sum += v;
            sx += v * (x + 0.5);
            sy += v * (y + 0.5);
        }
    if (sum <= 0)
        return false;
    cx = sx / sum;
    cy = sy / sum;
    return true;
}

} // namespace

TEST(CameraPovRay, RenderedSphereLandsWhereTheModelProjectsIt)
{
    if (RunCommand("test -x /usr/bin/povray").exitCode != 0)
        GTEST_SKIP() << "POV-Ray is not installed";
    struct Case {
        const char* name;
        Vec3d eye, look, sky;
        Camera_cls::Projection proj;
        double angle;
        Vec3d sphere;
        int w, h;
    };
    const Case cases[] = {
        {"plain front", {0, 0, 4}, {0, 0, 0}, {0, 1, 0}, Camera_cls::kPerspective, 40, {0.5, 0.3, 0.2}, 160, 120},
        {"oblique, rolled sky",
         {2.5, 1.5, 3},
         {0.1, -0.2, 0},
         {0.3, 1, 0.1},
         Camera_cls::kPerspective,
         35,
         {-0.4, 0.35, -0.3},
         200,
         120},
        {"from behind, z up",
         {-1, -4, -2},
         {0, 0, 0},
         {0, 0, 1},
         Camera_cls::kPerspective,
         50,
         {0.8, -0.2, 0.9},
         120,
         160},
        {"orthographic", {1, 3, 4}, {0, 0, 0}, {0, 1, 0}, Camera_cls::kOrthographic, 30, {0.45, -0.2, 0.3}, 160, 120},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Camera_cls cam;
        ASSERT_TRUE(cam.Set(c.eye, c.look, c.sky));
        cam.SetProjection(c.proj);
        cam.SetViewAngle(c.angle);
        double mx, my, md;
        ASSERT_TRUE(cam.Project(c.sphere, c.w, c.h, mx, my, md));
        // The sphere must be well inside the picture, away from the centre, for the check to
        // say anything about orientation and handedness.
        ASSERT_GT(std::hypot(mx - c.w / 2.0, my - c.h / 2.0), c.h * 0.15);
        ASSERT_TRUE(mx > 10 && mx < c.w - 10 && my > 10 && my < c.h - 10);
        double rx = 0, ry = 0;
        ASSERT_TRUE(RenderSphereCentroid(cam, c.sphere, c.w, c.h, rx, ry));
        EXPECT_NEAR(rx, mx, 1.5);
        EXPECT_NEAR(ry, my, 1.5);
    }
}
