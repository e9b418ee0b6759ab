// Cost of the colour-map work done per exported frame and per texture bake: building the
// 256-entry preview table, choosing the written map entries, and formatting scene numbers.
#include "anim/UndoManager_cls.h"
#include "color/ColorTable_cls.h"
#include "color/Coloring_cls.h"
#include "color/CustomColor_cls.h"
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
    state.counters["entries"] =
        static_cast<double>(col.GetClrMapEntries(static_cast<int>(state.range(0)), style).size());
}
BENCHMARK(BM_PaletteMapMacro)->Args({1, 0})->Args({1, 1})->Args({6, 0});

// A custom map with curved segments is the worst case of the entry choice: many entries kept.
static void BM_CustomMapMacroCurved(benchmark::State& state)
{
    UndoManager_cls undo;
    Coloring_cls col(&undo);
    CustomColor_cls* cc = col.GetPCustomColor();
    cc->AddItem();
    cc->SetColorTemplate(6);
    Parameters_cls* p = cc->GetItems().GetPItem(0);
    for (int k = 0; k < p->GetKeyNumber(); ++k)
        p->SetKeyType(static_cast<unsigned>(k), kInterpHermiteAuto);
    ClrMapStyle_cls style;
    size_t entries = 0;
    for (auto _ : state) {
        std::wstring text = col.GetPovStrColorMapMacro(10, style);
        entries = col.GetClrMapEntries(10, style).size();
        benchmark::DoNotOptimize(text.data());
    }
    state.counters["entries"] = static_cast<double>(entries);
}
BENCHMARK(BM_CustomMapMacroCurved);

static void BM_CustomTable(benchmark::State& state)
{
    UndoManager_cls undo;
    Coloring_cls col(&undo);
    col.GetPCustomColor()->AddItem();
    col.GetPCustomColor()->SetColorTemplate(9);
    ColorTable_cls table;
    for (auto _ : state) {
        table.Build(col, 10, 0, true);
        benchmark::DoNotOptimize(table.GetData().data());
    }
}
BENCHMARK(BM_CustomTable);

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
