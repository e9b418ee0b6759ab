// The main controller opening, appending and closing data: the snapshot question, ".vsp" names,
// titles and the objects it owns.
#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/Main_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3_cls.h"
#include "volume/SeqTestUtil.h"

#include <gtest/gtest.h>

namespace
{

const std::wstring kSnapQuestion = L"Snap Shot is loaded. Set Scene Length to 0?";

struct MainFixture {
    TempDir dir;
    RecordingPrompt_cls prompt;
    ScopedUserPrompt_cls scoped{&prompt};
    Main_cls main{Widen(dir.Path().string())};
    std::wstring single = Widen(dir.File("snap.df3"));
    std::wstring other = Widen(dir.File("other.df3"));
    std::vector<std::wstring> series = WriteSeries(dir, "run_", 5, 4, 4, 4);

    MainFixture()
    {
        WriteFileBytes(Narrow(single), Df3File(4, 4, 4, std::vector<uint8_t>(64, 3)));
        WriteFileBytes(Narrow(other), Df3File(4, 4, 4, std::vector<uint8_t>(64, 4)));
    }
    size_t Questions(const std::wstring& text) const
    {
        size_t n = 0;
        for (const auto& e : prompt.Entries())
            n += e.kind == RecordingPrompt_cls::Kind::YesNo && e.text == text;
        return n;
    }
};

TEST(Main, OwnsClockBoxParametersAndSlots)
{
    MainFixture fx;
    EXPECT_EQ(fx.main.GetBoxSize().GetName(), L"BoxSize");
    EXPECT_EQ(fx.main.GetBoxSize().GetDimension(), 6u);
    EXPECT_EQ(fx.main.GetBoxRotate().GetName(), L"BoxRotate");
    EXPECT_EQ(fx.main.GetBoxRotate().GetDimension(), 4u);
    EXPECT_EQ(fx.main.GetSeqCtrl().GetTimeCtrl(), &fx.main.GetTimeCtrl());
    EXPECT_EQ(fx.main.GetPDF3SeqActive(), &fx.main.GetSeqCtrl().GetSequence(0));
    EXPECT_EQ(fx.main.GetPDF3Active(), nullptr);
    EXPECT_EQ(fx.main.Serialize(), L"ToolTip=1\n");
    EXPECT_EQ(fx.main.GetTitle(), L"Kivrel Tessan v 0.778");
}

TEST(Main, OpeningASeriesSetsLengthTitleAndClearsHistory)
{
    MainFixture fx;
    Parameters_cls color(3, L"Color");
    const double v[3] = {1, 1, 1};
    ASSERT_TRUE(color.ExecCommandSetKey(0.5, v, kInterpLinear, nullptr, nullptr));
    ASSERT_TRUE(GetUndoManager().CanUndo());
    int changes = 0;
    fx.main.SetDataChangedHook([&] { ++changes; });
    fx.main.GetSeqCtrl().SetActiveSlot(1);

    EXPECT_EQ(fx.main.OpenData(fx.series[3]), Main_cls::kOpenedData);
    DF3Sequence_cls& seq = fx.main.GetSeqCtrl().GetSequence(1);
    EXPECT_EQ(seq.GetFrameCount(), 5);
    EXPECT_EQ(fx.main.GetTimeCtrl().GetMaxFrame(), 4);
    EXPECT_EQ(fx.main.GetDataTitle(), L"run_0000.df3 ... run_0004.df3 [5] - Tessan");
    EXPECT_EQ(fx.main.GetLastDataPath(), fx.series[3]);
    EXPECT_FALSE(GetUndoManager().CanUndo()) << "opening data clears the history";
    EXPECT_FALSE(fx.main.IsProjectLoaded());
    EXPECT_GE(changes, 1);
    bool status = false;
    for (const auto& e : fx.prompt.Entries())
        status |= e.kind == RecordingPrompt_cls::Kind::Status && e.text == L"Open file " + fx.series[3];
    EXPECT_TRUE(status);
    EXPECT_EQ(fx.main.GetPDF3Active(), seq.GetDF3(0));
    EXPECT_EQ(fx.Questions(kSnapQuestion), 0u) << "a series is no snapshot";

    // Opening again replaces the files.
    fx.main.OpenFileSequence(fx.series[0]);
    EXPECT_EQ(seq.GetFrameCount(), 5);
}

TEST(Main, SnapshotQuestionIsAskedOnceAfterNo)
{
    MainFixture fx;
    TimeCtrl_cls& clock = fx.main.GetTimeCtrl();
    fx.main.OpenFileSequence(fx.series[0]);
    clock.SetAA(1, 3);
    clock.SetWA(1, 3);
    clock.CheckWorkingArea();

    fx.prompt.QueueAnswer(0); // No: keep the scene as it was
    fx.main.OpenFileSequence(fx.single);
    EXPECT_EQ(fx.Questions(kSnapQuestion), 1u);
    EXPECT_TRUE(fx.main.IsSnapShotAnswered());
    EXPECT_EQ(fx.main.GetPDF3SeqActive()->GetFrameCount(), 1);
    EXPECT_EQ(clock.GetMaxFrame(), 4);
    EXPECT_EQ(clock.GetAAMin(), 1);
    EXPECT_EQ(clock.GetAAMax(), 3);
    EXPECT_EQ(clock.GetWAMin(), 1);
    EXPECT_EQ(clock.GetWAMax(), 3);
    for (const auto& e : fx.prompt.Entries())
        if (e.text == kSnapQuestion) {
            EXPECT_EQ(e.title, L"Query");
        }

    // Later snapshots restore the length without asking.
    fx.main.OpenFileSequence(fx.other);
    EXPECT_EQ(fx.Questions(kSnapQuestion), 1u);
    EXPECT_EQ(clock.GetMaxFrame(), 4);
    EXPECT_EQ(fx.main.GetPDF3SeqActive()->GetDF3(0)->GetFilePath(), fx.other);
}

TEST(Main, SnapshotQuestionAnsweredYesIsAskedAgain)
{
    MainFixture fx;
    TimeCtrl_cls& clock = fx.main.GetTimeCtrl();
    fx.main.OpenFileSequence(fx.series[0]);
    fx.prompt.QueueAnswer(1);
    fx.main.OpenFileSequence(fx.single);
    EXPECT_EQ(clock.GetMaxFrame(), 0);
    EXPECT_FALSE(fx.main.IsSnapShotAnswered());
    // Length 0 before: a further snapshot is no change, no question.
    fx.main.OpenFileSequence(fx.other);
    EXPECT_EQ(fx.Questions(kSnapQuestion), 1u);
    fx.main.OpenFileSequence(fx.series[2]);
    EXPECT_EQ(clock.GetMaxFrame(), 4);
    fx.prompt.QueueAnswer(1);
    fx.main.OpenFileSequence(fx.single);
    EXPECT_EQ(fx.Questions(kSnapQuestion), 2u);
    EXPECT_EQ(clock.GetMaxFrame(), 0);
}

TEST(Main, VspNamesAskWhetherToReadAProject)
{
    MainFixture fx;
    const std::wstring vsp = Widen(fx.dir.File("scene.VSP"));
    WriteFileBytes(Narrow(vsp), Df3File(2, 2, 2, std::vector<uint8_t>(8, 5)));
    std::vector<std::wstring> projects;

    // No: the file is opened as data.
    fx.prompt.QueueAnswer(0);
    EXPECT_EQ(fx.main.OpenData(vsp), Main_cls::kOpenedData);
    EXPECT_EQ(fx.Questions(L"Read as a Project file?"), 1u);
    EXPECT_EQ(fx.main.GetPDF3SeqActive()->GetDF3(0)->GetFilePath(), vsp);
    for (const auto& e : fx.prompt.Entries())
        if (e.text == L"Read as a Project file?") {
            EXPECT_EQ(e.title, L"Opening .vsp File");
        }

    // Yes without a project reader installed: nothing happens to the data.
    fx.prompt.QueueAnswer(1);
    EXPECT_EQ(fx.main.OpenData(vsp), Main_cls::kOpenFailed);
    EXPECT_EQ(fx.main.GetPDF3SeqActive()->GetFrameCount(), 1);

    fx.main.SetProjectOpener([&](const std::wstring& path) {
        projects.push_back(path);
        return true;
    });
    fx.prompt.QueueAnswer(1);
    EXPECT_EQ(fx.main.OpenData(vsp), Main_cls::kOpenedProject);
    EXPECT_EQ(projects, std::vector<std::wstring>{vsp});
    EXPECT_TRUE(fx.main.IsProjectLoaded());
    // Data files never ask.
    fx.main.OpenData(fx.single);
    EXPECT_EQ(fx.Questions(L"Read as a Project file?"), 3u);
    EXPECT_FALSE(fx.main.IsProjectLoaded());
}

TEST(Main, AppendUsesTheSlotsAppendTypeAndCloseEmptiesTheActiveSlot)
{
    MainFixture fx;
    auto extra = WriteSeries(fx.dir, "extra_", 2, 4, 4, 4);
    fx.main.OpenFileSequence(fx.series[0]);
    fx.main.GetTimeCtrl().SetIndex(0);
    fx.main.GetSeqCtrl().SetAppendType(1);
    EXPECT_EQ(fx.main.AppendData(extra[0]), 2);
    DF3Sequence_cls& seq = *fx.main.GetPDF3SeqActive();
    ASSERT_EQ(seq.GetFrameCount(), 7);
    EXPECT_EQ(seq.GetDF3(1)->GetFilePath(), extra[0]) << "inserted after the current frame";
    EXPECT_EQ(seq.GetDF3(6)->GetFilePath(), fx.series[4]);
    EXPECT_EQ(fx.main.GetTimeCtrl().GetMaxFrame(), 6);

    ASSERT_EQ(seq.IdleProcessesMain(0, true, false), DF3Sequence_cls::kIdleNothing);
    fx.main.CloseData();
    EXPECT_EQ(seq.GetFrameCount(), 0);
    EXPECT_TRUE(seq.GetFileList().empty());
    fx.main.GetSeqCtrl().CalcCurrentUsedMemory();
    EXPECT_EQ(fx.main.GetSeqCtrl().GetUsedXYZMB(), 0u);
}

} // namespace
