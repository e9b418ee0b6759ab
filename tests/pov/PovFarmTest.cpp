// The render-farm files: relative scene text for files sent to other hosts, the job list with a
// frame's files, the GNU Parallel script (run against a recording stand-in for `parallel`, so its
// job-log pruning and options are checked as they execute), failures read from the job log, and
// the Slurm script.
#include "config/TextFormat.h"
#include "pov/PovFarm_cls.h"
#include "pov/PovRay_cls.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

namespace fs = std::filesystem;

struct FarmFiles : public ::testing::Test {
    TempDir mDir;
    PovRay_cls mPov;

    void SetUp() override
    {
        fs::create_directories(mDir.Path() / "work");
        fs::create_directories(mDir.Path() / "out");
        mPov.SetWorkingDir(Widen(mDir.File("work")));
        mPov.SetOutputDir(Widen(mDir.File("out")));
        mPov.SetPovRayPath(L"/opt/pov ray/povray");
    }
    std::string Work(const std::string& name) const { return mDir.File("work") + "/" + name; }
    // A frame's files as the export leaves them.
    void Frame(const std::string& stem, std::initializer_list<const char*> extra)
    {
        WriteFileText(Work(stem + ".ini"), "Input_File_Name=\"" + stem + ".pov\"\n");
        WriteFileText(Work(stem + ".pov"), "// scene\n");
        for (const char* e : extra)
            WriteFileText(Work(stem + e), "x");
    }
};

TEST_F(FarmFiles, RelativeScenesNameTheirFilesFromTheRenderFolder)
{
    const std::string dir = Narrow(mPov.GetWorkingDir());
    EXPECT_NE(Narrow(mPov.GetPovStrCommon()).find("#declare WORKINGDIR=\"" + dir + "/\"\n"), std::string::npos);
    std::wstring ini;
    mPov.SetRemoveFile(true);
    mPov.GetPovStrIniFile(ini, L"povanim0007", 7);
    EXPECT_NE(Narrow(ini).find("Input_File_Name=\"" + dir + "/povanim0007.pov\"\n"), std::string::npos);
    EXPECT_NE(Narrow(ini).find("Output_File_Name=\"" + mDir.File("out") + "/povanim0007\"\n"), std::string::npos);

    mPov.SetRelativePaths(true);
    mPov.ResetPostSceneCommands();
    EXPECT_NE(Narrow(mPov.GetPovStrCommon()).find("#declare WORKINGDIR=\"./\"\n"), std::string::npos);
    ini.clear();
    mPov.GetPovStrIniFile(ini, L"povanim0007", 7);
    const std::string text = Narrow(ini);
    EXPECT_NE(text.find("Input_File_Name=\"povanim0007.pov\"\n"), std::string::npos) << text;
    // The picture is made where the job runs and brought back from there.
    EXPECT_NE(text.find("Output_File_Name=\"./povanim0007\"\n"), std::string::npos) << text;
    EXPECT_EQ(text.find(dir), std::string::npos) << text;
    EXPECT_EQ(Narrow(mPov.GetPostSceneCommands()), "rm \"povanim0007.pov\";rm \"povanim0007.ini\";");
}

TEST_F(FarmFiles, FrameFilesAreTheStemsOwnAndTheJobListPadsThem)
{
    Frame("povanim0001", {"_BOX0.df3", "_ISO0_1.inc"});
    Frame("povanim0002", {"_BOX0.df3"});
    // Frame 10's and 1000's files share the first characters but are not frame 1's.
    Frame("povanim00010", {"_BOX0.df3"});
    WriteFileText(Work("povanim0001.log"), "old log");
    fs::create_directories(Work("povanim0001_dir"));
    PovFarm_cls farm(&mPov);
    EXPECT_EQ(farm.FrameFiles("povanim0001"),
              (std::vector<std::string>{"povanim0001.ini", "povanim0001.pov", "povanim0001_BOX0.df3",
                                        "povanim0001_ISO0_1.inc"}));

    EXPECT_EQ(farm.JobListText({"povanim0001", "povanim0002"}, false), "povanim0001\npovanim0002\n");
    EXPECT_EQ(farm.JobListText({"povanim0001", "povanim0002"}, true),
              "povanim0001\tpovanim0001.ini\tpovanim0001.pov\tpovanim0001_BOX0.df3\tpovanim0001_ISO0_1.inc\n"
              "povanim0002\tpovanim0002.ini\tpovanim0002.pov\tpovanim0002_BOX0.df3\tpovanim0002.ini\n");
}

