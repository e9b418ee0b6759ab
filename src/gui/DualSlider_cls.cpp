#include "gui/DualSlider_cls.h"

#include "gui/WidgetMath_cls.h"

#include <algorithm>

#include <wx/dcbuffer.h>
#include <wx/settings.h>

namespace
{
constexpr int kLabelHeight = 16;
constexpr int kTrackY = kLabelHeight + 8;
constexpr int kThumbRadius = 6;
} // namespace

DualSlider_cls::DualSlider_cls(wxWindow* parent, const std::wstring& label, double min, double max)
    : wxControl(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxBORDER_NONE | wxFULL_REPAINT_ON_RESIZE),
      mStrLabel(label), mdMin(min), mdMax(max), mdLow(min), mdHigh(max)
{
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    Bind(wxEVT_PAINT, &DualSlider_cls::OnPaint, this);
    Bind(wxEVT_LEFT_DOWN, &DualSlider_cls::OnMouse, this);
    Bind(wxEVT_LEFT_UP, &DualSlider_cls::OnMouse, this);
    Bind(wxEVT_MOTION, &DualSlider_cls::OnMouse, this);
    Bind(wxEVT_MOUSE_CAPTURE_LOST, [this](wxMouseCaptureLostEvent&) { miDragging = -1; });
}

wxSize DualSlider_cls::DoGetBestClientSize() const
{
    return wxSize(180, kTrackY + kThumbRadius + 4);
}

void DualSlider_cls::SetValues(double low, double high)
{
    mdLow = low;
    mdHigh = high;
    Refresh();
}

int DualSlider_cls::TrackWidth() const
{
    return std::max(GetClientSize().x - 2 * kMargin, 2);
}

int DualSlider_cls::ValueToScreenX(double value) const
{
    return ClientToScreen(wxPoint(kMargin + WidgetMath_cls::ValueToPixel(value, mdMin, mdMax, TrackWidth()), 0)).x;
}

int DualSlider_cls::TrackScreenY() const
{
    return ClientToScreen(wxPoint(0, kTrackY)).y;
}

void DualSlider_cls::OnPaint(wxPaintEvent&)
{
    wxAutoBufferedPaintDC dc(this);
    dc.SetBackground(wxBrush(GetParent()->GetBackgroundColour()));
    dc.Clear();
    const int w = TrackWidth();
    const int xLow = kMargin + WidgetMath_cls::ValueToPixel(mdLow, mdMin, mdMax, w);
    const int xHigh = kMargin + WidgetMath_cls::ValueToPixel(mdHigh, mdMin, mdMax, w);
    dc.SetFont(wxSystemSettings::GetFont(wxSYS_DEFAULT_GUI_FONT).Smaller());
    dc.SetTextForeground(wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT));
    dc.DrawText(mStrLabel + L"  " + WidgetMath_cls::FormatNumber(mdLow, false) + L" .. " +
                    WidgetMath_cls::FormatNumber(mdHigh, false),
                kMargin, 0);
    dc.SetPen(wxPen(wxColour(120, 120, 120), 3));
    dc.DrawLine(kMargin, kTrackY, kMargin + w, kTrackY);
    // The selected window; an inverted one is drawn in another colour.
    dc.SetPen(wxPen(mdLow <= mdHigh ? wxColour(40, 110, 220) : wxColour(220, 110, 40), 3));
    dc.DrawLine(std::min(xLow, xHigh), kTrackY, std::max(xLow, xHigh), kTrackY);
    dc.SetPen(wxPen(wxColour(30, 30, 30)));
    dc.SetBrush(wxBrush(wxColour(250, 250, 250)));
    dc.DrawCircle(xLow, kTrackY, kThumbRadius);
    dc.SetBrush(wxBrush(wxColour(200, 200, 200)));
    dc.DrawCircle(xHigh, kTrackY, kThumbRadius);
}

void DualSlider_cls::OnMouse(wxMouseEvent& event)
{
    const int w = TrackWidth();
    const int x = event.GetX() - kMargin;
    if (event.LeftDown()) {
        const int xLow = WidgetMath_cls::ValueToPixel(mdLow, mdMin, mdMax, w);
        const int xHigh = WidgetMath_cls::ValueToPixel(mdHigh, mdMin, mdMax, w);
        miDragging = WidgetMath_cls::HitDualThumb(x, xLow, xHigh, kThumbRadius + 3);
        if (miDragging < 0) {
            // A press on the track beside the thumbs moves the nearer thumb there.
            miDragging = std::abs(x - xLow) <= std::abs(x - xHigh) ? 0 : 1;
        }
        if (!HasCapture())
            CaptureMouse();
    }
    if (miDragging < 0)
        return;
    const double value = WidgetMath_cls::PixelToValue(x, mdMin, mdMax, w);
    if (mdLow <= mdHigh) {
        const auto pair = WidgetMath_cls::DragDualThumb(miDragging, value, mdLow, mdHigh);
        mdLow = pair.first;
        mdHigh = pair.second;
    } else if (miDragging == 0) {
        mdLow = value; // an inverted window: the thumbs are free
    } else {
        mdHigh = value;
    }
    Refresh();
    if (event.LeftUp()) {
        miDragging = -1;
        if (HasCapture())
            ReleaseMouse();
        if (mOnChange)
            mOnChange(mdLow, mdHigh);
    }
}
