// tessan-cli convert: read a DF3 file of either width and write it as an 8-bit DF3 file.
#include "cli/CliArgs_cls.h"
#include "cli/CliCommand.h"
#include "config/TextFormat.h"
#include "config/UserPrompt_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/ExportDF3_cls.h"

#include <cstdio>
#include <sstream>

namespace
{

const char kUsage[] = "Usage: tessan-cli convert [OPTION]... IN.df3 OUT.df3\n"
                      "Read a DF3 volume (8- or 16-bit samples) and write it as an 8-bit DF3 file.\n"
                      "16-bit samples keep their high byte. OUT is never overwritten.\n"
                      "\n"
                      "  --downsize FX,FY,FZ  keep every FX-th, FY-th and FZ-th sample along X, Y\n"
                      "                       and Z (nearest sample, no averaging); one number\n"
                      "                       applies to all three axes\n"
                      "  --double AXES        double the size along the listed axes (x, y, z,\n"
                      "                       separated by commas): the data sits in the middle,\n"
                      "                       mirrored into the margin before it along X, and the\n"
                      "                       rest of the margins is filled with 255\n"
                      "  --help               display this help and exit\n"
                      "  --version            output version information and exit\n"
                      "\n"
                      "Exit status: 0 on success, 1 if reading or writing failed (including an\n"
                      "existing OUT), 2 on usage errors.\n";

std::vector<std::string> SplitCommas(const std::string& text)
{
    std::vector<std::string> parts;
    std::stringstream in(text);
    for (std::string part; std::getline(in, part, ',');)
        parts.push_back(part);
    return parts;
}

bool ParseDownSize(const std::string& text, uint32_t factor[3])
{
    std::vector<std::string> parts = SplitCommas(text);
    if (parts.size() == 1)
        parts = {parts[0], parts[0], parts[0]};
    if (parts.size() != 3)
        return false;
    for (int a = 0; a < 3; ++a) {
        const std::string& p = parts[static_cast<size_t>(a)];
        if (p.empty() || p.find_first_not_of("0123456789") != std::string::npos)
            return false;
        const long f = ParseLong(p);
        if (f < 1 || f > 32767)
            return false;
        factor[a] = static_cast<uint32_t>(f);
    }
    return true;
}

bool ParseAxes(const std::string& text, bool axes[3])
{
    for (const std::string& p : SplitCommas(text)) {
        if (p == "x" || p == "X")
            axes[0] = true;
        else if (p == "y" || p == "Y")
            axes[1] = true;
        else if (p == "z" || p == "Z")
            axes[2] = true;
        else
            return false;
    }
    return true;
}

int Usage(const std::string& error)
{
    std::fprintf(stderr, "tessan-cli convert: %s\nTry 'tessan-cli convert --help' for more information.\n",
                 error.c_str());
    return 2;
}

int RunConvert(const std::vector<std::string>& args)
{
    CliArgs_cls parsed(args, {"downsize", "double"}, {});
    if (!parsed.Error().empty())
        return Usage(parsed.Error());
    if (parsed.Operands().size() != 2)
        return Usage(parsed.Operands().size() < 2 ? "missing operand" : "too many operands");
    uint32_t factor[3] = {1, 1, 1};
    bool axes[3] = {false, false, false};
    if (auto v = parsed.Value("downsize"); v && !ParseDownSize(*v, factor))
        return Usage("invalid --downsize '" + *v + "' (expected FX,FY,FZ with positive integers)");
    if (auto v = parsed.Value("double"); v && !ParseAxes(*v, axes))
        return Usage("invalid --double '" + *v + "' (expected axes among x,y,z)");
    const std::string& in = parsed.Operands()[0];
    const std::string& out = parsed.Operands()[1];

    UserPrompt_cls* prompt = GetUserPrompt();
    // Checked before reading, so a large input is not read for nothing; the writer checks again.
    if (ExportDF3_cls::RefuseExisting(Widen(out), prompt))
        return 1;
    DF3Sequence_cls seq;
    for (int a = 0; a < 3; ++a)
        seq.SetDownSizeSRC(a, factor[a]);
    DF3_cls frame(&seq);
    frame.SetFilePath(Widen(in));
    if (!frame.ReadHeader(prompt) || !frame.Allocate() || !frame.ReadBodyIfNotFinished(true, prompt))
        return 1;
    if (!frame.ExportDF3(Widen(out), axes))
        return 1;
    std::fflush(stdout);
    std::printf("%s (%u x %u x %u, %d-bit) -> %s (%u x %u x %u, 8-bit)\n", in.c_str(), frame.GetTrueSize(0),
                frame.GetTrueSize(1), frame.GetTrueSize(2), frame.GetReadBodyDF3().GetSampleBits(), out.c_str(),
                frame.GetCurrSize(0) * (axes[0] ? 2 : 1), frame.GetCurrSize(1) * (axes[1] ? 2 : 1),
                frame.GetCurrSize(2) * (axes[2] ? 2 : 1));
    return 0;
}

} // namespace

TESSAN_CLI_COMMAND(convert, "convert", "convert a DF3 file to 8 bits, optionally down-sized or with doubled axes",
                   kUsage, RunConvert);
