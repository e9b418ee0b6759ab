#pragma once
// Settings of the difference-object item that are not animated.
#include "filter/FilterData_cls.h"

class PovDiffObjectData_cls : public FilterData_cls
{
  public:
    PovDiffObjectData_cls() : FilterData_cls(L"DiffObject") { mCConfList.Add(&miShape, L"DiffObjectShape=", L"1"); }

    /// Shape cut out of the data: 0 sphere, 1 box, 2 cylinder.
    ConfItemINT_cls miShape;
};
