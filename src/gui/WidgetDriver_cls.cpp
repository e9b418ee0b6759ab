// Sections: the watcher; the command queue; the commands; the report.
#include "gui/WidgetDriver_cls.h"

#include "config/TextFormat.h"
#include "gui/WidgetWalker_cls.h"

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/frame.h>
#include <wx/listbox.h>
#include <wx/menu.h>

#include <chrono>
#include <fstream>

namespace
{

template <class T> T* FindUnder(wxWindow* root, const std::function<bool(T*)>& match)
{
    if (root == nullptr)
        return nullptr;
    for (wxWindow* child : root->GetChildren()) {
        if (auto* t = dynamic_cast<T*>(child); t != nullptr && match(t))
            return t;
        if (child->IsTopLevel())
            continue;
        if (T* found = FindUnder<T>(child, match))
            return found;
    }
    return nullptr;
}

std::pair<std::wstring, std::wstring> SplitBar(const std::wstring& s)
{
    const size_t bar = s.find(L'|');
    if (bar == std::wstring::npos)
        return {s, L""};
    return {s.substr(0, bar), s.substr(bar + 1)};
}

} // namespace

// --- the watcher ----------------------------------------------------------------------------------

WidgetDriver_cls::WidgetDriver_cls(wxFrame* frame, std::string file, Links links)
    : mpFrame(frame), mStrFile(std::move(file)), mCLinks(std::move(links)),
      mpAlive(std::make_shared<std::atomic<bool>>(true))
{
    mCThreadWatch = std::thread([this] { Watch(); });
}

WidgetDriver_cls::~WidgetDriver_cls()
{
    *mpAlive = false;
    {
        std::lock_guard<std::mutex> lock(mCMutex);
        mbStop = true;
    }
    mCWake.notify_all();
    mCThreadWatch.join();
}

void WidgetDriver_cls::Watch()
{
    // The file only grows; lines are handed on once they end in a newline.
    size_t taken = 0;
    std::unique_lock<std::mutex> lock(mCMutex);
    while (!mbStop) {
        mCWake.wait_for(lock, std::chrono::milliseconds(50), [this] { return mbStop; });
        if (mbStop)
            break;
        std::ifstream in(mStrFile, std::ios::binary);
        if (!in)
            continue;
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::vector<std::wstring> lines;
        size_t end;
        while ((end = text.find('\n', taken)) != std::string::npos) {
            std::string line = text.substr(taken, end - taken);
            taken = end + 1;
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            if (!line.empty())
                lines.push_back(Widen(line));
        }
        if (lines.empty())
            continue;
        auto alive = mpAlive;
        mpFrame->CallAfter([this, alive, lines = std::move(lines)]() mutable {
            if (*alive)
                Take(std::move(lines));
        });
    }
}

// --- the command queue ----------------------------------------------------------------------------

void WidgetDriver_cls::Take(std::vector<std::wstring> lines)
{
    for (std::wstring& line : lines)
        mvQueue.push_back(std::move(line));
    Pump();
}

void WidgetDriver_cls::Pump()
{
    while (!mbBusy && !mvQueue.empty()) {
        const std::wstring line = mvQueue.front();
        mvQueue.pop_front();
        if (Run(line))
            Done();
        else
            mbBusy = true;
    }
}

void WidgetDriver_cls::Done()
{
    ++miDone;
    if (mCLinks.mReport)
        mCLinks.mReport();
}

// --- the commands ---------------------------------------------------------------------------------

wxWindow* WidgetDriver_cls::ModalDialog() const
{
    for (wxWindow* w : wxTopLevelWindows)
        if (auto* dialog = dynamic_cast<wxDialog*>(w); dialog != nullptr && dialog->IsModal())
            return dialog;
    return nullptr;
}

wxWindow* WidgetDriver_cls::Target(const std::wstring& name) const
{
    if (name == L"dialog")
        return ModalDialog();
    return mCLinks.mTarget ? mCLinks.mTarget(name) : nullptr;
}

