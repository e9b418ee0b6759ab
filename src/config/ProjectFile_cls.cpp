// Sections: hooks; writer (block order); reader (dispatch order); files; opening a project.
#include "config/ProjectFile_cls.h"

#include "anim/CameraPathCtrl_cls.h"
#include "anim/ParameterGroup_cls.h"
#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "anim/UndoManager_cls.h"
#include "color/Coloring_cls.h"
#include "color/CustomColor_cls.h"
#include "config/ImportList_cls.h"
#include "config/LineStream_cls.h"
#include "config/Main_cls.h"
#include "config/Preference_cls.h"
#include "config/PreviewProperty_cls.h"
#include "config/TexPropertyCtrl_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "pov/LightSRC_cls.h"
#include "pov/PovExport_cls.h"
#include "pov/PovRay_cls.h"
#include "pov/StereoGram_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/TreeBoxRule_cls.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace
{

// A reader that took a marker line, or read further lines, consumed a block: the line must not
// reach the item readers after it.
bool IsMarker(const std::wstring& line)
{
    return !line.empty() && line[0] == L'-';
}

// Keeps the chains' change hooks suspended for a scope (the panels refresh once at the end).
class ScopedListOmit
{
  public:
    ScopedListOmit() { FilterCtrl_cls::PushListOmit(); }
    ~ScopedListOmit() { FilterCtrl_cls::PopListOmit(); }
    ScopedListOmit(const ScopedListOmit&) = delete;
    ScopedListOmit& operator=(const ScopedListOmit&) = delete;
};

} // namespace

ProjectFile_cls::ProjectFile_cls(Main_cls& main) : mrMain(main)
{
}

// ---- hooks --------------------------------------------------------------------------------------

void ProjectFile_cls::SetHooks(Hook hook, BlockHooks hooks)
{
    if (hook >= 0 && hook < kHookCount)
        mvHooks[static_cast<size_t>(hook)] = std::move(hooks);
}

std::wstring ProjectFile_cls::HookText(Hook hook) const
{
    const BlockHooks& h = mvHooks[static_cast<size_t>(hook)];
    return h.fnSerialize ? h.fnSerialize() : std::wstring();
}

bool ProjectFile_cls::HookRead(Hook hook, LineStream_cls& stream, const std::wstring& line)
{
    const BlockHooks& h = mvHooks[static_cast<size_t>(hook)];
    return h.fnRead && h.fnRead(stream, line);
}

// ---- writer (block order) ---------------------------------------------------------------------

std::wstring ProjectFile_cls::BuildText(bool project) const
{
    DF3SeqCtrl_cls& seqCtrl = mrMain.GetSeqCtrl();
    PovExport_cls& pov = mrMain.GetPovExport();
    std::wstring text;
    text += seqCtrl.SerializeRenderParam();
    text += seqCtrl.SerializeSceneConf();
    text += HookText(kHookWindowItems);
    // The open dialog's memory goes with the window's settings into both kinds of file.
    text += mrMain.GetImportList().SerializeConf();
    text += GetPreference().GetConfList().SerializeAll();
    text += mrMain.Serialize();
    text += pov.GetPovRay().SerializeConf(project);
    text += mrMain.GetCameraPath().Serialize(project);
    if (!project) {
        text += HookText(kHookShortcuts);
        return text;
    }
    text += HookText(kHookViewAnchor);
    text += mrMain.GetMainParamGroup().Serialize();
    text += seqCtrl.SerializeAllDF3Sequence();
    text += mrMain.GetTimeCtrl().SerializeParam();
    text += mrMain.GetTreeBoxRule().SerializeConf();
    // The root drawing block with the textures' settings and the colour maps they are baked with.
    text += HookText(kHookDrawingBlock);
    text += mrMain.GetTexProperty().Serialize();
    text += mrMain.GetColoring().GetPCustomColor()->Serialize();
    text += mrMain.GetStereoGram().Serialize();
    text += mrMain.GetHotSpotGroup().Serialize();
    text += pov.GetLights().Serialize();
    text += mrMain.GetBoxSize().Serialize();
    text += mrMain.GetBoxRotate().Serialize();
    text += seqCtrl.GetSlotAlpha().Serialize();
    text += HookText(kHookViewCtrls);
    text += GetPreviewProperty().SerializeConf();
    text += HookText(kHookCustomColours);
    return text;
}

// ---- reader (dispatch order) --------------------------------------------------------------------

