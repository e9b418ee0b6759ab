#include "filter/PovVolume_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <cmath>
#include <fstream>

const wchar_t* const PovVolume_cls::msParamSetName = L"BaseAlpha";

namespace
{
const double kDefault[1] = {1.0};
}

PovVolume_cls::PovVolume_cls(FilterCtrl_cls* owner) : FilterWithParameter_cls(kParamNum, msParamSetName, kDefault)
{
    ConstructorCommon(owner, L"Volume", kTypeCode);
    std::copy(kDefault, kDefault + kParamNum, mdValue);
}

void PovVolume_cls::ApplyParameterValues(const double* values)
{
    std::copy(values, values + kParamNum, mdValue);
}

std::wstring PovVolume_cls::SerializeConf() const
{
    return mCData.SerializeConf() + GetParameters().Serialize();
}

std::wstring PovVolume_cls::GetFilterStatusStr() const
{
    std::wstring s = L"BaseAlpha::";
    for (double v : mdValue)
        s += WStrPrintf("%.17g ", v);
    return s + GetSettingsStatusStr();
}

// ---- the volume as media ------------------------------------------------------------------------

unsigned PovVolume_cls::msInterpolation = 1;
unsigned PovVolume_cls::msMethod = 3;
unsigned PovVolume_cls::msInterval = 1;
unsigned PovVolume_cls::msSamplesMin = 64;
unsigned PovVolume_cls::msSamplesMax = 128;
unsigned PovVolume_cls::msAALevel = 4;
float PovVolume_cls::msAAThreshold = 0.05f;

void PovVolume_cls::ResetDefaults()
{
    msInterpolation = 1;
    msMethod = 3;
    msInterval = 1;
    msSamplesMin = 64;
    msSamplesMax = 128;
    msAALevel = 4;
    msAAThreshold = 0.05f;
}

std::vector<uint8_t> PovVolume_cls::PadVoxels(const uint8_t* voxels, unsigned nx, unsigned ny, unsigned nz)
{
    const size_t px = nx + 2u, py = ny + 2u, pz = nz + 2u;
    std::vector<uint8_t> out(px * py * pz, 0);
    if (voxels == nullptr)
        return out;
    for (size_t z = 0; z < nz; ++z)
        for (size_t y = 0; y < ny; ++y) {
            const uint8_t* src = voxels + (y + z * ny) * nx;
            uint8_t* dst = out.data() + ((y + 1) + (z + 1) * py) * px + 1;
            std::copy(src, src + nx, dst);
        }
    return out;
}

bool PovVolume_cls::WritePaddedDF3(const std::string& path, const uint8_t* voxels, unsigned nx, unsigned ny,
                                   unsigned nz)
{
    const unsigned px = nx + 2u, py = ny + 2u, pz = nz + 2u;
    if (px > 0xFFFFu || py > 0xFFFFu || pz > 0xFFFFu)
        return false;
    std::vector<uint8_t> data = PadVoxels(voxels, nx, ny, nz);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file)
        return false;
    const unsigned char header[6] = {static_cast<unsigned char>(px >> 8), static_cast<unsigned char>(px & 0xFF),
                                     static_cast<unsigned char>(py >> 8), static_cast<unsigned char>(py & 0xFF),
                                     static_cast<unsigned char>(pz >> 8), static_cast<unsigned char>(pz & 0xFF)};
    file.write(reinterpret_cast<const char*>(header), 6);
    file.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
    file.close();
    return static_cast<bool>(file);
}

std::wstring PovVolume_cls::GetPovStrDensityDeclare(const std::wstring& name, const std::wstring& df3File, unsigned nx,
                                                    unsigned ny, unsigned nz, const std::wstring& colorMacro,
                                                    float emission, float absorption, const std::wstring& cutOut,
                                                    unsigned intervals)
{
    auto scale = [](unsigned n) { return n == 0 ? 1.0 : (n + 2.0) / n; };
    // Interpolating modes put sample j on the grid vertex j / m; mode 0 fills the cell
    // [j / m, (j + 1) / m) with it, whose centre lies half a sample further on.
    const double offset = msInterpolation == 0 ? 1.0 : 0.5;
    auto shift = [offset](unsigned n) { return n == 0 ? 0.0 : -offset / n; };
    const std::wstring colorMap =
        colorMacro.empty() ? L"\t\t\t\t[0 rgb 0]\n\t\t\t\t[1 rgb 1]\n" : L"\t\t\t\t" + colorMacro + L"()\n";
    // Shapes cut out make the declaration a difference; the media then belong to the whole
    // difference, since the ray tracer takes the interior of the surface a ray crosses and the
    // surfaces of the hole are the cut shapes'.
    std::wstring s = cutOut.empty() ? L"#declare " + name + L"=box { <0,0,0>, <1,1,1>\n"
                                    : L"#declare " + name + L"=difference {\n\tbox { <0,0,0>, <1,1,1> }\n" + cutOut;
    s += L"\tpigment { rgbt 1 }\n\thollow\n\tinterior {\n\t\tmedia {\n";
    // The item's own interval count wins; the class-wide one serves boxes without an item.
    const unsigned useIntervals = intervals > 0 ? intervals : (msInterval < 1 ? 1u : msInterval);
    s += WStrPrintf("\t\t\tmethod %u\n\t\t\tintervals %u\n\t\t\tsamples %u, %u\n", msMethod, useIntervals,
                    msSamplesMin < 1 ? 1u : msSamplesMin, msSamplesMax < msSamplesMin ? msSamplesMin : msSamplesMax);
    if (msMethod == 3)
        s += WStrPrintf("\t\t\taa_level %u\n\t\t\taa_threshold %g\n", msAALevel, static_cast<double>(msAAThreshold));
    for (int pass = 0; pass < 2; ++pass) {
        const float strength = pass == 0 ? emission : absorption;
        if (strength <= 0.0f)
            continue;
        s += WStrPrintf(pass == 0 ? "\t\t\temission %g\n" : "\t\t\tabsorption %g\n", static_cast<double>(strength));
    }
    // A colour map gives the hue of a density, not its strength (palettes are unit-length hues,
    // bright even at density 0); a second density block, which the ray tracer multiplies with
    // the first, scales it by the density so that empty voxels stay empty as in the preview.
    const int blocks = colorMacro.empty() ? 1 : 2;
    for (int block = 0; block < blocks; ++block) {
        s += L"\t\t\tdensity {\n\t\t\t\tdensity_file df3 concat(WORKINGDIR, \"" + df3File + L"\")";
        s += WStrPrintf(" interpolate %u\n", msInterpolation);
        s += L"\t\t\t\tcolor_map {\n" +
             (block == 0 ? colorMap : std::wstring(L"\t\t\t\t[0 rgb 0]\n\t\t\t\t[1 rgb 1]\n")) + L"\t\t\t\t}\n";
        s += WStrPrintf("\t\t\t\tscale <%.9g,%.9g,%.9g>\n\t\t\t\ttranslate <%.9g,%.9g,%.9g>\n", scale(nx), scale(ny),
                        scale(nz), shift(nx), shift(ny), shift(nz));
        s += L"\t\t\t}\n";
    }
    s += L"\t\t}\n\t}\n}\n";
    return s;
}
