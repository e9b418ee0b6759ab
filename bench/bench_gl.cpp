// Preview drawing speed: a 128^3 frame drawn into an 800x600 off-screen buffer of Mesa's software
// renderer (OSMesa), camera-facing slices from a 3D texture and the 2D-stack lattice, plus the
// time to make and fill the textures. Run: build/bin/bench_gl (LP_NUM_THREADS sets llvmpipe's
// rasteriser threads).
#include "../tests/gl/OsMesaContext_cls.h"

#include "anim/TimeCtrl_cls.h"
#include "color/Coloring_cls.h"
#include "config/PreviewProperty_cls.h"
#include "config/TextFormat.h"
#include "filter/PovIsosurface_cls.h"
#include "gl/DF3GL_cls.h"
#include "gl/DrawingBlock_cls.h"
#include "gl/GuideGL_cls.h"
#include "gl/OffscreenFBO_cls.h"
#include "gl/StereoViewGL_cls.h"
#include "gl/IsoMeshGL_cls.h"
#include "gl/TexObjectGL_cls.h"
#include "pov/StereoGram_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/TreeBoxRule_cls.h"

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

constexpr int kN = 128, kW = 800, kH = 600;

// One loaded 128^3 frame (a soft ball with a little noise) in slot 0 with OpenGL texture jobs.
struct Scene {
    OsMesaContext_cls mCContext{kW, kH};
    TimeCtrl_cls mCClock;
    DF3SeqCtrl_cls mCCtrl{&mCClock};
    std::unique_ptr<DF3GL_cls> mpGL;
    std::string mStrDir;
    Camera_cls mCCamera;

    Scene()
    {
        char dir[] = "/tmp/tessan_bench_gl_XXXXXX";
        mStrDir = mkdtemp(dir) ? dir : "/tmp";
        const std::string path = mStrDir + "/ball0000.df3";
        std::ofstream out(path, std::ios::binary);
        const unsigned char header[6] = {0, kN, 0, kN, 0, kN};
        out.write(reinterpret_cast<const char*>(header), 6);
        std::string body(static_cast<size_t>(kN) * kN * kN, '\0');
        size_t i = 0;
        for (int z = 0; z < kN; ++z)
            for (int y = 0; y < kN; ++y)
                for (int x = 0; x < kN; ++x, ++i) {
                    const double d =
                        std::sqrt((x - 63.5) * (x - 63.5) + (y - 63.5) * (y - 63.5) + (z - 63.5) * (z - 63.5));
                    const double v =
                        d >= 50 ? 0.0 : 255.0 * (1.0 - d / 50) * (0.8 + 0.2 * ((x * 7 + y * 13 + z) % 5) / 4);
                    body[i] = static_cast<char>(static_cast<unsigned char>(v));
                }
        out.write(body.data(), static_cast<std::streamsize>(body.size()));
        out.close();
        mpGL = std::make_unique<DF3GL_cls>(&mCCtrl.GetSequence(0));
        mCCtrl.SetTexJobsFactory(DF3GL_cls::MakeTexJobsFactory({mpGL.get(), nullptr, nullptr, nullptr}));
        DF3GL_cls::InitializeStaticMembers(nullptr, &mCCtrl, nullptr, nullptr);
        mCCtrl.GetSequence(0).AppendFileSequence(Widen(path), false, 0);
        mCCamera.SetFixedView(Camera_cls::kViewPerspective, 3.0);
    }
    ~Scene()
    {
        mCCtrl.GetSequence(0).ClearFileSequence();
        std::remove((mStrDir + "/ball0000.df3").c_str());
        rmdir(mStrDir.c_str());
    }
    // Brings the frame up in the given mode; false when the textures could not be made.
    bool Load(bool use3D, unsigned type3D, unsigned textureType)
    {
        GetPreviewProperty().SetUse3DTexture(use3D);
        GetPreviewProperty().ReadStrLine(WStrPrintf("PreviewType3D=%u", type3D));
        GetPreviewProperty().ReadStrLine(L"PreviewNormalQuality=4"); // 128 slices
        if (GetPreviewProperty().GetTextureType() != textureType) {
            GetPreviewProperty().ReadStrLine(WStrPrintf("PreviewTextureType=%u", textureType));
            mpGL->RequestTextureRebuild();
        }
        mCCtrl.IdleProcessesMainEach(0, 0, true, false);
        const TexObjectGL_cls* tex = mpGL->GetCurrentTexObject();
        return tex && tex->IsReady();
    }
    void Draw()
    {
        GuideGL_cls::Clear(0, 0, 0);
        GuideGL_cls::LoadCamera(mCCamera, kW, kH);
        mpGL->DrawData();
        glFinish();
    }
};

Scene& GetScene()
{
    static Scene scene;
    return scene;
}

