#include "config/RecentList_cls.h"

#include "config/TextFormat.h"

#include <fstream>

void RecentList_cls::PushBackRecent(const std::wstring& path)
{
    int found = kSize - 1; // not found: everything moves down and the last entry drops out
    for (int i = 0; i < kSize; ++i) {
        if (mvEntries[static_cast<size_t>(i)] == path) {
            found = i;
            break;
        }
    }
    for (int i = found; i > 0; --i)
        mvEntries[static_cast<size_t>(i)] = mvEntries[static_cast<size_t>(i - 1)];
    mvEntries[0] = path;
}

void RecentList_cls::ReadRecentList(const std::string& file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in)
        return;
    std::string line;
    size_t next = 0;
    while (next < mvEntries.size() && std::getline(in, line)) {
        size_t end = line.find_last_not_of(" \t\r\n\f\v");
        if (end == std::string::npos)
            continue;
        mvEntries[next++] = Widen(line.substr(0, end + 1));
    }
}

int RecentList_cls::SaveRecentFile(const std::string& file) const
{
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    if (!out)
        return 0;
    for (const std::wstring& e : mvEntries)
        if (!e.empty())
            out << Narrow(e) << "\n";
    return 1;
}

int RecentList_cls::Count() const
{
    int n = 0;
    for (const std::wstring& e : mvEntries)
        n += e.empty() ? 0 : 1;
    return n;
}
