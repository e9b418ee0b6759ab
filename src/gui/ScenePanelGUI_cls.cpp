// Sections: construction; model to widgets; widget events.
#include "gui/ScenePanelGUI_cls.h"

#include "anim/CameraPathCtrl_cls.h"
#include "anim/KeyFrame_cls.h"
#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "gui/WidgetWalker_cls.h"
#include "pov/Camera_cls.h"
#include "pov/LightSRC_cls.h"

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/clrpicker.h>
#include <wx/listbox.h>
#include <wx/sizer.h>
#include <wx/spinctrl.h>
#include <wx/statbox.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include <algorithm>
#include <cmath>

namespace
{

wxSpinCtrlDouble* NewSpin(wxWindow* parent, double lo, double hi, double step, int digits)
{
    auto* spin = new wxSpinCtrlDouble(parent, wxID_ANY, L"", wxDefaultPosition, wxDefaultSize,
                                      wxSP_ARROW_KEYS | wxTE_PROCESS_ENTER, lo, hi, lo, step);
    spin->SetDigits(static_cast<unsigned>(digits));
    return spin;
}

// A spin box reports a change on Return, on a click of its arrows and when it loses the focus
// with a new value; each goes to the same handler, which ignores a value that did not change.
void BindSpin(wxSpinCtrlDouble* spin, const std::function<void()>& handler)
{
    spin->Bind(wxEVT_SPINCTRLDOUBLE, [handler](wxSpinDoubleEvent&) { handler(); });
    spin->Bind(wxEVT_TEXT_ENTER, [handler](wxCommandEvent&) { handler(); });
}

// Sets the entries of a list or choice only when they differ: the panel follows the clock during
// playback, and rebuilding unchanged lists every frame would flicker and drop the user's place.
void SetEntries(wxItemContainer* list, const std::vector<std::wstring>& entries)
{
    bool same = list->GetCount() == entries.size();
    for (size_t i = 0; same && i < entries.size(); ++i)
        same = list->GetString(static_cast<unsigned>(i)).ToStdWstring() == entries[i];
    if (same)
        return;
    list->Clear();
    for (const std::wstring& e : entries)
        list->Append(e);
}

// A light's colour (0..1 per channel, values above 1 brighten only through the energy) as the
// picker shows it.
wxColour ToColour(const double* rgb)
{
    auto byte = [](double v) {
        return static_cast<unsigned char>(std::lround(std::clamp(std::isfinite(v) ? v : 0.0, 0.0, 1.0) * 255.0));
    };
    return wxColour(byte(rgb[0]), byte(rgb[1]), byte(rgb[2]));
}

std::vector<PovIsosurface_cls*> IsoItems(FilterCtrl_cls* chain)
{
    std::vector<PovIsosurface_cls*> out;
    if (chain)
        for (int i = 0; i < chain->GetItemNum(); ++i)
            if (auto* iso = dynamic_cast<PovIsosurface_cls*>(chain->GetPFilterBase(i)))
                out.push_back(iso);
    return out;
}

} // namespace

// --- construction --------------------------------------------------------------------------------

