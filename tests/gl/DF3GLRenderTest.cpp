// The slice-stack drawing rendered for real into an off-screen Mesa buffer: a soft ball in 32^3
// drawn through every path (2D stacks, 3D lattice, 3D camera-facing) and every texel format,
// pixels read back and compared. Also the texture jobs, memory accounting and filters.
#include "OsMesaContext_cls.h"

#include "anim/TimeCtrl_cls.h"
#include "color/ColorTable_cls.h"
#include "color/Coloring_cls.h"
#include "config/PreviewProperty_cls.h"
#include "config/TexPropertyCtrl_cls.h"
#include "config/TextFormat.h"
#include "gl/DF3GL_cls.h"
#include "gl/Draw3DTexBoxA_cls.h"
#include "gl/GuideGL_cls.h"
#include "gl/TexObjectGL_cls.h"
#include "support/TestUtil.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/TexSlabPlan_cls.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace
{

constexpr int kW = 96, kH = 96, kN = 32;

// An 8-bit DF3 file: three big-endian 16-bit sizes, then the samples.
std::vector<uint8_t> Df3Bytes(int n, const std::function<uint8_t(int, int, int)>& f)
{
    std::vector<uint8_t> b = {0, uint8_t(n), 0, uint8_t(n), 0, uint8_t(n)};
    for (int z = 0; z < n; ++z)
        for (int y = 0; y < n; ++y)
            for (int x = 0; x < n; ++x)
                b.push_back(f(x, y, z));
    return b;
}

// Soft ball of radius 0.3 of the cube around (cx, cy, cz) in voxel units.
uint8_t Ball(int x, int y, int z, double cx = 15.5, double cy = 15.5, double cz = 15.5, double r = 0.3 * kN)
{
    const double d = std::sqrt((x - cx) * (x - cx) + (y - cy) * (y - cy) + (z - cz) * (z - cz));
    return d >= r ? 0 : static_cast<uint8_t>(std::lround(255.0 * (1.0 - d / r)));
}

// Saves every preview setting and puts them back, so cases do not leak into each other.
class PreviewRestore
{
  public:
    PreviewRestore() : mStrSaved(GetPreviewProperty().SerializeConf()), mbOld3D(GetPreviewProperty().Is3DTexture()) {}
    ~PreviewRestore()
    {
        Set(mStrSaved);
        GetPreviewProperty().SetUse3DTexture(mbOld3D);
    }
    static void Set(const std::wstring& lines)
    {
        size_t start = 0;
        while (start < lines.size()) {
            size_t end = lines.find(L'\n', start);
            if (end == std::wstring::npos)
                end = lines.size();
            GetPreviewProperty().ReadStrLine(lines.substr(start, end - start));
            start = end + 1;
        }
    }

  private:
    std::wstring mStrSaved;
    bool mbOld3D;
};

enum class Path { k2D, k3DLattice, k3DCamera };
const char* Name(Path p)
{
    return p == Path::k2D ? "2D stacks" : (p == Path::k3DLattice ? "3D lattice" : "3D camera-facing");
}

double MeanAbsDiff(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b)
{
    double sum = 0;
    for (size_t i = 0; i < a.size(); ++i)
        sum += std::abs(int(a[i]) - int(b[i]));
    return sum / a.size();
}

double Sum(const std::vector<uint8_t>& a)
{
    double s = 0;
    for (uint8_t v : a)
        s += v;
    return s;
}

const uint8_t* Pixel(const std::vector<uint8_t>& rgb, int x, int y)
{
    return &rgb[(static_cast<size_t>(y) * kW + x) * 3];
}

class GLRender : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        ASSERT_TRUE(mCContext.IsValid()) << "no OSMesa context";
        mpGL = std::make_unique<DF3GL_cls>(&mCCtrl.GetSequence(0));
        mCCtrl.SetTexJobsFactory(DF3GL_cls::MakeTexJobsFactory({mpGL.get(), nullptr, nullptr, nullptr}));
        DF3GL_cls::InitializeStaticMembers(nullptr, &mCCtrl, nullptr, nullptr);
        DF3GL_cls::SetBoxScale(1, 1, 1);
        PreviewRestore::Set(L"PreviewNormalQuality=0\nPreviewTextureType=0\nPreviewType=0\nPreviewShading=0\n"
                            L"PreviewAbsorption=0\nPreviewLuminanceFactor=1\nPreviewTexFilter=1\n");
        mCCamera.SetFixedView(Camera_cls::kViewFront, 4.0);
    }
    void TearDown() override
    {
        // The textures go while the context is current.
        mCCtrl.GetSequence(0).ClearFileSequence();
        mCCtrl.SetTexJobsFactory(nullptr);
        DF3GL_cls::InitializeStaticMembers(nullptr, nullptr, nullptr, nullptr);
    }

    void Open(const std::function<uint8_t(int, int, int)>& f)
    {
        const std::string path = mCDir.File("vol0000.df3");
        WriteFileBytes(path, Df3Bytes(kN, f));
        ASSERT_EQ(mCCtrl.GetSequence(0).AppendFileSequence(Widen(path), false, 0), 1);
    }
    // Brings the current frame up completely in the given path and texel format.
    void Load(Path path, unsigned type)
    {
        GetPreviewProperty().SetUse3DTexture(path != Path::k2D);
        GetPreviewProperty().ReadStrLine(WStrPrintf("PreviewType3D=%u", path == Path::k3DCamera ? 1u : 0u));
        if (GetPreviewProperty().GetTextureType() != type) {
            GetPreviewProperty().ReadStrLine(WStrPrintf("PreviewTextureType=%u", type));
            mpGL->RequestTextureRebuild();
        }
        mCCtrl.IdleProcessesMainEach(0, 0, true, false);
        TexObjectGL_cls* tex = mpGL->GetCurrentTexObject();
        ASSERT_NE(tex, nullptr);
        ASSERT_TRUE(tex->IsReady()) << Narrow(tex->GetLastError());
        ASSERT_EQ(tex->Is3DTexture(), path != Path::k2D);
        ASSERT_EQ(tex->GetTextureType(), type);
    }
    std::vector<uint8_t> Render(float background = 0.0f)
    {
        GuideGL_cls::Clear(background, background, background);
        GuideGL_cls::LoadCamera(mCCamera, kW, kH);
        DF3GL_cls::ResetDrawCounters();
        mbDrawn = mpGL->DrawData();
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        return mCContext.ReadRGB();
    }
    // Writes the picture as a PPM when TESSAN_GL_PICTURES names a folder (for looking at it).
    void Save(const std::vector<uint8_t>& rgb, const std::string& name)
    {
        const char* dir = std::getenv("TESSAN_GL_PICTURES");
        if (!dir)
            return;
        std::string header = "P6\n" + std::to_string(kW) + " " + std::to_string(kH) + "\n255\n";
        std::vector<uint8_t> bytes(header.begin(), header.end());
        bytes.insert(bytes.end(), rgb.begin(), rgb.end());
        WriteFileBytes(std::string(dir) + "/" + name + ".ppm", bytes);
    }

    OsMesaContext_cls mCContext{kW, kH};
    PreviewRestore mCRestore;
    TempDir mCDir;
    TimeCtrl_cls mCClock;
    DF3SeqCtrl_cls mCCtrl{&mCClock};
    std::unique_ptr<DF3GL_cls> mpGL;
    Camera_cls mCCamera;
    bool mbDrawn = false;
};

} // namespace

