#include "FilterTestUtil.h"
#include "config/GlobalFlags.h"
#include "filter/LevelAndGamma_cls.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

// ---- A plain reference of the table, step by step as the mapping reads ----

struct RefParams {
    double p[6] = {0, 1, 0, 1, 1, 0};
    bool smooth = false;
    bool on = true;
};

double RefLevelIn(double x, const RefParams& r)
{
    double a = r.p[0], b = r.p[1];
    if (r.smooth) {
        double u = 2 * x / (b - a) - (b + a) / (b - a);
        double w = std::sqrt(1 - std::exp(-4 * u * u / M_PI));
        return (1 + (u < 0 ? -w : w)) / 2;
    }
    if (b > a)
        return x < a ? 0 : (x >= b ? 1 : (x - a) / (b - a));
    return x >= a ? 0 : (x < b ? 1 : 1 - (x - b) / (a - b));
}

std::vector<unsigned char> RefTable(const RefParams& r)
{
    std::vector<unsigned char> t(256);
    for (int k = 0; k < 256; ++k) {
        double x = k / 255.0, y = x;
        if (r.on) {
            double g = std::pow(RefLevelIn(x, r), r.p[4]);
            y = r.p[2] + (r.p[3] - r.p[2]) * std::max(0.0, g + r.p[5]);
        }
        long long whole = static_cast<long long>(y * 255); // the integer part; the low 8 bits are stored
        t[k] = static_cast<unsigned char>(whole & 0xFF);
    }
    return t;
}

void Apply(LevelAndGamma_cls& f, const RefParams& r)
{
    for (int i = 0; i < 6; ++i)
        f.SetParam(i, r.p[i]);
    f.GetData().mbLevelSmooth.Set(r.smooth);
    f.GetData().SetValid(r.on);
}

std::vector<unsigned char> Table(const LevelAndGamma_cls& f)
{
    std::vector<unsigned char> t(256);
    f.MakeLevelMap(t.data());
    return t;
}

std::vector<unsigned char> RunLevel(LevelAndGamma_cls& f, const TestVolume& in)
{
    std::vector<unsigned char> out(in.Count(), 0x33);
    std::vector<unsigned char> source = in.v;
    f.ProcessXYZData(out.data(), source.data(), in.size);
    EXPECT_EQ(source, in.v) << "the source must never be written";
    return out;
}

const RefParams kSettings[] = {{{0, 1, 0, 1, 1, 0}, false, true},
                               {{0.2, 0.7, 0.1, 0.9, 1, 0}, false, true},
                               {{0.8, 0.3, 0, 1, 1, 0}, false, true},
                               {{0.5, 0.5, 0, 1, 1, 0}, false, true},
                               {{0, 1, 0, 1, 2.2, 0}, false, true},
                               {{0, 1, 0, 1, 0.45, 0.1}, false, true},
                               {{0.1, 0.9, 0.2, 0.6, 1.7, -0.3}, true, true},
                               {{0.9, 0.2, 0, 1, 1, 0}, true, true},
                               {{0, 1, 0, 1, 1, 0.5}, false, true},
                               {{0, 1, 0.3, -0.4, 1, 0}, false, true},
                               {{0, 1, 0, 3, 1, 0}, false, true},
                               {{0.3, 0.6, 0.2, 0.7, 3, 0.2}, false, false}};

// ---- The mapping and its table ----

TEST(LevelAndGammaMapping, TableMatchesReferenceForEverySettingFamily)
{
    for (const RefParams& r : kSettings) {
        LevelAndGamma_cls f;
        Apply(f, r);
        EXPECT_EQ(Table(f), RefTable(r)) << r.p[0] << " " << r.p[1] << " smooth " << r.smooth;
    }
}

TEST(LevelAndGammaMapping, IdentityParametersMapEveryDensityToItself)
{
    LevelAndGamma_cls f;
    std::vector<unsigned char> t = Table(f);
    for (int k = 0; k < 256; ++k)
        ASSERT_EQ(t[k], k);
    EXPECT_DOUBLE_EQ(f.GetLevelMapping(0.3), 0.3);
}

