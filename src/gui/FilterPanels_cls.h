#pragma once
// The "Filter Chain" page of the control panel: one tab per data slot, each the chain page of
// that slot (FilterChainGUI_cls). The shown tab follows the active slot and choosing a tab makes
// its slot the active one, as the "Data Slots" page does. The level-and-gamma and density-curve
// graphs get the histogram of the slot's current frame from here. GUI thread.
#include <array>
#include <functional>
#include <string>

#include <wx/panel.h>

class DF3SeqCtrl_cls;
class FilterChainGUI_cls;
class wxNotebook;

class FilterPanels_cls : public wxPanel
{
  public:
    /// ctrl: the data slots (not owned; outlives the panel).
    FilterPanels_cls(wxWindow* parent, DF3SeqCtrl_cls* ctrl);
    /// Takes the pages' hooks off the chains, which outlive the window.
    ~FilterPanels_cls() override;
    /// Called after an edit on any page (the chains must be processed again).
    void SetEditedFunc(std::function<void()> f) { mOnEdited = std::move(f); }
    /// Called whenever a chain announces a change (edits, undo, redo, files read).
    void SetChainChangedFunc(std::function<void()> f) { mOnChainChanged = std::move(f); }
    /// Every page from its chain (after undo, redo, a file was read, the time moved).
    void UpdateFromChains();
    /// Shows the active slot's tab.
    void FollowActiveSlot();
    /// The page of slot `slot` (0..3).
    FilterChainGUI_cls& GetPage(int slot) { return *mvpPage[static_cast<size_t>(slot)]; }
    /// The shown page.
    FilterChainGUI_cls* GetShownPage() const;
    /// State-report lines of the shown page ("fc.slot=" first).
    std::wstring DescribeWidgets() const;
    /// "fcw.*" and "fiw.*" screen places of the shown page's widgets.
    std::wstring DescribeWidgetPlaces() const;

  private:
    DF3SeqCtrl_cls* mpCtrl;
    std::function<void()> mOnEdited;
    std::function<void()> mOnChainChanged;
    wxNotebook* mpBook = nullptr;
    std::array<FilterChainGUI_cls*, 4> mvpPage{};
    bool mbFollowing = false;
};
