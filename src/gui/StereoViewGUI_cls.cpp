#include "gui/StereoViewGUI_cls.h"

#include "anim/CameraPathCtrl_cls.h"
#include "config/Main_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "gui/FrameMain_cls.h"
#include "gui/MainGLCanvas_cls.h"
#include "gui/Shortcut_cls.h"
#include "pov/StereoGram_cls.h"

#include <wx/button.h>
#include <wx/choice.h>
#include <wx/dialog.h>
#include <wx/filedlg.h>
#include <wx/image.h>
#include <wx/log.h>
#include <wx/menu.h>
#include <wx/sizer.h>
#include <wx/spinctrl.h>
#include <wx/stattext.h>

#include <algorithm>
#include <cstdio>

namespace
{
// The picture size limits offered in the dialog; the driver may allow less.
constexpr int kMinImageSide = 16;
constexpr int kMaxImageSide = 16384;

bool SavePng(const wxImage& image, const std::wstring& path)
{
    // Failures are reported by the caller in the program's own words.
    wxLogNull quiet;
    return image.IsOk() && image.SaveFile(wxString(path), wxBITMAP_TYPE_PNG);
}
} // namespace

StereoViewGUI_cls::StereoViewGUI_cls(FrameMain_cls* frame, Main_cls* main) : mpFrame(frame), mpMain(main)
{
    frame->Bind(wxEVT_MENU, &StereoViewGUI_cls::OnStereoView, this, kIdStereoView);
    frame->Bind(wxEVT_MENU, &StereoViewGUI_cls::OnStereoSettings, this, kIdStereoSettings);
    frame->Bind(wxEVT_MENU, &StereoViewGUI_cls::OnSaveViewImage, this, kIdSaveViewImage);
    frame->Bind(wxEVT_MENU, &StereoViewGUI_cls::OnUseCameraPath, this, kIdUseCameraPath);
    frame->Bind(wxEVT_MENU, &StereoViewGUI_cls::OnShowCameraPath, this, kIdShowCameraPath);
    for (int i = 0; i < FrameMain_cls::kViewCount; ++i)
        if (MainGLCanvas_cls* canvas = frame->GetCanvas(i))
            canvas->SetCameraPath(&main->GetCameraPath());
    // The settings change through the history too (the dialog's OK, undo, redo).
    main->GetStereoGram().FuncHookChanged = [this] { FollowSettings(); };
    UpdateMenu();
}

StereoViewGUI_cls::~StereoViewGUI_cls()
{
    mpMain->GetStereoGram().FuncHookChanged = nullptr;
}

void StereoViewGUI_cls::FollowSettings()
{
    // Settings switched off while the pair is shown: the extra view goes back to one eye.
    if (mbStereoView && !mpMain->GetStereoGram().IsActive())
        SetStereoView(false);
    mpFrame->OnViewChanged(FrameMain_cls::kExtraView);
}

void StereoViewGUI_cls::Check(int id, bool on)
{
    if (wxMenuBar* bar = mpFrame->GetMenuBar())
        if (wxMenuItem* item = bar->FindItem(id))
            item->Check(on);
}

void StereoViewGUI_cls::UpdateMenu()
{
    Check(kIdStereoView, mbStereoView);
    Check(kIdUseCameraPath, mpMain->GetCameraPath().IsUsePath());
    Check(kIdShowCameraPath, mpMain->GetCameraPath().IsShowPath());
}

void StereoViewGUI_cls::SetStereoView(bool on)
{
    StereoGram_cls& stereo = mpMain->GetStereoGram();
    if (on && !stereo.IsActive())
        stereo.SetMode(StereoGram_cls::kModeParallel);
    mbStereoView = on;
    if (MainGLCanvas_cls* canvas = mpFrame->GetCanvas(FrameMain_cls::kExtraView))
        canvas->SetStereoGram(on ? &stereo : nullptr);
    if (on) {
        mpFrame->ShowExtraView(true);
        mpFrame->SetActiveView(FrameMain_cls::kExtraView);
    }
    Check(kIdStereoView, on);
    mpFrame->OnViewChanged(FrameMain_cls::kExtraView);
}

void StereoViewGUI_cls::OnStereoView(wxCommandEvent& event)
{
    SetStereoView(event.IsChecked());
}

