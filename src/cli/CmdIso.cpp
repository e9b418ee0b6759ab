// tessan-cli iso: isosurface of a DF3 volume, with counts and stage times, as mesh2 and/or OBJ.
#include "cli/CliArgs_cls.h"
#include "cli/CliCommand.h"
#include "cli/CliFilterOptions_cls.h"
#include "cli/CliVolume_cls.h"
#include "config/Preference_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/PovVolume_cls.h"
#include "iso/ExportIsosurfSeq_cls.h"
#include "iso/MarchingCube_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace
{

const std::string kUsage =
    std::string("Usage: tessan-cli iso IN.df3 --level L [--obj OUT.obj] [--mesh2 OUT.pov] [--name NAME] [--threads N]\n"
                "                      [FILTER]...\n"
                "  or:  tessan-cli iso --frames A:B IN_FIRST --level L [--obj PATTERN] [--mesh2 PATTERN]\n"
                "                      [--name NAME] [--threads N] [FILTER]...\n"
                "Extract the isosurface of a DF3 volume by marching cubes and report its size.\n"
                "\n"
                "Voxels at or below the byte level trunc(255*L) count as inside. The surface is welded\n"
                "inside blocks while it is marched and then across blocks; the report gives the triangle\n"
                "count, the vertex counts unshared, block-welded and fully welded, and the time of each\n"
                "stage in milliseconds.\n"
                "\n"
                "  --level L      surface level, a number from 0 to 1 (required)\n"
                "  --obj OUT      write the welded surface as Wavefront OBJ\n"
                "  --mesh2 OUT    write it as a POV-Ray mesh2 declaration ISOSURF_<NAME>\n"
                "  --name NAME    object name in the mesh2 file: letters, digits and '_'\n"
                "                 (default: Isosurface)\n"
                "  --threads N    worker threads, 1 to 16 (default: ThreadNumFilter=, the number of cores)\n"
                "  --frames A:B   export frames A to B (counted from 0) of the time series IN_FIRST\n"
                "                 belongs to (a numbered DF3 series, or image stacks as 'tessan-cli info\n"
                "                 --series' lists them); --obj and --mesh2 are then name patterns with\n"
                "                 one number such as iso_%04d.obj (or a folder), numbered by frame,\n"
                "                 and a line 'frame N: T triangles, V vertices' is printed per frame\n"
                "  --help         display this help and exit\n"
                "  --version      output version information and exit\n"
                "\n"
                "Output files are never overwritten: an existing OUT stops the command before any work.\n"
                "Exit status: 0 on success, 1 if the input cannot be read or an output cannot be written,\n"
                "2 on usage errors.\n"
                "\n"
                "The surface is extracted from the data after the FILTER options, run in the order given\n"
                "through a filter chain as by 'tessan-cli process'.\n") +
    CliFilterOptions_cls::HelpText();

int Usage(const std::string& text)
{
    return CliUsageError("iso", text);
}

bool Exists(const std::string& path)
{
    struct stat st;
    return ::lstat(path.c_str(), &st) == 0;
}

// A plain decimal number ("0.5", ".25", "1", "5e-1"): ParseDouble alone would read "0.5x" or "" as a
// number, and a typo must not silently become some other level.
bool IsDecimalNumber(const std::string& s)
{
    size_t i = 0, digits = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-'))
        ++i;
    while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i])))
        ++i, ++digits;
    if (i < s.size() && s[i] == '.') {
        ++i;
        while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i])))
            ++i, ++digits;
    }
    if (digits == 0)
        return false;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        ++i;
        if (i < s.size() && (s[i] == '+' || s[i] == '-'))
            ++i;
        size_t expDigits = 0;
        while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i])))
            ++i, ++expDigits;
        if (expDigits == 0)
            return false;
    }
    return i == s.size();
}

bool IsIdentifierTail(const std::string& s)
{
    if (s.empty())
        return false;
    for (char c : s)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_')
            return false;
    return true;
}

