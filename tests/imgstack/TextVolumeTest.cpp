#include "ImgStackTestUtil.h"
#include "volume/VolumeTestUtil.h"

#include "volume/ReadBodyTxt_cls.h"
#include "volume/SourceFormat_cls.h"

#include <sstream>

namespace
{

// Loads a text volume written from `text`; the fixture keeps the messages.
bool LoadText(FrameFixture& f, const TempDir& dir, const std::string& text, const std::string& name = "v.txt")
{
    WriteFileText(dir.File(name), text);
    return f.Load(dir.File(name), DF3_cls::FORMAT_TXT);
}

// The text of a grid holding `values`, a few per line.
std::string GridText(uint32_t x, uint32_t y, uint32_t z, const std::vector<int>& values)
{
    std::ostringstream s;
    s << x << ' ' << y << ' ' << z << '\n';
    for (size_t i = 0; i < values.size(); ++i)
        s << values[i] << (i % 13 == 12 ? '\n' : ' ');
    return s.str();
}

TEST(TextVolume, IntegersOfTheFullByteRangeKeepTheirValues)
{
    TempDir dir;
    // Line breaks mean nothing, comments and odd blanks are skipped, "+" and leading zeros are fine.
    const std::string text = "# a comment before the sizes\n"
                             "  4 2\t3   # X Y Z\n"
                             "0 255 7 8\n9 10 11 12 13 14 15\r\n"
                             "16 # a comment between values\n"
                             "+017 18 19 20 21 22 23 0024\n"
                             "25\t26\v27\f28\n\n";
    FrameFixture f;
    ASSERT_TRUE(LoadText(f, dir, text)) << Narrow(f.OnlyMessage().text);
    EXPECT_EQ(f.Size(), (std::vector<uint32_t>{4u, 2u, 3u}));
    EXPECT_EQ(f.Data(), (std::vector<uint8_t>{0,  255, 7,  8,  9,  10, 11, 12, 13, 14, 15, 16,
                                              17, 18,  19, 20, 21, 22, 23, 24, 25, 26, 27, 28}));
    EXPECT_TRUE(f.frame.IsReadFinished());
    EXPECT_EQ(f.frame.GetReadBodyTxt().GetMin(), 0.0);
    EXPECT_EQ(f.frame.GetReadBodyTxt().GetMax(), 255.0);
}

TEST(TextVolume, RealsAreScaledFromTheirRange)
{
    TempDir dir;
    FrameFixture f;
    // Range -1 .. 1: -1 -> 0, 0 -> 127.5 rounds up to 128, 1 -> 255, 0.5 -> 191.25 -> 191.
    ASSERT_TRUE(LoadText(f, dir, "3 2 1\n-1 0 1.0\n5e-1 -.5 -1E0\n")) << Narrow(f.OnlyMessage().text);
    EXPECT_EQ(f.Data(), (std::vector<uint8_t>{0, 128, 255, 191, 64, 0}));
    EXPECT_EQ(f.frame.GetReadBodyTxt().GetMin(), -1.0);

    // The decimal point is "." in every locale.
    ScopedCommaLocale comma;
    FrameFixture g;
    ASSERT_TRUE(LoadText(g, dir, "2 1 1\n0.25 0.75\n", "w.txt"));
    EXPECT_EQ(g.Data(), (std::vector<uint8_t>{0, 255}));
    FrameFixture h;
    EXPECT_FALSE(LoadText(h, dir, "2 1 1\n0,25 0,75\n", "c.txt")) << "a decimal comma is no number";
}

TEST(TextVolume, AConstantGridIsAllZero)
{
    TempDir dir;
    FrameFixture f;
    ASSERT_TRUE(LoadText(f, dir, "2 2 2\n7 7 7 7\n7.0 7 7 70e-1"));
    EXPECT_EQ(f.Data(), std::vector<uint8_t>(8, 0));
    EXPECT_TRUE(f.frame.IsValid());
}

TEST(TextVolume, BadValuesAreReportedWithLineAndColumn)
{
    TempDir dir;
    struct Case {
        const char* text;
        const wchar_t* message;
    } cases[] = {
        {"3 1 1\n1 2\n  x7\n", L"Line 3, column 3: \"x7\" is not a number"},
        {"3 1 1\n1 nan 2", L"Line 2, column 3: \"nan\" is not a number"},
        {"3 1 1\n1 0x10 2", L"Line 2, column 3: \"0x10\" is not a number"},
        {"3 1 1\n1 1,5 2", L"Line 2, column 3: \"1,5\" is not a number"},
        {"3 1 1\n1 2 3e", L"Line 2, column 5: \"3e\" is not a number"},
        {"3 1 1\n1 2 1e999", L"Line 2, column 5: \"1e999\" is not a number"},
        {"3 1 1\n1 -", L"Line 2, column 3: \"-\" is not a number"},
        {"3 1 1\n1 2", L"Too few values: 2 for 3 x 1 x 1 = 3 voxels"},
        {"2 2 1\n", L"Too few values: 0 for 2 x 2 x 1 = 4 voxels"},
        {"3 1 1\n1 2 3\n# fine so far\n  4\n", L"Line 4, column 3: more values than 3 x 1 x 1 = 3"},
    };
    for (const Case& c : cases) {
        FrameFixture f;
        EXPECT_FALSE(LoadText(f, dir, c.text)) << c.text;
        const auto m = f.OnlyMessage();
        EXPECT_EQ(m.title, L"read Error Main") << c.text;
        EXPECT_EQ(m.text, Widen(dir.File("v.txt")) + L"\n" + c.message) << c.text;
        EXPECT_FALSE(f.frame.IsValid());
        EXPECT_FALSE(f.frame.IsReadFinished());
    }
    // A long token is shortened in the message.
    FrameFixture f;
    EXPECT_FALSE(LoadText(f, dir, "1 1 1\n" + std::string(100, 'z')));
    EXPECT_EQ(f.OnlyMessage().text,
              Widen(dir.File("v.txt")) + L"\nLine 2, column 1: \"" + std::wstring(37, L'z') + L"...\" is not a number");
}

TEST(TextVolume, BadSizeLinesFailTheHeader)
{
    TempDir dir;
    struct Case {
        const char* text;
        const wchar_t* message;
    } cases[] = {
        {"0 2 2\n", L"The sizes must be positive: 0 x 2 x 2"},
        {"2 -1 2\n", L"The sizes must be positive: 2 x -1 x 2"},
        {"2 2\n1 2 3 4\n", L"Line 1: the first line must hold the sizes X Y Z"},
        {"", L"Line 1: the first line must hold the sizes X Y Z"},
        {"2 2 x\n", L"Line 1, column 5: the size \"x\" is not a whole number"},
        {"2 2.0 2\n", L"Line 1, column 3: the size \"2.0\" is not a whole number"},
        {"2 2 2 2\n", L"Line 1: the first line must hold the sizes X Y Z and nothing else"},
        {"2048 1024 1025\n", L"Too big data size (2GB limit is set)\n\nsize: 2048x1024x1025\n"},
        {"1 1 99999999999999999999\n", L"Too big data size (2GB limit is set)\n\nsize: 1x1x99999999999999999999\n"},
    };
    for (const Case& c : cases) {
        FrameFixture f;
        WriteFileText(dir.File("h.dat"), c.text);
        f.frame.SetFilePath(Widen(dir.File("h.dat")), L"", DF3_cls::FORMAT_TXT);
        EXPECT_FALSE(f.frame.ReadHeader(&f.prompt)) << c.text;
        const auto m = f.OnlyMessage();
        EXPECT_EQ(m.title, L"read error Header Text") << c.text;
        EXPECT_EQ(m.text, Widen(dir.File("h.dat")) + L"\n" + c.message) << c.text;
        EXPECT_FALSE(f.frame.IsValid());
    }
    // Exactly 2 GB of voxels is still allowed by the header.
    FrameFixture ok;
    WriteFileText(dir.File("h.dat"), "2048 1024 1024\n");
    ok.frame.SetFilePath(Widen(dir.File("h.dat")), L"", DF3_cls::FORMAT_TXT);
    EXPECT_TRUE(ok.frame.ReadHeader(&ok.prompt));
    EXPECT_EQ(ok.frame.GetTrueTotalSize(), 2147483648ull);

    FrameFixture missing;
    missing.frame.SetFilePath(Widen(dir.File("none.txt")), L"", DF3_cls::FORMAT_TXT);
    EXPECT_FALSE(missing.frame.ReadHeader(nullptr));
    EXPECT_EQ(missing.prompt.MessageCount(), 0u) << "header messages need a parent";
    EXPECT_FALSE(missing.frame.ReadHeader(&missing.prompt));
    EXPECT_EQ(missing.OnlyMessage().text, Widen(dir.File("none.txt")) + L"can not open");
}

// A grid large enough for several steps per phase: 80 x 60 x 30 = 144 000 values, 3 steps each.
struct BigGrid {
    TempDir dir;
    std::vector<int> values;
    std::string path = dir.File("big.vol");
    BigGrid()
    {
        const auto bytes = PatternBytes(80 * 60 * 30, 31);
        for (uint8_t b : bytes)
            values.push_back(static_cast<int>(b) * 4 - 300); // -300 .. 720
        values[5] = -300;                                    // make sure both ends of the range occur
        values[6] = 720;
        WriteFileText(path, GridText(80, 60, 30, values));
    }
    // The bytes the values scale to, by hand: (v + 300) * 255 / 1020 = (v + 300) / 4, rounded.
    std::vector<uint8_t> Expected() const
    {
        std::vector<uint8_t> out;
        for (int v : values)
            out.push_back(static_cast<uint8_t>((v + 300 + 2) / 4));
        return out;
    }
};

TEST(TextVolume, ResumedReadingEqualsOneUninterruptedRead)
{
    BigGrid g;
    FrameFixture whole;
    ASSERT_TRUE(whole.Load(g.path, DF3_cls::FORMAT_TXT)) << Narrow(whole.OnlyMessage().text);
    EXPECT_EQ(whole.Data(), g.Expected());

    FrameFixture steps;
    steps.frame.SetFilePath(Widen(g.path), L"", DF3_cls::FORMAT_TXT);
    ASSERT_TRUE(steps.frame.ReadHeader(&steps.prompt));
    ASSERT_TRUE(steps.frame.Allocate());
    ReadBodyTxt_cls& reader = steps.frame.GetReadBodyTxt();
    reader.SetTimeBudget(0);
    std::vector<int> percents;
    while (!steps.frame.IsReadFinished() && percents.size() < 100) {
        ASSERT_TRUE(steps.frame.ReadBodyIfNotFinished(false, &steps.prompt));
        percents.push_back(reader.GetPercent());
        if (percents.size() == 2) {
            EXPECT_FALSE(reader.IsRangeKnown());
        }
        if (percents.size() == 3) {
            EXPECT_TRUE(reader.IsRangeKnown()) << "the range is known after the first phase";
        }
    }
    EXPECT_EQ(percents, (std::vector<int>{16, 33, 50, 66, 83, 100}));
    EXPECT_EQ(steps.Data(), whole.Data());

    // Released half-way (in the conversion phase), the read starts over from the range scan and
    // still gives the same voxels; the sizes are still known, so no new header read is needed.
    FrameFixture again;
    again.frame.SetFilePath(Widen(g.path), L"", DF3_cls::FORMAT_TXT);
    ASSERT_TRUE(again.frame.ReadHeader(&again.prompt));
    ASSERT_TRUE(again.frame.Allocate());
    again.frame.GetReadBodyTxt().SetTimeBudget(0);
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(again.frame.ReadBodyIfNotFinished(false, &again.prompt));
    again.frame.FakeRelease();
    ASSERT_TRUE(again.frame.Allocate());
    EXPECT_EQ(again.frame.GetReadBodyTxt().GetPosition(), 0u);
    ASSERT_TRUE(again.frame.ReadBodyIfNotFinished(true, &again.prompt));
    EXPECT_EQ(again.Data(), whole.Data());
}

TEST(TextVolume, DownSizingTakesTheNearestSampleOfTheFullScale)
{
    BigGrid g;
    FrameFixture small;
    small.seq.SetDownSizeSRC(0, 3);
    small.seq.SetDownSizeSRC(1, 2);
    small.seq.SetDownSizeSRC(2, 4);
    ASSERT_TRUE(small.Load(g.path, DF3_cls::FORMAT_TXT));
    EXPECT_EQ(small.Size(), (std::vector<uint32_t>{26u, 30u, 7u}));
    const auto full = g.Expected();
    std::vector<uint8_t> expected;
    for (uint32_t z = 0; z < 7; ++z)
        for (uint32_t y = 0; y < 30; ++y)
            for (uint32_t x = 0; x < 26; ++x)
                expected.push_back(full[(static_cast<size_t>(z) * 4 * 60 + y * 2) * 80 + x * 3]);
    EXPECT_EQ(small.Data(), expected);
}

TEST(TextVolume, FormatsFollowTheFileName)
{
    EXPECT_EQ(SourceFormat_cls::FromPath(L"/d/a.txt"), DF3_cls::FORMAT_TXT);
    EXPECT_EQ(SourceFormat_cls::FromPath(L"/d/a.DAT"), DF3_cls::FORMAT_TXT);
    EXPECT_EQ(SourceFormat_cls::FromPath(L"a.vol"), DF3_cls::FORMAT_TXT);
    EXPECT_EQ(SourceFormat_cls::FromPath(L"ct_0001.Tif"), DF3_cls::FORMAT_IMGSEQ);
    EXPECT_EQ(SourceFormat_cls::FromPath(L"ct_0001.bmp"), DF3_cls::FORMAT_IMGSEQ);
    EXPECT_EQ(SourceFormat_cls::FromPath(L"/d.txt/scan_0001"), DF3_cls::FORMAT_DF3);
    EXPECT_EQ(SourceFormat_cls::FromPath(L"scan.df3"), DF3_cls::FORMAT_DF3);
    EXPECT_STREQ(SourceFormat_cls::Name(DF3_cls::FORMAT_TXT), "text volume");
}

} // namespace
