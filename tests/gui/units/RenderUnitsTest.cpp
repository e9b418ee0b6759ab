// The window's render side without a display: what the ray-tracer settings dialog edits and how it
// checks and applies values (one undo step), the colour-map chooser's entries, the benchmark log's
// figures and the command-line options that drive playback, screenshots and the benchmark.
#include "gui/ColorMapChooser_cls.h"
#include "gui/CommandLine_cls.h"
#include "gui/IdleBenchLog_cls.h"
#include "gui/PovSettingsModel_cls.h"

#include "anim/UndoManager_cls.h"
#include "config/ConfItem_cls.h"
#include "config/TextFormat.h"
#include "pov/PovRay_cls.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <set>

namespace
{

std::wstring IniOf(PovRay_cls& pov)
{
    std::wstring ini;
    pov.GetPovStrIniFile(ini, L"stem", 0);
    return ini;
}

CommandLine_cls::Action Parse(CommandLine_cls& cl, std::vector<const char*> args)
{
    args.insert(args.begin(), "tessan");
    return cl.Parse(static_cast<int>(args.size()), args.data());
}

} // namespace

TEST(PovSettingsModel, EverySettingOnceInItsGroup)
{
    PovRay_cls pov;
    PovSettingsModel_cls model(&pov);
    std::set<ConfItem_cls*> shown;
    size_t fields = 0;
    for (const auto& group : model.GetGroups()) {
        EXPECT_FALSE(group.strTitle.empty());
        for (const auto& field : group.vFields) {
            shown.insert(field.pItem);
            ++fields;
        }
    }
    // "PovRenderRegion=" is registered twice for old files but is one setting.
    const std::set<ConfItem_cls*> all(pov.GetConfList().Items().begin(), pov.GetConfList().Items().end());
    EXPECT_EQ(shown, all);
    EXPECT_EQ(fields, all.size());

    const auto& groups = model.GetGroups();
    ASSERT_EQ(groups.size(), 5u);
    // The files come first, with the labels users know; the image group holds the format.
    EXPECT_EQ(groups[0].vFields[0].strKey, L"POVRAY_PATH=");
    EXPECT_EQ(groups[0].vFields[0].strLabel, L"Pov-Ray Path");
    ASSERT_NE(model.FindField(L"WORKING_DIR="), nullptr);
    EXPECT_EQ(model.FindField(L"WORKING_DIR=")->strLabel, L"Work Dir");
    bool widthInImage = false;
    for (const auto& f : groups[2].vFields)
        widthInImage |= f.strKey == L"PovImageWidth=";
    EXPECT_TRUE(widthInImage);

    const auto* type = model.FindField(L"PovOutputType=");
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->eKind, PovSettingsModel_cls::kChoice);
    EXPECT_EQ(type->vChoices.size(), 4u);
    EXPECT_EQ(model.FindField(L"PovRemoveFile=")->eKind, PovSettingsModel_cls::kCheck);
    EXPECT_EQ(model.FindField(L"PovWorkThread=")->eKind, PovSettingsModel_cls::kText);
    EXPECT_TRUE(model.FindField(L"PovRenderBlockSize=")->bExpert);
    EXPECT_TRUE(model.FindField(L"PovSSSQuality2")->bExpert);
    EXPECT_FALSE(model.FindField(L"PovImageWidth=")->bExpert);
    EXPECT_FALSE(model.FindField(L"PovShowTweaks=")->bExpert);
    EXPECT_EQ(model.FindField(L"NoSuchKey="), nullptr);
}

