#include "IsoTestUtil.h"

#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <regex>
#include <string>

namespace
{

std::string Q(const std::string& s)
{
    return "'" + s + "'";
}

// An 8-bit DF3 file: three big-endian 16-bit sizes, then the voxels.
std::vector<uint8_t> Df3Bytes(const TestVolume& t)
{
    std::vector<uint8_t> f = {static_cast<uint8_t>(t.nx >> 8), static_cast<uint8_t>(t.nx),
                              static_cast<uint8_t>(t.ny >> 8), static_cast<uint8_t>(t.ny),
                              static_cast<uint8_t>(t.nz >> 8), static_cast<uint8_t>(t.nz)};
    for (unsigned char b : t.v)
        f.push_back(b);
    return f;
}

// The number after "label: " on its own line of the report, or -1.
long long Field(const std::string& out, const std::string& label)
{
    std::smatch m;
    if (!std::regex_search(out, m, std::regex("(^|\n)" + label + ": ([0-9]+)\n")))
        return -1;
    return std::stoll(m[2].str());
}

TEST(IsoCli, CountsAndFilesMatchTheLibrary)
{
    TempDir dir;
    // Off-centre in a grid that is not a multiple of 8, so the surface crosses uneven block borders.
    const TestVolume ball = MakeBall(37, 30, 33, 17.4, 14.2, 16.9, 11.3);
    WriteFileBytes(dir.File("ball.df3"), Df3Bytes(ball));

    const RunResult r = RunCli("iso " + Q(dir.File("ball.df3")) + " --level 0.5 --threads 3 --obj " +
                               Q(dir.File("ball.obj")) + " --mesh2 " + Q(dir.File("ball.pov")) + " --name Ball");
    ASSERT_EQ(r.exitCode, 0) << r.err;

    MarchingCube_cls mc;
    ASSERT_TRUE(mc.ThreadControlMain(ball.v.data(), ball.nx, ball.ny, ball.nz, 0.5f,
                                     MarchingCube_cls::kFlagNormals | MarchingCube_cls::kFlagWeldInBlock));
    mc.OptimizeVerticesFull();
    ASSERT_GT(mc.GetFaceNumberOptFull(), 1000u);
    EXPECT_EQ(Field(r.out, "triangles"), static_cast<long long>(mc.GetFaceNumberOptFull())) << r.out;
    EXPECT_EQ(Field(r.out, "vertices unshared"), static_cast<long long>(mc.GetVertexNumber())) << r.out;
    EXPECT_EQ(Field(r.out, "vertices block-welded"), static_cast<long long>(mc.GetVertexNumberOpt())) << r.out;
    EXPECT_EQ(Field(r.out, "vertices fully welded"), static_cast<long long>(mc.GetVertexNumberOptFull())) << r.out;
    EXPECT_NE(r.out.find("(37 x 30 x 33), byte level 127, 3 threads"), std::string::npos) << r.out;
    for (const char* stage : {"read", "extract", "weld-full", "write-mesh2", "write-obj"})
        EXPECT_TRUE(std::regex_search(r.out, std::regex(std::string("\ntime ") + stage + ": [0-9]+\\.[0-9] ms")))
            << stage << "\n"
            << r.out;

    std::string pov, obj;
    mc.GetStrPovMesh2(&pov, L"Ball", L"", true);
    mc.GetStrWaveFrontObj(&obj, true);
    EXPECT_EQ(ReadFileText(dir.File("ball.pov")), pov);
    EXPECT_EQ(ReadFileText(dir.File("ball.obj")), obj);
    EXPECT_NE(pov.find("#declare ISOSURF_Ball=mesh2{"), std::string::npos);
}

TEST(IsoCli, NeverOverwritesAnExistingFile)
{
    TempDir dir;
    const TestVolume ball = MakeBall(16, 16, 16, 7.5, 7.5, 7.5, 4.0);
    WriteFileBytes(dir.File("in.df3"), Df3Bytes(ball));
    const std::vector<uint8_t> old = {'k', 'e', 'e', 'p', '\n', 0, 255};
    WriteFileBytes(dir.File("old.obj"), old);

    const RunResult r = RunCli("iso " + Q(dir.File("in.df3")) + " --level 0.5 --mesh2 " + Q(dir.File("new.pov")) +
                               " --obj " + Q(dir.File("old.obj")));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find(dir.File("old.obj") + ": overwrite forbidden"), std::string::npos) << r.err;
    EXPECT_EQ(ReadFileBytes(dir.File("old.obj")), old);
    EXPECT_FALSE(std::filesystem::exists(dir.File("new.pov"))) << "refused before any work";
    EXPECT_EQ(r.out, "");

