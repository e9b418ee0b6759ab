#pragma once
// Undoable change of one text setting of a filter-chain item (its label "FilterName=", a fog's
// target tag). Like the number settings, the item is found again by its tag and the setting by
// its index in the item's configuration list, so the command outlives a removed item safely.
#include "anim/CommandItem_cls.h"

#include <string>

class FilterCtrl_cls;

class ComFilterConfChangeSTR_cls : public CommandItem_cls
{
  public:
    /// Sets setting `item` (its place in the list) of the item with `tag` in `chain` to `value`.
    ComFilterConfChangeSTR_cls(FilterCtrl_cls* chain, const std::wstring& tag, int item, const std::wstring& value);
    /// Sets the text; nothing when the chain, the item or the setting is gone. Never chains.
    bool Execute(bool undo) override;
    const char* GetName() const override { return "Filter Setting"; }

    /// The text of setting `item` of the item with `tag` into *value; false when there is no
    /// text setting there.
    static bool GetValue(FilterCtrl_cls* chain, const std::wstring& tag, int item, std::wstring* value);
    /// Records and runs the change as one undo step in the chain's history. False (nothing
    /// recorded) when there is no text setting there or the text is unchanged.
    static bool Issue(FilterCtrl_cls* chain, const std::wstring& tag, int item, const std::wstring& value);

  private:
    FilterCtrl_cls* mpChain;
    std::wstring mStrTag;
    int miItem;
    std::wstring mStrValue;
};
