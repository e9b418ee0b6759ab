// The window program's options for single-view pictures and the stereogram view.
#include "gui/CommandLine_cls.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

CommandLine_cls::Action Parse(CommandLine_cls& cl, std::vector<const char*> args)
{
    args.insert(args.begin(), "tessan");
    return cl.Parse(static_cast<int>(args.size()), args.data());
}

TEST(StereoCommandLine, ViewShotScaleOffscreenAndStereoMode)
{
    CommandLine_cls cl;
    ASSERT_EQ(Parse(cl, {"--view-shot", "v.png", "--view-scale=3", "--offscreen", "--stereo", "overunder", "a.df3"}),
              CommandLine_cls::kRun);
    EXPECT_EQ(cl.GetViewShotPath(), "v.png");
    EXPECT_EQ(cl.GetViewScale(), 3);
    EXPECT_TRUE(cl.IsOffscreen());
    EXPECT_EQ(cl.GetStereoMode(), 4);
    EXPECT_EQ(cl.GetFile(), "a.df3");

    CommandLine_cls plain;
    ASSERT_EQ(Parse(plain, {}), CommandLine_cls::kRun);
    EXPECT_EQ(plain.GetViewScale(), 1);
    EXPECT_FALSE(plain.IsOffscreen());
    EXPECT_EQ(plain.GetStereoMode(), -1);
    EXPECT_TRUE(plain.GetViewShotPath().empty());

    // Each mode name maps to its code, in the stereogram's order.
    const char* names[] = {"off", "parallel", "crossed", "anaglyph", "overunder"};
    for (int m = 0; m < 5; ++m) {
        CommandLine_cls one;
        ASSERT_EQ(Parse(one, {"--stereo", names[m]}), CommandLine_cls::kRun);
        EXPECT_EQ(one.GetStereoMode(), m);
    }
}

TEST(StereoCommandLine, BadValuesAreUsageErrors)
{
    for (std::vector<const char*> bad : {std::vector<const char*>{"--view-scale", "0"},
                                         {"--view-scale", "17"},
                                         {"--view-scale", "2x"},
                                         {"--view-scale"},
                                         {"--view-shot"},
                                         {"--stereo", "sideways"},
                                         {"--stereo"}}) {
        CommandLine_cls cl;
        EXPECT_EQ(Parse(cl, bad), CommandLine_cls::kUsageError) << bad[0];
        EXPECT_FALSE(cl.GetError().empty());
    }
    EXPECT_NE(CommandLine_cls::HelpText().find("--view-scale N"), std::string::npos);
}

} // namespace
