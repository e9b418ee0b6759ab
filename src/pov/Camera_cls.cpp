#include "pov/Camera_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr double kPi = 3.14159265358979323846;
constexpr double kMinDistance = 1e-4;

Vec3d Sub(const Vec3d& a, const Vec3d& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
Vec3d Add(const Vec3d& a, const Vec3d& b)
{
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
Vec3d Scale(const Vec3d& a, double s)
{
    return {a[0] * s, a[1] * s, a[2] * s};
}
double Dot(const Vec3d& a, const Vec3d& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
Vec3d Cross(const Vec3d& a, const Vec3d& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double Length(const Vec3d& a)
{
    return std::sqrt(Dot(a, a));
}
Vec3d Normalize(const Vec3d& a)
{
    const double len = Length(a);
    return len > 0.0 ? Scale(a, 1.0 / len) : a;
}

// Rodrigues' rotation of v around the unit axis k by `rad` radians.
Vec3d Rotate(const Vec3d& v, const Vec3d& k, double rad)
{
    const double c = std::cos(rad), s = std::sin(rad);
    return Add(Add(Scale(v, c), Scale(Cross(k, v), s)), Scale(k, Dot(k, v) * (1.0 - c)));
}

double Rad(double deg)
{
    return deg * kPi / 180.0;
}

// True when sky and the view direction span a plane (the screen's right vector exists).
bool IsValidFrame(const Vec3d& position, const Vec3d& lookAt, const Vec3d& sky)
{
    const Vec3d dir = Sub(lookAt, position);
    const double dl = Length(dir), sl = Length(sky);
    if (dl < kMinDistance * 0.5 || sl == 0.0)
        return false;
    return Length(Cross(dir, sky)) > 1e-9 * dl * sl;
}

std::wstring PovVector(const Vec3d& v)
{
    return WStrPrintf("<%.9g, %.9g, %.9g>", v[0], v[1], v[2]);
}

} // namespace

Camera_cls::Camera_cls()
{
    mvAnchor = {0.0, 0.0, 0.0};
    SetFixedView(kViewPerspective, 3.0);
    SetKeyPrefix(L"View");
}

bool Camera_cls::Set(const Vec3d& position, const Vec3d& lookAt, const Vec3d& sky)
{
    if (!IsValidFrame(position, lookAt, sky))
        return false;
    mvPosition = position;
    mvLookAt = lookAt;
    mvSky = sky;
    return true;
}

void Camera_cls::SetViewAngle(double degrees)
{
    mdViewAngle = std::clamp(degrees, 1.0, 170.0);
}

void Camera_cls::SetFixedView(FixedView view, double distance)
{
    distance = std::max(distance, kMinDistance);
    const Vec3d& a = mvAnchor;
    switch (view) {
    case kViewTop:
        Set(Add(a, {0.0, distance, 0.0}), a, {0.0, 0.0, -1.0});
        meProjection = kOrthographic;
        break;
    case kViewFront:
        Set(Add(a, {0.0, 0.0, distance}), a, {0.0, 1.0, 0.0});
        meProjection = kOrthographic;
        break;
    case kViewSide:
        Set(Add(a, {distance, 0.0, 0.0}), a, {0.0, 1.0, 0.0});
        meProjection = kOrthographic;
        break;
    case kViewPerspective:
    default: {
        // Seen from the front right, a little above: all three axes visible and none edge-on.
        const Vec3d dir = Normalize(Vec3d{0.6, 0.45, 1.0});
        Set(Add(a, Scale(dir, distance)), a, {0.0, 1.0, 0.0});
        meProjection = kPerspective;
        break;
    }
    }
}

Vec3d Camera_cls::Direction() const
{
    return Normalize(Sub(mvLookAt, mvPosition));
}
Vec3d Camera_cls::Right() const
{
    return Normalize(Cross(Direction(), mvSky));
}
Vec3d Camera_cls::Up() const
{
    return Cross(Right(), Direction());
}
double Camera_cls::Distance() const
{
    return Length(Sub(mvLookAt, mvPosition));
}

double Camera_cls::ViewHeightAtLookAt() const
{
    return 2.0 * Distance() * std::tan(Rad(mdViewAngle) * 0.5);
}

void Camera_cls::Orbit(double yawDeg, double pitchDeg)
{
    Vec3d eye = Sub(mvPosition, mvAnchor);
    Vec3d look = Sub(mvLookAt, mvAnchor);
    Vec3d sky = mvSky;
    const Vec3d yawAxis = Normalize(mvSky);
    if (yawDeg != 0.0) {
        // Positive yaw turns the scene to the right under the cursor: the eye moves to the left
        // round the sky vector.
        eye = Rotate(eye, yawAxis, -Rad(yawDeg));
        look = Rotate(look, yawAxis, -Rad(yawDeg));
    }
    if (pitchDeg != 0.0) {
        const Vec3d right = Normalize(Cross(Sub(look, eye), sky));
        // Positive pitch lifts the eye: the eye turns about the right vector from the view
        // direction's back toward the sky.
        eye = Rotate(eye, right, -Rad(pitchDeg));
        look = Rotate(look, right, -Rad(pitchDeg));
        sky = Rotate(sky, right, -Rad(pitchDeg));
    }
    Set(Add(mvAnchor, eye), Add(mvAnchor, look), sky);
}

void Camera_cls::Pan(double dx, double dy)
{
    const double h = ViewHeightAtLookAt();
    // Moving the scene right on screen means moving the eye left.
    const Vec3d shift = Add(Scale(Right(), -dx * h), Scale(Up(), -dy * h));
    mvPosition = Add(mvPosition, shift);
    mvLookAt = Add(mvLookAt, shift);
    mvAnchor = Add(mvAnchor, shift);
}

bool Camera_cls::Dolly(double factor)
{
    if (!(factor > 0.0))
        return false;
    const double dist = std::max(Distance() * factor, kMinDistance);
    mvPosition = Sub(mvLookAt, Scale(Direction(), dist));
    return true;
}

double Camera_cls::NearClip() const
{
    return std::max(Distance() * 0.01, 1e-5);
}
double Camera_cls::FarClip() const
{
    return Distance() * 100.0 + 10.0;
}

Mat4d Camera_cls::ViewMatrix() const
{
    const Vec3d f = Direction();
    const Vec3d s = Right();
    const Vec3d u = Cross(s, f);
    Mat4d m{};
    // Rows of the rotation are s, u, -f; the translation moves the eye to the origin.
    m[0] = s[0], m[4] = s[1], m[8] = s[2];
    m[1] = u[0], m[5] = u[1], m[9] = u[2];
    m[2] = -f[0], m[6] = -f[1], m[10] = -f[2];
    m[12] = -Dot(s, mvPosition);
    m[13] = -Dot(u, mvPosition);
    m[14] = Dot(f, mvPosition);
    m[15] = 1.0;
    return m;
}

Mat4d Camera_cls::ProjectionMatrix(double aspect) const
{
    if (!(aspect > 0.0))
        aspect = 1.0;
    const double n = NearClip(), f = FarClip();
    Mat4d m{};
    if (meProjection == kOrthographic) {
        const double top = ViewHeightAtLookAt() * 0.5, right = top * aspect;
        m[0] = 1.0 / right;
        m[5] = 1.0 / top;
        m[10] = -2.0 / (f - n);
        m[14] = -(f + n) / (f - n);
        m[15] = 1.0;
    } else {
        const double cot = 1.0 / std::tan(Rad(mdViewAngle) * 0.5);
        m[0] = cot / aspect;
        m[5] = cot;
        m[10] = (f + n) / (n - f);
        m[11] = -1.0;
        m[14] = 2.0 * f * n / (n - f);
    }
    return m;
}

bool Camera_cls::Project(const Vec3d& world, int width, int height, double& px, double& py, double& depth) const
{
    if (width <= 0 || height <= 0)
        return false;
    const Mat4d v = ViewMatrix();
    const Mat4d p = ProjectionMatrix(static_cast<double>(width) / height);
    double eye[4], clip[4];
    const double in[4] = {world[0], world[1], world[2], 1.0};
    for (int r = 0; r < 4; ++r)
        eye[r] = v[r] * in[0] + v[4 + r] * in[1] + v[8 + r] * in[2] + v[12 + r] * in[3];
    for (int r = 0; r < 4; ++r)
        clip[r] = p[r] * eye[0] + p[4 + r] * eye[1] + p[8 + r] * eye[2] + p[12 + r] * eye[3];
    if (clip[3] <= 0.0)
        return false;
    const double nx = clip[0] / clip[3], ny = clip[1] / clip[3];
    depth = clip[2] / clip[3];
    px = (nx + 1.0) * 0.5 * width;
    py = (1.0 - ny) * 0.5 * height;
    return true;
}

double Camera_cls::HorizontalAngle(double aspect) const
{
    return 2.0 * std::atan(aspect * std::tan(Rad(mdViewAngle) * 0.5)) * 180.0 / kPi;
}

std::wstring Camera_cls::PovCameraText(double aspect) const
{
    if (!(aspect > 0.0))
        aspect = 1.0;
    std::wstring text = L"camera {\n";
    if (meProjection == kOrthographic) {
        const double h = ViewHeightAtLookAt();
        text += L"  orthographic\n";
        text += L"  location " + PovVector(ToPov(mvPosition)) + L"\n";
        // Without an angle POV-Ray takes the lengths of right and up as the visible area.
        text += WStrPrintf("  right x*%.9g\n", h * aspect);
        text += WStrPrintf("  up y*%.9g\n", h);
    } else {
        text += L"  perspective\n";
        text += L"  location " + PovVector(ToPov(mvPosition)) + L"\n";
        // right along +x keeps POV-Ray's own left-handed frame, which mirrors ours exactly.
        text += WStrPrintf("  right x*%.9g\n", aspect);
        text += L"  up y\n";
    }
    text += L"  sky " + PovVector(ToPov(mvSky)) + L"\n";
    if (meProjection == kPerspective)
        text += WStrPrintf("  angle %.9g\n", HorizontalAngle(aspect));
    // look_at last: it turns the vectors given above toward the target.
    text += L"  look_at " + PovVector(ToPov(mvLookAt)) + L"\n";
    text += L"}\n";
    return text;
}

void Camera_cls::SetKeyPrefix(const std::wstring& prefix)
{
    mCConfList.Clear();
    mCConfList.Add(&mCItemPosition, prefix + L"CamLocation=", L"0 0 3");
    mCConfList.Add(&mCItemLookAt, prefix + L"CamLookAt=", L"0 0 0");
    mCConfList.Add(&mCItemSky, prefix + L"CamSky=", L"0 1 0");
    mCConfList.Add(&mCItemAnchor, prefix + L"CamAnchor=", L"0 0 0");
    mCConfList.Add(&mfItemAngle, prefix + L"CamAngle=", L"30");
    mCConfList.Add(&muItemProjection, prefix + L"CamProjection=", L"0");
    SyncToItems();
}

void Camera_cls::SyncToItems() const
{
    for (int i = 0; i < 3; ++i) {
        mCItemPosition.Set(i, static_cast<float>(mvPosition[i]));
        mCItemLookAt.Set(i, static_cast<float>(mvLookAt[i]));
        mCItemSky.Set(i, static_cast<float>(mvSky[i]));
        mCItemAnchor.Set(i, static_cast<float>(mvAnchor[i]));
    }
    mfItemAngle.Set(static_cast<float>(mdViewAngle));
    muItemProjection.Set(static_cast<unsigned>(meProjection));
}

bool Camera_cls::SyncFromItems()
{
    Vec3d pos, look, sky, anchor;
    for (int i = 0; i < 3; ++i) {
        pos[i] = mCItemPosition.Get(i);
        look[i] = mCItemLookAt.Get(i);
        sky[i] = mCItemSky.Get(i);
        anchor[i] = mCItemAnchor.Get(i);
    }
    mvAnchor = anchor;
    SetViewAngle(mfItemAngle.Get());
    meProjection = muItemProjection.Get() == kOrthographic ? kOrthographic : kPerspective;
    // Lines arrive one at a time, so the frame can be momentarily degenerate (a new position
    // equal to the old look-at point); it is applied once the following lines make it valid.
    return Set(pos, look, sky);
}

std::wstring Camera_cls::SerializeConf() const
{
    SyncToItems();
    return mCConfList.SerializeAll();
}

bool Camera_cls::ReadStrLine(const std::wstring& line)
{
    // While a degenerate frame is pending the items hold the lines read so far; otherwise they
    // start from the live state, which navigation may have changed since the last read.
    if (!mbItemsPending)
        SyncToItems();
    if (!mCConfList.ReadStrLineAll(line))
        return false;
    mbItemsPending = !SyncFromItems();
    return true;
}
