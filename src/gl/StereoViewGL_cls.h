#pragma once
// Draws one view as a stereo pair in the current framebuffer: each eye's camera comes from the
// stereogram (the same geometry the ray-tracer export uses), and the pair is laid out as its
// mode says: two halves side by side (parallel or crossed), one above the other, or both eyes
// over each other through colour masks (red for the left eye, green and blue for the right).
// With stereo off the view is drawn once, unchanged.
#include "pov/Camera_cls.h"

#include <functional>

class StereoGram_cls;

class StereoViewGL_cls
{
  public:
    /// A rectangle of the framebuffer, lower-left corner (x, y) in GL's convention.
    struct Rect {
        int iX = 0, iY = 0, iWidth = 0, iHeight = 0;
    };
    /// Draws the whole view for `camera` into a viewport of width x height pixels: clear, load
    /// the camera (GuideGL_cls::LoadCamera), the scene, the guides.
    using DrawFunc = std::function<void(const Camera_cls& camera, int width, int height)>;

    /// The part of a width x height framebuffer that shows eye 1 (left) or 2 (right) in the
    /// stereogram's mode; the whole framebuffer for the anaglyph, for eye 0 or with stereo off.
    static Rect EyeRect(const StereoGram_cls& stereo, unsigned eye, int width, int height);
    /// Draws the view for `mono` as the stereogram's mode says. Leaves the viewport origin,
    /// scissor test and colour mask as it found them, and the viewport on the whole view.
    /// time: normalised time of the frame for an animated eye geometry (-1: current time).
    static void Draw(const StereoGram_cls& stereo, const Camera_cls& mono, int width, int height, const DrawFunc& draw,
                     double time = -1.0);
};
