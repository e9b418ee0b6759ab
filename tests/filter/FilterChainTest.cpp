// The chain's contract: routes through the work buffers and the volume-next rule, results equal
// to the filters applied one after the other, blending, signatures, text form and the history.
#include "FilterTestUtil.h"

#include "anim/TimeCtrl_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "filter/BlurGauss_cls.h"
#include "filter/DataRotate_cls.h"
#include "filter/FilterClipping_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/InvDiffuse_cls.h"
#include "filter/LayerColorCurve_cls.h"
#include "filter/LevelAndGamma_cls.h"
#include "filter/MorphOpenClose_cls.h"
#include "filter/PovFog_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "filter/PovVolume_cls.h"
#include "volume/DF3SeqCtrl_cls.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

std::unique_ptr<BlurGauss_cls> Blur(float s, bool floatVariant = false)
{
    auto b = std::make_unique<BlurGauss_cls>();
    b->GetData().mfKernelSize.Set(s);
    b->GetData().mbFloatVariant.Set(floatVariant);
    return b;
}

std::unique_ptr<LevelAndGamma_cls> Level(std::vector<double> v, bool smooth = false)
{
    auto l = std::make_unique<LevelAndGamma_cls>();
    l->GetParameters().ProcClearKey(v);
    l->GetData().mbLevelSmooth.Set(smooth);
    l->UpdateParameters(0.0);
    return l;
}

std::unique_ptr<MorphOpenClose_cls> Morph(int op, int r)
{
    auto m = std::make_unique<MorphOpenClose_cls>();
    m->GetData().miType.Set(op);
    m->GetData().miKernelSize.Set(r);
    return m;
}

/// Runs one stand-alone filter of any data type on a volume (the direct call the chain must equal).
Bytes Direct(FilterBase_cls& f, const Bytes& in, const unsigned* size)
{
    Bytes out(in.size(), 0xEE);
    switch (f.GetType()) {
    case 5: {
        auto& b = static_cast<BlurGauss_cls&>(f);
        b.ProcessXYZData(out.data(), in.data(), size, in.size(), b.GetData().mbFloatVariant.Get());
        break;
    }
    case 6:
        static_cast<LevelAndGamma_cls&>(f).ProcessXYZData(out.data(), in.data(), size);
        break;
    case 7:
        static_cast<InvDiffuse_cls&>(f).ProcessXYZData(out.data(), in.data(), size);
        break;
    case 9:
        static_cast<DataRotate_cls&>(f).ProcessXYZData(out.data(), in.data(), size);
        break;
    case 10:
        static_cast<LayerColorCurve_cls&>(f).ProcessXYZData(out.data(), in.data(), size);
        break;
    case 15:
        static_cast<MorphOpenClose_cls&>(f).ProcessXYZData(out.data(), in.data(), size);
        break;
    default:
        ADD_FAILURE() << "not a data filter";
        break;
    }
    return out;
}

Bytes RunChain(FilterCtrl_cls& chain, const TestVolume& t, bool blend = false, float f = 0.0f,
               const Bytes* next = nullptr)
{
    Bytes out(t.v.size(), 0xCD);
    EXPECT_TRUE(chain.ProcessXYZData(out.data(), t.v.data(), t.size, blend, f, next ? next->data() : nullptr));
    return out;
}

