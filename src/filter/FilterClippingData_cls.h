#pragma once
// Settings of the clipping box that are not animated.
#include "filter/FilterData_cls.h"

class FilterClippingData_cls : public FilterData_cls
{
  public:
    FilterClippingData_cls() : FilterData_cls(L"Clipping")
    {
        mCConfList.Add(&mbShowFrame, L"ClippingShowFrame=", L"1");
    }

    /// Whether the preview draws the box's frame while the item is selected.
    ConfItemBOOL_cls mbShowFrame;
};
