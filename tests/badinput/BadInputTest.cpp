// Bad input of every kind, from tests/data/bad/ and made at test time, fed to the readers of the
// core and to tessan-cli info/convert/process: each gives its clear message, nothing crashes, what
// was in memory before stays, and nothing that exists is overwritten.
#include "support/TestUtil.h"

#include "anim/TimeCtrl_cls.h"
#include "config/LineStream_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterBase_cls.h"
#include "filter/FilterCenterOfMass_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/FilterFixPosition_cls.h"
#include "pov/PovRay_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/ImageSliceReader_cls.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

std::string Bad(const std::string& name)
{
    return std::string(TESSAN_TEST_DATA_DIR) + "/bad/" + name;
}

std::string Quote(const std::string& s)
{
    return "'" + s + "'";
}

// One frame of a stand-alone sequence whose messages are recorded.
struct Frame {
    RecordingPrompt_cls prompt;
    DF3Sequence_cls seq;
    DF3_cls frame{&seq};
    Frame() { seq.SetMessageParent(&prompt); }

    bool Load(const std::string& path, int format = DF3_cls::FORMAT_DF3)
    {
        frame.SetFilePath(Widen(path), L"", format);
        if (!frame.ReadHeader(&prompt) || !frame.Allocate())
            return false;
        return frame.ReadBodyIfNotFinished(true, &prompt);
    }
    RecordingPrompt_cls::Entry OnlyMessage() const
    {
        const auto m = prompt.Messages();
        EXPECT_EQ(m.size(), 1u);
        return m.empty() ? RecordingPrompt_cls::Entry{} : m[0];
    }
};

struct Df3Case {
    const char* pFile;
    const char* pTitle;
    std::wstring (*text)(const std::wstring& path);
};

std::wstring SizeLine(const std::wstring& path, long fileSize)
{
    return L"File Size Inconsistency\n" + path +
           WStrPrintf("\nFilesize = %ld : Expected size = 30\n2 x 3 x 4", fileSize);
}

// ---- DF3 files through the core ----------------------------------------------------------------

TEST(BadDf3, EveryBrokenFileGivesItsMessageAndAnInvalidFrame)
{
    const Df3Case cases[] = {
        {"truncated_body.df3", "read Error Main", [](const std::wstring& p) { return SizeLine(p, 26); }},
        {"one_byte_extra.df3", "read Error Main", [](const std::wstring& p) { return SizeLine(p, 31); }},
        {"between_widths.df3", "read Error Main", [](const std::wstring& p) { return SizeLine(p, 46); }},
        {"short_header.df3", "read error Header DF3",
         [](const std::wstring& p) { return p + L"\nThe file is shorter than a DF3 header"; }},
        {"empty.df3", "read error Header DF3",
         [](const std::wstring& p) { return p + L"\nThe file is shorter than a DF3 header"; }},
        // 0x8000 is -32768: the frame is unusable and refused by the allocation.
        {"negative_size.df3", "Allocation Error",
         [](const std::wstring&) {
             return std::wstring(L"Too big data size (2GB limit is set)\n\nsize: -32768x1x1 = 4294934528 byte\n");
         }},
        {"huge_header.df3", "Allocation Error",
         [](const std::wstring&) {
             return std::wstring(
                 L"Too big data size (2GB limit is set)\n\nsize: 32767x32767x32767 = 35181150961663 byte\n");
         }},
        {"just_over_2gb.df3", "Allocation Error",
         [](const std::wstring&) {
             return std::wstring(L"Too big data size (2GB limit is set)\n\nsize: 1291x1291x1291 = 2151685171 byte\n");
         }},
        {"missing.df3", "read error Header DF3", [](const std::wstring& p) { return p + L"can not open"; }},
    };
    for (const Df3Case& c : cases) {
        SCOPED_TRACE(c.pFile);
        Frame f;
        EXPECT_FALSE(f.Load(Bad(c.pFile)));
        EXPECT_FALSE(f.frame.IsValid());
        EXPECT_FALSE(f.frame.IsReadFinished());
        const auto m = f.OnlyMessage();
        EXPECT_EQ(Narrow(m.title), c.pTitle);
        EXPECT_EQ(m.text, c.text(Widen(Bad(c.pFile))));
    }
}

