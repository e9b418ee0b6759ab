#pragma once
// A labelled row of two or three number inputs for a point or a per-axis value (x, y, z), or for
// a colour (red, green, blue). Each component is taken on its own, as NumInput_cls takes it.
#include <array>
#include <functional>
#include <string>

#include <wx/panel.h>

class NumInput_cls;

class PointInput_cls : public wxPanel
{
  public:
    /// Called with the component index (0..count-1) and its new value after a user edit.
    using ChangeFunc = std::function<void(int, double)>;

    /// count: 1..3 components sharing one range and step. GUI thread.
    PointInput_cls(wxWindow* parent, const std::wstring& label, int count, double min, double max, double step,
                   bool integer);
    /// Shows component i without calling the change function.
    void SetValue(int i, double value);
    /// The value of component i (0 outside the components).
    double GetValue(int i) const;
    int GetCount() const { return miCount; }
    void SetChangeFunc(ChangeFunc func) { mOnChange = std::move(func); }
    /// The input of component i.
    NumInput_cls* GetInput(int i) const { return mvpInput[static_cast<size_t>(i)]; }

  private:
    int miCount;
    ChangeFunc mOnChange;
    std::array<NumInput_cls*, 3> mvpInput{};
};
