// Sections: the colour bar; construction; model to widgets; widget events.
#include "gui/CustomColorGUI_cls.h"

#include "gui/WidgetWalker_cls.h"

#include "anim/KeyFrame_cls.h"
#include "anim/Parameters_cls.h"
#include "color/CustomColor_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/dcbuffer.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/stattext.h>

#include <algorithm>
#include <cmath>

namespace
{

constexpr int kBarHeight = 28;
constexpr int kMarkHeight = 7;

// --- the colour bar ------------------------------------------------------------------------------

// The active map from density 0 (left) to 1 (right) as the preview shows it, the keys as marks
// under it and the cursor as a line; a click or drag moves the cursor.
class ColourBarPanel : public wxPanel
{
  public:
    ColourBarPanel(wxWindow* parent, CustomColor_cls* model, std::function<void(int)> onCursor)
        : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxSize(256 + 2, kBarHeight + kMarkHeight + 2)), mpModel(model),
          mOnCursor(std::move(onCursor))
    {
        SetBackgroundStyle(wxBG_STYLE_PAINT);
        SetMinSize(wxSize(256 + 2, kBarHeight + kMarkHeight + 2));
        Bind(wxEVT_PAINT, &ColourBarPanel::OnPaint, this);
        Bind(wxEVT_LEFT_DOWN, &ColourBarPanel::OnMouse, this);
        Bind(wxEVT_MOTION, &ColourBarPanel::OnMouse, this);
    }

  private:
    int StepAt(int x) const
    {
        const int w = std::max(GetClientSize().x - 2, 1);
        return std::clamp(static_cast<int>(std::lround((x - 1) * 255.0 / (w - 1))), 0, 255);
    }
    void OnMouse(wxMouseEvent& e)
    {
        if (e.LeftDown() || (e.Dragging() && e.LeftIsDown()))
            mOnCursor(StepAt(e.GetX()));
    }
    void OnPaint(wxPaintEvent&)
    {
        wxAutoBufferedPaintDC dc(this);
        dc.SetBackground(wxBrush(GetBackgroundColour()));
        dc.Clear();
        const int w = std::max(GetClientSize().x - 2, 1);
        const auto& bar = mpModel->GetColorBar();
        for (int x = 0; x < w; ++x) {
            const int s = std::clamp(static_cast<int>(std::lround(x * 255.0 / std::max(w - 1, 1))), 0, 255);
            dc.SetPen(wxPen(wxColour(bar[static_cast<size_t>(s) * 3], bar[static_cast<size_t>(s) * 3 + 1],
                                     bar[static_cast<size_t>(s) * 3 + 2])));
            dc.DrawLine(x + 1, 1, x + 1, kBarHeight + 1);
        }
        // Keys of the active map.
        dc.SetPen(*wxBLACK_PEN);
        dc.SetBrush(*wxWHITE_BRUSH);
        if (const Parameters_cls* map = mpModel->GetPItem(-1)) {
            for (const KeyFrame_cls& key : map->GetKeys()) {
                const int x = 1 + static_cast<int>(std::lround(key.GetTime() * (w - 1)));
                const wxPoint tri[3] = {
                    {x, kBarHeight + 1}, {x - 4, kBarHeight + kMarkHeight}, {x + 4, kBarHeight + kMarkHeight}};
                dc.DrawPolygon(3, tri);
            }
        }
        // The cursor, drawn in black and white so it shows on any colour.
        const int cx = 1 + static_cast<int>(std::lround(mpModel->GetCursor() * (w - 1) / 255.0));
        dc.SetPen(*wxBLACK_PEN);
        dc.DrawLine(cx - 1, 0, cx - 1, kBarHeight + 2);
        dc.DrawLine(cx + 1, 0, cx + 1, kBarHeight + 2);
        dc.SetPen(*wxWHITE_PEN);
        dc.DrawLine(cx, 0, cx, kBarHeight + 2);
    }

    CustomColor_cls* mpModel;
    std::function<void(int)> mOnCursor;
};

} // namespace

