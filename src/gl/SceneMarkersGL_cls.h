#pragma once
// Small markers of scene objects that have no volume of their own: light sources (a star of
// three crossed lines with a dot in the light's colour) and the cameras of the camera path (a
// wire frustum each, joined by the curve the path follows). Drawn unlit, depth-tested, in world
// coordinates (the volume's box is the unit cube centred on the origin).
//
// Everything runs on the thread that owns the GL context, with the context current.
#include "pov/Camera_cls.h"

#include <vector>

class SceneMarkersGL_cls
{
  public:
    /// A light marker at `position`, arms of half-length `size` (world units), colour rgb 0..1.
    static void DrawLight(const Vec3d& position, const float rgb[3], double size);
    /// A wire frustum of `camera`: apex at the eye, a rectangle `length` world units along the
    /// view with the camera's vertical angle and the aspect `aspect`, an up tick over its top.
    static void DrawCameraFrustum(const Camera_cls& camera, double length, double aspect, const float rgb[3]);
    /// A line strip through `points`, colour rgb.
    static void DrawPath(const std::vector<Vec3d>& points, const float rgb[3]);
    /// The frustum corners DrawCameraFrustum uses: four points, top-left, top-right, bottom-right,
    /// bottom-left as seen from the camera.
    static std::vector<Vec3d> FrustumCorners(const Camera_cls& camera, double length, double aspect);
};
