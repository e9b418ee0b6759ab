#include "anim/MultiParameters_cls.h"
#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace
{

class ParametersText : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        Parameters_cls::SetFrameNumber(100);
        Parameters_cls::SetCurrentDoubleIndex(0.0);
    }
    std::unique_ptr<Parameters_cls> MakeSet(const wchar_t* name, unsigned dim)
    {
        auto p = std::make_unique<Parameters_cls>(dim, name);
        p->SetUndoManager(&mUndo);
        Parameters_cls::Snapshot empty;
        empty.bTimeDepend = true;
        p->RestoreSnapshot(empty);
        return p;
    }
    /// A set with one key of every interpolation type, awkward numbers and user tangents.
    std::unique_ptr<Parameters_cls> MakeRichSet()
    {
        auto p = MakeSet(L"LevelAndGamma", 3);
        const double values[5][3] = {{1.0 / 3.0, -2.5e-7, 123456789.123},
                                     {0.1, 0.2, 0.3},
                                     {-7.25, 1e-12, 42.0},
                                     {2.0 / 7.0, 5.5, -0.125},
                                     {9.87654321, 0.0, 1e20}};
        const double d1[3] = {0.75, -1.0 / 9.0, 3.0};
        const double weight[3] = {0.35, 0.0, 0.0};
        const double times[5] = {0.0, 0.17, 0.333, 0.6, 1.0};
        for (unsigned type = 0; type < 5; ++type)
            p->ExecCommandSetKey(times[type], values[type], type, d1, weight);
        p->SetVisible(false);
        return p;
    }
    static std::wstring RoundTrip(const std::wstring& text, Parameters_cls& into)
    {
        LineStream_cls stream(text);
        std::wstring first;
        EXPECT_TRUE(stream.GetLine(first));
        EXPECT_TRUE(into.ReadStrLine(stream, first));
        EXPECT_TRUE(stream.AtEnd());
        return into.Serialize();
    }
    UndoManager_cls mUndo;
};

TEST_F(ParametersText, TheTextFormHasTheItemLinesAndOneLinePerKey)
{
    auto p = MakeSet(L"Isosurface", 2);
    const double v[2] = {1.5, -2.0};
    p->ExecCommandSetKey(0.25, v, kInterpLinear, nullptr, nullptr);
    EXPECT_EQ(p->Serialize(), L"Parameter_Isosurface\n"
                              L"dimension 2\n"
                              L"timeDepend 1\n"
                              L"visible 1\n"
                              L"show 1\n"
                              L"selectable 1\n"
                              L"itemnum 1\n"
                              L"0.25 2 0 1.5 -2 0 0 0 0\n");
    const double third = 1.0 / 3.0;
    KeyFrame_cls key(1);
    key.Set(third, kInterpHermite, &third, &third, nullptr, false);
    EXPECT_EQ(key.Serialize(), L"0.333333333 1 3 0.333333333 0.333333333 0\n") << "nine significant digits";
}

TEST_F(ParametersText, EveryInterpolationTypeSurvivesARoundTrip)
{
    auto p = MakeRichSet();
    const std::wstring first = p->Serialize();
    auto q = MakeSet(L"LevelAndGamma", 3);
    const std::wstring second = RoundTrip(first, *q);
    EXPECT_EQ(second, first);
    EXPECT_FALSE(q->IsVisible());
    ASSERT_EQ(q->GetKeyNumber(), 5);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(q->GetPKeyFrame(i)->GetType(), static_cast<unsigned>(i));
    EXPECT_DOUBLE_EQ(q->GetPKeyFrameValueD2(2)[0], 0.35) << "the SEMIAUTO weight is kept";
    EXPECT_NEAR(q->GetPInterpolatedValue(0.45, 0.0)[0], p->GetPInterpolatedValue(0.45, 0.0)[0], 1e-8);
}

