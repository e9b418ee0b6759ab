#include "gui/FrameMainInitializer01_cls.h"

#include "config/Translate.h"
#include "gui/FrameMain_cls.h"

void FrameMainInitializer01_cls::Entry()
{
    FrameMain_cls::StartupData& data = mpFrame->GetStartupData();
    data.mStrBackground = L"WHEAT";
    data.mStrColourDialogInitial = L"BLACK";
    data.mStrProjectWildcard = TrW("Project file (*.vsp)") + L"|*.vsp";
    // One slice of an image stack opens the stack (and the time series of stacks around it).
    data.mStrDataWildcard = TrW("DF3 file (*.df3)") + L"|*.df3;*.DF3|" + TrW("Image stack slice") +
                            L" (*.png *.tif *.tiff *.jpg *.jpeg *.bmp)|*.png;*.PNG;*.tif;*.TIF;*.tiff;*.TIFF;*.jpg;"
                            L"*.JPG;*.jpeg;*.JPEG;*.bmp;*.BMP|" +
                            TrW("All files (*)") + L"|*";
    *mpDone = true;
}