TEST(FilterChain, ItemTableTagsAndMenu)
{
    for (int type = 0; type < FilterBase_cls::kTypeNum; ++type) {
        const auto& row = FilterCtrl_cls::msItemType[type];
        EXPECT_EQ(row.iCode, type);
        auto item = FilterCtrl_cls::CreateItem(type, nullptr);
        ASSERT_TRUE(item) << type;
        EXPECT_EQ(item->GetType(), type);
        EXPECT_EQ(item->GetPData()->GetName(), row.pLabel);
        EXPECT_EQ(FilterBase_cls::GetDefaultLabel(type), row.pLabel);
        EXPECT_EQ(item->IsDataFilter(), row.eRole == FilterCtrl_cls::kRoleData) << type;
        EXPECT_EQ(FilterCtrl_cls::GetTypeFromTagLine(std::wstring(row.pTag) + L" \r"), type);
    }
    EXPECT_EQ(FilterCtrl_cls::GetTag(3), std::wstring(L"--ClipBox"));
    EXPECT_EQ(FilterCtrl_cls::GetTag(18), std::wstring(L"--PovVelocityField"));
    EXPECT_EQ(FilterCtrl_cls::GetTypeFromTagLine(L"--Volumes"), -1);
    EXPECT_EQ(FilterCtrl_cls::CreateItem(19, nullptr), nullptr);
    std::vector<int> seen(FilterBase_cls::kTypeNum, 0);
    for (const auto& entry : FilterCtrl_cls::GetMenuEntries())
        ++seen[static_cast<size_t>(entry.iType)];
    for (int type = 0; type < FilterBase_cls::kTypeNum; ++type)
        EXPECT_EQ(seen[static_cast<size_t>(type)], 1) << "one menu entry per type: " << type;

    FilterCtrl_cls chain(nullptr, 2);
    chain.AddToList(-1, Blur(1));
    chain.AddToList(-1, Blur(2));
    chain.AddToList(0, std::make_unique<PovVolume_cls>());
    EXPECT_EQ(chain.GetPFilterBase(1)->GetIdTag(), L"2_BlurGauss_0");
    EXPECT_EQ(chain.GetPFilterBase(2)->GetIdTag(), L"2_BlurGauss_1");
    EXPECT_EQ(chain.GetPFilterBase(0)->GetIdTag(), L"2_Volume_0");
    EXPECT_EQ(chain.GetIdString(5), L"2_BlurGauss_2");
    EXPECT_EQ(chain.GetPFromTag(L"2_BlurGauss_1"), chain.GetPFilterBase(2));
    EXPECT_TRUE(chain.DoesSameFilterNameExist(L"Gauss Blur", chain.GetPFilterBase(1)));
    EXPECT_FALSE(chain.DoesSameFilterNameExist(L"Volume", chain.GetPFilterBase(0)));
}

TEST(FilterChain, WorkBuffersAlternateAndTheFilterBeforeTheVolumeWritesTheOutput)
{
    const TestVolume t = SmoothVolume(23, 11, 9);
    FilterCtrl_cls chain;
    chain.AddToList(-1, Blur(1.5f));
    chain.AddToList(-1, Level({0.1, 0.9, 0, 1, 0.7, 0}));
    chain.AddToList(-1, Morph(2, 1));
    chain.AddToList(-1, std::make_unique<PovVolume_cls>());
    const Bytes out = RunChain(chain, t);
    EXPECT_EQ(chain.GetLastRoute(), (std::vector<int>{0, 1, FilterCtrl_cls::kRouteOut}));
    Bytes expect = t.v;
    for (int i = 0; i < 3; ++i)
        expect = Direct(*chain.GetPFilterBase(i), expect, t.size);
    EXPECT_EQ(FirstDifference(out, expect), -1);

    // The source is never written.
    EXPECT_EQ(FirstDifference(t.v, SmoothVolume(23, 11, 9).v), -1);

    // A disabled filter passes the data on and does not take a work buffer.
    chain.GetPFilterData(1)->SetValid(false);
    const Bytes skipped = RunChain(chain, t);
    EXPECT_EQ(chain.GetLastRoute(), (std::vector<int>{0, FilterCtrl_cls::kRouteOut}));
    EXPECT_EQ(FirstDifference(skipped,
                              Direct(*chain.GetPFilterBase(2), Direct(*chain.GetPFilterBase(0), t.v, t.size), t.size)),
              -1);
}

