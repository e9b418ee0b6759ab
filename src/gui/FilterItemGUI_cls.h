#pragma once
// The settings panel of one filter-chain item, for every item type: the common switch and label,
// the item's own settings, and its animated values. What each type shows is a table of rows
// (FilterItemGUI_cls::Defs) over the item's configuration keys and parameter indices, so every
// setting of every type is editable the same way: each edit is one undo step, through the
// chain's ChangeConf commands for settings and through a key of the item's parameter set for
// animated values. The panel holds the item's tag only and finds the item again for each edit.
//
// Sections: row tables; construction; refresh from the model; edits; state report.
#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <wx/panel.h>

class ChoiceRow_cls;
class DualSlider_cls;
class FilterBase_cls;
class FilterCtrl_cls;
class NumInput_cls;
class PointInput_cls;
class wxBoxSizer;
class wxButton;
class wxCheckBox;
class wxTextCtrl;

class FilterItemGUI_cls : public wxPanel
{
  public:
    /// How a configuration setting is shown.
    enum RowKind {
        kCheck,  ///< BOOL: a check box
        kNumber, ///< INT, UINT, FLOAT, DOUBLE: a number input
        kChoice, ///< INT or UINT: a choice of named values (0, 1, 2 ...)
        kPoint,  ///< FLOAT / INT / UINT array: one input per component
        kChecks, ///< BOOL array: one check box per component (x, y, z)
        kText,   ///< STR: a text box taken on Return or when left
    };
    /// One setting row.
    struct SettingDef {
        const wchar_t* pKey; ///< configuration key ("GaussBlurKernelSize=")
        const char* pLabel;  ///< label msgid
        RowKind eKind;
        double dMin = 0.0; ///< number range (per component for points)
        double dMax = 1.0;
        double dStep = 0.1;                    ///< one arrow click
        std::vector<const char*> vChoice = {}; ///< entry msgids of a choice (value = position)
    };
    /// How animated values are shown.
    enum ParamKind {
        kParamNumber, ///< value iIndex
        kParamRange,  ///< values iIndex (low) and iIndex2 (high) on one dual slider
        kParamPoint,  ///< values iIndex .. iIndex + 2 as one point
    };
    /// One row of animated values.
    struct ParamDef {
        ParamKind eKind;
        int iIndex;
        int iIndex2;
        const char* pLabel; ///< label msgid (empty: the parameter set's own label)
        double dMin;
        double dMax;
        double dStep;
    };
    /// What the panel of one item type shows.
    struct Defs {
        std::vector<SettingDef> vSetting;
        std::vector<ParamDef> vParam;
    };
    /// The rows of item type `type` (0..18; an empty table for others).
    static const Defs& GetDefs(int type);

    /// Called after every edit the panel made (the chain must be processed again).
    using EditedFunc = std::function<void()>;
    /// Called before every edit of a chain from the filter pages: the window waits there for a
    /// chain run on the worker to end, so that no edit meets a running chain. GUI thread.
    static void SetBeforeEditFunc(std::function<void()> f);
    /// Runs the installed before-edit function (nothing when none is installed).
    static void BeforeEdit();
    /// Fills the histogram of the frame being shown; false when there is none.
    using HistogramFunc = std::function<bool(std::array<uint64_t, 256>&)>;

    /// A panel for the item with `tag` in `chain` (not owned; the chain outlives the panel).
    /// Call Build() once after construction. GUI thread.
    FilterItemGUI_cls(wxWindow* parent, FilterCtrl_cls* chain, const std::wstring& tag);
    /// Creates the widgets (virtual parts included) and shows the item's values.
    void Build();
    /// The panel for an item of the chain: the graph panels for the level-and-gamma and the
    /// density-curve items, the plain panel for the others.
    static FilterItemGUI_cls* Create(wxWindow* parent, FilterCtrl_cls* chain, const std::wstring& tag);

    const std::wstring& GetTag() const { return mStrTag; }
    /// The item (null when it left the chain).
    FilterBase_cls* GetItem() const;
    void SetEditedFunc(EditedFunc f) { mOnEdited = std::move(f); }
    void SetHistogramFunc(HistogramFunc f) { mHistogram = std::move(f); }
    /// Every widget from the item's current values (after undo, redo, a time change).
    void UpdateFromItem();
    /// Puts the focus into the label box, its text selected (the chain panel's Rename).
    void FocusName();

    /// What the widgets show, one "fi.key=text" line each (settings by key, animated values by
    /// their label): for the state report.
    std::wstring DescribeWidgets() const;
    /// Where the inputs are on the screen, one "fiw.key=x y width height shown" line each.
    std::wstring DescribeWidgetPlaces() const;

  protected:
    /// Widgets of the item type itself below the rows (the graphs).
    virtual void BuildExtra(wxBoxSizer* sizer) {}
    /// Refreshes them from the item.
    virtual void UpdateExtra() {}
    /// Extra lines of the state report.
    virtual std::wstring DescribeExtra() const { return L""; }
    /// Announces an edit (the chain must run again, the panels refresh).
    void Edited();
    /// Sets animated value `index` to `value` as one undo step (a key at the current time, or
    /// the constant of a set that is not animated).
    bool SetParamValue(int index, double value);
    /// Sets two animated values as one undo step.
    bool SetParamValues(int index, double value, int index2, double value2);
    /// The histogram of the shown frame (false: none).
    bool GetHistogram(std::array<uint64_t, 256>& counts) const { return mHistogram && mHistogram(counts); }
    static std::wstring Place(const wxWindow* w);

    FilterCtrl_cls* mpChain;
    std::wstring mStrTag;
    bool mbUpdating = false;

  private:
    struct SettingRow {
        const SettingDef* pDef;
        int iListIndex; ///< place of the key in the item's configuration list
        wxCheckBox* pCheck = nullptr;
        NumInput_cls* pNumber = nullptr;
        ChoiceRow_cls* pChoice = nullptr;
        PointInput_cls* pPoint = nullptr;
        std::vector<wxCheckBox*> vpChecks;
        wxTextCtrl* pText = nullptr;
    };
    struct ParamRow {
        const ParamDef* pDef;
        std::wstring strLabel;
        NumInput_cls* pNumber = nullptr;
        DualSlider_cls* pRange = nullptr;
        NumInput_cls* pLow = nullptr;
        NumInput_cls* pHigh = nullptr;
        PointInput_cls* pPoint = nullptr;
    };
    void BuildSettingRow(wxBoxSizer* sizer, const SettingDef& def);
    void BuildParamRow(wxBoxSizer* sizer, const ParamDef& def);
    void UpdateSettingRow(SettingRow& row);
    void UpdateParamRow(ParamRow& row);
    /// Issues the number or switch change of component `component` of a setting row.
    void ChangeSetting(const SettingRow& row, int component, double value);
    void ChangeText(int listIndex, const std::wstring& value, wxTextCtrl* box);

    EditedFunc mOnEdited;
    HistogramFunc mHistogram;
    wxCheckBox* mpValid = nullptr;
    wxTextCtrl* mpName = nullptr;
    wxButton* mpShowTL = nullptr;
    std::vector<SettingRow> mvSetting;
    std::vector<ParamRow> mvParam;
};
