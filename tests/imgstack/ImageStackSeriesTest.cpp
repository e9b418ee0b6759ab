// Time series of image stacks: the three layouts are found from any slice, a slot loads each stack
// as one frame through the usual idle stages, and the CLI reports and exports such series.
#include "ImgStackTestUtil.h"

#include "config/LineStream_cls.h"
#include "volume/ExportIMGSeq_cls.h"
#include "volume/ImageStackSeries_cls.h"
#include "volume/VolumeTestUtil.h"

#include <filesystem>

namespace
{

constexpr uint32_t kW = 9, kH = 7, kD = 4;

// Volume of time point t: different bytes for every t.
std::vector<uint8_t> Volume(int t)
{
    return PatternBytes(size_t(kW) * kH * kD, 100u + static_cast<uint32_t>(t));
}

// Writes the volume's z slices with our own PNG writer as folder + StrPrintf(nameFormat, z + firstZ).
void WriteStack(const std::string& folder, const char* nameFormat, const std::vector<uint8_t>& v, int firstZ = 0)
{
    std::filesystem::create_directories(folder);
    for (uint32_t z = 0; z < kD; ++z) {
        std::wstring error;
        const std::string path = folder + "/" + StrPrintf(nameFormat, static_cast<int>(z) + firstZ);
        ASSERT_TRUE(ExportIMGSeq_cls::WritePng(Widen(path), v.data() + size_t(z) * kW * kH, kW, kH, error))
            << Narrow(error);
    }
}

// Brings frame i of the slot up stage by stage as the idle loop does; returns the stages taken.
int BringUp(DF3Sequence_cls& seq, int i)
{
    int stages = 0;
    while (seq.IdleProcessesMain(i, false, true) == DF3Sequence_cls::kIdleStep && stages < 1000)
        ++stages;
    return stages;
}

std::vector<uint8_t> FrameData(DF3Sequence_cls& seq, int i)
{
    const DF3_cls* f = seq.GetDF3(i);
    if (!f || !f->IsReadFinished() || !f->GetXYZData())
        return {};
    return std::vector<uint8_t>(f->GetXYZData(), f->GetXYZData() + f->GetCurrentTotalSize());
}

struct SlotFixture {
    RecordingPrompt_cls prompt;
    DF3Sequence_cls seq;
    SlotFixture() { seq.SetMessageParent(&prompt); }
};

} // namespace

TEST(ImageStackSeries, FolderPerTimePointFromAnySliceWithOwnSliceNumbers)
{
    TempDir dir;
    const std::string run = dir.File("run");
    WriteStack(run + "/t000", "img_%03d.png", Volume(0));
    WriteStack(run + "/t001", "img_%03d.png", Volume(1));
    WriteStack(run + "/t002", "img_%03d.png", Volume(2), 10); // numbered on from a global count
    // Not frames: a numbered folder without slices of that name, other names, other digit counts.
    std::filesystem::create_directories(run + "/t003");
    WriteFileText(run + "/t003/notes.txt", "calibration");
    WriteStack(run + "/x000", "img_%03d.png", Volume(7));
    WriteStack(run + "/t04", "img_%03d.png", Volume(8));

    ImageStackSeries_cls::Layout layout = ImageStackSeries_cls::kLayoutSingle;
    const auto frames = ImageStackSeries_cls::Find(Widen(run + "/t001/img_002.png"), &layout);
    EXPECT_EQ(layout, ImageStackSeries_cls::kLayoutFolders);
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_EQ(Narrow(frames[0].strPath), run + "/t000/img_000.png");
    EXPECT_EQ(Narrow(frames[0].strPath2), run + "/t000/img_003.png");
    EXPECT_EQ(Narrow(frames[2].strPath), run + "/t002/img_010.png");
    EXPECT_EQ(Narrow(frames[2].strPath2), run + "/t002/img_013.png");
    for (const auto& f : frames)
        EXPECT_EQ(f.iFormat, DF3_cls::FORMAT_IMGSEQ);

    // A slot loads one stack per frame, each through the idle stages.
    SlotFixture fx;
    EXPECT_EQ(fx.seq.AppendFileSequence(Widen(run + "/t002/img_011.png"), true, DF3Sequence_cls::kAppendAtEnd), 3);
    ASSERT_EQ(fx.seq.GetFrameCount(), 3);
    for (int t = 0; t < 3; ++t) {
        EXPECT_GE(BringUp(fx.seq, t), 2) << "header and body are separate stages";
        EXPECT_EQ(FrameData(fx.seq, t), Volume(t)) << "frame " << t;
        EXPECT_EQ(fx.seq.GetDF3(t)->GetCurrSize(2), kD);
    }
    EXPECT_EQ(fx.prompt.MessageCount(), 0u);

    // The slot's file block of a project keeps each stack's first and last slice: read back, the
    // same three frames come back without any search on disk.
    LineStream_cls stream(fx.seq.SerializeFile());
    std::wstring line;
    ASSERT_TRUE(stream.GetLine(line));
    DF3Sequence_cls loaded;
    loaded.SetMessageParent(&fx.prompt);
    ASSERT_TRUE(loaded.ReadStrLineFile(stream, line));
    EXPECT_EQ(loaded.GetFileList(), fx.seq.GetFileList());
    BringUp(loaded, 2);
    EXPECT_EQ(FrameData(loaded, 2), Volume(2));
}

