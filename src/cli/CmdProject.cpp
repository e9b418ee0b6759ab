// tessan-cli project: make a project file from data and filter specifications, and show what a
// project file holds.
//
// Sections: usage; filter specifications; project new; project show.
#include "anim/CameraPathCtrl_cls.h"
#include "anim/ParameterGroup_cls.h"
#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "cli/CliArgs_cls.h"
#include "cli/CliCommand.h"
#include "cli/CliFilterOptions_cls.h"
#include "color/Coloring_cls.h"
#include "color/CustomColor_cls.h"
#include "config/Main_cls.h"
#include "config/ProjectFile_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/FilterWithParameter_cls.h"
#include "pov/LightSRC_cls.h"
#include "pov/PovExport_cls.h"
#include "pov/StereoGram_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <locale.h>
#include <memory>
#include <string>
#include <vector>

namespace
{

// ---- usage ----------------------------------------------------------------------------------------

const char kUsage[] =
    "Usage: tessan-cli project new OUT.vsp --data FIRST_FILE [--slot N] [--filter ITEM]... [--length N]\n"
    "  or:  tessan-cli project show PROJECT.vsp\n"
    "Make a project file, or show what a project file holds.\n"
    "\n"
    "project new writes OUT.vsp with the series that FIRST_FILE begins (numbered files are\n"
    "found as the program's Open Data command finds them) in data slot N (0..3, default 0),\n"
    "and the filter chain given by the --filter options, each item with its default settings\n"
    "unless the ITEM gives values. OUT is never overwritten.\n"
    "  --data FIRST_FILE  the first file of the series (DF3, image-stack slice, text volume)\n"
    "  --slot N           the data slot, 0..3\n"
    "  --length N         scene length in frames (default: the series' own)\n"
    "  --filter ITEM      one chain item, in the order given:\n"
    "      volume                    volume media (shows the data)\n"
    "      iso:LEVEL                 isosurface at LEVEL (0..255)\n"
    "      blur:S | blur:SX,SY,SZ    Gaussian blur (S: variance in voxels^2)\n"
    "      blur-float:S              the same with float passes\n"
    "      morph:OP[:R]              OP dilation, erosion, opening, closing, opening4,\n"
    "                                closing4; sphere radius R (0..12, default 1)\n"
    "      level:a,b,c,d,g,o         level and gamma (in min, in max, out min, out max,\n"
    "                                gamma, offset; normalised 0..1)\n"
    "      curve:X0:Y0,X1:Y1,...     density curve\n"
    "      sharpen:STRENGTH,STEPS    inverse diffusion\n"
    "      rotate:AXIS,DEGREES       data rotation about x, y or z\n"
    "      clip[:X0,Y0,Z0,X1,Y1,Z1]  clipping box (fractions 0..1)\n"
    "      fog, boxcopy, fixposition, crosssection, object, centerofmass, diffobject,\n"
    "      threeview, streamline, velfield\n"
    "                                the other chain items with their defaults\n"
    "\n"
    "project show prints the slots with their files and chains, the clock, the key-framed\n"
    "parameter sets with their key counts, the lights, the camera path and the stereo pair.\n"
    "\n"
    "  --help     display this help and exit\n"
    "  --version  output version information and exit\n"
    "\n"
    "Exit status: 0 on success, 1 if a file could not be read or written (including an\n"
    "existing OUT), 2 on usage errors.\n";

int Usage(const std::string& error)
{
    return CliUsageError("project", error);
}

int Fail(const std::string& error)
{
    std::fprintf(stderr, "tessan-cli project: %s\n", error.c_str());
    return 1;
}

// ---- filter specifications ---------------------------------------------------------------------------

/// A finite number, the whole text, in the C locale.
bool Number(const std::string& text, double& value)
{
    if (text.empty() || text.find_first_not_of("0123456789+-.eE") != std::string::npos)
        return false;
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
    char* end = nullptr;
    value = strtod_l(text.c_str(), &end, cLocale);
    return end && *end == '\0' && std::isfinite(value);
}

struct PlainItem {
    const char* pWord;
    int iType;
};
// The items given by their name alone.
const PlainItem kPlainItems[] = {{"volume", 4},        {"fog", 1},         {"boxcopy", 2},       {"fixposition", 8},
                                 {"crosssection", 11}, {"object", 12},     {"centerofmass", 13}, {"diffobject", 14},
                                 {"threeview", 16},    {"streamline", 17}, {"velfield", 18}};

/// Sets the constant value of an item's key-framed set from `values` (the first values.size()
/// of them; the rest keep their defaults).
void SetConstant(FilterBase_cls& item, const std::vector<double>& values)
{
    auto* animated = dynamic_cast<FilterWithParameter_cls*>(&item);
    if (animated == nullptr)
        return;
    Parameters_cls& set = animated->GetParameters();
    const double* current = set.GetPInterpolatedValue(0.0);
    std::vector<double> all(current, current + set.GetDimension());
    for (size_t i = 0; i < values.size() && i < all.size(); ++i)
        all[i] = values[i];
    set.ProcClearKey(all);
    animated->UpdateParameters(0.0);
}

/// Appends the item of one --filter ITEM to `chain`; false with `error` set when not understood.
bool AddFilterItem(const std::string& item, FilterCtrl_cls& chain, std::string& error)
{
    const size_t colon = item.find(':');
    const std::string word = item.substr(0, colon);
    const std::string rest = colon == std::string::npos ? "" : item.substr(colon + 1);
    for (const PlainItem& plain : kPlainItems) {
        if (word != plain.pWord)
            continue;
        if (colon != std::string::npos) {
            error = "invalid --filter '" + item + "' (" + word + " takes no values)";
            return false;
        }
        chain.AddToList(-1, FilterCtrl_cls::CreateItem(plain.iType, &chain));
        return true;
    }
    if (word == "iso") {
        double level = 0;
        if (!Number(rest, level) || level < 0.0 || level > 255.0) {
            error = "invalid --filter '" + item + "' (expected iso:LEVEL with LEVEL 0..255)";
            return false;
        }
        const int at = chain.AddToList(-1, FilterCtrl_cls::CreateItem(0, &chain));
        // The item keeps its level as a fraction of the byte range, as the Scene panel sets it.
        SetConstant(*chain.GetPFilterBase(at), {level / 255.0});
        return true;
    }
    if (word == "clip") {
        const int at = chain.AddToList(-1, FilterCtrl_cls::CreateItem(3, &chain));
        if (colon == std::string::npos)
            return true;
        std::vector<double> box;
        size_t start = 0;
        for (size_t comma; start <= rest.size(); start = comma + 1) {
            comma = rest.find(',', start);
            if (comma == std::string::npos)
                comma = rest.size();
            double v = 0;
            if (!Number(rest.substr(start, comma - start), v) || v < 0.0 || v > 1.0)
                break;
            box.push_back(v);
        }
        if (box.size() != 6 || box[0] > box[3] || box[1] > box[4] || box[2] > box[5]) {
            chain.TakeFromList(at);
            error = "invalid --filter '" + item + "' (expected clip:X0,Y0,Z0,X1,Y1,Z1 with 0 <= min <= max <= 1)";
            return false;
        }
        SetConstant(*chain.GetPFilterBase(at), box);
        return true;
    }
    // The data filters share their spelling with the process command's options.
    std::string value = rest;
    if (word == "morph") {
        // "morph:OP:R" is short for a sphere of radius R; the longer forms pass as they are.
        const size_t second = rest.find(':');
        if (second != std::string::npos && rest.find(':', second + 1) == std::string::npos)
            value = rest.substr(0, second) + ":sphere:" + rest.substr(second + 1);
    }
    if (!CliFilterOptions_cls::OptionNames().count(word) || colon == std::string::npos) {
        error = "invalid --filter '" + item + "' (see --help for the items)";
        return false;
    }
    CliFilterOptions_cls options;
    if (!options.Parse({{word, value}})) {
        error = options.Error();
        return false;
    }
    options.AppendTo(chain);
    return true;
}

// ---- project new --------------------------------------------------------------------------------------

int RunNew(const std::vector<std::string>& args)
{
    CliArgs_cls parsed(args, {"data", "slot", "filter", "length"}, {});
    if (!parsed.Error().empty())
        return Usage(parsed.Error());
    if (parsed.Operands().size() != 1)
        return Usage(parsed.Operands().empty() ? "missing OUT.vsp" : "too many operands");
    const auto data = parsed.Value("data");
    if (!data || data->empty())
        return Usage("missing --data FIRST_FILE");
    if (parsed.Values("data").size() > 1)
        return Usage("--data given more than once");
    int slot = 0;
    if (auto v = parsed.Value("slot")) {
        if (*v != "0" && *v != "1" && *v != "2" && *v != "3")
            return Usage("invalid --slot '" + *v + "' (expected 0..3)");
        slot = static_cast<int>(ParseLong(*v));
    }
    int length = -1;
    if (auto v = parsed.Value("length")) {
        if (v->empty() || v->size() > 7 || v->find_first_not_of("0123456789") != std::string::npos)
            return Usage("invalid --length '" + *v + "' (expected 0..9999999)");
        length = static_cast<int>(ParseLong(*v));
    }
    const std::string& out = parsed.Operands()[0];
    std::error_code ec;
    if (std::filesystem::exists(out, ec))
        return Fail("'" + out + "' exists; not overwritten");
    if (!std::filesystem::is_regular_file(*data, ec))
        return Fail("cannot read '" + *data + "'");

    Main_cls main(L"");
    DF3SeqCtrl_cls& seqCtrl = main.GetSeqCtrl();
    seqCtrl.SetActiveSlot(slot);
    // Stored absolute, so that the project opens from any working folder.
    const std::string first = std::filesystem::absolute(*data, ec).string();
    if (main.AddFileSequence(Widen(first), DF3Sequence_cls::kAppendAtEnd) <= 0)
        return Fail("no data file found at '" + *data + "'");
    FilterCtrl_cls& chain = seqCtrl.GetSequence(slot).GetFilterCtrl();
    for (const std::string& item : parsed.Values("filter")) {
        std::string error;
        if (!AddFilterItem(item, chain, error))
            return Usage(error);
    }
    if (length >= 0) {
        TimeCtrl_cls& clock = main.GetTimeCtrl();
        clock.SetMaxFrame(length);
        clock.SetWorkingArea(length);
        clock.CheckWorkingArea();
    }
    // Saved through the same writer as the program's Save Project; a file that appeared since
    // the check above is not replaced silently either.
    if (std::filesystem::exists(out, ec))
        return Fail("'" + out + "' exists; not overwritten");
    if (!main.GetProjectFile().Save(Widen(out), true, nullptr))
        return 1;
    std::printf("%s: slot %d, %d file%s, %d chain item%s, scene length %d\n", out.c_str(), slot,
                seqCtrl.GetSequence(slot).GetFrameCount(), seqCtrl.GetSequence(slot).GetFrameCount() == 1 ? "" : "s",
                chain.GetItemNum(), chain.GetItemNum() == 1 ? "" : "s", main.GetTimeCtrl().GetMaxFrame());
    return 0;
}

// ---- project show -------------------------------------------------------------------------------------

std::string SetLine(const std::string& label, Parameters_cls& set)
{
    return StrPrintf("  %-22s %u value%s, %d key%s%s\n", label.c_str(), set.GetDimension(),
                     set.GetDimension() == 1 ? "" : "s", set.GetKeyNumber(), set.GetKeyNumber() == 1 ? "" : "s",
                     set.IsTimeDependent() ? ", animated" : "");
}

int RunShow(const std::vector<std::string>& args)
{
    CliArgs_cls parsed(args, {}, {});
    if (!parsed.Error().empty())
        return Usage(parsed.Error());
    if (parsed.Operands().size() != 1)
        return Usage(parsed.Operands().empty() ? "missing PROJECT.vsp" : "too many operands");
    const std::string& path = parsed.Operands()[0];
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec))
        return Fail("cannot read '" + path + "'");
    Main_cls main(L"");
    if (!main.GetProjectFile().OpenProject(Widen(path)))
        return Fail("cannot read '" + path + "'");
    if (main.GetProjectFile().GetLastTakenLines() == 0)
        return Fail("'" + path + "' holds no project lines");

    std::string text = "Project " + path + "\n";
    const TimeCtrl_cls& clock = main.GetTimeCtrl();
    text += StrPrintf("Clock: length %d, frame %d, step %d, working area %d..%d, active area %d..%d, repeat %s, "
                      "time remap %s\n",
                      clock.GetMaxFrame(), clock.GetIndex(), clock.GetStep(), clock.GetWAMin(), clock.GetWAMax(),
                      clock.GetAAMin(), clock.GetAAMax(), clock.IsRepeat() ? "on" : "off",
                      clock.IsUseTimeRemap() ? "on" : "off");
    DF3SeqCtrl_cls& seqCtrl = main.GetSeqCtrl();
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        DF3Sequence_cls& sequence = seqCtrl.GetSequence(slot);
        FilterCtrl_cls& chain = sequence.GetFilterCtrl();
        const auto& files = sequence.GetFileList();
        text += StrPrintf("Slot %d%s: %zu file%s, %d chain item%s\n", slot,
                          slot == seqCtrl.GetActiveSlot() ? " (active)" : "", files.size(),
                          files.size() == 1 ? "" : "s", chain.GetItemNum(), chain.GetItemNum() == 1 ? "" : "s");
        for (const auto& file : files)
            text += "  file " + Narrow(file.strPath) + "\n";
        for (int i = 0; i < chain.GetItemNum(); ++i) {
            FilterBase_cls* item = chain.GetPFilterBase(i);
            text += StrPrintf("  %d. %s \"%s\"%s", i + 1, Narrow(FilterCtrl_cls::GetTag(item->GetType())).c_str(),
                              Narrow(item->GetPData()->GetName()).c_str(), item->GetPData()->IsValid() ? "" : " (off)");
            if (auto* animated = dynamic_cast<FilterWithParameter_cls*>(item)) {
                Parameters_cls& set = animated->GetParameters();
                text += StrPrintf(", %s %d key%s", Narrow(set.GetName()).c_str(), set.GetKeyNumber(),
                                  set.GetKeyNumber() == 1 ? "" : "s");
            }
            text += "\n";
        }
    }
    text += "Parameter sets:\n";
    text += SetLine("BoxSize", main.GetBoxSize());
    text += SetLine("BoxRotate", main.GetBoxRotate());
    text += SetLine("TimeRemap", main.GetTimeCtrl().GetTimeRemap());
    text += SetLine("SlotAlpha", seqCtrl.GetSlotAlpha());
    for (ParameterGroup_cls* group : {&main.GetMainParamGroup(), &main.GetHotSpotGroup()})
        for (int i = 0; i < group->GetMemberNumber(); ++i)
            text += SetLine(Narrow(group->GetName() + L"/" + group->GetPMember(i)->GetName()), *group->GetPMember(i));
    CustomColor_cls& maps = *main.GetColoring().GetPCustomColor();
    text += StrPrintf("Custom colour maps: %d\n", maps.GetItemNumber());
    LightSRC_cls& lights = main.GetPovExport().GetLights();
    static const char* const kKinds[] = {"point", "spot", "parallel"};
    text += StrPrintf("Lights: %zu\n", lights.GetCount());
    for (size_t i = 0; i < lights.GetCount(); ++i) {
        const double* v = lights.GetParam(i).GetPInterpolatedValue(0.0);
        text += StrPrintf("  %zu. %s at %g %g %g, energy %g, %d key%s\n", i + 1,
                          lights.GetKind(i) < 3 ? kKinds[lights.GetKind(i)] : "unknown", v[0], v[1], v[2], v[6],
                          lights.GetParam(i).GetKeyNumber(), lights.GetParam(i).GetKeyNumber() == 1 ? "" : "s");
    }
    CameraPathCtrl_cls& cameras = main.GetCameraPath();
    text += StrPrintf("Camera path: %d camera%s, %s, active %d\n", cameras.GetCameraNumber(),
                      cameras.GetCameraNumber() == 1 ? "" : "s", cameras.IsUsePath() ? "in use" : "not in use",
                      cameras.GetActiveCamera());
    for (int i = 0; i < cameras.GetCameraNumber(); ++i) {
        CameraPathCtrl_cls::CameraValues v;
        cameras.GetCameraAt(i, 0.0, v);
        text += StrPrintf("  %d. eye %g %g %g, look-at %g %g %g, %d key%s\n", i + 1, v[0], v[1], v[2], v[3], v[4], v[5],
                          cameras.GetPCamera(i)->GetKeyNumber(), cameras.GetPCamera(i)->GetKeyNumber() == 1 ? "" : "s");
    }
    static const char* const kModes[] = {"off", "parallel", "crossed", "anaglyph"};
    const StereoGram_cls& stereo = main.GetStereoGram();
    text += StrPrintf("Stereo pair: %s, eye separation %g, convergence %g\n", kModes[stereo.GetMode()],
                      stereo.GetEyeSeparation(), stereo.GetConvergence());
    std::fputs(text.c_str(), stdout);
    return 0;
}

int RunProjectEntry(const std::vector<std::string>& args)
{
    if (args.empty())
        return Usage("missing sub-command (new or show)");
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    if (args[0] == "new")
        return RunNew(rest);
    if (args[0] == "show")
        return RunShow(rest);
    return Usage("unknown sub-command '" + args[0] + "' (expected new or show)");
}

} // namespace

TESSAN_CLI_COMMAND(project, "project", "make a project file from data and filters, or show one", kUsage,
                   RunProjectEntry);
