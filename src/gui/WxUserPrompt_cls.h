#pragma once
// The window program's user prompt: message boxes, questions, the status bar and the progress
// gauge. Unattended runs (the GUI tests, scripted screenshots) set the environment variable
// TESSAN_PROMPT_ANSWERS to a comma-separated list of answers ("yes", "no" or a choice number);
// each question then takes the next answer without showing a dialog (the default answer when
// the list is used up), and every message and question is written to stderr as
// "prompt: TITLE: TEXT" (questions add " -> ANSWER"), so a test can see what the user would have
// been shown.
#include "config/UserPrompt_cls.h"

#include <deque>
#include <string>

class wxFrame;
class wxGauge;

class WxUserPrompt_cls : public UserPrompt_cls
{
  public:
    /// frame: parent of the dialogs and owner of the status bar; gauge: the progress gauge (may
    /// be null). Both are owned by the window and must outlive the prompt.
    WxUserPrompt_cls(wxFrame* frame, wxGauge* gauge);

    void Message(const std::wstring& text, const std::wstring& title) override;
    bool AskYesNo(const std::wstring& text, const std::wstring& title, bool defaultYes) override;
    int AskChoice(const std::wstring& text, const std::wstring& title, const std::vector<std::wstring>& choices,
                  int defaultIndex) override;
    /// Any thread: from a worker the update is queued to the GUI thread.
    void SetStatusText(const std::wstring& text, int field) override;
    /// Any thread: from a worker the update is queued to the GUI thread.
    void SetProgress(int percent) override;

    /// True when answers come from TESSAN_PROMPT_ANSWERS instead of dialogs.
    bool IsUnattended() const { return mbUnattended; }

  private:
    void PlaceGauge();

    wxFrame* mpFrame;
    wxGauge* mpGauge;
    bool mbUnattended = false;
    std::deque<std::wstring> mvAnswers;
};
