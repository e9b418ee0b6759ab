#include "gui/FilterItemGUI_cls.h"

#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/ConfItem_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "filter/ComFilterConfChange.h"
#include "filter/ComFilterConfChangeSTR_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/FilterWithParameter_cls.h"
#include "gui/ChoiceRow_cls.h"
#include "gui/DualSlider_cls.h"
#include "gui/LayerColorCurveGUI_cls.h"
#include "gui/LevelAndGammaGUI_cls.h"
#include "gui/NumInput_cls.h"
#include "gui/PointInput_cls.h"
#include "gui/WidgetMath_cls.h"

#include <algorithm>

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

// ---- 1. row tables -------------------------------------------------------------------------------

namespace
{
using S = FilterItemGUI_cls::SettingDef;
using P = FilterItemGUI_cls::ParamDef;
using K = FilterItemGUI_cls;

// Colour indices: 0 and -1 white, 1..9 the layer palettes, 10 and above the custom maps.
constexpr double kColorIndexMax = 99.0;

std::vector<FilterItemGUI_cls::Defs> MakeDefs()
{
    std::vector<FilterItemGUI_cls::Defs> d(19);
    // 0 isosurface
    d[0].vSetting = {
        {L"IsosurfaceColor=", "Colour", K::kPoint, 0.0, 1.0, 0.05},
        {L"IsosurfaceNormal=", "Smooth Normals", K::kCheck},
        {L"IsosurfaceOptimize=", "Vertex Welding", K::kChoice, 0, 0, 0, {"None", "Inside Blocks", "Whole Surface"}}};
    d[0].vParam = {{K::kParamNumber, 0, 0, "", 0.0, 1.0, 0.01}, {K::kParamNumber, 1, 0, "", 0.0, 1.0, 0.05}};
    // 1 fog
    d[1].vSetting = {{L"FogDistance=", "Distance", K::kNumber, 0.0, 1000.0, 0.1},
                     {L"FogColor=", "Colour", K::kPoint, 0.0, 1.0, 0.05},
                     {L"FogTarget=", "Target Tag", K::kText}};
    // 2 box copy
    d[2].vSetting = {{L"BoxCopyNumber=", "Copies", K::kPoint, 1.0, 16.0, 1.0},
                     {L"BoxCopyGap=", "Gap", K::kPoint, 0.0, 10.0, 0.05}};
    // 3 clipping: the box as three windows
    d[3].vSetting = {{L"ClippingShowFrame=", "Show Frame", K::kCheck}};
    d[3].vParam = {{K::kParamRange, 0, 3, "X", 0.0, 1.0, 0.01},
                   {K::kParamRange, 1, 4, "Y", 0.0, 1.0, 0.01},
                   {K::kParamRange, 2, 5, "Z", 0.0, 1.0, 0.01}};
    // 4 volume
    d[4].vSetting = {{L"VolumeColorIndex=", "Colour Index", K::kNumber, -1.0, kColorIndexMax, 1.0},
                     {L"VolumeDataType=", "Density Use", K::kChoice, 0, 0, 0, {"Emission", "Absorption", "Both"}},
                     {L"VolumeIntervals=", "Intervals", K::kNumber, 1.0, 1000.0, 1.0}};
    d[4].vParam = {{K::kParamNumber, 0, 0, "", 0.0, 10.0, 0.05}};
    // 5 Gaussian blur
    d[5].vSetting = {{L"GaussBlurKernelType=", "Kernel", K::kChoice, 0, 0, 0, {"Same for All Axes", "Per Axis"}},
                     {L"GaussBlurKernelSize=", "Kernel Size", K::kNumber, 0.0, 100.0, 0.5},
                     {L"GaussBlurAssymSize=", "Size per Axis", K::kPoint, 0.0, 100.0, 0.5},
                     {L"GaussBlurFloat=", "Float Passes", K::kCheck}};
    // 6 level and gamma: the windows and curve values; the graph is added by its own panel
    d[6].vSetting = {{L"FilterLevelSmooth", "Smooth Window", K::kCheck}};
    d[6].vParam = {{K::kParamRange, 0, 1, "Input", 0.0, 1.0, 0.01},
                   {K::kParamRange, 2, 3, "Output", 0.0, 1.0, 0.01},
                   {K::kParamNumber, 4, 0, "", 0.01, 10.0, 0.05},
                   {K::kParamNumber, 5, 0, "", -1.0, 1.0, 0.01}};
    // 7 inverse diffusion
    d[7].vSetting = {{L"InvDiffuseStrength=", "Strength", K::kNumber, 0.0, 1.0, 0.01},
                     {L"InvDiffuseStep=", "Steps", K::kNumber, 0.0, 64.0, 1.0}};
    // 8 fix position
    d[8].vSetting = {{L"FixPositionThreshold=", "Threshold", K::kNumber, 0.0, 1.0, 0.01},
                     {L"FixPositionReferenceFrame=", "Reference Frame", K::kNumber, 0.0, 1000000.0, 1.0},
                     {L"FixPositionAxis=", "Hold Axes", K::kChecks}};
    // 9 rotation
    d[9].vSetting = {{L"DataRotateAxis=", "Axis", K::kChoice, 0, 0, 0, {"X", "Y", "Z"}}};
    d[9].vParam = {{K::kParamNumber, 0, 0, "", -360.0, 360.0, 1.0}};
    // 10 density curve: the points are edited on its graph
    d[10].vSetting = {
        {L"DensityCurveInterpolation=", "Between Points", K::kChoice, 0, 0, 0, {"Straight Lines", "S-Curves"}}};
    // 11 cross-section
    d[11].vSetting = {{L"CrossSectionAxis=", "Axis", K::kChoice, 0, 0, 0, {"X", "Y", "Z"}},
                      {L"CrossSectionColorIndex=", "Colour Index", K::kNumber, -1.0, kColorIndexMax, 1.0}};
    d[11].vParam = {{K::kParamNumber, 0, 0, "", 0.0, 1.0, 0.01},
                    {K::kParamNumber, 1, 0, "", 0.0, 10.0, 0.1},
                    {K::kParamNumber, 2, 0, "", 0.0, 1.0, 0.05},
                    {K::kParamNumber, 3, 0, "", 0.0, 1.0, 0.01}};
    // 12 object
    d[12].vSetting = {
        {L"PovObjectShape=", "Shape", K::kChoice, 0, 0, 0, {"Sphere", "Box", "Cylinder", "Cone", "Torus"}},
        {L"PovObjectColor=", "Colour", K::kPoint, 0.0, 1.0, 0.05}};
    d[12].vParam = {{K::kParamPoint, 0, 0, "Position", -10.0, 10.0, 0.01},
                    {K::kParamPoint, 3, 0, "Scale", 0.0, 10.0, 0.01},
                    {K::kParamPoint, 6, 0, "Rotation", -360.0, 360.0, 1.0},
                    {K::kParamNumber, 9, 0, "", -360.0, 360.0, 1.0},
                    {K::kParamNumber, 10, 0, "", 0.0, 1.0, 0.05}};
    // 13 centre of mass
    d[13].vSetting = {{L"CenterOfMassThreshold=", "Threshold", K::kNumber, 0.0, 1.0, 0.01},
                      {L"CenterOfMassMarkerSize=", "Marker Size", K::kNumber, 0.0, 1.0, 0.005},
                      {L"CenterOfMassMarkerColor=", "Marker Colour", K::kPoint, 0.0, 1.0, 0.05}};
    // 14 diff object
    d[14].vSetting = {{L"DiffObjectShape=", "Shape", K::kChoice, 0, 0, 0, {"Sphere", "Box", "Cylinder"}}};
    d[14].vParam = {{K::kParamPoint, 0, 0, "Position", -10.0, 10.0, 0.01},
                    {K::kParamPoint, 3, 0, "Scale", 0.0, 10.0, 0.01},
                    {K::kParamPoint, 6, 0, "Rotation", -360.0, 360.0, 1.0},
                    {K::kParamNumber, 9, 0, "", -360.0, 360.0, 1.0}};
    // 15 morphology
    d[15].vSetting = {{L"MorphOpenCloseType=",
                       "Operation",
                       K::kChoice,
                       0,
                       0,
                       0,
                       {"Dilation(Expand)", "Erosion(Shirink)", "Opening(Remove Noise)", "Closing(Fill Gaps)",
                        "Opening(EEDD)", "Closing(DDEE)"}},
                      {L"MorphOpenCloseKernelType=", "Element", K::kChoice, 0, 0, 0, {"Sphere", "Ellipsoid"}},
                      {L"MorphOpenCloseKernelSize=", "Radius", K::kNumber, 0.0, 12.0, 1.0},
                      {L"MorphOpenCloseAsymSize=", "Radii", K::kPoint, 0.0, 12.0, 1.0}};
    // 16 three-view
    d[16].vSetting = {{L"ThreeViewColorIndex=", "Colour Index", K::kNumber, -1.0, kColorIndexMax, 1.0},
                      {L"ThreeViewShow=", "Show Planes", K::kChecks}};
    d[16].vParam = {{K::kParamPoint, 0, 0, "Layers", 0.0, 1.0, 0.01},
                    {K::kParamNumber, 3, 0, "", 0.0, 10.0, 0.1},
                    {K::kParamNumber, 4, 0, "", 0.0, 1.0, 0.05},
                    {K::kParamNumber, 5, 0, "", 0.0, 1.0, 0.01}};
    // 17 stream lines
    d[17].vSetting = {{L"StreamLineSeedNumber=", "Seeds", K::kNumber, 1.0, 100000.0, 1.0},
                      {L"StreamLineStepLength=", "Step Length", K::kNumber, 0.01, 100.0, 0.1},
                      {L"StreamLineSlot=", "Velocity Slots", K::kPoint, 0.0, 4.0, 1.0}};
    d[17].vParam = {{K::kParamNumber, 0, 0, "", 0.0, 1.0, 0.05},
                    {K::kParamNumber, 1, 0, "", 0.0, 1.0, 0.05},
                    {K::kParamNumber, 2, 0, "", 0.0, 1.0, 0.005}};
    // 18 velocity field
    d[18].vSetting = {{L"VelFieldStride=", "Stride", K::kNumber, 1.0, 256.0, 1.0},
                      {L"VelFieldSlot=", "Velocity Slots", K::kPoint, 0.0, 4.0, 1.0}};
    d[18].vParam = {{K::kParamNumber, 0, 0, "", 0.0, 1.0, 0.05}, {K::kParamNumber, 1, 0, "", 0.0, 100.0, 0.1}};
    return d;
}

/// Place of `key` in the list, -1 when absent.
int FindKey(FilterBase_cls* item, const std::wstring& key)
{
    const auto& items = item->GetPData()->GetConfList().Items();
    for (size_t i = 0; i < items.size(); ++i)
        if (items[i]->GetKey() == key)
            return static_cast<int>(i);
    return -1;
}

ConfItem_cls* SettingAt(FilterBase_cls* item, int listIndex)
{
    const auto& items = item->GetPData()->GetConfList().Items();
    return listIndex >= 0 && static_cast<size_t>(listIndex) < items.size() ? items[static_cast<size_t>(listIndex)]
                                                                           : nullptr;
}

/// The number in component c of a number setting (scalars: c 0).
double SettingNumber(ConfItem_cls* s, int c)
{
    if (auto* v = dynamic_cast<ConfItemFLOAT_cls*>(s))
        return v->Get();
    if (auto* v = dynamic_cast<ConfItemDOUBLE_cls*>(s))
        return v->Get();
    if (auto* v = dynamic_cast<ConfItemINT_cls*>(s))
        return v->Get();
    if (auto* v = dynamic_cast<ConfItemUINT_cls*>(s))
        return v->Get();
    if (auto* v = dynamic_cast<ConfItemFLOATARRAY_cls*>(s); v && c < v->GetDimension())
        return v->Get(c);
    if (auto* v = dynamic_cast<ConfItemINTARRAY_cls*>(s); v && c < v->GetDimension())
        return v->Get(c);
    if (auto* v = dynamic_cast<ConfItemUINTARRAY_cls*>(s); v && c < v->GetDimension())
        return v->Get(c);
    if (auto* v = dynamic_cast<ConfItemBOOL_cls*>(s))
        return v->Get() ? 1.0 : 0.0;
    if (auto* v = dynamic_cast<ConfItemBOOLARRAY_cls*>(s); v && c < v->GetDimension())
        return v->Get(c) ? 1.0 : 0.0;
    return 0.0;
}

bool IsIntegerSetting(ConfItem_cls* s)
{
    return dynamic_cast<ConfItemINT_cls*>(s) || dynamic_cast<ConfItemUINT_cls*>(s) ||
           dynamic_cast<ConfItemINTARRAY_cls*>(s) || dynamic_cast<ConfItemUINTARRAY_cls*>(s);
}

int Dimension(ConfItem_cls* s)
{
    if (auto* f = dynamic_cast<ConfItemFLOATARRAY_cls*>(s))
        return f->GetDimension();
    if (auto* i = dynamic_cast<ConfItemINTARRAY_cls*>(s))
        return i->GetDimension();
    if (auto* u = dynamic_cast<ConfItemUINTARRAY_cls*>(s))
        return u->GetDimension();
    if (auto* b = dynamic_cast<ConfItemBOOLARRAY_cls*>(s))
        return b->GetDimension();
    return 1;
}

std::wstring KeyName(const wchar_t* key)
{
    std::wstring k = key;
    if (!k.empty() && k.back() == L'=')
        k.pop_back();
    return k;
}

} // namespace

