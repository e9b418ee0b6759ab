// Sections: construction and layout; clock to widgets; widget events; play and step commands;
// key commands (add, delete, move, copy, paste).
#include "gui/TimeLineGUI_cls.h"

#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "gui/KeyTrackCanvas_cls.h"

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/clipbrd.h>
#include <wx/dataobj.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/stattext.h>
#include <wx/wrapsizer.h>

#include <algorithm>
#include <limits>

namespace
{
/// Frames a scene may be long: far above any series on disk, and five digits keep the boxes
/// narrow (the toolkit sizes a spin box by the digits of its range).
constexpr int kMaxSceneLength = 99999;

wxSpinCtrl* MakeSpin(wxWindow* parent, int min, int max)
{
    return new wxSpinCtrl(parent, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize,
                          wxSP_ARROW_KEYS | wxTE_PROCESS_ENTER, min, max, min);
}
} // namespace

// --- construction and layout -------------------------------------------------------------------

TimeLineGUI_cls::TimeLineGUI_cls(wxWindow* parent, TimeCtrl_cls* clock) : wxPanel(parent, wxID_ANY), mpClock(clock)
{
    BuildWidgets();
    miTimeListener = mpClock->AddTimeListener([this](const TimeCtrl_cls::TimeData&) { UpdateFromClock(); });
    miFrameBoxListener = mpClock->AddFrameBoxListener([this](int frame) {
        mbUpdating = true;
        mpFrameBox->SetValue(frame);
        mbUpdating = false;
    });
    UpdateFromClock();
}

TimeLineGUI_cls::~TimeLineGUI_cls()
{
    mpClock->RemoveListener(miTimeListener);
    mpClock->RemoveListener(miFrameBoxListener);
}

