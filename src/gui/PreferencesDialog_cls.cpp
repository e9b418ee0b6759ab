#include "gui/PreferencesDialog_cls.h"

#include "config/ConfItemList_cls.h"
#include "config/ConfItem_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "gui/NumInput_cls.h"

#include <algorithm>
#include <cmath>
#include <thread>

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/listctrl.h>
#include <wx/notebook.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

namespace
{
std::wstring KeyLabel(const std::wstring& key)
{
    std::wstring k = key;
    if (!k.empty() && k.back() == L'=')
        k.pop_back();
    return k;
}

/// Range of a numeric preference: worker counts are limited by the 16 worker slots.
void RangeOf(const std::wstring& key, double* min, double* max)
{
    if (key == L"ThreadNumFilter=") {
        *min = 1.0;
        *max = 16.0;
        return;
    }
    *min = -1.0e9;
    *max = 1.0e9;
}
} // namespace

PreferencesDialog_cls::PreferencesDialog_cls(wxWindow* parent, ConfItemList_cls* preferences, Shortcut_cls* keys)
    : wxDialog(parent, wxID_ANY, TrW("Preferences"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      mpPreferences(preferences), mpKeys(keys), mCKeys(*keys)
{
    auto* top = new wxBoxSizer(wxVERTICAL);
    auto* book = new wxNotebook(this, wxID_ANY);

    // General: one row per preference item, by its kind.
    auto* general = new wxPanel(book, wxID_ANY);
    auto* gs = new wxBoxSizer(wxVERTICAL);
    for (ConfItem_cls* item : mpPreferences->Items()) {
        PrefRow row{item};
        const std::wstring label = TrW(Narrow(KeyLabel(item->GetKey())).c_str());
        double min = 0.0, max = 0.0;
        RangeOf(item->GetKey(), &min, &max);
        if (auto* b = dynamic_cast<ConfItemBOOL_cls*>(item)) {
            row.pCheck = new wxCheckBox(general, wxID_ANY, label);
            row.pCheck->SetValue(b->Get());
            gs->Add(row.pCheck, 0, wxALL, 4);
        } else if (auto* i = dynamic_cast<ConfItemINT_cls*>(item)) {
            row.pNumber = new NumInput_cls(general, label, min, max, 1.0, true);
            row.pNumber->SetValue(i->Get());
            gs->Add(row.pNumber, 0, wxEXPAND | wxALL, 4);
        } else if (auto* u = dynamic_cast<ConfItemUINT_cls*>(item)) {
            row.pNumber = new NumInput_cls(general, label, std::max(min, 0.0), max, 1.0, true);
            row.pNumber->SetValue(u->Get());
            gs->Add(row.pNumber, 0, wxEXPAND | wxALL, 4);
        } else if (auto* f = dynamic_cast<ConfItemFLOAT_cls*>(item)) {
            row.pNumber = new NumInput_cls(general, label, min, max, 0.1, false);
            row.pNumber->SetValue(f->Get());
            gs->Add(row.pNumber, 0, wxEXPAND | wxALL, 4);
        } else if (auto* d = dynamic_cast<ConfItemDOUBLE_cls*>(item)) {
            row.pNumber = new NumInput_cls(general, label, min, max, 0.1, false);
            row.pNumber->SetValue(d->Get());
            gs->Add(row.pNumber, 0, wxEXPAND | wxALL, 4);
        } else if (auto* s = dynamic_cast<ConfItemSTR_cls*>(item)) {
            auto* line = new wxBoxSizer(wxHORIZONTAL);
            line->Add(
                new wxStaticText(general, wxID_ANY, label, wxDefaultPosition, wxSize(NumInput_cls::kLabelWidth, -1)), 0,
                wxALIGN_CENTER_VERTICAL | wxRIGHT, 4);
            row.pText = new wxTextCtrl(general, wxID_ANY, s->Get());
            line->Add(row.pText, 1);
            gs->Add(line, 0, wxEXPAND | wxALL, 4);
        } else {
            continue;
        }
        mvRow.push_back(row);
    }
    gs->Add(new wxStaticText(general, wxID_ANY,
                             WStrPrintf("%s %u", Narrow(TrW("Processor cores:")).c_str(),
                                        std::max(1u, std::thread::hardware_concurrency()))),
            0, wxALL, 4);
    general->SetSizer(gs);
    book->AddPage(general, TrW("General"));

    // Keys: the command table with the edited keys.
    auto* keysPage = new wxPanel(book, wxID_ANY);
    auto* ks = new wxBoxSizer(wxVERTICAL);
    mpKeyList = new wxListCtrl(keysPage, wxID_ANY, wxDefaultPosition, wxSize(420, 260), wxLC_REPORT | wxLC_SINGLE_SEL);
    mpKeyList->AppendColumn(TrW("Command"), wxLIST_FORMAT_LEFT, 260);
    mpKeyList->AppendColumn(TrW("Key"), wxLIST_FORMAT_LEFT, 140);
    ks->Add(mpKeyList, 1, wxEXPAND | wxALL, 4);
    auto* line = new wxBoxSizer(wxHORIZONTAL);
    mpKeyText = new wxTextCtrl(keysPage, wxID_ANY, L"");
    mpKeyText->SetToolTip(TrW("A key as the menus show it, e.g. Ctrl+Shift+K; empty for none"));
    line->Add(mpKeyText, 1, wxRIGHT, 4);
    auto* assign = new wxButton(keysPage, wxID_ANY, TrW("Assign"));
    auto* reset = new wxButton(keysPage, wxID_ANY, TrW("Reset"));
    auto* resetAll = new wxButton(keysPage, wxID_ANY, TrW("Reset All"));
    line->Add(assign, 0, wxRIGHT, 2);
    line->Add(reset, 0, wxRIGHT, 2);
    line->Add(resetAll, 0);
    ks->Add(line, 0, wxEXPAND | wxALL, 4);
    keysPage->SetSizer(ks);
    book->AddPage(keysPage, TrW("Keys"));
    FillKeyList();
    mpKeyList->Bind(wxEVT_LIST_ITEM_SELECTED,
                    [this](wxListEvent& e) { mpKeyText->ChangeValue(mpKeyList->GetItemText(e.GetIndex(), 1)); });
    assign->Bind(wxEVT_BUTTON,
                 [this](wxCommandEvent&) { AssignKey(SelectedRow(), mpKeyText->GetValue().ToStdWstring()); });
    reset->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ResetKey(SelectedRow()); });
    resetAll->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ResetKey(-1); });

    top->Add(book, 1, wxEXPAND | wxALL, 6);
    top->Add(CreateStdDialogButtonSizer(wxOK | wxCANCEL), 0, wxEXPAND | wxALL, 6);
    SetSizerAndFit(top);
    // The first preference has the focus when the dialog is up, its text selected, so that a
    // value can be typed and taken with Return at once.
    Bind(wxEVT_INIT_DIALOG, [this](wxInitDialogEvent& e) {
        e.Skip();
        CallAfter([this] {
            if (wxWindow* first = GetFirstInput()) {
                first->SetFocus();
                if (auto* text = dynamic_cast<wxTextCtrl*>(first))
                    text->SelectAll();
            }
        });
    });
}