TEST(FilterChain, VolumeNextRuleAroundTwoVolumeItems)
{
    const TestVolume t = RandomVolume(19, 7, 6, 12);
    FilterCtrl_cls chain;
    chain.AddToList(-1, Blur(1));
    chain.AddToList(-1, std::make_unique<PovVolume_cls>());
    chain.AddToList(-1, Level({0, 1, 0, 1, 2, 0}));
    chain.AddToList(-1, std::make_unique<PovVolume_cls>());
    const Bytes out = RunChain(chain, t);
    // The level filter is followed by a volume item, but its input already is the output: it
    // must not work in place, so it takes a work buffer and the second volume copies.
    EXPECT_EQ(chain.GetLastRoute(), (std::vector<int>{FilterCtrl_cls::kRouteOut, 0}));
    EXPECT_EQ(
        FirstDifference(out, Direct(*chain.GetPFilterBase(2), Direct(*chain.GetPFilterBase(0), t.v, t.size), t.size)),
        -1);
    EXPECT_EQ(chain.CountDataFilterNumber(), 2);
    EXPECT_EQ(chain.CountEffectiveDataFilterNumber(), 2);
    EXPECT_TRUE(chain.IsNextFilterIsVolume(0));
    EXPECT_FALSE(chain.IsNextFilterIsVolume(3));
}

TEST(FilterChain, WithoutDataFiltersTheVolumeGetsTheBlendedFrame)
{
    const TestVolume t = RandomVolume(13, 5, 7, 30);
    const TestVolume n = RandomVolume(13, 5, 7, 31);
    FilterCtrl_cls chain;
    chain.AddToList(-1, std::make_unique<PovFog_cls>());
    chain.AddToList(-1, std::make_unique<PovVolume_cls>());
    EXPECT_EQ(RunChain(chain, t), t.v) << "a byte copy";
    const float f = 0.3f;
    const Bytes blended = RunChain(chain, t, true, f, &n.v);
    for (size_t i = 0; i < blended.size(); ++i)
        ASSERT_EQ(blended[i], static_cast<unsigned char>(t.v[i] * (1.0f - f) + n.v[i] * f)) << i;
    EXPECT_EQ(RunChain(chain, t, true, 0.0f, &n.v), t.v) << "factor 0 does not blend";
    EXPECT_EQ(RunChain(chain, t, false, f, &n.v), t.v) << "blending not asked for";
    EXPECT_EQ(RunChain(chain, t, true, f, nullptr), t.v) << "no next frame";

    // With a filter, the blend occupies work buffer 0 and the filter writes buffer 1.
    chain.AddToList(1, Level({0, 1, 0, 1, 0.5, 0}));
    chain.AddToList(1, Blur(1));
    const Bytes filtered = RunChain(chain, t, true, f, &n.v);
    EXPECT_EQ(chain.GetLastRoute(), (std::vector<int>{1, FilterCtrl_cls::kRouteOut}));
    EXPECT_EQ(filtered, Direct(*chain.GetPFilterBase(2), Direct(*chain.GetPFilterBase(1), blended, t.size), t.size));

    // Without a volume item nothing reaches the output.
    FilterCtrl_cls bare;
    bare.AddToList(-1, Blur(1));
    EXPECT_EQ(RunChain(bare, t), Bytes(t.v.size(), 0xCD));
    EXPECT_FALSE(bare.WasOutputWritten());
}

