// Sections: which windows are settings; what they show; editing them through their events.
#include "gui/WidgetWalker_cls.h"

#include "config/TextFormat.h"
#include "gui/DualSlider_cls.h"
#include "gui/GraphPanel_cls.h"
#include "gui/NumInput_cls.h"

#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/clrpicker.h>
#include <wx/listbox.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/textctrl.h>
#include <wx/weakref.h>

#include <algorithm>
#include <cmath>
#include <regex>

namespace
{

bool IsAction(const wxWindow* w)
{
    return w->GetName().ToStdWstring().rfind(WidgetWalker_cls::kActionPrefix, 0) == 0;
}

// Windows that are one control for the walk: the kit's composites are edited as a whole, never
// through their parts; native controls may have toolkit children of their own.
bool IsControl(const wxWindow* w)
{
    if (dynamic_cast<const GraphPanel_cls*>(w) != nullptr)
        return !static_cast<const GraphPanel_cls*>(w)->GetPoints().empty(); // a plain plot shows only
    return dynamic_cast<const NumInput_cls*>(w) != nullptr || dynamic_cast<const DualSlider_cls*>(w) != nullptr ||
           dynamic_cast<const wxCheckBox*>(w) != nullptr || dynamic_cast<const wxChoice*>(w) != nullptr ||
           dynamic_cast<const wxSpinCtrlDouble*>(w) != nullptr || dynamic_cast<const wxSpinCtrl*>(w) != nullptr ||
           dynamic_cast<const wxSlider*>(w) != nullptr || dynamic_cast<const wxColourPickerCtrl*>(w) != nullptr ||
           (dynamic_cast<const wxTextCtrl*>(w) != nullptr && !w->HasFlag(wxTE_READONLY));
}

// Lists (which item is shown) and the parts of composites are not walked into.
bool IsOpaque(const wxWindow* w)
{
    return IsControl(w) || dynamic_cast<const GraphPanel_cls*>(w) != nullptr ||
           dynamic_cast<const wxListBox*>(w) != nullptr;
}

void Collect(wxWindow* parent, std::vector<wxWindow*>& out)
{
    for (wxWindow* child : parent->GetChildren()) {
        if (!child->IsShown() || IsAction(child) || child->IsTopLevel())
            continue;
        if (IsControl(child))
            out.push_back(child);
        if (!IsOpaque(child))
            Collect(child, out);
    }
}

std::wstring Number(double v)
{
    return WStrPrintf("%.6g", v);
}

// Another value in [lo, hi] two steps away, downwards when upwards leaves the range.
double Stepped(double v, double step, double lo, double hi)
{
    if (!(step > 0.0))
        step = (hi - lo) / 10.0;
    double next = v + 2.0 * step;
    if (next > hi)
        next = v - 2.0 * step;
    return std::clamp(next, lo, hi);
}

void Send(wxWindow* target, wxEvent& event)
{
    event.SetEventObject(target);
    target->ProcessWindowEvent(event);
}

void SendMouse(wxWindow* target, wxEventType type, wxPoint at, bool leftDown)
{
    wxMouseEvent event(type);
    event.SetPosition(at);
    event.m_leftDown = leftDown;
    Send(target, event);
}

// --- editing, one function per kind ---------------------------------------------------------------

bool EditNumber(NumInput_cls* input)
{
    const double v = input->GetValue();
    const double next = Stepped(v, input->GetStep(), input->GetMin(), input->GetMax());
    if (next == v)
        return false;
    // Typed and taken as Return takes it.
    input->GetTextCtrl()->ChangeValue(WStrPrintf("%.10g", next));
    return input->Commit();
}

bool EditChoice(wxChoice* choice)
{
    const int n = static_cast<int>(choice->GetCount());
    if (n < 2)
        return false;
    const int next = (std::max(choice->GetSelection(), 0) + 1) % n;
    choice->SetSelection(next);
    wxCommandEvent event(wxEVT_CHOICE, choice->GetId());
    event.SetInt(next);
    event.SetString(choice->GetString(static_cast<unsigned>(next)));
    Send(choice, event);
    return true;
}

bool EditCheck(wxCheckBox* check)
{
    check->SetValue(!check->GetValue());
    wxCommandEvent event(wxEVT_CHECKBOX, check->GetId());
    event.SetInt(check->GetValue() ? 1 : 0);
    Send(check, event);
    return true;
}

bool EditSpinDouble(wxSpinCtrlDouble* spin)
{
    const double v = spin->GetValue();
    const double next = Stepped(v, spin->GetIncrement(), spin->GetMin(), spin->GetMax());
    if (next == v)
        return false;
    spin->SetValue(next);
    wxSpinDoubleEvent event(wxEVT_SPINCTRLDOUBLE, spin->GetId(), spin->GetValue());
    Send(spin, event);
    return true;
}

bool EditSpin(wxSpinCtrl* spin)
{
    const int v = spin->GetValue();
    const int next = static_cast<int>(Stepped(v, 1.0, spin->GetMin(), spin->GetMax()));
    if (next == v)
        return false;
    spin->SetValue(next);
    wxSpinEvent event(wxEVT_SPINCTRL, spin->GetId());
    event.SetValue(next);
    Send(spin, event);
    return true;
}

bool EditText(wxTextCtrl* text)
{
    // A value box gets another number (a quarter more, and a little, so that 0 changes too);
    // a name gets a word added.
    static const std::wregex number(LR"(\s*[-+]?([0-9]+\.?[0-9]*|\.[0-9]+)([eE][-+]?[0-9]+)?\s*)");
    const std::wstring old = text->GetValue().ToStdWstring();
    if (std::regex_match(old, number))
        text->ChangeValue(WStrPrintf("%.6g", ParseDouble(old) * 1.25 + 0.01));
    else
        text->ChangeValue(old + L" 2");
    wxCommandEvent event(wxEVT_TEXT_ENTER, text->GetId());
    event.SetString(text->GetValue());
    Send(text, event);
    // Boxes taken when left rather than on Return see the focus go.
    wxFocusEvent focus(wxEVT_KILL_FOCUS, text->GetId());
    Send(text, focus);
    return true;
}

bool EditSlider(wxSlider* slider)
{
    const int lo = slider->GetMin(), hi = slider->GetMax();
    const int v = slider->GetValue();
    const int step = std::max(1, (hi - lo) / 7);
    const int next = v + step <= hi ? v + step : v - step;
    if (next == v || next < lo)
        return false;
    slider->SetValue(next);
    wxCommandEvent moved(wxEVT_SLIDER, slider->GetId());
    moved.SetInt(next);
    Send(slider, moved);
    // The release that ends a drag: some panels take the value only then.
    wxScrollEvent released(wxEVT_SCROLL_CHANGED, slider->GetId(), next,
                           slider->HasFlag(wxSL_VERTICAL) ? wxVERTICAL : wxHORIZONTAL);
    Send(slider, released);
    return true;
}

bool EditColour(wxColourPickerCtrl* picker)
{
    const wxColour c = picker->GetColour();
    const wxColour next((c.Red() + 97) % 256, (c.Green() + 151) % 256, (c.Blue() + 37) % 256);
    picker->SetColour(next);
    wxColourPickerEvent event(picker, picker->GetId(), next);
    Send(picker, event);
    return true;
}

bool EditRange(DualSlider_cls* slider)
{
    // The low thumb dragged a third of the way towards the high one (or, for an empty window,
    // a fifth of the track up), as a mouse would.
    const double low = slider->GetLow(), high = slider->GetHigh();
    double target = high > low ? low + (high - low) / 3.0 : low + 0.2;
    const int y = slider->ScreenToClient(wxPoint(0, slider->TrackScreenY())).y;
    const int from = slider->ScreenToClient(wxPoint(slider->ValueToScreenX(low), 0)).x;
    int to = slider->ScreenToClient(wxPoint(slider->ValueToScreenX(target), 0)).x;
    if (to == from)
        to = from + 12;
    SendMouse(slider, wxEVT_LEFT_DOWN, wxPoint(from, y), true);
    SendMouse(slider, wxEVT_MOTION, wxPoint(to, y), true);
    // The release hands the pair on, and the panel may rebuild itself in its answer.
    SendMouse(slider, wxEVT_LEFT_UP, wxPoint(to, y), false);
    return true;
}

bool EditGraph(GraphPanel_cls* graph)
{
    const std::vector<GraphPanel_cls::Point> before = graph->GetPoints();
    // A new point where there is none (the graphs that take points), else the first point
    // dragged to a new place.
    const wxPoint add = graph->ScreenToClient(graph->GraphToScreen(0.37, 0.61));
    wxWeakRef<GraphPanel_cls> alive(graph);
    SendMouse(graph, wxEVT_LEFT_DCLICK, add, true);
    // A panel that took the point may have been rebuilt in its answer.
    if (!alive || graph->GetPoints() != before)
        return true;
    if (before.empty())
        return false;
    const GraphPanel_cls::Point p = before.front();
    const wxPoint from = graph->ScreenToClient(graph->GraphToScreen(p.first, p.second));
    const wxPoint to = graph->ScreenToClient(graph->GraphToScreen(
        std::clamp(p.first + 0.1, 0.0, 1.0), std::clamp(p.second > 0.5 ? p.second - 0.2 : p.second + 0.2, 0.0, 1.0)));
    SendMouse(graph, wxEVT_LEFT_DOWN, from, true);
    SendMouse(graph, wxEVT_MOTION, to, true);
    SendMouse(graph, wxEVT_LEFT_UP, to, false);
    return true;
}

} // namespace

