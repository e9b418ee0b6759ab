#include "cli/CliProject_cls.h"

#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "config/LineStream_cls.h"
#include "config/ProjectFile_cls.h"
#include "config/TextFormat.h"
#include "volume/DF3SeqCtrl_cls.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace fs = std::filesystem;

CliProject_cls::CliProject_cls() : mpMain(std::make_unique<Main_cls>(Widen(fs::current_path().string())))
{
}

CliProject_cls::~CliProject_cls() = default;

bool CliProject_cls::LoadProjectHeadless(const std::wstring& path, Main_cls& main)
{
    std::error_code ec;
    if (!fs::is_regular_file(fs::path(Narrow(path)), ec)) {
        std::fprintf(stderr, "tessan-cli: cannot read project '%s'\n", Narrow(path).c_str());
        return false;
    }
    // The core reader reads every block; of the window's parts only the cameras matter here:
    // view panel 0's, which the scene is rendered from, and the saved one.
    PovExport_cls& exporter = main.GetPovExport();
    Camera_cls panel0;
    panel0.SetKeyPrefix(L"GLView0");
    bool hasPanel0 = false;
    ProjectFile_cls& file = main.GetProjectFile();
    file.SetHooks(ProjectFile_cls::kHookViewCtrls, {nullptr, [&](LineStream_cls&, const std::wstring& line) {
                                                        if (panel0.ReadStrLine(line)) {
                                                            hasPanel0 = true;
                                                            return true;
                                                        }
                                                        return exporter.GetSavedCamera().ReadStrLine(line);
                                                    }});
    const bool read = file.OpenProject(path);
    file.SetHooks(ProjectFile_cls::kHookViewCtrls, {});
    if (!read) {
        std::fprintf(stderr, "tessan-cli: cannot read project '%s'\n", Narrow(path).c_str());
        return false;
    }
    if (hasPanel0) {
        Camera_cls& saved = exporter.GetSavedCamera();
        saved.Set(panel0.GetPosition(), panel0.GetLookAt(), panel0.GetSky());
        saved.SetAnchor(panel0.GetAnchor());
        saved.SetViewAngle(panel0.GetViewAngle());
        saved.SetProjection(panel0.GetProjection());
    }
    return true;
}

bool CliProject_cls::Load(const std::string& path)
{
    if (!LoadProjectHeadless(Widen(path), *mpMain))
        return false;
    mpObjects = std::make_unique<PovSceneObjects_cls>(&mpMain->GetSeqCtrl(), &mpMain->GetTimeCtrl(),
                                                      &mpMain->GetColoring(), &mpMain->GetBoxSize());
    mpObjects->SetReleaseAfterUse(true);
    mpObjects->Install(GetExport());
    return true;
}

bool CliProject_cls::ParseFrames(const std::string& text, int* first, int* last)
{
    const size_t colon = text.find(':');
    const std::string a = text.substr(0, colon);
    const std::string b = colon == std::string::npos ? a : text.substr(colon + 1);
    auto number = [](const std::string& s, int* out) {
        if (s.empty() || s.size() > 9 || s.find_first_not_of("0123456789") != std::string::npos)
            return false;
        *out = static_cast<int>(ParseLong(s));
        return true;
    };
    return number(a, first) && number(b, last) && *first <= *last;
}

bool CliProject_cls::SetWorkDir(const std::string& dir)
{
    std::error_code ec;
    fs::create_directories(dir, ec);
    if (!fs::is_directory(dir)) {
        std::fprintf(stderr, "tessan-cli: cannot create the working directory '%s'\n", dir.c_str());
        return false;
    }
    std::string absolute = fs::absolute(dir).lexically_normal().string();
    while (absolute.size() > 1 && absolute.back() == '/')
        absolute.pop_back();
    GetPovRay().SetWorkingDir(Widen(absolute));
    if (GetPovRay().GetOutputDir().empty())
        GetPovRay().SetOutputDir(Widen(absolute));
    return true;
}

std::vector<std::string> CliProject_cls::ExistingOutputs(int first, int last, bool withScript) const
{
    PovRay_cls& pov = mpMain->GetPovExport().GetPovRay();
    const std::string dir = Narrow(pov.GetWorkingDir()) + "/";
    std::vector<std::string> found;
    const bool stereo = pov.GetRender().GetStereoEye() != 0;
    for (unsigned eye = stereo ? 1u : 0u; eye <= (stereo ? 2u : 0u); ++eye)
        for (int f = first; f <= last; ++f) {
            const std::string stem = Narrow(PovRay_cls::FormatStem(pov.GetFileStr(1, eye), f));
            for (const char* ext : {".pov", ".ini"})
                if (fs::exists(dir + stem + ext))
                    found.push_back(dir + stem + ext);
        }
    if (withScript && fs::exists(dir + "RenderAnim.sh"))
        found.push_back(dir + "RenderAnim.sh");
    return found;
}

void CliProject_cls::ResolveFrames(int* first, int* last) const
{
    if (*first >= 0)
        return;
    unsigned a = 0, b = 0;
    mpMain->GetPovExport().GetPovRay().GetFrameRange(mpMain->GetTimeCtrl(), &a, &b);
    *first = static_cast<int>(a);
    *last = static_cast<int>(b);
}

bool CliProject_cls::ExportFrames(int first, int last, bool withScript)
{
    if (first >= 0) {
        // A range given on the command line is exported exactly: it becomes the play range.
        TimeCtrl_cls& clock = mpMain->GetTimeCtrl();
        if (last > clock.GetMaxFrame())
            clock.SetMaxFrame(last);
        clock.SetWA(first, last);
        GetPovRay().GetRender().SetRegion(0);
    }
    unsigned a = 0, b = 0;
    if (!GetExport().OutputPovRayIOAnim(&a, &b, false))
        return false;
    miFirst = static_cast<int>(a);
    miLast = static_cast<int>(b);
    if (withScript) {
        const unsigned eye = GetPovRay().GetRender().GetStereoEye() != 0 ? 1u : 0u;
        if (!GetPovRay().WriteRenderScript(eye)) {
            std::fprintf(stderr, "tessan-cli: cannot write %s/RenderAnim.sh\n",
                         Narrow(GetPovRay().GetWorkingDir()).c_str());
            return false;
        }
    }
    return true;
}

int CliProject_cls::GetCommandFrame(size_t i) const
{
    const int count = miLast - miFirst + 1;
    return count > 0 ? miFirst + static_cast<int>(i % static_cast<size_t>(count)) : miFirst;
}
