#include "gui/WxUserPrompt_cls.h"

#include "config/TextFormat.h"

#include <wx/choicdlg.h>
#include <wx/frame.h>
#include <wx/gauge.h>
#include <wx/msgdlg.h>
#include <wx/statusbr.h>
#include <wx/thread.h>

#include <cstdio>
#include <cstdlib>

WxUserPrompt_cls::WxUserPrompt_cls(wxFrame* frame, wxGauge* gauge) : mpFrame(frame), mpGauge(gauge)
{
    if (const char* answers = std::getenv("TESSAN_PROMPT_ANSWERS")) {
        mbUnattended = true;
        std::wstring all = Widen(answers), part;
        for (wchar_t c : all + L",") {
            if (c == L',') {
                if (!part.empty())
                    mvAnswers.push_back(part);
                part.clear();
            } else if (c != L' ') {
                part += c;
            }
        }
    }
}

void WxUserPrompt_cls::Message(const std::wstring& text, const std::wstring& title)
{
    if (mbUnattended || !wxIsMainThread()) {
        std::fprintf(stderr, "prompt: %s: %s\n", Narrow(title).c_str(), Narrow(text).c_str());
        return;
    }
    wxMessageBox(text, title, wxOK | wxCENTRE, mpFrame);
}

bool WxUserPrompt_cls::AskYesNo(const std::wstring& text, const std::wstring& title, bool defaultYes)
{
    if (mbUnattended || !wxIsMainThread()) {
        bool yes = defaultYes;
        if (!mvAnswers.empty()) {
            yes = mvAnswers.front() == L"yes" || mvAnswers.front() == L"y" || mvAnswers.front() == L"1";
            mvAnswers.pop_front();
        }
        std::fprintf(stderr, "prompt: %s: %s -> %s\n", Narrow(title).c_str(), Narrow(text).c_str(), yes ? "yes" : "no");
        return yes;
    }
    wxMessageDialog dialog(mpFrame, text, title, wxYES_NO | wxCENTRE | (defaultYes ? 0 : wxNO_DEFAULT));
    return dialog.ShowModal() == wxID_YES;
}

int WxUserPrompt_cls::AskChoice(const std::wstring& text, const std::wstring& title,
                                const std::vector<std::wstring>& choices, int defaultIndex)
{
    if (mbUnattended || !wxIsMainThread()) {
        int answer = defaultIndex;
        if (!mvAnswers.empty()) {
            answer = static_cast<int>(ParseLong(mvAnswers.front()));
            mvAnswers.pop_front();
        }
        if (answer < -1 || answer >= static_cast<int>(choices.size()))
            answer = -1;
        std::fprintf(stderr, "prompt: %s: %s -> %d\n", Narrow(title).c_str(), Narrow(text).c_str(), answer);
        return answer;
    }
    wxArrayString items;
    for (const auto& c : choices)
        items.Add(c);
    wxSingleChoiceDialog dialog(mpFrame, text, title, items);
    if (defaultIndex >= 0 && defaultIndex < static_cast<int>(choices.size()))
        dialog.SetSelection(defaultIndex);
    return dialog.ShowModal() == wxID_OK ? dialog.GetSelection() : -1;
}

void WxUserPrompt_cls::SetStatusText(const std::wstring& text, int field)
{
    if (!wxIsMainThread()) {
        mpFrame->CallAfter([this, text, field] { SetStatusText(text, field); });
        return;
    }
    wxStatusBar* bar = mpFrame->GetStatusBar();
    if (bar != nullptr && field >= 0 && field < bar->GetFieldsCount())
        bar->SetStatusText(text, field);
}

void WxUserPrompt_cls::SetProgress(int percent)
{
    if (!wxIsMainThread()) {
        mpFrame->CallAfter([this, percent] { SetProgress(percent); });
        return;
    }
    if (mpGauge == nullptr)
        return;
    if (percent < 0) {
        mpGauge->Hide();
        return;
    }
    PlaceGauge();
    mpGauge->SetValue(std::min(percent, 100));
    mpGauge->Show();
}

void WxUserPrompt_cls::PlaceGauge()
{
    // The gauge covers the last status field while work is in progress.
    wxStatusBar* bar = mpFrame->GetStatusBar();
    wxRect rect;
    if (bar != nullptr && bar->GetFieldRect(bar->GetFieldsCount() - 1, rect))
        mpGauge->SetSize(rect.Deflate(2));
}
