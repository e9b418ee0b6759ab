// Stereo pair settings: eye geometry, presentation, and the block in project text.
#include "config/LineStream_cls.h"
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

} // namespace
