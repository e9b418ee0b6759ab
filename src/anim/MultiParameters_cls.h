#pragma once
// A list of key-framed parameter sets of one kind (for items that exist in any number, such as
// lights) with one active item. Adding and removing items are undoable; an item removed by a
// command is kept alive by that command until the history lets go of it.
#include "anim/Parameters_cls.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class LineStream_cls;
class UndoManager_cls;

class MultiParameters_cls
{
  public:
    /// An empty list of sets of `dimension` values named `name`. Registers the list class-wide.
    MultiParameters_cls(unsigned dimension, const std::wstring& name);
    MultiParameters_cls(const MultiParameters_cls&) = delete;
    MultiParameters_cls& operator=(const MultiParameters_cls&) = delete;
    /// Deletes the items and unregisters.
    ~MultiParameters_cls();

    const std::wstring& GetName() const { return mStrName; }
    unsigned GetDimension() const { return muDimension; }
    int GetItemNumber() const { return static_cast<int>(mvItems.size()); }
    /// Item i (null when out of range). Owned by the list.
    Parameters_cls* GetPItem(int i) const;
    /// The active item (null when the list is empty).
    Parameters_cls* GetPActiveItem() const { return GetPItem(miActive); }
    int GetActiveIndex() const { return miActive; }
    /// Makes item i active (clamped into the list).
    void SetActiveIndex(int i);
    /// Key count of the active item (0 without one).
    int GetActiveItemKeyNum() const;
    /// The constant value given to new items (dimension values; null: zeros).
    void SetInitParam(const double* values);
    /// Appends a new item with the initial values and makes it active; one undo step.
    bool AddItem();
    /// Removes the active item; one undo step. False when the list is empty.
    bool RemoveItem();
    /// Removes item `index`; one undo step. False when out of range.
    bool RemoveItemAt(int index);
    /// Inserts an item at index (clamped), makes it active and calls the hook. No history.
    void AddItemProc(std::unique_ptr<Parameters_cls> item, unsigned index);
    /// Takes item `index` out of the list (null when out of range) and calls the hook. No history.
    std::unique_ptr<Parameters_cls> RemoveItemProc(unsigned index);
    /// Recomputes the automatic tangents of every item.
    void AdjustAutoControl();
    /// Shows only item `shown` on the time line ("show " flag); -1 hides all rows.
    void HideTLPanel(int shown);
    /// The history for the add/remove commands and the items' edits (null: the global one).
    void SetUndoManager(UndoManager_cls* manager);
    UndoManager_cls& GetUndo() const;
    /// True while `list` is alive (commands check before acting).
    static bool IsLive(const MultiParameters_cls* list);

    /// "--MultiParameter:" + name, the item-count line, then every set's text form.
    std::wstring Serialize() const;
    /// Reads the text form when firstLine is "--MultiParameter:" + this list's name; the items
    /// are replaced without history.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& firstLine);

    /// Called after the number of items changed (GUI refresh of the item chooser).
    std::function<void(MultiParameters_cls&)> FuncHookItemNumberChanged;

  private:
    std::unique_ptr<Parameters_cls> NewItem() const;
    void ItemNumberChanged();

    std::wstring mStrName;
    unsigned muDimension;
    std::vector<std::unique_ptr<Parameters_cls>> mvItems;
    int miActive = 0;
    std::vector<double> mvInit;
    UndoManager_cls* mpUndoManager = nullptr;
};
