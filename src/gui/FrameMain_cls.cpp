// Sections: drop target; construction; idle loop; files (configuration, projects, recent list);
// view commands; screenshot; quit.
#include "gui/FrameMain_cls.h"
#include "gui/ImgSequence_cls.h"
#include "gui/IsosurfSeqGUI_cls.h"

#include "anim/CameraPathCtrl_cls.h"
#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "anim/UndoManager_cls.h"
#include "color/Coloring_cls.h"
#include "color/CustomColor_cls.h"
#include "config/GlobalFlags.h"
#include "config/ImportList_cls.h"
#include "config/LineStream_cls.h"
#include "config/Main_cls.h"
#include "config/Preference_cls.h"
#include "config/PreviewProperty_cls.h"
#include "config/ProjectFile_cls.h"
#include "config/TessanAssert.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/FilterOutput_cls.h"
#include "filter/FilterWithParameter_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "gl/DF3GL_cls.h"
#include "gl/DrawingBlock_cls.h"
#include "gl/IsoMeshGL_cls.h"
#include "gl/SceneGL_cls.h"
#include "gl/SceneMarkersGL_cls.h"
#include "gl/TexObjectGL_cls.h"
#include "gui/ColorMapChooser_cls.h"
#include "gui/CustomColorGUI_cls.h"
#include "gui/DrawingBlockGUI_cls.h"
#include "gui/FilterChainGUI_cls.h"
#include "gui/FilterItemGUI_cls.h"
#include "gui/FilterPanels_cls.h"
#include "gui/FrameMainInitializer01_cls.h"
#include "gui/FrameMainInitializer02_cls.h"
#include "gui/GLCanvasCtrl_cls.h"
#include "gui/IdleBenchLog_cls.h"
#include "gui/IsosurfaceExportGUI_cls.h"
#include "gui/KeyTrackCanvas_cls.h"
#include "gui/MainGLCanvas_cls.h"
#include "gui/MyApp.h"
#include "gui/PovSettingsDialog_cls.h"
#include "gui/PreferencesDialog_cls.h"
#include "gui/PreviewPropertyGUI_cls.h"
#include "gui/RenderMenu_cls.h"
#include "gui/ScenePanelGUI_cls.h"
#include "gui/SequencePanel_cls.h"
#include "gui/StereoViewGUI_cls.h"
#include "gui/ThreadFilterChain.h"
#include "gui/TimeLineGUI_cls.h"
#include "gui/WidgetDriver_cls.h"
#include "gui/WxUserPrompt_cls.h"
#include "pov/LightSRC_cls.h"
#include "pov/PovExport_cls.h"
#include "pov/StereoGram_cls.h"
#include "pov/ViewAnchor_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"

#include <wx/accel.h>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/dcmemory.h>
#include <wx/dcscreen.h>
#include <wx/display.h>
#include <wx/dnd.h>
#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/gauge.h>
#include <wx/log.h>
#include <wx/menu.h>
#include <wx/notebook.h>
#include <wx/panel.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>
#include <wx/slider.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <dlfcn.h>
#include <wx/spinctrl.h>
#include <wx/splitter.h>
#include <wx/stattext.h>
#include <wx/statusbr.h>
#include <wx/textentry.h>
#include <wx/tooltip.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace
{

// Reads the screen rectangle of `image` (at x, y) from the X server over a connection of its own,
// so that what was painted last is what is read. libX11 is already in the process (the toolkit
// uses it); it is looked up at run time so that the program does not link it itself. False
// (image unchanged) without an X display.
bool GrabScreenFromServer(int x, int y, wxImage& image)
{
    using OpenFn = Display* (*)(const char*);
    using CloseFn = int (*)(Display*);
    using GetImageFn = XImage* (*)(Display*, Drawable, int, int, unsigned, unsigned, unsigned long, int);
    void* lib = dlopen("libX11.so.6", RTLD_LAZY | RTLD_NOLOAD);
    if (lib == nullptr)
        return false;
    auto open = reinterpret_cast<OpenFn>(dlsym(lib, "XOpenDisplay"));
    auto close = reinterpret_cast<CloseFn>(dlsym(lib, "XCloseDisplay"));
    auto get = reinterpret_cast<GetImageFn>(dlsym(lib, "XGetImage"));
    bool ok = false;
    if (open && close && get && image.IsOk()) {
        if (Display* display = open(nullptr)) {
            const int w = image.GetWidth(), h = image.GetHeight();
            const int sw = DisplayWidth(display, DefaultScreen(display)),
                      sh = DisplayHeight(display, DefaultScreen(display));
            // Only the part on the screen can be read.
            const int x0 = std::max(x, 0), y0 = std::max(y, 0);
            const int x1 = std::min(x + w, sw), y1 = std::min(y + h, sh);
            XImage* shot = x1 > x0 && y1 > y0
                               ? get(display, DefaultRootWindow(display), x0, y0, x1 - x0, y1 - y0, AllPlanes, ZPixmap)
                               : nullptr;
            if (shot != nullptr) {
                const auto channel = [](unsigned long pixel, unsigned long mask) {
                    if (mask == 0)
                        return 0;
                    int shift = 0;
                    while (((mask >> shift) & 1u) == 0)
                        ++shift;
                    const unsigned long top = mask >> shift;
                    return static_cast<int>(((pixel & mask) >> shift) * 255 / top);
                };
                for (int py = y0; py < y1; ++py)
                    for (int px = x0; px < x1; ++px) {
                        const unsigned long pixel = XGetPixel(shot, px - x0, py - y0);
                        image.SetRGB(px - x, py - y, channel(pixel, shot->red_mask), channel(pixel, shot->green_mask),
                                     channel(pixel, shot->blue_mask));
                    }
                XDestroyImage(shot);
                ok = true;
            }
            close(display);
        }
    }
    dlclose(lib);
    return ok;
}

constexpr int kIdFixedViewFirst = 6300; // + Camera_cls::FixedView
// "Add item" entries: kIdFilterAddFirst + position in the chain's menu table.
constexpr int kIdFilterAddFirst = 6400;
constexpr int kIdFilterAddLast = 6499;
constexpr const wchar_t* kConfigureName = ProjectFile_cls::kConfigureName;

bool HasVspExtension(const std::wstring& path)
{
    const std::wstring ext = std::filesystem::path(path).extension().wstring();
    return ext == L".vsp" || ext == L".VSP";
}

// --- control panel -----------------------------------------------------------------------------

// The scrolled control panel. Its direct child is the page book, taller than the view: the
// toolkit's own rule would scroll the whole book into view whenever any control in it takes the
// focus, moving the control away under the mouse between press and release. Only the control
// that has the focus is scrolled into view, and only when it is not visible.
class ControlPanelScroller : public wxScrolledWindow
{
  public:
    explicit ControlPanelScroller(wxWindow* parent) : wxScrolledWindow(parent, wxID_ANY)
    {
        Bind(wxEVT_CHILD_FOCUS, [this](wxChildFocusEvent& event) {
            event.Skip();
            ScrollToFocus();
        });
    }

  protected:
    bool ShouldScrollToChildOnFocus(wxWindow*) override { return false; }

  private:
    void ScrollToFocus()
    {
        wxWindow* focus = wxWindow::FindFocus();
        if (focus == nullptr || focus == this || !IsDescendant(focus))
            return;
        int ppuX = 0, ppuY = 0, x0 = 0, y0 = 0;
        GetScrollPixelsPerUnit(&ppuX, &ppuY);
        GetViewStart(&x0, &y0);
        if (ppuY <= 0)
            return;
        const int top = ScreenToClient(focus->GetScreenPosition()).y;
        const int bottom = top + focus->GetSize().y;
        const int height = GetClientSize().y;
        if (top < 0)
            Scroll(-1, y0 + (top - ppuY + 1) / ppuY);
        else if (bottom > height && focus->GetSize().y <= height)
            Scroll(-1, y0 + (bottom - height + ppuY - 1) / ppuY);
    }
};

// --- drop target -------------------------------------------------------------------------------

// Dropped files are opened like the open command (the first one; a series is found from it).
class FrameMainDropTarget : public wxFileDropTarget
{
  public:
    explicit FrameMainDropTarget(FrameMain_cls* frame) : mpFrame(frame) {}
    bool OnDropFiles(wxCoord, wxCoord, const wxArrayString& files) override
    {
        if (files.empty())
            return false;
        mpFrame->OpenAtStart(files[0].ToStdWstring());
        return true;
    }

  private:
    FrameMain_cls* mpFrame;
};

} // namespace

// --- construction ------------------------------------------------------------------------------

// clang-format off
wxBEGIN_EVENT_TABLE(FrameMain_cls, wxFrame)
    EVT_IDLE(FrameMain_cls::OnIdle)
    EVT_CLOSE(FrameMain_cls::OnClose)
    EVT_MENU(kIdQuit, FrameMain_cls::OnQuit)
    EVT_MENU(kIdOpenProject, FrameMain_cls::OnOpenProject)
    EVT_MENU(kIdSaveProject, FrameMain_cls::OnSaveProject)
    EVT_MENU(kIdSaveProjectAs, FrameMain_cls::OnSaveProjectAs)
    EVT_MENU_RANGE(kIdRecentFirst, kIdRecentFirst + RecentList_cls::kSize - 1, FrameMain_cls::OnRecent)
    EVT_MENU(kIdOneView, FrameMain_cls::OnOneView)
    EVT_MENU(kIdFourViews, FrameMain_cls::OnFourViews)
    EVT_MENU(kIdResetCamera, FrameMain_cls::OnResetCamera)
    EVT_MENU(kIdExtraView, FrameMain_cls::OnExtraView)
    EVT_MENU(kIdToolTip, FrameMain_cls::OnToolTip)
    EVT_MENU(kIdAbout, FrameMain_cls::OnAbout)
    EVT_MENU(kIdUndo, FrameMain_cls::OnUndo)
    EVT_MENU_RANGE(kIdFilterAddFirst, kIdFilterAddLast, FrameMain_cls::OnFilterAdd)
    EVT_MENU(kIdRedo, FrameMain_cls::OnRedo)
    EVT_MENU(kIdPreferences, FrameMain_cls::OnPreferences)
    EVT_MENU(kIdAddKey, FrameMain_cls::OnKeyCommand)
    EVT_MENU(kIdDeleteKeys, FrameMain_cls::OnKeyCommand)
    EVT_MENU(kIdCopyKeys, FrameMain_cls::OnKeyCommand)
    EVT_MENU(kIdPasteKeys, FrameMain_cls::OnKeyCommand)
    EVT_MENU(kIdPlay, FrameMain_cls::OnAnimCommand)
    EVT_MENU(kIdStop, FrameMain_cls::OnAnimCommand)
    EVT_MENU(kIdStepForward, FrameMain_cls::OnAnimCommand)
    EVT_MENU(kIdStepBack, FrameMain_cls::OnAnimCommand)
    EVT_MENU(kIdFirstFrame, FrameMain_cls::OnAnimCommand)
    EVT_MENU(kIdLastFrame, FrameMain_cls::OnAnimCommand)
    EVT_MENU(kIdUseTimeRemap, FrameMain_cls::OnUseTimeRemap)
    EVT_MENU(kIdOpenData, FrameMain_cls::OnOpenData)
    EVT_MENU(kIdAppendData, FrameMain_cls::OnAppendData)
    EVT_MENU(kIdCloseData, FrameMain_cls::OnCloseData)
    EVT_CHAR_HOOK(FrameMain_cls::OnCharHook)
    EVT_BUTTON(wxID_ANY, FrameMain_cls::OnFixedViewButton)
