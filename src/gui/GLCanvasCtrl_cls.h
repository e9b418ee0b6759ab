#pragma once
// One view controller: the camera of a view panel (or of the extra view window), its fixed view,
// the mouse navigation and the guides it draws. The canvas forwards mouse events here; motion is
// collected and applied by the main window's idle pass (ProcessDrag), so dragging follows the
// same 25 ms rhythm as playback.
#include "pov/Camera_cls.h"

#include <array>
#include <functional>
#include <string>

class GLCanvasCtrl_cls
{
  public:
    /// What a held mouse button does.
    enum DragMode { kDragNone, kDragOrbit, kDragZoom, kDragPan };
    /// Distance of the camera from the anchor after a reset (world units; the volume is a unit
    /// cube).
    static constexpr double kDefaultDistance = 4.0;
    /// Degrees of orbit per pixel of left-drag.
    static constexpr double kOrbitDegPerPixel = 0.4;

    /// index: 0..3 for the view panels, 4 for the extra window; view: its initial fixed view.
    GLCanvasCtrl_cls(int index, Camera_cls::FixedView view);

    int GetIndex() const { return miIndex; }
    Camera_cls& GetCamera() { return mCCamera; }
    const Camera_cls& GetCamera() const { return mCCamera; }
    Camera_cls::FixedView GetView() const { return static_cast<Camera_cls::FixedView>(muItemView.Get()); }
    /// Switches to a fixed view and resets the camera to it.
    void SetView(Camera_cls::FixedView view);
    /// Puts the camera back to the fixed view's start: anchor at the origin, default distance.
    void ResetCamera();
    /// The translated name of the fixed view ("Top", "Front", "Side", "Perspective").
    std::wstring GetViewName() const;

    // --- mouse (GUI thread) ----------------------------------------------------------------
    /// A button went down at pixel (x, y) of the view.
    void BeginDrag(DragMode mode, int x, int y);
    /// The pointer moved to (x, y) with the button held; the motion waits for ProcessDrag.
    void DragTo(int x, int y);
    /// The button went up (or the capture was lost); motion not yet processed is kept.
    void EndDrag();
    /// True while a button is held or motion is waiting to be applied.
    bool IsDragging() const { return meDrag != kDragNone || miPendingX != 0 || miPendingY != 0; }
    /// Applies the collected motion to the camera for a view `viewHeight` pixels high: orbit
    /// (left), dolly (right: down moves away), pan (middle: the scene follows the pointer).
    /// Returns true when the camera changed.
    bool ProcessDrag(int viewHeight);
    /// A wheel turn of `rotation` in units of `delta` per notch: each notch toward the user
    /// (positive rotation) comes 10 % closer.
    void Wheel(int rotation, int delta);

    // --- drawing (GUI thread, the view's GL context current) -------------------------------
    /// Clears the view and draws the guide box (boxExtent: its sides, centred on the origin),
    /// then drawData (the volumes), then the axis triad.
    void Draw(int width, int height, const std::array<double, 3>& boxExtent = {1.0, 1.0, 1.0},
              const std::function<void()>& drawData = {}) const;
    /// As Draw, through another camera (one eye of a stereo pair).
    void DrawWithCamera(const Camera_cls& camera, int width, int height, const std::array<double, 3>& boxExtent,
                        const std::function<void()>& drawData) const;

    // --- configuration ---------------------------------------------------------------------
    /// "--GLCanvas" followed by the view's lines (keys start with "GLView" + index).
    std::wstring SerializeConf() const;
    /// Takes the line when it is one of this view's keys.
    bool ReadStrLine(const std::wstring& line);

  private:
    DragMode meDrag = kDragNone;
    DragMode meLastDrag = kDragNone;
    int miIndex;
    int miLastX = 0, miLastY = 0;
    int miPendingX = 0, miPendingY = 0;
    Camera_cls mCCamera;
    ConfItemUINT_cls muItemView;
    ConfItemList_cls mCConfList;
};