namespace
{
std::function<void()>& BeforeEditFunc()
{
    static std::function<void()> sFunc;
    return sFunc;
}
} // namespace

void FilterItemGUI_cls::SetBeforeEditFunc(std::function<void()> f)
{
    BeforeEditFunc() = std::move(f);
}

void FilterItemGUI_cls::BeforeEdit()
{
    if (BeforeEditFunc())
        BeforeEditFunc()();
}

const FilterItemGUI_cls::Defs& FilterItemGUI_cls::GetDefs(int type)
{
    static const std::vector<Defs> sDefs = MakeDefs();
    static const Defs sEmpty;
    return type >= 0 && type < static_cast<int>(sDefs.size()) ? sDefs[static_cast<size_t>(type)] : sEmpty;
}

// ---- 2. construction -------------------------------------------------------------------------------

FilterItemGUI_cls::FilterItemGUI_cls(wxWindow* parent, FilterCtrl_cls* chain, const std::wstring& tag)
    : wxPanel(parent, wxID_ANY), mpChain(chain), mStrTag(tag)
{
}

FilterItemGUI_cls* FilterItemGUI_cls::Create(wxWindow* parent, FilterCtrl_cls* chain, const std::wstring& tag)
{
    FilterBase_cls* item = chain->GetPFromTag(tag);
    FilterItemGUI_cls* panel = nullptr;
    if (item && item->GetType() == 6)
        panel = new LevelAndGammaGUI_cls(parent, chain, tag);
    else if (item && item->GetType() == 10)
        panel = new LayerColorCurveGUI_cls(parent, chain, tag);
    else
        panel = new FilterItemGUI_cls(parent, chain, tag);
    panel->Build();
    return panel;
}

