#pragma once
// Persistent settings of one filter-chain item: a configuration-item list that always begins with
// "FilterValid=" (the item is switched on) and "FilterName=" (the label shown to the user); each
// filter's own settings class appends its keys after these two.
#include "config/ConfItemList_cls.h"

#include <string>

class FilterData_cls
{
  public:
    /// Registers the two common items; `label` is the default name (e.g. "Gauss Blur").
    explicit FilterData_cls(const std::wstring& label);
    virtual ~FilterData_cls() = default;
    FilterData_cls(const FilterData_cls&) = delete;
    FilterData_cls& operator=(const FilterData_cls&) = delete;

    /// True when the filter is switched on ("FilterValid=").
    bool IsValid() const { return mCFilterValid.Get(); }
    /// Switches the filter on or off.
    void SetValid(bool valid) { mCFilterValid.Set(valid); }
    /// The label ("FilterName=").
    const std::wstring& GetName() const { return mCFilterName.Get(); }
    /// Sets the label.
    void SetName(const std::wstring& name) { mCFilterName.Set(name); }

    /// Offers one line of a project block to every item; true when some item took it.
    bool ReadStrLine(const std::wstring& line) { return mCConfList.ReadStrLineAll(line); }
    /// All items as lines, in registration order.
    std::wstring SerializeConf() const { return mCConfList.SerializeAll(); }
    /// The item list (for the chain's generic settings commands and the panels).
    ConfItemList_cls& GetConfList() { return mCConfList; }
    /// The identifier tag as a string item ("FilterIdTag="): shown by the panels, but a tag is
    /// only valid in the running session, so the chain blanks it ("!!SKIP!!") while writing.
    ConfItemSTR_cls& GetIdTagItem() { return mCIdTag; }

  protected:
    ConfItemList_cls mCConfList;

  private:
    ConfItemBOOL_cls mCFilterValid;
    ConfItemSTR_cls mCFilterName;
    ConfItemSTR_cls mCIdTag;
};
