#include "gui/FilterChainGUI_cls.h"

#include "config/TextFormat.h"
#include "config/Translate.h"
#include "filter/FilterCtrl_cls.h"
#include "gui/FilterItemGUI_cls.h"

#include <algorithm>
#include <vector>

#include <wx/button.h>
#include <wx/checklst.h>
#include <wx/menu.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

namespace
{
// Ids of the add menu's entries: first + position in the chain's menu table.
constexpr int kIdAddFirst = 7100;

int FindKey(FilterBase_cls* item, const std::wstring& key)
{
    const auto& items = item->GetPData()->GetConfList().Items();
    for (size_t i = 0; i < items.size(); ++i)
        if (items[i]->GetKey() == key)
            return static_cast<int>(i);
    return -1;
}
} // namespace

FilterChainGUI_cls::FilterChainGUI_cls(wxWindow* parent, FilterCtrl_cls* chain)
    : wxPanel(parent, wxID_ANY), mpChain(chain)
{
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    mpList = new wxCheckListBox(this, wxID_ANY, wxDefaultPosition, wxSize(-1, 110));
    mpList->SetToolTip(TrW("The chain runs from top to bottom; the box switches an item on or off"));
    sizer->Add(mpList, 0, wxEXPAND | wxALL, 3);
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    auto button = [&](const char* text, const char* tip) {
        auto* b = new wxButton(this, wxID_ANY, TrW(text), wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
        b->SetToolTip(TrW(tip));
        buttons->Add(b, 0, wxRIGHT, 2);
        return b;
    };
    mpAdd = button("Add...", "Add an item after the selected one");
    mpRemove = button("Remove", "Remove the selected item");
    mpUp = button("Up", "Move the selected item up");
    mpDown = button("Down", "Move the selected item down");
    mpRename = button("Rename", "Edit the label of the selected item");
    sizer->Add(buttons, 0, wxLEFT | wxRIGHT, 3);
    mpItemSizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(mpItemSizer, 0, wxEXPAND | wxALL, 2);
    SetSizer(sizer);

    mpList->Bind(wxEVT_LISTBOX, [this](wxCommandEvent&) { OnListSelect(); });
    mpList->Bind(wxEVT_CHECKLISTBOX, [this](wxCommandEvent& e) { OnListCheck(e.GetInt()); });
    mpAdd->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ShowAddMenu(); });
    mpRemove->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { RemoveSelected(); });
    mpUp->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { MoveSelected(-1); });
    mpDown->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { MoveSelected(1); });
    mpRename->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        if (mpItemPanel)
            mpItemPanel->FocusName();
    });
    Bind(wxEVT_MENU, [this](wxCommandEvent& e) {
        const auto& entries = FilterCtrl_cls::GetMenuEntries();
        const int i = e.GetId() - kIdAddFirst;
        if (i >= 0 && i < static_cast<int>(entries.size()))
            AddItem(entries[static_cast<size_t>(i)].iType);
    });
    UpdateFromChain();
}

FilterChainGUI_cls::~FilterChainGUI_cls() = default;

void FilterChainGUI_cls::SetHistogramFunc(HistogramFunc f)
{
    mHistogram = std::move(f);
    if (mpItemPanel) {
        mpItemPanel->SetHistogramFunc(mHistogram);
        mpItemPanel->UpdateFromItem();
    }
}

void FilterChainGUI_cls::UpdateFromChain()
{
    if (!FilterCtrl_cls::IsLive(mpChain))
        return;
    mbUpdating = true;
    const int n = mpChain->GetItemNum();
    // Rewritten only where a row differs, so that the list does not flicker or lose its scroll.
    while (static_cast<int>(mpList->GetCount()) > n)
        mpList->Delete(mpList->GetCount() - 1);
    for (int i = 0; i < n; ++i) {
        FilterBase_cls* item = mpChain->GetPFilterBase(i);
        const wxString label = item->GetLocaleStrLabel();
        if (i >= static_cast<int>(mpList->GetCount()))
            mpList->Append(label);
        else if (mpList->GetString(static_cast<unsigned>(i)) != label)
            mpList->SetString(static_cast<unsigned>(i), label);
        mpList->Check(static_cast<unsigned>(i), item->GetPData()->IsValid());
    }
    // The selection follows its item (by tag) wherever it moved; a removed item's panel goes.
    const int at = mStrSelectedTag.empty() ? -1 : mpChain->GetIndexFromTag(mStrSelectedTag);
    if (at >= 0)
        mpList->SetSelection(at);
    else if (mpList->GetSelection() != wxNOT_FOUND)
        mpList->Deselect(mpList->GetSelection());
    if (at < 0 && !mStrSelectedTag.empty())
        ShowItemPanel(L"");
    else if (mpItemPanel)
        mpItemPanel->UpdateFromItem();
    mpRemove->Enable(at >= 0);
    mpUp->Enable(at > 0);
    mpDown->Enable(at >= 0 && at + 1 < n);
    mpRename->Enable(at >= 0);
    mbUpdating = false;
}

