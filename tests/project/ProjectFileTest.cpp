// The project and configuration files: round trips to the byte, block order, which blocks go
// where, damaged files, failed saves, the recent list.
#include "project/ProjectTestUtil.h"

#include "anim/UndoManager_cls.h"
#include "config/RecordingPrompt_cls.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <unistd.h>

namespace
{

class ProjectFileTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        mpA = std::make_unique<Main_cls>(Widen(mCApp.Path().string()));
        mpB = std::make_unique<Main_cls>(Widen(mCApp.Path().string()));
        mCViewsA.Install(*mpA);
        mCViewsB.Install(*mpB);
    }
    void TearDown() override { GetUndoManager().Clear(); }

    std::wstring File(const std::string& name) const { return Widen(mCDir.File(name)); }

    TempDir mCApp;
    TempDir mCDir;
    RecordingPrompt_cls mCPrompt;
    ScopedUserPrompt_cls mCScopedPrompt{&mCPrompt};
    std::unique_ptr<Main_cls> mpA;
    std::unique_ptr<Main_cls> mpB;
    FakeViews mCViewsA;
    FakeViews mCViewsB;
};

TEST_F(ProjectFileTest, RichSceneSurvivesSaveOpenSaveByteForByte)
{
    BuildRichScene(*mpA, mCDir);
    mCViewsA.mCCamera.Orbit(30.0, -20.0);
    mCViewsA.mCCamera.Pan(0.1, 0.05);
    const std::wstring first = File("first.vsp");
    ASSERT_TRUE(mpA->GetProjectFile().Save(first, true, nullptr));

    ASSERT_TRUE(mpB->GetProjectFile().OpenProject(first));
    const std::wstring second = File("second.vsp");
    ASSERT_TRUE(mpB->GetProjectFile().Save(second, true, nullptr));
    const std::string a = ReadFileText(Narrow(first));
    const std::string b = ReadFileText(Narrow(second));
    ASSERT_GT(a.size(), 2000u);
    EXPECT_EQ(a, b);

    // And the objects really hold what was saved, not only the text.
    DF3SeqCtrl_cls& seqB = mpB->GetSeqCtrl();
    EXPECT_EQ(seqB.GetActiveSlot(), 2);
    for (int slot = 0; slot < 4; ++slot) {
        EXPECT_EQ(seqB.GetSequence(slot).GetFileList().size(), static_cast<size_t>(2 + slot));
        EXPECT_EQ(seqB.GetSequence(slot).GetFilterCtrl().GetItemNum(),
                  mpA->GetSeqCtrl().GetSequence(slot).GetFilterCtrl().GetItemNum());
    }
    for (int type = 0; type < FilterBase_cls::kTypeNum; ++type) {
        const FilterCtrl_cls& chain = seqB.GetSequence(type % 4).GetFilterCtrl();
        FilterBase_cls* found = nullptr;
        ASSERT_TRUE(chain.DoesFilterExist(type, 0, &found)) << "type " << type;
        EXPECT_EQ(found->GetPData()->GetName(), L"Item " + WStrPrintf("%d", type));
        if (auto* animated = dynamic_cast<FilterWithParameter_cls*>(found))
            EXPECT_EQ(animated->GetParameters().GetKeyNumber(), 5) << "type " << type;
    }
    EXPECT_EQ(seqB.GetCritTexMemoryMB(), 120u);
    EXPECT_FALSE(seqB.IsPrefetch());
    EXPECT_EQ(seqB.GetSlotAlpha().GetKeyNumber(), 5);
    EXPECT_EQ(mpB->GetTimeCtrl().GetMaxFrame(), 40);
    EXPECT_TRUE(mpB->GetTimeCtrl().IsUseTimeRemap());
    EXPECT_EQ(mpB->GetTimeCtrl().GetTimeRemap().GetKeyNumber(), 5);
    EXPECT_EQ(mpB->GetPovExport().GetLights().GetCount(), 3u);
    EXPECT_EQ(mpB->GetPovExport().GetLights().GetKind(2), static_cast<unsigned>(LightSRC_cls::kParallel));
    EXPECT_EQ(mpB->GetColoring().GetPCustomColor()->GetItemNumber(), 2);
    EXPECT_TRUE(mpB->GetColoring().GetPCustomColor()->IsMultiplyLevel(1));
    EXPECT_EQ(mpB->GetCameraPath().GetCameraNumber(), 2);
    EXPECT_TRUE(mpB->GetCameraPath().IsUsePath());
    EXPECT_DOUBLE_EQ(mpB->GetStereoGram().GetEyeSeparation(), 0.08);
    EXPECT_EQ(mpB->GetStereoGram().GetMode(), StereoGram_cls::kModeCrossed);
    EXPECT_EQ(mpB->GetHotSpotGroup().GetPMember(0)->GetKeyNumber(), 5);
    EXPECT_EQ(mpB->GetMainParamGroup().Find(L"Brightness")->GetKeyNumber(), 5);
    EXPECT_EQ(mpB->GetBoxSize().GetKeyNumber(), 5);
    EXPECT_EQ(mpB->GetPovExport().GetPovRay().GetMaxTraceLevel(), 7);
    EXPECT_FALSE(mpB->GetToolTip());
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(mCViewsB.mCCamera.GetPosition()[k], mCViewsA.mCCamera.GetPosition()[k], 1e-4);
    // Opening starts a fresh history and marks the controller.
    EXPECT_FALSE(GetUndoManager().CanUndo());
    EXPECT_TRUE(mpB->IsProjectLoaded());
}

