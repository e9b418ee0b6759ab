// Preview settings edited through the history: one step per edit that undo and redo walk, the
// listener told each time, and no step for a value the setting already holds or for a drag that
// came back to where it began.
#include "anim/UndoManager_cls.h"
#include "config/PreviewProperty_cls.h"

#include <gtest/gtest.h>

namespace
{

class PreviewPropertyUndo : public ::testing::Test
{
  protected:
    void SetUp() override { GetUndoManager().Clear(); }
    void TearDown() override { GetUndoManager().Clear(); }
    PreviewProperty_cls mCPreview;
};

} // namespace

TEST_F(PreviewPropertyUndo, EditIsOneStepThatUndoAndRedoWalk)
{
    int notices = 0;
    mCPreview.FuncHookChanged = [&] { ++notices; };
    const std::wstring before = mCPreview.SerializeConf();
    ASSERT_TRUE(mCPreview.SetItemExecute(L"PreviewTextureType=", L"2"));
    EXPECT_EQ(mCPreview.GetTextureType(), 2u);
    EXPECT_EQ(notices, 1);
    EXPECT_STREQ(GetUndoManager().GetUndoName(), "Preview Setting");
    ASSERT_TRUE(mCPreview.SetItemExecute(L"PreviewAbsorption=", L"0.375"));
    EXPECT_FLOAT_EQ(mCPreview.GetAbsorption(), 0.375f);
    const std::wstring after = mCPreview.SerializeConf();

    GetUndoManager().UndoCurrent();
    EXPECT_FLOAT_EQ(mCPreview.GetAbsorption(), 0.0f);
    EXPECT_EQ(mCPreview.GetTextureType(), 2u);
    GetUndoManager().UndoCurrent();
    EXPECT_EQ(mCPreview.SerializeConf(), before);
    EXPECT_FALSE(GetUndoManager().UndoCurrent());
    EXPECT_EQ(notices, 4);

    GetUndoManager().ExecCurrent();
    GetUndoManager().ExecCurrent();
    EXPECT_EQ(mCPreview.SerializeConf(), after);
}

TEST_F(PreviewPropertyUndo, SameValuesAndUnknownKeysMakeNoStep)
{
    EXPECT_FALSE(mCPreview.SetItemExecute(L"PreviewLuminanceFactor=", L"1"));
    EXPECT_FALSE(mCPreview.SetItemExecute(L"NoSuchKey=", L"3"));
    EXPECT_FALSE(GetUndoManager().CanUndo());
}

TEST_F(PreviewPropertyUndo, DragIsOneStepFromWhereItBegan)
{
    int notices = 0;
    mCPreview.FuncHookChanged = [&] { ++notices; };
    // A slider sets the value on the way (no history), the release records the whole drag.
    const std::wstring start = mCPreview.GetConfList().Find(L"PreviewLuminanceFactor=")->GetItemStr();
    mCPreview.ReadStrLine(L"PreviewLuminanceFactor=1.5");
    mCPreview.ReadStrLine(L"PreviewLuminanceFactor=2.25");
    ASSERT_TRUE(mCPreview.SetItemExecute(L"PreviewLuminanceFactor=", start, L"2.25"));
    EXPECT_FLOAT_EQ(mCPreview.GetLuminanceFactor(), 2.25f);
    GetUndoManager().UndoCurrent();
    EXPECT_FLOAT_EQ(mCPreview.GetLuminanceFactor(), 1.0f);
    EXPECT_FALSE(GetUndoManager().CanUndo());

    // Dragged away and back: no step, the setting where it began and the views told once.
    notices = 0;
    mCPreview.ReadStrLine(L"PreviewLuminanceFactor=3");
    EXPECT_FALSE(mCPreview.SetItemExecute(L"PreviewLuminanceFactor=", start, start));
    EXPECT_FLOAT_EQ(mCPreview.GetLuminanceFactor(), 1.0f);
    EXPECT_EQ(notices, 1);
    EXPECT_FALSE(GetUndoManager().CanUndo());
}
