#pragma once
// The volume as ray-traced media: an emitting and absorbing density read from a DF3 file that
// the export writes beside the scene, coloured through the slot's colour-map macro.
//
// Placement. The preview draws voxel i of an axis of n voxels at the centre of cell i of the
// unit box, (i + 0.5) / n. POV-Ray's interpolating density modes treat sample j of an m-sample
// axis as a grid vertex at j / m and blend sample m-1 with sample 0 beyond it (they wrap). The
// export therefore pads the data with one empty sample on each side (m = n + 2) and maps the
// box through scale (n + 2) / n and translate -0.5 / n, so data voxel i lands at (i + 0.5) / n,
// the faces fade over half a voxel as the preview's linear texture does, and the wrap-around
// blend never reaches the box.
#include <cstdint>
#include <string>
#include <vector>

class PovVolume_cls
{
  public:
    PovVolume_cls() = delete;

    /// Class-wide media settings (reset by ResetDefaults): interpolation 1, method 3,
    /// interval 1, minimum samples 64, maximum samples 128, anti-aliasing level 4, threshold 0.05.
    static unsigned msInterpolation;
    static unsigned msMethod;
    static unsigned msInterval;
    static unsigned msSamplesMin;
    static unsigned msSamplesMax;
    static unsigned msAALevel;
    static float msAAThreshold;
    /// Puts every class-wide setting back to its default.
    static void ResetDefaults();

    /// The padded samples for nx*ny*nz voxels (x fastest): (nx+2)*(ny+2)*(nz+2) bytes with a
    /// zero border of one sample.
    static std::vector<uint8_t> PadVoxels(const uint8_t* voxels, unsigned nx, unsigned ny, unsigned nz);
    /// Writes the padded voxels as an 8-bit DF3 file (replacing a file of the same name, which
    /// belongs to the exported scene). False when the file cannot be written.
    static bool WritePaddedDF3(const std::string& path, const uint8_t* voxels, unsigned nx, unsigned ny, unsigned nz);
    /// The "#declare <name>=..." media object for one data box: a unit box [0,1]^3 filled with
    /// media whose density reads df3File ("WORKINGDIR" relative name), placed as described
    /// above, coloured by the colour-map macro colorMacro (empty: grey ramp), with emission and
    /// absorption strengths. The caller scales and places the unit box.
    static std::wstring GetPovStrDensityDeclare(const std::wstring& name, const std::wstring& df3File, unsigned nx,
                                                unsigned ny, unsigned nz, const std::wstring& colorMacro,
                                                float emission, float absorption);
};
