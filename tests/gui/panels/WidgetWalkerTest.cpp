// The generic walk over a panel's setting controls, on real widgets (Xvfb): which windows it
// lists, and that each edit reaches the panel through the control's own event with a new value,
// as a user's edit would; disabled controls and choices without another entry are left alone.
#include "config/TextFormat.h"
#include "gui/DualSlider_cls.h"
#include "gui/GraphPanel_cls.h"
#include "gui/NumInput_cls.h"
#include "gui/WidgetWalker_cls.h"

#include <gtest/gtest.h>

#include <wx/app.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/clrpicker.h>
#include <wx/frame.h>
#include <wx/listbox.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/textctrl.h>

#include <memory>
#include <vector>

namespace
{

class WidgetWalker : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        mpFrame = new wxFrame(nullptr, wxID_ANY, "walker", wxDefaultPosition, wxSize(500, 700));
        mpPanel = new wxPanel(mpFrame);
        mpSizer = new wxBoxSizer(wxVERTICAL);
        mpPanel->SetSizer(mpSizer);
    }
    void TearDown() override { mpFrame->Destroy(); }
    template <typename T> T* Add(T* w)
    {
        mpSizer->Add(w, 0, wxEXPAND | wxALL, 2);
        return w;
    }
    // Laid out and on screen, so that the mouse-driven kit widgets know their geometry.
    void Show()
    {
        mpPanel->Layout();
        mpFrame->Show();
        mpFrame->Layout();
        for (int i = 0; i < 20; ++i)
            wxYield();
    }
    wxFrame* mpFrame = nullptr;
    wxPanel* mpPanel = nullptr;
    wxBoxSizer* mpSizer = nullptr;
};

} // namespace

TEST_F(WidgetWalker, ListsSettingsInOrderAndLeavesOutActionsListsAndHiddenOnes)
{
    auto* number = Add(new NumInput_cls(mpPanel, L"Size", 0.0, 10.0, 0.5, false));
    auto* check = Add(new wxCheckBox(mpPanel, wxID_ANY, L"On"));
    auto* action = Add(new wxChoice(mpPanel, wxID_ANY));
    WidgetWalker_cls::SetAction(action, L"which item");
    // Everything inside an action window is left out with it.
    auto* actionBox = Add(new wxPanel(mpPanel));
    WidgetWalker_cls::SetAction(actionBox, L"tools");
    new wxCheckBox(actionBox, wxID_ANY, L"inside");
    auto* hidden = Add(new wxCheckBox(mpPanel, wxID_ANY, L"Hidden"));
    hidden->Hide();
    Add(new wxListBox(mpPanel, wxID_ANY));
    auto* disabled = Add(new wxSpinCtrlDouble(mpPanel, wxID_ANY));
    disabled->Disable();
    auto* inner = Add(new wxPanel(mpPanel));
    auto* nested = new wxTextCtrl(inner, wxID_ANY, L"Name");
    auto* readOnly =
        Add(new wxTextCtrl(mpPanel, wxID_ANY, L"shown only", wxDefaultPosition, wxDefaultSize, wxTE_READONLY));
    (void)readOnly;
    Show();

    const std::vector<wxWindow*> found = WidgetWalker_cls::Controls(mpPanel);
    // The number input is one control: its own text box and arrows are not listed apart.
    const std::vector<wxWindow*> want = {number, check, disabled, nested};
    EXPECT_EQ(found, want);
    EXPECT_TRUE(WidgetWalker_cls::Controls(nullptr).empty());

    number->SetValue(2.5);
    check->SetValue(true);
    EXPECT_EQ(WidgetWalker_cls::Describe(mpPanel, L"p"), L"p.0=num 2.5\np.1=check 1\np.2=spin 0\np.3=text Name\n");
}

