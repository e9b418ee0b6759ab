// The scene items of a slot rendered for real into an off-screen Mesa buffer: isosurface meshes
// of a ball (size against the level, colour, translucency, rebuild only on a new extraction),
// section planes through a gradient, and the light and camera markers.
#include "OsMesaContext_cls.h"

#include "anim/TimeCtrl_cls.h"
#include "color/Coloring_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/PovCrossSection_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "filter/PovThreeView_cls.h"
#include "gl/GuideGL_cls.h"
#include "gl/IsoMeshGL_cls.h"
#include "gl/SceneGL_cls.h"
#include "gl/SceneMarkersGL_cls.h"
#include "gl/SectionGL_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

namespace
{

constexpr int kW = 128, kH = 128, kN = 32;
constexpr double kPi = 3.14159265358979323846;

// A cone-shaped ball: 255 at the centre, falling linearly to 0 at radius r (voxel units), so the
// surface at byte level L is the sphere of radius r (1 - L/255).
std::vector<unsigned char> Ball(double r)
{
    std::vector<unsigned char> v(static_cast<size_t>(kN) * kN * kN);
    const double c = (kN - 1) / 2.0;
    for (int z = 0; z < kN; ++z)
        for (int y = 0; y < kN; ++y)
            for (int x = 0; x < kN; ++x) {
                const double d = std::sqrt((x - c) * (x - c) + (y - c) * (y - c) + (z - c) * (z - c));
                v[(static_cast<size_t>(z) * kN + y) * kN + x] =
                    d >= r ? 0 : static_cast<unsigned char>(std::lround(255.0 * (1.0 - d / r)));
            }
    return v;
}

int CountLit(const std::vector<uint8_t>& rgb, int threshold = 8)
{
    int n = 0;
    for (size_t i = 0; i + 2 < rgb.size(); i += 3)
        if (rgb[i] > threshold || rgb[i + 1] > threshold || rgb[i + 2] > threshold)
            ++n;
    return n;
}

const uint8_t* Pixel(const std::vector<uint8_t>& rgb, int x, int y)
{
    return &rgb[(static_cast<size_t>(y) * kW + x) * 3];
}

class SceneRender : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        ASSERT_TRUE(mCContext.IsValid()) << "no OSMesa context";
        mCCamera.SetFixedView(Camera_cls::kViewFront, 4.0);
    }
    FilterCtrl_cls& Chain() { return mCCtrl.GetSequence(0).GetFilterCtrl(); }
    PovIsosurface_cls* AddIso(const std::vector<unsigned char>& data, double level)
    {
        auto item = std::make_unique<PovIsosurface_cls>(&Chain());
        PovIsosurface_cls* iso = item.get();
        Chain().AddToList(-1, std::move(item));
        iso->SetParam(0, level);
        iso->RefreshFilter(data.data(), mvSize);
        return iso;
    }
    void Begin()
    {
        GuideGL_cls::Clear(0, 0, 0);
        GuideGL_cls::LoadCamera(mCCamera, kW, kH);
        mCScene.ResetPassCounters();
    }
    std::vector<uint8_t> RenderScene(int colorIndex = 0)
    {
        Begin();
        mCScene.DrawOpaque(Chain(), mCColoring, colorIndex, {1, 1, 1});
        mCScene.DrawTranslucent(Chain(), mCColoring, colorIndex, {1, 1, 1});
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        return mCContext.ReadRGB();
    }
    // Pixels the projected sphere of radius rVoxels covers in the orthographic front view.
    double ExpectedDiskPixels(double rVoxels) const
    {
        const double pixelsPerUnit = kH / mCCamera.ViewHeightAtLookAt();
        const double r = rVoxels / kN * pixelsPerUnit;
        return kPi * r * r;
    }

    OsMesaContext_cls mCContext{kW, kH};
    TimeCtrl_cls mCClock;
    DF3SeqCtrl_cls mCCtrl{&mCClock};
    Coloring_cls mCColoring;
    SceneGL_cls mCScene;
    Camera_cls mCCamera;
    unsigned mvSize[3] = {kN, kN, kN};
};

} // namespace

