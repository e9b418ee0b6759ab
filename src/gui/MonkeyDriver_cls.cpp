// Random user actions for robustness runs.
// Sections: life cycle; menu commands; keys; mouse; dialogs and the end of the run.
#include "gui/MonkeyDriver_cls.h"

#include "config/TessanAssert.h"
#include "gui/MyApp.h"

#include <wx/debug.h>
#include <wx/dialog.h>
#include <wx/frame.h>
#include <wx/glcanvas.h>
#include <wx/menu.h>

#include <atomic>
#include <cstdio>

namespace
{

std::atomic<int> GiAssertFailures{0};

// Labels of commands that open a modal file dialog, show the about box, end the program or start
// the external ray tracer.
bool IsSkipped(const wxString& label)
{
    const wxString l = wxMenuItem::GetLabelText(label).Lower();
    // An ellipsis, spelt with three dots or as one character, marks a command that asks first.
    return label.Contains("...") || label.Contains(wxString::FromUTF8("\u2026")) || l.Contains("open") ||
           l.Contains("append") || l.Contains("save") || l.Contains("quit") || l.Contains("exit") ||
           l.Contains("about") || l.Contains("export") || l.Contains("render") || l.Contains("snapshot");
}

void CollectItems(wxMenu* menu, std::vector<wxMenuItem*>& out)
{
    for (wxMenuItem* item : menu->GetMenuItems()) {
        if (item->IsSeparator())
            continue;
        if (item->IsSubMenu()) {
            CollectItems(item->GetSubMenu(), out);
            continue;
        }
        if (item->IsEnabled() && !IsSkipped(item->GetItemLabel()))
            out.push_back(item);
    }
}

void CollectViews(wxWindow* window, std::vector<wxWindow*>& out)
{
    for (wxWindow* child : window->GetChildren()) {
        if (!child->IsShownOnScreen())
            continue;
        if (dynamic_cast<wxGLCanvas*>(child))
            out.push_back(child);
        CollectViews(child, out);
    }
}

} // namespace

// ---- life cycle ------------------------------------------------------------------------

MonkeyDriver_cls::MonkeyDriver_cls(wxFrame* frame, uint32_t seed, long count)
    : mpFrame(frame), mCRandom(seed), miCount(count)
{
    // A failed check is a finding of the run: count it, report it, keep going.
    SetAssertHandler([](const char* expr, const char* source, const char* file, int line) {
        ++GiAssertFailures;
        std::fprintf(stderr, "monkey: assertion failed: %s (%s) at %s:%d\n", expr, source, file, line);
    });
    // The toolkit's own checks too: recorded instead of a dialog that would stop the run.
    wxSetAssertHandler(
        [](const wxString& file, int line, const wxString& func, const wxString& cond, const wxString& msg) {
            ++GiAssertFailures;
            std::fprintf(stderr, "monkey: toolkit assertion failed: %s in %s() at %s:%d: %s\n", cond.utf8_str().data(),
                         func.utf8_str().data(), file.utf8_str().data(), line, msg.utf8_str().data());
        });
}

void MonkeyDriver_cls::Begin()
{
    Start(5);
}

void MonkeyDriver_cls::Notify()
{
    if (mbFinished)
        return;
    if (CancelModalDialog())
        return;
    if (miDone >= miCount) {
        Finish();
        return;
    }
    ++miDone;
    const int kind = Pick(100);
    if (kind < 45)
        MenuCommand();
    else if (kind < 70)
        KeyPress();
    else if (kind < 92)
        MouseDrag();
    else
        MouseWheel();
}

// ---- menu commands --------------------------------------------------------------------------------

void MonkeyDriver_cls::MenuCommand()
{
    wxMenuBar* bar = mpFrame->GetMenuBar();
    if (!bar)
        return;
    std::vector<wxMenuItem*> items;
    for (size_t m = 0; m < bar->GetMenuCount(); ++m)
        CollectItems(bar->GetMenu(m), items);
    if (items.empty())
        return;
    wxMenuItem* item = items[static_cast<size_t>(Pick(static_cast<int>(items.size())))];
    wxCommandEvent event(wxEVT_MENU, item->GetId());
    event.SetEventObject(item->GetMenu());
    if (item->IsCheckable()) {
        // As a click does: the mark flips first, the command carries the new state.
        item->Check(!item->IsChecked());
        event.SetInt(item->IsChecked() ? 1 : 0);
    }
    ++miMenus;
    mpFrame->GetEventHandler()->ProcessEvent(event);
}

// ---- keys -----------------------------------------------------------------------------------------