FilterBase_cls* FilterItemGUI_cls::GetItem() const
{
    return FilterCtrl_cls::IsLive(mpChain) ? mpChain->GetPFromTag(mStrTag) : nullptr;
}

void FilterItemGUI_cls::Build()
{
    FilterBase_cls* item = GetItem();
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    if (!item) {
        SetSizer(sizer);
        return;
    }
    auto* title =
        new wxStaticText(this, wxID_ANY, TrW(Narrow(FilterCtrl_cls::msItemType[item->GetType()].pLabel).c_str()));
    title->SetFont(title->GetFont().Bold());
    sizer->Add(title, 0, wxALL, 3);
    mpValid = new wxCheckBox(this, wxID_ANY, TrW("Enabled"));
    mpValid->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent& e) {
        if (mbUpdating || !GetItem())
            return;
        BeforeEdit();
        if (mpChain->ChangeConfBOOLExecute(mStrTag, FilterCtrl_cls::ConfIndex(FindKey(GetItem(), L"FilterValid=")),
                                           e.IsChecked()))
            Edited();
    });
    sizer->Add(mpValid, 0, wxALL, 3);
    {
        auto* row = new wxBoxSizer(wxHORIZONTAL);
        row->Add(
            new wxStaticText(this, wxID_ANY, TrW("Name"), wxDefaultPosition, wxSize(NumInput_cls::kLabelWidth, -1)), 0,
            wxALIGN_CENTER_VERTICAL | wxRIGHT, 4);
        mpName = new wxTextCtrl(this, wxID_ANY, L"", wxDefaultPosition, wxDefaultSize, wxTE_PROCESS_ENTER);
        const int nameIndex = FindKey(item, L"FilterName=");
        mpName->Bind(wxEVT_TEXT_ENTER, [this, nameIndex](wxCommandEvent&) {
            ChangeText(nameIndex, mpName->GetValue().ToStdWstring(), mpName);
        });
        mpName->Bind(wxEVT_KILL_FOCUS, [this, nameIndex](wxFocusEvent& e) {
            ChangeText(nameIndex, mpName->GetValue().ToStdWstring(), mpName);
            e.Skip();
        });
        row->Add(mpName, 1, wxALIGN_CENTER_VERTICAL);
        sizer->Add(row, 0, wxEXPAND | wxALL, 3);
    }
    const Defs& defs = GetDefs(item->GetType());
    mvSetting.reserve(defs.vSetting.size());
    for (const SettingDef& def : defs.vSetting)
        BuildSettingRow(sizer, def);
    if (dynamic_cast<FilterWithParameter_cls*>(item) != nullptr) {
        mvParam.reserve(defs.vParam.size());
        for (const ParamDef& def : defs.vParam)
            BuildParamRow(sizer, def);
        // The keys of the animated values are edited on the time line.
        mpShowTL = new wxButton(this, wxID_ANY, TrW("Show Keys on Time Line"));
        mpShowTL->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
            if (auto* a = dynamic_cast<FilterWithParameter_cls*>(GetItem()))
                a->ConnectParameterToTL();
        });
        sizer->Add(mpShowTL, 0, wxALL, 3);
    }
    BuildExtra(sizer);
    SetSizer(sizer);
    UpdateFromItem();
}

