// Isosurface extraction, welding and mesh text on a smooth 256^3 field (a gyroid with three
// periods per axis, about a million triangles at level 0.5).
//   bench_iso [--benchmark_filter=...]
// TESSAN_BENCH_THREADS sets "ThreadNumFilter=" (default: the number of cores).
// TESSAN_BENCH_DF3=FILE (8-bit DF3) with TESSAN_BENCH_LEVEL=L (0..1) adds BM_FileExtract,
// BM_FileExtractAndWeld and BM_FileExtractAndWeldCounted on that file; bench/compare_iso.py uses
// them to time the same field as the other programs.
#include "config/Preference_cls.h"
#include "iso/MarchingCube_cls.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{

constexpr int kN = 256;

// round(128 + 80 * gyroid) with the given periods per axis, x fastest. Three periods is the
// field bench/compare_iso.py writes (about 1.9 million triangles at level 0.5); 1.6 periods gives
// about one million.
std::vector<unsigned char> MakeGyroid(double periods)
{
    std::vector<unsigned char> v(static_cast<size_t>(kN) * kN * kN);
    {
        const double k = 2.0 * M_PI * periods / kN;
        for (int z = 0; z < kN; ++z)
            for (int y = 0; y < kN; ++y)
                for (int x = 0; x < kN; ++x) {
                    double g = std::sin(k * x) * std::cos(k * y) + std::sin(k * y) * std::cos(k * z) +
                               std::sin(k * z) * std::cos(k * x);
                    double b = std::round(128.0 + 80.0 * g);
                    v[(static_cast<size_t>(z) * kN + y) * kN + x] =
                        static_cast<unsigned char>(b < 0 ? 0 : (b > 255 ? 255 : b));
                }
    }
    return v;
}

const std::vector<unsigned char>& Gyroid()
{
    static const std::vector<unsigned char> data = MakeGyroid(3.0);
    return data;
}

const std::vector<unsigned char>& GyroidMillion()
{
    static const std::vector<unsigned char> data = MakeGyroid(1.6);
    return data;
}

void SetThreads()
{
    if (const char* t = std::getenv("TESSAN_BENCH_THREADS"))
        GetPreference().SetThreadNumFilter(std::atoi(t));
}

void BM_Extract(benchmark::State& state)
{
    SetThreads();
    const auto& d = Gyroid();
    MarchingCube_cls mc;
    for (auto _ : state) {
        mc.ThreadControlMain(d.data(), kN, kN, kN, 0.5f, MarchingCube_cls::kFlagNormals);
        benchmark::DoNotOptimize(mc.GetVertexNumber());
    }
    state.counters["triangles"] = static_cast<double>(mc.GetVertexNumber() / 3);
}
BENCHMARK(BM_Extract)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ExtractAndWeld(benchmark::State& state)
{
    SetThreads();
    const auto& d = Gyroid();
    MarchingCube_cls mc;
    for (auto _ : state) {
        // Block welding during the march, as the command-line tool does.
        mc.ThreadControlMain(d.data(), kN, kN, kN, 0.5f,
                             MarchingCube_cls::kFlagNormals | MarchingCube_cls::kFlagWeldInBlock);
        mc.OptimizeVerticesFull();
        benchmark::DoNotOptimize(mc.GetVertexNumberOptFull());
    }
    state.counters["triangles"] = static_cast<double>(mc.GetFaceNumberOptFull());
    state.counters["vertices"] = static_cast<double>(mc.GetVertexNumberOptFull());
}
BENCHMARK(BM_ExtractAndWeld)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ExtractAndWeldCounted(benchmark::State& state)
{
    SetThreads();
    const auto& d = Gyroid();
    MarchingCube_cls mc;
    for (auto _ : state) {
        // The command-line tool's path: the block stage only counted.
        mc.ThreadControlMain(d.data(), kN, kN, kN, 0.5f,
                             MarchingCube_cls::kFlagNormals | MarchingCube_cls::kFlagWeldInBlock |
                                 MarchingCube_cls::kFlagWeldCountOnly);
        mc.OptimizeVerticesFull();
        benchmark::DoNotOptimize(mc.GetVertexNumberOptFull());
    }
    state.counters["triangles"] = static_cast<double>(mc.GetFaceNumberOptFull());
    state.counters["vertices"] = static_cast<double>(mc.GetVertexNumberOptFull());
}
BENCHMARK(BM_ExtractAndWeldCounted)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ExtractAndWeldCubeByCube(benchmark::State& state)
{
    SetThreads();
    const auto& d = Gyroid();
    MarchingCube_cls mc;
    for (auto _ : state) {
        // The reference march, for comparison with BM_ExtractAndWeld on the same machine state.
        mc.ThreadControlMain(d.data(), kN, kN, kN, 0.5f,
                             MarchingCube_cls::kFlagNormals | MarchingCube_cls::kFlagWeldInBlock |
                                 MarchingCube_cls::kFlagCubeByCube);
        mc.OptimizeVerticesFull();
        benchmark::DoNotOptimize(mc.GetVertexNumberOptFull());
    }
    state.counters["triangles"] = static_cast<double>(mc.GetFaceNumberOptFull());
}
BENCHMARK(BM_ExtractAndWeldCubeByCube)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Weld(benchmark::State& state)
{
    SetThreads();
    const auto& d = Gyroid();
    MarchingCube_cls mc;
    mc.ThreadControlMain(d.data(), kN, kN, kN, 0.5f, MarchingCube_cls::kFlagNormals);
    for (auto _ : state) {
        mc.ClearOpt();
        mc.OptimizeVertices();
        mc.OptimizeVerticesFull();
        benchmark::DoNotOptimize(mc.GetVertexNumberOptFull());
    }
}
BENCHMARK(BM_Weld)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Mesh2Text(benchmark::State& state)
{
    SetThreads();
    const auto& d = GyroidMillion();
    MarchingCube_cls mc;
    mc.ThreadControlMain(d.data(), kN, kN, kN, 0.5f, MarchingCube_cls::kFlagNormals);
    mc.OptimizeVerticesFull();
    std::string text;
    for (auto _ : state) {
        mc.GetStrPovMesh2(&text, L"Gyroid", L"_0", true);
        benchmark::DoNotOptimize(text.data());
    }
    state.counters["triangles"] = static_cast<double>(mc.GetFaceNumberOptFull());
    state.counters["MB"] = static_cast<double>(text.size()) / 1e6;
}
BENCHMARK(BM_Mesh2Text)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ObjText(benchmark::State& state)
{
    SetThreads();
    const auto& d = GyroidMillion();
    MarchingCube_cls mc;
    mc.ThreadControlMain(d.data(), kN, kN, kN, 0.5f, MarchingCube_cls::kFlagNormals);
    mc.OptimizeVerticesFull();
    std::string text;
    for (auto _ : state) {
        mc.GetStrWaveFrontObj(&text, true);
        benchmark::DoNotOptimize(text.data());
    }
    state.counters["MB"] = static_cast<double>(text.size()) / 1e6;
}
BENCHMARK(BM_ObjText)->Unit(benchmark::kMillisecond)->UseRealTime();

