#pragma once
// Settings of the isosurface item that are not animated.
#include "filter/FilterData_cls.h"

class PovIsosurfaceData_cls : public FilterData_cls
{
  public:
    PovIsosurfaceData_cls() : FilterData_cls(L"Isosurface")
    {
        mCConfList.Add(&mvfColor, L"IsosurfaceColor=", L"1 1 1");
        mCConfList.Add(&mbNormal, L"IsosurfaceNormal=", L"1");
        mCConfList.Add(&miOptimize, L"IsosurfaceOptimize=", L"2");
    }

    /// Surface colour (red, green, blue in 0..1).
    ConfItemFLOATARRAY_cls mvfColor;
    /// Per-vertex normals (smooth shading) instead of flat triangles.
    ConfItemBOOL_cls mbNormal;
    /// Vertex welding: 0 none, 1 inside blocks, 2 over the whole surface.
    ConfItemINT_cls miOptimize;
};
