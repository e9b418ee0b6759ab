#include "FilterTestUtil.h"
#include "config/GlobalFlags.h"
#include "filter/MorphOpenClose_cls.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

// ---- A plain reference: the element cell by cell, every voxel scanned in full ----

struct RefElement {
    int s[3];
    std::vector<int> dx, dy, dz; // member cells
};

RefElement MakeRefElement(int sx, int sy, int sz)
{
    RefElement e{{sx, sy, sz}, {}, {}, {}};
    int h = sx / 2;
    for (int z = -(sz / 2); z <= sz / 2; ++z)
        for (int y = -(sy / 2); y <= sy / 2; ++y)
            for (int x = -h; x <= h; ++x) {
                int yr = y * sx / sy, zr = z * sx / sz;
                if ((h + 0.5) * (h + 0.5) > x * x + yr * yr + zr * zr) {
                    e.dx.push_back(x);
                    e.dy.push_back(y);
                    e.dz.push_back(z);
                }
            }
    return e;
}

std::vector<unsigned char> RefStep(const TestVolume& in, const RefElement& e, bool isMax)
{
    TestVolume out = in;
    long X = in.size[0], Y = in.size[1], Z = in.size[2];
    for (long z = 0; z < Z; ++z)
        for (long y = 0; y < Y; ++y)
            for (long x = 0; x < X; ++x) {
                int best = isMax ? 0 : 255;
                for (size_t c = 0; c < e.dx.size(); ++c) {
                    long xx = x + e.dx[c], yy = y + e.dy[c], zz = z + e.dz[c];
                    if (xx < 0 || yy < 0 || zz < 0 || xx >= X || yy >= Y || zz >= Z)
                        continue;
                    int v = in.At(xx, yy, zz);
                    best = isMax ? std::max(best, v) : std::min(best, v);
                }
                out.v[static_cast<size_t>((z * Y + y) * X + x)] = static_cast<unsigned char>(best);
            }
    return out.v;
}

std::vector<unsigned char> RefMorph(const TestVolume& in, const RefElement& e, int type)
{
    const char* steps[] = {"D", "E", "ED", "DE", "EEDD", "DDEE"};
    TestVolume cur = in;
    if (type < 0 || type > 5)
        return cur.v;
    for (const char* s = steps[type]; *s; ++s)
        cur.v = RefStep(cur, e, *s == 'D');
    return cur.v;
}

std::vector<unsigned char> RunMorph(MorphOpenClose_cls& morph, const TestVolume& in)
{
    std::vector<unsigned char> out(in.Count(), 0x5A);
    std::vector<unsigned char> source = in.v;
    morph.ProcessXYZData(out.data(), source.data(), in.size);
    EXPECT_EQ(source, in.v) << "the source must never be written";
    return out;
}

void SetSphere(MorphOpenClose_cls& m, int type, int r)
{
    m.GetData().miType.Set(type);
    m.GetData().miKernelType.Set(0);
    m.GetData().miKernelSize.Set(r);
}

void SetEllipsoid(MorphOpenClose_cls& m, int type, int rx, int ry, int rz)
{
    m.GetData().miType.Set(type);
    m.GetData().miKernelType.Set(1);
    m.GetData().mviAsymSize.Set(0, rx);
    m.GetData().mviAsymSize.Set(1, ry);
    m.GetData().mviAsymSize.Set(2, rz);
}

// ---- The element ----

TEST(MorphElement, SphereIsTheBallOfRadiusPlusHalf)
{
    MorphOpenClose_cls m;
    SetSphere(m, 0, 0);
    m.BuildElement();
    EXPECT_EQ(m.CountElementCells(), 1u);
    SetSphere(m, 0, 1);
    m.BuildElement();
    EXPECT_EQ(m.CountElementCells(), 19u) << "centre, 6 faces and 12 edges; corners (3 > 2.25) are out";
    EXPECT_FALSE(m.IsInElement(1, 1, 1));
    EXPECT_TRUE(m.IsInElement(1, 1, 0));
    SetSphere(m, 0, 3);
    m.BuildElement();
    EXPECT_EQ(m.GetElementSize(0), 7);
    EXPECT_EQ(m.CountElementCells(), MakeRefElement(7, 7, 7).dx.size());
    SetSphere(m, 0, 40);
    m.BuildElement();
    EXPECT_EQ(m.GetElementSize(2), 25) << "radii are limited to 12";
}

