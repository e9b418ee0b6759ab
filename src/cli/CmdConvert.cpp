// tessan-cli convert: read a volume (DF3 file, image stack or text volume) and write it as an
// 8-bit DF3 file or as PNG slices.
#include "cli/CliArgs_cls.h"
#include "cli/CliCommand.h"
#include "cli/CliVolume_cls.h"
#include "config/TextFormat.h"
#include "config/UserPrompt_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/ExportDF3_cls.h"
#include "volume/SourceFormat_cls.h"

#include <cstdio>
#include <sstream>

namespace
{

const char kUsage[] = "Usage: tessan-cli convert [OPTION]... IN OUT.df3\n"
                      "  or:  tessan-cli convert [OPTION]... --slices AXIS IN OUT\n"
                      "Read a volume and write it as an 8-bit DF3 file, or as numbered 8-bit grey\n"
                      "PNG slices across AXIS. 16-bit samples keep their high byte. Nothing that\n"
                      "exists is ever overwritten.\n"
                      "\n"
                      "IN is read by its extension:\n"
                      "  .png .tif .tiff .jpg .jpeg .bmp  one slice of an image stack: every file\n"
                      "                       with the same prefix, digit count and extension, in\n"
                      "                       numeric order, is one z slice (a multi-page TIFF\n"
                      "                       file is a stack of its own); colour becomes luma\n"
                      "  .txt .dat .vol       a text volume: a line \"X Y Z\", then X*Y*Z numbers,\n"
                      "                       x fastest, scaled from their range to 0..255\n"
                      "  anything else        a DF3 file (8- or 16-bit samples)\n"
                      "\n"
                      "  --downsize FX,FY,FZ  keep every FX-th, FY-th and FZ-th sample along X, Y\n"
                      "                       and Z (nearest sample, no averaging); one number\n"
                      "                       applies to all three axes\n"
                      "  --double AXES        double the size along the listed axes (x, y, z,\n"
                      "                       separated by commas): the data sits in the middle,\n"
                      "                       mirrored into the margin before it along X, and the\n"
                      "                       rest of the margins is filled with 255\n"
                      "  --last FILE          for an image stack: the last slice to take (IN is\n"
                      "                       then the first; the numbers in between are taken)\n"
                      "  --slices AXIS        write PNG slices across x, y or z instead of a DF3\n"
                      "                       file; OUT is a file name with one number such as\n"
                      "                       slice_%04d.png, or a folder (OUT ending in '/' is\n"
                      "                       created), which receives slice_0000.png and on\n"
                      "  --help               display this help and exit\n"
                      "  --version            output version information and exit\n"
                      "\n"
                      "Exit status: 0 on success, 1 if reading or writing failed (including an\n"
                      "existing OUT or slice file), 2 on usage errors.\n";

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
    return CliUsageError("convert", error);
}

int RunConvert(const std::vector<std::string>& args)
{
    CliArgs_cls parsed(args, {"downsize", "double", "slices", "last"}, {});
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
    int sliceAxis = -1;
    if (auto v = parsed.Value("slices")) {
        bool one[3] = {false, false, false};
        if (!ParseAxes(*v, one) || one[0] + one[1] + one[2] != 1)
            return Usage("invalid --slices '" + *v + "' (expected one axis: x, y or z)");
        sliceAxis = one[0] ? 0 : one[1] ? 1 : 2;
        if (parsed.Has("double"))
            return Usage("--double applies to DF3 output only, not to --slices");
    }
    const std::string& in = parsed.Operands()[0];
    const std::string& out = parsed.Operands()[1];
    const std::string last = parsed.Value("last").value_or("");
    if (!last.empty() && SourceFormat_cls::FromPath(Widen(in)) != DF3_cls::FORMAT_IMGSEQ)
        return Usage("--last applies to image stacks only");

    UserPrompt_cls* prompt = GetUserPrompt();
    // Checked before reading, so a large input is not read for nothing; the writers check again.
    if (sliceAxis < 0 && ExportDF3_cls::RefuseExisting(Widen(out), prompt))
        return 1;
    DF3Sequence_cls seq;
    for (int a = 0; a < 3; ++a)
        seq.SetDownSizeSRC(a, factor[a]);
    DF3_cls frame(&seq);
    CliVolume_cls::SetSource(frame, in, last);
    if (!frame.ReadHeader(prompt) || !frame.Allocate() || !frame.ReadBodyIfNotFinished(true, prompt))
        return 1;
    const std::string source =
        StrPrintf("%s (%u x %u x %u, ", in.c_str(), frame.GetTrueSize(0), frame.GetTrueSize(1), frame.GetTrueSize(2)) +
        CliVolume_cls::Samples(frame) + ")";
    if (sliceAxis >= 0) {
        ExportIMGSeq_cls::Settings settings;
        settings.iAxis = sliceAxis;
        settings.strPattern = Widen(out);
        std::vector<std::wstring> names;
        std::wstring error;
        ExportIMGSeq_cls::MakeFileNames(settings, frame.GetCurrSize(sliceAxis), names, error);
        if (!frame.ExportIMGSeq(settings, prompt))
            return 1;
        std::fflush(stdout);
        std::printf("%s -> %u PNG slices across %c (%u x %u, 8-bit): %s .. %s\n", source.c_str(),
                    frame.GetCurrSize(sliceAxis), "XYZ"[sliceAxis], frame.GetCurrSizeS(sliceAxis),
                    frame.GetCurrSizeT(sliceAxis), Narrow(names.front()).c_str(), Narrow(names.back()).c_str());
        return 0;
    }
    if (!frame.ExportDF3(Widen(out), axes))
        return 1;
    std::fflush(stdout);
    std::printf("%s -> %s (%u x %u x %u, 8-bit)\n", source.c_str(), out.c_str(),
                frame.GetCurrSize(0) * (axes[0] ? 2 : 1), frame.GetCurrSize(1) * (axes[1] ? 2 : 1),
                frame.GetCurrSize(2) * (axes[2] ? 2 : 1));
    return 0;
}

} // namespace

TESSAN_CLI_COMMAND(convert, "convert",
                   "convert a DF3 file, image stack or text volume to an 8-bit DF3 file or PNG slices", kUsage,
                   RunConvert);