void FilterItemGUI_cls::BuildSettingRow(wxBoxSizer* sizer, const SettingDef& def)
{
    FilterBase_cls* item = GetItem();
    SettingRow row;
    row.pDef = &def;
    row.iListIndex = FindKey(item, def.pKey);
    ConfItem_cls* setting = SettingAt(item, row.iListIndex);
    if (!setting)
        return; // a table row for a key the item does not have: nothing to edit
    const std::wstring label = TrW(def.pLabel);
    const size_t at = mvSetting.size();
    switch (def.eKind) {
    case kCheck:
        row.pCheck = new wxCheckBox(this, wxID_ANY, label);
        row.pCheck->Bind(wxEVT_CHECKBOX,
                         [this, at](wxCommandEvent& e) { ChangeSetting(mvSetting[at], 0, e.IsChecked() ? 1.0 : 0.0); });
        sizer->Add(row.pCheck, 0, wxALL, 3);
        break;
    case kNumber:
        row.pNumber = new NumInput_cls(this, label, def.dMin, def.dMax, def.dStep, IsIntegerSetting(setting));
        row.pNumber->SetChangeFunc([this, at](double v) { ChangeSetting(mvSetting[at], 0, v); });
        sizer->Add(row.pNumber, 0, wxEXPAND | wxALL, 2);
        break;
    case kChoice: {
        std::vector<std::wstring> texts;
        for (const char* c : def.vChoice)
            texts.push_back(TrW(c));
        row.pChoice = new ChoiceRow_cls(this, label, texts);
        row.pChoice->SetChangeFunc([this, at](int v) { ChangeSetting(mvSetting[at], 0, v); });
        sizer->Add(row.pChoice, 0, wxEXPAND | wxALL, 2);
        break;
    }
    case kPoint:
        row.pPoint = new PointInput_cls(this, label, Dimension(setting), def.dMin, def.dMax, def.dStep,
                                        IsIntegerSetting(setting));
        row.pPoint->SetChangeFunc([this, at](int c, double v) { ChangeSetting(mvSetting[at], c, v); });
        sizer->Add(row.pPoint, 0, wxEXPAND | wxALL, 2);
        break;
    case kChecks: {
        auto* line = new wxBoxSizer(wxHORIZONTAL);
        line->Add(new wxStaticText(this, wxID_ANY, label, wxDefaultPosition, wxSize(NumInput_cls::kLabelWidth, -1)), 0,
                  wxALIGN_CENTER_VERTICAL | wxRIGHT, 4);
        const char* axes[3] = {"X", "Y", "Z"};
        for (int c = 0; c < Dimension(setting); ++c) {
            auto* box = new wxCheckBox(this, wxID_ANY, TrW(axes[c % 3]));
            box->Bind(wxEVT_CHECKBOX,
                      [this, at, c](wxCommandEvent& e) { ChangeSetting(mvSetting[at], c, e.IsChecked() ? 1.0 : 0.0); });
            row.vpChecks.push_back(box);
            line->Add(box, 0, wxRIGHT, 6);
        }
        sizer->Add(line, 0, wxALL, 3);
        break;
    }
    case kText: {
        auto* line = new wxBoxSizer(wxHORIZONTAL);
        line->Add(new wxStaticText(this, wxID_ANY, label, wxDefaultPosition, wxSize(NumInput_cls::kLabelWidth, -1)), 0,
                  wxALIGN_CENTER_VERTICAL | wxRIGHT, 4);
        row.pText = new wxTextCtrl(this, wxID_ANY, L"", wxDefaultPosition, wxDefaultSize, wxTE_PROCESS_ENTER);
        wxTextCtrl* box = row.pText;
        const int listIndex = row.iListIndex;
        box->Bind(wxEVT_TEXT_ENTER, [this, box, listIndex](wxCommandEvent&) {
            ChangeText(listIndex, box->GetValue().ToStdWstring(), box);
        });
        box->Bind(wxEVT_KILL_FOCUS, [this, box, listIndex](wxFocusEvent& e) {
            ChangeText(listIndex, box->GetValue().ToStdWstring(), box);
            e.Skip();
        });
        line->Add(box, 1, wxALIGN_CENTER_VERTICAL);
        sizer->Add(line, 0, wxEXPAND | wxALL, 3);
        break;
    }
    }
    mvSetting.push_back(std::move(row));
}

