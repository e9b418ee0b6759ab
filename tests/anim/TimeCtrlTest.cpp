#include "anim/TimeCtrl_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

/// A clock of `length` frames with both areas spanning the scene.
std::unique_ptr<TimeCtrl_cls> MakeClock(int length, int step = 1, bool repeat = false)
{
    auto clock = std::make_unique<TimeCtrl_cls>();
    clock->SetStep(step);
    clock->SetRepeat(repeat);
    clock->SetMaxFrame(length);
    clock->SetWorkingArea(length);
    return clock;
}

void ReadAll(TimeCtrl_cls& clock, const std::wstring& text)
{
    LineStream_cls stream(text);
    std::wstring line;
    while (stream.GetLine(line))
        clock.ReadStrLine(stream, line);
}

TEST(TimeCtrl, DefaultsAndTheirTextForm)
{
    TimeCtrl_cls clock;
    EXPECT_EQ(clock.GetMaxFrame(), 99);
    EXPECT_EQ(clock.GetWAMax(), 99);
    EXPECT_EQ(clock.GetAAMax(), 99);
    EXPECT_EQ(clock.GetStep(), 1);
    EXPECT_FALSE(clock.IsRepeat());
    EXPECT_FALSE(clock.IsUseTimeRemap());
    const std::wstring text = clock.SerializeParam();
    EXPECT_EQ(text.rfind(L"DF3MaxFrame=99\nDF3WorkAreaMin=0\nDF3WorkAreaMax=99\nDF3ActiveAreaMin=0\n"
                         L"DF3ActiveAreaMax=99\nDF3SequenceUseTimeRemap=0\nDF3SequenceStep=1\n"
                         L"DF3SequenceRepeat=0\nDF3SequenceSceneLengthType=0\n",
                         0),
              0u);
    EXPECT_NE(text.find(L"--TimeRemap\nParameter_TimeRemap\n"), std::wstring::npos);
    EXPECT_NE(text.find(L"itemnum 2\n0 1 0 0 0 0\n1 1 0 1 0 0\n--END\n"), std::wstring::npos);
}

TEST(TimeCtrl, SettingsAndRemapCurveRoundTrip)
{
    auto clock = MakeClock(250, 5, true);
    clock->SetWA(20, 200);
    clock->SetBUseTimeRemap(true);
    clock->SetWaitMs(40);
    const double half = 0.25;
    clock->GetTimeRemap().SetUndoManager(nullptr);
    UndoManager_cls& undo = GetUndoManager();
    clock->GetTimeRemap().ExecCommandSetKey(0.5, &half, kInterpHermiteAuto, nullptr, nullptr);
    undo.Clear();
    const std::wstring text = clock->SerializeParam();

    TimeCtrl_cls copy;
    ReadAll(copy, L"Unrelated=1\n" + text + L"AfterBlock=2\n");
    EXPECT_EQ(copy.SerializeParam(), text);
    EXPECT_EQ(copy.GetStep(), 5);
    EXPECT_TRUE(copy.IsRepeat());
    EXPECT_EQ(copy.GetWaitMs(), 40u);
    EXPECT_EQ(copy.GetTimeRemap().GetKeyNumber(), 3);

    ScopedCommaLocale comma;
    if (comma.Active()) {
        TimeCtrl_cls german;
        ReadAll(german, text);
        EXPECT_EQ(german.SerializeParam(), text);
    }
}

TEST(TimeCtrl, LengthZeroGivesZeroTimesAndPercentage)
{
    auto clock = MakeClock(0);
    clock->SetIndex(5);
    EXPECT_EQ(clock->GetIndex(), 0);
    EXPECT_EQ(clock->GetDoubleIndex(), 0.0);
    EXPECT_EQ(clock->GetDoubleIndex(7), 0.0);
    EXPECT_EQ(clock->GetDoubleIndexWAMax(), 0.0);
    EXPECT_EQ(clock->GetPercentage(), 0.0);
    EXPECT_EQ(clock->GetIndexFromDouble(0.8), 0);
    clock->FrameStep(1, false);
    EXPECT_EQ(clock->GetIndex(), 0);
}

