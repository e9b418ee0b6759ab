#include "pov/PovRay_cls.h"

#include "anim/TimeCtrl_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "filter/PovVolume_cls.h"
#include "pov/Camera_cls.h"
#include "pov/ThreadPovRay.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace
{

std::wstring CurrentDir()
{
    char buf[4096];
    if (getcwd(buf, sizeof buf) == nullptr)
        return L".";
    return Widen(buf);
}

} // namespace

// ---- settings and defaults ---------------------------------------------------------------------

PovRay_cls::PovRay_cls()
{
    auto add = [this](ConfItem_cls* item, const std::wstring& key, const std::wstring& def) {
        mCConfList.Add(item, key, def);
        mvOwnDefaults.emplace_back(item, def);
    };
    add(&mStrPovRayPath, L"POVRAY_PATH=", L"/usr/bin/povray");
    add(&mStrWorkingDir, L"WORKING_DIR=", CurrentDir() + L"/" + L"POV");
    add(&mStrSnapFile, L"POV_SNAP_FILE=", L"povsnap%04d");
    add(&mStrAnimFile, L"POV_ANIM_FILE=", L"povanim%04d");
    add(&mStrOutputDir, L"PovOutputDir=", L"");
    add(&miMaxTraceLevel, L"PovMaxTraceLevel=", L"12");
    add(&mdAssumedGamma, L"PovAssumedGamma=", L"2.2");
    add(&muWorkThread, L"PovWorkThread=", L"0");
    add(&muRenderBlockSize, L"PovRenderBlockSize=", L"32");
    add(&muBoundingMethod, L"PovBoundingMethod=", L"0");
    add(&muBufferSize, L"PovBufferSize=", L"1");
    add(&muSSSQuality1, L"PovSSSQuality1=", L"50");
    // No "=" on this key: configuration files have always been written that way.
    add(&muSSSQuality2, L"PovSSSQuality2", L"50");
    add(&mdFileGamma, L"PovFileGamma=", L"1");
    add(&mdDisplayGamma, L"PovDisplayGamma=", L"1");
    add(&mbRemoveFile, L"PovRemoveFile=", L"0");
    add(&mbShowTweaks, L"PovShowTweaks=", L"0");
    add(&mbSubsetRow, L"PovSubsetRow=", L"0");
    add(&muStartRow, L"PovStartRow=", L"1");
    add(&muEndRow, L"PovEnRow=", L"480");
    for (PovSettingsBase_cls* group : std::initializer_list<PovSettingsBase_cls*>{&mCRender, &mCFormat, &mCRadiosity,
                                                                                  &mCPhotons, &mCFocalBlur, &mCBG})
        for (ConfItem_cls* item : group->GetConfList().Items())
            mCConfList.Add(item, item->GetKey(), item->GetItemStr());
    SetToDefault();
}

std::wstring PovRay_cls::SerializeConf(bool project) const
{
    if (!project)
        return mCConfList.SerializeAll();
    std::wstring text;
    for (const ConfItem_cls* item : mCConfList.Items())
        if (item != &mStrPovRayPath)
            text += item->Serialize();
    return text;
}

PovRay_cls::~PovRay_cls()
{
    WaitForThreads();
}

void PovRay_cls::SetToDefault()
{
    for (auto& [item, def] : mvOwnDefaults)
        item->SetItem(item->GetKey(), def);
    mCRender.SetToDefault();
    mCFormat.SetToDefault();
    mCRadiosity.SetToDefault();
    mCPhotons.SetToDefault();
    mCFocalBlur.SetToDefault();
    mCBG.SetToDefault();
    PovVolume_cls::ResetDefaults();
}

void PovRay_cls::SetSubsetRow(bool on, unsigned first, unsigned last)
{
    mbSubsetRow.Set(on);
    muStartRow.Set(first);
    muEndRow.Set(last);
}

unsigned PovRay_cls::GetWorkThreadsForIni() const
{
    if (muWorkThread.Get() != 0)
        return muWorkThread.Get();
    unsigned cores = muProcessorCount != 0 ? muProcessorCount : std::thread::hardware_concurrency();
    return std::max(1u, cores / 2);
}

double PovRay_cls::GetRadianForVisCheck() const
{
    // The widest of the horizontal and vertical half angles of a 4:3 view of 45 degrees, with
    // a margin so that blocks at the picture's edge are never dropped.
    return 0.5 * 60.0 * M_PI / 180.0 * std::max(1.0, mCFormat.GetAspect());
}

