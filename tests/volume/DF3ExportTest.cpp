#include "VolumeTestUtil.h"

#include "config/RecordingPrompt_cls.h"
#include "config/TextFormat.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/ExportDF3_cls.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

namespace
{

struct Fixture {
    RecordingPrompt_cls prompt;
    DF3Sequence_cls seq;
    DF3_cls frame{&seq};
    Fixture() { seq.SetMessageParent(&prompt); }
    void Fill(uint32_t x, uint32_t y, uint32_t z, const std::vector<uint8_t>& bytes)
    {
        frame.SetTrueSize(x, y, z);
        ASSERT_TRUE(frame.Allocate());
        std::memcpy(frame.GetXYZData(), bytes.data(), bytes.size());
        frame.GetReadBodyDF3().Finalize();
        frame.SetReadFinished();
    }
};

TEST(DF3Export, NeverOverwritesAnExistingFile)
{
    TempDir dir;
    const std::string target = dir.File("keep.df3");
    WriteFileText(target, "precious contents");
    Fixture f;
    f.Fill(2, 2, 2, PatternBytes(8, 1));
    const bool none[3] = {false, false, false};
    EXPECT_FALSE(f.frame.ExportDF3(Widen(target), none));
    EXPECT_EQ(ReadFileText(target), "precious contents");
    ASSERT_EQ(f.prompt.MessageCount(), 1u);
    EXPECT_EQ(f.prompt.Messages()[0].text, Widen(target) + L" overwrite forbidden");
    EXPECT_EQ(f.prompt.Messages()[0].title, L"Write Error");

    const std::string unwritable = dir.File("no/such/folder/x.df3");
    EXPECT_FALSE(f.frame.ExportDF3(Widen(unwritable), nullptr));
    ASSERT_EQ(f.prompt.MessageCount(), 2u);
    EXPECT_EQ(f.prompt.Messages()[1].text, Widen(unwritable) + L" can not open");
    EXPECT_FALSE(std::filesystem::exists(unwritable));
}

TEST(DF3Export, PlainExportIsHeaderAndEightBitVoxels)
{
    TempDir dir;
    Fixture f;
    const auto body = PatternBytes(3 * 4 * 5, 2);
    f.Fill(3, 4, 5, body);
    ASSERT_TRUE(f.frame.ExportDF3(Widen(dir.File("out.df3")), nullptr));
    EXPECT_EQ(ReadFileBytes(dir.File("out.df3")), Df3File(3, 4, 5, body));
    EXPECT_TRUE(f.frame.IsAllocated()) << "a frame that was loaded stays loaded";
}

TEST(DF3Export, DoubledXMirrorsTheLeadingMarginAndFillsTheRest)
{
    TempDir dir;
    Fixture f;
    std::vector<uint8_t> body;
    for (int i = 0; i < 4 * 2 * 2; ++i)
        body.push_back(uint8_t(i + 1));
    f.Fill(4, 2, 2, body);
    const bool x[3] = {true, false, false};
    ASSERT_TRUE(f.frame.ExportDF3(Widen(dir.File("x2.df3")), x));
    const auto out = ReadFileBytes(dir.File("x2.df3"));
    ASSERT_EQ(out.size(), 6u + 8 * 2 * 2);
    EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + 6), Df3Header(8, 2, 2));
    // Each row of 4 becomes: 2 mirrored (columns 2 and 1), the data, 2 of 255.
    for (int row = 0; row < 4; ++row) {
        const uint8_t* d = body.data() + row * 4;
        const std::vector<uint8_t> expected = {d[2], d[1], d[0], d[1], d[2], d[3], 255, 255};
        EXPECT_EQ(std::vector<uint8_t>(out.begin() + 6 + row * 8, out.begin() + 6 + row * 8 + 8), expected) << row;
    }
}

TEST(DF3Export, DoubledYAndZSurroundTheDataWithFullDensity)
{
    TempDir dir;
    Fixture f;
    const std::vector<uint8_t> body = {1, 2, 3, 4, 5, 6, 7, 8};
    f.Fill(2, 2, 2, body);
    const bool yz[3] = {false, true, true};
    ASSERT_TRUE(f.frame.ExportDF3(Widen(dir.File("yz.df3")), yz));
    const auto out = ReadFileBytes(dir.File("yz.df3"));
    ASSERT_EQ(out.size(), 6u + 2 * 4 * 4);
    EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + 6), Df3Header(2, 4, 4));
    // Offsets: y by 1, z by 1.
    for (uint32_t z = 0; z < 4; ++z)
        for (uint32_t y = 0; y < 4; ++y)
            for (uint32_t xx = 0; xx < 2; ++xx) {
                const bool inside = z >= 1 && z < 3 && y >= 1 && y < 3;
                const uint8_t want = inside ? body[xx + 2 * (y - 1) + 4 * (z - 1)] : 255;
                EXPECT_EQ(out[6 + xx + 2 * y + 8 * z], want) << xx << "," << y << "," << z;
            }
}

