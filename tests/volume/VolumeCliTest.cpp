#include "VolumeTestUtil.h"

#include "filter/MultiThreadCtrl_cls.h"
#include "volume/DemoVolume_cls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

namespace
{

std::string Q(const std::string& s)
{
    return "'" + s + "'";
}

// Lines of stdout that are not the 16-bit conversion trace.
std::string WithoutTrace(const std::string& out)
{
    std::string kept, line;
    for (char c : out) {
        line += c;
        if (c == '\n') {
            if (line.rfind("buffersize=", 0) != 0)
                kept += line;
            line.clear();
        }
    }
    return kept + line;
}

TEST(VolumeCli, InfoReportsEveryReadableFile)
{
    TempDir dir;
    // Densities 0 (x5), 4, 255: min 0, max 255, mean 259/7 = 37.000.
    WriteFileBytes(dir.File("a.df3"), Df3File(7, 1, 1, {0, 0, 0, 0, 0, 4, 255}));
    WriteFileBytes(dir.File("bad.df3"), Df3File(2, 2, 2, {1, 2, 3}));
    const RunResult r =
        RunCli("info " + Q(dir.File("a.df3")) + " " + Q(dir.File("bad.df3")) + " " + Q(dir.File("a.df3")));
    EXPECT_EQ(r.exitCode, 1);
    const std::string block = dir.File("a.df3") +
                              "\n"
                              "  size:      7 x 1 x 1\n"
                              "  samples:   8-bit\n"
                              "  min:       0\n"
                              "  max:       255\n"
                              "  mean:      37.000\n"
                              // column 0 holds 5, column 1 holds 1 and column 63 holds 1:
                              // log(2)/log(6) of full height rounds up to 4 of 8.
                              "  histogram: |\u2588\u2584" +
                              std::string(61, ' ') + "\u2584|\n";
    EXPECT_EQ(r.out, block + block);
    EXPECT_NE(r.err.find("File Size Inconsistency"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("Filesize = 9 : Expected size = 14"), std::string::npos) << r.err;

    // 16-bit samples are counted by their high byte; the reader's trace stays out of the report.
    WriteFileBytes(dir.File("w16.df3"), Df3File(2, 1, 1, {0x80, 0xFF, 0x10, 0x00}));
    const RunResult sixteen = RunCli("info " + Q(dir.File("w16.df3")));
    EXPECT_EQ(sixteen.exitCode, 0);
    EXPECT_NE(sixteen.out.find("buffersize=1, 0\n"), std::string::npos) << sixteen.out;
    const std::string report = WithoutTrace(sixteen.out);
    EXPECT_EQ(report.rfind(dir.File("w16.df3") + "\n  size:      2 x 1 x 1\n  samples:   16-bit\n  min:       16\n"
                                                 "  max:       128\n  mean:      72.000\n",
                           0),
              0u)
        << report;
    EXPECT_EQ(RunCli("info").exitCode, 2);
    EXPECT_EQ(RunCli("info --bogus x").exitCode, 2);
    const RunResult help = RunCli("info --help");
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.out.rfind("Usage: tessan-cli info [--series] FILE...", 0), 0u);
}

TEST(VolumeCli, ConvertKeepsTheHighBytesOfSixteenBitSamples)
{
    TempDir dir;
    const auto body16 = PatternBytes(5 * 4 * 3 * 2, 21);
    WriteFileBytes(dir.File("in16.df3"), Df3File(5, 4, 3, body16));
    const RunResult r = RunCli("convert " + Q(dir.File("in16.df3")) + " " + Q(dir.File("out8.df3")));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    std::vector<uint8_t> high;
    for (size_t i = 0; i < body16.size(); i += 2)
        high.push_back(body16[i]);
    EXPECT_EQ(ReadFileBytes(dir.File("out8.df3")), Df3File(5, 4, 3, high));
    EXPECT_NE(WithoutTrace(r.out).find("(5 x 4 x 3, 16-bit)"), std::string::npos) << r.out;

    // The 8-bit result reads back and converts to itself.
    ASSERT_EQ(RunCli("convert " + Q(dir.File("out8.df3")) + " " + Q(dir.File("again.df3"))).exitCode, 0);
    EXPECT_EQ(ReadFileBytes(dir.File("again.df3")), ReadFileBytes(dir.File("out8.df3")));
}

TEST(VolumeCli, ConvertRefusesAnExistingOutput)
{
    TempDir dir;
    WriteFileBytes(dir.File("in.df3"), Df3File(2, 2, 2, PatternBytes(8, 1)));
    WriteFileText(dir.File("out.df3"), "keep");
    const RunResult r = RunCli("convert " + Q(dir.File("in.df3")) + " " + Q(dir.File("out.df3")));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find(dir.File("out.df3") + " overwrite forbidden"), std::string::npos) << r.err;
    EXPECT_EQ(ReadFileText(dir.File("out.df3")), "keep");

    // A bad input fails without creating the output.
    const RunResult missing = RunCli("convert " + Q(dir.File("none.df3")) + " " + Q(dir.File("new.df3")));
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_FALSE(std::filesystem::exists(dir.File("new.df3")));
}