wxEND_EVENT_TABLE()
    // clang-format on

    FrameMain_cls::FrameMain_cls(const std::wstring& title, Main_cls* main, int x, int y, int width, int height)
    : wxFrame(nullptr, wxID_ANY, title, wxPoint(x, y), wxSize(width, height)), mpMain(main)
{
    // 1. Stopwatch and the window's own settings.
    mCStopWatchStart = std::chrono::steady_clock::now();
    mCConfList.Add(&mStrItemImgSeqName, L"ImgSequenceName=", L"Image");
    mCConfList.Add(&miItemSashPos, L"FrameMainSashPosition=", L"-300");
    mCConfList.Add(&muItemLayout, L"FrameMainViewLayout=", L"0");
    SetExtraStyle(GetExtraStyle() | wxWS_EX_PROCESS_IDLE);

    // 2. Shortcuts first, so the menus carry the user's keys.
    mpShortcut = std::make_unique<Shortcut_cls>();
    mpShortcut->ReadShortcutSection(Narrow(kConfigureName));

    // 3. - 5. The start-up workers, one after the other, and what they prepared.
    RunStartupThreads();

    // 6. The animation model, views, panels, time line, status bar, recent menu.
    InitializeScene();
    for (int i = 0; i < kViewCount; ++i) {
        const auto view = i < 4 ? static_cast<Camera_cls::FixedView>(i) : Camera_cls::kViewPerspective;
        mvViewCtrl[static_cast<size_t>(i)] = std::make_unique<GLCanvasCtrl_cls>(i, view);
    }
    mpSplitter =
        new wxSplitterWindow(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxSP_LIVE_UPDATE | wxSP_3D, "splitter");
    mpSplitter->Bind(wxEVT_SPLITTER_SASH_POS_CHANGED, &FrameMain_cls::OnSashMoved, this);
    mpSplitter->SetMinimumPaneSize(120);
    mpSplitter->SetSashGravity(1.0);
    // The Render menu's commands and the export's view of this window.
    mpRenderMenu = std::make_unique<RenderMenu_cls>(this, mpMain);
    BuildViews();
    BuildControlPanel();
    mpStereoGUI = std::make_unique<StereoViewGUI_cls>(this, mpMain);
    mpSplitter->SplitVertically(mpViewArea, mpControlPanel, miItemSashPos.Get());
    mpTimeLine = new TimeLineGUI_cls(this, &mpMain->GetTimeCtrl());
    SetFilterSetOnTimeLine(nullptr, L"");
    // A filter panel's "Show Keys on Time Line" puts the item's set beside the scene's sets.
    FilterWithParameter_cls::SetTimeLineConnector([this](Parameters_cls* set) {
        for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
            FilterCtrl_cls& chain = mpMain->GetSeqCtrl().GetSequence(slot).GetFilterCtrl();
            for (int i = 0; i < chain.GetItemNum(); ++i) {
                auto* item = dynamic_cast<FilterWithParameter_cls*>(chain.GetPFilterBase(i));
                if (item && &item->GetParameters() == set) {
                    mpTLChain = &chain;
                    SetFilterSetOnTimeLine(set, item->GetIdTag());
                    return;
                }
            }
        }
    });
    mpFilterThread = std::make_unique<ThreadFilterChain>();
    FilterItemGUI_cls::SetBeforeEditFunc([this] { WaitForFilterRun(); });
    mpTimeLine->SetPlayStateListener([this] {
        UpdateAnimationMenu();
        WakeIdle();
    });
    auto* frameSizer = new wxBoxSizer(wxVERTICAL);
    frameSizer->Add(mpSplitter, 1, wxEXPAND);
    frameSizer->Add(mpTimeLine, 0, wxEXPAND);
    SetSizer(frameSizer);

    wxStatusBar* bar = CreateStatusBar(3);
    const int widths[3] = {-2, -1, -1};
    bar->SetStatusWidths(3, widths);
    SetStatusText(TrW("Powered by wxWidgets"), 0);
    SetStatusText(L"field_1", 1);
    SetStatusText(L"field_2", 2);
    mpGauge = new wxGauge(bar, wxID_ANY, 100);
    mpGauge->Hide();
    mpPrompt = std::make_unique<WxUserPrompt_cls>(this, mpGauge);
    SetUserPrompt(mpPrompt.get());

    // The data slots: one drawing companion per slot; frames of the slots get their OpenGL
    // texture jobs from the companions. Questions of the controller come to this window.
    DF3SeqCtrl_cls& seqCtrl = mpMain->GetSeqCtrl();
    std::array<DF3GL_cls*, DF3SeqCtrl_cls::kSlotCount> companions{};
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        mvpDF3GL[static_cast<size_t>(slot)] = std::make_unique<DF3GL_cls>(&seqCtrl.GetSequence(slot));
        companions[static_cast<size_t>(slot)] = mvpDF3GL[static_cast<size_t>(slot)].get();
        mvpSceneGL[static_cast<size_t>(slot)] = std::make_unique<SceneGL_cls>();
    }
    DF3GL_cls::InitializeStaticMembers(mpPrompt.get(), &seqCtrl, &GetPreference(), &mpMain->GetColoring());
    DF3GL_cls::SetTexProperty(&mpMain->GetTexProperty());
    DrawingBlock_cls::SetTreeBoxRule(&mpMain->GetTreeBoxRule());
    {
        // The colour map of the active slot and the render button go below the pages.
        wxSizer* panelSizer = mpControlPanel->GetSizer();
        size_t at = 0;
        for (const wxSizerItem* item : panelSizer->GetChildren()) {
            ++at;
            if (item->GetWindow() == mpControlBook)
                break;
        }
        mpColorChooser = new ColorMapChooser_cls(mpControlPanel, &mpMain->GetColoring(), companions);
        mpColorChooser->SetChangeListener([this](int slot) { OnSlotColoursChanged(slot); });
        panelSizer->Insert(at, mpColorChooser, 0, wxEXPAND | wxALL, 6);
        panelSizer->Insert(at + 1, mpRenderMenu->CreateRenderButton(mpControlPanel), 0, wxALL, 6);
        mpControlPanel->Layout();
    }
    seqCtrl.SetTexJobsFactory(DF3GL_cls::MakeTexJobsFactory(companions));
    // One context for the window's life: a freed 3D texture may serve the next frame.
    TexObjectGL_cls::SetKeepSpareTexture(true);
    mpMain->SetPrompt(mpPrompt.get());
    mpMain->SetProjectOpener([this](const std::wstring& path) {
        if (!std::filesystem::exists(std::filesystem::path(path)))
            return false;
        OpenProjectMain(path);
        return true;
    });
    mpMain->SetDataChangedHook([this] { OnDataChanged(); });
    InstallProjectHooks();

    SetDropTarget(new FrameMainDropTarget(this));
    UpdateRecentMenu();

    // The views show the clock's frame; the menus and the title follow the history.
    miTimeListener = mpMain->GetTimeCtrl().AddTimeListener([this](const TimeCtrl_cls::TimeData&) {
        RefreshViews();
        const bool panels = mpFilterPanels != nullptr && !mpMain->GetTimeCtrl().IsPlaying();
        if (panels)
            WaitForFilterRun();
        // Before the sets take the new time's values: a frame whose animated output items move
        // is made again.
        if (RefreshAnimatedSceneItems())
            WakeIdle();
        // Animated filter values follow the clock in their panels.
        if (panels) {
            UpdateChainParameters();
            mpFilterPanels->UpdateFromChains();
        }
    });
    miSceneTimeListener = mpMain->GetTimeCtrl().AddTimeListener([this](const TimeCtrl_cls::TimeData&) {
        if (mpScenePanel != nullptr)
            mpScenePanel->UpdateFromModel();
    });
    miUndoListener = GetUndoManager().AddListener([this](uint32_t flags) {
        // A colour-map edit undone or redone: textures with baked colours follow it.
        if ((flags & kComColorRedraw) != 0)
            OnSlotColoursChanged(-1);
        UpdateEditMenu();
        UpdateTitle();
        ValidateTimeLineSet();
        if (mpTimeLine != nullptr)
            mpTimeLine->RefreshKeys();
        if (mpScenePanel != nullptr)
            mpScenePanel->UpdateFromModel();
    });
    SetBaseTitle(title);
    UpdateEditMenu();
    UpdateAnimationMenu();
    mpMain->GetTimeCtrl().DispatchTimeData();
    LayoutViews();
    mCLastFrameMark = std::chrono::steady_clock::now();
    if (const char* stateFile = std::getenv("TESSAN_STATE_FILE"))
        mStrStateFile = stateFile;
    mpImgSequence = std::make_unique<ImgSequence_cls>(this, mpMain);
    mpIsosurfSeqGUI = std::make_unique<IsosurfSeqGUI_cls>(this, mpMain);
    mpDrawingBlockGUI = std::make_unique<DrawingBlockGUI_cls>(this, mpMain);
    if (const char* driveFile = std::getenv("TESSAN_DRIVE_FILE")) {
        // Unattended runs edit the panels through their widgets; the roots are looked up at each
        // command, as panels are made and rebuilt while the window runs.
        WidgetDriver_cls::Links links;
        links.mvTargetNames = {L"scene", L"preview", L"filter", L"customcolor"};
        links.mTarget = [this](const std::wstring& name) -> wxWindow* {
            if (name == L"scene")
                return mpScenePanel;
            if (name == L"preview")
                return mpPreviewGUI;
            FilterChainGUI_cls* page = mpFilterPanels != nullptr ? mpFilterPanels->GetShownPage() : nullptr;
            if (name == L"chain")
                return page;
            if (name == L"filter")
                return page != nullptr ? page->GetItemPanel() : nullptr;
            if (name == L"customcolor")
                return mpCustomColorGUI != nullptr && mpCustomColorGUI->IsShown() ? mpCustomColorGUI : nullptr;
            return nullptr;
        };
        links.mReport = [this] { WriteStateReport(); };
        mpDriver = std::make_unique<WidgetDriver_cls>(this, driveFile, std::move(links));
    }
}

FrameMain_cls::~FrameMain_cls()
{
    // No render news and no export hook may reach this window any more.
    mpDriver.reset();
    mpRenderMenu.reset();
    mpIsosurfSeqGUI.reset();
    mpImgSequence.reset();
    FilterWithParameter_cls::SetTimeLineConnector(nullptr);
    FilterItemGUI_cls::SetBeforeEditFunc(nullptr);
    // A chain run works on the frames released below.
    mpFilterThread->Join();
    GetUndoManager().RemoveListener(miUndoListener);
    mpMain->GetTimeCtrl().RemoveListener(miTimeListener);
    mpMain->GetTimeCtrl().RemoveListener(miSceneTimeListener);
    mpMain->GetPovExport().GetLights().FuncHookChanged = nullptr;
    GetPreviewProperty().FuncHookChanged = nullptr;
    mpMain->GetPovExport().SetColoring(nullptr);
    mpMain->SetDataChangedHook(nullptr);
    mpMain->SetProjectOpener(nullptr);
    RemoveProjectHooks();
    mpMain->SetPrompt(nullptr);
    // The frames' textures live in the views' context and their jobs point at the companions,
    // which die with this window: free them all while the context is still there, and let
    // frames loaded later (by the command line, tests) get jobs without textures.
    MakeContextCurrent();
    mpMain->GetSeqCtrl().ReleaseAll();
    TexObjectGL_cls::DropSpareTexture();
    TexObjectGL_cls::SetKeepSpareTexture(false);
    mpMain->GetSeqCtrl().SetTexJobsFactory(nullptr);
    for (auto& scene : mvpSceneGL)
        scene.reset();
    // The panels hold the clock and the parameter sets, which die with this object: the child
    // windows go first.
    DestroyChildren();
    // The prompt dies with the window: fall back to the stderr prompt for anything after it.
    SetUserPrompt(nullptr);
    MainGLCanvas_cls::ReleaseContext();
}

TimeCtrl_cls& FrameMain_cls::GetTimeCtrl()
{
    return mpMain->GetTimeCtrl();
}
Parameters_cls& FrameMain_cls::GetBoxSize()
{
    return mpMain->GetBoxSize();
}
Parameters_cls& FrameMain_cls::GetBoxRotate()
{
    return mpMain->GetBoxRotate();
}

MainGLCanvas_cls* FrameMain_cls::GetExportCanvas()
{
    MainGLCanvas_cls* active = mvCanvas[static_cast<size_t>(miActiveView)];
    if (active != nullptr && active->IsShownOnScreen())
        return active;
    for (MainGLCanvas_cls* canvas : mvCanvas)
        if (canvas != nullptr && canvas->IsShownOnScreen())
            return canvas;
    return nullptr;
}

std::wstring FrameMain_cls::GetImgSeqName() const
{
    return mpMain->GetImgSeqName();
}

DrawingBlock_cls& FrameMain_cls::GetDrawingBlock(int slot)
{
    return mvpDF3GL[static_cast<size_t>(std::clamp(slot, 0, 3))]->GetDrawingBlock();
}

void FrameMain_cls::SetViewAnchor(const Vec3d& anchor)
{
    MainGLCanvas_cls::GetAnchor().Set(anchor);
    // Every view orbits around the same point; the eyes stay where they are.
    for (auto& ctrl : mvViewCtrl)
        ctrl->GetCamera().SetAnchor(MainGLCanvas_cls::GetAnchor().Get());
}

int FrameMain_cls::GetCurrentFrame() const
{
    return mpMain->GetTimeCtrl().GetIndex();
}

void FrameMain_cls::RunStartupThreads()
{
    bool done01 = false;
    FrameMainInitializer01_cls init01(this, &done01);
    init01.SetParameters();
    init01.Wait();
    TESSAN_ASSERT(done01, "app/FrameMain_cls");
    SetBackgroundColour(wxColour(mCStartup.mStrBackground));

    // The icon is optional: a missing file must not stop the start.
    if (wxFileName::FileExists("ICONS/TessanS.png")) {
        wxIcon icon;
        icon.CopyFromBitmap(wxBitmap(wxImage("ICONS/TessanS.png")));
        SetIcon(icon);
    }

    bool done02 = false;
    FrameMainInitializer02_cls init02(this, &done02);
    init02.SetParameters();
    init02.Wait();
    TESSAN_ASSERT(done02, "app/FrameMain_cls");
    auto* menuBar = new wxMenuBar;
    mpRecentMenu = Shortcut_cls::SetMenuItem(menuBar, mCStartup.mvMenuModel);
    AppendFilterMenu(menuBar);
    ImgSequence_cls::BuildExportSubmenu(menuBar);
    SetMenuBar(menuBar);
}

void FrameMain_cls::BuildViews()
{
    mpViewArea = new wxPanel(mpSplitter, wxID_ANY);
    mpViewArea->SetBackgroundColour(wxColour(40, 40, 48));
    for (int i = 0; i < 4; ++i)
        mvCanvas[static_cast<size_t>(i)] =
            new MainGLCanvas_cls(mpViewArea, mvViewCtrl[static_cast<size_t>(i)].get(), this);

    mpExtraFrame = new wxFrame(this, wxID_ANY, TrW("Extra View"), wxDefaultPosition, wxSize(480, 400),
                               wxDEFAULT_FRAME_STYLE | wxFRAME_FLOAT_ON_PARENT);
    mvCanvas[kExtraView] = new MainGLCanvas_cls(mpExtraFrame, mvViewCtrl[kExtraView].get(), this);
    // Closing the extra window only hides it; the main window owns it.
    mpExtraFrame->Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& e) {
        if (e.CanVeto()) {
            e.Veto();
            SetExtraViewShown(false);
        } else {
            e.Skip();
        }
    });
}

