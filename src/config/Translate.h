#pragma once
// Translation hook: every user-visible text passes through here before it is shown.
// The front end installs the real translator (wx catalogue "Tessan" in the GUI, gettext in the
// CLI); without one, texts pass unchanged.
#include <functional>
#include <string>

/// Translator: msgid (UTF-8, as written in the source) -> translated UTF-8 text.
using Translator = std::function<std::string(const char* msgid)>;

/// Installs the translator used by Tr/TrW. Call once at start-up, before worker threads run.
void SetTranslator(Translator translator);
/// Translates msgid (UTF-8 result). Any thread.
std::string Tr(const char* msgid);
/// Translates msgid (wide result). Any thread.
std::wstring TrW(const char* msgid);
