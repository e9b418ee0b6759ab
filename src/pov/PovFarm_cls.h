#pragma once
// Rendering an exported sequence beyond this workstation, with the usual tools of a render farm
// rather than a scheduler of our own: GNU Parallel (one POV-Ray job per frame, here or over
// ssh, resumable from its job log) and Slurm (a job array, one task per frame). This class
// writes the job list and the two scripts beside the scenes; the command-line front end runs
// the Parallel script itself, the window tells the user how to run them.
//
// Two ways to reach other machines:
// - shared: the option files name scene and picture by absolute path, so the working
//   directory must be at the same path on every host (a shared file system);
// - transfer (the export was written with PovRay_cls::SetRelativePaths): a frame's files name
//   each other relative to the folder they are rendered in; Parallel sends them to the host
//   (--transferfile), brings picture and log back (--return) and removes the host's copies
//   (--cleanup). The pictures then land in the working directory.
//
// Sections: names and paths; job list; GNU Parallel script; job log; Slurm script.
#include <string>
#include <vector>

class PovRay_cls;

class PovFarm_cls
{
  public:
    /// Script that runs the frames through GNU Parallel (in the working directory).
    static constexpr const char* kParallelScript = "RenderParallel.sh";
    /// Slurm job-array script (in the working directory).
    static constexpr const char* kSlurmScript = "RenderSlurm.sh";
    /// Parallel's input: one line per job, the frame's stem (and in transfer mode its files).
    static constexpr const char* kJobList = "render.jobs";
    /// Parallel's job log, the record that --resume reads.
    static constexpr const char* kJobLog = "render.joblog";

    /// Works on the settings of pov (not owned; must outlive this object).
    explicit PovFarm_cls(const PovRay_cls* pov);

    // ---- names and paths -----------------------------------------------------------------------
    /// Single-quotes text for the shell.
    static std::string Quote(const std::string& text);
    /// The working directory (no trailing "/").
    std::string WorkDir() const;
    /// The folder the pictures land in: the working directory in transfer mode or when no
    /// output folder is set (the scripts render from there), otherwise the output folder.
    std::string ImageDir() const;
    /// Picture file of a stem under the output type (".png", ".tga", ".ppm", ".bmp").
    std::string ImagePath(const std::string& stem) const;
    /// The stems of frames first..last (every eye) in export order.
    std::vector<std::string> Stems(int first, int last) const;
    /// The files a frame's scene needs, relative to the working directory: stem.ini, stem.pov
    /// and every file beside them named stem + "_" (density files, isosurface includes), sorted.
    std::vector<std::string> FrameFiles(const std::string& stem) const;
    /// True when the option file of stem names its scene relative to the folder it is rendered
    /// in (written in transfer mode); false when absolute or unreadable.
    bool IsRelativeScene(const std::string& stem) const;

    // ---- job list ------------------------------------------------------------------------------
    /// The job list text: per stem one line; in transfer mode the stem, a tab and the frame's
    /// files separated by tabs, every line padded to the same count with the stem's .ini (a
    /// file sent twice costs nothing, and Parallel needs the same columns on every line).
    std::string JobListText(const std::vector<std::string>& stems, bool transfer) const;

    // ---- GNU Parallel script -------------------------------------------------------------------
    /// The text of RenderParallel.sh for the given stems. Arguments of the script: an optional
    /// host file (Parallel's --sshloginfile; without it `jobs` frames run here at a time).
    /// It prunes the job log of frames whose picture is missing and runs Parallel with
    /// --joblog and --resume, so running it again renders exactly the missing frames.
    /// fileCount: columns of files per job-list line (transfer mode only).
    std::string ParallelScriptText(unsigned jobs, bool transfer, size_t fileCount) const;
    /// Writes the job list and RenderParallel.sh for frames first..last; transfer: the scenes
    /// were exported with relative paths and travel to the hosts. Returns the script's path,
    /// empty when a file cannot be written.
    std::string WriteParallelScript(int first, int last, unsigned jobs, bool transfer) const;

    // ---- job log -------------------------------------------------------------------------------
    /// The stems whose job the log records as failed (non-zero exit or a signal).
    std::vector<std::string> FailedStems(const std::vector<std::string>& stems) const;
    /// The stems whose picture is not in ImageDir(): a job can end well and still bring
    /// nothing back (a host that cannot start the ray tracer, a lost transfer).
    std::vector<std::string> MissingPictures(const std::vector<std::string>& stems) const;

    // ---- Slurm script --------------------------------------------------------------------------
    /// The text of RenderSlurm.sh: a job array over first..last, at most `limit` tasks at once
    /// (0: no limit), one frame per task from SLURM_ARRAY_TASK_ID, the threads of
    /// "PovWorkThread=", a log per task, frames whose picture exists skipped.
    std::string SlurmScriptText(int first, int last, unsigned limit) const;
    /// Writes RenderSlurm.sh; its path, empty when it cannot be written.
    std::string WriteSlurmScript(int first, int last, unsigned limit) const;

  private:
    /// Writes text to the working directory's file name (mode 0755 when executable).
    std::string WriteFile(const char* name, const std::string& text, bool executable) const;

    const PovRay_cls* mpPovRay;
};