TEST(PovSettingsModel, ValuesAreCheckedByTheirType)
{
    ConfItemUINT_cls u;
    ConfItemINT_cls i;
    ConfItemFLOAT_cls f;
    ConfItemDOUBLE_cls d;
    ConfItemBOOL_cls b;
    ConfItemSTR_cls s;
    ConfItemFLOATARRAY_cls a;
    u.SetItem(L"U=", L"1");
    i.SetItem(L"I=", L"1");
    f.SetItem(L"F=", L"1");
    d.SetItem(L"D=", L"1");
    b.SetItem(L"B=", L"0");
    s.SetItem(L"S=", L"x");
    a.SetItem(L"A=", L"0 0 0");
    std::wstring out;
    EXPECT_TRUE(PovSettingsModel_cls::CheckValue(&u, L" 42 ", &out));
    EXPECT_EQ(out, L"42");
    for (const wchar_t* bad : {L"-1", L"abc", L"12x", L"", L"4294967296", L"1.5"})
        EXPECT_FALSE(PovSettingsModel_cls::CheckValue(&u, bad, nullptr)) << bad;
    EXPECT_TRUE(PovSettingsModel_cls::CheckValue(&i, L"-3", &out));
    EXPECT_EQ(out, L"-3");
    EXPECT_FALSE(PovSettingsModel_cls::CheckValue(&i, L"3 4", nullptr));
    EXPECT_TRUE(PovSettingsModel_cls::CheckValue(&f, L"0.25", nullptr));
    EXPECT_TRUE(PovSettingsModel_cls::CheckValue(&d, L"-1e-3", nullptr));
    EXPECT_TRUE(PovSettingsModel_cls::CheckValue(&d, L"0", nullptr));
    // A decimal comma is what a German keyboard gives; the files need the point.
    for (const wchar_t* bad : {L"1,5", L"x", L"", L".", L"1.5.5", L"nan", L"inf"})
        EXPECT_FALSE(PovSettingsModel_cls::CheckValue(&d, bad, nullptr)) << bad;
    EXPECT_TRUE(PovSettingsModel_cls::CheckValue(&b, L"1", nullptr));
    EXPECT_FALSE(PovSettingsModel_cls::CheckValue(&b, L"2", nullptr));
    EXPECT_FALSE(PovSettingsModel_cls::CheckValue(&b, L"yes", nullptr));
    EXPECT_TRUE(PovSettingsModel_cls::CheckValue(&s, L"/tmp/a b", &out));
    EXPECT_EQ(out, L"/tmp/a b");
    EXPECT_FALSE(PovSettingsModel_cls::CheckValue(&s, L"/tmp\nWORKING_DIR=/", nullptr));
    EXPECT_TRUE(PovSettingsModel_cls::CheckValue(&a, L"0 0.5 1", nullptr));
    EXPECT_FALSE(PovSettingsModel_cls::CheckValue(&a, L"0 1", nullptr));
    EXPECT_FALSE(PovSettingsModel_cls::CheckValue(&a, L"0 1 z", nullptr));
}

TEST(PovSettingsModel, ApplyIsOneUndoStepAndReachesTheOptionFile)
{
    ScopedCommaLocale comma; // the option file keeps its points whatever the locale
    GetUndoManager().Clear();
    PovRay_cls pov;
    PovSettingsModel_cls model(&pov);
    const std::wstring before = pov.Serialize();

    std::wstring bad;
    EXPECT_EQ(model.Apply({{L"PovImageWidth=", L"72"}, {L"PovImageHeight=", L"54"}}, &bad), 1);
    EXPECT_NE(IniOf(pov).find(L"Width=72\nHeight=54\n"), std::wstring::npos) << IniOf(pov);
    EXPECT_EQ(GetUndoManager().GetUndoName(), std::string("Ray-tracer Settings"));

    // Unchanged values make no step.
    const int pairs = GetUndoManager().GetCount();
    EXPECT_EQ(model.Apply({{L"PovImageWidth=", L"72"}}, &bad), 0);
    EXPECT_EQ(GetUndoManager().GetCount(), pairs);

    // One bad value: nothing changes, the bad key is named.
    EXPECT_EQ(model.Apply({{L"PovImageHeight=", L"99"}, {L"PovDisplayGamma=", L"2,2"}}, &bad), -1);
    EXPECT_EQ(bad, L"PovDisplayGamma=");
    EXPECT_NE(IniOf(pov).find(L"Height=54\n"), std::wstring::npos);

    ASSERT_TRUE(GetUndoManager().UndoCurrent());
    EXPECT_EQ(pov.Serialize(), before);
    ASSERT_TRUE(GetUndoManager().ExecCurrent());
    EXPECT_NE(IniOf(pov).find(L"Width=72\n"), std::wstring::npos);

    // Flags, choices and strings go through the same path.
    EXPECT_EQ(model.Apply({{L"PovRemoveFile=", L"1"}, {L"PovOutputType=", L"1"}, {L"WORKING_DIR=", L"/tmp/w d"}}, &bad),
              1);
    EXPECT_TRUE(pov.GetRemoveFile());
    EXPECT_EQ(pov.GetFormat().GetOutputType(), 1u);
    EXPECT_EQ(pov.GetWorkingDir(), L"/tmp/w d");
    GetUndoManager().Clear();
}