    // A dangling link is refused as well: writing through it would create a file elsewhere.
    std::filesystem::create_symlink(dir.File("elsewhere.pov"), dir.File("link.pov"));
    const RunResult link = RunCli("iso " + Q(dir.File("in.df3")) + " --level 0.5 --mesh2 " + Q(dir.File("link.pov")));
    EXPECT_EQ(link.exitCode, 1);
    EXPECT_FALSE(std::filesystem::exists(dir.File("elsewhere.pov")));
}

TEST(IsoCli, UsageErrorsExitTwo)
{
    TempDir dir;
    WriteFileBytes(dir.File("in.df3"), Df3Bytes(MakeBall(8, 8, 8, 3.5, 3.5, 3.5, 2.0)));
    const std::string in = Q(dir.File("in.df3"));
    const std::string bad[] = {
        "iso",
        "iso " + in,
        "iso " + in + " " + in + " --level 0.5",
        "iso " + in + " --level",
        "iso " + in + " --level abc",
        "iso " + in + " --level 0.5x",
        "iso " + in + " --level 1.5",
        "iso " + in + " --level=-0.1",
        "iso " + in + " --level 0.5 --level 0.6",
        "iso " + in + " --level 0.5 --threads 0",
        "iso " + in + " --level 0.5 --threads 17",
        "iso " + in + " --level 0.5 --threads two",
        "iso " + in + " --level 0.5 --name 'a b'",
        "iso " + in + " --level 0.5 --obj " + Q(dir.File("x")) + " --mesh2 " + Q(dir.File("x")),
        "iso " + in + " --level 0.5 --bogus",
    };
    for (const std::string& args : bad) {
        const RunResult r = RunCli(args);
        EXPECT_EQ(r.exitCode, 2) << args;
        EXPECT_NE(r.err.find("Try 'tessan-cli iso --help'"), std::string::npos) << args << "\n" << r.err;
    }
    // Nothing but the input is left in the folder.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), std::filesystem::directory_iterator()), 1);

    const RunResult help = RunCli("iso --help");
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.out.rfind("Usage: tessan-cli iso IN.df3 --level L", 0), 0u) << help.out;
    EXPECT_NE(help.out.find("--threads N"), std::string::npos);
    EXPECT_NE(RunCli("--help").out.find("  iso "), std::string::npos);
    // The accepted forms of a level.
    for (const char* level : {"0", "1", ".5", "5e-1", "0.50"})
        EXPECT_EQ(RunCli("iso " + in + " --level " + level).exitCode, 0) << level;
}

TEST(IsoCli, UnreadableInputExitsOneWithTheReadersMessage)
{
    TempDir dir;
    // Header says 4 x 4 x 4 but only 10 samples follow.
    std::vector<uint8_t> truncated = {0, 4, 0, 4, 0, 4};
    truncated.resize(16, 7);
    WriteFileBytes(dir.File("short.df3"), truncated);
    const RunResult r = RunCli("iso " + Q(dir.File("short.df3")) + " --level 0.5 --obj " + Q(dir.File("o.obj")));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("File Size Inconsistency"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("cannot read " + dir.File("short.df3")), std::string::npos) << r.err;
    EXPECT_FALSE(std::filesystem::exists(dir.File("o.obj")));

    const RunResult missing = RunCli("iso " + Q(dir.File("none.df3")) + " --level 0.5");
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.err.find("can not open"), std::string::npos) << missing.err;

    // Readable but too thin for a single cube.
    TestVolume flat(5, 5, 1, 9);
    WriteFileBytes(dir.File("flat.df3"), Df3Bytes(flat));
    const RunResult thin = RunCli("iso " + Q(dir.File("flat.df3")) + " --level 0.5");
    EXPECT_EQ(thin.exitCode, 1);
    EXPECT_NE(thin.err.find("at least 2 voxels"), std::string::npos) << thin.err;
}

} // namespace