ScenePanelGUI_cls::ScenePanelGUI_cls(wxWindow* parent, Links links)
    : wxPanel(parent, wxID_ANY), mCLinks(std::move(links))
{
    auto* sizer = new wxBoxSizer(wxVERTICAL);

    auto* isoBox = new wxStaticBoxSizer(wxVERTICAL, this, TrW("Isosurface"));
    mpIsoChoice = new wxChoice(isoBox->GetStaticBox(), wxID_ANY);
    WidgetWalker_cls::SetAction(mpIsoChoice, L"isosurface");
    isoBox->Add(mpIsoChoice, 0, wxEXPAND | wxALL, 2);
    auto* isoGrid = new wxFlexGridSizer(2, 2, 2, 4);
    isoGrid->Add(new wxStaticText(isoBox->GetStaticBox(), wxID_ANY, TrW("Level")), 0, wxALIGN_CENTER_VERTICAL);
    mpLevel = NewSpin(isoBox->GetStaticBox(), 0.0, 1.0, 0.01, 3);
    isoGrid->Add(mpLevel);
    isoGrid->Add(new wxStaticText(isoBox->GetStaticBox(), wxID_ANY, TrW("Alpha")), 0, wxALIGN_CENTER_VERTICAL);
    mpAlpha = NewSpin(isoBox->GetStaticBox(), 0.0, 1.0, 0.05, 2);
    isoGrid->Add(mpAlpha);
    isoBox->Add(isoGrid, 0, wxALL, 2);
    mpExport = new wxButton(isoBox->GetStaticBox(), wxID_ANY, TrW("Export Isosurface..."));
    isoBox->Add(mpExport, 0, wxALL, 2);
    sizer->Add(isoBox, 0, wxEXPAND | wxALL, 4);

    auto* lightBox = new wxStaticBoxSizer(wxVERTICAL, this, TrW("Light Source"));
    mpLightList = new wxListBox(lightBox->GetStaticBox(), wxID_ANY, wxDefaultPosition, wxSize(-1, 70));
    lightBox->Add(mpLightList, 0, wxEXPAND | wxALL, 2);
    auto* lightButtons = new wxBoxSizer(wxHORIZONTAL);
    mpLightKind = new wxChoice(lightBox->GetStaticBox(), wxID_ANY);
    for (const char* kind : {"Point", "Spot", "Parallel"})
        mpLightKind->Append(TrW(kind));
    mpLightKind->SetSelection(0);
    WidgetWalker_cls::SetAction(mpLightKind, L"light kind");
    mpLightKind->SetToolTip(TrW("Kind of the next light added"));
    // A row of its own: the panel must stay as narrow as the control panel's other groups.
    lightBox->Add(mpLightKind, 0, wxEXPAND | wxALL, 2);
    mpAddLight = new wxButton(lightBox->GetStaticBox(), wxID_ANY, TrW("Add Light"));
    mpRemoveLight = new wxButton(lightBox->GetStaticBox(), wxID_ANY, TrW("Remove Light"));
    lightButtons->Add(mpAddLight, 0, wxRIGHT, 4);
    lightButtons->Add(mpRemoveLight, 0);
    lightBox->Add(lightButtons, 0, wxALL, 2);
    auto* lightGrid = new wxFlexGridSizer(5, 2, 2, 4);
    const char* lightLabels[4] = {"x", "y", "z", "Energy"};
    for (int i = 0; i < 4; ++i) {
        lightGrid->Add(new wxStaticText(lightBox->GetStaticBox(), wxID_ANY, TrW(lightLabels[i])), 0,
                       wxALIGN_CENTER_VERTICAL);
        mpLightValue[i] = i < 3 ? NewSpin(lightBox->GetStaticBox(), -100.0, 100.0, 0.1, 3)
                                : NewSpin(lightBox->GetStaticBox(), 0.0, 100.0, 0.1, 3);
        lightGrid->Add(mpLightValue[i]);
    }
    lightGrid->Add(new wxStaticText(lightBox->GetStaticBox(), wxID_ANY, TrW("Color")), 0, wxALIGN_CENTER_VERTICAL);
    mpLightColour = new wxColourPickerCtrl(lightBox->GetStaticBox(), wxID_ANY, *wxWHITE);
    mpLightColour->SetToolTip(TrW("Colour of the chosen light; the energy scales it"));
    lightGrid->Add(mpLightColour);
    lightBox->Add(lightGrid, 0, wxALL, 2);
    sizer->Add(lightBox, 0, wxEXPAND | wxALL, 4);

    auto* camBox = new wxStaticBoxSizer(wxVERTICAL, this, TrW("Camera Path"));
    mpCameraList = new wxListBox(camBox->GetStaticBox(), wxID_ANY, wxDefaultPosition, wxSize(-1, 70));
    camBox->Add(mpCameraList, 0, wxEXPAND | wxALL, 2);
    auto* camButtons = new wxBoxSizer(wxHORIZONTAL);
    mpAddCamera = new wxButton(camBox->GetStaticBox(), wxID_ANY, TrW("Add Camera"));
    mpDeleteCamera = new wxButton(camBox->GetStaticBox(), wxID_ANY, TrW("Delete Camera"));
    camButtons->Add(mpAddCamera, 0, wxRIGHT, 4);
    camButtons->Add(mpDeleteCamera, 0);
    camBox->Add(camButtons, 0, wxALL, 2);
    mpFollow = new wxCheckBox(camBox->GetStaticBox(), wxID_ANY, TrW("Follow Camera Path"));
    mpFollow->SetToolTip(TrW("View 0 looks through the camera path when the frame changes"));
    camBox->Add(mpFollow, 0, wxALL, 2);
    sizer->Add(camBox, 0, wxEXPAND | wxALL, 4);

    mpCustomColor = new wxButton(this, wxID_ANY, TrW("Custom Color..."));
    sizer->Add(mpCustomColor, 0, wxALL, 4);

    mpIsoChoice->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { OnIsoChoice(); });
    BindSpin(mpLevel, [this] { OnIsoValue(); });
    BindSpin(mpAlpha, [this] { OnIsoValue(); });
    mpExport->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        if (PovIsosurface_cls* iso = GetChosenIso(); iso && mCLinks.mExportIso)
            mCLinks.mExportIso(iso);
    });
    mpAddLight->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { OnAddLight(); });
    mpRemoveLight->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { OnRemoveLight(); });
    mpLightList->Bind(wxEVT_LISTBOX, [this](wxCommandEvent&) { OnLightSelect(); });
    for (wxSpinCtrlDouble* spin : mpLightValue)
        BindSpin(spin, [this] { OnLightValue(); });
    mpLightColour->Bind(wxEVT_COLOURPICKER_CHANGED, [this](wxColourPickerEvent&) { OnLightColour(); });
    mpAddCamera->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { OnAddCamera(); });
    mpDeleteCamera->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { OnDeleteCamera(); });
    mpFollow->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) {
        // One undo step; the path's change hook refreshes panel, menu and views.
        if (mCLinks.mpCameraPath && !mCLinks.mpCameraPath->SetUsePathExecute(mpFollow->GetValue()) &&
            mCLinks.mSceneChanged)
            mCLinks.mSceneChanged();
    });
    mpCustomColor->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        if (mCLinks.mOpenCustomColor)
            mCLinks.mOpenCustomColor();
    });
    SetSizer(sizer);
    UpdateFromModel();
}