int FilterChainGUI_cls::GetSelection() const
{
    return mStrSelectedTag.empty() || !FilterCtrl_cls::IsLive(mpChain) ? -1 : mpChain->GetIndexFromTag(mStrSelectedTag);
}

void FilterChainGUI_cls::SelectItem(int position)
{
    FilterBase_cls* item = mpChain->GetPFilterBase(position);
    ShowItemPanel(item ? item->GetIdTag() : L"");
    UpdateFromChain();
}

void FilterChainGUI_cls::OnListSelect()
{
    if (mbUpdating)
        return;
    SelectItem(mpList->GetSelection());
}

void FilterChainGUI_cls::OnListCheck(int position)
{
    if (mbUpdating || position < 0 || position >= static_cast<int>(mpList->GetCount()))
        return;
    if (!SetItemEnabled(position, mpList->IsChecked(static_cast<unsigned>(position))))
        UpdateFromChain(); // refused: the box shows the item's state again
}

void FilterChainGUI_cls::ShowItemPanel(const std::wstring& tag)
{
    if (mpItemPanel && mpItemPanel->GetTag() == tag)
        return;
    mStrSelectedTag = tag;
    if (mpItemPanel) {
        mpItemSizer->Detach(mpItemPanel);
        mpItemPanel->Destroy();
        mpItemPanel = nullptr;
    }
    if (!tag.empty() && mpChain->GetPFromTag(tag)) {
        Freeze();
        mpItemPanel = FilterItemGUI_cls::Create(this, mpChain, tag);
        mpItemPanel->SetEditedFunc([this] { Edited(); });
        mpItemPanel->SetHistogramFunc(mHistogram);
        mpItemPanel->UpdateFromItem();
        // Room on the right for the scroll bar, which GTK draws over the content.
        mpItemSizer->Add(mpItemPanel, 0, wxEXPAND | wxRIGHT, 14);
        Thaw();
    }
    // The page grows or shrinks with the settings; the scrolled parents follow.
    // Best sizes are cached all the way up; the outermost window is laid out first so that each
    // page book hands its new size down before the inner sizers place their children.
    std::vector<wxWindow*> ancestors;
    for (wxWindow* w = this; w != nullptr && !w->IsTopLevel(); w = w->GetParent()) {
        w->InvalidateBestSize();
        ancestors.push_back(w);
    }
    for (auto it = ancestors.rbegin(); it != ancestors.rend(); ++it) {
        (*it)->FitInside();
        (*it)->Layout();
    }
}

void FilterChainGUI_cls::ShowAddMenu()
{
    // The same entries and groups as the Filter menu, from the chain's table.
    wxMenu menu;
    std::vector<std::pair<std::string, wxMenu*>> groups;
    const auto& entries = FilterCtrl_cls::GetMenuEntries();
    for (size_t i = 0; i < entries.size(); ++i) {
        const FilterCtrl_cls::MenuEntry& entry = entries[i];
        wxMenu* target = &menu;
        if (entry.pGroup && entry.pGroup[0]) {
            auto found =
                std::find_if(groups.begin(), groups.end(), [&](const auto& g) { return g.first == entry.pGroup; });
            if (found == groups.end()) {
                auto* sub = new wxMenu;
                menu.AppendSubMenu(sub, TrW(entry.pGroup));
                groups.emplace_back(entry.pGroup, sub);
                target = sub;
            } else {
                target = found->second;
            }
        }
        target->Append(kIdAddFirst + static_cast<int>(i), TrW(entry.pText));
    }
    PopupMenu(&menu, mpAdd->GetPosition() + wxPoint(0, mpAdd->GetSize().y));
}

