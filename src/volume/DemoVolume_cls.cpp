// Demo data generator.
// Sections: deterministic maths; the scene of one frame; rasterising; writing the set.
#include "volume/DemoVolume_cls.h"

#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "filter/MultiThreadCtrl_cls.h"
#include "volume/ExportDF3_cls.h"

#include <array>
#include <cmath>
#include <filesystem>
#include <system_error>

// A contracted a*b+c rounds once instead of twice and would change bytes between machines.
#if defined(__clang__)
#pragma clang fp contract(off)
#elif defined(__GNUC__)
#pragma GCC optimize("fp-contract=off")
#endif

namespace
{

constexpr double kPi = 3.14159265358979323846;

// --- the scene of one frame -------------------------------------------------------------------

struct Blob {
    double cx, cy, cz; // centre in [-1, 1] coordinates
    double sigma;
    double amplitude;
};

struct Scene {
    std::array<Blob, 3> blobs;
    double shellRadius, shellWidth, shellAmplitude, wobble;
    // Separable Gaussian factors per blob and axis.
    std::array<std::array<std::array<double, DemoVolume_cls::kSize>, 3>, 3> factor;
};

double Coord(uint32_t i)
{
    return (static_cast<double>(i) + 0.5) / (DemoVolume_cls::kSize / 2.0) - 1.0;
}

Scene MakeScene(int frame)
{
    const double phase = 2.0 * kPi * static_cast<double>(frame) / DemoVolume_cls::kFrames;
    Scene s{};
    // Orbit radius, tilt of the orbit plane, turns per loop, start angle, size, strength.
    const double orbit[3][6] = {{0.42, 0.35, 1.0, 0.0, 0.13, 1.00},
                                {0.30, -0.80, 2.0, 2.0 * kPi / 3.0, 0.10, 0.85},
                                {0.50, 1.30, -1.0, 4.0 * kPi / 3.0, 0.16, 0.70}};
    for (int k = 0; k < 3; ++k) {
        const double r = orbit[k][0], tilt = orbit[k][1], turns = orbit[k][2], start = orbit[k][3];
        const double angle = turns * phase + start;
        const double c = DemoVolume_cls::DetCos(angle), sn = DemoVolume_cls::DetSin(angle);
        Blob& b = s.blobs[static_cast<size_t>(k)];
        b.cx = r * c;
        b.cy = r * sn * DemoVolume_cls::DetCos(tilt);
        b.cz = r * sn * DemoVolume_cls::DetSin(tilt);
        b.sigma = orbit[k][4];
        b.amplitude = orbit[k][5];
        const double centre[3] = {b.cx, b.cy, b.cz};
        for (int a = 0; a < 3; ++a)
            for (uint32_t i = 0; i < DemoVolume_cls::kSize; ++i) {
                const double d = Coord(i) - centre[a];
                s.factor[static_cast<size_t>(k)][static_cast<size_t>(a)][i] =
                    DemoVolume_cls::DetExp(-(d * d) / (2.0 * b.sigma * b.sigma));
            }
    }
    s.shellRadius = 0.72 + 0.10 * DemoVolume_cls::DetSin(phase);
    s.shellWidth = 0.045;
    s.shellAmplitude = 0.55;
    s.wobble = 0.07 * DemoVolume_cls::DetCos(2.0 * phase);
    return s;
}

double SceneDensity(const Scene& s, uint32_t x, uint32_t y, uint32_t z)
{
    double v = 0.0;
    for (size_t k = 0; k < 3; ++k)
        v += s.blobs[k].amplitude * s.factor[k][0][x] * s.factor[k][1][y] * s.factor[k][2][z];
    const double ux = Coord(x), uy = Coord(y), uz = Coord(z);
    const double r2 = ux * ux + uy * uy + uz * uz;
    const double r = std::sqrt(r2); // correctly rounded by IEEE 754
    // A quadrupole squeeze that breathes with twice the pulse frequency.
    const double squeeze = r2 > 1e-12 ? (ux * ux - uy * uy) / r2 : 0.0;
    const double q = (r - (s.shellRadius + s.wobble * squeeze)) / s.shellWidth;
    v += s.shellAmplitude * DemoVolume_cls::DetExp(-0.5 * q * q);
    return v;
}

} // namespace

// --- deterministic maths ----------------------------------------------------------------------

