#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace
{

class ParametersEdit : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        Parameters_cls::SetFrameNumber(100);
        Parameters_cls::SetCurrentDoubleIndex(0.0);
    }
    std::unique_ptr<Parameters_cls> MakeSet(const wchar_t* name = L"Isosurface", unsigned dim = 1)
    {
        auto p = std::make_unique<Parameters_cls>(dim, name);
        p->SetUndoManager(&mUndo);
        // Animated and without keys (switching animation on through the history would leave
        // the constant as a key at time 0).
        Parameters_cls::Snapshot empty;
        empty.bTimeDepend = true;
        p->RestoreSnapshot(empty);
        return p;
    }
    static void Key(Parameters_cls& p, double t, double v, unsigned type = kInterpLinear)
    {
        p.ExecCommandSetKey(t, &v, type, nullptr, nullptr);
    }
    /// (time, first value) of every key.
    static std::vector<std::pair<double, double>> Keys(const Parameters_cls& p)
    {
        std::vector<std::pair<double, double>> out;
        for (const KeyFrame_cls& k : p.GetKeys())
            out.emplace_back(k.GetTime(), k.GetPValue()[0]);
        return out;
    }
    using KeyList = std::vector<std::pair<double, double>>;
    UndoManager_cls mUndo;
};

TEST_F(ParametersEdit, SettingAKeyWithinHalfAResolutionOverwrites)
{
    auto p = MakeSet();
    Key(*p, 0.5, 1.0);
    Key(*p, 0.503, 2.0);
    ASSERT_EQ(p->GetKeyNumber(), 1);
    EXPECT_DOUBLE_EQ(p->GetPKeyFrameValue(0)[0], 2.0);
    EXPECT_DOUBLE_EQ(p->GetKeyFrameDoubleIndex(0), 0.503);
    mUndo.UndoCurrent();
    EXPECT_EQ(Keys(*p), (KeyList{{0.5, 1.0}}));
    Key(*p, 0.506, 3.0);
    EXPECT_EQ(p->GetKeyNumber(), 2) << "just outside half a resolution: a new key";
}

TEST_F(ParametersEdit, InsertedKeysStaySortedAndUndoRemovesTheRightOne)
{
    auto p = MakeSet();
    Key(*p, 0.8, 3.0);
    Key(*p, 0.2, 1.0);
    Key(*p, 0.5, 2.0);
    EXPECT_EQ(Keys(*p), (KeyList{{0.2, 1.0}, {0.5, 2.0}, {0.8, 3.0}}));
    mUndo.UndoCurrent();
    EXPECT_EQ(Keys(*p), (KeyList{{0.2, 1.0}, {0.8, 3.0}}));
    mUndo.UndoCurrent();
    EXPECT_EQ(Keys(*p), (KeyList{{0.8, 3.0}}));
    mUndo.ExecCurrent();
    mUndo.ExecCurrent();
    EXPECT_EQ(Keys(*p), (KeyList{{0.2, 1.0}, {0.5, 2.0}, {0.8, 3.0}}));
}

TEST_F(ParametersEdit, ANewEditAfterTwoUndosDiscardsTheRedoTail)
{
    auto p = MakeSet();
    Key(*p, 0.1, 1.0);
    Key(*p, 0.2, 2.0);
    Key(*p, 0.3, 3.0);
    mUndo.UndoCurrent();
    mUndo.UndoCurrent();
    Key(*p, 0.9, 9.0);
    EXPECT_FALSE(mUndo.CanRedo());
    EXPECT_FALSE(mUndo.ExecCurrent());
    EXPECT_EQ(Keys(*p), (KeyList{{0.1, 1.0}, {0.9, 9.0}}));
}

TEST_F(ParametersEdit, MovingAKeyClampsAndQuantises)
{
    auto p = MakeSet();
    Key(*p, 0.2, 1.0);
    Key(*p, 0.7, 2.0);
    EXPECT_TRUE(p->MoveKey(1, 0.6, 0, false));
    EXPECT_EQ(Keys(*p), (KeyList{{0.2, 1.0}, {1.0, 2.0}})) << "past 1.0 stays at 1.0";
    const int before = mUndo.GetCount();
    EXPECT_FALSE(p->MoveKey(0, 0.0337, 10, false)) << "0.2337 on a 10-frame grid is 0.2 again";
    EXPECT_DOUBLE_EQ(p->GetKeyFrameDoubleIndex(0), 0.2);
    EXPECT_EQ(mUndo.GetCount(), before) << "no command for a move that changes nothing";
    EXPECT_TRUE(p->MoveKey(0, -0.5, 0, false));
    EXPECT_DOUBLE_EQ(p->GetKeyFrameDoubleIndex(0), 0.0);
    mUndo.UndoCurrent();
    mUndo.UndoCurrent();
    EXPECT_EQ(Keys(*p), (KeyList{{0.2, 1.0}, {0.7, 2.0}}));
}

