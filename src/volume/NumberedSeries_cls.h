#pragma once
// Numbered file series: "scan_0012.df3" stands for every existing "scan_NNNN.df3" in its folder
// with the same prefix, the same number of digits and the same extension, in numeric order from
// the lowest number found. A name without a group of digits is a series of one file.
#include <string>
#include <vector>

class NumberedSeries_cls
{
  public:
    /// The parts of one file name: folder + name prefix, the digit group and the rest (text between
    /// the digits and the extension, then the extension with its dot).
    struct Parts {
        std::wstring strPrefix; ///< everything before the digits, folder included
        std::wstring strDigits; ///< the last group of digits of the name without extension
        std::wstring strSuffix; ///< everything after the digits
        bool bNumbered = false; ///< false when the name has no digits (then all text is in prefix)
    };

    /// Splits `path` at the last group of digits of its file name before the extension.
    static Parts Split(const std::wstring& path);
    /// The series `path` belongs to, sorted by number; `path` alone when it carries no number or
    /// nothing matching exists (so the reader reports a missing file). Folder errors count as
    /// "nothing found". Numbers may be as long as the file system allows (compared as text of
    /// equal length, which is numeric order for equal digit counts).
    static std::vector<std::wstring> Find(const std::wstring& path);
};
