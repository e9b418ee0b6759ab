#include "gui/IsosurfaceExportGUI_cls.h"

#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "filter/IsosurfaceExport_cls.h"
#include "filter/PovIsosurface_cls.h"

#include <wx/filedlg.h>

#include <filesystem>

const char* const IsosurfaceExportGUI_cls::msTitle = "Export isosurfece (POV mesh2 Format)";
const char* const IsosurfaceExportGUI_cls::msWildcard =
    "All possible (*.pov, *.obj)|*.pov;*.obj|povray mesh2 format(*.pov)|*.pov|Wavefront OBJ Format(*.obj)|*.obj";

bool IsosurfaceExportGUI_cls::ShowAndExport(wxWindow* parent, const PovIsosurface_cls& iso, UserPrompt_cls* prompt,
                                            const std::wstring& folder)
{
    // No wxFD_OVERWRITE_PROMPT: the question is asked by ExportTo, after the extension is known.
    wxFileDialog dialog(parent, TrW(msTitle), folder, L"", TrW(msWildcard), wxFD_SAVE);
    if (dialog.ShowModal() != wxID_OK)
        return false;
    return ExportTo(iso, dialog.GetPath().ToStdWstring(), dialog.GetFilterIndex(), prompt);
}

bool IsosurfaceExportGUI_cls::ExportTo(const PovIsosurface_cls& iso, const std::wstring& path, int filterIndex,
                                       UserPrompt_cls* prompt)
{
    UserPrompt_cls* p = prompt ? prompt : GetUserPrompt();
    IsosurfaceExport_cls::Settings settings;
    const std::string name = Narrow(path);
    settings.miFormat = filterIndex == 1   ? IsosurfaceExport_cls::kMesh2
                        : filterIndex == 2 ? IsosurfaceExport_cls::kObj
                                           : IsosurfaceExport_cls::FormatFromPath(name);
    settings.mStrPath = IsosurfaceExport_cls::WithExtension(name, settings.miFormat);
    settings.mbNormals = true;
    std::error_code ec;
    if (std::filesystem::exists(settings.mStrPath, ec)) {
        if (!p->AskYesNo(Widen(settings.mStrPath) + L"\n" + TrW("File already exists. Overwrite?"), TrW("Query"),
                         false))
            return false;
        settings.mbOverwrite = true;
    }
    switch (IsosurfaceExport_cls::Run(iso, settings)) {
    case IsosurfaceExport_cls::kWritten:
        p->SetStatusText(TrW("Isosurface written: ") + Widen(settings.mStrPath), 0);
        return true;
    case IsosurfaceExport_cls::kNoSurface:
        p->Message(TrW("The isosurface is empty: nothing was written."), TrW("Error!"));
        return false;
    case IsosurfaceExport_cls::kExists:
        p->Message(Widen(settings.mStrPath) + L"\n" + TrW("File already exists."), TrW("Write Error"));
        return false;
    default:
        p->Message(Widen(settings.mStrPath) + L"\n" + TrW("File open fails"), TrW("Write Error"));
        return false;
    }
}