bool WidgetDriver_cls::Run(const std::wstring& line)
{
    const size_t blank = line.find(L' ');
    const std::wstring verb = line.substr(0, blank);
    const std::wstring rest = blank == std::wstring::npos ? L"" : line.substr(blank + 1);
    mStrLastError.clear();
    if (verb == L"walk") {
        mStrWalkTarget = rest;
        miEdited = 0;
        miSkipped = 0;
        mvUnchanged.clear();
        mStrBefore.clear();
        auto alive = mpAlive;
        mpFrame->CallAfter([this, alive] {
            if (*alive)
                WalkStep(0);
        });
        return false;
    }
    if (verb == L"press") {
        // Named copies, not a structured binding: clang 14 cannot capture bindings in a lambda.
        const std::pair<std::wstring, std::wstring> parts = SplitBar(rest);
        const std::wstring& target = parts.first;
        const std::wstring& label = parts.second;
        wxButton* button = FindUnder<wxButton>(
            Target(target), [&](wxButton* b) { return b->GetLabelText().ToStdWstring() == label && b->IsEnabled(); });
        if (button == nullptr) {
            mStrLastError = L"no button " + rest;
            return true;
        }
        wxCommandEvent event(wxEVT_BUTTON, button->GetId());
        event.SetEventObject(button);
        button->ProcessWindowEvent(event);
        return true;
    }
    if (verb == L"listselect") {
        const auto [target, row] = SplitBar(rest);
        wxListBox* list = FindUnder<wxListBox>(Target(target), [](wxListBox* l) { return l->IsShown(); });
        const long n = ParseLong(row);
        if (list == nullptr || n < 0 || n >= static_cast<long>(list->GetCount())) {
            mStrLastError = L"no list row " + rest;
            return true;
        }
        list->SetSelection(static_cast<int>(n));
        wxCommandEvent event(wxEVT_LISTBOX, list->GetId());
        event.SetInt(static_cast<int>(n));
        event.SetEventObject(list);
        list->ProcessWindowEvent(event);
        return true;
    }
    if (verb == L"menu" || verb == L"menuall") {
        wxMenuBar* bar = mpFrame->GetMenuBar();
        const auto [menuLabel, itemLabel] = SplitBar(rest);
        std::vector<int> ids;
        if (bar != nullptr && verb == L"menu") {
            if (const int id = bar->FindMenuItem(menuLabel, itemLabel); id != wxNOT_FOUND)
                ids.push_back(id);
        } else if (bar != nullptr) {
            if (const int at = bar->FindMenu(menuLabel); at != wxNOT_FOUND) {
                std::function<void(wxMenu*)> leaves = [&](wxMenu* menu) {
                    for (wxMenuItem* item : menu->GetMenuItems()) {
                        if (item->IsSubMenu())
                            leaves(item->GetSubMenu());
                        else if (!item->IsSeparator())
                            ids.push_back(item->GetId());
                    }
                };
                leaves(bar->GetMenu(static_cast<size_t>(at)));
            }
        }
        if (ids.empty())
            mStrLastError = L"no menu command " + rest;
        // Queued, not run here: a command that shows a modal dialog must not hold the queue.
        for (const int id : ids) {
            auto* event = new wxCommandEvent(wxEVT_MENU, id);
            event->SetEventObject(mpFrame);
            mpFrame->GetEventHandler()->QueueEvent(event);
        }
        return true;
    }
    if (verb == L"ok" || verb == L"cancel") {
        const int id = verb == L"ok" ? wxID_OK : wxID_CANCEL;
        wxButton* button = FindUnder<wxButton>(ModalDialog(), [id](wxButton* b) { return b->GetId() == id; });
        if (button == nullptr) {
            mStrLastError = L"no dialog button " + verb;
            return true;
        }
        wxCommandEvent event(wxEVT_BUTTON, id);
        event.SetEventObject(button);
        button->ProcessWindowEvent(event);
        return true;
    }
    mStrLastError = L"unknown command " + line;
    return true;
}

void WidgetDriver_cls::WalkStep(size_t index)
{
    // The panel may have rebuilt itself after the last edit: its controls are looked up anew.
    const std::vector<wxWindow*> controls = WidgetWalker_cls::Controls(Target(mStrWalkTarget));
    if (index > 0) {
        const size_t last = index - 1;
        const std::wstring after = last < controls.size() ? WidgetWalker_cls::ValueText(controls[last]) : L"";
        if (!mStrBefore.empty() && after != mStrBefore)
            ++miEdited;
        else if (mbSkipped)
            ++miSkipped;
        else
            mvUnchanged.push_back(WStrPrintf("%zu:", last) + (mStrBefore.empty() ? after : mStrBefore));
    }
    if (index >= controls.size()) {
        mStrLastWalk = mStrWalkTarget + WStrPrintf(" %zu %d %d", controls.size(), miEdited, miSkipped);
        for (const std::wstring& u : mvUnchanged)
            mStrLastWalk += L" [" + u + L"]";
        mbBusy = false;
        Done();
        Pump();
        return;
    }
    wxWindow* control = controls[index];
    mStrBefore = WidgetWalker_cls::ValueText(control);
    // A disabled control is no setting the user can change now (a display, or one that another
    // setting switched off): it is counted apart.
    mbSkipped = !control->IsEnabled();
    if (!WidgetWalker_cls::Edit(control))
        mStrBefore.clear(); // counted as unchanged in the next step
    if (mCLinks.mReport)
        mCLinks.mReport();
    auto alive = mpAlive;
    mpFrame->CallAfter([this, alive, index] {
        if (*alive)
            WalkStep(index + 1);
    });
}

// --- the report -----------------------------------------------------------------------------------

std::wstring WidgetDriver_cls::Describe() const
{
    std::wstring text = WStrPrintf("drive.done=%d\n", miDone);
    text += L"drive.walk=" + mStrLastWalk + L"\n";
    text += L"drive.error=" + mStrLastError + L"\n";
    std::vector<std::wstring> names = mCLinks.mvTargetNames;
    names.push_back(L"dialog");
    for (const std::wstring& name : names)
        if (wxWindow* root = Target(name))
            text += WidgetWalker_cls::Describe(root, L"wd." + name);
    return text;
}