// --- model to widgets ----------------------------------------------------------------------------

PovIsosurface_cls* ScenePanelGUI_cls::GetChosenIso() const
{
    const std::vector<PovIsosurface_cls*> isos = IsoItems(mCLinks.mActiveChain ? mCLinks.mActiveChain() : nullptr);
    const int sel = mpIsoChoice->GetSelection();
    return sel >= 0 && sel < static_cast<int>(isos.size()) ? isos[static_cast<size_t>(sel)] : nullptr;
}

bool ScenePanelGUI_cls::IsFollowPath() const
{
    return mCLinks.mpCameraPath != nullptr && mCLinks.mpCameraPath->IsUsePath();
}

std::vector<int> ScenePanelGUI_cls::CameraKeyFrames() const
{
    // The path is the active camera's keys: each "camera" of the list is one key of it.
    std::vector<int> frames;
    const CameraPathCtrl_cls* path = mCLinks.mpCameraPath;
    const Parameters_cls* camera = path ? path->GetPCamera(path->GetActiveCamera()) : nullptr;
    if (camera == nullptr || !camera->IsTimeDependent())
        return frames;
    for (int k = 0; k < camera->GetKeyNumber(); ++k)
        if (const KeyFrame_cls* key = camera->GetPKeyFrame(k))
            frames.push_back(mCLinks.mFrameOfTime ? mCLinks.mFrameOfTime(key->GetTime()) : 0);
    return frames;
}

