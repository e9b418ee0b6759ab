// The wxWidgets application shell (the full main window is built on top of this frame).
#include <wx/wx.h>

namespace {

class FrameMain_cls : public wxFrame {
public:
    FrameMain_cls() : wxFrame(nullptr, wxID_ANY, wxT("Kivrel Tessan v 0.778"), wxDefaultPosition, wxSize(1024, 768))
    {
        CreateStatusBar(3);
        SetStatusText(wxT("Powered by wxWidgets"), 0);
    }
};

class MyApp : public wxApp {
public:
    bool OnInit() override
    {
        auto* frame = new FrameMain_cls();
        frame->Show(true);
        SetTopWindow(frame);
        return true;
    }
};

} // namespace

wxIMPLEMENT_APP(MyApp);
