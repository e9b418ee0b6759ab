#pragma once
// The core's only way to talk to the user: message boxes, questions, status text and progress.
// The GUI implements it with wx dialogs, the CLI with the terminal, tests with RecordingPrompt_cls.
// Texts arrive already translated (callers pass them through TrW).
#include <string>
#include <vector>

class UserPrompt_cls {
public:
    virtual ~UserPrompt_cls() = default;
    /// Shows a message box with the given text and title. GUI thread (or the CLI's main thread).
    virtual void Message(const std::wstring& text, const std::wstring& title) = 0;
    /// Asks a yes/no question; returns true for yes. defaultYes is the answer when nobody can answer.
    virtual bool AskYesNo(const std::wstring& text, const std::wstring& title, bool defaultYes) = 0;
    /// Asks for one of choices; returns its index, or -1 when cancelled.
    virtual int AskChoice(const std::wstring& text, const std::wstring& title,
                          const std::vector<std::wstring>& choices, int defaultIndex) = 0;
    /// Sets the text of status field `field` (0..2).
    virtual void SetStatusText(const std::wstring& text, int field) = 0;
    /// Shows progress in percent (0..100); a negative value hides the progress display.
    virtual void SetProgress(int percent) = 0;
};

/// The process-wide prompt (never null: a stderr prompt until a front end installs its own).
UserPrompt_cls* GetUserPrompt();
/// Installs the process-wide prompt (not owned; null restores the stderr prompt). Returns the old one.
UserPrompt_cls* SetUserPrompt(UserPrompt_cls* prompt);

/// Shows the fatal message "Can't create thread" / "Error!" and ends the program.
[[noreturn]] void FatalCannotCreateThread();