TEST_F(WidgetWalker, EachEditSendsTheControlsOwnEventWithANewValue)
{
    auto* number = Add(new NumInput_cls(mpPanel, L"Level", 0.0, 1.0, 0.1, false));
    number->SetValue(0.95); // two steps up would leave the range: it goes down instead
    std::vector<double> taken;
    number->SetChangeFunc([&](double v) { taken.push_back(v); });
    auto* check = Add(new wxCheckBox(mpPanel, wxID_ANY, L"On"));
    auto* choice = Add(new wxChoice(mpPanel, wxID_ANY));
    for (const wchar_t* s : {L"a", L"b", L"c"})
        choice->Append(s);
    choice->SetSelection(2);
    auto* lonely = Add(new wxChoice(mpPanel, wxID_ANY));
    lonely->Append(L"only");
    lonely->SetSelection(0);
    auto* spin = Add(new wxSpinCtrlDouble(mpPanel, wxID_ANY, L"", wxDefaultPosition, wxDefaultSize, wxSP_ARROW_KEYS,
                                          0.0, 5.0, 1.0, 0.25));
    auto* ints =
        Add(new wxSpinCtrl(mpPanel, wxID_ANY, L"", wxDefaultPosition, wxDefaultSize, wxSP_ARROW_KEYS, 0, 9, 9));
    auto* valueBox = Add(new wxTextCtrl(mpPanel, wxID_ANY, L"0", wxDefaultPosition, wxDefaultSize, wxTE_PROCESS_ENTER));
    auto* nameBox =
        Add(new wxTextCtrl(mpPanel, wxID_ANY, L"Blur", wxDefaultPosition, wxDefaultSize, wxTE_PROCESS_ENTER));
    auto* slider = Add(new wxSlider(mpPanel, wxID_ANY, 100, 0, 100));
    auto* picker = Add(new wxColourPickerCtrl(mpPanel, wxID_ANY, *wxWHITE));
    auto* off = Add(new wxCheckBox(mpPanel, wxID_ANY, L"Off"));
    off->Disable();
    Show();

    std::vector<std::wstring> events;
    check->Bind(wxEVT_CHECKBOX, [&](wxCommandEvent& e) { events.push_back(WStrPrintf("check %d", e.GetInt())); });
    off->Bind(wxEVT_CHECKBOX, [&](wxCommandEvent&) { events.push_back(L"disabled box"); });
    choice->Bind(wxEVT_CHOICE, [&](wxCommandEvent& e) { events.push_back(WStrPrintf("choice %d", e.GetInt())); });
    lonely->Bind(wxEVT_CHOICE, [&](wxCommandEvent&) { events.push_back(L"lonely"); });
    spin->Bind(wxEVT_SPINCTRLDOUBLE,
               [&](wxSpinDoubleEvent& e) { events.push_back(WStrPrintf("spin %g", e.GetValue())); });
    ints->Bind(wxEVT_SPINCTRL, [&](wxSpinEvent& e) { events.push_back(WStrPrintf("ints %d", e.GetPosition())); });
    // The panel's handler sees the new text, as after typing and Return.
    valueBox->Bind(wxEVT_TEXT_ENTER,
                   [&](wxCommandEvent&) { events.push_back(L"value " + valueBox->GetValue().ToStdWstring()); });
    nameBox->Bind(wxEVT_TEXT_ENTER,
                  [&](wxCommandEvent&) { events.push_back(L"name " + nameBox->GetValue().ToStdWstring()); });
    int released = -1;
    slider->Bind(wxEVT_SCROLL_CHANGED, [&](wxScrollEvent& e) { released = e.GetPosition(); });
    wxColour picked;
    picker->Bind(wxEVT_COLOURPICKER_CHANGED, [&](wxColourPickerEvent& e) { picked = e.GetColour(); });

    for (wxWindow* w : std::vector<wxWindow*>{number, check, choice, spin, ints, valueBox, nameBox, slider, picker})
        EXPECT_TRUE(WidgetWalker_cls::Edit(w)) << w->GetClassInfo()->GetClassName();
    EXPECT_FALSE(WidgetWalker_cls::Edit(lonely));
    EXPECT_FALSE(WidgetWalker_cls::Edit(off));

    ASSERT_EQ(taken.size(), 1u);
    EXPECT_NEAR(taken[0], 0.75, 1e-12);
    EXPECT_NEAR(number->GetValue(), 0.75, 1e-12);
    const std::vector<std::wstring> want = {L"check 1", L"choice 0",   L"spin 1.5",
                                            L"ints 7",  L"value 0.01", L"name Blur 2"};
    EXPECT_EQ(events, want);
    EXPECT_EQ(choice->GetSelection(), 0);
    EXPECT_EQ(released, slider->GetValue());
    EXPECT_NE(released, 100);
    EXPECT_EQ(picked, picker->GetColour());
    EXPECT_NE(picked, *wxWHITE);
    EXPECT_FALSE(off->GetValue());
}

TEST_F(WidgetWalker, KitSlidersAndGraphsAreDraggedAsByTheMouse)
{
    auto* range = Add(new DualSlider_cls(mpPanel, L"Window", 0.0, 1.0));
    range->SetValues(0.0, 0.9);
    std::vector<std::pair<double, double>> ranges;
    range->SetChangeFunc([&](double lo, double hi) { ranges.emplace_back(lo, hi); });
    // A graph that takes new points gets one; a graph that only moves its points has the first
    // one dragged.
    auto* adding = Add(new GraphPanel_cls(mpPanel));
    adding->SetPoints({{0.0, 0.0}, {1.0, 1.0}});
    int added = 0;
    adding->SetAddFunc([&](double x, double y) {
        ++added;
        EXPECT_NEAR(x, 0.37, 0.02);
        EXPECT_NEAR(y, 0.61, 0.02);
    });
    auto* moving = Add(new GraphPanel_cls(mpPanel));
    moving->SetPoints({{0.2, 0.2}, {0.8, 0.8}});
    std::vector<int> moved;
    moving->SetMoveFunc([&](int index, double, double) { moved.push_back(index); });
    auto* plain = Add(new GraphPanel_cls(mpPanel));
    Show();

    // A plot without points shows, it sets nothing.
    const std::vector<wxWindow*> found = WidgetWalker_cls::Controls(mpPanel);
    EXPECT_EQ(found, (std::vector<wxWindow*>{range, adding, moving}));
    (void)plain;

    ASSERT_TRUE(WidgetWalker_cls::Edit(range));
    ASSERT_EQ(ranges.size(), 1u); // handed on once, at the release
    EXPECT_NEAR(ranges[0].first, 0.3, 0.03);
    EXPECT_DOUBLE_EQ(ranges[0].second, 0.9);
    EXPECT_EQ(WidgetWalker_cls::ValueText(range), L"range " + WStrPrintf("%.6g", range->GetLow()) + L" 0.9");

    // The adding graph's owner would set the points anew; here it only counts the request.
    WidgetWalker_cls::Edit(adding);
    EXPECT_EQ(added, 1);

    ASSERT_TRUE(WidgetWalker_cls::Edit(moving));
    EXPECT_EQ(moved, std::vector<int>{0});
    EXPECT_NE(moving->GetPoints()[0], (GraphPanel_cls::Point{0.2, 0.2}));
    EXPECT_EQ(moving->GetPoints()[1], (GraphPanel_cls::Point{0.8, 0.8}));
}
