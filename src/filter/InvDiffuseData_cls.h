#pragma once
// Settings of the inverse diffusion: the strength of one step and the number of steps.
#include "filter/FilterData_cls.h"

class InvDiffuseData_cls : public FilterData_cls
{
  public:
    InvDiffuseData_cls() : FilterData_cls(L"Inverse Diffuse")
    {
        mCConfList.Add(&mfStrength, L"InvDiffuseStrength=", L"0.1");
        mCConfList.Add(&miStep, L"InvDiffuseStep=", L"1");
    }

    /// Strength s of one step (0..1/6 stays stable for smooth data; larger sharpens harder).
    ConfItemFLOAT_cls mfStrength;
    /// Number of explicit steps (0: the data passes unchanged; at most kMaxStep are run).
    ConfItemINT_cls miStep;
};
