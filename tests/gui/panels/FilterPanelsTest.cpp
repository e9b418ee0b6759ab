// The filter panels built for real (on Xvfb) and edited through their widgets: every input of
// every item type's panel changes its item as exactly one undo step that undo takes back; the
// chain page adds, moves, switches and removes items through the history and follows undo; the
// density-curve graph's point edits and the level graph's histogram and curve.
#include "anim/UndoManager_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/LayerColorCurve_cls.h"
#include "filter/LevelAndGamma_cls.h"
#include "gui/ChoiceRow_cls.h"
#include "gui/FilterChainGUI_cls.h"
#include "gui/FilterItemGUI_cls.h"
#include "gui/GraphPanel_cls.h"
#include "gui/LayerColorCurveGUI_cls.h"
#include "gui/LevelAndGammaGUI_cls.h"
#include "gui/NumInput_cls.h"
#include "gui/WidgetMath_cls.h"

#include <gtest/gtest.h>

#include <wx/app.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/frame.h>
#include <wx/textctrl.h>

#include <vector>

namespace
{

wxFrame* GFrame = nullptr;
/// Room for a settings panel in the control panel (its default width less the page borders and
/// the scroll bar).
constexpr int kControlPanelWidth = 260;

template <typename T> void Collect(wxWindow* w, std::vector<T*>& out)
{
    for (wxWindow* child : w->GetChildren()) {
        if (auto* t = dynamic_cast<T*>(child))
            out.push_back(t);
        Collect(child, out);
    }
}

/// The item's whole text form: any change of a setting or of the animated values shows here.
std::wstring TextOf(FilterCtrl_cls& chain, const std::wstring& tag)
{
    FilterBase_cls* item = chain.GetPFromTag(tag);
    return item ? item->SerializeConf() : L"(gone)";
}

void Send(wxWindow* w, wxEventType type, int value)
{
    wxCommandEvent event(type, w->GetId());
    event.SetEventObject(w);
    event.SetInt(value);
    w->GetEventHandler()->ProcessEvent(event);
}

class FilterPanels : public ::testing::Test
{
  protected:
    void SetUp() override { GetUndoManager().Clear(); }
    void TearDown() override
    {
        GFrame->DestroyChildren();
        GetUndoManager().Clear();
    }
};

} // namespace

TEST_F(FilterPanels, EveryInputOfEveryTypeIsOneUndoStep)
{
    UndoManager_cls& undo = GetUndoManager();
    int totalEdits = 0;
    for (int type = 0; type < FilterBase_cls::kTypeNum; ++type) {
        SCOPED_TRACE(type);
        FilterCtrl_cls chain;
        ASSERT_TRUE(chain.AddFilterExecute(type, -1));
        const std::wstring tag = chain.GetPFilterBase(0)->GetIdTag();
        FilterItemGUI_cls* panel = FilterItemGUI_cls::Create(GFrame, &chain, tag);
        // The control panel beside the views is about 300 pixels wide: every panel fits in it.
        EXPECT_LE(panel->GetBestSize().x, kControlPanelWidth) << "panel too wide";
        int edited = 0;
        // One edit and its undo: the item changes, one undo step restores it exactly.
        auto checkEdit = [&](const char* what, auto&& edit) {
            const std::wstring before = TextOf(chain, tag);
            const int position = undo.GetPosition();
            edit();
            const std::wstring after = TextOf(chain, tag);
            EXPECT_NE(after, before) << what << ": the edit changed nothing";
            EXPECT_TRUE(undo.CanUndo()) << what;
            EXPECT_GT(undo.GetPosition(), position) << what;
            undo.UndoCurrent();
            EXPECT_EQ(TextOf(chain, tag), before) << what << ": one undo step does not restore the item";
            EXPECT_EQ(undo.GetPosition(), position) << what;
            chain.UpdateParameters(-1.0);
            panel->UpdateFromItem();
            ++edited;
        };

        std::vector<NumInput_cls*> numbers;
        Collect(panel, numbers);
        for (NumInput_cls* in : numbers) {
            const double old = in->GetValue();
            double target = old + in->GetStep();
            if (target > in->GetMax())
                target = old - in->GetStep();
            checkEdit("number", [&] {
                in->GetTextCtrl()->ChangeValue(WidgetMath_cls::FormatNumber(target, false));
                EXPECT_TRUE(in->Commit());
            });
            // After undo the box shows the old value again.
            EXPECT_DOUBLE_EQ(in->GetValue(), old);
        }
        std::vector<wxCheckBox*> boxes;
        Collect(panel, boxes);
        for (wxCheckBox* box : boxes) {
            const bool old = box->GetValue();
            checkEdit("check box", [&] {
                box->SetValue(!old);
                Send(box, wxEVT_CHECKBOX, old ? 0 : 1);
            });
            EXPECT_EQ(box->GetValue(), old);
        }
        std::vector<ChoiceRow_cls*> choices;
        Collect(panel, choices);
        for (ChoiceRow_cls* row : choices) {
            wxChoice* choice = row->GetChoice();
            ASSERT_GT(choice->GetCount(), 1u);
            const int old = choice->GetSelection();
            const int other = (old + 1) % static_cast<int>(choice->GetCount());
            checkEdit("choice", [&] {
                choice->SetSelection(other);
                Send(choice, wxEVT_CHOICE, other);
            });
            EXPECT_EQ(choice->GetSelection(), old);
        }
        std::vector<wxTextCtrl*> texts;
        Collect(panel, texts);
        for (wxTextCtrl* text : texts) {
            if (dynamic_cast<NumInput_cls*>(text->GetParent()))
                continue; // number boxes are done above
            const wxString old = text->GetValue();
            checkEdit("text", [&] {
                text->ChangeValue(old + L"X");
                Send(text, wxEVT_TEXT_ENTER, 0);
            });
            EXPECT_EQ(text->GetValue(), old);
        }
        // The label, the switch, and at least one own setting or animated value.
        EXPECT_GE(edited, 3);
        // An empty label is refused: the box gets the old one back, nothing is recorded.
        for (wxTextCtrl* text : texts) {
            if (text->GetValue() != chain.GetPFilterBase(0)->GetPData()->GetName())
                continue;
            const int position = undo.GetPosition();
            text->ChangeValue(L"");
            Send(text, wxEVT_TEXT_ENTER, 0);
            EXPECT_EQ(undo.GetPosition(), position);
            EXPECT_EQ(text->GetValue(), chain.GetPFilterBase(0)->GetPData()->GetName());
        }
        totalEdits += edited;
        panel->Destroy();
    }
    EXPECT_GT(totalEdits, 19 * 3);
    RecordProperty("edits", totalEdits);
}