// --- which windows are settings -------------------------------------------------------------------

void WidgetWalker_cls::SetAction(wxWindow* window, const std::wstring& what)
{
    if (window != nullptr)
        window->SetName(std::wstring(kActionPrefix) + what);
}

std::vector<wxWindow*> WidgetWalker_cls::Controls(wxWindow* root)
{
    std::vector<wxWindow*> out;
    if (root != nullptr)
        Collect(root, out);
    return out;
}

// --- what they show -------------------------------------------------------------------------------

std::wstring WidgetWalker_cls::ValueText(const wxWindow* w)
{
    if (const auto* input = dynamic_cast<const NumInput_cls*>(w))
        return L"num " + Number(input->GetValue());
    if (const auto* range = dynamic_cast<const DualSlider_cls*>(w))
        return L"range " + Number(range->GetLow()) + L" " + Number(range->GetHigh());
    if (const auto* graph = dynamic_cast<const GraphPanel_cls*>(w)) {
        std::wstring text = L"graph";
        for (const GraphPanel_cls::Point& p : graph->GetPoints())
            text += L" " + WStrPrintf("%.4f,%.4f", p.first, p.second);
        return text;
    }
    if (const auto* check = dynamic_cast<const wxCheckBox*>(w))
        return WStrPrintf("check %d", check->GetValue() ? 1 : 0);
    if (const auto* choice = dynamic_cast<const wxChoice*>(w)) {
        const int sel = choice->GetSelection();
        return WStrPrintf("choice %d ", sel) +
               (sel >= 0 ? choice->GetString(static_cast<unsigned>(sel)).ToStdWstring() : std::wstring());
    }
    if (const auto* spin = dynamic_cast<const wxSpinCtrlDouble*>(w))
        return L"spin " + Number(spin->GetValue());
    if (const auto* spin = dynamic_cast<const wxSpinCtrl*>(w))
        return WStrPrintf("spin %d", spin->GetValue());
    if (const auto* slider = dynamic_cast<const wxSlider*>(w))
        return WStrPrintf("slider %d", slider->GetValue());
    if (const auto* picker = dynamic_cast<const wxColourPickerCtrl*>(w)) {
        const wxColour c = picker->GetColour();
        return WStrPrintf("colour %d %d %d", c.Red(), c.Green(), c.Blue());
    }
    if (const auto* text = dynamic_cast<const wxTextCtrl*>(w))
        return L"text " + text->GetValue().ToStdWstring();
    return L"";
}

