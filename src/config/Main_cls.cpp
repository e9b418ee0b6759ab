#include "config/Main_cls.h"

#include "anim/CameraPathCtrl_cls.h"
#include "anim/ParameterGroup_cls.h"
#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "anim/UndoManager_cls.h"
#include "color/Coloring_cls.h"
#include "config/ImportList_cls.h"
#include "config/ProjectFile_cls.h"
#include "config/TexPropertyCtrl_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "pov/PovExport_cls.h"
#include "pov/StereoGram_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/TreeBoxRule_cls.h"

#include <algorithm>
#include <cwctype>
#include <filesystem>
#include <unistd.h>

Main_cls::Main_cls(const std::wstring& appDir) : mStrAppDir(appDir)
{
    mlPid = static_cast<long>(getpid());
    mCRecent.ReadRecentList(RecentFilePath());
    mCConfList.Add(&mbItemToolTip, L"ToolTip=", L"1");
    mpBoxSize = std::make_unique<Parameters_cls>(6, L"BoxSize");
    mpBoxRotate = std::make_unique<Parameters_cls>(4, L"BoxRotate");
    // Constant at the start: the whole unit box, no rotation.
    auto constant = [](Parameters_cls& set, std::vector<double> values) {
        Parameters_cls::Snapshot snapshot;
        KeyFrame_cls key(set.GetDimension());
        key.Set(0.0, kInterpHermiteAuto, values.data(), nullptr, nullptr, false);
        snapshot.vKeys.push_back(key);
        snapshot.vCurrent = std::move(values);
        set.RestoreSnapshot(snapshot);
    };
    constant(*mpBoxSize, {0.0, 0.0, 0.0, 1.0, 1.0, 1.0});
    constant(*mpBoxRotate, {0.0, 0.0, 0.0, 0.0});
    // The clock comes before the slots, which follow it.
    mpTimeCtrl = std::make_unique<TimeCtrl_cls>();
    mpSeqCtrl = std::make_unique<DF3SeqCtrl_cls>(mpTimeCtrl.get());
    mpPovExport = std::make_unique<PovExport_cls>(mpTimeCtrl.get());
    mpCameraPath = std::make_unique<CameraPathCtrl_cls>();
    mpStereoGram = std::make_unique<StereoGram_cls>();
    // The export's left and right scenes use the preview's eye geometry.
    mpPovExport->SetStereoGram(mpStereoGram.get());
    mpHotSpotGroup = std::make_unique<ParameterGroup_cls>(L"HotSpot");
    const double hotSpot[4] = {0.0, 0.0, 0.0, 0.1};
    mpHotSpotGroup->AddMember(4, L"HSpot", hotSpot);
    mpMainParamGroup = std::make_unique<ParameterGroup_cls>(L"MainParam");
    const double one = 1.0;
    mpMainParamGroup->AddMember(1, L"BaseAlpha", &one);
    mpMainParamGroup->AddMember(1, L"Brightness", &one);
    // One set of colour maps for the preview and the export, so both show the same colours.
    mpColoring = std::make_unique<Coloring_cls>();
    mpPovExport->SetColoring(mpColoring.get());
    mpTreeBoxRule = std::make_unique<TreeBoxRule_cls>();
    mpTexProperty = std::make_unique<TexPropertyCtrl_cls>();
    mpImportList = std::make_unique<ImportList_cls>();
    mpProjectFile = std::make_unique<ProjectFile_cls>(*this);
    // Only density files can be written as ray-tracer media; image stacks would have to be
    // converted first.
    mpPovExport->mIsAllDataDF3 = [this] {
        for (int slot = 0; slot < 4; ++slot)
            for (const auto& entry : mpSeqCtrl->GetSequence(slot).GetFileList())
                if (entry.iFormat != 0)
                    return false;
        return true;
    };
}

Main_cls::~Main_cls()
{
    // The export and the slots follow the clock: they go first.
    mpProjectFile.reset();
    mpPovExport.reset();
    mpColoring.reset();
    mpSeqCtrl.reset();
    mpTimeCtrl.reset();
}

void Main_cls::SetPrompt(UserPrompt_cls* prompt)
{
    mpPrompt = prompt;
    mpPovExport->SetPrompt(prompt);
}

bool Main_cls::IsPovrayCondistionSatisfiled()
{
    return mpPovExport->IsPovrayCondistionSatisfiled();
}

