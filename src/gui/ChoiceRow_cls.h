#pragma once
// A labelled choice of the widget kit: the entries' texts and, for each, the value stored in the
// setting (by default its position). A value no entry stores shows no selection.
#include <functional>
#include <string>
#include <vector>

#include <wx/panel.h>

class wxChoice;

class ChoiceRow_cls : public wxPanel
{
  public:
    /// Widest row beside its label, in pixels; a choice with longer entries goes below the label.
    static constexpr int kMaxRowWidth = 250;
    /// Called with the stored value of the entry the user picked.
    using ChangeFunc = std::function<void(int)>;

    /// texts: translated entry texts; values: stored value per entry (empty: 0, 1, 2 ...).
    ChoiceRow_cls(wxWindow* parent, const std::wstring& label, const std::vector<std::wstring>& texts,
                  const std::vector<int>& values = {});
    /// Selects the entry storing `value` without calling the change function.
    void SetValue(int value);
    /// The stored value of the selected entry (the last set value when none is selected).
    int GetValue() const { return miValue; }
    void SetChangeFunc(ChangeFunc func) { mOnChange = std::move(func); }
    wxChoice* GetChoice() const { return mpChoice; }

  private:
    std::vector<int> mviValue;
    int miValue = 0;
    ChangeFunc mOnChange;
    wxChoice* mpChoice = nullptr;
};
