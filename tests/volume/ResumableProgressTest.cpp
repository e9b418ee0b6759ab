#include "volume/ResumableProgress_cls.h"

#include <gtest/gtest.h>

TEST(ResumableProgress, PercentFollowsTheLifecycle)
{
    ResumableProgress_cls p;
    EXPECT_TRUE(p.IsCleared());
    EXPECT_EQ(p.GetPercent(), 0) << "not in progress";
    p.Initialize(8);
    EXPECT_TRUE(p.IsInProgress());
    EXPECT_FALSE(p.IsCleared());
    p.SetPosition(3);
    EXPECT_EQ(p.GetPercent(), 37) << "3*100/8, integer division";
    EXPECT_FALSE(p.IsFinishConditionSatisfied());
    p.SetPosition(9);
    EXPECT_EQ(p.GetPercent(), 100) << "past the end";
    EXPECT_TRUE(p.IsFinishConditionSatisfied());
    p.Finalize();
    EXPECT_TRUE(p.IsFinished());
    EXPECT_FALSE(p.IsInProgress());
    EXPECT_EQ(p.GetPercent(), 100);
    p.Clear();
    EXPECT_TRUE(p.IsCleared());
    EXPECT_EQ(p.GetPosition(), 0u);
    p.Initialize(0);
    EXPECT_EQ(p.GetPercent(), 100) << "empty work never divides by zero";
}

TEST(ResumableProgress, ResumeConditionHonoursBudgetAndNoInterrupt)
{
    ResumableProgress_cls p;
    EXPECT_EQ(p.GetTimeBudget(), 25000);
    p.SetTimeBudget(0);
    p.Initialize(10);
    EXPECT_TRUE(p.IsResumeConditionSatisfied(false)) << "a zero budget is spent at once";
    EXPECT_FALSE(p.IsResumeConditionSatisfied(true)) << "noInterrupt never stops";
    p.SetTimeBudget(int64_t(1) << 50);
    p.Initialize(10);
    EXPECT_FALSE(p.IsResumeConditionSatisfied(false));
    // A next unit as long as the budget (or longer) is not started; a short one is.
    EXPECT_TRUE(p.IsResumeConditionSatisfied(false, int64_t(1) << 50));
    EXPECT_FALSE(p.IsResumeConditionSatisfied(false, 1000));
    EXPECT_FALSE(p.IsResumeConditionSatisfied(false, -5)) << "a clock that went back counts as nothing";
    EXPECT_FALSE(p.IsResumeConditionSatisfied(true, int64_t(1) << 52));
}
