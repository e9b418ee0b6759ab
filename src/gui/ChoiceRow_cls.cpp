#include "gui/ChoiceRow_cls.h"

#include "gui/NumInput_cls.h"

#include <algorithm>

#include <wx/choice.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

ChoiceRow_cls::ChoiceRow_cls(wxWindow* parent, const std::wstring& label, const std::vector<std::wstring>& texts,
                             const std::vector<int>& values)
    : wxPanel(parent, wxID_ANY), mviValue(values)
{
    if (mviValue.size() != texts.size()) {
        mviValue.resize(texts.size());
        for (size_t i = 0; i < texts.size(); ++i)
            mviValue[i] = static_cast<int>(i);
    }
    mpChoice = new wxChoice(this, wxID_ANY);
    for (const std::wstring& t : texts)
        mpChoice->Append(t);
    auto* labelText = new wxStaticText(this, wxID_ANY, label, wxDefaultPosition, wxSize(NumInput_cls::kLabelWidth, -1));
    // Long entries would widen the page past the control panel: the label goes above them.
    const bool stacked = NumInput_cls::kLabelWidth + 4 + mpChoice->GetBestSize().x > kMaxRowWidth;
    auto* sizer = new wxBoxSizer(stacked ? wxVERTICAL : wxHORIZONTAL);
    sizer->Add(labelText, 0, stacked ? wxBOTTOM : (wxALIGN_CENTER_VERTICAL | wxRIGHT), stacked ? 2 : 4);
    sizer->Add(mpChoice, stacked ? 0 : 1, stacked ? 0 : wxALIGN_CENTER_VERTICAL);
    SetSizer(sizer);
    mpChoice->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) {
        const int sel = mpChoice->GetSelection();
        if (sel < 0 || sel >= static_cast<int>(mviValue.size()))
            return;
        const int value = mviValue[static_cast<size_t>(sel)];
        if (value == miValue)
            return;
        miValue = value;
        if (mOnChange)
            mOnChange(value);
    });
}

void ChoiceRow_cls::SetValue(int value)
{
    miValue = value;
    const auto at = std::find(mviValue.begin(), mviValue.end(), value);
    mpChoice->SetSelection(at == mviValue.end() ? wxNOT_FOUND : static_cast<int>(at - mviValue.begin()));
}
