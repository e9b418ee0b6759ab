#pragma once
// Which frames a sequence export covers, which view supplies the camera, and the stereo eye.
#include "pov/PovSettingsBase_cls.h"

class PovRender_cls : public PovSettingsBase_cls
{
  public:
    /// Frame range kinds of "PovRenderRegion=".
    enum Region : unsigned { kRegionPlay = 0, kRegionAll = 1, kRegionCustom = 2 };

    /// Registers "PovRenderRegion=" (twice: older files were written with both entries and
    /// both address the one value), "PovRegionCustomMin=", "PovRegionCustomMax=",
    /// "PovRenderCamera=", "PovStereoEye=".
    PovRender_cls();

    unsigned GetRegion() const { return muRegion.Get(); }
    void SetRegion(unsigned region) { muRegion.Set(region); }
    unsigned GetCustomMin() const { return muCustomMin.Get(); }
    unsigned GetCustomMax() const { return muCustomMax.Get(); }
    void SetCustom(unsigned min, unsigned max)
    {
        muCustomMin.Set(min);
        muCustomMax.Set(max);
    }
    /// Index of the camera the export links view panel 0 to.
    unsigned GetCamera() const { return muCamera.Get(); }
    void SetCamera(unsigned camera) { muCamera.Set(camera); }
    /// 0: mono; 1: stereo (left and right eye files).
    unsigned GetStereoEye() const { return muStereoEye.Get(); }
    void SetStereoEye(unsigned eye) { muStereoEye.Set(eye); }
    /// The camera index meaning "no camera".
    static constexpr unsigned kNoCamera = 0xFFFFFFFFu;

  private:
    ConfItemUINT_cls muRegion;
    ConfItemUINT_cls muCustomMin;
    ConfItemUINT_cls muCustomMax;
    ConfItemUINT_cls muCamera;
    ConfItemUINT_cls muStereoEye;
};
