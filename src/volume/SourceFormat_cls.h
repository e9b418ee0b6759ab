#pragma once
// Which reader a volume file is opened with, judged by its name: image slices (.png, .tif, .tiff,
// .jpg, .jpeg, .bmp) are an image stack, .txt, .dat and .vol files a text volume, everything else
// a DF3 file (DF3 series are often named without the extension).
#include <string>

class SourceFormat_cls
{
  public:
    /// DF3_cls::FORMAT_DF3, FORMAT_IMGSEQ or FORMAT_TXT for the file name (case-insensitive).
    static int FromPath(const std::wstring& path);
    /// A short name of a format for reports: "DF3", "image stack", "text volume" or "unknown".
    static const char* Name(int format);
};
