#include "cli/TerminalPrompt_cls.h"

#include "config/TextFormat.h"

#include <cstdio>
#include <iostream>
#include <string>
#include <unistd.h>

void TerminalPrompt_cls::Message(const std::wstring& text, const std::wstring& title)
{
    std::fprintf(stderr, "%s: %s\n", Narrow(title).c_str(), Narrow(text).c_str());
}

bool TerminalPrompt_cls::AskYesNo(const std::wstring& text, const std::wstring& title, bool defaultYes)
{
    std::fprintf(stderr, "%s: %s [%s] ", Narrow(title).c_str(), Narrow(text).c_str(), defaultYes ? "Y/n" : "y/N");
    if (!isatty(STDIN_FILENO)) {
        std::fprintf(stderr, "%s\n", defaultYes ? "y" : "n");
        return defaultYes;
    }
    std::string answer;
    if (!std::getline(std::cin, answer) || answer.empty())
        return defaultYes;
    return answer[0] == 'y' || answer[0] == 'Y';
}

int TerminalPrompt_cls::AskChoice(const std::wstring& text, const std::wstring& title,
                                  const std::vector<std::wstring>& choices, int defaultIndex)
{
    std::fprintf(stderr, "%s: %s\n", Narrow(title).c_str(), Narrow(text).c_str());
    for (size_t i = 0; i < choices.size(); ++i)
        std::fprintf(stderr, "  %zu) %s\n", i + 1, Narrow(choices[i]).c_str());
    if (!isatty(STDIN_FILENO))
        return defaultIndex;
    std::fprintf(stderr, "choice [%d]: ", defaultIndex + 1);
    std::string answer;
    if (!std::getline(std::cin, answer) || answer.empty())
        return defaultIndex;
    long n = ParseLong(answer);
    return (n >= 1 && static_cast<size_t>(n) <= choices.size()) ? static_cast<int>(n - 1) : -1;
}

void TerminalPrompt_cls::SetStatusText(const std::wstring& text, int)
{
    if (!mbQuiet && !text.empty())
        std::fprintf(stderr, "%s\n", Narrow(text).c_str());
}

void TerminalPrompt_cls::SetProgress(int percent)
{
    if (mbQuiet || !isatty(STDERR_FILENO) || percent == miLastPercent)
        return;
    miLastPercent = percent;
    if (percent < 0)
        std::fprintf(stderr, "\r\033[K");
    else
        std::fprintf(stderr, "\r%3d%%", percent);
}
