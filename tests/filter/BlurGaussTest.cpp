#include "FilterTestUtil.h"
#include "config/GlobalFlags.h"
#include "filter/BlurGauss_cls.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

// ---- A plain reference: one loop per axis, no threads, no vectors ----

struct RefKernel {
    int r = 0;
    std::vector<float> k{1.0f};
};

RefKernel MakeRefKernel(float s, unsigned size)
{
    RefKernel rk;
    if (s > 0.0f)
        rk.r = static_cast<int>(s) + 1;
    if (2 * rk.r + 1 > static_cast<int>(size))
        rk.r = 0; // thinner than the kernel: not blurred along this axis
    if (rk.r == 0)
        return rk;
    std::vector<double> w;
    double sum = 0.0;
    for (int i = -rk.r; i <= rk.r; ++i) {
        w.push_back(std::exp(-(i * i) / (2.0 * s)));
        sum += w.back();
    }
    rk.k.clear();
    for (double v : w)
        rk.k.push_back(static_cast<float>(v / sum));
    return rk;
}

float RefTrunc(float v)
{
    return static_cast<float>(static_cast<int>(v));
}

/// The blur as the algorithm reads: y, then x inside each slice, then z; the first and last r
/// positions along x and y and the slices 0..r and the last r along z keep their values. In the
/// byte variant every pass truncates; in the float variant only the end does.
std::vector<unsigned char> ReferenceBlur(const TestVolume& in, float sx, float sy, float sz, bool byteVariant)
{
    const long X = in.size[0], Y = in.size[1], Z = in.size[2];
    RefKernel kx = MakeRefKernel(sx, in.size[0]), ky = MakeRefKernel(sy, in.size[1]),
              kz = MakeRefKernel(sz, in.size[2]);
    auto idx = [&](long x, long y, long z) { return static_cast<size_t>((z * Y + y) * X + x); };
    auto pass = [&](float v) { return byteVariant ? RefTrunc(v) : v; };
    std::vector<float> afterY(in.Count()), afterX(in.Count());
    for (long z = 0; z < Z; ++z)
        for (long y = 0; y < Y; ++y)
            for (long x = 0; x < X; ++x) {
                if (ky.r == 0 || y < ky.r || y >= Y - ky.r) {
                    afterY[idx(x, y, z)] = in.At(x, y, z);
                    continue;
                }
                float acc = 0.0f;
                for (int j = 0; j <= 2 * ky.r; ++j)
                    acc += ky.k[j] * static_cast<float>(in.At(x, y - ky.r + j, z));
                afterY[idx(x, y, z)] = pass(acc);
            }
    for (long z = 0; z < Z; ++z)
        for (long y = 0; y < Y; ++y)
            for (long x = 0; x < X; ++x) {
                if (kx.r == 0 || x < kx.r || x >= X - kx.r) {
                    afterX[idx(x, y, z)] = afterY[idx(x, y, z)];
                    continue;
                }
                float acc = 0.0f;
                for (int j = 0; j <= 2 * kx.r; ++j)
                    acc += kx.k[j] * afterY[idx(x - kx.r + j, y, z)];
                afterX[idx(x, y, z)] = pass(acc);
            }
    std::vector<unsigned char> out(in.Count());
    for (long z = 0; z < Z; ++z)
        for (long y = 0; y < Y; ++y)
            for (long x = 0; x < X; ++x) {
                float v;
                if (z <= kz.r || z >= Z - kz.r) {
                    v = afterX[idx(x, y, z)];
                } else {
                    v = 0.0f;
                    for (int j = 0; j <= 2 * kz.r; ++j)
                        v += kz.k[j] * afterX[idx(x, y, z - kz.r + j)];
                }
                out[idx(x, y, z)] = static_cast<unsigned char>(static_cast<int>(v));
            }
    return out;
}

std::vector<unsigned char> RunBlur(BlurGauss_cls& blur, const TestVolume& in, bool floatVariant)
{
    std::vector<unsigned char> out(in.Count(), 0xA5);
    std::vector<unsigned char> source = in.v;
    blur.ProcessXYZData(out.data(), source.data(), in.size, in.Count(), floatVariant);
    EXPECT_EQ(source, in.v) << "the source must never be written";
    return out;
}

void SetUniform(BlurGauss_cls& blur, float s)
{
    blur.GetData().muKernelType.Set(0);
    blur.GetData().mfKernelSize.Set(s);
}

