// tessan-cli export and render on a project of the bundled sample: the files an export writes,
// the refusal to overwrite them, several POV-Ray runs side by side, a snapshot, and a failing
// ray tracer named by its frame.
#include "cli/CliTestUtil.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;

struct CliRenderFixture : public SampleSeriesFixture {
    std::string mProject;

    void SetUp() override
    {
        ASSERT_TRUE(fs::exists(DataDir() / "demo_0002.df3")) << "the sample was not written";
        mProject = WriteSampleProject(mDir, DataDir(), 3);
    }
    std::string Work() const { return mDir.File("work"); }
    bool Exists(const std::string& name) const { return fs::exists(fs::path(Work()) / name); }
};

TEST_F(CliRenderFixture, ExportWritesTheFramesAndRefusesToOverwrite)
{
    RunResult r = RunCli("export " + mProject + " --frames 0:2 --workdir " + Work());
    ASSERT_EQ(r.exitCode, 0) << r.err;
    for (const char* name : {"povanim0000.pov", "povanim0000.ini", "povanim0000_BOX0.df3", "povanim0001.pov",
                             "povanim0002.pov", "povanim0002.ini", "povanim0002_BOX0.df3", "RenderAnim.sh"})
        EXPECT_TRUE(Exists(name)) << name;
    EXPECT_FALSE(Exists("povanim0003.pov"));
    EXPECT_EQ(ReadFileText(Work() + "/RenderAnim.sh").rfind("trap ctrl_c INT\n", 0), 0u);
    const std::string ini = ReadFileText(Work() + "/povanim0001.ini");
    EXPECT_NE(ini.find("Input_File_Name=\"" + fs::absolute(Work()).string() + "/povanim0001.pov\""), std::string::npos);
    EXPECT_NE(ini.find("Width=48\nHeight=36\n"), std::string::npos);
    // The down-sized frame (32^3) padded by one sample each side.
    EXPECT_EQ(ReadFileBytes(Work() + "/povanim0001_BOX0.df3").size(), 6u + 34u * 34u * 34u);

    // A second export would replace them: refused, nothing touched.
    WriteFileText(Work() + "/povanim0001.pov", "edited by hand");
    r = RunCli("export " + mProject + " --frames 0:2 --workdir " + Work());
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("exists"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("--overwrite"), std::string::npos) << r.err;
    EXPECT_EQ(ReadFileText(Work() + "/povanim0001.pov"), "edited by hand");
    r = RunCli("export " + mProject + " --frames 0:2 --workdir " + Work() + " --overwrite");
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(ReadFileText(Work() + "/povanim0001.pov"), "edited by hand");
}

TEST_F(CliRenderFixture, UsageAndReadErrors)
{
    EXPECT_EQ(RunCli("export " + mProject + " --frames 3:1").exitCode, 2);
    EXPECT_EQ(RunCli("export " + mProject + " --frames x").exitCode, 2);
    EXPECT_EQ(RunCli("export").exitCode, 2);
    EXPECT_EQ(RunCli("render " + mProject + " --jobs 0").exitCode, 2);
    EXPECT_EQ(RunCli("render " + mProject + " --snapshot 1 --frames 0:1").exitCode, 2);
    const RunResult missing = RunCli("export " + mDir.File("none.vsp") + " --workdir " + Work());
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.err.find("none.vsp"), std::string::npos) << missing.err;
}

TEST_F(CliRenderFixture, RenderThreeFramesTwoAtATime)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed";
    const RunResult r =
        RunCli("render " + mProject + " --frames 0:2 --jobs 2 --povray " + PovRayPath() + " --workdir " + Work());
    ASSERT_EQ(r.exitCode, 0) << r.err << r.out;
    for (const char* name : {"povanim0000.png", "povanim0001.png", "povanim0002.png"})
        EXPECT_TRUE(Exists(name)) << name;
    // Not a terminal: one plain line per finished frame.
    EXPECT_NE(r.out.find("3/3"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("rendered 3 frames"), std::string::npos) << r.out;
    EXPECT_EQ(r.err.find("\r"), std::string::npos);
    EXPECT_TRUE(Exists("povanim0001.log"));
}

TEST_F(CliRenderFixture, SnapshotRendersOneFrame)
{
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed";
    const RunResult r =
        RunCli("render " + mProject + " --snapshot 1 --povray " + PovRayPath() + " --workdir " + Work());
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(Exists("povsnap0001.png"));
    EXPECT_FALSE(Exists("povanim0001.pov"));
    // The picture is not blank: the sample glows in the middle.
    const PovImage image = ReadPicture(Work() + "/povsnap0001.png");
    if (image.Valid()) {
        const auto px = image.Pixel(image.width / 2, image.height / 2);
        EXPECT_GT(px[0] + px[1] + px[2], 0.05);
    }
}

TEST_F(CliRenderFixture, FailingRayTracerNamesTheFrame)
{
    // Stands in for POV-Ray: fails on the second frame only.
    const std::string fake = mDir.File("fake-povray");
    WriteFileText(fake, "#!/bin/sh\ncase \"$1\" in *0001.ini) echo 'Parse Error: broken' >&2; exit 3;; esac\nexit 0\n");
    chmod(fake.c_str(), 0755);
    const RunResult r = RunCli("render " + mProject + " --frames 0:2 --povray " + fake + " --workdir " + Work());
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("POV-Ray failed on frame 1 (povanim0001.ini), exit status 3"), std::string::npos) << r.err;
    EXPECT_NE(ReadFileText(Work() + "/povanim0001.log").find("Parse Error: broken"), std::string::npos);
    // Frames after the failure are not started.
    EXPECT_EQ(r.out.find("frame 2 "), std::string::npos) << r.out;
}

} // namespace

namespace
{

// On a terminal the render shows one updating bar with frame count, time spent and time left.
TEST_F(CliRenderFixture, ProgressBarOnATerminal)
{
    if (RunCommand("script --version").exitCode != 0)
        GTEST_SKIP() << "script(1) missing";
    const std::string render = std::string("'") + TESSAN_CLI_PATH + "' render " + mProject +
                               " --frames 0:2 --povray /bin/true --workdir " + Work();
    const RunResult r = RunCommand("script -qec \"" + render + "\" /dev/null");
    ASSERT_EQ(r.exitCode, 0) << r.out << r.err;
    EXPECT_NE(r.out.find("\r"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("] frame 3/3  elapsed "), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("  left "), std::string::npos) << r.out;
    // No plain per-frame lines on a terminal.
    EXPECT_EQ(r.out.find(" rendered, "), std::string::npos) << r.out;
}

} // namespace
