// Isosurface sequence export of the 24-frame demo series (128^3, level 0.5, OBJ files): frames
// worked on one at a time or two at a time (each frame's marching cubes fans out to the filter
// workers either way), next to the same 24 frames read and extracted one after the other by hand
// (what a script calling 'tessan-cli iso' per file does, minus the process starts), each written
// to a file as well. Counter:
// triangles written per run.
#include "config/RecordingPrompt_cls.h"
#include "config/TextFormat.h"
#include "iso/ExportIsosurfSeq_cls.h"
#include "iso/MarchingCube_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/DemoVolume_cls.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>
#include <unistd.h>

namespace
{

struct Demo {
    std::filesystem::path dir;
    Demo()
    {
        dir = std::filesystem::temp_directory_path() / ("tessan_bench_isoseq_" + std::to_string(getpid()));
        RecordingPrompt_cls prompt;
        DemoVolume_cls::WriteDemoSet(dir.string(), &prompt);
    }
    ~Demo() { std::filesystem::remove_all(dir); }
    std::string First() const { return (dir / "demo_0000.df3").string(); }
};

const Demo& GetDemo()
{
    static Demo demo;
    return demo;
}

void BM_ExportSequence(benchmark::State& state)
{
    const Demo& demo = GetDemo();
    DF3Sequence_cls seq;
    seq.AppendFileSequence(Widen(demo.First()), true, DF3Sequence_cls::kAppendAtEnd);
    size_t triangles = 0;
    int run = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const std::filesystem::path out = demo.dir / StrPrintf("out_%d_%d", static_cast<int>(state.range(0)), run++);
        state.ResumeTiming();
        ExportIsosurfSeq_cls::Settings s;
        s.iLast = DemoVolume_cls::kFrames - 1;
        s.dLevel = 0.5;
        s.iWorkers = static_cast<int>(state.range(0));
        s.strPatternObj = Widen(out.string()) + L"/";
        ExportIsosurfSeq_cls exporter(&seq);
        RecordingPrompt_cls prompt;
        if (!exporter.Run(s, &prompt))
            state.SkipWithError("export failed");
        triangles = 0;
        for (const auto& r : exporter.GetResults())
            triangles += r.uTriangles;
        state.PauseTiming();
        std::filesystem::remove_all(out);
        state.ResumeTiming();
    }
    state.counters["triangles"] = static_cast<double>(triangles);
}
BENCHMARK(BM_ExportSequence)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_FrameByFrame(benchmark::State& state)
{
    const Demo& demo = GetDemo();
    size_t triangles = 0;
    for (auto _ : state) {
        triangles = 0;
        for (int f = 0; f < DemoVolume_cls::kFrames; ++f) {
            DF3Sequence_cls seq;
            DF3_cls frame(&seq);
            frame.SetFilePath(Widen((demo.dir / StrPrintf("demo_%04d.df3", f)).string()));
            RecordingPrompt_cls prompt;
            if (!frame.ReadHeader(&prompt) || !frame.Allocate() || !frame.ReadBodyIfNotFinished(true, &prompt))
                state.SkipWithError("read failed");
            MarchingCube_cls mc;
            mc.ThreadControlMain(frame.GetXYZData(), 128, 128, 128, 0.5f,
                                 MarchingCube_cls::kFlagNormals | MarchingCube_cls::kFlagWeldInBlock |
                                     MarchingCube_cls::kFlagWeldCountOnly);
            mc.OptimizeVerticesFull();
            std::string text;
            mc.GetStrWaveFrontObj(&text, true);
            const std::string path = (demo.dir / StrPrintf("single_%04d.obj", f)).string();
            if (MarchingCube_cls::WriteNewFile(path, text) != 0)
                state.SkipWithError("write failed");
            std::filesystem::remove(path);
            triangles += mc.GetFaceNumberOptFull();
        }
    }
    state.counters["triangles"] = static_cast<double>(triangles);
}
BENCHMARK(BM_FrameByFrame)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

} // namespace

BENCHMARK_MAIN();