TEST(FilterChain, EveryFilterFamilyEqualsTheDirectCallWithOneTwoAndSevenThreads)
{
    using Maker = std::function<std::unique_ptr<FilterBase_cls>()>;
    const std::vector<Maker> makers = {
        [] { return Blur(2.0f); },
        [] { return Blur(1.3f, true); },
        [] {
            auto b = Blur(0);
            b->GetData().muKernelType.Set(1);
            b->GetData().mvfAssymSize.Set(2, 2.0f);
            return b;
        },
        [] { return Morph(0, 2); },
        [] { return Morph(5, 1); },
        [] {
            return Level({0.2, 0.7, 0.1, 0.9, 1.7, 0.05}, true);
        },
        [] {
            auto c = std::make_unique<LayerColorCurve_cls>();
            c->SetPoints({{0.1, 0.9}, {0.6, 0.2}});
            return c;
        },
        [] {
            auto s = std::make_unique<InvDiffuse_cls>();
            s->GetData().miStep.Set(2);
            return s;
        },
        [] {
            auto r = std::make_unique<DataRotate_cls>();
            r->GetParameters().ProcClearKey({33.0});
            r->GetData().miAxis.Set(1);
            return r;
        },
    };
    for (size_t k = 0; k < makers.size(); ++k) {
        Bytes first;
        for (int threads : {1, 2, 7}) {
            ScopedThreadNum scope(threads);
            for (const TestVolume& t : {SmoothVolume(31, 9, 13), RandomVolume(17, 9, 5, 8)}) {
                FilterCtrl_cls chain;
                chain.AddToList(-1, makers[k]());
                chain.AddToList(-1, std::make_unique<PovVolume_cls>());
                chain.UpdateParameters(0.0);
                auto alone = makers[k]();
                alone->UpdateParameters(0.0);
                const Bytes out = RunChain(chain, t);
                ASSERT_EQ(FirstDifference(out, Direct(*alone, t.v, t.size)), -1)
                    << "filter " << k << " threads " << threads << " " << t.Name();
                if (t.size[0] == 31) {
                    if (first.empty())
                        first = out;
                    ASSERT_EQ(FirstDifference(out, first), -1) << "filter " << k << " threads " << threads;
                }
            }
        }
    }
}

TEST(FilterChain, SignatureFollowsSettingsTimeAndFrames)
{
    FilterCtrl_cls chain;
    chain.AddToList(-1, Blur(1));
    chain.AddToList(-1, std::make_unique<PovVolume_cls>());
    EXPECT_TRUE(chain.IsReprocessRequired(0, 0.0, nullptr)) << "never processed";
    EXPECT_FALSE(chain.IsReprocessRequired(0, 0.0, nullptr));
    EXPECT_TRUE(chain.IsReprocessRequired(1, 0.5, nullptr));
    EXPECT_FALSE(chain.IsReprocessRequired(0, 0.0, nullptr)) << "back to a frame with the same signature";
    EXPECT_TRUE(chain.IsReprocessRequired(0, 0.25, nullptr)) << "the same frame at another time";
    EXPECT_FALSE(chain.IsReprocessRequired(1, 0.5, nullptr));

    auto* blur = static_cast<BlurGauss_cls*>(chain.GetPFilterBase(0));
    blur->GetData().mfKernelSize.Set(1.5f);
    EXPECT_TRUE(chain.IsReprocessRequired(1, 0.5, nullptr)) << "a setting changed";
    blur->GetData().SetValid(false);
    EXPECT_TRUE(chain.IsReprocessRequired(1, 0.5, nullptr)) << "switched off";
    EXPECT_FALSE(chain.IsReprocessRequired(1, 0.5, nullptr));
    EXPECT_TRUE(chain.SwapFilterList(0, 1));
    EXPECT_TRUE(chain.IsReprocessRequired(1, 0.5, nullptr)) << "order changed";

    // Up to an item: only the items before it and the item itself count.
    FilterBase_cls* first = chain.GetPFilterBase(0);
    EXPECT_TRUE(chain.IsReprocessRequired(1, 0.5, first));
    EXPECT_FALSE(chain.IsReprocessRequired(1, 0.5, first));
    blur->GetData().mfKernelSize.Set(3.0f); // after `first` now
    EXPECT_FALSE(chain.IsReprocessRequired(1, 0.5, first));
    chain.ClearSignatures();
    EXPECT_TRUE(chain.IsReprocessRequired(1, 0.5, nullptr));
}

