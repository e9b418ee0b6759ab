#pragma once
// The one definition of "density -> RGBA" that the preview bakes into its textures and the
// ray-tracer export writes as colour maps, so that both show the same colour for a density.
#include "color/Coloring_cls.h"

#include <array>
#include <cstddef>
#include <cstdint>

class ColorTable_cls
{
  public:
    /// Number of table entries (one per 8-bit density).
    static constexpr int msEntryCount = 256;

    /// Colour and alpha of normalised density d (0..1) into rgba[4], all in 0..1.
    /// colorMode true (baked colours): rgb is the colour map at d (times d for a custom map whose
    /// multiply flag is set), clamped to 0..1. colorMode false (density only): rgb is the base
    /// colour of data layer `layer`, clamped to 0..1. In both modes alpha is d times the alpha
    /// factor of the layer.
    static void EvalEntry(const Coloring_cls& coloring, double d, int index, int layer, bool colorMode, float* rgba);

    /// Fills the 256 entries (entry i is density i / 255) for colour index index and data layer
    /// layer. Call on the thread that owns the colour maps, before handing the table to workers.
    void Build(const Coloring_cls& coloring, int index, int layer, bool colorMode);
    /// Four bytes (red, green, blue, alpha) of entry i (0..255).
    const uint8_t* GetEntry(int i) const { return &mvRGBA[static_cast<size_t>(i) * 4]; }
    /// The whole table, 256 RGBA byte quadruples.
    const std::array<uint8_t, msEntryCount * 4>& GetData() const { return mvRGBA; }

    /// 0..1 -> 0..255 with rounding and clamping, as every baked byte is made.
    static uint8_t ToByte(float v);

  private:
    std::array<uint8_t, msEntryCount * 4> mvRGBA{};
};
