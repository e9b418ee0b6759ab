#include "gui/PovSettingsDialog_cls.h"

#include "config/ConfItem_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "pov/PovRay_cls.h"

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/sizer.h>
#include <wx/statbox.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

PovSettingsDialog_cls* PovSettingsDialog_cls::msOpen = nullptr;

PovSettingsDialog_cls::PovSettingsDialog_cls(wxWindow* parent, PovRay_cls* pov)
    : wxDialog(parent, wxID_ANY, TrW("Ray-tracer settings"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      mCModel(pov)
{
    auto* columns = new wxBoxSizer(wxHORIZONTAL);
    // Files and rendering in the first column, image in the second, lighting and camera in the
    // third, so the whole set fits a screen without scrolling.
    const std::vector<PovSettingsModel_cls::Group>& groups = mCModel.GetGroups();
    std::vector<wxBoxSizer*> column(3);
    for (auto& c : column) {
        c = new wxBoxSizer(wxVERTICAL);
        columns->Add(c, 1, wxEXPAND | wxALL, 4);
    }
    const int columnOf[5] = {0, 0, 1, 2, 2};
    for (size_t gi = 0; gi < groups.size(); ++gi) {
        const PovSettingsModel_cls::Group& group = groups[gi];
        auto* box = new wxStaticBoxSizer(wxVERTICAL, this, group.strTitle);
        auto* grid = new wxFlexGridSizer(2, 4, 6);
        grid->AddGrowableCol(1, 1);
        for (const PovSettingsModel_cls::Field& field : group.vFields) {
            wxStaticText* label = nullptr;
            wxControl* control = nullptr;
            const std::wstring value = field.pItem->GetItemStr();
            switch (field.eKind) {
            case PovSettingsModel_cls::kCheck: {
                label = new wxStaticText(box->GetStaticBox(), wxID_ANY, L"");
                auto* check = new wxCheckBox(box->GetStaticBox(), wxID_ANY, field.strLabel);
                check->SetValue(value == L"1");
                control = check;
                if (field.strKey == L"PovShowTweaks=") {
                    mpTweaks = check;
                    check->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent& e) { ShowExpertFields(e.IsChecked()); });
                }
                break;
            }
            case PovSettingsModel_cls::kChoice: {
                label = new wxStaticText(box->GetStaticBox(), wxID_ANY, field.strLabel);
                auto* choice = new wxChoice(box->GetStaticBox(), wxID_ANY);
                for (const std::wstring& text : field.vChoices)
                    choice->Append(text);
                const long index = ParseLong(value);
                // A value no entry names (a newer file) is shown as a number of its own.
                if (index < 0 || index >= static_cast<long>(field.vChoices.size()))
                    choice->Append(value);
                choice->SetSelection(index >= 0 && index < static_cast<long>(field.vChoices.size())
                                         ? static_cast<int>(index)
                                         : static_cast<int>(choice->GetCount()) - 1);
                control = choice;
                break;
            }
            case PovSettingsModel_cls::kText:
            default: {
                label = new wxStaticText(box->GetStaticBox(), wxID_ANY, field.strLabel);
                const bool wide = dynamic_cast<ConfItemSTR_cls*>(field.pItem) != nullptr;
                control = new wxTextCtrl(box->GetStaticBox(), wxID_ANY, value, wxDefaultPosition,
                                         wxSize(wide ? 260 : 90, -1));
                break;
            }
            }
            control->SetName(field.strKey);
            grid->Add(label, 0, wxALIGN_CENTER_VERTICAL);
            grid->Add(control, 1, wxEXPAND);
            mvWidgets.push_back(Widget{&field, control, label});
        }
        box->Add(grid, 1, wxEXPAND | wxALL, 4);
        column[static_cast<size_t>(columnOf[gi < 5 ? gi : 4])]->Add(box, 0, wxEXPAND | wxBOTTOM, 6);
    }
    auto* top = new wxBoxSizer(wxVERTICAL);
    top->Add(columns, 1, wxEXPAND);
    top->Add(CreateStdDialogButtonSizer(wxOK | wxCANCEL), 0, wxEXPAND | wxALL, 6);
    SetSizer(top);
    Bind(wxEVT_BUTTON, &PovSettingsDialog_cls::OnOk, this, wxID_OK);
    ShowExpertFields(mpTweaks != nullptr && mpTweaks->GetValue());
    msOpen = this;
}

PovSettingsDialog_cls::~PovSettingsDialog_cls()
{
    if (msOpen == this)
        msOpen = nullptr;
}

void PovSettingsDialog_cls::ShowExpertFields(bool show)
{
    for (const Widget& w : mvWidgets) {
        if (!w.pField->bExpert)
            continue;
        w.pControl->Show(show);
        w.pLabel->Show(show);
    }
    Layout();
    GetSizer()->SetSizeHints(this);
}

std::map<std::wstring, std::wstring> PovSettingsDialog_cls::CollectValues() const
{
    std::map<std::wstring, std::wstring> values;
    for (const Widget& w : mvWidgets) {
        std::wstring text;
        if (auto* check = dynamic_cast<wxCheckBox*>(w.pControl)) {
            text = check->GetValue() ? L"1" : L"0";
        } else if (auto* choice = dynamic_cast<wxChoice*>(w.pControl)) {
            const int sel = choice->GetSelection();
            // The extra entry of an unknown value keeps that value.
            text = sel >= 0 && sel < static_cast<int>(w.pField->vChoices.size())
                       ? WStrPrintf("%d", sel)
                       : choice->GetString(static_cast<unsigned>(std::max(sel, 0))).ToStdWstring();
        } else if (auto* field = dynamic_cast<wxTextCtrl*>(w.pControl)) {
            text = field->GetValue().ToStdWstring();
        }
        values[w.pField->strKey] = text;
    }
    return values;
}

void PovSettingsDialog_cls::OnOk(wxCommandEvent& event)
{
    std::wstring bad;
    if (mCModel.Apply(CollectValues(), &bad) < 0) {
        std::wstring label = bad;
        if (const PovSettingsModel_cls::Field* f = mCModel.FindField(bad))
            label = f->strLabel;
        GetUserPrompt()->Message(TrW("Invalid value: ") + label, TrW("Error!"));
        for (const Widget& w : mvWidgets)
            if (w.pField->strKey == bad) {
                // An expert field with the bad value is shown so the user can correct it.
                if (!w.pControl->IsShown())
                    ShowExpertFields(true);
                w.pControl->SetFocus();
            }
        return;
    }
    event.Skip();
}

std::wstring PovSettingsDialog_cls::DescribeWidgetPlaces() const
{
    std::wstring text;
    auto place = [](const wxWindow* w) {
        const wxPoint p = w->GetScreenPosition();
        const wxSize s = w->GetSize();
        return WStrPrintf("%d %d %d %d", p.x, p.y, s.x, s.y);
    };
    for (const Widget& w : mvWidgets) {
        if (!w.pControl->IsShownOnScreen())
            continue;
        std::wstring key = w.pField->strKey;
        if (!key.empty() && key.back() == L'=')
            key.pop_back();
        text += L"povdlg." + key + L"=" + place(w.pControl) + L"\n";
    }
    if (const wxWindow* ok = FindWindow(wxID_OK))
        text += L"povdlg.ok=" + place(ok) + L"\n";
    if (const wxWindow* cancel = FindWindow(wxID_CANCEL))
        text += L"povdlg.cancel=" + place(cancel) + L"\n";
    return text;
}
