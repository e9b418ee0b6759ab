#include "gl/CameraPathGL_cls.h"

#include "anim/CameraPathCtrl_cls.h"
#include "anim/Parameters_cls.h"

#include <GL/gl.h>

#include <cmath>

namespace
{
void DrawFrustum(const std::array<Vec3d, 5>& p)
{
    glBegin(GL_LINES);
    for (int c = 1; c <= 4; ++c) {
        glVertex3dv(p[0].data());
        glVertex3dv(p[c].data());
    }
    glEnd();
    glBegin(GL_LINE_LOOP);
    for (int c = 1; c <= 4; ++c)
        glVertex3dv(p[c].data());
    glEnd();
    // A tick above the upper edge shows which way is up, as on camera icons.
    Vec3d mid, top;
    for (int k = 0; k < 3; ++k) {
        mid[k] = 0.5 * (p[1][k] + p[2][k]);
        top[k] = mid[k] + 0.3 * (p[1][k] - p[4][k]);
    }
    glBegin(GL_LINES);
    glVertex3dv(mid.data());
    glVertex3dv(top.data());
    glEnd();
}
} // namespace

bool CameraPathGL_cls::MakeCamera(const CameraPathCtrl_cls& path, int i, double time, Camera_cls& camera)
{
    CameraPathCtrl_cls::CameraValues v{};
    if (!path.GetCameraAt(i, time, v))
        return false;
    const Vec3d eye = {v[0], v[1], v[2]};
    const Vec3d look = {v[3], v[4], v[5]};
    // Set() refuses (and keeps the camera) when the sky is parallel to the view.
    return camera.Set(eye, look, camera.GetSky()) || camera.Set(eye, look, {0, 0, 1}) ||
           camera.Set(eye, look, {0, 1, 0});
}

std::array<Vec3d, 5> CameraPathGL_cls::FrustumPoints(const Camera_cls& camera, double aspect, double depth)
{
    const Vec3d e = camera.GetPosition();
    const Vec3d d = camera.Direction();
    const Vec3d r = camera.Right();
    const Vec3d u = camera.Up();
    const double halfH = depth * std::tan(camera.GetViewAngle() * 0.5 * 3.14159265358979323846 / 180.0);
    const double halfW = halfH * (aspect > 0.0 ? aspect : 1.0);
    std::array<Vec3d, 5> p;
    p[0] = e;
    const double sx[4] = {-1, 1, 1, -1}, sy[4] = {1, 1, -1, -1};
    for (int c = 0; c < 4; ++c)
        for (int k = 0; k < 3; ++k)
            p[c + 1][k] = e[k] + d[k] * depth + r[k] * halfW * sx[c] + u[k] * halfH * sy[c];
    return p;
}

void CameraPathGL_cls::Draw(const CameraPathCtrl_cls& path, double time, double aspect, double size)
{
    const int n = path.GetCameraNumber();
    if (n <= 0)
        return;
    glPushAttrib(GL_ENABLE_BIT | GL_LINE_BIT | GL_CURRENT_BIT);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_TEXTURE_3D);
    glDisable(GL_LIGHTING);
    glDisable(GL_BLEND);
    for (int i = 0; i < n; ++i) {
        const bool active = i == path.GetActiveCamera();
        const Parameters_cls* p = path.GetPCamera(i);
        // The eye's track.
        glLineWidth(1.0f);
        glColor3f(0.9f, 0.75f, 0.2f);
        glBegin(GL_LINE_STRIP);
        for (int s = 0; s <= kCurveSamples; ++s) {
            CameraPathCtrl_cls::CameraValues v{};
            if (path.GetCameraAt(i, static_cast<double>(s) / kCurveSamples, v))
                glVertex3d(v[0], v[1], v[2]);
        }
        glEnd();
        // A small frustum at each key.
        glColor3f(0.7f, 0.6f, 0.3f);
        for (int k = 0; p != nullptr && k < p->GetKeyNumber(); ++k) {
            Camera_cls camera;
            if (MakeCamera(path, i, p->GetKeyFrameDoubleIndex(k), camera))
                DrawFrustum(FrustumPoints(camera, aspect, size * 0.6));
        }
        // The camera where it stands now.
        Camera_cls camera;
        if (MakeCamera(path, i, time, camera)) {
            glLineWidth(active ? 2.0f : 1.0f);
            if (active)
                glColor3f(1.0f, 0.35f, 0.2f);
            else
                glColor3f(0.8f, 0.8f, 0.5f);
            DrawFrustum(FrustumPoints(camera, aspect, size));
            // Its line of sight, to the look-at point.
            glBegin(GL_LINES);
            glVertex3dv(camera.GetPosition().data());
            glVertex3dv(camera.GetLookAt().data());
            glEnd();
        }
    }
    glPopAttrib();
}
