#include "VolumeTestUtil.h"

#include "config/RecordingPrompt_cls.h"
#include "config/TextFormat.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/MyEndian.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace
{

// A frame of a sequence whose messages are recorded.
struct Fixture {
    RecordingPrompt_cls prompt;
    DF3Sequence_cls seq;
    DF3_cls frame{&seq};
    Fixture() { seq.SetMessageParent(&prompt); }

    bool Load(const std::string& path, bool noInterrupt = true)
    {
        frame.SetFilePath(Widen(path));
        if (!frame.ReadHeader(&prompt) || !frame.Allocate())
            return false;
        return frame.ReadBodyIfNotFinished(noInterrupt, &prompt);
    }
    std::vector<uint8_t> Data() const
    {
        const uint8_t* p = frame.GetXYZData();
        return std::vector<uint8_t>(p, p + frame.GetCurrentTotalSize());
    }
};

std::vector<uint8_t> HighBytes(const std::vector<uint8_t>& pairs)
{
    std::vector<uint8_t> v;
    for (size_t i = 0; i < pairs.size(); i += 2)
        v.push_back(pairs[i]);
    return v;
}

TEST(DF3Read, SampleWidthFollowsFromTheFileSize)
{
    TempDir dir;
    const std::string p8 = dir.File("a8.df3"), p16 = dir.File("a16.df3"), bad = dir.File("bad.df3");
    const auto body8 = PatternBytes(24, 1), body16 = PatternBytes(48, 2);
    WriteFileBytes(p8, Df3File(2, 3, 4, body8));                // 30 bytes
    WriteFileBytes(p16, Df3File(2, 3, 4, body16));              // 54 bytes
    WriteFileBytes(bad, Df3File(2, 3, 4, PatternBytes(25, 3))); // 31 bytes

    Fixture f8;
    ASSERT_TRUE(f8.Load(p8));
    EXPECT_EQ(f8.frame.GetReadBodyDF3().GetSampleBits(), 8);
    EXPECT_EQ(f8.Data(), body8);
    EXPECT_TRUE(f8.frame.IsReadFinished());
    EXPECT_EQ(f8.prompt.MessageCount(), 0u);

    Fixture f16;
    ::testing::internal::CaptureStdout(); // the conversion workers trace to stdout
    ASSERT_TRUE(f16.Load(p16));
    ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(f16.frame.GetReadBodyDF3().GetSampleBits(), 16);
    EXPECT_EQ(f16.Data(), HighBytes(body16));

    Fixture fb;
    EXPECT_FALSE(fb.Load(bad));
    EXPECT_FALSE(fb.frame.IsValid());
    EXPECT_FALSE(fb.frame.IsReadFinished());
    ASSERT_EQ(fb.prompt.MessageCount(), 1u);
    const auto m = fb.prompt.Messages()[0];
    EXPECT_EQ(m.title, L"read Error Main");
    EXPECT_EQ(m.text, L"File Size Inconsistency\n" + Widen(bad) + L"\nFilesize = 31 : Expected size = 30\n2 x 3 x 4");
}

TEST(DF3Read, SixteenBitSampleKeepsItsFirstByte)
{
    TempDir dir;
    WriteFileBytes(dir.File("one.df3"), Df3File(1, 1, 1, {0x12, 0x34}));
    Fixture f;
    ::testing::internal::CaptureStdout();
    ASSERT_TRUE(f.Load(dir.File("one.df3")));
    ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(f.frame.GetXYZData()[0], 0x12);
}

// Reads with a zero budget, so each call reads exactly one block; returns the positions seen.
std::vector<uint32_t> ReadBlockByBlock(Fixture& f, const std::string& path, std::vector<bool>* untouchedOk)
{
    f.frame.SetFilePath(Widen(path));
    EXPECT_TRUE(f.frame.ReadHeader(&f.prompt));
    EXPECT_TRUE(f.frame.Allocate());
    const size_t total = f.frame.GetCurrentTotalSize();
    const size_t slice = size_t(f.frame.GetCurrSize(0)) * f.frame.GetCurrSize(1);
    std::fill(f.frame.GetXYZData(), f.frame.GetXYZData() + total, uint8_t(0xEE));
    f.frame.GetReadBodyDF3().SetTimeBudget(0);
    std::vector<uint32_t> positions;
    for (int guard = 0; guard < 10 && !f.frame.IsReadFinished(); ++guard) {
        EXPECT_TRUE(f.frame.ReadBodyIfNotFinished(false, &f.prompt));
        const uint32_t pos = f.frame.GetReadBodyDF3().GetPosition();
        positions.push_back(pos);
        // Nothing beyond the stored slice may have been written yet.
        const uint8_t* d = f.frame.GetXYZData();
        untouchedOk->push_back(std::all_of(d + pos * slice, d + total, [](uint8_t b) { return b == 0xEE; }));
    }
    return positions;
}

TEST(DF3Read, BlocksOfEightAndSixteenSlicesResumeToTheSameBytes)
{
    TempDir dir;
    const auto body8 = PatternBytes(2 * 3 * 20, 7);
    const auto body16 = PatternBytes(2 * 3 * 20 * 2, 8);
    WriteFileBytes(dir.File("z8.df3"), Df3File(2, 3, 20, body8));
    WriteFileBytes(dir.File("z16.df3"), Df3File(2, 3, 20, body16));

    Fixture f8;
    std::vector<bool> ok8;
    EXPECT_EQ(ReadBlockByBlock(f8, dir.File("z8.df3"), &ok8), (std::vector<uint32_t>{8, 16, 20}));
    EXPECT_EQ(ok8, (std::vector<bool>{true, true, true}));
    EXPECT_EQ(f8.Data(), body8);

    Fixture f16;
    std::vector<bool> ok16;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(ReadBlockByBlock(f16, dir.File("z16.df3"), &ok16), (std::vector<uint32_t>{16, 20}));
    const std::string trace = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(ok16, (std::vector<bool>{true, true}));
    // 16 slices of 6 samples split 48/48, then 4 slices split 12/12.
    EXPECT_EQ(trace, "buffersize=48, 0\nbuffersize=48, 0\nbuffersize=12, 0\nbuffersize=12, 0\n");

    Fixture whole;
    ::testing::internal::CaptureStdout();
    ASSERT_TRUE(whole.Load(dir.File("z16.df3")));
    ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(f16.Data(), whole.Data()) << "resumed read differs from an uninterrupted one";
    EXPECT_EQ(whole.Data(), HighBytes(body16));
}

TEST(DF3Read, ConversionTraceEveryHundredThousandSamples)
{
    TempDir dir;
    // One block of 2 slices of 500x500 = 500 000 samples: two workers of 250 000 each.
    const auto body = PatternBytes(500 * 500 * 2 * 2, 9);
    WriteFileBytes(dir.File("big.df3"), Df3File(500, 500, 2, body));
    Fixture f;
    ::testing::internal::CaptureStdout();
    ASSERT_TRUE(f.Load(dir.File("big.df3")));
    const std::string trace = ::testing::internal::GetCapturedStdout();
    std::vector<std::string> lines;
    std::istringstream in(trace);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    std::sort(lines.begin(), lines.end());
    EXPECT_EQ(lines, (std::vector<std::string>{"buffersize=250000, 0", "buffersize=250000, 0",
                                               "buffersize=250000, 100000", "buffersize=250000, 100000",
                                               "buffersize=250000, 200000", "buffersize=250000, 200000"}));
    EXPECT_EQ(f.Data(), HighBytes(body));
}

TEST(DF3Read, HeaderSizesAreSignedSixteenBit)
{
    TempDir dir;
    WriteFileBytes(dir.File("neg.df3"), Df3Header(0x8000, 2, 0x7FFF));
    Fixture f;
    f.frame.SetFilePath(Widen(dir.File("neg.df3")));
    ASSERT_TRUE(f.frame.ReadHeader(&f.prompt));
    EXPECT_EQ(static_cast<int32_t>(f.frame.GetTrueSize(0)), -32768);
    EXPECT_EQ(f.frame.GetTrueSize(1), 2u);
    EXPECT_EQ(f.frame.GetTrueSize(2), 32767u);
    // Such a frame is unusable: it can never be allocated.
    EXPECT_FALSE(f.frame.Allocate());
    EXPECT_FALSE(f.frame.IsAllocated());
    ASSERT_EQ(f.prompt.MessageCount(), 1u);
    EXPECT_EQ(f.prompt.Messages()[0].title, L"Allocation Error");
}

TEST(DF3Read, VanishedBodyReportsSizeMinusOne)
{
    TempDir dir;
    const std::string path = dir.File("gone.df3");
    WriteFileBytes(path, Df3File(2, 3, 4, PatternBytes(24, 4)));
    Fixture f;
    f.frame.SetFilePath(Widen(path));
    ASSERT_TRUE(f.frame.ReadHeader(&f.prompt));
    ASSERT_TRUE(f.frame.Allocate());
    std::filesystem::remove(path);
    EXPECT_FALSE(f.frame.ReadBodyIfNotFinished(true, &f.prompt));
    EXPECT_FALSE(f.frame.IsValid());
    ASSERT_EQ(f.prompt.MessageCount(), 1u);
    EXPECT_EQ(f.prompt.Messages()[0].text,
              L"File Size Inconsistency\n" + Widen(path) + L"\nFilesize = -1 : Expected size = 30\n2 x 3 x 4");
}

TEST(DF3Read, HeaderFailuresAreShownOnlyWithAParent)
{
    TempDir dir;
    const std::string missing = dir.File("missing.df3");
    Fixture f;
    f.frame.SetFilePath(Widen(missing));
    EXPECT_FALSE(f.frame.ReadHeader(nullptr));
    EXPECT_EQ(f.prompt.MessageCount(), 0u);
    EXPECT_FALSE(f.frame.ReadHeader(&f.prompt));
    EXPECT_FALSE(f.frame.IsValid());
    EXPECT_TRUE(f.frame.GetLoadedFileTag().empty());
    ASSERT_EQ(f.prompt.MessageCount(), 1u);
    EXPECT_EQ(f.prompt.Messages()[0].text, Widen(missing) + L"can not open");
    EXPECT_EQ(f.prompt.Messages()[0].title, L"read error Header DF3");

    // Shorter than a header: refused, never read as zero sizes.
    WriteFileBytes(dir.File("short.df3"), {0, 2, 0});
    f.frame.SetFilePath(Widen(dir.File("short.df3")));
    EXPECT_FALSE(f.frame.ReadHeader(&f.prompt));
    EXPECT_EQ(f.prompt.MessageCount(), 2u);
}

TEST(DF3Read, DownSizingTakesNearestSamples)
{
    TempDir dir;
    std::vector<uint8_t> body8, body16;
    for (int z = 0; z < 5; ++z)
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 5; ++x) {
                const uint8_t v = uint8_t(x + 5 * y + 25 * z);
                body8.push_back(v);
                body16.push_back(v);
                body16.push_back(0xAB);
            }
    WriteFileBytes(dir.File("d8.df3"), Df3File(5, 5, 5, body8));
    WriteFileBytes(dir.File("d16.df3"), Df3File(5, 5, 5, body16));
    std::vector<uint8_t> expected;
    for (int z = 0; z < 2; ++z)
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 2; ++x)
                expected.push_back(uint8_t(2 * x + 5 * 2 * y + 25 * 2 * z));

    for (const char* name : {"d8.df3", "d16.df3"}) {
        Fixture f;
        for (int a = 0; a < 3; ++a)
            f.seq.SetDownSizeSRC(a, 2);
        ASSERT_TRUE(f.Load(dir.File(name))) << name;
        EXPECT_EQ(f.frame.GetCurrSize(0), 2u);
        EXPECT_EQ(f.frame.GetCurrSize(1), 2u);
        EXPECT_EQ(f.frame.GetCurrSize(2), 2u);
        EXPECT_EQ(f.frame.GetTrueSize(0), 5u);
        EXPECT_EQ(f.Data(), expected) << name;
    }

    // Resumed one slice at a time, the result is the same.
    Fixture r;
    r.seq.SetDownSizeSRC(2, 2);
    r.frame.SetFilePath(Widen(dir.File("d8.df3")));
    ASSERT_TRUE(r.frame.ReadHeader(&r.prompt));
    ASSERT_TRUE(r.frame.Allocate());
    r.frame.GetReadBodyDF3().SetTimeBudget(0);
    ASSERT_TRUE(r.frame.ReadBodyIfNotFinished(false, &r.prompt));
    EXPECT_EQ(r.frame.GetReadBodyDF3().GetPosition(), 1u);
    EXPECT_FALSE(r.frame.IsReadFinished());
    ASSERT_TRUE(r.frame.ReadBodyIfNotFinished(false, &r.prompt));
    EXPECT_TRUE(r.frame.IsReadFinished());
    EXPECT_EQ(r.frame.GetXYZData()[25 + 6], uint8_t(6 + 50)) << "x=1,y=1 of current slice 1 = true slice 2";

    // A bad size shows the down-sized total as the expected size.
    WriteFileBytes(dir.File("bad.df3"), Df3File(5, 5, 5, PatternBytes(100, 1)));
    Fixture b;
    for (int a = 0; a < 3; ++a)
        b.seq.SetDownSizeSRC(a, 2);
    EXPECT_FALSE(b.Load(dir.File("bad.df3")));
    ASSERT_EQ(b.prompt.MessageCount(), 1u);
    EXPECT_NE(b.prompt.Messages()[0].text.find(L"Filesize = 106 : Expected size = 14\n2 x 2 x 2"), std::wstring::npos);
}

