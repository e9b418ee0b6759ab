#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

class ParametersQuery : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        Parameters_cls::SetFrameNumber(100);
        Parameters_cls::SetCurrentDoubleIndex(0.0);
    }
    /// An animated one-value set on the private history.
    std::unique_ptr<Parameters_cls> MakeSet(const wchar_t* name = L"Isosurface", unsigned dim = 1)
    {
        auto p = std::make_unique<Parameters_cls>(dim, name);
        p->SetUndoManager(&mUndo);
        // Animated and without keys (switching animation on through the history would leave
        // the constant as a key at time 0).
        Parameters_cls::Snapshot empty;
        empty.bTimeDepend = true;
        p->RestoreSnapshot(empty);
        return p;
    }
    static void Key(Parameters_cls& p, double t, double v, unsigned type, double weight = 0.0)
    {
        const double d2 = weight;
        p.ExecCommandSetKey(t, &v, type, nullptr, &d2);
    }
    static double At(Parameters_cls& p, double t) { return p.GetPInterpolatedValue(t, 0.0)[0]; }
    UndoManager_cls mUndo;
};

TEST_F(ParametersQuery, AQueryOnAKeyReturnsThatKeysValuesForEveryType)
{
    for (unsigned type = 0; type <= 5; ++type) {
        auto p = MakeSet(L"Isosurface", 2);
        const double v0[2] = {1.0, -4.0};
        const double v1[2] = {3.5, 2.0};
        const double v2[2] = {-2.25, 8.0};
        const double d1[2] = {7.0, -3.0};
        const double w[2] = {0.5, 0.0};
        p->ExecCommandSetKey(0.0, v0, type, d1, w);
        p->ExecCommandSetKey(0.37, v1, type, d1, w);
        p->ExecCommandSetKey(1.0, v2, type, d1, w);
        ASSERT_EQ(p->GetKeyNumber(), 3);
        const double* at = p->GetPInterpolatedValue(0.37, 0.0);
        EXPECT_DOUBLE_EQ(at[0], 3.5) << "type " << type;
        EXPECT_DOUBLE_EQ(at[1], 2.0) << "type " << type;
        at = p->GetPInterpolatedValue(0.0, 0.0);
        EXPECT_DOUBLE_EQ(at[0], 1.0) << "type " << type;
        at = p->GetPInterpolatedValue(1.0, 0.0);
        EXPECT_DOUBLE_EQ(at[1], 8.0) << "type " << type;
    }
}

TEST_F(ParametersQuery, HermiteAutoOnThreeKeysMatchesTheHandComputedCurve)
{
    auto p = MakeSet();
    Key(*p, 0.0, 1.0, kInterpHermiteAuto);
    Key(*p, 0.4, 3.0, kInterpHermiteAuto);
    Key(*p, 1.0, 2.0, kInterpHermiteAuto);
    // Automatic tangents: key 0 one-sided (3-1)/0.4 = 5; key 1 (2-1)/(1-0) = 1;
    // key 2 one-sided (2-3)/0.6 = -1.6666...
    EXPECT_DOUBLE_EQ(p->GetPKeyFrameValueD1(0)[0], 5.0);
    EXPECT_DOUBLE_EQ(p->GetPKeyFrameValueD1(1)[0], 1.0);
    EXPECT_NEAR(p->GetPKeyFrameValueD1(2)[0], -1.0 / 0.6, 1e-12);
    EXPECT_DOUBLE_EQ(p->GetPKeyFrameValueD2(1)[0], 1.0) << "AUTO keeps D2 equal to D1";

    // t = 0.1 on segment 0: span 0.4, s = 0.25, m0·span = 2, m1·span = 0.4
    // v = 1 + 2·0.25 + (-3 + 9 - 4 - 0.4)·0.0625 + (2 - 6 + 2 + 0.4)·0.015625
    //   = 1 + 0.5 + 0.1 - 0.025 = 1.575
    EXPECT_NEAR(At(*p, 0.1), 1.575, 1e-12);
    // t = 0.7 on segment 1: span 0.6, s = 0.5, m0·span = 0.6, m1·span = -1.0
    // v = 3 + 0.6·0.5 + (-9 + 6 - 1.2 + 1.0)·0.25 + (6 - 4 + 0.6 - 1.0)·0.125
    //   = 3 + 0.3 - 0.8 + 0.2 = 2.7
    EXPECT_NEAR(At(*p, 0.7), 2.7, 1e-12);
}