void ScenePanelGUI_cls::UpdateFromModel()
{
    mbUpdating = true;
    // Isosurfaces: keep the choice on the same item when it is still there.
    const std::vector<PovIsosurface_cls*> isos = IsoItems(mCLinks.mActiveChain ? mCLinks.mActiveChain() : nullptr);
    const int oldSel = mpIsoChoice->GetSelection();
    std::vector<std::wstring> entries;
    for (PovIsosurface_cls* iso : isos)
        entries.push_back(iso->GetLocaleStrLabel() + L" [" + iso->GetIdTag() + L"]");
    SetEntries(mpIsoChoice, entries);
    if (!isos.empty())
        mpIsoChoice->SetSelection(std::clamp(oldSel, 0, static_cast<int>(isos.size()) - 1));
    if (PovIsosurface_cls* iso = GetChosenIso()) {
        // The values at the current time, as the chain will use them.
        double v[2];
        iso->GetParameters().Evaluate(-1.0, 0.0, v);
        mpLevel->SetValue(v[0]);
        mpAlpha->SetValue(v[1]);
    }
    for (wxWindow* w : {static_cast<wxWindow*>(mpIsoChoice), static_cast<wxWindow*>(mpLevel),
                        static_cast<wxWindow*>(mpAlpha), static_cast<wxWindow*>(mpExport)})
        w->Enable(!isos.empty());

    // Lights.
    LightSRC_cls* lights = mCLinks.mpLights;
    const int oldLight = mpLightList->GetSelection();
    const char* kinds[3] = {"Point", "Spot", "Parallel"};
    const size_t nLights = lights ? lights->GetCount() : 0;
    entries.clear();
    for (size_t i = 0; i < nLights; ++i)
        entries.push_back(TrW("Light") + WStrPrintf(" %zu (", i + 1) + TrW(kinds[std::min(lights->GetKind(i), 2u)]) +
                          L")");
    SetEntries(mpLightList, entries);
    if (nLights > 0)
        mpLightList->SetSelection(std::clamp(oldLight, 0, static_cast<int>(nLights) - 1));
    const int light = mpLightList->GetSelection();
    if (light >= 0) {
        double v[LightSRC_cls::kDimension];
        lights->GetParam(static_cast<size_t>(light)).Evaluate(-1.0, 0.0, v);
        for (int i = 0; i < 3; ++i)
            mpLightValue[i]->SetValue(v[i]);
        mpLightValue[3]->SetValue(v[6]);
        mpLightColour->SetColour(ToColour(v + 3));
    }
    mpRemoveLight->Enable(light >= 0);
    for (wxSpinCtrlDouble* spin : mpLightValue)
        spin->Enable(light >= 0);
    mpLightColour->Enable(light >= 0);

    // Cameras: the keys of the path's active camera.
    const std::vector<int> camFrames = CameraKeyFrames();
    const int oldCam = mpCameraList->GetSelection();
    const int nCams = static_cast<int>(camFrames.size());
    entries.clear();
    for (int i = 0; i < nCams; ++i)
        entries.push_back(TrW("Camera") + WStrPrintf(" %d: ", i + 1) + TrW("frame") +
                          WStrPrintf(" %d", camFrames[static_cast<size_t>(i)]));
    SetEntries(mpCameraList, entries);
    if (nCams > 0)
        mpCameraList->SetSelection(std::clamp(oldCam, 0, nCams - 1));
    mpFollow->SetValue(IsFollowPath());
    mpDeleteCamera->Enable(nCams > 0);
    mbUpdating = false;
}

std::wstring ScenePanelGUI_cls::DescribeWidgets() const
{
    // The mesh is read only while no run writes it; meanwhile the line stays as it was.
    if (!mCLinks.mActiveChainBusy || !mCLinks.mActiveChainBusy()) {
        mStrIsoState = WStrPrintf("scene.iso=%u", mpIsoChoice->GetCount());
        if (const PovIsosurface_cls* iso = GetChosenIso())
            mStrIsoState += WStrPrintf(" %.4f %.4f %d %zu", iso->GetCritical(), iso->GetAlpha(), iso->GetBuildCount(),
                                       iso->GetMesh().GetFaceNumberOptFull());
        mStrIsoState += L"\n";
    }
    std::wstring text = mStrIsoState;
    text += WStrPrintf("scene.lights=%u", mpLightList->GetCount());
    if (LightSRC_cls* lights = mCLinks.mpLights)
        for (size_t i = 0; i < lights->GetCount(); ++i)
            text += WStrPrintf(" %u", lights->GetKind(i));
    text += L"\n";
    // The chosen light's position and energy at the current time.
    if (const int sel = mpLightList->GetSelection(); sel >= 0 && mCLinks.mpLights) {
        double v[LightSRC_cls::kDimension];
        mCLinks.mpLights->GetParam(static_cast<size_t>(sel)).Evaluate(-1.0, 0.0, v);
        text += WStrPrintf("scene.light=%d %.4f %.4f %.4f %.4f %.4f %.4f %.4f\n", sel, v[0], v[1], v[2], v[6], v[3],
                           v[4], v[5]);
    }
    text += WStrPrintf("scene.cameras=%u", mpCameraList->GetCount());
    for (const int frame : CameraKeyFrames())
        text += WStrPrintf(" %d", frame);
    text += L"\n";
    // The check box and the setting it shows.
    text += WStrPrintf("scene.follow=%d %d\n", mpFollow->GetValue() ? 1 : 0, IsFollowPath() ? 1 : 0);
    return text;
}