TEST_F(ParametersEdit, MovingAKeyOntoAnotherReplacesItAndOneUndoRestoresBoth)
{
    auto p = MakeSet();
    Key(*p, 0.1, 1.0);
    Key(*p, 0.3, 3.0);
    Key(*p, 0.6, 6.0);
    const int step = mUndo.GetPosition();
    EXPECT_TRUE(p->MoveKey(0, 0.5, 0, false));
    EXPECT_EQ(Keys(*p), (KeyList{{0.3, 3.0}, {0.6, 1.0}})) << "the moved key overwrote the one at 0.6";
    mUndo.UndoCurrent();
    EXPECT_EQ(mUndo.GetPosition(), step);
    EXPECT_EQ(Keys(*p), (KeyList{{0.1, 1.0}, {0.3, 3.0}, {0.6, 6.0}}));
    mUndo.ExecCurrent();
    EXPECT_EQ(Keys(*p), (KeyList{{0.3, 3.0}, {0.6, 1.0}}));
}

TEST_F(ParametersEdit, EditingAMasterWithASlaveMovesBothOnOneUndo)
{
    auto master = MakeSet(L"CamPos", 3);
    auto slave = MakeSet(L"AncPos", 3);
    master->SetSlaveParam(slave.get());
    const double s0[3] = {5.0, 5.0, 5.0};
    slave->ExecCommandSetKey(0.0, s0, kInterpLinear, nullptr, nullptr);
    const double m0[3] = {0.0, 0.0, 0.0};
    master->ExecCommandSetKey(0.0, m0, kInterpLinear, nullptr, nullptr);
    const int keysSlave = slave->GetKeyNumber();

    const double m1[3] = {1.0, 2.0, 3.0};
    master->ExecCommandSetKey(0.5, m1, kInterpLinear, nullptr, nullptr);
    EXPECT_EQ(master->GetKeyNumber(), 2);
    EXPECT_EQ(slave->GetKeyNumber(), keysSlave + 1) << "the slave gets a key wherever the master has one";
    EXPECT_DOUBLE_EQ(slave->GetPKeyFrameValue(1)[0], 5.0) << "with its own interpolated values";

    const int before = mUndo.GetPosition();
    master->SetKeyType(1, kInterpStep);
    EXPECT_EQ(master->GetPKeyFrame(1)->GetType(), static_cast<unsigned>(kInterpStep));
    EXPECT_EQ(slave->GetPKeyFrame(1)->GetType(), static_cast<unsigned>(kInterpStep));
    EXPECT_EQ(mUndo.GetPosition(), before + 2) << "one pair each, chained, no block";

    mUndo.UndoCurrent();
    EXPECT_EQ(master->GetPKeyFrame(1)->GetType(), static_cast<unsigned>(kInterpLinear));
    EXPECT_EQ(slave->GetPKeyFrame(1)->GetType(), static_cast<unsigned>(kInterpLinear));
    mUndo.UndoCurrent();
    EXPECT_EQ(master->GetKeyNumber(), 1);
    EXPECT_EQ(slave->GetKeyNumber(), keysSlave) << "one undo restored both sets";
    mUndo.ExecCurrent();
    EXPECT_EQ(master->GetKeyNumber(), 2);
    EXPECT_EQ(slave->GetKeyNumber(), keysSlave + 1) << "one redo re-applied both";
}

TEST_F(ParametersEdit, MasterMoveAndDeleteTakeTheSlaveAlong)
{
    auto master = MakeSet(L"CamPos", 1);
    auto slave = MakeSet(L"AncPos", 1);
    master->SetSlaveParam(slave.get());
    Key(*master, 0.2, 1.0);
    Key(*master, 0.4, 2.0);
    EXPECT_TRUE(master->MoveKey(1, 0.3, 0, false));
    EXPECT_DOUBLE_EQ(master->GetKeyFrameDoubleIndex(1), 0.7);
    EXPECT_DOUBLE_EQ(slave->GetKeyFrameDoubleIndex(1), 0.7);
    EXPECT_TRUE(master->DeleteKey(0.2, 0.0));
    EXPECT_EQ(master->GetKeyNumber(), 1);
    EXPECT_EQ(slave->GetKeyNumber(), 1);
    mUndo.UndoCurrent();
    EXPECT_EQ(slave->GetKeyNumber(), 2);
    mUndo.UndoCurrent();
    EXPECT_DOUBLE_EQ(master->GetKeyFrameDoubleIndex(1), 0.4);
    EXPECT_DOUBLE_EQ(slave->GetKeyFrameDoubleIndex(1), 0.4);
}

