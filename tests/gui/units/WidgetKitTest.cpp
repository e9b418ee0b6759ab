// The widget kit's arithmetic (number parsing, slider and graph mappings, hit tests) and the
// filter panels' row tables checked against the items they edit.
#include "gui/FilterItemGUI_cls.h"
#include "gui/WidgetMath_cls.h"

#include "anim/Parameters_cls.h"
#include "config/ConfItem_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/FilterWithParameter_cls.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace
{
using W = WidgetMath_cls;

double Parse(const std::wstring& text, bool integer = false, double min = -1e9, double max = 1e9)
{
    double v = std::numeric_limits<double>::quiet_NaN();
    if (!W::ParseNumber(text, integer, min, max, &v))
        return std::numeric_limits<double>::infinity(); // marks "refused"
    return v;
}
constexpr double kRefused = std::numeric_limits<double>::infinity();
} // namespace

TEST(WidgetMath, NumbersTypedInAnyLocaleAreRead)
{
    EXPECT_DOUBLE_EQ(Parse(L"1.5"), 1.5);
    EXPECT_DOUBLE_EQ(Parse(L"  -2.25 "), -2.25);
    EXPECT_DOUBLE_EQ(Parse(L"+3"), 3.0);
    EXPECT_DOUBLE_EQ(Parse(L"1e2"), 100.0);
    // A comma typed as the decimal point of a comma locale.
    EXPECT_DOUBLE_EQ(Parse(L"0,75"), 0.75);
    {
        // The process locale must not change what is read.
        ScopedCommaLocale comma;
        EXPECT_DOUBLE_EQ(Parse(L"0.75"), 0.75);
        EXPECT_DOUBLE_EQ(Parse(L"0,75"), 0.75);
        EXPECT_EQ(W::FormatNumber(0.5, false), L"0.5");
    }
    // Rubbish is refused as a whole, never read in part.
    for (const wchar_t* bad :
         {L"", L"   ", L"abc", L"1.5x", L"1.2.3", L"1,2,3", L"1,000.5", L"nan", L"inf", L"--1", L"0x10", L"1 2"})
        EXPECT_EQ(Parse(bad), kRefused) << Narrow(bad);
}

TEST(WidgetMath, IntegersAndRangesAreEnforced)
{
    EXPECT_DOUBLE_EQ(Parse(L"7", true), 7.0);
    EXPECT_DOUBLE_EQ(Parse(L"7.0", true), 7.0);
    EXPECT_EQ(Parse(L"7.5", true), kRefused);
    // Out-of-range values are clamped, not refused: the user gets the nearest legal value.
    EXPECT_DOUBLE_EQ(Parse(L"300", true, 0, 255), 255.0);
    EXPECT_DOUBLE_EQ(Parse(L"-1", false, 0, 1), 0.0);
    // A refused text leaves the value alone.
    double v = 42.0;
    EXPECT_FALSE(W::ParseNumber(L"x", false, 0, 100, &v));
    EXPECT_DOUBLE_EQ(v, 42.0);
}

TEST(WidgetMath, FormattingIsShortAndLocaleFree)
{
    EXPECT_EQ(W::FormatNumber(3.0, true), L"3");
    EXPECT_EQ(W::FormatNumber(2.6, true), L"3");
    EXPECT_EQ(W::FormatNumber(0.1, false), L"0.1");
    EXPECT_EQ(W::FormatNumber(-0.0, false), L"0");
    EXPECT_EQ(W::FormatNumber(1.0 / 3.0, false), L"0.333333");
    EXPECT_EQ(W::FormatNumber(250.0, false), L"250");
    // What is shown reads back as the same value (to the shown precision).
    for (double x : {0.5, 12.25, -7.125, 1e-3})
        EXPECT_DOUBLE_EQ(Parse(W::FormatNumber(x, false)), x);
}

TEST(WidgetMath, SpinStepsSnapToTheGridAndStayInRange)
{
    EXPECT_NEAR(W::StepValue(1.37, 1, 0.1, 0, 10), 1.4, 1e-12);
    EXPECT_NEAR(W::StepValue(1.37, -1, 0.1, 0, 10), 1.3, 1e-12);
    EXPECT_NEAR(W::StepValue(0.5, 1, 0.1, 0, 10), 0.6, 1e-12);
    EXPECT_DOUBLE_EQ(W::StepValue(0.95, 1, 0.1, 0, 1), 1.0);
    EXPECT_DOUBLE_EQ(W::StepValue(0.0, -1, 1.0, 0, 12), 0.0);
    EXPECT_DOUBLE_EQ(W::StepValue(11.0, 3, 1.0, 0, 12), 12.0);
}