TEST_F(ParametersQuery, LinearStepAndUnknownTypes)
{
    auto p = MakeSet();
    Key(*p, 0.0, 1.0, kInterpLinear);
    Key(*p, 0.5, 3.0, kInterpStep);
    Key(*p, 1.0, -1.0, kInterpLinear);
    EXPECT_NEAR(At(*p, 0.25), 2.0, 1e-12);
    EXPECT_DOUBLE_EQ(At(*p, 0.7), 3.0) << "a STEP key holds its value";
    EXPECT_DOUBLE_EQ(At(*p, 0.99), 3.0);
    // Within half a resolution (0.005) before the next key, the next key's value is reached.
    EXPECT_DOUBLE_EQ(At(*p, 0.996), -1.0);
    EXPECT_DOUBLE_EQ(At(*p, 0.994), 3.0);
    p->SetKeyType(0, 9);
    EXPECT_NEAR(At(*p, 0.25), 2.0, 1e-12) << "codes above 4 interpolate linearly";
}

TEST_F(ParametersQuery, SemiAutoWeightZeroIsFlatAndWeightOneEqualsAuto)
{
    auto autoSet = MakeSet();
    auto flat = MakeSet();
    auto full = MakeSet();
    const double times[] = {0.0, 0.3, 0.55, 1.0};
    const double values[] = {2.0, -1.0, 4.0, 0.5};
    for (int i = 0; i < 4; ++i) {
        Key(*autoSet, times[i], values[i], kInterpHermiteAuto);
        Key(*flat, times[i], values[i], kInterpHermiteSemiAuto, 0.0);
        Key(*full, times[i], values[i], kInterpHermiteSemiAuto, 1.0);
    }
    EXPECT_DOUBLE_EQ(flat->GetPKeyFrameValueD2(1)[0], 0.0) << "SEMIAUTO keeps the user's weight";
    EXPECT_DOUBLE_EQ(full->GetPKeyFrameValueD2(1)[0], 1.0);
    for (double t = 0.0; t <= 1.0; t += 0.01)
        EXPECT_NEAR(At(*full, t), At(*autoSet, t), 1e-12) << "t=" << t;
    // Weight 0: both tangents vanish, the segment is the smooth step
    // v = P0 + (P1 - P0)·(3s² - 2s³); on segment 1 at s = 0.5: -1 + 5·0.5 = 1.5.
    EXPECT_NEAR(At(*flat, 0.425), 1.5, 1e-12);
    // Flat at the key: the change over a small step is second order (halving the step quarters
    // it), while the automatic tangent gives a first-order change (halving the step halves it).
    const double h = 1e-4;
    const double flatRatio = (At(*flat, 0.3 + h) + 1.0) / (At(*flat, 0.3 + h / 2) + 1.0);
    const double autoRatio = (At(*autoSet, 0.3 + h) + 1.0) / (At(*autoSet, 0.3 + h / 2) + 1.0);
    EXPECT_NEAR(flatRatio, 4.0, 0.05);
    EXPECT_NEAR(autoRatio, 2.0, 0.05);
}

