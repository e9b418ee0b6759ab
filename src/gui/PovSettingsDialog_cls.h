#pragma once
// The "Ray-tracer settings" dialog: every setting of PovRay_cls and its groups (files, rendering,
// image format, radiosity and photons, focal blur and background) in titled boxes, side by side.
// OK checks every value and applies the changes as one undoable step; an invalid value is named
// in a message and the dialog stays open with the field focused. "PovShowTweaks=" shows or
// hides the expert settings at once.
#include "gui/PovSettingsModel_cls.h"

#include <wx/dialog.h>

#include <map>
#include <string>

class PovRay_cls;
class wxCheckBox;
class wxChoice;
class wxControl;
class wxStaticText;

class PovSettingsDialog_cls : public wxDialog
{
  public:
    /// pov: the settings edited (not owned). GUI thread.
    PovSettingsDialog_cls(wxWindow* parent, PovRay_cls* pov);
    ~PovSettingsDialog_cls() override;

    /// The dialog that is open now, or null (for the window's state report).
    static PovSettingsDialog_cls* GetOpen() { return msOpen; }
    /// Screen rectangles of the fields and buttons for the state report:
    /// "povdlg.KEY=x y w h" (KEY without its "="), "povdlg.ok=..." and "povdlg.cancel=...".
    std::wstring DescribeWidgetPlaces() const;
    /// The values the widgets hold now, by key.
    std::map<std::wstring, std::wstring> CollectValues() const;

  private:
    void OnOk(wxCommandEvent& event);
    void ShowExpertFields(bool show);

    PovSettingsModel_cls mCModel;
    struct Widget {
        const PovSettingsModel_cls::Field* pField;
        wxControl* pControl;
        wxStaticText* pLabel;
    };
    std::vector<Widget> mvWidgets;
    wxCheckBox* mpTweaks = nullptr;
    static PovSettingsDialog_cls* msOpen;
};
