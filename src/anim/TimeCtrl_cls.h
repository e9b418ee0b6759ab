#pragma once
// The scene clock: the current frame, the scene length, the working and active areas, the frame
// step, repeat, the time remap and the play state. All frame arithmetic is in integers; the
// normalised time of a frame is frame / length (0 when the length is 0). After every change the
// clock pushes the time to the key-framed parameters and to the registered listeners.
//
// Sections: settings and text form; normalised times; range repair and setting the frame;
// stepping, snipping and zooming; push to listeners; time remap; play state.
#include "anim/Parameters_cls.h"
#include "config/ConfItemList_cls.h"

#include <functional>
#include <string>
#include <vector>

class LineStream_cls;

class TimeCtrl_cls
{
  public:
    /// What the parameter panels and the sequence display are told after each change.
    struct TimeData {
        int iIndex = 0;    ///< current frame
        int iMaxFrame = 0; ///< scene length
        int iAAMin = 0;    ///< active area, frames
        int iAAMax = 0;
        double dIndex = 0.0; ///< normalised current time
        double dAAMin = 0.0; ///< normalised area ends
        double dAAMax = 0.0;
        double dWAMin = 0.0;
        double dWAMax = 0.0;
        double dRemapped = 0.0; ///< value of the "TimeRemap" curve at the current time
    };
    using TimeListener = std::function<void(const TimeData&)>;
    using FrameBoxListener = std::function<void(int frame)>;
    /// Play state: stopped, or playing forward or backward.
    enum PlayState { kStopped = 0, kForward = 1, kBackward = -1 };

    /// Settings at their defaults, frame 0, remap curve 0 -> 0, 1 -> 1 (linear), stopped.
    TimeCtrl_cls();
    TimeCtrl_cls(const TimeCtrl_cls&) = delete;
    TimeCtrl_cls& operator=(const TimeCtrl_cls&) = delete;

    // ---- settings and text form ---------------------------------------------------------------
    /// The items ("DF3MaxFrame=", "DF3WorkAreaMin=", ... "DF3SequencePlayWaitMS=").
    ConfItemList_cls& GetConfList() { return mCConfList; }
    /// The items' lines, then the "--TimeRemap" block (the remap curve's text form, "--END").
    std::wstring SerializeParam() const;
    /// Takes an item line, or a "--TimeRemap" block with its lines up to "--END". No repair
    /// is done here: the reader of a whole file calls CheckWorkingArea at its end.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& line);

    int GetIndex() const { return miIndex; }
    int GetMaxFrame() const { return miMaxFrame.Get(); }
    int GetWAMin() const { return miWAMin.Get(); }
    int GetWAMax() const { return miWAMax.Get(); }
    int GetAAMin() const { return miAAMin.Get(); }
    int GetAAMax() const { return miAAMax.Get(); }
    /// Frames per step (at least 1 in every computation).
    int GetStep() const { return miStep.Get() < 1 ? 1 : miStep.Get(); }
    void SetStep(int step) { miStep.Set(step < 1 ? 1 : step); }
    bool IsRepeat() const { return mbRepeat.Get(); }
    void SetRepeat(bool on) { mbRepeat.Set(on); }
    unsigned GetSceneLengthType() const { return muSceneLengthType.Get(); }
    void SetSceneLengthType(unsigned type) { muSceneLengthType.Set(type); }
    /// Sets the area ends directly (repaired by CheckWorkingArea).
    void SetWA(int min, int max);
    void SetAA(int min, int max);

    // ---- normalised times ------------------------------------------------------------------------
    /// frame / length (-1: the current frame); 0 when the length is 0.
    double GetDoubleIndex(int frame = -1) const;
    double GetDoubleIndexWAMin() const { return GetDoubleIndex(GetWAMin()); }
    double GetDoubleIndexWAMax() const { return GetDoubleIndex(GetWAMax()); }
    double GetDoubleIndexAAMin() const { return GetDoubleIndex(GetAAMin()); }
    double GetDoubleIndexAAMax() const { return GetDoubleIndex(GetAAMax()); }
    /// Integer part of length·t + 0.1 (0 when the length is 0).
    int GetIndexFromDouble(double t) const;
    void SetIndexFromDouble(double t) { SetIndex(GetIndexFromDouble(t)); }
    /// Position of the current frame in the working area, percent (0 for a one-frame area).
    double GetPercentage() const;
    /// (current - WA min) / step: the number of the image in an exported image sequence.
    int GetOffsetForImgSeq() const;
    /// WA min <= frame <= WA max and frame <= length.
    bool IsWorkingArea(int frame) const;
    /// Tick spacing for a range of n frames: 10 above 1000, 5 above 500, 2 above 200, else 1.
    static int GetInterval(int n);

    // ---- range repair and setting the frame --------------------------------------------------
    /// Clamps and orders both areas, moves the frame into the active area and onto the step
    /// grid, and shows it in the frame box.
    void CheckWorkingArea();
    /// Sets the frame (beyond the length: 0 with repeat, else the length; lowered onto the
    /// step grid), repairs the ranges and pushes the time.
    void SetIndex(int frame);
    /// Moves the frame into the working area.
    void SetIndexWithinWA();
    /// Scene length n: an area end that followed the old length follows the new one.
    void SetMaxFrame(int n);
    /// Working and active area both become [0, n].
    void SetWorkingArea(int n);
    /// The working area starts (In) or ends (Out) at the current frame.
    void SetWAInHere();
    void SetWAOutHere();