TEST_F(GLRender, BallIsBrightInTheMiddleAndAbsentInTheCornersOnEveryPathAndFormat)
{
    Open([](int x, int y, int z) { return Ball(x, y, z); });
    for (Path path : {Path::k2D, Path::k3DLattice, Path::k3DCamera}) {
        for (unsigned type : {0u, 1u, 2u}) {
            SCOPED_TRACE(std::string(Name(path)) + ", texel format " + std::to_string(type));
            Load(path, type);
            const auto rgb = Render();
            Save(rgb, std::string("ball_") + std::to_string(int(path)) + "_" + std::to_string(type));
            EXPECT_TRUE(mbDrawn);
            const uint8_t* centre = Pixel(rgb, kW / 2, kH / 2);
            // LUMINANCE_ALPHA texels carry the density as brightness too, so the thin outer
            // shells in front dim the centre; the other formats draw it at full colour.
            const int bright = type == 1 ? 80 : 200;
            for (int c = 0; c < 3; ++c)
                EXPECT_GT(centre[c], bright) << "channel " << c;
            for (auto [x, y] : {std::pair{1, 1}, {kW - 2, 1}, {1, kH - 2}, {kW - 2, kH - 2}})
                EXPECT_EQ(Pixel(rgb, x, y)[0] + Pixel(rgb, x, y)[1] + Pixel(rgb, x, y)[2], 0) << x << "," << y;
            // The ball's rim: half way between centre and edge is dimmer than the centre but lit.
            const int rim = kW / 2 + static_cast<int>(0.15 * 0.47 * kW);
            EXPECT_LT(Pixel(rgb, rim, kH / 2)[0], centre[0]);
            EXPECT_GT(Pixel(rgb, rim, kH / 2)[0], 20);
        }
    }
}