wxWindow* PreferencesDialog_cls::GetFirstInput() const
{
    for (const PrefRow& row : mvRow) {
        if (row.pNumber)
            return row.pNumber->GetTextCtrl();
        if (row.pCheck)
            return row.pCheck;
        if (row.pText)
            return row.pText;
    }
    return nullptr;
}

void PreferencesDialog_cls::FillKeyList()
{
    mpKeyList->DeleteAllItems();
    mviRecord.clear();
    const auto& records = Shortcut_cls::Records();
    for (size_t i = 0; i < records.size(); ++i) {
        const Shortcut_cls::Record& r = records[i];
        if (r.mpName[0] == '\0')
            continue; // separators and the recent list carry no key
        std::wstring text = TrW(r.mpMenu) + L" > " + TrW(r.mpText);
        text.erase(std::remove(text.begin(), text.end(), L'&'), text.end());
        const long row = mpKeyList->InsertItem(mpKeyList->GetItemCount(), text);
        mpKeyList->SetItem(row, 1, mCKeys.GetKey(r.mpName));
        mviRecord.push_back(static_cast<int>(i));
    }
}

int PreferencesDialog_cls::SelectedRow() const
{
    return static_cast<int>(mpKeyList->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED));
}

bool PreferencesDialog_cls::AssignKey(int row, const std::wstring& key)
{
    if (row < 0 || row >= static_cast<int>(mviRecord.size()))
        return false;
    const Shortcut_cls::Record& r = Shortcut_cls::Records()[static_cast<size_t>(mviRecord[static_cast<size_t>(row)])];
    if (!mCKeys.SetKey(r.mpName, key)) {
        GetUserPrompt()->Message(TrW("This key is not valid or is used by another command"), TrW("Error!"));
        mpKeyText->ChangeValue(mCKeys.GetKey(r.mpName));
        return false;
    }
    mpKeyList->SetItem(row, 1, mCKeys.GetKey(r.mpName));
    return true;
}

void PreferencesDialog_cls::ResetKey(int row)
{
    if (row < 0) {
        mCKeys = Shortcut_cls();
        FillKeyList();
        return;
    }
    if (row >= static_cast<int>(mviRecord.size()))
        return;
    const Shortcut_cls::Record& r = Shortcut_cls::Records()[static_cast<size_t>(mviRecord[static_cast<size_t>(row)])];
    // The default may be held by another command meanwhile: that is refused like a typed key.
    if (AssignKey(row, Widen(r.mpDefault)))
        mpKeyText->ChangeValue(mCKeys.GetKey(r.mpName));
}

bool PreferencesDialog_cls::Apply()
{
    bool changed = false;
    for (PrefRow& row : mvRow) {
        const std::wstring before = row.pItem->GetItemStr();
        if (row.pNumber) {
            row.pNumber->Commit(); // text typed but not yet taken counts
            const double v = row.pNumber->GetValue();
            if (auto* i = dynamic_cast<ConfItemINT_cls*>(row.pItem))
                i->Set(static_cast<int32_t>(std::lround(v)));
            else if (auto* u = dynamic_cast<ConfItemUINT_cls*>(row.pItem))
                u->Set(static_cast<uint32_t>(std::lround(v)));
            else if (auto* f = dynamic_cast<ConfItemFLOAT_cls*>(row.pItem))
                f->Set(static_cast<float>(v));
            else if (auto* d = dynamic_cast<ConfItemDOUBLE_cls*>(row.pItem))
                d->Set(v);
        } else if (row.pCheck) {
            if (auto* b = dynamic_cast<ConfItemBOOL_cls*>(row.pItem))
                b->Set(row.pCheck->GetValue());
        } else if (row.pText) {
            if (auto* t = dynamic_cast<ConfItemSTR_cls*>(row.pItem))
                t->Set(row.pText->GetValue().ToStdWstring());
        }
        changed = changed || row.pItem->GetItemStr() != before;
    }
    if (mCKeys.SerializeForConfigure() != mpKeys->SerializeForConfigure()) {
        *mpKeys = mCKeys;
        changed = true;
    }
    return changed;
}