TEST(BadDf3, ADirectoryNamedLikeADf3FileCannotBeOpened)
{
    TempDir dir;
    fs::create_directory(dir.Path() / "volume.df3");
    for (int format : {DF3_cls::FORMAT_DF3, DF3_cls::FORMAT_TXT}) {
        Frame f;
        EXPECT_FALSE(f.Load(dir.File("volume.df3"), format));
        const auto m = f.OnlyMessage();
        EXPECT_EQ(m.text.find(Widen(dir.File("volume.df3")) + L"can not open"), 0u) << Narrow(m.text);
    }
}

TEST(BadDf3, AnUnreadableFileCannotBeOpened)
{
    // root reads every file whatever its mode, so the case cannot be made there.
    if (geteuid() == 0)
        GTEST_SKIP() << "running as root: a chmod 000 file stays readable";
    TempDir dir;
    const std::string path = dir.File("locked.df3");
    WriteFileBytes(path, {0, 1, 0, 1, 0, 1, 9});
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    Frame f;
    EXPECT_FALSE(f.Load(path));
    EXPECT_EQ(f.OnlyMessage().text, Widen(path) + L"can not open");
}

TEST(BadDf3, AZeroSizeAxisGivesAnEmptyFrameAndNoCrash)
{
    // 0 x 5 x 5 with no samples: 6 bytes fit the 16-bit rule (2 * 0 + 6), so the read succeeds
    // with nothing in it.
    Frame f;
    ASSERT_TRUE(f.Load(Bad("zero_axis.df3")));
    EXPECT_EQ(f.frame.GetCurrentTotalSize(), 0u);
    EXPECT_TRUE(f.frame.IsReadFinished());
    EXPECT_EQ(f.prompt.MessageCount(), 0u);
}

TEST(BadDf3, AZeroSizeAxisBesideANegativeOneIsReadAtOnce)
{
    // 0 x -32763 x 5 and 0 x 5 x -1: no samples, but a huge axis; reading must not walk it slice
    // by slice (billions of empty steps), with or without down-sizing.
    for (const char* name : {"zero_beside_negative_y.df3", "zero_beside_negative_z.df3"}) {
        for (uint32_t factor : {1u, 2u}) {
            SCOPED_TRACE(std::string(name) + " down-size " + std::to_string(factor));
            Frame f;
            f.seq.SetDownSizeSRC(1, factor);
            f.frame.SetFilePath(Widen(Bad(name)));
            ASSERT_TRUE(f.frame.ReadHeader(&f.prompt));
            ASSERT_TRUE(f.frame.Allocate());
            f.frame.GetReadBodyDF3().SetTimeBudget(0);
            EXPECT_TRUE(f.frame.ReadBodyIfNotFinished(false, &f.prompt));
            EXPECT_TRUE(f.frame.IsReadFinished()) << "one call reads everything there is";
            EXPECT_EQ(f.prompt.MessageCount(), 0u);
        }
    }
}

TEST(BadDf3, AFailedReadLeavesTheReusedBuffersAsTheyWere)
{
    // A good 2x3x4 frame is read, released keeping its buffers, and pointed at a file with the
    // same header but a short body: the size test refuses it before any byte is touched.
    TempDir dir;
    std::vector<uint8_t> good = {0, 2, 0, 3, 0, 4};
    for (int i = 0; i < 24; ++i)
        good.push_back(static_cast<uint8_t>(10 + i));
    WriteFileBytes(dir.File("good.df3"), good);
    Frame f;
    ASSERT_TRUE(f.Load(dir.File("good.df3")));
    const uint8_t* before = f.frame.GetXYZData();
    f.frame.FakeRelease();
    EXPECT_FALSE(f.Load(Bad("truncated_body.df3")));
    ASSERT_EQ(f.frame.GetXYZData(), before) << "same-size buffers are reused";
    EXPECT_EQ(std::vector<uint8_t>(before, before + 24), std::vector<uint8_t>(good.begin() + 6, good.end()));
}