std::wstring ScenePanelGUI_cls::DescribeWidgetPlaces() const
{
    std::wstring text;
    const std::pair<const char*, const wxWindow*> widgets[] = {
        {"isochoice", mpIsoChoice},
        {"level", mpLevel},
        {"alpha", mpAlpha},
        {"export", mpExport},
        {"lights", mpLightList},
        {"addlight", mpAddLight},
        {"removelight", mpRemoveLight},
        {"lightkind", mpLightKind},
        {"lightx", mpLightValue[0]},
        {"energy", mpLightValue[3]},
        {"lightcolour", mpLightColour},
        {"cameras", mpCameraList},
        {"addcamera", mpAddCamera},
        {"deletecamera", mpDeleteCamera},
        {"follow", mpFollow},
        {"customcolor", mpCustomColor},
    };
    for (const auto& [name, w] : widgets) {
        const wxPoint at = w->IsShownOnScreen() ? w->GetScreenPosition() : wxPoint(0, 0);
        text += WStrPrintf("scw.%s=%d %d %d %d\n", name, at.x, at.y, w->GetSize().x, w->GetSize().y);
    }
    return text;
}

// --- widget events -------------------------------------------------------------------------------

void ScenePanelGUI_cls::OnIsoChoice()
{
    if (!mbUpdating)
        UpdateFromModel();
}

void ScenePanelGUI_cls::OnIsoValue()
{
    if (mbUpdating)
        return;
    PovIsosurface_cls* iso = GetChosenIso();
    if (!iso)
        return;
    // The values at the current time, changed where the user typed, then keyed: one undo step
    // when something differs (a set that is not animated changes its constant value).
    double v[2];
    iso->GetParameters().Evaluate(-1.0, 0.0, v);
    iso->SetParam(0, mpLevel->GetValue());
    iso->SetParam(1, mpAlpha->GetValue());
    if (!iso->SetKeyIfChanged(-1.0)) {
        iso->SetParam(0, v[0]);
        iso->SetParam(1, v[1]);
        return;
    }
    if (mCLinks.mChainChanged)
        mCLinks.mChainChanged();
}

void ScenePanelGUI_cls::OnAddLight()
{
    if (!mCLinks.mpLights)
        return;
    // A white point light above, to the right and in front of the box, where a first light
    // shows the shape of a surface.
    const double position[3] = {2.0, 2.0, 2.0};
    const double white[3] = {1.0, 1.0, 1.0};
    const unsigned kind = static_cast<unsigned>(std::max(mpLightKind->GetSelection(), 0));
    const int index = mCLinks.mpLights->AddLightExecute(kind, position, white, 1.0);
    UpdateFromModel();
    mpLightList->SetSelection(index);
    UpdateFromModel();
}

void ScenePanelGUI_cls::OnRemoveLight()
{
    const int sel = mpLightList->GetSelection();
    if (mCLinks.mpLights && sel >= 0)
        mCLinks.mpLights->RemoveLightExecute(static_cast<size_t>(sel));
    UpdateFromModel();
}

void ScenePanelGUI_cls::OnLightSelect()
{
    if (!mbUpdating)
        UpdateFromModel();
}

