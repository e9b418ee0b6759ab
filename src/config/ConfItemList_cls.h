#pragma once
// An ordered list of configuration items owned by someone else (the object whose settings they are).
#include "config/ConfItem_cls.h"

#include <string>
#include <vector>

class ConfItemList_cls {
public:
    /// Sets the item's key and default (SetItem) and appends it. The item must outlive the list.
    void Add(ConfItem_cls* item, const std::wstring& key, const std::wstring& defaultText);
    /// Empties the list (the items are not deleted).
    void Clear() { mItems.clear(); }
    /// Offers the line to every item in order (no early stop); true if any item took it.
    bool ReadStrLineAll(const std::wstring& line);
    /// All items' lines in list order.
    std::wstring SerializeAll() const;
    /// The item whose key equals `key` exactly, or null.
    ConfItem_cls* Find(const std::wstring& key) const;
    const std::vector<ConfItem_cls*>& Items() const { return mItems; }

private:
    std::vector<ConfItem_cls*> mItems;
};
