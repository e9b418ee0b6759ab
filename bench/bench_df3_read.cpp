// Reading 256^3 DF3 files completely (noInterrupt) next to a plain read() of the same file from
// the page cache, for 8-bit and 16-bit samples; plus the density histogram computed on first use.
// The 16-bit reader traces its blocks on stdout: run with stdout redirected and the figures
// written through --benchmark_out.
#include "config/TextFormat.h"
#include "volume/DF3_cls.h"
#include "volume/ExportDF3_cls.h"
#include "volume/LevelMap_cls.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

constexpr uint32_t kN = 256;

// Writes the two files once per run into a private temp folder, removed at exit.
struct Files {
    std::filesystem::path dir;
    std::string path8, path16;
    Files()
    {
        dir = std::filesystem::temp_directory_path() / ("tessan_bench_df3_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir);
        path8 = (dir / "v8.df3").string();
        path16 = (dir / "v16.df3").string();
        std::vector<uint8_t> samples(size_t(kN) * kN * kN * 2);
        uint32_t s = 12345;
        for (auto& b : samples) {
            s = s * 1664525u + 1013904223u;
            b = uint8_t(s >> 24);
        }
        ExportDF3_cls::WriteFile(Widen(path8), kN, kN, kN, samples.data(), 1, nullptr);
        ExportDF3_cls::WriteFile(Widen(path16), kN, kN, kN, samples.data(), 2, nullptr);
    }
    ~Files() { std::filesystem::remove_all(dir); }
};

const Files& GetFiles()
{
    static Files files;
    return files;
}

void PlainRead(benchmark::State& state, const std::string& path)
{
    const auto size = std::filesystem::file_size(path);
    std::vector<uint8_t> buffer(size);
    for (auto _ : state) {
        int fd = open(path.c_str(), O_RDONLY);
        size_t done = 0;
        while (done < size) {
            ssize_t got = read(fd, buffer.data() + done, size - done);
            if (got <= 0)
                break;
            done += size_t(got);
        }
        close(fd);
        benchmark::DoNotOptimize(buffer.data());
        if (done != size)
            state.SkipWithError("short read");
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(size));
}

// The way a sequence reads the next file of the same size: FakeRelease keeps the buffers.
void FrameRead(benchmark::State& state, const std::string& path)
{
    const auto size = std::filesystem::file_size(path);
    DF3_cls frame(nullptr);
    frame.SetFilePath(Widen(path));
    for (auto _ : state) {
        frame.FakeRelease();
        if (!frame.ReadHeader(nullptr) || !frame.Allocate() || !frame.ReadBodyIfNotFinished(true, nullptr)) {
            state.SkipWithError("read failed");
            break;
        }
        benchmark::DoNotOptimize(frame.GetXYZData());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(size));
}

// Both reads in every iteration, in alternating order, so that both see the same load from other
// processes on a shared machine; reports the medians of the two times and of their ratio.
void Ratio(benchmark::State& state, const std::string& path)
{
    const auto size = std::filesystem::file_size(path);
    std::vector<uint8_t> buffer(size);
    DF3_cls frame(nullptr);
    frame.SetFilePath(Widen(path));
    std::vector<double> plainMs, frameMs, ratio;
    auto plain = [&] {
        int fd = open(path.c_str(), O_RDONLY);
        size_t done = 0;
        while (done < size) {
            ssize_t got = read(fd, buffer.data() + done, size - done);
            if (got <= 0)
                break;
            done += size_t(got);
        }
        close(fd);
        benchmark::DoNotOptimize(buffer.data());
    };
    auto df3 = [&] {
        frame.FakeRelease();
        if (!frame.ReadHeader(nullptr) || !frame.Allocate() || !frame.ReadBodyIfNotFinished(true, nullptr))
            state.SkipWithError("read failed");
        benchmark::DoNotOptimize(frame.GetXYZData());
    };
    using Clock = std::chrono::steady_clock;
    auto ms = [](Clock::time_point a, Clock::time_point b) {
        return std::chrono::duration<double, std::milli>(b - a).count();
    };
    bool plainFirst = true;
    for (auto _ : state) {
        const auto t0 = Clock::now();
        plainFirst ? plain() : df3();
        const auto t1 = Clock::now();
        plainFirst ? df3() : plain();
        const auto t2 = Clock::now();
        const double p = plainFirst ? ms(t0, t1) : ms(t1, t2), d = plainFirst ? ms(t1, t2) : ms(t0, t1);
        plainMs.push_back(p);
        frameMs.push_back(d);
        ratio.push_back(d / p);
        plainFirst = !plainFirst;
    }
    auto median = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v.empty() ? 0.0 : v[v.size() / 2];
    };
    state.counters["plain_ms"] = median(plainMs);
    state.counters["df3_ms"] = median(frameMs);
    state.counters["ratio"] = median(ratio);
}

void BM_Ratio8bit(benchmark::State& state)
{
    Ratio(state, GetFiles().path8);
}
void BM_Ratio16bit(benchmark::State& state)
{
    Ratio(state, GetFiles().path16);
}

void BM_PlainRead8bit(benchmark::State& state)
{
    PlainRead(state, GetFiles().path8);
}
void BM_DF3Read8bit(benchmark::State& state)
{
    FrameRead(state, GetFiles().path8);
}
void BM_PlainRead16bit(benchmark::State& state)
{
    PlainRead(state, GetFiles().path16);
}
void BM_DF3Read16bit(benchmark::State& state)
{
    FrameRead(state, GetFiles().path16);
}

void BM_LevelMap(benchmark::State& state)
{
    std::vector<uint8_t> data(size_t(kN) * kN * kN);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = uint8_t((i * 2654435761u) >> 13);
    LevelMap_cls map;
    for (auto _ : state) {
        map.Compute(data.data(), data.size());
        benchmark::DoNotOptimize(map.GetMean());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
}

} // namespace

BENCHMARK(BM_PlainRead8bit)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_DF3Read8bit)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_PlainRead16bit)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_DF3Read16bit)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_Ratio8bit)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Ratio16bit)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_LevelMap)->Unit(benchmark::kMillisecond)->MinTime(1.0);

BENCHMARK_MAIN();
