// The files of a data slot: numbered-series discovery, appending and inserting with the scene
// length and key times following, and the slots' part of a project file.
#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "config/LineStream_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3_cls.h"
#include "volume/NumberedSeries_cls.h"
#include "volume/SeqTestUtil.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

std::vector<std::wstring> Names(const std::vector<std::wstring>& paths)
{
    std::vector<std::wstring> names;
    for (const auto& p : paths)
        names.push_back(p.substr(p.find_last_of(L'/') + 1));
    return names;
}

std::vector<std::wstring> FileNames(const DF3Sequence_cls& seq)
{
    std::vector<std::wstring> paths;
    for (const auto& entry : seq.GetFileList())
        paths.push_back(entry.strPath);
    return Names(paths);
}

void Touch(const TempDir& dir, const std::string& name)
{
    WriteFileBytes(dir.File(name), Df3File(2, 2, 2, std::vector<uint8_t>(8, 1)));
}

TEST(NumberedSeries, SplitFindsTheLastDigitGroupBeforeTheExtension)
{
    auto parts = NumberedSeries_cls::Split(L"/data/run7/scan_0012.df3");
    EXPECT_TRUE(parts.bNumbered);
    EXPECT_EQ(parts.strPrefix, L"/data/run7/scan_");
    EXPECT_EQ(parts.strDigits, L"0012");
    EXPECT_EQ(parts.strSuffix, L".df3");
    parts = NumberedSeries_cls::Split(L"/d/v12_b.df3");
    EXPECT_EQ(parts.strPrefix, L"/d/v");
    EXPECT_EQ(parts.strDigits, L"12");
    EXPECT_EQ(parts.strSuffix, L"_b.df3");
    parts = NumberedSeries_cls::Split(L"/d9/name.df3");
    EXPECT_FALSE(parts.bNumbered) << "digits of the folder do not count";
    parts = NumberedSeries_cls::Split(L"/d/7.v2/noext");
    EXPECT_FALSE(parts.bNumbered) << "a dot in the folder is no extension";
    parts = NumberedSeries_cls::Split(L"/d/frame3");
    EXPECT_EQ(parts.strDigits, L"3");
    EXPECT_EQ(parts.strSuffix, L"");
}

TEST(NumberedSeries, FindsTheWholeSeriesInNumericOrder)
{
    TempDir dir;
    for (const char* name : {"s_0012.df3", "s_0003.df3", "s_0010.df3", "s_0004.df3", // gap 5..9
                             "s_012.df3", "s_00011.df3",                             // other digit counts
                             "s_0005.raw", "s_0006.DF3", "t_0007.df3", "s_0008.df3.bak", "s_00a9.df3"})
        Touch(dir, name);
    std::filesystem::create_directory(dir.Path() / "s_0009.df3"); // a folder is no frame
    const auto found = NumberedSeries_cls::Find(Widen(dir.File("s_0010.df3")));
    EXPECT_EQ(Names(found), (std::vector<std::wstring>{L"s_0003.df3", L"s_0004.df3", L"s_0010.df3", L"s_0012.df3"}));
    EXPECT_EQ(found.front(), Widen(dir.File("s_0003.df3"))) << "full paths";
    // Choosing another member gives the same series; another digit count its own.
    EXPECT_EQ(NumberedSeries_cls::Find(Widen(dir.File("s_0003.df3"))), found);
    EXPECT_EQ(Names(NumberedSeries_cls::Find(Widen(dir.File("s_012.df3")))), (std::vector<std::wstring>{L"s_012.df3"}));
}

TEST(NumberedSeries, UnnumberedMissingAndUnusualNames)
{
    TempDir dir;
    Touch(dir, "single.df3");
    Touch(dir, "single2.df3");
    EXPECT_EQ(NumberedSeries_cls::Find(Widen(dir.File("single.df3"))),
              (std::vector<std::wstring>{Widen(dir.File("single.df3"))}));
    // A missing file stays itself, so that reading it reports the missing file.
    const std::wstring missing = Widen(dir.File("gone_0001.df3"));
    EXPECT_EQ(NumberedSeries_cls::Find(missing), (std::vector<std::wstring>{missing}));
    EXPECT_EQ(NumberedSeries_cls::Find(L"/no/such/folder/x_01.df3"),
              (std::vector<std::wstring>{L"/no/such/folder/x_01.df3"}));
    // Blanks and non-ASCII characters in folder and name.
    std::filesystem::create_directory(dir.Path() / "Mess daten \xc3\xa4");
    Touch(dir, "Mess daten \xc3\xa4/D\xc3\xbc"
               "chte 01.df3");
    Touch(dir, "Mess daten \xc3\xa4/D\xc3\xbc"
               "chte 02.df3");
    const auto found = NumberedSeries_cls::Find(Widen(dir.File("Mess daten \xc3\xa4/D\xc3\xbc"
                                                               "chte 02.df3")));
    EXPECT_EQ(Names(found), (std::vector<std::wstring>{L"D\u00fcchte 01.df3", L"D\u00fcchte 02.df3"}));
}

