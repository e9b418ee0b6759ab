#include "filter/ComFilterConfChangeSTR_cls.h"

#include "anim/UndoManager_cls.h"
#include "config/ConfItem_cls.h"
#include "filter/FilterCtrl_cls.h"

#include <memory>

namespace
{

ConfItemSTR_cls* FindText(FilterCtrl_cls* chain, const std::wstring& tag, int item)
{
    if (!FilterCtrl_cls::IsLive(chain) || item < 0)
        return nullptr;
    FilterBase_cls* filter = chain->GetPFromTag(tag);
    if (!filter)
        return nullptr;
    const auto& items = filter->GetPData()->GetConfList().Items();
    const auto index = static_cast<size_t>(item);
    return index < items.size() ? dynamic_cast<ConfItemSTR_cls*>(items[index]) : nullptr;
}

} // namespace

ComFilterConfChangeSTR_cls::ComFilterConfChangeSTR_cls(FilterCtrl_cls* chain, const std::wstring& tag, int item,
                                                       const std::wstring& value)
    : mpChain(chain), mStrTag(tag), miItem(item), mStrValue(value)
{
}

bool ComFilterConfChangeSTR_cls::Execute(bool /*undo*/)
{
    if (ConfItemSTR_cls* text = FindText(mpChain, mStrTag, miItem)) {
        text->Set(mStrValue);
        mpChain->NotifyChanged();
    }
    return false;
}

bool ComFilterConfChangeSTR_cls::GetValue(FilterCtrl_cls* chain, const std::wstring& tag, int item, std::wstring* value)
{
    const ConfItemSTR_cls* text = FindText(chain, tag, item);
    if (!text)
        return false;
    *value = text->Get();
    return true;
}

bool ComFilterConfChangeSTR_cls::Issue(FilterCtrl_cls* chain, const std::wstring& tag, int item,
                                       const std::wstring& value)
{
    std::wstring old;
    if (!GetValue(chain, tag, item, &old) || old == value)
        return false;
    UndoManager_cls& history = chain->GetUndo();
    history.SetNewCommand(std::make_unique<ComFilterConfChangeSTR_cls>(chain, tag, item, value),
                          std::make_unique<ComFilterConfChangeSTR_cls>(chain, tag, item, old));
    history.ExecCurrent();
    return true;
}
