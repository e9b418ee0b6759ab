#pragma once
// Depth of field of the exported camera.
#include "pov/PovSettingsBase_cls.h"

#include <string>

class PovFocalBlur_cls : public PovSettingsBase_cls
{
  public:
    /// Registers "PovFocalBlur=" (0), "PovFocalAperture=" (0.1), "PovFocalBlurSamples=" (20),
    /// "PovFocalPoint=" (0 0 0, world coordinates).
    PovFocalBlur_cls();

    bool IsOn() const { return mbOn.Get(); }
    void SetOn(bool on) { mbOn.Set(on); }
    /// The camera lines "\taperture", "\tblur_samples", "\tfocal_point" (the point mirrored into
    /// the ray tracer's coordinates); empty when off.
    std::wstring GetPovStr() const;

  private:
    ConfItemBOOL_cls mbOn;
    ConfItemFLOAT_cls mfAperture;
    ConfItemUINT_cls muSamples;
    ConfItemFLOATARRAY_cls mCFocalPoint;
};