void RunDraw(benchmark::State& state, bool use3D, unsigned type3D, unsigned textureType)
{
    Scene& scene = GetScene();
    if (!scene.mCContext.IsValid() || !scene.Load(use3D, type3D, textureType)) {
        state.SkipWithError("no OSMesa context or textures");
        return;
    }
    for (auto _ : state)
        scene.Draw();
    // Real time: llvmpipe draws on its own threads, so the caller's CPU time says little.
    state.counters["fps"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_Draw3DCameraFacing128_Alpha(benchmark::State& state)
{
    RunDraw(state, true, 1, 0);
}
void BM_Draw3DCameraFacing128_RGBA(benchmark::State& state)
{
    RunDraw(state, true, 1, 2);
}
void BM_Draw3DLattice_Alpha(benchmark::State& state)
{
    RunDraw(state, true, 0, 0);
}
void BM_Draw2DStacks_Alpha(benchmark::State& state)
{
    RunDraw(state, false, 0, 0);
}

// Making and filling the textures of the frame from scratch (voxels already in memory).
void RunTextures(benchmark::State& state, bool use3D, unsigned textureType)
{
    Scene& scene = GetScene();
    if (!scene.mCContext.IsValid() || !scene.Load(use3D, 0, textureType)) {
        state.SkipWithError("no OSMesa context or textures");
        return;
    }
    for (auto _ : state) {
        if (!scene.mpGL->GenerateTexObjects(true, true) || !scene.mpGL->BindTexObjects(true))
            state.SkipWithError("texture job failed");
        glFinish();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(kN) * kN * kN);
}
void BM_Textures3D_RGBA(benchmark::State& state)
{
    RunTextures(state, true, 2);
}
void BM_Textures2D_Alpha(benchmark::State& state)
{
    RunTextures(state, false, 0);
}

// The same frame drawn off-screen at 3840x2160 and read back (what "Save View as Image" and
// --view-scale do), and as a red/cyan pair at the window size.
void BM_OffscreenUHD_DrawAndRead(benchmark::State& state)
{
    Scene& scene = GetScene();
    if (!scene.mCContext.IsValid() || !scene.Load(true, 1, 0)) {
        state.SkipWithError("no OSMesa context or textures");
        return;
    }
    std::vector<uint8_t> rgb;
    for (auto _ : state) {
        OffscreenFBO_cls fbo;
        if (!fbo.Create(3840, 2160)) {
            state.SkipWithError("no framebuffer object");
            return;
        }
        GuideGL_cls::Clear(0, 0, 0);
        GuideGL_cls::LoadCamera(scene.mCCamera, 3840, 2160);
        scene.mpGL->DrawData();
        fbo.ReadRGB(rgb);
    }
    state.counters["Mpixel/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * 3840.0 * 2160.0 / 1e6,
                                                    benchmark::Counter::kIsRate);
}

void BM_AnaglyphPair800(benchmark::State& state)
{
    Scene& scene = GetScene();
    if (!scene.mCContext.IsValid() || !scene.Load(true, 1, 0)) {
        state.SkipWithError("no OSMesa context or textures");
        return;
    }
    StereoGram_cls stereo;
    stereo.SetMode(StereoGram_cls::kModeAnaglyph);
    for (auto _ : state) {
        StereoViewGL_cls::Draw(stereo, scene.mCCamera, kW, kH, [&](const Camera_cls& camera, int w, int h) {
            GuideGL_cls::Clear(0, 0, 0);
            GuideGL_cls::LoadCamera(camera, w, h);
            scene.mpGL->DrawData();
        });
        glFinish();
    }
    state.counters["fps"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(BM_OffscreenUHD_DrawAndRead)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_AnaglyphPair800)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(6);
BENCHMARK(BM_Draw3DCameraFacing128_Alpha)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(6);
BENCHMARK(BM_Draw3DCameraFacing128_RGBA)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(6);
BENCHMARK(BM_Draw3DLattice_Alpha)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(6);
BENCHMARK(BM_Draw2DStacks_Alpha)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(6);
BENCHMARK(BM_Textures3D_RGBA)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Textures2D_Alpha)->Unit(benchmark::kMillisecond)->UseRealTime();
// Division of a 256^3 volume holding one ball (radius 60) by the block-tree rule: levels from
// the argument, two workers. The leaf check reads each leaf until its first dense voxel.
static void BM_MakeChildsByDepth(benchmark::State& state)
{
    const uint32_t n = 256;
    std::vector<uint8_t> voxels(size_t(n) * n * n, 0);
    for (uint32_t z = 0; z < n; ++z)
        for (uint32_t y = 0; y < n; ++y)
            for (uint32_t x = 0; x < n; ++x) {
                const double dx = x - 90.0, dy = y - 100.0, dz = z - 110.0;
                if (dx * dx + dy * dy + dz * dz < 60.0 * 60.0)
                    voxels[(size_t(z) * n + y) * n + x] = 200;
            }
    const uint32_t size[3] = {n, n, n};
    TreeBoxRule_cls rule;
    rule.SetDepth(static_cast<uint32_t>(state.range(0)));
    DrawingBlock_cls::SetTreeBoxRule(&rule);
    DrawingBlock_cls block;
    block.SetUse8Tree(true);
    uint64_t key = 0;
    for (auto _ : state)
        block.MakeChilds(voxels.data(), size, ++key, 2);
    state.counters["leaves"] = static_cast<double>(block.GetLeafCount());
    state.counters["visible"] = static_cast<double>(block.GetVisibleCount());
    DrawingBlock_cls::SetTreeBoxRule(nullptr);
}

BENCHMARK(BM_MakeChildsByDepth)->DenseRange(1, 5)->Unit(benchmark::kMillisecond)->UseRealTime();

namespace
{

// --- isosurface meshes in the preview ------------------------------------------------------------
// The surface at level 0.5 of a 128^3 ball (about 23 000 welded triangles): extracting it in the
// chain's item, copying it into the preview's buffers, and drawing it lit.
struct MeshScene {
    OsMesaContext_cls mCContext{kW, kH};
    std::vector<unsigned char> mvData;
    unsigned mvSize[3] = {kN, kN, kN};
    PovIsosurface_cls mCIso;
    Camera_cls mCCamera;
    MeshScene()
    {
        mvData.resize(static_cast<size_t>(kN) * kN * kN);
        size_t i = 0;
        for (int z = 0; z < kN; ++z)
            for (int y = 0; y < kN; ++y)
                for (int x = 0; x < kN; ++x, ++i) {
                    const double d =
                        std::sqrt((x - 63.5) * (x - 63.5) + (y - 63.5) * (y - 63.5) + (z - 63.5) * (z - 63.5));
                    mvData[i] = d >= 50 ? 0 : static_cast<unsigned char>(255.0 * (1.0 - d / 50));
                }
        mCIso.RefreshFilter(mvData.data(), mvSize);
        mCCamera.SetFixedView(Camera_cls::kViewPerspective, 3.0);
    }
};

MeshScene& GetMeshScene()
{
    static MeshScene scene;
    return scene;
}

void BM_IsoExtract128(benchmark::State& state)
{
    MeshScene& scene = GetMeshScene();
    double level = 0.5;
    for (auto _ : state) {
        // A new level each time, so the item really extracts again.
        level = level == 0.5 ? 0.5 + 1.0 / 255 : 0.5;
        scene.mCIso.SetParam(0, level);
        scene.mCIso.RefreshFilter(scene.mvData.data(), scene.mvSize);
    }
    state.counters["triangles"] = static_cast<double>(scene.mCIso.GetMesh().GetFaceNumberOptFull());
}

void BM_IsoMeshUpload128(benchmark::State& state)
{
    MeshScene& scene = GetMeshScene();
    if (!scene.mCContext.MakeCurrent()) {
        state.SkipWithError("no OSMesa context");
        return;
    }
    const float white[3] = {1, 1, 1};
    const double scale[3] = {1, 1, 1};
    for (auto _ : state) {
        IsoMeshGL_cls mesh;
        mesh.SetMesh(scene.mCIso.GetMesh(), scene.mvSize);
        GuideGL_cls::Clear(0, 0, 0);
        GuideGL_cls::LoadCamera(scene.mCCamera, kW, kH);
        mesh.Draw(white, 1.0f, scale);
        glFinish();
    }
}

void BM_IsoMeshDraw128(benchmark::State& state, float alpha)
{
    MeshScene& scene = GetMeshScene();
    if (!scene.mCContext.MakeCurrent()) {
        state.SkipWithError("no OSMesa context");
        return;
    }
    IsoMeshGL_cls mesh;
    mesh.SetMesh(scene.mCIso.GetMesh(), scene.mvSize);
    const float white[3] = {1, 1, 1};
    const double scale[3] = {1, 1, 1};
    for (auto _ : state) {
        GuideGL_cls::Clear(0, 0, 0);
        GuideGL_cls::LoadCamera(scene.mCCamera, kW, kH);
        mesh.Draw(white, alpha, scale);
        glFinish();
    }
    state.counters["buffers"] = mesh.IsUsingBuffers() ? 1 : 0;
    state.counters["fps"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(BM_IsoExtract128)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(6);
BENCHMARK(BM_IsoMeshUpload128)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(6);
BENCHMARK_CAPTURE(BM_IsoMeshDraw128, Opaque, 1.0f)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);
BENCHMARK_CAPTURE(BM_IsoMeshDraw128, Translucent, 0.5f)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);
BENCHMARK_MAIN();