TEST_F(ProjectFileTest, ProjectBlocksComeInTheWritersOrder)
{
    BuildRichScene(*mpA, mCDir);
    mpA->GetProjectFile().SetHooks(ProjectFile_cls::kHookWindowItems,
                                   {[] { return std::wstring(L"FrameMainViewLayout=1\n"); }, {}});
    const std::wstring text = mpA->GetProjectFile().BuildText(true);
    const std::vector<std::wstring> order = {L"DF3CritTexMemoryMB=",
                                             L"DF3SequencePrefetch=",
                                             L"FrameMainViewLayout=",
                                             L"ThreadNumFilter=",
                                             L"ToolTip=",
                                             L"POV_SNAP_FILE=",
                                             L"CameraPathShow=",
                                             L"--ParameterGroup:MainParam",
                                             L"DownSizeLayer=",
                                             L"ActiveDataSlot=0",
                                             L"ActiveDataSlot=3",
                                             L"DF3MaxFrame=",
                                             L"--TimeRemap",
                                             L"CUSTOMCOLOR_NUM=",
                                             L"--StereoGram\n",
                                             L"--ParameterGroup:HotSpot",
                                             L"--LightSource",
                                             L"Parameter_BoxSize",
                                             L"Parameter_BoxRotate",
                                             L"Parameter_SlotAlpha",
                                             L"--GLCanvas",
                                             L"PreviewType3D="};
    size_t last = 0;
    for (const std::wstring& marker : order) {
        const size_t at = text.find(marker);
        ASSERT_NE(at, std::wstring::npos) << Narrow(marker);
        EXPECT_GE(at, last) << Narrow(marker) << " out of order";
        last = at;
    }
    // The machine's ray-tracer path stays out of a project.
    EXPECT_EQ(text.find(L"POVRAY_PATH="), std::wstring::npos);
}

TEST_F(ProjectFileTest, ConfigurationHasKeysButNoSceneAndProjectTheOpposite)
{
    BuildRichScene(*mpA, mCDir);
    mpA->GetProjectFile().SetHooks(ProjectFile_cls::kHookShortcuts,
                                   {[] { return std::wstring(L"-ShortcutBegin\nQuit=Ctrl+Q\n-ShortcutEnd\n"); }, {}});
    const std::wstring conf = mpA->GetProjectFile().BuildText(false);
    const std::wstring project = mpA->GetProjectFile().BuildText(true);
    for (const wchar_t* scene :
         {L"ActiveDataSlot=", L"--LightSource", L"--CameraPath\n", L"--StereoGram", L"Parameter_BoxSize", L"--GLCanvas",
          L"--ParameterGroup:", L"DF3MaxFrame=", L"CUSTOMCOLOR_NUM="}) {
        EXPECT_EQ(conf.find(scene), std::wstring::npos) << Narrow(scene);
        EXPECT_NE(project.find(scene), std::wstring::npos) << Narrow(scene);
    }
    EXPECT_NE(conf.find(L"-ShortcutBegin\nQuit=Ctrl+Q\n-ShortcutEnd\n"), std::wstring::npos);
    EXPECT_EQ(project.find(L"-ShortcutBegin"), std::wstring::npos);
    for (const wchar_t* common : {L"DF3CritTexMemoryMB=120", L"ThreadNumFilter=", L"ToolTip=0", L"POVRAY_PATH=",
                                  L"PovMaxTraceLevel=7", L"CameraPathShow="})
        EXPECT_NE(conf.find(common), std::wstring::npos) << Narrow(common);
}

