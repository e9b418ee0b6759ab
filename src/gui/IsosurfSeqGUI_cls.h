#pragma once
// The window's isosurface-sequence export (File > Export > "Isosurface sequence…"): asks for the
// first file name (mesh2 .pov or OBJ .obj, numbered by frame), runs ExportIsosurfSeq_cls on the
// active slot over the clock's working area, and shows its progress with a Stop button while the
// workers run. The idle handler polls the export; results and messages come on the GUI thread.
#include <wx/event.h>

#include <memory>
#include <string>

class ExportIsosurfSeq_cls;
class FrameMain_cls;
class Main_cls;
class SeqExportProgressGUI_cls;

class IsosurfSeqGUI_cls : public wxEvtHandler
{
  public:
    /// Binds the menu entry and an idle handler on `frame` (both not owned; frame outlives this).
    IsosurfSeqGUI_cls(FrameMain_cls* frame, Main_cls* main);
    /// Stops a running export and waits for its workers.
    ~IsosurfSeqGUI_cls() override;

    /// Starts the export of the active slot into files named by `pattern` (.obj: OBJ, else
    /// mesh2). False, with a message, when it cannot start. GUI thread.
    bool Start(const std::wstring& pattern);
    bool IsRunning() const;

  private:
    void OnMenu(wxCommandEvent& event);
    void OnIdle(wxIdleEvent& event);

    FrameMain_cls* mpFrame;
    Main_cls* mpMain;
    std::unique_ptr<ExportIsosurfSeq_cls> mpExport;
    SeqExportProgressGUI_cls* mpProgress = nullptr;
};