TEST(DF3SequenceFiles, AppendAndInsertKeepKeysOnTheirDataFrames)
{
    TempDir dir;
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls ctrl(&clock);
    DF3Sequence_cls& seq = ctrl.GetSequence(0);
    auto a = WriteSeries(dir, "a_", 5, 4, 4, 4);
    auto b = WriteSeries(dir, "b_", 5, 4, 4, 4);

    EXPECT_EQ(seq.AppendFileSequence(a[2], true, DF3Sequence_cls::kAppendAtEnd), 5);
    EXPECT_EQ(clock.GetMaxFrame(), 4) << "a series of N frames makes the scene N - 1 long";
    EXPECT_EQ(clock.GetWAMax(), 4);
    EXPECT_EQ(seq.GetInformationText(), L"a_0000.df3 ... a_0004.df3 [5]");

    // A key on data frame 4 (the last one).
    Parameters_cls color(3, L"Color");
    Parameters_cls::Snapshot snap;
    KeyFrame_cls key(3);
    const double v[3] = {1, 2, 3};
    key.Set(1.0, kInterpLinear, v, nullptr, nullptr, false);
    snap.vKeys.push_back(key);
    snap.bTimeDepend = true;
    color.RestoreSnapshot(snap);

    // Load frame 1 so that we can see it survive the insert.
    ASSERT_EQ(seq.IdleProcessesMain(1, true, true), DF3Sequence_cls::kIdleNothing);
    DF3_cls* frame1 = seq.GetDF3(1);

    EXPECT_EQ(seq.AppendFileSequence(b[0], true, DF3Sequence_cls::kAppendAtEnd), 5);
    EXPECT_EQ(FileNames(seq),
              (std::vector<std::wstring>{L"a_0000.df3", L"a_0001.df3", L"a_0002.df3", L"a_0003.df3", L"a_0004.df3",
                                         L"b_0000.df3", L"b_0001.df3", L"b_0002.df3", L"b_0003.df3", L"b_0004.df3"}));
    EXPECT_EQ(clock.GetMaxFrame(), 9);
    EXPECT_NEAR(color.GetKeyFrameDoubleIndex(0), 4.0 / 9.0, 1e-12) << "still on data frame 4";

    // Insert one file after the current frame.
    clock.SetIndex(1);
    WriteFileBytes(dir.File("lone.df3"), Df3File(4, 4, 4, std::vector<uint8_t>(64, 9)));
    EXPECT_EQ(seq.AppendFileSequence(Widen(dir.File("lone.df3")), true, DF3Sequence_cls::kInsertAfterCurrent), 1);
    EXPECT_EQ(FileNames(seq)[1], L"a_0001.df3");
    EXPECT_EQ(FileNames(seq)[2], L"lone.df3");
    EXPECT_EQ(FileNames(seq)[3], L"a_0002.df3");
    EXPECT_EQ(seq.GetFrameCount(), 11);
    EXPECT_EQ(clock.GetMaxFrame(), 10);
    EXPECT_EQ(seq.GetDF3(1), frame1) << "frames whose file stays keep their data";
    EXPECT_TRUE(frame1->IsAllocated());
    for (int i = 0; i < seq.GetFrameCount(); ++i)
        EXPECT_EQ(seq.GetDF3(i)->GetSelfIndex(), i);
    // Without series search only the named file is taken.
    EXPECT_EQ(seq.AppendFileSequence(a[0], false, DF3Sequence_cls::kAppendAtEnd), 1);
    EXPECT_EQ(FileNames(seq).back(), L"a_0000.df3");

    seq.ClearFileSequence();
    EXPECT_EQ(seq.GetFrameCount(), 0);
    EXPECT_EQ(seq.GetCurrentDF3(), nullptr);
    EXPECT_EQ(seq.GetInformationText(), L"");
}

