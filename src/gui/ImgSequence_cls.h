#pragma once
// Image-sequence export of the preview (File > Export > "Image sequence…"): every frame of the
// clock's working area, one step apart, is brought up in full in every data slot, drawn in the
// active view and saved as a numbered PNG file. The number of a frame's image is the clock's
// GetOffsetForImgSeq() (0 for the working area's first frame). One image per idle pass, so the
// window and the progress window's Stop button stay live; existing files are never replaced.
#include <wx/event.h>

#include <string>
#include <vector>

class FrameMain_cls;
class Main_cls;
class SeqExportProgressGUI_cls;

class ImgSequence_cls : public wxEvtHandler
{
  public:
    /// Binds the menu entry and an idle handler on `frame` (both not owned; frame outlives this).
    ImgSequence_cls(FrameMain_cls* frame, Main_cls* main);
    ~ImgSequence_cls() override;

    /// Starts writing the working area as PNG files named by `pattern` (one integer conversion,
    /// "%%" for a percent sign). False, with a message, when a name is unusable or taken, or
    /// nothing is loaded. GUI thread.
    bool Start(const std::wstring& pattern);
    /// Ends the export after the current image (as the Stop button does).
    void Stop();
    bool IsRunning() const { return mbRunning; }

    /// The name pattern for a file name the user chose: its trailing digits (at least four)
    /// become the number, "%" is kept literally; without an extension `defaultExt` is added.
    /// "/a/shot_0000.png" -> "/a/shot_%04d.png", "/a/shot.png" -> "/a/shot_%04d.png".
    static std::wstring PatternFromName(const std::wstring& chosen, const std::wstring& defaultExt);
    /// The base name a chosen file name stands for: its stem without the trailing number and
    /// the separator before it ("/a/shot_0007.png" -> "shot").
    static std::wstring BaseNameFromPath(const std::wstring& chosen);
    /// Moves the sequence-export entries of the File menu into its "Export" submenu.
    static void BuildExportSubmenu(class wxMenuBar* bar);

  private:
    void OnMenu(wxCommandEvent& event);
    void OnIdle(wxIdleEvent& event);
    /// Writes the next image; false when the export ended (done, stopped or failed).
    bool Step();
    void Finish(const std::wstring& error);

    FrameMain_cls* mpFrame;
    Main_cls* mpMain;
    SeqExportProgressGUI_cls* mpProgress = nullptr;
    std::vector<int> mviFrames;
    std::vector<std::wstring> mvStrNames; ///< by image number
    size_t muPos = 0;
    int miFrameBefore = 0;
    bool mbRunning = false;
    bool mbStopRequested = false;
};
