#include "anim/CameraPathCtrl_cls.h"

#include "anim/CommandItem_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "config/TextFormat.h"

#include <memory>

namespace
{
const std::wstring kBlockTag = L"--CameraPath";
const std::wstring kBlockEnd = L"--CameraPathEnd";

// Puts one value of the use setting in force; undo and redo are two of these.
class ComCameraPathUse_cls : public CommandItem_cls
{
  public:
    ComCameraPathUse_cls(CameraPathCtrl_cls* path, bool on) : mpPath(path), mbOn(on) {}
    bool Execute(bool /*undo*/) override
    {
        mpPath->SetUsePath(mbOn);
        if (mpPath->FuncHookChanged)
            mpPath->FuncHookChanged(*mpPath);
        return false;
    }
    const char* GetName() const override { return "Follow Camera Path"; }

  private:
    CameraPathCtrl_cls* mpPath;
    bool mbOn;
};

std::wstring Trimmed(const std::wstring& line)
{
    std::wstring s = StripLineEnd(line);
    while (!s.empty() && (s.back() == L' ' || s.back() == L'\t'))
        s.pop_back();
    return s;
}
} // namespace

CameraPathCtrl_cls::CameraPathCtrl_cls() : mCCameras(kDimension, L"CamPath")
{
    mCConfList.Add(&mbItemShow, L"CameraPathShow=", L"1");
    mCBlockConfList.Add(&mbItemUse, L"CameraPathUse=", L"0");
    mCBlockConfList.Add(&miItemActive, L"CameraPathActive=", L"0");
    mCCameras.FuncHookItemNumberChanged = [this](MultiParameters_cls&) { NotifyChanged(); };
}

void CameraPathCtrl_cls::SetUndoManager(UndoManager_cls* manager)
{
    mCCameras.SetUndoManager(manager);
}

void CameraPathCtrl_cls::NotifyChanged()
{
    if (FuncHookChanged)
        FuncHookChanged(*this);
}

bool CameraPathCtrl_cls::AddCamera(const CameraValues& values)
{
    mCCameras.SetInitParam(values.data());
    return mCCameras.AddItem();
}

bool CameraPathCtrl_cls::SetUsePathExecute(bool on)
{
    if (IsUsePath() == on)
        return false;
    UndoManager_cls& history = mCCameras.GetUndo();
    history.SetNewCommand(std::make_unique<ComCameraPathUse_cls>(this, on),
                          std::make_unique<ComCameraPathUse_cls>(this, !on));
    history.ExecCurrent();
    return true;
}

bool CameraPathCtrl_cls::DeleteCamera(int i)
{
    return mCCameras.RemoveItemAt(i);
}

bool CameraPathCtrl_cls::SetCameraKey(int i, double time, const CameraValues& values)
{
    Parameters_cls* camera = GetPCamera(i);
    if (camera == nullptr)
        return false;
    UndoManager_cls& undo = mCCameras.GetUndo();
    // Turning the camera animated and its first key are one step for the user.
    undo.OpenBlock("Camera Key");
    if (!camera->IsTimeDependent())
        camera->ExecCommandTimeDependent(true);
    const bool ok = camera->ExecCommandSetKey(time, values.data(), kInterpHermiteAuto, nullptr, nullptr);
    undo.CloseBlock();
    return ok;
}

bool CameraPathCtrl_cls::GetCameraAt(int i, double time, CameraValues& out) const
{
    out.fill(0.0);
    Parameters_cls* camera = GetPCamera(i);
    if (camera == nullptr)
        return false;
    const double* v = camera->GetPInterpolatedValue(time, 0.0);
    for (unsigned k = 0; k < kDimension; ++k)
        out[k] = v[k];
    return true;
}

void CameraPathCtrl_cls::Clear()
{
    while (mCCameras.GetItemNumber() > 0)
        mCCameras.RemoveItemProc(static_cast<unsigned>(mCCameras.GetItemNumber() - 1));
    mbItemUse.Set(false);
}

std::wstring CameraPathCtrl_cls::Serialize(bool project) const
{
    std::wstring text = mCConfList.SerializeAll();
    if (!project)
        return text;
    // The active index is written from the list so that it always names an existing camera.
    ConfItemINT_cls active;
    active.SetItem(L"CameraPathActive=", L"0");
    active.Set(mCCameras.GetActiveIndex());
    text += kBlockTag + L"\n";
    text += mbItemUse.Serialize();
    text += active.Serialize();
    text += mCCameras.Serialize();
    text += kBlockEnd + L"\n";
    return text;
}

bool CameraPathCtrl_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& line)
{
    if (Trimmed(line) != kBlockTag)
        return mCConfList.ReadStrLineAll(line);
    Clear();
    miItemActive.Set(0);
    std::wstring inner;
    while (stream.GetLine(inner)) {
        const std::wstring head = Trimmed(inner);
        if (head == kBlockEnd)
            break;
        if (mCCameras.ReadStrLine(stream, head))
            continue;
        if (head.rfind(L"--", 0) == 0) { // cut short: the next block is not ours
            stream.UngetLine();
            break;
        }
        mCBlockConfList.ReadStrLineAll(inner);
    }
    mCCameras.SetActiveIndex(miItemActive.Get());
    NotifyChanged();
    return true;
}
