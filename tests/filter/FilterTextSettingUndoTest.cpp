// Text settings of chain items (labels, a fog's target) change as one named undo step that finds
// its item again by tag; setting and reordering steps carry names for the Edit menu too.
#include "anim/UndoManager_cls.h"
#include "filter/ComFilterConfChangeSTR_cls.h"
#include "filter/FilterBase_cls.h"
#include "filter/FilterCtrl_cls.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
int KeyIndex(FilterBase_cls* item, const std::wstring& key)
{
    const auto& items = item->GetPData()->GetConfList().Items();
    for (size_t i = 0; i < items.size(); ++i)
        if (items[i]->GetKey() == key)
            return static_cast<int>(i);
    return -1;
}
} // namespace

TEST(FilterTextSetting, RenameIsOneStepAndFollowsTheItemByTag)
{
    UndoManager_cls undo;
    FilterCtrl_cls chain;
    chain.SetUndoManager(&undo);
    int notices = 0;
    chain.FuncHookChanged = [&](FilterCtrl_cls&) { ++notices; };
    ASSERT_TRUE(chain.AddFilterExecute(5, -1));
    ASSERT_TRUE(chain.AddFilterExecute(6, -1));
    FilterBase_cls* blur = chain.GetPFilterBase(0);
    const int name = KeyIndex(blur, L"FilterName=");
    ASSERT_GE(name, 0);
    const int before = notices;
    ASSERT_TRUE(ComFilterConfChangeSTR_cls::Issue(&chain, blur->GetIdTag(), name, L"Soften"));
    EXPECT_EQ(blur->GetPData()->GetName(), L"Soften");
    EXPECT_GT(notices, before);
    EXPECT_EQ(std::string(undo.GetUndoName()), "Filter Setting");
    // The same text again is no edit.
    const int position = undo.GetPosition();
    EXPECT_FALSE(ComFilterConfChangeSTR_cls::Issue(&chain, blur->GetIdTag(), name, L"Soften"));
    EXPECT_EQ(undo.GetPosition(), position);
    // The item moves: undo still finds it by its tag.
    ASSERT_TRUE(chain.SwapFilter(0));
    EXPECT_EQ(std::string(undo.GetUndoName()), "Move Filter");
    undo.UndoCurrent();
    undo.UndoCurrent();
    EXPECT_EQ(blur->GetPData()->GetName(), L"Gauss Blur");
    undo.ExecCurrent();
    EXPECT_EQ(blur->GetPData()->GetName(), L"Soften");
    // The text form carries the new label.
    EXPECT_NE(chain.SerializeConf().find(L"FilterName=Soften\n"), std::wstring::npos);
}

TEST(FilterTextSetting, WrongTargetsChangeNothing)
{
    UndoManager_cls undo;
    FilterCtrl_cls chain;
    chain.SetUndoManager(&undo);
    ASSERT_TRUE(chain.AddFilterExecute(1, -1)); // fog: a target tag setting
    FilterBase_cls* fog = chain.GetPFilterBase(0);
    const int target = KeyIndex(fog, L"FogTarget=");
    const int distance = KeyIndex(fog, L"FogDistance=");
    ASSERT_GE(target, 0);
    ASSERT_GE(distance, 0);
    const int position = undo.GetPosition();
    // A number setting is no text; an unknown tag or index finds nothing.
    EXPECT_FALSE(ComFilterConfChangeSTR_cls::Issue(&chain, fog->GetIdTag(), distance, L"x"));
    EXPECT_FALSE(ComFilterConfChangeSTR_cls::Issue(&chain, L"no such tag", target, L"x"));
    EXPECT_FALSE(ComFilterConfChangeSTR_cls::Issue(&chain, fog->GetIdTag(), 999, L"x"));
    EXPECT_EQ(undo.GetPosition(), position);
    ASSERT_TRUE(ComFilterConfChangeSTR_cls::Issue(&chain, fog->GetIdTag(), target, L"0Volume0"));
    std::wstring value;
    ASSERT_TRUE(ComFilterConfChangeSTR_cls::GetValue(&chain, fog->GetIdTag(), target, &value));
    EXPECT_EQ(value, L"0Volume0");
    // Removed and put back by undo, the item is found again and its old text restored.
    ASSERT_TRUE(chain.DeleteFilterItem(0));
    EXPECT_EQ(chain.GetItemNum(), 0);
    undo.UndoCurrent();
    ASSERT_EQ(chain.GetItemNum(), 1);
    undo.UndoCurrent();
    ASSERT_TRUE(ComFilterConfChangeSTR_cls::GetValue(&chain, fog->GetIdTag(), target, &value));
    EXPECT_EQ(value, L"");
}

TEST(FilterTextSetting, AChangeOfAnItemThatIsGoneDoesNothing)
{
    UndoManager_cls undo;
    FilterCtrl_cls chain;
    chain.SetUndoManager(&undo);
    ASSERT_TRUE(chain.AddFilterExecute(5, -1));
    const std::wstring tag = chain.GetPFilterBase(0)->GetIdTag();
    const int name = KeyIndex(chain.GetPFilterBase(0), L"FilterName=");
    ComFilterConfChangeSTR_cls change(&chain, tag, name, L"Other");
    chain.ClearFilter();
    EXPECT_FALSE(change.Execute(false));
    EXPECT_EQ(chain.GetItemNum(), 0);
}

TEST(FilterTextSetting, NumberSettingStepsAreNamed)
{
    UndoManager_cls undo;
    FilterCtrl_cls chain;
    chain.SetUndoManager(&undo);
    ASSERT_TRUE(chain.AddFilterExecute(5, -1));
    FilterBase_cls* blur = chain.GetPFilterBase(0);
    ASSERT_TRUE(chain.ChangeConfFLOATExecute(blur->GetIdTag(),
                                             FilterCtrl_cls::ConfIndex(KeyIndex(blur, L"GaussBlurKernelSize=")), 2.0f));
    EXPECT_EQ(std::string(undo.GetUndoName()), "Filter Setting");
}