double MsSince(std::chrono::steady_clock::time_point t0)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
}

// "A:B" with 0 <= A <= B.
bool ParseFrameRange(const std::string& text, int& first, int& last)
{
    const size_t colon = text.find(':');
    if (colon == std::string::npos)
        return false;
    const std::string a = text.substr(0, colon), b = text.substr(colon + 1);
    for (const std::string* part : {&a, &b})
        if (part->empty() || part->size() > 9 || part->find_first_not_of("0123456789") != std::string::npos)
            return false;
    first = static_cast<int>(ParseLong(a));
    last = static_cast<int>(ParseLong(b));
    return first <= last;
}

// Every frame of a series, through the export the window uses.
int RunIsoSeries(const std::string& inPath, int first, int last, double level, const std::string& objPattern,
                 const std::string& povPattern, const std::string& name, CliFilterOptions_cls& filters)
{
    DF3Sequence_cls seq;
    const std::wstring in = Widen(inPath);
    struct stat st;
    if (::stat(inPath.c_str(), &st) != 0) {
        std::fprintf(stderr, "tessan-cli iso: %s: no such file\n", inPath.c_str());
        return 1;
    }
    seq.AppendFileSequence(in, true, DF3Sequence_cls::kAppendAtEnd);
    if (last > seq.GetLastIndex()) {
        std::fprintf(stderr, "tessan-cli iso: %s: the series has %d frames (0:%d)\n", inPath.c_str(),
                     seq.GetFrameCount(), seq.GetLastIndex());
        return 1;
    }
    if (filters.GetFilterNumber() > 0) {
        FilterCtrl_cls& chain = seq.GetFilterCtrl();
        filters.AppendTo(chain);
        chain.AddToList(-1, std::make_unique<PovVolume_cls>(&chain));
    }
    ExportIsosurfSeq_cls::Settings settings;
    settings.iFirst = first;
    settings.iLast = last;
    settings.dLevel = level;
    settings.strPatternObj = Widen(objPattern);
    settings.strPatternMesh2 = Widen(povPattern);
    settings.strName = Widen(name);
    ExportIsosurfSeq_cls exporter(&seq);
    const auto t0 = std::chrono::steady_clock::now();
    // Messages (a name taken, a frame that cannot be read) reach stderr through the prompt.
    const bool ok = exporter.Run(settings, GetUserPrompt());
    std::fflush(stdout);
    std::printf("series: %s, frames %d to %d of %d\n", inPath.c_str(), first, last, seq.GetFrameCount());
    for (const ExportIsosurfSeq_cls::FrameResult& r : exporter.GetResults()) {
        if (!r.bDone)
            continue;
        std::printf("frame %d: %zu triangles, %zu vertices\n", r.iStep, r.uTriangles, r.uVertices);
        for (const std::wstring* file : {&r.strMesh2, &r.strObj})
            if (!file->empty())
                std::printf("  %s\n", Narrow(*file).c_str());
    }
    std::printf("%s", StrPrintf("time total: %.1f ms\n", MsSince(t0)).c_str());
    if (!ok) {
        std::fprintf(stderr, "tessan-cli iso: %s\n", Narrow(exporter.GetError()).c_str());
        return 1;
    }
    return 0;
}

