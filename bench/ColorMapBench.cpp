// Cost of the colour-map work done per exported frame and per texture bake: building the
// 256-entry preview table, choosing the written map entries, and formatting scene numbers.
#include "color/ColorTable_cls.h"
#include "color/Coloring_cls.h"
#include "pov/PovSerialize_cls.h"

#include <benchmark/benchmark.h>

static void BM_BuildPaletteTable(benchmark::State& state)
{
    Coloring_cls col;
    ColorTable_cls table;
    for (auto _ : state) {
        table.Build(col, static_cast<int>(state.range(0)), 0, true);
        benchmark::DoNotOptimize(table.GetData().data());
    }
}
BENCHMARK(BM_BuildPaletteTable)->Arg(0)->Arg(1)->Arg(9);

static void BM_PaletteMapMacro(benchmark::State& state)
{
    Coloring_cls col;
    ClrMapStyle_cls style;
    style.miKind = static_cast<int>(state.range(1));
    style.mfValue = 1.0f;
    for (auto _ : state) {
        std::wstring text = col.GetPovStrColorMapMacro(static_cast<int>(state.range(0)), style);
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_PaletteMapMacro)->Args({1, 0})->Args({1, 1})->Args({6, 0});

static void BM_FormatVectors(benchmark::State& state)
{
    const double v[3] = {0.125, -3.5, 1234.5678};
    for (auto _ : state) {
        std::wstring a = PovSerialize_cls::PovOut3d(L"<", v, 6);
        std::wstring b = PovSerialize_cls::PovOut3dS(L"", v, 6);
        benchmark::DoNotOptimize(a.data());
        benchmark::DoNotOptimize(b.data());
    }
}
BENCHMARK(BM_FormatVectors);

BENCHMARK_MAIN();
