#pragma once
// Axis-parallel ("Lattice like") slices through one 3D texture: the same slices as the 2D
// stacks (SliceGeometry_cls::LatticeSlices), each a quad whose 3D texture coordinates are its
// fractions of the volume, drawn from the bricks of the texture (Draw3DTexBoxA_cls::
// DrawBrickedSlice). GL thread only; 3D texturing must be enabled.
#include "gl/Draw3DTexBoxA_cls.h"

#include <array>
#include <vector>

class Draw3DTexBoxB_cls
{
  public:
    /// Slices across X / Y / Z: n voxels along that axis, fromLow: the low end is far, clip box
    /// as fractions 0..1 per axis, every step-th slice. Returns the slices drawn.
    static int DrawSlice3DX(int n, bool fromLow, const double clipMin[3], const double clipMax[3], int step,
                            const std::vector<TexBrickGL>& bricks, const float colour[3], const float complement[3],
                            float alpha, unsigned flags);
    static int DrawSlice3DY(int n, bool fromLow, const double clipMin[3], const double clipMax[3], int step,
                            const std::vector<TexBrickGL>& bricks, const float colour[3], const float complement[3],
                            float alpha, unsigned flags);
    static int DrawSlice3DZ(int n, bool fromLow, const double clipMin[3], const double clipMax[3], int step,
                            const std::vector<TexBrickGL>& bricks, const float colour[3], const float complement[3],
                            float alpha, unsigned flags);
    /// The same for any axis 0..2.
    static int DrawSlice3D(int axis, int n, bool fromLow, const double clipMin[3], const double clipMax[3], int step,
                           const std::vector<TexBrickGL>& bricks, const float colour[3], const float complement[3],
                           float alpha, unsigned flags);
};
