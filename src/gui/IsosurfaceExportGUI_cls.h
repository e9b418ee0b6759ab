#pragma once
// The isosurface export dialog: a save dialog for one isosurface item with the mesh file types,
// asking before an existing file is replaced, then one IsosurfaceExport_cls run.
#include <string>

class PovIsosurface_cls;
class UserPrompt_cls;
class wxWindow;

class IsosurfaceExportGUI_cls
{
  public:
    /// The dialog's title.
    static const char* const msTitle;
    /// The file-type filter: all mesh types, mesh2, OBJ.
    static const char* const msWildcard;

    /// Shows the save dialog for `iso` under `parent` and writes the chosen file; messages go to
    /// `prompt` (null: the process-wide one). True when a file was written. GUI thread.
    static bool ShowAndExport(wxWindow* parent, const PovIsosurface_cls& iso, UserPrompt_cls* prompt,
                              const std::wstring& folder);
    /// Writes `path` for the filter entry `filterIndex` of the dialog (0 all types: by the name's
    /// extension; 1 mesh2; 2 OBJ), asking before replacing a file. True when written.
    static bool ExportTo(const PovIsosurface_cls& iso, const std::wstring& path, int filterIndex,
                         UserPrompt_cls* prompt);
};
