// The filter chain and the filters added with it on a 256^3 volume: density curve, inverse
// diffusion (one and three steps), rotation by 30 degrees, and a chain of blur + level + volume
// item against the same two filters called directly (the chain's own cost: the work buffers
// and the volume-next rule). Workers: "ThreadNumFilter=" as on the machine.
#include "filter/BlurGauss_cls.h"
#include "filter/DataRotate_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/InvDiffuse_cls.h"
#include "filter/LayerColorCurve_cls.h"
#include "filter/LevelAndGamma_cls.h"
#include "filter/PovVolume_cls.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace
{

constexpr unsigned kSide = 256;
const unsigned int kSizes[3] = {kSide, kSide, kSide};
constexpr size_t kCount = size_t{kSide} * kSide * kSide;

const std::vector<unsigned char>& Volume()
{
    static const std::vector<unsigned char> sVolume = [] {
        std::vector<unsigned char> v(kCount);
        std::mt19937 rng(12345);
        size_t i = 0;
        for (unsigned z = 0; z < kSide; ++z)
            for (unsigned y = 0; y < kSide; ++y)
                for (unsigned x = 0; x < kSide; ++x, ++i) {
                    double s = 0.5 + 0.25 * std::sin(x * 0.05) * std::cos(y * 0.07) + 0.2 * std::sin(z * 0.03);
                    int val = static_cast<int>(s * 230.0) + static_cast<int>(rng() % 41) - 20;
                    v[i] = static_cast<unsigned char>(val < 0 ? 0 : (val > 255 ? 255 : val));
                }
        return v;
    }();
    return sVolume;
}

std::vector<unsigned char>& Output()
{
    static std::vector<unsigned char> sOut(kCount, 1);
    return sOut;
}

template <typename F> void RunFilter(benchmark::State& state, F& filter)
{
    for (auto _ : state) {
        filter.ProcessXYZData(Output().data(), Volume().data(), kSizes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kCount));
}

void BM_DensityCurve(benchmark::State& state)
{
    LayerColorCurve_cls f;
    f.SetPoints({{0.0, 0.0}, {0.3, 0.6}, {0.7, 0.8}, {1.0, 1.0}});
    RunFilter(state, f);
}
BENCHMARK(BM_DensityCurve)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_InvDiffuse(benchmark::State& state)
{
    InvDiffuse_cls f;
    f.GetData().miStep.Set(static_cast<int>(state.range(0)));
    RunFilter(state, f);
}
BENCHMARK(BM_InvDiffuse)->Arg(1)->Arg(3)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_DataRotate30(benchmark::State& state)
{
    DataRotate_cls f;
    f.GetParameters().ProcClearKey({30.0});
    f.UpdateParameters(0.0);
    RunFilter(state, f);
}
BENCHMARK(BM_DataRotate30)->Unit(benchmark::kMillisecond)->UseRealTime();

std::unique_ptr<BlurGauss_cls> Blur()
{
    auto b = std::make_unique<BlurGauss_cls>();
    b->GetData().mfKernelSize.Set(4.0f);
    return b;
}

std::unique_ptr<LevelAndGamma_cls> Level()
{
    auto l = std::make_unique<LevelAndGamma_cls>();
    l->GetParameters().ProcClearKey({0.1, 0.85, 0.0, 1.0, 0.7, 0.05});
    l->UpdateParameters(0.0);
    return l;
}

void BM_ChainBlurLevelVolume(benchmark::State& state)
{
    FilterCtrl_cls chain;
    chain.AddToList(-1, Blur());
    chain.AddToList(-1, Level());
    chain.AddToList(-1, std::make_unique<PovVolume_cls>());
    for (auto _ : state) {
        chain.ProcessXYZData(Output().data(), Volume().data(), kSizes, false, 0.0f, nullptr);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kCount));
}
BENCHMARK(BM_ChainBlurLevelVolume)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_DirectBlurLevel(benchmark::State& state)
{
    auto blur = Blur();
    auto level = Level();
    std::vector<unsigned char> mid(kCount, 1);
    for (auto _ : state) {
        blur->ProcessXYZData(mid.data(), Volume().data(), kSizes, kCount, false);
        level->ProcessXYZData(Output().data(), mid.data(), kSizes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kCount));
}
BENCHMARK(BM_DirectBlurLevel)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    Volume(); // generated before timing starts
    Output();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
