#include "gui/FrameMainInitializer02_cls.h"

#include "gui/FrameMain_cls.h"

void FrameMainInitializer02_cls::Entry()
{
    mpFrame->GetStartupData().mvMenuModel = mpFrame->GetShortcut().BuildMenuModel();
    *mpDone = true;
}