TEST_F(SceneRender, SphereMeshCoversTheDiskOfItsRadiusAndShrinksWithAHigherLevel)
{
    const std::vector<unsigned char> data = Ball(14.0);
    PovIsosurface_cls* iso = AddIso(data, 0.3);
    ASSERT_TRUE(iso->IsMeshValid());
    const std::vector<uint8_t> low = RenderScene();
    EXPECT_EQ(mCScene.GetCounters().miMeshes, 1);
    const int byteLow = static_cast<int>(255 * 0.3);
    const double expectLow = ExpectedDiskPixels(14.0 * (1.0 - byteLow / 255.0));
    EXPECT_NEAR(CountLit(low), expectLow, expectLow * 0.08);
    // The middle is the surface facing the viewer: lit, white from the plain colour map.
    const uint8_t* centre = Pixel(low, kW / 2, kH / 2);
    for (int c = 0; c < 3; ++c)
        EXPECT_GT(centre[c], 150) << "channel " << c;
    EXPECT_EQ(Pixel(low, 2, 2)[0], 0);

    iso->SetParam(0, 0.6);
    iso->RefreshFilter(data.data(), mvSize);
    const std::vector<uint8_t> high = RenderScene();
    const int byteHigh = static_cast<int>(255 * 0.6);
    const double expectHigh = ExpectedDiskPixels(14.0 * (1.0 - byteHigh / 255.0));
    EXPECT_NEAR(CountLit(high), expectHigh, expectHigh * 0.1);
    EXPECT_LT(CountLit(high), CountLit(low) * 0.6);
}

TEST_F(SceneRender, MeshIsUploadedOncePerExtraction)
{
    const std::vector<unsigned char> data = Ball(12.0);
    PovIsosurface_cls* iso = AddIso(data, 0.4);
    RenderScene();
    RenderScene();
    EXPECT_EQ(mCScene.GetCounters().miUploads, 1);
    // The same data and level again: the chain does not extract, the preview does not upload.
    iso->RefreshFilter(data.data(), mvSize);
    RenderScene();
    EXPECT_EQ(iso->GetBuildCount(), 1);
    EXPECT_EQ(mCScene.GetCounters().miUploads, 1);
    // New data: a new extraction, a new upload.
    const std::vector<unsigned char> smaller = Ball(8.0);
    iso->RefreshFilter(smaller.data(), mvSize);
    RenderScene();
    EXPECT_EQ(iso->GetBuildCount(), 2);
    EXPECT_EQ(mCScene.GetCounters().miUploads, 2);
}

// While the chain's worker writes the items' results the views draw the copies uploaded before:
// the old mesh and plane in the same pixels, even when the items already hold other results, and
// nothing for an item that was never uploaded. Once the run is joined the new results show.
TEST_F(SceneRender, BusyItemsDrawTheCopiesUploadedBefore)
{
    const std::vector<unsigned char> big = Ball(14.0), small = Ball(7.0);
    PovIsosurface_cls* iso = AddIso(big, 0.3);
    auto item = std::make_unique<PovCrossSection_cls>(&Chain());
    PovCrossSection_cls* cross = item.get();
    Chain().AddToList(-1, std::move(item));
    cross->GetData().miColorIndex.Set(0);
    cross->SetParam(2, 0.5); // half transparent: the surface shows through
    cross->RefreshFilter(big.data(), mvSize);
    const std::vector<uint8_t> before = RenderScene();
    const size_t triangles = mCScene.GetCounters().muTriangles;
    ASSERT_GT(triangles, 0u);
    ASSERT_EQ(mCScene.GetCounters().miSections, 1);

    // The "worker" replaces the results; a busy draw still shows the old ones.
    iso->RefreshFilter(small.data(), mvSize);
    cross->RefreshFilter(small.data(), mvSize);
    mCScene.SetItemsBusy(true);
    EXPECT_EQ(RenderScene(), before);
    EXPECT_EQ(mCScene.GetCounters().muTriangles, triangles);
    EXPECT_EQ(mCScene.GetCounters().miSections, 1);
    EXPECT_EQ(mCScene.GetCounters().miUploads, 1);

    // An item added meanwhile has nothing uploaded yet: it waits for the run.
    PovIsosurface_cls* late = AddIso(big, 0.5);
    RenderScene();
    EXPECT_EQ(mCScene.GetCounters().miMeshes, 1);
    late->GetPData()->SetValid(false);

    mCScene.SetItemsBusy(false);
    const std::vector<uint8_t> after = RenderScene();
    EXPECT_NE(after, before);
    EXPECT_LT(mCScene.GetCounters().muTriangles, triangles) << "the smaller ball's surface";
    EXPECT_EQ(mCScene.GetCounters().miUploads, 2);
}