// ---- text volumes and image stacks -------------------------------------------------------------

TEST(BadText, EveryBrokenTextVolumeSaysWhatIsWrong)
{
    struct Case {
        const char* pFile;
        const char* pTitle;
        const wchar_t* pText; // after the path and "\n"
    };
    const Case cases[] = {
        {"too_few_values.txt", "read Error Main", L"Too few values: 7 for 2 x 2 x 2 = 8 voxels"},
        {"too_many_values.txt", "read Error Main", L"Line 2, column 5: more values than 1 x 1 x 2 = 2"},
        {"negative_sizes.txt", "read error Header Text", L"The sizes must be positive: 4 x -2 x 3"},
        {"zero_size.txt", "read error Header Text", L"The sizes must be positive: 4 x 0 x 3"},
        {"no_size_line.txt", "read error Header Text", L"Line 1: the first line must hold the sizes X Y Z"},
        {"non_number_sizes.txt", "read error Header Text",
         L"Line 1, column 1: the size \"four\" is not a whole number"},
        {"enormous_sizes.txt", "read error Header Text",
         L"Too big data size (2GB limit is set)\n\nsize: 99999999999999999999x2x2\n"},
        // Binary garbage is quoted byte by byte; a NUL must not cut the message short.
        {"garbage_values.txt", "read Error Main", L"Line 2, column 5: \"\\x00\\x01\\xFE\\xFF\" is not a number"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pFile);
        Frame f;
        EXPECT_FALSE(f.Load(Bad(c.pFile), DF3_cls::FORMAT_TXT));
        EXPECT_FALSE(f.frame.IsValid());
        const auto m = f.OnlyMessage();
        EXPECT_EQ(Narrow(m.title), c.pTitle);
        EXPECT_EQ(m.text, Widen(Bad(c.pFile)) + L"\n" + c.pText);
    }
}

TEST(BadText, BinaryGarbageIsQuotedAsPrintableText)
{
    Frame f;
    EXPECT_FALSE(f.Load(Bad("binary_garbage.txt"), DF3_cls::FORMAT_TXT));
    const std::wstring text = f.OnlyMessage().text;
    EXPECT_NE(text.find(L"is not a whole number"), std::wstring::npos) << Narrow(text);
    // Beyond the path, only printable characters and line breaks.
    const std::wstring rest = text.substr(Widen(Bad("binary_garbage.txt")).size());
    for (wchar_t ch : rest)
        EXPECT_TRUE(ch == L'\n' || (ch >= 0x20 && ch < 0x7F)) << "character " << int(ch);
}

TEST(BadImages, SlicesOfTheWrongSizeOrBrokenFilesAreReported)
{
    Frame sizes;
    EXPECT_FALSE(sizes.Load(Bad("stack_0000.png"), DF3_cls::FORMAT_IMGSEQ));
    EXPECT_EQ(sizes.OnlyMessage().title, L"read Error Main");
    EXPECT_NE(sizes.OnlyMessage().text.find(L"stack_0001.png) is 5 x 3 pixels, but the first slice is 4 x 3"),
              std::wstring::npos)
        << Narrow(sizes.OnlyMessage().text);

    Frame truncated;
    EXPECT_FALSE(truncated.Load(Bad("trunc_0000.png"), DF3_cls::FORMAT_IMGSEQ));
    EXPECT_EQ(truncated.OnlyMessage().title, L"read Error Main");
    EXPECT_NE(truncated.OnlyMessage().text.find(L"trunc_0001.png"), std::wstring::npos);

    Frame fake;
    EXPECT_FALSE(fake.Load(Bad("fake_0000.png"), DF3_cls::FORMAT_IMGSEQ));
    EXPECT_EQ(fake.OnlyMessage().title, L"read error Header Image");
    EXPECT_FALSE(fake.frame.IsAllocated());
}

