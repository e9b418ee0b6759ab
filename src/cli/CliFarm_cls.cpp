#include "cli/CliFarm_cls.h"

#include "cli/CliProject_cls.h"
#include "config/TextFormat.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

std::string CliFarm_cls::Quote(const std::string& text)
{
    std::string q = "'";
    for (char c : text)
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

std::string CliFarm_cls::ImagePath(CliProject_cls& project, const std::string& stem)
{
    static const char* const kExtension[] = {".png", ".tga", ".ppm", ".bmp"};
    PovRay_cls& pov = project.GetPovRay();
    const unsigned type = pov.GetFormat().GetOutputType() < 4 ? pov.GetFormat().GetOutputType() : 0;
    const std::string dir = pov.GetOutputDir().empty() ? std::string(".") : Narrow(pov.GetOutputDir());
    return dir + "/" + stem + kExtension[type];
}

std::vector<std::string> CliFarm_cls::Stems(CliProject_cls& project, int first, int last)
{
    PovRay_cls& pov = project.GetPovRay();
    const bool stereo = pov.GetRender().GetStereoEye() != 0;
    std::vector<std::string> stems;
    for (unsigned eye = stereo ? 1u : 0u; eye <= (stereo ? 2u : 0u); ++eye)
        for (int f = first; f <= last; ++f)
            stems.push_back(Narrow(PovRay_cls::FormatStem(pov.GetFileStr(1, eye), f)));
    return stems;
}

int CliFarm_cls::RunParallel(CliProject_cls& project, int first, int last, const std::string& hosts, unsigned jobs)
{
    PovRay_cls& pov = project.GetPovRay();
    const std::string dir = Narrow(pov.GetWorkingDir());
    const std::vector<std::string> stems = Stems(project, first, last);
    // One command per line; the line number is Parallel's sequence number of the job.
    const std::string jobFile = dir + "/render.jobs";
    {
        std::ofstream out(jobFile, std::ios::trunc);
        for (const std::string& stem : stems)
            out << "nice " << Quote(Narrow(pov.GetPovRayPath())) << " " << Quote(dir + "/" + stem + ".ini") << " > "
                << Quote(dir + "/" + stem + ".log") << " 2>&1\n";
        if (!out) {
            std::fprintf(stderr, "tessan-cli render: cannot write %s\n", jobFile.c_str());
            return 1;
        }
    }
    // --resume skips every job the log lists; a job whose picture is gone must run again, so
    // its line leaves the log.
    const std::string jobLog = dir + "/render.joblog";
    if (fs::exists(jobLog)) {
        std::ifstream in(jobLog);
        std::string line, kept;
        bool header = true;
        while (std::getline(in, line)) {
            if (!header) {
                const long seq = ParseLong(line.substr(0, line.find('\t')));
                if (seq < 1 || static_cast<size_t>(seq) > stems.size() ||
                    !fs::exists(ImagePath(project, stems[static_cast<size_t>(seq - 1)])))
                    continue;
            }
            header = false;
            kept += line + "\n";
        }
        in.close();
        std::ofstream(jobLog, std::ios::trunc) << kept;
    }
    std::string command = "parallel --will-cite --joblog " + Quote(jobLog) + " --resume";
    command += hosts.empty() ? " -j " + std::to_string(jobs) : " --sshloginfile " + Quote(hosts);
    // Parallel shows its own progress on a terminal.
    if (isatty(STDERR_FILENO))
        command += " --bar";
    command += " :::: " + Quote(jobFile);
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
    // The frames that failed, from the job log.
    std::ifstream in(jobLog);
    std::string line;
    std::getline(in, line);
    std::vector<std::string> failed;
    while (std::getline(in, line)) {
        std::vector<std::string> field;
        std::stringstream ss(line);
        for (std::string f; std::getline(ss, f, '\t');)
            field.push_back(f);
        const long seq = field.empty() ? 0 : ParseLong(field[0]);
        if (field.size() > 6 && field[6] != "0" && seq >= 1 && static_cast<size_t>(seq) <= stems.size())
            failed.push_back(stems[static_cast<size_t>(seq - 1)]);
    }
    if (!failed.empty() || code != 0) {
        for (const std::string& stem : failed)
            std::fprintf(stderr, "tessan-cli render: POV-Ray failed on %s.ini; see %s/%s.log\n", stem.c_str(),
                         dir.c_str(), stem.c_str());
        if (failed.empty())
            std::fprintf(stderr, "tessan-cli render: GNU Parallel ended with status %d\n", code);
        return 1;
    }
    std::printf("rendered %zu frame%s through GNU Parallel (job log %s)\n", stems.size(), stems.size() == 1 ? "" : "s",
                jobLog.c_str());
    return 0;
}

std::string CliFarm_cls::WriteSlurmScript(CliProject_cls& project, int first, int last, unsigned limit)
{
    PovRay_cls& pov = project.GetPovRay();
    const std::string dir = Narrow(pov.GetWorkingDir());
    const std::string path = dir + "/RenderSlurm.sh";
    // The stem pattern is a printf format of the frame number in the shell as in the program.
    const std::string pattern = Narrow(pov.GetFileStr(1, 0));
    const std::string probe = ImagePath(project, "STEM");
    const std::string imageDir = probe.substr(0, probe.rfind('/'));
    const std::string extension = probe.substr(probe.rfind('.'));
    std::string s = "#!/bin/bash\n";
    s += "# Renders one frame of a Kivrel Tessan export per task of a Slurm job array.\n";
    s += "#SBATCH --job-name=tessan-render\n";
    s += StrPrintf("#SBATCH --array=%d-%d", first, last) + (limit > 0 ? StrPrintf("%%%u", limit) : "") + "\n";
    s += StrPrintf("#SBATCH --cpus-per-task=%u\n", pov.GetWorkThreadsForIni());
    s += "#SBATCH --output=" + dir + "/slurm-%A_%a.log\n";
    s += "set -eu\n";
    s += "frame=\"${SLURM_ARRAY_TASK_ID:?run this script as a Slurm array task}\"\n";
    s += "stem=$(printf " + Quote(pattern) + " \"$frame\")\n";
    s += "image=" + Quote(imageDir) + "/\"$stem\"" + Quote(extension) + "\n";
    s += "if [ -e \"$image\" ]; then\n\techo \"frame $frame: $image exists, skipped\"\n\texit 0\nfi\n";
    s += "exec nice " + Quote(Narrow(pov.GetPovRayPath())) + " " + Quote(dir) + "/\"$stem\".ini > " + Quote(dir) +
         "/\"$stem\".log 2>&1\n";
    std::ofstream out(path, std::ios::trunc);
    out << s;
    out.close();
    if (!out)
        return std::string();
    chmod(path.c_str(), 0755);
    return path;
}
