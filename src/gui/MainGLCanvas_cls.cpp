#include "gui/MainGLCanvas_cls.h"

#include "anim/CameraPathCtrl_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "gl/CameraPathGL_cls.h"
#include "gl/GuideGL_cls.h"
#include "gl/OffscreenFBO_cls.h"
#include "gl/StereoViewGL_cls.h"
#include "gui/FrameMain_cls.h"
#include "gui/GLCanvasCtrl_cls.h"
#include "pov/ViewAnchor_cls.h"
#include "pov/StereoGram_cls.h"

#include <wx/dcclient.h>
#include <wx/dcmemory.h>
#include <wx/image.h>
#include <wx/settings.h>

#include <algorithm>

wxGLContext* MainGLCanvas_cls::msContext = nullptr;
int MainGLCanvas_cls::msGLMajor = 0;
int MainGLCanvas_cls::msGLMinor = 0;

wxBEGIN_EVENT_TABLE(MainGLCanvas_cls, wxGLCanvas) EVT_PAINT(MainGLCanvas_cls::OnPaint)
    EVT_SIZE(MainGLCanvas_cls::OnSize) EVT_MOUSE_EVENTS(MainGLCanvas_cls::OnMouse)
        EVT_MOUSE_CAPTURE_LOST(MainGLCanvas_cls::OnCaptureLost) wxEND_EVENT_TABLE()

            namespace
{
    wxGLAttributes CanvasAttributes()
    {
        wxGLAttributes attrs;
        attrs.PlatformDefaults().RGBA().DoubleBuffer().Depth(24).EndList();
        return attrs;
    }
} // namespace

MainGLCanvas_cls::MainGLCanvas_cls(wxWindow* parent, GLCanvasCtrl_cls* ctrl, FrameMain_cls* frame)
    : wxGLCanvas(parent, CanvasAttributes(), wxID_ANY, wxDefaultPosition, wxDefaultSize, wxFULL_REPAINT_ON_RESIZE),
      mpCtrl(ctrl), mpFrame(frame)
{
    if (msContext == nullptr)
        msContext = new wxGLContext(this);
}

MainGLCanvas_cls::~MainGLCanvas_cls()
{
    if (HasCapture())
        ReleaseMouse();
}

void MainGLCanvas_cls::ReleaseContext()
{
    delete msContext;
    msContext = nullptr;
}

ViewAnchor_cls& MainGLCanvas_cls::GetAnchor()
{
    static ViewAnchor_cls anchor;
    return anchor;
}

std::wstring MainGLCanvas_cls::SerializeAnchor()
{
    return GetAnchor().SerializeAnchor();
}

bool MainGLCanvas_cls::ReadAnchor(LineStream_cls& stream, const std::wstring& line)
{
    return GetAnchor().ReadStrLine(stream, line);
}

bool MainGLCanvas_cls::MakeContextCurrent()
{
    // A canvas that has painted has its native window; the main window closing keeps that window,
    // so it can still carry the context. A canvas hidden on its own (the views of another layout)
    // cannot: the toolkit refuses to make it current.
    if (msContext == nullptr || miPaintCount == 0 || !IsShown())
        return false;
    return SetCurrent(*msContext);
}

void MainGLCanvas_cls::GetGLVersion(int& major, int& minor)
{
    major = msGLMajor;
    minor = msGLMinor;
}

bool MainGLCanvas_cls::Render(int& width, int& height)
{
    if (msContext == nullptr || !IsShownOnScreen())
        return false;
    const wxSize size = GetClientSize() * GetContentScaleFactor();
    width = size.x;
    height = size.y;
    if (width <= 0 || height <= 0)
        return false;
    SetCurrent(*msContext);
    if (msGLMajor == 0)
        GuideGL_cls::GetGLVersion(msGLMajor, msGLMinor);
    DrawView(width, height);
    return true;
}

