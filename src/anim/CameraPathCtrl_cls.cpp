#include "anim/CameraPathCtrl_cls.h"

#include "anim/ComCameraAdd_cls.h"
#include "anim/KeyFrame_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"

#include <cmath>

const wchar_t* const CameraPathCtrl_cls::msParamSetName = L"CameraPath";

namespace
{
const wchar_t* const kBlockBegin = L"--CameraPath";
const wchar_t* const kBlockEnd = L"--EndCameraPath";
} // namespace

CameraPathCtrl_cls::CameraPathCtrl_cls(UndoManager_cls* undo) : mpUndo(undo), mCPath(kDimension, msParamSetName)
{
    // A path is animated by nature: every key is a camera at its own time.
    mCPath.ProcSetTimeDependent(true);
    mCPath.SetUndoManager(undo);
}

double CameraPathCtrl_cls::TimeOfFrame(double frame)
{
    return frame * Parameters_cls::GetResolution();
}

double CameraPathCtrl_cls::FrameOfTime(double time)
{
    const double r = Parameters_cls::GetResolution();
    return r > 0.0 ? time / r : 0.0;
}

bool CameraPathCtrl_cls::ToCamera(const double* v, Camera_cls& camera)
{
    // Set in place: a camera's configuration items point into the camera itself, so cameras
    // are never assigned whole.
    if (!camera.Set({v[0], v[1], v[2]}, {v[3], v[4], v[5]}, {v[6], v[7], v[8]}))
        return false;
    camera.SetViewAngle(v[9]);
    camera.SetAnchor({v[3], v[4], v[5]});
    return true;
}

bool CameraPathCtrl_cls::GetCamera(int i, Camera_cls& camera) const
{
    const double* v = mCPath.GetPKeyFrameValue(i);
    return v != nullptr && ToCamera(v, camera);
}

int CameraPathCtrl_cls::GetFrame(int i) const
{
    const KeyFrame_cls* key = mCPath.GetPKeyFrame(i);
    return key ? static_cast<int>(std::lround(FrameOfTime(key->GetTime()))) : -1;
}

bool CameraPathCtrl_cls::GetCameraAt(double frame, Camera_cls& camera) const
{
    if (IsEmpty())
        return false;
    double v[kDimension];
    mCPath.Evaluate(TimeOfFrame(frame), 0.0, v);
    // Between two cameras the interpolated sky may pass through the view direction; the eye
    // and look-at still hold, so keep the nearer camera's sky then.
    if (ToCamera(v, camera))
        return true;
    const int count = GetCount();
    int nearest = 0;
    for (int i = 1; i < count; ++i)
        if (std::fabs(GetFrame(i) - frame) < std::fabs(GetFrame(nearest) - frame))
            nearest = i;
    const double* key = mCPath.GetPKeyFrameValue(nearest);
    for (int d = 6; d < 9; ++d)
        v[d] = key[d];
    return ToCamera(v, camera);
}

bool CameraPathCtrl_cls::Add(const Camera_cls& camera, int frame)
{
    if (frame < 0 || (Parameters_cls::GetFrameNumber() > 0 && frame > Parameters_cls::GetFrameNumber()))
        return false;
    const Vec3d& p = camera.GetPosition();
    const Vec3d& l = camera.GetLookAt();
    const Vec3d& s = camera.GetSky();
    const double values[kDimension] = {p[0], p[1], p[2], l[0], l[1], l[2], s[0], s[1], s[2], camera.GetViewAngle()};
    const double time = TimeOfFrame(frame);
    const Parameters_cls::Snapshot before = mCPath.TakeSnapshot();
    // Work out the keys after the edit on the set itself, then put it back: the commands carry
    // both states and the history applies the new one.
    KeyFrame_cls key(kDimension);
    key.Set(time, kInterpHermiteAuto, values, nullptr, nullptr, false);
    const int existing = mCPath.OnWhichKeyFrame(time, Parameters_cls::GetResolution());
    if (existing >= 0)
        mCPath.ProcOverwriteKey(existing, key);
    else
        mCPath.ProcInsertKey(key);
    mCPath.ProcSetTimeDependent(true);
    mCPath.AdjustAutoControl();
    const Parameters_cls::Snapshot after = mCPath.TakeSnapshot();
    mCPath.RestoreSnapshot(before);
    UndoManager_cls& undo = mpUndo ? *mpUndo : GetUndoManager();
    undo.SetNewCommand(std::make_unique<ComCameraAdd_cls>(this, after),
                       std::make_unique<ComCameraAdd_cls>(this, before));
    return undo.ExecCurrent();
}

bool CameraPathCtrl_cls::Delete(int index)
{
    if (index < 0 || index >= GetCount())
        return false;
    const Parameters_cls::Snapshot before = mCPath.TakeSnapshot();
    mCPath.ProcDeleteKey(index);
    mCPath.ProcSetTimeDependent(true);
    mCPath.AdjustAutoControl();
    const Parameters_cls::Snapshot after = mCPath.TakeSnapshot();
    mCPath.RestoreSnapshot(before);
    UndoManager_cls& undo = mpUndo ? *mpUndo : GetUndoManager();
    undo.SetNewCommand(std::make_unique<ComCameraDelete_cls>(this, after),
                       std::make_unique<ComCameraDelete_cls>(this, before));
    return undo.ExecCurrent();
}

void CameraPathCtrl_cls::Clear()
{
    Parameters_cls::Snapshot empty = mCPath.TakeSnapshot();
    empty.vKeys.clear();
    empty.bTimeDepend = true;
    mCPath.RestoreSnapshot(empty);
    NotifyChanged();
}

void CameraPathCtrl_cls::NotifyChanged()
{
    if (FuncHookChanged)
        FuncHookChanged();
}

std::wstring CameraPathCtrl_cls::Serialize(bool project) const
{
    std::wstring s = std::wstring(kBlockBegin) + L"\n";
    if (project)
        s += mCPath.Serialize();
    return s + kBlockEnd + L"\n";
}

bool CameraPathCtrl_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& line)
{
    if (line != kBlockBegin)
        return false;
    Clear();
    std::wstring next;
    while (stream.GetLine(next)) {
        if (next == kBlockEnd)
            break;
        if (!mCPath.ReadStrLine(stream, next))
            continue;
    }
    mCPath.ProcSetTimeDependent(true);
    NotifyChanged();
    return true;
}
