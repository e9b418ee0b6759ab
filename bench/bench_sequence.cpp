// Streaming a 64-frame series of 128^3 DF3 files from disk to "processed" through idle passes
// (release, else fetch; every stage bounded by the 25 ms budget), next to a plain read() of the
// same 64 files. Both read from the page cache (the files were just written). Variants: one 3D
// texture per frame (no axis copies) and 2D stacks (axis copies built as well). Counters: idle
// passes needed and the longest single pass in milliseconds (what the interface would feel).
#include "anim/TimeCtrl_cls.h"
#include "config/PreviewProperty_cls.h"
#include "config/TextFormat.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3_cls.h"
#include "volume/ExportDF3_cls.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

constexpr uint32_t kN = 128;
constexpr int kFrames = 64;

// The series is written once per run into a private temp folder, removed at exit.
struct Series {
    std::filesystem::path dir;
    std::vector<std::string> paths;
    Series()
    {
        dir = std::filesystem::temp_directory_path() / ("tessan_bench_seq_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir);
        std::vector<uint8_t> samples(size_t(kN) * kN * kN);
        uint32_t s = 2024;
        for (int f = 0; f < kFrames; ++f) {
            for (auto& b : samples) {
                s = s * 1664525u + 1013904223u;
                b = uint8_t(s >> 24);
            }
            paths.push_back((dir / StrPrintf("frame_%04d.df3", f)).string());
            ExportDF3_cls::WriteFile(Widen(paths.back()), kN, kN, kN, samples.data(), 1, nullptr);
        }
    }
    ~Series() { std::filesystem::remove_all(dir); }
};

const Series& GetSeries()
{
    static Series series;
    return series;
}

void BM_PlainRead(benchmark::State& state)
{
    const Series& series = GetSeries();
    const size_t size = std::filesystem::file_size(series.paths[0]);
    std::vector<uint8_t> buffer(size);
    size_t total = 0;
    for (auto _ : state) {
        for (const std::string& path : series.paths) {
            const int fd = open(path.c_str(), O_RDONLY);
            size_t done = 0;
            while (done < size) {
                const ssize_t got = read(fd, buffer.data() + done, size - done);
                if (got <= 0)
                    break;
                done += size_t(got);
            }
            close(fd);
            benchmark::DoNotOptimize(buffer.data());
            total += done;
        }
    }
    state.SetBytesProcessed(int64_t(total));
}

void Stream(benchmark::State& state, bool use3D)
{
    const Series& series = GetSeries();
    GetPreviewProperty().SetUse3DTexture(use3D);
    GetPreviewProperty().ReadStrLine(L"PreviewTextureType=0");
    double passes = 0, longest = 0;
    int processed = 0;
    for (auto _ : state) {
        TimeCtrl_cls clock;
        DF3SeqCtrl_cls ctrl(&clock);
        // Limits wide enough for the whole series, so every frame is brought up once.
        ctrl.SetCritMemoryMB(1000, 1000, 1000);
        DF3Sequence_cls& seq = ctrl.GetSequence(0);
        seq.AppendFileSequence(Widen(series.paths[0]), true, 0);
        int n = 0;
        double slowest = 0;
        for (;;) {
            const auto start = std::chrono::steady_clock::now();
            const bool did = ctrl.IdleProcessesRelease(-1, false) || ctrl.IdleProcessesFetch();
            const double ms =
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
            slowest = std::max(slowest, ms);
            if (!did)
                break;
            ++n;
        }
        processed = 0;
        for (int i = 0; i < seq.GetFrameCount(); ++i)
            processed += seq.GetDF3(i)->IsProcessed() ? 1 : 0;
        passes = n;
        longest = std::max(longest, slowest);
    }
    if (processed != kFrames)
        state.SkipWithError("not every frame was processed");
    state.counters["passes"] = passes;
    state.counters["longest_pass_ms"] = longest;
    state.counters["frames"] = processed;
    state.SetBytesProcessed(int64_t(state.iterations()) * kFrames * int64_t(kN) * kN * kN);
}

void BM_Stream3DTexture(benchmark::State& state)
{
    Stream(state, true);
}

void BM_Stream2DStacks(benchmark::State& state)
{
    Stream(state, false);
}

} // namespace

BENCHMARK(BM_PlainRead)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Stream3DTexture)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Stream2DStacks)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
