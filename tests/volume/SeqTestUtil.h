#pragma once
// Helpers of the data-slot tests: numbered DF3 series on disk and a guard for the process-wide
// preview settings the slots read (3D-texture flag, texture type).
#include "config/PreviewProperty_cls.h"
#include "config/TextFormat.h"
#include "volume/VolumeTestUtil.h"

#include <string>
#include <vector>

/// Body bytes of frame `index` of a test series (distinct for every frame).
inline std::vector<uint8_t> SeriesBody(size_t voxels, int index)
{
    return PatternBytes(voxels, static_cast<uint32_t>(index) + 101u);
}

/// Writes `count` 8-bit DF3 files dir/prefix + number (zero-padded to `digits`) + ".df3" of
/// x*y*z voxels, numbered from `first`; returns their paths in order.
inline std::vector<std::wstring> WriteSeries(const TempDir& dir, const std::string& prefix, int count, uint16_t x,
                                             uint16_t y, uint16_t z, int first = 0, int digits = 4)
{
    std::vector<std::wstring> paths;
    for (int i = 0; i < count; ++i) {
        const std::string name = prefix + StrPrintf("%0*d", digits, first + i) + ".df3";
        WriteFileBytes(dir.File(name), Df3File(x, y, z, SeriesBody(size_t(x) * y * z, first + i)));
        paths.push_back(Widen(dir.File(name)));
    }
    return paths;
}

/// Sets the preview's 3D-texture flag and texture type for a scope.
class PreviewGuard
{
  public:
    PreviewGuard(bool use3D, unsigned textureType)
        : mbOld3D(GetPreviewProperty().Is3DTexture()), muOldType(GetPreviewProperty().GetTextureType())
    {
        Set(use3D, textureType);
    }
    ~PreviewGuard() { Set(mbOld3D, muOldType); }
    static void Set(bool use3D, unsigned textureType)
    {
        GetPreviewProperty().SetUse3DTexture(use3D);
        GetPreviewProperty().ReadStrLine(WStrPrintf("PreviewTextureType=%u", textureType));
    }

  private:
    bool mbOld3D;
    unsigned muOldType;
};
