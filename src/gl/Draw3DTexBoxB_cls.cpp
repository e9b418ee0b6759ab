#include "gl/Draw3DTexBoxB_cls.h"

#include "gl/DF3GL_cls.h"
#include "gl/SliceGeometry_cls.h"
#include "volume/AxisXYZSTU_cls.h"

#include <GL/gl.h>

int Draw3DTexBoxB_cls::DrawSlice3DX(int n, bool fromLow, const double clipMin[3], const double clipMax[3], int step,
                                    const std::vector<TexBrickGL>& bricks, const float colour[3],
                                    const float complement[3], float alpha, unsigned flags)
{
    return DrawSlice3D(0, n, fromLow, clipMin, clipMax, step, bricks, colour, complement, alpha, flags);
}

int Draw3DTexBoxB_cls::DrawSlice3DY(int n, bool fromLow, const double clipMin[3], const double clipMax[3], int step,
                                    const std::vector<TexBrickGL>& bricks, const float colour[3],
                                    const float complement[3], float alpha, unsigned flags)
{
    return DrawSlice3D(1, n, fromLow, clipMin, clipMax, step, bricks, colour, complement, alpha, flags);
}

int Draw3DTexBoxB_cls::DrawSlice3DZ(int n, bool fromLow, const double clipMin[3], const double clipMax[3], int step,
                                    const std::vector<TexBrickGL>& bricks, const float colour[3],
                                    const float complement[3], float alpha, unsigned flags)
{
    return DrawSlice3D(2, n, fromLow, clipMin, clipMax, step, bricks, colour, complement, alpha, flags);
}

int Draw3DTexBoxB_cls::DrawSlice3D(int axis, int n, bool fromLow, const double clipMin[3], const double clipMax[3],
                                   int step, const std::vector<TexBrickGL>& bricks, const float colour[3],
                                   const float complement[3], float alpha, unsigned flags)
{
    if (axis < 0 || axis > 2)
        return 0;
    const int s = AxisXYZSTU_cls::GetAxisS(axis), t = AxisXYZSTU_cls::GetAxisT(axis);
    int drawn = 0;
    for (int i : SliceGeometry_cls::LatticeSlices(n, clipMin[axis], clipMax[axis], step, fromLow)) {
        const double depth = SliceGeometry_cls::SliceDepth(i, n);
        const double corners[4][2] = {
            {clipMin[s], clipMin[t]}, {clipMax[s], clipMin[t]}, {clipMax[s], clipMax[t]}, {clipMin[s], clipMax[t]}};
        // The quad in drawing coordinates (the unit box centred on the origin); its texture
        // coordinates are its fractions of the volume.
        SlicePolygon quad;
        for (const auto& c : corners) {
            Vec3d p{};
            p[static_cast<size_t>(axis)] = depth - 0.5;
            p[static_cast<size_t>(s)] = c[0] - 0.5;
            p[static_cast<size_t>(t)] = c[1] - 0.5;
            quad.push_back(p);
        }
        DF3GL_cls::DrawPasses(
            [&] {
                Draw3DTexBoxA_cls::DrawBrickedSlice(quad, {0.0, 0.0, 0.0}, bricks);
            },
            colour, complement, alpha, flags);
        ++drawn;
    }
    return drawn;
}
