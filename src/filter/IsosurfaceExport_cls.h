#pragma once
// Writing an isosurface item's surface as a mesh file: the settings the export dialog (or any
// other caller) fills in, and one call that runs it. The surface is the item's own mesh when it
// is fully welded, else it is extracted and welded afresh from the item's data at its level, so
// a file always holds the welded surface whatever the item's preview settings are. An existing
// file is replaced only when the caller says so, and then only after the new text has been
// written completely beside it.
#include <string>

class PovIsosurface_cls;

class IsosurfaceExport_cls
{
  public:
    /// File formats.
    enum Format : int { kMesh2 = 0, kObj = 1 };
    /// Results of Run.
    enum Result : int { kWritten = 0, kExists = 1, kWriteError = 2, kNoSurface = 3 };

    /// Where and how to write.
    struct Settings {
        std::string mStrPath; ///< file to write (UTF-8 path)
        int miFormat = kMesh2;
        bool mbOverwrite = false; ///< replace an existing file (the user agreed)
        bool mbNormals = true;    ///< write the normals when the surface has them
    };

    /// The format a file name asks for: ".obj" (any case) means OBJ, anything else mesh2.
    static int FormatFromPath(const std::string& path);
    /// The name with the format's extension (".pov" or ".obj") appended when it has none of
    /// the two.
    static std::string WithExtension(const std::string& path, int format);

    /// Writes the surface of `iso`. kNoSurface when the item holds no data or its surface is
    /// empty (nothing is written), kExists when the file is there and overwrite is off,
    /// kWriteError when it cannot be written (an existing file stays as it was).
    static int Run(const PovIsosurface_cls& iso, const Settings& settings);
};