// --- construction --------------------------------------------------------------------------------

CustomColorGUI_cls::CustomColorGUI_cls(wxWindow* parent, CustomColor_cls* model, SlotColourLinks slot)
    : wxDialog(parent, wxID_ANY, TrW("Custom Color"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      mpModel(model), mCSlot(std::move(slot))
{
    auto* sizer = new wxBoxSizer(wxVERTICAL);

    auto* maps = new wxBoxSizer(wxHORIZONTAL);
    maps->Add(new wxStaticText(this, wxID_ANY, TrW("Map")), 0, wxALIGN_CENTER_VERTICAL | wxRIGHT, 4);
    mpItemChoice = new wxChoice(this, wxID_ANY);
    WidgetWalker_cls::SetAction(mpItemChoice, L"map");
    maps->Add(mpItemChoice, 1, wxRIGHT, 4);
    mpNewMap = new wxButton(this, wxID_ANY, TrW("New Map"));
    mpDeleteMap = new wxButton(this, wxID_ANY, TrW("Delete Map"));
    maps->Add(mpNewMap, 0, wxRIGHT, 4);
    maps->Add(mpDeleteMap, 0);
    sizer->Add(maps, 0, wxEXPAND | wxALL, 6);

    mpBar = new ColourBarPanel(this, mpModel, [this](int step) { SetCursorFromBar(step); });
    sizer->Add(mpBar, 0, wxEXPAND | wxLEFT | wxRIGHT, 6);
    mpCursorText = new wxStaticText(this, wxID_ANY, L"");
    sizer->Add(mpCursorText, 0, wxLEFT | wxRIGHT | wxTOP, 6);

    const char* channel[3] = {"R", "G", "B"};
    auto* grid = new wxFlexGridSizer(3, 3, 4, 4);
    grid->AddGrowableCol(1);
    for (int c = 0; c < 3; ++c) {
        grid->Add(new wxStaticText(this, wxID_ANY, TrW(channel[c])), 0, wxALIGN_CENTER_VERTICAL);
        mpSlider[c] = new wxSlider(this, wxID_ANY, 127, 0, 255);
        grid->Add(mpSlider[c], 1, wxEXPAND);
        mpValue[c] = new wxStaticText(this, wxID_ANY, L"255", wxDefaultPosition, wxSize(36, -1));
        grid->Add(mpValue[c], 0, wxALIGN_CENTER_VERTICAL);
        // One undo step per release, not one per pixel of the drag.
        mpSlider[c]->Bind(wxEVT_SCROLL_CHANGED, [this](wxScrollEvent&) { OnSliderReleased(); });
        mpSlider[c]->Bind(wxEVT_SLIDER, [this, c](wxCommandEvent&) {
            mpValue[c]->SetLabel(WStrPrintf("%d", mpSlider[c]->GetValue()));
        });
    }
    sizer->Add(grid, 0, wxEXPAND | wxALL, 6);

    mpMultiply = new wxCheckBox(this, wxID_ANY, TrW("color * density"));
    sizer->Add(mpMultiply, 0, wxLEFT | wxRIGHT, 6);

    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    mpAddKey = new wxButton(this, wxID_ANY, TrW("Add Key"));
    mpRemoveKey = new wxButton(this, wxID_ANY, TrW("Remove Key"));
    mpClrShift = new wxButton(this, wxID_ANY, TrW("Clr Shift"));
    buttons->Add(mpAddKey, 0, wxRIGHT, 4);
    buttons->Add(mpRemoveKey, 0, wxRIGHT, 4);
    buttons->Add(mpClrShift, 0);
    sizer->Add(buttons, 0, wxALL, 6);

    auto* templates = new wxBoxSizer(wxHORIZONTAL);
    templates->Add(new wxStaticText(this, wxID_ANY, TrW("Template")), 0, wxALIGN_CENTER_VERTICAL | wxRIGHT, 4);
    mpTemplate = new wxChoice(this, wxID_ANY);
    WidgetWalker_cls::SetAction(mpTemplate, L"template");
    for (const std::wstring& name : CustomColor_cls::GetTemplateNames())
        mpTemplate->Append(name);
    mpTemplate->SetSelection(0);
    templates->Add(mpTemplate, 1);
    sizer->Add(templates, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, 6);

    auto* slotRow = new wxBoxSizer(wxHORIZONTAL);
    slotRow->Add(new wxStaticText(this, wxID_ANY, TrW("Slot Color")), 0, wxALIGN_CENTER_VERTICAL | wxRIGHT, 4);
    mpSlotColour = new wxChoice(this, wxID_ANY);
    slotRow->Add(mpSlotColour, 1);
    sizer->Add(slotRow, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, 6);
    sizer->Add(CreateButtonSizer(wxCLOSE), 0, wxEXPAND | wxALL, 6);

    mpItemChoice->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { OnItem(); });
    mpNewMap->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { OnNewMap(); });
    mpDeleteMap->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { OnDeleteMap(); });
    mpMultiply->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) { OnMultiply(); });
    mpAddKey->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { OnAddKey(); });
    mpRemoveKey->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { OnRemoveKey(); });
    mpClrShift->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { OnClrShift(); });
    mpTemplate->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { OnTemplate(); });
    mpSlotColour->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { OnSlotColour(); });
    Bind(
        wxEVT_BUTTON, [this](wxCommandEvent&) { Hide(); }, wxID_CLOSE);

    SetSizerAndFit(sizer);
    UpdateFromModel();
}

