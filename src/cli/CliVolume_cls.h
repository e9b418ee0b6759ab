#pragma once
// What the CLI commands say about a loaded frame's source, whatever its format.
#include <string>

class DF3_cls;

class CliVolume_cls
{
  public:
    /// Sets the frame's file path with the format its name implies (last: the last slice of an
    /// image stack's range, may be empty).
    static void SetSource(DF3_cls& frame, const std::string& path, const std::string& last = "");
    /// The sample description after a read: "8-bit", "16-bit", "16-bit TIFF", "8-bit PNG, colour",
    /// "text, values -1 .. 2.5".
    static std::string Samples(DF3_cls& frame);
    /// Where the slices of an image stack came from ("100 files: a_000.png .. a_099.png", "40
    /// pages of one TIFF file"); empty for the other formats.
    static std::string Slices(DF3_cls& frame);
};
