#pragma once
// Undoable insertion and removal of an item of a MultiParameters_cls. The two commands of a pair
// share one holder: the item lives in the list or in the holder, never in both.
#include "anim/CommandItem_cls.h"

#include <memory>

class MultiParameters_cls;
class Parameters_cls;

/// Where an item waits while it is not in its list.
using MultiParamHolder = std::shared_ptr<std::unique_ptr<Parameters_cls>>;

/// Moves the held item into the list at the index.
class ComMultiParamAdd_cls : public CommandItem_cls
{
  public:
    ComMultiParamAdd_cls(MultiParameters_cls* list, unsigned index, MultiParamHolder holder);
    /// Inserts the held item (nothing when the list is gone or the holder is empty); no chain.
    bool Execute(bool undo) override;

    /// Display name of the edit (msgid).
    const char* GetName() const override { return "Add Item"; }

  private:
    MultiParameters_cls* mpList;
    unsigned muIndex;
    MultiParamHolder mpHolder;
};

/// Takes the item at the index out of the list into the holder.
class ComMultiParamRemove_cls : public CommandItem_cls
{
  public:
    ComMultiParamRemove_cls(MultiParameters_cls* list, unsigned index, MultiParamHolder holder);
    /// Removes the item into the holder (nothing when the list is gone); no chain.
    bool Execute(bool undo) override;

    /// Display name of the edit (msgid).
    const char* GetName() const override { return "Remove Item"; }

  private:
    MultiParameters_cls* mpList;
    unsigned muIndex;
    MultiParamHolder mpHolder;
};