TEST_F(ParametersEdit, ADirectSlaveEditDoesNotPullTheNextEditIntoItsRedo)
{
    auto master = MakeSet(L"CamPos", 1);
    auto slave = MakeSet(L"AncPos", 1);
    auto other = MakeSet(L"BaseAlpha", 1);
    master->SetSlaveParam(slave.get());
    Key(*slave, 0.3, 1.0);
    Key(*other, 0.3, 2.0);
    mUndo.UndoCurrent();
    mUndo.UndoCurrent();
    EXPECT_EQ(slave->GetKeyNumber(), 0);
    mUndo.ExecCurrent();
    EXPECT_EQ(slave->GetKeyNumber(), 1);
    EXPECT_EQ(other->GetKeyNumber(), 0) << "one redo is one step";
}

TEST_F(ParametersEdit, TimeDependenceKeepsTheCurrentValueAsConstant)
{
    auto p = MakeSet();
    Key(*p, 0.0, 1.0);
    Key(*p, 1.0, 3.0);
    Parameters_cls::SetCurrentDoubleIndex(0.5);
    p->RefreshCurrent();
    EXPECT_DOUBLE_EQ(p->GetPCurrentValue()[0], 2.0);
    const int before = mUndo.GetPosition();
    EXPECT_TRUE(p->SetTimeDependent(false, false));
    EXPECT_FALSE(p->IsTimeDependent());
    ASSERT_EQ(p->GetKeyNumber(), 1);
    EXPECT_DOUBLE_EQ(p->GetPInterpolatedValue(0.9, 0.0)[0], 2.0);
    EXPECT_FALSE(p->SetTimeDependent(false, false)) << "no change, no command";
    mUndo.UndoCurrent();
    EXPECT_EQ(mUndo.GetPosition(), before);
    EXPECT_TRUE(p->IsTimeDependent());
    EXPECT_EQ(Keys(*p), (KeyList{{0.0, 1.0}, {1.0, 3.0}}));
}

TEST_F(ParametersEdit, SetKeyIfChangedOnlyKeysRealChanges)
{
    auto p = MakeSet();
    Key(*p, 0.0, 1.0);
    Key(*p, 1.0, 3.0);
    Parameters_cls::SetCurrentDoubleIndex(0.25);
    p->RefreshCurrent();
    const int before = mUndo.GetCount();
    EXPECT_FALSE(p->SetKeyIfChanged(-1.0, false));
    EXPECT_EQ(mUndo.GetCount(), before);
    p->SetKeySelected(0, true);
    p->GetPCurrentValue()[0] = 7.0;
    EXPECT_TRUE(p->SetKeyIfChanged(-1.0, false));
    EXPECT_EQ(Keys(*p), (KeyList{{0.0, 1.0}, {0.25, 7.0}, {1.0, 3.0}}));
    EXPECT_DOUBLE_EQ(p->GetPCurrentValue()[0], 7.0);
    // Editing an existing key keeps its selection mark.
    Parameters_cls::SetCurrentDoubleIndex(0.0);
    p->RefreshCurrent();
    p->GetPCurrentValue()[0] = -1.0;
    EXPECT_TRUE(p->SetKeyIfChanged(-1.0, false));
    EXPECT_TRUE(p->GetPKeyFrame(0)->IsSelected());
    EXPECT_DOUBLE_EQ(p->GetPKeyFrameValue(0)[0], -1.0);
    EXPECT_TRUE(p->SetKeyIfChanged(-1.0, true)) << "forced";
}

TEST_F(ParametersEdit, InitSetChangesTheConstantUndoably)
{
    Parameters_cls p(2, L"Isosurface");
    p.SetUndoManager(&mUndo);
    const double a[2] = {128.0, 0.5};
    const double b[2] = {64.0, 1.0};
    EXPECT_TRUE(p.ExecCommandInitSet(a));
    EXPECT_TRUE(p.InitSet(b));
    EXPECT_FALSE(p.InitSet(b)) << "same value, no command";
    EXPECT_EQ(p.GetKeyNumber(), 1);
    EXPECT_DOUBLE_EQ(p.GetPCurrentValue()[0], 64.0);
    mUndo.UndoCurrent();
    EXPECT_DOUBLE_EQ(p.GetPInterpolatedValue(0.3, 0.0)[0], 128.0);
    mUndo.UndoCurrent();
    EXPECT_EQ(p.GetKeyNumber(), 0);
}

