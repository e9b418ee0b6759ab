#pragma once
// View > "Drawing Blocks...": one dialog for how the volume boxes are drawn — whether they are
// divided into sub-boxes and by which rule (levels, thinnest half, empty level), and each data
// slot's colour and alpha factors. OK applies the settings to the models (the block-tree rule,
// every slot's drawing block, the texture settings) and repaints the views; Cancel changes
// nothing. The settings travel with the project.
#include <wx/event.h>

class FrameMain_cls;
class Main_cls;

class DrawingBlockGUI_cls : public wxEvtHandler
{
  public:
    /// Binds the menu entry on `frame` (not owned; the frame outlives this object).
    DrawingBlockGUI_cls(FrameMain_cls* frame, Main_cls* main);
    ~DrawingBlockGUI_cls() override;

  private:
    void OnMenu(wxCommandEvent& event);

    FrameMain_cls* mpFrame;
    Main_cls* mpMain;
};
