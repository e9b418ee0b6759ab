#include "filter/ComFilterConfChange.h"

#include "config/ConfItem_cls.h"
#include "filter/FilterCtrl_cls.h"

namespace
{

ConfItem_cls* FindSetting(FilterCtrl_cls* chain, const std::wstring& tag, int item, int& component)
{
    if (!FilterCtrl_cls::IsLive(chain) || item < 0)
        return nullptr;
    FilterBase_cls* filter = chain->GetPFromTag(tag);
    if (!filter)
        return nullptr;
    const auto& items = filter->GetPData()->GetConfList().Items();
    const size_t index = static_cast<size_t>(item % 256);
    component = item / 256;
    return index < items.size() ? items[index] : nullptr;
}

template <typename A> bool InArray(A* array, int component)
{
    return array && component < array->GetDimension();
}

} // namespace

ComFilterConfChange_cls::ComFilterConfChange_cls(FilterCtrl_cls* chain, const std::wstring& tag, int item, Kind kind,
                                                 double value)
    : mpChain(chain), mStrTag(tag), miItem(item), meKind(kind), mdValue(value)
{
}

bool ComFilterConfChange_cls::Execute(bool /*undo*/)
{
    if (SetValue(mpChain, mStrTag, miItem, meKind, mdValue))
        mpChain->NotifyChanged();
    return false;
}

bool ComFilterConfChange_cls::GetValue(FilterCtrl_cls* chain, const std::wstring& tag, int item, Kind kind,
                                       double* value)
{
    int c = 0;
    ConfItem_cls* setting = FindSetting(chain, tag, item, c);
    if (!setting)
        return false;
    switch (kind) {
    case kFloat:
        if (auto* f = dynamic_cast<ConfItemFLOAT_cls*>(setting); f && c == 0)
            return *value = f->Get(), true;
        if (auto* d = dynamic_cast<ConfItemDOUBLE_cls*>(setting); d && c == 0)
            return *value = d->Get(), true;
        if (auto* a = dynamic_cast<ConfItemFLOATARRAY_cls*>(setting); InArray(a, c))
            return *value = a->Get(c), true;
        return false;
    case kInt:
        if (auto* i = dynamic_cast<ConfItemINT_cls*>(setting); i && c == 0)
            return *value = i->Get(), true;
        if (auto* u = dynamic_cast<ConfItemUINT_cls*>(setting); u && c == 0)
            return *value = u->Get(), true;
        if (auto* a = dynamic_cast<ConfItemINTARRAY_cls*>(setting); InArray(a, c))
            return *value = a->Get(c), true;
        if (auto* a = dynamic_cast<ConfItemUINTARRAY_cls*>(setting); InArray(a, c))
            return *value = a->Get(c), true;
        return false;
    case kBool:
        if (auto* b = dynamic_cast<ConfItemBOOL_cls*>(setting); b && c == 0)
            return *value = b->Get() ? 1.0 : 0.0, true;
        if (auto* a = dynamic_cast<ConfItemBOOLARRAY_cls*>(setting); InArray(a, c))
            return *value = a->Get(c) ? 1.0 : 0.0, true;
        return false;
    }
    return false;
}

bool ComFilterConfChange_cls::SetValue(FilterCtrl_cls* chain, const std::wstring& tag, int item, Kind kind,
                                       double value)
{
    int c = 0;
    ConfItem_cls* setting = FindSetting(chain, tag, item, c);
    if (!setting)
        return false;
    switch (kind) {
    case kFloat:
        if (auto* f = dynamic_cast<ConfItemFLOAT_cls*>(setting); f && c == 0)
            return f->Set(static_cast<float>(value)), true;
        if (auto* d = dynamic_cast<ConfItemDOUBLE_cls*>(setting); d && c == 0)
            return d->Set(value), true;
        if (auto* a = dynamic_cast<ConfItemFLOATARRAY_cls*>(setting); InArray(a, c))
            return a->Set(c, static_cast<float>(value)), true;
        return false;
    case kInt:
        if (auto* i = dynamic_cast<ConfItemINT_cls*>(setting); i && c == 0)
            return i->Set(static_cast<int32_t>(value)), true;
        if (auto* u = dynamic_cast<ConfItemUINT_cls*>(setting); u && c == 0)
            return u->Set(static_cast<uint32_t>(value)), true;
        if (auto* a = dynamic_cast<ConfItemINTARRAY_cls*>(setting); InArray(a, c))
            return a->Set(c, static_cast<int32_t>(value)), true;
        if (auto* a = dynamic_cast<ConfItemUINTARRAY_cls*>(setting); InArray(a, c))
            return a->Set(c, static_cast<uint32_t>(value)), true;
        return false;
    case kBool:
        if (auto* b = dynamic_cast<ConfItemBOOL_cls*>(setting); b && c == 0)
            return b->Set(value != 0.0), true;
        if (auto* a = dynamic_cast<ConfItemBOOLARRAY_cls*>(setting); InArray(a, c))
            return a->Set(c, value != 0.0), true;
        return false;
    }
    return false;
}