TEST(FilterChain, IsosurfaceIsRebuiltExactlyWhenDataOrLevelChange)
{
    TestVolume t = SmoothVolume(20, 18, 16);
    FilterCtrl_cls chain;
    chain.AddToList(-1, std::make_unique<PovIsosurface_cls>());
    chain.AddToList(-1, Blur(1));
    chain.AddToList(-1, std::make_unique<PovVolume_cls>());
    auto* iso = static_cast<PovIsosurface_cls*>(chain.GetPFilterBase(0));
    EXPECT_EQ(iso->GetParameters().GetName(), L"Isosurface");
    EXPECT_EQ(iso->GetParameters().GetLabel(0), L"Critical");
    EXPECT_EQ(iso->GetParameters().GetLabel(1), L"Alpha");
    chain.SetProcessFrame(0);
    ASSERT_TRUE(chain.IsReprocessRequired(0, 0.0, nullptr));
    RunChain(chain, t);
    EXPECT_EQ(iso->GetBuildCount(), 1);
    ASSERT_TRUE(iso->IsMeshValid());
    EXPECT_GT(iso->GetMesh().GetFaceNumberOptFull(), 0u);
    EXPECT_EQ(iso->GetDataCopy(), t.v) << "the isosurface sees the data before the blur";
    EXPECT_FALSE(chain.IsReprocessRequired(0, 0.0, nullptr));

    // Only a setting downstream changes: the chain runs again, the mesh stays.
    static_cast<BlurGauss_cls*>(chain.GetPFilterBase(1))->GetData().mfKernelSize.Set(2.0f);
    ASSERT_TRUE(chain.IsReprocessRequired(0, 0.0, nullptr));
    RunChain(chain, t);
    EXPECT_EQ(iso->GetBuildCount(), 1);

    // The level changes: required through the signature and the item's own need.
    iso->GetParameters().ProcClearKey({0.3, 1.0});
    iso->UpdateParameters(0.0);
    EXPECT_TRUE(iso->IsReprocessRequired());
    ASSERT_TRUE(chain.IsReprocessRequired(0, 0.0, nullptr));
    RunChain(chain, t);
    EXPECT_EQ(iso->GetBuildCount(), 2);
    EXPECT_EQ(iso->GetMesh().GetByteLevel(), 76);
    EXPECT_FALSE(iso->IsReprocessRequired());

    // New data of another frame: the frame's first processing rebuilds.
    t.v[100] ^= 0xFF;
    chain.SetProcessFrame(1);
    ASSERT_TRUE(chain.IsReprocessRequired(1, 0.0, nullptr));
    RunChain(chain, t);
    EXPECT_EQ(iso->GetBuildCount(), 3);
    // Back to frame 0, whose processed voxels are still valid: the isosurface holds frame 1's
    // data, so frame 0 must be refreshed.
    EXPECT_TRUE(chain.IsReprocessRequired(0, 0.0, nullptr));
    iso->GetData().SetValid(false);
    EXPECT_FALSE(iso->IsReprocessRequired());
}

