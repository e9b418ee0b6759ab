#pragma once
// The window's commands for the stereogram, off-screen pictures and the camera path: the
// "Stereogram View" (the extra view window showing the pair), the stereo settings dialog,
// "Save View as Image..." at any size, looking through and showing the camera path, and the
// single-view picture the command line asks for. Kept apart from the main window so that the
// window only creates it and forwards two calls.
#include <wx/event.h>

#include <string>

class FrameMain_cls;
class Main_cls;
class wxImage;

class StereoViewGUI_cls : public wxEvtHandler
{
  public:
    /// Binds the View menu commands on `frame`; both must outlive this object.
    StereoViewGUI_cls(FrameMain_cls* frame, Main_cls* main);
    /// Takes the settings listener off the stereogram, which outlives this object.
    ~StereoViewGUI_cls() override;

    /// Shows (or hides) the extra view window as a stereo pair; switching on with the mode
    /// off chooses side-by-side parallel.
    void SetStereoView(bool on);
    /// True while the stereogram view is shown (the playback step asks).
    bool IsStereoView() const { return mbStereoView; }
    /// Puts the menu's check marks in line with the settings (after a project was read).
    void UpdateMenu();

    /// The command line's single-view picture: the active view (the stereogram view when
    /// shown) saved as PNG to `path`; scale > 1 or `offscreen` draws it off-screen at scale
    /// times its size on screen.
    void SetViewShot(const std::wstring& path, int scale, bool offscreen);
    /// As SetViewShot, at a fixed size (always off-screen): the screenshot asked larger than
    /// the screen lets the window become.
    void SetViewShotSize(const std::wstring& path, int width, int height);
    bool HasViewShot() const { return !mStrViewShot.empty(); }
    /// Takes the single-view picture; prints the path (true) or a message to stderr (false).
    bool TakeViewShot();

    /// The active view at width x height: off-screen when possible; where the driver cannot,
    /// the view's on-screen picture and a message in `note`. False when nothing could be drawn.
    bool GrabActiveView(int width, int height, wxImage& image, std::wstring& note);

  private:
    void OnStereoView(wxCommandEvent& event);
    void OnStereoSettings(wxCommandEvent& event);
    void OnSaveViewImage(wxCommandEvent& event);
    void OnUseCameraPath(wxCommandEvent& event);
    void OnShowCameraPath(wxCommandEvent& event);
    void Check(int id, bool on);
    /// The views and the menu after the settings changed (edit, undo, redo).
    void FollowSettings();

    FrameMain_cls* mpFrame;
    Main_cls* mpMain;
    bool mbStereoView = false;
    std::wstring mStrViewShot;
    int miViewShotScale = 1;
    bool mbViewShotOffscreen = false;
    int miViewShotWidth = 0; ///< fixed size, 0: scale times the view's size
    int miViewShotHeight = 0;
};