void StereoViewGUI_cls::OnStereoSettings(wxCommandEvent&)
{
    StereoGram_cls& stereo = mpMain->GetStereoGram();
    wxDialog dialog(mpFrame, wxID_ANY, TrW("Stereogram Settings"));
    auto* grid = new wxFlexGridSizer(2, 6, 8);
    grid->Add(new wxStaticText(&dialog, wxID_ANY, TrW("Mode")), 0, wxALIGN_CENTER_VERTICAL);
    auto* mode = new wxChoice(&dialog, wxID_ANY);
    // In the order of the mode codes.
    for (const char* text :
         {"Off", "Side by side, parallel", "Side by side, crossed", "Anaglyph (red/cyan)", "Over-under"})
        mode->Append(TrW(text));
    mode->SetSelection(static_cast<int>(stereo.GetMode()));
    grid->Add(mode, 1, wxEXPAND);
    grid->Add(new wxStaticText(&dialog, wxID_ANY, TrW("Eye separation")), 0, wxALIGN_CENTER_VERTICAL);
    auto* separation = new wxSpinCtrlDouble(&dialog, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize,
                                            wxSP_ARROW_KEYS, 0.0, 10.0, stereo.GetEyeSeparation(), 0.005);
    separation->SetDigits(4);
    grid->Add(separation, 1, wxEXPAND);
    grid->Add(new wxStaticText(&dialog, wxID_ANY, TrW("Convergence distance")), 0, wxALIGN_CENTER_VERTICAL);
    auto* convergence = new wxSpinCtrlDouble(&dialog, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize,
                                             wxSP_ARROW_KEYS, 0.01, 1000.0, stereo.GetConvergence(), 0.1);
    convergence->SetDigits(3);
    grid->Add(convergence, 1, wxEXPAND);
    auto* top = new wxBoxSizer(wxVERTICAL);
    top->Add(grid, 1, wxALL | wxEXPAND, 10);
    top->Add(dialog.CreateButtonSizer(wxOK | wxCANCEL), 0, wxALL | wxEXPAND, 10);
    dialog.SetSizerAndFit(top);
    if (dialog.ShowModal() != wxID_OK)
        return;
    // One undo step for the whole dialog; the stereogram's notice updates the views.
    stereo.SetSettingsExecute(static_cast<unsigned>(std::max(0, mode->GetSelection())), separation->GetValue(),
                              convergence->GetValue());
}

bool StereoViewGUI_cls::GrabActiveView(int width, int height, wxImage& image, std::wstring& note)
{
    note.clear();
    MainGLCanvas_cls* canvas = mpFrame->GetCanvas(mpFrame->GetActiveView());
    if (canvas == nullptr)
        return false;
    std::wstring error;
    if (canvas->RenderToImage(width, height, image, &error))
        return true;
    // Without framebuffer objects the window's own picture is the best there is.
    std::vector<uint8_t> rgb;
    int w = 0, h = 0;
    if (!canvas->GrabPixels(rgb, w, h))
        return false;
    image.Create(w, h, false);
    std::copy(rgb.begin(), rgb.end(), image.GetData());
    note = error + L"\n" + TrW("The view is saved at its size on screen instead.");
    return true;
}

