// The view anchor, block-tree rule, volume-box texture and import-list blocks of project and
// configuration files: round trips to the byte with changed values, their place in the writer's
// order, which kind of file holds them, and damaged blocks.
#include "project/ProjectTestUtil.h"

#include "anim/UndoManager_cls.h"
#include "config/ImportList_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "config/TexPropertyCtrl_cls.h"
#include "pov/ViewAnchor_cls.h"
#include "volume/TreeBoxRule_cls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <set>

namespace
{

// Stands in for the canvas's anchor: the same model behind the same hook.
struct FakeAnchor {
    ViewAnchor_cls mCAnchor;
    void Install(Main_cls& main)
    {
        main.GetProjectFile().SetHooks(
            ProjectFile_cls::kHookViewAnchor,
            {[this] { return mCAnchor.SerializeAnchor(); },
             [this](LineStream_cls& stream, const std::wstring& line) { return mCAnchor.ReadStrLine(stream, line); }});
    }
};

class ProjectBlocksTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        mpA = std::make_unique<Main_cls>(Widen(mCApp.Path().string()));
        mpB = std::make_unique<Main_cls>(Widen(mCApp.Path().string()));
        mCAnchorA.Install(*mpA);
        mCAnchorB.Install(*mpB);
    }
    void TearDown() override { GetUndoManager().Clear(); }

    std::wstring File(const std::string& name) const { return Widen(mCDir.File(name)); }

    // Every new block away from its defaults.
    void ChangeBlocks(Main_cls& main, FakeAnchor& anchor)
    {
        anchor.mCAnchor.Set({0.25, -1.5, 3.0625});
        main.GetTreeBoxRule().SetDepth(3);
        main.GetTreeBoxRule().SetMinVoxels(2);
        main.GetTreeBoxRule().SetEmptyLevel(7);
        main.GetTexProperty().SetColorFactor(1, 0.5f, 0.75f, 1.25f);
        main.GetTexProperty().SetAlphaFactor(1, 0.375f);
        main.GetTexProperty().SetAlphaFactor(3, 0.0f);
        main.GetImportList().SetFilterIndex(2);
    }

    TempDir mCApp;
    TempDir mCDir;
    RecordingPrompt_cls mCPrompt;
    ScopedUserPrompt_cls mCScopedPrompt{&mCPrompt};
    std::unique_ptr<Main_cls> mpA;
    std::unique_ptr<Main_cls> mpB;
    FakeAnchor mCAnchorA;
    FakeAnchor mCAnchorB;
};

TEST_F(ProjectBlocksTest, ChangedBlocksSurviveSaveOpenSaveByteForByte)
{
    BuildRichScene(*mpA, mCDir);
    ChangeBlocks(*mpA, mCAnchorA);
    const std::wstring first = File("first.vsp");
    ASSERT_TRUE(mpA->GetProjectFile().Save(first, true, nullptr));
    ASSERT_TRUE(mpB->GetProjectFile().OpenProject(first));
    const std::wstring second = File("second.vsp");
    ASSERT_TRUE(mpB->GetProjectFile().Save(second, true, nullptr));
    EXPECT_EQ(ReadFileText(Narrow(first)), ReadFileText(Narrow(second)));

    const Vec3d anchor = mCAnchorB.mCAnchor.Get();
    EXPECT_DOUBLE_EQ(anchor[0], 0.25);
    EXPECT_DOUBLE_EQ(anchor[1], -1.5);
    EXPECT_DOUBLE_EQ(anchor[2], 3.0625);
    EXPECT_TRUE(mCAnchorB.mCAnchor.WasRead());
    EXPECT_EQ(mpB->GetTreeBoxRule().GetDepth(), 3u);
    EXPECT_EQ(mpB->GetTreeBoxRule().GetMinVoxels(), 2u);
    EXPECT_EQ(mpB->GetTreeBoxRule().GetEmptyLevel(), 7);
    EXPECT_FLOAT_EQ(mpB->GetTexProperty().GetColorFactor(1, 0), 0.5f);
    EXPECT_FLOAT_EQ(mpB->GetTexProperty().GetColorFactor(1, 2), 1.25f);
    EXPECT_FLOAT_EQ(mpB->GetTexProperty().GetAlphaFactor(1), 0.375f);
    EXPECT_FLOAT_EQ(mpB->GetTexProperty().GetAlphaFactor(3), 0.0f);
    EXPECT_TRUE(mpB->GetTexProperty().IsNeutral(0));
    EXPECT_EQ(mpB->GetImportList().GetFilterIndex(4), 2u);
    // The rich scene opened one series per slot: the newest is slot 3's, its folder remembered.
    const std::vector<std::wstring> files = mpB->GetImportList().GetFiles();
    ASSERT_EQ(files.size(), 4u);
    EXPECT_NE(files[0].find(L"slot3_0000.df3"), std::wstring::npos);
    EXPECT_NE(files[3].find(L"slot0_0000.df3"), std::wstring::npos);
    EXPECT_EQ(mpB->GetImportList().GetFolder(), Widen(mCDir.Path().string()));
}