bool ProjectFile_cls::DispatchLine(LineStream_cls& stream, const std::wstring& rawLine)
{
    const std::wstring line = StripLineEnd(rawLine);
    if (line.empty())
        return false;
    DF3SeqCtrl_cls& seqCtrl = mrMain.GetSeqCtrl();
    PovExport_cls& pov = mrMain.GetPovExport();
    bool taken = false;
    // Readers that may own a block: once one has taken a block, the line is done.
    auto offer = [&](auto&& reader) {
        const size_t before = stream.GetLineNumber();
        const bool took = reader();
        taken = taken || took;
        return took && (IsMarker(line) || stream.GetLineNumber() != before);
    };

    // 1. The data slots: the down-size items, the slot selector, the selected slot's file block
    //    and filter chain.
    if (offer([&] { return seqCtrl.ReadStrLineAllDF3Sequence(stream, line); }))
        return true;
    // 2. The scene import of the main controller.
    if (offer([&] { return mrMain.GetCameraPath().ReadStrLine(stream, line); }) ||
        offer([&] { return mrMain.GetStereoGram().ReadStrLine(stream, line); }) ||
        offer([&] { return mrMain.GetMainParamGroup().ReadStrLine(stream, line); }) ||
        offer([&] { return mrMain.GetHotSpotGroup().ReadStrLine(stream, line); }) ||
        offer([&] { return pov.GetLights().ReadStrLine(stream, line); }) ||
        offer([&] { return mrMain.GetBoxSize().ReadStrLine(stream, line); }) ||
        offer([&] { return mrMain.GetBoxRotate().ReadStrLine(stream, line); }) ||
        offer([&] { return seqCtrl.GetSlotAlpha().ReadStrLine(stream, line); }))
        return true;
    taken = seqCtrl.ReadStrLineSceneConf(line) || taken;
    if (offer([&] { return mrMain.GetTimeCtrl().ReadStrLine(stream, line); }))
        return true;
    taken = seqCtrl.ReadStrLineRenderParam(line) || taken;
    taken = mrMain.GetTreeBoxRule().ReadStrLine(line) || taken;
    if (offer([&] { return HookRead(kHookDrawingBlock, stream, line); }) ||
        offer([&] { return mrMain.GetTexProperty().ReadStrLine(stream, line); }) ||
        offer([&] { return mrMain.GetColoring().GetPCustomColor()->ReadStrLine(stream, line); }))
        return true;
    taken = pov.GetPovRay().ReadStrLine(line) || taken;
    taken = mrMain.ReadStrLine(line) || taken;
    // 3. The window's items, the view anchor, the preferences, the import list's defaults, the
    //    view controllers, the preview property, the colour dialog's custom colours; the key
    //    assignments' block.
    if (offer([&] { return HookRead(kHookWindowItems, stream, line); }) ||
        offer([&] { return HookRead(kHookViewAnchor, stream, line); }))
        return true;
    taken = GetPreference().GetConfList().ReadStrLineAll(line) || taken;
    taken = mrMain.GetImportList().ReadStrLine(line) || taken;
    if (offer([&] { return HookRead(kHookViewCtrls, stream, line); }))
        return true;
    taken = GetPreviewProperty().ReadStrLine(line) || taken;
    if (offer([&] { return HookRead(kHookCustomColours, stream, line); }) ||
        offer([&] { return HookRead(kHookShortcuts, stream, line); }))
        return true;
    if (!taken && line == L"-ShortcutBegin") {
        // Without a reader of its own the key block is skipped whole: its lines are not items.
        for (std::wstring inner; stream.GetLine(inner);)
            if (StripLineEnd(inner) == L"-ShortcutEnd")
                break;
        return true;
    }
    return taken;
}

size_t ProjectFile_cls::ReadText(const std::wstring& text)
{
    ScopedListOmit omit;
    LineStream_cls stream(text);
    size_t taken = 0;
    for (std::wstring line; stream.GetLine(line);)
        taken += DispatchLine(stream, line) ? 1 : 0;
    return taken;
}

// ---- files ----------------------------------------------------------------------------------------

bool ProjectFile_cls::IsConfigureFile(const std::wstring& path)
{
    return std::filesystem::path(path).filename().wstring() == kConfigureName;
}

bool ProjectFile_cls::Save(const std::wstring& path, bool project, UserPrompt_cls* prompt) const
{
    const std::string bytes = Narrow(BuildText(project));
    const std::filesystem::path target(path);
    std::filesystem::path temp = target;
    temp += L".tmp";
    std::error_code ec;
    bool ok = !path.empty() && !std::filesystem::is_directory(target, ec);
    if (ok) {
        std::ofstream out(temp, std::ios::binary | std::ios::trunc);
        ok = static_cast<bool>(out);
        if (ok) {
            out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
            out.close();
            ok = static_cast<bool>(out);
        }
        if (ok) {
            std::filesystem::rename(temp, target, ec);
            ok = !ec;
        }
        if (!ok)
            std::filesystem::remove(temp, ec);
    }
    if (!ok) {
        UserPrompt_cls* p = prompt != nullptr ? prompt : GetUserPrompt();
        p->Message(TrW("File open fails"), TrW("Error!"));
        return false;
    }
    if (!IsConfigureFile(path))
        mrMain.PushBackRecent(path);
    return true;
}

bool ProjectFile_cls::Read(const std::wstring& path)
{
    muLastTaken = 0;
    std::error_code ec;
    std::ifstream in(std::filesystem::path(path), std::ios::binary);
    if (!in || std::filesystem::is_directory(std::filesystem::path(path), ec)) {
        // A missing file is not an error; the panels still show the defaults.
        if (FuncHookAfterRead)
            FuncHookAfterRead();
        return false;
    }
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    muLastTaken = ReadText(Widen(bytes));
    if (FuncHookAfterRead)
        FuncHookAfterRead();
    if (!IsConfigureFile(path))
        mrMain.PushBackRecent(path);
    return true;
}

// ---- opening a project --------------------------------------------------------------------------------

bool ProjectFile_cls::OpenProject(const std::wstring& path)
{
    std::error_code ec;
    if (!std::filesystem::is_regular_file(std::filesystem::path(path), ec))
        return false;
    {
        ScopedListOmit omit;
        DF3SeqCtrl_cls& seqCtrl = mrMain.GetSeqCtrl();
        for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot)
            seqCtrl.GetSequence(slot).GetFilterCtrl().ClearFilter();
        mrMain.GetCameraPath().Clear();
        Read(path);
    }
    // Edits of the previous scene cannot be undone into this one.
    GetUndoManager().Clear();
    TimeCtrl_cls& clock = mrMain.GetTimeCtrl();
    clock.CheckWorkingArea();
    clock.DispatchTimeData();
    mrMain.SetProjectLoaded(true);
    return true;
}
