#include "filter/PovIsosurface_cls.h"

#include "config/TextFormat.h"

#include <algorithm>

const wchar_t* const PovIsosurface_cls::msParamSetName = L"Isosurface";

namespace
{
const double kDefault[2] = {0.5, 1.0};
}

PovIsosurface_cls::PovIsosurface_cls(FilterCtrl_cls* owner) : FilterOutput_cls(2, msParamSetName, kDefault)
{
    ConstructorCommon(owner, L"Isosurface", kTypeCode);
}

void PovIsosurface_cls::ApplyParameterValues(const double* values)
{
    mdCritical = values[0];
    mdAlpha = values[1];
}

std::wstring PovIsosurface_cls::SerializeConf() const
{
    return mCData.SerializeConf() + GetParameters().Serialize();
}

std::wstring PovIsosurface_cls::GetFilterStatusStr() const
{
    return L"Isosurface::" +
           WStrPrintf("%.17g %.17g %d %d", mdCritical, mdAlpha, mCData.mbNormal.Get() ? 1 : 0, mCData.miOptimize.Get());
}

PovIsosurface_cls::BuildKey PovIsosurface_cls::CurrentKey() const
{
    return BuildKey{static_cast<float>(std::clamp(mdCritical, 0.0, 1.0)), mCData.mbNormal.Get(),
                    std::clamp(mCData.miOptimize.Get(), 0, 2)};
}

bool PovIsosurface_cls::IsReprocessRequired() const
{
    if (!mCData.IsValid() || GetDataCopy().empty())
        return false;
    return !mbBuilt || !(mCBuiltKey == CurrentKey()) || muBuiltGeneration != GetDataGeneration();
}

void PovIsosurface_cls::OnRefresh(bool /*changed*/)
{
    if (IsReprocessRequired())
        Build();
}

void PovIsosurface_cls::Build()
{
    const BuildKey key = CurrentKey();
    const unsigned* size = GetDataSize();
    const unsigned flags = key.bNormal ? MarchingCube_cls::kFlagNormals : 0u;
    mbMeshValid = mCMarching.ThreadControlMain(GetDataCopy().data(), static_cast<int>(size[0]),
                                               static_cast<int>(size[1]), static_cast<int>(size[2]), key.fLevel, flags);
    if (mbMeshValid && key.iOptimize >= 1)
        mCMarching.OptimizeVertices();
    if (mbMeshValid && key.iOptimize >= 2)
        mCMarching.OptimizeVerticesFull();
    mCBuiltKey = key;
    muBuiltGeneration = GetDataGeneration();
    mbBuilt = true;
    ++miBuildCount;
}
