#pragma once
// The "Data Slots" panel: one tab per data slot with the slot's files, which of them are loaded
// (voxels read, textures bound), the current frame, and the memory the frames use against the
// limits at which frames are released. Choosing a tab makes that slot the active one, the slot
// that opening, appending and closing act on. Refreshed from the idle loop; GUI thread.
#include <wx/panel.h>

#include <array>
#include <string>

class DF3SeqCtrl_cls;
class DF3Sequence_cls;
class wxListBox;
class wxNotebook;
class wxBookCtrlEvent;
class wxStaticText;

class SequencePanel_cls : public wxPanel
{
  public:
    /// Load state of one frame as the list shows it.
    enum FrameState { kNotLoaded = 0, kVoxels = 1, kTextured = 2 };
    /// One list line: current-frame mark, state mark, index and file name, e.g.
    /// "> [T] 3 data_0003.df3" ("[T]" textured, "[V]" voxels only, "[ ]" not loaded).
    static std::wstring FrameLine(int index, const std::wstring& path, FrameState state, bool current);
    /// The three memory counters against their limits, one a line:
    /// "Texture 12/256 MB\nXY 3/512 MB\nXYZ 10/512 MB".
    static std::wstring MemoryLine(unsigned tex, unsigned texLimit, unsigned xy, unsigned xyLimit, unsigned xyz,
                                   unsigned xyzLimit);
    /// The state of frame i of `sequence`.
    static FrameState GetFrameState(const DF3Sequence_cls& sequence, int i);

    /// ctrl: the data slots (not owned; outlives the panel).
    SequencePanel_cls(wxWindow* parent, DF3SeqCtrl_cls* ctrl);
    /// Shows what the slots hold now; cheap when nothing changed.
    void UpdateFromSlots();
    /// What the panel shows, for the state report ("seq.tab=", "seq.frame=", "seq.memory=",
    /// "seq.items=" with the lines of the shown tab joined by "|").
    std::wstring DescribeWidgets() const;

  private:
    void OnPageChanged(wxBookCtrlEvent& event);

    DF3SeqCtrl_cls* mpCtrl;
    wxNotebook* mpBook = nullptr;
    std::array<wxListBox*, 4> mvpList{};
    std::array<wxStaticText*, 4> mvpFrame{};
    wxStaticText* mpMemory = nullptr;
    std::array<std::wstring, 4> mvStrShown; ///< what each tab shows, to skip unchanged updates
};
