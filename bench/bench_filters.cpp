// Voxel filters on a 256^3 volume: byte and float Gaussian blur (variance 4, 11 taps), dilation
// and erosion with a radius-3 ball, level and gamma, and a plain copy of the volume for scale.
//
// The volume is generated (smooth blobs plus noise) unless TESSAN_BENCH_VOLUME names a raw
// 256^3 byte file, so that bench/compare_filters.py can time its peers on the very same data.
// With TESSAN_BENCH_OUTPUT_DIR set, each filter's result is also written there as raw bytes.
// Workers: "ThreadNumFilter=" as on the machine (the number of cores).
#include "config/Preference_cls.h"
#include "filter/BlurGauss_cls.h"
#include "filter/LevelAndGamma_cls.h"
#include "filter/MorphOpenClose_cls.h"
#include "filter/SimdLevel.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr unsigned kSide = 256;
const unsigned int kSizes[3] = {kSide, kSide, kSide};
constexpr size_t kCount = size_t{kSide} * kSide * kSide;

std::vector<unsigned char> MakeVolume()
{
    std::vector<unsigned char> v(kCount);
    if (const char* path = std::getenv("TESSAN_BENCH_VOLUME")) {
        FILE* f = std::fopen(path, "rb");
        if (f && std::fread(v.data(), 1, kCount, f) == kCount) {
            std::fclose(f);
            return v;
        }
        std::fprintf(stderr, "bench_filters: cannot read %zu bytes from %s; using a generated volume\n", kCount, path);
        if (f)
            std::fclose(f);
    }
    std::mt19937 rng(12345);
    size_t i = 0;
    for (unsigned z = 0; z < kSide; ++z)
        for (unsigned y = 0; y < kSide; ++y)
            for (unsigned x = 0; x < kSide; ++x, ++i) {
                double s = 0.5 + 0.25 * std::sin(x * 0.05) * std::cos(y * 0.07) + 0.2 * std::sin(z * 0.03);
                int n = static_cast<int>(rng() % 41) - 20;
                int val = static_cast<int>(s * 230.0) + n;
                v[i] = static_cast<unsigned char>(val < 0 ? 0 : (val > 255 ? 255 : val));
            }
    return v;
}

const std::vector<unsigned char>& Volume()
{
    static const std::vector<unsigned char> sVolume = MakeVolume();
    return sVolume;
}

std::vector<unsigned char>& Output()
{
    static std::vector<unsigned char> sOut(kCount, 1); // touched, so no page faults are timed
    return sOut;
}

void SetMorph(MorphOpenClose_cls& m, int type)
{
    m.GetData().miType.Set(type);
    m.GetData().miKernelType.Set(0);
    m.GetData().miKernelSize.Set(3);
}

void SetLevel(LevelAndGamma_cls& f)
{
    f.SetParam(LevelAndGamma_cls::InMin, 0.1);
    f.SetParam(LevelAndGamma_cls::InMax, 0.85);
    f.SetParam(LevelAndGamma_cls::Gamma, 0.7);
    f.SetParam(LevelAndGamma_cls::Offset, 0.05);
}

/// Arg: 0 scalar, 1 SSE4.1, 2 AVX2 (capped at what the processor has).
void BM_BlurByte(benchmark::State& state)
{
    SetSimdLevelLimit(static_cast<SimdLevel>(state.range(0)));
    BlurGauss_cls blur;
    blur.GetData().mfKernelSize.Set(4.0f);
    for (auto _ : state)
        blur.ProcessXYZData(Output().data(), Volume().data(), kSizes, kCount, false);
    SetSimdLevelLimit(SimdLevel::Avx512Vbmi);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kCount));
}
BENCHMARK(BM_BlurByte)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_BlurFloat(benchmark::State& state)
{
    BlurGauss_cls blur;
    blur.GetData().mfKernelSize.Set(4.0f);
    for (auto _ : state)
        blur.ProcessXYZData(Output().data(), Volume().data(), kSizes, kCount, true);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kCount));
}
BENCHMARK(BM_BlurFloat)->Unit(benchmark::kMillisecond)->UseRealTime();

