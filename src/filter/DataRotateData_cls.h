#pragma once
// Settings of the data rotation that are not animated: the axis.
#include "filter/FilterData_cls.h"

class DataRotateData_cls : public FilterData_cls
{
  public:
    DataRotateData_cls() : FilterData_cls(L"Data Rotate") { mCConfList.Add(&miAxis, L"DataRotateAxis=", L"2"); }

    /// The axis through the centre of the volume: 0 x, 1 y, 2 z (other values: z).
    ConfItemINT_cls miAxis;
};
