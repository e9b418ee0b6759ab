// Stereo pair settings: eye geometry, presentation, and the block in project text.
#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "config/TextFormat.h"
#include "pov/StereoGram_cls.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

bool ReadBlock(StereoGram_cls& stereo, const std::wstring& text)
{
    LineStream_cls stream(text);
    std::wstring line;
    return stream.GetLine(line) && stereo.ReadStrLine(stream, line);
}

TEST(StereoGramTest, EyesSitHalfTheSeparationApartAndTurnInward)
{
    StereoGram_cls stereo;
    EXPECT_FALSE(stereo.IsActive());
    stereo.SetEyeSeparation(0.1);
    stereo.SetConvergence(2.0);
    EXPECT_DOUBLE_EQ(stereo.GetEyeOffset(0), 0.0);
    EXPECT_DOUBLE_EQ(stereo.GetEyeOffset(1), -0.05);
    EXPECT_DOUBLE_EQ(stereo.GetEyeOffset(2), 0.05);
    EXPECT_DOUBLE_EQ(stereo.GetToeInAngle(1), std::atan(0.025));
    EXPECT_DOUBLE_EQ(stereo.GetToeInAngle(2), -std::atan(0.025));
    EXPECT_DOUBLE_EQ(stereo.GetToeInAngle(0), 0.0);
    // Where each eye's picture goes: crossed viewing swaps the halves.
    stereo.SetMode(StereoGram_cls::kModeParallel);
    EXPECT_TRUE(stereo.IsActive());
    EXPECT_EQ(stereo.GetHalfForEye(1), 0);
    EXPECT_EQ(stereo.GetHalfForEye(2), 1);
    stereo.SetMode(StereoGram_cls::kModeCrossed);
    EXPECT_EQ(stereo.GetHalfForEye(1), 1);
    EXPECT_EQ(stereo.GetHalfForEye(2), 0);
    // Nonsense is made valid rather than kept.
    stereo.SetMode(9);
    EXPECT_EQ(stereo.GetMode(), StereoGram_cls::kModeOff);
    stereo.SetEyeSeparation(-0.2);
    EXPECT_DOUBLE_EQ(stereo.GetEyeSeparation(), 0.2);
    stereo.SetConvergence(0.0);
    EXPECT_DOUBLE_EQ(stereo.GetConvergence(), 3.0);
}

TEST(StereoGramTest, BlockRoundTripsAndBadValuesFromFilesAreRepaired)
{
    StereoGram_cls stereo;
    stereo.SetEyeSeparation(0.07);
    stereo.SetConvergence(4.5);
    stereo.SetMode(StereoGram_cls::kModeAnaglyph);
    const std::wstring text = stereo.Serialize();
    EXPECT_EQ(text, L"--StereoGram\nStereoGramEyeSeparation=0.07\nStereoGramConvergence=4.5\nStereoGramMode=3\n"
                    L"--StereoGramEnd\n");
    StereoGram_cls copy;
    ASSERT_TRUE(ReadBlock(copy, text));
    EXPECT_EQ(copy.Serialize(), text);

    StereoGram_cls bad;
    ASSERT_TRUE(ReadBlock(bad, L"--StereoGram\nStereoGramConvergence=-1\nStereoGramMode=44\n--StereoGramEnd\n"));
    EXPECT_DOUBLE_EQ(bad.GetConvergence(), 3.0);
    EXPECT_EQ(bad.GetMode(), StereoGram_cls::kModeOff);
    EXPECT_FALSE(ReadBlock(bad, L"StereoGramMode=1\n"));
    bad.SetMode(2);
    bad.SetToDefault();
    EXPECT_EQ(bad.Serialize(), StereoGram_cls().Serialize());
}

