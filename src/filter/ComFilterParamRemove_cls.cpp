#include "filter/ComFilterParamRemove_cls.h"

#include "filter/FilterCtrl_cls.h"

ComFilterParamRemove_cls::ComFilterParamRemove_cls(FilterCtrl_cls* chain, int position, std::shared_ptr<Holder> holder,
                                                   bool insert)
    : mpChain(chain), miPosition(position), mpHolder(std::move(holder)), mbInsert(insert)
{
}

bool ComFilterParamRemove_cls::Execute(bool /*undo*/)
{
    if (!FilterCtrl_cls::IsLive(mpChain))
        return false;
    if (mbInsert) {
        if (!mpHolder->pItem)
            return false;
        mpHolder->pItem->SetIdTag(mpHolder->strTag);
        mpChain->AddToList(miPosition, std::move(mpHolder->pItem));
    } else {
        // Items are found by tag: a position alone could name another item after other edits.
        const int at = mpChain->GetIndexFromTag(mpHolder->strTag);
        if (at < 0)
            return false;
        mpHolder->pItem = mpChain->TakeFromList(at);
        miPosition = at;
    }
    mpChain->NotifyChanged();
    return false;
}

std::pair<std::unique_ptr<CommandItem_cls>, std::unique_ptr<CommandItem_cls>>
ComFilterParamRemove_cls::MakeRemovePair(FilterCtrl_cls* chain, int position)
{
    auto holder = std::make_shared<Holder>();
    holder->strTag = chain->GetPFilterBase(position)->GetIdTag();
    return {std::make_unique<ComFilterParamRemove_cls>(chain, position, holder, false),
            std::make_unique<ComFilterParamRemove_cls>(chain, position, holder, true)};
}
