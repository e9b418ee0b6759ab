#pragma once
// Edit > Preferences: every preference item (the worker count "ThreadNumFilter=" among them) and
// the key-assignment table of the menu commands. The dialog edits copies; OK writes them into
// the preferences and the shortcut table, which the configuration file keeps at quit. A key that
// the toolkit does not accept, or that another command already has, is refused with a message
// and the table keeps the command's old key. GUI thread.
#include "gui/Shortcut_cls.h"

#include <string>
#include <vector>

#include <wx/dialog.h>

class ConfItem_cls;
class ConfItemList_cls;
class NumInput_cls;
class wxCheckBox;
class wxListCtrl;
class wxTextCtrl;

class PreferencesDialog_cls : public wxDialog
{
  public:
    /// preferences: the item list edited; keys: the shortcut table edited (neither owned).
    PreferencesDialog_cls(wxWindow* parent, ConfItemList_cls* preferences, Shortcut_cls* keys);
    /// Writes the edited values and keys back (called for OK). True when anything changed.
    bool Apply();
    /// The working copy of the key table (tests).
    const Shortcut_cls& GetEditedKeys() const { return mCKeys; }
    /// Assigns `key` to the command in table row `row` of the working copy; false (with a
    /// message) when refused.
    bool AssignKey(int row, const std::wstring& key);
    /// Puts the default key of row `row` back (all rows for -1).
    void ResetKey(int row);
    /// The first input of the general page (focused when the dialog opens).
    wxWindow* GetFirstInput() const;

  private:
    struct PrefRow {
        ConfItem_cls* pItem;
        NumInput_cls* pNumber = nullptr;
        wxCheckBox* pCheck = nullptr;
        wxTextCtrl* pText = nullptr;
    };
    void FillKeyList();
    int SelectedRow() const;

    ConfItemList_cls* mpPreferences;
    Shortcut_cls* mpKeys;
    Shortcut_cls mCKeys;
    std::vector<PrefRow> mvRow;
    std::vector<int> mviRecord; ///< key-list row -> index into Shortcut_cls::Records()
    wxListCtrl* mpKeyList = nullptr;
    wxTextCtrl* mpKeyText = nullptr;
};
