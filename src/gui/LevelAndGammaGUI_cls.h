#pragma once
// The panel of the level-and-gamma item: the common rows (input and output windows, gamma,
// offset, smooth window) and a graph of the frame's density histogram with the item's mapping
// drawn over it, so the user sees which densities the windows keep.
#include "gui/FilterItemGUI_cls.h"

class GraphPanel_cls;

class LevelAndGammaGUI_cls : public FilterItemGUI_cls
{
  public:
    /// See FilterItemGUI_cls; built through FilterItemGUI_cls::Create.
    LevelAndGammaGUI_cls(wxWindow* parent, FilterCtrl_cls* chain, const std::wstring& tag);
    /// The graph (state report, tests).
    GraphPanel_cls* GetGraph() const { return mpGraph; }

  protected:
    void BuildExtra(wxBoxSizer* sizer) override;
    void UpdateExtra() override;
    std::wstring DescribeExtra() const override;

  private:
    GraphPanel_cls* mpGraph = nullptr;
};