void MonkeyDriver_cls::KeyPress()
{
    static const int kKeys[] = {WXK_LEFT,     WXK_RIGHT, WXK_UP,     WXK_DOWN,   WXK_HOME,   WXK_END,    WXK_PAGEUP,
                                WXK_PAGEDOWN, WXK_SPACE, WXK_INSERT, WXK_DELETE, WXK_RETURN, WXK_ESCAPE, 'A',
                                'R',          'Z',       'Y',        '1',        '4',        '+',        '-'};
    wxWindow* target = Pick(2) == 0 ? RandomView() : wxWindow::FindFocus();
    if (!target)
        target = mpFrame;
    const int code = kKeys[Pick(sizeof(kKeys) / sizeof(kKeys[0]))];
    const int mods = Pick(4) == 0 ? wxMOD_CONTROL : (Pick(5) == 0 ? wxMOD_SHIFT : wxMOD_NONE);
    for (wxEventType type : {wxEVT_KEY_DOWN, wxEVT_CHAR, wxEVT_KEY_UP}) {
        wxKeyEvent key(type);
        key.m_keyCode = code;
        key.m_controlDown = (mods & wxMOD_CONTROL) != 0;
        key.m_shiftDown = (mods & wxMOD_SHIFT) != 0;
        key.SetEventObject(target);
        key.SetId(target->GetId());
        target->GetEventHandler()->ProcessEvent(key);
    }
    ++miKeys;
}

// ---- mouse ----------------------------------------------------------------------------------------

wxWindow* MonkeyDriver_cls::RandomView()
{
    std::vector<wxWindow*> views;
    CollectViews(mpFrame, views);
    return views.empty() ? nullptr : views[static_cast<size_t>(Pick(static_cast<int>(views.size())))];
}

void MonkeyDriver_cls::MouseDrag()
{
    wxWindow* view = RandomView();
    if (!view)
        return;
    const wxSize size = view->GetClientSize();
    if (size.x < 2 || size.y < 2)
        return;
    static const wxEventType kDown[] = {wxEVT_LEFT_DOWN, wxEVT_RIGHT_DOWN, wxEVT_MIDDLE_DOWN};
    static const wxEventType kUp[] = {wxEVT_LEFT_UP, wxEVT_RIGHT_UP, wxEVT_MIDDLE_UP};
    const int button = Pick(5) < 3 ? 0 : Pick(2) + 1;
    const bool shift = Pick(4) == 0, control = Pick(6) == 0;
    int x = Pick(size.x), y = Pick(size.y);
    auto send = [&](wxEventType type, bool down) {
        wxMouseEvent m(type);
        m.m_x = x;
        m.m_y = y;
        m.m_leftDown = down && button == 0;
        m.m_rightDown = down && button == 1;
        m.m_middleDown = down && button == 2;
        m.m_shiftDown = shift;
        m.m_controlDown = control;
        m.SetEventObject(view);
        m.SetId(view->GetId());
        view->GetEventHandler()->ProcessEvent(m);
    };
    send(wxEVT_ENTER_WINDOW, false);
    send(kDown[button], true);
    const int steps = 2 + Pick(8);
    for (int s = 0; s < steps; ++s) {
        // Now and then a step leaves the view, as a fast hand does.
        x += Pick(81) - 40;
        y += Pick(81) - 40;
        send(wxEVT_MOTION, true);
    }
    send(kUp[button], false);
    ++miDrags;
}

void MonkeyDriver_cls::MouseWheel()
{
    wxWindow* view = RandomView();
    if (!view)
        return;
    const wxSize size = view->GetClientSize();
    wxMouseEvent m(wxEVT_MOUSEWHEEL);
    m.m_x = size.x > 0 ? Pick(size.x) : 0;
    m.m_y = size.y > 0 ? Pick(size.y) : 0;
    m.m_wheelRotation = Pick(2) ? 120 : -120;
    m.m_wheelDelta = 120;
    m.m_linesPerAction = 3;
    m.m_shiftDown = Pick(4) == 0;
    m.SetEventObject(view);
    view->GetEventHandler()->ProcessEvent(m);
    ++miWheels;
}

// ---- dialogs and the end of the run ---------------------------------------------------------------

bool MonkeyDriver_cls::CancelModalDialog()
{
    for (wxWindow* top : wxTopLevelWindows) {
        // dynamic_cast, not wxDynamicCast: the macro casts the pointer down to wxDialog before it
        // checks the class, which is undefined behaviour for every other top-level window.
        auto* dialog = dynamic_cast<wxDialog*>(top);
        if (dialog && dialog->IsModal()) {
            dialog->EndModal(wxID_CANCEL);
            ++miCancelled;
            return true;
        }
    }
    return false;
}

void MonkeyDriver_cls::Finish()
{
    mbFinished = true;
    Stop();
    const int failures = GiAssertFailures.load();
    std::fprintf(stderr,
                 "monkey: %ld actions: %ld menu commands, %ld key presses, %ld drags, %ld wheel turns; "
                 "%ld dialogs cancelled; %d failed checks\n",
                 miDone, miMenus, miKeys, miDrags, miWheels, miCancelled, failures);
    wxGetApp().SetExitCode(failures > 0 ? 3 : 0);
    mpFrame->Destroy();
}
