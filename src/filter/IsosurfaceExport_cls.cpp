#include "filter/IsosurfaceExport_cls.h"

#include "config/TextFormat.h"
#include "filter/PovIsosurface_cls.h"
#include "iso/MarchingCube_cls.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cwctype>
#include <filesystem>

namespace
{

std::string LowerExtension(const std::string& path)
{
    std::string ext = std::filesystem::path(path).extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    return ext;
}

} // namespace

int IsosurfaceExport_cls::FormatFromPath(const std::string& path)
{
    return LowerExtension(path) == ".obj" ? kObj : kMesh2;
}

std::string IsosurfaceExport_cls::WithExtension(const std::string& path, int format)
{
    const std::string ext = LowerExtension(path);
    if (ext == ".pov" || ext == ".obj")
        return path;
    return path + (format == kObj ? ".obj" : ".pov");
}

int IsosurfaceExport_cls::Run(const PovIsosurface_cls& iso, const Settings& settings)
{
    const MarchingCube_cls* mesh = &iso.GetMesh();
    MarchingCube_cls fresh;
    if (iso.GetMesh().GetIndicesFull().empty()) {
        // The item keeps a mesh welded less (or none yet): extract the file's own.
        const std::vector<unsigned char>& data = iso.GetDataCopy();
        const unsigned* size = iso.GetDataSize();
        if (data.empty())
            return kNoSurface;
        const float level = static_cast<float>(std::clamp(iso.GetCritical(), 0.0, 1.0));
        if (!fresh.ThreadControlMain(data.data(), static_cast<int>(size[0]), static_cast<int>(size[1]),
                                     static_cast<int>(size[2]), level, MarchingCube_cls::kFlagNormals))
            return kNoSurface;
        fresh.OptimizeVerticesFull();
        mesh = &fresh;
    }
    if (mesh->GetFaceNumberOptFull() == 0)
        return kNoSurface;

    std::string text;
    bool ok;
    if (settings.miFormat == kObj) {
        ok = mesh->GetStrWaveFrontObj(&text, settings.mbNormals);
    } else {
        // The declared name follows the item's tag, which is unique within its chain.
        std::wstring name = iso.GetIdTag();
        std::replace_if(
            name.begin(), name.end(), [](wchar_t c) { return !std::iswalnum(c) && c != L'_'; }, L'_');
        ok = mesh->GetStrPovMesh2(&text, name, L"", settings.mbNormals);
    }
    if (!ok)
        return kWriteError;

    std::error_code ec;
    const bool exists = std::filesystem::exists(settings.mStrPath, ec);
    if (exists && !settings.mbOverwrite)
        return kExists;
    if (!exists) {
        const int rc = MarchingCube_cls::WriteNewFile(settings.mStrPath, text);
        return rc == 0 ? kWritten : (rc == 1 ? kExists : kWriteError);
    }
    // Replacing: the complete new text goes into a new file beside it first, so a full disk or
    // a broken write leaves the old file untouched.
    const std::string temp = settings.mStrPath + StrPrintf(".tmp%ld", static_cast<long>(::getpid()));
    if (MarchingCube_cls::WriteNewFile(temp, text) != 0)
        return kWriteError;
    std::filesystem::rename(temp, settings.mStrPath, ec);
    if (ec) {
        std::filesystem::remove(temp, ec);
        return kWriteError;
    }
    return kWritten;
}
