#pragma once
// The colour-map chooser of the "Preview Property" area: which colour map the active data slot
// is drawn with (plain white, the nine layer palettes, the custom maps, or a new custom map), and
// for a custom map a "Template" choice that resets it to one of the ready-made maps. The choice
// goes to the slot's drawing companion; the textures are made again when their texels carry
// the colours ("PreviewTextureType=" 2), and the export writes the same map. The slots' choices
// are saved as "DF3ColorIndex0=" .. "DF3ColorIndex3=".
#include "config/ConfItemList_cls.h"

#include <wx/panel.h>

#include <array>
#include <functional>
#include <string>
#include <vector>

class Coloring_cls;
class DF3GL_cls;
class wxChoice;

class ColorMapChooser_cls : public wxPanel
{
  public:
    /// The chooser's entries for `customCount` custom maps: "White", the nine palettes by their
    /// layer colours ("1: Red - Yellow - White" ...), "Custom Color 1" .., "New Custom Color".
    static std::vector<std::wstring> EntryNames(int customCount);
    /// The colour index of entry `entry` (-2 for "New Custom Color" or out of range).
    static int ColorIndexOfEntry(int entry, int customCount);
    /// The entry showing colour index `index` (a custom map past the end: the first custom map,
    /// or White without any).
    static int EntryOfColorIndex(int index, int customCount);

    /// coloring: the shared colour maps; slots: the four drawing companions (not owned).
    ColorMapChooser_cls(wxWindow* parent, Coloring_cls* coloring, std::array<DF3GL_cls*, 4> slots);
    /// Called after the colours of a slot changed (the window rebuilds textures and redraws).
    void SetChangeListener(std::function<void(int slot)> listener) { mOnChanged = std::move(listener); }
    /// Shows the choice of slot `slot` (the active one); cheap when nothing changed.
    void ShowSlot(int slot);
    /// Applies colour index `index` to the shown slot, as choosing it would.
    void ApplyColorIndex(int index);
    /// The settings "DF3ColorIndex0=" .. : pushed to the slots after reading, pulled before saving.
    ConfItemList_cls& GetConfList() { return mCConfList; }
    void PushToSlots();
    void PullFromSlots();
    /// For the state report: "cmap.value=" shown slot and its colour index, "cmap.choice=" and
    /// "cmap.template=" screen rectangles.
    std::wstring DescribeWidgets() const;

  private:
    void Rebuild();
    void OnChoice();
    void OnTemplate();

    Coloring_cls* mpColoring;
    std::array<DF3GL_cls*, 4> mvSlots;
    std::array<ConfItemINT_cls, 4> mvItems;
    ConfItemList_cls mCConfList;
    wxChoice* mpChoice = nullptr;
    wxChoice* mpTemplate = nullptr;
    int miSlot = 0;
    int miShownCustom = -1;
    int miShownIndex = -99;
    std::function<void(int)> mOnChanged;
};
