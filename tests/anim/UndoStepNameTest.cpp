// The names the Edit menu shows for the next undo and redo step: a block is named by its own
// name or by the first named command inside it, across nested blocks and master/slave chains.
#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace
{

/// A command that only carries a name (or none) and counts its runs.
class ComNamed : public CommandItem_cls
{
  public:
    ComNamed(const char* name, int* runs) : mpName(name), mpRuns(runs) {}
    bool Execute(bool) override
    {
        ++*mpRuns;
        return false;
    }
    const char* GetName() const override { return mpName; }

  private:
    const char* mpName;
    int* mpRuns;
};

void Push(UndoManager_cls& undo, const char* name, int* runs)
{
    undo.SetNewCommand(std::make_unique<ComNamed>(name, runs), std::make_unique<ComNamed>(name, runs));
    undo.ExecCurrent();
}

std::string UndoName(const UndoManager_cls& u)
{
    return u.GetUndoName();
}
std::string RedoName(const UndoManager_cls& u)
{
    return u.GetRedoName();
}

} // namespace

TEST(UndoStepName, SinglePairsNameThemselvesAndFollowThePosition)
{
    UndoManager_cls undo;
    int runs = 0;
    EXPECT_EQ(UndoName(undo), "");
    EXPECT_EQ(RedoName(undo), "");
    Push(undo, "First", &runs);
    Push(undo, "Second", &runs);
    EXPECT_EQ(UndoName(undo), "Second");
    EXPECT_EQ(RedoName(undo), "");
    undo.UndoCurrent();
    EXPECT_EQ(UndoName(undo), "First");
    EXPECT_EQ(RedoName(undo), "Second");
    undo.UndoCurrent();
    EXPECT_EQ(UndoName(undo), "");
    EXPECT_EQ(RedoName(undo), "First");
    // A command without a name gives an empty name rather than a neighbour's.
    Push(undo, "", &runs);
    EXPECT_EQ(UndoName(undo), "");
}

TEST(UndoStepName, BlocksTakeTheirOwnNameOrTheFirstNamedCommandInside)
{
    UndoManager_cls undo;
    int runs = 0;
    Push(undo, "Before", &runs);

    undo.OpenBlock("Move Key");
    Push(undo, "Set Key", &runs);
    Push(undo, "Delete Key", &runs);
    undo.CloseBlock();
    EXPECT_EQ(UndoName(undo), "Move Key");

    undo.OpenBlock();
    Push(undo, "", &runs);
    Push(undo, "Delete Key", &runs);
    Push(undo, "Set Key", &runs);
    undo.CloseBlock();
    EXPECT_EQ(UndoName(undo), "Delete Key") << "unnamed block: first named command inside";

    // Walking back over both blocks: each is one step with its own name.
    undo.UndoCurrent();
    EXPECT_EQ(RedoName(undo), "Delete Key");
    EXPECT_EQ(UndoName(undo), "Move Key");
    undo.UndoCurrent();
    EXPECT_EQ(RedoName(undo), "Move Key");
    EXPECT_EQ(UndoName(undo), "Before");
}

TEST(UndoStepName, TheOutermostNamedBlockWinsOverNestedOnes)
{
    UndoManager_cls undo;
    int runs = 0;
    undo.OpenBlock("Paste Keys");
    undo.OpenBlock("Set Key");
    Push(undo, "Inner", &runs);
    undo.CloseBlock();
    undo.CloseBlock();
    EXPECT_EQ(UndoName(undo), "Paste Keys");

    undo.OpenBlock();
    undo.OpenBlock("Move Keys");
    Push(undo, "Move Key", &runs);
    undo.CloseBlock();
    undo.CloseBlock();
    EXPECT_EQ(UndoName(undo), "Move Keys") << "unnamed outer block: the nested block's name";
    undo.UndoCurrent();
    EXPECT_EQ(RedoName(undo), "Move Keys");
    EXPECT_EQ(UndoName(undo), "Paste Keys");
}

TEST(UndoStepName, ParameterEditsNameTheirSteps)
{
    UndoManager_cls undo;
    Parameters_cls::SetFrameNumber(100);
    Parameters_cls::SetCurrentDoubleIndex(0.0);
    Parameters_cls p(1, L"Isosurface");
    p.SetUndoManager(&undo);
    Parameters_cls::Snapshot animated;
    animated.bTimeDepend = true;
    p.RestoreSnapshot(animated);

    const double a = 1.0, b = 2.0;
    p.ExecCommandSetKey(0.2, &a, kInterpLinear, nullptr, nullptr);
    EXPECT_EQ(UndoName(undo), "Set Key");
    p.ExecCommandSetKey(0.6, &b, kInterpLinear, nullptr, nullptr);

    // Moving onto the other key is an overwrite and a delete, but one step named as a move.
    ASSERT_TRUE(p.MoveKey(0, 0.4, 0, false));
    EXPECT_EQ(p.GetKeyNumber(), 1);
    EXPECT_EQ(UndoName(undo), "Move Key");
    undo.UndoCurrent();
    EXPECT_EQ(p.GetKeyNumber(), 2);
    EXPECT_EQ(RedoName(undo), "Move Key");

    p.SelectAll();
    ASSERT_TRUE(p.MoveTimeSelectedKey(0.1));
    EXPECT_EQ(UndoName(undo), "Move Keys");
    ASSERT_TRUE(p.DeleteSelectedKey());
    EXPECT_EQ(UndoName(undo), "Delete Keys");
    undo.UndoCurrent();
    EXPECT_EQ(p.GetKeyNumber(), 2);

    p.SelectAll();
    const std::wstring text = p.CopyKeyFrameToClipBoard();
    ASSERT_TRUE(p.PasteKeyFrameFromClipBoard(text, 0.9));
    EXPECT_EQ(UndoName(undo), "Paste Keys");

    ASSERT_TRUE(p.SetTimeDependent(false, false));
    EXPECT_EQ(UndoName(undo), "Time Dependence");
}

TEST(UndoStepName, AMasterAndSlaveEditIsNamedOnce)
{
    UndoManager_cls undo;
    Parameters_cls::SetFrameNumber(100);
    Parameters_cls master(1, L"Isosurface"), slave(1, L"Isosurface");
    master.SetUndoManager(&undo);
    slave.SetUndoManager(&undo);
    master.SetSlaveParam(&slave);
    const double v = 3.0;
    master.ExecCommandSetKey(0.5, &v, kInterpLinear, nullptr, nullptr);
    EXPECT_EQ(UndoName(undo), "Set Key");
    undo.UndoCurrent();
    EXPECT_EQ(master.GetKeyNumber(), 0);
    EXPECT_EQ(slave.GetKeyNumber(), 0);
    EXPECT_EQ(RedoName(undo), "Set Key");
    EXPECT_EQ(UndoName(undo), "");
}