int RunIso(const std::vector<std::string>& args)
{
    // "--filters" ends the command's own options: what follows are filter options as for
    // 'tessan-cli process' (its "--level" is the level-and-gamma filter, not the surface level).
    const auto split = std::find(args.begin(), args.end(), std::string("--filters"));
    const std::vector<std::string> own(args.begin(), split);
    const std::vector<std::string> filterArgs(split == args.end() ? split : split + 1, args.end());
    CliArgs_cls parsed(own, {"level", "obj", "mesh2", "name", "threads", "frames"}, {});
    if (!parsed.Error().empty())
        return Usage(parsed.Error());
    CliArgs_cls filterParsed(filterArgs, CliFilterOptions_cls::OptionNames(), {});
    if (!filterParsed.Error().empty())
        return Usage(filterParsed.Error() + " after --filters");
    if (!filterParsed.Operands().empty())
        return Usage("'" + filterParsed.Operands()[0] + "' after --filters is not a filter option");
    CliFilterOptions_cls filters;
    if (!filters.Parse(filterParsed.Ordered()))
        return Usage(filters.Error());
    if (split != args.end() && filters.GetFilterNumber() == 0)
        return Usage("no filter after --filters");
    if (parsed.Operands().size() != 1)
        return Usage(parsed.Operands().empty() ? "missing IN.df3 operand" : "only one input file is allowed");
    for (const char* once : {"level", "obj", "mesh2", "name", "threads", "frames"})
        if (parsed.Values(once).size() > 1)
            return Usage(std::string("--") + once + " given more than once");
    const auto levelText = parsed.Value("level");
    if (!levelText)
        return Usage("missing --level");
    const double level = ParseDouble(*levelText);
    if (!IsDecimalNumber(*levelText) || !(level >= 0.0 && level <= 1.0))
        return Usage("--level must be a number from 0 to 1");
    if (auto threads = parsed.Value("threads")) {
        const long n = ParseLong(*threads);
        if (threads->empty() || threads->find_first_not_of("0123456789") != std::string::npos || n < 1 || n > 16)
            return Usage("--threads must be a whole number from 1 to 16");
        GetPreference().SetThreadNumFilter(static_cast<int>(n));
    }
    const std::string objPath = parsed.Value("obj").value_or("");
    const std::string povPath = parsed.Value("mesh2").value_or("");
    const std::string name = parsed.Value("name").value_or("Isosurface");
    if ((parsed.Has("obj") && objPath.empty()) || (parsed.Has("mesh2") && povPath.empty()))
        return Usage("an output file name is empty");
    if (!objPath.empty() && objPath == povPath)
        return Usage("--obj and --mesh2 name the same file");
    if (!IsIdentifierTail(name))
        return Usage("--name must consist of letters, digits and '_'");
    if (auto frames = parsed.Value("frames")) {
        int first = 0, last = 0;
        if (!ParseFrameRange(*frames, first, last))
            return Usage("--frames must be A:B with whole numbers 0 <= A <= B");
        if (objPath.empty() && povPath.empty())
            return Usage("--frames needs --obj or --mesh2");
        return RunIsoSeries(parsed.Operands()[0], first, last, level, objPath, povPath, name, filters);
    }
    // Refuse before any work: the user loses nothing and no file is touched.
    for (const std::string& out : {povPath, objPath})
        if (!out.empty() && Exists(out)) {
            std::fprintf(stderr, "tessan-cli iso: %s: %s\n", out.c_str(), Tr("overwrite forbidden").c_str());
            return 1;
        }

    const std::string& inPath = parsed.Operands()[0];
    auto t0 = std::chrono::steady_clock::now();
    DF3Sequence_cls seq;
    DF3_cls frame(&seq);
    UserPrompt_cls* prompt = GetUserPrompt();
    CliVolume_cls::SetSource(frame, inPath);
    // The reader has shown its own message (file missing, size inconsistency, ...) on stderr.
    if (!frame.ReadHeader(prompt) || !frame.Allocate() || !frame.ReadBodyIfNotFinished(true, prompt)) {
        std::fprintf(stderr, "tessan-cli iso: cannot read %s\n", inPath.c_str());
        return 1;
    }
    const double readMs = MsSince(t0);
    // The filters run through the slot's chain; the volume item hands their result to the frame.
    const unsigned char* data = frame.GetXYZData();
    std::vector<int> positions;
    double filterMs = 0.0;
    if (filters.GetFilterNumber() > 0) {
        FilterCtrl_cls& chain = seq.GetFilterCtrl();
        positions = filters.AppendTo(chain);
        chain.AddToList(-1, std::make_unique<PovVolume_cls>(&chain));
        t0 = std::chrono::steady_clock::now();
        frame.ProcessXYZData();
        filterMs = MsSince(t0);
        data = frame.GetProcessedData();
    }
    const int nx = static_cast<int>(frame.GetCurrSize(0)), ny = static_cast<int>(frame.GetCurrSize(1)),
              nz = static_cast<int>(frame.GetCurrSize(2));

    // Only the counts of the block stage are reported, so its lists are not kept.
    MarchingCube_cls mc;
    t0 = std::chrono::steady_clock::now();
    if (!mc.ThreadControlMain(data, nx, ny, nz, static_cast<float>(level),
                              MarchingCube_cls::kFlagNormals | MarchingCube_cls::kFlagWeldInBlock |
                                  MarchingCube_cls::kFlagWeldCountOnly)) {
        std::fprintf(stderr, "tessan-cli iso: %s: a volume needs at least 2 voxels along each axis\n", inPath.c_str());
        return 1;
    }
    const double extractMs = MsSince(t0);
    t0 = std::chrono::steady_clock::now();
    mc.OptimizeVerticesFull();
    const double weldMs = MsSince(t0);

    std::fflush(stdout); // after any trace lines of the reader
    std::printf("input: %s (%d x %d x %d), byte level %d, %d threads\n", inPath.c_str(), nx, ny, nz, mc.GetByteLevel(),
                GetPreference().GetThreadNumFilter());
    std::printf("triangles: %zu\n", mc.GetFaceNumberOptFull());
    std::printf("vertices unshared: %zu\n", mc.GetVertexNumber());
    std::printf("vertices block-welded: %zu\n", mc.GetVertexNumberOpt());
    std::printf("vertices fully welded: %zu\n", mc.GetVertexNumberOptFull());
    std::printf("blocks marched: %d of %d\n", mc.GetMarchedBlockNumber(), MarchingCube_cls::kBlockNum);
    std::printf("%s", StrPrintf("time read: %.1f ms\n", readMs).c_str());
    for (int i = 0; i < filters.GetFilterNumber(); ++i)
        std::printf(
            "%s", StrPrintf("time filter %s: %.1f ms\n", filters.GetDescription(i).c_str(),
                            1000.0 * seq.GetFilterCtrl()
                                         .GetLastItemSeconds()[static_cast<size_t>(positions[static_cast<size_t>(i)])])
                      .c_str());
    if (filters.GetFilterNumber() > 0)
        std::printf("%s", StrPrintf("time filters: %.1f ms\n", filterMs).c_str());
    std::printf("%s", StrPrintf("time extract: %.1f ms\n", extractMs).c_str());
    std::printf("%s", StrPrintf("time weld-full: %.1f ms\n", weldMs).c_str());
    std::fflush(stdout);

    int status = 0;
    auto write = [&](const std::string& path, const char* stage, bool mesh2) {
        if (path.empty())
            return;
        const auto t = std::chrono::steady_clock::now();
        std::string text;
        if (mesh2)
            mc.GetStrPovMesh2(&text, Widen(name), L"", true);
        else
            mc.GetStrWaveFrontObj(&text, true);
        const int rc = MarchingCube_cls::WriteNewFile(path, text);
        if (rc == 1) {
            // Created by someone else while we worked: still never replaced.
            std::fprintf(stderr, "tessan-cli iso: %s: %s\n", path.c_str(), Tr("overwrite forbidden").c_str());
            status = 1;
        } else if (rc != 0) {
            std::fprintf(stderr, "tessan-cli iso: cannot write %s\n", path.c_str());
            status = 1;
        } else {
            std::printf("%s", StrPrintf("time %s: %.1f ms (%zu bytes)\n", stage, MsSince(t), text.size()).c_str());
        }
    };
    write(povPath, "write-mesh2", true);
    write(objPath, "write-obj", false);
    return status;
}

} // namespace

TESSAN_CLI_COMMAND(iso, "iso", "extract an isosurface and write it as mesh2 or OBJ", kUsage.c_str(), RunIso);
