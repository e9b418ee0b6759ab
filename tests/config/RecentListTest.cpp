#include "config/RecentList_cls.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

namespace {

std::wstring P(int i) { return L"/p/" + std::to_wstring(i) + L".vsp"; }

TEST(RecentList, PushMovesExistingEntriesWithoutDropping)
{
    RecentList_cls list;
    for (int i = 9; i >= 0; --i)
        list.PushBackRecent(P(i)); // list is now P0..P9
    ASSERT_EQ(list.Count(), 10);
    list.PushBackRecent(P(0));
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(list.Get(i), P(i)) << "pushing the newest entry changes nothing";

    list.PushBackRecent(P(9));
    EXPECT_EQ(list.Get(0), P(9));
    for (int i = 1; i < 10; ++i)
        EXPECT_EQ(list.Get(i), P(i - 1)) << "the entry at index 9 moves up, nothing drops";

    list.PushBackRecent(L"/new.vsp");
    EXPECT_EQ(list.Get(0), L"/new.vsp");
    EXPECT_EQ(list.Get(1), P(9));
    EXPECT_EQ(list.Get(9), P(7)) << "a new entry drops the oldest";
}

TEST(RecentList, ReadSkipsEmptyLinesTrimsAndKeepsTen)
{
    TempDir dir;
    std::string text = "\n  \n";
    for (int i = 0; i < 12; ++i)
        text += "/data/f" + std::to_string(i) + ".vsp  \t\r\n\n";
    WriteFileText(dir.File("KivrelRecent.txt"), text);
    RecentList_cls list;
    list.ReadRecentList(dir.File("KivrelRecent.txt"));
    ASSERT_EQ(list.Count(), 10);
    EXPECT_EQ(list.Get(0), L"/data/f0.vsp");
    EXPECT_EQ(list.Get(9), L"/data/f9.vsp");

    // Missing file: the list stays as it was.
    list.ReadRecentList(dir.File("missing.txt"));
    EXPECT_EQ(list.Count(), 10);
}

TEST(RecentList, SaveWritesNonEmptyEntriesInOrderAndRoundTrips)
{
    TempDir dir;
    RecentList_cls list;
    list.PushBackRecent(L"/b/\u00fcber.vsp");
    list.PushBackRecent(L"/a/x y.vsp");
    ASSERT_EQ(list.SaveRecentFile(dir.File("r.txt")), 1);
    EXPECT_EQ(ReadFileText(dir.File("r.txt")), "/a/x y.vsp\n/b/\xc3\xbc" "ber.vsp\n");
    RecentList_cls back;
    back.ReadRecentList(dir.File("r.txt"));
    EXPECT_EQ(back.Get(0), list.Get(0));
    EXPECT_EQ(back.Get(1), list.Get(1));
    EXPECT_EQ(list.SaveRecentFile(dir.File("no/such/dir/r.txt")), 0);
}

} // namespace
