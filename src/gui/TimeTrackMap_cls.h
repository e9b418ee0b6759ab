#pragma once
// The geometry of the key track on the time line: frames and normalised key times to pixels and
// back, hit testing of key markers, the snapping of a drag to whole frames, and the tick layout.
// Plain arithmetic without widgets, so that it can be checked on its own.
#include <vector>

class TimeTrackMap_cls
{
  public:
    /// One tick of the ruler.
    struct Tick {
        int miFrame;  ///< frame number under the tick
        bool mbLabel; ///< a long tick with the frame number written beside it
    };

    /// The track is `width` pixels wide with `margin` pixels kept free at both ends; it shows the
    /// frames first..last (swapped when given in reverse) of a scene of `length` frames (key
    /// time t lies at frame t·length).
    void Set(int width, int margin, int first, int last, int length);

    int GetFirst() const { return miFirst; }
    int GetLast() const { return miLast; }
    int GetLength() const { return miLength; }
    /// Pixels per frame (the whole usable width when only one frame is shown).
    double GetPixelsPerFrame() const;

    /// x of a frame (fractional frames allowed); frames outside first..last map outside the
    /// usable width, which lets the caller clip them.
    double FrameToX(double frame) const;
    /// x of a normalised key time (frame t·length; 0 for a scene of length 0).
    double TimeToX(double time) const;
    /// The frame under x, rounded to the nearest frame and clamped to first..last.
    int XToFrame(double x) const;
    /// Normalised time of a frame (frame / length; 0 for length 0), as the clock computes it.
    double FrameToTime(int frame) const;
    /// Whole frames of a horizontal drag of dx pixels (rounded to the nearest frame).
    int DeltaFrames(double dx) const;
    /// Normalised time of a drag of dx pixels, snapped to whole frames.
    double DeltaTime(double dx) const;

    /// Index of the key (by its normalised time) whose marker is nearest to x and no farther than
    /// radius pixels, or -1. Ties go to the later key, which is drawn on top.
    int HitKey(double x, const std::vector<double>& keyTimes, double radius) const;
    /// Indices of the keys whose markers lie between x0 and x1 (either order), for a rubber band.
    std::vector<int> KeysBetween(double x0, double x1, const std::vector<double>& keyTimes) const;

    /// Ticks of the ruler: the clock's interval rule for the shown range, widened (1, 2, 5, 10,
    /// 20, 50, ... frames) until ticks are at least minSpacing pixels apart; labels sit on the
    /// multiples of the smallest such step that keeps them minLabelSpacing pixels apart.
    std::vector<Tick> Ticks(double minSpacing, double minLabelSpacing) const;
    /// The smallest step of the 1-2-5 series, not below `start` frames, whose ticks lie at least
    /// minSpacing pixels apart.
    int StepFor(int start, double minSpacing) const;

  private:
    int miWidth = 1;
    int miMargin = 0;
    int miFirst = 0;
    int miLast = 0;
    int miLength = 0;
};
