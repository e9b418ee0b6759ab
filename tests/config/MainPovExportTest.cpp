// The main controller's export entry points: the check that every slot holds density files,
// and a snapshot written through the controller into a working directory.
#include "anim/TimeCtrl_cls.h"
#include "config/Main_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "config/TextFormat.h"
#include "pov/PovExport_cls.h"
#include "support/TestUtil.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

TEST(MainPovExport, ImageStacksCannotBeRendered)
{
    TempDir dir;
    RecordingPrompt_cls prompt;
    Main_cls main{Widen(dir.Path().string())};
    main.SetPrompt(&prompt);
    main.GetPovExport().mDoesFilterExist = [](int kind) { return kind == PovExport_cls::kVolume; };
    main.GetSeqCtrl().GetSequence(2).AppendFiles({{L"/data/a.df3", L"", 0}});
    EXPECT_TRUE(main.IsPovrayCondistionSatisfiled());
    EXPECT_EQ(prompt.MessageCount(), 0u);

    main.GetSeqCtrl().GetSequence(3).AppendFiles({{L"/data/img000.png", L"/data/img099.png", 1}});
    EXPECT_FALSE(main.IsPovrayCondistionSatisfiled());
    ASSERT_EQ(prompt.MessageCount(), 1u);
    EXPECT_EQ(prompt.Messages()[0].text, L"Please Use DF3 File");
}

TEST(MainPovExport, SnapshotThroughTheController)
{
    TempDir dir;
    RecordingPrompt_cls prompt;
    Main_cls main{Widen(dir.Path().string())};
    main.SetPrompt(&prompt);
    main.GetPovExport().GetPovRay().SetWorkingDir(Widen(dir.Path().string()));
    prompt.QueueAnswer(1); // "No Object": write anyway
    ASSERT_TRUE(main.IsPovrayCondistionSatisfiled());
    ASSERT_TRUE(main.ProcOutputPovRay(0));
    EXPECT_TRUE(std::filesystem::exists(dir.Path() / "povsnap0000.pov"));
    EXPECT_TRUE(std::filesystem::exists(dir.Path() / "povsnap0000.ini"));
    EXPECT_TRUE(main.OutputPovRayIO(L"named", 0));
    EXPECT_NE(ReadFileText(dir.File("named.ini")).find("Input_File_Name=\"" + dir.Path().string() + "/named.pov\""),
              std::string::npos);
}

} // namespace