double Dot(const Vec3d& a, const Vec3d& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vec3d Minus(const Vec3d& a, const Vec3d& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

TEST(StereoGramTest, EyeCamerasStandApartOnTheRightAxisAndMeetAtTheConvergencePoint)
{
    StereoGram_cls stereo;
    stereo.SetEyeSeparation(0.2);
    stereo.SetConvergence(2.5);
    Camera_cls mono;
    ASSERT_TRUE(mono.Set({1.0, 2.0, 3.0}, {0.0, 0.5, 0.0}, {0, 1, 0}));
    mono.SetViewAngle(40);
    const Camera_cls left = stereo.MakeEyeCamera(mono, 1);
    const Camera_cls right = stereo.MakeEyeCamera(mono, 2);
    const Vec3d apart = Minus(right.GetPosition(), left.GetPosition());
    EXPECT_NEAR(std::sqrt(Dot(apart, apart)), 0.2, 1e-12);
    EXPECT_NEAR(Dot(apart, mono.Right()), 0.2, 1e-12); // left eye on the left
    // Midway between the eyes is the mono eye.
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(0.5 * (left.GetPosition()[k] + right.GetPosition()[k]), mono.GetPosition()[k], 1e-12);
    // Both look at the point the convergence distance ahead.
    const Vec3d d = mono.Direction();
    for (int k = 0; k < 3; ++k) {
        const double target = mono.GetPosition()[k] + 2.5 * d[k];
        EXPECT_NEAR(left.GetLookAt()[k], target, 1e-12);
        EXPECT_NEAR(right.GetLookAt()[k], target, 1e-12);
    }
    // Each turns inward by the toe-in angle; everything else is the mono camera's.
    EXPECT_NEAR(std::acos(Dot(left.Direction(), d)), std::abs(stereo.GetToeInAngle(1)), 1e-9);
    EXPECT_GT(Dot(left.Direction(), mono.Right()), 0.0);
    EXPECT_LT(Dot(right.Direction(), mono.Right()), 0.0);
    EXPECT_EQ(left.GetSky(), mono.GetSky());
    EXPECT_DOUBLE_EQ(left.GetViewAngle(), 40.0);
    EXPECT_EQ(left.GetProjection(), mono.GetProjection());
    // Eye 0 is the mono camera.
    EXPECT_EQ(stereo.MakeEyeCamera(mono, 0).GetPosition(), mono.GetPosition());
    EXPECT_EQ(stereo.MakeEyeCamera(mono, 0).GetLookAt(), mono.GetLookAt());
    // Without separation both eyes are the mono eye looking at the convergence point.
    stereo.SetEyeSeparation(0.0);
    EXPECT_EQ(stereo.MakeEyeCamera(mono, 1).GetPosition(), mono.GetPosition());
}

TEST(StereoGramTest, OrthographicEyesKeepTheViewScale)
{
    StereoGram_cls stereo;
    stereo.SetEyeSeparation(0.3);
    stereo.SetConvergence(1.0);
    Camera_cls mono;
    ASSERT_TRUE(mono.Set({0, 0, 5}, {0, 0, 0}, {0, 1, 0}));
    mono.SetProjection(Camera_cls::kOrthographic);
    const Camera_cls left = stereo.MakeEyeCamera(mono, 1);
    EXPECT_NEAR(left.Distance(), mono.Distance(), 1e-12);
    EXPECT_NEAR(left.ViewHeightAtLookAt(), mono.ViewHeightAtLookAt(), 1e-12);
    EXPECT_NEAR(std::acos(Dot(left.Direction(), mono.Direction())), std::atan(0.15), 1e-9);
}

TEST(StereoGramTest, OverUnderModeAndOlderModeCodes)
{
    StereoGram_cls stereo;
    stereo.SetMode(StereoGram_cls::kModeOverUnder);
    EXPECT_EQ(stereo.GetMode(), StereoGram_cls::kModeOverUnder);
    EXPECT_TRUE(stereo.IsSplit());
    EXPECT_EQ(stereo.GetHalfForEye(1), 0); // left eye on top
    EXPECT_EQ(stereo.GetHalfForEye(2), 1);
    StereoGram_cls copy;
    ASSERT_TRUE(ReadBlock(copy, stereo.Serialize()));
    EXPECT_EQ(copy.GetMode(), StereoGram_cls::kModeOverUnder);
    // Codes written before over-under existed keep their meaning.
    const unsigned old[] = {0, 1, 2, 3};
    const StereoGram_cls::Mode meant[] = {StereoGram_cls::kModeOff, StereoGram_cls::kModeParallel,
                                          StereoGram_cls::kModeCrossed, StereoGram_cls::kModeAnaglyph};
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(ReadBlock(copy, WStrPrintf("--StereoGram\nStereoGramMode=%u\n--StereoGramEnd\n", old[i])));
        EXPECT_EQ(copy.GetMode(), meant[i]);
    }
    EXPECT_FALSE(copy.IsSplit()); // anaglyph draws both eyes over the whole view
    ASSERT_TRUE(ReadBlock(copy, L"--StereoGram\nStereoGramMode=5\n--StereoGramEnd\n"));
    EXPECT_EQ(copy.GetMode(), StereoGram_cls::kModeOff);
}

TEST(StereoGramTest, AnimatedEyeGeometryFollowsItsKeysAndTravelsInTheBlock)
{
    UndoManager_cls undo;
    StereoGram_cls stereo;
    stereo.GetParam().SetUndoManager(&undo);
    stereo.SetEyeSeparation(0.05);
    stereo.SetConvergence(2.0);
    // Not animated: the set carries the fixed values, the block stays the short one.
    EXPECT_DOUBLE_EQ(stereo.GetParam().GetPCurrentValue()[0], 0.05);
    EXPECT_DOUBLE_EQ(stereo.GetParam().GetPCurrentValue()[1], 2.0);
    const std::wstring still = stereo.Serialize();
    EXPECT_EQ(still.find(L"Parameter_"), std::wstring::npos);

    ASSERT_TRUE(stereo.GetParam().SetTimeDependent(true, false));
    const double k0[2] = {0.1, 2.0}, k1[2] = {0.3, 4.0};
    ASSERT_TRUE(stereo.GetParam().ExecCommandSetKey(0.0, k0, 0, nullptr, nullptr));
    ASSERT_TRUE(stereo.GetParam().ExecCommandSetKey(1.0, k1, 0, nullptr, nullptr));
    Camera_cls mono;
    ASSERT_TRUE(mono.Set({0, 0, 3}, {0, 0, 0}, {0, 1, 0}));
    for (double t : {0.0, 0.5, 1.0}) {
        double v[2] = {0, 0};
        stereo.GetParam().Evaluate(t, 0.0, v);
        double sep = 0, conv = 0;
        stereo.GetGeometryAt(t, sep, conv);
        EXPECT_DOUBLE_EQ(sep, v[0]);
        EXPECT_DOUBLE_EQ(conv, v[1]);
        const Vec3d apart =
            Minus(stereo.MakeEyeCamera(mono, 2, t).GetPosition(), stereo.MakeEyeCamera(mono, 1, t).GetPosition());
        EXPECT_NEAR(std::sqrt(Dot(apart, apart)), v[0], 1e-12) << t;
        EXPECT_NEAR(stereo.MakeEyeCamera(mono, 1, t).GetLookAt()[2], 3.0 - v[1], 1e-12) << t;
    }
    double sep0 = 0, sep1 = 0, conv = 0;
    stereo.GetGeometryAt(0.0, sep0, conv);
    stereo.GetGeometryAt(1.0, sep1, conv);
    EXPECT_NEAR(sep0, 0.1, 1e-12);
    EXPECT_NEAR(sep1, 0.3, 1e-12);

    // The keys travel inside the block and come back the same.
    const std::wstring text = stereo.Serialize();
    EXPECT_NE(text.find(L"Parameter_StereoGram"), std::wstring::npos);
    EXPECT_EQ(text.rfind(L"--StereoGramEnd\n"), text.size() - 16);
    StereoGram_cls copy;
    ASSERT_TRUE(ReadBlock(copy, text + L"--NextBlock\n"));
    EXPECT_EQ(copy.Serialize(), text);
    double csep = 0, cconv = 0;
    copy.GetGeometryAt(1.0, csep, cconv);
    EXPECT_NEAR(csep, 0.3, 1e-12);
    EXPECT_NEAR(cconv, 4.0, 1e-12);

    // Back to defaults: not animated, the short block again.
    copy.SetToDefault();
    EXPECT_EQ(copy.Serialize(), StereoGram_cls().Serialize());
}

} // namespace