TEST(TimeCtrl, NormalisedTimesAndPercentages)
{
    auto clock = MakeClock(200);
    clock->SetIndex(50);
    EXPECT_DOUBLE_EQ(clock->GetDoubleIndex(), 0.25);
    EXPECT_EQ(clock->GetIndexFromDouble(0.3349), 67) << "integer part of 66.98 + 0.1";
    EXPECT_EQ(clock->GetIndexFromDouble(0.334), 66) << "66.8 + 0.1";
    clock->SetWA(40, 60);
    EXPECT_DOUBLE_EQ(clock->GetPercentage(), 50.0);
    EXPECT_EQ(clock->GetOffsetForImgSeq(), 10);
    EXPECT_TRUE(clock->IsWorkingArea(60));
    EXPECT_FALSE(clock->IsWorkingArea(61));
    clock->SetWA(50, 50);
    EXPECT_EQ(clock->GetPercentage(), 0.0) << "a one-frame working area";
    EXPECT_EQ(TimeCtrl_cls::GetInterval(1001), 10);
    EXPECT_EQ(TimeCtrl_cls::GetInterval(1000), 5);
    EXPECT_EQ(TimeCtrl_cls::GetInterval(501), 5);
    EXPECT_EQ(TimeCtrl_cls::GetInterval(201), 2);
    EXPECT_EQ(TimeCtrl_cls::GetInterval(200), 1);
}

TEST(TimeCtrl, SteppingPastTheEndWithAndWithoutRepeat)
{
    auto clock = MakeClock(10);
    clock->SetIndex(10);
    clock->FrameStep(1, false);
    EXPECT_EQ(clock->GetIndex(), 10) << "repeat off: stays at the length";
    clock->SetRepeat(true);
    EXPECT_EQ(clock->CalcNextStep(1, false, false), 10) << "no wrap asked";
    EXPECT_EQ(clock->CalcNextStep(1, false, true), 0);
    clock->FrameStep(1, false);
    EXPECT_EQ(clock->GetIndex(), 0) << "repeat on: wraps to 0";
    clock->FrameStep(-1, false);
    EXPECT_EQ(clock->GetIndex(), -1) << "a step below 0 is not caught by stepping";
    clock->CheckWorkingArea();
    EXPECT_EQ(clock->GetIndex(), 0) << "the range repair raises it";

    // Within the working area the step is clamped to its ends.
    clock->SetWA(2, 6);
    clock->SetIndex(6);
    clock->FrameStep(1, true);
    EXPECT_EQ(clock->GetIndex(), 6);
    clock->SetIndex(2);
    clock->FrameStep(-1, true);
    EXPECT_EQ(clock->GetIndex(), 2);
    clock->SetIndex(10);
    clock->FrameStep(1, true);
    EXPECT_EQ(clock->GetIndex(), 2) << "wrapped to 0, then clamped into the working area";
}

TEST(TimeCtrl, ALengthThatIsNotAMultipleOfTheStep)
{
    auto clock = MakeClock(10, 3);
    clock->SetIndex(5);
    EXPECT_EQ(clock->GetIndex(), 3) << "lowered onto the step grid";
    clock->SetIndex(10);
    EXPECT_EQ(clock->GetIndex(), 9);
    clock->SetIndex(11);
    EXPECT_EQ(clock->GetIndex(), 9) << "beyond the length: the length, then the grid";
    clock->FrameStep(1, false);
    EXPECT_EQ(clock->GetIndex(), 9) << "12 overshoots: the length 10, lowered to 9";
    EXPECT_EQ(clock->GetOffsetForImgSeq(), 3);
    clock->SetRepeat(true);
    clock->FrameStep(1, false);
    EXPECT_EQ(clock->GetIndex(), 0);
    clock->SetIndex(11);
    EXPECT_EQ(clock->GetIndex(), 0) << "beyond the length with repeat: 0";
}