void FrameMain_cls::BuildControlPanel()
{
    auto* scrolled = new ControlPanelScroller(mpSplitter);
    scrolled->SetScrollRate(0, 10);
    mpControlPanel = scrolled;
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(new wxStaticText(mpControlPanel, wxID_ANY, TrW("Camera")), 0, wxALL, 6);
    mpActiveInfo = new wxStaticText(mpControlPanel, wxID_ANY, L"");
    mpCamInfo = new wxStaticText(mpControlPanel, wxID_ANY, L"");
    mpAncInfo = new wxStaticText(mpControlPanel, wxID_ANY, L"");
    sizer->Add(mpActiveInfo, 0, wxLEFT | wxRIGHT, 6);
    sizer->Add(mpCamInfo, 0, wxLEFT | wxRIGHT | wxTOP, 6);
    sizer->Add(mpAncInfo, 0, wxLEFT | wxRIGHT | wxTOP, 6);
    auto* grid = new wxGridSizer(2, 2, 4, 4);
    const char* names[4] = {"Top", "Front", "Side", "Perspective"};
    for (int v = 0; v < 4; ++v) {
        auto* button = new wxButton(mpControlPanel, kIdFixedViewFirst + v, TrW(names[v]));
        button->SetToolTip(TrW("Set the active view to this fixed view"));
        grid->Add(button, 1, wxEXPAND);
    }
    sizer->Add(grid, 0, wxEXPAND | wxALL, 6);
    // The pages: preview settings, data slots, and the filter chains of the slots.
    auto* book = new wxNotebook(mpControlPanel, wxID_ANY);
    mpControlBook = book;
    mpPreviewGUI = new PreviewPropertyGUI_cls(book, &GetPreviewProperty());
    // Each change takes effect at once: the views redraw with the new settings.
    auto previewChanged = [this] {
        // A new texel format or texture filter is baked into the textures: make them again.
        const PreviewProperty_cls& preview = GetPreviewProperty();
        const unsigned texture = preview.GetTextureType() * 2u + (preview.IsTexFilterLinear() ? 1u : 0u);
        if (texture != muTextureSettings) {
            muTextureSettings = texture;
            for (auto& gl : mvpDF3GL)
                if (gl)
                    gl->RequestTextureRebuild();
            mvReadySignature.fill(-1);
            WakeIdle();
        }
        RefreshViews();
    };
    mpPreviewGUI->SetChangeListener(previewChanged);
    // Undo and redo of a preview setting: the panel shows it, the views follow as after an edit.
    GetPreviewProperty().FuncHookChanged = [this, previewChanged] {
        if (mpPreviewGUI != nullptr)
            mpPreviewGUI->UpdateFromProperty();
        previewChanged();
    };
    muTextureSettings =
        GetPreviewProperty().GetTextureType() * 2u + (GetPreviewProperty().IsTexFilterLinear() ? 1u : 0u);
    book->AddPage(mpPreviewGUI, TrW("Preview Property"));
    mpSequencePanel = new SequencePanel_cls(book, &mpMain->GetSeqCtrl());
    book->AddPage(mpSequencePanel, TrW("Data Slots"));
    mpFilterPanels = new FilterPanels_cls(book, &mpMain->GetSeqCtrl());
    mpFilterPanels->SetEditedFunc([this] { OnFilterChainChanged(); });
    mpFilterPanels->SetChainChangedFunc([this] { ValidateTimeLineSet(); });
    book->AddPage(mpFilterPanels, TrW("Filter Chain"));
    ScenePanelGUI_cls::Links links;
    links.mActiveChain = [this] { return &mpMain->GetSeqCtrl().GetActiveSequence().GetFilterCtrl(); };
    links.mActiveChainBusy = [this] { return mpMain->GetSeqCtrl().GetActiveSequence().IsProcessing(); };
    links.mpLights = &mpMain->GetPovExport().GetLights();
    links.mpCameraPath = &mpMain->GetCameraPath();
    links.mActiveViewCamera = [this]() -> const Camera_cls& { return GetViewCtrl(miActiveView).GetCamera(); };
    links.mCurrentFrame = [this] { return GetCurrentFrame(); };
    links.mFrameOfTime = [this](double time) {
        return static_cast<int>(std::lround(time * mpMain->GetTimeCtrl().GetMaxFrame()));
    };
    links.mChainChanged = [this] { OnFilterChainChanged(); };
    links.mSceneChanged = [this] { OnSceneChanged(); };
    links.mOpenCustomColor = [this] { OpenCustomColorEditor(); };
    links.mExportIso = [this](PovIsosurface_cls* iso) { ExportIsosurface(iso); };
    sizer->Add(book, 0, wxEXPAND | wxALL, 4);
    // The scene items (isosurfaces, lights, camera path) stay in view below the pages.
    mpScenePanel = new ScenePanelGUI_cls(mpControlPanel, std::move(links));
    sizer->Add(mpScenePanel, 0, wxEXPAND | wxALL, 4);
    mpControlPanel->SetSizer(sizer);
    UpdateCameraInfo();
}

// --- idle loop ---------------------------------------------------------------------------------

void FrameMain_cls::InitializeOnIdle()
{
    ReadConfigure(kConfigureName);
    muTextureSettings =
        GetPreviewProperty().GetTextureType() * 2u + (GetPreviewProperty().IsTexFilterLinear() ? 1u : 0u);
    // The preview property gets the 3D-texture condition once the first view has been drawn
    // (the GL version is known only then).
    if (wxMenuBar* bar = GetMenuBar())
        if (wxMenuItem* item = bar->FindItem(kIdToolTip))
            item->Check(mpMain->GetToolTip());
    wxToolTip::Enable(mpMain->GetToolTip());
    SetActiveView(miActiveView);
    LayoutViews();
    Refresh();
}

void FrameMain_cls::OnIdle(wxIdleEvent& event)
{
    // --bench-log: the duration of every pass, whichever way it ends.
    struct PassTimer {
        IdleBenchLog_cls* pLog;
        const char* pKind = "other";
        const char* pStage = ""; // what loading did in the pass, when it did something
        std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
        ~PassTimer()
        {
            if (pLog != nullptr)
                pLog->AddPass(
                    std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start)
                        .count(),
                    pKind, pStage);
        }
    } passTimer{mbBenchFinished ? nullptr : mpBenchLog.get()};
    // 1. First pass.
    if (!mbInitialized) {
        mbInitialized = true;
        InitializeOnIdle();
    }
    // 2. Pending relayout and view update.
    if (mbPendingRelayout) {
        mbPendingRelayout = false;
        LayoutViews();
    }
    if (mbPendingViewUpdate) {
        mbPendingViewUpdate = false;
        RefreshViews();
        UpdateCameraInfo();
        event.RequestMore();
        return;
    }
    // Once a view has been drawn the GL version is known: 3D textures need 1.2 or later.
    if (!mb3DConditionApplied) {
        int major = 0, minor = 0;
        MainGLCanvas_cls::GetGLVersion(major, minor);
        if (major > 0) {
            mb3DConditionApplied = true;
            GetPreviewProperty().Set3DTextureCondition(major, minor);
            mpPreviewGUI->UpdateFromProperty();
        }
    }
    // 3. A loader finished with the buffers the views draw: one full refresh.
    if (GbGLLockForLoading && GbGLUnlockOK) {
        GbGLLockForLoading = false;
        Refresh();
        return;
    }
    // 4. A running sequence render starts its next frame when the previous one is done. While
    //    the export writes files it owns the slots' frames: nothing else this pass.
    if (mpRenderMenu) {
        if (mpRenderMenu->IsBusy())
            return;
        mpRenderMenu->IdleStep();
    }
    // 5. Workers own the GL data: draw nothing this pass.
    if (GbGLLockForMultithread && GbGLForceWaitThreadEnd) {
        event.RequestMore();
        return;
    }
    GbGLForceWaitThreadEnd = false;
    mCFrameBudget = std::chrono::microseconds(kFrameIntervalMs * 1000);

    // 6. Apply the collected mouse motion of every dragged view and repaint it.
    bool dragged = false;
    for (int i = 0; i < kViewCount; ++i) {
        GLCanvasCtrl_cls& ctrl = GetViewCtrl(i);
        if (!ctrl.IsDragging())
            continue;
        dragged = true;
        MainGLCanvas_cls* canvas = mvCanvas[static_cast<size_t>(i)];
        if (ctrl.ProcessDrag(canvas->GetClientSize().y)) {
            // A pan moved this view's anchor: the others turn around the new point as well.
            if (ctrl.GetCamera().GetAnchor() != MainGLCanvas_cls::GetAnchor().Get())
                SetViewAnchor(ctrl.GetCamera().GetAnchor());
            canvas->Refresh(false);
            canvas->Update();
            if (i == miActiveView)
                UpdateCameraInfo();
        }
    }

    // 7. Nothing dragged: one release or fetch step (data slots), or a playback step.
    // A chain run on the worker owns the shown frames: no loading, texturing or playback step
    // until it has ended (the views keep drawing the textures they have).
    if (mpFilterThread->IsRunning()) {
        PollFilterRun();
        WriteStateReport();
        if (mpFilterThread->IsRunning()) {
            event.Skip();
            return;
        }
    }
    if (!dragged && mpMain->GetTimeCtrl().IsPlaying()) {
        event.Skip();
        passTimer.pKind = "play";
        mpMain->GetSeqCtrl().NoteStage("");
        ProcPlayTex();
        passTimer.pStage = mpMain->GetSeqCtrl().GetLastStage();
        if (mpBenchLog && mpMain->GetTimeCtrl().GetIndex() != miBenchLastFrame) {
            miBenchLastFrame = mpMain->GetTimeCtrl().GetIndex();
            mpBenchLog->AddFrame(
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - mCStopWatchStart).count(),
                miBenchLastFrame);
        }
        if (mpBenchLog && miQuitAfter > 0 &&
            std::chrono::steady_clock::now() - mCStopWatchStart > std::chrono::seconds(miQuitAfter)) {
            FinishBench();
            return;
        }
        WriteStateReport();
        event.RequestMore();
        return;
    }
    if (!dragged) {
        // Loading: one release or fetch stage per pass, so that the window stays responsive;
        // more passes are asked for while work is left, so loading goes on without events.
        // --play: once the start-up file is open and a view has been drawn, the clock starts.
        if (mbPlayAtStart && mb3DConditionApplied && HasAnyData()) {
            mbPlayAtStart = false;
            if (!mpMain->GetTimeCtrl().IsPlaying())
                mpTimeLine->TogglePlay();
            event.RequestMore();
        }
        mpMain->GetSeqCtrl().NoteStage("");
        mbNothingLeftToFetch = !IdleLoadStep();
        passTimer.pKind = mbNothingLeftToFetch ? "idle" : "load";
        passTimer.pStage = mpMain->GetSeqCtrl().GetLastStage();
        RefreshIfFramesChanged();
        mpSequencePanel->UpdateFromSlots();
        mpColorChooser->ShowSlot(mpMain->GetSeqCtrl().GetActiveSlot());
        if (!mStrScreenshotEvery.empty()) {
            WriteStateReport();
            if (ScreenshotEveryStep())
                event.RequestMore();
            event.Skip();
            return;
        }
        if (mpBenchLog) {
            mbBenchHadData = mbBenchHadData || HasAnyData();
            const bool timeUp = miQuitAfter > 0 &&
                                std::chrono::steady_clock::now() - mCStopWatchStart > std::chrono::seconds(miQuitAfter);
            if (!timeUp && mbBenchHadData && mbNothingLeftToFetch && AreCurrentFramesDrawn()) {
                // Loaded and drawn: one step on, as the Right key does, so the series streams in
                // frame by frame through the loading passes; the end after the last frame.
                TimeCtrl_cls& clock = GetTimeCtrl();
                if (clock.GetIndex() < clock.GetWAMax()) {
                    mpTimeLine->Step(1);
                    mbNothingLeftToFetch = false;
                    event.RequestMore();
                    return;
                }
            }
            if (timeUp || (mbBenchHadData && mbNothingLeftToFetch && AreCurrentFramesDrawn())) {
                FinishBench();
                return;
            }
            event.RequestMore();
        }
        if (!mbNothingLeftToFetch)
            event.RequestMore();
        WriteStateReport();
        if (!mStrScreenshotPath.empty()) {
            if (ScreenshotReady())
                TakeScreenshot();
            else
                event.RequestMore();
        }
        event.Skip();
        return;
    }

    // 8. Dragging: keep to one frame per interval.
    const auto now = std::chrono::steady_clock::now();
    const auto spent = now - mCLastFrameMark;
    mCLastFrameMark = now;
    if (spent < mCFrameBudget)
        std::this_thread::sleep_for(mCFrameBudget - spent);
    event.RequestMore();
}

void FrameMain_cls::ProcPlayTex()
{
    TimeCtrl_cls& clock = GetTimeCtrl();
    // 1. Stereogram: its view clears the clock's pending step here once it exists.
    // 2. The clock steps within the working area (after its "Wait(ms)"), wraps at the end with
    //    repeat on and stops there otherwise. With data, the controller steps it and brings the
    //    new current frame of every slot up in full; when it can show nothing, wait a quarter
    //    of the frame interval and come back.
    const auto passStart = std::chrono::steady_clock::now();
    const long long nowMs = std::chrono::duration_cast<std::chrono::milliseconds>(passStart - mCStopWatchStart).count();
    DF3SeqCtrl_cls& seqCtrl = mpMain->GetSeqCtrl();
    const bool withData = HasAnyData() && MakeContextCurrent();
    if (withData) {
        if (!seqCtrl.PlayTex(nowMs)) {
            if (!clock.IsPlaying()) {
                mpTimeLine->UpdateFromClock();
                UpdateAnimationMenu();
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(kFrameIntervalMs / 4));
            return;
        }
    } else {
        clock.PlayTick(nowMs);
    }
    if (!clock.IsPlaying()) {
        mpTimeLine->UpdateFromClock();
        UpdateAnimationMenu();
    }
    if (withData) {
        mpSequencePanel->UpdateFromSlots();
        // The new frame is on the screen before the spare time goes to the next one.
        RefreshViews();
        for (MainGLCanvas_cls* canvas : mvCanvas)
            if (canvas != nullptr && canvas->IsShownOnScreen())
                canvas->Update();
        // 3. - 4. Spare time of this frame: bring up the frames of the next step, releasing
        //    in the slots that have nothing to prepare. The drawing may have switched the
        //    current context to another canvas; any canvas of the shared context will do.
        const int next = clock.CalcNextStep(clock.GetPlayDirection() < 0 ? -1 : 1, true, true);
        const auto deadline = mCLastFrameMark + mCFrameBudget;
        if (MakeContextCurrent())
            seqCtrl.PrefetchForPlay(next, [deadline] { return std::chrono::steady_clock::now() < deadline; });
    }
    // 5. Sleep the rest of the interval. The mark is taken after the sleep, so that frames follow
    //    each other at the interval rather than alternating between short and long ones.
    const auto spent = std::chrono::steady_clock::now() - mCLastFrameMark;
    if (spent < mCFrameBudget)
        std::this_thread::sleep_for(mCFrameBudget - spent);
    mCLastFrameMark = std::chrono::steady_clock::now();
}

