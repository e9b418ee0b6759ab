#include "anim/ComMultiParam_cls.h"

#include "anim/MultiParameters_cls.h"

ComMultiParamAdd_cls::ComMultiParamAdd_cls(MultiParameters_cls* list, unsigned index, MultiParamHolder holder)
    : mpList(list), muIndex(index), mpHolder(std::move(holder))
{
}

bool ComMultiParamAdd_cls::Execute(bool /*undo*/)
{
    if (MultiParameters_cls::IsLive(mpList) && mpHolder && *mpHolder)
        mpList->AddItemProc(std::move(*mpHolder), muIndex);
    return false;
}

ComMultiParamRemove_cls::ComMultiParamRemove_cls(MultiParameters_cls* list, unsigned index, MultiParamHolder holder)
    : mpList(list), muIndex(index), mpHolder(std::move(holder))
{
}

bool ComMultiParamRemove_cls::Execute(bool /*undo*/)
{
    if (MultiParameters_cls::IsLive(mpList) && mpHolder) {
        std::unique_ptr<Parameters_cls> item = mpList->RemoveItemProc(muIndex);
        if (item)
            *mpHolder = std::move(item);
    }
    return false;
}
