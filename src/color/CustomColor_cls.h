#pragma once
// The user-editable custom colour maps. Each map is a key-framed parameter set named "Color"
// whose time axis is used as the density axis: key positions are densities 0..1 on a grid of
// 256 steps (resolution 1/255), each key holds red, green, blue and a fourth value (1.0).
// Every edit of the keys goes through the undo history, so a template or a shift is one step.
// The editor cursor (a density 0..255) caches the channel values shown by the editor panel.
// Edits run on the GUI thread; the const lookups may run on colour-baking workers while no
// edit is in progress.
#include "anim/MultiParameters_cls.h"
#include "config/ConfItemList_cls.h"
#include "config/ConfItem_cls.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

class LineStream_cls;
class UndoManager_cls;

class CustomColor_cls
{
  public:
    /// Width of one density step (1/255): the same-key interval of every map lookup and edit.
    static constexpr double msDensityResolution = 0.00392156862745098;
    /// Number of density steps of a map (frame count of its axis).
    static constexpr int msFrameCount = 256;
    /// Number of templates (1..10; 0 is "-- select --").
    static constexpr int msTemplateCount = 10;
    /// Values per key: red, green, blue, fourth value.
    static constexpr unsigned msDimension = 4;

    /// No maps yet. undo: the history for every edit (null: the global one); not owned.
    explicit CustomColor_cls(UndoManager_cls* undo = nullptr);
    ~CustomColor_cls();
    CustomColor_cls(const CustomColor_cls&) = delete;
    CustomColor_cls& operator=(const CustomColor_cls&) = delete;

    // ---- maps -----------------------------------------------------------------------------
    /// Number of maps.
    int GetItemNumber() const { return mCItems.GetItemNumber(); }
    /// Index of the active map, -1 when there is none.
    int GetActiveItem() const;
    /// Makes map `item` active (clamped into the list) and refreshes the editor cache.
    void SetActiveItem(int item);
    /// Map `item`, or the active map when item is -1 or not below the count; null without maps.
    const Parameters_cls* GetPItem(int item) const;
    /// The list of maps (for the project file and the time-line rows).
    MultiParameters_cls& GetItems() { return mCItems; }
    /// Appends a map that starts as "Black White" and makes it active; one undo step.
    bool AddItem();
    /// Removes the active map; one undo step. False without maps.
    bool RemoveItem();
    /// True when map `item` (same item choice as GetPItem) multiplies its colour by density.
    bool IsMultiplyLevel(int item) const;
    /// Sets the multiply flag of map `item` (same item choice); a plain setting, not in the history.
    void SetMultiplyLevel(int item, bool on);

    // ---- lookups (const; any thread while no edit runs) ------------------------------------
    /// Channel (0 red, 1 green, 2 blue; 3 the fourth value) of map `item` at density pos, with
    /// resolution 1/255; 0.5 without maps; item -1 or past the end: the active map. Clamped to
    /// 0..1 when clampFlag is set.
    double GetCustomColor(double pos, unsigned channel, bool clampFlag, int item) const;
    /// The three channels times factor, and 1.0.
    std::array<float, 4> GetV4CustomColor(double pos, bool clampFlag, int item, float factor) const;

    // ---- templates ------------------------------------------------------------------------
    /// Replaces the keys of the active map by template t (1..10) in one undo step and refreshes
    /// the editor and listeners. 0 (and anything outside 1..10) does nothing, as does a call
    /// without maps. True when the keys were replaced.
    bool SetColorTemplate(int t);
    /// "-- select --" followed by the ten template names, translated.
    static std::vector<std::wstring> GetTemplateNames();