UserPrompt_cls* PovRay_cls::Prompt() const
{
    return mpPrompt != nullptr ? mpPrompt : GetUserPrompt();
}

// ---- file names --------------------------------------------------------------------------------

std::wstring PovRay_cls::GetFileStr(unsigned kind, unsigned eye) const
{
    const std::wstring& pattern = kind == 1 ? mStrAnimFile.Get() : mStrSnapFile.Get();
    if (eye != 1 && eye != 2)
        return pattern;
    const wchar_t letter = eye == 1 ? L'L' : L'R';
    std::wstring out;
    for (wchar_t c : pattern) {
        if (c == L'%')
            out += letter;
        out += c;
    }
    return out;
}

std::wstring PovRay_cls::FormatStem(const std::wstring& pattern, int frame)
{
    // Only the integer conversion is filled; any other "%" stays as it is, so a pattern typed by
    // the user can never make the formatting read arguments that are not there.
    std::wstring out;
    bool done = false;
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (!done && pattern[i] == L'%') {
            size_t j = i + 1;
            while (j < pattern.size() && pattern[j] >= L'0' && pattern[j] <= L'9')
                ++j;
            if (j < pattern.size() && pattern[j] == L'd' && j - i - 1 <= 3) {
                const std::string format = "%" + Narrow(pattern.substr(i + 1, j - i - 1)) + "d";
                out += Widen(StrPrintf(format.c_str(), frame));
                i = j;
                done = true;
                continue;
            }
        }
        out += pattern[i];
    }
    if (out.size() > kStemBufferLength - 1)
        out.resize(kStemBufferLength - 1);
    return out;
}

// ---- scene and option text ---------------------------------------------------------------------

std::wstring PovRay_cls::GetPovStrCommon() const
{
    std::wstring s;
    s += L"\n";
    s += L"#include \"functions.inc\"";
    s += L"\n";
    s += L"#include \"shapes.inc\"";
    s += L"\n";
    s += L"#declare WORKINGDIR=\"" + (mbRelativePaths ? std::wstring(L".") : GetWorkingDir()) + L"/" + L"\"";
    s += L"\n";
    s += L"global_settings {";
    s += L"\n";
    s += L"\tcharset utf8";
    s += L"\n";
    s += WStrPrintf("\tmax_trace_level %d", miMaxTraceLevel.Get());
    s += L"\n";
    s += WStrPrintf("\tsubsurface { samples %u,%u}", muSSSQuality1.Get(), muSSSQuality2.Get());
    s += L"\n";
    s += mCRadiosity.GetPovStr();
    s += mCPhotons.GetPovStr();
    s += L"}";
    s += L"\n";
    s += mCBG.GetPovStr();
    s += L"\n";
    return s;
}

void PovRay_cls::GetPovStrCamInfo(std::wstring& out, const Camera_cls& camera, double /*time*/) const
{
    std::wstring block = camera.PovCameraText(mCFormat.GetAspect());
    // Focal blur belongs inside the block, before its closing brace.
    const std::wstring blur = mCFocalBlur.GetPovStr();
    if (!blur.empty() && block.size() >= 2)
        block.insert(block.size() - 2, blur);
    out += block;
    out += GetPovStrCamMatrix(camera);
}

std::wstring PovRay_cls::GetPovStrCamMatrix(const Camera_cls& camera) const
{
    // Rows: the camera's right, up and viewing direction in the ray tracer's mirrored frame, so
    // an object built in screen axes (x right, y up, z into the picture) faces the camera.
    const Vec3d r = Camera_cls::ToPov(camera.Right());
    const Vec3d u = Camera_cls::ToPov(camera.Up());
    const Vec3d d = Camera_cls::ToPov(camera.Direction());
    std::wstring s = L"#macro MatrixYZ2Cam()\n";
    s += WStrPrintf("\tmatrix < %g, %g, %g, %g, %g, %g, %g, %g, %g, 0, 0, 0>\n", r[0], r[1], r[2], u[0], u[1], u[2],
                    d[0], d[1], d[2]);
    s += L"#end\n";
    s += WStrPrintf("#declare SCALE=%g;\n", camera.ViewHeightAtLookAt());
    return s;
}

