#pragma once
// The isosurface item: the surface at the key-framed level "Critical" of the data at its place in
// the chain, extracted by marching cubes and rebuilt exactly when the data or the level changes.
#include "filter/FilterOutput_cls.h"
#include "filter/PovIsosurfaceData_cls.h"
#include "iso/MarchingCube_cls.h"

#include <string>

/// Isosurface item (chain type 0, "Isosurface"), animated set "Isosurface" ("Critical",
/// "Alpha"). Used from the chain's thread; drawing reads the mesh after the chain ran.
class PovIsosurface_cls : public FilterOutput_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 0;
    /// Name of the key-framed set.
    static const wchar_t* const msParamSetName;

    /// Level 0.5, alpha 1; `owner` may be null outside a chain.
    explicit PovIsosurface_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    std::wstring SerializeConf() const override;
    /// "Isosurface::" + level, alpha and the mesh settings.
    std::wstring GetFilterStatusStr() const override;
    /// True when the mesh no longer matches the level or the mesh settings in force (and the
    /// item is switched on and has data).
    bool IsReprocessRequired() const override;

    PovIsosurfaceData_cls& GetData() { return mCData; }
    const PovIsosurfaceData_cls& GetData() const { return mCData; }
    /// Level (0..1) and alpha in use.
    double GetCritical() const { return mdCritical; }
    double GetAlpha() const { return mdAlpha; }
    /// The mesh of the last build (empty before the first).
    const MarchingCube_cls& GetMesh() const { return mCMarching; }
    /// Number of builds so far (each a full marching-cubes run).
    int GetBuildCount() const { return miBuildCount; }
    /// Whether the last build produced a mesh (false for data thinner than two voxels).
    bool IsMeshValid() const { return mbMeshValid; }

  protected:
    void ApplyParameterValues(const double* values) override;
    void OnRefresh(bool changed) override;

  private:
    /// What a mesh depends on besides the data.
    struct BuildKey {
        float fLevel = -1.0f;
        bool bNormal = false;
        int iOptimize = -1;
        bool operator==(const BuildKey&) const = default;
    };
    BuildKey CurrentKey() const;
    void Build();

    PovIsosurfaceData_cls mCData;
    MarchingCube_cls mCMarching;
    double mdCritical = 0.5;
    double mdAlpha = 1.0;
    BuildKey mCBuiltKey;
    uint64_t muBuiltGeneration = 0;
    bool mbBuilt = false;
    bool mbMeshValid = false;
    int miBuildCount = 0;
};
