#pragma once
// The CLI's user prompt: messages to stderr; questions read from the terminal when stdin is one,
// otherwise answered with their default (batch runs never block).
#include "config/UserPrompt_cls.h"

class TerminalPrompt_cls final : public UserPrompt_cls
{
  public:
    /// quiet: no status or progress lines.
    explicit TerminalPrompt_cls(bool quiet = false) : mbQuiet(quiet) {}
    void Message(const std::wstring& text, const std::wstring& title) override;
    bool AskYesNo(const std::wstring& text, const std::wstring& title, bool defaultYes) override;
    int AskChoice(const std::wstring& text, const std::wstring& title, const std::vector<std::wstring>& choices,
                  int defaultIndex) override;
    void SetStatusText(const std::wstring& text, int field) override;
    void SetProgress(int percent) override;

  private:
    bool mbQuiet;
    int miLastPercent = -1;
};