TEST_F(ProjectBlocksTest, BlocksComeInTheWritersOrder)
{
    BuildRichScene(*mpA, mCDir);
    ChangeBlocks(*mpA, mCAnchorA);
    mpA->GetProjectFile().SetHooks(ProjectFile_cls::kHookWindowItems,
                                   {[] { return std::wstring(L"FrameMainViewLayout=1\n"); }, {}});
    mpA->GetProjectFile().SetHooks(ProjectFile_cls::kHookDrawingBlock,
                                   {[] { return std::wstring(L"DrawingBoxUse8TRee=1\n"); }, {}});
    const std::wstring text = mpA->GetProjectFile().BuildText(true);
    const std::vector<std::wstring> order = {L"FrameMainViewLayout=1\n",
                                             L"ImportListFolder=",
                                             L"ImportListFilterIndex=2\n",
                                             L"ImportListFile0=",
                                             L"ThreadNumFilter=",
                                             L"CameraPathShow=",
                                             L"--AnchorPos\nAnchorPos=0.250000 -1.500000 3.062500\n",
                                             L"--ParameterGroup:MainParam",
                                             L"ActiveDataSlot=3",
                                             L"DF3MaxFrame=",
                                             L"TreeBoxRuleDepth=3\nTreeBoxRuleMinVoxels=2\nTreeBoxRuleEmptyLevel=7\n",
                                             L"DrawingBoxUse8TRee=1\n",
                                             L"--TextureForVolumeBox\nTexBoxColorFactor0=1.000000 1.000000 1.000000\n",
                                             L"TexBoxAlphaFactor3=0.000000\n",
                                             L"CUSTOMCOLOR_NUM=",
                                             L"--StereoGram\n"};
    size_t last = 0;
    for (const std::wstring& marker : order) {
        const size_t at = text.find(marker);
        ASSERT_NE(at, std::wstring::npos) << Narrow(marker);
        EXPECT_GE(at, last) << Narrow(marker) << " out of order";
        last = at;
    }
}

TEST_F(ProjectBlocksTest, SceneBlocksOnlyInProjectsImportListInBoth)
{
    BuildRichScene(*mpA, mCDir);
    ChangeBlocks(*mpA, mCAnchorA);
    const std::wstring conf = mpA->GetProjectFile().BuildText(false);
    const std::wstring project = mpA->GetProjectFile().BuildText(true);
    for (const wchar_t* scene :
         {L"--AnchorPos", L"AnchorPos=", L"TreeBoxRuleDepth=", L"--TextureForVolumeBox", L"TexBoxAlphaFactor0="}) {
        EXPECT_EQ(conf.find(scene), std::wstring::npos) << Narrow(scene);
        EXPECT_NE(project.find(scene), std::wstring::npos) << Narrow(scene);
    }
    for (const wchar_t* both : {L"ImportListFolder=", L"ImportListFilterIndex=2", L"ImportListFile3="}) {
        EXPECT_NE(conf.find(both), std::wstring::npos) << Narrow(both);
        EXPECT_NE(project.find(both), std::wstring::npos) << Narrow(both);
    }
    // The configuration brings the dialog's memory back, and nothing of the scene.
    const std::wstring path = File("KivrelConfigure.txt");
    ASSERT_TRUE(mpA->GetProjectFile().Save(path, false, nullptr));
    ASSERT_TRUE(mpB->GetProjectFile().Read(path));
    EXPECT_EQ(mpB->GetImportList().GetFiles(), mpA->GetImportList().GetFiles());
    EXPECT_EQ(mpB->GetImportList().GetFilterIndex(4), 2u);
    EXPECT_FALSE(mCAnchorB.mCAnchor.WasRead());
    EXPECT_EQ(mpB->GetTreeBoxRule().GetDepth(), 2u);
    EXPECT_TRUE(mpB->GetTexProperty().IsNeutral(3));
}