TEST_F(GLRender, TheThreePathsGiveSimilarPictures)
{
    Open([](int x, int y, int z) { return static_cast<uint8_t>(Ball(x, y, z) / 3); });
    for (Camera_cls::FixedView view : {Camera_cls::kViewFront, Camera_cls::kViewTop, Camera_cls::kViewPerspective}) {
        SCOPED_TRACE("view " + std::to_string(int(view)));
        mCCamera.SetFixedView(view, 4.0);
        Load(Path::k2D, 0);
        const auto lattice2D = Render();
        Load(Path::k3DLattice, 0);
        const auto lattice3D = Render();
        Load(Path::k3DCamera, 0);
        const auto facing = Render();
        Save(lattice2D, "similar2d_" + std::to_string(int(view)));
        Save(facing, "similarfacing_" + std::to_string(int(view)));
        // The 2D and 3D lattices sample the same slices: nearly the same picture.
        EXPECT_LT(MeanAbsDiff(lattice2D, lattice3D), 1.0);
        // Camera-facing slices sample other planes; along an axis they are the lattice's.
        EXPECT_LT(MeanAbsDiff(lattice2D, facing), view == Camera_cls::kViewPerspective ? 3.0 : 1.5);
        EXPECT_GT(Sum(lattice2D), 1000.0) << "something was drawn";
    }
}

TEST_F(GLRender, BakedColoursAreTheColourTable)
{
    // A uniform volume: 32 slices of the same texel blend to the table colour of that density.
    Open([](int, int, int) { return uint8_t(160); });
    Coloring_cls coloring;
    DF3GL_cls::InitializeStaticMembers(nullptr, &mCCtrl, nullptr, &coloring);
    for (int index : {4, 7}) {
        SCOPED_TRACE("colour index " + std::to_string(index));
        mpGL->SetColorIndex(index);
        mpGL->RequestTextureRebuild();
        Load(Path::k3DLattice, 2);
        const auto rgb = Render();
        ColorTable_cls table;
        table.Build(coloring, index, 0, true);
        const uint8_t* want = table.GetEntry(160);
        ASSERT_GT(want[3], 100) << "alpha high enough for the blend to converge";
        const uint8_t* got = Pixel(rgb, kW / 2, kH / 2);
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(got[c], want[c], 2) << "channel " << c;
    }
}

TEST_F(GLRender, AddBlendIsBrighterThanAlphaBlend)
{
    Open([](int x, int y, int z) { return static_cast<uint8_t>(Ball(x, y, z) / 8); });
    Load(Path::k2D, 0);
    const auto alpha = Render();
    GetPreviewProperty().ReadStrLine(L"PreviewType=1");
    const auto add = Render();
    EXPECT_GT(Sum(add), 1.3 * Sum(alpha));
    EXPECT_GT(Pixel(add, kW / 2, kH / 2)[0], Pixel(alpha, kW / 2, kH / 2)[0]);
}

TEST_F(GLRender, AbsorptionPassOnlyWithShadingAndANonZeroFactor)
{
    Open([](int x, int y, int z) { return Ball(x, y, z); });
    mpGL->SetColorIndex(1); // red layer: its complement is cyan
    Load(Path::k2D, 0);
    const auto plain = Render(0.5f);
    const unsigned long slices = DF3GL_cls::GetDrawCounters().muColourPasses;
    EXPECT_EQ(slices, static_cast<unsigned long>(kN));
    EXPECT_EQ(DF3GL_cls::GetDrawCounters().muAbsorptionPasses, 0u);

    GetPreviewProperty().ReadStrLine(L"PreviewShading=1");
    const auto zeroFactor = Render(0.5f);
    EXPECT_EQ(DF3GL_cls::GetDrawCounters().muAbsorptionPasses, 0u) << "factor 0 draws no absorption quad";
    EXPECT_EQ(MeanAbsDiff(plain, zeroFactor), 0.0);

    GetPreviewProperty().ReadStrLine(L"PreviewAbsorption=0.8");
    GetPreviewProperty().ReadStrLine(L"PreviewAbsorptionComplement=1");
    const auto absorbed = Render(0.5f);
    EXPECT_EQ(DF3GL_cls::GetDrawCounters().muAbsorptionPasses, slices);
    EXPECT_EQ(DF3GL_cls::GetDrawCounters().muColourPasses, slices);
    EXPECT_LT(Sum(absorbed), Sum(plain)) << "the absorption darkens";
    // Outside the ball nothing changes.
    EXPECT_EQ(Pixel(absorbed, 2, 2)[1], Pixel(plain, 2, 2)[1]);
}

