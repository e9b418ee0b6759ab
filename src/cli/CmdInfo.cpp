// tessan-cli info: sizes, sample width and density statistics of volume files.
#include "cli/CliArgs_cls.h"
#include "cli/CliCommand.h"
#include "cli/CliVolume_cls.h"
#include "config/TextFormat.h"
#include "config/UserPrompt_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/ImageStackSeries_cls.h"
#include "volume/SourceFormat_cls.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace
{

const char kUsage[] = "Usage: tessan-cli info [--series] FILE...\n"
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
                      "With --series, each FILE stands for the whole time series it belongs to, as\n"
                      "the window loads it into a data slot: a numbered series of DF3 or text\n"
                      "files, or a time series of image stacks (one numbered folder per time point,\n"
                      "such as t000/img_000.png, or time and slice in the name, such as\n"
                      "cell_t000_z000.png, or one multi-page TIFF file per time point). The report\n"
                      "names the series and its layout, then gives the report above for each frame\n"
                      "(headed \"frame N:\").\n"
                      "\n"
                      "  --series   report every frame of the time series FILE belongs to\n"
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

// Reads one frame completely and prints its report, indented by `indent`; false when unreadable.
bool ReportFrame(DF3_cls& frame, const std::string& title, const std::string& indent)
{
    UserPrompt_cls* prompt = GetUserPrompt();
    if (!frame.ReadHeader(prompt) || !frame.Allocate() || !frame.ReadBodyIfNotFinished(true, prompt))
        return false;
    const LevelMap_cls* map = frame.GetLevelMap();
    std::fflush(stdout); // after any trace lines of the reader
    std::printf("%s%s\n", indent.substr(2).c_str(), title.c_str());
    std::printf("%ssize:      %u x %u x %u\n", indent.c_str(), frame.GetCurrSize(0), frame.GetCurrSize(1),
                frame.GetCurrSize(2));
    std::printf("%ssamples:   %s\n", indent.c_str(), CliVolume_cls::Samples(frame).c_str());
    if (const std::string slices = CliVolume_cls::Slices(frame); !slices.empty())
        std::printf("%sslices:    %s\n", indent.c_str(), slices.c_str());
    if (map) {
        std::printf("%smin:       %d\n", indent.c_str(), map->GetMin());
        std::printf("%smax:       %d\n", indent.c_str(), map->GetMax());
        std::printf("%s", StrPrintf("%smean:      %.3f\n", indent.c_str(), map->GetMean()).c_str());
        std::printf("%shistogram: |%s|\n", indent.c_str(), Sparkline(*map).c_str());
    }
    return true;
}

// Every frame of the series `path` belongs to, loaded as a data slot loads it.
bool ReportSeries(const std::string& path)
{
    const std::wstring wpath = Widen(path);
    if (SourceFormat_cls::FromPath(wpath) == DF3_cls::FORMAT_IMGSEQ && ImageStackSeries_cls::Find(wpath).empty()) {
        std::fprintf(stderr, "tessan-cli info: %s: no such file\n", path.c_str());
        return false;
    }
    DF3Sequence_cls seq;
    seq.AppendFileSequence(wpath, true, DF3Sequence_cls::kAppendAtEnd);
    std::string layout = "numbered files";
    if (SourceFormat_cls::FromPath(wpath) == DF3_cls::FORMAT_IMGSEQ) {
        ImageStackSeries_cls::Layout found;
        ImageStackSeries_cls::Find(wpath, &found);
        layout = std::string("image stacks, ") + ImageStackSeries_cls::LayoutName(found);
    }
    std::printf("%s\n", path.c_str());
    std::printf("  series:    %d frame%s (%s)\n", seq.GetFrameCount(), seq.GetFrameCount() == 1 ? "" : "s",
                layout.c_str());
    bool ok = true;
    for (int i = 0; i < seq.GetFrameCount(); ++i) {
        DF3_cls* frame = seq.GetDF3(i);
        if (!ReportFrame(*frame, StrPrintf("frame %d: %s", i, Narrow(frame->GetFilePath()).c_str()), "    "))
            ok = false;
        frame->Release(); // one frame in memory at a time, whatever the length of the series
    }
    return ok;
}

int RunInfo(const std::vector<std::string>& args)
{
    CliArgs_cls parsed(args, {}, {"series"});
    if (!parsed.Error().empty() || parsed.Operands().empty()) {
        return CliUsageError("info", parsed.Error().empty() ? "missing FILE operand" : parsed.Error());
    }
    int status = 0;
    for (const std::string& path : parsed.Operands()) {
        if (parsed.Has("series")) {
            if (!ReportSeries(path))
                status = 1;
            continue;
        }
        DF3Sequence_cls seq;
        DF3_cls frame(&seq);
        CliVolume_cls::SetSource(frame, path);
        if (!ReportFrame(frame, path, "  "))
            status = 1;
    }
    return status;
}

} // namespace

TESSAN_CLI_COMMAND(info, "info", "print sizes, sample width and density statistics of volume files", kUsage, RunInfo);
