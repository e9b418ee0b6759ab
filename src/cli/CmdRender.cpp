// tessan-cli render: export a project's frames and run POV-Ray on them, several at a time.
#include "cli/CliArgs_cls.h"
#include "cli/CliCommand.h"
#include "cli/CliProject_cls.h"
#include "config/TextFormat.h"
#include "pov/PovFarm_cls.h"
#include "pov/ThreadPovRay.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

const char kUsage[] = "Usage: tessan-cli render [OPTION]... PROJECT.vsp\n"
                      "Export the frames of a project as POV-Ray scenes (as 'tessan-cli export' does) and render\n"
                      "them with POV-Ray, N frames at a time. Each frame's POV-Ray messages go to STEM.log beside\n"
                      "its scene. On a terminal a progress bar shows the frame count, the time spent and the time\n"
                      "left; otherwise one line is printed per finished frame.\n"
                      "\n"
                      "Options:\n"
                      "  --frames A:B     render frames A to B; default: the range of the project's render\n"
                      "                   settings\n"
                      "  --snapshot F     render only frame F as a snapshot (the snapshot file pattern)\n"
                      "  --jobs N         run N POV-Ray processes side by side (1..64; default 1)\n"
                      "  --workdir DIR    write scenes and pictures into DIR (created when missing)\n"
                      "  --povray PATH    the POV-Ray program (default: the project's POVRAY_PATH=)\n"
                      "  --overwrite      replace scene files of an earlier export\n"
                      "  --farm parallel  hand the frames to GNU Parallel, one POV-Ray job per frame, through\n"
                      "                   the script WORKDIR/RenderParallel.sh (it can be run again by\n"
                      "                   hand) with the job log WORKDIR/render.joblog; Parallel shows its\n"
                      "                   own progress\n"
                      "  --hosts FILE     with --farm parallel: Parallel's --sshloginfile (':' is this\n"
                      "                   machine); without it --jobs frames run here at a time\n"
                      "  --transfer       with --farm parallel: the scenes name their files relative to the\n"
                      "                   folder they are rendered in; each job's files are sent to its host,\n"
                      "                   picture and log come back into WORKDIR, the host's copies are\n"
                      "                   removed. Without it the working directory must be at the same path\n"
                      "                   on every host (a shared file system)\n"
                      "  --ssh COMMAND    with --farm parallel: the ssh command Parallel uses (its --ssh)\n"
                      "  --resume         with --farm parallel: use the scenes already exported and render the\n"
                      "                   frames whose picture is missing (with or without --transfer, as\n"
                      "                   they were exported)\n"
                      "  --help           display this help and exit\n"
                      "  --version        output version information and exit\n"
                      "\n"
                      "Exit status: 0 when every frame rendered, 1 if the project cannot be read, the export\n"
                      "fails or POV-Ray fails on a frame (the first failing frame is named), 2 on usage errors.\n";

int Usage(const std::string& error)
{
    return CliUsageError("render", error);
}

std::string Clock(double seconds)
{
    const long s = static_cast<long>(seconds + 0.5);
    return s >= 3600 ? StrPrintf("%ld:%02ld:%02ld", s / 3600, s / 60 % 60, s % 60)
                     : StrPrintf("%ld:%02ld", s / 60, s % 60);
}

// One frame to render: its number, stem, command and clean-up commands.
struct Frame {
    int iFrame = 0;
    std::string strStem;
    std::wstring strCommand;
    std::wstring strPost;
};

