#pragma once
// Owner of every colour choice of the preview and the export. A colour index names one choice:
// 0 or -1 plain white, 1..9 a built-in layer palette, 10 and above custom map number index - 10.
// The palettes are fixed at construction; lookups are const and may run on worker threads
// (colour baking) as long as the custom maps are not edited at the same time.
#include "color/ClrMapStyle_cls.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

/// One palette entry: red, green, blue and the alpha factor of its data layer.
using PaletteEntry = std::array<float, 4>;

/// One entry of a written colour map: position on the density axis, colour, and the transmit
/// or filter amount (0 for plain colours).
struct ClrMapEntry {
    float mfPos = 0.0f;
    std::array<float, 3> mvRGB{};
    float mfTF = 0.0f;
};

class CustomColor_cls;
class UndoManager_cls;

class Coloring_cls
{
  public:
    /// Builds the ten layer palettes (palette 0 is plain white with one entry) and an empty set
    /// of custom maps whose edits go to `undo` (null: the global history; not owned).
    explicit Coloring_cls(UndoManager_cls* undo = nullptr);
    ~Coloring_cls();
    Coloring_cls(const Coloring_cls&) = delete;
    Coloring_cls& operator=(const Coloring_cls&) = delete;

    /// The custom maps (owned).
    CustomColor_cls* GetPCustomColor() const { return mpCustomColor.get(); }

    /// Number of built-in palettes (0..9).
    static constexpr int msPaletteCount = 10;
    /// First colour index that names a custom map.
    static constexpr int msCustomIndexBase = 10;
    /// The unit-length grey returned when a palette blend has no direction.
    static constexpr float msNeutralComponent = 0.57735026f;

    /// Colour of normalised density x (0..1) under colour index index into rgb[3]. Palettes
    /// blend their layer colours by density and are normalised to unit length (a hue, not a
    /// brightness); custom maps are looked up channel by channel, clamped to 0..1 when
    /// clampFlag is set.
    void GetColor(float* rgb, float x, int index, bool clampFlag) const;
    /// Base colour of data layer `layer` under colour index index into rgb[3]. For custom maps
    /// the colour is accumulated by repeated halving (see the definition); values may exceed 1.
    void CopyRGB(float* rgb, int layer, int index) const;
    /// Alpha factor of data layer `layer`: 1 for white, (3 - layer) / 6 for custom maps, else the
    /// palette entry's alpha (0 for a layer the palette has no entry for).
    float GetAlphaFactor(int layer, int index) const;
    /// Palette number index; palette 0 for any index outside 1..9.
    const std::vector<PaletteEntry>& GetPVV(int index) const;
    /// Number of entries of palette index; 3 for any custom index (above 9).
    unsigned GetPVVSize(int index) const;

    /// True when index names a custom map (10 and above).
    static bool IsCustomIndex(int index) { return index >= msCustomIndexBase; }
    /// True when index names a built-in palette with layers (1..9).
    static bool IsPaletteIndex(int index) { return index >= 1 && index < msPaletteCount; }

    /// Channel (0 red, 1 green, 2 blue) of custom map `item` at density pos; 0.5 when there are
    /// no custom maps. An item past the end means the active map. Clamped to 0..1 when asked.
    double GetCustomChannel(double pos, unsigned channel, bool clampFlag, int item) const;
    /// True when custom map `item` multiplies its colour by the density.
    bool IsCustomMultiplyLevel(int item) const;

    // Ray-tracer text of a colour map. The map is a macro whose body is the entries of a
    // color_map; the scene uses it as `color_map { CLRMAP3_0CLR() }`.

    /// Macro name: "CLRMAP" + index + "_" + layer + "SHADE" (shaded variant) + "CLR" (colour
    /// map, not density only). White is named with index 0 (a minus sign is no identifier).
    std::wstring GetPovStrColorMapName(int index, const ClrMapStyle_cls& style) const;
    /// "// clrindex=<index>", "#macro <name>()", the entries, "#end", one per line.
    std::wstring GetPovStrColorMapMacro(int index, const ClrMapStyle_cls& style) const;
    /// The color_map entries, one "\t[pos color ...]" line each, positions ascending 0..1.
    std::wstring GetPovStrColorMap(int index, const ClrMapStyle_cls& style) const;
    /// `pigment { <pattern> color_map { <name>() } }`; the macro must be declared before use.
    std::wstring GetPovStrPigment(const std::wstring& pattern, int index, const ClrMapStyle_cls& style) const;
    /// "color rgb <r,g,b>", or "color rgbt <r,g,b,v>" (kind 1) / "color rgbf <r,g,b,v>" (kind
    /// 2) when v is not 0; numbers "%.3f".
    static std::wstring GetPovStrClr(const float* rgb, int kind, float value);
    /// One entry "[pos color ...]" with the position at "%.3f".
    static std::wstring GetClrMapItem(float pos, const float* rgb, int kind, float value);
    /// The entries that GetPovStrColorMap writes. They are chosen so that the ray tracer's
    /// linear blend between them reproduces the preview colour table (ColorTable_cls) at every
    /// one of its 256 densities within msMapTolerance per channel.
    std::vector<ClrMapEntry> GetClrMapEntries(int index, const ClrMapStyle_cls& style) const;
    /// Largest deviation per channel allowed between the written map and the preview table.
    static constexpr float msMapTolerance = 1.0f / 512.0f;
    /// Colour of density d as a written map shows it (before blending between entries): rgb[3]
    /// and the transmit/filter amount.
    void EvalMapColor(double d, int index, const ClrMapStyle_cls& style, float* rgb, float& tf) const;

  private:
    bool GetShortEntries(int index, const ClrMapStyle_cls& style, std::vector<ClrMapEntry>& out) const;

    std::array<std::vector<PaletteEntry>, msPaletteCount> mvPalette;
    std::unique_ptr<CustomColor_cls> mpCustomColor;
};