TEST_F(ParametersText, RoundTripUnderADecimalCommaLocale)
{
    auto p = MakeRichSet();
    const std::wstring reference = p->Serialize();
    ScopedCommaLocale comma;
    if (!comma.Active())
        GTEST_SKIP() << "no locale with a decimal comma installed";
    const std::wstring written = p->Serialize();
    EXPECT_EQ(written, reference);
    EXPECT_EQ(written.find(L','), std::wstring::npos);
    auto q = MakeSet(L"LevelAndGamma", 3);
    EXPECT_EQ(RoundTrip(written, *q), reference);
    EXPECT_DOUBLE_EQ(q->GetKeyFrameDoubleIndex(2), 0.333);
}

TEST_F(ParametersText, ReadingOnlyTakesItsOwnNameAndStopsAtForeignLines)
{
    auto p = MakeRichSet();
    auto other = MakeSet(L"Isosurface", 3);
    LineStream_cls stream(p->Serialize());
    std::wstring first;
    stream.GetLine(first);
    EXPECT_FALSE(other->ReadStrLine(stream, first));
    EXPECT_EQ(other->GetKeyNumber(), 0);

    // The key count promises more keys than follow: the block marker after them is handed back.
    std::wstring text = L"Parameter_Isosurface\ntimeDepend 1\nitemnum 3\n0.5 3 0 1 2 3 0 0 0 0 0 0\n--END\n";
    LineStream_cls s2(text);
    s2.GetLine(first);
    EXPECT_TRUE(other->ReadStrLine(s2, first));
    EXPECT_EQ(other->GetKeyNumber(), 1);
    std::wstring next;
    ASSERT_TRUE(s2.GetLine(next));
    EXPECT_EQ(next, L"--END");

    // A key line of another dimension is adapted to the set's own; short lines read zeros.
    LineStream_cls s3(L"Parameter_Isosurface\nitemnum 2\n0.1 1 0 5\n0.2 5 1 1 2\n");
    s3.GetLine(first);
    EXPECT_TRUE(other->ReadStrLine(s3, first));
    ASSERT_EQ(other->GetKeyNumber(), 2);
    EXPECT_EQ(other->GetPKeyFrame(0)->GetDimension(), 3u);
    EXPECT_EQ(other->GetPKeyFrameValue(0)[0], 5.0);
    EXPECT_EQ(other->GetPKeyFrameValue(0)[1], 0.0);
    EXPECT_EQ(other->GetPKeyFrameValue(1)[1], 2.0);
    EXPECT_EQ(other->GetPKeyFrameValue(1)[2], 0.0);
}

TEST_F(ParametersText, MultiParametersRoundTripAndUndoableItems)
{
    MultiParameters_cls lights(4, L"Light");
    lights.SetUndoManager(&mUndo);
    int hookCalls = 0;
    lights.FuncHookItemNumberChanged = [&hookCalls](MultiParameters_cls&) { ++hookCalls; };
    const double init[4] = {1.0, 2.0, 3.0, 0.5};
    lights.SetInitParam(init);
    EXPECT_TRUE(lights.AddItem());
    EXPECT_TRUE(lights.AddItem());
    EXPECT_EQ(lights.GetItemNumber(), 2);
    EXPECT_EQ(lights.GetActiveIndex(), 1);
    EXPECT_DOUBLE_EQ(lights.GetPActiveItem()->GetPCurrentValue()[3], 0.5);
    const double key[4] = {4.0, 5.0, 6.0, 0.25};
    lights.GetPItem(0)->ExecCommandSetKey(0.5, key, kInterpStep, nullptr, nullptr);
    lights.GetPItem(1)->SetTimeDependent(true, false);
    lights.GetPItem(1)->ExecCommandSetKey(0.75, key, kInterpHermiteSemiAuto, nullptr, init);

    const std::wstring first = lights.Serialize();
    EXPECT_EQ(first.rfind(L"--MultiParameter:Light\nMultiParamItemNum=2\nParameter_Light\n", 0), 0u);
    MultiParameters_cls copy(4, L"Light");
    LineStream_cls stream(first);
    std::wstring head;
    stream.GetLine(head);
    EXPECT_TRUE(copy.ReadStrLine(stream, head));
    EXPECT_EQ(copy.GetItemNumber(), 2);
    EXPECT_EQ(copy.Serialize(), first);

    {
        ScopedCommaLocale comma;
        if (comma.Active()) {
            MultiParameters_cls german(4, L"Light");
            LineStream_cls s2(lights.Serialize());
            s2.GetLine(head);
            EXPECT_TRUE(german.ReadStrLine(s2, head));
            EXPECT_EQ(german.Serialize(), first);
        }
    }

    // Removing the active item and undoing brings the same item back.
    Parameters_cls* second = lights.GetPItem(1);
    hookCalls = 0;
    EXPECT_TRUE(lights.RemoveItem());
    EXPECT_EQ(lights.GetItemNumber(), 1);
    EXPECT_TRUE(Parameters_cls::IsLive(second)) << "the command keeps the removed item";
    mUndo.UndoCurrent();
    EXPECT_EQ(lights.GetItemNumber(), 2);
    EXPECT_EQ(lights.GetPItem(1), second);
    EXPECT_EQ(hookCalls, 2);
    EXPECT_EQ(lights.Serialize(), first);
    // Its own key edits are still undoable after coming back.
    mUndo.UndoCurrent();
    EXPECT_EQ(second->GetKeyNumber(), 1) << "the key at 0.75 was undone";
    lights.HideTLPanel(0);
    EXPECT_TRUE(lights.GetPItem(0)->IsShow());
    EXPECT_FALSE(lights.GetPItem(1)->IsShow());
}

