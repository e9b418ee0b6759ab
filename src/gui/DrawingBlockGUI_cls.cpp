#include "gui/DrawingBlockGUI_cls.h"

#include "config/Main_cls.h"
#include "config/TexPropertyCtrl_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "gl/DrawingBlock_cls.h"
#include "gui/FrameMain_cls.h"
#include "gui/Shortcut_cls.h"
#include "volume/TreeBoxRule_cls.h"

#include <wx/checkbox.h>
#include <wx/dialog.h>
#include <wx/sizer.h>
#include <wx/spinctrl.h>
#include <wx/stattext.h>

#include <array>

DrawingBlockGUI_cls::DrawingBlockGUI_cls(FrameMain_cls* frame, Main_cls* main) : mpFrame(frame), mpMain(main)
{
    mpFrame->Bind(wxEVT_MENU, &DrawingBlockGUI_cls::OnMenu, this, kIdDrawingBlocks);
}

DrawingBlockGUI_cls::~DrawingBlockGUI_cls()
{
    mpFrame->Unbind(wxEVT_MENU, &DrawingBlockGUI_cls::OnMenu, this, kIdDrawingBlocks);
}

void DrawingBlockGUI_cls::OnMenu(wxCommandEvent&)
{
    TreeBoxRule_cls& rule = mpMain->GetTreeBoxRule();
    TexPropertyCtrl_cls& tex = mpMain->GetTexProperty();
    wxDialog dialog(mpFrame, wxID_ANY, TrW("Drawing Blocks"));
    auto* top = new wxBoxSizer(wxVERTICAL);

    // The division.
    auto* divide = new wxCheckBox(&dialog, wxID_ANY, TrW("Skip empty sub-boxes when drawing"));
    divide->SetValue(mpFrame->GetDrawingBlock(0).IsUse8Tree());
    top->Add(divide, 0, wxALL, 8);
    auto* ruleGrid = new wxFlexGridSizer(2, 4, 8);
    auto addSpin = [&](const char* label, int value, int lo, int hi) {
        ruleGrid->Add(new wxStaticText(&dialog, wxID_ANY, TrW(label)), 0, wxALIGN_CENTER_VERTICAL);
        auto* spin = new wxSpinCtrl(&dialog, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize, wxSP_ARROW_KEYS,
                                    lo, hi, value);
        ruleGrid->Add(spin);
        return spin;
    };
    wxSpinCtrl* depth =
        addSpin("Division levels", static_cast<int>(rule.GetDepth()), 0, static_cast<int>(TreeBoxRule_cls::kMaxDepth));
    wxSpinCtrl* minVoxels = addSpin("Thinnest sub-box (voxels)", static_cast<int>(rule.GetMinVoxels()), 1,
                                    static_cast<int>(TreeBoxRule_cls::kMaxMinVoxels));
    wxSpinCtrl* empty = addSpin("Empty up to density", rule.GetEmptyLevel(), 0, 255);
    top->Add(ruleGrid, 0, wxLEFT | wxRIGHT | wxBOTTOM, 8);

    // The per-slot factors: one row per slot, red, green, blue, alpha.
    auto* slotGrid = new wxFlexGridSizer(5, 4, 6);
    slotGrid->Add(new wxStaticText(&dialog, wxID_ANY, L""));
    for (const char* head : {"Red", "Green", "Blue", "Alpha"})
        slotGrid->Add(new wxStaticText(&dialog, wxID_ANY, TrW(head)));
    std::array<std::array<wxSpinCtrlDouble*, 4>, TexPropertyCtrl_cls::kSlotCount> factors{};
    for (int slot = 0; slot < TexPropertyCtrl_cls::kSlotCount; ++slot) {
        slotGrid->Add(new wxStaticText(&dialog, wxID_ANY, WStrPrintf("%s %d", Tr("Slot").c_str(), slot + 1)), 0,
                      wxALIGN_CENTER_VERTICAL);
        for (int c = 0; c < 4; ++c) {
            const double value = c < 3 ? tex.GetColorFactor(slot, c) : tex.GetAlphaFactor(slot);
            auto* spin = new wxSpinCtrlDouble(&dialog, wxID_ANY, wxEmptyString, wxDefaultPosition, wxSize(90, -1),
                                              wxSP_ARROW_KEYS, 0.0, TexPropertyCtrl_cls::kMaxFactor, value, 0.05);
            spin->SetDigits(3);
            factors[static_cast<size_t>(slot)][static_cast<size_t>(c)] = spin;
            slotGrid->Add(spin);
        }
    }
    top->Add(new wxStaticText(&dialog, wxID_ANY, TrW("Colour and alpha factors of the volume boxes")), 0,
             wxLEFT | wxRIGHT, 8);
    top->Add(slotGrid, 0, wxALL, 8);
    top->Add(dialog.CreateStdDialogButtonSizer(wxOK | wxCANCEL), 0, wxEXPAND | wxALL, 8);
    dialog.SetSizerAndFit(top);
    if (dialog.ShowModal() != wxID_OK)
        return;

    // A rule setter bumps the rule's serial only when called, so unchanged values keep the
    // division that is already made.
    if (static_cast<uint32_t>(depth->GetValue()) != rule.GetDepth())
        rule.SetDepth(static_cast<uint32_t>(depth->GetValue()));
    if (static_cast<uint32_t>(minVoxels->GetValue()) != rule.GetMinVoxels())
        rule.SetMinVoxels(static_cast<uint32_t>(minVoxels->GetValue()));
    if (empty->GetValue() != rule.GetEmptyLevel())
        rule.SetEmptyLevel(static_cast<uint32_t>(empty->GetValue()));
    for (int slot = 0; slot < 4; ++slot)
        if (mpFrame->GetDrawingBlock(slot).IsUse8Tree() != divide->GetValue())
            mpFrame->GetDrawingBlock(slot).SetUse8Tree(divide->GetValue());
    for (int slot = 0; slot < TexPropertyCtrl_cls::kSlotCount; ++slot) {
        const auto& row = factors[static_cast<size_t>(slot)];
        tex.SetColorFactor(slot, static_cast<float>(row[0]->GetValue()), static_cast<float>(row[1]->GetValue()),
                           static_cast<float>(row[2]->GetValue()));
        tex.SetAlphaFactor(slot, static_cast<float>(row[3]->GetValue()));
    }
    mpFrame->RepaintViews();
}