TEST_F(GLRender, LayerStepDrawsEveryNthSlice)
{
    Open([](int x, int y, int z) { return Ball(x, y, z); });
    Load(Path::k2D, 0);
    mCCtrl.SetDownSizeLayer(2, 3);
    Render();
    // Front view: along z, from the far (low) end: 0, 3, ..., 30.
    EXPECT_EQ(DF3GL_cls::GetDrawCounters().muColourPasses, 11u);
    mCCtrl.SetDownSizeLayer(2, 1);
}

TEST_F(GLRender, OctreeSkipsEmptyBoxesAndKeepsThePicture)
{
    // A small ball in one corner: most leaves are empty.
    Open([](int x, int y, int z) { return Ball(x, y, z, 8, 8, 8, 6); });
    for (Path path : {Path::k2D, Path::k3DCamera}) {
        SCOPED_TRACE(Name(path));
        mCCamera.SetFixedView(Camera_cls::kViewPerspective, 4.0);
        Load(path, 0);
        const auto whole = Render();
        const unsigned long wholeSlices = DF3GL_cls::GetDrawCounters().muColourPasses;
        mpGL->GetDrawingBlock().SetUse8Tree(true);
        const auto tree = Render();
        const unsigned long treeSlices = DF3GL_cls::GetDrawCounters().muColourPasses;
        mpGL->GetDrawingBlock().SetUse8Tree(false);
        // 64 leaves of 8^3 voxels; the ball (voxels 2..14) lies in the 2 x 2 x 2 of the corner.
        EXPECT_EQ(mpGL->GetDrawingBlock().GetLeafCount(), 64u);
        EXPECT_EQ(mpGL->GetDrawingBlock().GetVisibleCount(), 8u);
        EXPECT_GT(Sum(tree), 1000.0);
        EXPECT_LT(MeanAbsDiff(whole, tree), 0.5);
        if (path == Path::k2D) {
            // 32 full slices without the tree; with it 8 leaves of 8 slices, each a sixteenth of
            // the area along the two other axes.
            EXPECT_EQ(wholeSlices, 32u);
            EXPECT_EQ(treeSlices, 64u);
        } else {
            EXPECT_GT(treeSlices, 0u);
        }
    }
}

TEST_F(GLRender, ClipBoxCutsTheVolume)
{
    Open([](int, int, int) { return uint8_t(200); });
    Load(Path::k3DCamera, 0);
    const auto full = Render();
    mpGL->GetDrawingBlock().ReadStrLine(L"DrawingBoxMaxX=0.5");
    const auto half = Render();
    // Front view, x to the right: the right half of the cube is gone, the left half stays.
    const int right = kW / 2 + 10, left = kW / 2 - 10;
    EXPECT_GT(Pixel(full, right, kH / 2)[0], 100);
    EXPECT_EQ(Pixel(half, right, kH / 2)[0], 0);
    EXPECT_EQ(Pixel(half, left, kH / 2)[0], Pixel(full, left, kH / 2)[0]);
}

TEST_F(GLRender, TextureMemoryMatchesTheTexturesGLHolds)
{
    Open([](int x, int y, int z) { return Ball(x, y, z); });
    for (Path path : {Path::k2D, Path::k3DLattice}) {
        for (unsigned type : {0u, 1u, 2u}) {
            SCOPED_TRACE(std::string(Name(path)) + ", texel format " + std::to_string(type));
            Load(path, type);
            const TexObjectGL_cls* tex = mpGL->GetCurrentTexObject();
            // Ask GL what each texture holds: its size and bits per texel.
            auto bytesOf = [](GLenum target) {
                GLint w = 0, h = 0, d = 1, bits = 0, v = 0;
                glGetTexLevelParameteriv(target, 0, GL_TEXTURE_WIDTH, &w);
                glGetTexLevelParameteriv(target, 0, GL_TEXTURE_HEIGHT, &h);
                if (target == GL_TEXTURE_3D)
                    glGetTexLevelParameteriv(target, 0, GL_TEXTURE_DEPTH, &d);
                for (GLenum q : {GL_TEXTURE_RED_SIZE, GL_TEXTURE_GREEN_SIZE, GL_TEXTURE_BLUE_SIZE,
                                 GL_TEXTURE_ALPHA_SIZE, GL_TEXTURE_LUMINANCE_SIZE}) {
                    glGetTexLevelParameteriv(target, 0, q, &v);
                    bits += v;
                }
                return static_cast<uint64_t>(w) * h * d * bits / 8;
            };
            uint64_t bytes = 0;
            int textures = 0;
            if (path == Path::k2D) {
                for (int axis = 0; axis < 3; ++axis)
                    for (int i = 0; i < tex->GetSliceCount(axis); ++i) {
                        glBindTexture(GL_TEXTURE_2D, tex->GetTexture2D(axis, i));
                        bytes += bytesOf(GL_TEXTURE_2D);
                        ++textures;
                    }
            } else {
                glBindTexture(GL_TEXTURE_3D, tex->GetTexture3D());
                bytes += bytesOf(GL_TEXTURE_3D);
                ++textures;
            }
            EXPECT_EQ(textures, path == Path::k2D ? 3 * kN : 1);
            const uint64_t bpt = type == 0 ? 1 : (type == 1 ? 2 : 4);
            EXPECT_EQ(bytes, (path == Path::k2D ? 3u : 1u) * bpt * kN * kN * kN);
            EXPECT_EQ(tex->GetAllocatedTextureBytes(), bytes);
            EXPECT_EQ(tex->GetAllocatedTextureKB(), bytes / 1024);
            EXPECT_EQ(mpGL->GetAllocatedTextureKB(), bytes / 1024);
        }
    }
    // Deleting frees the names and the memory.
    const GLuint name = mpGL->GetCurrentTexObject()->GetTexture3D();
    ASSERT_TRUE(glIsTexture(name));
    EXPECT_TRUE(mpGL->DeleteTexObjects(true, true));
    EXPECT_FALSE(glIsTexture(name));
    EXPECT_EQ(mpGL->GetAllocatedTextureKB(), 0u);
    EXPECT_FALSE(mpGL->DrawData()) << "nothing left to draw";
}