// ---- configuration lines and project text ------------------------------------------------------

TEST(BadSettings, LinesWithoutValuesOrNumbersReadAsZeroAndOthersAreIgnored)
{
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls ctrl(&clock);
    PovRay_cls pov;
    const std::wstring povBefore = pov.Serialize();
    LineStream_cls stream(Widen(ReadFileText(Bad("garbled_config.txt"))));
    std::wstring line;
    while (stream.GetLine(line)) {
        if (!ctrl.ReadStrLineAllDF3Sequence(stream, line))
            ctrl.ReadStrLine(line);
        pov.ReadStrLine(line);
    }
    EXPECT_EQ(ctrl.GetCritTexMemoryMB(), 0u) << "no value";
    EXPECT_EQ(ctrl.GetCritXYMemoryMB(), 0u) << "not a number";
    EXPECT_EQ(ctrl.GetCritXYZMemoryMB(), static_cast<uint32_t>(99999999999ull % 4294967296ull)) << "modulo 2^32";
    EXPECT_EQ(ctrl.GetAppendType(), 4294967295u);
    EXPECT_EQ(ctrl.GetDownSizeSRC(0), 2u);
    EXPECT_EQ(ctrl.GetDownSizeSRC(1), 1u) << "0 counts as 1";
    EXPECT_EQ(ctrl.GetDownSizeLayer(0), 1u);
    EXPECT_EQ(pov.Serialize(), povBefore) << "lines of other objects leave these settings alone";
}

// Reads project text into a fresh controller the way the file reader offers lines.
void ReadProject(DF3SeqCtrl_cls& ctrl, const std::wstring& text)
{
    FilterCtrl_cls::PushListOmit();
    LineStream_cls stream(text);
    std::wstring line;
    while (stream.GetLine(line))
        if (!ctrl.ReadStrLineAllDF3Sequence(stream, line))
            ctrl.GetActiveSequence().GetFilterCtrl().ReadStrLine(stream, line);
    FilterCtrl_cls::PopListOmit();
}

TEST(BadProject, ATruncatedOrShuffledProjectLoadsWhatItCanAndNeverCrashes)
{
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls saved(&clock);
    FilterCtrl_cls& chain = saved.GetSequence(1).GetFilterCtrl();
    chain.AddToList(0, FilterCtrl_cls::CreateItem(2, &chain));
    chain.AddToList(1, FilterCtrl_cls::CreateItem(3, &chain));
    saved.SetActiveSlot(1);
    const std::wstring text = saved.SerializeAllDF3Sequence();

    // Cut in the middle of the second filter block: the first item arrives whole.
    const size_t second = text.find(std::wstring(FilterCtrl_cls::GetTag(3)));
    ASSERT_NE(second, std::wstring::npos);
    TimeCtrl_cls clock2;
    DF3SeqCtrl_cls cut(&clock2);
    ReadProject(cut, text.substr(0, second + 20));
    const FilterCtrl_cls& got = cut.GetSequence(1).GetFilterCtrl();
    ASSERT_GE(got.GetItemNum(), 1);
    EXPECT_EQ(got.GetPFilterBase(0)->GetType(), 2);
    EXPECT_EQ(cut.GetSequence(0).GetFilterCtrl().GetItemNum(), 0);

    // Every line reversed in order, and every line cut at every third character: nothing crashes
    // and the reader still ends in a usable state (its text can be written again).
    std::vector<std::wstring> lines;
    LineStream_cls s(text);
    std::wstring line;
    while (s.GetLine(line))
        lines.push_back(line);
    std::wstring reversed, chopped;
    for (auto it = lines.rbegin(); it != lines.rend(); ++it)
        reversed += *it + L"\n";
    for (const auto& l : lines)
        chopped += l.substr(0, l.size() / 3) + L"\n";
    for (const std::wstring& garbled : {reversed, chopped}) {
        TimeCtrl_cls c;
        DF3SeqCtrl_cls ctrl(&c);
        ReadProject(ctrl, garbled);
        EXPECT_FALSE(ctrl.SerializeAllDF3Sequence().empty());
    }
}

