#pragma once
// A prompt that records every call and answers questions from a queue; for tests and for
// unattended batch runs that want to inspect what would have been shown.
#include "config/UserPrompt_cls.h"

#include <deque>
#include <mutex>

class RecordingPrompt_cls : public UserPrompt_cls {
public:
    enum class Kind { Message, YesNo, Choice, Status, Progress };
    struct Entry {
        Kind kind;
        std::wstring text;
        std::wstring title;
        int value = 0; ///< field for Status, percent for Progress, the answer given for questions
    };

    void Message(const std::wstring& text, const std::wstring& title) override;
    bool AskYesNo(const std::wstring& text, const std::wstring& title, bool defaultYes) override;
    int AskChoice(const std::wstring& text, const std::wstring& title, const std::vector<std::wstring>& choices,
                  int defaultIndex) override;
    void SetStatusText(const std::wstring& text, int field) override;
    void SetProgress(int percent) override;

    /// Queues the answer for the next question (yes/no: 0 or 1; choice: the index).
    void QueueAnswer(int answer);
    /// All recorded calls, oldest first (copy; thread-safe).
    std::vector<Entry> Entries() const;
    /// Only the message boxes.
    std::vector<Entry> Messages() const;
    /// Number of message boxes shown so far.
    size_t MessageCount() const;
    /// Forgets everything recorded.
    void Reset();

private:
    int NextAnswer(int fallback);
    mutable std::mutex mMutex;
    std::vector<Entry> mEntries;
    std::deque<int> mAnswers;
};

/// Installs a prompt for the lifetime of the scope and restores the previous one afterwards.
class ScopedUserPrompt_cls {
public:
    explicit ScopedUserPrompt_cls(UserPrompt_cls* prompt) : mpOld(SetUserPrompt(prompt)) {}
    ~ScopedUserPrompt_cls() { SetUserPrompt(mpOld); }
    ScopedUserPrompt_cls(const ScopedUserPrompt_cls&) = delete;
    ScopedUserPrompt_cls& operator=(const ScopedUserPrompt_cls&) = delete;

private:
    UserPrompt_cls* mpOld;
};
