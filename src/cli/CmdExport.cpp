// tessan-cli export: write a project's frames as ray-tracer scenes without a window.
#include "cli/CliArgs_cls.h"
#include "cli/CliCommand.h"
#include "cli/CliProject_cls.h"
#include "config/TextFormat.h"
#include "pov/PovFarm_cls.h"

#include <cstdio>
#include <string>

namespace
{

const char kUsage[] = "Usage: tessan-cli export [OPTION]... PROJECT.vsp\n"
                      "Write the frames of a project as POV-Ray scenes: per frame a .pov scene and a .ini option\n"
                      "file with the data files they read (density .df3 files, isosurface .inc files), and the\n"
                      "script RenderAnim.sh, into the project's working directory. Existing files are never\n"
                      "replaced unless --overwrite is given.\n"
                      "\n"
                      "Options:\n"
                      "  --frames A:B     export frames A to B (a single number: that frame); default: the\n"
                      "                   range of the project's render settings\n"
                      "  --workdir DIR    write into DIR (created when missing) instead of the project's\n"
                      "                   working directory; the pictures of a later render go there too\n"
                      "  --overwrite      replace files of an earlier export\n"
                      "  --farm slurm     also write RenderSlurm.sh, a Slurm job array with one task per frame\n"
                      "                   (threads from PovWorkThread=, a log per task, frames whose picture\n"
                      "                   exists skipped), and print the sbatch command that submits it\n"
                      "  --limit N        with --farm slurm: at most N tasks at once\n"
                      "  --farm parallel  also write RenderParallel.sh and its job list render.jobs: GNU\n"
                      "                   Parallel renders one frame per job, here or on the hosts of a host\n"
                      "                   file given to the script, resumable from render.joblog; prints the\n"
                      "                   command that runs it\n"
                      "  --jobs N         with --farm parallel: frames rendered here at a time without a host\n"
                      "                   file (1..64; default 1)\n"
                      "  --transfer       with --farm parallel: scenes that name their files relative to the\n"
                      "                   folder they are rendered in, and a script that sends each job's\n"
                      "                   files to its host and brings picture and log back\n"
                      "  --povray PATH    the POV-Ray program the scripts run (default: POVRAY_PATH=)\n"
                      "  --help           display this help and exit\n"
                      "  --version        output version information and exit\n"
                      "\n"
                      "Exit status: 0 on success, 1 if the project cannot be read, a file exists or cannot be\n"
                      "written, 2 on usage errors.\n";

int Usage(const std::string& error)
{
    return CliUsageError("export", error);
}

int RunExport(const std::vector<std::string>& args)
{
    CliArgs_cls parsed(args, {"frames", "workdir", "farm", "limit", "povray", "jobs"}, {"overwrite", "transfer"});
    if (!parsed.Error().empty())
        return Usage(parsed.Error());
    if (parsed.Operands().size() != 1)
        return Usage(parsed.Operands().empty() ? "missing PROJECT operand" : "too many operands");
    int first = -1, last = -1;
    if (auto v = parsed.Value("frames"))
        if (!CliProject_cls::ParseFrames(*v, &first, &last))
            return Usage("invalid --frames '" + *v + "' (expected A:B with A <= B)");
    const std::string farm = parsed.Value("farm").value_or("");
    if (parsed.Value("farm") && farm != "slurm" && farm != "parallel")
        return Usage("invalid --farm '" + farm + "' (expected 'slurm' or 'parallel')");
    if (farm != "parallel" && (parsed.Value("jobs") || parsed.Has("transfer")))
        return Usage("--jobs and --transfer need --farm parallel");
    unsigned jobs = 1;
    if (auto v = parsed.Value("jobs")) {
        if (v->empty() || v->size() > 2 || v->find_first_not_of("0123456789") != std::string::npos ||
            ParseLong(*v) < 1 || ParseLong(*v) > 64)
            return Usage("invalid --jobs '" + *v + "' (expected 1..64)");
        jobs = static_cast<unsigned>(ParseLong(*v));
    }
    unsigned limit = 0;
    if (auto v = parsed.Value("limit")) {
        if (farm != "slurm")
            return Usage("--limit needs --farm slurm");
        if (v->empty() || v->size() > 5 || v->find_first_not_of("0123456789") != std::string::npos)
            return Usage("invalid --limit '" + *v + "'");
        limit = static_cast<unsigned>(ParseLong(*v));
    }
    CliProject_cls project;
    if (!project.Load(parsed.Operands()[0]))
        return 1;
    if (auto v = parsed.Value("povray"))
        project.GetPovRay().SetPovRayPath(Widen(*v));
    const std::string workdir =
        parsed.Value("workdir") ? *parsed.Value("workdir") : Narrow(project.GetPovRay().GetWorkingDir());
    if (!project.SetWorkDir(workdir))
        return 1;
    project.GetPovRay().SetRelativePaths(parsed.Has("transfer"));
    project.ResolveFrames(&first, &last);
    if (!parsed.Has("overwrite")) {
        const std::vector<std::string> existing = project.ExistingOutputs(first, last, true);
        if (!existing.empty()) {
            std::fprintf(stderr, "tessan-cli export: '%s' exists (%zu file%s of an earlier export); use --overwrite\n",
                         existing[0].c_str(), existing.size(), existing.size() == 1 ? "" : "s");
            return 1;
        }
    }
    if (!project.ExportFrames(first, last, true)) {
        std::fprintf(stderr, "tessan-cli export: the export of frames %d..%d failed\n", first, last);
        return 1;
    }
    const PovFarm_cls farmFiles(&project.GetPovRay());
    if (farm == "slurm") {
        const std::string script = farmFiles.WriteSlurmScript(first, last, limit);
        if (script.empty()) {
            std::fprintf(stderr, "tessan-cli export: cannot write the Slurm script\n");
            return 1;
        }
        std::printf("submit with: sbatch %s\n", PovFarm_cls::Quote(script).c_str());
    } else if (farm == "parallel") {
        const std::string script = farmFiles.WriteParallelScript(first, last, jobs, parsed.Has("transfer"));
        if (script.empty()) {
            std::fprintf(stderr, "tessan-cli export: cannot write the GNU Parallel script\n");
            return 1;
        }
        std::printf("render with: bash %s [HOSTFILE]\n", PovFarm_cls::Quote(script).c_str());
    }
    std::printf("exported frames %d..%d (%zu scene%s) and RenderAnim.sh into %s\n", first, last,
                project.GetPovRay().GetCommands().size(), project.GetPovRay().GetCommands().size() == 1 ? "" : "s",
                Narrow(project.GetPovRay().GetWorkingDir()).c_str());
    return 0;
}

} // namespace

TESSAN_CLI_COMMAND(exportCommand, "export", "write a project's frames as POV-Ray scenes (.pov, .ini, RenderAnim.sh)",
                   kUsage, RunExport);