void FilterItemGUI_cls::BuildParamRow(wxBoxSizer* sizer, const ParamDef& def)
{
    auto* item = dynamic_cast<FilterWithParameter_cls*>(GetItem());
    const Parameters_cls& set = item->GetParameters();
    const int dim = static_cast<int>(set.GetDimension());
    const int last = def.eKind == kParamPoint ? def.iIndex + 2 : std::max(def.iIndex, def.iIndex2);
    if (def.iIndex < 0 || last >= dim)
        return;
    ParamRow row;
    row.pDef = &def;
    row.strLabel = def.pLabel[0] ? TrW(def.pLabel) : set.GetLabel(static_cast<unsigned>(def.iIndex));
    const size_t at = mvParam.size();
    switch (def.eKind) {
    case kParamNumber:
        row.pNumber = new NumInput_cls(this, row.strLabel, def.dMin, def.dMax, def.dStep, false);
        row.pNumber->SetChangeFunc([this, at](double v) { SetParamValue(mvParam[at].pDef->iIndex, v); });
        sizer->Add(row.pNumber, 0, wxEXPAND | wxALL, 2);
        break;
    case kParamRange: {
        // The slider for a quick drag, the two boxes for exact values.
        row.pRange = new DualSlider_cls(this, row.strLabel, def.dMin, def.dMax);
        row.pRange->SetChangeFunc([this, at](double lo, double hi) {
            const ParamDef& d = *mvParam[at].pDef;
            SetParamValues(d.iIndex, lo, d.iIndex2, hi);
        });
        sizer->Add(row.pRange, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, 2);
        auto* line = new wxBoxSizer(wxHORIZONTAL);
        const std::wstring lowLabel = set.GetLabel(static_cast<unsigned>(def.iIndex));
        const std::wstring highLabel = set.GetLabel(static_cast<unsigned>(def.iIndex2));
        row.pLow = new NumInput_cls(this, L"", def.dMin, def.dMax, def.dStep, false, false);
        row.pHigh = new NumInput_cls(this, L"", def.dMin, def.dMax, def.dStep, false, false);
        row.pLow->SetToolTip(lowLabel);
        row.pHigh->SetToolTip(highLabel);
        row.pLow->SetChangeFunc([this, at](double v) { SetParamValue(mvParam[at].pDef->iIndex, v); });
        row.pHigh->SetChangeFunc([this, at](double v) { SetParamValue(mvParam[at].pDef->iIndex2, v); });
        line->AddSpacer(NumInput_cls::kLabelWidth + 4);
        line->Add(row.pLow, 0, wxRIGHT, 4);
        line->Add(row.pHigh, 0);
        sizer->Add(line, 0, wxEXPAND | wxALL, 2);
        break;
    }
    case kParamPoint:
        row.pPoint = new PointInput_cls(this, row.strLabel, 3, def.dMin, def.dMax, def.dStep, false);
        row.pPoint->SetChangeFunc([this, at](int c, double v) { SetParamValue(mvParam[at].pDef->iIndex + c, v); });
        sizer->Add(row.pPoint, 0, wxEXPAND | wxALL, 2);
        break;
    }
    mvParam.push_back(std::move(row));
}

