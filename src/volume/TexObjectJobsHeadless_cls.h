#pragma once
// Texture jobs without a graphics context: every job completes in one step and only the memory
// the textures would take is counted (3 bytes per voxel for the ALPHA and LUMINANCE_ALPHA
// texture types, 4 for RGBA, from the preview settings at generation time). Used by the CLI,
// the tests and the benchmarks, and wherever no OpenGL implementation is installed.
#include "volume/TexObjectJobs_cls.h"

class TexObjectJobsHeadless_cls : public TexObjectJobs_cls
{
  public:
    /// Kilobytes the generated textures would take (0 before generation and after deletion).
    uint32_t GetAllocatedTextureKB() const override { return muKB; }
    /// How many generation jobs have started (tests count reloads with it).
    unsigned GetGenerateCount() const { return muGenerateCount; }

  protected:
    bool StartGenerate(DF3_cls& frame, uint32_t& total) override;
    bool GenerateUnit(DF3_cls& frame, uint32_t unit) override;
    bool StartBind(DF3_cls& frame, uint32_t& total) override;
    bool BindUnit(DF3_cls& frame, uint32_t unit) override;
    bool StartDelete(bool isCurrent, uint32_t& total) override;
    bool DeleteUnit(bool isCurrent, uint32_t unit) override;

  private:
    uint32_t muKB = 0;
    unsigned muGenerateCount = 0;
};
