// Image-sequence export of the preview.
// Sections: names and menu; start; one image per idle pass; the end.
#include "gui/ImgSequence_cls.h"

#include "anim/TimeCtrl_cls.h"
#include "config/Main_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "gui/FrameMain_cls.h"
#include "gui/MainGLCanvas_cls.h"
#include "gui/SeqExportProgressGUI_cls.h"
#include "gui/Shortcut_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/ExportIMGSeq_cls.h"

#include <wx/filedlg.h>
#include <wx/image.h>
#include <wx/menu.h>

#include <algorithm>
#include <cstring>
#include <cwctype>
#include <filesystem>
#include <system_error>

namespace
{

bool PathTaken(const std::wstring& path)
{
    std::error_code ec;
    return std::filesystem::exists(std::filesystem::symlink_status(std::filesystem::path(Narrow(path)), ec));
}

} // namespace

// --- names and menu ---------------------------------------------------------------------------

std::wstring ImgSequence_cls::PatternFromName(const std::wstring& chosen, const std::wstring& defaultExt)
{
    const size_t slash = chosen.find_last_of(L'/');
    const std::wstring folder = slash == std::wstring::npos ? L"" : chosen.substr(0, slash + 1);
    std::wstring name = slash == std::wstring::npos ? chosen : chosen.substr(slash + 1);
    std::wstring ext = defaultExt;
    const size_t dot = name.find_last_of(L'.');
    if (dot != std::wstring::npos && dot > 0) {
        ext = name.substr(dot);
        name.erase(dot);
    }
    size_t digits = 0;
    while (digits < name.size() && name[name.size() - 1 - digits] >= L'0' && name[name.size() - 1 - digits] <= L'9')
        ++digits;
    std::wstring stem = name.substr(0, name.size() - digits);
    if (digits == 0 && !stem.empty() && stem.back() != L'_' && stem.back() != L'-')
        stem += L'_';
    auto escape = [](const std::wstring& text) {
        std::wstring out;
        for (wchar_t c : text) {
            out += c;
            if (c == L'%')
                out += L'%';
        }
        return out;
    };
    return escape(folder + stem) + WStrPrintf("%%0%dd", static_cast<int>(std::max<size_t>(4, digits))) + escape(ext);
}

std::wstring ImgSequence_cls::BaseNameFromPath(const std::wstring& chosen)
{
    std::wstring stem = std::filesystem::path(chosen).stem().wstring();
    while (!stem.empty() && std::iswdigit(stem.back()))
        stem.pop_back();
    while (!stem.empty() && (stem.back() == L'_' || stem.back() == L'-' || stem.back() == L'.'))
        stem.pop_back();
    return stem;
}

void ImgSequence_cls::BuildExportSubmenu(wxMenuBar* bar)
{
    const int file = bar ? bar->FindMenu(TrW("&File")) : wxNOT_FOUND;
    if (file == wxNOT_FOUND)
        return;
    wxMenu* menu = bar->GetMenu(static_cast<size_t>(file));
    size_t at = 0;
    if (!menu->FindChildItem(kIdExportImgSeq, &at))
        return;
    auto* sub = new wxMenu;
    for (int id : {kIdExportImgSeq, kIdExportIsoSeq})
        if (menu->FindChildItem(id))
            sub->Append(menu->Remove(id));
    menu->Insert(at, wxID_ANY, TrW("&Export"), sub);
}

ImgSequence_cls::ImgSequence_cls(FrameMain_cls* frame, Main_cls* main) : mpFrame(frame), mpMain(main)
{
    mpFrame->Bind(wxEVT_MENU, &ImgSequence_cls::OnMenu, this, kIdExportImgSeq);
    mpFrame->Bind(wxEVT_IDLE, &ImgSequence_cls::OnIdle, this);
}

ImgSequence_cls::~ImgSequence_cls()
{
    mpFrame->Unbind(wxEVT_MENU, &ImgSequence_cls::OnMenu, this, kIdExportImgSeq);
    mpFrame->Unbind(wxEVT_IDLE, &ImgSequence_cls::OnIdle, this);
}

void ImgSequence_cls::OnMenu(wxCommandEvent&)
{
    if (mbRunning)
        return;
    const std::wstring base = mpFrame->GetImgSeqName();
    wxFileDialog dialog(mpFrame, TrW("Export image sequence"), wxEmptyString,
                        (base.empty() ? std::wstring(L"Image") : base) + L"_0000.png", TrW("PNG image (*.png)|*.png"),
                        wxFD_SAVE);
    if (dialog.ShowModal() != wxID_OK)
        return;
    // The name chosen becomes the controller's base name: the next export offers it again, and
    // a saved project remembers it.
    const std::wstring chosen = dialog.GetPath().ToStdWstring();
    const std::wstring chosenBase = BaseNameFromPath(chosen);
    if (!chosenBase.empty())
        mpMain->SetImgSeqName(chosenBase);
    Start(PatternFromName(chosen, L".png"));
}

// --- start ------------------------------------------------------------------------------------