void FrameMain_cls::WakeIdle()
{
    wxWakeUpIdle();
}

// --- data slots --------------------------------------------------------------------------------

bool FrameMain_cls::MakeContextCurrent()
{
    for (MainGLCanvas_cls* canvas : mvCanvas)
        if (canvas != nullptr && canvas->MakeContextCurrent())
            return true;
    return false;
}

bool FrameMain_cls::HasAnyData() const
{
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot)
        if (mpMain->GetSeqCtrl().GetSequence(slot).GetFrameCount() > 0)
            return true;
    return false;
}

bool FrameMain_cls::IdleLoadStep()
{
    // Textures can be made only once a view has been painted: the context exists then and the
    // preview knows whether 3D textures are available.
    if (!mb3DConditionApplied || !HasAnyData() || !MakeContextCurrent())
        return false;
    DF3SeqCtrl_cls& seqCtrl = mpMain->GetSeqCtrl();
    const bool released = seqCtrl.IdleProcessesRelease(-1, false);
    const bool fetched = !released && seqCtrl.IdleProcessesFetch();
    if (released || fetched)
        return true;
    // With prefetching off (or the frame outside the working area) the fetch leaves the
    // current frame alone; it is still what the views must show.
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        DF3Sequence_cls& sequence = seqCtrl.GetSequence(slot);
        if (sequence.GetFrameCount() == 0 || mvFailedCurrent[static_cast<size_t>(slot)])
            continue;
        const int result = seqCtrl.IdleProcessesMainEach(slot, sequence.GetRemappedIndex(-1), false, false);
        if (result == DF3Sequence_cls::kIdleFailed)
            mvFailedCurrent[static_cast<size_t>(slot)] = true;
        else if (result == DF3Sequence_cls::kIdleStep || result == DF3Sequence_cls::kIdleBound)
            return true;
    }
    return false;
}

void FrameMain_cls::RefreshIfFramesChanged()
{
    bool changed = false;
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        const DF3GL_cls& gl = *mvpDF3GL[static_cast<size_t>(slot)];
        const DF3Sequence_cls& sequence = mpMain->GetSeqCtrl().GetSequence(slot);
        int signature = -1;
        if (sequence.GetFrameCount() > 0) {
            const TexObjectGL_cls* tex = gl.GetCurrentTexObject();
            signature = sequence.GetRemappedIndex(-1) * 1000 + (tex != nullptr && tex->IsReady() ? 100 : 0);
        }
        if (signature != mvReadySignature[static_cast<size_t>(slot)]) {
            mvReadySignature[static_cast<size_t>(slot)] = signature;
            changed = true;
        }
    }
    if (changed)
        RefreshViews();
}

bool FrameMain_cls::AreCurrentFramesDrawn() const
{
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        const DF3Sequence_cls& sequence = mpMain->GetSeqCtrl().GetSequence(slot);
        if (sequence.GetFrameCount() == 0 || mvFailedCurrent[static_cast<size_t>(slot)])
            continue;
        if (mvDrawnIndex[static_cast<size_t>(slot)] != sequence.GetRemappedIndex(-1))
            return false;
    }
    return true;
}

void FrameMain_cls::DrawVolumes()
{
    const std::array<double, 3> scale = [this] {
        const double* box = GetBoxSize().GetPCurrentValue();
        std::array<double, 3> out{};
        for (int a = 0; a < 3; ++a) {
            const double extent = box[a + 3] - box[a];
            out[static_cast<size_t>(a)] = extent > 1e-6 ? extent : 1e-6;
        }
        return out;
    }();
    DF3GL_cls::SetBoxScale(scale[0], scale[1], scale[2]);
    {
        // The surfaces are lit by the scene's lights at this time, in their colours.
        const double time = Parameters_cls::GetCurrentDoubleIndex();
        LightSRC_cls& lights = mpMain->GetPovExport().GetLights();
        std::vector<IsoMeshGL_cls::SceneLight> lit;
        for (size_t i = 0; i < lights.GetCount(); ++i) {
            double v[LightSRC_cls::kDimension];
            lights.GetParam(i).Evaluate(time, 0.0, v);
            IsoMeshGL_cls::SceneLight light;
            const double e = v[6] < 0.0 ? 0.0 : v[6];
            for (int a = 0; a < 3; ++a) {
                light.dPos[a] = v[a];
                light.fRgb[a] = static_cast<float>(v[3 + a] * e);
            }
            light.uKind = lights.GetKind(i);
            lit.push_back(light);
        }
        IsoMeshGL_cls::SetSceneLights(std::move(lit));
    }
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        const DF3Sequence_cls& sequence = mpMain->GetSeqCtrl().GetSequence(slot);
        int& drawn = mvDrawnIndex[static_cast<size_t>(slot)];
        drawn = -1;
        // Every slot holding data is drawn, whatever its filter chain shows.
        if (sequence.GetFrameCount() == 0)
            continue;
        DF3GL_cls& gl = *mvpDF3GL[static_cast<size_t>(slot)];
        SceneGL_cls& scene = *mvpSceneGL[static_cast<size_t>(slot)];
        const FilterCtrl_cls& chain = sequence.GetFilterCtrl();
        // Opaque surfaces first: they write depth and hide the slices behind them; translucent
        // surfaces and the section planes blend over the slices afterwards.
        scene.ResetPassCounters();
        scene.SetItemsBusy(sequence.IsProcessing());
        scene.Prune(chain);
        scene.DrawOpaque(chain, mpMain->GetColoring(), gl.GetColorIndex(), DF3GL_cls::GetBoxScale());
        // The frame before may stand in while the current one is still being uploaded; only
        // the current frame itself counts as drawn.
        if (gl.DrawData() && gl.DrewCurrentFrame())
            drawn = sequence.GetRemappedIndex(-1);
        scene.DrawTranslucent(chain, mpMain->GetColoring(), gl.GetColorIndex(), DF3GL_cls::GetBoxScale());
    }
    DrawSceneMarkers();
}

void FrameMain_cls::DrawSceneMarkers()
{
    const double time = Parameters_cls::GetCurrentDoubleIndex();
    LightSRC_cls& lights = mpMain->GetPovExport().GetLights();
    for (size_t i = 0; i < lights.GetCount(); ++i) {
        double v[LightSRC_cls::kDimension];
        lights.GetParam(i).Evaluate(time, 0.0, v);
        const float rgb[3] = {static_cast<float>(std::clamp(v[3], 0.0, 1.0)),
                              static_cast<float>(std::clamp(v[4], 0.0, 1.0)),
                              static_cast<float>(std::clamp(v[5], 0.0, 1.0))};
        SceneMarkersGL_cls::DrawLight({v[0], v[1], v[2]}, rgb, 0.06);
    }
    // The camera path is drawn by the views themselves (see MainGLCanvas_cls).
}

Coloring_cls& FrameMain_cls::GetColoring()
{
    return mpMain->GetColoring();
}

CameraPathCtrl_cls& FrameMain_cls::GetCameraPath()
{
    return mpMain->GetCameraPath();
}

void FrameMain_cls::InitializeScene()
{
    mpMain->GetColoring().GetPCustomColor()->FuncHookMapChanged = [this] { OnColourMapChanged(); };
    mpMain->GetCameraPath().FuncHookChanged = [this](CameraPathCtrl_cls&) { OnSceneChanged(); };
    mpMain->GetPovExport().GetLights().FuncHookChanged = [this] { OnSceneChanged(); };
}

void FrameMain_cls::UpdateTimeLineSets()
{
    if (mpTimeLine == nullptr)
        return;
    std::vector<TimeLineGUI_cls::NamedSet> sets = {{L"BoxSize", &mpMain->GetBoxSize()},
                                                   {L"BoxRotate", &mpMain->GetBoxRotate()},
                                                   {L"TimeRemap", &mpMain->GetTimeCtrl().GetTimeRemap()}};
    CameraPathCtrl_cls& path = mpMain->GetCameraPath();
    if (Parameters_cls* camera = path.GetPCamera(path.GetActiveCamera()))
        sets.emplace_back(L"CameraPath", camera);
    LightSRC_cls& lights = mpMain->GetPovExport().GetLights();
    for (size_t i = 0; i < lights.GetCount(); ++i)
        sets.emplace_back(WStrPrintf("Light %zu", i + 1), &lights.GetParam(i));
    // The isosurfaces of the active slot, while they are in its chain (this list is made again
    // after every change of the chain, so it never names an item that left it).
    const FilterCtrl_cls& chain = mpMain->GetSeqCtrl().GetActiveSequence().GetFilterCtrl();
    for (int i = 0; i < chain.GetItemNum(); ++i)
        if (auto* iso = dynamic_cast<PovIsosurface_cls*>(chain.GetPFilterBase(i)))
            sets.emplace_back(L"Isosurface " + iso->GetIdTag(), &iso->GetParameters());
    // The filter item whose keys a panel put on the time line.
    if (mpTLSet != nullptr && !mStrTLTag.empty())
        sets.emplace_back(L"Filter " + mpTLSet->GetName(), mpTLSet);
    // The user keeps the set they were looking at when it is still offered.
    const std::wstring shown = mpTimeLine->GetShownSetName();
    mpTimeLine->SetParameterSets(std::move(sets));
    if (!shown.empty())
        mpTimeLine->SelectSet(shown);
}

void FrameMain_cls::OnSceneChanged()
{
    UpdateTimeLineSets();
    if (mpScenePanel != nullptr)
        mpScenePanel->UpdateFromModel();
    if (mpStereoGUI != nullptr)
        mpStereoGUI->UpdateMenu();
    // The state report follows in the next idle pass: this also runs in the middle of reading a
    // project, when the window shows half of it.
    RefreshViews();
    WakeIdle();
}

void FrameMain_cls::OnColourMapChanged()
{
    // Baked (RGBA) textures hold the map's colours: the slots showing a custom map make theirs
    // again. The other texel formats take the colour at drawing time.
    if (GetPreviewProperty().GetTextureType() == 2) {
        for (auto& gl : mvpDF3GL)
            if (gl && Coloring_cls::IsCustomIndex(gl->GetColorIndex()))
                gl->RequestTextureRebuild();
        mvReadySignature.fill(-1);
        WakeIdle();
    }
    if (mpCustomColorGUI != nullptr && mpCustomColorGUI->IsShown())
        mpCustomColorGUI->UpdateFromModel();
    RefreshViews();
    WakeIdle();
}

void FrameMain_cls::OpenCustomColorEditor()
{
    if (mpCustomColorGUI == nullptr) {
        CustomColorGUI_cls::SlotColourLinks slot;
        slot.mGet = [this] {
            return mvpDF3GL[static_cast<size_t>(mpMain->GetSeqCtrl().GetActiveSlot())]->GetColorIndex();
        };
        slot.mSet = [this](int index) {
            DF3GL_cls& gl = *mvpDF3GL[static_cast<size_t>(mpMain->GetSeqCtrl().GetActiveSlot())];
            if (gl.GetColorIndex() == index)
                return;
            gl.SetColorIndex(index);
            if (GetPreviewProperty().GetTextureType() == 2) {
                gl.RequestTextureRebuild();
                mvReadySignature.fill(-1);
                WakeIdle();
            }
            RefreshViews();
            WriteStateReport();
        };
        mpCustomColorGUI = new CustomColorGUI_cls(this, mpMain->GetColoring().GetPCustomColor(), std::move(slot));
        // Beside the views rather than over them: the user watches the colours change there.
        const wxRect frame = GetScreenRect();
        const wxSize size = mpCustomColorGUI->GetSize();
        mpCustomColorGUI->Move(std::max(frame.GetRight() - size.x, frame.GetLeft()), frame.GetTop() + 60);
        mpCustomColorGUI->Bind(wxEVT_SHOW, [this](wxShowEvent& e) {
            e.Skip();
            CallAfter([this] { WriteStateReport(); });
        });
    }
    mpCustomColorGUI->UpdateFromModel();
    mpCustomColorGUI->Show();
    mpCustomColorGUI->Raise();
    WriteStateReport();
}

void FrameMain_cls::ExportIsosurface(PovIsosurface_cls* iso)
{
    if (iso == nullptr)
        return;
    // The mesh is the one of the last run through the chain; a run still going writes it.
    mpMain->GetSeqCtrl().WaitProcessingAll();
    const std::wstring folder =
        mStrLastDataPath.empty() ? std::wstring() : std::filesystem::path(mStrLastDataPath).parent_path().wstring();
    IsosurfaceExportGUI_cls::ShowAndExport(this, *iso, mpPrompt.get(), folder);
    WriteStateReport();
}

bool FrameMain_cls::RefreshAnimatedSceneItems()
{
    // The chain runs when a frame's textures are made; a frame that stays the same while an
    // animated level moves would keep the old mesh, so such a frame is made again.
    const double time = Parameters_cls::GetCurrentDoubleIndex();
    bool marked = false;
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        DF3Sequence_cls& sequence = mpMain->GetSeqCtrl().GetSequence(slot);
        DF3_cls* frame = sequence.GetCurrentDF3();
        if (frame == nullptr)
            continue;
        const FilterCtrl_cls& chain = sequence.GetFilterCtrl();
        for (int i = 0; i < chain.GetItemNum(); ++i) {
            auto* item = dynamic_cast<FilterOutput_cls*>(chain.GetPFilterBase(i));
            if (item == nullptr || !item->GetPData()->IsValid() || !item->GetParameters().IsTimeDependent())
                continue;
            const Parameters_cls& set = item->GetParameters();
            std::vector<double> now(set.GetDimension());
            set.Evaluate(time, 0.0, now.data());
            if (!std::equal(now.begin(), now.end(), set.GetPCurrentValue())) {
                frame->SetDirty();
                marked = true;
                break;
            }
        }
    }
    return marked;
}