TEST(ImageStackSeries, ReleaseFetchAgainAndChangedStacksAreReread)
{
    TempDir dir;
    const std::string run = dir.File("exp");
    for (int t = 0; t < 2; ++t)
        WriteStack(run + StrPrintf("/stack_%d", t), "z%02d.png", Volume(t));
    SlotFixture fx;
    ASSERT_EQ(fx.seq.AppendFileSequence(Widen(run + "/stack_0/z00.png"), true, 0), 2);
    BringUp(fx.seq, 1);
    ASSERT_EQ(FrameData(fx.seq, 1), Volume(1));
    fx.seq.GetDF3(1)->Release();
    EXPECT_FALSE(fx.seq.GetDF3(1)->IsAllocated());
    BringUp(fx.seq, 1);
    EXPECT_EQ(FrameData(fx.seq, 1), Volume(1)) << "a released stack is read again on its next fetch";

    // The stack of time point 1 is replaced on disk: the frame reads the new slices.
    for (uint32_t z = 0; z < kD; ++z)
        std::filesystem::remove(run + StrPrintf("/stack_1/z%02u.png", z));
    WriteStack(run + "/stack_1", "z%02d.png", Volume(5));
    fx.seq.SetFileChangedTagAll();
    BringUp(fx.seq, 1);
    EXPECT_EQ(FrameData(fx.seq, 1), Volume(5));
}

