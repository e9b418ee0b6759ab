#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "filter/BlurGauss_cls.h"
#include "filter/LevelAndGamma_cls.h"
#include "filter/MorphOpenClose_cls.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace
{

TEST(FilterBase, TypeCodesLabelsAndDataFlag)
{
    std::vector<std::unique_ptr<FilterBase_cls>> items;
    items.push_back(std::make_unique<BlurGauss_cls>());
    items.push_back(std::make_unique<LevelAndGamma_cls>());
    items.push_back(std::make_unique<MorphOpenClose_cls>());
    const int types[] = {5, 6, 15};
    const wchar_t* labels[] = {L"Gauss Blur", L"Level Gamma", L"Morph Filter"};
    for (size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i]->GetType(), types[i]);
        EXPECT_TRUE(items[i]->IsDataFilter());
        EXPECT_EQ(items[i]->GetPData()->GetName(), labels[i]);
        EXPECT_EQ(FilterBase_cls::GetDefaultLabel(types[i]), labels[i]);
        EXPECT_TRUE(items[i]->GetPData()->IsValid()) << "a new filter is switched on";
        EXPECT_EQ(items[i]->GetOwner(), nullptr);
    }
    int dataTypes = 0;
    for (int t = -1; t <= FilterBase_cls::kTypeNum; ++t)
        dataTypes += FilterBase_cls::IsDataFilterType(t) ? 1 : 0;
    EXPECT_EQ(dataTypes, 6);
    EXPECT_TRUE(FilterBase_cls::IsDataFilterType(9));
    EXPECT_FALSE(FilterBase_cls::IsDataFilterType(4)) << "the volume item passes data on";
    EXPECT_EQ(FilterBase_cls::GetDefaultLabel(0), L"Isosurface");
    EXPECT_EQ(FilterBase_cls::GetDefaultLabel(18), L"VelocityField");
    EXPECT_EQ(FilterBase_cls::GetDefaultLabel(19), L"");
}

TEST(FilterBase, DefaultLabelIsTranslatedUserLabelIsNot)
{
    SetTranslator([](const char* id) { return std::string(id) == "Gauss Blur" ? "Gausssche Unschaerfe" : id; });
    BlurGauss_cls blur;
    EXPECT_EQ(blur.GetLocaleStrLabel(), L"Gausssche Unschaerfe");
    EXPECT_EQ(blur.GetLocaleIndependentStrLabel(), L"Gauss Blur");
    blur.GetData().SetName(L"Soft edges");
    EXPECT_EQ(blur.GetLocaleStrLabel(), L"Soft edges");
    SetTranslator(nullptr);
}

TEST(FilterWithParameter, LevelSetIsNamedAndLabelled)
{
    LevelAndGamma_cls f;
    const Parameters_cls& set = f.GetParameters();
    EXPECT_EQ(set.GetName(), L"LevelAndGamma");
    ASSERT_EQ(set.GetDimension(), 6u);
    for (unsigned i = 0; i < 6; ++i) {
        EXPECT_EQ(set.GetLabel(i), LevelAndGamma_cls::msParamLabel[i]);
        EXPECT_EQ(set.GetPCurrentValue()[i], LevelAndGamma_cls::msParamDefault[i]);
        EXPECT_EQ(f.GetParam(static_cast<int>(i)), LevelAndGamma_cls::msParamDefault[i]);
    }
    EXPECT_EQ(set.GetKeyNumber(), 1) << "the defaults are one constant key";
}

