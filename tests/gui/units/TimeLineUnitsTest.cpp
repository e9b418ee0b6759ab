// The time line's track geometry (frames, key times and pixels, hit testing, drag snapping, the
// ruler) and the preview panel's mapping between widgets and settings.
#include "gui/PreviewPropertyGUI_cls.h"
#include "gui/TimeTrackMap_cls.h"

#include "config/PreviewProperty_cls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <string>

namespace
{

/// 0..100 of a 100-frame scene on a track whose usable part is exactly 200 pixels: 2 px/frame.
TimeTrackMap_cls TwoPixelsPerFrame()
{
    TimeTrackMap_cls map;
    map.Set(221, 10, 0, 100, 100);
    return map;
}

} // namespace

TEST(TimeTrackMap, FramesTimesAndPixelsMapBothWays)
{
    const TimeTrackMap_cls map = TwoPixelsPerFrame();
    EXPECT_DOUBLE_EQ(map.GetPixelsPerFrame(), 2.0);
    EXPECT_DOUBLE_EQ(map.FrameToX(0), 10.0);
    EXPECT_DOUBLE_EQ(map.FrameToX(100), 210.0);
    EXPECT_DOUBLE_EQ(map.TimeToX(0.5), 110.0);
    EXPECT_DOUBLE_EQ(map.TimeToX(0.25), 60.0);
    EXPECT_EQ(map.XToFrame(110), 50);
    EXPECT_EQ(map.XToFrame(110.9), 50);
    EXPECT_EQ(map.XToFrame(111.0), 51) << "half a frame rounds up";
    EXPECT_EQ(map.XToFrame(-40), 0) << "left of the track: the first frame";
    EXPECT_EQ(map.XToFrame(5000), 100) << "right of the track: the last frame";
    EXPECT_DOUBLE_EQ(map.FrameToTime(30), 0.3);
    // A frame mapped to x and back is the same frame everywhere on the track.
    for (int f = 0; f <= 100; ++f)
        EXPECT_EQ(map.XToFrame(map.FrameToX(f)), f);
}

TEST(TimeTrackMap, ShowsTheActiveAreaOnlyAndSurvivesDegenerateRanges)
{
    TimeTrackMap_cls map;
    map.Set(221, 10, 60, 20, 100); // given in reverse
    EXPECT_EQ(map.GetFirst(), 20);
    EXPECT_EQ(map.GetLast(), 60);
    EXPECT_DOUBLE_EQ(map.GetPixelsPerFrame(), 5.0);
    EXPECT_DOUBLE_EQ(map.TimeToX(0.2), 10.0);
    EXPECT_LT(map.TimeToX(0.1), 10.0) << "a key before the area lies left of the usable width";
    EXPECT_EQ(map.XToFrame(0), 20);

    // One frame only: no division by zero, every x is that frame.
    map.Set(221, 10, 5, 5, 100);
    EXPECT_TRUE(std::isfinite(map.GetPixelsPerFrame()));
    EXPECT_DOUBLE_EQ(map.FrameToX(5), 10.0);
    EXPECT_EQ(map.XToFrame(150), 5);

    // A scene of length 0: every time is frame 0.
    map.Set(221, 10, 0, 0, 0);
    EXPECT_DOUBLE_EQ(map.FrameToTime(7), 0.0);
    EXPECT_DOUBLE_EQ(map.TimeToX(0.7), map.FrameToX(0));

    // A track narrower than its margins keeps a positive scale.
    map.Set(3, 10, 0, 100, 100);
    EXPECT_GT(map.GetPixelsPerFrame(), 0.0);
}

TEST(TimeTrackMap, DragsSnapToWholeFrames)
{
    const TimeTrackMap_cls map = TwoPixelsPerFrame();
    EXPECT_EQ(map.DeltaFrames(0.9), 0) << "less than half a frame moves nothing";
    EXPECT_EQ(map.DeltaFrames(1.0), 1);
    EXPECT_EQ(map.DeltaFrames(20.0), 10);
    EXPECT_EQ(map.DeltaFrames(-3.0), -2);
    EXPECT_DOUBLE_EQ(map.DeltaTime(20.0), 0.1);
    EXPECT_DOUBLE_EQ(map.DeltaTime(-41.0), -0.21);
}

