#pragma once
// Texture jobs without a graphics context: only the memory the textures would take is counted
// (3 bytes per voxel for the ALPHA and LUMINANCE_ALPHA texture types, 4 for RGBA, from the
// preview settings at generation time). The jobs are cut into units as the OpenGL ones are
// (TexSlabPlan_cls: a 3D texture is made in one unit and filled in z slabs, the 2D stacks made
// and filled a run of slices at a time), and the filled units are recorded, so the scheduling
// can be checked without a driver. Used by the CLI, the tests and the benchmarks, and wherever
// no OpenGL implementation is installed.
#include "volume/TexObjectJobs_cls.h"
#include "volume/TexSlabPlan_cls.h"

#include <vector>

class TexObjectJobsHeadless_cls : public TexObjectJobs_cls
{
  public:
    /// Kilobytes the generated textures would take (0 before generation and after deletion;
    /// while 2D stacks are being made, the share of the stacks made so far).
    uint32_t GetAllocatedTextureKB() const override { return muKB; }
    /// How many generation jobs have started (tests count reloads with it).
    unsigned GetGenerateCount() const { return muGenerateCount; }
    /// Texel bytes per unit (0, the default: from the measured upload rate, as the OpenGL jobs).
    void SetUnitBytes(uint64_t bytes) { muUnitBytes = bytes; }
    /// The units filled since the last bind job started, in the order they were filled.
    const std::vector<TexSlabPlan_cls::Unit>& GetFilledUnits() const { return mvFilled; }
    /// The plan of the last bind job.
    const TexSlabPlan_cls& GetBindPlan() const { return mCBindPlan; }

  protected:
    bool StartGenerate(DF3_cls& frame, uint32_t& total) override;
    bool GenerateUnit(DF3_cls& frame, uint32_t unit) override;
    bool StartBind(DF3_cls& frame, uint32_t& total) override;
    bool BindUnit(DF3_cls& frame, uint32_t unit) override;
    bool StartDelete(bool isCurrent, uint32_t& total) override;
    bool DeleteUnit(bool isCurrent, uint32_t unit) override;

  private:
    uint64_t UnitBytes() const;

    uint32_t muKB = 0;
    unsigned muGenerateCount = 0;
    uint64_t muUnitBytes = 0;
    uint64_t muTotalBytes = 0; ///< what the finished textures take
    uint64_t muMadeTexels = 0; ///< 2D stacks: slice texels made so far
    uint64_t muAllTexels = 0;  ///< 2D stacks: slice texels of all three stacks
    TexSlabPlan_cls mCGenPlan;
    TexSlabPlan_cls mCBindPlan;
    std::vector<TexSlabPlan_cls::Unit> mvFilled;
};