TEST(MorphElement, EllipsoidRescalesToTheXExtent)
{
    MorphOpenClose_cls m;
    // rx = 0: every y offset rescales to 0, so the element is a line of 5 cells along y.
    SetEllipsoid(m, 0, 0, 2, 0);
    m.BuildElement();
    EXPECT_EQ(m.CountElementCells(), 5u);
    for (int dy = -2; dy <= 2; ++dy)
        EXPECT_TRUE(m.IsInElement(0, dy, 0));
    SetEllipsoid(m, 0, 2, 0, 0);
    m.BuildElement();
    EXPECT_EQ(m.CountElementCells(), 5u);
    EXPECT_TRUE(m.IsInElement(2, 0, 0));
    // Every cell agrees with the formula for a lopsided ellipsoid.
    SetEllipsoid(m, 0, 3, 1, 5);
    m.BuildElement();
    RefElement ref = MakeRefElement(7, 3, 11);
    EXPECT_EQ(m.CountElementCells(), ref.dx.size());
    for (size_t c = 0; c < ref.dx.size(); ++c)
        EXPECT_TRUE(m.IsInElement(ref.dx[c], ref.dy[c], ref.dz[c]));
}

TEST(MorphElement, OtherKernelTypeKeepsTheLastElement)
{
    MorphOpenClose_cls m;
    SetEllipsoid(m, 0, 1, 2, 3);
    m.BuildElement();
    size_t cells = m.CountElementCells();
    m.GetData().miKernelType.Set(5);
    m.GetData().miKernelSize.Set(7);
    m.BuildElement();
    EXPECT_EQ(m.GetElementSize(1), 5);
    EXPECT_EQ(m.CountElementCells(), cells);
}

// ---- Whole volumes against the reference ----

TEST(MorphProcess, EveryOperationAndElementMatchesTheReference)
{
    struct Shape {
        int kernelType, r, rx, ry, rz;
    };
    const Shape shapes[] = {{0, 0, 0, 0, 0}, {0, 1, 0, 0, 0}, {0, 3, 0, 0, 0},
                            {1, 0, 1, 2, 3}, {1, 0, 3, 1, 0}, {1, 0, 0, 0, 2}};
    for (const TestVolume& vol : TestVolumes())
        for (const Shape& sh : shapes)
            for (int type = 0; type < 6; ++type) {
                MorphOpenClose_cls m;
                if (sh.kernelType == 0)
                    SetSphere(m, type, sh.r);
                else
                    SetEllipsoid(m, type, sh.rx, sh.ry, sh.rz);
                int sx = sh.kernelType == 0 ? 2 * sh.r + 1 : 2 * sh.rx + 1;
                int sy = sh.kernelType == 0 ? 2 * sh.r + 1 : 2 * sh.ry + 1;
                int sz = sh.kernelType == 0 ? 2 * sh.r + 1 : 2 * sh.rz + 1;
                std::vector<unsigned char> expected = RefMorph(vol, MakeRefElement(sx, sy, sz), type);
                for (int threads : {1, 2, 7}) {
                    ScopedThreadNum tn(threads);
                    for (SimdLevel level : AvailableSimdLevels()) {
                        ScopedSimdLimit limit(level);
                        long diff = FirstDifference(RunMorph(m, vol), expected);
                        ASSERT_EQ(diff, -1)
                            << vol.Name() << " op " << type << " element " << sx << "x" << sy << "x" << sz
                            << " threads " << threads << " simd " << static_cast<int>(level) << " at voxel " << diff;
                    }
                }
            }
}

TEST(MorphProcess, WideElementOnSmallAndLargeVolumes)
{
    // Radius 12 is wider than most of these volumes: nearly every voxel is an edge voxel.
    MorphOpenClose_cls m;
    SetSphere(m, 3, 12);
    for (const TestVolume& vol : {RandomVolume(17, 9, 13, 31), RandomVolume(60, 27, 26, 32)}) {
        std::vector<unsigned char> expected = RefMorph(vol, MakeRefElement(25, 25, 25), 3);
        ScopedThreadNum tn(2);
        EXPECT_EQ(FirstDifference(RunMorph(m, vol), expected), -1) << vol.Name();
    }
}

TEST(MorphProcess, UncachedRowExtremesGiveTheSameResult)
{
    TestVolume vol = RandomVolume(67, 35, 21, 33);
    MorphOpenClose_cls m;
    SetEllipsoid(m, 5, 4, 2, 3);
    std::vector<unsigned char> cached = RunMorph(m, vol);
    MorphOpenClose_cls::SetRowCacheLimit(0);
    std::vector<unsigned char> uncached = RunMorph(m, vol);
    MorphOpenClose_cls::SetRowCacheLimit(size_t{96} << 20);
    EXPECT_EQ(FirstDifference(cached, uncached), -1);
    EXPECT_EQ(FirstDifference(cached, RefMorph(vol, MakeRefElement(9, 5, 7), 5)), -1);
}

// ---- Edge cases ----

TEST(MorphProcess, SingleCellElementLeavesDataUnchanged)
{
    TestVolume vol = RandomVolume(17, 9, 13, 40);
    MorphOpenClose_cls m;
    for (int type = 0; type < 6; ++type) {
        SetSphere(m, type, 0);
        EXPECT_EQ(RunMorph(m, vol), vol.v) << type;
    }
}