TEST(DF3Export, ProcessedVoxelsWhenTheOwnerAsksForThem)
{
    TempDir dir;
    Fixture f;
    f.Fill(2, 1, 1, {100, 200});
    DF3_cls next(&f.seq);
    next.SetTrueSize(2, 1, 1);
    ASSERT_TRUE(next.Allocate());
    next.GetXYZData()[0] = 0;
    next.GetXYZData()[1] = 0;
    next.SetReadFinished();
    f.frame.SetNeighbourFrame(&next);
    f.seq.SetRemap(true, 0.5f);

    ASSERT_TRUE(f.frame.ExportDF3(Widen(dir.File("raw.df3")), nullptr));
    EXPECT_EQ(ReadFileBytes(dir.File("raw.df3")), Df3File(2, 1, 1, {100, 200}));

    f.seq.SetFilterProcessRequired(true);
    ASSERT_TRUE(f.frame.ExportDF3(Widen(dir.File("proc.df3")), nullptr));
    EXPECT_EQ(ReadFileBytes(dir.File("proc.df3")), Df3File(2, 1, 1, {50, 100}));
}

TEST(DF3Export, UnloadedFrameIsReadForTheExportAndReleasedAfterwards)
{
    TempDir dir;
    const auto body16 = PatternBytes(3 * 3 * 3 * 2, 6);
    WriteFileBytes(dir.File("in.df3"), Df3File(3, 3, 3, body16));
    Fixture f;
    f.frame.SetFilePath(Widen(dir.File("in.df3")));
    ::testing::internal::CaptureStdout();
    ASSERT_TRUE(f.frame.ExportDF3(Widen(dir.File("out.df3")), nullptr));
    ::testing::internal::GetCapturedStdout();
    std::vector<uint8_t> high;
    for (size_t i = 0; i < body16.size(); i += 2)
        high.push_back(body16[i]);
    EXPECT_EQ(ReadFileBytes(dir.File("out.df3")), Df3File(3, 3, 3, high));
    EXPECT_FALSE(f.frame.IsAllocated());
    EXPECT_TRUE(f.frame.GetLoadedFileTag().empty());

    // A header that cannot be read stops the export before anything is created.
    Fixture bad;
    bad.frame.SetFilePath(Widen(dir.File("missing.df3")));
    EXPECT_FALSE(bad.frame.ExportDF3(Widen(dir.File("never.df3")), nullptr));
    EXPECT_FALSE(std::filesystem::exists(dir.File("never.df3")));
    EXPECT_EQ(bad.prompt.MessageCount(), 1u);
}

TEST(DF3Export, WriteFileWritesSixteenBitSamplesAsGiven)
{
    TempDir dir;
    RecordingPrompt_cls prompt;
    const std::vector<uint8_t> samples = {0x12, 0x34, 0xAB, 0xCD};
    ASSERT_TRUE(ExportDF3_cls::WriteFile(Widen(dir.File("w.df3")), 2, 1, 1, samples.data(), 2, &prompt));
    EXPECT_EQ(ReadFileBytes(dir.File("w.df3")), Df3File(2, 1, 1, samples));
    EXPECT_FALSE(ExportDF3_cls::WriteFile(Widen(dir.File("w.df3")), 1, 1, 1, samples.data(), 1, &prompt));
    EXPECT_EQ(ReadFileBytes(dir.File("w.df3")), Df3File(2, 1, 1, samples));
    EXPECT_EQ(prompt.MessageCount(), 1u);
    // A size the 16-bit header cannot hold is refused rather than written as another volume.
    EXPECT_FALSE(ExportDF3_cls::WriteFile(Widen(dir.File("huge.df3")), 70000, 0, 1, samples.data(), 1, &prompt));
    EXPECT_FALSE(std::filesystem::exists(dir.File("huge.df3")));
    EXPECT_EQ(prompt.MessageCount(), 2u);
}

} // namespace