TEST_F(ProjectBlocksTest, NewKeysNeitherHideInNorSwallowOtherKeys)
{
    // Keys are found anywhere in a line: a key that is the tail of another would take its lines.
    BuildRichScene(*mpA, mCDir);
    ChangeBlocks(*mpA, mCAnchorA);
    const std::string text = Narrow(mpA->GetProjectFile().BuildText(true) + mpA->GetProjectFile().BuildText(false));
    const std::regex keyAtStart("^([A-Za-z_][A-Za-z0-9_]*=)");
    std::set<std::string> keys;
    size_t begin = 0;
    while (begin < text.size()) {
        size_t end = text.find('\n', begin);
        if (end == std::string::npos)
            end = text.size();
        std::smatch m;
        const std::string line = text.substr(begin, end - begin);
        if (std::regex_search(line, m, keyAtStart))
            keys.insert(m[1]);
        begin = end + 1;
    }
    ASSERT_GT(keys.size(), 50u);
    const std::vector<std::string> prefixes = {"AnchorPos=", "TreeBoxRule", "TexBox", "ImportList"};
    size_t checked = 0;
    for (const std::string& mine : keys) {
        bool isMine = false;
        for (const std::string& p : prefixes)
            isMine = isMine || mine.rfind(p, 0) == 0;
        if (!isMine)
            continue;
        ++checked;
        for (const std::string& other : keys) {
            if (other == mine)
                continue;
            const bool mineIsTail =
                other.size() > mine.size() && other.compare(other.size() - mine.size(), mine.size(), mine) == 0;
            const bool otherIsTail =
                mine.size() > other.size() && mine.compare(mine.size() - other.size(), other.size(), other) == 0;
            EXPECT_FALSE(mineIsTail) << mine << " is the tail of " << other;
            EXPECT_FALSE(otherIsTail) << other << " is the tail of " << mine;
        }
    }
    EXPECT_EQ(checked, 1u + 3u + 8u + 2u + ImportList_cls::kFileCount - 4u) << "the new keys were all seen";
}