TEST(FilterWithParameter, KeysAreInterpolatedIntoTheFilter)
{
    GetUndoManager().Clear();
    const int oldFrames = Parameters_cls::GetFrameNumber();
    Parameters_cls::SetFrameNumber(100); // times are evaluated on a grid of 1/100
    LevelAndGamma_cls f;
    Parameters_cls& set = f.GetParameters();
    ASSERT_TRUE(set.ExecCommandTimeDependent(true));
    const double start[6] = {0.0, 1.0, 0.0, 1.0, 1.0, 0.0}, end[6] = {0.2, 0.6, 0.1, 0.9, 3.0, 0.4};
    ASSERT_TRUE(set.ExecCommandSetKey(0.0, start, kInterpLinear, nullptr, nullptr));
    ASSERT_TRUE(set.ExecCommandSetKey(1.0, end, kInterpLinear, nullptr, nullptr));
    f.UpdateParameters(0.5);
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(f.GetParam(i), (start[i] + end[i]) / 2, 1e-12) << i;
    std::wstring mid = f.GetFilterStatusStr();
    f.UpdateParameters(1.0);
    EXPECT_EQ(f.GetParam(LevelAndGamma_cls::Gamma), 3.0);
    EXPECT_NE(f.GetFilterStatusStr(), mid) << "another time with other values changes the signature";
    unsigned char table[256];
    f.MakeLevelMap(table);
    // Density 0 lies below InMin: 0, gamma keeps 0, offset 0.4, output 0.1 + 0.8 * 0.4 = 0.42.
    EXPECT_EQ(table[0], 107);
    Parameters_cls::SetFrameNumber(oldFrames);
    GetUndoManager().Clear();
}

TEST(FilterWithParameter, EditedValueIsKeyedOnceAndUndoable)
{
    GetUndoManager().Clear();
    LevelAndGamma_cls f;
    f.SetParam(LevelAndGamma_cls::Gamma, 2.0);
    EXPECT_EQ(f.GetParam(LevelAndGamma_cls::Gamma), 2.0) << "the filter follows the edit at once";
    EXPECT_TRUE(f.SetKeyIfChanged(-1.0));
    EXPECT_FALSE(f.SetKeyIfChanged(-1.0)) << "nothing changed since";
    f.UpdateParameters(0.7);
    EXPECT_EQ(f.GetParam(LevelAndGamma_cls::Gamma), 2.0);
    ASSERT_TRUE(GetUndoManager().UndoCurrent());
    f.UpdateParameters(0.7);
    EXPECT_EQ(f.GetParam(LevelAndGamma_cls::Gamma), 1.0);
    f.SetParam(99, 5.0); // ignored
    GetUndoManager().Clear();
}

TEST(FilterWithParameter, TextFormCarriesSettingsAndKeys)
{
    GetUndoManager().Clear();
    LevelAndGamma_cls f;
    f.GetData().mbLevelSmooth.Set(true);
    f.SetParam(LevelAndGamma_cls::OutMax, 0.75);
    f.SetKeyIfChanged(-1.0);
    std::wstring text = f.SerializeConf();
    EXPECT_EQ(text.rfind(L"FilterValid=1\nFilterName=Level Gamma\nFilterLevelSmooth1\nParameter_LevelAndGamma\n", 0),
              0u);

    LevelAndGamma_cls g;
    LineStream_cls stream(text);
    std::wstring line;
    while (stream.GetLine(line)) {
        if (g.GetData().ReadStrLine(line))
            continue;
        EXPECT_TRUE(g.ReadParameters(stream, line)) << Narrow(line);
    }
    EXPECT_TRUE(g.GetData().mbLevelSmooth.Get());
    EXPECT_EQ(g.GetParam(LevelAndGamma_cls::OutMax), 0.75);
    EXPECT_EQ(g.GetFilterStatusStr(), f.GetFilterStatusStr());
    GetUndoManager().Clear();
}

TEST(FilterWithParameter, TimeLineHookReceivesTheSet)
{
    LevelAndGamma_cls f;
    f.ConnectParameterToTL(); // no hook installed: nothing happens
    Parameters_cls* shown = nullptr;
    FilterWithParameter_cls::SetTimeLineConnector([&](Parameters_cls* p) { shown = p; });
    f.ConnectParameterToTL();
    EXPECT_EQ(shown, &f.GetParameters());
    FilterWithParameter_cls::SetTimeLineConnector(nullptr);
}

} // namespace