// Renders the frames, `jobs` at a time; returns the exit code.
int RenderFrames(PovRay_cls& pov, const std::vector<Frame>& frames, unsigned jobs)
{
    const bool terminal = isatty(STDERR_FILENO) != 0;
    const std::string dir = Narrow(pov.GetWorkingDir());
    const auto start = std::chrono::steady_clock::now();
    struct Running {
        std::unique_ptr<ThreadPovRay> pThread;
        size_t uIndex;
    };
    std::vector<Running> running;
    size_t next = 0, done = 0;
    int failedFrame = -1, failedStatus = 0;
    std::string failedStem;
    auto progress = [&]() {
        const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        const double left = done == 0 ? 0.0 : elapsed / static_cast<double>(done) * (frames.size() - done);
        if (terminal) {
            const size_t width = 30, filled = frames.size() ? done * width / frames.size() : width;
            std::fprintf(stderr, "\r\033[K[%s%s] frame %zu/%zu  elapsed %s  left %s", std::string(filled, '#').c_str(),
                         std::string(width - filled, '.').c_str(), done, frames.size(), Clock(elapsed).c_str(),
                         done == 0 ? "--:--" : Clock(left).c_str());
            std::fflush(stderr);
        }
        return std::make_pair(elapsed, left);
    };
    progress();
    // After a failure no further frame starts; the running ones finish.
    while ((failedFrame < 0 && next < frames.size()) || !running.empty()) {
        while (failedFrame < 0 && next < frames.size() && running.size() < jobs) {
            const Frame& f = frames[next];
            auto thread = std::make_unique<ThreadPovRay>();
            const std::wstring command =
                f.strCommand + Widen(" > " + PovFarm_cls::Quote(dir + "/" + f.strStem + ".log") + " 2>&1");
            thread->SetParameters(&pov, command, f.strPost);
            thread->MarkStarted();
            thread->Run();
            running.push_back({std::move(thread), next++});
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        for (size_t r = 0; r < running.size();) {
            if (running[r].pThread->IsRunning()) {
                ++r;
                continue;
            }
            running[r].pThread->Wait();
            const Frame& f = frames[running[r].uIndex];
            const int status = running[r].pThread->GetReturnValue();
            ++done;
            if (status != 0 && failedFrame < 0) {
                failedFrame = f.iFrame;
                failedStatus = status;
                failedStem = f.strStem;
            }
            const auto [elapsed, left] = progress();
            if (!terminal)
                std::printf("frame %d (%s) %s, %zu/%zu, elapsed %s, left %s\n", f.iFrame, f.strStem.c_str(),
                            status == 0 ? "rendered" : "FAILED", done, frames.size(), Clock(elapsed).c_str(),
                            Clock(left).c_str());
            std::fflush(stdout);
            running.erase(running.begin() + static_cast<std::ptrdiff_t>(r));
        }
    }
    if (terminal)
        std::fprintf(stderr, "\n");
    pov.ProcessRenderAnim(); // takes the queued thread news
    if (failedFrame >= 0) {
        std::fprintf(stderr, "tessan-cli render: POV-Ray failed on frame %d (%s.ini), exit status %d; see %s/%s.log\n",
                     failedFrame, failedStem.c_str(), failedStatus, dir.c_str(), failedStem.c_str());
        return 1;
    }
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("rendered %zu frame%s in %s into %s\n", frames.size(), frames.size() == 1 ? "" : "s",
                Clock(elapsed).c_str(),
                Narrow(pov.GetOutputDir().empty() ? std::wstring(L".") : pov.GetOutputDir()).c_str());
    return 0;
}

// Runs the frames through the GNU Parallel script beside the scenes; returns the exit code.
int RunParallel(PovRay_cls& pov, int first, int last, const std::string& hosts, unsigned jobs, bool transfer,
                const std::string& ssh)
{
    const PovFarm_cls farm(&pov);
    const std::string script = farm.WriteParallelScript(first, last, jobs, transfer);
    if (script.empty()) {
        std::fprintf(stderr, "tessan-cli render: cannot write %s/%s\n", farm.WorkDir().c_str(),
                     PovFarm_cls::kParallelScript);
        return 1;
    }
    if (!ssh.empty())
        setenv("PARALLEL_SSH", ssh.c_str(), 1);
    std::string command = "bash " + PovFarm_cls::Quote(script);
    if (!hosts.empty())
        command += " " + PovFarm_cls::Quote(hosts);
    std::fflush(stdout);
    const int status = std::system(command.c_str());
    if (status == -1) {
        std::fprintf(stderr, "tessan-cli render: cannot start GNU Parallel\n");
        return 1;
    }
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
    if (code == 127) {
        std::fprintf(stderr, "tessan-cli render: GNU Parallel ('parallel') is not installed\n");
        return 1;
    }
    const std::vector<std::string> stems = farm.Stems(first, last);
    const std::vector<std::string> failed = farm.FailedStems(stems);
    // A job that ended well but left no picture failed just the same (a host whose shell
    // cannot start the ray tracer, a picture lost on its way back).
    std::vector<std::string> empty;
    for (const std::string& stem : farm.MissingPictures(stems))
        if (std::find(failed.begin(), failed.end(), stem) == failed.end())
            empty.push_back(stem);
    if (!failed.empty() || !empty.empty() || code != 0) {
        for (const std::string& stem : failed)
            std::fprintf(stderr, "tessan-cli render: POV-Ray failed on %s.ini; see %s/%s.log\n", stem.c_str(),
                         farm.WorkDir().c_str(), stem.c_str());
        for (const std::string& stem : empty)
            std::fprintf(stderr, "tessan-cli render: %s.ini brought no picture back (%s); see %s/%s.log\n",
                         stem.c_str(), farm.ImagePath(stem).c_str(), farm.WorkDir().c_str(), stem.c_str());
        if (failed.empty() && empty.empty())
            std::fprintf(stderr, "tessan-cli render: GNU Parallel ended with status %d\n", code);
        return 1;
    }
    std::printf("rendered %zu frame%s through GNU Parallel (job log %s/%s)\n", stems.size(),
                stems.size() == 1 ? "" : "s", farm.WorkDir().c_str(), PovFarm_cls::kJobLog);
    return 0;
}

// The stem of a render command ("nice povray DIR/STEM.ini").
std::string StemOf(const std::wstring& command)
{
    std::string c = Narrow(command);
    const size_t slash = c.rfind('/');
    const size_t dot = c.rfind(".ini");
    if (slash == std::string::npos || dot == std::string::npos || dot < slash)
        return "frame";
    return c.substr(slash + 1, dot - slash - 1);
}

int RunRender(const std::vector<std::string>& args)
{
    CliArgs_cls parsed(args, {"frames", "workdir", "jobs", "snapshot", "povray", "farm", "hosts", "ssh"},
                       {"overwrite", "resume", "transfer"});
    if (!parsed.Error().empty())
        return Usage(parsed.Error());
    if (parsed.Operands().size() != 1)
        return Usage(parsed.Operands().empty() ? "missing PROJECT operand" : "too many operands");
    int first = -1, last = -1, snapshot = -1;
    if (auto v = parsed.Value("frames"))
        if (!CliProject_cls::ParseFrames(*v, &first, &last))
            return Usage("invalid --frames '" + *v + "' (expected A:B with A <= B)");
    if (auto v = parsed.Value("snapshot")) {
        int unused = 0;
        if (v->find(':') != std::string::npos || !CliProject_cls::ParseFrames(*v, &snapshot, &unused))
            return Usage("invalid --snapshot '" + *v + "' (expected a frame number)");
        if (parsed.Value("frames"))
            return Usage("--snapshot and --frames exclude each other");
    }
    unsigned jobs = 1;
    if (auto v = parsed.Value("jobs")) {
        if (v->empty() || v->size() > 2 || v->find_first_not_of("0123456789") != std::string::npos ||
            ParseLong(*v) < 1 || ParseLong(*v) > 64)
            return Usage("invalid --jobs '" + *v + "' (expected 1..64)");
        jobs = static_cast<unsigned>(ParseLong(*v));
    }
    const bool farm = parsed.Value("farm").has_value();
    if (farm && *parsed.Value("farm") != "parallel")
        return Usage("invalid --farm '" + *parsed.Value("farm") + "' (expected 'parallel')");
    if (!farm && (parsed.Value("hosts") || parsed.Value("ssh") || parsed.Has("resume") || parsed.Has("transfer")))
        return Usage("--hosts, --ssh, --transfer and --resume need --farm parallel");
    if (farm && snapshot >= 0)
        return Usage("--snapshot renders here; it does not go with --farm");
    CliProject_cls project;
    if (!project.Load(parsed.Operands()[0]))
        return 1;
    PovRay_cls& pov = project.GetPovRay();
    if (auto v = parsed.Value("povray"))
        pov.SetPovRayPath(Widen(*v));
    const std::string workdir = parsed.Value("workdir") ? *parsed.Value("workdir") : Narrow(pov.GetWorkingDir());
    if (!project.SetWorkDir(workdir))
        return 1;

    std::vector<Frame> frames;
    if (snapshot >= 0) {
        const std::string stem = Narrow(PovRay_cls::FormatStem(pov.GetFileStr(0, 0), snapshot));
        const std::string base = Narrow(pov.GetWorkingDir()) + "/" + stem;
        if (!parsed.Has("overwrite") &&
            (access((base + ".pov").c_str(), F_OK) == 0 || access((base + ".ini").c_str(), F_OK) == 0)) {
            std::fprintf(stderr, "tessan-cli render: '%s.pov' exists; use --overwrite\n", base.c_str());
            return 1;
        }
        if (!project.GetExport().IsPovrayCondistionSatisfiled() || !project.GetExport().ProcOutputPovRay(snapshot)) {
            std::fprintf(stderr, "tessan-cli render: the export of frame %d failed\n", snapshot);
            return 1;
        }
        const std::wstring& s = project.GetExport().GetLastStem();
        frames.push_back({snapshot, Narrow(s), pov.GetPovRayCommand(s), pov.GetPostSceneCommands()});
    } else if (farm && parsed.Has("resume")) {
        project.ResolveFrames(&first, &last);
        const PovFarm_cls farmFiles(&pov);
        const std::vector<std::string> stems = farmFiles.Stems(first, last);
        for (const std::string& stem : stems)
            if (access((farmFiles.WorkDir() + "/" + stem + ".ini").c_str(), F_OK) != 0) {
                std::fprintf(stderr, "tessan-cli render: %s/%s.ini is missing: nothing to resume\n",
                             farmFiles.WorkDir().c_str(), stem.c_str());
                return 1;
            }
        // The scenes decide: files that name each other relatively travel to the hosts.
        const bool relative = farmFiles.IsRelativeScene(stems.front());
        if (parsed.Has("transfer") && !relative) {
            std::fprintf(stderr, "tessan-cli render: the scenes in %s were exported without --transfer\n",
                         farmFiles.WorkDir().c_str());
            return 1;
        }
        pov.SetRelativePaths(relative);
        return RunParallel(pov, first, last, parsed.Value("hosts").value_or(""), jobs, relative,
                           parsed.Value("ssh").value_or(""));
    } else {
        pov.SetRelativePaths(parsed.Has("transfer"));
        project.ResolveFrames(&first, &last);
        if (!parsed.Has("overwrite")) {
            const std::vector<std::string> existing = project.ExistingOutputs(first, last, true);
            if (!existing.empty()) {
                std::fprintf(stderr,
                             "tessan-cli render: '%s' exists (%zu file%s of an earlier export); use --overwrite\n",
                             existing[0].c_str(), existing.size(), existing.size() == 1 ? "" : "s");
                return 1;
            }
        }
        if (!project.ExportFrames(first, last, true)) {
            std::fprintf(stderr, "tessan-cli render: the export of frames %d..%d failed\n", first, last);
            return 1;
        }
        for (size_t i = 0; i < pov.GetCommands().size(); ++i)
            frames.push_back({project.GetCommandFrame(i), StemOf(pov.GetCommands()[i]), pov.GetCommands()[i],
                              pov.GetPostCommands()[i]});
    }
    if (farm)
        return RunParallel(pov, first, last, parsed.Value("hosts").value_or(""), jobs, parsed.Has("transfer"),
                           parsed.Value("ssh").value_or(""));
    return RenderFrames(pov, frames, jobs);
}

} // namespace

TESSAN_CLI_COMMAND(renderCommand, "render", "export a project's frames and render them with POV-Ray", kUsage,
                   RunRender);
