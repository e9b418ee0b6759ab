// The camera path: cameras as keys of one key-framed set, interpolated between their frames,
// added and deleted as undo steps, kept in project text.
#include "anim/CameraPathCtrl_cls.h"

#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

class CameraPath : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        mSavedFrames = Parameters_cls::GetFrameNumber();
        Parameters_cls::SetFrameNumber(100);
        mCPath.FuncHookChanged = [this] { ++miNotices; };
    }
    void TearDown() override { Parameters_cls::SetFrameNumber(mSavedFrames); }

    static Camera_cls At(const Vec3d& eye, double angle = 30.0)
    {
        Camera_cls c;
        EXPECT_TRUE(c.Set(eye, {0, 0, 0}, {0, 1, 0}));
        c.SetViewAngle(angle);
        return c;
    }

    int mSavedFrames = 0;
    UndoManager_cls mCUndo;
    CameraPathCtrl_cls mCPath{&mCUndo};
    int miNotices = 0;
};

} // namespace

TEST_F(CameraPath, EmptyPathGivesNoCameraAndLeavesTheCallersCamera)
{
    Camera_cls c = At({1, 2, 3});
    EXPECT_FALSE(mCPath.GetCameraAt(10, c));
    EXPECT_EQ(c.GetPosition(), (Vec3d{1, 2, 3}));
    EXPECT_FALSE(mCPath.GetCamera(0, c));
    EXPECT_EQ(mCPath.GetFrame(0), -1);
    EXPECT_FALSE(mCPath.Delete(0));
    EXPECT_EQ(mCUndo.GetCount(), 0);
}

TEST_F(CameraPath, CamerasAreHeldBeforeTheFirstAndAfterTheLastAndPassedThroughOnTheirFrames)
{
    ASSERT_TRUE(mCPath.Add(At({0, 0, 4}, 30.0), 20));
    ASSERT_TRUE(mCPath.Add(At({4, 0, 0}, 50.0), 60));
    ASSERT_EQ(mCPath.GetCount(), 2);
    EXPECT_EQ(mCPath.GetFrame(0), 20);
    EXPECT_EQ(mCPath.GetFrame(1), 60);
    Camera_cls c;
    ASSERT_TRUE(mCPath.GetCameraAt(0, c));
    EXPECT_NEAR(c.GetPosition()[2], 4.0, 1e-9);
    ASSERT_TRUE(mCPath.GetCameraAt(20, c));
    EXPECT_NEAR(c.GetPosition()[0], 0.0, 1e-9);
    EXPECT_NEAR(c.GetViewAngle(), 30.0, 1e-9);
    ASSERT_TRUE(mCPath.GetCameraAt(60, c));
    EXPECT_NEAR(c.GetPosition()[0], 4.0, 1e-9);
    EXPECT_NEAR(c.GetViewAngle(), 50.0, 1e-9);
    ASSERT_TRUE(mCPath.GetCameraAt(99, c));
    EXPECT_NEAR(c.GetPosition()[0], 4.0, 1e-9);
    // Half way: between the two eyes, looking at the origin, angle between the two.
    ASSERT_TRUE(mCPath.GetCameraAt(40, c));
    EXPECT_GT(c.GetPosition()[0], 0.5);
    EXPECT_LT(c.GetPosition()[0], 3.5);
    EXPECT_GT(c.GetPosition()[2], 0.5);
    EXPECT_GT(c.GetViewAngle(), 30.0);
    EXPECT_LT(c.GetViewAngle(), 50.0);
    EXPECT_NEAR(c.GetLookAt()[0], 0.0, 1e-9);
}

