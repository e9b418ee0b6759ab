#pragma once
// Undoable change of one setting of a filter-chain item. The item is found again by its tag and
// the setting by its index in the item's configuration list (plus 256 times the component for
// array items), so the command never holds a pointer to an item that may have been removed.
#include "anim/CommandItem_cls.h"

#include <string>

class FilterCtrl_cls;
class ConfItem_cls;

class ComFilterConfChange_cls : public CommandItem_cls
{
  public:
    /// Kinds of value.
    enum Kind { kFloat = 0, kInt = 1, kBool = 2 };
    ComFilterConfChange_cls(FilterCtrl_cls* chain, const std::wstring& tag, int item, Kind kind, double value);
    /// Sets the value; nothing when the chain, the item or the setting is gone. Never chains.
    bool Execute(bool undo) override;
    /// Names the step in the Edit menu ("Undo Filter Setting").
    const char* GetName() const override { return "Filter Setting"; }

    /// Reads the setting's value into *value; false when there is no setting of `kind` there.
    static bool GetValue(FilterCtrl_cls* chain, const std::wstring& tag, int item, Kind kind, double* value);
    /// Writes it; false when there is no setting of `kind` there.
    static bool SetValue(FilterCtrl_cls* chain, const std::wstring& tag, int item, Kind kind, double value);

  private:
    FilterCtrl_cls* mpChain;
    std::wstring mStrTag;
    int miItem;
    Kind meKind;
    double mdValue;
};

/// Sets a float setting (FLOAT, DOUBLE or a FLOAT array component).
class ComFilterConfChangeFLOAT : public ComFilterConfChange_cls
{
  public:
    ComFilterConfChangeFLOAT(FilterCtrl_cls* chain, const std::wstring& tag, int item, float value)
        : ComFilterConfChange_cls(chain, tag, item, kFloat, value)
    {
    }
};

/// Sets an integer setting (INT, UINT or a component of their arrays).
class ComFilterConfChangeINT : public ComFilterConfChange_cls
{
  public:
    ComFilterConfChangeINT(FilterCtrl_cls* chain, const std::wstring& tag, int item, int value)
        : ComFilterConfChange_cls(chain, tag, item, kInt, value)
    {
    }
};

/// Sets a boolean setting (BOOL or a BOOL array component).
class ComFilterConfChangeBOOL : public ComFilterConfChange_cls
{
  public:
    ComFilterConfChangeBOOL(FilterCtrl_cls* chain, const std::wstring& tag, int item, bool value)
        : ComFilterConfChange_cls(chain, tag, item, kBool, value ? 1.0 : 0.0)
    {
    }
};
