#pragma once
// The scene background colour.
#include "pov/PovSettingsBase_cls.h"

#include <string>

class PovBG_cls : public PovSettingsBase_cls
{
  public:
    /// Registers "PovBGColor=" (0 0 0).
    PovBG_cls();

    /// Sets the colour (0..1 per channel).
    void SetColor(float r, float g, float b);
    float GetColor(int channel) const { return mCColor.Get(channel); }
    /// "background { color rgb <r,g,b> }" (three decimals).
    std::wstring GetPovStr() const;

  private:
    ConfItemFLOATARRAY_cls mCColor;
};