std::array<double, 3> FrameMain_cls::GetVolumeExtent()
{
    std::array<double, 3> extent{1.0, 1.0, 1.0};
    const double* box = GetBoxSize().GetPCurrentValue();
    for (int a = 0; a < 3; ++a) {
        const double e = box[a + 3] - box[a];
        extent[static_cast<size_t>(a)] = e > 1e-6 ? e : 1e-6;
    }
    // The active slot's frame gives the shape; without one the box stays a cube.
    const int active = mpMain->GetSeqCtrl().GetActiveSlot();
    if (const TexObjectGL_cls* tex = mvpDF3GL[static_cast<size_t>(active)]->GetCurrentTexObject()) {
        const std::array<uint32_t, 3>& size = tex->GetSize();
        const double longest = std::max({size[0], size[1], size[2]});
        if (longest > 0)
            for (int a = 0; a < 3; ++a)
                extent[static_cast<size_t>(a)] *= size[static_cast<size_t>(a)] / longest;
    }
    return extent;
}

void FrameMain_cls::OpenDataFile(const std::wstring& path)
{
    WaitForFilterRun();
    // A name that is not there leaves the open slot as it is.
    if (!std::filesystem::exists(std::filesystem::path(path))) {
        GetUserPrompt()->Message(TrW("File not found: ") + path, TrW("Error!"));
        return;
    }
    // Replacing the slot's files deletes the old frames' textures.
    MakeContextCurrent();
    mvFailedCurrent.fill(false);
    mpMain->OpenData(path);
    OnDataChanged();
}

void FrameMain_cls::ShowFrameAtStart(int frame)
{
    if (frame < 0)
        return;
    TimeCtrl_cls& clock = GetTimeCtrl();
    clock.SetIndex(std::min(frame, clock.GetMaxFrame()));
    clock.DispatchTimeData();
    mpTimeLine->UpdateFromClock();
    mvFailedCurrent.fill(false);
    RefreshViews();
    WakeIdle();
}

void FrameMain_cls::SetBenchLog(const std::string& path, int quitAfter)
{
    mpBenchLog = std::make_unique<IdleBenchLog_cls>(path);
    miQuitAfter = quitAfter;
}

void FrameMain_cls::FinishBench()
{
    if (mbBenchFinished)
        return;
    const bool ok = mpBenchLog->Write();
    std::printf("%s\n", IdleBenchLog_cls::SummaryLine(mpBenchLog->Summarise()).c_str());
    std::fflush(stdout);
    // The log stays until the window goes: the pass that ends here still reports its duration.
    mbBenchFinished = true;
    mpMain->GetTimeCtrl().Stop();
    wxGetApp().SetExitCode(ok ? 0 : 1);
    Destroy();
    wxGetApp().ExitMainLoop();
}

void FrameMain_cls::PrepareFrameForExport(int frame)
{
    // The export reads the frames and the chains: the processing workers end first.
    mpMain->GetSeqCtrl().WaitProcessingAll();
    TimeCtrl_cls& clock = GetTimeCtrl();
    if (frame >= 0 && frame != clock.GetIndex()) {
        clock.SetIndex(std::min(frame, clock.GetMaxFrame()));
        clock.DispatchTimeData();
    }
    if (mpTimeLine != nullptr)
        mpTimeLine->UpdateFromClock();
    // Each slot's frame for this scene frame, read and processed in full; its textures too, so
    // the views show what is being written.
    if (mb3DConditionApplied && MakeContextCurrent()) {
        DF3SeqCtrl_cls& seqCtrl = mpMain->GetSeqCtrl();
        for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
            DF3Sequence_cls& sequence = seqCtrl.GetSequence(slot);
            if (sequence.GetFrameCount() == 0 || mvFailedCurrent[static_cast<size_t>(slot)])
                continue;
            if (seqCtrl.IdleProcessesMainEach(slot, sequence.GetRemappedIndex(-1), true, false) ==
                DF3Sequence_cls::kIdleFailed)
                mvFailedCurrent[static_cast<size_t>(slot)] = true;
        }
    }
    mpSequencePanel->UpdateFromSlots();
    RefreshViews();
    for (MainGLCanvas_cls* canvas : mvCanvas)
        if (canvas != nullptr && canvas->IsShownOnScreen())
            canvas->Update();
}

void FrameMain_cls::OnSlotColoursChanged(int slot)
{
    // Only texels that carry their colour need making again; the other texel formats take the
    // slot's colour when they are drawn.
    if (GetPreviewProperty().GetTextureType() == 2) {
        for (int s = 0; s < DF3SeqCtrl_cls::kSlotCount; ++s)
            if ((slot < 0 || s == slot) && mvpDF3GL[static_cast<size_t>(s)])
                mvpDF3GL[static_cast<size_t>(s)]->RequestTextureRebuild();
        mvReadySignature.fill(-1);
        mvDrawnIndex.fill(-1);
    }
    RefreshViews();
    WakeIdle();
}

void FrameMain_cls::OnDataChanged()
{
    if (!mpMain->GetDataTitle().empty())
        SetBaseTitle(mpMain->GetDataTitle());
    mvDrawnIndex.fill(-1);
    mvReadySignature.fill(-1);
    UpdateTimeLineSets();
    if (mpScenePanel != nullptr)
        mpScenePanel->UpdateFromModel();
    if (mpSequencePanel != nullptr)
        mpSequencePanel->UpdateFromSlots();
    if (mpTimeLine != nullptr)
        mpTimeLine->UpdateFromClock();
    RefreshViews();
    WakeIdle();
}

void FrameMain_cls::SetImportFilter(wxFileDialog& dialog) const
{
    // One filter per "|"-separated pair of the wildcard text.
    const std::wstring& wildcard = mCStartup.mStrDataWildcard;
    const unsigned parts = static_cast<unsigned>(std::count(wildcard.begin(), wildcard.end(), L'|'));
    dialog.SetFilterIndex(static_cast<int>(mpMain->GetImportList().GetFilterIndex((parts + 1) / 2)));
}

void FrameMain_cls::OnOpenData(wxCommandEvent&)
{
    WaitForFilterRun();
    wxFileDialog dialog(this, TrW("Coose first file"), mpMain->GetImportList().GetFolder(), "",
                        mCStartup.mStrDataWildcard, wxFD_OPEN | wxFD_FILE_MUST_EXIST);
    SetImportFilter(dialog);
    const int answer = dialog.ShowModal();
    mpMain->GetImportList().SetFilterIndex(static_cast<unsigned>(std::max(dialog.GetFilterIndex(), 0)));
    if (answer == wxID_OK)
        OpenDataFile(dialog.GetPath().ToStdWstring());
}

void FrameMain_cls::OnAppendData(wxCommandEvent&)
{
    WaitForFilterRun();
    wxFileDialog dialog(this, TrW("Coose first file"), mpMain->GetImportList().GetFolder(), "",
                        mCStartup.mStrDataWildcard, wxFD_OPEN | wxFD_FILE_MUST_EXIST);
    SetImportFilter(dialog);
    const int answer = dialog.ShowModal();
    mpMain->GetImportList().SetFilterIndex(static_cast<unsigned>(std::max(dialog.GetFilterIndex(), 0)));
    if (answer != wxID_OK)
        return;
    MakeContextCurrent();
    mpMain->AppendData(dialog.GetPath().ToStdWstring());
    OnDataChanged();
}

void FrameMain_cls::OnCloseData(wxCommandEvent&)
{
    WaitForFilterRun();
    // Releasing the frames deletes their textures: the context must be current.
    MakeContextCurrent();
    mpMain->CloseData();
    // The texture kept for the next frame of the same size goes with the data.
    TexObjectGL_cls::DropSpareTexture();
    mvFailedCurrent.fill(false);
    OnDataChanged();
}

std::wstring FrameMain_cls::DescribeSlots() const
{
    // Per slot: frame count, current data index, the frame the last paint drew (-1: none) and
    // whether that is the current one; then the memory counters.
    std::wstring text;
    const DF3SeqCtrl_cls& seqCtrl = mpMain->GetSeqCtrl();
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        const DF3Sequence_cls& sequence = seqCtrl.GetSequence(slot);
        const int count = sequence.GetFrameCount();
        const int current = count > 0 ? sequence.GetRemappedIndex(-1) : -1;
        const int drawn = mvDrawnIndex[static_cast<size_t>(slot)];
        text += WStrPrintf("slot%d=%d %d %d %d\n", slot, count, current, drawn, count > 0 && drawn == current ? 1 : 0);
        // The current frame's textures: the kind and, for a 3D texture, its bricks.
        const DF3GL_cls* gl = mvpDF3GL[static_cast<size_t>(slot)].get();
        if (const TexObjectGL_cls* tex = count > 0 && gl ? gl->GetCurrentTexObject() : nullptr;
            tex && tex->HasTexObjects())
            text += WStrPrintf("slot%dtex=%s %zu\n", slot, tex->Is3DTexture() ? "3D" : "2D", tex->GetBrickCount());
    }
    text += WStrPrintf("memory=%u %u %u\n", seqCtrl.GetUsedTexMB(), seqCtrl.GetUsedXYMB(), seqCtrl.GetUsedXYZMB());
    text += WStrPrintf("loading=%d\n", mbNothingLeftToFetch ? 0 : 1);
    return text;
}

// --- files -------------------------------------------------------------------------------------

void FrameMain_cls::InstallProjectHooks()
{
    ProjectFile_cls& file = mpMain->GetProjectFile();
    file.SetHooks(ProjectFile_cls::kHookWindowItems,
                  {[this] {
                       if (mpSplitter != nullptr && mpSplitter->IsSplit()) {
                           // Saved from the right edge (negative) so the control panel keeps its
                           // width when the window size differs next time.
                           miItemSashPos.Set(mpSplitter->GetSashPosition() - mpSplitter->GetClientSize().x);
                       }
                       // The controller's image-sequence name is kept among the window's settings.
                       mStrItemImgSeqName.Set(mpMain->GetImgSeqName());
                       // Each slot's colour-map choice travels with the window's items.
                       if (mpColorChooser == nullptr)
                           return mCConfList.SerializeAll();
                       mpColorChooser->PullFromSlots();
                       return mCConfList.SerializeAll() + mpColorChooser->GetConfList().SerializeAll();
                   },
                   [this](LineStream_cls&, const std::wstring& line) {
                       const bool window = mCConfList.ReadStrLineAll(line);
                       return (mpColorChooser != nullptr && mpColorChooser->GetConfList().ReadStrLineAll(line)) ||
                              window;
                   }});
    file.SetHooks(ProjectFile_cls::kHookViewAnchor, {[] { return MainGLCanvas_cls::SerializeAnchor(); },
                                                     [](LineStream_cls& stream, const std::wstring& line) {
                                                         return MainGLCanvas_cls::ReadAnchor(stream, line);
                                                     }});
    file.SetHooks(ProjectFile_cls::kHookViewCtrls, {[this] {
                                                        std::wstring text;
                                                        for (const auto& ctrl : mvViewCtrl)
                                                            text += ctrl->SerializeConf();
                                                        return text;
                                                    },
                                                    [this](LineStream_cls&, const std::wstring& line) {
                                                        bool taken = false;
                                                        for (auto& ctrl : mvViewCtrl)
                                                            taken = ctrl->ReadStrLine(line) || taken;
                                                        return taken;
                                                    }});
    // The root drawing block is slot 0's; reading sets every slot's block alike so that the
    // slots are clipped the same way.
    file.SetHooks(ProjectFile_cls::kHookDrawingBlock,
                  {[this] { return mvpDF3GL[0]->GetDrawingBlock().SerializeConf(); },
                   [this](LineStream_cls&, const std::wstring& line) {
                       bool taken = false;
                       for (auto& companion : mvpDF3GL)
                           taken = companion->GetDrawingBlock().ReadStrLine(line) || taken;
                       return taken;
                   }});
    file.SetHooks(ProjectFile_cls::kHookCustomColours,
                  {[this] { return SerializeCustomColours(); },
                   [this](LineStream_cls&, const std::wstring& line) { return ReadCustomColours(line); }});
    // The key assignments were read before the menus were built: their block is skipped here.
    file.SetHooks(ProjectFile_cls::kHookShortcuts, {[this] { return mpShortcut->SerializeForConfigure(); },
                                                    [](LineStream_cls& stream, const std::wstring& line) {
                                                        if (line != L"-ShortcutBegin")
                                                            return false;
                                                        for (std::wstring inner; stream.GetLine(inner);)
                                                            if (StripLineEnd(inner) == L"-ShortcutEnd")
                                                                break;
                                                        return true;
                                                    }});
}

std::wstring FrameMain_cls::SerializeCustomColours() const
{
    std::wstring text = L"ColourDialogCustomColours=";
    for (int i = 0; i < static_cast<int>(wxColourData::NUM_CUSTOM); ++i) {
        const wxColour c = mCColourData.GetCustomColour(i);
        text += WStrPrintf(i == 0 ? "#%02x%02x%02x" : " #%02x%02x%02x", c.IsOk() ? c.Red() : 255,
                           c.IsOk() ? c.Green() : 255, c.IsOk() ? c.Blue() : 255);
    }
    return text + L"\n";
}