void ScenePanelGUI_cls::OnLightValue()
{
    const int sel = mpLightList->GetSelection();
    if (mbUpdating || !mCLinks.mpLights || sel < 0)
        return;
    Parameters_cls& param = mCLinks.mpLights->GetParam(static_cast<size_t>(sel));
    double* current = param.GetPCurrentValue();
    param.Evaluate(-1.0, 0.0, current);
    for (int i = 0; i < 3; ++i)
        current[i] = mpLightValue[i]->GetValue();
    current[6] = mpLightValue[3]->GetValue();
    param.SetKeyIfChanged(-1.0, false);
    if (mCLinks.mSceneChanged)
        mCLinks.mSceneChanged();
}

void ScenePanelGUI_cls::OnLightColour()
{
    const int sel = mpLightList->GetSelection();
    if (mbUpdating || !mCLinks.mpLights || sel < 0)
        return;
    // Only the colour is taken from the picker, and only here: its eight bits per channel would
    // otherwise round a colour read from a project whenever the position or energy is edited.
    Parameters_cls& param = mCLinks.mpLights->GetParam(static_cast<size_t>(sel));
    double* current = param.GetPCurrentValue();
    param.Evaluate(-1.0, 0.0, current);
    const wxColour c = mpLightColour->GetColour();
    const double rgb[3] = {c.Red() / 255.0, c.Green() / 255.0, c.Blue() / 255.0};
    // A colour the picker shows for the stored one (same eight bits) is no edit.
    if (ToColour(current + 3) == c)
        return;
    for (int i = 0; i < 3; ++i)
        current[3 + i] = rgb[i];
    param.SetKeyIfChanged(-1.0, false);
    if (mCLinks.mSceneChanged)
        mCLinks.mSceneChanged();
}

void ScenePanelGUI_cls::OnAddCamera()
{
    CameraPathCtrl_cls* path = mCLinks.mpCameraPath;
    if (!path || !mCLinks.mActiveViewCamera)
        return;
    const Camera_cls& view = mCLinks.mActiveViewCamera();
    CameraPathCtrl_cls::CameraValues values{};
    for (int a = 0; a < 3; ++a) {
        values[static_cast<size_t>(a)] = view.GetPosition()[a];
        values[static_cast<size_t>(a + 3)] = view.GetLookAt()[a];
    }
    // The view as it stands becomes the path's key at this frame; the first one also makes the
    // camera. One step for the user either way.
    const double time = Parameters_cls::GetCurrentDoubleIndex();
    UndoManager_cls& undo = GetUndoManager();
    undo.OpenBlock("Add Camera");
    const bool fresh = path->GetCameraNumber() == 0;
    if (fresh)
        path->AddCamera(values);
    path->SetCameraKey(path->GetActiveCamera(), time, values);
    // A new camera's constant value was a key of its own; the path starts at this frame.
    Parameters_cls* camera = path->GetPCamera(path->GetActiveCamera());
    if (fresh && camera != nullptr && camera->GetKeyNumber() > 1)
        for (int k = 0; k < camera->GetKeyNumber(); ++k)
            if (const KeyFrame_cls* key = camera->GetPKeyFrame(k); key && std::abs(key->GetTime() - time) > 1e-9) {
                camera->ExecCommandDeleteKey(k);
                break;
            }
    undo.CloseBlock();
    UpdateFromModel();
    if (mCLinks.mSceneChanged)
        mCLinks.mSceneChanged();
}

void ScenePanelGUI_cls::OnDeleteCamera()
{
    const int sel = mpCameraList->GetSelection();
    CameraPathCtrl_cls* path = mCLinks.mpCameraPath;
    Parameters_cls* camera = path ? path->GetPCamera(path->GetActiveCamera()) : nullptr;
    if (camera == nullptr || sel < 0 || sel >= camera->GetKeyNumber())
        return;
    UndoManager_cls& undo = GetUndoManager();
    undo.OpenBlock("Delete Camera");
    camera->ExecCommandDeleteKey(sel);
    undo.CloseBlock();
    UpdateFromModel();
    if (mCLinks.mSceneChanged)
        mCLinks.mSceneChanged();
}
