#include "config/ConfItemList_cls.h"

void ConfItemList_cls::Add(ConfItem_cls* item, const std::wstring& key, const std::wstring& defaultText)
{
    item->SetItem(key, defaultText);
    mItems.push_back(item);
}

bool ConfItemList_cls::ReadStrLineAll(const std::wstring& line)
{
    bool taken = false;
    for (ConfItem_cls* item : mItems)
        taken = item->ReadStrLine(line) || taken;
    return taken;
}

std::wstring ConfItemList_cls::SerializeAll() const
{
    std::wstring out;
    for (const ConfItem_cls* item : mItems)
        out += item->Serialize();
    return out;
}

ConfItem_cls* ConfItemList_cls::Find(const std::wstring& key) const
{
    for (ConfItem_cls* item : mItems)
        if (item->GetKey() == key)
            return item;
    return nullptr;
}
