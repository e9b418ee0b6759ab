// Image stacks and text volumes: reading a 256-slice PNG stack and a 256-page 16-bit TIFF file of
// 256 x 256 pixels into a frame, writing a frame as 256 PNG slices, and reading a 128^3 text
// volume. The volume is smooth with some noise, compressing roughly like CT data.
#include "config/TextFormat.h"
#include "volume/DF3_cls.h"
#include "volume/ExportIMGSeq_cls.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <tiffio.h>
#include <unistd.h>
#include <vector>

namespace
{

constexpr uint32_t kN = 256, kText = 128;

uint8_t Density(uint32_t x, uint32_t y, uint32_t z, uint32_t& noise)
{
    noise = noise * 1664525u + 1013904223u;
    const double r = std::sqrt(double(x) * x + double(y) * y + double(z) * z);
    return uint8_t(std::clamp(128.0 + 100.0 * std::sin(r / 9.0) + double(noise >> 28), 0.0, 255.0));
}

// Writes the inputs once per run into a private temp folder, removed at exit.
struct Files {
    std::filesystem::path dir;
    std::string png, tiff, text;
    std::vector<uint8_t> voxels;
    Files()
    {
        dir = std::filesystem::temp_directory_path() / ("tessan_bench_imgstack_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir / "png");
        voxels.resize(size_t(kN) * kN * kN);
        uint32_t noise = 7;
        for (uint32_t z = 0, i = 0; z < kN; ++z)
            for (uint32_t y = 0; y < kN; ++y)
                for (uint32_t x = 0; x < kN; ++x)
                    voxels[i++] = Density(x, y, z, noise);
        std::wstring error;
        for (uint32_t z = 0; z < kN; ++z)
            ExportIMGSeq_cls::WritePng(Widen((dir / "png" / StrPrintf("s_%04u.png", z)).string()),
                                       voxels.data() + size_t(z) * kN * kN, kN, kN, error);
        png = (dir / "png" / "s_0000.png").string();

        tiff = (dir / "multi.tif").string();
        TIFF* tif = TIFFOpen(tiff.c_str(), "w");
        std::vector<uint16_t> row(kN);
        for (uint32_t z = 0; z < kN; ++z) {
            TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, kN);
            TIFFSetField(tif, TIFFTAG_IMAGELENGTH, kN);
            TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 16);
            TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
            TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
            TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
            TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 16);
            for (uint32_t y = 0; y < kN; ++y) {
                for (uint32_t x = 0; x < kN; ++x)
                    row[x] = uint16_t(voxels[(size_t(z) * kN + y) * kN + x] * 257);
                TIFFWriteScanline(tif, row.data(), y, 0);
            }
            TIFFWriteDirectory(tif);
        }
        TIFFClose(tif);

        text = (dir / "grid.txt").string();
        FILE* f = std::fopen(text.c_str(), "w");
        std::fprintf(f, "%u %u %u\n", kText, kText, kText);
        for (uint32_t z = 0; z < kText; ++z)
            for (uint32_t y = 0; y < kText; ++y) {
                for (uint32_t x = 0; x < kText; ++x)
                    std::fprintf(f, "%.3f ", voxels[(size_t(z) * kN + y) * kN + x] / 10.0);
                std::fputc('\n', f);
            }
        std::fclose(f);
    }
    ~Files() { std::filesystem::remove_all(dir); }
};

const Files& GetFiles()
{
    static Files files;
    return files;
}

void ReadFrame(benchmark::State& state, const std::string& path, int format, uint64_t voxels)
{
    DF3_cls frame(nullptr);
    frame.SetFilePath(Widen(path), L"", format);
    for (auto _ : state) {
        frame.FakeRelease();
        if (!frame.ReadHeader(nullptr) || !frame.Allocate() || !frame.ReadBodyIfNotFinished(true, nullptr)) {
            state.SkipWithError("read failed");
            break;
        }
        benchmark::DoNotOptimize(frame.GetXYZData());
    }
    // Bytes = voxels in memory, so the figures of the formats compare directly.
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(voxels));
}

void BM_ReadPngStack(benchmark::State& state)
{
    ReadFrame(state, GetFiles().png, DF3_cls::FORMAT_IMGSEQ, uint64_t(kN) * kN * kN);
}

void BM_ReadMultiPageTiff16(benchmark::State& state)
{
    ReadFrame(state, GetFiles().tiff, DF3_cls::FORMAT_IMGSEQ, uint64_t(kN) * kN * kN);
}

void BM_ReadTextVolume(benchmark::State& state)
{
    ReadFrame(state, GetFiles().text, DF3_cls::FORMAT_TXT, uint64_t(kText) * kText * kText);
}

void BM_ExportPngSlices(benchmark::State& state)
{
    DF3_cls frame(nullptr);
    frame.SetFilePath(Widen(GetFiles().png), L"", DF3_cls::FORMAT_IMGSEQ);
    if (!frame.ReadHeader(nullptr) || !frame.Allocate() || !frame.ReadBodyIfNotFinished(true, nullptr)) {
        state.SkipWithError("read failed");
        return;
    }
    const std::filesystem::path out = GetFiles().dir / "out";
    ExportIMGSeq_cls::Settings settings;
    settings.strPattern = Widen(out.string() + "/");
    for (auto _ : state) {
        state.PauseTiming();
        std::filesystem::remove_all(out);
        state.ResumeTiming();
        if (!frame.ExportIMGSeq(settings, nullptr)) {
            state.SkipWithError("export failed");
            break;
        }
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kN) * kN * kN);
}

} // namespace

BENCHMARK(BM_ReadPngStack)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ReadMultiPageTiff16)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ExportPngSlices)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ReadTextVolume)->Unit(benchmark::kMillisecond)->MinTime(2.0);

BENCHMARK_MAIN();
