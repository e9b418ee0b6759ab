// Rendering through GNU Parallel and Slurm: the farm's pictures equal the plain render's, a
// resumed run renders exactly the missing frames, files sent to stand-in ssh hosts (each its own
// folder tree, reached through Parallel's --ssh) render the same pictures and leave nothing
// there, and the Slurm array script renders the frame of its task and skips a frame already
// rendered.
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
    // Frame 2 fails; frame 1 ends well but writes no picture; frames 0 and 3 render.
    const std::string fake = mDir.File("fake-povray");
    WriteFileText(fake, "#!/bin/sh\ncase \"$1\" in *0002.ini) exit 2;; *0001.ini) exit 0;; esac\n"
                        "touch \"${1%.ini}.png\"\n");
    fs::permissions(fake, fs::perms::owner_all);
    const RunResult r = RunCli("render " + mProject + " --frames 0:3 --farm parallel --jobs 2 --povray " + fake +
                               " --workdir " + Dir("w"));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("POV-Ray failed on povanim0002.ini"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("povanim0001.ini brought no picture back"), std::string::npos) << r.err;
    for (const char* good : {"povanim0000.ini", "povanim0003.ini"}) {
        EXPECT_EQ(r.err.find(std::string("failed on ") + good), std::string::npos) << r.err;
        EXPECT_EQ(r.err.find(std::string(good) + " brought"), std::string::npos) << r.err;
    }
    EXPECT_EQ(r.out.find("rendered"), std::string::npos) << r.out;
}

// An ssh stand-in: every host is a folder under FAKE_ROOT, its home and login folder, so rsync
// really copies between separate file trees and Parallel's clean-up really removes files there.
// Like an ssh login it sets SHELL, which Parallel's remote worker runs the job with.
const char kFakeSsh[] = "#!/bin/bash\n"
                        "while [ $# -gt 0 ]; do\n"
                        "  case \"$1\" in\n"
                        "    -[BbcDEeFIiJLlmOopQRSWw]) shift 2 ;;\n"
                        "    --) shift; break ;;\n"
                        "    -*) shift ;;\n"
                        "    *) break ;;\n"
                        "  esac\n"
                        "done\n"
                        "host=$1; shift\n"
                        "[ \"${1:-}\" = \"--\" ] && shift\n"
                        "mkdir -p \"$FAKE_ROOT/$host\"\n"
                        "cd \"$FAKE_ROOT/$host\" && HOME=\"$FAKE_ROOT/$host\" SHELL=/bin/bash exec bash -c \"$*\"\n";

std::vector<std::string> FilesUnder(const std::string& dir)
{
    std::vector<std::string> files;
    for (const auto& e : fs::recursive_directory_iterator(dir))
        if (!e.is_directory())
            files.push_back(e.path().string());
    return files;
}

