#pragma once
// Writes a frame as an 8-bit DF3 file, optionally with doubled axes. Existing files are never
// overwritten.
//
// Doubled axes: the output is twice as long along each doubled axis and the data sits in the
// middle, offset by half of the added length. The margin before the data along a doubled X axis
// holds the data mirrored at its first column (voxel x = -d takes x = d), so a volume that is
// tiled along X continues smoothly into it. Every other margin voxel - after the data along X,
// and the whole margins along Y and Z - is 255: that is what the export has always produced,
// and scenes built for it rely on the dense frame around the data.
#include <cstdint>
#include <string>

class DF3_cls;
class UserPrompt_cls;

class ExportDF3_cls
{
  public:
    /// frame: the frame to write (not owned; allocated and read completely).
    explicit ExportDF3_cls(DF3_cls* frame) : mpDF3(frame) {}
    /// Writes the frame to path. doubleAxes: flags for X, Y, Z, or null. Writes the processed
    /// voxels (processing first if needed) when the owner requires filter processing for exports.
    /// Failures are shown on the frame's message parent, titled "Write Error".
    bool OutputDF3(const std::wstring& path, const bool* doubleAxes);

    /// True (after showing "<path> overwrite forbidden", titled "Write Error") when path exists.
    static bool RefuseExisting(const std::wstring& path, UserPrompt_cls* parent);
    /// Writes a complete DF3 file: the 6-byte header from x, y, z and the samples (x*y*z*width
    /// bytes, width 1 or 2, 16-bit samples already big-endian). Creates the file exclusively,
    /// removes it again when writing fails. Messages go to parent.
    static bool WriteFile(const std::wstring& path, uint32_t x, uint32_t y, uint32_t z, const uint8_t* samples,
                          unsigned width, UserPrompt_cls* parent);

  private:
    DF3_cls* mpDF3;
};
