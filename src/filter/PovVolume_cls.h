#pragma once
// The volume item of a filter chain: its settings, animated values and text form, and the
// volume as ray-traced media: an emitting and absorbing density read from a DF3 file that the
// export writes beside the scene, coloured through the slot's colour-map macro.
//
// Placement. The preview draws voxel i of an axis of n voxels at the centre of cell i of the
// unit box, (i + 0.5) / n. POV-Ray's interpolating density modes treat sample j of an m-sample
// axis as a grid vertex at j / m and blend sample m-1 with sample 0 beyond it (they wrap). The
// export therefore pads the data with one empty sample on each side (m = n + 2) and maps the
// box through scale (n + 2) / n and translate -0.5 / n, so data voxel i lands at (i + 0.5) / n,
// the faces fade over half a voxel as the preview's linear texture does, and the wrap-around
// blend never reaches the box. Mode 0 (no interpolation) fills the cell [j / m, (j + 1) / m)
// with sample j instead; it is shifted by -1 / n, so voxel i fills exactly [i / n, (i + 1) / n)
// and the padding lies wholly outside the box.
#include "filter/FilterWithParameter_cls.h"
#include "filter/PovVolumeData_cls.h"

#include <cstdint>
#include <string>
#include <vector>

/// Volume item (chain type 4, "Volume"): marks the place in the chain whose data is drawn in the
/// preview and exported as media; the chain copies the data into the frame's processed buffer here.
/// Drawing and export read its settings and values; the item itself keeps them and its text.
class PovVolume_cls : public FilterWithParameter_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 4;
    /// Name of the key-framed set.
    static const wchar_t* const msParamSetName;
    /// Number of animated values.
    static constexpr int kParamNum = 1;

    /// Default settings and values; `owner` may be null outside a chain.
    explicit PovVolume_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    /// Settings lines followed by the key-framed set.
    std::wstring SerializeConf() const override;
    /// "BaseAlpha::" + the values in use + the settings that change the result.
    std::wstring GetFilterStatusStr() const override;

    PovVolumeData_cls& GetData() { return mCData; }
    /// Animated value i in use (0 beyond the set).
    double GetValue(int i) const { return i >= 0 && i < kParamNum ? mdValue[i] : 0.0; }
    /// Animated value i in use ("Alpha").
    double GetVolumeParameter(int i) const { return GetValue(i); }

    // ---- the volume as media in the exported scene ------------------------------------------
    /// Class-wide media settings (reset by ResetDefaults): interpolation 1, method 3,
    /// interval 1, minimum samples 64, maximum samples 128, anti-aliasing level 4, threshold 0.05.
    static unsigned msInterpolation;
    static unsigned msMethod;
    static unsigned msInterval;
    static unsigned msSamplesMin;
    static unsigned msSamplesMax;
    static unsigned msAALevel;
    static float msAAThreshold;
    /// Puts every class-wide setting back to its default.
    static void ResetDefaults();

    /// The padded samples for nx*ny*nz voxels (x fastest): (nx+2)*(ny+2)*(nz+2) bytes with a
    /// zero border of one sample.
    static std::vector<uint8_t> PadVoxels(const uint8_t* voxels, unsigned nx, unsigned ny, unsigned nz);
    /// Writes the padded voxels as an 8-bit DF3 file (replacing a file of the same name, which
    /// belongs to the exported scene). False when the file cannot be written.
    static bool WritePaddedDF3(const std::string& path, const uint8_t* voxels, unsigned nx, unsigned ny, unsigned nz);
    /// The "#declare <name>=..." media object for one data box: a unit box [0,1]^3 filled with
    /// media whose density reads df3File ("WORKINGDIR" relative name), placed as described
    /// above, coloured by the colour-map macro colorMacro (empty: grey ramp), with emission and
    /// absorption strengths. cutOut: objects (in the unit box) removed from it. intervals: the
    /// item's "VolumeIntervals=" (0: the class-wide interval). The caller scales and places the
    /// unit box.
    static std::wstring GetPovStrDensityDeclare(const std::wstring& name, const std::wstring& df3File, unsigned nx,
                                                unsigned ny, unsigned nz, const std::wstring& colorMacro,
                                                float emission, float absorption,
                                                const std::wstring& cutOut = std::wstring(), unsigned intervals = 0);

  protected:
    void ApplyParameterValues(const double* values) override;

  private:
    PovVolumeData_cls mCData;
    double mdValue[kParamNum];
};
