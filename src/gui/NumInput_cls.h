#pragma once
// One labelled number input of the widget kit: a text box with spin arrows. What the user types
// is parsed the same way in every locale; a value is taken on Return, on leaving the box or on an
// arrow click, clamped into the range, and handed to the change function once. Text that is no
// number turns the box red and is replaced by the last good value when the box is left.
#include <functional>
#include <string>

#include <wx/panel.h>

class wxSpinButton;
class wxSpinEvent;
class wxStaticText;
class wxTextCtrl;

class NumInput_cls : public wxPanel
{
  public:
    /// Called with the new value after the user changed it (never for SetValue).
    using ChangeFunc = std::function<void(double)>;

    /// Width of the label column shared by every row of the kit, in pixels.
    static constexpr int kLabelWidth = 84;

    /// label: shown left of the box (translated by the caller; empty: no label). integer: whole
    /// numbers only. step: one arrow click, one Up / Down key or one wheel notch in the box.
    /// withSpin: show spin arrows (narrow rows leave them out; keys and wheel still step). GUI thread.
    NumInput_cls(wxWindow* parent, const std::wstring& label, double min, double max, double step, bool integer,
                 bool withSpin = true);

    /// Shows `value` (clamped) without calling the change function.
    void SetValue(double value);
    /// The value last taken or set.
    double GetValue() const { return mdValue; }
    void SetChangeFunc(ChangeFunc func) { mOnChange = std::move(func); }
    /// The range and the step of one arrow click.
    double GetMin() const { return mdMin; }
    double GetMax() const { return mdMax; }
    double GetStep() const { return mdStep; }
    /// Changes the range (the value is clamped and shown again).
    void SetRange(double min, double max);
    /// Takes the text of the box as if Return were pressed. True when it was a number.
    bool Commit();
    /// The text box (for focus and the state report).
    wxTextCtrl* GetTextCtrl() const { return mpText; }
    /// True while the box holds text that is not a number.
    bool IsInvalid() const { return mbInvalid; }

  private:
    void OnEnter(wxCommandEvent& event);
    void OnKillFocus(wxFocusEvent& event);
    void OnSpin(int direction);
    void OnKey(wxKeyEvent& event);
    void ShowValue();
    void MarkInvalid(bool invalid);

    double mdMin;
    double mdMax;
    double mdStep;
    bool mbInteger;
    double mdValue = 0.0;
    bool mbInvalid = false;
    ChangeFunc mOnChange;
    wxTextCtrl* mpText = nullptr;
    wxSpinButton* mpSpin = nullptr;
};