TEST(LevelAndGammaMapping, EmptyWindowTakesTheInvertedBranch)
{
    LevelAndGamma_cls f;
    f.SetParam(LevelAndGamma_cls::InMin, 0.5);
    f.SetParam(LevelAndGamma_cls::InMax, 0.5);
    std::vector<unsigned char> t = Table(f);
    for (int k = 0; k < 256; ++k)
        ASSERT_EQ(t[k], k <= 127 ? 255 : 0) << k;
    EXPECT_EQ(f.GetLevelIn(0.49), 1.0);
    EXPECT_EQ(f.GetLevelIn(0.5), 0.0);
}

TEST(LevelAndGammaMapping, InvertedWindowRampsDown)
{
    LevelAndGamma_cls f;
    f.SetParam(LevelAndGamma_cls::InMin, 0.8);
    f.SetParam(LevelAndGamma_cls::InMax, 0.4);
    EXPECT_EQ(f.GetLevelIn(0.9), 0.0);
    EXPECT_EQ(f.GetLevelIn(0.3), 1.0);
    EXPECT_NEAR(f.GetLevelIn(0.6), 0.5, 1e-12);
}

TEST(LevelAndGammaMapping, OffsetAboveOneWrapsAround)
{
    LevelAndGamma_cls f;
    f.SetParam(LevelAndGamma_cls::Offset, 0.5);
    EXPECT_DOUBLE_EQ(f.GetLevelMapping(1.0), 1.5);
    EXPECT_EQ(Table(f)[255], 126) << "382 keeps only its low eight bits";
}

TEST(LevelAndGammaMapping, GammaTwoHalvesMidGrey)
{
    LevelAndGamma_cls f;
    f.SetParam(LevelAndGamma_cls::Gamma, 2.0);
    EXPECT_EQ(Table(f)[128], 64);
}

TEST(LevelAndGammaMapping, ClampedAtTheBottomOnly)
{
    LevelAndGamma_cls f;
    f.SetParam(LevelAndGamma_cls::Offset, -0.6);
    EXPECT_EQ(f.GetLevelMapping(0.2), 0.0);
    f.SetParam(LevelAndGamma_cls::OutMin, 0.25);
    EXPECT_EQ(f.GetLevelMapping(0.2), 0.25) << "the output window applies after the clamp";
}

TEST(LevelAndGammaMapping, SmoothWindowFollowsTheClosedForm)
{
    LevelAndGamma_cls f;
    f.GetData().mbLevelSmooth.Set(true);
    f.SetParam(LevelAndGamma_cls::InMin, 0.25);
    f.SetParam(LevelAndGamma_cls::InMax, 0.75);
    EXPECT_DOUBLE_EQ(f.GetLevelMapping(0.5), 0.5) << "the window centre maps to one half";
    // At x = InMax, u = 1: (1 + sqrt(1 - exp(-4 / pi))) / 2, close to (1 + erf(1)) / 2.
    double expected = (1 + std::sqrt(1 - std::exp(-4 / M_PI))) / 2;
    EXPECT_DOUBLE_EQ(f.GetLevelMapping(0.75), expected);
    EXPECT_NEAR(expected, (1 + std::erf(1.0)) / 2, 5e-3);
    EXPECT_LT(f.GetLevelMapping(0.1), 0.1);
}

TEST(LevelAndGammaMapping, DegenerateValuesDoNotCrash)
{
    LevelAndGamma_cls f;
    f.GetData().mbLevelSmooth.Set(true);
    f.SetParam(LevelAndGamma_cls::InMin, 0.5);
    f.SetParam(LevelAndGamma_cls::InMax, 0.5); // division by zero inside the smooth window
    f.SetParam(LevelAndGamma_cls::Gamma, -1.0);
    f.SetParam(LevelAndGamma_cls::OutMax, 1e30);
    std::vector<unsigned char> t = Table(f);
    EXPECT_EQ(t.size(), 256u);
    EXPECT_EQ(t[0], 0) << "values without an integer part in range store 0";
}

// ---- Applying ----

TEST(LevelAndGammaProcess, VolumesMatchTheTableForEveryThreadCount)
{
    for (const TestVolume& vol : TestVolumes())
        for (const RefParams& r : kSettings) {
            LevelAndGamma_cls f;
            Apply(f, r);
            std::vector<unsigned char> t = RefTable(r), expected(vol.Count());
            for (size_t i = 0; i < vol.Count(); ++i)
                expected[i] = t[vol.v[i]];
            for (int threads : {1, 2, 7}) {
                ScopedThreadNum tn(threads);
                EXPECT_EQ(FirstDifference(RunLevel(f, vol), expected), -1) << vol.Name() << " threads " << threads;
            }
        }
}