TEST(FilterChain, TextOfEveryItemTypeComesBackAndTagsStayOutOfTheFile)
{
    FilterCtrl_cls chain(nullptr, 1);
    for (int type = 0; type < FilterBase_cls::kTypeNum; ++type)
        chain.AddToList(-1, FilterCtrl_cls::CreateItem(type, &chain));
    static_cast<BlurGauss_cls*>(chain.GetPFilterBase(5))->GetData().mfKernelSize.Set(2.5f);
    chain.GetPFilterData(6)->SetName(L"My levels");
    chain.GetPFilterData(15)->SetValid(false);
    static_cast<DataRotate_cls*>(chain.GetPFilterBase(9))->GetParameters().ProcClearKey({12.5});
    static_cast<LayerColorCurve_cls*>(chain.GetPFilterBase(10))->SetPoints({{0.1, 0.2}, {0.5, 0.9}, {0.9, 0.3}});
    static_cast<PovFog_cls*>(chain.GetPFilterBase(1))->GetData().mStrTarget.Set(L"1_Volume_0");

    const std::wstring text = chain.SerializeConf();
    EXPECT_EQ(text.find(L"FilterIdTag"), std::wstring::npos);
    EXPECT_NE(text.find(L"FogTarget=1_Volume_0\n"), std::wstring::npos);
    EXPECT_EQ(chain.GetPFilterData(4)->GetIdTagItem().Get(), L"1_Volume_0") << "restored after writing";
    EXPECT_EQ(text.substr(0, 13), L"--Isosurface\n");
    EXPECT_EQ(text.substr(text.size() - 6), L"--END\n");

    FilterCtrl_cls read(nullptr, 1);
    LineStream_cls stream(L"unrelated line\n" + text + L"FilterValid=0\n");
    std::wstring line;
    int taken = 0;
    while (stream.GetLine(line))
        taken += read.ReadStrLine(stream, line) ? 1 : 0;
    EXPECT_EQ(taken, FilterBase_cls::kTypeNum) << "only tag lines open blocks";
    ASSERT_EQ(read.GetItemNum(), FilterBase_cls::kTypeNum);
    for (int type = 0; type < FilterBase_cls::kTypeNum; ++type) {
        EXPECT_EQ(read.GetPFilterBase(type)->GetType(), type);
        EXPECT_EQ(read.GetPFilterBase(type)->GetIdTag(), chain.GetPFilterBase(type)->GetIdTag());
    }
    EXPECT_EQ(read.SerializeConf(), text);
    EXPECT_EQ(read.GetPFilterData(6)->GetName(), L"My levels");
    EXPECT_FALSE(read.GetPFilterData(15)->IsValid());
    read.UpdateParameters(0.0);
    chain.UpdateParameters(0.0);
    for (int type = 0; type < FilterBase_cls::kTypeNum; ++type)
        EXPECT_EQ(read.GetPFilterBase(type)->GetFilterStatusStr(), chain.GetPFilterBase(type)->GetFilterStatusStr())
            << type;
}

TEST(FilterChain, SlotsWriteAndReadTheirOwnChains)
{
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls ctrl(&clock);
    ctrl.GetSequence(1).GetFilterCtrl().AddToList(-1, Blur(3));
    ctrl.GetSequence(3).GetFilterCtrl().AddToList(-1, std::make_unique<PovVolume_cls>());
    ctrl.SetActiveSlot(2);
    EXPECT_FALSE(ctrl.IsFilterProcessRequired(1)) << "no volume item takes the blur";
    ctrl.GetSequence(1).GetFilterCtrl().AddToList(-1, std::make_unique<PovVolume_cls>());
    EXPECT_TRUE(ctrl.IsFilterProcessRequired(1));
    const std::wstring text = ctrl.SerializeAllDF3Sequence();

    TimeCtrl_cls clock2;
    DF3SeqCtrl_cls other(&clock2);
    LineStream_cls stream(text);
    std::wstring line;
    while (stream.GetLine(line))
        other.ReadStrLineAllDF3Sequence(stream, line);
    EXPECT_EQ(other.GetActiveSlot(), 2);
    EXPECT_EQ(other.GetSequence(0).GetFilterCtrl().GetItemNum(), 0);
    ASSERT_EQ(other.GetSequence(1).GetFilterCtrl().GetItemNum(), 2);
    EXPECT_EQ(other.GetSequence(1).GetFilterCtrl().GetPFilterBase(0)->GetType(), 5);
    EXPECT_EQ(other.GetSequence(1).GetFilterCtrl().GetPFilterBase(0)->GetIdTag(), L"1_BlurGauss_0");
    EXPECT_EQ(other.GetSequence(3).GetFilterCtrl().GetItemNum(), 1);
    EXPECT_EQ(other.SerializeAllDF3Sequence(), text);
}

