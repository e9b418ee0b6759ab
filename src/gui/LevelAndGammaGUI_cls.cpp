#include "gui/LevelAndGammaGUI_cls.h"

#include "config/TextFormat.h"
#include "filter/LevelAndGamma_cls.h"
#include "gui/GraphPanel_cls.h"

#include <wx/sizer.h>

LevelAndGammaGUI_cls::LevelAndGammaGUI_cls(wxWindow* parent, FilterCtrl_cls* chain, const std::wstring& tag)
    : FilterItemGUI_cls(parent, chain, tag)
{
}

void LevelAndGammaGUI_cls::BuildExtra(wxBoxSizer* sizer)
{
    mpGraph = new GraphPanel_cls(this);
    // The mapping as the filter applies it now (the identity when the item is switched off).
    mpGraph->SetCurve([this](double x) {
        const auto* item = dynamic_cast<const LevelAndGamma_cls*>(GetItem());
        return item ? item->GetLevelMapping(x) : x;
    });
    sizer->Add(mpGraph, 0, wxALL, 4);
}

void LevelAndGammaGUI_cls::UpdateExtra()
{
    std::array<uint64_t, 256> counts{};
    GetHistogram(counts);
    mpGraph->SetHistogram(counts);
    mpGraph->Refresh();
}

std::wstring LevelAndGammaGUI_cls::DescribeExtra() const
{
    const auto* item = dynamic_cast<const LevelAndGamma_cls*>(GetItem());
    std::wstring text = WStrPrintf("fi.graph.histogram=%.3f\n", mpGraph->GetHistogramCoverage());
    // The curve at a few densities, as drawn.
    text += L"fi.graph.curve=";
    for (int k = 0; k <= 4; ++k)
        text += WStrPrintf(k ? " %.4f" : "%.4f", item ? item->GetLevelMapping(k / 4.0) : k / 4.0);
    text += L"\nfiw.graph=" + Place(mpGraph);
    return text + L"\n";
}
