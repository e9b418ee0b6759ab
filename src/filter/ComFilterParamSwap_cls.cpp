#include "filter/ComFilterParamSwap_cls.h"

#include "filter/FilterCtrl_cls.h"

ComFilterParamSwap_cls::ComFilterParamSwap_cls(FilterCtrl_cls* chain, const std::wstring& tagA,
                                               const std::wstring& tagB)
    : mpChain(chain), mStrTagA(tagA), mStrTagB(tagB)
{
}

bool ComFilterParamSwap_cls::Execute(bool /*undo*/)
{
    if (!FilterCtrl_cls::IsLive(mpChain))
        return false;
    const int a = mpChain->GetIndexFromTag(mStrTagA), b = mpChain->GetIndexFromTag(mStrTagB);
    if (a >= 0 && b >= 0 && mpChain->SwapFilterList(a, b))
        mpChain->NotifyChanged();
    return false;
}
