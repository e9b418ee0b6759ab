// Parameter groups: fixed members, their block in project text, members of other versions.
#include "anim/ParameterGroup_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"

#include <gtest/gtest.h>

namespace
{

std::wstring ReadAll(ParameterGroup_cls& group, const std::wstring& text)
{
    LineStream_cls stream(text);
    std::wstring rest;
    for (std::wstring line; stream.GetLine(line);)
        if (!group.ReadStrLine(stream, line))
            rest += line + L"\n";
    return rest;
}

TEST(ParameterGroupTest, MembersRoundTripWithTheirKeys)
{
    const int oldFrames = Parameters_cls::GetFrameNumber();
    Parameters_cls::SetFrameNumber(100);
    UndoManager_cls undo;
    ParameterGroup_cls group(L"HotSpot");
    const double spot[4] = {1, 2, 3, 0.5};
    Parameters_cls& member = group.AddMember(4, L"HSpot", spot);
    member.SetUndoManager(&undo);
    group.AddMember(1, L"Other", nullptr).SetUndoManager(&undo);
    EXPECT_EQ(group.GetMemberNumber(), 2);
    EXPECT_EQ(group.Find(L"Other"), group.GetPMember(1));
    EXPECT_EQ(group.GetPMember(2), nullptr);
    EXPECT_DOUBLE_EQ(member.GetPInterpolatedValue(0.3)[3], 0.5);
    member.ExecCommandTimeDependent(true);
    const double a[4] = {0, 0, 0, 1}, b[4] = {1, 1, 1, 2};
    member.ExecCommandSetKey(0.0, a, 0, nullptr, nullptr);
    member.ExecCommandSetKey(1.0, b, 0, nullptr, nullptr);
    const std::wstring text = group.Serialize();
    EXPECT_EQ(text.rfind(L"--ParameterGroup:HotSpot\nParameterGroupMembers=2\nParameter_HSpot\n", 0), 0u);

    ParameterGroup_cls copy(L"HotSpot");
    copy.AddMember(4, L"HSpot", nullptr);
    copy.AddMember(1, L"Other", nullptr);
    EXPECT_EQ(ReadAll(copy, L"Before=1\n" + text + L"After=2\n"), L"Before=1\nAfter=2\n");
    EXPECT_EQ(copy.Serialize(), text);
    EXPECT_DOUBLE_EQ(copy.GetPMember(0)->GetPInterpolatedValue(0.5)[3], 1.5);

    copy.ResetToInitial();
    EXPECT_EQ(copy.GetPMember(0)->GetKeyNumber(), 1);
    EXPECT_FALSE(copy.GetPMember(0)->IsTimeDependent());
    EXPECT_DOUBLE_EQ(copy.GetPMember(0)->GetPInterpolatedValue(0.5)[3], 0.0);
    Parameters_cls::SetFrameNumber(oldFrames);
}

TEST(ParameterGroupTest, OtherGroupsAndUnknownMembersAreNotTaken)
{
    ParameterGroup_cls group(L"MainParam");
    const double one = 1.0;
    group.AddMember(1, L"BaseAlpha", &one);
    ParameterGroup_cls other(L"HotSpot");
    other.AddMember(4, L"HSpot", nullptr);
    // A group of another name stays with the caller.
    EXPECT_EQ(ReadAll(group, other.Serialize()).rfind(L"--ParameterGroup:HotSpot\n", 0), 0u);
    // A member this version does not know is skipped; the known one is read.
    const std::wstring text = L"--ParameterGroup:MainParam\n"
                              L"ParameterGroupMembers=2\n"
                              L"Parameter_FutureThing\n"
                              L"dimension 1\n"
                              L"itemnum 1\n"
                              L"0 1 0 9 0 0\n"
                              L"Parameter_BaseAlpha\n"
                              L"dimension 1\n"
                              L"timeDepend 0\n"
                              L"itemnum 1\n"
                              L"0 1 0 0.25 0 0\n"
                              L"--ParameterGroupEnd\n";
    EXPECT_EQ(ReadAll(group, text), L"");
    EXPECT_DOUBLE_EQ(group.Find(L"BaseAlpha")->GetPInterpolatedValue(0.0)[0], 0.25);
    // A block cut short ends at the next block, which goes back to the caller.
    ParameterGroup_cls cut(L"MainParam");
    cut.AddMember(1, L"BaseAlpha", &one);
    EXPECT_EQ(ReadAll(cut, L"--ParameterGroup:MainParam\nParameterGroupMembers=1\n--LightSource\n"),
              L"--LightSource\n");
}

} // namespace
