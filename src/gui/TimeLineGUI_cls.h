#pragma once
// The time-line panel of the scene clock: play, stop and step buttons, the frame slider and frame
// box, the scene length, step, working area, repeat and play wait, the choice of the parameter
// set whose keys are shown, and the key track with add, delete, copy and paste. Every key edit
// goes through the undo history (a drag is one step); the panel follows the clock through its
// listeners and the history through its change notice.
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <wx/panel.h>

class KeyTrackCanvas_cls;
class Parameters_cls;
class TimeCtrl_cls;
class UndoManager_cls;
class wxButton;
class wxCheckBox;
class wxChoice;
class wxSlider;
class wxSpinCtrl;
class wxSpinEvent;
class wxStaticText;

class TimeLineGUI_cls : public wxPanel
{
  public:
    /// A parameter set offered in the set choice: the name shown and the set (not owned).
    using NamedSet = std::pair<std::wstring, Parameters_cls*>;

    /// clock: the scene clock (not owned; outlives the panel). GUI thread.
    TimeLineGUI_cls(wxWindow* parent, TimeCtrl_cls* clock);
    ~TimeLineGUI_cls() override;

    /// The sets offered in the choice, in order; the first is shown.
    void SetParameterSets(std::vector<NamedSet> sets);
    /// Shows the set called `name`; false when there is none.
    bool SelectSet(const std::wstring& name);
    /// The set shown on the track (null when none).
    Parameters_cls* GetShownSet() const;
    /// The name shown in the set choice.
    std::wstring GetShownSetName() const;
    /// The key track (for tests and the state report).
    const KeyTrackCanvas_cls& GetTrack() const { return *mpTrack; }

    /// Every widget from the clock (after a file was read or the clock changed).
    void UpdateFromClock();
    /// Redraws the keys and the key information (after undo, redo or a selection change).
    void RefreshKeys();
    /// Called whenever the play state changes (to wake the idle loop, update menus).
    void SetPlayStateListener(std::function<void()> listener) { mOnPlayState = std::move(listener); }

    // --- commands (the Animation and Edit menus call these too) ------------------------------
    /// Starts playing forward from the current frame.
    void Play();
    /// Stops playing.
    void StopPlay();
    /// Play when stopped, stop when playing.
    void TogglePlay();
    /// One step forward (1) or back (-1) within the working area; stops playing first.
    void Step(int direction);
    /// To the first (false) or last (true) frame of the working area.
    void GoToEnd(bool last);
    /// Keys the shown set at the current frame with its value there (switching the set to
    /// animated first when it is not). One undo step. False when there is no set.
    bool AddKey();
    /// Deletes the selected keys, else the key at the current frame. One undo step.
    bool DeleteKeys();
    /// Moves the selected keys by whole frames. One undo step named "Move Keys".
    bool MoveSelectedKeys(int frames);
    /// Copies the selected keys to the clipboard as text. False (with a status message) when
    /// no key is selected or the clipboard cannot be opened.
    bool CopyKeys();
    /// Pastes keys from the clipboard so that the first lands on the current frame. One undo
    /// step. False (with a status message) when the clipboard holds no keys of this set's size.
    bool PasteKeys();

    // --- what the widgets show (state report) -----------------------------------------------
    int GetSliderValue() const;
    int GetFrameBoxValue() const;
    /// The text of the key information line.
    std::wstring GetInfoText() const;
    /// Where the input widgets are on the screen, one "tlw.name=x y width height" line each, so
    /// that unattended runs can point at them.
    std::wstring DescribeWidgetPlaces() const;

  private:
    void BuildWidgets();
    void OnSetChoice(wxCommandEvent& event);
    void OnSlider(wxCommandEvent& event);
    void OnFrameBox(wxSpinEvent& event);
    void OnLength(wxSpinEvent& event);
    void OnStep(wxSpinEvent& event);
    void OnWorkingArea(wxSpinEvent& event);
    void OnWait(wxSpinEvent& event);
    void OnRepeat(wxCommandEvent& event);
    void SetFrame(int frame);
    void AfterClockEdit();
    void UpdateInfo();
    void NotifyPlayState();

    TimeCtrl_cls* mpClock;
    std::vector<NamedSet> mvSets;
    std::function<void()> mOnPlayState;
    int miTimeListener = 0;
    int miFrameBoxListener = 0;
    bool mbUpdating = false; ///< widgets are being set from the clock: ignore their events

    wxButton* mpPlay = nullptr;
    wxButton* mpStop = nullptr;
    wxSlider* mpSlider = nullptr;
    wxSpinCtrl* mpFrameBox = nullptr;
    wxSpinCtrl* mpLength = nullptr;
    wxSpinCtrl* mpStep = nullptr;
    wxSpinCtrl* mpWAMin = nullptr;
    wxSpinCtrl* mpWAMax = nullptr;
    wxSpinCtrl* mpWait = nullptr;
    wxCheckBox* mpRepeat = nullptr;
    wxChoice* mpSetChoice = nullptr;
    wxStaticText* mpInfo = nullptr;
    KeyTrackCanvas_cls* mpTrack = nullptr;
};