TEST(VolumeCli, ConvertDownSizesAndDoubles)
{
    TempDir dir;
    std::vector<uint8_t> body;
    for (int i = 0; i < 6 * 4 * 2; ++i)
        body.push_back(uint8_t(i));
    WriteFileBytes(dir.File("in.df3"), Df3File(6, 4, 2, body));

    ASSERT_EQ(RunCli("convert --downsize 2,2,1 " + Q(dir.File("in.df3")) + " " + Q(dir.File("small.df3"))).exitCode, 0);
    // Nearest samples at x = 0, 2, 4 and y = 0, 2.
    EXPECT_EQ(ReadFileBytes(dir.File("small.df3")), Df3File(3, 2, 2, {0, 2, 4, 12, 14, 16, 24, 26, 28, 36, 38, 40}));

    ASSERT_EQ(RunCli("convert --double=x " + Q(dir.File("in.df3")) + " " + Q(dir.File("wide.df3"))).exitCode, 0);
    const auto wide = ReadFileBytes(dir.File("wide.df3"));
    ASSERT_EQ(wide.size(), 6u + 12 * 4 * 2);
    EXPECT_EQ(std::vector<uint8_t>(wide.begin() + 6, wide.begin() + 18),
              (std::vector<uint8_t>{3, 2, 1, 0, 1, 2, 3, 4, 5, 255, 255, 255}));

    EXPECT_EQ(RunCli("convert --downsize 0 " + Q(dir.File("in.df3")) + " " + Q(dir.File("x.df3"))).exitCode, 2);
    EXPECT_EQ(RunCli("convert --double w " + Q(dir.File("in.df3")) + " " + Q(dir.File("x.df3"))).exitCode, 2);
    EXPECT_EQ(RunCli("convert " + Q(dir.File("in.df3"))).exitCode, 2);
    EXPECT_FALSE(std::filesystem::exists(dir.File("x.df3")));
}

// FNV-1a over the bytes of every file, in order.
uint64_t Checksum(const std::vector<std::string>& files)
{
    uint64_t h = 1469598103934665603ull;
    for (const std::string& f : files)
        for (uint8_t b : ReadFileBytes(f)) {
            h ^= b;
            h *= 1099511628211ull;
        }
    return h;
}

TEST(VolumeCli, SampleDataIsDeterministicAndNeverOverwritten)
{
    TempDir dir;
    const std::string target = dir.File("nested/demo");
    const RunResult r = RunCli("sample " + Q(target));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto files = DemoVolume_cls::FileNames(target);
    ASSERT_EQ(files.size(), 25u);
    EXPECT_EQ(files[0], target + "/demo_0000.df3");
    EXPECT_EQ(files[23], target + "/demo_0023.df3");
    for (size_t i = 0; i < 24; ++i)
        EXPECT_EQ(std::filesystem::file_size(files[i]), 128u * 128 * 128 + 6) << files[i];
    EXPECT_EQ(std::filesystem::file_size(files[24]), 2u * 128 * 128 * 128 + 6);
    // Computed once from the generator (the same with GCC -O0 and with GCC and Clang at -O2/-O3
    // with FMA and -ffp-contract=fast); any change to the maths or the layout changes it.
    EXPECT_EQ(Checksum(files), 0x2fffd79daa204a7aull);

    // The 16-bit frame's high bytes are within one step of the 8-bit frame 0 (one is rounded from
    // the density, the other truncated from the 16-bit sample).
    const auto f0 = ReadFileBytes(files[0]), f16 = ReadFileBytes(files[24]);
    int maxDiff = 0;
    for (size_t i = 6; i < f0.size(); ++i)
        maxDiff = std::max(maxDiff, std::abs(int(f0[i]) - int(f16[6 + 2 * (i - 6)])));
    EXPECT_LE(maxDiff, 1);
    // The frames move, and they use most of the density range.
    EXPECT_NE(ReadFileBytes(files[0]), ReadFileBytes(files[5]));
    const RunResult info = RunCli("info " + Q(files[5]));
    EXPECT_NE(info.out.find("  min:       0\n"), std::string::npos);
    EXPECT_NE(info.out.find("  max:       25"), std::string::npos) << info.out;

    const auto before = ReadFileBytes(files[3]);
    const RunResult again = RunCli("sample " + Q(target));
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_NE(again.err.find("overwrite forbidden"), std::string::npos);
    EXPECT_EQ(ReadFileBytes(files[3]), before);

    // Half-present sets are refused as a whole: nothing new is written.
    std::filesystem::remove(files[7]);
    EXPECT_EQ(RunCli("sample " + Q(target)).exitCode, 1);
    EXPECT_FALSE(std::filesystem::exists(files[7]));
    EXPECT_EQ(RunCli("sample").exitCode, 2);
}

TEST(VolumeCli, DeterministicMathsFollowsTheLibrary)
{
    for (double x : {0.0, -1e-9, -0.3, -1.0, -5.5, -17.0, -39.9})
        EXPECT_NEAR(DemoVolume_cls::DetExp(x), std::exp(x), 1e-13 * std::exp(x) + 1e-300) << x;
    EXPECT_EQ(DemoVolume_cls::DetExp(-40.5), 0.0);
    for (double x : {0.0, 0.5, -1.0, 3.0, 3.14159, 6.0, 12.5, -20.0})
        EXPECT_NEAR(DemoVolume_cls::DetSin(x), std::sin(x), 1e-13) << x;
    for (double x : {0.0, 1.0, 2.5, -4.0, 9.0})
        EXPECT_NEAR(DemoVolume_cls::DetCos(x), std::cos(x), 1e-13) << x;

    // Frame contents do not depend on the number of workers.
    MultiThreadCtrl_cls one, three;
    one.SetThreadNum(1);
    three.SetThreadNum(3);
    std::vector<uint8_t> a, b;
    DemoVolume_cls::MakeFrame(9, 1, a, one);
    DemoVolume_cls::MakeFrame(9, 1, b, three);
    EXPECT_EQ(a, b);
    // The series loops: the step after the last frame would be frame 0 again.
    EXPECT_NEAR(DemoVolume_cls::Density(DemoVolume_cls::kFrames, 40, 70, 64), DemoVolume_cls::Density(0, 40, 70, 64),
                1e-9);
}

} // namespace
