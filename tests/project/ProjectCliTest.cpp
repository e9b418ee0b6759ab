// tessan-cli project new / show: a made project opens in the program's reader with the chain
// asked for, show reports it, and nothing existing is overwritten.
#include "project/ProjectTestUtil.h"

#include "anim/UndoManager_cls.h"
#include "filter/BlurGauss_cls.h"
#include "filter/MorphOpenClose_cls.h"
#include "filter/PovIsosurface_cls.h"

#include <gtest/gtest.h>

namespace
{

class ProjectCliTest : public ::testing::Test
{
  protected:
    void SetUp() override { mStrFirst = Narrow(WriteTinySeries(mCDir, "vol_", 3)); }
    void TearDown() override { GetUndoManager().Clear(); }
    std::string Q(const std::string& name) const { return "'" + mCDir.File(name) + "'"; }
    TempDir mCDir;
    std::string mStrFirst;
};

TEST_F(ProjectCliTest, NewMakesTheChainInOrderAndShowReportsIt)
{
    const RunResult made =
        RunCli("project new " + Q("p.vsp") + " --data '" + mStrFirst +
               "' --slot 2 --length 24 --filter blur:1.5 --filter morph:closing:2 --filter level:0.1,0.9,0,1,1.5,0"
               " --filter iso:100 --filter clip:0,0.25,0,1,1,0.5 --filter volume --filter streamline");
    ASSERT_EQ(made.exitCode, 0) << made.err;

    // The program's own reader sees what was asked for.
    TempDir app;
    Main_cls main(Widen(app.Path().string()));
    ASSERT_TRUE(main.GetProjectFile().OpenProject(Widen(mCDir.File("p.vsp"))));
    DF3SeqCtrl_cls& seqCtrl = main.GetSeqCtrl();
    EXPECT_EQ(seqCtrl.GetActiveSlot(), 2);
    ASSERT_EQ(seqCtrl.GetSequence(2).GetFileList().size(), 3u);
    EXPECT_EQ(Narrow(seqCtrl.GetSequence(2).GetFileList()[0].strPath), mStrFirst);
    EXPECT_EQ(main.GetTimeCtrl().GetMaxFrame(), 24);
    FilterCtrl_cls& chain = seqCtrl.GetSequence(2).GetFilterCtrl();
    const std::vector<int> types = {5, 15, 6, 0, 3, 4, 17};
    ASSERT_EQ(chain.GetItemNum(), static_cast<int>(types.size()));
    for (size_t i = 0; i < types.size(); ++i)
        EXPECT_EQ(chain.GetPFilterBase(static_cast<int>(i))->GetType(), types[i]) << i;
    auto* blur = dynamic_cast<BlurGauss_cls*>(chain.GetPFilterBase(0));
    ASSERT_NE(blur, nullptr);
    EXPECT_FLOAT_EQ(blur->GetData().mfKernelSize.Get(), 1.5f);
    auto* morph = dynamic_cast<MorphOpenClose_cls*>(chain.GetPFilterBase(1));
    ASSERT_NE(morph, nullptr);
    EXPECT_EQ(morph->GetData().miType.Get(), 3);
    EXPECT_EQ(morph->GetData().miKernelSize.Get(), 2);
    auto* iso = dynamic_cast<PovIsosurface_cls*>(chain.GetPFilterBase(3));
    ASSERT_NE(iso, nullptr);
    // The item holds its level as a fraction of the 8-bit range.
    EXPECT_NEAR(iso->GetParameters().GetPInterpolatedValue(0.0)[0], 100.0 / 255.0, 1e-9);
    auto* clip = dynamic_cast<FilterWithParameter_cls*>(chain.GetPFilterBase(4));
    EXPECT_DOUBLE_EQ(clip->GetParameters().GetPInterpolatedValue(0.0)[1], 0.25);
    EXPECT_DOUBLE_EQ(clip->GetParameters().GetPInterpolatedValue(0.0)[5], 0.5);
    EXPECT_EQ(seqCtrl.GetSequence(0).GetFilterCtrl().GetItemNum(), 0);

    const RunResult shown = RunCli("project show " + Q("p.vsp"));
    ASSERT_EQ(shown.exitCode, 0) << shown.err;
    EXPECT_NE(shown.out.find("Clock: length 24,"), std::string::npos) << shown.out;
    EXPECT_NE(shown.out.find("Slot 2 (active): 3 files, 7 chain items\n"), std::string::npos) << shown.out;
    EXPECT_NE(shown.out.find("  file " + mStrFirst + "\n"), std::string::npos) << shown.out;
    EXPECT_NE(shown.out.find("  4. --Isosurface \"Isosurface\", Isosurface 1 key\n"), std::string::npos);
    EXPECT_NE(shown.out.find("  7. --PovStreamLine"), std::string::npos);
    EXPECT_NE(shown.out.find("Lights: 0\n"), std::string::npos);
    EXPECT_NE(shown.out.find("Camera path: 0 cameras"), std::string::npos);
}

TEST_F(ProjectCliTest, ShowReportsAFullSceneWithItsKeys)
{
    TempDir app;
    Main_cls main(Widen(app.Path().string()));
    BuildRichScene(main, mCDir);
    ASSERT_TRUE(main.GetProjectFile().Save(Widen(mCDir.File("rich.vsp")), true, nullptr));
    const RunResult shown = RunCli("project show " + Q("rich.vsp"));
    ASSERT_EQ(shown.exitCode, 0) << shown.err;
    for (const char* expected :
         {"time remap on", "Slot 3: 5 files, 4 chain items\n", "  BoxSize                6 values, 5 keys, animated\n",
          "  HotSpot/HSpot          4 values, 5 keys, animated\n", "Custom colour maps: 2\n", "Lights: 3\n",
          "  3. parallel at ", "Camera path: 2 cameras, in use, active 0\n",
          "  2. eye 2 1 4, look-at 0.5 0 0, 2 keys\n", "Stereo pair: crossed, eye separation 0.08, convergence 2.5\n"})
        EXPECT_NE(shown.out.find(expected), std::string::npos) << expected << "\n" << shown.out;
}

TEST_F(ProjectCliTest, RefusesToOverwriteAndRejectsBadInput)
{
    WriteFileText(mCDir.File("old.vsp"), "keep me\n");
    const RunResult again = RunCli("project new " + Q("old.vsp") + " --data '" + mStrFirst + "'");
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_NE(again.err.find("exists"), std::string::npos);
    EXPECT_EQ(ReadFileText(mCDir.File("old.vsp")), "keep me\n");

    for (const std::string& bad : {std::string(" --filter iso:300"), std::string(" --filter morph:melt"),
                                   std::string(" --filter clip:0,0,0,1,1"), std::string(" --filter volume:3"),
                                   std::string(" --slot 4"), std::string(" --length -3"), std::string(" --filter x")}) {
        const RunResult r = RunCli("project new " + Q("bad.vsp") + " --data '" + mStrFirst + "'" + bad);
        EXPECT_EQ(r.exitCode, 2) << bad;
        EXPECT_FALSE(r.err.empty()) << bad;
        EXPECT_FALSE(std::filesystem::exists(mCDir.File("bad.vsp"))) << bad;
    }
    EXPECT_EQ(RunCli("project new " + Q("bad.vsp")).exitCode, 2);
    EXPECT_EQ(RunCli("project new " + Q("bad.vsp") + " --data " + Q("none.df3")).exitCode, 1);
    EXPECT_EQ(RunCli("project frobnicate").exitCode, 2);
    EXPECT_EQ(RunCli("project show " + Q("none.vsp")).exitCode, 1);
    WriteFileText(mCDir.File("junk.vsp"), "\x01\x02 nothing here\n");
    const RunResult junk = RunCli("project show " + Q("junk.vsp"));
    EXPECT_EQ(junk.exitCode, 1);
    EXPECT_NE(junk.err.find("holds no project lines"), std::string::npos);
}

} // namespace