// Freed 3D textures are kept (two at most, counted as texture memory) and taken over by the next
// frames of their size and format; a change of format drops them.
TEST_F(GLRender, FreedTexturesAreReusedByFramesOfTheirSize)
{
    for (int i = 0; i < 3; ++i)
        WriteFileBytes(mCDir.File(StrPrintf("seq%04d.df3", i)),
                       Df3Bytes(kN, [i](int x, int y, int z) { return Ball(x + i, y, z); }));
    DF3Sequence_cls& seq = mCCtrl.GetSequence(0);
    ASSERT_EQ(seq.AppendFileSequence(Widen(mCDir.File("seq0000.df3")), true, 0), 3);
    GetPreviewProperty().SetUse3DTexture(true);
    TexObjectGL_cls::SetKeepSpareTexture(true);
    struct KeepOff {
        ~KeepOff()
        {
            TexObjectGL_cls::DropSpareTexture();
            TexObjectGL_cls::SetKeepSpareTexture(false);
        }
    } keepOff;
    auto name = [&seq](int i) { return static_cast<TexObjectGL_cls*>(seq.GetTexJobs(i))->GetTexture3D(); };
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(mCCtrl.IdleProcessesMainEach(0, i, true, false), DF3Sequence_cls::kIdleNothing) << i;
    const GLuint a = name(0), b = name(1), c = name(2);
    ASSERT_TRUE(a != 0 && b != 0 && c != 0);
    const uint32_t kb = seq.GetTexJobs(0)->GetAllocatedTextureKB();

    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(seq.GetTexJobs(i)->DeleteTexObjects(true, false));
    EXPECT_EQ(TexObjectGL_cls::GetSpareTextures(), (std::vector<GLuint>{a, b}));
    EXPECT_TRUE(glIsTexture(a) && glIsTexture(b));
    EXPECT_FALSE(glIsTexture(c)) << "a third freed texture goes";
    EXPECT_EQ(TexObjectJobs_cls::GetSpareTextureKB(), 2 * kb);

    // The next two frames of the size take the spares over; the third allocates.
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(mCCtrl.IdleProcessesMainEach(0, i, true, false), DF3Sequence_cls::kIdleNothing) << i;
    EXPECT_EQ(name(0), a);
    EXPECT_EQ(name(1), b);
    EXPECT_TRUE(TexObjectGL_cls::GetSpareTextures().empty());
    EXPECT_EQ(TexObjectJobs_cls::GetSpareTextureKB(), 0u);
    Render();
    EXPECT_TRUE(mbDrawn) << "the taken-over textures draw";

    // Another texel format: a frame made in it finds no fitting spare and drops the old ones.
    ASSERT_TRUE(seq.GetTexJobs(2)->DeleteTexObjects(true, false));
    ASSERT_EQ(TexObjectGL_cls::GetSpareTextures().size(), 1u);
    GetPreviewProperty().ReadStrLine(L"PreviewTextureType=1");
    mpGL->RequestTextureRebuild();
    ASSERT_EQ(mCCtrl.IdleProcessesMainEach(0, 0, true, false), DF3Sequence_cls::kIdleNothing);
    EXPECT_TRUE(TexObjectGL_cls::GetSpareTextures().empty());
    EXPECT_EQ(TexObjectJobs_cls::GetSpareTextureKB(), 0u);
}