TEST_F(FarmFixture, TransferSendsEachFramesFilesToTheHostsAndLeavesNothingThere)
{
    if (!HaveTools() || RunCommand("rsync --version").exitCode != 0)
        GTEST_SKIP() << "POV-Ray, GNU Parallel, ImageMagick or rsync missing";
    const std::string pov = " --povray " + PovRayPath();
    const std::string ssh = mDir.File("fake-ssh");
    WriteFileText(ssh, kFakeSsh);
    fs::permissions(ssh, fs::perms::owner_all);
    const std::string root = mDir.File("hosts");
    fs::create_directories(root);
    setenv("FAKE_ROOT", root.c_str(), 1);
    WriteFileText(Dir("hostfile"), "1/nodeA\n1/nodeB\n");

    // Eight frames; each sends its option file, scene and density file.
    const std::string project = WriteSampleProject(mDir, DataDir(), 8, L"PovWorkThread=1\n");
    RunResult r = RunCli("render " + project + " --frames 0:7 --jobs 2 --workdir " + Dir("plain") + pov);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    r = RunCli("render " + project + " --frames 0:7 --farm parallel --transfer --hosts " + Dir("hostfile") + " --ssh " +
               ssh + " --workdir " + Dir("farm") + pov);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("rendered 8 frames through GNU Parallel"), std::string::npos) << r.out;
    // The scenes name no folder of this machine.
    const std::string ini = ReadFileText(Dir("farm") + "/" + StrPrintf("povanim%04d.ini", 5));
    EXPECT_NE(ini.find("Input_File_Name=\"povanim0005.pov\""), std::string::npos) << ini;
    EXPECT_EQ(ini.find(Dir("farm")), std::string::npos) << ini;
    EXPECT_EQ(ReadFileText(Dir("farm") + "/povanim0005.pov").find(Dir("farm")), std::string::npos);
    for (int f = 0; f < 8; ++f) {
        const PovImage a = ReadPicture(Dir("plain") + "/" + Png(f)), b = ReadPicture(Dir("farm") + "/" + Png(f));
        ASSERT_TRUE(a.Valid() && b.Valid()) << Png(f);
        EXPECT_EQ(a.vData, b.vData) << Png(f);
        EXPECT_TRUE(fs::exists(Dir("farm") + StrPrintf("/povanim%04d.log", f))) << "the log came back";
    }
    // Every job ran on a stand-in host, and --cleanup took everything away there.
    const std::string log = ReadFileText(Dir("farm") + "/render.joblog");
    EXPECT_EQ(log.find("\t:\t"), std::string::npos) << log;
    EXPECT_NE(log.find("\tnodeA\t"), std::string::npos) << log;
    EXPECT_NE(log.find("\tnodeB\t"), std::string::npos) << log;
    EXPECT_EQ(FilesUnder(root), std::vector<std::string>());

    // Resuming finds out by itself that the scenes travel; this machine may take part too.
    fs::remove(Dir("farm") + "/" + Png(6));
    WriteFileText(Dir("hostfile"), "1/:\n1/nodeB\n");
    r = RunCli("render " + project + " --frames 0:7 --farm parallel --resume --hosts " + Dir("hostfile") + " --ssh " +
               ssh + " --workdir " + Dir("farm") + pov);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(ReadPicture(Dir("farm") + "/" + Png(6)).vData, ReadPicture(Dir("plain") + "/" + Png(6)).vData);
    EXPECT_EQ(FilesUnder(root), std::vector<std::string>());
    unsetenv("FAKE_ROOT");
}

TEST_F(FarmFixture, ParallelOptionsAreCheckedAndExportWritesTheScript)
{
    RunResult r = RunCli("render " + mProject + " --transfer --workdir " + Dir("w"));
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_NE(r.err.find("need --farm parallel"), std::string::npos) << r.err;
    r = RunCli("export " + mProject + " --farm slurm --transfer --workdir " + Dir("w"));
    EXPECT_EQ(r.exitCode, 2);
    r = RunCli("export " + mProject + " --farm parallel --limit 3 --workdir " + Dir("w"));
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_FALSE(fs::exists(Dir("w") + "/povanim0000.pov"));

    r = RunCli("export " + mProject + " --frames 0:2 --farm parallel --transfer --jobs 4 --workdir " + Dir("w"));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::string script = fs::absolute(Dir("w") + "/RenderParallel.sh").string();
    EXPECT_NE(r.out.find("render with: bash '" + script + "' [HOSTFILE]"), std::string::npos) << r.out;
    EXPECT_EQ(RunCommand("bash -n '" + script + "'").exitCode, 0);
    EXPECT_NE(ReadFileText(script).find("hosts=(-j 4)"), std::string::npos);
    EXPECT_EQ(ReadFileText(Dir("w") + "/render.jobs"),
              "povanim0000\tpovanim0000.ini\tpovanim0000.pov\tpovanim0000_BOX0.df3\n"
              "povanim0001\tpovanim0001.ini\tpovanim0001.pov\tpovanim0001_BOX0.df3\n"
              "povanim0002\tpovanim0002.ini\tpovanim0002.pov\tpovanim0002_BOX0.df3\n");
    EXPECT_NE(ReadFileText(Dir("w") + "/povanim0001.pov").find("#declare WORKINGDIR=\"./\""), std::string::npos);

    // Resuming with --transfer what was exported without it is refused.
    r = RunCli("export " + mProject + " --frames 0:2 --workdir " + Dir("abs"));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    r = RunCli("render " + mProject + " --frames 0:2 --farm parallel --resume --transfer --workdir " + Dir("abs"));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("exported without --transfer"), std::string::npos) << r.err;
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
