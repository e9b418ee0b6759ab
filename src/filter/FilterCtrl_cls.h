#pragma once
// The filter chain of one data slot: an ordered list of data filters and output / analysis
// items. Processing a frame walks the list once: data filters transform the voxels (ping-pong
// between two work buffers, or straight into the frame's output when the volume item comes
// next), output items take the data as it stands at their place. A signature of the time and of
// every item's status decides when a frame must be processed again. Structural edits and
// setting changes go through the undo history; the chain's text lives in project files.
//
// Sections: item types and menu; list and tags; queries; edits through the history;
// time; processing and the reprocessing test; text form; omission list.
#include "filter/FilterBase_cls.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class DF3Sequence_cls;
class LineStream_cls;
class PovFog_cls;
class PovVolume_cls;
class UndoManager_cls;

class FilterCtrl_cls
{
  public:
    /// What an item type does in the chain.
    enum Role { kRoleOutput = 0, kRoleBox = 1, kRoleData = 2, kRoleAnalysis = 3 };
    /// One row of the item-type table, indexed by the type code.
    struct ItemType {
        int iCode;
        const wchar_t* pClass; ///< class name, for messages and debugging
        const wchar_t* pLabel; ///< default label
        const wchar_t* pTag;   ///< line that opens the item's block in project files
        Role eRole;
    };
    /// One entry of the "add item" menus (the GUI builds its menus from these; texts are
    /// translated there). An empty group is the menu's top level.
    struct MenuEntry {
        int iType;
        const char* pText;
        const char* pGroup;
    };
    /// Where a data filter of the last ProcessXYZData wrote: kRouteOut or a work buffer (0, 1).
    static constexpr int kRouteOut = -1;
    /// The line that closes every item block.
    static const wchar_t* const msBlockEnd;

    /// The table of the 19 item types, indexed by type code.
    static const ItemType msItemType[FilterBase_cls::kTypeNum];
    /// Block tags by type code ("--Isosurface" ... "--PovVelocityField").
    static const wchar_t* GetTag(int type);
    /// The type whose tag the line is (line ends and trailing blanks ignored), or -1.
    static int GetTypeFromTagLine(const std::wstring& line);
    /// The menu entries, in menu order.
    static const std::vector<MenuEntry>& GetMenuEntries();
    /// A new item of `type` with default settings (null for codes outside 0..18).
    static std::unique_ptr<FilterBase_cls> CreateItem(int type, FilterCtrl_cls* owner);

    /// The chain of slot `sequenceIndex` of `owner` (null: a chain on its own, e.g. the CLI's).
    explicit FilterCtrl_cls(DF3Sequence_cls* owner = nullptr, int sequenceIndex = 0);
    /// Deletes the items.
    ~FilterCtrl_cls();
    FilterCtrl_cls(const FilterCtrl_cls&) = delete;
    FilterCtrl_cls& operator=(const FilterCtrl_cls&) = delete;
    /// True while `chain` exists (commands check before acting).
    static bool IsLive(const FilterCtrl_cls* chain);

