#pragma once
// A scene that uses every part of a project file: four slots with data and chains holding every
// item type with changed settings and keys of every interpolation type, a time remap, lights,
// a custom colour map, camera path, stereo pair, parameter groups, moved cameras.
#include "anim/CameraPathCtrl_cls.h"
#include "anim/ParameterGroup_cls.h"
#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "color/Coloring_cls.h"
#include "color/CustomColor_cls.h"
#include "config/ConfItem_cls.h"
#include "config/LineStream_cls.h"
#include "config/Main_cls.h"
#include "config/ProjectFile_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/FilterWithParameter_cls.h"
#include "pov/Camera_cls.h"
#include "pov/LightSRC_cls.h"
#include "pov/PovExport_cls.h"
#include "pov/StereoGram_cls.h"
#include "support/TestUtil.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"

#include <memory>
#include <string>
#include <vector>

/// Writes `count` 4x4x4 DF3 files dir/prefix0000.df3 ...; returns the first path.
inline std::wstring WriteTinySeries(const TempDir& dir, const std::string& prefix, int count)
{
    for (int i = 0; i < count; ++i) {
        std::vector<uint8_t> bytes = {0, 4, 0, 4, 0, 4};
        for (int v = 0; v < 64; ++v)
            bytes.push_back(static_cast<uint8_t>((v * 7 + i * 13) & 0xFF));
        WriteFileBytes(dir.File(prefix + StrPrintf("%04d", i) + ".df3"), bytes);
    }
    return Widen(dir.File(prefix + "0000.df3"));
}

/// Keys `set` with one key of each interpolation type (0..4) at times 0, 0.25, ... 1.
inline void KeyEveryType(Parameters_cls& set, double base)
{
    if (!set.IsTimeDependent())
        set.ExecCommandTimeDependent(true);
    for (unsigned type = 0; type < 5; ++type) {
        std::vector<double> values(set.GetDimension());
        std::vector<double> d1(set.GetDimension()), d2(set.GetDimension());
        for (unsigned k = 0; k < values.size(); ++k) {
            values[k] = base + 0.125 * type + 0.03125 * k;
            d1[k] = 0.5 * type - 0.25 * k;
            d2[k] = type == 2 ? 0.75 : 0.0;
        }
        set.ExecCommandSetKey(0.25 * type, values.data(), type, d1.data(), d2.data());
    }
}

/// Changes every setting of a chain item away from its default in a way every reader keeps:
/// booleans flipped, numbers moved a little, the label renamed.
inline void ChangeItemSettings(FilterBase_cls& item, int serial)
{
    for (ConfItem_cls* conf : item.GetPData()->GetConfList().Items()) {
        if (conf == &item.GetPData()->GetIdTagItem())
            continue;
        if (auto* b = dynamic_cast<ConfItemBOOL_cls*>(conf))
            b->Set(!b->Get());
        else if (auto* f = dynamic_cast<ConfItemFLOAT_cls*>(conf))
            f->Set(f->Get() * 0.5f + 0.25f);
        else if (auto* d = dynamic_cast<ConfItemDOUBLE_cls*>(conf))
            d->Set(d->Get() * 0.5 + 0.125);
    }
    item.GetPData()->SetName(L"Item " + WStrPrintf("%d", serial));
    if (auto* animated = dynamic_cast<FilterWithParameter_cls*>(&item))
        KeyEveryType(animated->GetParameters(), 0.1 * serial);
}

/// Fills `main` with the rich scene; `dir` receives the data files.
inline void BuildRichScene(Main_cls& main, const TempDir& dir)
{
    DF3SeqCtrl_cls& seqCtrl = main.GetSeqCtrl();
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        seqCtrl.SetActiveSlot(slot);
        main.AddFileSequence(WriteTinySeries(dir, "slot" + std::to_string(slot) + "_", 2 + slot), 0);
    }
    // Every item type once, spread over the four chains.
    for (int type = 0; type < FilterBase_cls::kTypeNum; ++type) {
        FilterCtrl_cls& chain = seqCtrl.GetSequence(type % 4).GetFilterCtrl();
        const int position = chain.AddToList(-1, FilterCtrl_cls::CreateItem(type, &chain));
        ChangeItemSettings(*chain.GetPFilterBase(position), type);
    }
    seqCtrl.SetActiveSlot(2);
    seqCtrl.SetDownSizeLayer(1, 2);
    seqCtrl.SetCritMemoryMB(120, 230, 340);
    seqCtrl.SetPrefetch(false);
    KeyEveryType(seqCtrl.GetSlotAlpha(), 0.2);

    TimeCtrl_cls& clock = main.GetTimeCtrl();
    clock.SetMaxFrame(40);
    clock.SetWA(4, 36);
    clock.SetBUseTimeRemap(true);
    KeyEveryType(clock.GetTimeRemap(), 0.0);
    clock.CheckWorkingArea();

    KeyEveryType(main.GetBoxSize(), 0.05);
    KeyEveryType(main.GetBoxRotate(), 0.3);
    KeyEveryType(*main.GetHotSpotGroup().GetPMember(0), 0.4);
    KeyEveryType(*main.GetMainParamGroup().Find(L"Brightness"), 0.9);

    LightSRC_cls& lights = main.GetPovExport().GetLights();
    const double pos[3] = {1.5, -2.0, 3.25}, rgb[3] = {1.0, 0.5, 0.25};
    for (unsigned kind = 0; kind < 3; ++kind) {
        lights.AddLight(kind, pos, rgb, 0.5 + kind);
        KeyEveryType(lights.GetParam(kind), 0.6 + kind);
    }

    CustomColor_cls& maps = *main.GetColoring().GetPCustomColor();
    maps.AddItem();
    maps.SetColorTemplate(3);
    maps.AddItem();
    maps.SetMultiplyLevel(1, true);

    CameraPathCtrl_cls& path = main.GetCameraPath();
    path.AddCamera({0, 0, 5, 0, 0, 0});
    path.AddCamera({2, 1, 4, 0.5, 0, 0});
    path.SetCameraKey(1, 0.5, {3, 1, 2, 0, 0.25, 0});
    path.SetUsePath(true);
    path.SetActiveCamera(0);

    StereoGram_cls& stereo = main.GetStereoGram();
    stereo.SetEyeSeparation(0.08);
    stereo.SetConvergence(2.5);
    stereo.SetMode(StereoGram_cls::kModeCrossed);

    main.GetPovExport().GetPovRay().ReadStrLine(L"PovMaxTraceLevel=7");
    main.SetToolTip(false);
}

/// Stands in for the window's view controllers in core tests: moved cameras in "--GLCanvas"
/// blocks, read back by their prefixed keys.
struct FakeViews {
    Camera_cls mCCamera;
    void Install(Main_cls& main)
    {
        mCCamera.SetKeyPrefix(L"View0");
        main.GetProjectFile().SetHooks(
            ProjectFile_cls::kHookViewCtrls,
            {[this] { return L"--GLCanvas\n" + mCCamera.SerializeConf(); },
             [this](LineStream_cls&, const std::wstring& line) { return mCCamera.ReadStrLine(line); }});
    }
};
