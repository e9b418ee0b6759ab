#include "gui/GLCanvasCtrl_cls.h"

#include "config/TextFormat.h"
#include "config/Translate.h"
#include "gl/GuideGL_cls.h"

#include <cmath>

GLCanvasCtrl_cls::GLCanvasCtrl_cls(int index, Camera_cls::FixedView view) : miIndex(index)
{
    const std::wstring prefix = WStrPrintf("GLView%d", index);
    mCCamera.SetKeyPrefix(prefix);
    mCConfList.Add(&muItemView, prefix + L"FixedView=", WStrPrintf("%d", static_cast<int>(view)));
    ResetCamera();
}

void GLCanvasCtrl_cls::SetView(Camera_cls::FixedView view)
{
    muItemView.Set(static_cast<unsigned>(view));
    ResetCamera();
}

void GLCanvasCtrl_cls::ResetCamera()
{
    mCCamera.SetAnchor({0.0, 0.0, 0.0});
    mCCamera.SetViewAngle(30.0);
    mCCamera.SetFixedView(GetView(), kDefaultDistance);
}

std::wstring GLCanvasCtrl_cls::GetViewName() const
{
    switch (GetView()) {
    case Camera_cls::kViewTop:
        return TrW("Top");
    case Camera_cls::kViewFront:
        return TrW("Front");
    case Camera_cls::kViewSide:
        return TrW("Side");
    default:
        return TrW("Perspective");
    }
}

void GLCanvasCtrl_cls::BeginDrag(DragMode mode, int x, int y)
{
    meDrag = mode;
    meLastDrag = mode;
    miLastX = x;
    miLastY = y;
}

void GLCanvasCtrl_cls::DragTo(int x, int y)
{
    if (meDrag == kDragNone)
        return;
    miPendingX += x - miLastX;
    miPendingY += y - miLastY;
    miLastX = x;
    miLastY = y;
}

void GLCanvasCtrl_cls::EndDrag()
{
    meDrag = kDragNone;
}

bool GLCanvasCtrl_cls::ProcessDrag(int viewHeight)
{
    const int dx = miPendingX, dy = miPendingY;
    miPendingX = miPendingY = 0;
    if (dx == 0 && dy == 0)
        return false;
    const double h = viewHeight > 0 ? viewHeight : 1;
    switch (meLastDrag) {
    case kDragOrbit:
        // Dragging right turns the scene right; dragging down tips its top toward the viewer,
        // which lifts the eye.
        mCCamera.Orbit(dx * kOrbitDegPerPixel, dy * kOrbitDegPerPixel);
        return true;
    case kDragZoom:
        return mCCamera.Dolly(std::exp(dy * 0.005));
    case kDragPan:
        // Screen y grows downward, the camera's up grows upward.
        mCCamera.Pan(dx / h, -dy / h);
        return true;
    default:
        return false;
    }
}

void GLCanvasCtrl_cls::Wheel(int rotation, int delta)
{
    if (rotation == 0)
        return;
    const double notches = delta > 0 ? static_cast<double>(rotation) / delta : (rotation > 0 ? 1.0 : -1.0);
    mCCamera.Dolly(std::pow(0.9, notches));
}

void GLCanvasCtrl_cls::Draw(int width, int height, const std::array<double, 3>& boxExtent,
                            const std::function<void()>& drawData) const
{
    DrawWithCamera(mCCamera, width, height, boxExtent, drawData);
}

void GLCanvasCtrl_cls::DrawWithCamera(const Camera_cls& camera, int width, int height,
                                      const std::array<double, 3>& boxExtent,
                                      const std::function<void()>& drawData) const
{
    GuideGL_cls::Clear(0.12f, 0.12f, 0.16f);
    GuideGL_cls::LoadCamera(camera, width, height);
    // The volume is drawn in the unit cube centred on the origin, shaped by the data's aspect
    // and the box size; the guide box follows it so that it frames what is drawn.
    static const float kBoxColour[3] = {0.85f, 0.85f, 0.85f};
    const double hx = boxExtent[0] * 0.5, hy = boxExtent[1] * 0.5, hz = boxExtent[2] * 0.5;
    GuideGL_cls::DrawBoundingBox({-hx, -hy, -hz}, {hx, hy, hz}, kBoxColour);
    if (drawData)
        drawData();
    GuideGL_cls::DrawAxisTriad(camera, width, height, 30);
}

std::wstring GLCanvasCtrl_cls::SerializeConf() const
{
    return L"--GLCanvas\n" + mCConfList.SerializeAll() + mCCamera.SerializeConf();
}

bool GLCanvasCtrl_cls::ReadStrLine(const std::wstring& line)
{
    if (mCConfList.ReadStrLineAll(line)) {
        if (muItemView.Get() > Camera_cls::kViewPerspective)
            muItemView.Set(Camera_cls::kViewPerspective);
        return true;
    }
    return mCCamera.ReadStrLine(line);
}
