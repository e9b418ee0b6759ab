#pragma once
// Runs the real POV-Ray on a scene from a test: the scene (and any include files) are written
// to a fresh temp folder, POV-Ray renders a small image there without display or anti-aliasing,
// and the result comes back with its exit status, message text, parse-error flag and decoded
// pixels. Typical use:
//
//     if (!IsPovRayAvailable()) GTEST_SKIP() << "POV-Ray not installed";
//     PovRayResult r = RunPovRay(sceneText);
//     ASSERT_TRUE(r.Ok()) << r.err;
//     auto px = r.image.Pixel(3, 0); // red, green, blue in 0..1
//
// With the default options the output is written with File_Gamma=1.0, so a scene that sets
// `global_settings { assumed_gamma 1.0 }` yields pixel values equal to its linear colours.
#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// A decoded PPM image (8 or 16 bits per channel).
struct PovImage {
    int width = 0;
    int height = 0;
    int maxValue = 255;          ///< 255 or 65535, as in the file
    std::vector<uint16_t> vData; ///< red, green, blue per pixel, row by row from the top

    bool Valid() const { return width > 0 && height > 0; }
    /// Red, green, blue of pixel (x, y) in 0..1; (x, y) must lie inside the image.
    std::array<double, 3> Pixel(int x, int y) const;
};

/// What to render and how.
struct PovRayOptions {
    int width = 16;            ///< image width in pixels (+W)
    int height = 16;           ///< image height in pixels (+H)
    int timeoutSeconds = 120;  ///< POV-Ray is killed after this many seconds
    bool bLinearOutput = true; ///< File_Gamma=1.0 (pixels equal linear colours)
    /// Extra files written beside the scene: (file name, contents), e.g. generated .inc files.
    std::vector<std::pair<std::string, std::string>> vIncludes;
    /// Further command-line options, passed as they are (e.g. "+UA" for an alpha channel).
    std::vector<std::string> vExtraOptions;
};

/// Outcome of one run.
struct PovRayResult {
    bool bStarted = false;      ///< the scene could be written and POV-Ray was started
    int exitCode = -1;          ///< POV-Ray's exit status (124 after a time-out)
    bool bTimedOut = false;     ///< killed by the time-out
    bool bParseError = false;   ///< the messages report a parse error
    bool bParseWarning = false; ///< the messages hold a parse warning ("Possible Parse Error" too)
    std::string err;            ///< POV-Ray's messages (it writes them to standard error)
    PovImage image;             ///< the rendered image; invalid when none was written

    /// Ran, exited with 0, no parse error, and an image was decoded.
    bool Ok() const { return bStarted && exitCode == 0 && !bTimedOut && !bParseError && image.Valid(); }
};

/// The POV-Ray program used: $TESSAN_POVRAY when set, else /usr/bin/povray.
std::string PovRayPath();
/// True when the POV-Ray program exists and is executable.
bool IsPovRayAvailable();
/// Renders sceneText (written as "scene.pov") with the given options. The include path holds
/// the temp folder and the standard POV-Ray include folder.
PovRayResult RunPovRay(const std::string& sceneText, const PovRayOptions& options = {});
/// Decodes a binary (P6) or text (P3) PPM image, comments allowed; false on malformed data.
bool DecodePpm(const std::vector<uint8_t>& bytes, PovImage& out);
