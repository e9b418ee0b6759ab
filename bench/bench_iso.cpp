// Isosurface extraction, welding and mesh text on a smooth 256^3 field (a gyroid with three
// periods per axis, about a million triangles at level 0.5).
//   bench_iso [--benchmark_filter=...]
// TESSAN_BENCH_THREADS sets "ThreadNumFilter=" (default: the number of cores).
#include "config/Preference_cls.h"
#include "iso/MarchingCube_cls.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int kN = 256;

// The same field bench/compare_iso.py writes: round(128 + 80 * gyroid), x fastest.
const std::vector<unsigned char>& Gyroid()
{
    static const std::vector<unsigned char> data = [] {
        std::vector<unsigned char> v(static_cast<size_t>(kN) * kN * kN);
        const double k = 2.0 * M_PI * 3.0 / kN;
        for (int z = 0; z < kN; ++z)
            for (int y = 0; y < kN; ++y)
                for (int x = 0; x < kN; ++x) {
                    double g = std::sin(k * x) * std::cos(k * y) + std::sin(k * y) * std::cos(k * z) +
                               std::sin(k * z) * std::cos(k * x);
                    double b = std::round(128.0 + 80.0 * g);
                    v[(static_cast<size_t>(z) * kN + y) * kN + x] =
                        static_cast<unsigned char>(b < 0 ? 0 : (b > 255 ? 255 : b));
                }
        return v;
    }();
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
        mc.ThreadControlMain(d.data(), kN, kN, kN, 0.5f, MarchingCube_cls::kFlagNormals);
        mc.OptimizeVertices();
        mc.OptimizeVerticesFull();
        benchmark::DoNotOptimize(mc.GetVertexNumberOptFull());
    }
    state.counters["triangles"] = static_cast<double>(mc.GetFaceNumberOptFull());
    state.counters["vertices"] = static_cast<double>(mc.GetVertexNumberOptFull());
}
BENCHMARK(BM_ExtractAndWeld)->Unit(benchmark::kMillisecond)->UseRealTime();

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
    const auto& d = Gyroid();
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
    const auto& d = Gyroid();
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

} // namespace

BENCHMARK_MAIN();
