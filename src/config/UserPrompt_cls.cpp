#include "config/UserPrompt_cls.h"

#include "config/TextFormat.h"
#include "config/Translate.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace {

// Used before any front end installed its own prompt: everything goes to stderr, questions take
// their default answer.
class StderrPrompt_cls final : public UserPrompt_cls {
public:
    void Message(const std::wstring& text, const std::wstring& title) override
    {
        std::fprintf(stderr, "%s: %s\n", Narrow(title).c_str(), Narrow(text).c_str());
    }
    bool AskYesNo(const std::wstring& text, const std::wstring& title, bool defaultYes) override
    {
        Message(text, title);
        return defaultYes;
    }
    int AskChoice(const std::wstring& text, const std::wstring& title, const std::vector<std::wstring>&,
                  int defaultIndex) override
    {
        Message(text, title);
        return defaultIndex;
    }
    void SetStatusText(const std::wstring&, int) override {}
    void SetProgress(int) override {}
};

StderrPrompt_cls gStderrPrompt;
std::atomic<UserPrompt_cls*> gPrompt{&gStderrPrompt};

} // namespace

UserPrompt_cls* GetUserPrompt() { return gPrompt.load(); }

UserPrompt_cls* SetUserPrompt(UserPrompt_cls* prompt)
{
    return gPrompt.exchange(prompt ? prompt : &gStderrPrompt);
}

void FatalCannotCreateThread()
{
    GetUserPrompt()->Message(TrW("Can't create thread"), TrW("Error!"));
    std::exit(EXIT_FAILURE);
}
