#include "pov/PovSettingsBase_cls.h"

void PovSettingsBase_cls::SetToDefault()
{
    const auto& items = mCConfList.Items();
    for (size_t i = 0; i < items.size() && i < mvDefaults.size(); ++i)
        items[i]->SetItem(items[i]->GetKey(), mvDefaults[i]);
}

void PovSettingsBase_cls::AddItem(ConfItem_cls* item, const std::wstring& key, const std::wstring& defaultText)
{
    mCConfList.Add(item, key, defaultText);
    mvDefaults.push_back(defaultText);
}
