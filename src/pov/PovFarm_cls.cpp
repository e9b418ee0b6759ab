#include "pov/PovFarm_cls.h"

#include "config/TextFormat.h"
#include "pov/PovRay_cls.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

namespace fs = std::filesystem;

PovFarm_cls::PovFarm_cls(const PovRay_cls* pov) : mpPovRay(pov)
{
}

// ---- names and paths ---------------------------------------------------------------------------

std::string PovFarm_cls::Quote(const std::string& text)
{
    std::string q = "'";
    for (char c : text)
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

std::string PovFarm_cls::WorkDir() const
{
    std::string dir = Narrow(mpPovRay->GetWorkingDir());
    while (dir.size() > 1 && dir.back() == '/')
        dir.pop_back();
    return dir;
}

std::string PovFarm_cls::ImageDir() const
{
    // Without an output folder POV-Ray writes into its current directory, which the farm
    // scripts make the working directory.
    if (mpPovRay->IsRelativePaths() || mpPovRay->GetOutputDir().empty())
        return WorkDir();
    std::string dir = Narrow(mpPovRay->GetOutputDir());
    while (dir.size() > 1 && dir.back() == '/')
        dir.pop_back();
    return dir;
}

std::string PovFarm_cls::ImagePath(const std::string& stem) const
{
    static const char* const kExtension[] = {".png", ".tga", ".ppm", ".bmp"};
    const unsigned type = mpPovRay->GetFormat().GetOutputType() < 4 ? mpPovRay->GetFormat().GetOutputType() : 0;
    return ImageDir() + "/" + stem + kExtension[type];
}

std::vector<std::string> PovFarm_cls::Stems(int first, int last) const
{
    const bool stereo = mpPovRay->GetRender().GetStereoEye() != 0;
    std::vector<std::string> stems;
    for (unsigned eye = stereo ? 1u : 0u; eye <= (stereo ? 2u : 0u); ++eye)
        for (int f = first; f <= last; ++f)
            stems.push_back(Narrow(PovRay_cls::FormatStem(mpPovRay->GetFileStr(1, eye), f)));
    return stems;
}

std::vector<std::string> PovFarm_cls::FrameFiles(const std::string& stem) const
{
    std::vector<std::string> files = {stem + ".ini", stem + ".pov"};
    // Everything a frame's scene reads is written beside it as stem + "_" + what it is; the
    // fixed-width frame number keeps frame 1000's files apart from frame 10000's.
    std::error_code ec;
    std::vector<std::string> extra;
    for (fs::directory_iterator it(WorkDir(), ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (name.size() > stem.size() + 1 && name.compare(0, stem.size() + 1, stem + "_") == 0 &&
            it->is_regular_file(ec))
            extra.push_back(name);
    }
    std::sort(extra.begin(), extra.end());
    files.insert(files.end(), extra.begin(), extra.end());
    return files;
}

bool PovFarm_cls::IsRelativeScene(const std::string& stem) const
{
    std::ifstream in(WorkDir() + "/" + stem + ".ini");
    const std::string key = "Input_File_Name=\"";
    for (std::string line; std::getline(in, line);)
        if (line.compare(0, key.size(), key) == 0)
            return line.size() > key.size() && line[key.size()] != '/';
    return false;
}

// ---- job list ----------------------------------------------------------------------------------

std::string PovFarm_cls::JobListText(const std::vector<std::string>& stems, bool transfer) const
{
    std::vector<std::vector<std::string>> files(stems.size());
    size_t columns = 0;
    if (transfer)
        for (size_t i = 0; i < stems.size(); ++i) {
            files[i] = FrameFiles(stems[i]);
            columns = std::max(columns, files[i].size());
        }
    std::string text;
    for (size_t i = 0; i < stems.size(); ++i) {
        text += stems[i];
        if (transfer) {
            files[i].resize(columns, stems[i] + ".ini");
            for (const std::string& f : files[i])
                text += "\t" + f;
        }
        text += "\n";
    }
    return text;
}

// ---- GNU Parallel script -----------------------------------------------------------------------

std::string PovFarm_cls::ParallelScriptText(unsigned jobs, bool transfer, size_t fileCount) const
{
    const std::string dir = WorkDir();
    const std::string povray = Quote(Narrow(mpPovRay->GetPovRayPath()));
    const std::string image = ImagePath("STEM");
    const std::string extension = image.substr(image.rfind('.'));
    std::string s = "#!/bin/bash\n";
    s += "# Renders the frames of a Kivrel Tessan export through GNU Parallel, one POV-Ray job per frame.\n";
    s += "# Usage: " + std::string(kParallelScript) + " [HOSTFILE]\n";
    s += StrPrintf("#   without HOSTFILE %u frame%s rendered on this machine at a time;\n", jobs, jobs == 1 ? "" : "s");
    s += "#   HOSTFILE is Parallel's --sshloginfile (':' is this machine, '8/node7' eight jobs on node7).\n";
    if (transfer) {
        s += "# Each job's files are sent to its host (--transferfile); picture and log come back\n";
        s += "# (--return) and the host's copies are removed (--cleanup).\n";
    } else {
        s += "# The scenes name their files by absolute path: the working directory must be at the\n";
        s += "# same path on every host.\n";
    }
    s += "# Running it again resumes: only frames whose picture is missing are rendered.\n";
    s += "set -u\n";
    s += StrPrintf("hosts=(-j %u)\n", jobs);
    s += "if [ $# -ge 1 ]; then\n";
    s += "\thostfile=$(realpath -e -- \"$1\") || { echo \"" + std::string(kParallelScript) +
         ": no host file '$1'\" >&2; exit 2; }\n";
    s += "\thosts=(--sshloginfile \"$hostfile\")\n";
    s += "fi\n";
    s += "cd " + Quote(dir) + " || exit 1\n";
    // --resume skips every job the log lists; a job whose picture is gone must run again, so
    // its line leaves the log (the job's number is its line in the job list).
    s += "if [ -e " + std::string(kJobLog) + " ]; then\n";
    s += "\tawk -F'\\t' -v pre=" + Quote(ImageDir() + "/") + " -v ext=" + Quote(extension) +
         " 'NR == FNR { stem[FNR] = $1; next } FNR == 1 { print; next } "
         "($1 in stem) { f = pre stem[$1] ext; if ((getline line < f) >= 0) print; close(f) }' " +
         kJobList + " " + kJobLog + " > " + kJobLog + ".new && mv " + kJobLog + ".new " + kJobLog + "\n";
    s += "fi\n";
    // Parallel shows its own progress on a terminal.
    s += "progress=()\n";
    s += "[ -t 2 ] && progress=(--bar)\n";
    std::string command;
    std::string options;
    if (transfer) {
        command = "nice " + povray + " {1}.ini > {1}.log 2>&1";
        for (size_t c = 0; c < fileCount; ++c)
            options += StrPrintf(" --transferfile {%zu}", c + 2);
        options += " --return {1}" + extension + " --return {1}.log --cleanup";
    } else {
        // A host's job starts in its login folder; the shared working directory becomes the
        // ray tracer's current directory, as it is here.
        command =
            "cd " + Quote(dir) + " && nice " + povray + " " + Quote(dir) + "/{1}.ini > " + Quote(dir) + "/{1}.log 2>&1";
    }
    s += "exec parallel --will-cite --joblog " + std::string(kJobLog) + " --resume --colsep '\\t' \"${hosts[@]}\" " +
         "\"${progress[@]}\"" + options + " " + Quote(command) + " :::: " + kJobList + "\n";
    return s;
}

std::string PovFarm_cls::WriteParallelScript(int first, int last, unsigned jobs, bool transfer) const
{
    const std::vector<std::string> stems = Stems(first, last);
    const std::string list = JobListText(stems, transfer);
    // Every line has the same number of columns: the tabs of the first line count them.
    const size_t columns = static_cast<size_t>(std::count(list.begin(), list.begin() + list.find('\n'), '\t'));
    if (WriteFile(kJobList, list, false).empty())
        return std::string();
    return WriteFile(kParallelScript, ParallelScriptText(jobs, transfer, columns), true);
}

// ---- job log -----------------------------------------------------------------------------------

std::vector<std::string> PovFarm_cls::FailedStems(const std::vector<std::string>& stems) const
{
    // Columns: Seq Host Starttime JobRuntime Send Receive Exitval Signal Command.
    std::ifstream in(WorkDir() + "/" + kJobLog);
    std::string line;
    std::getline(in, line);
    std::vector<std::string> failed;
    while (std::getline(in, line)) {
        std::vector<std::string> field;
        std::stringstream ss(line);
        for (std::string f; std::getline(ss, f, '\t');)
            field.push_back(f);
        const long seq = field.empty() ? 0 : ParseLong(field[0]);
        if (field.size() > 7 && (field[6] != "0" || field[7] != "0") && seq >= 1 &&
            static_cast<size_t>(seq) <= stems.size())
            failed.push_back(stems[static_cast<size_t>(seq - 1)]);
    }
    return failed;
}

std::vector<std::string> PovFarm_cls::MissingPictures(const std::vector<std::string>& stems) const
{
    std::vector<std::string> missing;
    std::error_code error;
    for (const std::string& stem : stems)
        if (!std::filesystem::exists(ImagePath(stem), error))
            missing.push_back(stem);
    return missing;
}

// ---- Slurm script ------------------------------------------------------------------------------

std::string PovFarm_cls::SlurmScriptText(int first, int last, unsigned limit) const
{
    const std::string dir = WorkDir();
    // The stem pattern is a printf format of the frame number in the shell as in the program.
    const std::string pattern = Narrow(mpPovRay->GetFileStr(1, 0));
    const std::string probe = ImagePath("STEM");
    const std::string extension = probe.substr(probe.rfind('.'));
    std::string s = "#!/bin/bash\n";
    s += "# Renders one frame of a Kivrel Tessan export per task of a Slurm job array.\n";
    s += "#SBATCH --job-name=tessan-render\n";
    s += StrPrintf("#SBATCH --array=%d-%d", first, last) + (limit > 0 ? StrPrintf("%%%u", limit) : "") + "\n";
    s += StrPrintf("#SBATCH --cpus-per-task=%u\n", mpPovRay->GetWorkThreadsForIni());
    s += "#SBATCH --output=" + dir + "/slurm-%A_%a.log\n";
    s += "set -eu\n";
    s += "frame=\"${SLURM_ARRAY_TASK_ID:?run this script as a Slurm array task}\"\n";
    // Scenes written with relative paths are rendered from the working directory.
    s += "cd " + Quote(dir) + "\n";
    s += "stem=$(printf " + Quote(pattern) + " \"$frame\")\n";
    s += "image=" + Quote(ImageDir()) + "/\"$stem\"" + Quote(extension) + "\n";
    s += "if [ -e \"$image\" ]; then\n\techo \"frame $frame: $image exists, skipped\"\n\texit 0\nfi\n";
    s += "exec nice " + Quote(Narrow(mpPovRay->GetPovRayPath())) + " " + Quote(dir) + "/\"$stem\".ini > " + Quote(dir) +
         "/\"$stem\".log 2>&1\n";
    return s;
}

std::string PovFarm_cls::WriteSlurmScript(int first, int last, unsigned limit) const
{
    return WriteFile(kSlurmScript, SlurmScriptText(first, last, limit), true);
}

std::string PovFarm_cls::WriteFile(const char* name, const std::string& text, bool executable) const
{
    const std::string path = WorkDir() + "/" + name;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out)
        return std::string();
    if (executable)
        chmod(path.c_str(), 0755);
    return path;
}
