#include "anim/UndoManager_cls.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace
{

/// Writes a value into an int and logs what it did; returns a chosen chain flag.
class ComSetInt : public CommandItem_cls
{
  public:
    ComSetInt(int* target, int value, std::vector<std::string>* log, bool chain = false, int* deaths = nullptr)
        : mpTarget(target), miValue(value), mpLog(log), mbChain(chain), mpDeaths(deaths)
    {
    }
    ~ComSetInt() override
    {
        if (mpDeaths)
            ++*mpDeaths;
    }
    bool Execute(bool undo) override
    {
        *mpTarget = miValue;
        if (mpLog)
            mpLog->push_back((undo ? "u" : "r") + std::to_string(miValue));
        return mbChain;
    }

  private:
    int* mpTarget;
    int miValue;
    std::vector<std::string>* mpLog;
    bool mbChain;
    int* mpDeaths;
};

/// Records one edit of `value` from its current state to `to`, and executes it.
void Edit(UndoManager_cls& undo, int& value, int to, std::vector<std::string>* log = nullptr, int* deaths = nullptr)
{
    undo.SetNewCommand(std::make_unique<ComSetInt>(&value, to, log, false, deaths),
                       std::make_unique<ComSetInt>(&value, value, log, false, deaths));
    undo.ExecCurrent();
}

TEST(UndoManager, UndoRedoWalkTheHistoryAndStopAtItsEnds)
{
    UndoManager_cls undo;
    int value = 0;
    EXPECT_FALSE(undo.UndoCurrent()) << "nothing to undo";
    EXPECT_FALSE(undo.ExecCurrent()) << "nothing to redo";
    Edit(undo, value, 1);
    Edit(undo, value, 2);
    EXPECT_EQ(value, 2);
    EXPECT_EQ(undo.GetPosition(), 2);
    EXPECT_TRUE(undo.UndoCurrent());
    EXPECT_EQ(value, 1);
    EXPECT_TRUE(undo.UndoCurrent());
    EXPECT_EQ(value, 0);
    EXPECT_FALSE(undo.UndoCurrent());
    EXPECT_EQ(value, 0);
    EXPECT_TRUE(undo.ExecCurrent());
    EXPECT_EQ(value, 1);
    EXPECT_TRUE(undo.ExecCurrent());
    EXPECT_EQ(value, 2);
    EXPECT_FALSE(undo.ExecCurrent());
    EXPECT_EQ(undo.GetCount(), 2);
}

TEST(UndoManager, NewEditAfterTwoUndosDiscardsTheUndonePairs)
{
    // The counters outlive the history: its commands count their deaths when it is destroyed.
    int value = 0;
    int deaths = 0;
    UndoManager_cls undo;
    Edit(undo, value, 1, nullptr, &deaths);
    Edit(undo, value, 2, nullptr, &deaths);
    Edit(undo, value, 3, nullptr, &deaths);
    undo.UndoCurrent();
    undo.UndoCurrent();
    ASSERT_EQ(value, 1);
    Edit(undo, value, 7, nullptr, &deaths);
    EXPECT_EQ(deaths, 4) << "both members of the two undone pairs are deleted";
    EXPECT_EQ(undo.GetCount(), 2);
    EXPECT_FALSE(undo.CanRedo());
    undo.UndoCurrent();
    EXPECT_EQ(value, 1);
    undo.UndoCurrent();
    EXPECT_EQ(value, 0);
}

TEST(UndoManager, PushNewCommandAppendsWithoutDiscarding)
{
    UndoManager_cls undo;
    int value = 0;
    Edit(undo, value, 1);
    Edit(undo, value, 2);
    undo.UndoCurrent();
    undo.PushNewCommand(std::make_unique<ComSetInt>(&value, 9, nullptr),
                        std::make_unique<ComSetInt>(&value, 2, nullptr));
    EXPECT_EQ(undo.GetCount(), 3) << "the undone pair is kept";
    EXPECT_EQ(undo.GetPosition(), 1);
    EXPECT_EQ(value, 1) << "pushing does not execute";
}

TEST(UndoManager, ABlockIsOneUndoAndOneRedoStep)
{
    UndoManager_cls undo;
    int value = 0;
    std::vector<std::string> log;
    Edit(undo, value, 1);
    undo.OpenBlock();
    EXPECT_EQ(undo.GetBlockDepth(), 1);
    Edit(undo, value, 2, &log);
    Edit(undo, value, 3, &log);
    Edit(undo, value, 4, &log);
    undo.CloseBlock();
    EXPECT_EQ(undo.GetBlockDepth(), 0);
    EXPECT_EQ(undo.GetRedoCommandType(1), static_cast<uint32_t>(kComBlockOpen));
    EXPECT_EQ(undo.GetUndoCommandType(1), static_cast<uint32_t>(kComBlockClose));
    EXPECT_EQ(undo.GetRedoCommandType(5), static_cast<uint32_t>(kComBlockClose));

    log.clear();
    EXPECT_TRUE(undo.UndoCurrent());
    EXPECT_EQ(value, 1);
    EXPECT_EQ(log, (std::vector<std::string>{"u3", "u2", "u1"})) << "inner pairs undone newest first";
    EXPECT_EQ(undo.GetBlockDepth(), 0);
    EXPECT_EQ(undo.GetPosition(), 1);

    log.clear();
    EXPECT_TRUE(undo.ExecCurrent());
    EXPECT_EQ(value, 4);
    EXPECT_EQ(log, (std::vector<std::string>{"r2", "r3", "r4"}));
    EXPECT_EQ(undo.GetBlockDepth(), 0);
    EXPECT_EQ(undo.GetPosition(), 6);

    undo.UndoCurrent();
    undo.UndoCurrent();
    EXPECT_EQ(value, 0);
}

TEST(UndoManager, AnEmptyBlockLeavesNoUndoStep)
{
    UndoManager_cls undo;
    int value = 0;
    Edit(undo, value, 5);
    undo.OpenBlock();
    undo.CloseBlock();
    EXPECT_EQ(undo.GetCount(), 1);
    EXPECT_EQ(undo.GetPosition(), 1);
    EXPECT_EQ(undo.GetBlockDepth(), 0);
    EXPECT_TRUE(undo.UndoCurrent());
    EXPECT_EQ(value, 0) << "one undo reaches the edit before the empty block";

    // An empty block nested in a real one disappears as well; the outer block stays one step.
    UndoManager_cls nested;
    int v = 0;
    nested.OpenBlock();
    Edit(nested, v, 1);
    nested.OpenBlock();
    nested.CloseBlock();
    EXPECT_EQ(nested.GetBlockDepth(), 1);
    nested.CloseBlock();
    EXPECT_EQ(nested.GetCount(), 3);
    nested.UndoCurrent();
    EXPECT_EQ(v, 0);
    EXPECT_EQ(nested.GetPosition(), 0);
}

TEST(UndoManager, ChainFlagsRunTheNeighbourPairToo)
{
    UndoManager_cls undo;
    int slave = 0;
    int master = 0;
    int other = 0;
    std::vector<std::string> log;
    Edit(undo, other, 1);
    // The slave pair is recorded first: its redo chains forward (it has a master); the master's
    // undo chains backward (it has a slave).
    undo.SetNewCommand(std::make_unique<ComSetInt>(&slave, 10, &log, true),
                       std::make_unique<ComSetInt>(&slave, 0, &log, false));
    undo.ExecCurrent();
    undo.SetNewCommand(std::make_unique<ComSetInt>(&master, 20, &log, false),
                       std::make_unique<ComSetInt>(&master, 0, &log, true));
    undo.ExecCurrent();
    log.clear();
    undo.UndoCurrent();
    EXPECT_EQ(log, (std::vector<std::string>{"u0", "u0"}));
    EXPECT_EQ(slave, 0);
    EXPECT_EQ(master, 0);
    EXPECT_EQ(other, 1) << "the chain stops at the slave";
    log.clear();
    undo.ExecCurrent();
    EXPECT_EQ(log, (std::vector<std::string>{"r10", "r20"}));
    EXPECT_EQ(undo.GetPosition(), 3);
}

TEST(UndoManager, PositionGuardResetsInsteadOfUndoing)
{
    UndoManager_cls undo;
    int value = 0;
    const int pairs = UndoManager_cls::kPositionGuard + 1;
    for (int i = 0; i < pairs; ++i)
        undo.PushNewCommand(std::make_unique<ComSetInt>(&value, i + 1, nullptr),
                            std::make_unique<ComSetInt>(&value, -1, nullptr));
    undo.ExecCurrent(); // runs only the first pair: no block is open
    ASSERT_EQ(undo.GetPosition(), 1);
    // Walk the position to the end by redoing every pair.
    while (undo.ExecCurrent()) {
    }
    ASSERT_EQ(undo.GetPosition(), pairs);
    ASSERT_EQ(value, pairs);
    EXPECT_TRUE(undo.UndoCurrent());
    EXPECT_EQ(undo.GetPosition(), 0) << "a position at the guard resets to 0";
    EXPECT_EQ(value, pairs) << "no undo command ran";

    // Just below the guard an undo runs normally.
    UndoManager_cls below;
    int v = 0;
    for (int i = 0; i < UndoManager_cls::kPositionGuard; ++i)
        below.PushNewCommand(std::make_unique<ComSetInt>(&v, i + 1, nullptr),
                             std::make_unique<ComSetInt>(&v, i, nullptr));
    while (below.ExecCurrent()) {
    }
    below.UndoCurrent();
    EXPECT_EQ(below.GetPosition(), UndoManager_cls::kPositionGuard - 1);
    EXPECT_EQ(v, UndoManager_cls::kPositionGuard - 1);
}

TEST(UndoManager, SkipCurrentOnlyInsideABlock)
{
    UndoManager_cls undo;
    int value = 0;
    undo.PushNewCommand(std::make_unique<ComSetInt>(&value, 1, nullptr),
                        std::make_unique<ComSetInt>(&value, 0, nullptr));
    undo.SkipCurrent();
    EXPECT_EQ(undo.GetPosition(), 0) << "no block open";
    undo.AddBlockDepth(1);
    undo.SkipCurrent();
    EXPECT_EQ(undo.GetPosition(), 1);
    EXPECT_EQ(value, 0) << "skipping does not execute";
    undo.AddBlockDepth(-1);
}

TEST(UndoManager, CleanMarkFollowsTheSavedPosition)
{
    UndoManager_cls undo;
    int value = 0;
    EXPECT_TRUE(undo.IsClean());
    Edit(undo, value, 1);
    EXPECT_FALSE(undo.IsClean());
    undo.SetClean();
    EXPECT_TRUE(undo.IsClean());
    Edit(undo, value, 2);
    EXPECT_FALSE(undo.IsClean());
    undo.UndoCurrent();
    EXPECT_TRUE(undo.IsClean()) << "undo back to the saved state";
    undo.UndoCurrent();
    EXPECT_FALSE(undo.IsClean());
    Edit(undo, value, 3);
    undo.UndoCurrent();
    EXPECT_FALSE(undo.IsClean()) << "the saved state was in the discarded tail";
    undo.Clear();
    EXPECT_TRUE(undo.IsClean());
    EXPECT_EQ(undo.GetCount(), 0);
}

TEST(UndoManager, ListenersHearOnceAfterACompleteEdit)
{
    UndoManager_cls undo;
    int value = 0;
    std::vector<uint32_t> heard;
    const int id = undo.AddListener([&heard](uint32_t flags) { heard.push_back(flags); });
    Edit(undo, value, 1);
    ASSERT_EQ(heard.size(), 1u);
    heard.clear();
    undo.OpenBlock();
    auto colour = std::make_unique<ComSetInt>(&value, 2, nullptr);
    colour->AddType(kComColorRedraw);
    undo.SetNewCommand(std::move(colour), std::make_unique<ComSetInt>(&value, 1, nullptr));
    undo.ExecCurrent();
    EXPECT_TRUE(heard.empty()) << "nothing is announced while the block is open";
    undo.CloseBlock();
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_EQ(heard[0] & kComColorRedraw, static_cast<uint32_t>(kComColorRedraw))
        << "flags of commands inside the block reach the notice";
    undo.RemoveListener(id);
    undo.UndoCurrent();
    EXPECT_EQ(heard.size(), 1u);
}

TEST(UndoManager, RemoveItemKeepsThePositionOnTheSamePair)
{
    UndoManager_cls undo;
    int a = 0;
    int b = 0;
    Edit(undo, a, 1);
    Edit(undo, b, 2);
    undo.RemoveItem(0);
    EXPECT_EQ(undo.GetCount(), 1);
    EXPECT_EQ(undo.GetPosition(), 1);
    undo.UndoCurrent();
    EXPECT_EQ(b, 0);
    EXPECT_EQ(a, 1) << "the removed pair is no longer undone";
    undo.RemoveItem(5); // out of range: ignored
    EXPECT_EQ(undo.GetCount(), 1);
}

} // namespace
