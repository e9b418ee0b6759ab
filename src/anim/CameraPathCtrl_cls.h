#pragma once
// The camera path: a list of cameras, each a key-framed set of six values (eye position x, y, z
// and look-at point x, y, z, world units), one of them active, and whether the views and the
// export follow the active camera instead of the panel's own. Adding and deleting cameras and
// setting their keys go through the undo history. The cameras travel in project text as the
// "--CameraPath" block; the display setting also lives in the configuration file.
#include "anim/MultiParameters_cls.h"
#include "config/ConfItemList_cls.h"

#include <array>
#include <functional>
#include <string>

class LineStream_cls;
class UndoManager_cls;

class CameraPathCtrl_cls
{
  public:
    /// Values per camera: eye x, y, z, look-at x, y, z.
    static constexpr unsigned kDimension = 6;
    using CameraValues = std::array<double, kDimension>;

    /// No cameras, path not in use, path shown in the views.
    CameraPathCtrl_cls();
    CameraPathCtrl_cls(const CameraPathCtrl_cls&) = delete;
    CameraPathCtrl_cls& operator=(const CameraPathCtrl_cls&) = delete;

    /// The history for adding, deleting and keying cameras (null: the global one). Not owned.
    void SetUndoManager(UndoManager_cls* manager);

    // ---- cameras -------------------------------------------------------------------------------
    int GetCameraNumber() const { return mCCameras.GetItemNumber(); }
    /// Camera i's key-framed values (null when out of range). Owned by the path.
    Parameters_cls* GetPCamera(int i) const { return mCCameras.GetPItem(i); }
    /// Appends a camera standing at `values` (constant until keyed) and makes it active; one
    /// undo step.
    bool AddCamera(const CameraValues& values);
    /// Deletes camera i; one undo step (undo brings the same camera back with its keys). False
    /// when out of range.
    bool DeleteCamera(int i);
    /// Keys camera i at normalised time `time` (0..1) with `values`; the camera becomes
    /// animated. One undo step. False when out of range.
    bool SetCameraKey(int i, double time, const CameraValues& values);
    /// Camera i's values at normalised time `time`; false (zeros) when out of range.
    bool GetCameraAt(int i, double time, CameraValues& out) const;
    /// Index of the active camera (0 without cameras).
    int GetActiveCamera() const { return mCCameras.GetActiveIndex(); }
    /// Makes camera i active (clamped into the list).
    void SetActiveCamera(int i) { mCCameras.SetActiveIndex(i); }
    /// Removes every camera without history (a project is about to be read).
    void Clear();
    /// The list itself (the camera-path panel lists and selects its items).
    MultiParameters_cls& GetCameras() { return mCCameras; }

    // ---- settings -------------------------------------------------------------------------------
    /// Whether the views and the export look through the active camera.
    bool IsUsePath() const { return mbItemUse.Get(); }
    void SetUsePath(bool on) { mbItemUse.Set(on); }
    /// Turns following the path on or off as one undo step ("Follow Camera Path"); undo and
    /// redo call FuncHookChanged. False (no step) when the setting already is so.
    bool SetUsePathExecute(bool on);
    /// Whether the views draw the path (a user preference, kept in the configuration too).
    bool IsShowPath() const { return mbItemShow.Get(); }
    void SetShowPath(bool on) { mbItemShow.Set(on); }
    /// Called after cameras were added, deleted, read or cleared, and after the use setting
    /// changed through the history (panel and menu refresh).
    std::function<void(CameraPathCtrl_cls&)> FuncHookChanged;

    // ---- text form -------------------------------------------------------------------------------
    /// "CameraPathShow=" always; with `project` also the "--CameraPath" block: "CameraPathUse=",
    /// "CameraPathActive=", the cameras, "--CameraPathEnd".
    std::wstring Serialize(bool project) const;
    /// Takes "CameraPathShow=" or the whole "--CameraPath" block (cameras replaced without
    /// history). False for other lines.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& line);

  private:
    void NotifyChanged();

    MultiParameters_cls mCCameras;
    ConfItemList_cls mCConfList;      ///< outside the block
    ConfItemList_cls mCBlockConfList; ///< inside the block
    ConfItemBOOL_cls mbItemShow;
    ConfItemBOOL_cls mbItemUse;
    ConfItemINT_cls miItemActive;
};
