#pragma once
// The "Filter Chain" page of one data slot: the chain's items in order with a box that switches
// each on or off, the buttons that add (the Filter menu's entries), remove, move up and down and
// rename, and below them the settings panel of the selected item. Every edit goes through the
// chain's undoable commands; the page follows the chain's change notice, so undo and redo show
// here too. GUI thread.
#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include <wx/panel.h>

class FilterCtrl_cls;
class FilterItemGUI_cls;
class wxBoxSizer;
class wxButton;
class wxCheckListBox;
class wxMenu;

class FilterChainGUI_cls : public wxPanel
{
  public:
    /// Called after the chain or a setting was edited from this page.
    using EditedFunc = std::function<void()>;
    /// Fills the histogram of the slot's shown frame; false when there is none.
    using HistogramFunc = std::function<bool(std::array<uint64_t, 256>&)>;

    /// chain: the slot's chain (not owned; outlives the page).
    FilterChainGUI_cls(wxWindow* parent, FilterCtrl_cls* chain);
    /// The settings panel goes with the page.
    ~FilterChainGUI_cls() override;

    void SetEditedFunc(EditedFunc f) { mOnEdited = std::move(f); }
    /// Where the settings panels get the histogram of the slot's shown frame.
    void SetHistogramFunc(HistogramFunc f);
    /// The list and the settings panel from the chain (after any change of it).
    void UpdateFromChain();
    /// Selects item `position` (-1: none) and shows its settings.
    void SelectItem(int position);
    /// Position of the selected item, -1 when none.
    int GetSelection() const;
    /// The settings panel shown (null when none).
    FilterItemGUI_cls* GetItemPanel() const { return mpItemPanel; }

    // --- the buttons' actions (each one undo step; false when nothing was done) ----------------
    /// Adds an item of `type` after the selected one (at the end without a selection).
    bool AddItem(int type);
    /// Removes the selected item.
    bool RemoveSelected();
    /// Moves the selected item up (-1) or down (+1).
    bool MoveSelected(int direction);
    /// Switches item `position` on or off.
    bool SetItemEnabled(int position, bool enabled);

    /// "fc.*" lines: the list as shown (label and switch of each item), the selection, and the
    /// settings panel's lines; for the state report.
    std::wstring DescribeWidgets() const;
    /// "fcw.*" places of the list rows and buttons, and the settings panel's places.
    std::wstring DescribeWidgetPlaces() const;

  private:
    void OnListSelect();
    void OnListCheck(int position);
    void ShowItemPanel(const std::wstring& tag);
    void ShowAddMenu();
    void Edited();

    FilterCtrl_cls* mpChain;
    EditedFunc mOnEdited;
    HistogramFunc mHistogram;
    bool mbUpdating = false;
    wxCheckListBox* mpList = nullptr;
    wxButton* mpAdd = nullptr;
    wxButton* mpRemove = nullptr;
    wxButton* mpUp = nullptr;
    wxButton* mpDown = nullptr;
    wxButton* mpRename = nullptr;
    wxBoxSizer* mpItemSizer = nullptr;
    FilterItemGUI_cls* mpItemPanel = nullptr;
    std::wstring mStrSelectedTag;
};