TEST(TimeCtrl, ReversedAreasAreSwappedAndClamped)
{
    auto clock = MakeClock(50);
    std::vector<int> shown;
    clock->AddFrameBoxListener([&shown](int frame) { shown.push_back(frame); });
    clock->SetWA(40, 10);
    clock->SetAA(45, 5);
    clock->SetIndex(47);
    EXPECT_EQ(clock->GetWAMin(), 10);
    EXPECT_EQ(clock->GetWAMax(), 40);
    EXPECT_EQ(clock->GetAAMin(), 5);
    EXPECT_EQ(clock->GetAAMax(), 45);
    EXPECT_EQ(clock->GetIndex(), 45) << "lowered to the active area's end";
    ASSERT_FALSE(shown.empty());
    EXPECT_EQ(shown.back(), 45);
    clock->SetWA(0, 80);
    clock->SetAA(0, 70);
    clock->CheckWorkingArea();
    EXPECT_EQ(clock->GetWAMax(), 50);
    EXPECT_EQ(clock->GetAAMax(), 50);
    clock->SetIndex(1);
    clock->SetAA(30, 50);
    clock->CheckWorkingArea();
    EXPECT_EQ(clock->GetIndex(), 30) << "raised to the active area's start";
}

TEST(TimeCtrl, SceneLengthChangesCarryTheAreasThatFollowedIt)
{
    auto clock = MakeClock(100);
    clock->SetWA(10, 100);
    clock->SetAA(0, 60);
    clock->SetIndex(60);
    clock->SetMaxFrame(200);
    EXPECT_EQ(clock->GetWAMax(), 200) << "followed the old length";
    EXPECT_EQ(clock->GetAAMax(), 60) << "did not";
    EXPECT_EQ(clock->GetIndex(), 60);
    clock->SetMaxFrame(40);
    EXPECT_EQ(clock->GetIndex(), 0) << "beyond the new length";
    EXPECT_EQ(clock->GetAAMax(), 40);
    EXPECT_EQ(clock->GetWAMax(), 40);
    clock->SetWorkingArea(30);
    EXPECT_EQ(clock->GetWAMin(), 0);
    EXPECT_EQ(clock->GetWAMax(), 30);
    EXPECT_EQ(clock->GetAAMax(), 30);
}

TEST(TimeCtrl, SnipTagsJumpToTheNextAndPreviousTaggedFrame)
{
    auto clock = MakeClock(20, 2);
    clock->SetSnipTag(8, true);
    clock->SetSnipTag(14, true);
    clock->SetSnipTag(25, true); // beyond the scene: ignored
    clock->SetIndex(2);
    clock->SnipNext();
    EXPECT_EQ(clock->GetIndex(), 8);
    clock->SnipNext();
    EXPECT_EQ(clock->GetIndex(), 14);
    clock->SnipNext();
    EXPECT_EQ(clock->GetIndex(), 20) << "no further tag: the length";
    clock->SnipPrev();
    EXPECT_EQ(clock->GetIndex(), 14);
    clock->SnipPrev();
    EXPECT_EQ(clock->GetIndex(), 8);
    clock->SnipPrev();
    EXPECT_EQ(clock->GetIndex(), 0);
}

