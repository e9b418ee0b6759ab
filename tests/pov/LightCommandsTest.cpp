// Adding and removing lights through the history: one step each, the very light coming back
// (so key edits recorded for it keep working), and nothing done once the list is gone.
#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "pov/LightSRC_cls.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

class LightCommands : public ::testing::Test
{
  protected:
    void SetUp() override { GetUndoManager().Clear(); }
    void TearDown() override { GetUndoManager().Clear(); }
    double ValueOf(size_t light, int i)
    {
        double v[LightSRC_cls::kDimension];
        mCLights.GetParam(light).Evaluate(0.0, 0.0, v);
        return v[i];
    }
    LightSRC_cls mCLights;
    const double mvPos[3] = {1, 2, 3};
    const double mvWhite[3] = {1, 1, 1};
};

} // namespace

TEST_F(LightCommands, AddIsOneUndoStepAndRedoPutsTheSameSetBack)
{
    int notices = 0;
    mCLights.FuncHookChanged = [&] { ++notices; };
    ASSERT_EQ(mCLights.AddLightExecute(LightSRC_cls::kSpot, mvPos, mvWhite, 2.0), 0);
    ASSERT_EQ(mCLights.GetCount(), 1u);
    EXPECT_EQ(mCLights.GetKind(0), static_cast<unsigned>(LightSRC_cls::kSpot));
    EXPECT_STREQ(GetUndoManager().GetUndoName(), "Add Light");
    EXPECT_DOUBLE_EQ(ValueOf(0, 6), 2.0);
    Parameters_cls* set = &mCLights.GetParam(0);
    ASSERT_TRUE(GetUndoManager().UndoCurrent());
    EXPECT_EQ(mCLights.GetCount(), 0u);
    ASSERT_TRUE(GetUndoManager().ExecCurrent());
    ASSERT_EQ(mCLights.GetCount(), 1u);
    EXPECT_EQ(&mCLights.GetParam(0), set);
    EXPECT_EQ(mCLights.GetKind(0), static_cast<unsigned>(LightSRC_cls::kSpot));
    EXPECT_EQ(notices, 3);
}

TEST_F(LightCommands, RemoveTakesTheChosenLightAndUndoPutsItBackInItsPlace)
{
    mCLights.AddLight(LightSRC_cls::kPoint, mvPos, mvWhite, 1.0);
    const double other[3] = {-5, 0, 0};
    mCLights.AddLight(LightSRC_cls::kParallel, other, mvWhite, 3.0);
    mCLights.AddLight(LightSRC_cls::kPoint, mvPos, mvWhite, 4.0);
    Parameters_cls* middle = &mCLights.GetParam(1);
    ASSERT_TRUE(mCLights.RemoveLightExecute(1));
    EXPECT_STREQ(GetUndoManager().GetUndoName(), "Remove Light");
    ASSERT_EQ(mCLights.GetCount(), 2u);
    EXPECT_DOUBLE_EQ(ValueOf(1, 6), 4.0);
    ASSERT_TRUE(GetUndoManager().UndoCurrent());
    ASSERT_EQ(mCLights.GetCount(), 3u);
    EXPECT_EQ(&mCLights.GetParam(1), middle);
    EXPECT_EQ(mCLights.GetKind(1), static_cast<unsigned>(LightSRC_cls::kParallel));
    EXPECT_DOUBLE_EQ(ValueOf(1, 0), -5.0);
    EXPECT_FALSE(mCLights.RemoveLightExecute(7));
    EXPECT_EQ(mCLights.GetCount(), 3u);
}

TEST_F(LightCommands, AKeyEditOfARemovedAndRestoredLightStillUndoes)
{
    mCLights.AddLightExecute(LightSRC_cls::kPoint, mvPos, mvWhite, 1.0);
    Parameters_cls& set = mCLights.GetParam(0);
    double* current = set.GetPCurrentValue();
    set.Evaluate(0.0, 0.0, current);
    current[6] = 5.0;
    ASSERT_TRUE(set.SetKeyIfChanged(0.0, false));
    EXPECT_DOUBLE_EQ(ValueOf(0, 6), 5.0);
    ASSERT_TRUE(mCLights.RemoveLightExecute(0));
    ASSERT_TRUE(GetUndoManager().UndoCurrent()); // the light is back
    ASSERT_TRUE(GetUndoManager().UndoCurrent()); // the energy edit is undone on it
    EXPECT_DOUBLE_EQ(ValueOf(0, 6), 1.0);
}

