#pragma once
// Stereo pair settings: how far apart the two eyes stand, at which distance their lines of
// sight meet, and how the pair is presented. The preview and the ray-tracer export ask it for
// each eye's sideways offset and toe-in angle; the settings travel in project text as the
// "--StereoGram" block.
#include "config/ConfItemList_cls.h"
#include "pov/Camera_cls.h"

#include <functional>
#include <memory>
#include <string>

class LineStream_cls;
class Parameters_cls;

class StereoGram_cls
{
  public:
    /// How the pair is shown: off, side by side for parallel viewing, side by side crossed,
    /// red-cyan anaglyph, left eye above the right one. New codes are only ever appended, so
    /// older project files keep their meaning.
    enum Mode : unsigned { kModeOff = 0, kModeParallel = 1, kModeCrossed = 2, kModeAnaglyph = 3, kModeOverUnder = 4 };
    /// Highest mode code; larger codes read from a file fall back to off.
    static constexpr unsigned kModeLast = kModeOverUnder;

    /// Defaults: eye separation 0.065, convergence distance 3 (world units), mode off.
    StereoGram_cls();
    ~StereoGram_cls();
    StereoGram_cls(const StereoGram_cls&) = delete;
    StereoGram_cls& operator=(const StereoGram_cls&) = delete;

    /// Every setting back to its default.
    void SetToDefault();
    /// Distance between the eyes, world units (never negative).
    double GetEyeSeparation() const { return mdItemSeparation.Get(); }
    void SetEyeSeparation(double d);
    /// Distance from the eyes at which their lines of sight cross, world units (> 0).
    double GetConvergence() const { return mdItemConvergence.Get(); }
    void SetConvergence(double d);
    Mode GetMode() const;
    void SetMode(unsigned mode);
    /// True when a stereo pair is to be made at all.
    bool IsActive() const { return GetMode() != kModeOff; }
    /// Mode, eye separation and convergence as one undo step "Stereo Settings"
    /// (ComStereoSettings_cls). False, and no step, when they equal the settings in force.
    bool SetSettingsExecute(unsigned mode, double separation, double convergence);
    /// Called after the history changed the settings (undo, redo, the edit itself). GUI thread.
    std::function<void()> FuncHookChanged;
    /// Runs FuncHookChanged (used by the commands).
    void NotifyChanged()
    {
        if (FuncHookChanged)
            FuncHookChanged();
    }
    /// True while `stereo` is alive (commands left in the history check before acting).
    static bool IsLive(const StereoGram_cls* stereo);

    /// The key-framed eye separation (value 0) and convergence distance (value 1). While it is
    /// animated, the eye cameras follow its keys; otherwise the two settings above hold, and
    /// setting them also sets its values. Listed on the time line like every parameter set.
    Parameters_cls& GetParam() { return *mpParam; }
    /// Separation and convergence at normalised time `time` (-1: the current time): from the
    /// keys while animated (made valid), else the fixed settings.
    void GetGeometryAt(double time, double& separation, double& convergence) const;

    /// Sideways shift of eye 1 (left) or 2 (right) along the camera's right axis: minus or plus
    /// half the separation; 0 for eye 0 (mono).
    double GetEyeOffset(unsigned eye) const;
    /// Angle (radians) by which eye 1 or 2 turns inward to meet the other at the convergence
    /// distance (positive for the left eye, turning right); 0 for eye 0.
    double GetToeInAngle(unsigned eye) const;
    /// Which half of a split picture shows eye 1 or 2: 0 the left (over-under: upper) half, 1
    /// the right (lower) half; crossed viewing swaps them.
    int GetHalfForEye(unsigned eye) const;
    /// True for the modes that split the picture into two halves (parallel, crossed,
    /// over-under).
    bool IsSplit() const;
    /// The camera of eye 1 (left) or 2 (right) made from the mono camera: moved along the
    /// camera's right axis by GetEyeOffset and turned inward so that both eyes look at the point
    /// the convergence distance ahead of the mono eye. Eye 0 (or a degenerate result) gives the
    /// mono camera unchanged. Preview and ray-tracer export both use it, so their pairs match.
    /// time: normalised time of the frame (-1: the current time), used while animated.
    Camera_cls MakeEyeCamera(const Camera_cls& mono, unsigned eye, double time = -1.0) const;

    /// "--StereoGram", the settings, the key-framed set when animated, "--StereoGramEnd".
    std::wstring Serialize() const;
    /// Reads the block when `firstLine` is "--StereoGram"; true then. Values out of range are
    /// made valid.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& firstLine);
    ConfItemList_cls& GetConfList() { return mCConfList; }

  private:
    void MakeValid();

    ConfItemList_cls mCConfList;
    ConfItemDOUBLE_cls mdItemSeparation;
    ConfItemDOUBLE_cls mdItemConvergence;
    ConfItemUINT_cls muItemMode;
    std::unique_ptr<Parameters_cls> mpParam;
};
