#include "color/Coloring_cls.h"

#include <algorithm>
#include <cmath>

Coloring_cls::Coloring_cls()
{
    // Every layered palette runs from a primary colour through a secondary colour to white;
    // the alpha factors make the higher (denser) layers fainter.
    const float primary[9][3] = {{1, 0, 0}, {1, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0},
                                 {0, 1, 0}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
    const float secondary[9][3] = {{1, 1, 0}, {1, 0, 1}, {0, 1, 1}, {0, 1, 1}, {1, 1, 0},
                                   {1, 0, 1}, {1, 0, 1}, {0, 1, 1}, {1, 1, 0}};
    mvPalette[0] = {PaletteEntry{1, 1, 1, 1}};
    for (int p = 1; p < msPaletteCount; ++p) {
        const float* a = primary[p - 1];
        const float* b = secondary[p - 1];
        mvPalette[static_cast<size_t>(p)] = {PaletteEntry{a[0], a[1], a[2], 1.0f}, PaletteEntry{b[0], b[1], b[2], 0.5f},
                                             PaletteEntry{1, 1, 1, 0.25f}};
    }
}

const std::vector<PaletteEntry>& Coloring_cls::GetPVV(int index) const
{
    if (index < 0 || index >= msPaletteCount)
        return mvPalette[0];
    return mvPalette[static_cast<size_t>(index)];
}

unsigned Coloring_cls::GetPVVSize(int index) const
{
    if (IsCustomIndex(index))
        return 3;
    return static_cast<unsigned>(GetPVV(index).size());
}

void Coloring_cls::GetColor(float* rgb, float x, int index, bool clampFlag) const
{
    if (IsCustomIndex(index)) {
        for (unsigned c = 0; c < 3; ++c)
            rgb[c] = static_cast<float>(GetCustomChannel(x, c, clampFlag, index - msCustomIndexBase));
        return;
    }
    if (!IsPaletteIndex(index)) {
        rgb[0] = rgb[1] = rgb[2] = 1.0f;
        return;
    }
    // Layer k of the palette dominates its own density band: the first at low density, the
    // second around the middle, the third at high density.
    const double d = x;
    double sum[3] = {0, 0, 0};
    const auto& palette = GetPVV(index);
    for (size_t k = 0; k < palette.size(); ++k) {
        double w = 0.0;
        if (k == 0)
            w = 1.0 - d * d;
        else if (k == 1)
            w = 4.0 * (0.25 - (d - 0.5) * (d - 0.5));
        else if (k == 2)
            w = d * d;
        float c[3];
        CopyRGB(c, static_cast<int>(k), index);
        for (int i = 0; i < 3; ++i)
            sum[i] += w * c[i];
    }
    const double len = std::sqrt(sum[0] * sum[0] + sum[1] * sum[1] + sum[2] * sum[2]);
    // A density that is no number gives no direction either; grey keeps NaN out of textures.
    if (palette.empty() || !(len > 0.0) || !std::isfinite(len)) {
        rgb[0] = rgb[1] = rgb[2] = msNeutralComponent;
        return;
    }
    for (int i = 0; i < 3; ++i)
        rgb[i] = static_cast<float>(sum[i] / len);
}

void Coloring_cls::CopyRGB(float* rgb, int layer, int index) const
{
    rgb[0] = rgb[1] = rgb[2] = 0.0f;
    if (IsCustomIndex(index)) {
        if (layer < 0)
            return;
        // The halving accumulates the map colour: layer 0 gets the colour at 1/3, layer 1
        // 1.5 times the colour at 2/3, layer 2 1.75 times the colour at 1. Existing scenes were
        // tuned with these brightnesses, so the sequence is kept as it is.
        const double p = (layer + 1) / 3.0;
        const int item = index - msCustomIndexBase;
        for (int n = 0; n <= layer; ++n) {
            for (unsigned c = 0; c < 3; ++c) {
                rgb[c] *= 0.5f;
                rgb[c] += static_cast<float>(GetCustomChannel(p, c, true, item));
            }
        }
        return;
    }
    if (!IsPaletteIndex(index)) {
        const PaletteEntry& e = mvPalette[0][0];
        std::copy(e.begin(), e.begin() + 3, rgb);
        return;
    }
    const auto& palette = GetPVV(index);
    if (layer < 0 || static_cast<size_t>(layer) >= palette.size())
        return;
    const PaletteEntry& e = palette[static_cast<size_t>(layer)];
    std::copy(e.begin(), e.begin() + 3, rgb);
}

float Coloring_cls::GetAlphaFactor(int layer, int index) const
{
    if (IsCustomIndex(index))
        return static_cast<float>(3 - layer) / 6.0f;
    if (!IsPaletteIndex(index))
        return 1.0f;
    const auto& palette = GetPVV(index);
    if (layer < 0 || static_cast<size_t>(layer) >= palette.size())
        return 0.0f;
    return palette[static_cast<size_t>(layer)][3];
}

double Coloring_cls::GetCustomChannel(double pos, unsigned channel, bool clampFlag, int item) const
{
    // Without custom maps every lookup is mid grey.
    return 0.5;
}

bool Coloring_cls::IsCustomMultiplyLevel(int item) const
{
    return false;
}
