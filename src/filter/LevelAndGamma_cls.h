#pragma once
// Density transfer through one 256-entry table built from an input window (linear or smooth),
// a gamma, an offset and an output window.
#include "filter/FilterWithParameter_cls.h"
#include "filter/LevelAndGammaData_cls.h"
#include "filter/MultiThreadCtrl_cls.h"

#include <cstddef>
#include <string>

class LevelAndGamma_cls;

/// Worker: maps the voxels [first, end) of the input through the table into the output.
class ThreadLevel : public MultiThreadThread_cls
{
  public:
    /// Hands the worker the filter, the buffers, its voxel range and the 256-byte table.
    void SetParameters(LevelAndGamma_cls* filter, unsigned char* out, const unsigned char* in, size_t first, size_t end,
                       const unsigned char* table);
    /// Runs the lookup; worker thread.
    void Entry() override;

  private:
    LevelAndGamma_cls* mpFilter = nullptr;
    unsigned char* mpOut = nullptr;
    const unsigned char* mpIn = nullptr;
    size_t muFirst = 0, muEnd = 0;
    const unsigned char* mpTable = nullptr;
};

/// The level-and-gamma filter (chain type 6, "Level Gamma"). The six animated values are set by
/// the owner (from the key-framed set "LevelAndGamma" at the frame's time) before processing.
class LevelAndGamma_cls : public FilterWithParameter_cls
{
  public:
    /// The chain's type code of this filter.
    static constexpr int kTypeCode = 6;
    /// Indices of the animated values.
    enum Param { InMin = 0, InMax = 1, OutMin = 2, OutMax = 3, Gamma = 4, Offset = 5, kParamNum = 6 };
    /// Name of the key-framed parameter set.
    static const wchar_t* const msParamSetName;
    /// Labels of the six values, in index order ("InMin" ... "offset").
    static const wchar_t* const msParamLabel[kParamNum];
    /// Values of a new filter: the identity mapping 0, 1, 0, 1, 1, 0.
    static const double msParamDefault[kParamNum];

    /// Identity mapping until keys say otherwise; `owner` may be null outside a chain.
    explicit LevelAndGamma_cls(FilterCtrl_cls* owner = nullptr);

    /// The persistent settings as the chain sees them.
    FilterData_cls* GetPData() override { return &mCData; }
    /// The configuration lines followed by the key-framed set.
    std::wstring SerializeConf() const override;
    LevelAndGamma_cls(const LevelAndGamma_cls&) = delete;
    LevelAndGamma_cls& operator=(const LevelAndGamma_cls&) = delete;

    /// The persistent settings.
    LevelAndGammaData_cls& GetData() { return mCData; }
    const LevelAndGammaData_cls& GetData() const { return mCData; }

    /// The value in use (index 0..5; others give 0), as last set or evaluated.
    double GetParam(int index) const;

    /// The linear input window of a normalised density x (0..1).
    double GetLevelIn(double x) const;
    /// The smooth input window: the closed-form approximation of (1 + erf(u)) / 2.
    double GetLevelInSmooth(double x) const;
    /// The whole mapping of a normalised density; x itself when the filter is switched off.
    /// Clamped at the bottom only.
    double GetLevelMapping(double x) const;
    /// Fills table[0..255] with the integer part of 255 * mapping(k / 255), low eight bits only.
    void MakeLevelMap(unsigned char* table) const;

    /// The chain's entry: maps `in` (sizes[0..2] voxels) into `out`; a switched-off filter copies.
    /// With "ThreadNumFilter=" above 1 the lookup runs on exactly two workers, else on the caller.
    /// Returns the switched-on state. `in` is never written.
    bool ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* sizes);

    /// "LevelAndGamma::" with the six values, the smooth flag and the switched-on state.
    std::wstring GetFilterStatusStr() const override;

    /// Workers used by the last ProcessXYZData: 2, or 0 when it ran on the calling thread.
    int GetLastWorkerNum() const { return miLastWorkerNum; }

    /// out[i] = table[in[i]] for i in [first, end): vector blocks where the processor has them,
    /// then eight, four, two or one voxels per step.
    static void MapRange(unsigned char* out, const unsigned char* in, size_t first, size_t end,
                         const unsigned char* table);

  protected:
    void ApplyParameterValues(const double* values) override;

  private:
    LevelAndGammaData_cls mCData;
    double mdParam[kParamNum];
    int miLastWorkerNum = 0;
};
