#pragma once
// Undoable edits of the camera path. A pair holds the path's keys before and after the edit and
// puts back the one its direction needs, so a redo after other key edits of the same set still
// restores exactly what the user saw.
#include "anim/CommandItem_cls.h"
#include "anim/Parameters_cls.h"

class CameraPathCtrl_cls;

class ComCameraAdd_cls : public CommandItem_cls
{
  public:
    /// path: the camera path (must outlive the history or be cleared from it); state: the
    /// keys this member restores.
    ComCameraAdd_cls(CameraPathCtrl_cls* path, Parameters_cls::Snapshot state);
    /// Restores the held keys and tells the path's listeners. Never chains.
    bool Execute(bool undo) override;
    /// "Add Camera" in the Edit menu.
    const char* GetName() const override { return "Add Camera"; }

  protected:
    CameraPathCtrl_cls* mpPath;
    Parameters_cls::Snapshot mCState;
};

/// Deleting a camera: the same restore, named for the Edit menu.
class ComCameraDelete_cls : public ComCameraAdd_cls
{
  public:
    using ComCameraAdd_cls::ComCameraAdd_cls;
    /// "Delete Camera" in the Edit menu.
    const char* GetName() const override { return "Delete Camera"; }
};