// --- model to widgets ----------------------------------------------------------------------------

void CustomColorGUI_cls::FillSlotColourChoice()
{
    mpSlotColour->Clear();
    mpSlotColour->Append(TrW("White"));
    for (int i = 1; i <= 9; ++i)
        mpSlotColour->Append(TrW("Palette") + WStrPrintf(" %d", i));
    for (int i = 0; i < mpModel->GetItemNumber(); ++i)
        mpSlotColour->Append(TrW("Custom Map") + WStrPrintf(" %d", i));
    const int index = mCSlot.mGet ? mCSlot.mGet() : 0;
    const int at = index <= 0 ? 0 : index;
    mpSlotColour->SetSelection(at < static_cast<int>(mpSlotColour->GetCount()) ? at : 0);
}

void CustomColorGUI_cls::UpdateFromModel()
{
    // Recomputing the bar notifies the model's listeners, and the owner answers a notice by
    // updating this window: that second call finds the first still running and stops there.
    if (mbUpdating)
        return;
    mbUpdating = true;
    mpModel->UpdateCacheColor();
    mpModel->UpdateColorBar();
    const int n = mpModel->GetItemNumber();
    mpItemChoice->Clear();
    for (int i = 0; i < n; ++i)
        mpItemChoice->Append(TrW("Custom Map") + WStrPrintf(" %d", i));
    if (n > 0)
        mpItemChoice->SetSelection(std::max(mpModel->GetActiveItem(), 0));
    for (int c = 0; c < 3; ++c) {
        mpSlider[c]->SetValue(mpModel->GetCacheSlider(static_cast<unsigned>(c)));
        mpValue[c]->SetLabel(WStrPrintf("%d", mpModel->GetCacheDisplay(static_cast<unsigned>(c))));
        mpSlider[c]->Enable(n > 0);
    }
    mpMultiply->SetValue(mpModel->GetCacheMultiply());
    mpMultiply->Enable(n > 0);
    mpCursorText->SetLabel(TrW("Density") +
                           WStrPrintf(" %d (%.3f)", mpModel->GetCursor(), mpModel->GetCursor() / 255.0));
    mpDeleteMap->Enable(n > 0);
    mpAddKey->Enable(n > 0);
    mpRemoveKey->Enable(n > 0 && mpModel->IsKeyPoint());
    mpClrShift->Enable(n > 0);
    mpTemplate->Enable(n > 0);
    mpTemplate->SetSelection(0);
    FillSlotColourChoice();
    mpBar->Refresh();
    mbUpdating = false;
}

