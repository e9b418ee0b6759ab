#include "ImgStackTestUtil.h"
#include "volume/VolumeTestUtil.h"

#include <filesystem>

namespace
{

TEST(ImgStackCli, ConvertReadsImageStacksAndTextVolumesByExtension)
{
    ASSERT_TRUE(HaveImageMagick());
    TempDir dir;
    const uint32_t w = 5, h = 3, n = 4;
    const auto samples = PatternBytes(w * h * n * 2, 8);
    for (uint32_t z = 0; z < n; ++z)
        ASSERT_TRUE(
            MagickFromRaw(Slices(samples, w * h * 2, z, 1), w, h, 16, "gray", dir.File(StrPrintf("s_%u.tif", z))));
    const RunResult r = RunCli("convert " + Quote(dir.File("s_2.tif")) + " " + Quote(dir.File("s.df3")));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out,
              dir.File("s_2.tif") + " (5 x 3 x 4, 16-bit TIFF) -> " + dir.File("s.df3") + " (5 x 3 x 4, 8-bit)\n");
    EXPECT_EQ(ReadFileBytes(dir.File("s.df3")), Df3File(w, h, n, HighBytes(samples)));

    // A sub-range of the slices, and down-sizing on the way.
    const RunResult part = RunCli("convert --last " + Quote(dir.File("s_2.tif")) + " --downsize 2,1,1 " +
                                  Quote(dir.File("s_1.tif")) + " " + Quote(dir.File("part.df3")));
    ASSERT_EQ(part.exitCode, 0) << part.err;
    std::vector<uint8_t> expected;
    const auto high = HighBytes(samples);
    for (uint32_t z = 1; z <= 2; ++z)
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t x = 0; x < w / 2; ++x)
                expected.push_back(high[(z * h + y) * w + 2 * x]);
    EXPECT_EQ(ReadFileBytes(dir.File("part.df3")), Df3File(2, 3, 2, expected));

    WriteFileText(dir.File("t.dat"), "2 1 2\n10 20\n30 40\n");
    const RunResult t = RunCli("convert " + Quote(dir.File("t.dat")) + " " + Quote(dir.File("t.df3")));
    ASSERT_EQ(t.exitCode, 0) << t.err;
    EXPECT_EQ(t.out, dir.File("t.dat") + " (2 x 1 x 2, text, values 10 .. 40) -> " + dir.File("t.df3") +
                         " (2 x 1 x 2, 8-bit)\n");
    EXPECT_EQ(ReadFileBytes(dir.File("t.df3")), Df3File(2, 1, 2, {0, 85, 170, 255}));

    WriteFileText(dir.File("bad.txt"), "2 1 1\n1 x\n");
    const RunResult bad = RunCli("convert " + Quote(dir.File("bad.txt")) + " " + Quote(dir.File("bad.df3")));
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_NE(bad.err.find("Line 2, column 3: \"x\" is not a number"), std::string::npos) << bad.err;
    EXPECT_FALSE(std::filesystem::exists(dir.File("bad.df3")));
}

TEST(ImgStackCli, ConvertWritesPngSlicesAndNeverOverwritesThem)
{
    ASSERT_TRUE(HaveImageMagick());
    TempDir dir;
    const auto voxels = PatternBytes(4 * 3 * 2, 6);
    WriteFileBytes(dir.File("v.df3"), Df3File(4, 3, 2, voxels));
    const std::string out = dir.File("cuts/");
    const RunResult r = RunCli("convert --slices x " + Quote(dir.File("v.df3")) + " " + Quote(out));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, dir.File("v.df3") + " (4 x 3 x 2, 8-bit) -> 4 PNG slices across X (3 x 2, 8-bit): " + out +
                         "slice_0000.png .. " + out + "slice_0003.png\n");
    // Slice x = 1 across X: 3 columns (y) and 2 rows (z), as ImageMagick decodes it.
    std::vector<uint8_t> expected;
    for (uint32_t z = 0; z < 2; ++z)
        for (uint32_t y = 0; y < 3; ++y)
            expected.push_back(voxels[(y + z * 3) * 4 + 1]);
    EXPECT_EQ(MagickGrey(out + "slice_0001.png"), expected);

    const RunResult again = RunCli("convert --slices x " + Quote(dir.File("v.df3")) + " " + Quote(out));
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_NE(again.err.find("slice_0000.png overwrite forbidden"), std::string::npos) << again.err;

    // A pattern with its own numbering, and the stack read back through info.
    const RunResult z = RunCli("convert --slices Z " + Quote(dir.File("v.df3")) + " " + Quote(dir.File("z%02d.png")));
    ASSERT_EQ(z.exitCode, 0) << z.err;
    const RunResult info = RunCli("info " + Quote(dir.File("z01.png")));
    ASSERT_EQ(info.exitCode, 0) << info.err;
    EXPECT_EQ(info.out.rfind(dir.File("z01.png") +
                                 "\n  size:      4 x 3 x 2\n  samples:   8-bit PNG\n  slices:    2 files: " +
                                 dir.File("z00.png") + " .. " + dir.File("z01.png") + "\n",
                             0),
              0u)
        << info.out;
}

TEST(ImgStackCli, UsageErrors)
{
    TempDir dir;
    WriteFileBytes(dir.File("v.df3"), Df3File(1, 1, 1, {1}));
    const std::string in = Quote(dir.File("v.df3"));
    for (const std::string& args :
         {"convert --slices w " + in + " o/", "convert --slices x,y " + in + " o/",
          "convert --slices x --double x " + in + " o/", "convert --last " + in + " " + in + " o.df3"}) {
        const RunResult r = RunCli(args);
        EXPECT_EQ(r.exitCode, 2) << args;
        EXPECT_NE(r.err.find("Try 'tessan-cli convert --help'"), std::string::npos) << r.err;
    }
    const RunResult help = RunCli("convert --help");
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("--slices AXIS"), std::string::npos);
}

} // namespace