void SetPerAxis(BlurGauss_cls& blur, float sx, float sy, float sz)
{
    blur.GetData().muKernelType.Set(1);
    blur.GetData().mvfAssymSize.Set(0, sx);
    blur.GetData().mvfAssymSize.Set(1, sy);
    blur.GetData().mvfAssymSize.Set(2, sz);
}

// ---- The kernel ----

TEST(BlurGaussKernel, RadiusIsIntegerPartPlusOne)
{
    EXPECT_EQ(BlurGauss_cls::KernelRadius(0.0f), 0);
    EXPECT_EQ(BlurGauss_cls::KernelRadius(0.25f), 1);
    EXPECT_EQ(BlurGauss_cls::KernelRadius(1.0f), 2);
    EXPECT_EQ(BlurGauss_cls::KernelRadius(3.99f), 4);
    EXPECT_EQ(BlurGauss_cls::KernelRadius(4.0f), 5);
    EXPECT_EQ(BlurGauss_cls::KernelRadius(-2.0f), 0) << "a negative value blurs nothing";
    EXPECT_EQ(BlurGauss_cls::KernelRadius(std::nanf("")), 0);
}

TEST(BlurGaussKernel, ValueActsAsVariance)
{
    // s = 1: r = 2, weights proportional to exp(-i^2 / 2).
    std::vector<float> k = BlurGauss_cls::MakeKernel(1.0f);
    ASSERT_EQ(k.size(), 5u);
    double e1 = std::exp(-0.5), e2 = std::exp(-2.0), sum = 1.0 + 2 * e1 + 2 * e2;
    EXPECT_FLOAT_EQ(k[2], static_cast<float>(1.0 / sum));
    EXPECT_FLOAT_EQ(k[1], static_cast<float>(e1 / sum));
    EXPECT_FLOAT_EQ(k[0], static_cast<float>(e2 / sum));
    EXPECT_EQ(k[0], k[4]);
    EXPECT_EQ(k[1], k[3]);
    // s = 4 is the 11-tap kernel of a Gaussian with standard deviation 2 (denominator 2 s = 8).
    std::vector<float> k4 = BlurGauss_cls::MakeKernel(4.0f);
    ASSERT_EQ(k4.size(), 11u);
    EXPECT_NEAR(k4[5 + 2] / k4[5], std::exp(-4.0 / 8.0), 1e-6);
    EXPECT_EQ(BlurGauss_cls::MakeKernel(0.0f), std::vector<float>{1.0f});
}

// ---- Whole volumes against the reference ----

struct BlurCase {
    int type;
    float s, sx, sy, sz;
};

TEST(BlurGaussProcess, MatchesReferenceForEveryVariantThreadCountAndVectorPath)
{
    const BlurCase cases[] = {{0, 1.0f, 0, 0, 0},       {0, 4.0f, 0, 0, 0},       {0, 0.3f, 0, 0, 0},
                              {1, 0, 2.5f, 0.0f, 1.0f}, {1, 0, 0.0f, 3.0f, 0.5f}, {1, 0, 6.0f, 1.5f, 2.0f}};
    for (const TestVolume& vol : TestVolumes())
        for (const BlurCase& c : cases) {
            BlurGauss_cls blur;
            if (c.type == 0)
                SetUniform(blur, c.s);
            else
                SetPerAxis(blur, c.sx, c.sy, c.sz);
            float ax = c.type == 0 ? c.s : c.sx, ay = c.type == 0 ? c.s : c.sy, az = c.type == 0 ? c.s : c.sz;
            for (bool floatVariant : {false, true}) {
                std::vector<unsigned char> expected = ReferenceBlur(vol, ax, ay, az, !floatVariant);
                for (int threads : {1, 2, 7}) {
                    ScopedThreadNum tn(threads);
                    for (SimdLevel level : AvailableSimdLevels()) {
                        ScopedSimdLimit limit(level);
                        std::vector<unsigned char> got = RunBlur(blur, vol, floatVariant);
                        long diff = FirstDifference(got, expected);
                        ASSERT_EQ(diff, -1) << vol.Name() << " type " << c.type << " s " << ax << "," << ay << "," << az
                                            << (floatVariant ? " float" : " byte") << " threads " << threads << " simd "
                                            << static_cast<int>(level) << " at voxel " << diff;
                    }
                }
            }
        }
}

