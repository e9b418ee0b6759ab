// Colour choices of the preview and the export.
// Sections:
//   1. Palettes and lookups (GetColor, CopyRGB, GetAlphaFactor)
//   2. Custom map access
//   3. Ray-tracer colour maps (entry choice by line simplification, macro text)
#include "color/Coloring_cls.h"

#include "color/ColorTable_cls.h"
#include "color/CustomColor_cls.h"
#include "config/TextFormat.h"

#include <algorithm>
#include <cmath>

// ---- 1. Palettes and lookups ------------------------------------------------------------------

Coloring_cls::Coloring_cls(UndoManager_cls* undo) : mpCustomColor(std::make_unique<CustomColor_cls>(undo))
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

Coloring_cls::~Coloring_cls() = default;

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

// ---- 2. Custom map access ---------------------------------------------------------------------

double Coloring_cls::GetCustomChannel(double pos, unsigned channel, bool clampFlag, int item) const
{
    return mpCustomColor->GetCustomColor(pos, channel, clampFlag, item);
}

bool Coloring_cls::IsCustomMultiplyLevel(int item) const
{
    return mpCustomColor->IsMultiplyLevel(item);
}

// ---- 3. Ray-tracer colour maps ----------------------------------------------------------------

namespace
{

// The preview's absorption colour: the complementary hue at the same brightness (black stays
// black), reached by `amount` from the colour itself.
void ShadeToward(float* rgb, float amount)
{
    const double len = std::sqrt(double(rgb[0]) * rgb[0] + double(rgb[1]) * rgb[1] + double(rgb[2]) * rgb[2]);
    if (!(len > 0.0))
        return;
    double d[3];
    for (int c = 0; c < 3; ++c)
        d[c] = 1.0 - rgb[c] / len;
    const double dl = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    if (!(dl > 0.0))
        return;
    for (int c = 0; c < 3; ++c) {
        const double comp = d[c] / dl * len;
        rgb[c] = static_cast<float>(rgb[c] + (comp - rgb[c]) * amount);
    }
}

} // namespace

void Coloring_cls::EvalMapColor(double d, int index, const ClrMapStyle_cls& style, float* rgb, float& tf) const
{
    float rgba[4];
    ColorTable_cls::EvalEntry(*this, d, index, style.miLayer, style.mbColor, rgba);
    if (style.mbColor)
        std::copy(rgba, rgba + 3, rgb);
    else
        rgb[0] = rgb[1] = rgb[2] = rgba[3];
    if (style.mbShade)
        ShadeToward(rgb, std::clamp(style.mfComplement, 0.0f, 1.0f));
    tf = 0.0f;
    if (style.miKind == 1 || style.miKind == 2)
        tf = std::clamp(style.mfValue * (1.0f - rgba[3]), 0.0f, 1.0f);
}

bool Coloring_cls::GetShortEntries(int index, const ClrMapStyle_cls& style, std::vector<ClrMapEntry>& out) const
{
    // The two-entry form holds only plain colours of a straight custom map whose stops lie in
    // 0..1 (a clamped stop would bend the blend); everything else is sampled.
    if (!IsCustomIndex(index) || !style.mbColor || style.mbShade || (style.miKind != 0 && style.mfValue != 0.0f))
        return false;
    const int item = index - msCustomIndexBase;
    if (mpCustomColor->IsMultiplyLevel(item))
        return false;
    float pos[2], rgb[2][3];
    if (!mpCustomColor->GetShortClrMap(item, pos, rgb))
        return false;
    out.assign(2, ClrMapEntry());
    for (int e = 0; e < 2; ++e) {
        for (int c = 0; c < 3; ++c) {
            if (!(rgb[e][c] >= 0.0f && rgb[e][c] <= 1.0f))
                return false;
            out[size_t(e)].mvRGB[size_t(c)] = rgb[e][c];
        }
        out[size_t(e)].mfPos = pos[e];
    }
    if (!(pos[0] < pos[1])) {
        out[0].mfPos = 0.0f; // a single stop: the same colour over the whole axis
        out[1].mfPos = 1.0f;
    }
    return true;
}

