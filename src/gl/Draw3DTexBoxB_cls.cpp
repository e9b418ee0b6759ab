#include "gl/Draw3DTexBoxB_cls.h"

#include "gl/DF3GL_cls.h"
#include "gl/SliceGeometry_cls.h"
#include "volume/AxisXYZSTU_cls.h"

#include <GL/gl.h>

int Draw3DTexBoxB_cls::DrawSlice3DX(int n, bool fromLow, const double clipMin[3], const double clipMax[3], int step,
                                    const float colour[3], const float complement[3], float alpha, unsigned flags)
{
    return DrawSlice3D(0, n, fromLow, clipMin, clipMax, step, colour, complement, alpha, flags);
}

int Draw3DTexBoxB_cls::DrawSlice3DY(int n, bool fromLow, const double clipMin[3], const double clipMax[3], int step,
                                    const float colour[3], const float complement[3], float alpha, unsigned flags)
{
    return DrawSlice3D(1, n, fromLow, clipMin, clipMax, step, colour, complement, alpha, flags);
}

int Draw3DTexBoxB_cls::DrawSlice3DZ(int n, bool fromLow, const double clipMin[3], const double clipMax[3], int step,
                                    const float colour[3], const float complement[3], float alpha, unsigned flags)
{
    return DrawSlice3D(2, n, fromLow, clipMin, clipMax, step, colour, complement, alpha, flags);
}

int Draw3DTexBoxB_cls::DrawSlice3D(int axis, int n, bool fromLow, const double clipMin[3], const double clipMax[3],
                                   int step, const float colour[3], const float complement[3], float alpha,
                                   unsigned flags)
{
    if (axis < 0 || axis > 2)
        return 0;
    const int s = AxisXYZSTU_cls::GetAxisS(axis), t = AxisXYZSTU_cls::GetAxisT(axis);
    int drawn = 0;
    for (int i : SliceGeometry_cls::LatticeSlices(n, clipMin[axis], clipMax[axis], step, fromLow)) {
        const double depth = SliceGeometry_cls::SliceDepth(i, n);
        const double corners[4][2] = {
            {clipMin[s], clipMin[t]}, {clipMax[s], clipMin[t]}, {clipMax[s], clipMax[t]}, {clipMin[s], clipMax[t]}};
        DF3GL_cls::DrawPasses(
            [&] {
                glBegin(GL_QUADS);
                for (const auto& c : corners) {
                    double f[3];
                    f[axis] = depth;
                    f[s] = c[0];
                    f[t] = c[1];
                    glTexCoord3d(f[0], f[1], f[2]);
                    glVertex3d(f[0] - 0.5, f[1] - 0.5, f[2] - 0.5);
                }
                glEnd();
            },
            colour, complement, alpha, flags);
        ++drawn;
    }
    return drawn;
}