TEST(ImageStackSeries, TimeAndSliceInTheNameWrittenByImageMagick)
{
    if (!HaveImageMagick())
        GTEST_SKIP() << "ImageMagick's convert is not installed";
    TempDir dir;
    for (int t = 0; t < 3; ++t) {
        const std::vector<uint8_t> v = Volume(t);
        for (uint32_t z = 0; z < kD; ++z)
            ASSERT_TRUE(MagickFromRaw(Slices(v, size_t(kW) * kH, z, 1), kW, kH, 8, "gray",
                                      dir.File(StrPrintf("cell_t%03d_z%03u.png", t, z))));
    }
    // Neighbours that belong to no frame: another name, another text between the numbers.
    ASSERT_TRUE(
        MagickFromRaw(Slices(Volume(9), size_t(kW) * kH, 0, 1), kW, kH, 8, "gray", dir.File("dish_t000_z000.png")));
    ASSERT_TRUE(
        MagickFromRaw(Slices(Volume(9), size_t(kW) * kH, 0, 1), kW, kH, 8, "gray", dir.File("cell_t000_y000.png")));

    ImageStackSeries_cls::Layout layout = ImageStackSeries_cls::kLayoutSingle;
    const auto frames = ImageStackSeries_cls::Find(Widen(dir.File("cell_t002_z001.png")), &layout);
    EXPECT_EQ(layout, ImageStackSeries_cls::kLayoutTimeInName);
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_EQ(Narrow(frames[1].strPath), dir.File("cell_t001_z000.png"));
    EXPECT_EQ(Narrow(frames[1].strPath2), dir.File("cell_t001_z003.png"));

    SlotFixture fx;
    ASSERT_EQ(fx.seq.AppendFileSequence(Widen(dir.File("cell_t000_z000.png")), true, 0), 3);
    for (int t = 0; t < 3; ++t) {
        BringUp(fx.seq, t);
        EXPECT_EQ(FrameData(fx.seq, t), Volume(t)) << "frame " << t;
    }
    // Without the series search the slot holds the one stack the slice belongs to.
    DF3Sequence_cls one;
    one.SetMessageParent(&fx.prompt);
    ASSERT_EQ(one.AppendFileSequence(Widen(dir.File("cell_t001_z002.png")), false, 0), 1);
    BringUp(one, 0);
    EXPECT_EQ(FrameData(one, 0), Volume(1));
}

TEST(ImageStackSeries, MultiPageTiffPerTimePoint)
{
    if (!HaveImageMagick())
        GTEST_SKIP() << "ImageMagick's convert is not installed";
    TempDir dir;
    for (int t = 0; t < 2; ++t)
        ASSERT_TRUE(MagickFromRaw(Volume(t), kW, kH, 8, "gray", dir.File(StrPrintf("vol_t%02d.tif", t))));
    ImageStackSeries_cls::Layout layout = ImageStackSeries_cls::kLayoutSingle;
    const auto frames = ImageStackSeries_cls::Find(Widen(dir.File("vol_t01.tif")), &layout);
    EXPECT_EQ(layout, ImageStackSeries_cls::kLayoutTiffPages);
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_TRUE(frames[0].strPath2.empty());
    SlotFixture fx;
    ASSERT_EQ(fx.seq.AppendFileSequence(Widen(dir.File("vol_t00.tif")), true, 0), 2);
    for (int t = 0; t < 2; ++t) {
        BringUp(fx.seq, t);
        EXPECT_EQ(FrameData(fx.seq, t), Volume(t)) << "frame " << t;
    }
}

TEST(ImageStackSeries, LoneStacksAndMissingSlices)
{
    TempDir dir;
    // A numbered folder without numbered siblings, and one plain stack: one frame each.
    WriteStack(dir.File("t000"), "s_%02d.png", Volume(0));
    WriteStack(dir.File("plain"), "s_%02d.png", Volume(1));
    for (const std::string& slice : {dir.File("t000/s_01.png"), dir.File("plain/s_03.png")}) {
        ImageStackSeries_cls::Layout layout = ImageStackSeries_cls::kLayoutFolders;
        const auto frames = ImageStackSeries_cls::Find(Widen(slice), &layout);
        EXPECT_EQ(layout, ImageStackSeries_cls::kLayoutSingle) << slice;
        ASSERT_EQ(frames.size(), 1u);
        EXPECT_EQ(Narrow(frames[0].strPath), slice);
    }
    EXPECT_TRUE(ImageStackSeries_cls::Find(Widen(dir.File("plain/s_99.png"))).empty());

    // A missing slice still becomes a frame, whose reading then fails with a message.
    SlotFixture fx;
    ASSERT_EQ(fx.seq.AppendFileSequence(Widen(dir.File("gone/s_00.png")), true, 0), 1);
    EXPECT_EQ(fx.seq.GetFileList()[0].iFormat, DF3_cls::FORMAT_IMGSEQ);
    fx.seq.IdleProcessesMain(0, true, true);
    EXPECT_FALSE(fx.seq.GetDF3(0)->IsAllocated());
}

