#include "gui/SeqExportProgressGUI_cls.h"

#include "config/Translate.h"

#include <wx/button.h>
#include <wx/gauge.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

SeqExportProgressGUI_cls::SeqExportProgressGUI_cls(wxWindow* parent, const std::wstring& title)
    : wxDialog(parent, wxID_ANY, title, wxDefaultPosition, wxDefaultSize, wxCAPTION | wxCLOSE_BOX)
{
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    mpText = new wxStaticText(this, wxID_ANY, L"", wxDefaultPosition, wxSize(360, -1));
    mpGauge = new wxGauge(this, wxID_ANY, 100, wxDefaultPosition, wxSize(360, -1));
    auto* stop = new wxButton(this, wxID_STOP, TrW("Stop"));
    sizer->Add(mpText, 0, wxALL | wxEXPAND, 8);
    sizer->Add(mpGauge, 0, wxLEFT | wxRIGHT | wxEXPAND, 8);
    sizer->Add(stop, 0, wxALL | wxALIGN_RIGHT, 8);
    SetSizerAndFit(sizer);
    stop->Bind(wxEVT_BUTTON, &SeqExportProgressGUI_cls::OnStop, this);
    Bind(wxEVT_CLOSE_WINDOW, &SeqExportProgressGUI_cls::OnClose, this);
    stop->SetFocus();
    Show();
}

void SeqExportProgressGUI_cls::Update(int percent, const std::wstring& text)
{
    mpGauge->SetValue(percent < 0 ? 0 : (percent > 100 ? 100 : percent));
    if (mpText->GetLabel().ToStdWstring() != text)
        mpText->SetLabel(text);
}

void SeqExportProgressGUI_cls::OnStop(wxCommandEvent&)
{
    mbStop = true;
    SetTitle(GetTitle() + L" - " + TrW("stopping"));
}

void SeqExportProgressGUI_cls::OnClose(wxCloseEvent& event)
{
    // The export owns this window and destroys it when it has stopped.
    mbStop = true;
    if (event.CanVeto())
        event.Veto();
}