TEST(TimeCtrl, TheTimePushReachesParametersAndListeners)
{
    auto clock = MakeClock(40, 2);
    TimeCtrl_cls::TimeData last;
    int calls = 0;
    const int id = clock->AddTimeListener([&](const TimeCtrl_cls::TimeData& d) {
        last = d;
        ++calls;
    });
    clock->SetAA(4, 36);
    clock->SetIndex(10);
    EXPECT_EQ(last.iIndex, 10);
    EXPECT_EQ(last.iMaxFrame, 40);
    EXPECT_EQ(last.iAAMin, 4);
    EXPECT_DOUBLE_EQ(last.dIndex, 0.25);
    EXPECT_DOUBLE_EQ(last.dAAMax, 0.9);
    EXPECT_DOUBLE_EQ(last.dRemapped, 0.25) << "identity remap curve";
    EXPECT_EQ(Parameters_cls::GetFrameNumber(), 40);
    EXPECT_EQ(Parameters_cls::GetFrameStep(), 2);
    EXPECT_DOUBLE_EQ(Parameters_cls::GetCurrentDoubleIndex(), 0.25);
    clock->RemoveListener(id);
    const int before = calls;
    clock->FrameStep(1, false);
    EXPECT_EQ(calls, before);
    EXPECT_DOUBLE_EQ(Parameters_cls::GetCurrentDoubleIndex(), 0.3);
}

TEST(TimeCtrl, TimeRemapMapsSceneFramesToDataFrames)
{
    auto clock = MakeClock(99);
    EXPECT_EQ(clock->GetRemappedIndexDouble(37), 37.0) << "remap off: the frame itself";
    clock->SetIndex(12);
    EXPECT_EQ(clock->GetRemappedIndex(), 12);
    clock->SetBUseTimeRemap(true);
    EXPECT_NEAR(clock->GetRemappedIndexDouble(37), 37.0, 1e-9) << "default curve: identity";
    clock->SetLastDataFrame(9);
    EXPECT_NEAR(clock->GetRemappedIndexDouble(37), 37.0 / 99.0 * 9.0, 1e-9);
    EXPECT_EQ(clock->GetRemappedIndex(37), 3);
    EXPECT_EQ(clock->GetRemappedIndex(37, 198), 74) << "an explicit last data frame";

    // A curve that plays the data at half speed and then holds beyond the data.
    Parameters_cls& curve = clock->GetTimeRemap();
    UndoManager_cls undo;
    curve.SetUndoManager(&undo);
    const double half = 0.5;
    const double beyond = 2.0;
    curve.ExecCommandSetKey(1.0, &half, kInterpLinear, nullptr, nullptr);
    clock->SetLastDataFrame(-1);
    EXPECT_NEAR(clock->GetRemappedIndexDouble(99), 49.5, 1e-9);
    EXPECT_EQ(clock->GetRemappedIndex(99), 49);
    curve.ExecCommandSetKey(1.0, &beyond, kInterpLinear, nullptr, nullptr);
    EXPECT_EQ(clock->GetRemappedIndexDouble(99), 99.0) << "clamped to the last data frame";
    const double below = -1.0;
    curve.ExecCommandSetKey(0.0, &below, kInterpLinear, nullptr, nullptr);
    EXPECT_EQ(clock->GetRemappedIndexDouble(0), 0.0) << "clamped to 0";
    undo.UndoCurrent();
    undo.UndoCurrent();
    EXPECT_NEAR(clock->GetRemappedIndexDouble(99), 49.5, 1e-9) << "remap edits are undoable";
    clock->SetBUseTimeRemap(false);
    EXPECT_EQ(clock->GetRemappedIndex(99), 99);
}

