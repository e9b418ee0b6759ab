// Cost of writing and reading a project: a scene whose chains hold every item type and whose
// animated sets carry many keys (a long, finely keyed animation), built to text and read back.
#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/Main_cls.h"
#include "config/ProjectFile_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/FilterWithParameter_cls.h"
#include "pov/LightSRC_cls.h"
#include "pov/PovExport_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"

#include <benchmark/benchmark.h>

namespace
{

// Sets `keys` keys on the set through its snapshot (no history: this is about the file).
void FillKeys(Parameters_cls& set, int keys)
{
    Parameters_cls::Snapshot snapshot = set.TakeSnapshot();
    snapshot.bTimeDepend = true;
    snapshot.vKeys.clear();
    for (int k = 0; k < keys; ++k) {
        KeyFrame_cls key(set.GetDimension());
        std::vector<double> values(set.GetDimension());
        for (size_t i = 0; i < values.size(); ++i)
            values[i] = 0.001 * k + 0.1 * static_cast<double>(i);
        key.Set(static_cast<double>(k) / keys, static_cast<unsigned>(k % 5), values.data(), nullptr, nullptr, false);
        snapshot.vKeys.push_back(key);
    }
    set.RestoreSnapshot(snapshot);
}

// Every item type in the chains, each animated set with `keys` keys, three lights, the box sets.
void BuildScene(Main_cls& main, int keys)
{
    DF3SeqCtrl_cls& seqCtrl = main.GetSeqCtrl();
    for (int slot = 0; slot < 4; ++slot) {
        std::vector<DF3Sequence_cls::FileEntry> files;
        for (int f = 0; f < 500; ++f)
            files.push_back({Widen(StrPrintf("/data/run%d/density_%04d.df3", slot, f)), L"", 0});
        seqCtrl.GetSequence(slot).AppendFiles(files);
    }
    for (int type = 0; type < FilterBase_cls::kTypeNum; ++type) {
        FilterCtrl_cls& chain = seqCtrl.GetSequence(type % 4).GetFilterCtrl();
        const int at = chain.AddToList(-1, FilterCtrl_cls::CreateItem(type, &chain));
        if (auto* animated = dynamic_cast<FilterWithParameter_cls*>(chain.GetPFilterBase(at)))
            FillKeys(animated->GetParameters(), keys);
    }
    const double pos[3] = {1, 2, 3}, rgb[3] = {1, 1, 1};
    for (unsigned kind = 0; kind < 3; ++kind) {
        main.GetPovExport().GetLights().AddLight(kind, pos, rgb, 1.0);
        FillKeys(main.GetPovExport().GetLights().GetParam(kind), keys);
    }
    FillKeys(main.GetBoxSize(), keys);
    FillKeys(main.GetTimeCtrl().GetTimeRemap(), keys);
}

void BM_ProjectBuildText(benchmark::State& state)
{
    Main_cls main(L"/nonexistent");
    BuildScene(main, static_cast<int>(state.range(0)));
    size_t bytes = 0;
    for (auto _ : state) {
        const std::wstring text = main.GetProjectFile().BuildText(true);
        bytes = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
    state.counters["kB"] = static_cast<double>(bytes) / 1024.0;
}
BENCHMARK(BM_ProjectBuildText)->Arg(10)->Arg(1000)->Unit(benchmark::kMillisecond);

void BM_ProjectReadText(benchmark::State& state)
{
    Main_cls source(L"/nonexistent");
    BuildScene(source, static_cast<int>(state.range(0)));
    const std::wstring text = source.GetProjectFile().BuildText(true);
    Main_cls target(L"/nonexistent");
    for (auto _ : state) {
        for (int slot = 0; slot < 4; ++slot)
            target.GetSeqCtrl().GetSequence(slot).GetFilterCtrl().ClearFilter();
        benchmark::DoNotOptimize(target.GetProjectFile().ReadText(text));
    }
    state.SetBytesProcessed(static_cast<int64_t>(text.size()) * state.iterations());
    state.counters["kB"] = static_cast<double>(text.size()) / 1024.0;
}
BENCHMARK(BM_ProjectReadText)->Arg(10)->Arg(1000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