TEST(DF3Read, ReadsTheRayTracersOwnSpiral)
{
    const std::string spiral = "/usr/share/povray-3.7/include/spiral.df3";
    if (!std::filesystem::exists(spiral))
        GTEST_SKIP() << "povray-includes is not installed";
    Fixture f;
    ASSERT_TRUE(f.Load(spiral));
    EXPECT_EQ(f.frame.GetCurrSize(0), 50u);
    EXPECT_EQ(f.frame.GetCurrSize(1), 50u);
    EXPECT_EQ(f.frame.GetCurrSize(2), 5u);
    EXPECT_EQ(f.frame.GetReadBodyDF3().GetSampleBits(), 8);
    const auto file = ReadFileBytes(spiral);
    EXPECT_EQ(f.Data(), std::vector<uint8_t>(file.begin() + 6, file.end()));
    const LevelMap_cls* map = f.frame.GetLevelMap();
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->GetTotal(), 12500u);
    EXPECT_GT(map->GetMax(), map->GetMin());
}

TEST(DF3Read, FinishedReadIsNotRepeatedAndUnknownFormatsFail)
{
    TempDir dir;
    const std::string path = dir.File("a.df3");
    WriteFileBytes(path, Df3File(2, 2, 2, PatternBytes(8, 5)));
    Fixture f;
    ASSERT_TRUE(f.Load(path));
    std::filesystem::remove(path);
    EXPECT_TRUE(f.frame.ReadBodyIfNotFinished(true, &f.prompt)) << "already read: the file is not touched again";
    EXPECT_TRUE(f.frame.IsValid());

    Fixture img;
    img.frame.SetFilePath(Widen(dir.File("slice_000.png")), Widen(dir.File("slice_099.png")), DF3_cls::FORMAT_IMGSEQ);
    EXPECT_FALSE(img.frame.ReadHeader(&img.prompt));
    ASSERT_EQ(img.prompt.MessageCount(), 1u);
    EXPECT_EQ(img.prompt.Messages()[0].title, L"read error Header Image");
    EXPECT_EQ(img.prompt.Messages()[0].text, Widen(dir.File("slice_000.png")) + L"\ncan not open");

    Fixture other;
    other.frame.SetFilePath(Widen(path), L"", 7);
    EXPECT_FALSE(other.frame.ReadHeader(&other.prompt));
    EXPECT_FALSE(other.frame.ReadBodyIfNotFinished(true, &other.prompt));
    EXPECT_FALSE(other.frame.IsReadFinished());
}

