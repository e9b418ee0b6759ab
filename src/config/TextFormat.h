#pragma once
// Locale-independent text helpers shared by every reader and writer.
// All numbers are formatted and parsed in the "C" locale whatever the process locale is,
// so files written under a German desktop read back on any other machine.
#include <cstdarg>
#include <string>
#include <string_view>
#include <vector>

/// printf-style formatting in the C locale; returns UTF-8/ASCII text. Thread-safe.
std::string StrPrintf(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
/// vprintf variant of StrPrintf.
std::string StrVPrintf(const char* fmt, va_list args);
/// printf-style formatting in the C locale, widened to a wide string (ASCII/UTF-8 input).
std::wstring WStrPrintf(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

/// UTF-8 -> wide string (invalid bytes become U+FFFD).
std::wstring Widen(std::string_view utf8);
/// Wide string -> UTF-8.
std::string Narrow(std::wstring_view wide);

/// strtol(base 10) semantics in the C locale: leading blanks skipped, junk after the number
/// ignored, text that is not a number gives 0. Saturates like strtol on overflow.
long ParseLong(std::string_view text);
/// strtod semantics in the C locale (decimal point is always '.'); not a number gives 0.
double ParseDouble(std::string_view text);
/// Wide-text variants (the text is converted to ASCII first).
long ParseLong(std::wstring_view text);
double ParseDouble(std::wstring_view text);

/// Splits at runs of blanks (spaces and tabs); empty parts are dropped.
std::vector<std::wstring> SplitBlanks(std::wstring_view text);
/// Removes trailing '\r' and '\n' characters.
std::wstring StripLineEnd(std::wstring_view line);
