#include "filter/FilterData_cls.h"

FilterData_cls::FilterData_cls(const std::wstring& label)
{
    // A filter is switched on when it is added; the user switches it off in its panel.
    mCConfList.Add(&mCFilterValid, L"FilterValid=", L"1");
    mCConfList.Add(&mCFilterName, L"FilterName=", label);
    // Outside a chain an item has no tag; "!!SKIP!!" writes no line at all.
    mCConfList.Add(&mCIdTag, L"FilterIdTag=", L"!!SKIP!!");
}
