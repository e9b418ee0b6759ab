// Finding the frames of a time series of image stacks.
// Sections: names and folders; multi-page TIFF series; time in the name; folder per time point;
// the search.
#include "volume/ImageStackSeries_cls.h"

#include "config/TextFormat.h"
#include "volume/DF3_cls.h"
#include "volume/ImageSliceReader_cls.h"
#include "volume/NumberedSeries_cls.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>

namespace
{

namespace fs = std::filesystem;

// --- names and folders ------------------------------------------------------------------------

bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

bool AllDigits(const std::wstring& s)
{
    return !s.empty() && std::all_of(s.begin(), s.end(), IsDigit);
}

// A name cut at one group of digits: head + digits + tail.
struct Cut {
    std::wstring strHead, strDigits, strTail;
    bool bFound = false;
};

// Cuts `text` at its last digit group that ends at or before `end`.
Cut CutLastDigits(const std::wstring& text, size_t end)
{
    Cut cut;
    while (end > 0 && !IsDigit(text[end - 1]))
        --end;
    if (end == 0)
        return cut;
    size_t begin = end;
    while (begin > 0 && IsDigit(text[begin - 1]))
        --begin;
    cut.strHead = text.substr(0, begin);
    cut.strDigits = text.substr(begin, end - begin);
    cut.strTail = text.substr(end);
    cut.bFound = true;
    return cut;
}

// Folder part ("dir/" or "") and name part of a path.
void SplitPath(const std::wstring& path, std::wstring& folder, std::wstring& name)
{
    const size_t slash = path.find_last_of(L'/');
    folder = slash == std::wstring::npos ? L"" : path.substr(0, slash + 1);
    name = slash == std::wstring::npos ? path : path.substr(slash + 1);
}

// The names in `folder` ("" is the working folder) that are directories (wantDirs) or not.
// Names are handled as UTF-8 bytes so that any name the file system holds lists correctly.
std::vector<std::wstring> ListFolder(const std::wstring& folder, bool wantDirs)
{
    std::vector<std::wstring> names;
    std::error_code error;
    fs::directory_iterator it(fs::path(folder.empty() ? std::string(".") : Narrow(folder)), error);
    for (; !error && it != fs::directory_iterator(); it.increment(error)) {
        std::error_code typeError;
        if (fs::is_directory(it->path(), typeError) == wantDirs)
            names.push_back(Widen(it->path().filename().string()));
    }
    return names;
}

bool Exists(const std::wstring& path)
{
    std::error_code error;
    return fs::exists(fs::path(Narrow(path)), error);
}

DF3Sequence_cls::FileEntry StackEntry(const std::wstring& first, const std::wstring& last)
{
    return DF3Sequence_cls::FileEntry{first, last == first ? std::wstring() : last, DF3_cls::FORMAT_IMGSEQ};
}

// --- multi-page TIFF series -------------------------------------------------------------------

bool IsMultiPageTiff(const std::wstring& path)
{
    if (ImageSliceReader_cls::KindFromExtension(path) != ImageSliceReader_cls::KIND_TIFF)
        return false;
    ImageSliceReader_cls reader;
    ImageSliceReader_cls::Info info;
    return reader.ReadInfo(path, info) && info.uPages > 1;
}

std::vector<DF3Sequence_cls::FileEntry> FindTiffPages(const std::wstring& path)
{
    std::vector<DF3Sequence_cls::FileEntry> frames;
    for (const std::wstring& file : NumberedSeries_cls::Find(path))
        frames.push_back(DF3Sequence_cls::FileEntry{file, L"", DF3_cls::FORMAT_IMGSEQ});
    return frames;
}

// --- time in the name -------------------------------------------------------------------------

// "cell_t003_z017.png": z is the last digit group of the name without extension, t the one before.
std::vector<DF3Sequence_cls::FileEntry> FindTimeInName(const std::wstring& path)
{
    std::wstring folder, name;
    SplitPath(path, folder, name);
    size_t extStart = name.find_last_of(L'.');
    if (extStart == std::wstring::npos || extStart == 0)
        extStart = name.size();
    const Cut z = CutLastDigits(name, extStart);
    if (!z.bFound)
        return {};
    const Cut t = CutLastDigits(z.strHead, z.strHead.size());
    if (!t.bFound)
        return {};
    const std::wstring& head = t.strHead;
    const std::wstring& mid = t.strTail; // between the time and the slice digits
    const std::wstring& tail = z.strTail;
    const size_t tn = t.strDigits.size(), zn = z.strDigits.size();

    // time number -> slice numbers (text of equal length: text order is numeric order)
    std::map<std::wstring, std::pair<std::wstring, std::wstring>> stacks;
    for (const std::wstring& candidate : ListFolder(folder, false)) {
        if (candidate.size() != head.size() + tn + mid.size() + zn + tail.size())
            continue;
        if (candidate.compare(0, head.size(), head) != 0 || candidate.compare(head.size() + tn, mid.size(), mid) != 0 ||
            candidate.compare(candidate.size() - tail.size(), tail.size(), tail) != 0)
            continue;
        const std::wstring tNum = candidate.substr(head.size(), tn);
        const std::wstring zNum = candidate.substr(head.size() + tn + mid.size(), zn);
        if (!AllDigits(tNum) || !AllDigits(zNum))
            continue;
        auto [it, added] = stacks.try_emplace(tNum, zNum, zNum);
        if (!added) {
            it->second.first = std::min(it->second.first, zNum);
            it->second.second = std::max(it->second.second, zNum);
        }
    }
    std::vector<DF3Sequence_cls::FileEntry> frames;
    for (const auto& [tNum, range] : stacks)
        frames.push_back(StackEntry(folder + head + tNum + mid + range.first + tail,
                                    folder + head + tNum + mid + range.second + tail));
    return frames;
}

// --- folder per time point --------------------------------------------------------------------

// "run/t003/img_017.png": the slice's folder carries the time number; its numbered siblings with
// slices of the same name pattern are the other time points.
std::vector<DF3Sequence_cls::FileEntry> FindFolders(const std::wstring& path)
{
    std::wstring folder, name;
    SplitPath(path, folder, name);
    if (folder.size() < 2)
        return {};
    std::wstring parent, folderName;
    SplitPath(folder.substr(0, folder.size() - 1), parent, folderName);
    const Cut t = CutLastDigits(folderName, folderName.size());
    if (!t.bFound)
        return {};
    std::vector<std::wstring> times;
    for (const std::wstring& candidate : ListFolder(parent, true)) {
        if (candidate.size() != folderName.size() || candidate.compare(0, t.strHead.size(), t.strHead) != 0 ||
            candidate.compare(candidate.size() - t.strTail.size(), t.strTail.size(), t.strTail) != 0)
            continue;
        if (AllDigits(candidate.substr(t.strHead.size(), t.strDigits.size())))
            times.push_back(candidate);
    }
    std::sort(times.begin(), times.end());
    std::vector<DF3Sequence_cls::FileEntry> frames;
    for (const std::wstring& timeFolder : times) {
        // The slices in that folder with the same name pattern (numbers may differ per folder).
        const std::vector<std::wstring> slices = NumberedSeries_cls::Find(parent + timeFolder + L"/" + name);
        if (slices.empty() || !Exists(slices.front()))
            continue; // a sibling folder of another kind, or one still being written
        frames.push_back(StackEntry(slices.front(), slices.back()));
    }
    return frames;
}

} // namespace