bool Main_cls::ProcOutputPovRay(int frame, unsigned eye)
{
    return mpPovExport->ProcOutputPovRay(frame, eye);
}

bool Main_cls::OutputPovRayIOAnim(unsigned* first, unsigned* last, bool ask)
{
    return mpPovExport->OutputPovRayIOAnim(first, last, ask);
}

bool Main_cls::OutputPovRayIO(const std::wstring& stem, int frame)
{
    return mpPovExport->OutputPovRayIO(stem, frame);
}

std::string Main_cls::RecentFilePath() const
{
    return Narrow(mStrAppDir) + "/" + "KivrelRecent.txt";
}

void Main_cls::QuitProcess()
{
    mCRecent.SaveRecentFile(RecentFilePath());
}

UserPrompt_cls* Main_cls::Prompt() const
{
    return mpPrompt ? mpPrompt : GetUserPrompt();
}

void Main_cls::NotifyDataChanged()
{
    if (mDataChangedHook)
        mDataChangedHook();
}

DF3Sequence_cls* Main_cls::GetPDF3SeqActive()
{
    return &mpSeqCtrl->GetActiveSequence();
}

DF3_cls* Main_cls::GetPDF3Active()
{
    return mpSeqCtrl->GetActiveSequence().GetCurrentDF3();
}

// ---- opening data ------------------------------------------------------------------------------------

Main_cls::OpenResult Main_cls::OpenData(const std::wstring& path)
{
    if (path.empty())
        return kOpenFailed;
    std::wstring extension = path.size() >= 4 ? path.substr(path.size() - 4) : L"";
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); });
    if (extension == L".vsp" && Prompt()->AskYesNo(TrW("Read as a Project file?"), TrW("Opening .vsp File"), true)) {
        if (!mProjectOpener || !mProjectOpener(path))
            return kOpenFailed;
        mbProjectLoaded = true;
        return kOpenedProject;
    }
    Prompt()->SetStatusText(TrW("Open file ") + path, 0);
    OpenFileSequence(path);
    mbProjectLoaded = false;
    return kOpenedData;
}

void Main_cls::OpenFileSequence(const std::wstring& path)
{
    TimeCtrl_cls& clock = *mpTimeCtrl;
    const int length = clock.GetMaxFrame();
    const int start = clock.GetAAMin();
    const int end = clock.GetAAMax();

    mpSeqCtrl->GetActiveSequence().ClearFileSequence();
    AddFileSequence(path, DF3Sequence_cls::kAppendAtEnd);
    GetUndoManager().Clear();

    if (length == 0 || clock.GetMaxFrame() != 0)
        return;
    // A single file (a snapshot) was loaded into a scene that had a length.
    if (!mbSnapShotAnswered &&
        Prompt()->AskYesNo(TrW("Snap Shot is loaded. Set Scene Length to 0?"), TrW("Query"), false))
        return;
    clock.SetMaxFrame(length);
    clock.SetAA(start, end);
    clock.SetWA(start, end);
    clock.CheckWorkingArea();
    clock.DispatchTimeData();
    // Only the No path remembers the answer; a Yes is asked again next time.
    mbSnapShotAnswered = true;
    NotifyDataChanged();
}

int Main_cls::AddFileSequence(const std::wstring& path, unsigned appendType)
{
    DF3Sequence_cls& sequence = mpSeqCtrl->GetActiveSequence();
    const int added = sequence.AppendFileSequence(path, true, appendType);
    sequence.SetIndividualFileNames();
    mStrLastDataPath = path;
    // The dialog remembers files that are there; a name typed wrong is not worth offering again.
    std::error_code ec;
    if (added > 0 && std::filesystem::is_regular_file(std::filesystem::path(path), ec))
        mpImportList->PushData(path);
    if (sequence.GetFrameCount() > 0)
        mStrDataTitle = sequence.GetInformationText() + L" - " + L"Tessan";
    NotifyDataChanged();
    return added;
}

int Main_cls::AppendData(const std::wstring& path)
{
    return AddFileSequence(path, mpSeqCtrl->GetAppendType());
}

void Main_cls::CloseData()
{
    DF3Sequence_cls& sequence = mpSeqCtrl->GetActiveSequence();
    sequence.ReleaseAll();
    sequence.SetFileChangedTagAll();
    sequence.ClearFileSequence();
    NotifyDataChanged();
}
