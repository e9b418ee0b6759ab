// Every entry of the "add item" menus adds its own item type as one named undo step that undo
// and redo take back and forth; removal is named too.
#include "anim/UndoManager_cls.h"
#include "filter/FilterBase_cls.h"
#include "filter/FilterCtrl_cls.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

TEST(FilterMenuUndo, EveryMenuEntryAddsItsTypeAsOneNamedStep)
{
    const auto& entries = FilterCtrl_cls::GetMenuEntries();
    std::set<int> types;
    for (const auto& entry : entries)
        types.insert(entry.iType);
    // Each item type is offered exactly once.
    EXPECT_EQ(types.size(), entries.size());
    EXPECT_EQ(static_cast<int>(types.size()), FilterBase_cls::kTypeNum);

    for (const auto& entry : entries) {
        SCOPED_TRACE(entry.pText);
        UndoManager_cls undo;
        FilterCtrl_cls chain;
        chain.SetUndoManager(&undo);
        ASSERT_TRUE(chain.AddFilterExecute(entry.iType, -1));
        ASSERT_EQ(chain.GetItemNum(), 1);
        EXPECT_EQ(chain.GetPFilterBase(0)->GetType(), entry.iType);
        EXPECT_EQ(std::string(undo.GetUndoName()), "Add Filter");
        undo.UndoCurrent();
        EXPECT_EQ(chain.GetItemNum(), 0);
        EXPECT_EQ(std::string(undo.GetRedoName()), "Add Filter");
        undo.ExecCurrent();
        ASSERT_EQ(chain.GetItemNum(), 1);
        EXPECT_EQ(chain.GetPFilterBase(0)->GetType(), entry.iType);
    }
}

TEST(FilterMenuUndo, RemovalIsNamedAndUndoPutsTheItemBack)
{
    UndoManager_cls undo;
    FilterCtrl_cls chain;
    chain.SetUndoManager(&undo);
    ASSERT_TRUE(chain.AddFilterExecute(5, -1));
    ASSERT_TRUE(chain.AddFilterExecute(6, -1));
    const FilterBase_cls* second = chain.GetPFilterBase(1);
    ASSERT_TRUE(chain.DeleteFilterItem(0));
    EXPECT_EQ(std::string(undo.GetUndoName()), "Remove Filter");
    ASSERT_EQ(chain.GetItemNum(), 1);
    EXPECT_EQ(chain.GetPFilterBase(0), second);
    undo.UndoCurrent();
    ASSERT_EQ(chain.GetItemNum(), 2);
    EXPECT_EQ(chain.GetPFilterBase(0)->GetType(), 5);
    EXPECT_EQ(chain.GetPFilterBase(1), second);
}
