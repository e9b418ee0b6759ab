#include "gui/FilterPanels_cls.h"

#include "config/TextFormat.h"
#include "filter/FilterCtrl_cls.h"
#include "gui/FilterChainGUI_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"

#include <wx/notebook.h>
#include <wx/sizer.h>

FilterPanels_cls::FilterPanels_cls(wxWindow* parent, DF3SeqCtrl_cls* ctrl) : wxPanel(parent, wxID_ANY), mpCtrl(ctrl)
{
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    mpBook = new wxNotebook(this, wxID_ANY);
    for (int slot = 0; slot < 4; ++slot) {
        DF3Sequence_cls& sequence = mpCtrl->GetSequence(slot);
        auto* page = new FilterChainGUI_cls(mpBook, &sequence.GetFilterCtrl());
        page->SetEditedFunc([this] {
            if (mOnEdited)
                mOnEdited();
        });
        // The histogram of the frame the slot shows now, as read (the level map).
        page->SetHistogramFunc([this, slot](std::array<uint64_t, 256>& counts) {
            DF3_cls* frame = mpCtrl->GetSequence(slot).GetCurrentDF3();
            const LevelMap_cls* map = frame ? frame->GetLevelMap() : nullptr;
            if (!map)
                return false;
            counts = map->GetHistogram();
            return true;
        });
        // Undo, redo and reading a file change the chain behind the page's back.
        sequence.GetFilterCtrl().FuncHookChanged = [this, page](FilterCtrl_cls&) {
            page->UpdateFromChain();
            if (mOnChainChanged)
                mOnChainChanged();
        };
        mvpPage[static_cast<size_t>(slot)] = page;
        mpBook->AddPage(page, WStrPrintf("%d", slot + 1));
    }
    sizer->Add(mpBook, 1, wxEXPAND);
    SetSizer(sizer);
    mpBook->Bind(wxEVT_NOTEBOOK_PAGE_CHANGED, [this](wxBookCtrlEvent& e) {
        if (!mbFollowing && e.GetSelection() >= 0)
            mpCtrl->SetActiveSlot(e.GetSelection());
        e.Skip();
    });
    FollowActiveSlot();
}

FilterPanels_cls::~FilterPanels_cls()
{
    for (int slot = 0; slot < 4; ++slot)
        mpCtrl->GetSequence(slot).GetFilterCtrl().FuncHookChanged = nullptr;
}

void FilterPanels_cls::UpdateFromChains()
{
    for (FilterChainGUI_cls* page : mvpPage)
        page->UpdateFromChain();
}

void FilterPanels_cls::FollowActiveSlot()
{
    const int slot = mpCtrl->GetActiveSlot();
    if (slot >= 0 && slot < 4 && mpBook->GetSelection() != slot) {
        mbFollowing = true;
        mpBook->SetSelection(static_cast<size_t>(slot));
        mbFollowing = false;
    }
}

FilterChainGUI_cls* FilterPanels_cls::GetShownPage() const
{
    const int tab = mpBook->GetSelection();
    return tab >= 0 && tab < 4 ? mvpPage[static_cast<size_t>(tab)] : nullptr;
}

std::wstring FilterPanels_cls::DescribeWidgets() const
{
    std::wstring text = WStrPrintf("fc.slot=%d\n", mpBook->GetSelection());
    if (const FilterChainGUI_cls* page = GetShownPage())
        text += page->DescribeWidgets();
    return text;
}

std::wstring FilterPanels_cls::DescribeWidgetPlaces() const
{
    const FilterChainGUI_cls* page = GetShownPage();
    return page ? page->DescribeWidgetPlaces() : L"";
}
