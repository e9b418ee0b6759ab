// Rendering through GNU Parallel and Slurm: the farm's pictures equal the plain render's, a
// resumed run renders exactly the missing frames, and the Slurm array script renders the frame
// of its task and skips a frame already rendered.
#include "cli/CliTestUtil.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

namespace
{

namespace fs = std::filesystem;

struct FarmFixture : public SampleSeriesFixture {
    std::string mProject;

    void SetUp() override
    {
        ASSERT_TRUE(fs::exists(DataDir() / "demo_0023.df3")) << "the sample was not written";
        mProject = WriteSampleProject(mDir, DataDir(), 24, L"PovWorkThread=3\n");
    }
    std::string Dir(const std::string& name) const { return mDir.File(name); }
    static std::string Png(int frame) { return StrPrintf("povanim%04d.png", frame); }
};

bool HaveTools()
{
    return IsPovRayAvailable() && RunCommand("parallel --version").exitCode == 0 &&
           RunCommand("convert -version").exitCode == 0;
}

TEST_F(FarmFixture, ParallelMatchesThePlainRenderAndResumesOnlyMissingFrames)
{
    if (!HaveTools())
        GTEST_SKIP() << "POV-Ray, GNU Parallel or ImageMagick missing";
    const std::string pov = " --povray " + PovRayPath();
    RunResult r = RunCli("render " + mProject + " --jobs 2 --workdir " + Dir("plain") + pov);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    WriteFileText(Dir("hosts"), ":\n:\n");
    r = RunCli("render " + mProject + " --farm parallel --hosts " + Dir("hosts") + " --workdir " + Dir("farm") + pov);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("rendered 24 frames through GNU Parallel"), std::string::npos) << r.out;
    for (int f = 0; f < 24; ++f) {
        const PovImage a = ReadPicture(Dir("plain") + "/" + Png(f)), b = ReadPicture(Dir("farm") + "/" + Png(f));
        ASSERT_TRUE(a.Valid() && b.Valid()) << Png(f);
        EXPECT_EQ(a.vData, b.vData) << Png(f);
    }

    // Three pictures lost: a resumed run renders exactly those.
    std::map<int, fs::file_time_type> before;
    for (int f = 0; f < 24; ++f)
        before[f] = fs::last_write_time(Dir("farm") + "/" + Png(f));
    for (int f : {3, 11, 20})
        fs::remove(Dir("farm") + "/" + Png(f));
    r = RunCli("render " + mProject + " --farm parallel --resume --hosts " + Dir("hosts") + " --workdir " +
               Dir("farm") + pov);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    for (int f = 0; f < 24; ++f) {
        ASSERT_TRUE(fs::exists(Dir("farm") + "/" + Png(f))) << Png(f);
        const bool redone = f == 3 || f == 11 || f == 20;
        EXPECT_EQ(fs::last_write_time(Dir("farm") + "/" + Png(f)) != before[f], redone) << Png(f);
    }
    EXPECT_EQ(ReadPicture(Dir("farm") + "/" + Png(11)).vData, ReadPicture(Dir("plain") + "/" + Png(11)).vData);
}

TEST_F(FarmFixture, ParallelNamesAFailingFrame)
{
    if (RunCommand("parallel --version").exitCode != 0)
        GTEST_SKIP() << "GNU Parallel missing";
    const std::string fake = mDir.File("fake-povray");
    WriteFileText(fake, "#!/bin/sh\ncase \"$1\" in *0002.ini) exit 2;; esac\nexit 0\n");
    fs::permissions(fake, fs::perms::owner_all);
    const RunResult r = RunCli("render " + mProject + " --frames 0:3 --farm parallel --jobs 2 --povray " + fake +
                               " --workdir " + Dir("w"));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("POV-Ray failed on povanim0002.ini"), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find("povanim0001.ini"), std::string::npos) << r.err;
}

TEST_F(FarmFixture, SlurmScriptRendersTheFrameOfItsTask)
{
    RunResult r = RunCli("export " + mProject + " --farm slurm --limit 4 --povray " + PovRayPath() + " --workdir " +
                         Dir("slurm"));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::string script = Dir("slurm") + "/RenderSlurm.sh";
    EXPECT_NE(r.out.find("sbatch '" + fs::absolute(script).string() + "'"), std::string::npos) << r.out;
    const std::string text = ReadFileText(script);
    EXPECT_NE(text.find("#SBATCH --array=0-23%4\n"), std::string::npos) << text;
    EXPECT_NE(text.find("#SBATCH --cpus-per-task=3\n"), std::string::npos) << text;
    EXPECT_NE(text.find("slurm-%A_%a.log"), std::string::npos) << text;
    EXPECT_EQ(RunCommand("bash -n '" + script + "'").exitCode, 0);
    // Outside Slurm the script refuses to guess a frame.
    EXPECT_NE(RunCommand("bash '" + script + "'").exitCode, 0);
    if (!IsPovRayAvailable())
        GTEST_SKIP() << "POV-Ray not installed";
    r = RunCommand("SLURM_ARRAY_TASK_ID=5 bash '" + script + "'");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    for (int f = 0; f < 24; ++f)
        EXPECT_EQ(fs::exists(Dir("slurm") + "/" + Png(f)), f == 5) << Png(f);
    // A task whose picture exists does nothing.
    r = RunCommand("SLURM_ARRAY_TASK_ID=5 bash '" + script + "'");
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_NE(r.out.find("exists, skipped"), std::string::npos) << r.out;
}

} // namespace
