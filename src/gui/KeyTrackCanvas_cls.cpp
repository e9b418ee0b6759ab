#include "gui/KeyTrackCanvas_cls.h"

#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "config/TextFormat.h"

#include <wx/dcbuffer.h>

#include <algorithm>
#include <cmath>

namespace
{
constexpr int kRulerHeight = 16;
const wxColour kTrackBackground(250, 250, 244);
const wxColour kWorkingArea(200, 222, 250);
const wxColour kTickColour(90, 90, 90);
const wxColour kKeyColour(30, 80, 200);
const wxColour kSelectedColour(255, 140, 0);
const wxColour kCursorColour(220, 0, 0);
const wxColour kBandColour(120, 120, 120);
} // namespace

KeyTrackCanvas_cls::KeyTrackCanvas_cls(wxWindow* parent, TimeCtrl_cls* clock)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxSize(-1, 58), wxWANTS_CHARS | wxBORDER_SUNKEN), mpClock(clock)
{
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetMinSize(wxSize(200, 58));
    Bind(wxEVT_PAINT, &KeyTrackCanvas_cls::OnPaint, this);
    Bind(wxEVT_SIZE, &KeyTrackCanvas_cls::OnSize, this);
    Bind(wxEVT_LEFT_DOWN, &KeyTrackCanvas_cls::OnMouse, this);
    Bind(wxEVT_LEFT_UP, &KeyTrackCanvas_cls::OnMouse, this);
    Bind(wxEVT_MOTION, &KeyTrackCanvas_cls::OnMouse, this);
    Bind(wxEVT_MOUSE_CAPTURE_LOST, &KeyTrackCanvas_cls::OnCaptureLost, this);
    Bind(wxEVT_KEY_DOWN, &KeyTrackCanvas_cls::OnKey, this);
}

void KeyTrackCanvas_cls::SetParameters(Parameters_cls* param)
{
    EndDrag(false);
    mpParam = param;
    Refresh(false);
}

int KeyTrackCanvas_cls::GetMarkerY() const
{
    return (kRulerHeight + GetClientSize().y) / 2;
}

void KeyTrackCanvas_cls::UpdateMap()
{
    mCMap.Set(GetClientSize().x, kMargin, mpClock->GetAAMin(), mpClock->GetAAMax(), mpClock->GetMaxFrame());
}

std::vector<double> KeyTrackCanvas_cls::KeyTimes() const
{
    std::vector<double> times;
    if (mpParam && Parameters_cls::IsLive(mpParam))
        for (const KeyFrame_cls& key : mpParam->GetKeys())
            times.push_back(key.GetTime());
    return times;
}

void KeyTrackCanvas_cls::OnSize(wxSizeEvent& event)
{
    UpdateMap();
    Refresh(false);
    event.Skip();
}

void KeyTrackCanvas_cls::OnPaint(wxPaintEvent&)
{
    wxAutoBufferedPaintDC dc(this);
    ++miPaintCount;
    miPaintedFrame = mpClock->GetIndex();
    UpdateMap();
    const wxSize size = GetClientSize();
    dc.SetBackground(wxBrush(kTrackBackground));
    dc.Clear();

    // Working area band.
    const int waX0 = static_cast<int>(std::lround(mCMap.FrameToX(mpClock->GetWAMin())));
    const int waX1 = static_cast<int>(std::lround(mCMap.FrameToX(mpClock->GetWAMax())));
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(wxBrush(kWorkingArea));
    dc.DrawRectangle(waX0, kRulerHeight, std::max(waX1 - waX0 + 1, 1), size.y - kRulerHeight);

    // Ruler.
    dc.SetPen(wxPen(kTickColour));
    dc.SetTextForeground(kTickColour);
    wxFont font = GetFont();
    font.SetPointSize(std::max(font.GetPointSize() - 2, 6));
    dc.SetFont(font);
    for (const TimeTrackMap_cls::Tick& tick : mCMap.Ticks(4.0, 44.0)) {
        const int x = static_cast<int>(std::lround(mCMap.FrameToX(tick.miFrame)));
        dc.DrawLine(x, kRulerHeight - (tick.mbLabel ? 7 : 3), x, kRulerHeight);
        if (tick.mbLabel)
            dc.DrawText(WStrPrintf("%d", tick.miFrame), x + 2, 0);
    }
    dc.DrawLine(0, kRulerHeight, size.x, kRulerHeight);

    // Key markers: diamonds; selected ones follow the drag in progress.
    const int y = GetMarkerY();
    const std::vector<double> times = KeyTimes();
    const double dragTime = mCMap.FrameToTime(GetDragFrames());
    for (size_t i = 0; i < times.size(); ++i) {
        const bool selected = mpParam->GetKeys()[i].IsSelected();
        const double t = selected ? std::clamp(times[i] + dragTime, 0.0, 1.0) : times[i];
        const int x = static_cast<int>(std::lround(mCMap.TimeToX(t)));
        const wxPoint diamond[4] = {
            {x, y - kMarkerRadius}, {x + kMarkerRadius, y}, {x, y + kMarkerRadius}, {x - kMarkerRadius, y}};
        dc.SetPen(wxPen(*wxBLACK));
        dc.SetBrush(wxBrush(selected ? kSelectedColour : kKeyColour));
        dc.DrawPolygon(4, diamond);
    }

    // Current frame.
    const int cx = static_cast<int>(std::lround(mCMap.FrameToX(mpClock->GetIndex())));
    dc.SetPen(wxPen(kCursorColour, 2));
    dc.DrawLine(cx, 0, cx, size.y);

    if (mbBand) {
        dc.SetPen(wxPen(kBandColour, 1, wxPENSTYLE_DOT));
        dc.SetBrush(*wxTRANSPARENT_BRUSH);
        dc.DrawRectangle(std::min(miDragStartX, miDragX), kRulerHeight + 2, std::abs(miDragX - miDragStartX) + 1,
                         size.y - kRulerHeight - 4);
    }
}

