#include "gui/NumInput_cls.h"

#include "gui/WidgetMath_cls.h"

#include <algorithm>

#include <wx/sizer.h>
#include <wx/spinbutt.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

NumInput_cls::NumInput_cls(wxWindow* parent, const std::wstring& label, double min, double max, double step,
                           bool integer, bool withSpin)
    : wxPanel(parent, wxID_ANY), mdMin(min), mdMax(max), mdStep(step > 0.0 ? step : 1.0), mbInteger(integer)
{
    auto* sizer = new wxBoxSizer(wxHORIZONTAL);
    if (!label.empty())
        sizer->Add(new wxStaticText(this, wxID_ANY, label, wxDefaultPosition, wxSize(kLabelWidth, -1)), 0,
                   wxALIGN_CENTER_VERTICAL | wxRIGHT, 4);
    mpText = new wxTextCtrl(this, wxID_ANY, L"", wxDefaultPosition, wxSize(withSpin ? 64 : 44, -1), wxTE_PROCESS_ENTER);
    mpText->SetToolTip(WidgetMath_cls::FormatNumber(min, integer) + L" .. " +
                       WidgetMath_cls::FormatNumber(max, integer));
    sizer->Add(mpText, 1, wxALIGN_CENTER_VERTICAL);
    if (withSpin) {
        // The spin button keeps no value of its own: each click is one step from the value shown,
        // so the range of the button never limits the setting.
        mpSpin = new wxSpinButton(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxSP_VERTICAL);
        mpSpin->SetRange(-1000000, 1000000);
        mpSpin->SetValue(0);
        sizer->Add(mpSpin, 0, wxALIGN_CENTER_VERTICAL);
        mpSpin->Bind(wxEVT_SPIN_UP, [this](wxSpinEvent&) { OnSpin(1); });
        mpSpin->Bind(wxEVT_SPIN_DOWN, [this](wxSpinEvent&) { OnSpin(-1); });
    }
    SetSizer(sizer);
    mpText->Bind(wxEVT_TEXT_ENTER, &NumInput_cls::OnEnter, this);
    mpText->Bind(wxEVT_KILL_FOCUS, &NumInput_cls::OnKillFocus, this);
    mpText->Bind(wxEVT_KEY_DOWN, &NumInput_cls::OnKey, this);
    mpText->Bind(wxEVT_MOUSEWHEEL, [this](wxMouseEvent& e) {
        if (e.GetWheelRotation() != 0)
            OnSpin(e.GetWheelRotation() > 0 ? 1 : -1);
    });
    ShowValue();
}

void NumInput_cls::SetValue(double value)
{
    mdValue = std::clamp(value, mdMin, mdMax);
    MarkInvalid(false);
    ShowValue();
}

void NumInput_cls::SetRange(double min, double max)
{
    mdMin = min;
    mdMax = max;
    SetValue(mdValue);
}

bool NumInput_cls::Commit()
{
    double value = 0.0;
    if (!WidgetMath_cls::ParseNumber(mpText->GetValue().ToStdWstring(), mbInteger, mdMin, mdMax, &value)) {
        MarkInvalid(true);
        return false;
    }
    MarkInvalid(false);
    const bool changed = value != mdValue;
    mdValue = value;
    // The box shows the value as taken (clamped, normalised), not as typed.
    ShowValue();
    if (changed && mOnChange)
        mOnChange(mdValue);
    return true;
}

void NumInput_cls::OnEnter(wxCommandEvent& event)
{
    Commit();
    // Skipped on, so that Return in a dialog also reaches its default button.
    event.Skip();
}

void NumInput_cls::OnKillFocus(wxFocusEvent& event)
{
    if (!Commit()) {
        // Leaving a box with rubbish in it: the last good value comes back.
        MarkInvalid(false);
        ShowValue();
    }
    event.Skip();
}

void NumInput_cls::OnKey(wxKeyEvent& event)
{
    if (event.GetKeyCode() == WXK_UP)
        OnSpin(1);
    else if (event.GetKeyCode() == WXK_DOWN)
        OnSpin(-1);
    else
        event.Skip();
}

void NumInput_cls::OnSpin(int direction)
{
    if (mpSpin)
        mpSpin->SetValue(0);
    // Typed but not yet taken text is the starting point of the step.
    double start = mdValue;
    double typed = 0.0;
    if (WidgetMath_cls::ParseNumber(mpText->GetValue().ToStdWstring(), mbInteger, mdMin, mdMax, &typed))
        start = typed;
    const double value = WidgetMath_cls::StepValue(start, direction, mdStep, mdMin, mdMax);
    MarkInvalid(false);
    const bool changed = value != mdValue;
    mdValue = value;
    ShowValue();
    if (changed && mOnChange)
        mOnChange(mdValue);
}

void NumInput_cls::ShowValue()
{
    // ChangeValue sends no text event.
    mpText->ChangeValue(WidgetMath_cls::FormatNumber(mdValue, mbInteger));
}

void NumInput_cls::MarkInvalid(bool invalid)
{
    if (invalid == mbInvalid)
        return;
    mbInvalid = invalid;
    mpText->SetBackgroundColour(invalid ? wxColour(255, 190, 190) : wxNullColour);
    mpText->Refresh();
}