bool FrameMain_cls::ReadCustomColours(const std::wstring& line)
{
    const std::wstring key = L"ColourDialogCustomColours=";
    const size_t at = line.find(key);
    if (at == std::wstring::npos)
        return false;
    const std::vector<std::wstring> words = SplitBlanks(line.substr(at + key.size()));
    for (size_t i = 0; i < words.size() && i < wxColourData::NUM_CUSTOM; ++i) {
        const std::wstring& w = words[i];
        if (w.size() != 7 || w[0] != L'#' || w.find_first_not_of(L"0123456789abcdefABCDEF", 1) != std::wstring::npos)
            continue;
        const long rgb = std::wcstol(w.c_str() + 1, nullptr, 16);
        mCColourData.SetCustomColour(static_cast<int>(i), wxColour((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF));
    }
    return true;
}

void FrameMain_cls::RemoveProjectHooks()
{
    ProjectFile_cls& file = mpMain->GetProjectFile();
    for (int hook = 0; hook < ProjectFile_cls::kHookCount; ++hook)
        file.SetHooks(static_cast<ProjectFile_cls::Hook>(hook), {});
}

void FrameMain_cls::ReadConfigure(const std::wstring& path)
{
    // A chain run works on the slots the file is about to replace.
    WaitForFilterRun();
    const bool read = mpMain->GetProjectFile().Read(path);
    if (read && !ProjectFile_cls::IsConfigureFile(path)) {
        mStrProjectPath = path;
        UpdateRecentMenu();
    }
    RefreshAfterRead();
}

void FrameMain_cls::RefreshAfterRead()
{
    // The anchor block comes before the view controllers' own anchors: it wins at the end.
    ViewAnchor_cls& anchor = MainGLCanvas_cls::GetAnchor();
    if (anchor.WasRead())
        SetViewAnchor(anchor.Get());
    anchor.ClearReadFlag();
    mpMain->SetImgSeqName(mStrItemImgSeqName.Get());
    if (mpStereoGUI != nullptr)
        mpStereoGUI->UpdateMenu();
    // Settings that drive the layout.
    if (muItemLayout.Get() > 1)
        muItemLayout.Set(0);
    if (wxMenuBar* bar = GetMenuBar())
        if (wxMenuItem* item = bar->FindItem(IsFourViews() ? kIdFourViews : kIdOneView))
            item->Check(true);
    if (mpSplitter != nullptr && mpSplitter->IsSplit())
        mpSplitter->SetSashPosition(miItemSashPos.Get());
    // The clock repairs what was read as a whole, then tells every panel; the remap check and
    // the preview panel show what was read.
    mpMain->GetTimeCtrl().CheckWorkingArea();
    mpMain->GetTimeCtrl().DispatchTimeData();
    UpdateAnimationMenu();
    if (mpPreviewGUI != nullptr)
        mpPreviewGUI->UpdateFromProperty();
    if (mpColorChooser != nullptr) {
        mpColorChooser->PushToSlots();
        OnSlotColoursChanged(-1);
    }
    UpdateTimeLineSets();
    if (mpTimeLine != nullptr)
        mpTimeLine->UpdateFromClock();
    if (mpSequencePanel != nullptr)
        mpSequencePanel->UpdateFromSlots();
    if (mpScenePanel != nullptr)
        mpScenePanel->UpdateFromModel();
    mbPendingRelayout = true;
    mbPendingViewUpdate = true;
}

bool FrameMain_cls::SaveConfigure(const std::wstring& path, bool project)
{
    if (!mpMain->GetProjectFile().Save(path, project, mpPrompt.get()))
        return false;
    if (!ProjectFile_cls::IsConfigureFile(path)) {
        mStrProjectPath = path;
        UpdateRecentMenu();
    }
    if (project) {
        GetUndoManager().SetClean();
        UpdateTitle();
    }
    return true;
}

void FrameMain_cls::OpenProjectMain(const std::wstring& path)
{
    if (!std::filesystem::exists(std::filesystem::path(path))) {
        GetUserPrompt()->Message(TrW("File not found: ") + path, TrW("Error!"));
        return;
    }
    // Replacing the slots' files and chains deletes the old frames' textures.
    MakeContextCurrent();
    mpMain->GetSeqCtrl().ReleaseAll();
    mvFailedCurrent.fill(false);
    // The core clears the chains and the camera path first and the undo history after reading.
    if (!mpMain->GetProjectFile().OpenProject(path))
        return;
    mStrProjectPath = path;
    UpdateRecentMenu();
    RefreshAfterRead();
    OnDataChanged();
    std::wstring title = path;
    const DF3Sequence_cls& first = mpMain->GetSeqCtrl().GetSequence(0);
    if (first.GetFrameCount() > 0)
        title += L" @ " + first.GetInformationText();
    SetBaseTitle(title + L" - " + L"Tessan");
    GetUndoManager().SetClean();
    UpdateTitle();
    miProjectLoaded = 1;
}

void FrameMain_cls::OpenAtStart(const std::wstring& path)
{
    // The configuration is read first, so that the file's own settings win over it.
    if (!mbInitialized) {
        mbInitialized = true;
        InitializeOnIdle();
    }
    // A project named on the command line or dropped on the window is what the user wants to
    // open: no question. Other files go through the data-open path.
    if (HasVspExtension(path)) {
        OpenProjectMain(path);
        return;
    }
    OpenDataFile(path);
}

void FrameMain_cls::OnOpenProject(wxCommandEvent&)
{
    wxFileDialog dialog(this, TrW("Open Project"), "", "", mCStartup.mStrProjectWildcard,
                        wxFD_OPEN | wxFD_FILE_MUST_EXIST);
    if (dialog.ShowModal() == wxID_OK)
        OpenProjectMain(dialog.GetPath().ToStdWstring());
}

void FrameMain_cls::OnSaveProject(wxCommandEvent& event)
{
    if (mStrProjectPath.empty()) {
        OnSaveProjectAs(event);
        return;
    }
    if (SaveConfigure(mStrProjectPath, true))
        SetStatusText(TrW("Saved ") + mStrProjectPath, 0);
}

void FrameMain_cls::OnSaveProjectAs(wxCommandEvent&)
{
    // The dialog asks before replacing an existing file: that is the user's explicit choice.
    wxFileDialog dialog(this, TrW("Save Project"), "", "", mCStartup.mStrProjectWildcard,
                        wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
    if (dialog.ShowModal() != wxID_OK)
        return;
    std::wstring path = dialog.GetPath().ToStdWstring();
    if (!HasVspExtension(path)) {
        // The dialog asked about the name as typed; the name with the extension may exist too.
        path += L".vsp";
        if (std::filesystem::exists(std::filesystem::path(path)) &&
            !mpPrompt->AskYesNo(path + L"\n" + TrW("File exists. Overwrite?"), TrW("Query"), false))
            return;
    }
    if (SaveConfigure(path, true)) {
        SetBaseTitle(path + L" - " + L"Tessan");
        SetStatusText(TrW("Saved ") + path, 0);
    }
}

void FrameMain_cls::UpdateRecentMenu()
{
    if (mpRecentMenu == nullptr)
        return;
    while (mpRecentMenu->GetMenuItemCount() > 0)
        mpRecentMenu->Destroy(mpRecentMenu->FindItemByPosition(0));
    const RecentList_cls& recent = mpMain->GetRecent();
    for (int i = 0; i < RecentList_cls::kSize; ++i)
        if (!recent.Get(i).empty())
            mpRecentMenu->Append(kIdRecentFirst + i, WStrPrintf("&%d ", (i + 1) % 10) + recent.Get(i));
    if (mpRecentMenu->GetMenuItemCount() == 0)
        mpRecentMenu->Append(wxID_ANY, TrW("(none)"))->Enable(false);
}

void FrameMain_cls::OnRecent(wxCommandEvent& event)
{
    const int i = event.GetId() - kIdRecentFirst;
    const std::wstring path = mpMain->GetRecent().Get(i);
    if (!path.empty())
        OpenProjectMain(path);
}

// --- view commands -----------------------------------------------------------------------------

void FrameMain_cls::SetFourViews(bool four)
{
    muItemLayout.Set(four ? 1 : 0);
    if (!four && miActiveView < 4)
        miActiveView = 3;
    LayoutViews();
    UpdateCameraInfo();
}

void FrameMain_cls::LayoutViews()
{
    if (mpViewArea == nullptr)
        return;
    const bool four = IsFourViews();
    // Detach the canvases from the previous layout before the new one takes them.
    if (wxSizer* old = mpViewArea->GetSizer())
        old->Clear(false);
    auto* sizer = new wxGridSizer(four ? 2 : 1, four ? 2 : 1, 2, 2);
    for (int i = 0; i < 4; ++i) {
        MainGLCanvas_cls* canvas = mvCanvas[static_cast<size_t>(i)];
        // One view shows the perspective panel alone.
        const bool shown = four || i == 3;
        canvas->Show(shown);
        if (shown)
            sizer->Add(canvas, 1, wxEXPAND);
    }
    mpViewArea->SetSizer(sizer, true);
    mpViewArea->Layout();
    RefreshViews();
}

void FrameMain_cls::RefreshViews()
{
    for (MainGLCanvas_cls* canvas : mvCanvas)
        if (canvas != nullptr && canvas->IsShownOnScreen())
            canvas->Refresh(false);
}

void FrameMain_cls::SetActiveView(int i)
{
    if (i < 0 || i >= kViewCount)
        return;
    miActiveView = i;
    UpdateCameraInfo();
}

void FrameMain_cls::OnViewChanged(int i)
{
    if (i >= 0 && i < kViewCount)
        mvCanvas[static_cast<size_t>(i)]->Refresh(false);
    if (i == miActiveView)
        UpdateCameraInfo();
}

void FrameMain_cls::UpdateCameraInfo()
{
    if (mpCamInfo == nullptr)
        return;
    const GLCanvasCtrl_cls& ctrl = GetViewCtrl(miActiveView);
    const Vec3d& p = ctrl.GetCamera().GetPosition();
    const Vec3d& a = ctrl.GetCamera().GetAnchor();
    mpActiveInfo->SetLabel(TrW("Active view: ") + ctrl.GetViewName() +
                           (miActiveView == kExtraView ? TrW(" (extra window)") : L""));
    mpCamInfo->SetLabel(WStrPrintf("[Cam XYZ] %.3f %.3f %.3f", p[0], p[1], p[2]));
    mpAncInfo->SetLabel(WStrPrintf("[Anc XYZ] %.3f %.3f %.3f", a[0], a[1], a[2]));
}

void FrameMain_cls::OnOneView(wxCommandEvent&)
{
    SetFourViews(false);
}
void FrameMain_cls::OnFourViews(wxCommandEvent&)
{
    SetFourViews(true);
}

void FrameMain_cls::OnResetCamera(wxCommandEvent&)
{
    for (auto& ctrl : mvViewCtrl)
        ctrl->ResetCamera();
    SetViewAnchor({0.0, 0.0, 0.0});
    RefreshViews();
    UpdateCameraInfo();
}

void FrameMain_cls::OnFixedViewButton(wxCommandEvent& event)
{
    const int v = event.GetId() - kIdFixedViewFirst;
    if (v < 0 || v > 3) {
        event.Skip();
        return;
    }
    GetViewCtrl(miActiveView).SetView(static_cast<Camera_cls::FixedView>(v));
    OnViewChanged(miActiveView);
}

void FrameMain_cls::SetExtraViewShown(bool shown)
{
    mpExtraFrame->Show(shown);
    if (wxMenuBar* bar = GetMenuBar())
        if (wxMenuItem* item = bar->FindItem(kIdExtraView))
            item->Check(shown);
}

void FrameMain_cls::OnExtraView(wxCommandEvent& event)
{
    SetExtraViewShown(event.IsChecked());
}

void FrameMain_cls::OnToolTip(wxCommandEvent& event)
{
    mpMain->SetToolTip(event.IsChecked());
    wxToolTip::Enable(event.IsChecked());
}

void FrameMain_cls::OnAbout(wxCommandEvent&)
{
    int major = 0, minor = 0;
    MainGLCanvas_cls::GetGLVersion(major, minor);
    GetUserPrompt()->Message(mpMain->GetTitle() + L"\n" + TrW("Volumetric density viewer and animator") + L"\n" +
                                 WStrPrintf("OpenGL %d.%d", major, minor),
                             TrW("About"));
}

void FrameMain_cls::OnSashMoved(wxSplitterEvent& event)
{
    mbPendingRelayout = true;
    event.Skip();
}

// --- edit and animation commands ----------------------------------------------------------------

void FrameMain_cls::OnUndo(wxCommandEvent&)
{
    WaitForFilterRun();
    GetUndoManager().UndoCurrent();
    OnFilterChainChanged();
}

void FrameMain_cls::AppendFilterMenu(wxMenuBar* bar)
{
    // Built from the chain's own table so that the menu and the chain never disagree; groups
    // become submenus in the order they first appear. It goes before Help, which stays last.
    auto* menu = new wxMenu;
    std::vector<std::pair<std::string, wxMenu*>> groups;
    const std::vector<FilterCtrl_cls::MenuEntry>& entries = FilterCtrl_cls::GetMenuEntries();
    TESSAN_ASSERT(static_cast<int>(entries.size()) <= kIdFilterAddLast - kIdFilterAddFirst + 1, "app/FrameMain_cls");
    for (size_t i = 0; i < entries.size(); ++i) {
        const FilterCtrl_cls::MenuEntry& entry = entries[i];
        wxMenu* target = menu;
        if (entry.pGroup != nullptr && entry.pGroup[0] != '\0') {
            auto found =
                std::find_if(groups.begin(), groups.end(), [&](const auto& g) { return g.first == entry.pGroup; });
            if (found == groups.end()) {
                auto* sub = new wxMenu;
                menu->AppendSubMenu(sub, TrW(entry.pGroup));
                groups.emplace_back(entry.pGroup, sub);
                target = sub;
            } else {
                target = found->second;
            }
        }
        target->Append(kIdFilterAddFirst + static_cast<int>(i), TrW(entry.pText));
    }
    const int help = bar->FindMenu(TrW("&Help"));
    const wxString title = TrW("F&ilter");
    if (help == wxNOT_FOUND)
        bar->Append(menu, title);
    else
        bar->Insert(static_cast<size_t>(help), menu, title);
}

void FrameMain_cls::OnFilterAdd(wxCommandEvent& event)
{
    const std::vector<FilterCtrl_cls::MenuEntry>& entries = FilterCtrl_cls::GetMenuEntries();
    const int i = event.GetId() - kIdFilterAddFirst;
    if (i < 0 || i >= static_cast<int>(entries.size()))
        return;
    WaitForFilterRun();
    DF3Sequence_cls& sequence = mpMain->GetSeqCtrl().GetActiveSequence();
    // One undo step; the Edit menu then names it.
    if (!sequence.GetFilterCtrl().AddFilterExecute(entries[static_cast<size_t>(i)].iType, -1))
        return;
    // The new item's settings come up at once: the chain page, the item selected.
    mpControlBook->SetSelection(mpControlBook->FindPage(mpFilterPanels));
    mpFilterPanels->FollowActiveSlot();
    if (FilterChainGUI_cls* page = mpFilterPanels->GetShownPage())
        page->SelectItem(sequence.GetFilterCtrl().GetItemNum() - 1);
    OnFilterChainChanged();
}

void FrameMain_cls::OnFilterChainChanged()
{
    // A data filter changes what the voxels are. Textures are made from processed voxels and
    // generation processes again when the chain's signature changed, so marking the frames
    // dirty is enough: the idle pass deletes and remakes the current frame's textures first,
    // the others when they are next shown.
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        DF3Sequence_cls& sequence = mpMain->GetSeqCtrl().GetSequence(slot);
        for (int i = 0; i < sequence.GetFrameCount(); ++i)
            if (DF3_cls* frame = sequence.GetDF3(i))
                frame->SetDirty();
    }
    std::fill(mvFailedCurrent.begin(), mvFailedCurrent.end(), false);
    // The panels show the values at the current time (undo of a key changes them).
    WaitForFilterRun();
    UpdateChainParameters();
    if (mpFilterPanels != nullptr) {
        mpFilterPanels->FollowActiveSlot();
        mpFilterPanels->UpdateFromChains();
    }
    ValidateTimeLineSet();
    StartFilterRun();
    RefreshViews();
    WakeIdle();
    UpdateTimeLineSets();
    if (mpScenePanel != nullptr)
        mpScenePanel->UpdateFromModel();
    WriteStateReport();
}

void FrameMain_cls::StartFilterRun()
{
    // The frames on show are filtered on the worker; the others when they are next shown.
    std::vector<DF3_cls*> frames;
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        DF3_cls* frame = mpMain->GetSeqCtrl().GetSequence(slot).GetCurrentDF3();
        if (frame != nullptr && frame->IsAllocated() && frame->GetReadFinishedFlag())
            frames.push_back(frame);
    }
    if (!mpFilterThread->Start(std::move(frames), [] { wxWakeUpIdle(); }))
        return;
    mpPrompt->SetStatusText(TrW("Filtering..."), 1);
    mpPrompt->SetProgress(0);
}