TEST(DF3SequenceFiles, ProjectTextRestoresEverySlotExactly)
{
    TempDir dir;
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls saved(&clock);
    auto a = WriteSeries(dir, "a_", 3, 2, 2, 2);
    std::filesystem::create_directory(dir.Path() / "odd \xc3\xa4 dir");
    const std::wstring odd = Widen(dir.File("odd \xc3\xa4 dir")) + L"/we\\ird\tname.df3";
    saved.GetSequence(0).AppendFileSequence(a[1], true, 0);
    saved.GetSequence(2).AppendFileSequence(odd, false, 0);
    saved.GetSequence(3).AppendFiles({{L"/img/first.png", L"/img/last.png", DF3_cls::FORMAT_IMGSEQ}});
    saved.SetDownSizeSRC(0, 2);
    saved.SetDownSizeLayer(2, 3);
    saved.SetActiveSlot(2);
    saved.SetSlotBlockHooks([](int slot) { return WStrPrintf("--Volume\nslot %d\n--END\n", slot); }, nullptr);
    const std::wstring text = saved.SerializeAllDF3Sequence();
    EXPECT_EQ(text.substr(0, text.find(L"ActiveDataSlot=0")), L"DownSizeLayer=1 1 3\nDownSizeSRC=2 1 1\n");
    EXPECT_EQ(text.substr(text.size() - 17), L"ActiveDataSlot=2\n");

    TimeCtrl_cls clock2;
    DF3SeqCtrl_cls loaded(&clock2);
    auto stale = WriteSeries(dir, "stale_", 2, 2, 2, 2);
    loaded.GetSequence(1).AppendFileSequence(stale[0], true, 0); // replaced by the empty list
    std::vector<std::pair<int, std::wstring>> filterLines;
    loaded.SetSlotBlockHooks(nullptr, [&](int slot, LineStream_cls& stream, const std::wstring& line) {
        if (line != L"--Volume")
            return false;
        std::wstring body;
        while (stream.GetLine(body) && body != L"--END")
            filterLines.emplace_back(slot, body);
        return true;
    });
    LineStream_cls stream(L"Unrelated=1\n" + text + L"Other=2\n");
    std::wstring line;
    int taken = 0;
    while (stream.GetLine(line))
        taken += loaded.ReadStrLineAllDF3Sequence(stream, line) ? 1 : 0;
    EXPECT_EQ(taken, 2 + 5 + 4 * 2) << "items, selectors, file blocks and filter blocks";
    for (int s = 0; s < 4; ++s)
        EXPECT_EQ(loaded.GetSequence(s).GetFileList(), saved.GetSequence(s).GetFileList()) << "slot " << s;
    EXPECT_EQ(loaded.GetSequence(2).GetFileList().at(0).strPath, odd);
    EXPECT_EQ(loaded.GetSequence(3).GetDF3(0)->GetFilePath2(), L"/img/last.png");
    EXPECT_EQ(loaded.GetActiveSlot(), 2);
    EXPECT_EQ(loaded.GetDownSizeSRC(0), 2u);
    EXPECT_EQ(loaded.GetDownSizeLayer(2), 3u);
    EXPECT_EQ(loaded.GetSequence(0).GetDownSizeSRC(0), 2u) << "frames use the shared factors";
    EXPECT_EQ(filterLines, (std::vector<std::pair<int, std::wstring>>{
                               {0, L"slot 0"}, {1, L"slot 1"}, {2, L"slot 2"}, {3, L"slot 3"}}));
    EXPECT_EQ(clock2.GetMaxFrame(), 1) << "the clock keeps its own saved length (here: the stale series)";

    // Each selector switches the receiving slot; the last one stays selected.
    LineStream_cls manual(L"ActiveDataSlot=3\n--DF3SequenceFiles\nDF3SeqFile=/x/y z.df3\n--END\nActiveDataSlot=1\n");
    while (manual.GetLine(line))
        loaded.ReadStrLineAllDF3Sequence(manual, line);
    EXPECT_EQ(FileNames(loaded.GetSequence(3)), (std::vector<std::wstring>{L"y z.df3"}));
    EXPECT_EQ(loaded.GetActiveSlot(), 1);
    EXPECT_FALSE(loaded.ReadStrLineAllDF3Sequence(manual, L"Path=/a/ActiveDataSlot=3"))
        << "a line that merely contains the key selects nothing";
    EXPECT_EQ(loaded.GetActiveSlot(), 1);
}

} // namespace