    // ---- stepping, snipping and zooming ------------------------------------------------------
    /// The frame one step in `direction` away (see the repeat rule); not stored.
    int CalcNextStep(int direction, bool withinWA, bool wrap) const;
    /// Steps (with the repeat rule), stores the frame and pushes the time.
    void FrameStep(int direction, bool withinWA);
    /// Moves ten steps in `direction` (within the working area when asked), clamped to the scene.
    void FrameMoveL(int direction, bool withinWA);
    /// Per-frame tag bits of the time line (frames 0 .. length-1).
    void SetSnipTag(int frame, bool on);
    bool GetSnipTag(int frame) const;
    /// To the next tagged frame above the current one (else the length).
    void SnipNext();
    /// To the previous tagged frame below the current one (else 0).
    void SnipPrev();
    /// Halves the working area around the current frame (at least one step wide).
    void ZoomIn();
    /// Doubles the working area around its centre, clamped to the scene.
    void ZoomOut();

    // ---- push to listeners -------------------------------------------------------------------
    /// Sets the parameters' frame count and current time, evaluates the remap curve and tells
    /// every time listener.
    void DispatchTimeData();
    /// Subscribes to the time push; returns an id.
    int AddTimeListener(TimeListener listener);
    /// Subscribes to the frame-box update of the range repair; returns an id.
    int AddFrameBoxListener(FrameBoxListener listener);
    /// Unsubscribes from either list (unknown ids are ignored).
    void RemoveListener(int id);
    /// The sets moved by RemapParameterKeys (default: every live set that has no master).
    void SetParameterListProvider(std::function<std::vector<Parameters_cls*>()> provider);
    /// Moves the keys of the listed sets by factor, all in one undo block.
    bool RemapParameterKeys(double factor);

    // ---- time remap ---------------------------------------------------------------------------
    bool IsUseTimeRemap() const { return mbUseTimeRemap.Get(); }
    void SetBUseTimeRemap(bool on) { mbUseTimeRemap.Set(on); }
    /// The "TimeRemap" curve: normalised data time for each normalised scene time.
    Parameters_cls& GetTimeRemap() { return mCTimeRemap; }
    const Parameters_cls& GetTimeRemap() const { return mCTimeRemap; }
    /// The last data frame the remap curve spans (-1: the scene length).
    void SetLastDataFrame(int last) { miLastDataFrame = last; }
    int GetLastDataFrame() const { return miLastDataFrame < 0 ? GetMaxFrame() : miLastDataFrame; }
    /// Data position of a scene frame (-1: current): with remap, curve(frame / length) times the
    /// last data frame (lastDataFrame < 0: GetLastDataFrame), clamped to 0 .. last; else the frame.
    double GetRemappedIndexDouble(int frame = -1, int lastDataFrame = -1) const;
    /// Integer part of GetRemappedIndexDouble.
    int GetRemappedIndex(int frame = -1, int lastDataFrame = -1) const;

    // ---- play state ---------------------------------------------------------------------------
    /// Starts playing (kForward or kBackward) from the current frame; kStopped stops.
    void Play(PlayState state);
    void Stop() { Play(kStopped); }
    bool IsPlaying() const { return mPlayState != kStopped; }
    PlayState GetPlayState() const { return mPlayState; }
    /// Direction of the last playback (1, -1), 0 after ResetPlayDirection.
    int GetPlayDirection() const { return miPlayDirection; }
    /// Forgets the direction (the sequences do so when the clock is not playing).
    void ResetPlayDirection() { miPlayDirection = 0; }
    /// Extra wait after each played frame, milliseconds ("Wait(ms)").
    unsigned GetWaitMs() const { return muWaitMs.Get(); }
    void SetWaitMs(unsigned ms) { muWaitMs.Set(ms); }
    /// Label of the wait input, translated.
    static std::wstring GetWaitLabel();
    /// Called by the idle loop with a millisecond clock: when playing and the wait has passed
    /// since the last step, steps within the working area and returns true. At an end of the
    /// working area playback wraps to the other end with repeat on and stops otherwise.
    bool PlayTick(long long nowMs);

  private:
    int Grid(int frame) const { return frame / GetStep() * GetStep(); }
    void NotifyFrameBox();

    ConfItemList_cls mCConfList;
    int miIndex = 0;
    ConfItemINT_cls miMaxFrame;
    ConfItemINT_cls miWAMin;
    ConfItemINT_cls miWAMax;
    ConfItemINT_cls miAAMin;
    ConfItemINT_cls miAAMax;
    ConfItemINT_cls miStep;
    ConfItemBOOL_cls mbRepeat;
    ConfItemUINT_cls muSceneLengthType;
    ConfItemBOOL_cls mbUseTimeRemap;
    ConfItemUINT_cls muWaitMs;
    Parameters_cls mCTimeRemap;
    int miLastDataFrame = -1;
    std::vector<bool> mvbSnipTag;
    PlayState mPlayState = kStopped;
    int miPlayDirection = 0;
    long long mllLastPlayMs = 0;
    bool mbPlayStarted = false;
    int miNextListenerId = 1;
    std::vector<std::pair<int, TimeListener>> mvTimeListener;
    std::vector<std::pair<int, FrameBoxListener>> mvFrameBoxListener;
    std::function<std::vector<Parameters_cls*>()> mParameterListProvider;
};