TEST_F(FilterPanels, ChainPageEditsGoThroughTheHistoryAndFollowUndo)
{
    UndoManager_cls& undo = GetUndoManager();
    FilterCtrl_cls chain;
    auto* page = new FilterChainGUI_cls(GFrame, &chain);
    chain.FuncHookChanged = [page](FilterCtrl_cls&) { page->UpdateFromChain(); };
    int edits = 0;
    page->SetEditedFunc([&] { ++edits; });

    ASSERT_TRUE(page->AddItem(5));
    EXPECT_EQ(page->GetSelection(), 0);
    ASSERT_TRUE(page->GetItemPanel());
    // Added after the selected item, and selected itself.
    ASSERT_TRUE(page->AddItem(4));
    page->SelectItem(0);
    ASSERT_TRUE(page->AddItem(6));
    EXPECT_EQ(page->GetSelection(), 1);
    EXPECT_NE(page->DescribeWidgets().find(L"fc.items=[x] Gauss Blur|[x] Level Gamma|[x] Volume\n"), std::wstring::npos)
        << Narrow(page->DescribeWidgets());
    EXPECT_EQ(page->GetItemPanel()->GetTag(), chain.GetPFilterBase(1)->GetIdTag());

    // Up: the level item goes first and stays selected.
    ASSERT_TRUE(page->MoveSelected(-1));
    EXPECT_EQ(chain.GetPFilterBase(0)->GetType(), 6);
    EXPECT_EQ(page->GetSelection(), 0);
    EXPECT_FALSE(page->MoveSelected(-1)); // already first
    ASSERT_TRUE(page->SetItemEnabled(1, false));
    EXPECT_FALSE(chain.GetPFilterBase(1)->GetPData()->IsValid());
    EXPECT_NE(page->DescribeWidgets().find(L"fc.items=[x] Level Gamma|[ ] Gauss Blur|[x] Volume\n"),
              std::wstring::npos);
    EXPECT_FALSE(page->SetItemEnabled(1, false)); // no change, no step

    // Undo twice: switched on again, the old order; the page shows it.
    undo.UndoCurrent();
    undo.UndoCurrent();
    EXPECT_NE(page->DescribeWidgets().find(L"fc.items=[x] Gauss Blur|[x] Level Gamma|[x] Volume\n"), std::wstring::npos)
        << Narrow(page->DescribeWidgets());
    EXPECT_EQ(page->GetSelection(), 1); // the selection followed its item

    // Removing the selected item drops its settings panel; undo brings the item back.
    ASSERT_TRUE(page->RemoveSelected());
    EXPECT_EQ(chain.GetItemNum(), 2);
    EXPECT_EQ(page->GetItemPanel(), nullptr);
    EXPECT_FALSE(page->RemoveSelected());
    undo.UndoCurrent();
    EXPECT_EQ(chain.GetItemNum(), 3);
    EXPECT_NE(page->DescribeWidgets().find(L"fc.count=3\n"), std::wstring::npos);
    EXPECT_EQ(edits, 6); // three additions, one move, one switch, one removal
    chain.FuncHookChanged = nullptr;
}