// A frame larger than a brick: its 3D texture comes in z bricks, each one driver allocation of
// its own generation step, every brick holding its planes and one neighbour on each side (the
// upload slabs straddle the bricks); drawn from the bricks, the picture is the one a whole
// texture gives (the linear filter reads the same texels next to a seam, and the pieces of a
// slice neither overlap nor leave a gap).
TEST_F(GLRender, BrickedTexturesHoldTheirPlanesAndDrawTheWholeTexturesPicture)
{
    // 64^3 with detail along z (so that a wrong texel next to a seam shows), faint enough to see
    // through.
    constexpr int n = 64;
    const std::string file = mCDir.File("big0000.df3");
    WriteFileBytes(file, Df3Bytes(n, [](int x, int y, int z) {
                       return static_cast<uint8_t>(Ball(x, y, z, 31.5, 31.5, 31.5, 0.3 * n) / 3 +
                                                   ((x * 5 + y * 3 + z * 23) % 64));
                   }));
    ASSERT_EQ(mCCtrl.GetSequence(0).AppendFileSequence(Widen(file), false, 0), 1);
    struct Restore {
        double rate = TexSlabPlan_cls::GetUploadRate();
        ~Restore()
        {
            TexObjectGL_cls::SetBrickBytes(0);
            TexSlabPlan_cls::SetUploadRate(rate);
        }
    } restore;
    const std::vector<std::pair<double, double>> orbits = {{0, 0}, {35, 25}, {90, 0}, {20, 80}, {-60, -40}};
    for (auto [path, type] : {std::pair{Path::k3DLattice, 0u}, {Path::k3DCamera, 0u}, {Path::k3DLattice, 2u}}) {
        SCOPED_TRACE(std::string(Name(path)) + ", texel format " + std::to_string(type));
        const GLenum format = type == 2 ? GL_RGBA : GL_ALPHA;
        const size_t plane = size_t{n} * n * TexObjectGL_cls::BytesPerTexel(type);
        auto pictures = [&] {
            std::vector<std::vector<uint8_t>> all;
            for (auto [h, v] : orbits) {
                mCCamera.SetFixedView(Camera_cls::kViewFront, 4.0);
                mCCamera.Orbit(h, v);
                all.push_back(Render());
            }
            return all;
        };
        auto texels = [&](GLuint name, size_t planes) {
            std::vector<uint8_t> t(plane * planes);
            glBindTexture(GL_TEXTURE_3D, name);
            glPixelStorei(GL_PACK_ALIGNMENT, 1);
            glGetTexImage(GL_TEXTURE_3D, 0, format, GL_UNSIGNED_BYTE, t.data());
            glBindTexture(GL_TEXTURE_3D, 0);
            return t;
        };
        // Upload units of 256 KB (the smallest): for RGBA texels, slabs of 16 planes.
        TexSlabPlan_cls::SetUploadRate(0.0);
        TexObjectGL_cls::SetBrickBytes(0);
        mpGL->RequestTextureRebuild();
        Load(path, type);
        ASSERT_EQ(mpGL->GetCurrentTexObject()->GetBrickCount(), 1u);
        const std::vector<uint8_t> wholeTexels = texels(mpGL->GetCurrentTexObject()->GetTexture3D(), n);
        const auto whole = pictures();

        // Nine planes fit a brick: seven drawn planes or six beside the overlap, ten bricks.
        TexObjectGL_cls::SetBrickBytes(plane * 9);
        TexSlabPlan_cls::SetUploadRate(0.0);
        mpGL->RequestTextureRebuild();
        mCCtrl.GetSequence(0).IdleProcessesMain(0, true, true);
        TexObjectGL_cls* tex = mpGL->GetCurrentTexObject();
        tex->SetTimeBudget(0); // one unit per step
        int generationSteps = 0;
        for (bool first = true; first || !tex->IsTexObjectGenFinished(); first = false) {
            ASSERT_TRUE(mpGL->GenerateTexObjects(false, first)) << "step " << generationSteps;
            ++generationSteps;
            ASSERT_LT(generationSteps, 30);
        }
        EXPECT_EQ(generationSteps, 1 + 10) << "the processing, then one brick per step";
        Load(path, type);
        ASSERT_EQ(tex->GetBrickCount(), 10u);
        EXPECT_EQ(tex->GetAllocatedTextureBytes(), TexSlabPlan_cls::BrickedBytes(n, plane, plane * 9));
        for (size_t k = 0; k < tex->GetBrickCount(); ++k) {
            const TexSlabPlan_cls::Brick& b = tex->GetBrick(k);
            const std::vector<uint8_t> got = texels(tex->GetTexture3D(k), b.GetStoredPlanes());
            EXPECT_TRUE(std::equal(got.begin(), got.end(), wholeTexels.begin() + plane * b.uStoreFirst))
                << "brick " << k << " holds other texels than planes " << b.uStoreFirst << ".." << b.uStoreEnd;
        }
        const auto bricked = pictures();
        for (size_t i = 0; i < orbits.size(); ++i) {
            SCOPED_TRACE("orbit " + std::to_string(i));
            const std::string tag = std::to_string(int(path)) + "_" + std::to_string(type) + "_" + std::to_string(i);
            Save(whole[i], "whole_" + tag);
            Save(bricked[i], "bricked_" + tag);
            ASSERT_GT(Sum(whole[i]), 1000.0) << "something was drawn";
            // A seam would be a line of changed pixels across the ball. Where a slice's outline
            // is cut, the cut point lies on the outline only to rounding: a pixel exactly on the
            // outline may fall to the other side, here and there.
            int changed = 0;
            for (size_t c = 0; c < whole[i].size(); c += 3)
                changed += std::abs(int(whole[i][c]) - int(bricked[i][c])) > 2;
            EXPECT_LE(changed, 8) << "a seam shows";
            EXPECT_LT(MeanAbsDiff(whole[i], bricked[i]), 0.2);
        }
    }
}

