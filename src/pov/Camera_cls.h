#pragma once
// The view camera shared by the preview, the scene export and the CLI: one model, so a rendered
// frame shows what the preview showed.
//
// World coordinates are right-handed with y up (OpenGL's convention); the volume's unit cube is
// centred on the origin. POV-Ray is left-handed. The export maps a world point (x, y, z) to the
// POV-Ray point (x, y, -z): a mirror, which keeps the picture the same when the camera is mirrored
// too, because POV-Ray's default camera (right +x, up +y, direction +z) is itself left-handed and
// so computes right = sky x direction, which is exactly the mirror image of OpenGL's
// right = direction x up. PovCameraText() writes the mirrored camera; Project() gives the pixel a
// point lands on in either renderer.
//
// Sections: state and fixed views; navigation (orbit, pan, dolly); matrices and projection;
// POV-Ray text; configuration items.
#include "config/ConfItemList_cls.h"

#include <array>
#include <string>

/// A 3-vector of doubles (x, y, z).
using Vec3d = std::array<double, 3>;
/// A column-major 4x4 matrix as glLoadMatrixd/glMultMatrixd take it (element (row r, col c) at
/// index c*4 + r).
using Mat4d = std::array<double, 16>;

class Camera_cls
{
  public:
    /// Projection kinds; the values are what the configuration item stores.
    enum Projection : unsigned { kPerspective = 0, kOrthographic = 1 };
    /// The fixed views offered by the view panels; the values are stored per view.
    enum FixedView : int { kViewTop = 0, kViewFront = 1, kViewSide = 2, kViewPerspective = 3 };

    /// A perspective camera looking at the origin from the default perspective direction.
    Camera_cls();

    // --- state -----------------------------------------------------------------------------
    /// Eye position (world units).
    const Vec3d& GetPosition() const { return mvPosition; }
    /// The point looked at; the view direction is GetLookAt() - GetPosition().
    const Vec3d& GetLookAt() const { return mvLookAt; }
    /// The sky vector: the world direction that appears upward on screen (need not be
    /// perpendicular to the view direction; must not be parallel to it).
    const Vec3d& GetSky() const { return mvSky; }
    /// The point orbited around by Orbit().
    const Vec3d& GetAnchor() const { return mvAnchor; }
    /// Vertical field of view in degrees (0 < angle < 180), as gluPerspective takes it.
    double GetViewAngle() const { return mdViewAngle; }
    Projection GetProjection() const { return meProjection; }

    /// Sets position, look-at and sky together. Returns false (and changes nothing) when the
    /// position equals the look-at point or the sky is parallel to the view direction.
    bool Set(const Vec3d& position, const Vec3d& lookAt, const Vec3d& sky);
    void SetAnchor(const Vec3d& anchor) { mvAnchor = anchor; }
    /// Sets the vertical view angle in degrees, clamped to [1, 170].
    void SetViewAngle(double degrees);
    void SetProjection(Projection projection) { meProjection = projection; }

    /// Places the camera for one of the fixed views, looking at the anchor from `distance`:
    /// top looks down -y with -z up on screen, front looks along -z with y up, side looks along
    /// -x with y up, perspective looks from the (+x, +y, +z) octant with y up. Top, front and
    /// side are orthographic, the perspective view is perspective.
    void SetFixedView(FixedView view, double distance);

    /// Unit view direction (from the eye toward the look-at point).
    Vec3d Direction() const;
    /// Unit vector pointing right on screen (direction x sky, normalised).
    Vec3d Right() const;
    /// Unit vector pointing up on screen (right x direction).
    Vec3d Up() const;
    /// Distance from the eye to the look-at point.
    double Distance() const;
    /// Height of the visible area at the look-at distance (world units); for the orthographic
    /// projection this is the height of the whole view.
    double ViewHeightAtLookAt() const;

    // --- navigation ------------------------------------------------------------------------
    /// Turns the eye and the look-at point around the anchor: `yawDeg` around the sky vector,
    /// then `pitchDeg` around the screen's right vector (positive pitch moves the eye up). The
    /// sky turns with the pitch so that the view can pass over the poles without flipping.
    void Orbit(double yawDeg, double pitchDeg);
    /// Moves eye, look-at point and anchor sideways: dx, dy in fractions of the view height
    /// (positive dx moves the scene right on screen, positive dy moves it up).
    void Pan(double dx, double dy);
    /// Multiplies the eye-to-look-at distance by `factor` (> 0; < 1 comes closer). The distance
    /// never falls below 1e-4. Returns false for a factor that is not positive.
    bool Dolly(double factor);

    // --- matrices and projection -----------------------------------------------------------
    /// The view matrix (what gluLookAt(position, lookAt, sky) would build).
    Mat4d ViewMatrix() const;
    /// The projection matrix for an image of the given aspect (width / height): gluPerspective
    /// with the view angle, or glOrtho with the visible height of ViewHeightAtLookAt().
    Mat4d ProjectionMatrix(double aspect) const;
    /// Near and far clip distances used by ProjectionMatrix (they follow the eye distance).
    double NearClip() const;
    double FarClip() const;
    /// Projects a world point onto an image of width x height pixels: pixel coordinates with x
    /// from the left edge and y from the top edge (pixel centres at .5), depth in [-1, 1] as
    /// OpenGL's normalised depth. Returns false when the point is behind the eye.
    bool Project(const Vec3d& world, int width, int height, double& px, double& py, double& depth) const;

    // --- POV-Ray ---------------------------------------------------------------------------
    /// Horizontal field of view in degrees for an image of the given aspect (POV-Ray's angle).
    double HorizontalAngle(double aspect) const;
    /// The camera block that makes POV-Ray render the same picture for an image of the given
    /// aspect (width / height), in POV-Ray's mirrored coordinates. Ends with "}\n".
    std::wstring PovCameraText(double aspect) const;
    /// A world point in POV-Ray coordinates (z mirrored).
    static Vec3d ToPov(const Vec3d& world) { return {world[0], world[1], -world[2]}; }

    // --- configuration items ---------------------------------------------------------------
    /// Registers the camera's items under keys that start with `prefix` (e.g. L"View0"): the
    /// keys are prefix + "CamLocation=", "CamLookAt=", "CamSky=", "CamAnchor=", "CamAngle=",
    /// "CamProjection=". Items are matched anywhere in a line, so no prefix may be the tail of
    /// another camera's prefix.
    void SetKeyPrefix(const std::wstring& prefix);
    /// The camera's lines (key and value each).
    std::wstring SerializeConf() const;
    /// Takes the line when it holds one of the camera's keys; returns true then. A line that
    /// would make the camera degenerate is taken but leaves the previous state.
    bool ReadStrLine(const std::wstring& line);

  private:
    void SyncToItems() const;
    bool SyncFromItems();

    Vec3d mvPosition{};
    Vec3d mvLookAt{};
    Vec3d mvSky{};
    Vec3d mvAnchor{};
    double mdViewAngle = 30.0;
    Projection meProjection = kPerspective;

    // The text form; mutable because serialising copies the live state into them first.
    mutable ConfItemFLOATARRAY_cls mCItemPosition;
    mutable ConfItemFLOATARRAY_cls mCItemLookAt;
    mutable ConfItemFLOATARRAY_cls mCItemSky;
    mutable ConfItemFLOATARRAY_cls mCItemAnchor;
    mutable ConfItemFLOAT_cls mfItemAngle;
    mutable ConfItemUINT_cls muItemProjection;
    ConfItemList_cls mCConfList;
    bool mbItemsPending = false;
};