TEST_F(SceneRender, SurfaceTakesTheColourMapAtItsLevelTimesItsOwnColour)
{
    const std::vector<unsigned char> data = Ball(14.0);
    PovIsosurface_cls* iso = AddIso(data, 0.0);
    // Palette 1 at density 0 is pure red.
    std::vector<uint8_t> rgb = RenderScene(1);
    const uint8_t* c = Pixel(rgb, kW / 2, kH / 2);
    EXPECT_GT(c[0], 150);
    EXPECT_LT(c[1], 20);
    EXPECT_LT(c[2], 20);
    // Its own colour filters the map: with a green surface colour the plain map gives green,
    // and the red of palette 1 gives black.
    iso->GetData().mvfColor.Set(0, 0.0f);
    iso->GetData().mvfColor.Set(1, 1.0f);
    rgb = RenderScene(0);
    c = Pixel(rgb, kW / 2, kH / 2);
    EXPECT_LT(c[0], 20);
    EXPECT_GT(c[1], 150);
    float expected[3];
    SceneGL_cls::IsoColour(*iso, mCColoring, 1, expected);
    EXPECT_FLOAT_EQ(expected[0], 0.0f);
    EXPECT_FLOAT_EQ(expected[1], 0.0f);
}

TEST_F(SceneRender, TranslucentSurfaceBlendsOnlyItsNearestLayer)
{
    const std::vector<unsigned char> data = Ball(14.0);
    PovIsosurface_cls* iso = AddIso(data, 0.3);
    const int opaque = Pixel(RenderScene(), kW / 2, kH / 2)[0];
    iso->SetParam(1, 0.5);
    iso->RefreshFilter(data.data(), mvSize);
    const int half = Pixel(RenderScene(), kW / 2, kH / 2)[0];
    // Over black, one layer at alpha 0.5 gives half the colour; blending the back layer under it
    // as well would give three quarters.
    EXPECT_NEAR(half, opaque * 0.5, 6.0);
    // Alpha 0: not drawn at all.
    iso->SetParam(1, 0.0);
    iso->RefreshFilter(data.data(), mvSize);
    EXPECT_EQ(CountLit(RenderScene()), 0);
    EXPECT_EQ(mCScene.GetCounters().miMeshes, 0);
}

TEST_F(SceneRender, OpaqueSurfaceHidesWhatIsDrawnBehindIt)
{
    const std::vector<unsigned char> data = Ball(14.0);
    AddIso(data, 0.3);
    Begin();
    mCScene.DrawOpaque(Chain(), mCColoring, 0, {1, 1, 1});
    // A red quad behind the ball (further from the viewer, who looks along -z), drawn after it.
    glPushAttrib(GL_ENABLE_BIT);
    glEnable(GL_DEPTH_TEST);
    glDisable(GL_LIGHTING);
    glColor3f(1, 0, 0);
    glBegin(GL_QUADS);
    glVertex3d(-0.5, -0.5, -0.45);
    glVertex3d(0.5, -0.5, -0.45);
    glVertex3d(0.5, 0.5, -0.45);
    glVertex3d(-0.5, 0.5, -0.45);
    glEnd();
    glPopAttrib();
    const std::vector<uint8_t> rgb = mCContext.ReadRGB();
    const uint8_t* centre = Pixel(rgb, kW / 2, kH / 2);
    EXPECT_GT(centre[1], 150) << "the ball stays in front";
    // Outside the ball the quad shows.
    const uint8_t* side = Pixel(rgb, kW / 2 + 22, kH / 2 + 22);
    EXPECT_GT(side[0], 200);
    EXPECT_LT(side[1], 30);
}

TEST_F(SceneRender, SwitchedOffOrRemovedItemsAreNotDrawn)
{
    const std::vector<unsigned char> data = Ball(14.0);
    PovIsosurface_cls* iso = AddIso(data, 0.3);
    ASSERT_GT(CountLit(RenderScene()), 0);
    iso->GetPData()->ReadStrLine(L"FilterValid=0");
    ASSERT_FALSE(iso->GetPData()->IsValid());
    EXPECT_EQ(CountLit(RenderScene()), 0);
    iso->GetPData()->ReadStrLine(L"FilterValid=1");
    std::unique_ptr<FilterBase_cls> out = Chain().TakeFromList(0);
    mCScene.Prune(Chain());
    EXPECT_EQ(CountLit(RenderScene()), 0);
}