TEST_F(GLRender, JobsRunInStepsWithBindProgress)
{
    Open([](int x, int y, int z) { return Ball(x, y, z); });
    GetPreviewProperty().SetUse3DTexture(false);
    DF3Sequence_cls& seq = mCCtrl.GetSequence(0);
    // Voxels and axis copies first, textures left alone.
    seq.IdleProcessesMain(0, true, true);
    TexObjectGL_cls* tex = mpGL->GetCurrentTexObject();
    ASSERT_NE(tex, nullptr);
    tex->SetTimeBudget(0); // one unit per step
    // The first step runs the processing only; the textures follow one axis per step.
    EXPECT_TRUE(mpGL->GenerateTexObjects(false, false));
    EXPECT_TRUE(tex->IsTexObjectGenInProcess());
    EXPECT_EQ(tex->GetSliceCount(0), 0);
    EXPECT_TRUE(mpGL->GenerateTexObjects(false, false));
    EXPECT_EQ(tex->GetSliceCount(0), kN);
    EXPECT_EQ(tex->GetSliceCount(1), 0) << "one axis per step";
    while (!tex->IsTexObjectGenFinished())
        ASSERT_TRUE(mpGL->GenerateTexObjects(false, false));
    EXPECT_EQ(tex->GetAllocatedTextureBytes(), 3u * kN * kN * kN);
    int last = -1, steps = 0;
    while (!tex->IsTexObjectBindFinished()) {
        ASSERT_TRUE(mpGL->BindTexObjects(false));
        const int percent = mpGL->GetTextureBindPercent();
        EXPECT_GE(percent, last);
        last = percent;
        ++steps;
    }
    // Units hold runs of slices of one axis, at least 256 KB: the slices of a small frame's
    // axis fill one unit each.
    EXPECT_EQ(steps, 3) << "one run of slices per step";
    EXPECT_EQ(last, 100);
    EXPECT_TRUE(tex->IsReady());
    EXPECT_EQ(tex->GetContentSerial(), 1u);
}

TEST_F(GLRender, TextureFilterFollowsTheSetting)
{
    Open([](int x, int y, int z) { return Ball(x, y, z); });
    for (auto [value, want] : {std::pair{L"1", GL_LINEAR}, {L"0", GL_NEAREST}, {L"7", GL_NEAREST}}) {
        GetPreviewProperty().ReadStrLine(std::wstring(L"PreviewTexFilter=") + value);
        mpGL->RequestTextureRebuild();
        Load(Path::k3DLattice, 0);
        GLint minFilter = 0, magFilter = 0;
        glBindTexture(GL_TEXTURE_3D, mpGL->GetCurrentTexObject()->GetTexture3D());
        glGetTexParameteriv(GL_TEXTURE_3D, GL_TEXTURE_MIN_FILTER, &minFilter);
        glGetTexParameteriv(GL_TEXTURE_3D, GL_TEXTURE_MAG_FILTER, &magFilter);
        EXPECT_EQ(minFilter, want) << Narrow(value);
        EXPECT_EQ(magFilter, want) << Narrow(value);
    }
}

TEST_F(GLRender, CamerafacingSlicesAreCachedPerView)
{
    Open([](int x, int y, int z) { return Ball(x, y, z); });
    Load(Path::k3DCamera, 0);
    Draw3DTexBoxA_cls::Invalidate();
    const unsigned before = Draw3DTexBoxA_cls::GetRecalcCount();
    Render();
    Render();
    EXPECT_EQ(Draw3DTexBoxA_cls::GetRecalcCount(), before + 1) << "same view: one calculation";
    mCCamera.Orbit(10, 0);
    Render();
    EXPECT_EQ(Draw3DTexBoxA_cls::GetRecalcCount(), before + 2);
    EXPECT_FALSE(Draw3DTexBoxA_cls::GetSlices().empty());
}