TEST(TimeTrackMap, HitTestingFindsTheNearestMarkerWithinTheRadius)
{
    const TimeTrackMap_cls map = TwoPixelsPerFrame();
    const std::vector<double> keys = {0.2, 0.21, 0.8}; // x = 50, 52, 170
    EXPECT_EQ(map.HitKey(49, keys, 6), 0);
    EXPECT_EQ(map.HitKey(53, keys, 6), 1);
    EXPECT_EQ(map.HitKey(51, keys, 6), 1) << "a tie goes to the later (topmost) marker";
    EXPECT_EQ(map.HitKey(58, keys, 6), 1) << "exactly on the radius still hits";
    EXPECT_EQ(map.HitKey(59, keys, 6), -1);
    EXPECT_EQ(map.HitKey(171, keys, 6), 2);
    EXPECT_EQ(map.HitKey(110, keys, 6), -1);
    EXPECT_EQ(map.HitKey(110, {}, 6), -1);

    EXPECT_EQ(map.KeysBetween(45, 60, keys), (std::vector<int>{0, 1}));
    EXPECT_EQ(map.KeysBetween(200, 51, keys), (std::vector<int>{1, 2}));
    EXPECT_TRUE(map.KeysBetween(60, 160, keys).empty());
}

TEST(TimeTrackMap, RulerTicksKeepTheirSpacingAndLabelsStandOnTicks)
{
    const TimeTrackMap_cls map = TwoPixelsPerFrame();
    // The clock's interval for 100 frames is 1, i.e. 2 px: widened to 2 frames (4 px); labels
    // need 44 px: 40 frames (80 px) is the first multiple of the 1-2-5 series that fits.
    const auto ticks = map.Ticks(4.0, 44.0);
    ASSERT_EQ(ticks.size(), 51u);
    EXPECT_EQ(ticks.front().miFrame, 0);
    EXPECT_EQ(ticks.back().miFrame, 100);
    std::vector<int> labels;
    for (const auto& t : ticks) {
        EXPECT_EQ(t.miFrame % 2, 0);
        if (t.mbLabel)
            labels.push_back(t.miFrame);
    }
    EXPECT_EQ(labels, (std::vector<int>{0, 40, 80}));

    // 2000 frames on 0.4 px/frame: the interval rule's 10 frames are exactly 4 px.
    TimeTrackMap_cls wide;
    wide.Set(821, 10, 0, 2000, 2000);
    EXPECT_EQ(wide.StepFor(10, 4.0), 10);
    const auto wideTicks = wide.Ticks(4.0, 44.0);
    EXPECT_EQ(wideTicks.size(), 201u);
    for (const auto& t : wideTicks)
        EXPECT_EQ(t.mbLabel, t.miFrame % 200 == 0) << t.miFrame;

    // A range that starts between ticks begins at the next multiple of the step.
    TimeTrackMap_cls part;
    part.Set(221, 10, 7, 33, 100);
    const auto partTicks = part.Ticks(15.0, 44.0);
    ASSERT_FALSE(partTicks.empty());
    EXPECT_EQ(partTicks.front().miFrame, 8);
    EXPECT_LE(partTicks.back().miFrame, 33);
    for (size_t i = 1; i < partTicks.size(); ++i)
        EXPECT_GE(part.FrameToX(partTicks[i].miFrame) - part.FrameToX(partTicks[i - 1].miFrame), 15.0);
}