TEST_F(FilterPanels, DensityCurvePointsAreEditedAsSingleSteps)
{
    UndoManager_cls& undo = GetUndoManager();
    FilterCtrl_cls chain;
    ASSERT_TRUE(chain.AddFilterExecute(10, -1));
    auto* item = dynamic_cast<LayerColorCurve_cls*>(chain.GetPFilterBase(0));
    ASSERT_TRUE(item);
    auto* panel = dynamic_cast<LayerColorCurveGUI_cls*>(FilterItemGUI_cls::Create(GFrame, &chain, item->GetIdTag()));
    ASSERT_TRUE(panel);
    ASSERT_EQ(panel->GetGraph()->GetPoints().size(), 2u); // the identity's two ends
    const double mid = item->GetCurveValue(0.5);
    EXPECT_NEAR(mid, 0.5, 1e-9);

    // A point raises the middle of the curve; one undo takes it away.
    ASSERT_TRUE(panel->AddPoint(0.5, 0.8));
    EXPECT_EQ(item->GetPoints().GetItemNumber(), 3);
    EXPECT_NEAR(item->GetCurveValue(0.5), 0.8, 1e-9);
    panel->UpdateFromItem();
    EXPECT_EQ(panel->GetGraph()->GetPoints().size(), 3u);
    undo.UndoCurrent();
    item->UpdateParameters(-1.0);
    EXPECT_EQ(item->GetPoints().GetItemNumber(), 2);
    EXPECT_NEAR(item->GetCurveValue(0.5), 0.5, 1e-9);
    undo.ExecCurrent();
    item->UpdateParameters(-1.0);
    EXPECT_NEAR(item->GetCurveValue(0.5), 0.8, 1e-9);

    // Dragging the upper end down flattens the top; undo puts it back.
    ASSERT_TRUE(panel->MovePoint(1, 1.0, 0.6));
    EXPECT_NEAR(item->GetCurveValue(1.0), 0.6, 1e-9);
    EXPECT_FALSE(panel->MovePoint(1, 1.0, 0.6)); // no change, no step
    undo.UndoCurrent();
    item->UpdateParameters(-1.0);
    EXPECT_NEAR(item->GetCurveValue(1.0), 1.0, 1e-9);

    ASSERT_TRUE(panel->RemovePoint(2));
    EXPECT_EQ(item->GetPoints().GetItemNumber(), 2);
    EXPECT_FALSE(panel->RemovePoint(7));
    undo.UndoCurrent();
    EXPECT_EQ(item->GetPoints().GetItemNumber(), 3);
}

TEST_F(FilterPanels, LevelGraphShowsTheHistogramAndTheMapping)
{
    FilterCtrl_cls chain;
    ASSERT_TRUE(chain.AddFilterExecute(6, -1));
    auto* item = dynamic_cast<LevelAndGamma_cls*>(chain.GetPFilterBase(0));
    auto* panel = dynamic_cast<LevelAndGammaGUI_cls*>(FilterItemGUI_cls::Create(GFrame, &chain, item->GetIdTag()));
    ASSERT_TRUE(panel);
    GFrame->SetClientSize(400, 800);
    panel->SetSize(380, 780);
    panel->Layout();
    EXPECT_EQ(panel->GetGraph()->GetHistogramCoverage(), 0.0); // no frame yet
    panel->SetHistogramFunc([](std::array<uint64_t, 256>& counts) {
        counts.fill(0);
        for (int d = 0; d < 128; ++d)
            counts[static_cast<size_t>(d)] = 10 + d;
        return true;
    });
    panel->UpdateFromItem();
    const double coverage = panel->GetGraph()->GetHistogramCoverage();
    EXPECT_GT(coverage, 0.45);
    EXPECT_LT(coverage, 0.55);
    const std::wstring shown = panel->DescribeWidgets();
    EXPECT_NE(shown.find(L"fi.graph.curve=0.0000 0.2500 0.5000 0.7500 1.0000\n"), std::wstring::npos) << Narrow(shown);
    // The output window through its boxes: the curve follows.
    std::vector<NumInput_cls*> numbers;
    Collect(panel, numbers);
    // Boxes in panel order: InMin, InMax, OutMin, OutMax, gamma, offset.
    ASSERT_EQ(numbers.size(), 6u);
    numbers[3]->GetTextCtrl()->ChangeValue(L"0.5");
    ASSERT_TRUE(numbers[3]->Commit());
    EXPECT_NE(panel->DescribeWidgets().find(L"fi.graph.curve=0.0000 0.1250 0.2500 0.3750 0.5000\n"), std::wstring::npos)
        << Narrow(panel->DescribeWidgets());
}

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    wxApp::SetInstance(new wxApp());
    if (!wxEntryStart(argc, argv)) {
        fprintf(stderr, "no display for the panels\n");
        return 1;
    }
    GFrame = new wxFrame(nullptr, wxID_ANY, "panels");
    const int result = RUN_ALL_TESTS();
    GFrame->Destroy();
    wxEntryCleanup();
    return result;
}
