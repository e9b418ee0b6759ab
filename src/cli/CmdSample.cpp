// tessan-cli sample: write the bundled demo data.
#include "cli/CliArgs_cls.h"
#include "cli/CliCommand.h"
#include "config/UserPrompt_cls.h"
#include "volume/DemoVolume_cls.h"

#include <cstdio>

namespace
{

const char kUsage[] = "Usage: tessan-cli sample DIR\n"
                      "Write the demo data into DIR (created when missing):\n"
                      "  demo_0000.df3 ... demo_0023.df3  a looping time series of 24 frames,\n"
                      "                                   128 x 128 x 128, 8-bit: three blobs\n"
                      "                                   orbiting inside a pulsing shell\n"
                      "  demo16.df3                       the first frame with 16-bit samples\n"
                      "The files are the same, byte for byte, on every machine. Nothing is\n"
                      "written when any of them exists already.\n"
                      "\n"
                      "  --help     display this help and exit\n"
                      "  --version  output version information and exit\n"
                      "\n"
                      "Exit status: 0 on success, 1 if a file exists or cannot be written,\n"
                      "2 on usage errors.\n";

int RunSample(const std::vector<std::string>& args)
{
    CliArgs_cls parsed(args, {}, {});
    if (!parsed.Error().empty() || parsed.Operands().size() != 1) {
        return CliUsageError("sample", !parsed.Error().empty()     ? parsed.Error()
                                       : parsed.Operands().empty() ? "missing DIR operand"
                                                                   : "too many operands");
    }
    const std::string& dir = parsed.Operands()[0];
    if (!DemoVolume_cls::WriteDemoSet(dir, GetUserPrompt()))
        return 1;
    std::printf("wrote %d frames demo_0000.df3 ... demo_%04d.df3 and demo16.df3 into %s\n", DemoVolume_cls::kFrames,
                DemoVolume_cls::kFrames - 1, dir.c_str());
    return 0;
}

} // namespace

TESSAN_CLI_COMMAND(sample, "sample", "write the demo volume series", kUsage, RunSample);