TEST_F(ParametersText, CopiedKeysPasteAtTheCurrentTimeAsOneStep)
{
    auto source = MakeSet(L"Isosurface", 2);
    const double a[2] = {1.0, 0.1};
    const double b[2] = {2.0, 0.2};
    const double c[2] = {3.0, 0.3};
    source->ExecCommandSetKey(0.1, a, kInterpLinear, nullptr, nullptr);
    source->ExecCommandSetKey(0.2, b, kInterpStep, nullptr, nullptr);
    source->ExecCommandSetKey(0.4, c, kInterpHermite, nullptr, nullptr);
    EXPECT_EQ(source->CopyKeyFrameToClipBoard(), L"") << "nothing selected";
    source->SetKeySelected(1, true);
    source->SetKeySelected(2, true);
    const std::wstring clip = source->CopyKeyFrameToClipBoard();

    auto target = MakeSet(L"Isosurface", 2);
    const double z[2] = {0.0, 0.0};
    target->ExecCommandSetKey(0.7, z, kInterpLinear, nullptr, nullptr);
    const int before = mUndo.GetPosition();
    Parameters_cls::SetCurrentDoubleIndex(0.5);
    EXPECT_TRUE(target->PasteKeyFrameFromClipBoard(clip));
    ASSERT_EQ(target->GetKeyNumber(), 2) << "the key pasted at 0.7 overwrote the one there";
    EXPECT_DOUBLE_EQ(target->GetKeyFrameDoubleIndex(0), 0.5);
    EXPECT_DOUBLE_EQ(target->GetPKeyFrameValue(0)[0], 2.0);
    EXPECT_EQ(target->GetPKeyFrame(0)->GetType(), static_cast<unsigned>(kInterpStep));
    EXPECT_NEAR(target->GetKeyFrameDoubleIndex(1), 0.7, 1e-12);
    EXPECT_DOUBLE_EQ(target->GetPKeyFrameValue(1)[1], 0.3);
    mUndo.UndoCurrent();
    EXPECT_EQ(mUndo.GetPosition(), before);
    ASSERT_EQ(target->GetKeyNumber(), 1);
    EXPECT_DOUBLE_EQ(target->GetPKeyFrameValue(0)[0], 0.0);

    auto wrongDim = MakeSet(L"Isosurface", 3);
    EXPECT_FALSE(wrongDim->PasteKeyFrameFromClipBoard(clip));
    EXPECT_FALSE(target->PasteKeyFrameFromClipBoard(L"some other text\n"));
    EXPECT_EQ(mUndo.GetPosition(), before) << "a refused paste records nothing";
}

} // namespace
