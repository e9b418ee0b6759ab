// The camera path: cameras added, keyed and deleted through the history, and its text form.
#include "anim/CameraPathCtrl_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"

#include <gtest/gtest.h>

namespace
{

class CameraPathCtrlTest : public ::testing::Test
{
  protected:
    // Keys a quarter apart need a frame grid finer than the default single frame.
    void SetUp() override
    {
        miOldFrames = Parameters_cls::GetFrameNumber();
        Parameters_cls::SetFrameNumber(100);
        mCPath.SetUndoManager(&mCUndo);
    }
    void TearDown() override { Parameters_cls::SetFrameNumber(miOldFrames); }
    int miOldFrames = 1;
    UndoManager_cls mCUndo;
    CameraPathCtrl_cls mCPath;
};

TEST_F(CameraPathCtrlTest, AddAndDeleteAreUndoableSteps)
{
    int changes = 0;
    mCPath.FuncHookChanged = [&changes](CameraPathCtrl_cls&) { ++changes; };
    ASSERT_TRUE(mCPath.AddCamera({1, 2, 3, 0, 0, 0}));
    ASSERT_TRUE(mCPath.AddCamera({4, 5, 6, 1, 1, 1}));
    EXPECT_EQ(mCPath.GetCameraNumber(), 2);
    EXPECT_EQ(mCPath.GetActiveCamera(), 1);
    CameraPathCtrl_cls::CameraValues v;
    ASSERT_TRUE(mCPath.GetCameraAt(0, 0.7, v));
    EXPECT_EQ(v, (CameraPathCtrl_cls::CameraValues{1, 2, 3, 0, 0, 0}));

    ASSERT_TRUE(mCPath.DeleteCamera(0));
    ASSERT_EQ(mCPath.GetCameraNumber(), 1);
    ASSERT_TRUE(mCPath.GetCameraAt(0, 0.0, v));
    EXPECT_DOUBLE_EQ(v[0], 4.0);
    ASSERT_TRUE(mCUndo.UndoCurrent());
    ASSERT_EQ(mCPath.GetCameraNumber(), 2);
    ASSERT_TRUE(mCPath.GetCameraAt(0, 0.0, v));
    EXPECT_DOUBLE_EQ(v[0], 1.0) << "undo puts the deleted camera back in its place";
    ASSERT_TRUE(mCUndo.UndoCurrent());
    ASSERT_TRUE(mCUndo.UndoCurrent());
    EXPECT_EQ(mCPath.GetCameraNumber(), 0);
    ASSERT_TRUE(mCUndo.ExecCurrent());
    EXPECT_EQ(mCPath.GetCameraNumber(), 1);
    EXPECT_GE(changes, 6);

    EXPECT_FALSE(mCPath.DeleteCamera(5));
    EXPECT_FALSE(mCPath.GetCameraAt(-1, 0.0, v));
    EXPECT_EQ(v, (CameraPathCtrl_cls::CameraValues{}));
}

TEST_F(CameraPathCtrlTest, FollowingThePathIsOneNamedStepAndTheProjectKeepsIt)
{
    int changes = 0;
    mCPath.FuncHookChanged = [&changes](CameraPathCtrl_cls&) { ++changes; };
    ASSERT_TRUE(mCPath.AddCamera({1, 2, 3, 0, 0, 0}));
    const int steps = mCUndo.GetPosition();
    EXPECT_FALSE(mCPath.SetUsePathExecute(false)) << "already off: no step";
    EXPECT_EQ(mCUndo.GetPosition(), steps);

    changes = 0;
    ASSERT_TRUE(mCPath.SetUsePathExecute(true));
    EXPECT_TRUE(mCPath.IsUsePath());
    EXPECT_EQ(mCUndo.GetPosition(), steps + 1);
    EXPECT_NE(mCPath.Serialize(true).find(L"CameraPathUse=1"), std::wstring::npos);
    ASSERT_TRUE(mCUndo.UndoCurrent());
    EXPECT_FALSE(mCPath.IsUsePath());
    EXPECT_EQ(mCPath.GetCameraNumber(), 1) << "the camera stays: only the setting was one step";
    ASSERT_TRUE(mCUndo.ExecCurrent());
    EXPECT_TRUE(mCPath.IsUsePath());
    EXPECT_EQ(changes, 3) << "the panel hears of every change";
}

TEST_F(CameraPathCtrlTest, KeysMoveTheCameraAlongThePathAndUndoAsOneStep)
{
    ASSERT_TRUE(mCPath.AddCamera({0, 0, 10, 0, 0, 0}));
    const int before = mCUndo.GetPosition();
    ASSERT_TRUE(mCPath.SetCameraKey(0, 0.0, {0, 0, 10, 0, 0, 0}));
    ASSERT_TRUE(mCPath.SetCameraKey(0, 1.0, {10, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(mCPath.GetPCamera(0)->IsTimeDependent());
    CameraPathCtrl_cls::CameraValues v;
    mCPath.GetCameraAt(0, 1.0, v);
    EXPECT_DOUBLE_EQ(v[0], 10.0);
    mCPath.GetCameraAt(0, 0.5, v);
    EXPECT_GT(v[0], 0.0);
    EXPECT_LT(v[0], 10.0);
    // The last key is one step, the first key with the switch to animated another.
    ASSERT_TRUE(mCUndo.UndoCurrent());
    EXPECT_EQ(mCPath.GetPCamera(0)->GetKeyNumber(), 1);
    ASSERT_TRUE(mCUndo.UndoCurrent());
    EXPECT_EQ(mCUndo.GetPosition(), before);
    EXPECT_FALSE(mCPath.GetPCamera(0)->IsTimeDependent());
    EXPECT_FALSE(mCPath.SetCameraKey(3, 0.0, {}));
}

TEST_F(CameraPathCtrlTest, TextFormRoundTripsAndConfigurationCarriesOnlyTheDisplaySetting)
{
    mCPath.AddCamera({1, 2, 3, 4, 5, 6});
    mCPath.AddCamera({-1, -2, -3, 0, 0, 0});
    mCPath.SetCameraKey(1, 0.25, {7, 7, 7, 0, 0, 0});
    mCPath.SetUsePath(true);
    mCPath.SetShowPath(false);
    mCPath.SetActiveCamera(0);
    const std::wstring conf = mCPath.Serialize(false);
    EXPECT_EQ(conf, L"CameraPathShow=0\n");
    const std::wstring text = mCPath.Serialize(true);

    UndoManager_cls otherUndo;
    CameraPathCtrl_cls copy;
    copy.SetUndoManager(&otherUndo);
    copy.AddCamera({9, 9, 9, 9, 9, 9});
    LineStream_cls stream(text);
    for (std::wstring line; stream.GetLine(line);)
        copy.ReadStrLine(stream, line);
    EXPECT_EQ(copy.Serialize(true), text);
    EXPECT_EQ(copy.GetCameraNumber(), 2);
    EXPECT_EQ(copy.GetActiveCamera(), 0);
    EXPECT_TRUE(copy.IsUsePath());
    EXPECT_FALSE(copy.IsShowPath());
    EXPECT_EQ(copy.GetPCamera(1)->GetKeyNumber(), 2);
}

TEST_F(CameraPathCtrlTest, BlockCutShortLeavesTheNextBlockToItsOwner)
{
    const std::wstring text = L"--CameraPath\nCameraPathUse=1\nCameraPathActive=7\n--StereoGram\n";
    LineStream_cls stream(text);
    std::wstring line;
    ASSERT_TRUE(stream.GetLine(line));
    ASSERT_TRUE(mCPath.ReadStrLine(stream, line));
    ASSERT_TRUE(stream.GetLine(line));
    EXPECT_EQ(line, L"--StereoGram");
    EXPECT_TRUE(mCPath.IsUsePath());
    EXPECT_EQ(mCPath.GetCameraNumber(), 0);
    EXPECT_FALSE(mCPath.ReadStrLine(stream, L"Unrelated=1"));
}

} // namespace
