#pragma once
// The arithmetic behind the widget kit, kept free of the toolkit so that it can be tested without
// a display: number parsing and formatting, slider and graph mappings, hit tests of thumbs and
// control points. Pure functions; any thread.
//
// Sections: numbers; sliders; graphs.
#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

class WidgetMath_cls
{
  public:
    // ---- numbers -----------------------------------------------------------------------------
    /// Parses a number typed by the user in any locale: blanks around it are ignored, "." is the
    /// decimal point and so is a single "," when no "." is present (typed in a comma locale).
    /// With `integer`, only whole numbers are taken. The result is clamped into [min, max].
    /// False (and *value untouched) for empty text, trailing rubbish, NaN or infinity.
    static bool ParseNumber(const std::wstring& text, bool integer, double min, double max, double* value);
    /// The value as the input boxes show it: "%d" for integers, else up to 6 significant digits
    /// with "." always (no exponent for ordinary magnitudes, trailing zeros dropped).
    static std::wstring FormatNumber(double value, bool integer);
    /// The value one spin step away: `steps` times `step`, clamped into [min, max].
    static double StepValue(double value, int steps, double step, double min, double max);

    // ---- sliders ------------------------------------------------------------------------------
    /// Pixel of `value` on a track of `width` pixels starting at 0 for the range [min, max]
    /// (clamped; an empty range gives 0).
    static int ValueToPixel(double value, double min, double max, int width);
    /// Value of pixel `x` on such a track (clamped into [min, max]).
    static double PixelToValue(int x, double min, double max, int width);
    /// Which thumb of a dual slider a press at `x` takes: 0 the low thumb, 1 the high thumb, -1
    /// none (farther than `radius` from both). When the thumbs overlap, a press left of them
    /// takes the low one and a press right of them the high one, so that they can be parted.
    static int HitDualThumb(int x, int lowX, int highX, int radius);
    /// The pair after dragging thumb `which` to `value`: the dragged thumb stops at the other one
    /// (the low value never passes the high value).
    static std::pair<double, double> DragDualThumb(int which, double value, double low, double high);

    // ---- graphs -------------------------------------------------------------------------------
    /// Map between data coordinates (x and y in [0, 1]) and a plot rectangle of the given pixel
    /// size (y grows downwards on the screen, upwards in the data).
    struct GraphFrame {
        int iLeft = 0;
        int iTop = 0;
        int iWidth = 1;
        int iHeight = 1;
        double dYMax = 1.0; ///< data y at the top edge (curves may rise above 1)
    };
    /// Screen position of data point (x, y).
    static std::pair<int, int> GraphToScreen(const GraphFrame& frame, double x, double y);
    /// Data point of screen position (px, py), clamped to x in [0, 1] and y in [0, dYMax].
    static std::pair<double, double> ScreenToGraph(const GraphFrame& frame, int px, int py);
    /// Index of the control point nearest to (px, py) within `radius` pixels, or -1.
    static int HitControlPoint(const GraphFrame& frame, const std::vector<std::pair<double, double>>& points, int px,
                               int py, int radius);
    /// Bar heights in pixels for a 256-bin histogram drawn `height` pixels tall: each count
    /// relative to the largest, on a logarithmic scale (log(1 + count)) when `logScale`, so that
    /// sparse densities stay visible beside a dominant background. Every non-empty bin gets at
    /// least one pixel.
    static std::array<int, 256> HistogramBars(const std::array<uint64_t, 256>& counts, int height, bool logScale);
};