TEST_F(ParametersEdit, KeyTypesSingleAndMulti)
{
    auto p = MakeSet();
    Key(*p, 0.1, 1.0);
    Key(*p, 0.5, 2.0);
    Key(*p, 0.9, 3.0);
    const int before = mUndo.GetCount();
    EXPECT_FALSE(p->SetKeyType(1, kInterpLinear)) << "same type, no command";
    EXPECT_FALSE(p->SetKeyTypeMulti(kInterpStep)) << "nothing selected";
    EXPECT_EQ(mUndo.GetCount(), before);
    p->SetKeySelected(0, true);
    p->SetKeySelected(2, true);
    EXPECT_TRUE(p->ExecCommandSetKeyTypeMulti(kInterpHermite));
    EXPECT_EQ(p->GetPKeyFrame(0)->GetType(), static_cast<unsigned>(kInterpHermite));
    EXPECT_EQ(p->GetPKeyFrame(1)->GetType(), static_cast<unsigned>(kInterpLinear));
    EXPECT_EQ(p->GetPKeyFrame(2)->GetType(), static_cast<unsigned>(kInterpHermite));
    mUndo.UndoCurrent();
    EXPECT_EQ(p->GetPKeyFrame(0)->GetType(), static_cast<unsigned>(kInterpLinear));
    EXPECT_EQ(p->GetPKeyFrame(2)->GetType(), static_cast<unsigned>(kInterpLinear));
}

TEST_F(ParametersEdit, DeleteSelectedAndMoveSelectedAreOneStepEach)
{
    auto p = MakeSet();
    Key(*p, 0.1, 1.0);
    Key(*p, 0.2, 2.0);
    Key(*p, 0.3, 3.0);
    Key(*p, 0.4, 4.0);
    p->SetKeySelected(0, true);
    p->SetKeySelected(1, true);
    EXPECT_TRUE(p->MoveTimeSelectedKey(0.1));
    EXPECT_EQ(Keys(*p), (KeyList{{0.2, 1.0}, {0.3, 2.0}, {0.4, 4.0}})) << "0.2 moved onto 0.3 first";
    mUndo.UndoCurrent();
    EXPECT_EQ(Keys(*p), (KeyList{{0.1, 1.0}, {0.2, 2.0}, {0.3, 3.0}, {0.4, 4.0}}));
    p->ClearSelection();
    p->SetKeySelected(1, true);
    p->SetKeySelected(3, true);
    EXPECT_TRUE(p->DeleteSelectedKey());
    EXPECT_EQ(Keys(*p), (KeyList{{0.1, 1.0}, {0.3, 3.0}}));
    mUndo.UndoCurrent();
    EXPECT_EQ(p->GetKeyNumber(), 4);
}

TEST_F(ParametersEdit, RemapKeysScalesTimesInOneStep)
{
    auto p = MakeSet();
    Key(*p, 0.0, 0.0);
    Key(*p, 0.2, 1.0);
    Key(*p, 0.6, 2.0);
    Key(*p, 1.0, 3.0);
    EXPECT_TRUE(p->RemapKeys(0.5));
    EXPECT_EQ(Keys(*p), (KeyList{{0.0, 0.0}, {0.1, 1.0}, {0.3, 2.0}, {0.5, 3.0}}));
    EXPECT_TRUE(p->RemapKeys(2.0));
    EXPECT_EQ(Keys(*p), (KeyList{{0.0, 0.0}, {0.2, 1.0}, {0.6, 2.0}, {1.0, 3.0}}));
    mUndo.UndoCurrent();
    mUndo.UndoCurrent();
    EXPECT_EQ(Keys(*p), (KeyList{{0.0, 0.0}, {0.2, 1.0}, {0.6, 2.0}, {1.0, 3.0}}));
    EXPECT_EQ(mUndo.GetPosition(), 0 + 4) << "four key edits remain before the two remaps";
}

TEST_F(ParametersEdit, RemapKeyFrameAllScalesEveryLiveSetWithoutHistory)
{
    auto a = MakeSet();
    auto b = MakeSet(L"BaseAlpha");
    Key(*a, 0.5, 1.0);
    Key(*b, 0.8, 1.0);
    const int count = mUndo.GetCount();
    Parameters_cls::RemapKeyFrameAll(1, 2);
    EXPECT_DOUBLE_EQ(a->GetKeyFrameDoubleIndex(0), 0.25);
    EXPECT_DOUBLE_EQ(b->GetKeyFrameDoubleIndex(0), 0.4);
    EXPECT_EQ(mUndo.GetCount(), count);
    a->RemapKeyFrame(3, 0); // ignored
    EXPECT_DOUBLE_EQ(a->GetKeyFrameDoubleIndex(0), 0.25);
}