struct FileVolume {
    int n[3] = {0, 0, 0};
    std::vector<unsigned char> data;
};

// The 8-bit DF3 layout: three big-endian 16-bit sizes, then the voxels x fastest.
bool ReadDf3(const char* path, FileVolume& out)
{
    std::ifstream in(path, std::ios::binary);
    std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (bytes.size() < 6)
        return false;
    for (int a = 0; a < 3; ++a)
        out.n[a] = bytes[static_cast<size_t>(a) * 2] << 8 | bytes[static_cast<size_t>(a) * 2 + 1];
    size_t total = static_cast<size_t>(out.n[0]) * out.n[1] * out.n[2];
    if (bytes.size() != total + 6)
        return false;
    out.data.assign(bytes.begin() + 6, bytes.end());
    return true;
}

void FileExtract(benchmark::State& state, const FileVolume* vol, float level, bool weld)
{
    SetThreads();
    MarchingCube_cls mc;
    for (auto _ : state) {
        const unsigned flags = MarchingCube_cls::kFlagNormals | (weld ? MarchingCube_cls::kFlagWeldInBlock : 0u);
        mc.ThreadControlMain(vol->data.data(), vol->n[0], vol->n[1], vol->n[2], level, flags);
        if (weld)
            mc.OptimizeVerticesFull();
        benchmark::DoNotOptimize(mc.GetVertexNumber());
    }
    state.counters["triangles"] = static_cast<double>(mc.GetVertexNumber() / 3);
    if (weld)
        state.counters["vertices"] = static_cast<double>(mc.GetVertexNumberOptFull());
}

// The command-line tool's extraction (block stage counted, full weld) with a new extractor per
// run, as a program that extracts one surface would: nothing of the previous run is kept but what
// the C library's allocator keeps.
void FileExtractCountedFresh(benchmark::State& state, const FileVolume* vol, float level)
{
    SetThreads();
    size_t triangles = 0, vertices = 0;
    for (auto _ : state) {
        MarchingCube_cls mc;
        mc.ThreadControlMain(vol->data.data(), vol->n[0], vol->n[1], vol->n[2], level,
                             MarchingCube_cls::kFlagNormals | MarchingCube_cls::kFlagWeldInBlock |
                                 MarchingCube_cls::kFlagWeldCountOnly);
        mc.OptimizeVerticesFull();
        triangles = mc.GetFaceNumberOptFull();
        vertices = mc.GetVertexNumberOptFull();
        benchmark::DoNotOptimize(triangles);
    }
    state.counters["triangles"] = static_cast<double>(triangles);
    state.counters["vertices"] = static_cast<double>(vertices);
}

} // namespace

int main(int argc, char** argv)
{
    static FileVolume vol;
    if (const char* path = std::getenv("TESSAN_BENCH_DF3")) {
        const char* lv = std::getenv("TESSAN_BENCH_LEVEL");
        float level = lv ? std::strtof(lv, nullptr) : 0.5f;
        if (!ReadDf3(path, vol)) {
            std::fprintf(stderr, "bench_iso: cannot read 8-bit DF3 file %s\n", path);
            return 1;
        }
        benchmark::RegisterBenchmark("BM_FileExtract", FileExtract, &vol, level, false)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        benchmark::RegisterBenchmark("BM_FileExtractAndWeld", FileExtract, &vol, level, true)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        benchmark::RegisterBenchmark("BM_FileExtractAndWeldCounted", FileExtractCountedFresh, &vol, level)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