void PovRay_cls::GetPovStrIniFile(std::wstring& out, const std::wstring& stem, int /*frame*/)
{
    out += L"Version=3.7\n";
    out += WStrPrintf("Display_Gamma=%f\n", mdDisplayGamma.Get());
    out += WStrPrintf("File_Gamma=%f\n", mdFileGamma.Get());
    out += WStrPrintf("Work_Threads=%u\n", GetWorkThreadsForIni());
    out += WStrPrintf("Render_Block_Size=%u\n", muRenderBlockSize.Get());
    if (muBoundingMethod.Get() == 1)
        out += L"Bounding_Method=2\n";
    out += WStrPrintf("Max_Image_Buffer_Memory=%d\n", static_cast<int>(muBufferSize.Get()));
    out += mCFormat.GetIniText();
    if (mbSubsetRow.Get())
        out += WStrPrintf("Start_Row=%u\nEnd_Row=%u\n", muStartRow.Get(), muEndRow.Get());
    // Relative scenes name the bare stem: the files travel together and are rendered from
    // the folder they arrive in.
    const std::wstring input = mbRelativePaths ? L"\"" + stem : L"\"" + GetWorkingDir() + L"/" + stem;
    out += L"Input_File_Name=" + input + L".pov\"\n";
    const std::wstring outDir = GetOutputDir().empty() || mbRelativePaths ? L"./" : GetOutputDir() + L"/";
    out += L"Output_File_Name=\"" + outDir + stem + L"\"\n";
    out += mCRadiosity.GetIniText();
    if (mbRemoveFile.Get()) {
        mStrPostSceneCommands += L"rm " + input + L".pov\";";
        mStrPostSceneCommands += L"rm " + input + L".ini\";";
    }
}

std::wstring PovRay_cls::GetPovRayCommand(const std::wstring& stem) const
{
    return L"nice " + GetPovRayPath() + L" " + GetWorkingDir() + L"/" + stem + L".ini";
}

// ---- render script -----------------------------------------------------------------------------

std::wstring PovRay_cls::GetRenderScriptText(unsigned eye)
{
    std::wstring name = GetFileStr(1, eye);
    const size_t at = name.find(L"%04d");
    if (at != std::wstring::npos)
        name.erase(at, 4);
    mvScriptName.fill(L'\0');
    std::copy_n(name.begin(), std::min(name.size(), kStemBufferLength - 1), mvScriptName.begin());
    std::wostringstream stream;
    stream << L"trap ctrl_c INT" << L"\n";
    stream << L"function ctrl_c() {" << L"\n";
    stream << L"\techo -- Trapped CTRL-C" << L"\n";
    stream << L"\texit;" << L"\n";
    stream << L"}" << L"\n";
    // The name goes in as an untyped pointer: the script has always carried the buffer's
    // address here, and scripts written before must keep matching.
    stream << L"for f in `seq -f %04g $1 $2 $3`; do povray " << static_cast<const void*>(mvScriptName.data())
           << L"${f}.ini; done";
    return stream.str();
}

bool PovRay_cls::WriteRenderScript(unsigned eye)
{
    const std::string path = Narrow(GetWorkingDir() + L"/RenderAnim.sh");
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file)
        return false;
    file << Narrow(GetRenderScriptText(eye));
    file.close();
    return static_cast<bool>(file);
}

// ---- commands and frame range ------------------------------------------------------------------

void PovRay_cls::PushBackCommands(const std::wstring& stem)
{
    mvCommands.push_back(GetPovRayCommand(stem));
    mvPostCommands.push_back(mStrPostSceneCommands);
}

void PovRay_cls::ClearCommands()
{
    mvCommands.clear();
    mvPostCommands.clear();
}

void PovRay_cls::GetFrameRange(const TimeCtrl_cls& clock, unsigned* first, unsigned* last) const
{
    const unsigned playStart = static_cast<unsigned>(std::max(0, clock.GetWAMin()));
    const unsigned playEnd = static_cast<unsigned>(std::max(0, clock.GetWAMax()));
    switch (mCRender.GetRegion()) {
    case PovRender_cls::kRegionAll:
        *first = 0;
        *last = static_cast<unsigned>(std::max(0, clock.GetMaxFrame()));
        break;
    case PovRender_cls::kRegionCustom:
        *first = std::max(mCRender.GetCustomMin(), playStart);
        *last = mCRender.GetCustomMax();
        // A maximum past the play end moves the first frame there, not the last one; existing
        // projects rely on this.
        if (mCRender.GetCustomMax() > playEnd)
            *first = playEnd;
        break;
    default:
        *first = playStart;
        *last = playEnd;
        break;
    }
}

// ---- sequence render ---------------------------------------------------------------------------