// --- the search -------------------------------------------------------------------------------

std::vector<DF3Sequence_cls::FileEntry> ImageStackSeries_cls::Find(const std::wstring& slice, Layout* layout)
{
    Layout found = kLayoutSingle;
    std::vector<DF3Sequence_cls::FileEntry> frames;
    if (!Exists(slice)) {
        if (layout)
            *layout = found;
        return frames;
    }
    if (IsMultiPageTiff(slice)) {
        frames = FindTiffPages(slice);
        found = kLayoutTiffPages;
    } else {
        // A name with two numbers is tried first: a folder per time point rarely holds names that
        // carry the time as well, and when it does, the name is the more specific of the two.
        frames = FindTimeInName(slice);
        found = kLayoutTimeInName;
        if (frames.size() < 2) {
            frames = FindFolders(slice);
            found = kLayoutFolders;
        }
    }
    if (frames.size() < 2) {
        frames = {DF3Sequence_cls::FileEntry{slice, L"", DF3_cls::FORMAT_IMGSEQ}};
        found = kLayoutSingle;
    }
    if (layout)
        *layout = found;
    return frames;
}

const char* ImageStackSeries_cls::LayoutName(Layout layout)
{
    switch (layout) {
    case kLayoutFolders:
        return "folder per time point";
    case kLayoutTimeInName:
        return "time and slice in the file name";
    case kLayoutTiffPages:
        return "multi-page TIFF per time point";
    default:
        return "one stack";
    }
}
