#pragma once
// Caustics by photon mapping: the photons block inside global_settings.
#include "pov/PovSettingsBase_cls.h"

#include <string>

class PovPhotons_cls : public PovSettingsBase_cls
{
  public:
    /// Registers "PovPhotons=" (0), "PovPhotonsSpacing=" (0.01), "PovPhotonsMaxTrace=" (5).
    PovPhotons_cls();

    bool IsOn() const { return mbOn.Get(); }
    void SetOn(bool on) { mbOn.Set(on); }
    /// "\tphotons {" ... "\t}" lines for global_settings; empty when off.
    std::wstring GetPovStr() const;

  private:
    ConfItemBOOL_cls mbOn;
    ConfItemFLOAT_cls mfSpacing;
    ConfItemUINT_cls muMaxTrace;
};