TEST(ColorMapChooser, EntriesAndColourIndices)
{
    const auto none = ColorMapChooser_cls::EntryNames(0);
    ASSERT_EQ(none.size(), 11u);
    EXPECT_EQ(none[0], L"White");
    EXPECT_EQ(none[1], L"1: Red - Yellow - White");
    EXPECT_EQ(none[9], L"9: Blue - Yellow - White");
    EXPECT_EQ(none[10], L"New Custom Color");
    const auto two = ColorMapChooser_cls::EntryNames(2);
    ASSERT_EQ(two.size(), 13u);
    EXPECT_EQ(two[11], L"Custom Color 2");

    for (int entry = 0; entry < 12; ++entry) {
        const int index = ColorMapChooser_cls::ColorIndexOfEntry(entry, 2);
        ASSERT_NE(index, -2) << entry;
        EXPECT_EQ(ColorMapChooser_cls::EntryOfColorIndex(index, 2), entry);
    }
    EXPECT_EQ(ColorMapChooser_cls::ColorIndexOfEntry(12, 2), -2); // "New Custom Color"
    EXPECT_EQ(ColorMapChooser_cls::ColorIndexOfEntry(10, 0), -2);
    EXPECT_EQ(ColorMapChooser_cls::EntryOfColorIndex(-1, 2), 0); // -1 is plain white too
    // A custom map past the end is drawn with the active map: the first custom entry stands in;
    // without any custom map it shows as White.
    EXPECT_EQ(ColorMapChooser_cls::EntryOfColorIndex(15, 2), 10);
    EXPECT_EQ(ColorMapChooser_cls::EntryOfColorIndex(10, 0), 0);
}

TEST(IdleBenchLog, FiguresOfPassesAndFrames)
{
    TempDir dir;
    IdleBenchLog_cls log(dir.File("bench.log"));
    IdleBenchLog_cls::Summary empty = log.Summarise();
    EXPECT_EQ(empty.uPasses, 0u);
    EXPECT_EQ(empty.dFps, 0.0);
    // 20 passes: 1..20 ms, one of 60 ms.
    for (int ms = 1; ms <= 19; ++ms)
        log.AddPass(ms * 1000);
    log.AddPass(60000);
    // Frames 40 ms apart: 25 per second.
    for (int f = 0; f < 11; ++f)
        log.AddFrame(1000.0 + 40.0 * f, f);
    const IdleBenchLog_cls::Summary s = log.Summarise();
    EXPECT_EQ(s.uPasses, 20u);
    EXPECT_DOUBLE_EQ(s.dMedianMs, 10.0);
    EXPECT_DOUBLE_EQ(s.dP95Ms, 19.0);
    EXPECT_DOUBLE_EQ(s.dMaxMs, 60.0);
    EXPECT_EQ(s.uOver50, 1u);
    EXPECT_EQ(s.uFrames, 11u);
    EXPECT_NEAR(s.dFps, 25.0, 1e-9);

    ASSERT_TRUE(log.Write());
    const std::string text = ReadFileText(dir.File("bench.log"));
    EXPECT_EQ(text.rfind("pass 1000\n", 0), 0u);
    EXPECT_NE(text.find("frame 1040.000 1\n"), std::string::npos);
    EXPECT_NE(text.find("summary passes=20 median_ms=10.000 p95_ms=19.000 max_ms=60.000 over50=1 frames=11 "
                        "fps=25.00\n"),
              std::string::npos)
        << text;
    IdleBenchLog_cls nowhere(dir.File("missing/dir/bench.log"));
    EXPECT_FALSE(nowhere.Write());
}

TEST(CommandLine, PlaybackScreenshotAndBenchOptions)
{
    CommandLine_cls a;
    ASSERT_EQ(Parse(a, {"--play", "--screenshot-every", "out", "--bench-log=b.log", "--quit-after", "7", "x.df3"}),
              CommandLine_cls::kRun);
    EXPECT_TRUE(a.GetPlay());
    EXPECT_EQ(a.GetScreenshotEvery(), "out");
    EXPECT_EQ(a.GetBenchLog(), "b.log");
    EXPECT_EQ(a.GetQuitAfter(), 7);
    EXPECT_EQ(a.GetFile(), "x.df3");

    CommandLine_cls plain;
    ASSERT_EQ(Parse(plain, {"x.df3"}), CommandLine_cls::kRun);
    EXPECT_FALSE(plain.GetPlay());
    EXPECT_TRUE(plain.GetScreenshotEvery().empty());
    EXPECT_EQ(plain.GetQuitAfter(), 0);

    for (std::vector<const char*> bad :
         {std::vector<const char*>{"--screenshot-every"}, std::vector<const char*>{"--quit-after", "0"},
          std::vector<const char*>{"--quit-after", "-3"}, std::vector<const char*>{"--quit-after=1s"},
          std::vector<const char*>{"--bench-log"}}) {
        CommandLine_cls c;
        EXPECT_EQ(Parse(c, bad), CommandLine_cls::kUsageError) << bad[0];
        EXPECT_FALSE(c.GetError().empty());
    }
    EXPECT_NE(CommandLine_cls::HelpText().find("--screenshot-every DIR"), std::string::npos);
    EXPECT_NE(CommandLine_cls::HelpText().find("--play"), std::string::npos);
}
