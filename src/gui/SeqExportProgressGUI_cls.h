#pragma once
// The small window a running sequence export shows: what is being written, a gauge and a Stop
// button. Modeless, so the window stays usable while the export works in idle passes or on its
// workers; closing it counts as Stop.
#include <wx/dialog.h>

#include <string>

class wxGauge;
class wxStaticText;

class SeqExportProgressGUI_cls : public wxDialog
{
  public:
    /// Shows the window over `parent` with `title`. Destroy it with Destroy() when the export ends.
    SeqExportProgressGUI_cls(wxWindow* parent, const std::wstring& title);
    /// Sets the gauge (0..100) and the line above it. GUI thread.
    void Update(int percent, const std::wstring& text);
    /// True once Stop was pressed or the window was closed.
    bool IsStopRequested() const { return mbStop; }

  private:
    void OnStop(wxCommandEvent& event);
    void OnClose(wxCloseEvent& event);

    wxGauge* mpGauge = nullptr;
    wxStaticText* mpText = nullptr;
    bool mbStop = false;
};
