#include "gui/ColorMapChooser_cls.h"

#include "color/Coloring_cls.h"
#include "color/CustomColor_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "gl/DF3GL_cls.h"

#include <wx/choice.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

namespace
{
// The layer colours of palettes 1..9 (low, middle density); every palette ends in white.
const char* const kPaletteNames[9] = {"Red - Yellow",   "Red - Magenta",  "Red - Cyan",
                                      "Green - Cyan",   "Green - Yellow", "Green - Magenta",
                                      "Blue - Magenta", "Blue - Cyan",    "Blue - Yellow"};
} // namespace

std::vector<std::wstring> ColorMapChooser_cls::EntryNames(int customCount)
{
    std::vector<std::wstring> names{TrW("White")};
    for (int p = 0; p < 9; ++p)
        names.push_back(WStrPrintf("%d: ", p + 1) + TrW(kPaletteNames[p]) + L" - " + TrW("White"));
    for (int c = 0; c < customCount; ++c)
        names.push_back(TrW("Custom Color") + WStrPrintf(" %d", c + 1));
    names.push_back(TrW("New Custom Color"));
    return names;
}

int ColorMapChooser_cls::ColorIndexOfEntry(int entry, int customCount)
{
    if (entry >= 0 && entry <= 9)
        return entry;
    if (entry >= 10 && entry < 10 + customCount)
        return entry;
    return -2;
}

int ColorMapChooser_cls::EntryOfColorIndex(int index, int customCount)
{
    if (index <= 0)
        return 0;
    if (index <= 9)
        return index;
    if (customCount <= 0)
        return 0;
    // A map past the end is drawn with the active map; the first entry stands in for it.
    return index - 10 < customCount ? index : 10;
}

ColorMapChooser_cls::ColorMapChooser_cls(wxWindow* parent, Coloring_cls* coloring, std::array<DF3GL_cls*, 4> slots)
    : wxPanel(parent, wxID_ANY), mpColoring(coloring), mvSlots(slots)
{
    for (int i = 0; i < 4; ++i)
        mCConfList.Add(&mvItems[static_cast<size_t>(i)], WStrPrintf("DF3ColorIndex%d=", i), L"0");
    auto* grid = new wxFlexGridSizer(2, 4, 6);
    grid->AddGrowableCol(1, 1);
    grid->Add(new wxStaticText(this, wxID_ANY, TrW("Color Map")), 0, wxALIGN_CENTER_VERTICAL);
    mpChoice = new wxChoice(this, wxID_ANY);
    mpChoice->SetToolTip(TrW("Colour map of the active data slot, shared with the Pov-Ray export"));
    grid->Add(mpChoice, 1, wxEXPAND);
    grid->Add(new wxStaticText(this, wxID_ANY, TrW("Template")), 0, wxALIGN_CENTER_VERTICAL);
    mpTemplate = new wxChoice(this, wxID_ANY);
    // "-- select --" first, then the ten templates (already translated).
    for (const std::wstring& name : CustomColor_cls::GetTemplateNames())
        mpTemplate->Append(name);
    mpTemplate->SetSelection(0);
    grid->Add(mpTemplate, 1, wxEXPAND);
    SetSizer(grid);
    mpChoice->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { OnChoice(); });
    mpTemplate->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { OnTemplate(); });
    Rebuild();
}

void ColorMapChooser_cls::Rebuild()
{
    const int custom = mpColoring->GetPCustomColor()->GetItemNumber();
    const int index = mvSlots[static_cast<size_t>(miSlot)]->GetColorIndex();
    if (custom != miShownCustom) {
        miShownCustom = custom;
        mpChoice->Clear();
        for (const std::wstring& name : EntryNames(custom))
            mpChoice->Append(name);
    }
    miShownIndex = index;
    mpChoice->SetSelection(EntryOfColorIndex(index, custom));
    // Templates reshape a custom map; for the fixed palettes they have nothing to act on.
    mpTemplate->Enable(index >= 10 && custom > 0);
}

void ColorMapChooser_cls::ShowSlot(int slot)
{
    if (slot < 0 || slot > 3)
        return;
    const int custom = mpColoring->GetPCustomColor()->GetItemNumber();
    if (slot == miSlot && custom == miShownCustom &&
        mvSlots[static_cast<size_t>(slot)]->GetColorIndex() == miShownIndex)
        return;
    miSlot = slot;
    Rebuild();
}

void ColorMapChooser_cls::ApplyColorIndex(int index)
{
    DF3GL_cls* gl = mvSlots[static_cast<size_t>(miSlot)];
    if (gl->GetColorIndex() == index)
        return;
    gl->SetColorIndex(index);
    if (index >= 10)
        mpColoring->GetPCustomColor()->SetActiveItem(index - 10);
    Rebuild();
    if (mOnChanged)
        mOnChanged(miSlot);
}

void ColorMapChooser_cls::OnChoice()
{
    CustomColor_cls* custom = mpColoring->GetPCustomColor();
    const int count = custom->GetItemNumber();
    int index = ColorIndexOfEntry(mpChoice->GetSelection(), count);
    if (index == -2) {
        // A new map (one undo step) starts as "Black White" and is used at once.
        if (!custom->AddItem()) {
            Rebuild();
            return;
        }
        index = 10 + custom->GetItemNumber() - 1;
    }
    ApplyColorIndex(index);
}

void ColorMapChooser_cls::OnTemplate()
{
    const int t = mpTemplate->GetSelection();
    mpTemplate->SetSelection(0);
    const int index = mvSlots[static_cast<size_t>(miSlot)]->GetColorIndex();
    if (t <= 0 || index < 10)
        return;
    CustomColor_cls* custom = mpColoring->GetPCustomColor();
    custom->SetActiveItem(index - 10);
    if (custom->SetColorTemplate(t) && mOnChanged)
        mOnChanged(miSlot);
}

void ColorMapChooser_cls::PushToSlots()
{
    for (size_t i = 0; i < 4; ++i)
        mvSlots[i]->SetColorIndex(mvItems[i].Get());
    miShownIndex = -99;
    Rebuild();
}

void ColorMapChooser_cls::PullFromSlots()
{
    for (size_t i = 0; i < 4; ++i)
        mvItems[i].Set(mvSlots[i]->GetColorIndex());
}

std::wstring ColorMapChooser_cls::DescribeWidgets() const
{
    auto place = [](const wxWindow* w) {
        const wxPoint p = w->IsShownOnScreen() ? w->GetScreenPosition() : wxPoint(0, 0);
        const wxSize s = w->GetSize();
        return WStrPrintf("%d %d %d %d", p.x, p.y, s.x, s.y);
    };
    return WStrPrintf("cmap.value=%d %d\n", miSlot, mvSlots[static_cast<size_t>(miSlot)]->GetColorIndex()) +
           L"cmap.choice=" + place(mpChoice) + L"\ncmap.template=" + place(mpTemplate) + L"\n";
}