TEST_F(ProjectFileTest, ConfigurationFileWithSceneBlocksLoadsThemAndStaysOffTheRecentList)
{
    BuildRichScene(*mpA, mCDir);
    const std::wstring conf = Widen((mCDir.Path() / "KivrelConfigure.txt").string());
    // Saved as a project under the configuration's name: not a recent project.
    ASSERT_TRUE(mpA->GetProjectFile().Save(conf, true, nullptr));
    EXPECT_TRUE(mpA->GetRecent().Get(0).empty());

    ASSERT_TRUE(mpB->GetProjectFile().Read(conf));
    EXPECT_EQ(mpB->GetPovExport().GetLights().GetCount(), 3u);
    EXPECT_EQ(mpB->GetCameraPath().GetCameraNumber(), 2);
    EXPECT_EQ(mpB->GetSeqCtrl().GetSequence(3).GetFilterCtrl().GetItemNum(), 4);
    EXPECT_TRUE(mpB->GetRecent().Get(0).empty());

    // Other names are pushed both by saving and by reading.
    const std::wstring scene = File("scene.vsp");
    ASSERT_TRUE(mpA->GetProjectFile().Save(scene, true, nullptr));
    EXPECT_EQ(mpA->GetRecent().Get(0), scene);
    ASSERT_TRUE(mpB->GetProjectFile().Read(scene));
    EXPECT_EQ(mpB->GetRecent().Get(0), scene);
}

TEST_F(ProjectFileTest, OpeningClearsChainsAndCameraPathButNotWhatTheFileLacks)
{
    BuildRichScene(*mpB, mCDir);
    const std::wstring small = File("small.vsp");
    WriteFileText(Narrow(small), "DF3MaxFrame=12\nDF3WorkAreaMax=12\nDF3ActiveAreaMax=12\n");
    ASSERT_TRUE(mpB->GetProjectFile().OpenProject(small));
    for (int slot = 0; slot < 4; ++slot)
        EXPECT_EQ(mpB->GetSeqCtrl().GetSequence(slot).GetFilterCtrl().GetItemNum(), 0);
    EXPECT_EQ(mpB->GetCameraPath().GetCameraNumber(), 0);
    EXPECT_EQ(mpB->GetTimeCtrl().GetMaxFrame(), 12);
    EXPECT_FALSE(GetUndoManager().CanUndo());
    // A missing project is refused before anything is cleared.
    BuildRichScene(*mpA, mCDir);
    EXPECT_FALSE(mpA->GetProjectFile().OpenProject(File("missing.vsp")));
    EXPECT_EQ(mpA->GetCameraPath().GetCameraNumber(), 2);
    EXPECT_FALSE(mpA->GetProjectFile().Read(File("missing.vsp")));
}

TEST_F(ProjectFileTest, DamagedProjectsLoadAsFarAsUnderstood)
{
    BuildRichScene(*mpA, mCDir);
    const std::string text = Narrow(mpA->GetProjectFile().BuildText(true));
    const size_t lightsEnd = text.find("--FinishLightSource\n") + 20;
    const size_t clockAt = text.find("DF3MaxFrame=");
    ASSERT_NE(clockAt, std::string::npos);
    for (size_t cut = 0; cut < text.size(); cut += 97) {
        Main_cls fresh(Widen(mCApp.Path().string()));
        fresh.GetProjectFile().ReadText(Widen(text.substr(0, cut)));
        const size_t lights = fresh.GetPovExport().GetLights().GetCount();
        if (cut >= lightsEnd)
            EXPECT_EQ(lights, 3u) << "cut at " << cut;
        if (cut < clockAt) {
            EXPECT_EQ(lights, 0u) << "cut at " << cut;
            EXPECT_EQ(fresh.GetTimeCtrl().GetMaxFrame(), 99) << "cut at " << cut;
            EXPECT_EQ(fresh.GetBoxSize().GetKeyNumber(), 1) << "cut at " << cut;
        }
        // Whatever was read can be written again.
        EXPECT_FALSE(fresh.GetProjectFile().BuildText(true).empty());
    }
    std::mt19937 random(20261121);
    for (int round = 0; round < 60; ++round) {
        std::string garbled = text;
        for (int flips = 0; flips < 12; ++flips)
            garbled[random() % garbled.size()] = static_cast<char>(random() & 0xFF);
        Main_cls fresh(Widen(mCApp.Path().string()));
        const std::wstring path = File("garbled.vsp");
        WriteFileText(Narrow(path), garbled);
        EXPECT_TRUE(fresh.GetProjectFile().OpenProject(path));
        EXPECT_FALSE(fresh.GetProjectFile().BuildText(true).empty());
    }
    EXPECT_EQ(mCPrompt.MessageCount(), 0u);
}