TEST_F(ParametersQuery, OneKeyAndNoKeys)
{
    auto p = MakeSet(L"Isosurface", 2);
    const double* empty = p->GetPInterpolatedValue(0.5, 0.0);
    EXPECT_EQ(empty[0], 0.0);
    EXPECT_EQ(empty[1], 0.0);
    EXPECT_EQ(p->GetKeyFrameIndexFromDouble(0.5, 0.0, false), -1);
    EXPECT_EQ(p->GetKeyFrameIndexToInsert(0.5, 0.0), 0);
    EXPECT_EQ(p->GetInterpTypeFromDouble(0.5), 0u);

    const double v[2] = {3.0, 4.0};
    p->ExecCommandSetKey(0.6, v, kInterpHermiteAuto, nullptr, nullptr);
    const double d1Before = p->GetPKeyFrameValueD1(0)[0];
    p->AdjustAutoControl();
    EXPECT_EQ(p->GetPKeyFrameValueD1(0)[0], d1Before);
    for (double t : {0.0, 0.3, 0.6, 0.61, 1.0}) {
        EXPECT_EQ(p->GetPInterpolatedValue(t, 0.0)[0], 3.0);
        EXPECT_EQ(p->GetPInterpolatedValue(t, 0.0)[1], 4.0);
    }
}

TEST_F(ParametersQuery, NotAnimatedGivesTheFirstKeyEverywhere)
{
    Parameters_cls p(1, L"DataRotate");
    p.SetUndoManager(&mUndo);
    EXPECT_FALSE(p.IsTimeDependent());
    const double v = 45.0;
    p.InitSet(&v);
    ASSERT_EQ(p.GetKeyNumber(), 1);
    EXPECT_EQ(p.GetPInterpolatedValue(0.8, 0.0)[0], 45.0);
    EXPECT_EQ(p.GetPCurrentValue()[0], 45.0);
}

TEST_F(ParametersQuery, QuantizeRoundsHalvesUpOnTheFrameGrid)
{
    EXPECT_DOUBLE_EQ(Parameters_cls::Quantize(0.26, 10), 0.3);
    EXPECT_DOUBLE_EQ(Parameters_cls::Quantize(0.24, 10), 0.2);
    EXPECT_DOUBLE_EQ(Parameters_cls::Quantize(0.25, 10), 0.3);
    EXPECT_DOUBLE_EQ(Parameters_cls::Quantize(0.123, 0), 0.12) << "n = 0 uses the frame number (100)";
    Parameters_cls::SetFrameNumber(0);
    EXPECT_EQ(Parameters_cls::Quantize(0.26, 0), 0.0);
    EXPECT_EQ(Parameters_cls::GetResolution(), 1.0);
    Parameters_cls::SetFrameNumber(8);
    EXPECT_DOUBLE_EQ(Parameters_cls::GetResolution(), 0.125);
}

TEST_F(ParametersQuery, IndexQueriesUseTheSameKeyInterval)
{
    auto p = MakeSet();
    Key(*p, 0.2, 1.0, kInterpLinear);
    Key(*p, 0.5, 2.0, kInterpStep);
    Key(*p, 0.8, 3.0, kInterpHermite);
    const double r = 0.1; // same-key interval [t - 0.05, t + 0.05)
    EXPECT_TRUE(p->IsKeyFrame(0.46, r));
    EXPECT_FALSE(p->IsKeyFrame(0.44, r));
    EXPECT_EQ(p->GetKeyFrameIndexFromDouble(0.54, r, false), 1);
    EXPECT_EQ(p->GetKeyFrameIndexFromDouble(0.65, r, false), -1);
    EXPECT_EQ(p->GetKeyFrameIndexFromDouble(0.65, r, true), 1) << "last key not after t + r/2";
    EXPECT_EQ(p->GetKeyFrameIndexFromDouble(0.05, r, true), 0) << "first key lies after t + r/2";
    EXPECT_EQ(p->GetKeyFrameIndexFromDouble(0.95, r, true), 2);
    EXPECT_EQ(p->GetKeyFrameIndexToInsert(0.3, r), 1);
    EXPECT_EQ(p->GetKeyFrameIndexToInsert(0.46, r), 2) << "a key inside the interval is passed";
    EXPECT_EQ(p->GetKeyFrameIndexToInsert(0.9, r), 3);
    EXPECT_EQ(p->CheckOverWrite(0.52, r), 1);
    EXPECT_EQ(p->CheckOverWrite(0.52, 0.0), -1) << "resolution 0 is not replaced here";
    EXPECT_EQ(p->GetInterpTypeFromDouble(0.5), static_cast<unsigned>(kInterpStep));
    EXPECT_EQ(p->GetInterpTypeFromDouble(0.6), static_cast<unsigned>(kInterpStep));
    EXPECT_EQ(p->GetInterpTypeFromDouble(0.1), static_cast<unsigned>(kInterpLinear));
    EXPECT_EQ(p->GetInterpTypeFromDouble(0.95), static_cast<unsigned>(kInterpHermite));
    EXPECT_DOUBLE_EQ(p->GetNextKeyPosDoubleIndex(0.5), 0.8);
    EXPECT_DOUBLE_EQ(p->GetPrevKeyPosDoubleIndex(0.5), 0.2);
    EXPECT_EQ(p->GetNextKeyPosDoubleIndex(0.8), -1.0);
    EXPECT_EQ(p->GetAdjacentKey(0.1, -1), -1);
}