void TimeLineGUI_cls::BuildWidgets()
{
    auto* top = new wxBoxSizer(wxVERTICAL);

    // Row 1: transport, frame box, frame slider.
    auto* row1 = new wxBoxSizer(wxHORIZONTAL);
    struct ButtonDef {
        const char* mpLabel;
        const char* mpTip;
        std::function<void()> mAction;
    };
    const ButtonDef buttons[] = {
        {"|<", "First frame of the working area", [this] { GoToEnd(false); }},
        {"<", "One step back", [this] { Step(-1); }},
        {"Play", "Play from the current frame", [this] { Play(); }},
        {"Stop", "Stop playing", [this] { StopPlay(); }},
        {">", "One step forward", [this] { Step(1); }},
        {">|", "Last frame of the working area", [this] { GoToEnd(true); }},
    };
    for (const ButtonDef& def : buttons) {
        auto* button = new wxButton(this, wxID_ANY, TrW(def.mpLabel), wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
        button->SetToolTip(TrW(def.mpTip));
        // Clicking must not take the keyboard focus: Space and the arrows stay the play keys.
        button->SetCanFocus(false);
        const std::function<void()> action = def.mAction;
        button->Bind(wxEVT_BUTTON, [action](wxCommandEvent&) { action(); });
        row1->Add(button, 0, wxRIGHT | wxALIGN_CENTER_VERTICAL, 2);
        if (std::string(def.mpLabel) == "Play")
            mpPlay = button;
        else if (std::string(def.mpLabel) == "Stop")
            mpStop = button;
    }
    row1->Add(new wxStaticText(this, wxID_ANY, TrW("Frame")), 0, wxLEFT | wxRIGHT | wxALIGN_CENTER_VERTICAL, 6);
    mpFrameBox = MakeSpin(this, 0, kMaxSceneLength);
    mpFrameBox->Bind(wxEVT_SPINCTRL, &TimeLineGUI_cls::OnFrameBox, this);
    row1->Add(mpFrameBox, 0, wxALIGN_CENTER_VERTICAL);
    mpSlider = new wxSlider(this, wxID_ANY, 0, 0, 1, wxDefaultPosition, wxDefaultSize, wxSL_HORIZONTAL);
    mpSlider->Bind(wxEVT_SLIDER, &TimeLineGUI_cls::OnSlider, this);
    row1->Add(mpSlider, 1, wxLEFT | wxALIGN_CENTER_VERTICAL, 6);
    top->Add(row1, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, 4);

    // Row 2: scene length, step, working area, repeat, wait; set choice and key buttons.
    // Rows 2 and 3 wrap on a narrow window rather than cutting their last controls off.
    auto* row2 = new wxWrapSizer(wxHORIZONTAL);
    auto label = [this, row2](const char* text) {
        row2->Add(new wxStaticText(this, wxID_ANY, TrW(text)), 0, wxLEFT | wxRIGHT | wxALIGN_CENTER_VERTICAL, 4);
    };
    label("Length");
    mpLength = MakeSpin(this, 0, kMaxSceneLength);
    mpLength->SetToolTip(TrW("Scene length: the last frame number"));
    mpLength->Bind(wxEVT_SPINCTRL, &TimeLineGUI_cls::OnLength, this);
    row2->Add(mpLength, 0, wxALIGN_CENTER_VERTICAL);
    label("Step");
    mpStep = MakeSpin(this, 1, kMaxSceneLength);
    mpStep->Bind(wxEVT_SPINCTRL, &TimeLineGUI_cls::OnStep, this);
    row2->Add(mpStep, 0, wxALIGN_CENTER_VERTICAL);
    label("Work area");
    mpWAMin = MakeSpin(this, 0, kMaxSceneLength);
    mpWAMax = MakeSpin(this, 0, kMaxSceneLength);
    mpWAMin->SetToolTip(TrW("First frame of the working area"));
    mpWAMax->SetToolTip(TrW("Last frame of the working area"));
    mpWAMin->Bind(wxEVT_SPINCTRL, &TimeLineGUI_cls::OnWorkingArea, this);
    mpWAMax->Bind(wxEVT_SPINCTRL, &TimeLineGUI_cls::OnWorkingArea, this);
    row2->Add(mpWAMin, 0, wxALIGN_CENTER_VERTICAL);
    row2->Add(mpWAMax, 0, wxLEFT | wxALIGN_CENTER_VERTICAL, 2);
    mpRepeat = new wxCheckBox(this, wxID_ANY, TrW("Repeat"));
    mpRepeat->Bind(wxEVT_CHECKBOX, &TimeLineGUI_cls::OnRepeat, this);
    row2->Add(mpRepeat, 0, wxLEFT | wxALIGN_CENTER_VERTICAL, 8);
    row2->Add(new wxStaticText(this, wxID_ANY, TimeCtrl_cls::GetWaitLabel()), 0,
              wxLEFT | wxRIGHT | wxALIGN_CENTER_VERTICAL, 4);
    mpWait = MakeSpin(this, 0, 60000);
    mpWait->Bind(wxEVT_SPINCTRL, &TimeLineGUI_cls::OnWait, this);
    row2->Add(mpWait, 0, wxALIGN_CENTER_VERTICAL);
    top->Add(row2, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, 4);

    // Row 3: the parameter set and its keys.
    auto* row3 = new wxWrapSizer(wxHORIZONTAL);
    row3->Add(new wxStaticText(this, wxID_ANY, TrW("Keys of")), 0, wxLEFT | wxRIGHT | wxALIGN_CENTER_VERTICAL, 4);
    mpSetChoice = new wxChoice(this, wxID_ANY);
    mpSetChoice->Bind(wxEVT_CHOICE, &TimeLineGUI_cls::OnSetChoice, this);
    row3->Add(mpSetChoice, 0, wxALIGN_CENTER_VERTICAL);
    const ButtonDef keyButtons[] = {
        {"Add Key", "Key the shown parameter set at the current frame", [this] { AddKey(); }},
        {"Delete Key", "Delete the selected keys (or the key at the current frame)", [this] { DeleteKeys(); }},
        {"Copy Keys", "Copy the selected keys to the clipboard", [this] { CopyKeys(); }},
        {"Paste Keys", "Paste keys from the clipboard at the current frame", [this] { PasteKeys(); }},
    };
    for (const ButtonDef& def : keyButtons) {
        auto* button = new wxButton(this, wxID_ANY, TrW(def.mpLabel), wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
        button->SetToolTip(TrW(def.mpTip));
        // Clicking must not take the keyboard focus: Space and the arrows stay the play keys.
        button->SetCanFocus(false);
        const std::function<void()> action = def.mAction;
        button->Bind(wxEVT_BUTTON, [action](wxCommandEvent&) { action(); });
        row3->Add(button, 0, wxLEFT | wxALIGN_CENTER_VERTICAL, 4);
    }
    mpInfo = new wxStaticText(this, wxID_ANY, L"", wxDefaultPosition, wxDefaultSize, wxST_ELLIPSIZE_END);
    mpInfo->SetMinSize(wxSize(260, -1));
    row3->Add(mpInfo, 1, wxLEFT | wxALIGN_CENTER_VERTICAL, 8);
    top->Add(row3, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, 4);

    // Row 4: the key track.
    mpTrack = new KeyTrackCanvas_cls(this, mpClock);
    KeyTrackCanvas_cls::Actions actions;
    actions.mSetFrame = [this](int frame) { SetFrame(frame); };
    actions.mMoveSelected = [this](int frames) { MoveSelectedKeys(frames); };
    actions.mDeleteSelected = [this] { DeleteKeys(); };
    actions.mSelectionChanged = [this] { UpdateInfo(); };
    mpTrack->SetActions(std::move(actions));
    top->Add(mpTrack, 0, wxEXPAND | wxALL, 4);
    SetSizer(top);
}

void TimeLineGUI_cls::SetParameterSets(std::vector<NamedSet> sets)
{
    mvSets = std::move(sets);
    mpSetChoice->Clear();
    for (const NamedSet& s : mvSets)
        mpSetChoice->Append(s.first);
    if (!mvSets.empty())
        mpSetChoice->SetSelection(0);
    mpTrack->SetParameters(GetShownSet());
    UpdateInfo();
    Layout();
}

bool TimeLineGUI_cls::SelectSet(const std::wstring& name)
{
    for (size_t i = 0; i < mvSets.size(); ++i) {
        if (mvSets[i].first == name) {
            mpSetChoice->SetSelection(static_cast<int>(i));
            mpTrack->SetParameters(mvSets[i].second);
            UpdateInfo();
            return true;
        }
    }
    return false;
}

Parameters_cls* TimeLineGUI_cls::GetShownSet() const
{
    const int i = mpSetChoice->GetSelection();
    if (i < 0 || i >= static_cast<int>(mvSets.size()))
        return nullptr;
    Parameters_cls* p = mvSets[static_cast<size_t>(i)].second;
    return Parameters_cls::IsLive(p) ? p : nullptr;
}

std::wstring TimeLineGUI_cls::GetShownSetName() const
{
    return mpSetChoice->GetStringSelection().ToStdWstring();
}

// --- clock to widgets --------------------------------------------------------------------------

void TimeLineGUI_cls::UpdateFromClock()
{
    mbUpdating = true;
    const int length = mpClock->GetMaxFrame();
    const int aaMin = mpClock->GetAAMin(), aaMax = mpClock->GetAAMax();
    // A slider needs a range of at least one; a one-frame area is shown disabled.
    mpSlider->SetRange(aaMin, std::max(aaMax, aaMin + 1));
    mpSlider->Enable(aaMax > aaMin);
    mpSlider->SetValue(mpClock->GetIndex());
    mpFrameBox->SetRange(0, std::max(length, 0));
    mpFrameBox->SetValue(mpClock->GetIndex());
    mpLength->SetValue(length);
    mpStep->SetValue(mpClock->GetStep());
    mpWAMin->SetRange(0, std::max(length, 0));
    mpWAMax->SetRange(0, std::max(length, 0));
    mpWAMin->SetValue(mpClock->GetWAMin());
    mpWAMax->SetValue(mpClock->GetWAMax());
    mpRepeat->SetValue(mpClock->IsRepeat());
    mpWait->SetValue(static_cast<int>(std::min<unsigned>(mpClock->GetWaitMs(), 60000)));
    mpPlay->Enable(!mpClock->IsPlaying());
    mpStop->Enable(mpClock->IsPlaying());
    mbUpdating = false;
    mpTrack->Refresh(false);
    UpdateInfo();
}

void TimeLineGUI_cls::RefreshKeys()
{
    mpTrack->Refresh(false);
    UpdateInfo();
}

void TimeLineGUI_cls::UpdateInfo()
{
    const Parameters_cls* p = GetShownSet();
    if (p == nullptr) {
        mpInfo->SetLabel(L"");
        return;
    }
    std::vector<double> values(p->GetDimension());
    p->Evaluate(mpClock->GetDoubleIndex(), 0.0, values.data());
    std::wstring text = WStrPrintf(Tr("%d keys, %d selected").c_str(), p->GetKeyNumber(), p->GetSelectedKeyNum());
    if (!p->IsTimeDependent())
        text += L" (" + TrW("not animated") + L")";
    text += L"; " + TrW("value:");
    for (double v : values)
        text += WStrPrintf(" %.4g", v);
    mpInfo->SetLabel(text);
}

std::wstring TimeLineGUI_cls::GetInfoText() const
{
    return mpInfo->GetLabel().ToStdWstring();
}

int TimeLineGUI_cls::GetSliderValue() const
{
    return mpSlider->GetValue();
}

int TimeLineGUI_cls::GetFrameBoxValue() const
{
    return mpFrameBox->GetValue();
}

std::wstring TimeLineGUI_cls::DescribeWidgetPlaces() const
{
    std::wstring text;
    const std::pair<const char*, const wxWindow*> widgets[] = {
        {"framebox", mpFrameBox}, {"slider", mpSlider}, {"length", mpLength}, {"step", mpStep},
        {"wamin", mpWAMin},       {"wamax", mpWAMax},   {"repeat", mpRepeat}, {"set", mpSetChoice},
    };
    for (const auto& [name, w] : widgets) {
        const wxPoint at = w->IsShownOnScreen() ? w->GetScreenPosition() : wxPoint(0, 0);
        text += WStrPrintf("tlw.%s=%d %d %d %d\n", name, at.x, at.y, w->GetSize().x, w->GetSize().y);
    }
    return text;
}

// --- widget events -----------------------------------------------------------------------------

void TimeLineGUI_cls::SetFrame(int frame)
{
    if (frame != mpClock->GetIndex())
        mpClock->SetIndex(frame);
}

void TimeLineGUI_cls::AfterClockEdit()
{
    mpClock->CheckWorkingArea();
    mpClock->DispatchTimeData();
}

void TimeLineGUI_cls::OnSetChoice(wxCommandEvent&)
{
    mpTrack->SetParameters(GetShownSet());
    UpdateInfo();
}

void TimeLineGUI_cls::OnSlider(wxCommandEvent&)
{
    if (!mbUpdating)
        SetFrame(mpSlider->GetValue());
}

void TimeLineGUI_cls::OnFrameBox(wxSpinEvent&)
{
    if (!mbUpdating)
        SetFrame(mpFrameBox->GetValue());
}

void TimeLineGUI_cls::OnLength(wxSpinEvent&)
{
    if (mbUpdating)
        return;
    mpClock->SetMaxFrame(mpLength->GetValue());
    AfterClockEdit();
}

void TimeLineGUI_cls::OnStep(wxSpinEvent&)
{
    if (mbUpdating)
        return;
    mpClock->SetStep(mpStep->GetValue());
    AfterClockEdit();
}

void TimeLineGUI_cls::OnWorkingArea(wxSpinEvent&)
{
    if (mbUpdating)
        return;
    // A reversed pair is swapped by the range repair, not rejected.
    mpClock->SetWA(mpWAMin->GetValue(), mpWAMax->GetValue());
    AfterClockEdit();
}

void TimeLineGUI_cls::OnWait(wxSpinEvent&)
{
    if (!mbUpdating)
        mpClock->SetWaitMs(static_cast<unsigned>(std::max(mpWait->GetValue(), 0)));
}

void TimeLineGUI_cls::OnRepeat(wxCommandEvent&)
{
    if (!mbUpdating)
        mpClock->SetRepeat(mpRepeat->GetValue());
}

// --- play and step commands --------------------------------------------------------------------

void TimeLineGUI_cls::NotifyPlayState()
{
    mpPlay->Enable(!mpClock->IsPlaying());
    mpStop->Enable(mpClock->IsPlaying());
    if (mOnPlayState)
        mOnPlayState();
}

void TimeLineGUI_cls::Play()
{
    // Playing from the end of a working area without repeat would stop at once: start over.
    if (!mpClock->IsRepeat() && mpClock->GetIndex() >= mpClock->GetWAMax()) {
        mpClock->SetIndex(mpClock->GetWAMin());
    }
    mpClock->Play(TimeCtrl_cls::kForward);
    NotifyPlayState();
}

void TimeLineGUI_cls::StopPlay()
{
    mpClock->Stop();
    NotifyPlayState();
}

void TimeLineGUI_cls::TogglePlay()
{
    if (mpClock->IsPlaying())
        StopPlay();
    else
        Play();
}

void TimeLineGUI_cls::Step(int direction)
{
    if (mpClock->IsPlaying())
        StopPlay();
    mpClock->FrameStep(direction < 0 ? -1 : 1, true);
}

void TimeLineGUI_cls::GoToEnd(bool last)
{
    if (mpClock->IsPlaying())
        StopPlay();
    mpClock->SetIndex(last ? mpClock->GetWAMax() : mpClock->GetWAMin());
}

// --- key commands ------------------------------------------------------------------------------

bool TimeLineGUI_cls::AddKey()
{
    Parameters_cls* p = GetShownSet();
    if (p == nullptr)
        return false;
    const double time = mpClock->GetDoubleIndex();
    if (p->IsTimeDependent() && p->OnWhichKeyFrame(time, 0.0) >= 0) {
        GetUserPrompt()->SetStatusText(TrW("A key is already at this frame"), 0);
        return false;
    }
    UndoManager_cls& undo = p->GetUndo();
    undo.OpenBlock("Add Key");
    // A set that is not animated becomes animated first, its constant value kept as a key at 0.
    if (!p->IsTimeDependent())
        p->SetTimeDependent(true, true);
    p->InsertKey(time, nullptr);
    undo.CloseBlock();
    RefreshKeys();
    return true;
}

bool TimeLineGUI_cls::DeleteKeys()
{
    Parameters_cls* p = GetShownSet();
    if (p == nullptr)
        return false;
    bool done = false;
    if (p->GetSelectedKeyNum() > 0)
        done = p->DeleteSelectedKey();
    else
        done = p->DeleteKey(mpClock->GetDoubleIndex(), 0.0);
    if (!done)
        GetUserPrompt()->SetStatusText(TrW("No key to delete"), 0);
    RefreshKeys();
    return done;
}

bool TimeLineGUI_cls::MoveSelectedKeys(int frames)
{
    Parameters_cls* p = GetShownSet();
    const int length = mpClock->GetMaxFrame();
    if (p == nullptr || frames == 0 || length <= 0)
        return false;
    // Keys move on the clock's frame grid (the class-wide frame count is the scene length).
    Parameters_cls::SetFrameNumber(length, mpClock->GetStep());
    const bool moved = p->MoveTimeSelectedKey(static_cast<double>(frames) / length);
    RefreshKeys();
    return moved;
}

bool TimeLineGUI_cls::CopyKeys()
{
    const Parameters_cls* p = GetShownSet();
    const std::wstring text = p ? p->CopyKeyFrameToClipBoard() : std::wstring();
    if (text.empty()) {
        GetUserPrompt()->SetStatusText(TrW("No key selected"), 0);
        return false;
    }
    wxClipboardLocker lock;
    if (!lock) {
        GetUserPrompt()->SetStatusText(TrW("The clipboard cannot be opened"), 0);
        return false;
    }
    wxTheClipboard->SetData(new wxTextDataObject(text));
    GetUserPrompt()->SetStatusText(WStrPrintf(Tr("Keys copied: %d").c_str(), p->GetSelectedKeyNum()), 0);
    return true;
}

bool TimeLineGUI_cls::PasteKeys()
{
    Parameters_cls* p = GetShownSet();
    if (p == nullptr)
        return false;
    std::wstring text;
    {
        wxClipboardLocker lock;
        if (!lock) {
            GetUserPrompt()->SetStatusText(TrW("The clipboard cannot be opened"), 0);
            return false;
        }
        wxTextDataObject data;
        if (wxTheClipboard->IsSupported(wxDF_UNICODETEXT) && wxTheClipboard->GetData(data))
            text = data.GetText().ToStdWstring();
    }
    const double time = mpClock->GetDoubleIndex();
    {
        // Tried on a copy with a history of its own first, so that foreign text leaves neither
        // a change nor an undo step behind.
        Parameters_cls probe(*p);
        UndoManager_cls scratch;
        probe.SetUndoManager(&scratch);
        if (!probe.PasteKeyFrameFromClipBoard(text, time)) {
            GetUserPrompt()->SetStatusText(TrW("The clipboard holds no keys for this parameter set"), 0);
            return false;
        }
    }
    UndoManager_cls& undo = p->GetUndo();
    undo.OpenBlock("Paste Keys");
    // Pasted keys only count on an animated set.
    if (!p->IsTimeDependent())
        p->SetTimeDependent(true, true);
    p->PasteKeyFrameFromClipBoard(text, time);
    undo.CloseBlock();
    RefreshKeys();
    return true;
}
