#include "gui/Shortcut_cls.h"

#include "config/TextFormat.h"
#include "config/Translate.h"

#include <wx/accel.h>
#include <wx/log.h>
#include <wx/menu.h>

#include <fstream>
#include <iterator>

namespace
{

const char* const kBlockBegin = "-ShortcutBegin";
const char* const kBlockEnd = "-ShortcutEnd";

std::wstring Trim(const std::wstring& s)
{
    const size_t b = s.find_first_not_of(L" \t\r\n");
    if (b == std::wstring::npos)
        return L"";
    const size_t e = s.find_last_not_of(L" \t\r\n");
    return s.substr(b, e - b + 1);
}

// The toolkit's normalised form, so "ctrl+q" and "Ctrl+Q" count as the same key.
std::wstring Normalise(const std::wstring& key)
{
    if (key.empty())
        return key;
    wxAcceleratorEntry entry;
    if (!entry.FromString(wxString(key)))
        return L"";
    return entry.ToRawString().ToStdWstring();
}

} // namespace

const std::vector<Shortcut_cls::Record>& Shortcut_cls::Records()
{
    static const std::vector<Record> sRecords = {
        {kIdOpenProject, "&File", "OpenProject", "&Open Project...", "Open a project file (*.vsp)", "Ctrl+O",
         "ICONS/Open.png", kNormal},
        {kIdSaveProject, "&File", "SaveProject", "&Save Project", "Save the project", "Ctrl+S", "ICONS/Save.png",
         kNormal},
        {kIdSaveProjectAs, "&File", "SaveProjectAs", "Save Project &As...", "Save the project under a new name",
         "Ctrl+Shift+S", "", kNormal},
        {0, "&File", "", "", "", "", "", kSeparator},
        {kIdOpenData, "&File", "OpenData", "Open &Data...", "Open a DF3 volume and the numbered series it belongs to",
         "Ctrl+D", "", kNormal},
        {kIdAppendData, "&File", "AppendData", "A&ppend Data...", "Add a DF3 series to the active data slot", "", "",
         kNormal},
        {kIdCloseData, "&File", "CloseData", "&Close Data", "Empty the active data slot", "", "", kNormal},
        // Moved into the File menu's "Export" submenu when the menu bar is built.
        {kIdExportImgSeq, "&File", "ExportImgSeq", "Image sequence\u2026",
         "Save every frame of the working area as drawn in the view, as numbered PNG files", "", "", kNormal},
        {kIdExportIsoSeq, "&File", "ExportIsoSeq", "Isosurface sequence\u2026",
         "Write the isosurfaces of every frame of the working area as numbered mesh files", "", "", kNormal},
        {0, "&File", "", "", "", "", "", kSeparator},
        {kIdRecentFirst, "&File", "", "&Recent Projects", "Open a recently used project", "", "", kRecentSubmenu},
        {0, "&File", "", "", "", "", "", kSeparator},
        {kIdQuit, "&File", "Quit", "&Quit", "Quit Kivrel Tessan", "Ctrl+Q", "", kNormal},
        {kIdUndo, "&Edit", "Undo", "&Undo", "Undo the last edit", "Ctrl+Z", "", kNormal},
        {kIdRedo, "&Edit", "Redo", "&Redo", "Redo the edit undone last", "Ctrl+Y", "", kNormal},
        {0, "&Edit", "", "", "", "", "", kSeparator},
        {kIdAddKey, "&Edit", "AddKey", "&Add Key", "Key the shown parameter set at the current frame", "Insert", "",
         kNormal},
        {kIdDeleteKeys, "&Edit", "DeleteKeys", "&Delete Keys",
         "Delete the selected keys (or the key at the current frame)", "Delete", "", kNormal},
        {kIdCopyKeys, "&Edit", "CopyKeys", "&Copy Keys", "Copy the selected keys to the clipboard", "Ctrl+C", "",
         kNormal},
        {kIdPasteKeys, "&Edit", "PasteKeys", "&Paste Keys", "Paste keys from the clipboard at the current frame",
         "Ctrl+V", "", kNormal},
        {0, "&Edit", "", "", "", "", "", kSeparator},
        {kIdPreferences, "&Edit", "Preferences", "P&references...", "Worker threads and key assignments", "Ctrl+P", "",
         kNormal},
        {kIdOneView, "&View", "OneView", "&One View", "Show one large perspective view", "Ctrl+1", "", kRadio},
        {kIdFourViews, "&View", "FourViews", "&Four Views", "Show the top, front, side and perspective views", "Ctrl+4",
         "", kRadio},
        {0, "&View", "", "", "", "", "", kSeparator},
        {kIdResetCamera, "&View", "ResetCamera", "&Reset Camera", "Put every view's camera back to its start", "Ctrl+R",
         "", kNormal},
        {kIdExtraView, "&View", "ExtraView", "&Extra View Window", "Show the separate view window", "Ctrl+E", "",
         kCheck},
        {kIdDrawingBlocks, "&View", "DrawingBlocks", "Drawing &Blocks...",
         "Sub-box division and per-slot colour and alpha of the volume boxes", "", "", kNormal},
        {kIdToolTip, "&View", "ToolTip", "Show &Tool Tips", "Show tool tips on the controls", "", "", kCheck},
        {0, "&View", "", "", "", "", "", kSeparator},
        {kIdStereoView, "&View", "StereoView", "&Stereogram View",
         "Show the extra view window as a stereo pair (parallel, crossed, over-under or anaglyph)", "Ctrl+T", "",
         kCheck},
        {kIdStereoSettings, "&View", "StereoSettings", "Stereogram Se&ttings...",
         "Eye separation, convergence distance and how the pair is shown", "", "", kNormal},
        {kIdUseCameraPath, "&View", "UseCameraPath", "Look through Camera &Path",
         "View 0 follows the active camera of the camera path", "", "", kCheck},
        {kIdShowCameraPath, "&View", "ShowCameraPath", "Show Camera Pat&h",
         "Draw the cameras of the camera path and their tracks in the views", "", "", kCheck},
        {kIdSaveViewImage, "&View", "SaveViewImage", "Save View as &Image...",
         "Save the active view as a PNG picture of any size", "", "", kNormal},
        {kIdPlay, "&Animation", "Play", "&Play / Pause", "Play from the current frame, or stop playing", "Space", "",
         kNormal},
        {kIdStop, "&Animation", "Stop", "&Stop", "Stop playing", "Escape", "", kNormal},
        {kIdStepForward, "&Animation", "StepForward", "Step &Forward", "One step forward", "Right", "", kNormal},
        {kIdStepBack, "&Animation", "StepBack", "Step &Back", "One step back", "Left", "", kNormal},
        {kIdFirstFrame, "&Animation", "FirstFrame", "F&irst Frame", "First frame of the working area", "Home", "",
         kNormal},
        {kIdLastFrame, "&Animation", "LastFrame", "&Last Frame", "Last frame of the working area", "End", "", kNormal},
        {0, "&Animation", "", "", "", "", "", kSeparator},
        {kIdUseTimeRemap, "&Animation", "UseTimeRemap", "Use time-remap",
         "Show the data frames through the time-remap curve", "", "", kCheck},
        {kIdSnapshot, "&Render", "Snapshot", "&Snapshot", "Write the current frame's scene and render it by Pov-Ray",
         "F6", "", kNormal},
        {kIdExportSnapshot, "&Render", "ExportSnapshot", "Export S&napshot",
         "Write the current frame's .pov and .ini files without rendering", "", "", kNormal},
        {0, "&Render", "", "", "", "", "", kSeparator},
        {kIdExportAnim, "&Render", "ExportAnim", "&Export sequence",
         "Write the .pov and .ini files of every frame and the script RenderAnim.sh", "", "", kNormal},
        {kIdRenderAnim, "&Render", "RenderAnim", "&Render sequence",
         "Render every frame by Pov-Ray, one after the other; again to stop", "Ctrl+F6", "", kNormal},
        {0, "&Render", "", "", "", "", "", kSeparator},
        {kIdPovSettings, "&Render", "PovSettings", "Ray-tracer se&ttings...",
         "Pov-Ray path, working directory, image size and quality", "", "", kNormal},
        {0, "&Render", "", "", "", "", "", kSeparator},
        {kIdExportParallel, "&Render", "ExportParallel", "Export for &GNU Parallel...",
         "Write every frame's scene and RenderParallel.sh, which renders them through GNU Parallel here or on "
         "other hosts",
         "", "", kNormal},
        {kIdExportSlurm, "&Render", "ExportSlurm", "Export for S&lurm...",
         "Write every frame's scene and RenderSlurm.sh, a Slurm job array with one task per frame", "", "", kNormal},
        {kIdAbout, "&Help", "About", "&About...", "About Kivrel Tessan", "F1", "", kNormal},
    };
    return sRecords;
}