TEST_F(FarmFiles, StemsPathsAndTheKindOfScene)
{
    PovFarm_cls farm(&mPov);
    EXPECT_EQ(farm.Stems(3, 4), (std::vector<std::string>{"povanim0003", "povanim0004"}));
    mPov.GetRender().SetStereoEye(1);
    EXPECT_EQ(farm.Stems(0, 1),
              (std::vector<std::string>{"povanimL0000", "povanimL0001", "povanimR0000", "povanimR0001"}));
    mPov.GetFormat().SetOutputType(1);
    EXPECT_EQ(farm.ImagePath("povanim0003"), mDir.File("out") + "/povanim0003.tga");
    mPov.SetRelativePaths(true);
    EXPECT_EQ(farm.ImagePath("povanim0003"), Work("povanim0003.tga"));
    mPov.SetRelativePaths(false);
    mPov.SetOutputDir(L"");
    EXPECT_EQ(farm.ImagePath("povanim0003"), Work("povanim0003.tga"));

    Frame("povanim0005", {});
    WriteFileText(Work("povanim0006.ini"), "Width=4\nInput_File_Name=\"/abs/povanim0006.pov\"\n");
    EXPECT_TRUE(farm.IsRelativeScene("povanim0005"));
    EXPECT_FALSE(farm.IsRelativeScene("povanim0006"));
    EXPECT_FALSE(farm.IsRelativeScene("povanim0099"));
}

TEST_F(FarmFiles, FailedJobsComeFromTheJobLog)
{
    WriteFileText(Work("render.joblog"), "Seq\tHost\tStarttime\tJobRuntime\tSend\tReceive\tExitval\tSignal\tCommand\n"
                                         "1\t:\t1.0\t1.0\t0\t0\t0\t0\tnice povray a\n"
                                         "3\tnodeA\t1.0\t1.0\t0\t0\t2\t0\tnice povray c\n"
                                         "2\tnodeB\t1.0\t1.0\t0\t0\t0\t15\tnice povray b\n"
                                         "9\tnodeB\t1.0\t1.0\t0\t0\t1\t0\tnot one of ours\n");
    PovFarm_cls farm(&mPov);
    EXPECT_EQ(farm.FailedStems({"f1", "f2", "f3"}), (std::vector<std::string>{"f3", "f2"}));
}

// A stand-in for GNU Parallel on PATH: records its arguments (one per line) and the job log it
// was given, so the script's pruning and options are checked as they run.
struct ParallelScript : public FarmFiles {
    std::string mBin;
    void SetUp() override
    {
        FarmFiles::SetUp();
        mBin = mDir.File("bin");
        fs::create_directories(mBin);
        WriteFileText(mBin + "/parallel", "#!/bin/bash\nprintf '%s\\n' \"$@\" > " + mDir.File("args") +
                                              "\ncp render.joblog " + mDir.File("seen.joblog") +
                                              " 2>/dev/null\nexit 0\n");
        fs::permissions(mBin + "/parallel", fs::perms::owner_all);
    }
    RunResult Run(const std::string& script, const std::string& args)
    {
        return RunCommand("cd '" + mDir.File("") + "' && PATH='" + mBin + "':\"$PATH\" bash '" + script + "' " + args);
    }
    std::vector<std::string> Args() const
    {
        std::vector<std::string> lines;
        std::string text = ReadFileText(mDir.File("args")), line;
        for (char c : text) {
            if (c == '\n') {
                lines.push_back(line);
                line.clear();
            } else
                line += c;
        }
        return lines;
    }
};