void MainGLCanvas_cls::DrawView(int width, int height)
{
    glEnable(GL_DEPTH_TEST);
    const double time = mpFrame->GetTimeCtrl().GetDoubleIndex();
    // With the path in use, view 0 travels with the active path camera (during playback and
    // when the time is set by hand alike), so the export, which asks view 0, follows too.
    if (mpCameraPath != nullptr && mpCameraPath->IsUsePath() && mpCtrl->GetIndex() == 0 &&
        CameraPathGL_cls::MakeCamera(*mpCameraPath, mpCameraPath->GetActiveCamera(), time, mpCtrl->GetCamera()))
        mpCtrl->GetCamera().SetProjection(Camera_cls::kPerspective); // a path camera is a real camera
    const bool looksThrough = mpCameraPath != nullptr && mpCameraPath->IsUsePath() && mpCtrl->GetIndex() == 0;
    const bool showPath =
        mpCameraPath != nullptr && mpCameraPath->IsShowPath() && mpCameraPath->GetCameraNumber() > 0 && !looksThrough;
    const std::array<double, 3> extent = mpFrame->GetVolumeExtent();
    auto drawOne = [&](const Camera_cls& camera, int w, int h) {
        // The volumes of every slot holding data, between the guide box and the axis triad;
        // the path over them, but not in the view that looks through it.
        mpCtrl->DrawWithCamera(camera, w, h, extent, [&] {
            mpFrame->DrawVolumes();
            if (showPath)
                CameraPathGL_cls::Draw(*mpCameraPath, time, static_cast<double>(w) / std::max(h, 1),
                                       0.15 * std::max(extent[0], std::max(extent[1], extent[2])));
        });
    };
    if (mpStereo != nullptr)
        StereoViewGL_cls::Draw(*mpStereo, mpCtrl->GetCamera(), width, height, drawOne, time);
    else
        drawOne(mpCtrl->GetCamera(), width, height);
    const double scale = GuideGL_cls::GetPixelScale();
    const int margin = static_cast<int>(6 * scale);
    DrawLabel(mpCtrl->GetViewName(), margin, static_cast<int>(4 * scale), false, width, height);
    DrawLabel(WStrPrintf("%s %d", Tr("Frame").c_str(), mpFrame->GetCurrentFrame()), width - margin,
              height - static_cast<int>(20 * scale), true, width, height);
}

wxSize MainGLCanvas_cls::GetPixelSize() const
{
    return GetClientSize() * GetContentScaleFactor();
}

bool MainGLCanvas_cls::RenderToImage(int width, int height, wxImage& image, std::wstring* error)
{
    auto fail = [error](const std::wstring& text) {
        if (error != nullptr)
            *error = text;
        return false;
    };
    if (msContext == nullptr || miPaintCount == 0 || !SetCurrent(*msContext))
        return fail(TrW("The view has not been drawn yet."));
    const wxSize screen = GetPixelSize();
    OffscreenFBO_cls fbo;
    if (!fbo.Create(width, height))
        return fail(fbo.GetErrorText());
    // Screen-pixel sizes follow the height, so the picture is the on-screen one, only finer.
    GuideGL_cls::SetPixelScale(screen.y > 0 ? static_cast<double>(height) / screen.y : 1.0);
    DrawView(width, height);
    GuideGL_cls::SetPixelScale(1.0);
    std::vector<uint8_t> rgb;
    const bool read = fbo.ReadRGB(rgb);
    fbo.Release();
    if (!read)
        return fail(TrW("Cannot read the off-screen image."));
    image.Create(width, height, false);
    std::copy(rgb.begin(), rgb.end(), image.GetData());
    return true;
}

void MainGLCanvas_cls::OnPaint(wxPaintEvent&)
{
    wxPaintDC dc(this);
    int w = 0, h = 0;
    if (!Render(w, h))
        return;
    glFlush();
    SwapBuffers();
    ++miPaintCount;
}

void MainGLCanvas_cls::OnSize(wxSizeEvent& event)
{
    Refresh(false);
    event.Skip();
}