bool FilterChainGUI_cls::AddItem(int type)
{
    const int selected = GetSelection();
    const int position = selected >= 0 ? selected + 1 : -1;
    FilterItemGUI_cls::BeforeEdit();
    if (!mpChain->AddFilterExecute(type, position))
        return false;
    // The new item is selected so that its settings can be made at once.
    const int at = position >= 0 ? position : mpChain->GetItemNum() - 1;
    SelectItem(at);
    Edited();
    return true;
}

bool FilterChainGUI_cls::RemoveSelected()
{
    const int selected = GetSelection();
    if (selected < 0)
        return false;
    FilterItemGUI_cls::BeforeEdit();
    if (!mpChain->DeleteFilterItem(selected))
        return false;
    ShowItemPanel(L"");
    UpdateFromChain();
    Edited();
    return true;
}

bool FilterChainGUI_cls::MoveSelected(int direction)
{
    const int selected = GetSelection();
    const int other = selected + (direction < 0 ? -1 : 1);
    if (selected < 0 || other < 0 || other >= mpChain->GetItemNum())
        return false;
    FilterItemGUI_cls::BeforeEdit();
    if (!mpChain->SwapFilterExecute(selected, other))
        return false;
    UpdateFromChain();
    Edited();
    return true;
}

bool FilterChainGUI_cls::SetItemEnabled(int position, bool enabled)
{
    FilterBase_cls* item = mpChain->GetPFilterBase(position);
    if (!item)
        return false;
    FilterItemGUI_cls::BeforeEdit();
    if (!mpChain->ChangeConfBOOLExecute(item->GetIdTag(), FilterCtrl_cls::ConfIndex(FindKey(item, L"FilterValid=")),
                                        enabled))
        return false;
    UpdateFromChain();
    Edited();
    return true;
}

void FilterChainGUI_cls::Edited()
{
    if (mOnEdited)
        mOnEdited();
}

std::wstring FilterChainGUI_cls::DescribeWidgets() const
{
    std::wstring text = WStrPrintf("fc.count=%u\nfc.items=", mpList->GetCount());
    for (unsigned i = 0; i < mpList->GetCount(); ++i)
        text += (i ? L"|" : L"") + std::wstring(mpList->IsChecked(i) ? L"[x] " : L"[ ] ") +
                mpList->GetString(i).ToStdWstring();
    text += WStrPrintf("\nfc.selected=%d\n", mpList->GetSelection());
    if (mpItemPanel)
        text += mpItemPanel->DescribeWidgets();
    return text;
}

std::wstring FilterChainGUI_cls::DescribeWidgetPlaces() const
{
    auto place = [](const wxWindow* w) {
        const bool shown = w->IsShownOnScreen();
        const wxPoint at = shown ? w->GetScreenPosition() : wxPoint(0, 0);
        const wxSize size = w->GetSize();
        return WStrPrintf("%d %d %d %d %d\n", at.x, at.y, size.x, size.y, shown ? 1 : 0);
    };
    std::wstring text = L"fcw.page=" + place(this) + L"fcw.list=" + place(mpList);
    for (const wxWindow* w = GetParent(); w != nullptr && !w->IsTopLevel(); w = w->GetParent())
        text += std::wstring(L"fcw.parent.") + w->GetClassInfo()->GetClassName() + L"=" + place(w);
    // Row height for pointing at rows (the list has no per-row geometry query).
    const int rows = static_cast<int>(mpList->GetCount());
    if (rows > 0 && mpList->IsShownOnScreen()) {
        const wxPoint origin = mpList->ClientToScreen(wxPoint(0, 0));
        text += WStrPrintf("fcw.rows=%d %d %d\n", origin.x, origin.y, mpList->GetItemHeight());
    }
    text += L"fcw.add=" + place(mpAdd);
    text += L"fcw.remove=" + place(mpRemove);
    text += L"fcw.up=" + place(mpUp);
    text += L"fcw.down=" + place(mpDown);
    text += L"fcw.rename=" + place(mpRename);
    if (mpItemPanel)
        text += mpItemPanel->DescribeWidgetPlaces();
    return text;
}