void FrameMain_cls::PollFilterRun()
{
    if (!mpFilterThread->IsRunning())
        return;
    if (!mpFilterThread->IsFinished()) {
        const int total = std::max(mpFilterThread->GetTotal(), 1);
        mpPrompt->SetProgress(mpFilterThread->GetDone() * 100 / total);
        return;
    }
    FinishFilterRun();
}

void FrameMain_cls::WaitForFilterRun()
{
    // The slots' processing workers hold frames and chains as well: every edit comes after them.
    mpMain->GetSeqCtrl().WaitProcessingAll();
    if (mpFilterThread != nullptr && mpFilterThread->IsRunning())
        FinishFilterRun();
}

void FrameMain_cls::FinishFilterRun()
{
    mpFilterThread->Join();
    mpPrompt->SetProgress(-1);
    mpPrompt->SetStatusText(L"", 1);
    // The textures are made again from the processed voxels (their signature is current now,
    // so the idle pass only uploads).
    mvReadySignature.fill(-1);
    RefreshViews();
    WakeIdle();
}

void FrameMain_cls::UpdateChainParameters()
{
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot)
        mpMain->GetSeqCtrl().GetSequence(slot).GetFilterCtrl().UpdateParameters(-1.0);
}

void FrameMain_cls::SetFilterSetOnTimeLine(Parameters_cls* set, const std::wstring& tag)
{
    mStrTLTag = set ? tag : L"";
    mpTLSet = set;
    if (!set)
        mpTLChain = nullptr;
    UpdateTimeLineSets();
    if (set)
        mpTimeLine->SelectSet(L"Filter " + set->GetName());
    WriteStateReport();
}

void FrameMain_cls::ValidateTimeLineSet()
{
    // The time line must never show the set of an item that left its chain (removed, undone):
    // the item may be gone, or wait in the history where its keys mean nothing to the user.
    if (mStrTLTag.empty() || mpTimeLine == nullptr)
        return;
    FilterBase_cls* item = FilterCtrl_cls::IsLive(mpTLChain) ? mpTLChain->GetPFromTag(mStrTLTag) : nullptr;
    if (dynamic_cast<FilterWithParameter_cls*>(item) == nullptr)
        SetFilterSetOnTimeLine(nullptr, L"");
}

void FrameMain_cls::OnPreferences(wxCommandEvent&)
{
    PreferencesDialog_cls dialog(this, &GetPreference().GetConfList(), mpShortcut.get());
    if (dialog.ShowModal() != wxID_OK || !dialog.Apply())
        return;
    // The menus show the new keys at once; the configuration keeps them at quit.
    if (wxMenuBar* bar = GetMenuBar())
        for (const Shortcut_cls::Menu& m : mpShortcut->BuildMenuModel())
            for (const Shortcut_cls::MenuEntry& e : m.mvEntries)
                if (e.miId != 0 && e.meKind != Shortcut_cls::kSeparator && e.meKind != Shortcut_cls::kRecentSubmenu)
                    if (wxMenuItem* item = bar->FindItem(e.miId))
                        item->SetItemLabel(e.mStrLabel);
    UpdateEditMenu();
    WriteStateReport();
}

void FrameMain_cls::OnRedo(wxCommandEvent&)
{
    WaitForFilterRun();
    GetUndoManager().ExecCurrent();
    OnFilterChainChanged();
}

void FrameMain_cls::OnKeyCommand(wxCommandEvent& event)
{
    switch (event.GetId()) {
    case kIdAddKey:
        mpTimeLine->AddKey();
        break;
    case kIdDeleteKeys:
        mpTimeLine->DeleteKeys();
        break;
    case kIdCopyKeys:
        mpTimeLine->CopyKeys();
        break;
    case kIdPasteKeys:
        mpTimeLine->PasteKeys();
        break;
    default:
        event.Skip();
        break;
    }
}

void FrameMain_cls::OnAnimCommand(wxCommandEvent& event)
{
    switch (event.GetId()) {
    case kIdPlay:
        mpTimeLine->TogglePlay();
        break;
    case kIdStop:
        mpTimeLine->StopPlay();
        break;
    case kIdStepForward:
        mpTimeLine->Step(1);
        break;
    case kIdStepBack:
        mpTimeLine->Step(-1);
        break;
    case kIdFirstFrame:
        mpTimeLine->GoToEnd(false);
        break;
    case kIdLastFrame:
        mpTimeLine->GoToEnd(true);
        break;
    default:
        event.Skip();
        break;
    }
}

void FrameMain_cls::OnUseTimeRemap(wxCommandEvent& event)
{
    mpMain->GetTimeCtrl().SetBUseTimeRemap(event.IsChecked());
    // Data slots: each slot shows the data frame the remap gives for the current frame.
    mpMain->GetTimeCtrl().DispatchTimeData();
    SetStatusText(event.IsChecked() ? TrW("Time remap on") : TrW("Time remap off"), 0);
}

void FrameMain_cls::OnCharHook(wxKeyEvent& event)
{
    // Keys without modifiers (Space, the arrows, Home, Delete) run their commands from here: GTK
    // takes no arrow key as a menu accelerator. A focused control keeps the keys it uses itself:
    // an entry field or a slider all of them, a choice Space and Up/Down (open, change), a
    // button or check box Space and Return (press).
    wxWindow* focus = wxWindow::FindFocus();
    const int code = event.GetKeyCode();
    const bool press = code == WXK_SPACE || code == WXK_RETURN || code == WXK_NUMPAD_ENTER;
    bool focusUsesKey = dynamic_cast<wxTextEntry*>(focus) != nullptr ||
                        dynamic_cast<wxSpinCtrlBase*>(focus) != nullptr || dynamic_cast<wxSlider*>(focus) != nullptr;
    if (dynamic_cast<wxChoice*>(focus) != nullptr)
        focusUsesKey |= press || code == WXK_UP || code == WXK_DOWN;
    if (dynamic_cast<wxCheckBox*>(focus) != nullptr || dynamic_cast<wxAnyButton*>(focus) != nullptr)
        focusUsesKey |= press;
    if (event.HasAnyModifiers() || focusUsesKey) {
        event.Skip();
        return;
    }
    const wxAcceleratorEntry pressed(wxACCEL_NORMAL, event.GetKeyCode());
    const int id = mpShortcut->FindCommandByKey(pressed.ToRawString().ToStdWstring());
    if (id == 0 || !Shortcut_cls::IsPlainKey(pressed.ToRawString().ToStdWstring())) {
        event.Skip();
        return;
    }
    wxCommandEvent command(wxEVT_MENU, id);
    command.SetEventObject(this);
    if (id == kIdUseTimeRemap)
        command.SetInt(mpMain->GetTimeCtrl().IsUseTimeRemap() ? 0 : 1);
    ProcessWindowEvent(command);
}

void FrameMain_cls::UpdateEditMenu()
{
    wxMenuBar* bar = GetMenuBar();
    if (bar == nullptr)
        return;
    const UndoManager_cls& undo = GetUndoManager();
    // "Undo Move Keys": the entry names the step it would take back (or redo).
    auto label = [this](const char* verb, const char* name, const char* keyName) {
        std::wstring text = TrW(verb);
        if (name != nullptr && name[0] != '\0')
            text += L" " + TrW(name);
        const std::wstring key = mpShortcut->GetKey(keyName);
        if (!key.empty())
            text += L"\t" + key;
        return text;
    };
    if (wxMenuItem* item = bar->FindItem(kIdUndo)) {
        item->SetItemLabel(label("&Undo", undo.GetUndoName(), "Undo"));
        item->Enable(undo.CanUndo());
    }
    if (wxMenuItem* item = bar->FindItem(kIdRedo)) {
        item->SetItemLabel(label("&Redo", undo.GetRedoName(), "Redo"));
        item->Enable(undo.CanRedo());
    }
}

void FrameMain_cls::UpdateAnimationMenu()
{
    wxMenuBar* bar = GetMenuBar();
    if (bar == nullptr)
        return;
    if (wxMenuItem* item = bar->FindItem(kIdUseTimeRemap))
        item->Check(mpMain->GetTimeCtrl().IsUseTimeRemap());
    if (wxMenuItem* item = bar->FindItem(kIdStop))
        item->Enable(mpMain->GetTimeCtrl().IsPlaying());
}

void FrameMain_cls::SetBaseTitle(const std::wstring& title)
{
    mStrBaseTitle = title;
    UpdateTitle();
}

void FrameMain_cls::UpdateTitle()
{
    // The history's clean mark is the saved state of the scene.
    const std::wstring title = (GetUndoManager().IsClean() ? L"" : L"*") + mStrBaseTitle;
    if (GetTitle().ToStdWstring() != title)
        SetTitle(title);
}

// --- screenshot --------------------------------------------------------------------------------

bool FrameMain_cls::ScreenshotReady()
{
    if (!IsShownOnScreen())
        return false;
    for (MainGLCanvas_cls* canvas : mvCanvas)
        if (canvas != nullptr && canvas->IsShownOnScreen() && canvas->GetPaintCount() == 0)
            return false;
    // Every slot's current frame must be loaded, bound and drawn: bring it up in full now
    // rather than stage by stage, then let a paint draw it.
    if (!AreCurrentFramesDrawn()) {
        if (mb3DConditionApplied && MakeContextCurrent()) {
            DF3SeqCtrl_cls& seqCtrl = mpMain->GetSeqCtrl();
            for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
                DF3Sequence_cls& sequence = seqCtrl.GetSequence(slot);
                if (sequence.GetFrameCount() == 0 || mvFailedCurrent[static_cast<size_t>(slot)])
                    continue;
                if (seqCtrl.IdleProcessesMainEach(slot, sequence.GetRemappedIndex(-1), true, false) ==
                    DF3Sequence_cls::kIdleFailed)
                    mvFailedCurrent[static_cast<size_t>(slot)] = true;
            }
        }
        RefreshViews();
        // A frame that never draws (no texture support at all) must not hold the picture forever.
        if (++miScreenshotDataPasses < 2000)
            return false;
        if (miScreenshotDataPasses == 2000)
            std::fprintf(stderr, "tessan: the data could not be drawn; saving the screenshot without it\n");
    }
    // A few passes more after the first paints let the window manager settle the size.
    return ++miScreenshotIdlePasses > 3;
}

void FrameMain_cls::SetViewShot(const std::wstring& path, int scale, bool offscreen)
{
    mStrScreenshotPath = path;
    mpStereoGUI->SetViewShot(path, scale, offscreen);
}

void FrameMain_cls::TakeScreenshot()
{
    const std::wstring path = mStrScreenshotPath;
    mStrScreenshotPath.clear();
    // Parts of a window beyond the screen cannot be grabbed, and a window manager may not let
    // it grow that far at all.
    const wxSize client = GetClientSize();
    const wxRect screen = wxDisplay(0u).GetGeometry();
    const int fitWidth = std::min(client.x, screen.width), fitHeight = std::min(client.y, screen.height);
    if (!mpStereoGUI->HasViewShot() && (miScreenshotWidth > fitWidth || miScreenshotHeight > fitHeight)) {
        std::fprintf(stderr, "tessan: the window cannot show %dx%d here; saving the active view drawn off-screen\n",
                     miScreenshotWidth, miScreenshotHeight);
        mpStereoGUI->SetViewShotSize(path, miScreenshotWidth, miScreenshotHeight);
    }
    if (mpStereoGUI->HasViewShot()) {
        const bool saved = mpStereoGUI->TakeViewShot();
        wxGetApp().SetExitCode(saved ? 0 : 1);
        Destroy();
        wxGetApp().ExitMainLoop();
        return;
    }
    const bool saved = SaveScreenshot(path);
    wxGetApp().SetExitCode(saved ? 0 : 1);
    // Leaves without the quit question and without touching the configuration.
    Destroy();
    wxGetApp().ExitMainLoop();
}

