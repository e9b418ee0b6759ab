#include "config/RecordingPrompt_cls.h"

void RecordingPrompt_cls::Message(const std::wstring& text, const std::wstring& title)
{
    std::lock_guard lock(mMutex);
    mEntries.push_back({Kind::Message, text, title, 0});
}

bool RecordingPrompt_cls::AskYesNo(const std::wstring& text, const std::wstring& title, bool defaultYes)
{
    std::lock_guard lock(mMutex);
    int answer = NextAnswer(defaultYes ? 1 : 0);
    mEntries.push_back({Kind::YesNo, text, title, answer});
    return answer != 0;
}

int RecordingPrompt_cls::AskChoice(const std::wstring& text, const std::wstring& title,
                                   const std::vector<std::wstring>&, int defaultIndex)
{
    std::lock_guard lock(mMutex);
    int answer = NextAnswer(defaultIndex);
    mEntries.push_back({Kind::Choice, text, title, answer});
    return answer;
}

void RecordingPrompt_cls::SetStatusText(const std::wstring& text, int field)
{
    std::lock_guard lock(mMutex);
    mEntries.push_back({Kind::Status, text, L"", field});
}

void RecordingPrompt_cls::SetProgress(int percent)
{
    std::lock_guard lock(mMutex);
    mEntries.push_back({Kind::Progress, L"", L"", percent});
}

void RecordingPrompt_cls::QueueAnswer(int answer)
{
    std::lock_guard lock(mMutex);
    mAnswers.push_back(answer);
}

std::vector<RecordingPrompt_cls::Entry> RecordingPrompt_cls::Entries() const
{
    std::lock_guard lock(mMutex);
    return mEntries;
}

std::vector<RecordingPrompt_cls::Entry> RecordingPrompt_cls::Messages() const
{
    std::lock_guard lock(mMutex);
    std::vector<Entry> out;
    for (const Entry& e : mEntries)
        if (e.kind == Kind::Message)
            out.push_back(e);
    return out;
}

size_t RecordingPrompt_cls::MessageCount() const { return Messages().size(); }

void RecordingPrompt_cls::Reset()
{
    std::lock_guard lock(mMutex);
    mEntries.clear();
    mAnswers.clear();
}

int RecordingPrompt_cls::NextAnswer(int fallback)
{
    if (mAnswers.empty())
        return fallback;
    int a = mAnswers.front();
    mAnswers.pop_front();
    return a;
}