double DemoVolume_cls::DetExp(double x)
{
    if (x > 0.0)
        x = 0.0;
    if (x < -40.0)
        return 0.0;
    // e^x = (e^(x/64))^64; |x/64| <= 0.625, where 18 Taylor terms are exact to double precision.
    // Reciprocals are computed once by division (exact IEEE results), so the loop only multiplies.
    static const std::array<double, 19> kInverse = [] {
        std::array<double, 19> inv{};
        for (int n = 1; n <= 18; ++n)
            inv[static_cast<size_t>(n)] = 1.0 / static_cast<double>(n);
        return inv;
    }();
    const double y = x / 64.0;
    double sum = 1.0;
    for (int n = 18; n >= 1; --n)
        sum = 1.0 + sum * y * kInverse[static_cast<size_t>(n)];
    for (int i = 0; i < 6; ++i)
        sum = sum * sum;
    return sum;
}

double DemoVolume_cls::DetSin(double x)
{
    const double twoPi = 2.0 * kPi;
    x = x - twoPi * std::floor(x / twoPi + 0.5); // now in [-pi, pi]
    const double x2 = x * x;
    double sum = 1.0;
    for (int n = 25; n >= 1; --n) // sin x = x (1 - x^2/(2*3) (1 - x^2/(4*5) (...)))
        sum = 1.0 - sum * x2 / static_cast<double>((2 * n) * (2 * n + 1));
    return x * sum;
}

double DemoVolume_cls::DetCos(double x)
{
    return DetSin(x + kPi / 2.0);
}

double DemoVolume_cls::Density(int frame, uint32_t x, uint32_t y, uint32_t z)
{
    return SceneDensity(MakeScene(frame), x, y, z);
}

// --- rasterising ------------------------------------------------------------------------------

void DemoVolume_cls::MakeFrame(int frame, unsigned bytesPerSample, std::vector<uint8_t>& out, MultiThreadCtrl_cls& ctrl)
{
    const Scene scene = MakeScene(frame);
    const size_t slice = static_cast<size_t>(kSize) * kSize;
    out.resize(slice * kSize * bytesPerSample);
    const double top = bytesPerSample == 2 ? 65535.0 : 255.0;
    ctrl.RunRanges(kSize, [&](size_t zBegin, size_t zEnd) {
        for (size_t z = zBegin; z < zEnd; ++z)
            for (uint32_t y = 0; y < kSize; ++y)
                for (uint32_t x = 0; x < kSize; ++x) {
                    // Rounded once, from double, then clamped.
                    double v = std::floor(SceneDensity(scene, x, y, static_cast<uint32_t>(z)) * top + 0.5);
                    v = v < 0.0 ? 0.0 : (v > top ? top : v);
                    const auto s = static_cast<uint32_t>(v);
                    const size_t i = (z * slice + static_cast<size_t>(y) * kSize + x) * bytesPerSample;
                    if (bytesPerSample == 2) {
                        out[i] = static_cast<uint8_t>(s >> 8);
                        out[i + 1] = static_cast<uint8_t>(s);
                    } else {
                        out[i] = static_cast<uint8_t>(s);
                    }
                }
    });
}

// --- writing the set --------------------------------------------------------------------------

std::vector<std::string> DemoVolume_cls::FileNames(const std::string& dir)
{
    std::vector<std::string> names;
    for (int t = 0; t < kFrames; ++t)
        names.push_back((std::filesystem::path(dir) / StrPrintf("demo_%04d.df3", t)).string());
    names.push_back((std::filesystem::path(dir) / "demo16.df3").string());
    return names;
}

bool DemoVolume_cls::WriteDemoSet(const std::string& dir, UserPrompt_cls* parent)
{
    if (!parent)
        parent = GetUserPrompt();
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    if (ec || !std::filesystem::is_directory(dir)) {
        parent->Message(WStrPrintf(Tr("%s can not open").c_str(), dir.c_str()), TrW("Write Error"));
        return false;
    }
    const std::vector<std::string> names = FileNames(dir);
    // All or nothing: a half-refreshed series would mix old and new frames.
    for (const std::string& name : names)
        if (ExportDF3_cls::RefuseExisting(Widen(name), parent))
            return false;

    MultiThreadCtrl_cls ctrl;
    std::vector<uint8_t> samples;
    for (int t = 0; t < kFrames; ++t) {
        MakeFrame(t, 1, samples, ctrl);
        if (!ExportDF3_cls::WriteFile(Widen(names[static_cast<size_t>(t)]), kSize, kSize, kSize, samples.data(), 1,
                                      parent))
            return false;
    }
    MakeFrame(0, 2, samples, ctrl);
    return ExportDF3_cls::WriteFile(Widen(names.back()), kSize, kSize, kSize, samples.data(), 2, parent);
}