std::wstring WidgetWalker_cls::Describe(wxWindow* root, const std::wstring& prefix)
{
    std::wstring text;
    const std::vector<wxWindow*> controls = Controls(root);
    for (size_t i = 0; i < controls.size(); ++i)
        text += prefix + WStrPrintf(".%zu=", i) + ValueText(controls[i]) + L"\n";
    return text;
}

// --- editing through their events -----------------------------------------------------------------

bool WidgetWalker_cls::Edit(wxWindow* w)
{
    if (w == nullptr || !w->IsEnabled())
        return false;
    if (auto* input = dynamic_cast<NumInput_cls*>(w))
        return EditNumber(input);
    if (auto* range = dynamic_cast<DualSlider_cls*>(w))
        return EditRange(range);
    if (auto* graph = dynamic_cast<GraphPanel_cls*>(w))
        return EditGraph(graph);
    if (auto* check = dynamic_cast<wxCheckBox*>(w))
        return EditCheck(check);
    if (auto* choice = dynamic_cast<wxChoice*>(w))
        return EditChoice(choice);
    if (auto* spin = dynamic_cast<wxSpinCtrlDouble*>(w))
        return EditSpinDouble(spin);
    if (auto* spin = dynamic_cast<wxSpinCtrl*>(w))
        return EditSpin(spin);
    if (auto* slider = dynamic_cast<wxSlider*>(w))
        return EditSlider(slider);
    if (auto* picker = dynamic_cast<wxColourPickerCtrl*>(w))
        return EditColour(picker);
    if (auto* text = dynamic_cast<wxTextCtrl*>(w))
        return EditText(text);
    return false;
}
