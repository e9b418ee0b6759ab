#pragma once
// The graph of the widget kit: a density histogram (256 bins, logarithmic heights) with a mapping
// curve drawn over it, x and y running over normalised densities 0..1. Where the caller gives
// control points they are drawn as handles and can be dragged; the point's new place is handed
// on once, when the button is released. A double click on the empty graph asks for a new point,
// a right click on a point asks to remove it.
#include "gui/WidgetMath_cls.h"

#include <array>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include <wx/panel.h>

class GraphPanel_cls : public wxPanel
{
  public:
    using Point = std::pair<double, double>;
    /// A point was dragged: its index and the new (x, y).
    using MoveFunc = std::function<void(int, double, double)>;
    /// A point is asked for at (x, y).
    using AddFunc = std::function<void(double, double)>;
    /// Point index to remove.
    using RemoveFunc = std::function<void(int)>;
    /// Pixels between the control's edge and the plot.
    static constexpr int kMargin = 6;
    /// Hit radius of a handle in pixels.
    static constexpr int kHitRadius = 7;

    /// A graph of `size` pixels (its minimum size). GUI thread.
    GraphPanel_cls(wxWindow* parent, const wxSize& size = wxSize(240, 140));

    /// The histogram drawn behind the curve (all zero: none).
    void SetHistogram(const std::array<uint64_t, 256>& counts);
    bool HasHistogram() const { return mbHistogram; }
    /// The curve: y of x for x in 0..1 (empty: none).
    void SetCurve(std::function<double(double)> curve);
    /// The control points, in the caller's order (empty: a plain graph).
    void SetPoints(const std::vector<Point>& points);
    const std::vector<Point>& GetPoints() const { return mvPoint; }
    void SetMoveFunc(MoveFunc f) { mOnMove = std::move(f); }
    void SetAddFunc(AddFunc f) { mOnAdd = std::move(f); }
    void SetRemoveFunc(RemoveFunc f) { mOnRemove = std::move(f); }
    /// The plot's place in the control (for hit tests and the state report).
    WidgetMath_cls::GraphFrame GetFrame() const;
    /// Screen position of data point (x, y).
    wxPoint GraphToScreen(double x, double y) const;
    /// Fraction of the plot's columns whose histogram bar is drawn (0 without a histogram): a
    /// check that the histogram really is on screen.
    double GetHistogramCoverage() const;

  private:
    void OnPaint(wxPaintEvent& event);
    void OnMouse(wxMouseEvent& event);

    std::array<uint64_t, 256> mvCount{};
    bool mbHistogram = false;
    std::function<double(double)> mCurve;
    std::vector<Point> mvPoint;
    int miDragging = -1;
    MoveFunc mOnMove;
    AddFunc mOnAdd;
    RemoveFunc mOnRemove;
};