// ---- 3. refresh from the model ------------------------------------------------------------------------

void FilterItemGUI_cls::UpdateFromItem()
{
    FilterBase_cls* item = GetItem();
    if (!item)
        return;
    mbUpdating = true;
    FilterData_cls* data = item->GetPData();
    if (mpValid)
        mpValid->SetValue(data->IsValid());
    // A box being typed in keeps its text.
    if (mpName && !mpName->HasFocus())
        mpName->ChangeValue(data->GetName());
    for (SettingRow& row : mvSetting)
        UpdateSettingRow(row);
    for (ParamRow& row : mvParam)
        UpdateParamRow(row);
    UpdateExtra();
    mbUpdating = false;
}

void FilterItemGUI_cls::UpdateSettingRow(SettingRow& row)
{
    ConfItem_cls* setting = SettingAt(GetItem(), row.iListIndex);
    if (!setting)
        return;
    if (row.pCheck)
        row.pCheck->SetValue(SettingNumber(setting, 0) != 0.0);
    if (row.pNumber)
        row.pNumber->SetValue(SettingNumber(setting, 0));
    if (row.pChoice)
        row.pChoice->SetValue(static_cast<int>(SettingNumber(setting, 0)));
    if (row.pPoint)
        for (int c = 0; c < row.pPoint->GetCount(); ++c)
            row.pPoint->SetValue(c, SettingNumber(setting, c));
    for (size_t c = 0; c < row.vpChecks.size(); ++c)
        row.vpChecks[c]->SetValue(SettingNumber(setting, static_cast<int>(c)) != 0.0);
    if (row.pText && !row.pText->HasFocus())
        if (auto* text = dynamic_cast<ConfItemSTR_cls*>(setting))
            row.pText->ChangeValue(text->Get());
}

