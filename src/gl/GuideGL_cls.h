#pragma once
// The guides drawn over every view: the volume's bounding box, the axis triad and text labels
// (handed in as ready-made pixels, since text rendering belongs to the window toolkit). Also loads
// a camera into the fixed-function matrices. All calls need the view's GL context current.
#include "pov/Camera_cls.h"

#include <cstdint>
#include <vector>

class GuideGL_cls
{
  public:
    /// Sets the viewport to width x height pixels and loads the camera's projection and view
    /// matrices (modelview is left selected).
    static void LoadCamera(const Camera_cls& camera, int width, int height);
    /// Clears colour and depth to the given background colour (0..1 each).
    static void Clear(float r, float g, float b);
    /// Draws the twelve edges of the box [lo, hi] as lines in colour rgb (0..1), 1 px wide.
    static void DrawBoundingBox(const Vec3d& lo, const Vec3d& hi, const float rgb[3]);
    /// Draws the axis triad in the lower-left corner of the viewport: x red, y green, z blue,
    /// turned like the scene so the user sees which way the axes point. sizePx: arm length in
    /// pixels. Leaves the camera matrices as they were.
    static void DrawAxisTriad(const Camera_cls& camera, int width, int height, int sizePx);
    /// Draws an RGBA image (rows top to bottom, 4 bytes per pixel, alpha-blended) with its
    /// top-left corner at pixel (x, y) from the top-left of the viewport.
    static void DrawImageAt(const std::vector<uint8_t>& rgba, int imageWidth, int imageHeight, int x, int y,
                            int viewWidth, int viewHeight);
    /// Reads the viewport's colour buffer as RGB rows from top to bottom (what glReadPixels
    /// returns, flipped). Reads the back buffer: call after drawing, before the swap.
    static std::vector<uint8_t> ReadPixelsRGB(int width, int height);
    /// The GL version of the current context (0, 0 when it cannot be read).
    static void GetGLVersion(int& major, int& minor);
    /// Where the view's lower-left corner lies in the framebuffer (a stereo pair draws each eye
    /// into its half). LoadCamera and DrawAxisTriad place their viewports relative to it.
    static void SetViewportOrigin(int x, int y);
    static void GetViewportOrigin(int& x, int& y);
    /// Factor applied to sizes given in screen pixels (triad arm, label images) so that a view
    /// drawn larger than the screen, e.g. into an off-screen buffer, keeps the same picture.
    static void SetPixelScale(double scale);
    static double GetPixelScale();
};
