#pragma once
// The OpenGL canvas of one view. All canvases share one GL context (textures made for one view
// are drawn in every view). The canvas turns mouse events into calls on its view controller and
// draws through it; labels (view name, frame number) are rasterised by wx and drawn as pixels.
#include <wx/glcanvas.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

class CameraPathCtrl_cls;
class GLCanvasCtrl_cls;
class FrameMain_cls;
class LineStream_cls;
class ViewAnchor_cls;
class StereoGram_cls;
class wxImage;

class MainGLCanvas_cls : public wxGLCanvas
{
  public:
    /// Creates the canvas for `ctrl` (not owned) inside `parent`; `frame` receives activity
    /// notices (which view is active, that a drag started).
    MainGLCanvas_cls(wxWindow* parent, GLCanvasCtrl_cls* ctrl, FrameMain_cls* frame);
    ~MainGLCanvas_cls() override;

    /// The view controller drawn by this canvas.
    GLCanvasCtrl_cls* GetCtrl() const { return mpCtrl; }
    /// Number of completed paints (the screenshot waits for every visible view to have one).
    int GetPaintCount() const { return miPaintCount; }
    /// Draws the view now and reads its pixels (RGB rows top to bottom). False when the canvas
    /// is not shown or has no size.
    bool GrabPixels(std::vector<uint8_t>& rgb, int& width, int& height);
    /// The GL version of the shared context, read at the first paint (0.0 before).
    static void GetGLVersion(int& major, int& minor);
    /// Makes the shared context current on this canvas (texture work outside a paint). False
    /// when there is no context yet or the canvas has never painted.
    bool MakeContextCurrent();
    /// Frees the shared context (when the last canvas is gone).
    static void ReleaseContext();
    /// Draws the view as a stereo pair in the stereogram's mode (null or mode off: mono). Not
    /// owned.
    void SetStereoGram(const StereoGram_cls* stereo) { mpStereo = stereo; }
    const StereoGram_cls* GetStereoGram() const { return mpStereo; }
    /// The camera path drawn in this view when it is to be shown; with "use path" on, view 0
    /// looks through the active path camera. Not owned; null: no path.
    void SetCameraPath(CameraPathCtrl_cls* path) { mpCameraPath = path; }
    /// Draws the view off-screen at width x height pixels (any size up to the driver's limit,
    /// also larger than the window) with the same picture as on screen: sizes in screen pixels
    /// (guides, labels) grow with the height. False, with a message in `error`, when the canvas
    /// cannot draw or the driver has no framebuffer objects.
    bool RenderToImage(int width, int height, wxImage& image, std::wstring* error = nullptr);
    /// The size the view has on screen, in pixels.
    wxSize GetPixelSize() const;

    /// The view anchor shared by every canvas: the point all views orbit around. GUI thread.
    static ViewAnchor_cls& GetAnchor();
    /// The anchor's project block ("--AnchorPos").
    static std::wstring SerializeAnchor();
    /// Reads the anchor's block or line; false for any other line.
    static bool ReadAnchor(LineStream_cls& stream, const std::wstring& line);

  private:
    void OnPaint(wxPaintEvent& event);
    void OnSize(wxSizeEvent& event);
    void OnMouse(wxMouseEvent& event);
    void OnCaptureLost(wxMouseCaptureLostEvent& event);
    bool Render(int& width, int& height);
    /// Everything of one paint into the current framebuffer of width x height pixels.
    void DrawView(int width, int height);
    void DrawLabel(const std::wstring& text, int x, int y, bool alignRight, int viewWidth, int viewHeight);

    struct TextImage {
        int miWidth = 0, miHeight = 0;
        std::vector<uint8_t> mvRGBA;
    };
    const TextImage& GetTextImage(const std::wstring& text);

    GLCanvasCtrl_cls* mpCtrl;
    FrameMain_cls* mpFrame;
    int miPaintCount = 0;
    const StereoGram_cls* mpStereo = nullptr;
    CameraPathCtrl_cls* mpCameraPath = nullptr;
    std::map<std::wstring, TextImage> mCTextCache;
    static wxGLContext* msContext;
    static int msGLMajor, msGLMinor;
    wxDECLARE_EVENT_TABLE();
};