void FilterItemGUI_cls::UpdateParamRow(ParamRow& row)
{
    auto* item = dynamic_cast<FilterWithParameter_cls*>(GetItem());
    if (!item)
        return;
    // The values in use at the current time, as the chain last evaluated them.
    const double* v = item->GetParameters().GetPCurrentValue();
    const ParamDef& def = *row.pDef;
    if (row.pNumber)
        row.pNumber->SetValue(v[def.iIndex]);
    if (row.pRange) {
        row.pRange->SetValues(v[def.iIndex], v[def.iIndex2]);
        row.pLow->SetValue(v[def.iIndex]);
        row.pHigh->SetValue(v[def.iIndex2]);
    }
    if (row.pPoint)
        for (int c = 0; c < 3; ++c)
            row.pPoint->SetValue(c, v[def.iIndex + c]);
}

// ---- 4. edits ----------------------------------------------------------------------------------------

void FilterItemGUI_cls::Edited()
{
    if (mOnEdited)
        mOnEdited();
}

void FilterItemGUI_cls::ChangeSetting(const SettingRow& row, int component, double value)
{
    if (mbUpdating)
        return;
    ConfItem_cls* setting = SettingAt(GetItem(), row.iListIndex);
    if (!setting)
        return;
    const int index = FilterCtrl_cls::ConfIndex(row.iListIndex, component);
    BeforeEdit();
    bool done = false;
    if (dynamic_cast<ConfItemBOOL_cls*>(setting) || dynamic_cast<ConfItemBOOLARRAY_cls*>(setting))
        done = mpChain->ChangeConfBOOLExecute(mStrTag, index, value != 0.0);
    else if (IsIntegerSetting(setting))
        done = mpChain->ChangeConfINTExecute(mStrTag, index, static_cast<int>(std::lround(value)));
    else
        done = mpChain->ChangeConfFLOATExecute(mStrTag, index, static_cast<float>(value));
    if (done)
        Edited();
}

void FilterItemGUI_cls::ChangeText(int listIndex, const std::wstring& value, wxTextCtrl* box)
{
    if (mbUpdating)
        return;
    std::wstring old;
    if (!ComFilterConfChangeSTR_cls::GetValue(mpChain, mStrTag, listIndex, &old))
        return;
    // An item without a label cannot be told apart in the list: an empty label is refused.
    if (box == mpName && value.empty()) {
        box->ChangeValue(old);
        return;
    }
    if (value == old)
        return;
    BeforeEdit();
    if (ComFilterConfChangeSTR_cls::Issue(mpChain, mStrTag, listIndex, value))
        Edited();
}

bool FilterItemGUI_cls::SetParamValue(int index, double value)
{
    auto* item = dynamic_cast<FilterWithParameter_cls*>(GetItem());
    if (mbUpdating || !item)
        return false;
    BeforeEdit();
    item->SetParam(index, value);
    const bool keyed = item->SetKeyIfChanged(-1.0);
    if (keyed)
        Edited();
    return keyed;
}

bool FilterItemGUI_cls::SetParamValues(int index, double value, int index2, double value2)
{
    auto* item = dynamic_cast<FilterWithParameter_cls*>(GetItem());
    if (mbUpdating || !item)
        return false;
    BeforeEdit();
    // Both ends of a window in one key: one undo step.
    item->SetParam(index, value);
    item->SetParam(index2, value2);
    const bool keyed = item->SetKeyIfChanged(-1.0);
    if (keyed)
        Edited();
    return keyed;
}

void FilterItemGUI_cls::FocusName()
{
    if (mpName) {
        mpName->SetFocus();
        mpName->SelectAll();
    }
}

// ---- 5. state report ------------------------------------------------------------------------------------

std::wstring FilterItemGUI_cls::Place(const wxWindow* w)
{
    const bool shown = w->IsShownOnScreen();
    const wxPoint at = shown ? w->GetScreenPosition() : wxPoint(0, 0);
    const wxSize size = w->GetSize();
    return WStrPrintf("%d %d %d %d %d\n", at.x, at.y, size.x, size.y, shown ? 1 : 0);
}

