#include "gl/SceneMarkersGL_cls.h"

#include <GL/gl.h>

#include <cmath>

namespace
{

constexpr double kPi = 3.14159265358979323846;

// Markers are thin lines: no lighting, no texture, no blending, depth-tested so the volume's
// surfaces hide them.
void BeginMarkers()
{
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT | GL_LINE_BIT | GL_POINT_BIT | GL_DEPTH_BUFFER_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_TEXTURE_3D);
    glDisable(GL_BLEND);
    glEnable(GL_DEPTH_TEST);
    glDepthMask(GL_TRUE);
    glLineWidth(1.0f);
}

void Vertex(const Vec3d& p)
{
    glVertex3d(p[0], p[1], p[2]);
}

Vec3d Add(const Vec3d& a, const Vec3d& b, double s)
{
    return {a[0] + b[0] * s, a[1] + b[1] * s, a[2] + b[2] * s};
}

} // namespace

void SceneMarkersGL_cls::DrawLight(const Vec3d& position, const float rgb[3], double size)
{
    BeginMarkers();
    glColor3f(rgb[0], rgb[1], rgb[2]);
    glBegin(GL_LINES);
    for (int a = 0; a < 3; ++a) {
        Vec3d d{0, 0, 0};
        d[static_cast<size_t>(a)] = size;
        Vertex(Add(position, d, -1.0));
        Vertex(Add(position, d, 1.0));
    }
    glEnd();
    glPointSize(5.0f);
    glBegin(GL_POINTS);
    Vertex(position);
    glEnd();
    glPopAttrib();
}

std::vector<Vec3d> SceneMarkersGL_cls::FrustumCorners(const Camera_cls& camera, double length, double aspect)
{
    const Vec3d eye = camera.GetPosition();
    const Vec3d dir = camera.Direction();
    const Vec3d right = camera.Right();
    const Vec3d up = camera.Up();
    const double h = length * std::tan(camera.GetViewAngle() * kPi / 360.0);
    const double w = h * (aspect > 0.0 ? aspect : 1.0);
    const Vec3d centre = Add(eye, dir, length);
    return {Add(Add(centre, up, h), right, -w), Add(Add(centre, up, h), right, w), Add(Add(centre, up, -h), right, w),
            Add(Add(centre, up, -h), right, -w)};
}

void SceneMarkersGL_cls::DrawCameraFrustum(const Camera_cls& camera, double length, double aspect, const float rgb[3])
{
    const std::vector<Vec3d> c = FrustumCorners(camera, length, aspect);
    const Vec3d eye = camera.GetPosition();
    BeginMarkers();
    glColor3f(rgb[0], rgb[1], rgb[2]);
    glBegin(GL_LINES);
    for (int i = 0; i < 4; ++i) {
        Vertex(eye);
        Vertex(c[static_cast<size_t>(i)]);
        Vertex(c[static_cast<size_t>(i)]);
        Vertex(c[static_cast<size_t>((i + 1) % 4)]);
    }
    // Which way is up: a small triangle over the top edge.
    const Vec3d mid = Add(c[0], Add(c[1], c[0], -1.0), 0.5);
    const Vec3d tip = Add(mid, camera.Up(), length * 0.25);
    Vertex(Add(mid, camera.Right(), -length * 0.15));
    Vertex(tip);
    Vertex(tip);
    Vertex(Add(mid, camera.Right(), length * 0.15));
    glEnd();
    glPopAttrib();
}

void SceneMarkersGL_cls::DrawPath(const std::vector<Vec3d>& points, const float rgb[3])
{
    if (points.size() < 2)
        return;
    BeginMarkers();
    glColor3f(rgb[0], rgb[1], rgb[2]);
    glBegin(GL_LINE_STRIP);
    for (const Vec3d& p : points)
        Vertex(p);
    glEnd();
    glPopAttrib();
}