TEST(ImageStackSeries, CliReportsTheSeriesAndExportsItsIsosurfaces)
{
    TempDir dir;
    const std::string run = dir.File("run");
    for (int t = 0; t < 3; ++t) {
        WriteStack(run + StrPrintf("/t%02d", t), "img_%02d.png", Volume(t));
        const std::vector<uint8_t> v = Volume(t);
        WriteFileBytes(dir.File(StrPrintf("v_%02d.df3", t)), Df3File(kW, kH, kD, v));
    }
    const RunResult info = RunCli("info --series " + Quote(run + "/t01/img_02.png"));
    ASSERT_EQ(info.exitCode, 0) << info.err;
    EXPECT_NE(info.out.find("series:    3 frames (image stacks, folder per time point)"), std::string::npos)
        << info.out;
    EXPECT_NE(info.out.find("  frame 2: " + run + "/t02/img_00.png\n    size:      9 x 7 x 4\n"), std::string::npos)
        << info.out;
    EXPECT_NE(info.out.find("    slices:    4 files: " + run + "/t01/img_00.png .. " + run + "/t01/img_03.png"),
              std::string::npos);
    const RunResult missing = RunCli("info --series " + Quote(run + "/t01/img_09.png"));
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.err.find("no such file"), std::string::npos) << missing.err;
    // A DF3 series is reported the same way, one frame per file.
    const RunResult df3 = RunCli("info --series " + Quote(dir.File("v_01.df3")));
    ASSERT_EQ(df3.exitCode, 0) << df3.err;
    EXPECT_NE(df3.out.find("series:    3 frames (numbered files)"), std::string::npos) << df3.out;
    EXPECT_NE(df3.out.find("  frame 0: " + dir.File("v_00.df3") + "\n    size:      9 x 7 x 4\n    samples:   8-bit\n"),
              std::string::npos)
        << df3.out;

    // The same volumes as image stacks and as DF3 files give the same surfaces, frame by frame.
    const RunResult fromStacks = RunCli("iso --frames 0:2 " + Quote(run + "/t00/img_00.png") + " --level 0.5 --obj " +
                                        Quote(dir.File("a_%d.obj")));
    const RunResult fromDf3 =
        RunCli("iso --frames 0:2 " + Quote(dir.File("v_00.df3")) + " --level 0.5 --obj " + Quote(dir.File("b_%d.obj")));
    ASSERT_EQ(fromStacks.exitCode, 0) << fromStacks.err;
    ASSERT_EQ(fromDf3.exitCode, 0) << fromDf3.err;
    for (int t = 0; t < 3; ++t) {
        const std::string a = ReadFileText(dir.File(StrPrintf("a_%d.obj", t)));
        EXPECT_FALSE(a.empty());
        EXPECT_EQ(a, ReadFileText(dir.File(StrPrintf("b_%d.obj", t)))) << "frame " << t;
        const std::string line = StrPrintf("frame %d: ", t);
        const size_t at = fromStacks.out.find(line);
        ASSERT_NE(at, std::string::npos) << fromStacks.out;
        const std::string counts = fromStacks.out.substr(at, fromStacks.out.find('\n', at) - at);
        EXPECT_NE(fromDf3.out.find(counts), std::string::npos) << counts;
    }
    // Single-frame runs agree with the series.
    const RunResult single = RunCli("iso " + Quote(dir.File("v_01.df3")) + " --level 0.5");
    const size_t tri = single.out.find("triangles: ");
    ASSERT_NE(tri, std::string::npos);
    const std::string n = single.out.substr(tri + 11, single.out.find('\n', tri) - tri - 11);
    EXPECT_NE(fromDf3.out.find("frame 1: " + n + " triangles"), std::string::npos) << fromDf3.out;
}