TEST_F(CameraPath, AddAndDeleteAreSingleUndoStepsThatComeBackExactly)
{
    ASSERT_TRUE(mCPath.Add(At({0, 0, 4}), 10));
    EXPECT_STREQ(mCUndo.GetUndoName(), "Add Camera");
    ASSERT_TRUE(mCPath.Add(At({0, 4, 1}), 50));
    const std::wstring both = mCPath.Serialize(true);
    ASSERT_TRUE(mCPath.Delete(0));
    EXPECT_STREQ(mCUndo.GetUndoName(), "Delete Camera");
    ASSERT_EQ(mCPath.GetCount(), 1);
    EXPECT_EQ(mCPath.GetFrame(0), 50);
    ASSERT_TRUE(mCUndo.UndoCurrent());
    EXPECT_EQ(mCPath.Serialize(true), both);
    ASSERT_TRUE(mCUndo.UndoCurrent());
    EXPECT_EQ(mCPath.GetCount(), 1);
    ASSERT_TRUE(mCUndo.UndoCurrent());
    EXPECT_EQ(mCPath.GetCount(), 0);
    EXPECT_FALSE(mCUndo.UndoCurrent());
    ASSERT_TRUE(mCUndo.ExecCurrent());
    ASSERT_TRUE(mCUndo.ExecCurrent());
    EXPECT_EQ(mCPath.Serialize(true), both);
    // Every step told the listeners.
    EXPECT_GE(miNotices, 7);
}

TEST_F(CameraPath, ACameraOnAnOccupiedFrameReplacesItAndFramesOutsideTheSceneAreRefused)
{
    ASSERT_TRUE(mCPath.Add(At({0, 0, 4}), 30));
    ASSERT_TRUE(mCPath.Add(At({0, 0, 9}), 30));
    ASSERT_EQ(mCPath.GetCount(), 1);
    Camera_cls c;
    ASSERT_TRUE(mCPath.GetCamera(0, c));
    EXPECT_NEAR(c.GetPosition()[2], 9.0, 1e-9);
    const int steps = mCUndo.GetCount();
    EXPECT_FALSE(mCPath.Add(At({0, 0, 4}), -1));
    EXPECT_FALSE(mCPath.Add(At({0, 0, 4}), 101));
    EXPECT_EQ(mCUndo.GetCount(), steps);
}

TEST_F(CameraPath, ProjectTextRestoresThePathAndTheConfigurationKeepsNone)
{
    ASSERT_TRUE(mCPath.Add(At({0, 0, 4}, 35.0), 0));
    ASSERT_TRUE(mCPath.Add(At({3, 1, 2}, 45.0), 70));
    const std::wstring text = mCPath.Serialize(true);
    EXPECT_EQ(text.rfind(L"--CameraPath\n", 0), 0u);
    EXPECT_NE(text.find(L"--EndCameraPath\n"), std::wstring::npos);
    EXPECT_EQ(mCPath.Serialize(false), L"--CameraPath\n--EndCameraPath\n");

    UndoManager_cls other;
    CameraPathCtrl_cls read(&other);
    LineStream_cls stream(text + L"NextKey=1\n");
    std::wstring line;
    ASSERT_TRUE(stream.GetLine(line));
    ASSERT_TRUE(read.ReadStrLine(stream, line));
    ASSERT_EQ(read.GetCount(), 2);
    EXPECT_EQ(read.GetFrame(1), 70);
    Camera_cls a, b;
    for (double f : {0.0, 20.0, 35.0, 70.0}) {
        ASSERT_TRUE(mCPath.GetCameraAt(f, a));
        ASSERT_TRUE(read.GetCameraAt(f, b));
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(a.GetPosition()[k], b.GetPosition()[k], 1e-9) << "frame " << f;
        EXPECT_NEAR(a.GetViewAngle(), b.GetViewAngle(), 1e-9);
    }
    // Reading is no edit: nothing to undo; the line after the block is left to the next reader.
    EXPECT_EQ(other.GetCount(), 0);
    ASSERT_TRUE(stream.GetLine(line));
    EXPECT_EQ(line, L"NextKey=1");
    // A foreign line is not taken.
    LineStream_cls none(L"");
    EXPECT_FALSE(read.ReadStrLine(none, L"--CameraPathX"));
    EXPECT_EQ(read.GetCount(), 2);
}
