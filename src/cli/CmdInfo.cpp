// tessan-cli info: sizes, sample width and density statistics of volume files.
#include "cli/CliArgs_cls.h"
#include "cli/CliCommand.h"
#include "cli/CliVolume_cls.h"
#include "config/TextFormat.h"
#include "config/UserPrompt_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace
{

const char kUsage[] = "Usage: tessan-cli info FILE...\n"
                      "Print the sizes, sample width and density statistics of volume files: DF3\n"
                      "files, image stacks (FILE is one slice: .png .tif .tiff .jpg .jpeg .bmp) and\n"
                      "text volumes (.txt .dat .vol), each read as 'tessan-cli convert' reads it.\n"
                      "\n"
                      "For each FILE the report gives the X, Y and Z sizes, the samples (for DF3\n"
                      "files the width found from the file size, 8 or 16 bit; for image stacks the\n"
                      "width and kind of the first slice, and a line naming the slices; for text\n"
                      "volumes the range of the values), the smallest, largest and mean\n"
                      "density (16-bit samples counted by their high byte, as they are loaded),\n"
                      "and a histogram of the 256 densities in 64 columns of four, log-scaled so\n"
                      "that sparse densities still show.\n"
                      "\n"
                      "A file that cannot be read is reported on standard error; the other files\n"
                      "are still reported.\n"
                      "\n"
                      "  --help     display this help and exit\n"
                      "  --version  output version information and exit\n"
                      "\n"
                      "Exit status: 0 if every file was read, 1 if any could not be, 2 on usage errors.\n";

// One line of block characters, one per four densities; height by log(1 + count).
std::string Sparkline(const LevelMap_cls& map)
{
    static const char* const kBlocks[9] = {" ",      "\u2581", "\u2582", "\u2583", "\u2584",
                                           "\u2585", "\u2586", "\u2587", "\u2588"};
    uint64_t column[64] = {};
    uint64_t top = 0;
    for (int d = 0; d < 256; ++d)
        column[d / 4] += map.GetCount(d);
    for (uint64_t c : column)
        top = std::max(top, c);
    std::string line;
    for (uint64_t c : column) {
        int level = 0;
        if (c > 0) {
            const double h = std::log1p(static_cast<double>(c)) / std::log1p(static_cast<double>(top));
            level = std::clamp(static_cast<int>(std::ceil(h * 8.0)), 1, 8);
        }
        line += kBlocks[level];
    }
    return line;
}

int RunInfo(const std::vector<std::string>& args)
{
    CliArgs_cls parsed(args, {}, {});
    if (!parsed.Error().empty() || parsed.Operands().empty()) {
        std::fprintf(stderr, "tessan-cli info: %s\nTry 'tessan-cli info --help' for more information.\n",
                     parsed.Error().empty() ? "missing FILE operand" : parsed.Error().c_str());
        return 2;
    }
    int status = 0;
    for (const std::string& path : parsed.Operands()) {
        DF3Sequence_cls seq;
        DF3_cls frame(&seq);
        UserPrompt_cls* prompt = GetUserPrompt();
        CliVolume_cls::SetSource(frame, path);
        if (!frame.ReadHeader(prompt) || !frame.Allocate() || !frame.ReadBodyIfNotFinished(true, prompt)) {
            status = 1;
            continue;
        }
        const LevelMap_cls* map = frame.GetLevelMap();
        std::fflush(stdout); // after any trace lines of the reader
        std::printf("%s\n", path.c_str());
        std::printf("  size:      %u x %u x %u\n", frame.GetCurrSize(0), frame.GetCurrSize(1), frame.GetCurrSize(2));
        std::printf("  samples:   %s\n", CliVolume_cls::Samples(frame).c_str());
        if (const std::string slices = CliVolume_cls::Slices(frame); !slices.empty())
            std::printf("  slices:    %s\n", slices.c_str());
        if (map) {
            std::printf("  min:       %d\n", map->GetMin());
            std::printf("  max:       %d\n", map->GetMax());
            std::printf("%s", StrPrintf("  mean:      %.3f\n", map->GetMean()).c_str());
            std::printf("  histogram: |%s|\n", Sparkline(*map).c_str());
        }
    }
    return status;
}

} // namespace

TESSAN_CLI_COMMAND(info, "info", "print sizes, sample width and density statistics of volume files", kUsage, RunInfo);
