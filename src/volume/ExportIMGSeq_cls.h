#pragma once
// Writes a frame as a numbered series of 8-bit grey PNG slices across one axis.
//
// A slice across axis a spans the axes S and T of a (Y and Z for X; X and Z for Y; X and Y for Z,
// as in the axis copies): the picture is S pixels wide and T rows high, row t holding the voxels
// at T = t, so slices across Z read back as an image stack give the frame itself.
//
// Names come from a pattern with one integer conversion ("slice_%04d.png"; "%%" is a literal
// percent sign), numbered from a first number upwards. A pattern that is an existing folder, or
// ends in "/", means "slice_%04d.png" inside that folder (more digits when the numbers need them;
// a missing last folder is created). Existing files are never overwritten: every name is checked
// before the first slice is written, and a failed export removes the slices it wrote.
#include <cstdint>
#include <string>
#include <vector>

class DF3_cls;
class UserPrompt_cls;

class ExportIMGSeq_cls
{
  public:
    /// What to write; filled by the export dialog or the CLI.
    struct Settings {
        int iAxis = 2;           ///< slices across this axis: 0 X, 1 Y, 2 Z
        std::wstring strPattern; ///< file-name pattern or folder (see above)
        int iFirstNumber = 0;    ///< number of the first slice (>= 0)
    };

    /// frame: the frame to write (not owned; allocated and read completely).
    explicit ExportIMGSeq_cls(DF3_cls* frame) : mpDF3(frame) {}
    /// Writes every slice. Messages ("Write Error") and progress go to prompt (never null).
    /// Writes the processed voxels (processing first if needed) when the owner requires filter
    /// processing for exports, like the DF3 export.
    bool OutputIMGSeq(const Settings& settings, UserPrompt_cls* prompt);

    /// The names of `count` slices, or false with `error` set when the pattern is unusable (no
    /// integer conversion, more than one, or another conversion). May create the folder of a
    /// folder pattern ending in "/".
    static bool MakeFileNames(const Settings& settings, uint32_t count, std::vector<std::wstring>& names,
                              std::wstring& error);
    /// Copies slice p across axis into out (S*T bytes, T rows of S).
    static void ExtractSlice(const DF3_cls& frame, const uint8_t* data, int axis, uint32_t p,
                             std::vector<uint8_t>& out);
    /// Writes one 8-bit grey PNG, creating the file exclusively (an existing file is an error) and
    /// removing it again when writing fails. False with `error` set.
    static bool WritePng(const std::wstring& path, const uint8_t* pixels, uint32_t width, uint32_t height,
                         std::wstring& error);

  private:
    DF3_cls* mpDF3;
};
