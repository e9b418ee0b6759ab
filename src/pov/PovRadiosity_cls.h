#pragma once
// Indirect lighting: the radiosity block inside global_settings and its option-file line.
#include "pov/PovSettingsBase_cls.h"

#include <string>

class PovRadiosity_cls : public PovSettingsBase_cls
{
  public:
    /// Registers "PovRadiosity=" (0), "PovRadiosityCount=" (35), "PovRadiosityErrorBound=" (1.8),
    /// "PovRadiosityRecursion=" (1), "PovRadiosityBrightness=" (1).
    PovRadiosity_cls();

    bool IsOn() const { return mbOn.Get(); }
    void SetOn(bool on) { mbOn.Set(on); }
    /// "\tradiosity {" ... "\t}" lines for global_settings; empty when off.
    std::wstring GetPovStr() const;
    /// "Radiosity_Vain_Pretrace=On" when on (keeps the pretrace quick); empty when off.
    std::wstring GetIniText() const;

  private:
    ConfItemBOOL_cls mbOn;
    ConfItemUINT_cls muCount;
    ConfItemFLOAT_cls mfErrorBound;
    ConfItemUINT_cls muRecursion;
    ConfItemFLOAT_cls mfBrightness;
};