TEST_F(ParallelScript, SharedFolderJobsHereOrOnTheHostsResumingMissingPictures)
{
    PovFarm_cls farm(&mPov);
    const std::string script = farm.WriteParallelScript(0, 2, 3, false);
    ASSERT_EQ(script, Work("RenderParallel.sh"));
    EXPECT_EQ(ReadFileText(Work("render.jobs")), "povanim0000\npovanim0001\npovanim0002\n");
    EXPECT_EQ(RunCommand("bash -n '" + script + "'").exitCode, 0);
    EXPECT_TRUE((fs::status(script).permissions() & fs::perms::owner_exec) != fs::perms::none);

    // Frames 0 and 2 were rendered before, then frame 2's picture was deleted: only frame 1
    // (never logged) and frame 2 may run again, so frame 2 leaves the log.
    const std::string header = "Seq\tHost\tStarttime\tJobRuntime\tSend\tReceive\tExitval\tSignal\tCommand\n";
    WriteFileText(Work("render.joblog"), header + "1\t:\t1\t1\t0\t0\t0\t0\tjob 1\n3\t:\t1\t1\t0\t0\t0\t0\tjob 3\n");
    WriteFileText(mDir.File("out") + "/povanim0000.png", "picture");
    RunResult r = Run(script, "");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(ReadFileText(mDir.File("seen.joblog")), header + "1\t:\t1\t1\t0\t0\t0\t0\tjob 1\n");
    std::vector<std::string> args = Args();
    const std::vector<std::string> expected = {"--will-cite",
                                               "--joblog",
                                               "render.joblog",
                                               "--resume",
                                               "--colsep",
                                               "\\t",
                                               "-j",
                                               "3",
                                               "cd '" + mDir.File("work") + "' && nice '/opt/pov ray/povray' '" +
                                                   mDir.File("work") + "'/{1}.ini > '" + mDir.File("work") +
                                                   "'/{1}.log 2>&1",
                                               "::::",
                                               "render.jobs"};
    EXPECT_EQ(args, expected);

    // A host file named relative to where the script is started is found after its cd.
    WriteFileText(mDir.File("hosts.txt"), ":\n4/node7\n");
    r = Run(script, "hosts.txt");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    args = Args();
    ASSERT_GE(args.size(), 8u);
    EXPECT_EQ(args[6], "--sshloginfile");
    EXPECT_EQ(fs::path(args[7]), fs::canonical(mDir.File("hosts.txt")));

    r = Run(script, "no-such-hosts");
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_NE(r.err.find("no host file 'no-such-hosts'"), std::string::npos) << r.err;
}

TEST_F(ParallelScript, TransferSendsEveryFileAndBringsPictureAndLogBack)
{
    mPov.SetRelativePaths(true);
    Frame("povanim0000", {"_BOX0.df3", "_CS0_1.df3"});
    Frame("povanim0001", {"_BOX0.df3"});
    PovFarm_cls farm(&mPov);
    const std::string script = farm.WriteParallelScript(0, 1, 1, true);
    ASSERT_FALSE(script.empty());
    const RunResult r = Run(script, "");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::vector<std::string> args = Args();
    const std::vector<std::string> tail = {"--transferfile", "{2}",
                                           "--transferfile", "{3}",
                                           "--transferfile", "{4}",
                                           "--transferfile", "{5}",
                                           "--return",       "{1}.png",
                                           "--return",       "{1}.log",
                                           "--cleanup",      "nice '/opt/pov ray/povray' {1}.ini > {1}.log 2>&1",
                                           "::::",           "render.jobs"};
    ASSERT_GE(args.size(), tail.size());
    EXPECT_EQ(std::vector<std::string>(args.end() - static_cast<std::ptrdiff_t>(tail.size()), args.end()), tail);
}

TEST_F(FarmFiles, SlurmScriptRendersFromTheWorkingDirectory)
{
    mPov.SetWorkThread(6);
    PovFarm_cls farm(&mPov);
    const std::string text = farm.SlurmScriptText(2, 9, 0);
    EXPECT_NE(text.find("#SBATCH --array=2-9\n"), std::string::npos) << text;
    EXPECT_NE(text.find("#SBATCH --cpus-per-task=6\n"), std::string::npos) << text;
    EXPECT_NE(text.find("cd '" + mDir.File("work") + "'\n"), std::string::npos) << text;
    EXPECT_NE(text.find("image='" + mDir.File("out") + "'/\"$stem\"'.png'\n"), std::string::npos) << text;
    EXPECT_NE(farm.SlurmScriptText(0, 5, 2).find("#SBATCH --array=0-5%2\n"), std::string::npos);
    const std::string path = farm.WriteSlurmScript(2, 9, 0);
    ASSERT_EQ(path, Work("RenderSlurm.sh"));
    EXPECT_EQ(ReadFileText(path), text);
    EXPECT_EQ(RunCommand("bash -n '" + path + "'").exitCode, 0);

    // A working directory that cannot take the file gives no path.
    mPov.SetWorkingDir(Widen(mDir.File("missing/folder")));
    EXPECT_EQ(farm.WriteSlurmScript(2, 9, 0), "");
    EXPECT_EQ(farm.WriteParallelScript(2, 9, 1, false), "");
}

} // namespace