bool FrameMain_cls::ScreenshotEveryStep()
{
    // Frame by frame through the working area: show it, let it be drawn in full, save it.
    TimeCtrl_cls& clock = GetTimeCtrl();
    if (miShotFrame < 0) {
        if (!HasAnyData())
            return true;
        std::error_code ec;
        std::filesystem::create_directories(std::filesystem::path(mStrScreenshotEvery), ec);
        miShotFrame = std::max(0, clock.GetWAMin());
        clock.SetIndex(miShotFrame);
        clock.DispatchTimeData();
        mpTimeLine->UpdateFromClock();
        miScreenshotIdlePasses = 0;
        miScreenshotDataPasses = 0;
        return true;
    }
    if (!ScreenshotReady())
        return true;
    // The views are read from their own buffers, the widgets from the screen: the time line was
    // set when the frame was chosen, but the toolkit paints widgets at its own pace, and these
    // passes follow each other faster than that. Wait (pass by pass) until the time line has
    // been painted with this frame, so that the track, the frame box and the slider agree with
    // the view in the picture. A window that never paints must not stop the series.
    if (mpTimeLine->GetTrack().GetPaintedFrame() != clock.GetIndex() && mpTimeLine->GetTrack().IsShownOnScreen()) {
        if (miScreenshotPaintWaits == 0) {
            mpTimeLine->UpdateFromClock();
            Refresh(false);
        }
        if (++miScreenshotPaintWaits < 20000) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            return true;
        }
        std::fprintf(stderr, "tessan: the time line was not painted; saving the screenshot as it is\n");
    }
    miScreenshotPaintWaits = 0;
    const std::wstring path =
        (std::filesystem::path(mStrScreenshotEvery) / WStrPrintf("frame_%04d.png", miShotFrame)).wstring();
    if (!SaveScreenshot(path)) {
        wxGetApp().SetExitCode(1);
        Destroy();
        wxGetApp().ExitMainLoop();
        return false;
    }
    const int last = std::max(clock.GetWAMax(), std::max(0, clock.GetWAMin()));
    if (miShotFrame >= last) {
        mStrScreenshotEvery.clear();
        wxGetApp().SetExitCode(0);
        Destroy();
        wxGetApp().ExitMainLoop();
        return false;
    }
    ++miShotFrame;
    clock.SetIndex(miShotFrame);
    clock.DispatchTimeData();
    mpTimeLine->UpdateFromClock();
    // The next frame has to be drawn, and the widgets repainted, before it is saved.
    miScreenshotIdlePasses = 0;
    miScreenshotDataPasses = 0;
    RefreshViews();
    return true;
}

bool FrameMain_cls::SaveScreenshot(const std::wstring& path)
{
    const wxSize size = GetClientSize();
    wxImage image;
    {
        // The widgets come from the screen; the GL views are read from their own buffers below,
        // so they are right even where the screen grab cannot see GL content.
        wxBitmap bitmap(size.x, size.y, 24);
        wxMemoryDC memory(bitmap);
        wxScreenDC screen;
        const wxPoint origin = ClientToScreen(wxPoint(0, 0));
        if (!memory.Blit(0, 0, size.x, size.y, &screen, origin.x, origin.y)) {
            memory.SetBackground(wxBrush(GetBackgroundColour()));
            memory.Clear();
        }
        memory.SelectObject(wxNullBitmap);
        image = bitmap.ConvertToImage();
        // The toolkit's screen surface keeps a copy of what it read first and does not see the
        // widgets painted since (a --screenshot-every series got the first picture's time line
        // every time): the X server itself is asked when it can be reached.
        GrabScreenFromServer(origin.x, origin.y, image);
    }
    const wxPoint clientOrigin = ClientToScreen(wxPoint(0, 0));
    for (int i = 0; i < 4; ++i) {
        MainGLCanvas_cls* canvas = mvCanvas[static_cast<size_t>(i)];
        if (!canvas->IsShownOnScreen())
            continue;
        std::vector<uint8_t> rgb;
        int w = 0, h = 0;
        if (!canvas->GrabPixels(rgb, w, h))
            continue;
        const wxPoint at = canvas->GetScreenPosition() - clientOrigin;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int tx = at.x + x, ty = at.y + y;
                if (tx < 0 || ty < 0 || tx >= image.GetWidth() || ty >= image.GetHeight())
                    continue;
                const uint8_t* px = &rgb[(size_t(y) * w + x) * 3];
                image.SetRGB(tx, ty, px[0], px[1], px[2]);
            }
    }
    bool saved = false;
    {
        // The failure is reported below in the program's own words, not in a log dialog that
        // nobody is there to close.
        wxLogNull quiet;
        saved = image.IsOk() && image.SaveFile(wxString(path), wxBITMAP_TYPE_PNG);
    }
    if (saved) {
        std::printf("%s\n", Narrow(path).c_str());
        std::fflush(stdout);
    } else {
        std::fprintf(stderr, "tessan: cannot save the screenshot to %s\n", Narrow(path).c_str());
    }
    return saved;
}

// --- quit --------------------------------------------------------------------------------------

void FrameMain_cls::OnQuit(wxCommandEvent&)
{
    WaitForFilterRun();
    if (!GetUserPrompt()->AskYesNo(TrW("Really Quit ?"), TrW("Query"), false))
        return;
    SaveConfigure(kConfigureName, false);
    SetExtraViewShown(false);
    mpMain->QuitProcess();
    Close(true);
}

void FrameMain_cls::OnClose(wxCloseEvent& event)
{
    // Closing by other means than the quit command saves nothing.
    event.Skip();
}

void FrameMain_cls::WriteStateReport()
{
    // For unattended checks (the GUI tests): what the window shows, read back from the widgets
    // themselves, written whenever it changes.
    if (mStrStateFile.empty())
        return;
    std::wstring text = L"title=" + GetTitle().ToStdWstring() + L"\n";
    if (wxStatusBar* bar = GetStatusBar())
        for (int i = 0; i < bar->GetFieldsCount(); ++i)
            text += WStrPrintf("status%d=", i) + bar->GetStatusText(i).ToStdWstring() + L"\n";
    if (wxMenuBar* bar = GetMenuBar()) {
        text += L"menus=";
        for (size_t i = 0; i < bar->GetMenuCount(); ++i)
            text += (i ? L"," : L"") + bar->GetMenuLabelText(i).ToStdWstring();
        text += L"\n";
    }
    text += std::wstring(L"layout=") + (IsFourViews() ? L"four" : L"one") + L"\n";
    text += WStrPrintf("active=%d\n", miActiveView);
    for (int i = 0; i < kViewCount; ++i) {
        const MainGLCanvas_cls* canvas = mvCanvas[static_cast<size_t>(i)];
        const Camera_cls& cam = GetViewCtrl(i).GetCamera();
        // Screen positions exist only for windows on screen (the extra window may be hidden).
        const bool shown = canvas->IsShownOnScreen();
        const wxPoint screen = shown ? canvas->GetScreenPosition() : wxPoint(0, 0);
        const wxPoint at = shown ? screen - ClientToScreen(wxPoint(0, 0)) : wxPoint(0, 0);
        const wxSize size = canvas->GetClientSize();
        // Client-relative position, size, screen position, name.
        text += WStrPrintf("view%d=%s %d %d %d %d %d %d ", i, shown ? "shown" : "hidden", at.x, at.y, size.x, size.y,
                           screen.x, screen.y) +
                GetViewCtrl(i).GetViewName() + L"\n";
        const Vec3d& p = cam.GetPosition();
        const Vec3d& a = cam.GetAnchor();
        text += WStrPrintf("camera%d=%.6f %.6f %.6f anchor %.6f %.6f %.6f\n", i, p[0], p[1], p[2], a[0], a[1], a[2]);
    }
    // The animation: the clock, what the time line's widgets show, the keys on the track and
    // where they are on the screen, the Edit and Animation menus, the preview panel.
    const TimeCtrl_cls& clock = mpMain->GetTimeCtrl();
    text += WStrPrintf("frame=%d\nplaying=%d\n", clock.GetIndex(), clock.IsPlaying() ? 1 : 0);
    text += WStrPrintf("clock=%d %d %d %d %d\n", clock.GetMaxFrame(), clock.GetStep(), clock.GetWAMin(),
                       clock.GetWAMax(), clock.IsRepeat() ? 1 : 0);
    text += WStrPrintf("timeline=%d %d\n", mpTimeLine->GetSliderValue(), mpTimeLine->GetFrameBoxValue());
    text += L"timeline_set=" + mpTimeLine->GetShownSetName() + L"\n";
    text += L"timeline_info=" + mpTimeLine->GetInfoText() + L"\n";
    {
        const KeyTrackCanvas_cls& track = mpTimeLine->GetTrack();
        const TimeTrackMap_cls& map = track.GetMap();
        const wxPoint origin = track.IsShownOnScreen() ? track.ClientToScreen(wxPoint(0, 0)) : wxPoint(0, 0);
        text += WStrPrintf("track=%d %d %d %d %d\n", origin.x, origin.y, track.GetClientSize().x,
                           track.GetClientSize().y, origin.y + track.GetMarkerY());
        text += WStrPrintf("trackmap=%d %d %.6f %d\n", map.GetFirst(), map.GetLast(), map.GetPixelsPerFrame(),
                           origin.x + static_cast<int>(std::lround(map.FrameToX(map.GetFirst()))));
        std::wstring keys, keyx;
        if (const Parameters_cls* p = mpTimeLine->GetShownSet()) {
            for (const KeyFrame_cls& key : p->GetKeys()) {
                keys += WStrPrintf(" %.9g%s", key.GetTime(), key.IsSelected() ? "*" : "");
                keyx += WStrPrintf(" %d", origin.x + static_cast<int>(std::lround(map.TimeToX(key.GetTime()))));
            }
        }
        text += L"keys=" + (keys.empty() ? keys : keys.substr(1)) + L"\n";
        text += L"keyx=" + (keyx.empty() ? keyx : keyx.substr(1)) + L"\n";
    }
    if (wxMenuBar* bar = GetMenuBar()) {
        for (auto [id, name] : {std::pair{int(kIdUndo), "undo"}, std::pair{int(kIdRedo), "redo"},
                                std::pair{int(kIdUseTimeRemap), "remap_menu"}}) {
            if (const wxMenuItem* item = bar->FindItem(id))
                text += WStrPrintf("%s=", name) + item->GetItemLabelText().ToStdWstring() +
                        WStrPrintf("|%d|%d\n", item->IsEnabled() ? 1 : 0, item->IsCheckable() && item->IsChecked());
        }
    }
    text += WStrPrintf("remap=%d\n", clock.IsUseTimeRemap() ? 1 : 0);
    {
        const StereoGram_cls& stereo = mpMain->GetStereoGram();
        text += WStrPrintf("stereo=%u %.6g %.6g\n", static_cast<unsigned>(stereo.GetMode()), stereo.GetEyeSeparation(),
                           stereo.GetConvergence());
    }
    {
        // The active slot's chain, item labels in order.
        FilterCtrl_cls& chain = mpMain->GetSeqCtrl().GetActiveSequence().GetFilterCtrl();
        text += WStrPrintf("chain=%d", chain.GetItemNum());
        for (int i = 0; i < chain.GetItemNum(); ++i)
            text += L"|" + chain.GetPFilterBase(i)->GetLocaleIndependentStrLabel();
        text += L"\n";
        // Its text form as a project would hold it, one line per "|". Writing it touches the
        // items (the tag is blanked meanwhile), so not while a chain run reads them.
        const bool running = mpFilterThread->IsRunning() || mpMain->GetSeqCtrl().GetActiveSequence().IsProcessing();
        std::wstring form = running ? L"(running)" : chain.SerializeConf();
        std::replace(form.begin(), form.end(), L'\n', L'|');
        text += L"chain_text=" + form + L"\n";
    }
    text += mpTimeLine->DescribeWidgetPlaces();
    text += L"pref=" + GetPreference().GetConfList().SerializeAll();
    text += L"pref.keys=" + mpShortcut->GetKey("Preferences") + L"|" + mpShortcut->GetKey("Undo") + L"\n";
    text += WStrPrintf("cp.page=%d\n", mpControlBook->GetSelection());
    text += WStrPrintf("filter_run=%d %d/%d\n", mpFilterThread->IsRunning() ? 1 : 0, mpFilterThread->GetDone(),
                       mpFilterThread->GetTotal());
    text += mpFilterPanels->DescribeWidgets();
    text += mpFilterPanels->DescribeWidgetPlaces();
    text += mpPreviewGUI->DescribeWidgets();
    text += mpPreviewGUI->DescribeWidgetPlaces();
    text += DescribeSlots();
    text += mpSequencePanel->DescribeWidgets();
    text += mpColorChooser->DescribeWidgets();
    text += mpRenderMenu->DescribeState();
    if (const PovSettingsDialog_cls* dialog = PovSettingsDialog_cls::GetOpen())
        text += dialog->DescribeWidgetPlaces();
    text += mpScenePanel->DescribeWidgets();
    text += mpScenePanel->DescribeWidgetPlaces();
    {
        int meshes = 0, sections = 0;
        size_t triangles = 0;
        for (const auto& scene : mvpSceneGL) {
            meshes += scene->GetCounters().miMeshes;
            sections += scene->GetCounters().miSections;
            triangles += scene->GetCounters().muTriangles;
        }
        text += WStrPrintf("scene.drawn=%d %d %zu\n", meshes, sections, triangles);
        text += WStrPrintf("slotcolor=%d\n",
                           mvpDF3GL[static_cast<size_t>(mpMain->GetSeqCtrl().GetActiveSlot())]->GetColorIndex());
    }
    if (mpCustomColorGUI != nullptr) {
        text += mpCustomColorGUI->DescribeState();
        text += WStrPrintf("customcolor_shown=%d\n", mpCustomColorGUI->IsShown() ? 1 : 0);
        text += mpCustomColorGUI->DescribeWidgetPlaces();
    }
    if (mpDriver)
        text += mpDriver->Describe();
    if (text == mStrLastState)
        return;
    mStrLastState = text;
    const std::string temp = mStrStateFile + ".tmp";
    {
        std::ofstream out(temp, std::ios::binary | std::ios::trunc);
        const std::string bytes = Narrow(text);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    std::error_code ec;
    std::filesystem::rename(temp, mStrStateFile, ec);
}
