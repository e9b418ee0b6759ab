#include "pov/ComStereoSettings_cls.h"

#include "pov/StereoGram_cls.h"

bool ComStereoSettings_cls::Execute(bool /*undo*/)
{
    if (!StereoGram_cls::IsLive(mpStereo))
        return false;
    mpStereo->SetMode(mCSettings.uMode);
    mpStereo->SetEyeSeparation(mCSettings.dSeparation);
    mpStereo->SetConvergence(mCSettings.dConvergence);
    mpStereo->NotifyChanged();
    return false;
}
