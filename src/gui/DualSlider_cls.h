#pragma once
// A range slider of the widget kit: one track with a low and a high thumb, for a pair of settings
// that form a window (input and output windows, clipping extents). The thumbs follow the mouse
// while dragged; the new pair is handed on once, when the button is released. A label and the
// two values are drawn on the control itself.
#include <functional>
#include <string>

#include <wx/control.h>

class DualSlider_cls : public wxControl
{
  public:
    /// Called with the new low and high values after a drag (never for SetValues).
    using ChangeFunc = std::function<void(double, double)>;
    /// Pixels between the control's edge and the ends of the track.
    static constexpr int kMargin = 8;

    /// The range [min, max]; label drawn above the track (translated by the caller). GUI thread.
    DualSlider_cls(wxWindow* parent, const std::wstring& label, double min, double max);
    /// Shows the pair without calling the change function. A pair with low above high is shown
    /// as it is (an inverted window is a legal setting).
    void SetValues(double low, double high);
    double GetLow() const { return mdLow; }
    double GetHigh() const { return mdHigh; }
    void SetChangeFunc(ChangeFunc func) { mOnChange = std::move(func); }
    /// Screen x of a value on the track (for the state report and tests).
    int ValueToScreenX(double value) const;
    /// Screen y of the track's middle.
    int TrackScreenY() const;

  protected:
    wxSize DoGetBestClientSize() const override;

  private:
    void OnPaint(wxPaintEvent& event);
    void OnMouse(wxMouseEvent& event);
    int TrackWidth() const;

    std::wstring mStrLabel;
    double mdMin;
    double mdMax;
    double mdLow = 0.0;
    double mdHigh = 1.0;
    int miDragging = -1;
    ChangeFunc mOnChange;
};
