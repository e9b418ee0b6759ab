#include "gui/SequencePanel_cls.h"

#include "config/TextFormat.h"
#include "config/Translate.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/TexObjectJobs_cls.h"

#include <wx/listbox.h>
#include <wx/notebook.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include <filesystem>

std::wstring SequencePanel_cls::FrameLine(int index, const std::wstring& path, FrameState state, bool current)
{
    static const wchar_t* const kMarks[3] = {L"[ ]", L"[V]", L"[T]"};
    const std::wstring name = std::filesystem::path(path).filename().wstring();
    return std::wstring(current ? L"> " : L"  ") + kMarks[state] + WStrPrintf(" %d ", index) + name;
}

std::wstring SequencePanel_cls::MemoryLine(unsigned tex, unsigned texLimit, unsigned xy, unsigned xyLimit, unsigned xyz,
                                           unsigned xyzLimit)
{
    // One counter a line keeps the panel narrow.
    return WStrPrintf("%s %u/%u MB\nXY %u/%u MB\nXYZ %u/%u MB", Tr("Texture").c_str(), tex, texLimit, xy, xyLimit, xyz,
                      xyzLimit);
}

SequencePanel_cls::FrameState SequencePanel_cls::GetFrameState(const DF3Sequence_cls& sequence, int i)
{
    const TexObjectJobs_cls* tex = sequence.GetTexJobs(i);
    if (tex != nullptr && tex->IsTexObjectGenFinished() && tex->IsTexObjectBindFinished())
        return kTextured;
    const DF3_cls* frame = sequence.GetDF3(i);
    if (frame != nullptr && frame->IsAllocated() && frame->IsReadFinished())
        return kVoxels;
    return kNotLoaded;
}

SequencePanel_cls::SequencePanel_cls(wxWindow* parent, DF3SeqCtrl_cls* ctrl) : wxPanel(parent, wxID_ANY), mpCtrl(ctrl)
{
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(new wxStaticText(this, wxID_ANY, TrW("Data Slots")), 0, wxLEFT | wxTOP, 2);
    mpBook = new wxNotebook(this, wxID_ANY);
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        auto* page = new wxPanel(mpBook, wxID_ANY);
        auto* pageSizer = new wxBoxSizer(wxVERTICAL);
        mvpFrame[static_cast<size_t>(slot)] = new wxStaticText(page, wxID_ANY, L"");
        mvpList[static_cast<size_t>(slot)] = new wxListBox(page, wxID_ANY, wxDefaultPosition, wxSize(100, 120));
        mvpList[static_cast<size_t>(slot)]->SetToolTip(
            TrW("[T] textures bound, [V] voxels read, [ ] not loaded; > marks the current frame"));
        pageSizer->Add(mvpFrame[static_cast<size_t>(slot)], 0, wxALL, 2);
        pageSizer->Add(mvpList[static_cast<size_t>(slot)], 1, wxEXPAND | wxALL, 2);
        page->SetSizer(pageSizer);
        mpBook->AddPage(page, WStrPrintf("%d", slot + 1));
    }
    mpBook->SetSelection(static_cast<size_t>(mpCtrl->GetActiveSlot()));
    mpBook->Bind(wxEVT_NOTEBOOK_PAGE_CHANGED, &SequencePanel_cls::OnPageChanged, this);
    sizer->Add(mpBook, 0, wxEXPAND | wxALL, 2);
    mpMemory = new wxStaticText(this, wxID_ANY, L"");
    sizer->Add(mpMemory, 0, wxALL, 2);
    SetSizer(sizer);
    UpdateFromSlots();
}

void SequencePanel_cls::OnPageChanged(wxBookCtrlEvent& event)
{
    // The tab shown is the slot the File menu's data commands act on.
    if (event.GetSelection() >= 0)
        mpCtrl->SetActiveSlot(event.GetSelection());
    UpdateFromSlots();
    event.Skip();
}

void SequencePanel_cls::UpdateFromSlots()
{
    if (static_cast<int>(mpBook->GetSelection()) != mpCtrl->GetActiveSlot())
        mpBook->ChangeSelection(static_cast<size_t>(mpCtrl->GetActiveSlot()));
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        const DF3Sequence_cls& sequence = mpCtrl->GetSequence(slot);
        const int count = sequence.GetFrameCount();
        const int current = count > 0 ? sequence.GetRemappedIndex(-1) : -1;
        std::vector<std::wstring> lines;
        std::wstring joined;
        const auto& files = sequence.GetFileList();
        for (int i = 0; i < count; ++i) {
            const std::wstring path = i < static_cast<int>(files.size()) ? files[static_cast<size_t>(i)].strPath : L"";
            lines.push_back(FrameLine(i, path, GetFrameState(sequence, i), i == current));
            joined += lines.back() + L"\n";
        }
        const std::wstring frameText =
            count > 0 ? WStrPrintf("%s %d / %d", Tr("Frame").c_str(), current, count) : TrW("(empty)");
        joined += frameText;
        if (joined == mvStrShown[static_cast<size_t>(slot)])
            continue;
        mvStrShown[static_cast<size_t>(slot)] = joined;
        wxListBox* list = mvpList[static_cast<size_t>(slot)];
        list->Freeze();
        list->Clear();
        for (const std::wstring& line : lines)
            list->Append(line);
        if (current >= 0 && current < static_cast<int>(list->GetCount()))
            list->EnsureVisible(current);
        list->Thaw();
        mvpFrame[static_cast<size_t>(slot)]->SetLabel(frameText);
    }
    const std::wstring memory =
        MemoryLine(mpCtrl->GetUsedTexMB(), mpCtrl->GetCritTexMemoryMB(), mpCtrl->GetUsedXYMB(),
                   mpCtrl->GetCritXYMemoryMB(), mpCtrl->GetUsedXYZMB(), mpCtrl->GetCritXYZMemoryMB());
    if (mpMemory->GetLabel().ToStdWstring() != memory)
        mpMemory->SetLabel(memory);
}

std::wstring SequencePanel_cls::DescribeWidgets() const
{
    const int tab = mpBook->GetSelection();
    std::wstring text = WStrPrintf("seq.tab=%d\n", tab);
    if (tab < 0)
        return text;
    const wxListBox* list = mvpList[static_cast<size_t>(tab)];
    text += L"seq.frame=" + mvpFrame[static_cast<size_t>(tab)]->GetLabel().ToStdWstring() + L"\n";
    std::wstring memory = mpMemory->GetLabel().ToStdWstring();
    for (wchar_t& c : memory)
        if (c == L'\n')
            c = L'|';
    text += L"seq.memory=" + memory + L"\n";
    text += L"seq.items=";
    for (unsigned i = 0; i < list->GetCount(); ++i)
        text += (i ? L"|" : L"") + list->GetString(i).ToStdWstring();
    return text + L"\n";
}
