#pragma once
// Which variant of a colour map the ray-tracer export asks for. A plain settings record: the
// exporter (or the CLI) fills it and hands it to Coloring_cls.

/// Variant of a written colour map.
struct ClrMapStyle_cls {
    /// Data layer whose alpha factor (and, for density-only maps, base colour) is used.
    int miLayer = 0;
    /// true: entries carry the map's colours ("CLR" maps); false: grey levels of the alpha
    /// ramp only (density times the layer's alpha factor), for use as a density multiplier.
    bool mbColor = true;
    /// true: the shaded variant ("SHADE"): colours move toward their complementary hue at the
    /// same brightness by mfComplement, as the preview's absorption pass does.
    bool mbShade = false;
    /// How far the shaded colours move toward the complement, 0..1.
    float mfComplement = 1.0f;
    /// 0: plain colours ("rgb"); 1: transmit ("rgbt"); 2: filter ("rgbf").
    int miKind = 0;
    /// Strength of the transmit or filter: an entry gets mfValue * (1 - alpha), alpha being the
    /// preview's alpha at that density. 0 writes plain colours whatever the kind.
    float mfValue = 0.0f;
};