TEST_F(ProjectFileTest, FailedSaveSaysSoAndKeepsTheOldFile)
{
    const std::wstring target = File("keep.vsp");
    WriteFileText(Narrow(target), "old contents\n");
    // The temporary file's place is taken by a folder: the write cannot start.
    std::filesystem::create_directory(mCDir.Path() / "keep.vsp.tmp");
    BuildRichScene(*mpA, mCDir);
    EXPECT_FALSE(mpA->GetProjectFile().Save(target, true, nullptr));
    EXPECT_EQ(ReadFileText(Narrow(target)), "old contents\n");
    ASSERT_EQ(mCPrompt.MessageCount(), 1u);
    EXPECT_EQ(mCPrompt.Messages()[0].text, L"File open fails");
    EXPECT_EQ(mCPrompt.Messages()[0].title, L"Error!");
    EXPECT_TRUE(mpA->GetRecent().Get(0).empty());

    // The target is a folder.
    std::filesystem::create_directory(mCDir.Path() / "folder.vsp");
    EXPECT_FALSE(mpA->GetProjectFile().Save(File("folder.vsp"), true, nullptr));
    EXPECT_TRUE(std::filesystem::is_directory(mCDir.Path() / "folder.vsp"));
    EXPECT_EQ(mCPrompt.MessageCount(), 2u);

    // A folder that does not exist.
    EXPECT_FALSE(mpA->GetProjectFile().Save(File("no/such/dir/x.vsp"), true, nullptr));
    EXPECT_EQ(mCPrompt.MessageCount(), 3u);

    // A folder without write permission (meaningless for root, who may write anywhere).
    if (geteuid() != 0) {
        const std::filesystem::path locked = mCDir.Path() / "locked";
        std::filesystem::create_directory(locked);
        WriteFileText((locked / "p.vsp").string(), "locked contents\n");
        std::filesystem::permissions(locked, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
        EXPECT_FALSE(mpA->GetProjectFile().Save(Widen((locked / "p.vsp").string()), true, nullptr));
        std::filesystem::permissions(locked, std::filesystem::perms::owner_all);
        EXPECT_EQ(ReadFileText((locked / "p.vsp").string()), "locked contents\n");
        EXPECT_EQ(mCPrompt.MessageCount(), 4u);
    }
    // No temporary file is left behind by a failed save.
    EXPECT_FALSE(std::filesystem::exists(mCDir.Path() / "no"));
}

TEST_F(ProjectFileTest, UnknownLinesAndBlocksAreSkipped)
{
    const std::wstring text = L"SomeFutureKey=5\n"
                              L"--SomeFutureBlock\n"
                              L"DF3MaxFrame=33\n"
                              L"--LightSource\n"
                              L"LightKind=1\n"
                              L"Parameter_Light\n"
                              L"itemnum 0\n"
                              L"--FinishLightSource\n"
                              L"\r\n"
                              L"ToolTip=0\r\n";
    mpB->GetProjectFile().ReadText(text);
    EXPECT_EQ(mpB->GetTimeCtrl().GetMaxFrame(), 33);
    EXPECT_EQ(mpB->GetPovExport().GetLights().GetCount(), 1u);
    EXPECT_FALSE(mpB->GetToolTip());
}

TEST_F(ProjectFileTest, WindowHooksTakePartInBothDirections)
{
    int read = 0;
    mpA->GetProjectFile().SetHooks(ProjectFile_cls::kHookCustomColours,
                                   {[] { return std::wstring(L"DialogCustomColours=1 2 3\n"); },
                                    [&read](LineStream_cls&, const std::wstring& line) {
                                        read += line == L"DialogCustomColours=1 2 3" ? 1 : 0;
                                        return true;
                                    }});
    const std::wstring text = mpA->GetProjectFile().BuildText(true);
    EXPECT_EQ(text.substr(text.size() - 26), L"DialogCustomColours=1 2 3\n");
    mpA->GetProjectFile().ReadText(text);
    EXPECT_EQ(read, 1);
    // Removed hooks write and read nothing.
    mpA->GetProjectFile().SetHooks(ProjectFile_cls::kHookCustomColours, {});
    EXPECT_EQ(mpA->GetProjectFile().BuildText(true).find(L"DialogCustomColours"), std::wstring::npos);
}

} // namespace