void KeyTrackCanvas_cls::OnMouse(wxMouseEvent& event)
{
    UpdateMap();
    const int x = event.GetX();
    if (event.LeftDown()) {
        SetFocus();
        const std::vector<double> times = KeyTimes();
        const bool onKeyRow = std::abs(event.GetY() - GetMarkerY()) <= kMarkerRadius + 3;
        const int hit = onKeyRow ? mCMap.HitKey(x, times, kMarkerRadius) : -1;
        miDragStartX = miDragX = x;
        miDragFrames = 0;
        if (hit >= 0) {
            const bool selected = mpParam->GetKeys()[static_cast<size_t>(hit)].IsSelected();
            if (event.ShiftDown()) {
                mpParam->SetKeySelected(hit, !selected);
            } else if (!selected) {
                mpParam->ClearSelection();
                mpParam->SetKeySelected(hit, true);
            }
            if (mCActions.mSelectionChanged)
                mCActions.mSelectionChanged();
            // Only a key that is (still) selected starts a move.
            mbDraggingKeys = mpParam->GetKeys()[static_cast<size_t>(hit)].IsSelected();
        } else if (event.ShiftDown()) {
            mbBand = true;
        } else {
            if (mpParam && mpParam->GetSelectedKeyNum() > 0) {
                mpParam->ClearSelection();
                if (mCActions.mSelectionChanged)
                    mCActions.mSelectionChanged();
            }
            mbScrubbing = true;
            if (mCActions.mSetFrame)
                mCActions.mSetFrame(mCMap.XToFrame(x));
        }
        if (!HasCapture())
            CaptureMouse();
        Refresh(false);
        return;
    }
    if (event.Dragging() && event.LeftIsDown()) {
        miDragX = x;
        if (mbDraggingKeys) {
            const int frames = mCMap.DeltaFrames(x - miDragStartX);
            if (frames != miDragFrames) {
                miDragFrames = frames;
                Refresh(false);
            }
        } else if (mbScrubbing) {
            if (mCActions.mSetFrame)
                mCActions.mSetFrame(mCMap.XToFrame(x));
        } else if (mbBand) {
            Refresh(false);
        }
        return;
    }
    if (event.LeftUp()) {
        miDragX = x;
        EndDrag(true);
        return;
    }
    event.Skip();
}

void KeyTrackCanvas_cls::EndDrag(bool apply)
{
    if (HasCapture())
        ReleaseMouse();
    const bool keys = mbDraggingKeys;
    const bool band = mbBand;
    const int frames = miDragFrames;
    mbDraggingKeys = mbScrubbing = mbBand = false;
    miDragFrames = 0;
    if (apply && keys && frames != 0 && mCActions.mMoveSelected)
        mCActions.mMoveSelected(frames);
    if (apply && band && mpParam) {
        mpParam->ClearSelection();
        for (int i : mCMap.KeysBetween(miDragStartX, miDragX, KeyTimes()))
            mpParam->SetKeySelected(i, true);
        if (mCActions.mSelectionChanged)
            mCActions.mSelectionChanged();
    }
    Refresh(false);
}

void KeyTrackCanvas_cls::OnCaptureLost(wxMouseCaptureLostEvent&)
{
    // The drag is abandoned: nothing is moved.
    EndDrag(false);
}

void KeyTrackCanvas_cls::OnKey(wxKeyEvent& event)
{
    const int code = event.GetKeyCode();
    if ((code == WXK_DELETE || code == WXK_BACK) && mCActions.mDeleteSelected) {
        mCActions.mDeleteSelected();
        return;
    }
    if (code == WXK_ESCAPE && (mbDraggingKeys || mbBand)) {
        EndDrag(false);
        return;
    }
    event.Skip();
}
