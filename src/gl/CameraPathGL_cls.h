#pragma once
// The camera path in the preview: each camera's key-framed track as a curve, a small frustum at
// every key and a larger one where the camera stands at the current time (the active camera's
// in a brighter colour). Also turns a path camera into the view camera that playback uses when
// the path is in use. All drawing calls need the view's GL context current.
#include "pov/Camera_cls.h"

#include <array>

class CameraPathCtrl_cls;

class CameraPathGL_cls
{
  public:
    /// Samples along each curve (the curves are smooth at this density for the usual paths).
    static constexpr int kCurveSamples = 96;

    /// Moves `camera` to path camera i at normalised time `time`: eye and look-at from the
    /// path; sky, view angle and projection stay. When the view direction is parallel to the
    /// sky, +z (or +y) stands in. False (camera unchanged) when i is out of range or eye and
    /// look-at coincide.
    static bool MakeCamera(const CameraPathCtrl_cls& path, int i, double time, Camera_cls& camera);
    /// The five points of a frustum drawn for `camera`: the eye, then the corners (upper left,
    /// upper right, lower right, lower left on screen) of its view rectangle at distance `depth`
    /// for an image of the given aspect.
    static std::array<Vec3d, 5> FrustumPoints(const Camera_cls& camera, double aspect, double depth);
    /// Draws the path into the current view (camera already loaded): curves, key frusta and
    /// the frusta at `time` (drawn with a 30 degree view angle). size: frustum depth in world
    /// units.
    static void Draw(const CameraPathCtrl_cls& path, double time, double aspect, double size);
};
