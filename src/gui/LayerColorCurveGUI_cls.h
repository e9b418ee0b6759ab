#pragma once
// The panel of the density-curve item: the frame's density histogram with the curve over it and
// the curve's points as handles. Dragging a handle keys that point at the current time; a double
// click adds a point there and a right click on a handle removes it, each one undo step.
#include "gui/FilterItemGUI_cls.h"

class GraphPanel_cls;

class LayerColorCurveGUI_cls : public FilterItemGUI_cls
{
  public:
    /// See FilterItemGUI_cls; built through FilterItemGUI_cls::Create.
    LayerColorCurveGUI_cls(wxWindow* parent, FilterCtrl_cls* chain, const std::wstring& tag);
    /// The graph (state report, tests).
    GraphPanel_cls* GetGraph() const { return mpGraph; }
    /// Moves point `index` to (x, y) as one undo step.
    bool MovePoint(int index, double x, double y);
    /// Adds a point at (x, y) as one undo step.
    bool AddPoint(double x, double y);
    /// Removes point `index` as one undo step.
    bool RemovePoint(int index);

  protected:
    void BuildExtra(wxBoxSizer* sizer) override;
    void UpdateExtra() override;
    std::wstring DescribeExtra() const override;

  private:
    GraphPanel_cls* mpGraph = nullptr;
};