TEST_F(SceneRender, CrossSectionIsAColouredQuadThroughTheDataWithItsThreshold)
{
    // A ramp along x: density x * 8.
    std::vector<unsigned char> ramp(static_cast<size_t>(kN) * kN * kN);
    for (size_t i = 0; i < ramp.size(); ++i)
        ramp[i] = static_cast<unsigned char>((i % kN) * 8);
    auto item = std::make_unique<PovCrossSection_cls>(&Chain());
    PovCrossSection_cls* cross = item.get();
    Chain().AddToList(-1, std::move(item));
    cross->GetData().miColorIndex.Set(0); // as the slot: plain white
    cross->RefreshFilter(ramp.data(), mvSize);
    std::vector<uint8_t> rgb = RenderScene(0);
    EXPECT_EQ(mCScene.GetCounters().miSections, 1);
    // The quad spans the box: the front view sees the whole unit square.
    const double pixelsPerUnit = kH / mCCamera.ViewHeightAtLookAt();
    const double side = pixelsPerUnit;
    EXPECT_NEAR(CountLit(rgb, 0), side * side * (kN - 1) / kN, side * 6);
    // Grey brightening from left to right (colour times density).
    const int y = kH / 2;
    const int left = Pixel(rgb, kW / 2 - static_cast<int>(side * 0.4), y)[0];
    const int mid = Pixel(rgb, kW / 2, y)[0];
    const int right = Pixel(rgb, kW / 2 + static_cast<int>(side * 0.4), y)[0];
    EXPECT_LT(left, mid);
    EXPECT_LT(mid, right);
    // Threshold 0.5: the lower half of the densities (the left half of the box) is left out.
    cross->SetParam(3, 0.5);
    rgb = RenderScene(0);
    EXPECT_EQ(Pixel(rgb, kW / 2 - static_cast<int>(side * 0.3), y)[0], 0);
    EXPECT_GT(Pixel(rgb, kW / 2 + static_cast<int>(side * 0.3), y)[0], 100);
}

TEST_F(SceneRender, ThreeViewDrawsTheChosenPlanesOnly)
{
    std::vector<unsigned char> full(static_cast<size_t>(kN) * kN * kN, 200);
    auto item = std::make_unique<PovThreeView_cls>(&Chain());
    PovThreeView_cls* three = item.get();
    Chain().AddToList(-1, std::move(item));
    three->RefreshFilter(full.data(), mvSize);
    RenderScene(0);
    EXPECT_EQ(mCScene.GetCounters().miSections, 3);
    three->GetData().mvbShow.Set(2, false);
    std::vector<uint8_t> rgb = RenderScene(0);
    EXPECT_EQ(mCScene.GetCounters().miSections, 2);
    // Seen from the front, the planes across x and y are edge-on: a cross of thin lines, and the
    // corners of the box stay empty.
    const double side = kH / mCCamera.ViewHeightAtLookAt();
    EXPECT_EQ(Pixel(rgb, kW / 2 - static_cast<int>(side * 0.3), kH / 2 - static_cast<int>(side * 0.3))[0], 0);
    EXPECT_LT(CountLit(rgb), side * 6);
}

TEST(SectionTexels, ThresholdAndColourTable)
{
    Coloring_cls coloring;
    SectionGL_cls section;
    const std::vector<uint8_t> plane = {0, 100, 200, 255};
    ASSERT_TRUE(section.SetPlane(plane, 2, 2, coloring, 0, 0.5f, 0.5f));
    const std::vector<uint8_t>& t = section.GetTexels();
    ASSERT_EQ(t.size(), 16u);
    EXPECT_EQ(t[3], 0);    // density 0 below the threshold
    EXPECT_EQ(t[7], 0);    // 100 < 128
    EXPECT_EQ(t[11], 128); // 200: half alpha
    EXPECT_EQ(t[8], 200);  // white times the density
    EXPECT_EQ(t[12], 255);
    EXPECT_FALSE(section.SetPlane(plane, 3, 2, coloring, 0, 1.0f, 0.0f)) << "plane smaller than its size";
    EXPECT_EQ(SectionGL_cls::LayerIndex(0.5, 32), 16u);
    EXPECT_EQ(SectionGL_cls::LayerIndex(-1.0, 32), 0u);
    EXPECT_EQ(SectionGL_cls::LayerIndex(2.0, 32), 31u);
}

TEST(IsoMeshLists, BadListsAreRefusedAndGoodOnesCounted)
{
    IsoMeshGL_cls mesh;
    const unsigned size[3] = {4, 4, 4};
    EXPECT_FALSE(mesh.SetMesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {}, {0, 1, 3}, size)) << "index past the vertices";
    EXPECT_TRUE(mesh.IsEmpty());
    const uint64_t serial = mesh.GetSerial();
    EXPECT_TRUE(mesh.SetMesh({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0}, {}, {0, 1, 2, 1, 3, 2}, size));
    EXPECT_EQ(mesh.GetVertexCount(), 4u);
    EXPECT_EQ(mesh.GetTriangleCount(), 2u);
    EXPECT_NE(mesh.GetSerial(), serial);
}