// Reads one filter item of `type` whose threshold line is replaced by `threshold`.
template <typename Item>
Item* ItemWithThreshold(FilterCtrl_cls& chain, int type, const std::wstring& key, const std::wstring& threshold)
{
    FilterCtrl_cls source;
    source.AddToList(0, FilterCtrl_cls::CreateItem(type, &source));
    std::wstring text = source.SerializeConf();
    const size_t at = text.find(key);
    EXPECT_NE(at, std::wstring::npos);
    text.replace(at, text.find(L'\n', at) - at, key + threshold);
    LineStream_cls stream(text);
    std::wstring line;
    while (stream.GetLine(line))
        chain.ReadStrLine(stream, line);
    EXPECT_EQ(chain.GetItemNum(), 1);
    return chain.GetItemNum() == 1 ? dynamic_cast<Item*>(chain.GetPFilterBase(0)) : nullptr;
}

TEST(BadProject, AThresholdBeyondItsRangeIsClampedToIt)
{
    // Thresholds are fractions 0..1 of the density range; a file holding "1e39" (infinite as a
    // float) or "nan" must neither overflow the conversion to a byte level nor count every voxel.
    const unsigned size[3] = {4, 3, 2};
    const std::vector<unsigned char> voxels(24, 200);
    {
        FilterCtrl_cls chain;
        auto* fix = ItemWithThreshold<FilterFixPosition_cls>(
            chain, FilterCtrl_cls::GetTypeFromTagLine(L"--FixPosition"), L"FixPositionThreshold=", L"1e39");
        ASSERT_NE(fix, nullptr);
        fix->DoCalc(voxels.data(), size, 0);
        double position[3];
        EXPECT_FALSE(fix->GetFeaturePosition(0, position)) << "nothing lies above the top of the range";
    }
    {
        FilterCtrl_cls chain;
        auto* centre = ItemWithThreshold<FilterCenterOfMass_cls>(
            chain, FilterCtrl_cls::GetTypeFromTagLine(L"--CenterOfMass"), L"CenterOfMassThreshold=", L"1e39");
        ASSERT_NE(centre, nullptr);
        centre->DoCalc(voxels.data(), size, 0);
        FilterCenterOfMass_cls::Centroid c;
        EXPECT_TRUE(!centre->GetCentroid(0, c) || c.uMass == 0);
    }
    {
        // NaN counts as 0: every voxel has mass, the centre is the middle of the box.
        FilterCtrl_cls chain;
        auto* fix = ItemWithThreshold<FilterFixPosition_cls>(
            chain, FilterCtrl_cls::GetTypeFromTagLine(L"--FixPosition"), L"FixPositionThreshold=", L"nan");
        ASSERT_NE(fix, nullptr);
        fix->DoCalc(voxels.data(), size, 0);
        double position[3];
        ASSERT_TRUE(fix->GetFeaturePosition(0, position));
        EXPECT_DOUBLE_EQ(position[0], 1.5);
        EXPECT_DOUBLE_EQ(position[1], 1.0);
        EXPECT_DOUBLE_EQ(position[2], 0.5);
    }
}

// ---- tessan-cli --------------------------------------------------------------------------------

TEST(BadCli, InfoConvertAndProcessReportEveryBadFileAndWriteNothing)
{
    const char* files[] = {"truncated_body.df3", "one_byte_extra.df3", "short_header.df3",   "empty.df3",
                           "negative_size.df3",  "huge_header.df3",    "just_over_2gb.df3",  "missing.df3",
                           "garbage_values.txt", "too_few_values.txt", "enormous_sizes.txt", "binary_garbage.txt",
                           "stack_0000.png",     "trunc_0000.png",     "fake_0000.png"};
    TempDir dir;
    for (const char* name : files) {
        SCOPED_TRACE(name);
        const std::string in = Quote(Bad(name));
        const RunResult info = RunCli("info " + in);
        EXPECT_EQ(info.exitCode, 1) << info.err;
        EXPECT_FALSE(info.err.empty());
        EXPECT_EQ(info.err.find("Segmentation"), std::string::npos);

        const std::string out = dir.File("out.df3");
        const RunResult convert = RunCli("convert " + in + " " + Quote(out));
        EXPECT_EQ(convert.exitCode, 1) << convert.err;
        EXPECT_EQ(convert.err, info.err) << "the same message from every command";
        EXPECT_FALSE(fs::exists(out)) << "nothing written for a bad input";

        const RunResult process = RunCli("process " + in + " " + Quote(out) + " --blur 1");
        EXPECT_EQ(process.exitCode, 1) << process.err;
        EXPECT_FALSE(fs::exists(out));
    }
}

