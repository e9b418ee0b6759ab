#include "gui/WidgetMath_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cwctype>

// ---- numbers ------------------------------------------------------------------------------------

bool WidgetMath_cls::ParseNumber(const std::wstring& text, bool integer, double min, double max, double* value)
{
    size_t first = 0;
    size_t last = text.size();
    while (first < last && std::iswspace(text[first]))
        ++first;
    while (last > first && std::iswspace(text[last - 1]))
        --last;
    if (first == last)
        return false;
    std::string narrow;
    narrow.reserve(last - first);
    const bool hasPoint = text.find(L'.', first) < last;
    int commas = 0;
    for (size_t i = first; i < last; ++i) {
        wchar_t c = text[i];
        // A comma typed as the decimal point of a comma locale.
        if (c == L',' && !hasPoint) {
            c = L'.';
            ++commas;
        }
        if (c > 0x7f)
            return false;
        narrow.push_back(static_cast<char>(c));
    }
    if (commas > 1)
        return false;
    // from_chars takes neither a leading "+" nor locale settings: both are what we want here,
    // except that users do type "+1".
    const char* begin = narrow.data();
    const char* end = begin + narrow.size();
    if (begin != end && *begin == '+')
        ++begin;
    double parsed = 0.0;
    const auto result = std::from_chars(begin, end, parsed, std::chars_format::general);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(parsed))
        return false;
    if (integer && parsed != std::floor(parsed))
        return false;
    *value = std::clamp(parsed, min, max);
    return true;
}

std::wstring WidgetMath_cls::FormatNumber(double value, bool integer)
{
    if (integer)
        return WStrPrintf("%lld", static_cast<long long>(std::llround(value)));
    if (value == 0.0)
        return L"0"; // also turns -0 into 0
    return WStrPrintf("%.6g", value);
}

double WidgetMath_cls::StepValue(double value, int steps, double step, double min, double max)
{
    // From a value typed between grid points the first step goes to the neighbouring grid point
    // in that direction, so that the arrows give round numbers again (1.37 up gives 1.4).
    const double cells = value / step;
    const double nearest = std::round(cells);
    double result = 0.0;
    if (std::fabs(cells - nearest) < 1e-9)
        result = (nearest + steps) * step;
    else if (steps > 0)
        result = (std::ceil(cells) + (steps - 1)) * step;
    else if (steps < 0)
        result = (std::floor(cells) + (steps + 1)) * step;
    else
        result = value;
    return std::clamp(result, min, max);
}

// ---- sliders ------------------------------------------------------------------------------------

int WidgetMath_cls::ValueToPixel(double value, double min, double max, int width)
{
    if (!(max > min) || width <= 1)
        return 0;
    const double t = std::clamp((value - min) / (max - min), 0.0, 1.0);
    return static_cast<int>(std::lround(t * (width - 1)));
}

double WidgetMath_cls::PixelToValue(int x, double min, double max, int width)
{
    if (!(max > min) || width <= 1)
        return min;
    const double t = std::clamp(static_cast<double>(x) / (width - 1), 0.0, 1.0);
    return min + t * (max - min);
}

int WidgetMath_cls::HitDualThumb(int x, int lowX, int highX, int radius)
{
    const int dLow = std::abs(x - lowX);
    const int dHigh = std::abs(x - highX);
    if (dLow > radius && dHigh > radius)
        return -1;
    if (lowX == highX)
        return x <= lowX ? 0 : 1;
    return dLow <= dHigh ? 0 : 1;
}

std::pair<double, double> WidgetMath_cls::DragDualThumb(int which, double value, double low, double high)
{
    if (which == 0)
        return {std::min(value, high), high};
    if (which == 1)
        return {low, std::max(value, low)};
    return {low, high};
}

// ---- graphs -------------------------------------------------------------------------------------

std::pair<int, int> WidgetMath_cls::GraphToScreen(const GraphFrame& frame, double x, double y)
{
    const double w = std::max(frame.iWidth - 1, 1);
    const double h = std::max(frame.iHeight - 1, 1);
    const double yMax = frame.dYMax > 0.0 ? frame.dYMax : 1.0;
    const int px = frame.iLeft + static_cast<int>(std::lround(x * w));
    const int py = frame.iTop + static_cast<int>(std::lround((1.0 - y / yMax) * h));
    return {px, py};
}

std::pair<double, double> WidgetMath_cls::ScreenToGraph(const GraphFrame& frame, int px, int py)
{
    const double w = std::max(frame.iWidth - 1, 1);
    const double h = std::max(frame.iHeight - 1, 1);
    const double yMax = frame.dYMax > 0.0 ? frame.dYMax : 1.0;
    const double x = std::clamp((px - frame.iLeft) / w, 0.0, 1.0);
    const double y = std::clamp((1.0 - (py - frame.iTop) / h) * yMax, 0.0, yMax);
    return {x, y};
}

int WidgetMath_cls::HitControlPoint(const GraphFrame& frame, const std::vector<std::pair<double, double>>& points,
                                    int px, int py, int radius)
{
    int best = -1;
    long bestDist = static_cast<long>(radius) * radius;
    for (size_t i = 0; i < points.size(); ++i) {
        const auto [sx, sy] = GraphToScreen(frame, points[i].first, points[i].second);
        const long d = static_cast<long>(sx - px) * (sx - px) + static_cast<long>(sy - py) * (sy - py);
        // Strictly nearer wins, so of two points on the same pixel the first is taken.
        if (d <= bestDist && (best < 0 || d < bestDist)) {
            best = static_cast<int>(i);
            bestDist = d;
        }
    }
    return best;
}

std::array<int, 256> WidgetMath_cls::HistogramBars(const std::array<uint64_t, 256>& counts, int height, bool logScale)
{
    std::array<int, 256> bars{};
    const uint64_t largest = *std::max_element(counts.begin(), counts.end());
    if (largest == 0 || height <= 0)
        return bars;
    const double top = logScale ? std::log1p(static_cast<double>(largest)) : static_cast<double>(largest);
    for (size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] == 0)
            continue;
        const double v = logScale ? std::log1p(static_cast<double>(counts[i])) : static_cast<double>(counts[i]);
        bars[i] = std::max(1, static_cast<int>(std::lround(v / top * height)));
    }
    return bars;
}