TEST_F(ParametersQuery, SelectionMarks)
{
    auto p = MakeSet();
    Key(*p, 0.25, 1.0, kInterpLinear);
    Key(*p, 0.5, 2.0, kInterpLinear);
    Key(*p, 0.8, 3.0, kInterpLinear);
    EXPECT_EQ(p->SelectKeyFrame(0.5, 0.01, false), 1);
    EXPECT_EQ(p->GetSelectedKeyIndex(), 1);
    EXPECT_EQ(p->SelectKeyFrame(0.375, 0.125, false), 0) << "the interval (0.25, 0.5) is open";
    EXPECT_EQ(p->GetSelectedKeyNum(), 0);
    EXPECT_EQ(p->SelectKeyFrame(0.5, 0.01, false), 1);
    EXPECT_EQ(p->SelectKeyFrameRegion(0.9, 0.15, true), 3);
    EXPECT_EQ(p->GetSelectedKeyNum(), 3);
    EXPECT_EQ(p->ToggleKeyFrame(0.5, 0.01), 1);
    EXPECT_EQ(p->GetSelectedKeyNum(), 2);
    EXPECT_EQ(p->OnWhichKeyFrame(0.803, 0.0), 2);
    EXPECT_EQ(p->OnWhichKeyFrame(0.7, 0.0), -1);
}

TEST_F(ParametersQuery, LabelsFollowTheName)
{
    Parameters_cls box(6, L"BoxSize");
    EXPECT_EQ(box.GetLabel(0), L"minX");
    EXPECT_EQ(box.GetLabel(5), L"maxZ");
    EXPECT_EQ(box.GetLabelD(3), L"dmaxX");
    Parameters_cls light(4, L"Light");
    EXPECT_EQ(light.GetLabel(3), L"Energy");
    EXPECT_EQ(light.GetLabelD(3), L"dEnergy");
    Parameters_cls remap(1, L"TimeRemap");
    EXPECT_EQ(remap.GetLabel(0), L"");
    EXPECT_FALSE(remap.IsSelectable());
    Parameters_cls color(4, L"Color");
    EXPECT_TRUE(color.IsTimeDependent());
    EXPECT_FALSE(light.IsTimeDependent());
    Parameters_cls cross(4, L"CrossSection");
    EXPECT_EQ(cross.GetLabel(0), L"Z layer");
}

TEST_F(ParametersQuery, RegistryTracksLiveSets)
{
    const size_t before = Parameters_cls::GetInstances().size();
    const Parameters_cls* gone = nullptr;
    {
        Parameters_cls a(1, L"BaseAlpha");
        Parameters_cls copy(a);
        EXPECT_EQ(Parameters_cls::GetInstances().size(), before + 2);
        EXPECT_TRUE(Parameters_cls::IsLive(&copy));
        gone = &a;
    }
    EXPECT_EQ(Parameters_cls::GetInstances().size(), before);
    EXPECT_FALSE(Parameters_cls::IsLive(gone));
}

} // namespace
