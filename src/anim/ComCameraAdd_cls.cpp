#include "anim/ComCameraAdd_cls.h"

#include "anim/CameraPathCtrl_cls.h"

ComCameraAdd_cls::ComCameraAdd_cls(CameraPathCtrl_cls* path, Parameters_cls::Snapshot state)
    : mpPath(path), mCState(std::move(state))
{
}

bool ComCameraAdd_cls::Execute(bool /*undo*/)
{
    if (!mpPath || !Parameters_cls::IsLive(&mpPath->GetParameters()))
        return false;
    mpPath->GetParameters().RestoreSnapshot(mCState);
    mpPath->NotifyChanged();
    return false;
}