std::wstring FilterItemGUI_cls::DescribeWidgets() const
{
    std::wstring text;
    if (mpValid)
        text += WStrPrintf("fi.FilterValid=%d\n", mpValid->GetValue() ? 1 : 0);
    if (mpName)
        text += L"fi.FilterName=" + mpName->GetValue().ToStdWstring() + L"\n";
    for (const SettingRow& row : mvSetting) {
        std::wstring shown;
        if (row.pCheck)
            shown = row.pCheck->GetValue() ? L"1" : L"0";
        if (row.pNumber)
            shown = row.pNumber->GetTextCtrl()->GetValue().ToStdWstring();
        if (row.pChoice)
            shown = row.pChoice->GetValue() >= 0 ? WStrPrintf("%d", row.pChoice->GetValue()) : L"";
        if (row.pPoint)
            for (int c = 0; c < row.pPoint->GetCount(); ++c)
                shown += (c ? L" " : L"") + row.pPoint->GetInput(c)->GetTextCtrl()->GetValue().ToStdWstring();
        for (size_t c = 0; c < row.vpChecks.size(); ++c)
            shown += (c ? L" " : L"") + std::wstring(row.vpChecks[c]->GetValue() ? L"1" : L"0");
        if (row.pText)
            shown = row.pText->GetValue().ToStdWstring();
        text += L"fi." + KeyName(row.pDef->pKey) + L"=" + shown + L"\n";
    }
    for (const ParamRow& row : mvParam) {
        std::wstring shown;
        if (row.pNumber)
            shown = row.pNumber->GetTextCtrl()->GetValue().ToStdWstring();
        if (row.pRange)
            shown = row.pLow->GetTextCtrl()->GetValue().ToStdWstring() + L" " +
                    row.pHigh->GetTextCtrl()->GetValue().ToStdWstring();
        if (row.pPoint)
            for (int c = 0; c < 3; ++c)
                shown += (c ? L" " : L"") + row.pPoint->GetInput(c)->GetTextCtrl()->GetValue().ToStdWstring();
        text += L"fi.param." + row.strLabel + L"=" + shown + L"\n";
    }
    return text + DescribeExtra();
}

std::wstring FilterItemGUI_cls::DescribeWidgetPlaces() const
{
    std::wstring text;
    if (mpValid)
        text += L"fiw.FilterValid=" + Place(mpValid);
    if (mpName)
        text += L"fiw.FilterName=" + Place(mpName);
    for (const SettingRow& row : mvSetting) {
        const std::wstring key = L"fiw." + KeyName(row.pDef->pKey);
        if (row.pCheck)
            text += key + L"=" + Place(row.pCheck);
        if (row.pNumber)
            text += key + L"=" + Place(row.pNumber->GetTextCtrl());
        if (row.pChoice)
            text += key + L"=" + Place(row.pChoice->GetChoice());
        if (row.pPoint)
            for (int c = 0; c < row.pPoint->GetCount(); ++c)
                text += key + WStrPrintf(".%d=", c) + Place(row.pPoint->GetInput(c)->GetTextCtrl());
        for (size_t c = 0; c < row.vpChecks.size(); ++c)
            text += key + WStrPrintf(".%d=", static_cast<int>(c)) + Place(row.vpChecks[c]);
        if (row.pText)
            text += key + L"=" + Place(row.pText);
    }
    for (const ParamRow& row : mvParam) {
        const std::wstring key = L"fiw.param." + row.strLabel;
        if (row.pNumber)
            text += key + L"=" + Place(row.pNumber->GetTextCtrl());
        if (row.pRange) {
            // The thumbs on the screen: low x, high x, y of the track.
            if (row.pRange->IsShownOnScreen())
                text += key + WStrPrintf(".thumbs=%d %d %d\n", row.pRange->ValueToScreenX(row.pRange->GetLow()),
                                         row.pRange->ValueToScreenX(row.pRange->GetHigh()), row.pRange->TrackScreenY());
            text += key + L".low=" + Place(row.pLow->GetTextCtrl());
            text += key + L".high=" + Place(row.pHigh->GetTextCtrl());
        }
        if (row.pPoint)
            for (int c = 0; c < 3; ++c)
                text += key + WStrPrintf(".%d=", c) + Place(row.pPoint->GetInput(c)->GetTextCtrl());
    }
    if (mpShowTL)
        text += L"fiw.showtl=" + Place(mpShowTL);
    return text;
}