TEST(LevelAndGammaProcess, TwoWorkersWhateverThePreference)
{
    TestVolume vol = RandomVolume(17, 9, 13, 50);
    LevelAndGamma_cls f;
    {
        ScopedThreadNum tn(1);
        RunLevel(f, vol);
        EXPECT_EQ(f.GetLastWorkerNum(), 0) << "one thread: the lookup runs on the caller";
    }
    for (int threads : {2, 8, 16}) {
        ScopedThreadNum tn(threads);
        RunLevel(f, vol);
        EXPECT_EQ(f.GetLastWorkerNum(), 2) << threads;
        EXPECT_FALSE(GbGLLockForMultithread.load());
    }
}

TEST(LevelAndGammaProcess, RangesOfEveryLengthAreMappedExactly)
{
    // The lookup steps by eight, four, two and one: every remainder must be covered, and no
    // byte outside [first, end) touched.
    std::vector<unsigned char> table(256);
    // Every density must be looked up correctly on every vector path: all 256 of them, twice.
    TestVolume src = RandomVolume(150, 1, 1, 51);
    for (int k = 0; k < 256; ++k)
        src.v.push_back(static_cast<unsigned char>(k));
    for (int k = 0; k < 256; ++k)
        table[k] = static_cast<unsigned char>((k * 37 + 11) & 0xFF);
    const size_t n = src.v.size();
    for (SimdLevel level : AvailableSimdLevels()) {
        ScopedSimdLimit limit(level);
        for (size_t first : {size_t{0}, size_t{1}, size_t{2}, size_t{150}})
            for (size_t end = first; end <= n; ++end) {
                std::vector<unsigned char> out(n, 0x77);
                LevelAndGamma_cls::MapRange(out.data(), src.v.data(), first, end, table.data());
                for (size_t i = 0; i < n; ++i)
                    ASSERT_EQ(out[i], i >= first && i < end ? table[src.v[i]] : 0x77)
                        << first << " " << end << " " << i << " simd " << static_cast<int>(level);
            }
    }
}

TEST(LevelAndGammaProcess, SwitchedOffCopies)
{
    TestVolume vol = RandomVolume(31, 1, 5, 52);
    LevelAndGamma_cls f;
    f.SetParam(LevelAndGamma_cls::Gamma, 3.0);
    f.GetData().SetValid(false);
    std::vector<unsigned char> out(vol.Count(), 0);
    EXPECT_FALSE(f.ProcessXYZData(out.data(), vol.v.data(), vol.size));
    EXPECT_EQ(out, vol.v);
    EXPECT_DOUBLE_EQ(f.GetLevelMapping(0.4), 0.4);
}

// ---- Settings ----

TEST(LevelAndGammaSettings, StatusChangesWithEveryValueAndTheSmoothFlag)
{
    LevelAndGamma_cls f;
    std::vector<std::wstring> seen{f.GetFilterStatusStr()};
    EXPECT_EQ(seen[0].rfind(L"LevelAndGamma::", 0), 0u);
    auto expectNew = [&](const std::string& what) {
        std::wstring s = f.GetFilterStatusStr();
        for (const auto& old : seen)
            EXPECT_NE(s, old) << what;
        seen.push_back(s);
    };
    for (int i = 0; i < 6; ++i) {
        f.SetParam(i, f.GetParam(i) + 1e-9); // tiny changes still change the table's inputs
        expectNew("value " + std::to_string(i));
    }
    f.GetData().mbLevelSmooth.Set(true);
    expectNew("smooth");
}

TEST(LevelAndGammaSettings, SmoothKeyHasNoEqualsSign)
{
    LevelAndGamma_cls f;
    EXPECT_EQ(f.GetData().SerializeConf(), L"FilterValid=1\nFilterName=Level Gamma\nFilterLevelSmooth0\n");
    EXPECT_TRUE(f.GetData().ReadStrLine(L"FilterLevelSmooth1"));
    EXPECT_TRUE(f.GetData().mbLevelSmooth.Get());
    EXPECT_STREQ(LevelAndGamma_cls::msParamSetName, L"LevelAndGamma");
    EXPECT_STREQ(LevelAndGamma_cls::msParamLabel[4], L"gamma");
}

} // namespace
