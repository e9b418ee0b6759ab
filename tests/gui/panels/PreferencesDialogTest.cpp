// Edit > Preferences built for real: the preference items are edited through their inputs and
// written back on OK only; the key table refuses invalid and taken keys with a message and
// keeps the old key, resets single commands and all of them.
#include "config/ConfItemList_cls.h"
#include "config/ConfItem_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "gui/NumInput_cls.h"
#include "gui/PreferencesDialog_cls.h"
#include "gui/Shortcut_cls.h"

#include <gtest/gtest.h>

#include <wx/textctrl.h>

#include <string>

namespace
{
/// Row of `name` in the dialog's key table (rows skip separators and the recent list).
int RowOf(const char* name)
{
    int row = 0;
    for (const auto& r : Shortcut_cls::Records()) {
        if (r.mpName[0] == '\0')
            continue;
        if (std::string(r.mpName) == name)
            return row;
        ++row;
    }
    return -1;
}
} // namespace

TEST(PreferencesDialog, ValuesAreWrittenBackOnlyByApply)
{
    ConfItemList_cls list;
    ConfItemINT_cls threads;
    ConfItemBOOL_cls flag;
    list.Add(&threads, L"ThreadNumFilter=", L"4");
    list.Add(&flag, L"SomeSwitch=", L"0");
    Shortcut_cls keys;
    {
        PreferencesDialog_cls dialog(nullptr, &list, &keys);
        // Nothing edited: nothing changes.
        EXPECT_FALSE(dialog.Apply());
        auto* box = dynamic_cast<wxTextCtrl*>(dialog.GetFirstInput());
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->GetValue(), L"4");
        // Typed but not taken with Return: OK still takes it. Worker counts stop at 16.
        box->ChangeValue(L"40");
        EXPECT_EQ(threads.Get(), 4); // the dialog edits a copy until OK
        EXPECT_TRUE(dialog.Apply());
        EXPECT_EQ(threads.Get(), 16);
        box->ChangeValue(L"two");
        EXPECT_FALSE(dialog.Apply()); // rubbish is not taken, the value stays
        EXPECT_EQ(threads.Get(), 16);
        dialog.Destroy();
    }
}

TEST(PreferencesDialog, KeyTableRefusesBadKeysAndResets)
{
    RecordingPrompt_cls prompt;
    ScopedUserPrompt_cls scoped(&prompt);
    ConfItemList_cls list;
    Shortcut_cls keys;
    PreferencesDialog_cls dialog(nullptr, &list, &keys);
    const int quit = RowOf("Quit");
    const int undo = RowOf("Undo");
    ASSERT_GE(quit, 0);
    ASSERT_GE(undo, 0);

    ASSERT_TRUE(dialog.AssignKey(quit, L"Ctrl+Shift+F9"));
    EXPECT_EQ(dialog.GetEditedKeys().GetKey("Quit"), L"Ctrl+Shift+F9");
    EXPECT_EQ(keys.GetKey("Quit"), L"Ctrl+Q"); // not before OK
    // Taken by another command, or not a key at all: refused with a message, the old key stays.
    EXPECT_FALSE(dialog.AssignKey(undo, L"Ctrl+Shift+F9"));
    EXPECT_FALSE(dialog.AssignKey(undo, L"Ctrl+NoSuchKey"));
    EXPECT_EQ(prompt.Messages().size(), 2u);
    EXPECT_EQ(dialog.GetEditedKeys().GetKey("Undo"), L"Ctrl+Z");
    EXPECT_FALSE(dialog.AssignKey(-1, L"F5"));
    EXPECT_FALSE(dialog.AssignKey(100000, L"F5"));

    EXPECT_TRUE(dialog.Apply());
    EXPECT_EQ(keys.GetKey("Quit"), L"Ctrl+Shift+F9");
    EXPECT_NE(keys.SerializeForConfigure().find(L"Quit=Ctrl+Shift+F9\n"), std::wstring::npos);

    // Reset of one row, then of all rows.
    dialog.ResetKey(quit);
    EXPECT_EQ(dialog.GetEditedKeys().GetKey("Quit"), L"Ctrl+Q");
    ASSERT_TRUE(dialog.AssignKey(undo, L"F7"));
    dialog.ResetKey(-1);
    EXPECT_EQ(dialog.GetEditedKeys().GetKey("Undo"), L"Ctrl+Z");
    EXPECT_EQ(dialog.GetEditedKeys().SerializeForConfigure(), Shortcut_cls().SerializeForConfigure());
    EXPECT_TRUE(dialog.Apply());
    EXPECT_EQ(keys.GetKey("Quit"), L"Ctrl+Q");
    dialog.Destroy();
}