TEST(DF3Read, SwapByteReversesInPlace)
{
    uint8_t b[4] = {1, 2, 3, 4};
    MyEndian::SwapByte(b, 2);
    EXPECT_EQ(std::vector<uint8_t>(b, b + 4), (std::vector<uint8_t>{2, 1, 3, 4}));
    MyEndian::SwapByte(b, 4);
    EXPECT_EQ(std::vector<uint8_t>(b, b + 4), (std::vector<uint8_t>{4, 3, 1, 2}));
    MyEndian::SwapByte(b, 1);
    EXPECT_EQ(b[0], 4);
    const uint8_t be[2] = {0xFF, 0xFE};
    EXPECT_EQ(MyEndian::ReadInt16BE(be), -2);
}

} // namespace

#include "volume/Thread16bitTo8bit.h"

namespace
{

TEST(DF3Read, ConversionKeepsFirstByteForEveryLength)
{
    const auto pairs = PatternBytes(2 * 70, 31);
    for (int count = 0; count <= 70; ++count) {
        std::vector<uint8_t> out(71, 0xEE);
        Thread16bitTo8bit::Convert(pairs.data(), out.data(), count);
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(out[size_t(i)], pairs[size_t(2 * i)]) << count << " " << i;
        EXPECT_EQ(out[size_t(count)], 0xEE) << "wrote past the end for count " << count;
    }
    // A worker with nothing to do still reports that it is done, and prints nothing.
    bool done = false;
    Thread16bitTo8bit w;
    w.SetParameters(&done, 0, nullptr, nullptr);
    ::testing::internal::CaptureStdout();
    w.Run();
    w.Wait();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(done);
}

} // namespace