    // ---- list and tags -------------------------------------------------------------------------
    DF3Sequence_cls* GetOwner() const { return mpOwner; }
    int GetSequenceIndex() const { return miSequenceIndex; }
    /// Sets the slot number that new tags begin with (tags already given stay).
    void SetSequenceIndex(int index) { miSequenceIndex = index; }
    int GetItemNum() const { return static_cast<int>(mvpItem.size()); }
    /// Item i (null when out of range). Owned by the chain.
    FilterBase_cls* GetPFilterBase(int i) const;
    /// Settings of item i (null when out of range).
    FilterData_cls* GetPFilterData(int i) const;
    /// Position of `item`, or -1.
    int GetSelfIndex(const FilterBase_cls* item) const;
    /// Inserts `item` at `position` (clamped to 0..count; -1: the end) without history. An item
    /// without a tag, or with one another item carries, gets a new tag. Returns the position.
    int AddToList(int position, std::unique_ptr<FilterBase_cls> item);
    /// Takes item `position` out of the list without history (null when out of range).
    std::unique_ptr<FilterBase_cls> TakeFromList(int position);
    /// Exchanges items a and b without history; false when either is out of range.
    bool SwapFilterList(int a, int b);
    /// Deletes every item and the stored signatures (no history).
    void ClearFilter();
    /// A new tag for an item of `type`: the sequence index, the type's name and the lowest
    /// running number from 0 up that no item of the chain carries.
    std::wstring GetIdString(int type) const;
    /// Position of the item with `tag`, or -1.
    int GetIndexFromTag(const std::wstring& tag) const;
    /// The item with `tag`, or null.
    FilterBase_cls* GetPFromTag(const std::wstring& tag) const;
    /// True when another item than `except` is labelled `name`.
    bool DoesSameFilterNameExist(const std::wstring& name, const FilterBase_cls* except) const;

    // ---- queries -------------------------------------------------------------------------------
    /// Number of data filters (switched on or not).
    int CountDataFilterNumber() const;
    /// Number of data filters that are switched on and placed before a volume item: the ones
    /// that change what is drawn and exported.
    int CountEffectiveDataFilterNumber() const;
    /// True when, after item `index`, a volume item comes before any further data filter.
    bool IsNextFilterIsVolume(int index) const;
    /// The first item of `type` at or after position `from` (into *found when not null).
    bool DoesFilterExist(int type, int from, FilterBase_cls** found) const;
    /// The first volume item, or null.
    PovVolume_cls* GetVolumeItem() const;
    /// Whether a switched-on volume item exists.
    bool GetVolumeValidity() const;
    /// Colour index and data type of the first volume item (1 and 0 without one).
    int GetVolumeColorType() const;
    int GetVolumeDataType() const;
    /// Animated value i of the first volume item (1.0 without one).
    double GetVolumeParameter(int i) const;
    /// The switched-on fog whose "FogTarget=" is `tag` (or, with orAny, the first fog without
    /// a target); null when none.
    PovFog_cls* GetPFogTargettingMe(const std::wstring& tag, bool orAny) const;
    /// The box (fractions of the data box) that the switched-on clipping items before the item
    /// with `tag` leave (every clipping item when the tag is empty or unknown): the
    /// intersection of their boxes. False (box 0..1) when no clipping item applies.
    bool GetClippingInformation(double* boxMin, double* boxMax, const std::wstring& tag) const;

    // ---- edits through the history -------------------------------------------------------------
    /// The history edits go to (null: the global one). Not owned.
    void SetUndoManager(UndoManager_cls* manager) { mpUndoManager = manager; }
    UndoManager_cls& GetUndo() const;
    /// Adds an item of `type` at `position` (-1: the end) as one undo step: `preset` when given
    /// (its type must match), else a new item with default settings. False for a bad type.
    bool AddFilterExecute(int type, int position, std::unique_ptr<FilterBase_cls> preset = nullptr);
    /// Removes item `position` as one undo step (undo puts the same item back).
    bool DeleteFilterItem(int position);
    /// Removes `item` (found by pointer) as one undo step.
    bool DeleteFilter(const FilterBase_cls* item);
    /// Exchanges items `position` and `position` + 1 as one undo step.
    bool SwapFilter(int position);
    /// Exchanges items a and b as one undo step.
    bool SwapFilterExecute(int a, int b);
    /// Index of a setting for the ChangeConf commands: its place in the item's configuration
    /// list, plus 256 times the component for the array items.
    static int ConfIndex(int listIndex, int component = 0) { return listIndex + 256 * component; }
    /// Sets one setting of the item with `tag` as one undo step (redo the new value, undo the
    /// old). False when the item or a setting of that kind at `item` does not exist, or the
    /// value is unchanged.
    bool ChangeConfFLOATExecute(const std::wstring& tag, int item, float value);
    bool ChangeConfINTExecute(const std::wstring& tag, int item, int value);
    bool ChangeConfBOOLExecute(const std::wstring& tag, int item, bool value);
    /// Called after every change of the list or of a setting (panel refresh); deferred while
    /// the omission list is pushed.
    std::function<void(FilterCtrl_cls&)> FuncHookChanged;
    /// Runs the change hook now, or once at PopListOmit.
    void NotifyChanged();