TEST_F(LightCommands, CommandsOfAListThatIsGoneDoNothing)
{
    auto lights = std::make_unique<LightSRC_cls>();
    lights->AddLightExecute(LightSRC_cls::kPoint, mvPos, mvWhite, 1.0);
    const LightSRC_cls* gone = lights.get();
    lights.reset();
    EXPECT_FALSE(LightSRC_cls::IsLive(gone));
    // Another list is not the one the step belongs to: undo and redo leave it alone.
    LightSRC_cls fresh;
    EXPECT_TRUE(GetUndoManager().UndoCurrent());
    EXPECT_TRUE(GetUndoManager().ExecCurrent());
    EXPECT_EQ(fresh.GetCount(), 0u);
}

TEST_F(LightCommands, ReadingAProjectReplacesTheLightsAndTellsTheListeners)
{
    mCLights.AddLight(LightSRC_cls::kSpot, mvPos, mvWhite, 2.5);
    const std::wstring text = mCLights.Serialize();
    LightSRC_cls read;
    int notices = 0;
    read.FuncHookChanged = [&] { ++notices; };
    read.AddLight(LightSRC_cls::kPoint, mvPos, mvWhite, 9.0);
    LineStream_cls stream(text);
    std::wstring line;
    ASSERT_TRUE(stream.GetLine(line));
    ASSERT_TRUE(read.ReadStrLine(stream, line));
    ASSERT_EQ(read.GetCount(), 1u);
    EXPECT_EQ(read.GetKind(0), static_cast<unsigned>(LightSRC_cls::kSpot));
    EXPECT_EQ(read.Serialize(), text);
    EXPECT_EQ(notices, 1);
}

TEST_F(LightCommands, ColourEditIsOneStepThatReachesTheExportAndTheProjectText)
{
    ASSERT_EQ(mCLights.AddLightExecute(LightSRC_cls::kPoint, mvPos, mvWhite, 2.0), 0);
    // As the scene panel's colour picker does it: the values at the current time, the colour
    // replaced, keyed when different.
    Parameters_cls& param = mCLights.GetParam(0);
    double* current = param.GetPCurrentValue();
    param.Evaluate(0.0, 0.0, current);
    current[3] = 1.0;
    current[4] = 0.5;
    current[5] = 0.0;
    ASSERT_TRUE(param.SetKeyIfChanged(0.0, false));
    EXPECT_DOUBLE_EQ(ValueOf(0, 4), 0.5);
    // The energy scales the colour in the scene text.
    EXPECT_NE(mCLights.GetPovStrLightSource(0.0).find(L"color rgb <2,1,0>"), std::wstring::npos)
        << mCLights.GetPovStrLightSource(0.0);
    const std::wstring text = mCLights.Serialize();
    LightSRC_cls back;
    LineStream_cls stream(text);
    std::wstring first;
    ASSERT_TRUE(stream.GetLine(first));
    ASSERT_TRUE(back.ReadStrLine(stream, first));
    EXPECT_EQ(back.Serialize(), text);
    EXPECT_EQ(back.GetPovStrLightSource(0.0), mCLights.GetPovStrLightSource(0.0));

    // One undo takes the colour back to white and leaves the light in the list.
    ASSERT_TRUE(GetUndoManager().UndoCurrent());
    ASSERT_EQ(mCLights.GetCount(), 1u);
    EXPECT_DOUBLE_EQ(ValueOf(0, 4), 1.0);
    EXPECT_NE(mCLights.GetPovStrLightSource(0.0).find(L"color rgb <2,2,2>"), std::wstring::npos);
    GetUndoManager().ExecCurrent();
    EXPECT_DOUBLE_EQ(ValueOf(0, 5), 0.0);
}
