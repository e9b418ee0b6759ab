#include "ImgStackTestUtil.h"
#include "volume/VolumeTestUtil.h"

#include "volume/ExportIMGSeq_cls.h"

#include <filesystem>

namespace
{

constexpr uint32_t kX = 6, kY = 4, kZ = 5;

// A loaded 8-bit frame of pseudo-random voxels.
struct Source {
    TempDir dir;
    std::vector<uint8_t> voxels = PatternBytes(kX * kY * kZ, 3);
    FrameFixture f;
    Source()
    {
        WriteFileBytes(dir.File("src.df3"), Df3File(kX, kY, kZ, voxels));
        EXPECT_TRUE(f.Load(dir.File("src.df3"), DF3_cls::FORMAT_DF3));
    }
    uint8_t At(uint32_t x, uint32_t y, uint32_t z) const { return voxels[(y + z * kY) * kX + x]; }
};

size_t CountFiles(const std::filesystem::path& folder)
{
    size_t n = 0;
    for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(folder))
        ++n;
    return n;
}

TEST(ExportIMGSeq, SlicesAlongEachAxisReadBackToTheSameVoxels)
{
    ASSERT_TRUE(HaveImageMagick());
    Source s;
    for (int axis = 0; axis < 3; ++axis) {
        const std::string folder = s.dir.File(StrPrintf("axis%d", axis));
        std::filesystem::create_directory(folder);
        ExportIMGSeq_cls::Settings settings;
        settings.iAxis = axis;
        settings.strPattern = Widen(folder + "/cut_%03d.png");
        ASSERT_TRUE(s.f.frame.ExportIMGSeq(settings, &s.f.prompt)) << Narrow(s.f.OnlyMessage().text);
        const uint32_t count = s.f.frame.GetCurrSize(axis);
        EXPECT_EQ(CountFiles(folder), count);

        // ImageMagick sees S columns and T rows in every slice.
        const std::vector<uint8_t> first = MagickGrey(folder + "/cut_000.png");
        EXPECT_EQ(first.size(), static_cast<size_t>(s.f.frame.GetCurrSizeS(axis)) * s.f.frame.GetCurrSizeT(axis));

        FrameFixture back;
        ASSERT_TRUE(back.Load(folder + "/cut_001.png", DF3_cls::FORMAT_IMGSEQ)) << Narrow(back.OnlyMessage().text);
        // Read back, image x is S, image y is T and the slice number is the axis itself.
        const uint32_t S = AxisXYZSTU_cls::GetAxisS(axis), T = AxisXYZSTU_cls::GetAxisT(axis);
        EXPECT_EQ(back.Size(), (std::vector<uint32_t>{s.f.frame.GetCurrSize(S), s.f.frame.GetCurrSize(T), count}));
        const auto data = back.Data();
        size_t mismatches = 0;
        for (uint32_t p = 0; p < count; ++p)
            for (uint32_t t = 0; t < s.f.frame.GetCurrSize(T); ++t)
                for (uint32_t u = 0; u < s.f.frame.GetCurrSize(S); ++u) {
                    uint32_t c[3];
                    c[axis] = p;
                    c[S] = u;
                    c[T] = t;
                    mismatches += data[back.frame.GetIndex(u, t, p)] != s.At(c[0], c[1], c[2]);
                }
        EXPECT_EQ(mismatches, 0u) << "axis " << axis;
        if (axis == 2) {
            EXPECT_EQ(data, s.voxels) << "slices across Z are the frame itself";
        }
        // The slice images as ImageMagick decodes them hold the same bytes.
        EXPECT_EQ(first, Slices(data, first.size(), 0, 1));
    }
}

TEST(ExportIMGSeq, NeverOverwritesAndChecksEveryNameFirst)
{
    Source s;
    const std::string folder = s.dir.File("out");
    std::filesystem::create_directory(folder);
    WriteFileText(folder + "/slice_0003.png", "keep me");
    ExportIMGSeq_cls::Settings settings;
    settings.strPattern = Widen(folder); // a folder: slice_0000.png ... slice_0004.png
    EXPECT_FALSE(s.f.frame.ExportIMGSeq(settings, &s.f.prompt));
    const auto m = s.f.OnlyMessage();
    EXPECT_EQ(m.title, L"Write Error");
    EXPECT_EQ(m.text, Widen(folder) + L"/slice_0003.png overwrite forbidden");
    EXPECT_EQ(CountFiles(folder), 1u) << "nothing was written before the clash was found";
    EXPECT_EQ(ReadFileText(folder + "/slice_0003.png"), "keep me");

    // A dangling link counts as existing too.
    std::filesystem::remove(folder + "/slice_0003.png");
    std::filesystem::create_symlink(s.dir.File("nowhere"), folder + "/slice_0004.png");
    s.f.prompt.Reset();
    EXPECT_FALSE(s.f.frame.ExportIMGSeq(settings, &s.f.prompt));
    EXPECT_EQ(s.f.OnlyMessage().text, Widen(folder) + L"/slice_0004.png overwrite forbidden");
    EXPECT_FALSE(std::filesystem::exists(s.dir.File("nowhere")));

    // Without the clash, the export writes every slice and reports its progress.
    std::filesystem::remove(folder + "/slice_0004.png");
    s.f.prompt.Reset();
    ASSERT_TRUE(s.f.frame.ExportIMGSeq(settings, &s.f.prompt));
    EXPECT_EQ(CountFiles(folder), kZ);
    std::vector<int> progress;
    std::vector<std::wstring> status;
    for (const auto& e : s.f.prompt.Entries()) {
        if (e.kind == RecordingPrompt_cls::Kind::Progress)
            progress.push_back(e.value);
        if (e.kind == RecordingPrompt_cls::Kind::Status)
            status.push_back(e.text);
    }
    EXPECT_EQ(progress, (std::vector<int>{20, 40, 60, 80, 100, -1}));
    ASSERT_EQ(status.size(), 2u);
    EXPECT_EQ(status[0], L"Writing 5 PNG slices across Z (6 x 4): " + Widen(folder) + L"/slice_0000.png");
    EXPECT_EQ(status[1], L"5 PNG slices written");

    // A second export of the same names is refused as a whole.
    s.f.prompt.Reset();
    EXPECT_FALSE(s.f.frame.ExportIMGSeq(settings, &s.f.prompt));
    EXPECT_EQ(s.f.OnlyMessage().text, Widen(folder) + L"/slice_0000.png overwrite forbidden");
}

