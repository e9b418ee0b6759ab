#include "pov/PovRender_cls.h"

PovRender_cls::PovRender_cls()
{
    AddItem(&muRegion, L"PovRenderRegion=", L"0");
    AddItem(&muRegion, L"PovRenderRegion=", L"0");
    AddItem(&muCustomMin, L"PovRegionCustomMin=", L"0");
    AddItem(&muCustomMax, L"PovRegionCustomMax=", L"100");
    AddItem(&muCamera, L"PovRenderCamera=", L"0");
    AddItem(&muStereoEye, L"PovStereoEye=", L"0");
}
