#pragma once
// The recent-project list: up to 10 paths, index 0 the newest. Kept beside the executable in
// "KivrelRecent.txt" as one path per line.
#include <array>
#include <string>

class RecentList_cls {
public:
    static constexpr int kSize = 10;

    /// Moves `path` to the front: an entry already present (exact comparison) moves up without
    /// dropping others; a new one pushes every entry down and drops the oldest.
    void PushBackRecent(const std::wstring& path);
    /// Fills the entries from the non-empty lines of `file` (trailing white space trimmed), at most
    /// 10. A missing file leaves the list as it is.
    void ReadRecentList(const std::string& file);
    /// Writes the non-empty entries in index order, one per line (UTF-8). Returns 1; 0 when the
    /// file cannot be created.
    int SaveRecentFile(const std::string& file) const;

    /// Entry i (0..9), empty when unused.
    const std::wstring& Get(int i) const { return mvEntries[static_cast<size_t>(i)]; }
    /// Number of non-empty entries.
    int Count() const;
    void Clear() { mvEntries.fill(std::wstring()); }

private:
    std::array<std::wstring, kSize> mvEntries;
};
