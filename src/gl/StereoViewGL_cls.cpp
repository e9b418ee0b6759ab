#include "gl/StereoViewGL_cls.h"

#include "gl/GuideGL_cls.h"
#include "pov/StereoGram_cls.h"

#include <GL/gl.h>

StereoViewGL_cls::Rect StereoViewGL_cls::EyeRect(const StereoGram_cls& stereo, unsigned eye, int width, int height)
{
    Rect r{0, 0, width, height};
    if ((eye != 1 && eye != 2) || !stereo.IsSplit())
        return r;
    const int half = stereo.GetHalfForEye(eye);
    if (stereo.GetMode() == StereoGram_cls::kModeOverUnder) {
        // Half 0 is the upper one; GL counts rows from the bottom. An odd row goes to the top.
        const int lower = height / 2;
        r.iHeight = half == 0 ? height - lower : lower;
        r.iY = half == 0 ? lower : 0;
    } else {
        const int left = width / 2;
        r.iWidth = half == 0 ? left : width - left;
        r.iX = half == 0 ? 0 : left;
    }
    return r;
}

void StereoViewGL_cls::Draw(const StereoGram_cls& stereo, const Camera_cls& mono, int width, int height,
                            const DrawFunc& draw, double time)
{
    if (!stereo.IsActive() || width <= 0 || height <= 0) {
        draw(mono, width, height);
        return;
    }
    int oldX = 0, oldY = 0;
    GuideGL_cls::GetViewportOrigin(oldX, oldY);
    glPushAttrib(GL_SCISSOR_BIT | GL_COLOR_BUFFER_BIT | GL_VIEWPORT_BIT);
    const bool anaglyph = stereo.GetMode() == StereoGram_cls::kModeAnaglyph;
    for (unsigned eye = 1; eye <= 2; ++eye) {
        const Camera_cls camera = stereo.MakeEyeCamera(mono, eye, time);
        if (anaglyph) {
            // Each eye writes only its own channels; the depth buffer is cleared between them by
            // the view's own clear, so the second eye hides nothing of the first.
            if (eye == 1)
                glColorMask(GL_TRUE, GL_FALSE, GL_FALSE, GL_TRUE);
            else
                glColorMask(GL_FALSE, GL_TRUE, GL_TRUE, GL_TRUE);
            draw(camera, width, height);
            continue;
        }
        const Rect r = EyeRect(stereo, eye, width, height);
        if (r.iWidth <= 0 || r.iHeight <= 0)
            continue;
        // The scissor keeps the view's clear inside this eye's half.
        glEnable(GL_SCISSOR_TEST);
        glScissor(oldX + r.iX, oldY + r.iY, r.iWidth, r.iHeight);
        GuideGL_cls::SetViewportOrigin(oldX + r.iX, oldY + r.iY);
        draw(camera, r.iWidth, r.iHeight);
    }
    GuideGL_cls::SetViewportOrigin(oldX, oldY);
    glPopAttrib();
    // What is drawn over the pair (labels) covers the whole view, as after a mono draw.
    glViewport(oldX, oldY, width, height);
}