bool MainGLCanvas_cls::GrabPixels(std::vector<uint8_t>& rgb, int& width, int& height)
{
    if (!Render(width, height))
        return false;
    glFinish();
    rgb = GuideGL_cls::ReadPixelsRGB(width, height);
    SwapBuffers();
    return true;
}

void MainGLCanvas_cls::OnMouse(wxMouseEvent& event)
{
    const wxPoint p = event.GetPosition();
    if (event.ButtonDown()) {
        SetFocus();
        mpFrame->SetActiveView(mpCtrl->GetIndex());
        GLCanvasCtrl_cls::DragMode mode = GLCanvasCtrl_cls::kDragNone;
        if (event.LeftDown())
            mode = GLCanvasCtrl_cls::kDragOrbit;
        else if (event.RightDown())
            mode = GLCanvasCtrl_cls::kDragZoom;
        else if (event.MiddleDown())
            mode = GLCanvasCtrl_cls::kDragPan;
        if (mode != GLCanvasCtrl_cls::kDragNone) {
            mpCtrl->BeginDrag(mode, p.x, p.y);
            if (!HasCapture())
                CaptureMouse();
        }
    } else if (event.Dragging()) {
        mpCtrl->DragTo(p.x, p.y);
        mpFrame->WakeIdle();
    } else if (event.ButtonUp()) {
        mpCtrl->DragTo(p.x, p.y);
        mpCtrl->EndDrag();
        if (HasCapture())
            ReleaseMouse();
        mpFrame->WakeIdle();
    } else if (event.GetWheelRotation() != 0) {
        mpCtrl->Wheel(event.GetWheelRotation(), event.GetWheelDelta());
        mpFrame->OnViewChanged(mpCtrl->GetIndex());
    }
    event.Skip();
}

void MainGLCanvas_cls::OnCaptureLost(wxMouseCaptureLostEvent&)
{
    mpCtrl->EndDrag();
}

const MainGLCanvas_cls::TextImage& MainGLCanvas_cls::GetTextImage(const std::wstring& text)
{
    auto it = mCTextCache.find(text);
    if (it != mCTextCache.end())
        return it->second;
    if (mCTextCache.size() > 256)
        mCTextCache.clear(); // frame numbers change while playing; keep the cache small
    // White text on black, then the brightness becomes the alpha: anti-aliased edges blend.
    wxFont font = wxSystemSettings::GetFont(wxSYS_DEFAULT_GUI_FONT);
    wxMemoryDC measure;
    measure.SetFont(font);
    const wxSize extent = measure.GetTextExtent(text);
    TextImage img;
    img.miWidth = std::max(extent.x, 1);
    img.miHeight = std::max(extent.y, 1);
    wxBitmap bmp(img.miWidth, img.miHeight, 24);
    {
        wxMemoryDC dc(bmp);
        dc.SetBackground(*wxBLACK_BRUSH);
        dc.Clear();
        dc.SetFont(font);
        dc.SetTextForeground(*wxWHITE);
        dc.DrawText(text, 0, 0);
    }
    const wxImage image = bmp.ConvertToImage();
    img.mvRGBA.resize(size_t(img.miWidth) * img.miHeight * 4);
    const unsigned char* src = image.GetData();
    for (size_t i = 0; i < size_t(img.miWidth) * img.miHeight; ++i) {
        img.mvRGBA[i * 4 + 0] = 255;
        img.mvRGBA[i * 4 + 1] = 255;
        img.mvRGBA[i * 4 + 2] = 220;
        img.mvRGBA[i * 4 + 3] = src[i * 3 + 1];
    }
    return mCTextCache.emplace(text, std::move(img)).first->second;
}

void MainGLCanvas_cls::DrawLabel(const std::wstring& text, int x, int y, bool alignRight, int viewWidth, int viewHeight)
{
    const TextImage& img = GetTextImage(text);
    const int shownWidth = static_cast<int>(img.miWidth * GuideGL_cls::GetPixelScale());
    GuideGL_cls::DrawImageAt(img.mvRGBA, img.miWidth, img.miHeight, alignRight ? x - shownWidth : x, y, viewWidth,
                             viewHeight);
}