TEST(BlurGaussProcess, ByteAndFloatVariantsDifferOnlyByIntermediateTruncation)
{
    // On random data the byte variant loses up to one unit per pass, so the two must differ
    // somewhere but never by more than the three truncations.
    TestVolume vol = RandomVolume(40, 30, 20, 11);
    BlurGauss_cls blur;
    SetUniform(blur, 2.0f);
    std::vector<unsigned char> b = RunBlur(blur, vol, false), f = RunBlur(blur, vol, true);
    int maxDiff = 0;
    for (size_t i = 0; i < b.size(); ++i)
        maxDiff = std::max(maxDiff, std::abs(int(b[i]) - int(f[i])));
    EXPECT_GT(maxDiff, 0);
    EXPECT_LE(maxDiff, 3);
}

// ---- Edge cases ----

TEST(BlurGaussProcess, ZeroKernelCopiesTheInput)
{
    TestVolume vol = RandomVolume(17, 9, 13, 5);
    BlurGauss_cls blur;
    for (bool floatVariant : {false, true})
        EXPECT_EQ(RunBlur(blur, vol, floatVariant), vol.v);
    SetPerAxis(blur, 0, 0, 0);
    EXPECT_EQ(RunBlur(blur, vol, false), vol.v);
}

TEST(BlurGaussProcess, ConstantDensityStaysWithinOneUnit)
{
    TestVolume vol{{23, 19, 17}, std::vector<unsigned char>(23 * 19 * 17, 100)};
    BlurGauss_cls blur;
    SetUniform(blur, 3.0f);
    for (bool floatVariant : {false, true}) {
        std::vector<unsigned char> out = RunBlur(blur, vol, floatVariant);
        for (unsigned char v : out)
            ASSERT_TRUE(v == 100 || v == 99) << int(v);
        // Border voxels are never blurred, so they keep 100 exactly.
        EXPECT_EQ(out[0], 100);
        EXPECT_EQ(out.back(), 100);
    }
}

TEST(BlurGaussProcess, PerAxisZeroBlursOnlyAlongZ)
{
    // An impulse at the centre spreads along z only.
    TestVolume vol{{9, 9, 11}, std::vector<unsigned char>(9 * 9 * 11, 0)};
    vol.v[(5 * 9 + 4) * 9 + 4] = 200;
    BlurGauss_cls blur;
    SetPerAxis(blur, 0, 0, 2.0f);
    std::vector<unsigned char> out = RunBlur(blur, vol, false);
    for (unsigned z = 0; z < 11; ++z)
        for (unsigned y = 0; y < 9; ++y)
            for (unsigned x = 0; x < 9; ++x) {
                unsigned char v = out[(z * 9 + y) * 9 + x];
                if (x != 4 || y != 4) {
                    ASSERT_EQ(v, 0) << x << "," << y << "," << z;
                }
            }
    std::vector<float> k = BlurGauss_cls::MakeKernel(2.0f); // r = 3
    EXPECT_EQ(out[(5 * 9 + 4) * 9 + 4], static_cast<unsigned char>(static_cast<int>(k[3] * 200.0f)));
    EXPECT_EQ(out[(6 * 9 + 4) * 9 + 4], static_cast<unsigned char>(static_cast<int>(k[2] * 200.0f)));
    EXPECT_EQ(out[(4 * 9 + 4) * 9 + 4], static_cast<unsigned char>(static_cast<int>(k[4] * 200.0f)));
}

TEST(BlurGaussProcess, SliceAtTheRadiusIsCopiedAlongZ)
{
    // r_z = 2: slices 0, 1 and 2 are copied although slice 2 has all its taps inside; slice 3 is
    // the first blurred one; with Z = 9 the last two slices (7, 8) are copied.
    TestVolume vol = RandomVolume(5, 5, 9, 21);
    BlurGauss_cls blur;
    SetPerAxis(blur, 0, 0, 1.0f);
    std::vector<unsigned char> out = RunBlur(blur, vol, false);
    auto slice = [&](const std::vector<unsigned char>& v, unsigned z) {
        return std::vector<unsigned char>(v.begin() + z * 25, v.begin() + (z + 1) * 25);
    };
    for (unsigned z : {0u, 1u, 2u, 7u, 8u})
        EXPECT_EQ(slice(out, z), slice(vol.v, z)) << "slice " << z;
    for (unsigned z : {3u, 4u, 5u, 6u})
        EXPECT_NE(slice(out, z), slice(vol.v, z)) << "slice " << z;
}

