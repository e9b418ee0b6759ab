#pragma once
// The "Custom Color" editor: the custom colour maps of CustomColor_cls shown as a colour bar with
// the editor cursor and the key marks, red / green / blue sliders for the colour at the cursor,
// "Add Key", "Remove Key", "Clr Shift", the "Template" chooser and the "color * density" switch.
// Every edit goes through the model's undoable operations; the window follows the model through
// UpdateFromModel (called by the owner after every change, undo and redo included). A chooser
// of the active slot's colour index puts a map into the preview.
#include <wx/dialog.h>

#include <functional>
#include <string>

class CustomColor_cls;
class wxButton;
class wxCheckBox;
class wxChoice;
class wxSlider;
class wxStaticText;
class wxPanel;

class CustomColorGUI_cls : public wxDialog
{
  public:
    /// How the editor reads and sets the active slot's colour index (0 white, 1..9 palettes,
    /// 10 + n custom map n).
    struct SlotColourLinks {
        std::function<int()> mGet;
        std::function<void(int)> mSet;
    };

    /// model: the maps (not owned; outlives the dialog). GUI thread.
    CustomColorGUI_cls(wxWindow* parent, CustomColor_cls* model, SlotColourLinks slot);

    /// Every widget from the model (maps, cursor, cached colour, bar, keys, slot colour).
    void UpdateFromModel();
    /// "ccw.<name>=x y w h" per widget (screen places, for unattended runs).
    std::wstring DescribeWidgetPlaces() const;
    /// "customcolor=<maps> <active> <cursor> <keys of the active map> <r> <g> <b> <multiply>".
    std::wstring DescribeState() const;

  private:
    void OnItem();
    void OnNewMap();
    void OnDeleteMap();
    void OnSliderReleased();
    void OnMultiply();
    void OnAddKey();
    void OnRemoveKey();
    void OnClrShift();
    void OnTemplate();
    void OnSlotColour();
    void SetCursorFromBar(int step);
    void FillSlotColourChoice();

    CustomColor_cls* mpModel;
    SlotColourLinks mCSlot;
    wxPanel* mpBar = nullptr;
    wxChoice* mpItemChoice = nullptr;
    wxButton* mpNewMap = nullptr;
    wxButton* mpDeleteMap = nullptr;
    wxSlider* mpSlider[3] = {nullptr, nullptr, nullptr};
    wxStaticText* mpValue[3] = {nullptr, nullptr, nullptr};
    wxStaticText* mpCursorText = nullptr;
    wxCheckBox* mpMultiply = nullptr;
    wxButton* mpAddKey = nullptr;
    wxButton* mpRemoveKey = nullptr;
    wxButton* mpClrShift = nullptr;
    wxChoice* mpTemplate = nullptr;
    wxChoice* mpSlotColour = nullptr;
    bool mbUpdating = false;
};