TEST(WidgetMath, SliderPixelsAndValuesMapBothWays)
{
    EXPECT_EQ(W::ValueToPixel(0.0, 0.0, 1.0, 101), 0);
    EXPECT_EQ(W::ValueToPixel(1.0, 0.0, 1.0, 101), 100);
    EXPECT_EQ(W::ValueToPixel(0.25, 0.0, 1.0, 101), 25);
    EXPECT_EQ(W::ValueToPixel(-5.0, 0.0, 1.0, 101), 0);
    EXPECT_EQ(W::ValueToPixel(5.0, 0.0, 1.0, 101), 100);
    EXPECT_EQ(W::ValueToPixel(-90.0, -360.0, 360.0, 721), 270);
    EXPECT_EQ(W::ValueToPixel(0.5, 1.0, 1.0, 101), 0); // empty range
    for (int x = 0; x <= 200; x += 7)
        EXPECT_EQ(W::ValueToPixel(W::PixelToValue(x, -1.0, 3.0, 201), -1.0, 3.0, 201), x);
    EXPECT_DOUBLE_EQ(W::PixelToValue(-10, 0.0, 1.0, 101), 0.0);
    EXPECT_DOUBLE_EQ(W::PixelToValue(500, 0.0, 1.0, 101), 1.0);
}

TEST(WidgetMath, DualSliderThumbsAreTakenAndKeptApart)
{
    EXPECT_EQ(W::HitDualThumb(12, 10, 80, 5), 0);
    EXPECT_EQ(W::HitDualThumb(78, 10, 80, 5), 1);
    EXPECT_EQ(W::HitDualThumb(45, 10, 80, 5), -1);
    // Close thumbs: the nearer one.
    EXPECT_EQ(W::HitDualThumb(52, 50, 56, 5), 0);
    EXPECT_EQ(W::HitDualThumb(55, 50, 56, 5), 1);
    // On top of each other: the side of the press decides, so both can be pulled out again.
    EXPECT_EQ(W::HitDualThumb(48, 50, 50, 5), 0);
    EXPECT_EQ(W::HitDualThumb(52, 50, 50, 5), 1);
    // Dragging stops at the other thumb.
    EXPECT_EQ(W::DragDualThumb(0, 0.9, 0.2, 0.6), std::make_pair(0.6, 0.6));
    EXPECT_EQ(W::DragDualThumb(0, 0.1, 0.2, 0.6), std::make_pair(0.1, 0.6));
    EXPECT_EQ(W::DragDualThumb(1, 0.1, 0.2, 0.6), std::make_pair(0.2, 0.2));
    EXPECT_EQ(W::DragDualThumb(1, 0.8, 0.2, 0.6), std::make_pair(0.2, 0.8));
    EXPECT_EQ(W::DragDualThumb(-1, 0.8, 0.2, 0.6), std::make_pair(0.2, 0.6));
}

TEST(WidgetMath, GraphCoordinatesAndControlPointHits)
{
    W::GraphFrame f;
    f.iLeft = 6;
    f.iTop = 6;
    f.iWidth = 257;
    f.iHeight = 129;
    // y grows upwards in the data, downwards on the screen.
    EXPECT_EQ(W::GraphToScreen(f, 0.0, 0.0), std::make_pair(6, 134));
    EXPECT_EQ(W::GraphToScreen(f, 1.0, 1.0), std::make_pair(262, 6));
    EXPECT_EQ(W::GraphToScreen(f, 0.5, 0.5), std::make_pair(134, 70));
    const auto back = W::ScreenToGraph(f, 134, 70);
    EXPECT_DOUBLE_EQ(back.first, 0.5);
    EXPECT_DOUBLE_EQ(back.second, 0.5);
    // Outside the plot the point is clamped to it.
    const auto clamped = W::ScreenToGraph(f, 0, 500);
    EXPECT_DOUBLE_EQ(clamped.first, 0.0);
    EXPECT_DOUBLE_EQ(clamped.second, 0.0);

    const std::vector<std::pair<double, double>> pts = {{0.0, 0.0}, {0.5, 0.5}, {0.52, 0.5}, {1.0, 1.0}};
    EXPECT_EQ(W::HitControlPoint(f, pts, 6, 134, 7), 0);
    EXPECT_EQ(W::HitControlPoint(f, pts, 262, 8, 7), 3);
    // Between two close points the nearer wins; exactly on one, that one.
    EXPECT_EQ(W::HitControlPoint(f, pts, 133, 70, 7), 1);
    EXPECT_EQ(W::HitControlPoint(f, pts, 139, 71, 7), 2);
    EXPECT_EQ(W::HitControlPoint(f, pts, 200, 70, 7), -1);
    EXPECT_EQ(W::HitControlPoint(f, {}, 6, 134, 7), -1);
    // Two points on the same pixel: the first is taken.
    EXPECT_EQ(W::HitControlPoint(f, {{0.3, 0.3}, {0.3, 0.3}}, 83, 95, 7), 0);
}

