#include "volume/DF3Sequence_cls.h"

#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "config/LineStream_cls.h"
#include "config/PreviewProperty_cls.h"
#include "config/TextFormat.h"
#include "config/UserPrompt_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/PovCrossSection_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "filter/PovThreeView_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3_cls.h"
#include "volume/ImageStackSeries_cls.h"
#include "volume/NumberedSeries_cls.h"
#include "volume/SourceFormat_cls.h"
#include "volume/TexObjectJobsHeadless_cls.h"
#include "volume/ThreadProcessFrame.h"

#include <algorithm>
#include <cstring>
#include <limits>

// A frame of the slot with its texture jobs and its two ages.
struct DF3Sequence_cls::Frame_cls {
    std::unique_ptr<DF3_cls> pDF3;
    std::unique_ptr<TexObjectJobs_cls> pTex;
    uint32_t uTexAge = 0;
    uint32_t uVoxAge = 0;
};

namespace
{

const wchar_t* const kFileBlockBegin = L"--DF3SequenceFiles";
const wchar_t* const kFileBlockEnd = L"--END";
const std::wstring kFileKey = L"DF3SeqFile=";
const std::wstring kImageStackKey = L"DF3SeqImageStack=";

uint32_t AddAge(uint32_t age, uint32_t increment)
{
    const uint32_t room = std::numeric_limits<uint32_t>::max() - age;
    return increment > room ? std::numeric_limits<uint32_t>::max() : age + increment;
}

// Paths go into one line each: backslash, tab and line breaks are escaped so any path survives.
std::wstring EscapePath(const std::wstring& path)
{
    std::wstring out;
    out.reserve(path.size());
    for (wchar_t c : path) {
        switch (c) {
        case L'\\':
            out += L"\\\\";
            break;
        case L'\n':
            out += L"\\n";
            break;
        case L'\r':
            out += L"\\r";
            break;
        case L'\t':
            out += L"\\t";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::wstring UnescapePath(const std::wstring& text)
{
    std::wstring out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != L'\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const wchar_t next = text[++i];
        out += next == L'n' ? L'\n' : next == L'r' ? L'\r' : next == L't' ? L'\t' : next;
    }
    return out;
}

std::wstring FileName(const std::wstring& path)
{
    const size_t slash = path.find_last_of(L'/');
    return slash == std::wstring::npos ? path : path.substr(slash + 1);
}

// Items whose results the preview draws with the frame: isosurfaces and sections.
bool IsPreviewOutput(const FilterBase_cls* item)
{
    return dynamic_cast<const PovIsosurface_cls*>(item) || dynamic_cast<const PovCrossSection_cls*>(item) ||
           dynamic_cast<const PovThreeView_cls*>(item);
}

} // namespace

// ---- settings and owner links --------------------------------------------------------------------

DF3Sequence_cls::DF3Sequence_cls() : mpFilterCtrl(std::make_unique<FilterCtrl_cls>(this, 0))
{
    mCConfList.Add(&mCDownSizeSRC, L"DownSizeSRC=", L"1 1 1");
}

DF3Sequence_cls::~DF3Sequence_cls()
{
    // The worker holds a frame and the chain: it ends before either goes.
    WaitProcessing();
}

void DF3Sequence_cls::Link(DF3SeqCtrl_cls* ctrl, int slot, TimeCtrl_cls* clock)
{
    mpCtrl = ctrl;
    miSlot = slot;
    mpTimeCtrl = clock;
    miLastEvaluated = -1;
    mpFilterCtrl->SetSequenceIndex(slot);
}

uint32_t DF3Sequence_cls::GetDownSizeSRC(int axis) const
{
    if (mpCtrl)
        return mpCtrl->GetDownSizeSRC(axis);
    uint32_t f = mCDownSizeSRC.Get(axis);
    return f == 0 ? 1 : f;
}

void DF3Sequence_cls::SetDownSizeSRC(int axis, uint32_t factor)
{
    if (mpCtrl)
        mpCtrl->SetDownSizeSRC(axis, factor);
    else
        mCDownSizeSRC.Set(axis, factor);
}

UserPrompt_cls* DF3Sequence_cls::GetMessageParent() const
{
    return mpMessageParent ? mpMessageParent : GetUserPrompt();
}

bool DF3Sequence_cls::IsPaused() const
{
    return mpCtrl && mpCtrl->IsPauseLoading();
}

bool DF3Sequence_cls::IsPrefetchOn() const
{
    return mpCtrl ? mpCtrl->IsPrefetch() : true;
}

bool DF3Sequence_cls::Is3DTexturePreview() const
{
    return GetPreviewProperty().Is3DTexture();
}

// ---- files and frames ----------------------------------------------------------------------------

int DF3Sequence_cls::AppendFileSequence(const std::wstring& path, bool findSeries, unsigned appendType)
{
    if (path.empty())
        return 0;
    // An image names one slice of a stack: the frames are whole stacks (and, with findSeries, the
    // stacks of every time point around it); other files are one frame each.
    const int format = SourceFormat_cls::FromPath(path);
    std::vector<FileEntry> entries;
    if (format == DF3_cls::FORMAT_IMGSEQ) {
        if (findSeries)
            entries = ImageStackSeries_cls::Find(path);
        if (entries.empty())
            entries.push_back(FileEntry{path, L"", format});
    } else {
        const std::vector<std::wstring> found = findSeries ? NumberedSeries_cls::Find(path) : std::vector{path};
        entries.reserve(found.size());
        for (const std::wstring& file : found)
            entries.push_back(FileEntry{file, L"", format});
    }

    const int oldCount = GetFrameCount();
    const int oldLength = mpTimeCtrl ? mpTimeCtrl->GetMaxFrame() : 0;
    size_t at = mvFiles.size();
    if (appendType == kInsertAfterCurrent && !mvFiles.empty())
        at = static_cast<size_t>(CurrentIndex()) + 1;
    mvFiles.insert(mvFiles.begin() + static_cast<std::ptrdiff_t>(at), entries.begin(), entries.end());
    SetIndividualFileNames();

    if (mpTimeCtrl) {
        const int newLength = GetFrameCount() - 1;
        // Keys sit on normalised time; scaling them by old/new length keeps each on its data frame.
        if (oldCount > 0 && oldLength > 0 && newLength != oldLength)
            Parameters_cls::RemapKeyFrameAll(oldLength, newLength);
        mpTimeCtrl->SetMaxFrame(newLength);
    }
    return static_cast<int>(entries.size());
}

void DF3Sequence_cls::AppendFiles(const std::vector<FileEntry>& files)
{
    WaitProcessing();
    mvFiles.insert(mvFiles.end(), files.begin(), files.end());
    SetIndividualFileNames();
}

void DF3Sequence_cls::ClearFileSequence()
{
    WaitProcessing();
    ReleaseAll();
    mvFiles.clear();
    mvFrames.clear();
    mvPreFetch.clear();
    miLastEvaluated = -1;
}

std::unique_ptr<TexObjectJobs_cls> DF3Sequence_cls::CreateTexJobs(DF3_cls& frame)
{
    if (mpCtrl)
        return mpCtrl->CreateTexJobs(frame);
    return std::make_unique<TexObjectJobsHeadless_cls>();
}

void DF3Sequence_cls::SetIndividualFileNames()
{
    WaitProcessing();
    std::vector<std::unique_ptr<Frame_cls>> old = std::move(mvFrames);
    mvFrames.clear();
    mvFrames.reserve(mvFiles.size());
    for (const FileEntry& entry : mvFiles) {
        // A file that stays in the list keeps its frame, loaded data and textures included.
        auto same = std::find_if(old.begin(), old.end(), [&](const std::unique_ptr<Frame_cls>& f) {
            return f && f->pDF3->GetFilePath() == entry.strPath && f->pDF3->GetFilePath2() == entry.strPath2 &&
                   f->pDF3->GetFilePathFormat() == entry.iFormat;
        });
        if (same != old.end()) {
            mvFrames.push_back(std::move(*same));
            continue;
        }
        auto frame = std::make_unique<Frame_cls>();
        frame->pDF3 = std::make_unique<DF3_cls>(this);
        frame->pDF3->SetFilePath(entry.strPath, entry.strPath2, entry.iFormat);
        frame->pTex = CreateTexJobs(*frame->pDF3);
        mvFrames.push_back(std::move(frame));
    }
    for (size_t i = 0; i < mvFrames.size(); ++i) {
        DF3_cls& df3 = *mvFrames[i]->pDF3;
        df3.SetSelfIndex(static_cast<int32_t>(i));
        df3.SetNeighbourFrame(i + 1 < mvFrames.size() ? mvFrames[i + 1]->pDF3.get() : nullptr);
    }
    mvPreFetch.assign(mvFrames.size(), 0);
    miLastEvaluated = -1;
}

DF3_cls* DF3Sequence_cls::GetDF3(int i) const
{
    if (i < 0 || i >= GetFrameCount())
        return nullptr;
    return mvFrames[static_cast<size_t>(i)]->pDF3.get();
}

TexObjectJobs_cls* DF3Sequence_cls::GetTexJobs(int i) const
{
    if (i < 0 || i >= GetFrameCount())
        return nullptr;
    return mvFrames[static_cast<size_t>(i)]->pTex.get();
}

std::wstring DF3Sequence_cls::GetInformationText() const
{
    if (mvFiles.empty())
        return L"";
    if (mvFiles.size() == 1)
        return FileName(mvFiles.front().strPath);
    return FileName(mvFiles.front().strPath) + L" ... " + FileName(mvFiles.back().strPath) +
           WStrPrintf(" [%zu]", mvFiles.size());
}

// ---- bringing a frame up -------------------------------------------------------------------------

int DF3Sequence_cls::IdleProcessesMain(int index, bool full, bool skipTexture)
{
    if (mvFrames.empty())
        return kIdleNothing;
    index = std::clamp(index, 0, GetLastIndex());
    Frame_cls& frame = *mvFrames[static_cast<size_t>(index)];
    DF3_cls& df3 = *frame.pDF3;
    UserPrompt_cls* parent = GetMessageParent();

    // 1. Nothing to load, a frame that failed before, or loading paused.
    if (df3.GetFilePath().empty() || !df3.IsValid() || IsPaused())
        return kIdleNothing;
    // A frame wanted now is brought up on this thread from here on; a frame the processing
    // worker reads (its own or the neighbour it blends) is not written meanwhile. An idle step
    // looks for a few milliseconds whether the run has ended and otherwise leaves the pass:
    // the window stays free while the chain runs.
    if (full) {
        WaitProcessing();
    } else if (!PollProcessingOn(df3, TexObjectJobs_cls::kProcessPollWait)) {
        NoteStage("process");
        return kIdleStep;
    }

    // 2. The file changed since it was read: forget the contents. Same-size buffers are kept for
    //    the new contents, which are read into them at once below. A frame without buffers has
    //    nothing to forget: its header is read anew below.
    if (df3.IsFileChanged() && df3.IsAllocated())
        df3.FakeRelease();

    // 3. Header and buffers.
    if (!df3.IsAllocated()) {
        NoteStage("header");
        if (!df3.ReadHeader(parent)) {
            df3.Release(); // drops buffers FakeRelease kept for contents that will not come
            return kIdleStep;
        }
        if (!df3.Allocate() || !full)
            return kIdleStep;
    }

    // 4. The body, 25 ms at a time unless the frame is needed now.
    if (!df3.IsReadFinished()) {
        NoteStage("body");
        if (!df3.ReadBodyIfNotFinished(full, parent) || !full)
            return kIdleStep;
    }

    // 5. Slices across X and Y for the 2D-texture stacks. The idle pass builds them in 25 ms
    //    slices; a frame needed now gets complete copies.
    if (!Is3DTexturePreview()) {
        NoteStage("axis");
        if (!df3.IsAllocatedXY()) {
            if (!df3.AllocateXY())
                return kIdleFailed;
            if (!full)
                return kIdleStep;
        }
        if (!df3.IsXYConstructFinished()) {
            df3.ConstructXYAxisData(!full);
            if (!full)
                return kIdleStep;
        }
    }

    // 6. Isosurface and section items hold the results of one frame, the one processed last,
    //    and the preview draws them beside the shown frame's textures. Frames ahead are
    //    therefore only read and sliced while such items are in the chain; a shown frame whose
    //    textures were made while the items moved on to another frame is processed again.
    const bool outputs = HasPreviewOutputItems();
    if (skipTexture || (!full && outputs && !IsCurrentFrame(index)))
        return kIdleNothing;

    TexObjectJobs_cls& tex = *frame.pTex;
    if (outputs && tex.IsTexObjectGenFinished()) {
        // The items are read only once no run writes them.
        // (A full step has joined every run above.)
        if (!full && !PollProcessing(TexObjectJobs_cls::kProcessPollWait)) {
            NoteStage("process");
            return kIdleStep;
        }
        if (!PreviewOutputsHold(index)) {
            NoteStage("delete");
            tex.DeleteTexObjects(true, IsCurrentFrame(index));
        }
    }
    // 7. Textures made from older contents (or of the other texture kind) go first.
    const bool otherKind = tex.HasTexObjects() && tex.Is3DTexture() != Is3DTexturePreview();
    if (df3.IsDirty() || tex.IsTexObjectDeleteInProcess() || otherKind) {
        NoteStage("delete");
        df3.Clean();
        tex.DeleteTexObjects(full, IsCurrentFrame(index));
        if (!full)
            return kIdleStep;
    }

    // 8. Generation runs the slot's processing on the frame.
    if (!tex.IsTexObjectGenFinished()) {
        NoteStage(!tex.IsTexObjectGenInProcess() || tex.IsWaitingForProcessing(df3) ? "process" : "texgen");
        if (!tex.GenerateTexObjects(df3, full))
            return kIdleFailed;
        // The textures now hold (or, while the job runs on in later steps, are being made from)
        // the current contents; processing marked the frame dirty.
        if (tex.IsTexObjectGenFinished() || tex.IsTexObjectGenInProcess())
            df3.Clean();
        if (!full)
            return kIdleStep;
    }

    // 9. Binding.
    if (tex.IsTexObjectBindFinished())
        return kIdleNothing;
    NoteStage("bind");
    if (!tex.BindTexObjects(df3, full))
        return kIdleFailed;
    if (full)
        return kIdleNothing;
    return tex.IsTexObjectBindFinished() ? kIdleBound : kIdleStep;
}

// ---- fetching, ages and releasing ----------------------------------------------------------------

void DF3Sequence_cls::ResetAges(int i)
{
    if (i < 0 || i >= GetFrameCount())
        return;
    mvFrames[static_cast<size_t>(i)]->uTexAge = 0;
    mvFrames[static_cast<size_t>(i)]->uVoxAge = 0;
}

bool DF3Sequence_cls::IdleProcessesFetch()
{
    if (mvFrames.empty() || IsPaused())
        return false;
    const bool prefetch = IsPrefetchOn();
    if (prefetch)
        UpdatePreFetchList();
    const int last = GetLastIndex();
    const int c = CurrentIndex();
    const int forwardEnd = mpCtrl ? mpCtrl->GetPrefetchForwardEnd() : c + 1;
    const int backwardEnd = mpCtrl ? mpCtrl->GetPrefetchBackwardEnd() : c - 1;
    auto visit = [&](int i) {
        if (mpTimeCtrl && !mpTimeCtrl->IsWorkingArea(i))
            return false;
        if (!GetPreFetchMark(i))
            return false;
        ResetAges(i);
        if (!prefetch)
            return false;
        const int result = IdleProcessesMain(i, false, false);
        return result == kIdleStep || result == kIdleBound;
    };
    // Ahead of the current frame first: that is where the clock goes next.
    for (int i = c; i < forwardEnd && i <= last; ++i)
        if (visit(i))
            return true;
    for (int i = c; i > backwardEnd && i >= 0; --i)
        if (visit(i))
            return true;
    return false;
}

void DF3Sequence_cls::UpdatePreFetchList()
{
    mvPreFetch.assign(mvFrames.size(), 0);
    if (mvFrames.empty())
        return;
    if (!mpTimeCtrl) {
        std::fill(mvPreFetch.begin(), mvPreFetch.end(), 1);
        return;
    }
    // Only frames the clock will show, through the remap and at the current step.
    const int length = mpTimeCtrl->GetMaxFrame();
    const int step = mpTimeCtrl->GetStep();
    for (int k = 0; k <= length; k += step)
        mvPreFetch[static_cast<size_t>(GetRemappedIndex(k))] = 1;
}

void DF3Sequence_cls::EvaluateOldPoint()
{
    const int c = CurrentIndex();
    miLastEvaluated = c;
    if (mvFrames.empty())
        return;
    int direction = 0;
    int sceneIndex = c;
    if (mpTimeCtrl) {
        if (!mpTimeCtrl->IsPlaying())
            mpTimeCtrl->ResetPlayDirection();
        direction = mpTimeCtrl->GetPlayDirection();
        sceneIndex = mpTimeCtrl->GetIndex();
    }
    ResetAges(c);
    const int backwardEnd = mpCtrl ? mpCtrl->GetPrefetchBackwardEnd() : c - 1;
    const int forwardEnd = mpCtrl ? mpCtrl->GetPrefetchForwardEnd() : c + 1;
    for (int i = 0; i < GetFrameCount(); ++i) {
        Frame_cls& frame = *mvFrames[static_cast<size_t>(i)];
        const bool marked = GetPreFetchMark(i) != 0;
        uint32_t increment = marked ? 1 : 6;
        // Frames already passed age fastest. The comparison is with the scene index, not the
        // remapped data index; kept so for the behaviour users know.
        if ((direction == 1 && i < sceneIndex) || (direction == -1 && i > sceneIndex))
            increment *= 3;
        if (frame.pTex->HasTexObjects())
            frame.uTexAge = AddAge(frame.uTexAge, increment);
        if (frame.pDF3->IsAllocated())
            frame.uVoxAge = AddAge(frame.uVoxAge, increment);
        if (marked && backwardEnd < i && i < forwardEnd)
            ResetAges(i);
    }
}

bool DF3Sequence_cls::IdleProcessesRelease(bool withMargin)
{
    if (mvFrames.empty() || !mpCtrl)
        return false;
    const int c = CurrentIndex();
    if (c != miLastEvaluated)
        EvaluateOldPoint();

    // Oldest first; on equal age the lower index, by the strict comparison in index order.
    int texCandidate = -1, xyCandidate = -1, xyzCandidate = -1;
    uint32_t texAge = 0, xyAge = 0, xyzAge = 0;
    for (int i = 0; i < GetFrameCount(); ++i) {
        if (i == c)
            continue;
        const Frame_cls& frame = *mvFrames[static_cast<size_t>(i)];
        if (frame.pTex->HasTexObjects() && (texCandidate < 0 || frame.uTexAge > texAge)) {
            texCandidate = i;
            texAge = frame.uTexAge;
        }
        if (frame.pDF3->IsAllocatedXY() && (xyCandidate < 0 || frame.uVoxAge > xyAge)) {
            xyCandidate = i;
            xyAge = frame.uVoxAge;
        }
        if (frame.pDF3->IsAllocated() && (xyzCandidate < 0 || frame.uVoxAge > xyzAge)) {
            xyzCandidate = i;
            xyzAge = frame.uVoxAge;
        }
    }
    const uint32_t texMargin = withMargin ? DF3SeqCtrl_cls::kTexMarginMB : 0;
    const uint32_t xyMargin = withMargin ? DF3SeqCtrl_cls::kXYMarginMB : 0;
    const uint32_t xyzMargin = withMargin ? DF3SeqCtrl_cls::kXYZMarginMB : 0;
    if (texCandidate >= 0 &&
        static_cast<uint64_t>(mpCtrl->GetUsedTexMB()) > uint64_t{mpCtrl->GetCritTexMemoryMB()} + texMargin) {
        NoteStage("release");
        mvFrames[static_cast<size_t>(texCandidate)]->pTex->DeleteTexObjects(true, false);
        return true;
    }
    if (!Is3DTexturePreview() && xyCandidate >= 0 &&
        static_cast<uint64_t>(mpCtrl->GetUsedXYMB()) > uint64_t{mpCtrl->GetCritXYMemoryMB()} + xyMargin) {
        NoteStage("release");
        mvFrames[static_cast<size_t>(xyCandidate)]->pDF3->ReleaseXY();
        return true;
    }
    if (xyzCandidate >= 0 &&
        static_cast<uint64_t>(mpCtrl->GetUsedXYZMB()) > uint64_t{mpCtrl->GetCritXYZMemoryMB()} + xyzMargin) {
        DF3_cls& victim = *mvFrames[static_cast<size_t>(xyzCandidate)]->pDF3;
        WaitProcessingOn(victim);
        NoteStage("release");
        victim.Release();
        return true;
    }
    return false;
}

void DF3Sequence_cls::ReleaseAll()
{
    WaitProcessing();
    for (int i = 0; i < GetFrameCount(); ++i) {
        Frame_cls& frame = *mvFrames[static_cast<size_t>(i)];
        if (frame.pTex->HasTexObjects() || frame.pTex->IsTexObjectDeleteInProcess() ||
            frame.pTex->GetAllocatedTextureKB() != 0)
            frame.pTex->DeleteTexObjects(true, IsCurrentFrame(i));
        if (frame.pDF3->IsAllocated() || frame.pDF3->IsAllocatedXY())
            frame.pDF3->Release();
        frame.uTexAge = 0;
        frame.uVoxAge = 0;
    }
}

void DF3Sequence_cls::SetFileChangedTagAll()
{
    WaitProcessing();
    for (auto& frame : mvFrames)
        frame->pDF3->SetFileChangedTag();
}

uint8_t DF3Sequence_cls::GetPreFetchMark(int i) const
{
    if (i < 0 || static_cast<size_t>(i) >= mvPreFetch.size())
        return 0;
    return mvPreFetch[static_cast<size_t>(i)];
}

uint32_t DF3Sequence_cls::GetTexAge(int i) const
{
    return (i < 0 || i >= GetFrameCount()) ? 0 : mvFrames[static_cast<size_t>(i)]->uTexAge;
}

uint32_t DF3Sequence_cls::GetVoxAge(int i) const
{
    return (i < 0 || i >= GetFrameCount()) ? 0 : mvFrames[static_cast<size_t>(i)]->uVoxAge;
}

uint64_t DF3Sequence_cls::GetTextureKB() const
{
    uint64_t kb = 0;
    for (const auto& frame : mvFrames)
        kb += frame->pTex->GetAllocatedTextureKB();
    return kb;
}

uint64_t DF3Sequence_cls::GetXYKB() const
{
    uint64_t kb = 0;
    for (const auto& frame : mvFrames)
        kb += frame->pDF3->GetAllocatedXYKB();
    return kb;
}

uint64_t DF3Sequence_cls::GetXYZKB() const
{
    uint64_t kb = 0;
    for (const auto& frame : mvFrames)
        kb += frame->pDF3->GetAllocatedXYZKB();
    return kb;
}

uint64_t DF3Sequence_cls::GetStepVoxelCount() const
{
    auto voxels = [&](const DF3_cls& df3) {
        uint64_t n = 1;
        for (int a = 0; a < 3; ++a)
            n *= df3.GetTrueSize(a) / GetDownSizeSRC(a);
        return n;
    };
    const DF3_cls* current = GetCurrentDF3();
    if (current && current->GetTrueTotalSize() != 0)
        return voxels(*current);
    // Frames of a series share their size as a rule; any known one is a good estimate.
    for (const auto& frame : mvFrames)
        if (frame->pDF3->GetTrueTotalSize() != 0)
            return voxels(*frame->pDF3);
    return 0;
}

// ---- time remap ----------------------------------------------------------------------------------

bool DF3Sequence_cls::IsRemap() const
{
    return mpTimeCtrl ? mpTimeCtrl->IsUseTimeRemap() : mbRemap;
}

int DF3Sequence_cls::GetRemappedIndex(int step) const
{
    const int last = GetLastIndex();
    if (last < 0)
        return 0;
    const int index = mpTimeCtrl ? mpTimeCtrl->GetRemappedIndex(step, last) : (step < 0 ? 0 : step);
    return std::clamp(index, 0, last);
}

float DF3Sequence_cls::GetRemapInterpolateFactor() const
{
    if (!mpTimeCtrl)
        return mfRemapFactor;
    const int last = std::max(GetLastIndex(), 0);
    const double position = mpTimeCtrl->GetRemappedIndexDouble(-1, last);
    const float factor = static_cast<float>(position - GetRemappedIndex(-1));
    // Beyond the last frame (no remap) there is no neighbour to blend with.
    return (factor > 0.0f && factor < 1.0f) ? factor : 0.0f;
}

void DF3Sequence_cls::SetRemap(bool active, float factor)
{
    mbRemap = active;
    mfRemapFactor = factor;
}

// ---- processing ----------------------------------------------------------------------------------

bool DF3Sequence_cls::ProcessXYZData(uint8_t* out, const uint8_t* in, const uint32_t* size, bool blend, float factor,
                                     const uint8_t* next, int frame)
{
    if (!out || !in)
        return false;
    mpFilterCtrl->SetProcessFrame(frame);
    const bool ok = mpFilterCtrl->ProcessXYZData(out, in, size, blend, factor, next);
    if (mpFilterCtrl->WasOutputWritten())
        return ok;
    // No volume item: what is drawn and exported is the (blended) frame itself.
    size_t n = static_cast<size_t>(size[0]) * size[1] * size[2];
    if (blend && factor != 0.0f && next) {
        // Single precision and truncation, as the chain blends.
        const float keep = 1.0f - factor;
        for (size_t i = 0; i < n; ++i) {
            float v = static_cast<float>(in[i]) * keep + static_cast<float>(next[i]) * factor;
            v = v < 0.0f ? 0.0f : (v > 255.0f ? 255.0f : v);
            out[i] = static_cast<uint8_t>(v);
        }
        return ok;
    }
    if (out != in)
        std::memcpy(out, in, n);
    return ok;
}

bool DF3Sequence_cls::StartProcessing(DF3_cls& frame)
{
    // One run per slot: the chain serves one frame at a time.
    WaitProcessing();
    DF3_cls::ProcessJob job;
    if (!frame.BeginProcessXYZData(job))
        return false;
    if (!mpProcessThread)
        mpProcessThread = std::make_unique<ThreadProcessFrame>();
    // Isosurface and section items write their results while the run goes on; the preview
    // draws the copies it uploaded before until the run has been joined (IsProcessing).
    return mpProcessThread->Start(&frame, job);
}

bool DF3Sequence_cls::HasPreviewOutputItems() const
{
    for (int i = 0; i < mpFilterCtrl->GetItemNum(); ++i)
        if (IsPreviewOutput(mpFilterCtrl->GetPFilterBase(i)))
            return true;
    return false;
}

bool DF3Sequence_cls::PreviewOutputsHold(int index) const
{
    for (int i = 0; i < mpFilterCtrl->GetItemNum(); ++i) {
        const FilterBase_cls* item = mpFilterCtrl->GetPFilterBase(i);
        if (IsPreviewOutput(item) && item->GetRefreshFrame() != index)
            return false;
    }
    return true;
}

bool DF3Sequence_cls::IsProcessing(const DF3_cls* frame) const
{
    if (!mpProcessThread || !mpProcessThread->IsRunning())
        return false;
    return frame == nullptr || mpProcessThread->GetFrame() == frame;
}

bool DF3Sequence_cls::PollProcessing(std::chrono::microseconds wait)
{
    if (!IsProcessing())
        return true;
    if (!mpProcessThread->WaitFor(wait))
        return false;
    mpProcessThread->Join();
    return true;
}

void DF3Sequence_cls::WaitProcessing()
{
    if (mpProcessThread)
        mpProcessThread->Join();
}

bool DF3Sequence_cls::RunReads(const DF3_cls& frame) const
{
    if (!IsProcessing())
        return false;
    const DF3_cls* held = mpProcessThread->GetFrame();
    return held == &frame || held->GetNeighbourFrame() == &frame;
}

bool DF3Sequence_cls::PollProcessingOn(const DF3_cls& frame, std::chrono::microseconds wait)
{
    return !RunReads(frame) || PollProcessing(wait);
}

void DF3Sequence_cls::WaitProcessingOn(const DF3_cls& frame)
{
    if (RunReads(frame))
        WaitProcessing();
}

unsigned DF3Sequence_cls::GetProcessRunCount() const
{
    return mpProcessThread ? mpProcessThread->GetRunCount() : 0;
}

void DF3Sequence_cls::NoteStage(const char* stage)
{
    mpLastStage = stage;
    if (mpCtrl)
        mpCtrl->NoteStage(stage);
}

bool DF3Sequence_cls::IsReprocessRequiredFor(int frame)
{
    const double time = Parameters_cls::GetCurrentDoubleIndex();
    mpFilterCtrl->UpdateParameters(time);
    const bool chain = mpFilterCtrl->IsReprocessRequired(frame, time, nullptr);
    return chain || mbReprocessRequired;
}

bool DF3Sequence_cls::IsFilterProcessRequired() const
{
    return mbFilterProcessRequired || mpFilterCtrl->CountEffectiveDataFilterNumber() > 0;
}

// ---- file block of project files -----------------------------------------------------------------

std::wstring DF3Sequence_cls::SerializeFile() const
{
    std::wstring text = std::wstring(kFileBlockBegin) + L"\n";
    for (const FileEntry& entry : mvFiles) {
        if (entry.iFormat == 0)
            text += kFileKey + EscapePath(entry.strPath) + L"\n";
        else
            text += kImageStackKey + WStrPrintf("%d\t", entry.iFormat) + EscapePath(entry.strPath) + L"\t" +
                    EscapePath(entry.strPath2) + L"\n";
    }
    text += std::wstring(kFileBlockEnd) + L"\n";
    return text;
}

bool DF3Sequence_cls::ReadStrLineFile(LineStream_cls& stream, const std::wstring& line)
{
    if (StripLineEnd(line) != kFileBlockBegin)
        return false;
    std::vector<FileEntry> files;
    std::wstring item;
    while (stream.GetLine(item)) {
        item = StripLineEnd(item);
        if (item == kFileBlockEnd)
            break;
        if (item.compare(0, kFileKey.size(), kFileKey) == 0) {
            files.push_back(FileEntry{UnescapePath(item.substr(kFileKey.size())), L"", 0});
        } else if (item.compare(0, kImageStackKey.size(), kImageStackKey) == 0) {
            // format, first and last path separated by tabs (tabs inside paths are escaped)
            const std::wstring rest = item.substr(kImageStackKey.size());
            const size_t tab1 = rest.find(L'\t');
            const size_t tab2 = tab1 == std::wstring::npos ? std::wstring::npos : rest.find(L'\t', tab1 + 1);
            if (tab2 == std::wstring::npos)
                continue;
            files.push_back(FileEntry{UnescapePath(rest.substr(tab1 + 1, tab2 - tab1 - 1)),
                                      UnescapePath(rest.substr(tab2 + 1)),
                                      static_cast<int>(ParseLong(rest.substr(0, tab1)))});
        }
        // Other lines inside the block come from newer versions: skipped.
    }
    ClearFileSequence();
    mvFiles = std::move(files);
    SetIndividualFileNames();
    return true;
}