TEST_F(SceneRender, LightMarkerAndCameraFrustumShowWhereTheyAre)
{
    Begin();
    const float yellow[3] = {1, 1, 0};
    SceneMarkersGL_cls::DrawLight({0.25, 0.0, 0.0}, yellow, 0.05);
    std::vector<uint8_t> rgb = mCContext.ReadRGB();
    const double side = kH / mCCamera.ViewHeightAtLookAt();
    const int x = kW / 2 + static_cast<int>(std::lround(0.25 * side));
    const uint8_t* p = Pixel(rgb, x, kH / 2);
    EXPECT_GT(p[0], 200);
    EXPECT_GT(p[1], 200);
    EXPECT_LT(p[2], 30);
    EXPECT_EQ(Pixel(rgb, kW / 2, kH / 2)[0], 0);

    // A camera at the origin looking along -z: its frustum corners lie `length` along the view,
    // spread by the view angle, wider by the aspect.
    Camera_cls cam;
    ASSERT_TRUE(cam.Set({0, 0, 0}, {0, 0, -1}, {0, 1, 0}));
    cam.SetViewAngle(90.0);
    const std::vector<Vec3d> c = SceneMarkersGL_cls::FrustumCorners(cam, 0.5, 2.0);
    ASSERT_EQ(c.size(), 4u);
    EXPECT_NEAR(c[0][2], -0.5, 1e-12);
    EXPECT_NEAR(c[0][1], 0.5, 1e-12);  // tan(45 deg) * 0.5 up
    EXPECT_NEAR(c[0][0], -1.0, 1e-12); // twice that to the left
    EXPECT_NEAR(c[2][0], 1.0, 1e-12);
    EXPECT_NEAR(c[2][1], -0.5, 1e-12);
    Begin();
    const float white[3] = {1, 1, 1};
    SceneMarkersGL_cls::DrawCameraFrustum(cam, 0.3, 1.0, white);
    EXPECT_GT(CountLit(mCContext.ReadRGB()), 10);
}

TEST_F(SceneRender, SurfacesTakeTheSceneLightsColourAndPlace)
{
    const std::vector<unsigned char> data = Ball(14.0);
    AddIso(data, 0.3);
    struct Reset {
        ~Reset() { IsoMeshGL_cls::SetSceneLights({}); }
    } reset;
    const Vec3d eye = mCCamera.GetPosition();

    // A red light where the viewer stands: the side facing the viewer turns red.
    IsoMeshGL_cls::SceneLight red;
    for (int a = 0; a < 3; ++a)
        red.dPos[a] = eye[a];
    red.fRgb[0] = 1.0f;
    red.fRgb[1] = red.fRgb[2] = 0.0f;
    IsoMeshGL_cls::SetSceneLights({red});
    std::vector<uint8_t> rgb = RenderScene();
    const uint8_t* c = Pixel(rgb, kW / 2, kH / 2);
    EXPECT_GT(c[0], 200);
    EXPECT_GT(c[0], c[1] + 80);
    EXPECT_EQ(c[1], c[2]);

    // The same light behind the ball leaves the facing side in the ambient grey only.
    IsoMeshGL_cls::SceneLight behind = red;
    for (int a = 0; a < 3; ++a)
        behind.dPos[a] = -eye[a];
    IsoMeshGL_cls::SetSceneLights({behind});
    rgb = RenderScene();
    c = Pixel(rgb, kW / 2, kH / 2);
    EXPECT_LT(std::abs(int(c[0]) - int(c[1])), 12) << int(c[0]) << " " << int(c[1]);

    // A parallel green light from the viewer's side, its energy above 1 seen as full green.
    IsoMeshGL_cls::SceneLight green = red;
    green.uKind = 2;
    green.fRgb[0] = 0.0f;
    green.fRgb[1] = 3.0f;
    IsoMeshGL_cls::SetSceneLights({green});
    rgb = RenderScene();
    c = Pixel(rgb, kW / 2, kH / 2);
    EXPECT_GT(c[1], 200);
    EXPECT_GT(c[1], c[0] + 80);

    // Without lights the white headlight is back.
    IsoMeshGL_cls::SetSceneLights({});
    rgb = RenderScene();
    c = Pixel(rgb, kW / 2, kH / 2);
    for (int ch = 0; ch < 3; ++ch)
        EXPECT_GT(c[ch], 150) << "channel " << ch;
}
