#include "color/ColorTable_cls.h"

#include <algorithm>
#include <cmath>

void ColorTable_cls::EvalEntry(const Coloring_cls& coloring, double d, int index, int layer, bool colorMode,
                               float* rgba)
{
    float rgb[3];
    if (colorMode) {
        coloring.GetColor(rgb, static_cast<float>(d), index, true);
        if (Coloring_cls::IsCustomIndex(index) &&
            coloring.IsCustomMultiplyLevel(index - Coloring_cls::msCustomIndexBase)) {
            for (float& c : rgb)
                c = static_cast<float>(c * d);
        }
    } else {
        coloring.CopyRGB(rgb, layer, index);
    }
    for (int c = 0; c < 3; ++c)
        rgba[c] = std::clamp(rgb[c], 0.0f, 1.0f);
    rgba[3] = std::clamp(static_cast<float>(d * coloring.GetAlphaFactor(layer, index)), 0.0f, 1.0f);
}

uint8_t ColorTable_cls::ToByte(float v)
{
    if (!(v > 0.0f)) // also catches NaN
        return 0;
    if (v >= 1.0f)
        return 255;
    return static_cast<uint8_t>(std::lround(v * 255.0f));
}

void ColorTable_cls::Build(const Coloring_cls& coloring, int index, int layer, bool colorMode)
{
    for (int i = 0; i < msEntryCount; ++i) {
        float rgba[4];
        EvalEntry(coloring, i / 255.0, index, layer, colorMode, rgba);
        for (int c = 0; c < 4; ++c)
            mvRGBA[static_cast<size_t>(i) * 4 + static_cast<size_t>(c)] = ToByte(rgba[c]);
    }
}
