#pragma once
// Settings of the box copy: how many copies of the data box along each axis, and the gap.
#include "filter/FilterData_cls.h"

class BoxCopyData_cls : public FilterData_cls
{
  public:
    BoxCopyData_cls() : FilterData_cls(L"Box Copy")
    {
        mCConfList.Add(&mviNumber, L"BoxCopyNumber=", L"2 1 1");
        mCConfList.Add(&mvfGap, L"BoxCopyGap=", L"0 0 0");
    }

    /// Copies along x, y and z, the original counted (1 ... kMaxNumber each).
    ConfItemINTARRAY_cls mviNumber;
    /// Space between neighbouring copies along x, y and z, in units of the data box's extent.
    ConfItemFLOATARRAY_cls mvfGap;
};