TEST(WidgetMath, HistogramBarsKeepSparseDensitiesVisible)
{
    std::array<uint64_t, 256> counts{};
    counts[0] = 1000000; // the empty background of a typical volume
    counts[128] = 3;
    counts[255] = 1000;
    const auto bars = W::HistogramBars(counts, 100, true);
    EXPECT_EQ(bars[0], 100);
    EXPECT_GE(bars[128], 1);
    EXPECT_GT(bars[255], bars[128]);
    EXPECT_LT(bars[255], bars[0]);
    EXPECT_EQ(bars[1], 0);
    // Linear heights: the small bins still show one pixel.
    const auto linear = W::HistogramBars(counts, 100, false);
    EXPECT_EQ(linear[0], 100);
    EXPECT_EQ(linear[128], 1);
    EXPECT_EQ(linear[255], 1);
    // Nothing counted, or no room: no bars.
    EXPECT_EQ(W::HistogramBars({}, 100, true)[0], 0);
    EXPECT_EQ(W::HistogramBars(counts, 0, true)[0], 0);
}

// Every setting of every item type has its row in the panel (the label and the tag are shown
// by the common part), every row names a setting the item really has, and every animated value
// has its input.
TEST(FilterPanelRows, EverySettingOfEveryTypeIsEditable)
{
    for (int type = 0; type < FilterBase_cls::kTypeNum; ++type) {
        SCOPED_TRACE(type);
        auto item = FilterCtrl_cls::CreateItem(type, nullptr);
        ASSERT_TRUE(item);
        const FilterItemGUI_cls::Defs& defs = FilterItemGUI_cls::GetDefs(type);
        std::set<std::wstring> rowKeys;
        for (const auto& d : defs.vSetting) {
            rowKeys.insert(d.pKey);
            if (d.eKind == FilterItemGUI_cls::kChoice) {
                EXPECT_FALSE(d.vChoice.empty()) << Narrow(d.pKey);
            }
            if (d.eKind == FilterItemGUI_cls::kNumber || d.eKind == FilterItemGUI_cls::kPoint) {
                EXPECT_LT(d.dMin, d.dMax) << Narrow(d.pKey);
                EXPECT_GT(d.dStep, 0.0) << Narrow(d.pKey);
            }
        }
        std::set<std::wstring> itemKeys;
        for (ConfItem_cls* setting : item->GetPData()->GetConfList().Items()) {
            const std::wstring& key = setting->GetKey();
            itemKeys.insert(key);
            if (key == L"FilterValid=" || key == L"FilterName=" || key == L"FilterIdTag=")
                continue;
            EXPECT_TRUE(rowKeys.count(key)) << "no row for " << Narrow(key);
        }
        for (const std::wstring& key : rowKeys)
            EXPECT_TRUE(itemKeys.count(key)) << "row for a missing key " << Narrow(key);

        auto* animated = dynamic_cast<FilterWithParameter_cls*>(item.get());
        if (!animated) {
            EXPECT_TRUE(defs.vParam.empty());
            continue;
        }
        const int dim = static_cast<int>(animated->GetParameters().GetDimension());
        std::vector<int> covered(static_cast<size_t>(dim), 0);
        for (const auto& p : defs.vParam) {
            std::vector<int> indices = {p.iIndex};
            if (p.eKind == FilterItemGUI_cls::kParamRange)
                indices.push_back(p.iIndex2);
            if (p.eKind == FilterItemGUI_cls::kParamPoint)
                indices = {p.iIndex, p.iIndex + 1, p.iIndex + 2};
            for (int i : indices) {
                ASSERT_TRUE(i >= 0 && i < dim) << "index " << i << " of " << dim;
                ++covered[static_cast<size_t>(i)];
            }
            // The default value lies inside the range offered.
            for (int i : indices) {
                const double v = animated->GetParameters().GetPCurrentValue()[i];
                EXPECT_TRUE(v >= p.dMin && v <= p.dMax) << "value " << i << " = " << v;
            }
        }
        for (int i = 0; i < dim; ++i)
            EXPECT_EQ(covered[static_cast<size_t>(i)], 1) << "animated value " << i;
    }
}
