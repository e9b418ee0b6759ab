#include "gui/PointInput_cls.h"

#include "gui/NumInput_cls.h"

#include <algorithm>

#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

PointInput_cls::PointInput_cls(wxWindow* parent, const std::wstring& label, int count, double min, double max,
                               double step, bool integer)
    : wxPanel(parent, wxID_ANY), miCount(std::clamp(count, 1, 3))
{
    auto* sizer = new wxBoxSizer(wxHORIZONTAL);
    sizer->Add(new wxStaticText(this, wxID_ANY, label, wxDefaultPosition, wxSize(NumInput_cls::kLabelWidth, -1)), 0,
               wxALIGN_CENTER_VERTICAL | wxRIGHT, 4);
    for (int i = 0; i < miCount; ++i) {
        auto* input = new NumInput_cls(this, L"", min, max, step, integer, false);
        input->SetChangeFunc([this, i](double v) {
            if (mOnChange)
                mOnChange(i, v);
        });
        mvpInput[static_cast<size_t>(i)] = input;
        sizer->Add(input, 1, wxALIGN_CENTER_VERTICAL | wxRIGHT, 2);
    }
    SetSizer(sizer);
}

void PointInput_cls::SetValue(int i, double value)
{
    if (i >= 0 && i < miCount)
        mvpInput[static_cast<size_t>(i)]->SetValue(value);
}

double PointInput_cls::GetValue(int i) const
{
    return i >= 0 && i < miCount ? mvpInput[static_cast<size_t>(i)]->GetValue() : 0.0;
}
