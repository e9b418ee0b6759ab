#pragma once
// Undoable exchange of two items of a filter chain (both members of the pair are the same).
#include "anim/CommandItem_cls.h"

#include <string>

class FilterCtrl_cls;

class ComFilterParamSwap_cls : public CommandItem_cls
{
  public:
    /// Exchanges the items with tags tagA and tagB (at positions a and b when the command was made).
    ComFilterParamSwap_cls(FilterCtrl_cls* chain, const std::wstring& tagA, const std::wstring& tagB);
    /// Swaps the two items wherever they are now; nothing when the chain or an item is gone.
    bool Execute(bool undo) override;
    /// Names the step in the Edit menu ("Undo Move Filter").
    const char* GetName() const override { return "Move Filter"; }

  private:
    FilterCtrl_cls* mpChain;
    std::wstring mStrTagA, mStrTagB;
};
