#include "gui/TimeTrackMap_cls.h"

#include "anim/TimeCtrl_cls.h"

#include <algorithm>
#include <cmath>

void TimeTrackMap_cls::Set(int width, int margin, int first, int last, int length)
{
    miWidth = std::max(width, 1);
    miMargin = std::clamp(margin, 0, (miWidth - 1) / 2);
    miFirst = std::min(first, last);
    miLast = std::max(first, last);
    miLength = std::max(length, 0);
}

double TimeTrackMap_cls::GetPixelsPerFrame() const
{
    const double usable = std::max(miWidth - 2 * miMargin - 1, 1);
    return miLast > miFirst ? usable / (miLast - miFirst) : usable;
}

double TimeTrackMap_cls::FrameToX(double frame) const
{
    return miMargin + (frame - miFirst) * GetPixelsPerFrame();
}

double TimeTrackMap_cls::TimeToX(double time) const
{
    return FrameToX(time * miLength);
}

int TimeTrackMap_cls::XToFrame(double x) const
{
    const double frame = miFirst + (x - miMargin) / GetPixelsPerFrame();
    return std::clamp(static_cast<int>(std::lround(frame)), miFirst, miLast);
}

double TimeTrackMap_cls::FrameToTime(int frame) const
{
    return miLength == 0 ? 0.0 : static_cast<double>(frame) / miLength;
}

int TimeTrackMap_cls::DeltaFrames(double dx) const
{
    return static_cast<int>(std::lround(dx / GetPixelsPerFrame()));
}

double TimeTrackMap_cls::DeltaTime(double dx) const
{
    return FrameToTime(DeltaFrames(dx));
}

int TimeTrackMap_cls::HitKey(double x, const std::vector<double>& keyTimes, double radius) const
{
    int best = -1;
    double bestDistance = radius;
    for (size_t i = 0; i < keyTimes.size(); ++i) {
        const double d = std::fabs(TimeToX(keyTimes[i]) - x);
        // "<=" so that of markers drawn on top of each other the last drawn (topmost) wins.
        if (d <= bestDistance) {
            bestDistance = d;
            best = static_cast<int>(i);
        }
    }
    return best;
}

std::vector<int> TimeTrackMap_cls::KeysBetween(double x0, double x1, const std::vector<double>& keyTimes) const
{
    const double lo = std::min(x0, x1), hi = std::max(x0, x1);
    std::vector<int> out;
    for (size_t i = 0; i < keyTimes.size(); ++i) {
        const double x = TimeToX(keyTimes[i]);
        if (x >= lo && x <= hi)
            out.push_back(static_cast<int>(i));
    }
    return out;
}

int TimeTrackMap_cls::StepFor(int start, double minSpacing) const
{
    const double ppf = GetPixelsPerFrame();
    // The 1-2-5 series from the first member not below `start`.
    static const int kMantissa[3] = {1, 2, 5};
    for (long long decade = 1; decade <= 1000000000LL; decade *= 10) {
        for (int m : kMantissa) {
            const long long step = m * decade;
            if (step < start)
                continue;
            if (step * ppf >= minSpacing)
                return static_cast<int>(step);
        }
    }
    return std::max(miLast - miFirst, 1);
}

std::vector<TimeTrackMap_cls::Tick> TimeTrackMap_cls::Ticks(double minSpacing, double minLabelSpacing) const
{
    std::vector<Tick> ticks;
    const int step = StepFor(TimeCtrl_cls::GetInterval(miLast - miFirst), minSpacing);
    // Labels on multiples of a step that is itself a multiple of the tick step, so that every
    // label stands on a tick.
    int labelStep = step;
    for (int factor : {1, 2, 5, 10, 20, 50, 100, 200, 500, 1000}) {
        labelStep = step * factor;
        if (labelStep * GetPixelsPerFrame() >= minLabelSpacing)
            break;
    }
    const int firstTick = (miFirst + step - 1) / step * step;
    for (int f = firstTick; f <= miLast; f += step)
        ticks.push_back(Tick{f, f % labelStep == 0});
    return ticks;
}
