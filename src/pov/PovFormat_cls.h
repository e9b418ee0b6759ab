#pragma once
// The picture the ray tracer writes: size, anti-aliasing and file type.
#include "pov/PovSettingsBase_cls.h"

#include <string>

class PovFormat_cls : public PovSettingsBase_cls
{
  public:
    /// Output types of "PovOutputType=" and the ray tracer's letters for them.
    enum OutputType : unsigned { kPng = 0, kTga = 1, kPpm = 2, kBmp = 3 };

    /// Registers "PovImageWidth=" (640), "PovImageHeight=" (480), "PovAntialias=" (1),
    /// "PovAntialiasThreshold=" (0.3), "PovAntialiasDepth=" (3), "PovOutputType=" (0, PNG),
    /// "PovDisplay=" (0: no preview window, so renders also run without a display).
    PovFormat_cls();

    unsigned GetWidth() const { return muWidth.Get(); }
    unsigned GetHeight() const { return muHeight.Get(); }
    void SetSize(unsigned width, unsigned height)
    {
        muWidth.Set(width);
        muHeight.Set(height);
    }
    bool GetAntialias() const { return mbAntialias.Get(); }
    void SetAntialias(bool on) { mbAntialias.Set(on); }
    unsigned GetOutputType() const { return muOutputType.Get(); }
    void SetOutputType(unsigned type) { muOutputType.Set(type); }
    bool GetDisplay() const { return mbDisplay.Get(); }
    void SetDisplay(bool on) { mbDisplay.Set(on); }
    /// Width / height (1 for a zero height).
    double GetAspect() const;
    /// File extension of the output type (".png", ".tga", ".ppm", ".bmp").
    std::wstring GetExtension() const;
    /// The option-file lines: "Width=", "Height=", "Antialias=On|Off" (with "Antialias_Threshold="
    /// and "Antialias_Depth=" when on), "Output_File_Type=" letter, "Output_Alpha=Off",
    /// "Display=On|Off".
    std::wstring GetIniText() const;

  private:
    ConfItemUINT_cls muWidth;
    ConfItemUINT_cls muHeight;
    ConfItemBOOL_cls mbAntialias;
    ConfItemFLOAT_cls mfAntialiasThreshold;
    ConfItemUINT_cls muAntialiasDepth;
    ConfItemUINT_cls muOutputType;
    ConfItemBOOL_cls mbDisplay;
};
