#pragma once
// Common base of the ray-tracer settings groups: each group registers its configuration items
// in its own list together with their default texts, so that one call resets the whole group
// and the owner can splice the group's items into its own list.
#include "config/ConfItemList_cls.h"

#include <string>
#include <vector>

class PovSettingsBase_cls
{
  public:
    virtual ~PovSettingsBase_cls() = default;
    /// The group's items in registration order.
    ConfItemList_cls& GetConfList() { return mCConfList; }
    const ConfItemList_cls& GetConfList() const { return mCConfList; }
    /// Gives every item its default value again.
    void SetToDefault();

  protected:
    /// Registers item under key with its default text.
    void AddItem(ConfItem_cls* item, const std::wstring& key, const std::wstring& defaultText);

  private:
    ConfItemList_cls mCConfList;
    std::vector<std::wstring> mvDefaults;
};
