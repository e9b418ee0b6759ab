// tessan-cli process: run a DF3 volume through a filter chain and write the result.
#include "cli/CliArgs_cls.h"
#include "cli/CliCommand.h"
#include "cli/CliFilterOptions_cls.h"
#include "config/Preference_cls.h"
#include "config/TextFormat.h"
#include "config/UserPrompt_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/PovVolume_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/ExportDF3_cls.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

namespace
{

const std::string kUsage = std::string("Usage: tessan-cli process [OPTION]... IN.df3 OUT.df3 FILTER...\n"
                                       "Read a DF3 volume (8- or 16-bit samples), run it through a filter chain\n"
                                       "made of the FILTER options in the order given, and write the result as an\n"
                                       "8-bit DF3 file. OUT is never overwritten. The time of each filter is printed.\n"
                                       "\n") +
                           CliFilterOptions_cls::HelpText() +
                           "\n"
                           "Options:\n"
                           "  --threads N  worker threads for the filters (1..16; default: the number of\n"
                           "               processor cores)\n"
                           "  --help       display this help and exit\n"
                           "  --version    output version information and exit\n"
                           "\n"
                           "Exit status: 0 on success, 1 if reading or writing failed (including an\n"
                           "existing OUT), 2 on usage errors.\n";

int Usage(const std::string& error)
{
    return CliUsageError("process", error);
}

int RunProcess(const std::vector<std::string>& args)
{
    std::set<std::string> valueOptions = CliFilterOptions_cls::OptionNames();
    valueOptions.insert("threads");
    CliArgs_cls parsed(args, valueOptions, {});
    if (!parsed.Error().empty())
        return Usage(parsed.Error());
    if (parsed.Operands().size() != 2)
        return Usage(parsed.Operands().size() < 2 ? "missing operand" : "too many operands");
    if (auto v = parsed.Value("threads")) {
        if (v->empty() || v->find_first_not_of("0123456789") != std::string::npos || v->size() > 2 ||
            ParseLong(*v) < 1 || ParseLong(*v) > 16)
            return Usage("invalid --threads '" + *v + "' (expected 1..16)");
        GetPreference().SetThreadNumFilter(static_cast<int>(ParseLong(*v)));
    }
    CliFilterOptions_cls filters;
    if (!filters.Parse(parsed.Ordered()))
        return Usage(filters.Error());
    if (filters.GetFilterNumber() == 0)
        return Usage("no filter given");
    const std::string& in = parsed.Operands()[0];
    const std::string& out = parsed.Operands()[1];

    UserPrompt_cls* prompt = GetUserPrompt();
    if (ExportDF3_cls::RefuseExisting(Widen(out), prompt))
        return 1;
    DF3Sequence_cls seq;
    DF3_cls frame(&seq);
    frame.SetFilePath(Widen(in));
    frame.SetSelfIndex(0);
    const auto readStart = std::chrono::steady_clock::now();
    if (!frame.ReadHeader(prompt) || !frame.Allocate() || !frame.ReadBodyIfNotFinished(true, prompt))
        return 1;
    const double readSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - readStart).count();

    // The slot's own chain: the filters, then the volume item that hands the result to the frame.
    FilterCtrl_cls& chain = seq.GetFilterCtrl();
    const std::vector<int> positions = filters.AppendTo(chain);
    chain.AddToList(-1, std::make_unique<PovVolume_cls>(&chain));
    const auto runStart = std::chrono::steady_clock::now();
    frame.ProcessXYZData();
    const double runSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - runStart).count();
    if (!frame.ExportDF3(Widen(out), nullptr))
        return 1;

    std::printf("%s (%u x %u x %u, %d-bit) read in %.3f s, %d thread%s\n", in.c_str(), frame.GetTrueSize(0),
                frame.GetTrueSize(1), frame.GetTrueSize(2), frame.GetReadBodyDF3().GetSampleBits(), readSeconds,
                GetPreference().GetThreadNumFilter(), GetPreference().GetThreadNumFilter() == 1 ? "" : "s");
    for (int i = 0; i < filters.GetFilterNumber(); ++i)
        std::printf("  %-40s %8.3f s\n", filters.GetDescription(i).c_str(),
                    chain.GetLastItemSeconds()[static_cast<size_t>(positions[static_cast<size_t>(i)])]);
    std::printf("chain %.3f s -> %s (8-bit)\n", runSeconds, out.c_str());
    return 0;
}

int RunProcessEntry(const std::vector<std::string>& args)
{
    return RunProcess(args);
}

} // namespace

TESSAN_CLI_COMMAND(process, "process", "run a DF3 volume through filters (blur, morphology, level, curve, ...)",
                   kUsage.c_str(), RunProcessEntry);
