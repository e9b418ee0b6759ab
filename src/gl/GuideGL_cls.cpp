#include "gl/GuideGL_cls.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace
{
// GUI-thread state like the GL context itself.
int GViewportX = 0;
int GViewportY = 0;
double GPixelScale = 1.0;
} // namespace

void GuideGL_cls::SetViewportOrigin(int x, int y)
{
    GViewportX = x;
    GViewportY = y;
}

void GuideGL_cls::GetViewportOrigin(int& x, int& y)
{
    x = GViewportX;
    y = GViewportY;
}

void GuideGL_cls::SetPixelScale(double scale)
{
    GPixelScale = std::isfinite(scale) && scale > 0.0 ? scale : 1.0;
}

double GuideGL_cls::GetPixelScale()
{
    return GPixelScale;
}

void GuideGL_cls::LoadCamera(const Camera_cls& camera, int width, int height)
{
    width = std::max(width, 1);
    height = std::max(height, 1);
    glViewport(GViewportX, GViewportY, width, height);
    glMatrixMode(GL_PROJECTION);
    const Mat4d p = camera.ProjectionMatrix(static_cast<double>(width) / height);
    glLoadMatrixd(p.data());
    glMatrixMode(GL_MODELVIEW);
    const Mat4d v = camera.ViewMatrix();
    glLoadMatrixd(v.data());
}

void GuideGL_cls::Clear(float r, float g, float b)
{
    glClearColor(r, g, b, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void GuideGL_cls::DrawBoundingBox(const Vec3d& lo, const Vec3d& hi, const float rgb[3])
{
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_LIGHTING);
    glLineWidth(static_cast<float>(GPixelScale));
    glColor3fv(rgb);
    glBegin(GL_LINES);
    for (int axis = 0; axis < 3; ++axis) {
        const int a1 = (axis + 1) % 3, a2 = (axis + 2) % 3;
        for (int c = 0; c < 4; ++c) {
            double p[3];
            p[a1] = (c & 1) ? hi[a1] : lo[a1];
            p[a2] = (c & 2) ? hi[a2] : lo[a2];
            p[axis] = lo[axis];
            glVertex3dv(p);
            p[axis] = hi[axis];
            glVertex3dv(p);
        }
    }
    glEnd();
}

void GuideGL_cls::DrawAxisTriad(const Camera_cls& camera, int width, int height, int sizePx)
{
    // A small square viewport in the corner with the camera's rotation only: the triad turns
    // with the scene but keeps its size and place whatever the zoom and pan.
    const int scaledSize = static_cast<int>(std::lround(sizePx * GPixelScale));
    const int box = std::min({scaledSize * 3, width, height});
    if (box <= 0)
        return;
    glPushAttrib(GL_VIEWPORT_BIT | GL_ENABLE_BIT | GL_LINE_BIT | GL_CURRENT_BIT);
    glViewport(GViewportX, GViewportY, box, box);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_LIGHTING);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glOrtho(-1.5, 1.5, -1.5, 1.5, -2.0, 2.0);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    Mat4d v = camera.ViewMatrix();
    v[12] = v[13] = v[14] = 0.0;
    glLoadMatrixd(v.data());
    glLineWidth(static_cast<float>(2.0 * GPixelScale));
    glBegin(GL_LINES);
    const float colours[3][3] = {{1.0f, 0.2f, 0.2f}, {0.2f, 1.0f, 0.2f}, {0.3f, 0.5f, 1.0f}};
    for (int axis = 0; axis < 3; ++axis) {
        double tip[3] = {0, 0, 0};
        tip[axis] = 1.0;
        glColor3fv(colours[axis]);
        glVertex3d(0, 0, 0);
        glVertex3dv(tip);
    }
    glEnd();
    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
    glPopAttrib();
}

void GuideGL_cls::DrawImageAt(const std::vector<uint8_t>& rgba, int imageWidth, int imageHeight, int x, int y,
                              int viewWidth, int viewHeight)
{
    if (imageWidth <= 0 || imageHeight <= 0 || rgba.size() < size_t(imageWidth) * imageHeight * 4)
        return;
    glPushAttrib(GL_ENABLE_BIT | GL_COLOR_BUFFER_BIT | GL_PIXEL_MODE_BIT);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_TEXTURE_2D);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glOrtho(0, viewWidth, 0, viewHeight, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    // glDrawPixels fills rows upward from the raster position: start at the image's bottom row
    // and zoom -1 in y so the rows given top-down land the right way up.
    glRasterPos2i(x, viewHeight - y);
    glPixelZoom(static_cast<float>(GPixelScale), static_cast<float>(-GPixelScale));
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glDrawPixels(imageWidth, imageHeight, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    glPixelZoom(1.0f, 1.0f);
    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
    glPopAttrib();
}

std::vector<uint8_t> GuideGL_cls::ReadPixelsRGB(int width, int height)
{
    std::vector<uint8_t> bottomUp(size_t(std::max(width, 0)) * std::max(height, 0) * 3);
    if (bottomUp.empty())
        return bottomUp;
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadBuffer(GL_BACK);
    glReadPixels(0, 0, width, height, GL_RGB, GL_UNSIGNED_BYTE, bottomUp.data());
    std::vector<uint8_t> topDown(bottomUp.size());
    const size_t row = size_t(width) * 3;
    for (int y = 0; y < height; ++y)
        std::copy_n(bottomUp.begin() + static_cast<long>(row * (height - 1 - y)), row,
                    topDown.begin() + static_cast<long>(row * y));
    return topDown;
}

void GuideGL_cls::GetGLVersion(int& major, int& minor)
{
    major = minor = 0;
    const auto* text = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    if (text == nullptr || std::sscanf(text, "%d.%d", &major, &minor) != 2)
        major = minor = 0;
}
