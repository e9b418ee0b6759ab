#include "anim/UndoManager_cls.h"
#include "color/ColorTable_cls.h"
#include "color/Coloring_cls.h"
#include "color/CustomColor_cls.h"
#include "config/LineStream_cls.h"

#include <gtest/gtest.h>

namespace
{

struct Stop {
    double pos, r, g, b;
};

// The templates as users know them from the chooser.
const std::vector<std::vector<Stop>> kTemplates = {
    {{0, 1, 0, 0}, {1, 1, 1, 0}},
    {{0, 0, 0, 1}, {1, 0, 1, 1}},
    {{0, 0, 1, 0}, {0.5, 1, 1, 0}, {1, 1, 0, 0}},
    {{0, 0, 0, 0}, {1, 1, 1, 1}},
    {{0, 0.5, 0.5, 0.5}, {1, 0.75, 0.75, 0.75}},
    {{0, 0.03, 0, 0.07},
     {0.167, 0.32, 0, 0.77},
     {0.333, 0, 0.31, 0.59},
     {0.5, 0, 0.78, 0},
     {0.666, 0.82, 0.56, 0},
     {0.833, 0.84, 0, 0},
     {1, 0.26, 0, 0}},
    {{0, 1, 0, 0}, {0.25, 0.5, 0, 0.5}, {0.5, 0, 0, 1}, {0.75, 0, 0.5, 0.5}, {1, 0, 1, 0}},
    {{0, 1, 0, 0},
     {0.167, 0.5, 0, 0.5},
     {0.333, 0, 0, 1},
     {0.5, 0, 0.5, 0.5},
     {0.666, 0, 1, 0},
     {0.833, 0.5, 0.5, 0},
     {1, 1, 0, 0}},
    {{0, 0, 0, 0}, {0.594, 0.73, 0, 0}, {0.8097, 1, 0.55, 0.2}, {0.8998, 0.97, 0.94, 0.07}, {1, 0.97, 0.97, 0.83}},
    {{0, 1, 1, 1}, {0.6477, 0.05, 0.02, 0.14}, {1, 0.36, 0.73, 0.76}},
};

void ExpectKeys(const Parameters_cls* p, const std::vector<Stop>& stops, const char* what)
{
    ASSERT_NE(p, nullptr);
    ASSERT_EQ(p->GetKeyNumber(), static_cast<int>(stops.size())) << what;
    for (size_t i = 0; i < stops.size(); ++i) {
        const double* v = p->GetPKeyFrameValue(static_cast<int>(i));
        EXPECT_EQ(p->GetKeyFrameDoubleIndex(static_cast<int>(i)), stops[i].pos) << what << " key " << i;
        EXPECT_EQ(v[0], stops[i].r) << what << " key " << i;
        EXPECT_EQ(v[1], stops[i].g) << what << " key " << i;
        EXPECT_EQ(v[2], stops[i].b) << what << " key " << i;
        EXPECT_EQ(v[3], 1.0) << what << " key " << i;
    }
}

class CustomColorTest : public ::testing::Test
{
  protected:
    UndoManager_cls mCUndo;
    CustomColor_cls mC{&mCUndo};
};

TEST_F(CustomColorTest, WithoutMapsEverythingIsMidGrey)
{
    EXPECT_EQ(mC.GetActiveItem(), -1);
    EXPECT_EQ(mC.GetCustomColor(0.3, 0, true, 0), 0.5);
    EXPECT_EQ(mC.GetCustomColor(0.9, 2, false, -1), 0.5);
    auto v4 = mC.GetV4CustomColor(0.1, true, 3, 0.5f);
    EXPECT_EQ(v4[0], 0.25f);
    EXPECT_EQ(v4[3], 1.0f);
    mC.SetCursor(200);
    for (unsigned c = 0; c < 3; ++c) {
        EXPECT_EQ(mC.GetCacheDisplay(c), 127);
        EXPECT_EQ(mC.GetCacheSlider(c), 127);
    }
    EXPECT_FALSE(mC.IsKeyPoint());
    EXPECT_FALSE(mC.SetColorTemplate(3)) << "no map to apply it to";
    EXPECT_FALSE(mC.AddKey());
    EXPECT_FALSE(mC.ClrShiftBy(0.1));
    EXPECT_EQ(mCUndo.GetCount(), 0);
}

TEST_F(CustomColorTest, TemplateNamesAndExactKeys)
{
    const auto names = CustomColor_cls::GetTemplateNames();
    ASSERT_EQ(names.size(), 11u);
    EXPECT_EQ(names[0], L"-- select --");
    EXPECT_EQ(names[4], L"Black White");
    EXPECT_EQ(names[5], L"Modelate Gray");
    EXPECT_EQ(names[10], L"Cold Steel");

    ASSERT_TRUE(mC.AddItem());
    ExpectKeys(mC.GetPItem(-1), kTemplates[3], "new map");
    for (int t = 1; t <= 10; ++t) {
        ASSERT_TRUE(mC.SetColorTemplate(t));
        ExpectKeys(mC.GetPItem(-1), kTemplates[size_t(t - 1)], "template");
    }
}

TEST_F(CustomColorTest, TemplateIsOneUndoStepAndZeroDoesNothing)
{
    ASSERT_TRUE(mC.AddItem());
    const int steps = mCUndo.GetPosition();
    EXPECT_FALSE(mC.SetColorTemplate(0));
    EXPECT_FALSE(mC.SetColorTemplate(11));
    EXPECT_EQ(mCUndo.GetCount(), steps) << "template 0 opens no block";

    ASSERT_TRUE(mC.SetColorTemplate(6));
    ExpectKeys(mC.GetPItem(-1), kTemplates[5], "Optical");
    int hooks = 0;
    mC.FuncHookMapChanged = [&] { ++hooks; };
    ASSERT_TRUE(mCUndo.UndoCurrent());
    ExpectKeys(mC.GetPItem(-1), kTemplates[3], "after one undo");
    EXPECT_GE(hooks, 1) << "undo must refresh the colour bar and the preview";
    EXPECT_EQ(mC.GetColorBar()[255 * 3], 255) << "bar shows Black White again";
    ASSERT_TRUE(mCUndo.ExecCurrent());
    ExpectKeys(mC.GetPItem(-1), kTemplates[5], "after redo");
    // Undoing the template and the creation removes the map altogether.
    ASSERT_TRUE(mCUndo.UndoCurrent());
    ASSERT_TRUE(mCUndo.UndoCurrent());
    EXPECT_EQ(mC.GetItemNumber(), 0);
}

TEST_F(CustomColorTest, OnlyMapEditsRefreshThePreview)
{
    ASSERT_TRUE(mC.AddItem());
    int hooks = 0;
    mC.FuncHookMapChanged = [&] { ++hooks; };
    Parameters_cls light(4, L"Light");
    light.SetUndoManager(&mCUndo);
    light.SetTimeDependent(true, false);
    const double v[4] = {1, 2, 3, 4};
    ASSERT_TRUE(light.ExecCommandSetKey(0.5, v, kInterpLinear, nullptr, nullptr));
    ASSERT_TRUE(mCUndo.UndoCurrent());
    EXPECT_EQ(hooks, 0) << "undoing a light edit must not rebuild colour textures";
    ASSERT_TRUE(mC.SetColorTemplate(2));
    EXPECT_EQ(hooks, 1);
}

TEST_F(CustomColorTest, LookupInterpolatesAndFallsBackToActiveMap)
{
    ASSERT_TRUE(mC.AddItem());
    ASSERT_TRUE(mC.SetColorTemplate(3)); // green, yellow at 0.5, red
    ASSERT_TRUE(mC.AddItem());
    ASSERT_TRUE(mC.SetColorTemplate(2)); // blue to cyan, now active (item 1)
    EXPECT_NEAR(mC.GetCustomColor(0.25, 0, true, 0), 0.5, 1e-12);
    EXPECT_NEAR(mC.GetCustomColor(0.25, 1, true, 0), 1.0, 1e-12);
    EXPECT_NEAR(mC.GetCustomColor(0.75, 1, true, 0), 0.5, 1e-12);
    EXPECT_NEAR(mC.GetCustomColor(0.4, 1, true, 7), 0.4, 1e-12) << "item past the end: the active map";
    EXPECT_NEAR(mC.GetCustomColor(0.4, 1, true, -1), 0.4, 1e-12);
    EXPECT_EQ(mC.GetCustomColor(0.4, 3, false, 0), 1.0) << "fourth value";

    Coloring_cls col(&mCUndo);
    float rgb[3];
    col.GetColor(rgb, 0.5f, 10, true);
    for (float c : rgb)
        EXPECT_EQ(c, 0.5f) << "the Coloring_cls's own maps are still empty";
}

TEST_F(CustomColorTest, CopyRGBHalvingOnARealMap)
{
    Coloring_cls col(&mCUndo);
    CustomColor_cls* cc = col.GetPCustomColor();
    ASSERT_TRUE(cc->AddItem()); // black to white: colour at p is p
    float rgb[3];
    col.CopyRGB(rgb, 0, 10);
    EXPECT_NEAR(rgb[0], 1.0 / 3, 1e-6);
    col.CopyRGB(rgb, 1, 10);
    EXPECT_NEAR(rgb[1], 1.5 * 2.0 / 3, 1e-6);
    col.CopyRGB(rgb, 2, 10);
    EXPECT_NEAR(rgb[2], 1.75, 1e-6);
    col.CopyRGB(rgb, 2, 99); // past the end: active map
    EXPECT_NEAR(rgb[2], 1.75, 1e-6);
}

TEST_F(CustomColorTest, CacheFollowsCursorAndSyncWritesOneKey)
{
    ASSERT_TRUE(mC.AddItem()); // black to white
    mC.SetCursor(128);
    EXPECT_EQ(mC.GetCacheDisplay(0), 128);
    EXPECT_EQ(mC.GetCacheSlider(0), 128);
    EXPECT_FALSE(mC.IsKeyPoint());
    EXPECT_FALSE(mC.SyncFromCache()) << "nothing moved: no key";

    mC.SetCursor(51); // density 0.2
    mC.SetCacheSlider(0, 255);
    const int before = mCUndo.GetPosition();
    ASSERT_TRUE(mC.SyncFromCache());
    const Parameters_cls* p = mC.GetPItem(-1);
    ASSERT_EQ(p->GetKeyNumber(), 3);
    EXPECT_TRUE(mC.IsKeyPoint());
    const double* v = p->GetPKeyFrameValue(1);
    EXPECT_EQ(v[0], 1.0);
    EXPECT_NEAR(v[1], 0.2, 1e-12) << "untouched channels keep their exact value";
    EXPECT_EQ(mC.GetCacheDisplay(0), 255);
    ASSERT_TRUE(mCUndo.UndoCurrent());
    EXPECT_EQ(mCUndo.GetPosition(), before);
    EXPECT_EQ(p->GetKeyNumber(), 2);
    EXPECT_EQ(mC.GetCacheSlider(0), 51) << "the editor follows the undo";

    // Values beyond 0..1 pin the slider but show their true size.
    mC.SetCursor(255);
    mC.SetCacheSlider(1, 0);
    ASSERT_TRUE(mC.SyncFromCache());
    KeyFrame_cls k = *mC.GetPItem(-1)->GetPKeyFrame(1);
    k.GetPValue()[2] = 1.2;
    mC.GetItems().GetPItem(0)->ExecCommandOvwtKey(1, k);
    mC.UpdateCacheColor();
    EXPECT_EQ(mC.GetCacheSlider(2), 255);
    EXPECT_EQ(mC.GetCacheDisplay(2), 306);
    EXPECT_EQ(mC.GetCustomColor(1.0, 2, true, 0), 1.0);
    EXPECT_EQ(mC.GetCustomColor(1.0, 2, false, 0), 1.2);
}

TEST_F(CustomColorTest, AddAndRemoveKeyAtCursor)
{
    ASSERT_TRUE(mC.AddItem());
    mC.SetCursor(100);
    ASSERT_TRUE(mC.AddKey());
    EXPECT_TRUE(mC.IsKeyPoint());
    EXPECT_FALSE(mC.AddKey()) << "a key already lies there";
    EXPECT_EQ(mC.GetPItem(-1)->GetKeyNumber(), 3);
    EXPECT_NEAR(mC.GetPItem(-1)->GetPKeyFrameValue(1)[0], 100 / 255.0, 1e-12) << "the map is unchanged";
    ASSERT_TRUE(mC.RemoveKey());
    EXPECT_FALSE(mC.RemoveKey());
    EXPECT_EQ(mC.GetPItem(-1)->GetKeyNumber(), 2);
}

TEST_F(CustomColorTest, ClrShiftMovesEveryKeyClampedAsOneStep)
{
    ASSERT_TRUE(mC.AddItem());
    ASSERT_TRUE(mC.SetColorTemplate(7)); // stops at 0, 0.25, 0.5, 0.75, 1
    ASSERT_TRUE(mC.ClrShiftBy(0.25));
    // The stops from 0.75 and 1 both reach 1: the inner one (0, 0.5, 0.5) stays.
    ExpectKeys(mC.GetPItem(-1), {{0.25, 1, 0, 0}, {0.5, 0.5, 0, 0.5}, {0.75, 0, 0, 1}, {1, 0, 0.5, 0.5}}, "shift +");
    ASSERT_TRUE(mCUndo.UndoCurrent());
    ExpectKeys(mC.GetPItem(-1), kTemplates[6], "undone");

    ASSERT_TRUE(mC.ClrShiftBy(-0.5));
    ExpectKeys(mC.GetPItem(-1), {{0, 0, 0, 1}, {0.25, 0, 0.5, 0.5}, {0.5, 0, 1, 0}}, "shift -");
    ASSERT_TRUE(mCUndo.UndoCurrent());

    // The button: the key nearest the cursor lands on the cursor.
    mC.SetCursor(153); // 0.6; nearest stop 0.5
    ASSERT_TRUE(mC.ClrShift());
    EXPECT_NEAR(mC.GetPItem(-1)->GetKeyFrameDoubleIndex(2), 0.6, 1e-12);
    EXPECT_NEAR(mC.GetPItem(-1)->GetKeyFrameDoubleIndex(0), 0.1, 1e-12);
    EXPECT_FALSE(mC.ClrShiftBy(0.0));
}

TEST_F(CustomColorTest, ShortFormOnlyForStraightMaps)
{
    ASSERT_TRUE(mC.AddItem());
    EXPECT_TRUE(mC.IsShortClrMapPossible(0));
    float pos[2], rgb[2][3];
    ASSERT_TRUE(mC.GetShortClrMap(0, pos, rgb));
    EXPECT_EQ(pos[0], 0.0f);
    EXPECT_EQ(pos[1], 1.0f);
    EXPECT_EQ(rgb[1][2], 1.0f);
    ASSERT_TRUE(mC.SetColorTemplate(3));
    EXPECT_FALSE(mC.IsShortClrMapPossible(0)) << "three keys";
    ASSERT_TRUE(mC.SetColorTemplate(10));
    EXPECT_FALSE(mC.IsShortClrMapPossible(0));
    mC.SetCursor(255);
    ASSERT_TRUE(mC.RemoveKey());
    EXPECT_TRUE(mC.IsShortClrMapPossible(0)) << "two stops off the density grid";
    ASSERT_TRUE(mC.GetShortClrMap(0, pos, rgb));
    EXPECT_FLOAT_EQ(pos[1], 0.6477f);
    // A step between two keys is no straight blend.
    mC.GetItems().GetPItem(0)->SetKeyType(0, kInterpStep);
    EXPECT_FALSE(mC.IsShortClrMapPossible(0));
    mC.SetCursor(0);
    ASSERT_TRUE(mC.RemoveKey());
    EXPECT_TRUE(mC.IsShortClrMapPossible(0)) << "a single key is a constant colour";
    ASSERT_TRUE(mC.GetShortClrMap(0, pos, rgb));
    EXPECT_EQ(pos[0], 0.0f);
    EXPECT_EQ(pos[1], 1.0f);
    EXPECT_FLOAT_EQ(rgb[0][2], 0.14f) << "the stop left at 0.6477";
    EXPECT_FLOAT_EQ(rgb[1][2], 0.14f);
}

TEST_F(CustomColorTest, MultiplyFlagFollowsItsMapThroughUndo)
{
    ASSERT_TRUE(mC.AddItem());
    ASSERT_TRUE(mC.AddItem());
    mC.SetMultiplyLevel(1, true);
    EXPECT_TRUE(mC.IsMultiplyLevel(1));
    EXPECT_FALSE(mC.IsMultiplyLevel(0));
    EXPECT_TRUE(mC.GetCacheMultiply());
    mC.SetActiveItem(1);
    ASSERT_TRUE(mC.RemoveItem());
    EXPECT_EQ(mC.GetItemNumber(), 1);
    EXPECT_FALSE(mC.IsMultiplyLevel(0));
    ASSERT_TRUE(mCUndo.UndoCurrent());
    ASSERT_EQ(mC.GetItemNumber(), 2);
    EXPECT_TRUE(mC.IsMultiplyLevel(1)) << "the restored map keeps its flag";
    EXPECT_FALSE(mC.IsMultiplyLevel(0));
}

TEST_F(CustomColorTest, TextFormRoundTrip)
{
    ASSERT_TRUE(mC.AddItem());
    ASSERT_TRUE(mC.SetColorTemplate(9));
    ASSERT_TRUE(mC.AddItem());
    ASSERT_TRUE(mC.SetColorTemplate(5));
    mC.SetMultiplyLevel(1, true);
    mC.SetActiveItem(0);
    const std::wstring text = mC.Serialize();
    EXPECT_NE(text.find(L"CUSTOMCOLOR_NUM=2\n"), std::wstring::npos);

    UndoManager_cls otherUndo;
    CustomColor_cls other(&otherUndo);
    LineStream_cls stream(text);
    std::wstring line;
    while (stream.GetLine(line))
        other.ReadStrLine(stream, line);
    EXPECT_EQ(other.Serialize(), text);
    EXPECT_EQ(other.GetActiveItem(), 0);
    EXPECT_TRUE(other.IsMultiplyLevel(1));
    ExpectKeys(other.GetPItem(0), kTemplates[8], "read back");
    EXPECT_EQ(otherUndo.GetCount(), 0) << "reading is no edit";
}

TEST_F(CustomColorTest, PreviewTableAppliesMultiplyFlag)
{
    Coloring_cls col(&mCUndo);
    CustomColor_cls* cc = col.GetPCustomColor();
    ASSERT_TRUE(cc->AddItem());
    ASSERT_TRUE(cc->SetColorTemplate(1)); // red to yellow
    ColorTable_cls table;
    table.Build(col, 10, 0, true);
    EXPECT_EQ(table.GetEntry(255)[1], 255);
    EXPECT_EQ(table.GetEntry(255)[3], 128) << "custom layer 0 alpha factor 0.5";
    cc->SetMultiplyLevel(0, true);
    table.Build(col, 10, 0, true);
    EXPECT_EQ(table.GetEntry(51)[0], 51) << "red 1 times density 0.2";
    EXPECT_EQ(table.GetEntry(255)[1], 255);
}

} // namespace