TEST(ExportIMGSeq, NamePatterns)
{
    TempDir dir;
    ExportIMGSeq_cls::Settings s;
    std::vector<std::wstring> names;
    std::wstring error;

    s.strPattern = L"/o/100%%_%d.png";
    s.iFirstNumber = 9;
    ASSERT_TRUE(ExportIMGSeq_cls::MakeFileNames(s, 3, names, error));
    EXPECT_EQ(names, (std::vector<std::wstring>{L"/o/100%_9.png", L"/o/100%_10.png", L"/o/100%_11.png"}));

    s.strPattern = L"z%05u.png";
    s.iFirstNumber = 0;
    ASSERT_TRUE(ExportIMGSeq_cls::MakeFileNames(s, 2, names, error));
    EXPECT_EQ(names, (std::vector<std::wstring>{L"z00000.png", L"z00001.png"}));

    // A folder ending in "/" is created; the numbers get as many digits as they need.
    s.strPattern = Widen(dir.File("new/"));
    s.iFirstNumber = 0;
    ASSERT_TRUE(ExportIMGSeq_cls::MakeFileNames(s, 12000, names, error));
    EXPECT_TRUE(std::filesystem::is_directory(dir.File("new")));
    EXPECT_EQ(names.front(), Widen(dir.File("new/slice_00000.png")));
    EXPECT_EQ(names.back(), Widen(dir.File("new/slice_11999.png")));

    for (const wchar_t* bad : {L"slice.png", L"s_%d_%d.png", L"s_%s.png", L"s_%.png", L"s_%x.png", L""}) {
        s.strPattern = bad;
        error.clear();
        EXPECT_FALSE(ExportIMGSeq_cls::MakeFileNames(s, 3, names, error)) << Narrow(bad);
        EXPECT_FALSE(error.empty()) << Narrow(bad);
    }
    s.strPattern = L"s_%d.png";
    s.iFirstNumber = -1;
    EXPECT_FALSE(ExportIMGSeq_cls::MakeFileNames(s, 3, names, error));
}

TEST(ExportIMGSeq, AnUnloadedFrameIsLoadedForTheExportAndReleasedAgain)
{
    Source s;
    FrameFixture cold;
    cold.frame.SetFilePath(Widen(s.dir.File("src.df3")));
    ExportIMGSeq_cls::Settings settings;
    settings.iAxis = 1;
    settings.strPattern = Widen(s.dir.File("y_%d.png"));
    ASSERT_TRUE(cold.frame.ExportIMGSeq(settings, &cold.prompt));
    EXPECT_FALSE(cold.frame.IsAllocated());
    FrameFixture back;
    ASSERT_TRUE(back.Load(s.dir.File("y_0.png"), DF3_cls::FORMAT_IMGSEQ));
    EXPECT_EQ(back.Size(), (std::vector<uint32_t>{kX, kZ, kY}));
    EXPECT_EQ(back.Data()[back.frame.GetIndex(2, 3, 1)], s.At(2, 1, 3));

    // A folder that does not exist (and is not asked for with "/") cannot take the slices.
    settings.strPattern = Widen(s.dir.File("missing/y_%d.png"));
    cold.prompt.Reset();
    EXPECT_FALSE(cold.frame.ExportIMGSeq(settings, &cold.prompt));
    EXPECT_EQ(cold.OnlyMessage().text, Widen(s.dir.File("missing/y_0.png")) + L" can not open");
    EXPECT_FALSE(std::filesystem::exists(s.dir.File("missing")));
}

TEST(ExportIMGSeq, ProcessedVoxelsAreWrittenWhenTheSlotAsksForThem)
{
    Source s;
    // Blending with a neighbour frame makes the processed voxels differ from the voxels as read.
    WriteFileBytes(s.dir.File("next.df3"), Df3File(kX, kY, kZ, PatternBytes(kX * kY * kZ, 4)));
    DF3_cls next(&s.f.seq);
    next.SetFilePath(Widen(s.dir.File("next.df3")));
    ASSERT_TRUE(next.ReadHeader(&s.f.prompt) && next.Allocate() && next.ReadBodyIfNotFinished(true, &s.f.prompt));
    s.f.frame.SetNeighbourFrame(&next);
    s.f.seq.SetRemap(true, 0.5f);
    s.f.seq.SetFilterProcessRequired(true);
    ExportIMGSeq_cls::Settings settings;
    settings.strPattern = Widen(s.dir.File("p_%02d.png"));
    ASSERT_TRUE(s.f.frame.ExportIMGSeq(settings, &s.f.prompt));
    EXPECT_TRUE(s.f.frame.IsProcessed());
    FrameFixture back;
    ASSERT_TRUE(back.Load(s.dir.File("p_00.png"), DF3_cls::FORMAT_IMGSEQ));
    const uint8_t* processed = s.f.frame.GetProcessedData();
    EXPECT_EQ(back.Data(), std::vector<uint8_t>(processed, processed + kX * kY * kZ));
    EXPECT_NE(back.Data(), s.voxels);
}

} // namespace
