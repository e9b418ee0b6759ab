#pragma once
// Sharpening by inverse diffusion: a few explicit steps of the heat equation run backwards.
#include "filter/FilterBase_cls.h"
#include "filter/InvDiffuseData_cls.h"
#include "filter/MultiThreadCtrl_cls.h"

#include <cstddef>
#include <memory>
#include <string>

/// The inverse-diffusion filter (chain type 7, "Inverse Diffuse"). One step maps every voxel
/// value c (a float) to c - s * L, where L = ((xm + xp) + (ym + yp)) + (zm + zp) - 6c sums the
/// six neighbours in that order (a neighbour outside the volume is the voxel itself), and clamps
/// the result to 0..255. The steps run in floats; the last is stored as floor(v + 0.5).
class InvDiffuse_cls : public FilterBase_cls
{
  public:
    /// The chain's type code of this filter.
    static constexpr int kTypeCode = 7;
    /// Most steps one run makes, whatever the setting says.
    static constexpr int kMaxStep = 64;

    /// Strength 0.1, one step; `owner` may be null outside a chain.
    explicit InvDiffuse_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    std::wstring SerializeConf() const override { return mCData.SerializeConf(); }
    /// "InvDiffuse::" + strength + steps.
    std::wstring GetFilterStatusStr() const override;

    InvDiffuseData_cls& GetData() { return mCData; }

    /// The chain's entry: sharpens `in` into `out` on the "ThreadNumFilter=" workers. A
    /// switched-off filter, no step, or temporary buffers that cannot be had (message
    /// "Memory Allocation for temporal buffer *pFrom fails. Ingnore InvDiffuse") copy.
    /// Returns the switched-on state.
    bool ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* sizes);

    /// Largest temporary allocation allowed, bytes (tests provoke the failure path). Set while
    /// no filter runs; 0 means no limit.
    static void SetAllocationLimit(size_t bytes) { msuAllocLimit = bytes; }

  private:
    static inline size_t msuAllocLimit = 0;
    InvDiffuseData_cls mCData;
    MultiThreadCtrl_cls mCThreadCtrl;
    /// The temporary volumes (*pFrom and *pTo of a step), kept while the frame size stays.
    std::unique_ptr<float[]> mpFrom, mpTo;
    size_t muAllocated = 0;
};