    // ---- time ------------------------------------------------------------------------------------
    /// Evaluates every item's animated values at normalised time `time` (-1: the current time).
    void UpdateParameters(double time);
    /// The data time after the time remap: the owner's current remapped index (0 alone).
    int GetRemappedTimeIndex() const;
    /// The normalised time of the scene clock now.
    double GetRemappedDoubleIndex() const;

    // ---- processing and the reprocessing test ---------------------------------------------------
    /// Runs the chain on one frame: `in` (size[0..2] voxels, never written), blended first with
    /// `next` as trunc(in (1 - f) + next f) when `blend` is set, f is not 0 and next is given;
    /// the volume item's data lands in `out`. False only when the work buffers cannot be had
    /// (then `out` receives a copy of `in`). Runs on the calling thread; filters fan out.
    bool ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* size, bool blend, float factor,
                        const unsigned char* next);
    /// The data frame index analysis items record their results under (-1: the owner's
    /// current frame, 0 alone).
    void SetProcessFrame(int frame) { miProcessFrame = frame; }
    /// Where each switched-on data filter of the last run wrote (kRouteOut or 0 / 1), in order.
    const std::vector<int>& GetLastRoute() const { return mviRoute; }
    /// Seconds each item took in the last run, by position (0 for items that did nothing).
    const std::vector<double>& GetLastItemSeconds() const { return mvdItemSeconds; }
    /// Whether the last run wrote `out` at all (a volume item or a filter before one).
    bool WasOutputWritten() const { return mbOutputWritten; }
    /// Builds the signature: the time ("%g"), "::", and the status of every item in order (with
    /// its switched-on state) up to and including `upTo` when given. Compares it with the one
    /// stored for `upTo` (given) or for `frame`, stores the new one, and reports a difference
    /// or the own need of an output item on the way.
    bool IsReprocessRequired(int frame, double time, FilterBase_cls* upTo);
    /// Forgets the stored signatures (every frame is processed again).
    void ClearSignatures();

    // ---- text form -------------------------------------------------------------------------------
    /// Every item as a block: tag line, settings, further lines, "--END". The tag item is blanked
    /// ("!!SKIP!!") while the block is written: a tag is only valid in the running session.
    std::wstring SerializeConf();
    /// Takes a block when `line` is a tag line: creates the item of that type, feeds it the lines
    /// up to "--END" and appends it (no history). False for any other line.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& line);

    // ---- omission list ----------------------------------------------------------------------------
    /// Suspends the change hooks of every chain (nested); used while a project is read.
    static void PushListOmit();
    /// Ends one suspension; at the outermost, every chain that changed meanwhile is notified once.
    static void PopListOmit();
    /// True while suspended.
    static bool IsListOmitted();

  private:
    bool IssueConfChange(const std::wstring& tag, int item, int kind, double value);

    DF3Sequence_cls* mpOwner;
    int miSequenceIndex;
    std::vector<std::unique_ptr<FilterBase_cls>> mvpItem;
    std::vector<unsigned char> mvWork[2];
    bool mbWorkAllocated = false;
    int miNextWork = 0;
    std::vector<std::wstring> mvStrFrameStatus;
    std::vector<int> mviRoute;
    std::vector<double> mvdItemSeconds;
    bool mbOutputWritten = false;
    int miProcessFrame = -1;
    UndoManager_cls* mpUndoManager = nullptr;
};