bool ImgSequence_cls::Start(const std::wstring& pattern)
{
    UserPrompt_cls* prompt = GetUserPrompt();
    auto refuse = [&](const std::wstring& text) {
        prompt->Message(text, TrW("Write Error"));
        return false;
    };
    if (mbRunning)
        return false;
    DF3SeqCtrl_cls& seqCtrl = mpMain->GetSeqCtrl();
    bool any = false;
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot)
        any |= seqCtrl.GetSequence(slot).GetFrameCount() > 0;
    if (!any)
        return refuse(TrW("No data is loaded"));
    TimeCtrl_cls& clock = mpMain->GetTimeCtrl();
    if (clock.IsPlaying())
        clock.Play(TimeCtrl_cls::kStopped);
    const int step = clock.GetStep();
    mviFrames.clear();
    for (int f = clock.GetWAMin(); f <= clock.GetWAMax(); f += step)
        mviFrames.push_back(f);
    ExportIMGSeq_cls::Settings names;
    names.strPattern = pattern;
    std::wstring error;
    if (!ExportIMGSeq_cls::MakeFileNames(names, static_cast<uint32_t>(mviFrames.size()), mvStrNames, error))
        return refuse(error);
    // Every name is checked first: a refused export leaves no file behind.
    for (const std::wstring& name : mvStrNames)
        if (PathTaken(name))
            return refuse(WStrPrintf("%s %s", Narrow(name).c_str(), Tr("overwrite forbidden").c_str()));
    miFrameBefore = clock.GetIndex();
    muPos = 0;
    mbStopRequested = false;
    mbRunning = true;
    mpProgress = new SeqExportProgressGUI_cls(mpFrame, TrW("Image sequence"));
    mpProgress->Update(0, WStrPrintf(Tr("Writing %zu images: %s").c_str(), mvStrNames.size(),
                                     Narrow(mvStrNames.empty() ? L"" : mvStrNames.front()).c_str()));
    prompt->SetProgress(0);
    mpFrame->WakeIdle();
    return true;
}

void ImgSequence_cls::Stop()
{
    mbStopRequested = true;
}

// --- one image per idle pass ------------------------------------------------------------------

void ImgSequence_cls::OnIdle(wxIdleEvent& event)
{
    event.Skip(); // the window's own idle work goes on as well
    if (!mbRunning)
        return;
    if (Step())
        event.RequestMore();
}

bool ImgSequence_cls::Step()
{
    if (mbStopRequested || (mpProgress && mpProgress->IsStopRequested())) {
        Finish(L"");
        return false;
    }
    if (muPos >= mviFrames.size()) {
        Finish(L"");
        return false;
    }
    TimeCtrl_cls& clock = mpMain->GetTimeCtrl();
    clock.SetIndex(mviFrames[muPos]);
    const int number = clock.GetOffsetForImgSeq();
    if (number < 0 || static_cast<size_t>(number) >= mvStrNames.size()) {
        Finish(WStrPrintf(Tr("Frame %d lies outside the working area").c_str(), clock.GetIndex()));
        return false;
    }
    MainGLCanvas_cls* canvas = mpFrame->GetExportCanvas();
    if (!canvas || !canvas->MakeContextCurrent()) {
        Finish(TrW("The view can not be drawn"));
        return false;
    }
    // The picture must show this frame in every slot: bring each current frame up in full.
    DF3SeqCtrl_cls& seqCtrl = mpMain->GetSeqCtrl();
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        DF3Sequence_cls& sequence = seqCtrl.GetSequence(slot);
        if (sequence.GetFrameCount() > 0)
            seqCtrl.IdleProcessesMainEach(slot, sequence.GetRemappedIndex(-1), true, false);
    }
    std::vector<uint8_t> rgb;
    int width = 0, height = 0;
    if (!canvas->GrabPixels(rgb, width, height) || width <= 0 || height <= 0) {
        Finish(TrW("The view can not be drawn"));
        return false;
    }
    wxImage image(width, height, false);
    std::memcpy(image.GetData(), rgb.data(), static_cast<size_t>(width) * height * 3);
    const std::wstring& name = mvStrNames[static_cast<size_t>(number)];
    // Checked again now: a file may have appeared since the start.
    if (PathTaken(name)) {
        Finish(WStrPrintf("%s %s", Narrow(name).c_str(), Tr("overwrite forbidden").c_str()));
        return false;
    }
    if (!image.SaveFile(wxString(name), wxBITMAP_TYPE_PNG)) {
        std::error_code ec;
        std::filesystem::remove(std::filesystem::path(Narrow(name)), ec);
        Finish(WStrPrintf(Tr("%s could not be written completely").c_str(), Narrow(name).c_str()));
        return false;
    }
    ++muPos;
    const int percent = static_cast<int>(muPos * 100 / mviFrames.size());
    const std::wstring text =
        WStrPrintf(Tr("Image sequence: %zu of %zu images written").c_str(), muPos, mviFrames.size());
    GetUserPrompt()->SetProgress(percent);
    GetUserPrompt()->SetStatusText(text, 0);
    if (mpProgress)
        mpProgress->Update(percent, text + L"\n" + name);
    return true;
}

// --- the end ----------------------------------------------------------------------------------

void ImgSequence_cls::Finish(const std::wstring& error)
{
    mbRunning = false;
    if (mpProgress) {
        mpProgress->Destroy();
        mpProgress = nullptr;
    }
    UserPrompt_cls* prompt = GetUserPrompt();
    prompt->SetProgress(-1);
    mpMain->GetTimeCtrl().SetIndex(miFrameBefore);
    if (!error.empty()) {
        prompt->Message(error, TrW("Write Error"));
        return;
    }
    if (muPos < mviFrames.size())
        prompt->SetStatusText(
            WStrPrintf(Tr("Image sequence stopped: %zu of %zu images written").c_str(), muPos, mviFrames.size()), 0);
    else
        prompt->SetStatusText(WStrPrintf(Tr("Image sequence: %zu images written").c_str(), muPos), 0);
}