TEST_F(GLRender, VolumeBoxFactorsTintAndHideTheDrawnVolume)
{
    Open([](int, int, int) { return uint8_t(200); });
    Load(Path::k3DCamera, 0);
    const auto plain = Render();
    TexPropertyCtrl_cls tex;
    DF3GL_cls::SetTexProperty(&tex);
    tex.SetColorFactor(0, 1.0f, 0.0f, 0.0f);
    const auto red = Render();
    tex.SetAlphaFactor(0, 0.0f);
    const auto hidden = Render();
    DF3GL_cls::SetTexProperty(nullptr);
    const uint8_t* p = Pixel(plain, kW / 2, kH / 2);
    const uint8_t* r = Pixel(red, kW / 2, kH / 2);
    ASSERT_GT(p[1], 100);
    EXPECT_NEAR(r[0], p[0], 2);
    EXPECT_EQ(r[1], 0);
    EXPECT_EQ(r[2], 0);
    EXPECT_EQ(Sum(hidden), 0.0) << "alpha factor 0 draws nothing";
}

TEST(DF3GLColour, ComplementAndSliceColourFollowTheColourIndex)
{
    PreviewRestore restore;
    PreviewRestore::Set(L"PreviewTextureType=0\nPreviewLuminanceFactor=0.5\n");
    DF3Sequence_cls seq;
    DF3GL_cls gl(&seq);
    DF3GL_cls::InitializeStaticMembers(nullptr, nullptr, nullptr, nullptr);
    gl.SetColorIndex(1); // palette 1, layer 0: red
    float colour[3], complement[3];
    gl.GetCurrentColour(colour, complement);
    EXPECT_FLOAT_EQ(colour[0], 0.5f);
    EXPECT_FLOAT_EQ(colour[1], 0.0f);
    // Red at brightness 0.5: the complement is cyan at the same brightness.
    EXPECT_NEAR(complement[0], 0.0f, 1e-6);
    EXPECT_NEAR(complement[1], 0.5f / std::sqrt(2.0f), 1e-6);
    EXPECT_NEAR(complement[2], 0.5f / std::sqrt(2.0f), 1e-6);
    EXPECT_FLOAT_EQ(gl.GetSliceAlpha(), 1.0f);
    gl.SetColorLayer(1);
    EXPECT_FLOAT_EQ(gl.GetSliceAlpha(), 0.5f);

    // Black: no complement.
    PreviewRestore::Set(L"PreviewLuminanceFactor=0\n");
    complement[0] = complement[1] = complement[2] = 9.0f;
    gl.GetCurrentColour(colour, complement);
    EXPECT_EQ(complement[0], 0.0f);
    EXPECT_EQ(complement[2], 0.0f);

    // Baked colours carry their own colour: the slice colour is white times the factor.
    PreviewRestore::Set(L"PreviewTextureType=2\nPreviewLuminanceFactor=1\n");
    gl.GetCurrentColour(colour, complement);
    EXPECT_FLOAT_EQ(colour[1], 1.0f);
    EXPECT_FLOAT_EQ(gl.GetSliceAlpha(), 1.0f);
}

TEST_F(GLRender, FarSlicesAreDrawnFirstOnEveryPath)
{
    // An opaque grey half (density 255 of palette 1 is white normalised) at high z and a faint
    // red half (density 40) at low z. Seen from +z the grey half is in front and hides the red;
    // seen from -z the faint red lies over the grey and tints it.
    Open([](int, int, int z) { return uint8_t(z >= kN / 2 ? 255 : 40); });
    mpGL->SetColorIndex(1);
    for (Path path : {Path::k2D, Path::k3DLattice, Path::k3DCamera}) {
        SCOPED_TRACE(Name(path));
        mpGL->RequestTextureRebuild();
        Load(path, 2);
        mCCamera.SetFixedView(Camera_cls::kViewFront, 4.0); // eye at +z
        auto rgb = Render();
        const uint8_t* p = Pixel(rgb, kW / 2, kH / 2);
        EXPECT_NEAR(p[0], p[1], 2) << "grey in front";
        EXPECT_GT(p[1], 120);
        ASSERT_TRUE(mCCamera.Set({0, 0, -4}, {0, 0, 0}, {0, 1, 0})); // eye at -z
        rgb = Render();
        p = Pixel(rgb, kW / 2, kH / 2);
        EXPECT_GT(p[0], p[1] + 15) << "red over grey";
    }
}
