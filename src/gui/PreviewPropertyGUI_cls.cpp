#include "gui/PreviewPropertyGUI_cls.h"

#include "config/PreviewProperty_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/statbox.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{
const char* const kShadeFolded = "[+]Shade Settings";
const char* const kShadeOpen = "[-]Shade Settings";
} // namespace

const std::vector<PreviewPropertyGUI_cls::FloatDef>& PreviewPropertyGUI_cls::FloatDefs()
{
    static const std::vector<FloatDef> s = {
        {L"PreviewLuminanceFactor=", "Luminance Factor", 0.0f, 4.0f, false},
        {L"PreviewAbsorption=", "Absorption Factor", 0.0f, 4.0f, true},
        {L"PreviewAbsorptionComplement=", "Complement", 0.0f, 1.0f, true},
        {L"PreviewShadeOffset=", "Shade Factor", 0.0f, 0.02f, true},
    };
    return s;
}

const std::vector<PreviewPropertyGUI_cls::ChoiceDef>& PreviewPropertyGUI_cls::ChoiceDefs()
{
    // The texts are the settings' own choice texts; the shading group's three choices are
    // the emboss switch, the absorption pattern and the offset space of the emboss.
    static const std::vector<ChoiceDef> s = {
        {L"PreviewType3D=", "Preview Type", PreviewProperty_cls::GetPreviewType3DChoices(), {}, -1, false},
        {L"PreviewNormalQuality=", "Slices", PreviewProperty_cls::GetNormalQualityChoices(), {}, 12, false},
        {L"PreviewTextureType=", "Texture Type", PreviewProperty_cls::GetTextureTypeChoices(), {}, -1, false},
        {L"PreviewType=", "Draw Texture Method", PreviewProperty_cls::GetBlendTypeChoices(), {}, -1, false},
        {L"PreviewHiding=", "Hiding", PreviewProperty_cls::GetHidingChoices(), {}, -1, false},
        // Any value but 1 filters by the nearest texel.
        {L"PreviewTexFilter=", "Texture Filter", {"NEAREST", "LINEAR"}, {0, 1}, 0, false},
        {L"PreviewShading=", "Shading", {"no Emboss", "Emboss Shading"}, {}, -1, true},
        {L"PreviewShadingPattern=", "Absorption", {"constant absorption", "weak at dense"}, {}, -1, true},
        {L"PreviewShadingCoord=", "Offset", {"local offset", "global offset"}, {}, -1, true},
    };
    return s;
}

int PreviewPropertyGUI_cls::SliderPos(float value, float min, float max)
{
    if (!(max > min) || !std::isfinite(value))
        return 0;
    const double pos = std::round((static_cast<double>(value) - min) / (max - min) * kSliderSteps);
    return static_cast<int>(std::clamp(pos, 0.0, static_cast<double>(kSliderSteps)));
}

float PreviewPropertyGUI_cls::SliderValue(int pos, float min, float max)
{
    pos = std::clamp(pos, 0, kSliderSteps);
    return static_cast<float>(min + (static_cast<double>(max) - min) * pos / kSliderSteps);
}

int PreviewPropertyGUI_cls::ChoiceIndexOf(const ChoiceDef& def, unsigned value)
{
    if (def.mvuValue.empty())
        return value < def.mvText.size() ? static_cast<int>(value) : def.miFallback;
    for (size_t i = 0; i < def.mvuValue.size(); ++i)
        if (def.mvuValue[i] == value)
            return static_cast<int>(i);
    return def.miFallback;
}