/// Arg: 0 scalar, 2 AVX2 byte max (capped at what the processor has).
void BM_DilationBall3(benchmark::State& state)
{
    SetSimdLevelLimit(static_cast<SimdLevel>(state.range(0)));
    MorphOpenClose_cls m;
    SetMorph(m, 0);
    for (auto _ : state)
        m.ProcessXYZData(Output().data(), Volume().data(), kSizes);
    SetSimdLevelLimit(SimdLevel::Avx512Vbmi);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kCount));
}
BENCHMARK(BM_DilationBall3)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ErosionBall3(benchmark::State& state)
{
    MorphOpenClose_cls m;
    SetMorph(m, 1);
    for (auto _ : state)
        m.ProcessXYZData(Output().data(), Volume().data(), kSizes);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kCount));
}
BENCHMARK(BM_ErosionBall3)->Unit(benchmark::kMillisecond)->UseRealTime();

/// Arg: 0 scalar, 2 AVX2, 3 AVX-512 VBMI (capped at what the processor has).
void BM_LevelAndGamma(benchmark::State& state)
{
    SetSimdLevelLimit(static_cast<SimdLevel>(state.range(0)));
    LevelAndGamma_cls f;
    SetLevel(f);
    for (auto _ : state)
        f.ProcessXYZData(Output().data(), Volume().data(), kSizes);
    SetSimdLevelLimit(SimdLevel::Avx512Vbmi);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kCount));
}
BENCHMARK(BM_LevelAndGamma)->Arg(0)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond)->UseRealTime();

/// The same lookup on the calling thread alone ("ThreadNumFilter=" 1): compared with the
/// single-threaded copy below, it is the figure least disturbed by other load on the machine.
void BM_LevelAndGammaOneThread(benchmark::State& state)
{
    int old = GetPreference().GetThreadNumFilter();
    GetPreference().SetThreadNumFilter(1);
    LevelAndGamma_cls f;
    SetLevel(f);
    for (auto _ : state)
        f.ProcessXYZData(Output().data(), Volume().data(), kSizes);
    GetPreference().SetThreadNumFilter(old);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kCount));
}
BENCHMARK(BM_LevelAndGammaOneThread)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Memcpy(benchmark::State& state)
{
    for (auto _ : state) {
        std::memcpy(Output().data(), Volume().data(), kCount);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kCount));
}
BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond)->UseRealTime();

void WriteOutputs(const std::string& dir)
{
    auto save = [&](const char* name) {
        std::string path = dir + "/" + name;
        FILE* f = std::fopen(path.c_str(), "wb");
        if (!f || std::fwrite(Output().data(), 1, kCount, f) != kCount)
            std::fprintf(stderr, "bench_filters: cannot write %s\n", path.c_str());
        if (f)
            std::fclose(f);
    };
    BlurGauss_cls blur;
    blur.GetData().mfKernelSize.Set(4.0f);
    blur.ProcessXYZData(Output().data(), Volume().data(), kSizes, kCount, false);
    save("blur_byte.raw");
    MorphOpenClose_cls m;
    SetMorph(m, 0);
    m.ProcessXYZData(Output().data(), Volume().data(), kSizes);
    save("dilation.raw");
    SetMorph(m, 1);
    m.ProcessXYZData(Output().data(), Volume().data(), kSizes);
    save("erosion.raw");
    LevelAndGamma_cls level;
    SetLevel(level);
    level.ProcessXYZData(Output().data(), Volume().data(), kSizes);
    save("level.raw");
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    Volume();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (const char* dir = std::getenv("TESSAN_BENCH_OUTPUT_DIR"))
        WriteOutputs(dir);
    return 0;
}
