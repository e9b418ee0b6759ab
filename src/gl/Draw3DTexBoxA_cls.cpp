#include "gl/Draw3DTexBoxA_cls.h"

#include "gl/DF3GL_cls.h"

#include <GL/gl.h>

Draw3DTexBoxA_cls::ViewRecord Draw3DTexBoxA_cls::msLast;
std::vector<SlicePolygon> Draw3DTexBoxA_cls::msSlices;
unsigned Draw3DTexBoxA_cls::msRecalcCount = 0;

const std::vector<SlicePolygon>& Draw3DTexBoxA_cls::CalcAllSlice(const Vec3d& direction, int n,
                                                                 const std::array<double, 3>& clipMin,
                                                                 const std::array<double, 3>& clipMax)
{
    if (msLast.mbValid && msLast.mvDirection == direction && msLast.miN == n && msLast.mvMin == clipMin &&
        msLast.mvMax == clipMax)
        return msSlices;
    SliceGeometry_cls::CalcAllSlice(direction, n, clipMin, clipMax, msSlices);
    msLast = ViewRecord{direction, n, clipMin, clipMax, true};
    ++msRecalcCount;
    return msSlices;
}

void Draw3DTexBoxA_cls::DrawSingleSlice(const SlicePolygon& slice, const Vec3d& centre)
{
    glBegin(GL_TRIANGLE_FAN);
    for (const Vec3d& p : slice) {
        const Vec3d t = SliceGeometry_cls::TexCoord(p, centre);
        glTexCoord3d(t[0], t[1], t[2]);
        glVertex3d(p[0], p[1], p[2]);
    }
    glEnd();
}

void Draw3DTexBoxA_cls::DrawBrickedSlice(const SlicePolygon& slice, const Vec3d& centre,
                                         const std::vector<TexBrickGL>& bricks)
{
    if (bricks.size() == 1) {
        glBindTexture(GL_TEXTURE_3D, bricks.front().uName);
        DrawSingleSlice(slice, centre);
        return;
    }
    SlicePolygon piece;
    for (const TexBrickGL& brick : bricks) {
        // The brick's z range in drawing coordinates: the texture coordinate is p + 0.5 - centre.
        const double offset = centre[2] - 0.5;
        if (!SliceGeometry_cls::ClipToSlab(slice, 2, brick.dFirst + offset, brick.dEnd + offset, piece))
            continue;
        glBindTexture(GL_TEXTURE_3D, brick.uName);
        glMatrixMode(GL_TEXTURE);
        glLoadIdentity();
        glTranslated(0.0, 0.0, brick.dROffset);
        glScaled(1.0, 1.0, brick.dRScale);
        glMatrixMode(GL_MODELVIEW);
        DrawSingleSlice(piece, centre);
    }
    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
}

int Draw3DTexBoxA_cls::DrawAllSlice(const Vec3d& centre, const std::vector<TexBrickGL>& bricks, const float colour[3],
                                    const float complement[3], float alpha, unsigned flags)
{
    int drawn = 0;
    for (const SlicePolygon& slice : msSlices) {
        DF3GL_cls::DrawPasses([&] { DrawBrickedSlice(slice, centre, bricks); }, colour, complement, alpha, flags);
        ++drawn;
    }
    return drawn;
}