TEST(MorphProcess, OpeningRemovesSpeckClosingFillsHole)
{
    TestVolume dark{{11, 11, 11}, std::vector<unsigned char>(1331, 10)};
    dark.v[(5 * 11 + 5) * 11 + 5] = 250;
    TestVolume bright{{11, 11, 11}, std::vector<unsigned char>(1331, 240)};
    bright.v[(5 * 11 + 5) * 11 + 5] = 3;
    MorphOpenClose_cls m;
    for (int opening : {2, 4}) {
        SetSphere(m, opening, 1);
        EXPECT_EQ(RunMorph(m, dark), std::vector<unsigned char>(1331, 10)) << opening;
    }
    for (int closing : {3, 5}) {
        SetSphere(m, closing, 1);
        EXPECT_EQ(RunMorph(m, bright), std::vector<unsigned char>(1331, 240)) << closing;
    }
    // A single dilation grows the speck into the radius-1 element.
    SetSphere(m, 0, 1);
    std::vector<unsigned char> grown = RunMorph(m, dark);
    EXPECT_EQ(std::count(grown.begin(), grown.end(), 250), 19);
}

TEST(MorphProcess, EllipsoidWithEqualRadiiEqualsSphere)
{
    TestVolume vol = RandomVolume(23, 17, 15, 41);
    MorphOpenClose_cls sphere, ellipsoid;
    SetSphere(sphere, 2, 2);
    SetEllipsoid(ellipsoid, 2, 2, 2, 2);
    EXPECT_EQ(RunMorph(sphere, vol), RunMorph(ellipsoid, vol));
}

TEST(MorphProcess, NoOperationOrSwitchedOffCopies)
{
    TestVolume vol = RandomVolume(17, 9, 13, 42);
    MorphOpenClose_cls m;
    SetSphere(m, 6, 2);
    std::vector<unsigned char> out(vol.Count(), 0);
    EXPECT_TRUE(m.ProcessXYZData(out.data(), vol.v.data(), vol.size));
    EXPECT_EQ(out, vol.v);
    SetSphere(m, -1, 2);
    EXPECT_EQ(RunMorph(m, vol), vol.v);
    SetSphere(m, 0, 2);
    m.GetData().SetValid(false);
    std::fill(out.begin(), out.end(), 0);
    EXPECT_FALSE(m.ProcessXYZData(out.data(), vol.v.data(), vol.size));
    EXPECT_EQ(out, vol.v);
    EXPECT_FALSE(GbGLLockForMultithread.load());
}

// ---- Settings ----

TEST(MorphSettings, StatusChangesWithEverySetting)
{
    MorphOpenClose_cls m;
    std::vector<std::wstring> seen{m.GetFilterStatusStr()};
    EXPECT_EQ(seen[0].rfind(L"MorphOpenClose::", 0), 0u);
    auto expectNew = [&](const char* what) {
        std::wstring s = m.GetFilterStatusStr();
        for (const auto& old : seen)
            EXPECT_NE(s, old) << what;
        seen.push_back(s);
    };
    m.GetData().miType.Set(3);
    expectNew("operation");
    m.GetData().miKernelSize.Set(4);
    expectNew("sphere radius");
    m.GetData().miKernelType.Set(1);
    expectNew("kernel type");
    for (int a = 0; a < 3; ++a) {
        m.GetData().mviAsymSize.Set(a, 5 + a);
        expectNew("ellipsoid radius");
    }
}

TEST(MorphSettings, KeysInOrderAndOperationNames)
{
    MorphOpenClose_cls m;
    EXPECT_EQ(m.GetData().SerializeConf(), L"FilterValid=1\nFilterName=Morph Filter\nMorphOpenCloseType=0\n"
                                           L"MorphOpenCloseKernelType=0\nMorphOpenCloseKernelSize=1\n"
                                           L"MorphOpenCloseAsymSize=1 1 1\n");
    EXPECT_TRUE(m.GetData().ReadStrLine(L"MorphOpenCloseAsymSize=3 4 5"));
    EXPECT_EQ(m.GetData().mviAsymSize.Get(1), 4);
    EXPECT_TRUE(m.GetData().ReadStrLine(L"MorphOpenCloseKernelType=1"));
    EXPECT_EQ(m.GetData().miKernelType.Get(), 1);
    EXPECT_EQ(m.GetData().miType.Get(), 0) << "the kernel type line must not be taken for the operation";
    EXPECT_STREQ(MorphOpenClose_cls::msOperationName[1], L"Erosion(Shirink)");
    EXPECT_STREQ(MorphOpenClose_cls::msOperationSteps[4], "EEDD");
}

} // namespace
