#include "config/TextFormat.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <locale.h>

namespace {

// One process-wide "C" locale object; uselocale() makes it current for the calling thread only.
locale_t CLocale()
{
    static locale_t sLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return sLocale;
}

class CLocaleScope {
public:
    CLocaleScope() : mOld(uselocale(CLocale())) {}
    ~CLocaleScope() { uselocale(mOld); }
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;

private:
    locale_t mOld;
};

std::string ToAscii(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    for (wchar_t c : text)
        out.push_back(c < 128 ? static_cast<char>(c) : '?');
    return out;
}

} // namespace

std::string StrVPrintf(const char* fmt, va_list args)
{
    CLocaleScope scope;
    char small[256];
    va_list copy;
    va_copy(copy, args);
    int n = std::vsnprintf(small, sizeof small, fmt, copy);
    va_end(copy);
    if (n < 0)
        return {};
    if (static_cast<size_t>(n) < sizeof small)
        return std::string(small, static_cast<size_t>(n));
    std::string out(static_cast<size_t>(n) + 1, '\0');
    std::vsnprintf(out.data(), out.size(), fmt, args);
    out.resize(static_cast<size_t>(n));
    return out;
}

std::string StrPrintf(const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    std::string out = StrVPrintf(fmt, args);
    va_end(args);
    return out;
}

std::wstring WStrPrintf(const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    std::string out = StrVPrintf(fmt, args);
    va_end(args);
    return Widen(out);
}

std::wstring Widen(std::string_view s)
{
    std::wstring out;
    out.reserve(s.size());
    size_t i = 0;
    while (i < s.size()) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        if (c < 0x80) {
            out.push_back(static_cast<wchar_t>(c));
            ++i;
            continue;
        }
        int extra = (c >= 0xF0 && c < 0xF8) ? 3 : (c >= 0xE0) ? 2 : (c >= 0xC2 && c < 0xE0) ? 1 : -1;
        if (c >= 0xF8)
            extra = -1;
        if (extra < 0 || i + static_cast<size_t>(extra) >= s.size()) {
            out.push_back(0xFFFD);
            ++i;
            continue;
        }
        char32_t cp = c & (0x3F >> extra);
        bool ok = true;
        for (int k = 1; k <= extra; ++k) {
            unsigned char cc = static_cast<unsigned char>(s[i + k]);
            if ((cc & 0xC0) != 0x80) {
                ok = false;
                break;
            }
            cp = (cp << 6) | (cc & 0x3F);
        }
        if (!ok || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
            out.push_back(0xFFFD);
            ++i;
            continue;
        }
        out.push_back(static_cast<wchar_t>(cp));
        i += static_cast<size_t>(extra) + 1;
    }
    return out;
}

std::string Narrow(std::wstring_view w)
{
    std::string out;
    out.reserve(w.size());
    for (wchar_t wc : w) {
        auto cp = static_cast<char32_t>(wc);
        if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
            cp = 0xFFFD;
        if (cp < 0x80) {
            out.push_back(static_cast<char>(cp));
        } else if (cp < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else if (cp < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        }
    }
    return out;
}

long ParseLong(std::string_view text)
{
    std::string s(text);
    return strtol_l(s.c_str(), nullptr, 10, CLocale());
}

double ParseDouble(std::string_view text)
{
    std::string s(text);
    return strtod_l(s.c_str(), nullptr, CLocale());
}

long ParseLong(std::wstring_view text) { return ParseLong(ToAscii(text)); }
double ParseDouble(std::wstring_view text) { return ParseDouble(ToAscii(text)); }

std::vector<std::wstring> SplitBlanks(std::wstring_view text)
{
    std::vector<std::wstring> parts;
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && (text[i] == L' ' || text[i] == L'\t'))
            ++i;
        size_t start = i;
        while (i < text.size() && text[i] != L' ' && text[i] != L'\t')
            ++i;
        if (i > start)
            parts.emplace_back(text.substr(start, i - start));
    }
    return parts;
}

std::wstring StripLineEnd(std::wstring_view line)
{
    size_t n = line.size();
    while (n > 0 && (line[n - 1] == L'\r' || line[n - 1] == L'\n'))
        --n;
    return std::wstring(line.substr(0, n));
}