Shortcut_cls::Shortcut_cls()
{
    for (const Record& r : Records())
        mvKeys.push_back(Normalise(Widen(r.mpDefault)));
}

bool Shortcut_cls::IsValidKey(const std::wstring& key)
{
    if (key.empty())
        return true;
    wxAcceleratorEntry entry;
    return entry.FromString(wxString(key));
}

std::wstring Shortcut_cls::GetKey(const std::string& name) const
{
    const auto& records = Records();
    for (size_t i = 0; i < records.size(); ++i)
        if (name == records[i].mpName && !name.empty())
            return mvKeys[i];
    return L"";
}

bool Shortcut_cls::SetKey(const std::string& name, const std::wstring& key)
{
    if (name.empty() || !IsValidKey(key))
        return false;
    const std::wstring norm = Normalise(key);
    const auto& records = Records();
    size_t index = records.size();
    for (size_t i = 0; i < records.size(); ++i) {
        if (name == records[i].mpName)
            index = i;
        else if (!norm.empty() && mvKeys[i] == norm)
            return false; // one key, one command
    }
    if (index == records.size())
        return false;
    mvKeys[index] = norm;
    return true;
}

int Shortcut_cls::FindCommandByKey(const std::wstring& key) const
{
    const std::wstring norm = Normalise(key);
    if (norm.empty())
        return 0;
    const auto& records = Records();
    for (size_t i = 0; i < records.size(); ++i)
        if (records[i].mpName[0] != '\0' && mvKeys[i] == norm)
            return records[i].miId;
    return 0;
}

