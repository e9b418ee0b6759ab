#include "pov/ComLightParamRemove_cls.h"

#include "anim/Parameters_cls.h"
#include "pov/LightSRC_cls.h"

ComLightParamRemove_cls::Holder::~Holder() = default;

ComLightParamRemove_cls::ComLightParamRemove_cls(LightSRC_cls* lights, int index, std::shared_ptr<Holder> holder,
                                                 bool insert)
    : mpLights(lights), miIndex(index), mpHolder(std::move(holder)), mbInsert(insert)
{
}

bool ComLightParamRemove_cls::Execute(bool /*undo*/)
{
    if (!LightSRC_cls::IsLive(mpLights) || miIndex < 0)
        return false;
    if (mbInsert) {
        if (!mpHolder->pParam)
            return false;
        mpLights->InsertLight(static_cast<size_t>(miIndex), mpHolder->uKind, std::move(mpHolder->pParam));
    } else {
        if (static_cast<size_t>(miIndex) >= mpLights->GetCount())
            return false;
        mpHolder->pParam = mpLights->TakeLight(static_cast<size_t>(miIndex), &mpHolder->uKind);
    }
    mpLights->NotifyChanged();
    return false;
}
