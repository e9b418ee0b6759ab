#include "gui/LayerColorCurveGUI_cls.h"

#include "anim/MultiParameters_cls.h"
#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "filter/LayerColorCurve_cls.h"
#include "gui/GraphPanel_cls.h"

#include <wx/sizer.h>
#include <wx/stattext.h>

namespace
{
std::vector<GraphPanel_cls::Point> PointsOf(LayerColorCurve_cls* item)
{
    std::vector<GraphPanel_cls::Point> points;
    MultiParameters_cls& list = item->GetPoints();
    for (int i = 0; i < list.GetItemNumber(); ++i) {
        const double* v = list.GetPItem(i)->GetPCurrentValue();
        points.emplace_back(v[0], v[1]);
    }
    return points;
}
} // namespace

LayerColorCurveGUI_cls::LayerColorCurveGUI_cls(wxWindow* parent, FilterCtrl_cls* chain, const std::wstring& tag)
    : FilterItemGUI_cls(parent, chain, tag)
{
}

void LayerColorCurveGUI_cls::BuildExtra(wxBoxSizer* sizer)
{
    mpGraph = new GraphPanel_cls(this);
    mpGraph->SetCurve([this](double x) {
        const auto* item = dynamic_cast<const LayerColorCurve_cls*>(GetItem());
        return item ? item->GetCurveValue(x) : x;
    });
    mpGraph->SetMoveFunc([this](int i, double x, double y) {
        if (!MovePoint(i, x, y))
            UpdateExtra(); // nothing changed: the handle goes back
    });
    mpGraph->SetAddFunc([this](double x, double y) { AddPoint(x, y); });
    mpGraph->SetRemoveFunc([this](int i) { RemovePoint(i); });
    sizer->Add(mpGraph, 0, wxALL, 4);
    // Wrapped to the graph's width: the page must stay as narrow as the control panel.
    auto* hint = new wxStaticText(this, wxID_ANY, TrW("Drag a point; double click adds one, right click removes it"));
    hint->Wrap(mpGraph->GetMinSize().x);
    sizer->Add(hint, 0, wxLEFT | wxRIGHT, 4);
}

bool LayerColorCurveGUI_cls::MovePoint(int index, double x, double y)
{
    auto* item = dynamic_cast<LayerColorCurve_cls*>(GetItem());
    if (mbUpdating || !item || index < 0 || index >= item->GetPoints().GetItemNumber())
        return false;
    BeforeEdit();
    Parameters_cls* point = item->GetPoints().GetPItem(index);
    point->GetPCurrentValue()[0] = x;
    point->GetPCurrentValue()[1] = y;
    if (!point->SetKeyIfChanged(-1.0, false))
        return false;
    item->UpdateParameters(Parameters_cls::GetCurrentDoubleIndex());
    Edited();
    return true;
}

bool LayerColorCurveGUI_cls::AddPoint(double x, double y)
{
    auto* item = dynamic_cast<LayerColorCurve_cls*>(GetItem());
    if (mbUpdating || !item)
        return false;
    BeforeEdit();
    MultiParameters_cls& list = item->GetPoints();
    // The new point and its place are one step: undo takes the point away again.
    UndoManager_cls& history = list.GetUndo();
    history.OpenBlock("Add Curve Point");
    list.AddItem();
    if (Parameters_cls* point = list.GetPActiveItem()) {
        point->GetPCurrentValue()[0] = x;
        point->GetPCurrentValue()[1] = y;
        point->SetKeyIfChanged(-1.0, true);
    }
    history.CloseBlock();
    item->UpdateParameters(Parameters_cls::GetCurrentDoubleIndex());
    Edited();
    return true;
}

bool LayerColorCurveGUI_cls::RemovePoint(int index)
{
    auto* item = dynamic_cast<LayerColorCurve_cls*>(GetItem());
    if (mbUpdating || !item || index < 0 || index >= item->GetPoints().GetItemNumber())
        return false;
    BeforeEdit();
    if (!item->GetPoints().RemoveItemAt(index))
        return false;
    item->UpdateParameters(Parameters_cls::GetCurrentDoubleIndex());
    Edited();
    return true;
}

void LayerColorCurveGUI_cls::UpdateExtra()
{
    std::array<uint64_t, 256> counts{};
    GetHistogram(counts);
    mpGraph->SetHistogram(counts);
    if (auto* item = dynamic_cast<LayerColorCurve_cls*>(GetItem()))
        mpGraph->SetPoints(PointsOf(item));
    mpGraph->Refresh();
}

std::wstring LayerColorCurveGUI_cls::DescribeExtra() const
{
    std::wstring text = WStrPrintf("fi.graph.histogram=%.3f\n", mpGraph->GetHistogramCoverage());
    text += L"fi.graph.points=";
    const auto& points = mpGraph->GetPoints();
    for (size_t i = 0; i < points.size(); ++i) {
        const wxPoint at = mpGraph->GraphToScreen(points[i].first, points[i].second);
        text += WStrPrintf(i ? "|%.4f %.4f %d %d" : "%.4f %.4f %d %d", points[i].first, points[i].second, at.x, at.y);
    }
    text += L"\nfiw.graph=" + Place(mpGraph);
    return text + L"\n";
}