void StereoViewGUI_cls::OnSaveViewImage(wxCommandEvent&)
{
    MainGLCanvas_cls* canvas = mpFrame->GetCanvas(mpFrame->GetActiveView());
    if (canvas == nullptr || !canvas->IsShownOnScreen())
        return;
    const wxSize onScreen = canvas->GetPixelSize();
    wxDialog dialog(mpFrame, wxID_ANY, TrW("Save View as Image"));
    auto* grid = new wxFlexGridSizer(2, 6, 8);
    grid->Add(new wxStaticText(&dialog, wxID_ANY, TrW("Width")), 0, wxALIGN_CENTER_VERTICAL);
    auto* width = new wxSpinCtrl(&dialog, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize, wxSP_ARROW_KEYS,
                                 kMinImageSide, kMaxImageSide, std::max(onScreen.x, kMinImageSide));
    grid->Add(width, 1, wxEXPAND);
    grid->Add(new wxStaticText(&dialog, wxID_ANY, TrW("Height")), 0, wxALIGN_CENTER_VERTICAL);
    auto* height = new wxSpinCtrl(&dialog, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize, wxSP_ARROW_KEYS,
                                  kMinImageSide, kMaxImageSide, std::max(onScreen.y, kMinImageSide));
    grid->Add(height, 1, wxEXPAND);
    auto* top = new wxBoxSizer(wxVERTICAL);
    top->Add(grid, 1, wxALL | wxEXPAND, 10);
    top->Add(dialog.CreateButtonSizer(wxOK | wxCANCEL), 0, wxALL | wxEXPAND, 10);
    dialog.SetSizerAndFit(top);
    if (dialog.ShowModal() != wxID_OK)
        return;
    // The file dialog asks before replacing an existing file.
    wxFileDialog files(mpFrame, TrW("Save View as Image"), wxEmptyString, L"view.png", L"PNG (*.png)|*.png",
                       wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
    if (files.ShowModal() != wxID_OK)
        return;
    const std::wstring path = files.GetPath().ToStdWstring();
    wxImage image;
    std::wstring note;
    UserPrompt_cls* prompt = GetUserPrompt();
    if (!GrabActiveView(width->GetValue(), height->GetValue(), image, note)) {
        prompt->Message(TrW("The view cannot be drawn."), TrW("Error!"));
        return;
    }
    if (!note.empty())
        prompt->Message(note, TrW("Save View as Image"));
    if (!SavePng(image, path))
        prompt->Message(TrW("Cannot save the image. Please check the folder and its permission."), TrW("Error!"));
    else
        prompt->SetStatusText(TrW("Saved ") + path, 0);
}

void StereoViewGUI_cls::OnUseCameraPath(wxCommandEvent& event)
{
    CameraPathCtrl_cls& path = mpMain->GetCameraPath();
    if (event.IsChecked() && path.GetCameraNumber() == 0) {
        GetUserPrompt()->Message(TrW("The camera path has no cameras yet."), TrW("Camera Path"));
        Check(kIdUseCameraPath, false);
        return;
    }
    path.SetUsePathExecute(event.IsChecked());
    mpFrame->OnViewChanged(0);
}

void StereoViewGUI_cls::OnShowCameraPath(wxCommandEvent& event)
{
    mpMain->GetCameraPath().SetShowPath(event.IsChecked());
    for (int i = 0; i < FrameMain_cls::kViewCount; ++i)
        mpFrame->OnViewChanged(i);
}

void StereoViewGUI_cls::SetViewShot(const std::wstring& path, int scale, bool offscreen)
{
    mStrViewShot = path;
    miViewShotScale = std::clamp(scale, 1, 16);
    mbViewShotOffscreen = offscreen;
}

void StereoViewGUI_cls::SetViewShotSize(const std::wstring& path, int width, int height)
{
    SetViewShot(path, 1, true);
    miViewShotWidth = width;
    miViewShotHeight = height;
}

bool StereoViewGUI_cls::TakeViewShot()
{
    const std::wstring path = mStrViewShot;
    mStrViewShot.clear();
    MainGLCanvas_cls* canvas = mpFrame->GetCanvas(mpFrame->GetActiveView());
    wxImage image;
    bool drawn = false;
    if (canvas != nullptr) {
        const wxSize size = canvas->GetPixelSize();
        if (miViewShotScale > 1 || mbViewShotOffscreen) {
            const int width = miViewShotWidth > 0 ? miViewShotWidth : size.x * miViewShotScale;
            const int height = miViewShotHeight > 0 ? miViewShotHeight : size.y * miViewShotScale;
            std::wstring error;
            drawn = canvas->RenderToImage(width, height, image, &error);
            if (!drawn)
                std::fprintf(stderr, "tessan: %s\n", Narrow(error).c_str());
        } else {
            std::vector<uint8_t> rgb;
            int w = 0, h = 0;
            drawn = canvas->GrabPixels(rgb, w, h);
            if (drawn) {
                image.Create(w, h, false);
                std::copy(rgb.begin(), rgb.end(), image.GetData());
            }
        }
    }
    if (!drawn || !SavePng(image, path)) {
        std::fprintf(stderr, "tessan: cannot save the view picture to %s\n", Narrow(path).c_str());
        return false;
    }
    std::printf("%s\n", Narrow(path).c_str());
    std::fflush(stdout);
    return true;
}