TEST(BadCli, AnExistingOutputIsNeverOverwritten)
{
    TempDir dir;
    std::vector<uint8_t> good = {0, 2, 0, 2, 0, 2};
    for (int i = 0; i < 8; ++i)
        good.push_back(static_cast<uint8_t>(i * 30));
    WriteFileBytes(dir.File("in.df3"), good);
    const std::vector<uint8_t> old = {1, 2, 3, 4, 5};
    WriteFileBytes(dir.File("out.df3"), old);
    const RunResult convert = RunCli("convert " + Quote(dir.File("in.df3")) + " " + Quote(dir.File("out.df3")));
    EXPECT_EQ(convert.exitCode, 1);
    EXPECT_NE(convert.err.find("overwrite forbidden"), std::string::npos) << convert.err;
    const RunResult process =
        RunCli("process " + Quote(dir.File("in.df3")) + " " + Quote(dir.File("out.df3")) + " --blur 1");
    EXPECT_EQ(process.exitCode, 1);
    EXPECT_NE(process.err.find("overwrite forbidden"), std::string::npos) << process.err;
    EXPECT_EQ(ReadFileBytes(dir.File("out.df3")), old);
}

TEST(BadCli, MalformedOptionsAreUsageErrors)
{
    TempDir dir;
    WriteFileBytes(dir.File("in.df3"), {0, 1, 0, 1, 0, 1, 7});
    const std::string io = Quote(dir.File("in.df3")) + " " + Quote(dir.File("out.df3"));
    for (const char* opts : {"--blur abc", "--blur", "--morph nonsense", "--level 1,2", "--rotate q,10",
                             "--threads 99999999999999999999 --blur 1", "--sharpen 1,100000"}) {
        SCOPED_TRACE(opts);
        const RunResult r = RunCli("process " + io + " " + opts);
        EXPECT_EQ(r.exitCode, 2) << r.err;
        EXPECT_FALSE(r.err.empty());
        EXPECT_FALSE(fs::exists(dir.File("out.df3")));
    }
    const RunResult d = RunCli("convert --downsize 0,x,2 " + io);
    EXPECT_EQ(d.exitCode, 2) << d.err;
}

} // namespace

namespace
{

TEST(BadImages, ADamagedSampleCountDoesNotInflateTheRows)
{
    // A TIFF page of 3 x 65281 pixels claiming 65530 samples per pixel: rows of that many samples
    // would need 12.8 GB for a picture of 200 K pixels (an allocation that fails or, worse, is
    // granted and zeroed). Such a page goes to libtiff's general RGBA decoder, which needs four
    // bytes per pixel.
    ImageSliceReader_cls reader;
    ImageSliceReader_cls::Info info;
    const std::wstring path = Widen(Bad("samples_per_pixel_0000.tif"));
    ASSERT_TRUE(reader.ReadInfo(path, info)) << Narrow(reader.GetError());
    std::vector<uint8_t> grey;
    uint32_t w = 0, h = 0;
    ASSERT_TRUE(reader.ReadSlice(path, 0, grey, w, h)) << Narrow(reader.GetError());
    EXPECT_EQ(w, 3u);
    EXPECT_EQ(h, 65281u);
    EXPECT_EQ(grey.size(), size_t(w) * h);
}

} // namespace
