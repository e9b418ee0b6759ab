#include "volume/NumberedSeries_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace
{

bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

} // namespace

NumberedSeries_cls::Parts NumberedSeries_cls::Split(const std::wstring& path)
{
    Parts parts;
    const size_t slash = path.find_last_of(L'/');
    const size_t nameStart = slash == std::wstring::npos ? 0 : slash + 1;
    // The extension starts at the last dot of the file name; a leading dot ("hidden" file) is no
    // extension.
    size_t extStart = path.find_last_of(L'.');
    if (extStart == std::wstring::npos || extStart <= nameStart)
        extStart = path.size();
    size_t end = extStart;
    while (end > nameStart && !IsDigit(path[end - 1]))
        --end;
    if (end == nameStart) {
        parts.strPrefix = path;
        return parts;
    }
    size_t begin = end;
    while (begin > nameStart && IsDigit(path[begin - 1]))
        --begin;
    parts.strPrefix = path.substr(0, begin);
    parts.strDigits = path.substr(begin, end - begin);
    parts.strSuffix = path.substr(end);
    parts.bNumbered = true;
    return parts;
}

std::vector<std::wstring> NumberedSeries_cls::Find(const std::wstring& path)
{
    const Parts parts = Split(path);
    if (!parts.bNumbered)
        return {path};
    const size_t slash = parts.strPrefix.find_last_of(L'/');
    const std::wstring folder = slash == std::wstring::npos ? L"." : parts.strPrefix.substr(0, slash + 1);
    const std::wstring namePrefix = slash == std::wstring::npos ? parts.strPrefix : parts.strPrefix.substr(slash + 1);
    const size_t digits = parts.strDigits.size();

    // File names are handled as UTF-8 bytes so that names in any encoding the locale cannot
    // convert still list and compare correctly.
    std::vector<std::wstring> numbers;
    std::error_code error;
    std::filesystem::directory_iterator it(std::filesystem::path(Narrow(folder)), error);
    for (; !error && it != std::filesystem::directory_iterator(); it.increment(error)) {
        const std::wstring name = Widen(it->path().filename().string());
        if (name.size() != namePrefix.size() + digits + parts.strSuffix.size())
            continue;
        if (name.compare(0, namePrefix.size(), namePrefix) != 0 ||
            name.compare(namePrefix.size() + digits, std::wstring::npos, parts.strSuffix) != 0)
            continue;
        const std::wstring number = name.substr(namePrefix.size(), digits);
        if (!std::all_of(number.begin(), number.end(), IsDigit))
            continue;
        std::error_code typeError;
        if (std::filesystem::is_directory(it->path(), typeError))
            continue;
        numbers.push_back(number);
    }
    if (numbers.empty())
        return {path};
    // Equal digit counts: text order is numeric order.
    std::sort(numbers.begin(), numbers.end());
    std::vector<std::wstring> files;
    files.reserve(numbers.size());
    for (const std::wstring& number : numbers)
        files.push_back(parts.strPrefix + number + parts.strSuffix);
    return files;
}