TEST(PreviewPropertyPanel, EverySettingHasExactlyOneWidget)
{
    PreviewProperty_cls property;
    std::multiset<std::wstring> shown;
    for (const auto& def : PreviewPropertyGUI_cls::ChoiceDefs())
        shown.insert(def.mpKey);
    for (const auto& def : PreviewPropertyGUI_cls::FloatDefs())
        shown.insert(def.mpKey);
    std::multiset<std::wstring> settings;
    for (const ConfItem_cls* item : property.GetConfList().Items())
        settings.insert(item->GetKey());
    EXPECT_EQ(shown, settings);

    // Each choice can show the setting's default, and the float defaults lie on their sliders.
    for (const auto& def : PreviewPropertyGUI_cls::ChoiceDefs()) {
        const auto* item = dynamic_cast<const ConfItemUINT_cls*>(property.GetConfList().Find(def.mpKey));
        ASSERT_NE(item, nullptr) << std::string(def.mpLabel) << " is not an unsigned setting";
        const int index = PreviewPropertyGUI_cls::ChoiceIndexOf(def, item->Get());
        EXPECT_GE(index, 0) << def.mpLabel;
        EXPECT_LT(index, static_cast<int>(def.mvText.size())) << def.mpLabel;
    }
    for (const auto& def : PreviewPropertyGUI_cls::FloatDefs()) {
        const auto* item = dynamic_cast<const ConfItemFLOAT_cls*>(property.GetConfList().Find(def.mpKey));
        ASSERT_NE(item, nullptr) << def.mpLabel << " is not a float setting";
        EXPECT_GE(item->Get(), def.mfMin);
        EXPECT_LE(item->Get(), def.mfMax);
    }
}

TEST(PreviewPropertyPanel, ChoicesAndSlidersMapToStoredValues)
{
    const auto& defs = PreviewPropertyGUI_cls::ChoiceDefs();
    auto def = [&](const wchar_t* key) -> const PreviewPropertyGUI_cls::ChoiceDef& {
        for (const auto& d : defs)
            if (std::wstring(d.mpKey) == key)
                return d;
        ADD_FAILURE() << "no choice for the key";
        return defs.front();
    };
    // Any texture filter value but 1 filters by the nearest texel, and is shown so.
    const auto& filter = def(L"PreviewTexFilter=");
    EXPECT_EQ(std::string(filter.mvText[PreviewPropertyGUI_cls::ChoiceIndexOf(filter, 1)]), "LINEAR");
    EXPECT_EQ(std::string(filter.mvText[PreviewPropertyGUI_cls::ChoiceIndexOf(filter, 0)]), "NEAREST");
    EXPECT_EQ(std::string(filter.mvText[PreviewPropertyGUI_cls::ChoiceIndexOf(filter, 7)]), "NEAREST");
    // The slice count is clamped to the last entry, as the drawing clamps it.
    const auto& quality = def(L"PreviewNormalQuality=");
    EXPECT_EQ(std::string(quality.mvText[PreviewPropertyGUI_cls::ChoiceIndexOf(quality, 4)]), "128 normal layers");
    EXPECT_EQ(PreviewPropertyGUI_cls::ChoiceIndexOf(quality, 40), 12);
    // A hiding mode the panel does not know shows no entry rather than a wrong one.
    EXPECT_EQ(PreviewPropertyGUI_cls::ChoiceIndexOf(def(L"PreviewHiding="), 5), -1);

    using P = PreviewPropertyGUI_cls;
    EXPECT_EQ(P::SliderPos(1.0f, 0.0f, 4.0f), 250);
    EXPECT_FLOAT_EQ(P::SliderValue(250, 0.0f, 4.0f), 1.0f);
    EXPECT_EQ(P::SliderPos(9.0f, 0.0f, 4.0f), P::kSliderSteps) << "above the range: the slider's end";
    EXPECT_EQ(P::SliderPos(-1.0f, 0.0f, 4.0f), 0);
    EXPECT_EQ(P::SliderPos(std::numeric_limits<float>::quiet_NaN(), 0.0f, 4.0f), 0);
    EXPECT_EQ(P::SliderPos(0.5f, 1.0f, 1.0f), 0) << "an empty range never divides by zero";
    EXPECT_FLOAT_EQ(P::SliderValue(P::kSliderSteps + 50, 0.0f, 0.02f), 0.02f);
    for (int pos : {0, 1, 333, 999, 1000})
        EXPECT_EQ(P::SliderPos(P::SliderValue(pos, 0.0f, 0.02f), 0.0f, 0.02f), pos);
}