PreviewPropertyGUI_cls::PreviewPropertyGUI_cls(wxWindow* parent, PreviewProperty_cls* property)
    : wxPanel(parent, wxID_ANY), mpProperty(property)
{
    auto* box = new wxStaticBoxSizer(wxVERTICAL, this, TrW("Preview Property"));
    wxWindow* owner = box->GetStaticBox();
    // Labels above their controls: the control panel is narrow and the choice texts are long.
    auto* main = new wxBoxSizer(wxVERTICAL);
    auto* shade = new wxBoxSizer(wxVERTICAL);

    mp3DTexture = new wxCheckBox(owner, wxID_ANY, TrW("Use 3D Texture"));
    mp3DTexture->SetToolTip(TrW("Set at start-up from the OpenGL version (1.2 or later)"));
    mp3DTexture->Disable();

    const auto& choices = ChoiceDefs();
    for (size_t i = 0; i < choices.size(); ++i) {
        wxBoxSizer* grid = choices[i].mbShadeGroup ? shade : main;
        wxArrayString texts;
        for (const char* t : choices[i].mvText)
            texts.Add(TrW(t));
        auto* choice = new wxChoice(owner, wxID_ANY, wxDefaultPosition, wxDefaultSize, texts);
        choice->Bind(wxEVT_CHOICE, [this, i](wxCommandEvent&) { OnChoice(i); });
        grid->Add(new wxStaticText(owner, wxID_ANY, TrW(choices[i].mpLabel)), 0, wxTOP, 4);
        grid->Add(choice, 0, wxEXPAND);
        mvChoice.push_back(choice);
    }
    const auto& floats = FloatDefs();
    for (size_t i = 0; i < floats.size(); ++i) {
        wxBoxSizer* grid = floats[i].mbShadeGroup ? shade : main;
        auto* row = new wxBoxSizer(wxHORIZONTAL);
        auto* slider = new wxSlider(owner, wxID_ANY, 0, 0, kSliderSteps, wxDefaultPosition, wxSize(90, -1));
        auto* value = new wxTextCtrl(owner, wxID_ANY, L"", wxDefaultPosition, wxSize(64, -1), wxTE_PROCESS_ENTER);
        slider->Bind(wxEVT_SLIDER, [this, i](wxCommandEvent&) { OnSlider(i); });
        slider->Bind(wxEVT_SCROLL_CHANGED, [this, i](wxScrollEvent& e) {
            OnSliderReleased(i);
            e.Skip();
        });
        value->Bind(wxEVT_TEXT_ENTER, [this, i](wxCommandEvent&) { OnValueText(i); });
        value->Bind(wxEVT_KILL_FOCUS, [this, i](wxFocusEvent& e) {
            OnValueText(i);
            e.Skip();
        });
        row->Add(slider, 1, wxALIGN_CENTER_VERTICAL);
        row->Add(value, 0, wxLEFT | wxALIGN_CENTER_VERTICAL, 2);
        grid->Add(new wxStaticText(owner, wxID_ANY, TrW(floats[i].mpLabel)), 0, wxTOP, 4);
        grid->Add(row, 0, wxEXPAND);
        mvSlider.push_back(slider);
        mvValue.push_back(value);
    }

    mpFoldButton = new wxButton(owner, wxID_ANY, TrW(kShadeFolded), wxDefaultPosition, wxDefaultSize,
                                wxBU_EXACTFIT | wxBORDER_NONE);
    mpFoldButton->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { SetShadeFolded(!mbShadeFolded); });

    box->Add(mp3DTexture, 0, wxALL, 2);
    box->Add(main, 0, wxEXPAND | wxALL, 2);
    box->Add(mpFoldButton, 0, wxTOP | wxBOTTOM, 4);
    box->Add(shade, 0, wxEXPAND | wxALL, 2);
    mpShadeSizer = shade;
    SetSizer(box);
    SetShadeFolded(true);
    UpdateFromProperty();
}

void PreviewPropertyGUI_cls::SetShadeFolded(bool folded)
{
    mbShadeFolded = folded;
    GetSizer()->Show(mpShadeSizer, !folded, true);
    mpFoldButton->SetLabel(TrW(folded ? kShadeFolded : kShadeOpen));
    Layout();
    // The panel sits on a page of the scrolled control panel: the page book and the scrollable
    // size follow the fold.
    // Best sizes are cached all the way up; the outermost window is laid out first so that each
    // page book hands its new size down before the inner sizers place their children.
    std::vector<wxWindow*> ancestors;
    for (wxWindow* w = GetParent(); w != nullptr && !w->IsTopLevel(); w = w->GetParent()) {
        w->InvalidateBestSize();
        ancestors.push_back(w);
    }
    for (auto it = ancestors.rbegin(); it != ancestors.rend(); ++it) {
        (*it)->FitInside();
        (*it)->Layout();
    }
}

void PreviewPropertyGUI_cls::UpdateFromProperty()
{
    mbUpdating = true;
    ConfItemList_cls& list = mpProperty->GetConfList();
    const auto& choices = ChoiceDefs();
    for (size_t i = 0; i < choices.size(); ++i)
        if (const auto* item = dynamic_cast<const ConfItemUINT_cls*>(list.Find(choices[i].mpKey)))
            mvChoice[i]->SetSelection(ChoiceIndexOf(choices[i], item->Get()));
    const auto& floats = FloatDefs();
    for (size_t i = 0; i < floats.size(); ++i) {
        if (const auto* item = dynamic_cast<const ConfItemFLOAT_cls*>(list.Find(floats[i].mpKey))) {
            mvSlider[i]->SetValue(SliderPos(item->Get(), floats[i].mfMin, floats[i].mfMax));
            mvValue[i]->ChangeValue(WStrPrintf("%g", static_cast<double>(item->Get())));
        }
    }
    mp3DTexture->SetValue(mpProperty->Is3DTexture());
    mbUpdating = false;
}

void PreviewPropertyGUI_cls::Changed()
{
    if (mOnChanged)
        mOnChanged();
}

void PreviewPropertyGUI_cls::OnChoice(size_t index)
{
    if (mbUpdating)
        return;
    const ChoiceDef& def = ChoiceDefs()[index];
    const int selection = mvChoice[index]->GetSelection();
    if (selection < 0)
        return;
    const unsigned value =
        def.mvuValue.empty() ? static_cast<unsigned>(selection) : def.mvuValue[static_cast<size_t>(selection)];
    // One undo step; the settings' notice redraws the views.
    if (mpProperty->SetItemExecute(def.mpKey, WStrPrintf("%u", value)))
        Changed();
}

