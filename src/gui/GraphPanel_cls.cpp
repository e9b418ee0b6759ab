#include "gui/GraphPanel_cls.h"

#include <algorithm>
#include <cmath>

#include <wx/dcbuffer.h>

GraphPanel_cls::GraphPanel_cls(wxWindow* parent, const wxSize& size)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, size, wxBORDER_SUNKEN | wxFULL_REPAINT_ON_RESIZE)
{
    SetMinSize(size);
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    Bind(wxEVT_PAINT, &GraphPanel_cls::OnPaint, this);
    Bind(wxEVT_LEFT_DOWN, &GraphPanel_cls::OnMouse, this);
    Bind(wxEVT_LEFT_UP, &GraphPanel_cls::OnMouse, this);
    Bind(wxEVT_MOTION, &GraphPanel_cls::OnMouse, this);
    Bind(wxEVT_LEFT_DCLICK, &GraphPanel_cls::OnMouse, this);
    Bind(wxEVT_RIGHT_DOWN, &GraphPanel_cls::OnMouse, this);
    Bind(wxEVT_MOUSE_CAPTURE_LOST, [this](wxMouseCaptureLostEvent&) { miDragging = -1; });
}

void GraphPanel_cls::SetHistogram(const std::array<uint64_t, 256>& counts)
{
    mvCount = counts;
    mbHistogram = std::any_of(counts.begin(), counts.end(), [](uint64_t c) { return c != 0; });
    Refresh();
}

void GraphPanel_cls::SetCurve(std::function<double(double)> curve)
{
    mCurve = std::move(curve);
    Refresh();
}

void GraphPanel_cls::SetPoints(const std::vector<Point>& points)
{
    // A drag in progress keeps its own point where the mouse is.
    if (miDragging >= static_cast<int>(points.size()))
        miDragging = -1;
    mvPoint = points;
    Refresh();
}

WidgetMath_cls::GraphFrame GraphPanel_cls::GetFrame() const
{
    WidgetMath_cls::GraphFrame frame;
    const wxSize size = GetClientSize();
    frame.iLeft = kMargin;
    frame.iTop = kMargin;
    frame.iWidth = std::max(size.x - 2 * kMargin, 2);
    frame.iHeight = std::max(size.y - 2 * kMargin, 2);
    frame.dYMax = 1.0;
    return frame;
}

wxPoint GraphPanel_cls::GraphToScreen(double x, double y) const
{
    const auto [px, py] = WidgetMath_cls::GraphToScreen(GetFrame(), x, y);
    return ClientToScreen(wxPoint(px, py));
}

double GraphPanel_cls::GetHistogramCoverage() const
{
    if (!mbHistogram)
        return 0.0;
    const WidgetMath_cls::GraphFrame frame = GetFrame();
    const std::array<int, 256> bars = WidgetMath_cls::HistogramBars(mvCount, frame.iHeight, true);
    int covered = 0;
    for (int c = 0; c < frame.iWidth; ++c)
        if (bars[static_cast<size_t>(c * 256 / frame.iWidth)] > 0)
            ++covered;
    return static_cast<double>(covered) / frame.iWidth;
}

void GraphPanel_cls::OnPaint(wxPaintEvent&)
{
    wxAutoBufferedPaintDC dc(this);
    dc.SetBackground(wxBrush(wxColour(250, 250, 246)));
    dc.Clear();
    const WidgetMath_cls::GraphFrame frame = GetFrame();
    // Histogram: one column per pixel, the bin under it.
    if (mbHistogram) {
        const std::array<int, 256> bars = WidgetMath_cls::HistogramBars(mvCount, frame.iHeight, true);
        dc.SetPen(wxPen(wxColour(170, 170, 190)));
        for (int c = 0; c < frame.iWidth; ++c) {
            const int h = bars[static_cast<size_t>(c * 256 / frame.iWidth)];
            if (h > 0)
                dc.DrawLine(frame.iLeft + c, frame.iTop + frame.iHeight - 1, frame.iLeft + c,
                            frame.iTop + frame.iHeight - 1 - h);
        }
    }
    // The identity as a guide.
    dc.SetPen(wxPen(wxColour(200, 200, 200), 1, wxPENSTYLE_DOT));
    const auto [x0, y0] = WidgetMath_cls::GraphToScreen(frame, 0.0, 0.0);
    const auto [x1, y1] = WidgetMath_cls::GraphToScreen(frame, 1.0, 1.0);
    dc.DrawLine(x0, y0, x1, y1);
    if (mCurve) {
        dc.SetPen(wxPen(wxColour(200, 30, 30), 2));
        std::vector<wxPoint> line;
        for (int c = 0; c < frame.iWidth; ++c) {
            const double x = static_cast<double>(c) / (frame.iWidth - 1);
            // Values above the top are drawn at the top edge; the graph shows 0..1.
            const double y = std::clamp(mCurve(x), 0.0, 1.0);
            const auto [px, py] = WidgetMath_cls::GraphToScreen(frame, x, y);
            line.emplace_back(px, py);
        }
        dc.DrawLines(static_cast<int>(line.size()), line.data());
    }
    dc.SetPen(wxPen(wxColour(20, 20, 20)));
    for (size_t i = 0; i < mvPoint.size(); ++i) {
        const auto [px, py] = WidgetMath_cls::GraphToScreen(frame, mvPoint[i].first, mvPoint[i].second);
        dc.SetBrush(wxBrush(static_cast<int>(i) == miDragging ? wxColour(255, 200, 0) : wxColour(40, 110, 220)));
        dc.DrawRectangle(px - 4, py - 4, 9, 9);
    }
}

void GraphPanel_cls::OnMouse(wxMouseEvent& event)
{
    const WidgetMath_cls::GraphFrame frame = GetFrame();
    const int hit = WidgetMath_cls::HitControlPoint(frame, mvPoint, event.GetX(), event.GetY(), kHitRadius);
    const auto [x, y] = WidgetMath_cls::ScreenToGraph(frame, event.GetX(), event.GetY());
    if (event.RightDown()) {
        if (hit >= 0 && mOnRemove)
            mOnRemove(hit);
        return;
    }
    if (event.LeftDClick()) {
        if (hit < 0 && mOnAdd)
            mOnAdd(x, y);
        return;
    }
    if (event.LeftDown()) {
        miDragging = hit;
        if (hit >= 0 && !HasCapture())
            CaptureMouse();
        Refresh();
        return;
    }
    if (miDragging < 0 || miDragging >= static_cast<int>(mvPoint.size()))
        return;
    mvPoint[static_cast<size_t>(miDragging)] = {x, y};
    Refresh();
    if (event.LeftUp()) {
        const int index = miDragging;
        miDragging = -1;
        if (HasCapture())
            ReleaseMouse();
        if (mOnMove)
            mOnMove(index, x, y);
    }
}