void PovRay_cls::SetWakeHook(std::function<void()> hook)
{
    std::lock_guard<std::mutex> lock(mMutexEvents);
    mWakeHook = std::move(hook);
}

void PovRay_cls::Wake()
{
    std::function<void()> hook;
    {
        std::lock_guard<std::mutex> lock(mMutexEvents);
        hook = mWakeHook;
    }
    if (hook)
        hook();
}

void PovRay_cls::RenderByPovAnim()
{
    mbRendering = true;
    muRenderIndex = 0;
    if (mRenderButtonHook)
        mRenderButtonHook(true);
}

bool PovRay_cls::IsRenderThreadRunning() const
{
    return mpThread && mpThread->IsRunning();
}

void PovRay_cls::ProcessRenderAnim()
{
    std::vector<std::wstring> errors;
    {
        std::lock_guard<std::mutex> lock(mMutexEvents);
        errors.swap(mvPendingErrors);
    }
    for (const std::wstring& command : errors)
        OnRenderError(command);

    if (mbRendering) {
        if (IsRenderThreadRunning())
            return;
        if (mpThread) {
            mpThread->Wait();
            mpThread.reset();
        }
        const size_t count = mvCommands.size();
        if (muRenderIndex >= count) {
            StopRenderAnim();
            return;
        }
        mpThread = std::make_unique<ThreadPovRay>();
        mpThread->SetParameters(this, mvCommands[muRenderIndex],
                                muRenderIndex < mvPostCommands.size() ? mvPostCommands[muRenderIndex] : L"");
        mpThread->MarkStarted();
        mpThread->Run();
        Prompt()->SetProgress(static_cast<int>(muRenderIndex * 100 / count));
        Prompt()->SetStatusText(
            TrW("PovRendering ") + WStrPrintf("%u", muRenderIndex + 1) + L"/" + WStrPrintf("%zu", count), 2);
        ++muRenderIndex;
        if (muRenderIndex >= count)
            StopRenderAnim();
    } else if (mpThread && !mpThread->IsRunning()) {
        mpThread->Wait();
        mpThread.reset();
        Prompt()->SetStatusText(TrW("not rendering"), 2);
    }
}

void PovRay_cls::StopRenderAnim()
{
    const bool was = mbRendering;
    mbRendering = false;
    if (was && mRenderButtonHook)
        mRenderButtonHook(false);
}

void PovRay_cls::WaitForThreads()
{
    if (mpThread)
        mpThread->Wait();
    for (auto& thread : mvSnapThreads)
        if (thread)
            thread->Wait();
}

// ---- snapshots ---------------------------------------------------------------------------------

bool PovRay_cls::RenderByPovSnap(const std::wstring& stem)
{
    for (auto& slot : mvSnapThreads) {
        if (slot && slot->IsRunning())
            continue;
        if (slot) {
            slot->Wait();
            slot.reset();
        }
        slot = std::make_unique<ThreadPovRay>();
        slot->SetParameters(this, GetPovRayCommand(stem), mStrPostSceneCommands);
        slot->MarkStarted();
        slot->Run();
        Prompt()->SetStatusText(TrW("Render by Pov-Ray. Output to ") +
                                    (GetOutputDir().empty() ? TrW("Working Directory") : GetOutputDir()),
                                0);
        return true;
    }
    Prompt()->Message(TrW("thread max"), TrW("Error!"));
    return false;
}

int PovRay_cls::CountRunningSnapThreads() const
{
    int n = 0;
    for (const auto& slot : mvSnapThreads)
        if (slot && slot->IsRunning())
            ++n;
    return n;
}

// ---- thread events -----------------------------------------------------------------------------

void PovRay_cls::PostError(const std::wstring& command)
{
    {
        std::lock_guard<std::mutex> lock(mMutexEvents);
        mvPendingErrors.push_back(command);
    }
    Wake();
}

void PovRay_cls::PostFinished()
{
    Wake();
}

void PovRay_cls::OnRenderError(const std::wstring& command)
{
    mStrLastErrorCommand = command;
    std::wstring text = TrW("Error is detected.\nInterrupted by user, or Pov-Ray is not installed or wrong path is "
                            "set,\nor another Pov-Ray is already opend.\nYou can set path by configure dialog.");
    if (mbRendering) {
        StopRenderAnim();
        text += TrW("\nAnimation sequence is automatically stopped.");
    }
    Prompt()->Message(text, TrW("Failed to start or finish Pov-Ray."));
}
