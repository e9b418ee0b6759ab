// Analysis and box items: centre of mass, fix position, clipping and box copy.
#include "FilterTestUtil.h"

#include "filter/BoxCopy_cls.h"
#include "filter/FilterCenterOfMass_cls.h"
#include "filter/FilterClipping_cls.h"
#include "filter/FilterFixPosition_cls.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

namespace
{

/// Plain double-precision centroid of the voxels above `threshold`.
void ReferenceCentroid(const TestVolume& t, int threshold, double* c, double& mass)
{
    double sx = 0, sy = 0, sz = 0;
    mass = 0;
    for (unsigned z = 0; z < t.size[2]; ++z)
        for (unsigned y = 0; y < t.size[1]; ++y)
            for (unsigned x = 0; x < t.size[0]; ++x) {
                const int v = t.At(x, y, z);
                if (v > threshold) {
                    mass += v;
                    sx += double(v) * x;
                    sy += double(v) * y;
                    sz += double(v) * z;
                }
            }
    c[0] = mass > 0 ? sx / mass : 0;
    c[1] = mass > 0 ? sy / mass : 0;
    c[2] = mass > 0 ? sz / mass : 0;
}

TEST(FilterCenterOfMass, MatchesReferenceAndDoesNotDependOnThreads)
{
    for (float threshold : {0.0f, 0.5f})
        for (const TestVolume& t : TestVolumes()) {
            double ref[3], mass;
            ReferenceCentroid(t, static_cast<int>(std::floor(threshold * 255.0f)), ref, mass);
            FilterCenterOfMass_cls::Centroid first;
            for (int threads : {1, 2, 7}) {
                ScopedThreadNum scope(threads);
                FilterCenterOfMass_cls f;
                f.GetData().mfThreshold.Set(threshold);
                f.DoCalc(t.v.data(), t.size, 4);
                FilterCenterOfMass_cls::Centroid c;
                ASSERT_TRUE(f.GetCentroid(4, c));
                EXPECT_FALSE(f.GetCentroid(3, c)) << "only the computed frame";
                ASSERT_TRUE(f.GetCentroid(4, c));
                EXPECT_EQ(static_cast<double>(c.uMass), mass) << t.Name();
                for (int a = 0; a < 3; ++a)
                    EXPECT_NEAR(c.dCentre[a], ref[a], 1e-9) << t.Name() << " axis " << a;
                if (threads == 1)
                    first = c;
                for (int a = 0; a < 3; ++a)
                    EXPECT_EQ(c.dCentre[a], first.dCentre[a]) << "exact integer sums: same bits for any split";
            }
        }
}

TEST(FilterCenterOfMass, WritesTheSeriesOnceAndNeverOverwrites)
{
    TempDir dir;
    FilterCenterOfMass_cls f;
    TestVolume a{{4, 2, 2}, std::vector<unsigned char>(16, 0)};
    a.v[1] = 200; // (1, 0, 0)
    TestVolume b = a;
    b.v[1] = 0;
    b.v[15] = 10; // (3, 1, 1)
    f.DoCalc(b.v.data(), b.size, 7);
    f.DoCalc(a.v.data(), a.size, 2);
    double pos[3], radius = 0;
    ASSERT_TRUE(f.GetMarker(2, pos, radius));
    EXPECT_DOUBLE_EQ(pos[0], 1.5 / 4);
    EXPECT_FLOAT_EQ(static_cast<float>(radius), 0.02f);
    const std::string path = dir.File("com.csv");
    ASSERT_EQ(f.WriteCSV(path), 0);
    EXPECT_EQ(ReadFileText(path), "frame,x,y,z,mass,count\n2,1.000000,0.000000,0.000000,200,1\n"
                                  "7,3.000000,1.000000,1.000000,10,1\n");
    WriteFileText(path, "keep");
    EXPECT_EQ(f.WriteCSV(path), 1);
    EXPECT_EQ(ReadFileText(path), "keep");
    EXPECT_EQ(f.WriteCSV(dir.File("missing/dir.csv")), 2);
}

TEST(FilterFixPosition, OffsetMovesTheFeatureBackToTheReferenceFrame)
{
    // A bright 2x2x2 cube moving by +3 voxels along x and +1 along z; a dim background below
    // the threshold must not pull the centroid.
    auto frameWith = [](int ox, int oz) {
        TestVolume t{{16, 8, 8}, std::vector<unsigned char>(16 * 8 * 8, 60)};
        for (int z = 2; z < 4; ++z)
            for (int y = 3; y < 5; ++y)
                for (int x = 4; x < 6; ++x)
                    t.v[static_cast<size_t>(((z + oz) * 8 + y) * 16 + x + ox)] = 250;
        return t;
    };
    FilterFixPosition_cls f;
    const TestVolume f0 = frameWith(0, 0), f1 = frameWith(3, 1);
    f.DoCalc(f0.v.data(), f0.size, 0);
    double off[3];
    EXPECT_FALSE(f.GetOffset(1, off)) << "frame 1 not computed yet";
    f.DoCalc(f1.v.data(), f1.size, 1);
    ASSERT_TRUE(f.GetOffset(1, off));
    EXPECT_DOUBLE_EQ(off[0], -3.0 / 16);
    EXPECT_DOUBLE_EQ(off[1], 0.0);
    EXPECT_DOUBLE_EQ(off[2], -1.0 / 8);
    f.GetData().mvbAxis.Set(0, false);
    ASSERT_TRUE(f.GetOffset(1, off));
    EXPECT_EQ(off[0], 0.0) << "x is not held";
    f.GetData().miReferenceFrame.Set(1);
    ASSERT_TRUE(f.GetOffset(0, off));
    EXPECT_DOUBLE_EQ(off[2], 1.0 / 8);
    const std::wstring status = f.GetFilterStatusStr();
    f.GetData().mfThreshold.Set(0.1f);
    EXPECT_NE(f.GetFilterStatusStr(), status);
}

TEST(FilterClipping, BoxFromKeysSortedCornersAndEmptiness)
{
    FilterClipping_cls c;
    EXPECT_EQ(c.GetType(), 3);
    EXPECT_EQ(c.GetParameters().GetName(), L"Clipping");
    EXPECT_EQ(c.GetParameters().GetLabel(5), L"maxZ");
    double lo[3], hi[3];
    ASSERT_TRUE(c.GetClippingInformation(lo, hi));
    EXPECT_EQ(lo[0], 0.0);
    EXPECT_EQ(hi[2], 1.0);
    c.GetParameters().ProcClearKey({0.8, 0.1, 0.2, 0.3, 0.9, 0.2});
    c.UpdateParameters(0.0);
    ASSERT_TRUE(c.GetClippingInformation(lo, hi));
    EXPECT_EQ(lo[0], 0.3);
    EXPECT_EQ(hi[0], 0.8);
    EXPECT_TRUE(c.IsClippingEmpty()) << "z is flat";
    c.GetData().SetValid(false);
    EXPECT_FALSE(c.GetClippingInformation(lo, hi));
}

TEST(BoxCopy, OffsetsOfEveryCopyWithGaps)
{
    BoxCopy_cls b;
    b.GetData().mviNumber.Set(0, 2);
    b.GetData().mviNumber.Set(1, 1);
    b.GetData().mviNumber.Set(2, 3);
    b.GetData().mvfGap.Set(2, 0.5f);
    const auto offsets = b.GetCopyOffsets();
    ASSERT_EQ(offsets.size(), 6u);
    EXPECT_EQ(offsets[0], (std::array<double, 3>{0, 0, 0}));
    EXPECT_EQ(offsets[1], (std::array<double, 3>{1, 0, 0}));
    EXPECT_EQ(offsets[5], (std::array<double, 3>{1, 0, 3}));
    b.GetData().mviNumber.Set(0, 99);
    EXPECT_EQ(b.GetNumber(0), BoxCopy_cls::kMaxNumber);
    b.GetData().SetValid(false);
    EXPECT_EQ(b.GetCopyOffsets().size(), 1u);
}

} // namespace
