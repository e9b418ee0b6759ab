#include "anim/ParameterGroup_cls.h"

#include "config/LineStream_cls.h"
#include "config/TessanAssert.h"
#include "config/TextFormat.h"

namespace
{
const std::wstring kGroupTag = L"--ParameterGroup:";
const std::wstring kGroupEnd = L"--ParameterGroupEnd";
const std::wstring kMemberPrefix = L"Parameter_";

std::wstring Trimmed(const std::wstring& line)
{
    std::wstring s = StripLineEnd(line);
    while (!s.empty() && (s.back() == L' ' || s.back() == L'\t'))
        s.pop_back();
    return s;
}
} // namespace

ParameterGroup_cls::ParameterGroup_cls(const std::wstring& name) : mStrName(name)
{
}

Parameters_cls& ParameterGroup_cls::AddMember(unsigned dimension, const std::wstring& setName, const double* values)
{
    TESSAN_ASSERT(Find(setName) == nullptr, "SRC/ANIM/clsParameterGroup");
    auto set = std::make_unique<Parameters_cls>(dimension, setName);
    std::vector<double> initial(dimension, 0.0);
    if (values != nullptr)
        initial.assign(values, values + dimension);
    set->ProcClearKey(initial);
    mvInitial.push_back(initial);
    mvpMember.push_back(std::move(set));
    return *mvpMember.back();
}

Parameters_cls* ParameterGroup_cls::GetPMember(int i) const
{
    if (i < 0 || i >= GetMemberNumber())
        return nullptr;
    return mvpMember[static_cast<size_t>(i)].get();
}

Parameters_cls* ParameterGroup_cls::Find(const std::wstring& setName) const
{
    for (const auto& member : mvpMember)
        if (member->GetName() == setName)
            return member.get();
    return nullptr;
}

void ParameterGroup_cls::ResetToInitial()
{
    for (size_t i = 0; i < mvpMember.size(); ++i) {
        Parameters_cls fresh(mvpMember[i]->GetDimension(), mvpMember[i]->GetName());
        fresh.ProcClearKey(mvInitial[i]);
        mvpMember[i]->RestoreSnapshot(fresh.TakeSnapshot());
    }
}

std::wstring ParameterGroup_cls::Serialize() const
{
    std::wstring text = kGroupTag + mStrName + L"\n";
    text += WStrPrintf("ParameterGroupMembers=%d\n", GetMemberNumber());
    for (const auto& member : mvpMember)
        text += member->Serialize();
    text += kGroupEnd + L"\n";
    return text;
}

bool ParameterGroup_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& firstLine)
{
    if (Trimmed(firstLine) != kGroupTag + mStrName)
        return false;
    std::wstring line;
    while (stream.GetLine(line)) {
        const std::wstring head = Trimmed(line);
        if (head == kGroupEnd)
            break;
        // Another block begins: this one was cut short; leave the line to the caller.
        if (head.rfind(L"--", 0) == 0) {
            stream.UngetLine();
            break;
        }
        if (head.rfind(kMemberPrefix, 0) == 0)
            if (Parameters_cls* member = Find(head.substr(kMemberPrefix.size())))
                member->ReadStrLine(stream, head);
        // Members of other versions and the member count are skipped: the owner fixes the
        // membership.
    }
    return true;
}
