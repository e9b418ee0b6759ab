#pragma once
// The "Preview Property" panel: every drawing setting of the slice-stack preview with its choice
// texts, editing the one PreviewProperty_cls. Each change is one undo step (a slider drag: one
// step at the release, the views following the drag at once) and announced, so the views redraw; "[+]Shade Settings"
// folds the shading group.
#include <functional>
#include <string>
#include <vector>

#include <wx/panel.h>

class PreviewProperty_cls;
class wxButton;
class wxCheckBox;
class wxChoice;
class wxSizer;
class wxSlider;
class wxTextCtrl;

class PreviewPropertyGUI_cls : public wxPanel
{
  public:
    /// Slider positions per setting range (the value is kept exactly; the slider is a guide).
    static constexpr int kSliderSteps = 1000;

    /// A float setting shown as a slider with a value box.
    struct FloatDef {
        const wchar_t* mpKey; ///< configuration key ("PreviewLuminanceFactor=")
        const char* mpLabel;  ///< slider label msgid ("Luminance Factor")
        float mfMin;          ///< slider range
        float mfMax;
        bool mbShadeGroup; ///< inside the folding shade group
    };
    /// A choice setting: its key, label and texts (index = stored value unless mvuValue is set).
    struct ChoiceDef {
        const wchar_t* mpKey;
        const char* mpLabel;
        std::vector<const char*> mvText;
        std::vector<unsigned> mvuValue; ///< stored value of each entry (empty: the index)
        int miFallback;                 ///< entry shown for a value no entry stores (-1: none)
        bool mbShadeGroup;
    };

    /// The float settings, in panel order.
    static const std::vector<FloatDef>& FloatDefs();
    /// The choice settings, in panel order.
    static const std::vector<ChoiceDef>& ChoiceDefs();
    /// Slider position of a value in [min, max] (clamped to 0..kSliderSteps).
    static int SliderPos(float value, float min, float max);
    /// Value of a slider position.
    static float SliderValue(int pos, float min, float max);
    /// Entry of `def` showing the stored value (its fallback when no entry stores it).
    static int ChoiceIndexOf(const ChoiceDef& def, unsigned value);

    /// property: the settings edited (not owned; outlives the panel). GUI thread.
    PreviewPropertyGUI_cls(wxWindow* parent, PreviewProperty_cls* property);

    /// Called after every change of a setting (the views redraw).
    void SetChangeListener(std::function<void()> listener) { mOnChanged = std::move(listener); }
    /// Every widget from the settings (after a file was read).
    void UpdateFromProperty();
    /// Folds (true) or unfolds the shading group.
    void SetShadeFolded(bool folded);
    bool IsShadeFolded() const { return mbShadeFolded; }
    /// What the widgets show, one "key=shown text" line each (choices by their text, floats by
    /// the value box), plus the fold state: for the state report.
    std::wstring DescribeWidgets() const;
    /// Where the widgets are on the screen, one "ppw.key=x y width height shown" line each (and
    /// "ppw.fold=" for the fold button), so that unattended runs can point at them.
    std::wstring DescribeWidgetPlaces() const;

  private:
    void OnChoice(size_t index);
    void OnSlider(size_t index);
    void OnSliderReleased(size_t index);
    void ShowFloat(size_t index);
    void OnValueText(size_t index);
    void SetFloat(size_t index, float value);
    void Changed();

    PreviewProperty_cls* mpProperty;
    std::function<void()> mOnChanged;
    bool mbShadeFolded = true;
    bool mbUpdating = false;
    std::vector<wxChoice*> mvChoice;  ///< parallel to ChoiceDefs()
    std::vector<wxSlider*> mvSlider;  ///< parallel to FloatDefs()
    std::vector<wxTextCtrl*> mvValue; ///< parallel to FloatDefs()
    std::vector<std::wstring> mvDragStart =
        std::vector<std::wstring>(FloatDefs().size()); ///< value text where a drag began
    wxCheckBox* mp3DTexture = nullptr;
    wxButton* mpFoldButton = nullptr;
    wxSizer* mpShadeSizer = nullptr;
};