TEST_F(ProjectBlocksTest, DamagedBlocksLeaveTheirNeighboursIntact)
{
    mCAnchorB.mCAnchor.Set({1.0, 2.0, 3.0});
    // A texture block cut short, followed at once by another block; an anchor marker whose line
    // is missing, followed by a clock line; values that are not numbers or out of range.
    const std::wstring text = L"--TextureForVolumeBox\n"
                              L"TexBoxColorFactor0=0.5 0.5 0.5\n"
                              L"TexBoxAlphaFactor0=abc\n"
                              L"--StereoGram\n"
                              L"StereoGramEyeSeparation=0.125\n"
                              L"--AnchorPos\n"
                              L"DF3MaxFrame=33\n"
                              L"TexBoxColorFactor2=-3 nan 99\n"
                              L"TreeBoxRuleDepth=-1\n"
                              L"TreeBoxRuleMinVoxels=0\n"
                              L"ToolTip=0\n";
    mpB->GetProjectFile().ReadText(text);
    const TexPropertyCtrl_cls& tex = mpB->GetTexProperty();
    EXPECT_FLOAT_EQ(tex.GetColorFactor(0, 1), 0.5f);
    EXPECT_FLOAT_EQ(tex.GetAlphaFactor(0), 0.0f) << "not a number reads as 0";
    EXPECT_DOUBLE_EQ(mpB->GetStereoGram().GetEyeSeparation(), 0.125) << "the block after the cut one is read";
    EXPECT_EQ(mpB->GetTimeCtrl().GetMaxFrame(), 33) << "the line after a bare anchor marker is read";
    EXPECT_FALSE(mCAnchorB.mCAnchor.WasRead());
    EXPECT_DOUBLE_EQ(mCAnchorB.mCAnchor.Get()[1], 2.0) << "a bare marker keeps the anchor";
    EXPECT_FLOAT_EQ(tex.GetColorFactor(2, 0), 0.0f);
    EXPECT_FLOAT_EQ(tex.GetColorFactor(2, 1), 0.0f);
    EXPECT_FLOAT_EQ(tex.GetColorFactor(2, 2), TexPropertyCtrl_cls::kMaxFactor);
    // -1 stored unsigned is huge: clamped to the deepest division; 0 voxels to 1.
    EXPECT_EQ(mpB->GetTreeBoxRule().GetDepth(), TreeBoxRule_cls::kMaxDepth);
    EXPECT_EQ(mpB->GetTreeBoxRule().GetMinVoxels(), 1u);
    EXPECT_FALSE(mpB->GetToolTip());

    // An anchor marker as the last line of a file, and a texture marker alone.
    mpB->GetProjectFile().ReadText(L"--TextureForVolumeBox\n--AnchorPos");
    EXPECT_DOUBLE_EQ(mCAnchorB.mCAnchor.Get()[2], 3.0);
    // Garbage in the anchor line reads as 0 where it is not a number, and is written back
    // readable.
    mpB->GetProjectFile().ReadText(L"--AnchorPos\nAnchorPos=1e40 x 0.5\n");
    EXPECT_TRUE(mCAnchorB.mCAnchor.WasRead());
    const Vec3d a = mCAnchorB.mCAnchor.Get();
    EXPECT_TRUE(std::isfinite(a[0]));
    EXPECT_EQ(a[1], 0.0);
    EXPECT_EQ(a[2], 0.5);
    EXPECT_EQ(mCPrompt.MessageCount(), 0u);
}

TEST_F(ProjectBlocksTest, ImportListRemembersOpenedDataNewestFirstWithoutDuplicates)
{
    ImportList_cls& list = mpA->GetImportList();
    EXPECT_TRUE(list.GetFiles().empty());
    EXPECT_EQ(list.SerializeConf(), L"ImportListFolder=\nImportListFilterIndex=0\n");
    // Only files that are there are remembered.
    mpA->AddFileSequence(File("missing0000.df3"), 0);
    EXPECT_TRUE(list.GetFiles().empty());
    mpA->GetSeqCtrl().GetActiveSequence().ClearFileSequence();
    std::vector<std::wstring> opened;
    for (int i = 0; i < 10; ++i) {
        opened.push_back(WriteTinySeries(mCDir, "s" + std::to_string(i) + "_", 1));
        mpA->GetSeqCtrl().GetActiveSequence().ClearFileSequence();
        ASSERT_EQ(mpA->AddFileSequence(opened.back(), 0), 1);
    }
    std::vector<std::wstring> files = list.GetFiles();
    ASSERT_EQ(files.size(), ImportList_cls::kFileCount);
    EXPECT_EQ(files[0], opened[9]);
    EXPECT_EQ(files[7], opened[2]);
    // Opening one again moves it to the front; nothing else falls off.
    list.PushData(opened[5]);
    files = list.GetFiles();
    ASSERT_EQ(files.size(), ImportList_cls::kFileCount);
    EXPECT_EQ(files[0], opened[5]);
    EXPECT_EQ(files[1], opened[9]);
    EXPECT_EQ(files[7], opened[2]);
    EXPECT_EQ(std::count(files.begin(), files.end(), opened[5]), 1);
    // A filter index beyond the dialog's filters falls back to the first.
    list.SetFilterIndex(5);
    EXPECT_EQ(list.GetFilterIndex(6), 5u);
    EXPECT_EQ(list.GetFilterIndex(3), 0u);
    list.PushData(L"");
    EXPECT_EQ(list.GetFiles()[0], opened[5]);
}

} // namespace