std::wstring CustomColorGUI_cls::DescribeWidgetPlaces() const
{
    std::wstring text;
    const std::pair<const char*, const wxWindow*> widgets[] = {
        {"bar", mpBar},
        {"map", mpItemChoice},
        {"newmap", mpNewMap},
        {"deletemap", mpDeleteMap},
        {"red", mpSlider[0]},
        {"green", mpSlider[1]},
        {"blue", mpSlider[2]},
        {"multiply", mpMultiply},
        {"addkey", mpAddKey},
        {"removekey", mpRemoveKey},
        {"clrshift", mpClrShift},
        {"template", mpTemplate},
        {"slotcolor", mpSlotColour},
    };
    for (const auto& [name, w] : widgets) {
        const wxPoint at = w->IsShownOnScreen() ? w->GetScreenPosition() : wxPoint(0, 0);
        text += WStrPrintf("ccw.%s=%d %d %d %d\n", name, at.x, at.y, w->GetSize().x, w->GetSize().y);
    }
    return text;
}

std::wstring CustomColorGUI_cls::DescribeState() const
{
    const Parameters_cls* map = mpModel->GetPItem(-1);
    return WStrPrintf("customcolor=%d %d %d %d %d %d %d %d\n", mpModel->GetItemNumber(), mpModel->GetActiveItem(),
                      mpModel->GetCursor(), map ? map->GetKeyNumber() : 0, mpModel->GetCacheDisplay(0),
                      mpModel->GetCacheDisplay(1), mpModel->GetCacheDisplay(2), mpModel->GetCacheMultiply() ? 1 : 0);
}

// --- widget events -------------------------------------------------------------------------------

void CustomColorGUI_cls::SetCursorFromBar(int step)
{
    mpModel->SetCursor(step);
    UpdateFromModel();
}

void CustomColorGUI_cls::OnItem()
{
    if (mbUpdating)
        return;
    mpModel->SetActiveItem(mpItemChoice->GetSelection());
    UpdateFromModel();
}

void CustomColorGUI_cls::OnNewMap()
{
    mpModel->AddItem();
    UpdateFromModel();
}

void CustomColorGUI_cls::OnDeleteMap()
{
    mpModel->RemoveItem();
    UpdateFromModel();
}

void CustomColorGUI_cls::OnSliderReleased()
{
    if (mbUpdating)
        return;
    for (int c = 0; c < 3; ++c)
        mpModel->SetCacheSlider(static_cast<unsigned>(c), mpSlider[c]->GetValue());
    mpModel->SyncFromCache();
    UpdateFromModel();
}

void CustomColorGUI_cls::OnMultiply()
{
    if (mbUpdating)
        return;
    mpModel->SetMultiplyLevel(-1, mpMultiply->GetValue());
    UpdateFromModel();
}

void CustomColorGUI_cls::OnAddKey()
{
    mpModel->AddKey();
    UpdateFromModel();
}

void CustomColorGUI_cls::OnRemoveKey()
{
    mpModel->RemoveKey();
    UpdateFromModel();
}

void CustomColorGUI_cls::OnClrShift()
{
    mpModel->ClrShift();
    UpdateFromModel();
}

void CustomColorGUI_cls::OnTemplate()
{
    if (mbUpdating)
        return;
    const int t = mpTemplate->GetSelection();
    // "-- select --" is a heading, not a template: choosing it changes nothing.
    if (t > 0)
        mpModel->SetColorTemplate(t);
    UpdateFromModel();
}

void CustomColorGUI_cls::OnSlotColour()
{
    if (mbUpdating || !mCSlot.mSet)
        return;
    const int sel = mpSlotColour->GetSelection();
    // The entries are in colour-index order: white, the nine palettes, then the custom maps.
    mCSlot.mSet(sel);
    UpdateFromModel();
}
