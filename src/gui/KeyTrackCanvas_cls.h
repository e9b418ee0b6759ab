#pragma once
// The key track of the time line: a ruler of the active area's frames, the working area as a
// band, the current frame as a red line and the keys of one parameter set as markers. A click
// on a marker selects its key (Shift adds or removes it), dragging selected markers moves their
// keys by whole frames (handed over once, at the release, so that a drag is one undo step), a
// click or drag on the empty track moves the current frame, and Shift+drag on the empty track
// selects the keys under a rubber band.
#include "gui/TimeTrackMap_cls.h"

#include <wx/panel.h>

#include <functional>

class Parameters_cls;
class TimeCtrl_cls;

class KeyTrackCanvas_cls : public wxPanel
{
  public:
    /// Marker half-width and the hit radius around it, pixels.
    static constexpr int kMarkerRadius = 6;
    /// Pixels kept free at both ends of the track.
    static constexpr int kMargin = 12;

    /// What the track asks its owner to do.
    struct Actions {
        std::function<void(int frame)> mSetFrame;      ///< move the current frame
        std::function<void(int frames)> mMoveSelected; ///< a key drag ended, frames moved
        std::function<void()> mDeleteSelected;         ///< Delete pressed on the track
        std::function<void()> mSelectionChanged;       ///< the selection marks changed
    };

    /// clock: the scene clock shown (not owned; outlives the track). GUI thread.
    KeyTrackCanvas_cls(wxWindow* parent, TimeCtrl_cls* clock);

    /// The set whose keys are shown and edited (null: none). Not owned.
    void SetParameters(Parameters_cls* param);
    Parameters_cls* GetParameters() const { return mpParam; }
    void SetActions(Actions actions) { mCActions = std::move(actions); }
    /// The geometry of the last layout (updated on every paint and size change).
    const TimeTrackMap_cls& GetMap() const { return mCMap; }
    /// Frames of the drag in progress (0 when none).
    int GetDragFrames() const { return mbDraggingKeys ? miDragFrames : 0; }
    /// Vertical centre of the key markers, client pixels.
    int GetMarkerY() const;
    /// Paints so far, and the frame the last paint showed (-1 before the first).
    int GetPaintCount() const { return miPaintCount; }
    int GetPaintedFrame() const { return miPaintedFrame; }

  private:
    void UpdateMap();
    void OnPaint(wxPaintEvent& event);
    void OnSize(wxSizeEvent& event);
    void OnMouse(wxMouseEvent& event);
    void OnCaptureLost(wxMouseCaptureLostEvent& event);
    void OnKey(wxKeyEvent& event);
    std::vector<double> KeyTimes() const;
    void EndDrag(bool apply);

    TimeCtrl_cls* mpClock;
    Parameters_cls* mpParam = nullptr;
    int miPaintCount = 0;
    int miPaintedFrame = -1;
    Actions mCActions;
    TimeTrackMap_cls mCMap;
    bool mbDraggingKeys = false;
    bool mbScrubbing = false;
    bool mbBand = false;
    int miDragStartX = 0;
    int miDragX = 0;
    int miDragFrames = 0;
};