    // ---- editor cursor --------------------------------------------------------------------
    /// Cursor density step 0..255 (clamped); refreshes the cache.
    void SetCursor(int step);
    int GetCursor() const { return miCursor; }
    /// Recomputes the cached channel values at the cursor and the multiply flag of the active map.
    void UpdateCacheColor();
    /// Cached display value of a channel: integer part of 255 v + 0.1 (v unclamped); 127 without maps.
    int GetCacheDisplay(unsigned channel) const { return channel < 3 ? mviCacheDisplay[channel] : 0; }
    /// Cached slider value of a channel: 0 below 0, 255 above 1, else integer part of 255 v.
    int GetCacheSlider(unsigned channel) const { return channel < 3 ? mviCacheSlider[channel] : 0; }
    /// Cached multiply flag of the active map.
    bool GetCacheMultiply() const { return mbCacheMultiply; }
    /// The editor moved a slider: sets the cached slider value (0..255, clamped).
    void SetCacheSlider(unsigned channel, int value);
    /// The editor toggled "*density": sets the cached multiply flag.
    void SetCacheMultiply(bool on) { mbCacheMultiply = on; }
    /// Writes the cache back: a key at the cursor with the slider colours (one undo step, only
    /// when they differ from the map there) and the multiply flag of the active map.
    bool SyncFromCache();
    /// Recomputes the editor's colour bar (256 RGB byte triples of the active map as the preview
    /// shows it) and tells the listeners.
    void UpdateColorBar();
    /// The colour bar of the last UpdateColorBar.
    const std::array<uint8_t, msFrameCount * 3>& GetColorBar() const { return mvColorBar; }
    /// True when a key of the active map lies at the cursor (within half a density step).
    bool IsKeyPoint() const;
    /// "Add Key": keys the active map at the cursor with its current colour. One undo step.
    bool AddKey();
    /// "Remove Key": removes the key at the cursor. One undo step.
    bool RemoveKey();
    /// "Clr Shift": shifts every key of the active map so that the selected key (else the key
    /// nearest the cursor) lands on the cursor. One undo step.
    bool ClrShift();
    /// Shifts every key of the active map by offset along the density axis, clamped to 0..1;
    /// keys pushed onto the same end keep only the innermost one. One undo step.
    bool ClrShiftBy(double offset);

    // ---- short form -----------------------------------------------------------------------
    /// True when the map has fewer than three keys and blends straight between them, so that a
    /// two-entry color_map reproduces it.
    bool IsShortClrMapPossible(int item) const;
    /// The two entries of the short form: positions pos[2] and colours rgb[2][3] (unclamped).
    /// False when the short form is not possible.
    bool GetShortClrMap(int item, float* pos, float (*rgb)[3]) const;

    // ---- notices and persistence ----------------------------------------------------------
    /// Called after every change of a map (edit, undo, redo, template, multiply flag), e.g. to
    /// post a rebuild of baked textures. GUI thread.
    std::function<void()> FuncHookMapChanged;
    /// "CUSTOMCOLOR_NUM=", "CUSTOMCOLOR_ACTIVE=", "CUSTOMCOLOR_MULTIPLY=" lines, then the maps.
    std::wstring Serialize() const;
    /// Reads one line of the form Serialize writes (the maps' block takes its following lines
    /// from the stream); false when the line is not ours. The maps are replaced without history.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& line);

  private:
    Parameters_cls* ResolveItem(int item) const;
    int ResolveIndex(int item) const;
    void Refresh();
    void PruneFlags();

    MultiParameters_cls mCItems;
    UndoManager_cls* mpUndo;
    int miUndoListener = 0;
    int miSeenItemNumber = 0; ///< map count at the last refresh
    int miEditDepth = 0;      ///< > 0 while an edit of this class runs (it refreshes at its end)
    /// Multiply flags by map. Kept by identity rather than by position: a map removed and
    /// restored by undo comes back with its flag.
    std::map<const Parameters_cls*, bool> mCMultiply;
    int miCursor = 0;
    std::array<int, 3> mviCacheDisplay{127, 127, 127};
    std::array<int, 3> mviCacheSlider{127, 127, 127};
    bool mbCacheMultiply = false;
    std::array<uint8_t, msFrameCount * 3> mvColorBar{};
    ConfItemList_cls mCConfList;
    ConfItemINT_cls miItemNum;
    ConfItemINT_cls miActiveItem;
    ConfItemSTR_cls mStrMultiply;
};