std::vector<ClrMapEntry> Coloring_cls::GetClrMapEntries(int index, const ClrMapStyle_cls& style) const
{
    std::vector<ClrMapEntry> shortForm;
    if (GetShortEntries(index, style, shortForm))
        return shortForm;

    // Sample the map at the preview table's 256 densities, then keep only the samples that a
    // straight line between kept neighbours cannot reproduce: the ray tracer blends linearly
    // between entries, so the rendered colour matches the preview at every table density, while
    // a linear map needs two entries instead of 256 (the ray tracer allows at most 256).
    constexpr int n = ColorTable_cls::msEntryCount;
    std::vector<std::array<float, 4>> sample(n);
    for (int i = 0; i < n; ++i) {
        float rgb[3], tf = 0.0f;
        EvalMapColor(i / 255.0, index, style, rgb, tf);
        sample[static_cast<size_t>(i)] = {rgb[0], rgb[1], rgb[2], tf};
    }
    auto fits = [&](int a, int b) {
        for (int k = a + 1; k < b; ++k) {
            const double s = double(k - a) / (b - a);
            for (size_t c = 0; c < 4; ++c) {
                const double line = sample[size_t(a)][c] + (sample[size_t(b)][c] - sample[size_t(a)][c]) * s;
                if (std::fabs(line - sample[size_t(k)][c]) > msMapTolerance)
                    return false;
            }
        }
        return true;
    };
    std::vector<int> kept = {0};
    int a = 0;
    while (a < n - 1) {
        int b = a + 1;
        while (b + 1 < n && fits(a, b + 1))
            ++b;
        kept.push_back(b);
        a = b;
    }
    std::vector<ClrMapEntry> out;
    out.reserve(kept.size());
    for (int i : kept) {
        ClrMapEntry e;
        e.mfPos = static_cast<float>(i / 255.0);
        const auto& s = sample[static_cast<size_t>(i)];
        e.mvRGB = {s[0], s[1], s[2]};
        e.mfTF = s[3];
        out.push_back(e);
    }
    return out;
}

std::wstring Coloring_cls::GetPovStrClr(const float* rgb, int kind, float value)
{
    const double r = rgb[0], g = rgb[1], b = rgb[2];
    if (value == 0.0f || (kind != 1 && kind != 2))
        return WStrPrintf("color rgb <%.3f,%.3f,%.3f>", r, g, b);
    return WStrPrintf(kind == 1 ? "color rgbt <%.3f,%.3f,%.3f,%.3f>" : "color rgbf <%.3f,%.3f,%.3f,%.3f>", r, g, b,
                      static_cast<double>(value));
}

std::wstring Coloring_cls::GetClrMapItem(float pos, const float* rgb, int kind, float value)
{
    return WStrPrintf("[%.3f ", static_cast<double>(pos)) + GetPovStrClr(rgb, kind, value) + L"]";
}

std::wstring Coloring_cls::GetPovStrColorMap(int index, const ClrMapStyle_cls& style) const
{
    std::wstring out;
    for (const ClrMapEntry& e : GetClrMapEntries(index, style))
        out += L"\t" + GetClrMapItem(e.mfPos, e.mvRGB.data(), style.miKind, e.mfTF) + L"\n";
    return out;
}

std::wstring Coloring_cls::GetPovStrColorMapName(int index, const ClrMapStyle_cls& style) const
{
    std::wstring name = WStrPrintf("CLRMAP%d_%d", std::max(index, 0), std::max(style.miLayer, 0));
    if (style.mbShade)
        name += L"SHADE";
    if (style.mbColor)
        name += L"CLR";
    return name;
}

std::wstring Coloring_cls::GetPovStrColorMapMacro(int index, const ClrMapStyle_cls& style) const
{
    std::wstring out = WStrPrintf("// clrindex=%d\n", index);
    out += L"#macro " + GetPovStrColorMapName(index, style) + L"()\n";
    out += GetPovStrColorMap(index, style);
    out += L"#end\n";
    return out;
}

std::wstring Coloring_cls::GetPovStrPigment(const std::wstring& pattern, int index, const ClrMapStyle_cls& style) const
{
    return L"pigment { " + pattern + L" color_map { " + GetPovStrColorMapName(index, style) + L"() } }";
}