bool Shortcut_cls::IsPlainKey(const std::wstring& key)
{
    wxAcceleratorEntry entry;
    return !key.empty() && entry.FromString(wxString(key)) && entry.GetFlags() == wxACCEL_NORMAL;
}

int Shortcut_cls::ReadShortcutLines(const std::vector<std::wstring>& lines)
{
    int taken = 0;
    for (const std::wstring& raw : lines) {
        const std::wstring line = Trim(raw);
        const size_t eq = line.find(L'=');
        if (eq == std::wstring::npos || eq == 0)
            continue;
        taken += SetKey(Narrow(Trim(line.substr(0, eq))), Trim(line.substr(eq + 1))) ? 1 : 0;
    }
    return taken;
}

int Shortcut_cls::ReadShortcutSection(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return 0;
    std::vector<std::wstring> block;
    bool inside = false;
    for (std::string line; std::getline(in, line);) {
        const std::wstring w = Trim(Widen(line));
        if (w == Widen(kBlockBegin)) {
            inside = true;
            block.clear();
        } else if (w == Widen(kBlockEnd)) {
            if (inside)
                return ReadShortcutLines(block);
        } else if (inside) {
            block.push_back(w);
        }
    }
    // A block without its end marker (a cut file) still gives what it holds.
    return inside ? ReadShortcutLines(block) : 0;
}

std::wstring Shortcut_cls::SerializeForConfigure() const
{
    std::wstring text = Widen(kBlockBegin) + L"\n";
    const auto& records = Records();
    for (size_t i = 0; i < records.size(); ++i)
        if (records[i].mpName[0] != '\0')
            text += Widen(records[i].mpName) + L"=" + mvKeys[i] + L"\n";
    text += Widen(kBlockEnd) + L"\n";
    return text;
}

std::vector<Shortcut_cls::Menu> Shortcut_cls::BuildMenuModel() const
{
    std::vector<Menu> model;
    const auto& records = Records();
    for (size_t i = 0; i < records.size(); ++i) {
        const Record& r = records[i];
        const std::wstring title = TrW(r.mpMenu);
        if (model.empty() || model.back().mStrTitle != title)
            model.push_back(Menu{title, {}});
        MenuEntry e;
        e.miId = r.miId;
        e.meKind = r.meKind;
        if (r.meKind != kSeparator) {
            e.mStrLabel = TrW(r.mpText);
            if (!mvKeys[i].empty())
                e.mStrLabel += L"\t" + mvKeys[i];
            e.mStrHelp = TrW(r.mpHelp);
        }
        model.back().mvEntries.push_back(std::move(e));
    }
    return model;
}

wxMenu* Shortcut_cls::SetMenuItem(wxMenuBar* bar, const std::vector<Menu>& model)
{
    // GTK takes no arrow key without a modifier as a menu accelerator and the toolkit logs each
    // such label; the window runs those keys from its key hook, so the note is only noise.
    wxLogNull quiet;
    wxMenu* recent = nullptr;
    for (const Menu& m : model) {
        auto* menu = new wxMenu;
        for (const MenuEntry& e : m.mvEntries) {
            switch (e.meKind) {
            case kSeparator:
                menu->AppendSeparator();
                break;
            case kCheck:
                menu->AppendCheckItem(e.miId, e.mStrLabel, e.mStrHelp);
                break;
            case kRadio:
                menu->AppendRadioItem(e.miId, e.mStrLabel, e.mStrHelp);
                break;
            case kRecentSubmenu:
                recent = new wxMenu;
                menu->AppendSubMenu(recent, e.mStrLabel, e.mStrHelp);
                break;
            case kNormal:
            default:
                menu->Append(e.miId, e.mStrLabel, e.mStrHelp);
                break;
            }
        }
        bar->Append(menu, m.mStrTitle);
    }
    return recent;
}