TEST_F(ParametersEdit, BoxHandlesMoveFacesAndOpenAFlatBox)
{
    double box[6] = {0.0, 0.0, 0.0, 1.0, 1.0, 1.0};
    const double delta[3] = {0.5, 0.25, -0.5};
    Parameters_cls::MovePosForBox(box, delta, nullptr, 1);
    EXPECT_EQ(std::vector<double>(box, box + 6), (std::vector<double>{0.5, 0.25, -0.5, 1.5, 1.25, 0.5}));
    double faces[6] = {0.0, 0.0, 0.0, 1.0, 1.0, 1.0};
    Parameters_cls::MovePosForBox(faces, delta, nullptr, 3);
    Parameters_cls::MovePosForBox(faces, delta, nullptr, 4);
    Parameters_cls::MovePosForBox(faces, delta, nullptr, 6);
    EXPECT_EQ(std::vector<double>(faces, faces + 6), (std::vector<double>{0.0, 0.25, -0.5, 1.5, 1.0, 1.0}));

    double flat[6] = {0.2, 0.0, 0.0, 0.2, 2.0, 1.0};
    const double scale[3] = {2.0, 0.5, 1.0};
    Parameters_cls::MovePosForBox(flat, nullptr, scale, 0);
    EXPECT_NEAR(flat[3] - flat[0], 0.004, 1e-12) << "opened to 0.002, then doubled";
    EXPECT_NEAR(flat[0] + flat[3], 0.4, 1e-12) << "about the centre";
    EXPECT_NEAR(flat[1], 0.5, 1e-12);
    EXPECT_NEAR(flat[4], 1.5, 1e-12);

    double points[6] = {0, 0, 0, 1, 1, 1};
    Parameters_cls::MovePosForTwoPoints(points, delta, 2);
    EXPECT_EQ(std::vector<double>(points, points + 6), (std::vector<double>{0, 0, 0, 1.5, 1.25, 0.5}));

    auto clip = MakeSet(L"Clipping", 6);
    const double values[6] = {0, 0, 0, 1, 1, 1};
    clip->ExecCommandSetKey(0.5, values, kInterpLinear, nullptr, nullptr);
    clip->SetKeySelected(0, true);
    EXPECT_TRUE(clip->MovePosSelectedKey(delta, nullptr, 2));
    EXPECT_DOUBLE_EQ(clip->GetPKeyFrameValue(0)[0], 0.5);
    EXPECT_DOUBLE_EQ(clip->GetPKeyFrameValue(0)[3], 1.0);
    mUndo.UndoCurrent();
    EXPECT_DOUBLE_EQ(clip->GetPKeyFrameValue(0)[0], 0.0);
}

TEST_F(ParametersEdit, ColourSetCommandsCarryTheRedrawFlags)
{
    auto color = MakeSet(L"Color", 4);
    const double rgba[4] = {1, 0, 0, 1};
    color->ExecCommandSetKey(0.5, rgba, kInterpLinear, nullptr, nullptr);
    EXPECT_EQ(mUndo.GetRedoCommandType(0) & kComColorRedraw, static_cast<uint32_t>(kComColorRedraw));
    EXPECT_EQ(mUndo.GetUndoCommandType(0) & kComColorRedraw, static_cast<uint32_t>(kComColorRedraw));
    auto plain = MakeSet();
    Key(*plain, 0.5, 1.0);
    EXPECT_EQ(mUndo.GetRedoCommandType(mUndo.GetPosition() - 1), 0u);
}

TEST_F(ParametersEdit, CommandsOfADeletedSetDoNothing)
{
    auto p = MakeSet();
    Key(*p, 0.5, 1.0);
    p.reset();
    EXPECT_TRUE(mUndo.UndoCurrent());
    EXPECT_TRUE(mUndo.ExecCurrent());
}

TEST_F(ParametersEdit, UndoableCopyFromAnotherSet)
{
    auto source = MakeSet();
    auto target = MakeSet();
    Key(*source, 0.2, 5.0);
    Key(*source, 0.4, 6.0);
    Key(*target, 0.9, 1.0);
    EXPECT_TRUE(target->CopyParameterFromP(source.get(), true));
    EXPECT_EQ(Keys(*target), Keys(*source));
    mUndo.UndoCurrent();
    EXPECT_EQ(Keys(*target), (KeyList{{0.9, 1.0}}));
}

} // namespace
