#include "VolumeTestUtil.h"

#include "config/RecordingPrompt_cls.h"
#include "config/TessanAssert.h"
#include "config/TextFormat.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace
{

struct Fixture {
    RecordingPrompt_cls prompt;
    DF3Sequence_cls seq;
    DF3_cls frame{&seq};
    Fixture() { seq.SetMessageParent(&prompt); }
    // Allocates a frame of the given size and fills it with a pattern, as if it had been read.
    void Fill(uint32_t x, uint32_t y, uint32_t z, uint32_t seed)
    {
        frame.SetTrueSize(x, y, z);
        ASSERT_TRUE(frame.Allocate());
        auto bytes = PatternBytes(size_t(x) * y * z, seed);
        std::memcpy(frame.GetXYZData(), bytes.data(), bytes.size());
        frame.SetReadFinished();
    }
};

// Records assertion failures instead of aborting, for the scope.
struct AssertRecorder {
    std::vector<std::string> failures;
    AssertHandler old;
    AssertRecorder()
    {
        old = SetAssertHandler([this](const char* expr, const char* source, const char*, int) {
            failures.push_back(std::string(source) + ": " + expr);
        });
    }
    ~AssertRecorder() { SetAssertHandler(old); }
};

TEST(DF3Frame, TwoGigabyteLimitIsStrict)
{
    EXPECT_TRUE(DF3_cls::IsAllowedTotalSize(1290ull * 1290 * 1290));
    EXPECT_EQ(1290ull * 1290 * 1290, 2146689000ull);
    EXPECT_TRUE(DF3_cls::IsAllowedTotalSize(2147483648ull)) << "exactly 2 GB passes";
    EXPECT_FALSE(DF3_cls::IsAllowedTotalSize(2147483649ull));
    EXPECT_FALSE(DF3_cls::IsAllowedTotalSize(1291ull * 1291 * 1291));

    Fixture f;
    f.frame.SetTrueSize(1291, 1291, 1291);
    EXPECT_FALSE(f.frame.Allocate());
    EXPECT_FALSE(f.frame.IsAllocated());
    EXPECT_FALSE(f.frame.IsValid());
    EXPECT_EQ(f.frame.GetXYZData(), nullptr);
    EXPECT_EQ(f.frame.GetProcessedData(), nullptr);
    EXPECT_EQ(f.frame.GetAllocatedXYZKB(), 0u);
    ASSERT_EQ(f.prompt.MessageCount(), 1u);
    EXPECT_EQ(f.prompt.Messages()[0].title, L"Allocation Error");
    EXPECT_EQ(f.prompt.Messages()[0].text,
              L"Too big data size (2GB limit is set)\n\nsize: 1291x1291x1291 = 2151685171 byte\n");
}

TEST(DF3Frame, DownSizeFactorsDivideTheTrueSizes)
{
    Fixture f;
    f.seq.SetDownSizeSRC(0, 2);
    f.seq.SetDownSizeSRC(1, 3);
    f.seq.SetDownSizeSRC(2, 0); // nonsense factor: treated as 1
    f.frame.SetTrueSize(5, 5, 5);
    ASSERT_TRUE(f.frame.Allocate());
    EXPECT_EQ(f.frame.GetCurrSize(0), 2u);
    EXPECT_EQ(f.frame.GetCurrSize(1), 1u);
    EXPECT_EQ(f.frame.GetCurrSize(2), 5u);
    EXPECT_EQ(f.frame.GetCurrentTotalSize(), 10u);
    EXPECT_EQ(f.frame.GetTrueTotalSize(), 125u);
    EXPECT_EQ(f.frame.GetIndex(1, 0, 3), 7u);

    // The setting is a configuration item of the sequence.
    DF3Sequence_cls s;
    EXPECT_EQ(s.GetConfList().SerializeAll(), L"DownSizeSRC=1 1 1\n");
    EXPECT_TRUE(s.GetConfList().ReadStrLineAll(L"DownSizeSRC=4 2 1"));
    EXPECT_EQ(s.GetDownSizeSRC(0), 4u);
    EXPECT_EQ(s.GetDownSizeSRC(1), 2u);
}

TEST(DF3Frame, FakeReleaseKeepsSameSizeBuffers)
{
    Fixture f;
    f.Fill(4, 4, 4, 1);
    const uint8_t* before = f.frame.GetXYZData();
    const std::vector<uint8_t> content(before, before + 64);
    f.frame.FakeRelease();
    EXPECT_FALSE(f.frame.IsAllocated());
    EXPECT_TRUE(f.frame.GetLoadedFileTag().empty());
    EXPECT_FALSE(f.frame.GetReadFinishedFlag());
    EXPECT_EQ(f.frame.GetLevelMap(), nullptr);
    ASSERT_TRUE(f.frame.Allocate());
    EXPECT_EQ(f.frame.GetXYZData(), before) << "same size: the buffer is reused";
    EXPECT_EQ(std::vector<uint8_t>(f.frame.GetXYZData(), f.frame.GetXYZData() + 64), content);

    // A different size frees and allocates anew.
    f.frame.FakeRelease();
    f.frame.SetTrueSize(4, 4, 5);
    ASSERT_TRUE(f.frame.Allocate());
    EXPECT_EQ(f.frame.GetAllocatedSize(), 80u);
    EXPECT_EQ(f.frame.GetAllocatedXYZKB(), 0u);
    std::memset(f.frame.GetXYZData(), 1, 80); // the whole new size is writable

    // A real release frees everything.
    f.frame.Release();
    EXPECT_EQ(f.frame.GetXYZData(), nullptr);
    EXPECT_EQ(f.frame.GetAllocatedSize(), 0u);
}

TEST(DF3Frame, ChangeTagForcesReloadOnlyWhenLoaded)
{
    TempDir dir;
    WriteFileBytes(dir.File("a.df3"), Df3File(1, 1, 1, {7}));
    Fixture f;
    f.frame.SetFilePath(Widen(dir.File("a.df3")));
    EXPECT_TRUE(f.frame.IsFileChanged()) << "never loaded";
    f.frame.SetFileChangedTag();
    EXPECT_TRUE(f.frame.GetLoadedFileTag().empty()) << "an empty tag stays empty";

    ASSERT_TRUE(f.frame.ReadHeader(&f.prompt));
    EXPECT_EQ(f.frame.GetLoadedFileTag(), Widen(dir.File("a.df3")));
    EXPECT_FALSE(f.frame.IsFileChanged());
    f.frame.SetFileChangedTag();
    EXPECT_EQ(f.frame.GetLoadedFileTag(), L".");
    EXPECT_TRUE(f.frame.IsFileChanged());

    // A new path is a change too; the second path string only belongs to image stacks.
    f.frame.SetFilePath(L"other.df3", L"ignored", DF3_cls::FORMAT_DF3);
    EXPECT_TRUE(f.frame.GetFilePath2().empty());
    f.frame.SetFilePath(L"img_000.png", L"img_009.png", DF3_cls::FORMAT_IMGSEQ);
    EXPECT_EQ(f.frame.GetFilePath2(), L"img_009.png");
    EXPECT_EQ(f.frame.GetFilePathFormat(), 1);
}

// The axis copies written out literally from their definition.
void ReferenceAxisCopies(const DF3_cls& f, std::vector<uint8_t>& ax, std::vector<uint8_t>& ay)
{
    const uint32_t X = f.GetCurrSize(0), Y = f.GetCurrSize(1), Z = f.GetCurrSize(2);
    const uint8_t* d = f.GetXYZData();
    ax.assign(size_t(X) * Y * Z, 0);
    ay.assign(size_t(X) * Y * Z, 0);
    for (uint32_t p = 0; p < X; ++p)
        for (uint32_t t = 0; t < Z; ++t)
            for (uint32_t s = 0; s < Y; ++s)
                ax[p * (Y * Z) + t * Y + s] = d[f.GetIndex(p, s, t)];
    for (uint32_t p = 0; p < Y; ++p)
        for (uint32_t t = 0; t < Z; ++t)
            for (uint32_t s = 0; s < X; ++s)
                ay[p * (X * Z) + t * X + s] = d[f.GetIndex(s, p, t)];
}

TEST(DF3Frame, AxisCopiesEqualTheStraightforwardReordering)
{
    for (auto [x, y, z] : {std::array<uint32_t, 3>{7, 5, 3}, {37, 17, 9}, {1, 1, 1}, {40, 3, 33}}) {
        Fixture f;
        f.Fill(x, y, z, x + y + z);
        ASSERT_TRUE(f.frame.AllocateXY());
        EXPECT_EQ(f.frame.GetConstructPercent(), 0);
        EXPECT_TRUE(f.frame.ConstructXYAxisData(false));
        EXPECT_TRUE(f.frame.IsXYConstructFinished());
        EXPECT_EQ(f.frame.GetConstructPercent(), 100);
        std::vector<uint8_t> ax, ay;
        ReferenceAxisCopies(f.frame, ax, ay);
        const size_t n = ax.size();
        EXPECT_EQ(std::vector<uint8_t>(f.frame.GetAxisData(0), f.frame.GetAxisData(0) + n), ax) << x << "x" << y;
        EXPECT_EQ(std::vector<uint8_t>(f.frame.GetAxisData(1), f.frame.GetAxisData(1) + n), ay) << x << "x" << y;
    }
}

TEST(DF3Frame, AxisCopiesResumeWithATinyBudget)
{
    Fixture f;
    f.Fill(40, 6, 5, 3);
    ASSERT_TRUE(f.frame.AllocateXY());
    f.frame.GetConstructProgress(0).SetTimeBudget(0);
    f.frame.GetConstructProgress(1).SetTimeBudget(0);
    int calls = 1;
    bool done = f.frame.ConstructXYAxisData(true);
    EXPECT_FALSE(done) << "a zero budget stops after the first step";
    EXPECT_GT(f.frame.GetConstructPercent(), 0);
    EXPECT_LT(f.frame.GetConstructPercent(), 100);
    while (!done && calls < 100) {
        done = f.frame.ConstructXYAxisData(true);
        ++calls;
    }
    ASSERT_TRUE(done);
    EXPECT_GT(calls, 2);
    EXPECT_EQ(f.frame.GetWorkState(), 0u);
    std::vector<uint8_t> ax, ay;
    ReferenceAxisCopies(f.frame, ax, ay);
    EXPECT_EQ(std::vector<uint8_t>(f.frame.GetAxisData(0), f.frame.GetAxisData(0) + ax.size()), ax);
    EXPECT_EQ(std::vector<uint8_t>(f.frame.GetAxisData(1), f.frame.GetAxisData(1) + ay.size()), ay);

    f.frame.ReleaseXY();
    EXPECT_FALSE(f.frame.IsAllocatedXY());
    EXPECT_EQ(f.frame.GetAxisData(0), nullptr);
    EXPECT_TRUE(f.frame.GetConstructProgress(0).IsCleared());
    EXPECT_TRUE(f.frame.IsAllocated()) << "only the copies go";
}

TEST(DF3Frame, MemoryAccountingInKilobytes)
{
    Fixture f;
    EXPECT_EQ(f.frame.GetAllocatedXYZKB(), 0u);
    EXPECT_EQ(f.frame.GetAllocatedXYKB(), 0u);
    f.Fill(10, 15, 20, 1); // 3000 bytes
    EXPECT_EQ(f.frame.GetAllocatedXYZKB(), 4u) << "3000/1024 twice";
    EXPECT_EQ(f.frame.GetAllocatedXYKB(), 0u);
    ASSERT_TRUE(f.frame.AllocateXY());
    EXPECT_EQ(f.frame.GetAllocatedXYKB(), 5u) << "(2*3000)/1024, not 2*(3000/1024)";
    EXPECT_EQ(f.frame.GetAllocatedXYZKB(), 9u) << "plus 3000/512";
    f.frame.Release();
    EXPECT_EQ(f.frame.GetAllocatedXYZKB(), 0u);
    EXPECT_EQ(f.frame.GetAllocatedXYKB(), 0u);
}

TEST(DF3Frame, ProcessingCopiesOrBlendsWithTheNeighbour)
{
    Fixture f;
    f.Fill(4, 3, 2, 11);
    ASSERT_TRUE(f.frame.ProcessXYZData());
    EXPECT_TRUE(f.frame.IsProcessed());
    EXPECT_EQ(0, std::memcmp(f.frame.GetProcessedData(), f.frame.GetXYZData(), 24));

    DF3_cls next(&f.seq);
    next.SetTrueSize(4, 3, 2);
    ASSERT_TRUE(next.Allocate());
    auto nb = PatternBytes(24, 12);
    std::memcpy(next.GetXYZData(), nb.data(), 24);
    next.SetReadFinished();
    f.frame.SetNeighbourFrame(&next);
    f.seq.SetRemap(true, 0.3f);

    // Processed once: a second call does nothing until reprocessing is required.
    ASSERT_TRUE(f.frame.ProcessXYZData());
    EXPECT_EQ(0, std::memcmp(f.frame.GetProcessedData(), f.frame.GetXYZData(), 24));
    f.seq.SetReprocessRequired(true);
    ASSERT_TRUE(f.frame.ProcessXYZData());
    const uint8_t* in = f.frame.GetXYZData();
    for (int i = 0; i < 24; ++i) {
        const float v = float(in[i]) * (1.0f - 0.3f) + float(nb[size_t(i)]) * 0.3f;
        EXPECT_EQ(f.frame.GetProcessedData()[i], uint8_t(v)) << i;
    }
    EXPECT_EQ(std::vector<uint8_t>(in, in + 24), PatternBytes(24, 11)) << "the source is never written";

    // Truncation, not rounding: 1*(0.5) + 2*(0.5) = 1.5 -> 1.
    uint8_t a[1] = {1}, b[1] = {2}, out[1] = {0};
    const uint32_t size[3] = {1, 1, 1};
    ASSERT_TRUE(f.seq.ProcessXYZData(out, a, size, true, 0.5f, b));
    EXPECT_EQ(out[0], 1);
    // No blend without remap, without a factor or without a neighbour.
    ASSERT_TRUE(f.seq.ProcessXYZData(out, a, size, false, 0.5f, b));
    EXPECT_EQ(out[0], 1);
    out[0] = 0;
    ASSERT_TRUE(f.seq.ProcessXYZData(out, b, size, true, 0.0f, a));
    EXPECT_EQ(out[0], 2);
    ASSERT_TRUE(f.seq.ProcessXYZData(out, a, size, true, 0.5f, nullptr));
    EXPECT_EQ(out[0], 1);
}

TEST(DF3Frame, MisuseIsReportedAsProgrammingError)
{
    AssertRecorder rec;
    TempDir dir;
    WriteFileBytes(dir.File("a.df3"), Df3File(1, 1, 2, {1, 2}));
    Fixture f;
    f.frame.SetFilePath(Widen(dir.File("a.df3")));
    ASSERT_TRUE(f.frame.ReadHeader(&f.prompt));
    f.frame.Release(); // valid, loaded tag, but never allocated
    ASSERT_EQ(rec.failures.size(), 1u);
    EXPECT_EQ(rec.failures[0], "SRC/DF3/clsDF3: mbAllocated == 1");

    ASSERT_TRUE(f.frame.Allocate());
    EXPECT_TRUE(f.frame.Allocate()); // twice
    EXPECT_EQ(rec.failures.size(), 2u);
    EXPECT_FALSE(f.frame.ConstructXYAxisData(false)); // no axis buffers
    EXPECT_EQ(rec.failures.size(), 3u);

    DF3_cls unallocated(&f.seq);
    unallocated.SetFilePath(Widen(dir.File("a.df3")));
    EXPECT_FALSE(unallocated.ReadBodyIfNotFinished(true, &f.prompt));
    ASSERT_EQ(rec.failures.size(), 4u);
    EXPECT_EQ(rec.failures[3].rfind("SRC/DF3/FILEIO/clsReadBodyDF3", 0), 0u);
}

TEST(DF3Frame, LevelMapIsComputedOnceReadAndClearedOnRelease)
{
    TempDir dir;
    WriteFileBytes(dir.File("a.df3"), Df3File(2, 2, 2, {0, 0, 10, 10, 10, 200, 255, 3}));
    Fixture f;
    f.frame.SetFilePath(Widen(dir.File("a.df3")));
    ASSERT_TRUE(f.frame.ReadHeader(&f.prompt));
    ASSERT_TRUE(f.frame.Allocate());
    EXPECT_EQ(f.frame.GetLevelMap(), nullptr) << "not before the body is read";
    ASSERT_TRUE(f.frame.ReadBodyIfNotFinished(true, &f.prompt));
    const LevelMap_cls* map = f.frame.GetLevelMap();
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->GetMin(), 0);
    EXPECT_EQ(map->GetMax(), 255);
    EXPECT_DOUBLE_EQ(map->GetMean(), (10 * 3 + 200 + 255 + 3) / 8.0);
    EXPECT_EQ(map->GetCount(10), 3u);
    EXPECT_EQ(map->GetCount(0), 2u);
    EXPECT_EQ(map->GetCount(1), 0u);
    EXPECT_EQ(map->GetTotal(), 8u);
    f.frame.Release();
    EXPECT_EQ(f.frame.GetLevelMap(), nullptr);

    LevelMap_cls odd; // lengths that are not a multiple of the unrolling
    const uint8_t d[5] = {9, 9, 9, 9, 4};
    odd.Compute(d, 5);
    EXPECT_EQ(odd.GetCount(9), 4u);
    EXPECT_EQ(odd.GetMin(), 4);
    odd.Compute(d, 0);
    EXPECT_EQ(odd.GetMin(), 0);
    EXPECT_EQ(odd.GetMean(), 0.0);
}

} // namespace