TEST(TimeCtrl, PlayTimerStepsAfterTheWaitAndStopsOrWrapsAtTheEnd)
{
    auto clock = MakeClock(4);
    clock->SetWaitMs(40);
    EXPECT_FALSE(clock->PlayTick(0)) << "stopped";
    clock->Play(TimeCtrl_cls::kForward);
    EXPECT_TRUE(clock->IsPlaying());
    EXPECT_EQ(clock->GetPlayDirection(), 1);
    EXPECT_TRUE(clock->PlayTick(1000));
    EXPECT_EQ(clock->GetIndex(), 1);
    EXPECT_FALSE(clock->PlayTick(1039)) << "the wait has not passed";
    EXPECT_TRUE(clock->PlayTick(1040));
    EXPECT_TRUE(clock->PlayTick(1080));
    EXPECT_TRUE(clock->PlayTick(1120));
    EXPECT_EQ(clock->GetIndex(), 4);
    EXPECT_FALSE(clock->PlayTick(1160)) << "the end without repeat stops";
    EXPECT_FALSE(clock->IsPlaying());
    EXPECT_EQ(clock->GetPlayDirection(), 1) << "the direction outlives the playback";
    clock->ResetPlayDirection();
    EXPECT_EQ(clock->GetPlayDirection(), 0);

    clock->SetRepeat(true);
    clock->SetWA(1, 3);
    clock->SetIndex(3);
    clock->Play(TimeCtrl_cls::kForward);
    EXPECT_TRUE(clock->PlayTick(0));
    EXPECT_EQ(clock->GetIndex(), 1) << "repeat wraps to the working area's start";
    clock->Play(TimeCtrl_cls::kBackward);
    EXPECT_EQ(clock->GetPlayDirection(), -1);
    EXPECT_TRUE(clock->PlayTick(0));
    EXPECT_EQ(clock->GetIndex(), 3) << "backward wraps to the working area's end";
    EXPECT_EQ(TimeCtrl_cls::GetWaitLabel(), L"Wait(ms)");
}

TEST(TimeCtrl, RemapParameterKeysIsOneUndoStep)
{
    UndoManager_cls& undo = GetUndoManager();
    undo.Clear();
    auto clock = MakeClock(100);
    Parameters_cls a(1, L"BaseAlpha");
    Parameters_cls b(1, L"Isosurface");
    Parameters_cls::Snapshot animated;
    animated.bTimeDepend = true;
    a.RestoreSnapshot(animated);
    b.RestoreSnapshot(animated);
    const double v = 1.0;
    a.ExecCommandSetKey(0.4, &v, kInterpLinear, nullptr, nullptr);
    b.ExecCommandSetKey(0.8, &v, kInterpLinear, nullptr, nullptr);
    clock->SetParameterListProvider([&]() { return std::vector<Parameters_cls*>{&a, &b}; });
    const int position = undo.GetPosition();
    EXPECT_TRUE(clock->RemapParameterKeys(0.5));
    EXPECT_DOUBLE_EQ(a.GetKeyFrameDoubleIndex(0), 0.2);
    EXPECT_DOUBLE_EQ(b.GetKeyFrameDoubleIndex(0), 0.4);
    undo.UndoCurrent();
    EXPECT_EQ(undo.GetPosition(), position);
    EXPECT_DOUBLE_EQ(a.GetKeyFrameDoubleIndex(0), 0.4);
    EXPECT_DOUBLE_EQ(b.GetKeyFrameDoubleIndex(0), 0.8);
    undo.Clear();
}

TEST(TimeCtrl, ZoomAndMoveHelpersStayInsideTheScene)
{
    auto clock = MakeClock(100);
    clock->SetIndex(50);
    clock->ZoomIn();
    EXPECT_EQ(clock->GetWAMin(), 25);
    EXPECT_EQ(clock->GetWAMax(), 75);
    clock->ZoomOut();
    EXPECT_EQ(clock->GetWAMin(), 0);
    EXPECT_EQ(clock->GetWAMax(), 100);
    clock->FrameMoveL(1, false);
    EXPECT_EQ(clock->GetIndex(), 60);
    clock->SetWA(0, 65);
    clock->FrameMoveL(1, true);
    EXPECT_EQ(clock->GetIndex(), 65);
    clock->SetIndex(20);
    clock->SetWAInHere();
    clock->SetIndex(30);
    clock->SetWAOutHere();
    EXPECT_EQ(clock->GetWAMin(), 20);
    EXPECT_EQ(clock->GetWAMax(), 30);
    clock->SetIndex(90);
    clock->SetIndexWithinWA();
    EXPECT_EQ(clock->GetIndex(), 30);
}

} // namespace