void PreviewPropertyGUI_cls::SetFloat(size_t index, float value)
{
    const FloatDef& def = FloatDefs()[index];
    auto* item = dynamic_cast<ConfItemFLOAT_cls*>(mpProperty->GetConfList().Find(def.mpKey));
    if (item == nullptr)
        return;
    // A slider being dragged changed the setting on the way: the step goes from where it began.
    const std::wstring before = mvDragStart[index].empty() ? item->GetItemStr() : mvDragStart[index];
    mvDragStart[index].clear();
    const bool stepped = mpProperty->SetItemExecute(def.mpKey, before, WStrPrintf("%.9g", static_cast<double>(value)));
    ShowFloat(index);
    if (stepped)
        Changed();
}

void PreviewPropertyGUI_cls::ShowFloat(size_t index)
{
    const FloatDef& def = FloatDefs()[index];
    const auto* item = dynamic_cast<const ConfItemFLOAT_cls*>(mpProperty->GetConfList().Find(def.mpKey));
    if (item == nullptr)
        return;
    mbUpdating = true;
    mvSlider[index]->SetValue(SliderPos(item->Get(), def.mfMin, def.mfMax));
    mvValue[index]->ChangeValue(WStrPrintf("%g", static_cast<double>(item->Get())));
    mbUpdating = false;
}

void PreviewPropertyGUI_cls::OnSlider(size_t index)
{
    if (mbUpdating)
        return;
    const FloatDef& def = FloatDefs()[index];
    auto* item = dynamic_cast<ConfItemFLOAT_cls*>(mpProperty->GetConfList().Find(def.mpKey));
    if (item == nullptr)
        return;
    // While dragged the views follow the slider at once; the release makes it one undo step.
    if (mvDragStart[index].empty())
        mvDragStart[index] = item->GetItemStr();
    item->Set(SliderValue(mvSlider[index]->GetValue(), def.mfMin, def.mfMax));
    mbUpdating = true;
    mvValue[index]->ChangeValue(WStrPrintf("%g", static_cast<double>(item->Get())));
    mbUpdating = false;
    Changed();
}

void PreviewPropertyGUI_cls::OnSliderReleased(size_t index)
{
    if (mbUpdating || mvDragStart[index].empty())
        return;
    const FloatDef& def = FloatDefs()[index];
    SetFloat(index, SliderValue(mvSlider[index]->GetValue(), def.mfMin, def.mfMax));
}

void PreviewPropertyGUI_cls::OnValueText(size_t index)
{
    if (mbUpdating)
        return;
    const FloatDef& def = FloatDefs()[index];
    auto* item = dynamic_cast<ConfItemFLOAT_cls*>(mpProperty->GetConfList().Find(def.mpKey));
    if (item == nullptr)
        return;
    const std::wstring text = mvValue[index]->GetValue().ToStdWstring();
    const double parsed = ParseDouble(text);
    // Text that is not a number, or lies outside the setting's range, puts the value back.
    const bool number = !text.empty() && text.find_first_not_of(L" 0123456789.+-eE") == std::wstring::npos;
    if (!number || !std::isfinite(parsed) || parsed < def.mfMin || parsed > def.mfMax) {
        mvValue[index]->ChangeValue(WStrPrintf("%g", static_cast<double>(item->Get())));
        return;
    }
    if (static_cast<float>(parsed) != item->Get())
        SetFloat(index, static_cast<float>(parsed));
}

std::wstring PreviewPropertyGUI_cls::DescribeWidgets() const
{
    std::wstring text;
    const auto& choices = ChoiceDefs();
    for (size_t i = 0; i < choices.size(); ++i)
        text += std::wstring(L"pp.") + choices[i].mpKey + mvChoice[i]->GetStringSelection().ToStdWstring() + L"\n";
    const auto& floats = FloatDefs();
    for (size_t i = 0; i < floats.size(); ++i)
        text += std::wstring(L"pp.") + floats[i].mpKey + mvValue[i]->GetValue().ToStdWstring() + L"\n";
    text += std::wstring(L"pp.shade=") + (mbShadeFolded ? L"folded" : L"open") + L" " +
            mpFoldButton->GetLabel().ToStdWstring() + L"\n";
    return text;
}

std::wstring PreviewPropertyGUI_cls::DescribeWidgetPlaces() const
{
    auto place = [](const wxWindow* w) {
        const bool shown = w->IsShownOnScreen();
        const wxPoint at = shown ? w->GetScreenPosition() : wxPoint(0, 0);
        const wxSize size = w->GetSize();
        return WStrPrintf("%d %d %d %d %d\n", at.x, at.y, size.x, size.y, shown ? 1 : 0);
    };
    std::wstring text;
    const auto& choices = ChoiceDefs();
    for (size_t i = 0; i < choices.size(); ++i)
        text += std::wstring(L"ppw.") + choices[i].mpKey + place(mvChoice[i]);
    const auto& floats = FloatDefs();
    for (size_t i = 0; i < floats.size(); ++i)
        text += std::wstring(L"ppw.") + floats[i].mpKey + place(mvValue[i]);
    text += L"ppw.fold=" + place(mpFoldButton);
    return text;
}
