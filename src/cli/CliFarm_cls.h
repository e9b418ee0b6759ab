#pragma once
// Rendering beyond one workstation: a project's exported frames handed to GNU Parallel (one
// POV-Ray job per frame, on this machine or over ssh, resumable from its job log) or written as
// a Slurm job-array script. Both expect the working directory at the same path on every host
// (a shared file system): the option files name their scene and picture by absolute path.
#include <string>
#include <vector>

class CliProject_cls;

class CliFarm_cls
{
  public:
    /// Picture file of a stem under the project's output type (".png", ".tga", ".ppm", ".bmp").
    static std::string ImagePath(CliProject_cls& project, const std::string& stem);
    /// The stems of frames first..last (every eye) in export order.
    static std::vector<std::string> Stems(CliProject_cls& project, int first, int last);
    /// Runs one POV-Ray job per stem through GNU Parallel with a job log in the working
    /// directory ("render.joblog") and --resume: jobs whose picture is missing are taken out of
    /// the log first, so a run after an interruption (or after pictures were deleted) renders
    /// exactly the missing frames. hosts: an --sshloginfile (empty: this machine, `jobs` at a
    /// time). Returns the exit code; failing frames are named on stderr.
    static int RunParallel(CliProject_cls& project, int first, int last, const std::string& hosts, unsigned jobs);
    /// Writes "RenderSlurm.sh" into the working directory: a job array over first..last, at
    /// most `limit` tasks at once (0: no limit), one frame per task from SLURM_ARRAY_TASK_ID,
    /// the threads of "PovWorkThread=", a log per task, frames whose picture exists skipped.
    /// Returns the script's path, empty when it cannot be written.
    static std::string WriteSlurmScript(CliProject_cls& project, int first, int last, unsigned limit);
    /// Single-quotes text for the shell.
    static std::string Quote(const std::string& text);
};
