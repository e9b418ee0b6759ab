// The stereo settings dialog's OK as one undo step: undo restores every setting as it was, redo
// puts the new ones back, the listener hears each, and an unchanged OK records nothing.
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "pov/StereoGram_cls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace
{

class StereoSettingsUndo : public ::testing::Test
{
  protected:
    void SetUp() override { GetUndoManager().Clear(); }
    void TearDown() override { GetUndoManager().Clear(); }
};

} // namespace

TEST_F(StereoSettingsUndo, OkIsOneStepThatUndoAndRedoWalk)
{
    StereoGram_cls stereo;
    int notices = 0;
    stereo.FuncHookChanged = [&] { ++notices; };
    stereo.SetMode(StereoGram_cls::kModeParallel);
    stereo.SetEyeSeparation(0.1);
    stereo.SetConvergence(4.0);
    const std::wstring before = stereo.Serialize();

    ASSERT_TRUE(stereo.SetSettingsExecute(StereoGram_cls::kModeAnaglyph, 0.25, 7.5));
    EXPECT_EQ(notices, 1);
    EXPECT_EQ(stereo.GetMode(), StereoGram_cls::kModeAnaglyph);
    EXPECT_DOUBLE_EQ(stereo.GetEyeSeparation(), 0.25);
    EXPECT_DOUBLE_EQ(stereo.GetConvergence(), 7.5);
    EXPECT_STREQ(GetUndoManager().GetUndoName(), "Stereo Settings");
    const std::wstring after = stereo.Serialize();

    ASSERT_TRUE(GetUndoManager().UndoCurrent());
    EXPECT_EQ(notices, 2);
    EXPECT_EQ(stereo.Serialize(), before);
    // Nothing else left to undo: the edit was exactly one step.
    EXPECT_FALSE(GetUndoManager().UndoCurrent());
    EXPECT_EQ(stereo.Serialize(), before);

    GetUndoManager().ExecCurrent();
    EXPECT_EQ(notices, 3);
    EXPECT_EQ(stereo.Serialize(), after);
}

TEST_F(StereoSettingsUndo, UnchangedOrRepairedBackValuesRecordNoStep)
{
    StereoGram_cls stereo;
    stereo.SetEyeSeparation(0.2);
    EXPECT_FALSE(stereo.SetSettingsExecute(StereoGram_cls::kModeOff, 0.2, 3.0));
    // A negative separation is taken as its size, a mode past the last as off: the same settings.
    EXPECT_FALSE(stereo.SetSettingsExecute(99u, -0.2, 3.0));
    EXPECT_FALSE(GetUndoManager().UndoCurrent());

    // A convergence that cannot be used falls back to the default, which here is a change.
    stereo.SetConvergence(5.0);
    ASSERT_TRUE(stereo.SetSettingsExecute(StereoGram_cls::kModeOff, 0.2, 0.0));
    EXPECT_DOUBLE_EQ(stereo.GetConvergence(), 3.0);
    GetUndoManager().UndoCurrent();
    EXPECT_DOUBLE_EQ(stereo.GetConvergence(), 5.0);
}

TEST_F(StereoSettingsUndo, StepLeftAfterItsStereogramIsGoneDoesNothing)
{
    {
        auto stereo = std::make_unique<StereoGram_cls>();
        ASSERT_TRUE(stereo->SetSettingsExecute(StereoGram_cls::kModeCrossed, 0.5, 2.0));
    }
    // Both directions run against a dead pointer: must neither crash nor touch memory.
    EXPECT_TRUE(GetUndoManager().UndoCurrent());
    GetUndoManager().ExecCurrent();
    StereoGram_cls fresh;
    EXPECT_EQ(fresh.GetMode(), StereoGram_cls::kModeOff);
}

TEST_F(StereoSettingsUndo, SettingsEditedThroughTheHistorySurviveTheProjectBlock)
{
    StereoGram_cls stereo;
    ASSERT_TRUE(stereo.SetSettingsExecute(StereoGram_cls::kModeOverUnder, 0.125, 9.0));
    const std::wstring text = stereo.Serialize();
    StereoGram_cls back;
    LineStream_cls stream(text);
    std::wstring first;
    ASSERT_TRUE(stream.GetLine(first));
    ASSERT_TRUE(back.ReadStrLine(stream, first));
    EXPECT_EQ(back.GetMode(), StereoGram_cls::kModeOverUnder);
    EXPECT_DOUBLE_EQ(back.GetEyeSeparation(), 0.125);
    EXPECT_DOUBLE_EQ(back.GetConvergence(), 9.0);
    EXPECT_EQ(back.Serialize(), text);
}