TEST(BlurGaussProcess, AxisThinnerThanKernelIsNotBlurred)
{
    // s = 2 gives r = 3 (7 taps): an axis of 6 voxels is left alone, one of 7 is blurred.
    TestVolume thin = RandomVolume(6, 6, 6, 8);
    BlurGauss_cls blur;
    SetUniform(blur, 2.0f);
    EXPECT_EQ(RunBlur(blur, thin, false), thin.v);
    TestVolume justWide = RandomVolume(7, 1, 1, 8);
    std::vector<unsigned char> out = RunBlur(blur, justWide, false);
    EXPECT_NE(out[3], justWide.v[3]);
    EXPECT_EQ(out[2], justWide.v[2]);
}

TEST(BlurGaussProcess, SwitchedOffFilterCopiesAndReportsOff)
{
    TestVolume vol = RandomVolume(17, 9, 13, 9);
    BlurGauss_cls blur;
    SetUniform(blur, 2.0f);
    blur.GetData().SetValid(false);
    std::vector<unsigned char> out(vol.Count(), 0);
    EXPECT_FALSE(blur.ProcessXYZData(out.data(), vol.v.data(), vol.size, vol.Count(), false));
    EXPECT_EQ(out, vol.v);
    blur.GetData().SetValid(true);
    EXPECT_TRUE(blur.ProcessXYZData(out.data(), vol.v.data(), vol.size, vol.Count(), false));
    EXPECT_NE(out, vol.v);
}

TEST(BlurGaussProcess, NoWorkersLeavesTheOutputAsItWas)
{
    TestVolume vol = RandomVolume(17, 9, 13, 10);
    BlurGauss_cls blur;
    SetUniform(blur, 2.0f);
    ScopedThreadNum tn(0);
    std::vector<unsigned char> out(vol.Count(), 7);
    EXPECT_TRUE(blur.ProcessXYZData(out.data(), vol.v.data(), vol.size, vol.Count(), false));
    EXPECT_EQ(out, std::vector<unsigned char>(vol.Count(), 7));
}

TEST(BlurGaussProcess, DrawingLockIsReleasedAndBufferReusedAcrossSizes)
{
    BlurGauss_cls blur;
    SetUniform(blur, 1.0f);
    // Alternating sizes exercises re-allocation of the kept temporary buffer.
    for (const TestVolume& vol : {RandomVolume(17, 9, 13, 1), RandomVolume(31, 1, 5, 2), RandomVolume(17, 9, 13, 3)}) {
        EXPECT_EQ(RunBlur(blur, vol, false), ReferenceBlur(vol, 1.0f, 1.0f, 1.0f, true));
        EXPECT_FALSE(GbGLLockForMultithread.load());
    }
}

// ---- Settings ----

TEST(BlurGaussSettings, StatusChangesWithEverySetting)
{
    BlurGauss_cls blur;
    EXPECT_EQ(blur.GetFilterStatusStr(), L"BlurGauss::00.0000000.0000000.0000000.000000");
    std::vector<std::wstring> seen{blur.GetFilterStatusStr()};
    auto expectNew = [&](const char* what) {
        std::wstring s = blur.GetFilterStatusStr();
        for (const auto& old : seen)
            EXPECT_NE(s, old) << what;
        seen.push_back(s);
    };
    blur.GetData().mfKernelSize.Set(1.5f);
    expectNew("kernel value");
    blur.GetData().muKernelType.Set(1);
    expectNew("kernel type");
    for (int a = 0; a < 3; ++a) {
        blur.GetData().mvfAssymSize.Set(a, 0.25f + a);
        expectNew("per-axis value");
    }
    EXPECT_EQ(blur.GetFilterStatusStr(), L"BlurGauss::11.5000000.2500001.2500002.250000");
}

TEST(BlurGaussSettings, KeysInOrderAndReadBack)
{
    BlurGauss_cls blur;
    EXPECT_EQ(blur.GetData().SerializeConf(), L"FilterValid=1\nFilterName=Gauss Blur\nGaussBlurKernelType=0\n"
                                              L"GaussBlurKernelSize=0.000000\nGaussBlurAssymSize=0.000000 "
                                              L"0.000000 0.000000\nGaussBlurFloat=0\n");
    BlurGauss_cls other;
    for (const wchar_t* line :
         {L"FilterValid=0", L"GaussBlurKernelType=1", L"GaussBlurKernelSize=2.5", L"GaussBlurAssymSize=1 2 3"})
        EXPECT_TRUE(other.GetData().ReadStrLine(line)) << line;
    EXPECT_FALSE(other.GetData().IsValid());
    EXPECT_EQ(other.GetData().GetAxisValue(2), 3.0f);
    other.GetData().muKernelType.Set(0);
    EXPECT_EQ(other.GetData().GetAxisValue(2), 2.5f);
}

} // namespace