TEST(FilterChain, AddRemoveSwapAndSettingChangesUndoAndRedo)
{
    UndoManager_cls history;
    FilterCtrl_cls chain;
    chain.SetUndoManager(&history);
    int notices = 0;
    chain.FuncHookChanged = [&](FilterCtrl_cls&) { ++notices; };
    ASSERT_TRUE(chain.AddFilterExecute(4, -1));
    ASSERT_TRUE(chain.AddFilterExecute(5, 0));
    ASSERT_TRUE(chain.AddFilterExecute(6, 1, Level({0, 1, 0, 1, 2, 0})));
    EXPECT_FALSE(chain.AddFilterExecute(6, 1, Blur(1))) << "preset of another type";
    EXPECT_FALSE(chain.AddFilterExecute(42, 0));
    ASSERT_EQ(chain.GetItemNum(), 3);
    EXPECT_EQ(notices, 3);
    const std::wstring blurTag = chain.GetPFilterBase(0)->GetIdTag();
    LevelAndGamma_cls* level = static_cast<LevelAndGamma_cls*>(chain.GetPFilterBase(1));
    EXPECT_EQ(level->GetParam(4), 2.0);

    // Setting change (the kernel value is the blur's fourth setting) with undo and redo.
    ASSERT_TRUE(chain.ChangeConfFLOATExecute(blurTag, 4, 2.5f));
    auto* blur = static_cast<BlurGauss_cls*>(chain.GetPFromTag(blurTag));
    EXPECT_EQ(blur->GetData().mfKernelSize.Get(), 2.5f);
    EXPECT_FALSE(chain.ChangeConfFLOATExecute(blurTag, 4, 2.5f)) << "no change, no step";
    EXPECT_FALSE(chain.ChangeConfINTExecute(blurTag, 4, 2)) << "not an integer setting";
    ASSERT_TRUE(chain.ChangeConfFLOATExecute(blurTag, FilterCtrl_cls::ConfIndex(5, 2), 4.0f));
    EXPECT_EQ(blur->GetData().mvfAssymSize.Get(2), 4.0f);
    ASSERT_TRUE(chain.ChangeConfBOOLExecute(blurTag, 0, false));
    EXPECT_FALSE(blur->GetData().IsValid());
    ASSERT_TRUE(chain.ChangeConfINTExecute(blurTag, 3, 1));
    EXPECT_EQ(blur->GetData().muKernelType.Get(), 1u);
    history.UndoCurrent();
    history.UndoCurrent();
    history.UndoCurrent();
    EXPECT_TRUE(blur->GetData().IsValid());
    EXPECT_EQ(blur->GetData().mvfAssymSize.Get(2), 0.0f);
    EXPECT_EQ(blur->GetData().muKernelType.Get(), 0u);
    EXPECT_EQ(blur->GetData().mfKernelSize.Get(), 2.5f);
    history.UndoCurrent();
    EXPECT_EQ(blur->GetData().mfKernelSize.Get(), 0.0f);
    history.ExecCurrent();
    EXPECT_EQ(blur->GetData().mfKernelSize.Get(), 2.5f);

    // Swap and its undo.
    ASSERT_TRUE(chain.SwapFilter(0));
    EXPECT_EQ(chain.GetPFilterBase(1), blur);
    EXPECT_FALSE(chain.SwapFilter(2)) << "no item after the last";
    history.UndoCurrent();
    EXPECT_EQ(chain.GetPFilterBase(0), blur);

    // Remove: undo puts back the very same object with its tag; a setting change recorded
    // before the removal still applies after redo and undo.
    const int before = history.GetPosition();
    ASSERT_TRUE(chain.DeleteFilter(blur));
    EXPECT_EQ(chain.GetItemNum(), 2);
    EXPECT_EQ(chain.GetPFromTag(blurTag), nullptr);
    history.UndoCurrent();
    ASSERT_EQ(chain.GetPFilterBase(0), blur);
    EXPECT_EQ(blur->GetIdTag(), blurTag);
    history.ExecCurrent();
    EXPECT_EQ(chain.GetItemNum(), 2);
    history.UndoCurrent();
    EXPECT_EQ(history.GetPosition(), before);
    history.UndoCurrent(); // the kernel value back to 0 on the restored item
    EXPECT_EQ(blur->GetData().mfKernelSize.Get(), 0.0f);

    // Undo every add: the chain is empty; redo brings the same items and tags back.
    while (history.CanUndo())
        history.UndoCurrent();
    EXPECT_EQ(chain.GetItemNum(), 0);
    while (history.CanRedo())
        history.ExecCurrent();
    // The history ends with the kernel change and the removal: the same level item and volume
    // item remain, the blur is out again.
    ASSERT_EQ(chain.GetItemNum(), 2);
    EXPECT_EQ(chain.GetPFilterBase(0), level);
    EXPECT_EQ(chain.GetPFilterBase(1)->GetType(), 4);
    EXPECT_EQ(chain.GetPFromTag(blurTag), nullptr);
    history.UndoCurrent();
    ASSERT_EQ(chain.GetPFromTag(blurTag), blur);
    EXPECT_EQ(blur->GetData().mfKernelSize.Get(), 2.5f);
}

