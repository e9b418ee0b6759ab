#pragma once
// The camera path: cameras placed along the scene's time line. Each camera is one key of a
// key-framed set "CameraPath" of ten values (eye x y z, look-at x y z, sky x y z, vertical view
// angle), so the path between cameras is the set's interpolation (Hermite by default: a smooth
// curve through the eyes) and the cameras appear on the time line like any other keys. Adding
// and deleting a camera are undo steps (ComCameraAdd_cls / ComCameraDelete_cls). Kept in project
// text between "--CameraPath" and "--EndCameraPath". GUI thread.
#include "anim/Parameters_cls.h"
#include "pov/Camera_cls.h"

#include <functional>
#include <string>

class LineStream_cls;
class UndoManager_cls;

class CameraPathCtrl_cls
{
  public:
    /// Values per camera: eye (3), look-at (3), sky (3), view angle.
    static constexpr unsigned kDimension = 10;
    /// Name of the key-framed set.
    static const wchar_t* const msParamSetName;

    /// An empty path. undo: the history for the add/delete steps (null: the global one).
    explicit CameraPathCtrl_cls(UndoManager_cls* undo = nullptr);

    /// Number of cameras on the path.
    int GetCount() const { return mCPath.GetKeyNumber(); }
    bool IsEmpty() const { return GetCount() == 0; }
    /// Camera i (by time order) and its frame; false when out of range.
    bool GetCamera(int i, Camera_cls& camera) const;
    int GetFrame(int i) const;
    /// The camera of the path at `frame` (cameras interpolated between their frames, held
    /// before the first and after the last). False without cameras (camera unchanged).
    bool GetCameraAt(double frame, Camera_cls& camera) const;

    /// Puts `camera` on the path at `frame` (0..frame count; a camera already there is
    /// replaced). One undo step "Add Camera". False for a frame outside the scene.
    bool Add(const Camera_cls& camera, int frame);
    /// Deletes camera `index`. One undo step "Delete Camera". False when out of range.
    bool Delete(int index);
    /// Removes every camera without history (a project being opened).
    void Clear();

    /// The key-framed set (for the time line).
    Parameters_cls& GetParameters() { return mCPath; }
    /// Called after every change of the path (edit, undo, redo, read). GUI thread.
    std::function<void()> FuncHookChanged;
    /// Runs FuncHookChanged (used by the commands).
    void NotifyChanged();

    /// "--CameraPath", the set's text (projects only; the configuration keeps no path),
    /// "--EndCameraPath".
    std::wstring Serialize(bool project) const;
    /// Reads the block when `line` is "--CameraPath" (the path is replaced without history).
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& line);

    /// The frame of normalised time t, and back, on the scene's frame grid.
    static double TimeOfFrame(double frame);
    static double FrameOfTime(double time);

  private:
    static bool ToCamera(const double* v, Camera_cls& camera);
    UndoManager_cls* mpUndo;
    Parameters_cls mCPath;
};