TEST(FilterChain, ClippingOfTheItemsBeforeATagIsTheIntersection)
{
    FilterCtrl_cls chain;
    auto clip = [](std::vector<double> box) {
        auto c = std::make_unique<FilterClipping_cls>();
        c->GetParameters().ProcClearKey(box);
        c->UpdateParameters(0.0);
        return c;
    };
    chain.AddToList(-1, clip({0.1, 0.0, 0.0, 0.9, 1.0, 0.5}));
    chain.AddToList(-1, std::make_unique<PovIsosurface_cls>());
    chain.AddToList(-1, clip({0.0, 0.2, 0.3, 0.5, 1.0, 1.0}));
    chain.AddToList(-1, std::make_unique<PovVolume_cls>());
    double lo[3], hi[3];
    ASSERT_TRUE(chain.GetClippingInformation(lo, hi, chain.GetPFilterBase(1)->GetIdTag()));
    EXPECT_EQ(lo[0], 0.1);
    EXPECT_EQ(hi[2], 0.5);
    ASSERT_TRUE(chain.GetClippingInformation(lo, hi, chain.GetPFilterBase(3)->GetIdTag()));
    EXPECT_EQ(lo[0], 0.1);
    EXPECT_EQ(hi[0], 0.5);
    EXPECT_EQ(lo[2], 0.3);
    EXPECT_EQ(hi[2], 0.5);
    chain.GetPFilterData(0)->SetValid(false);
    ASSERT_TRUE(chain.GetClippingInformation(lo, hi, L""));
    EXPECT_EQ(lo[0], 0.0);
    chain.GetPFilterData(2)->SetValid(false);
    EXPECT_FALSE(chain.GetClippingInformation(lo, hi, L""));
    EXPECT_EQ(hi[1], 1.0);
}

TEST(FilterChain, OmissionListDefersTheChangeNotice)
{
    FilterCtrl_cls chain;
    int notices = 0;
    chain.FuncHookChanged = [&](FilterCtrl_cls&) { ++notices; };
    FilterCtrl_cls::PushListOmit();
    FilterCtrl_cls::PushListOmit();
    LineStream_cls stream(L"--BlurGauss\n--END\n--Volume\n--END\n");
    std::wstring line;
    while (stream.GetLine(line))
        chain.ReadStrLine(stream, line);
    EXPECT_EQ(notices, 0);
    FilterCtrl_cls::PopListOmit();
    EXPECT_EQ(notices, 0);
    FilterCtrl_cls::PopListOmit();
    EXPECT_EQ(notices, 1) << "once, at the outermost end";
    EXPECT_EQ(chain.GetItemNum(), 2);
}

} // namespace
