#pragma once
// Gaussian blur of the one-byte voxels of a frame: a separable kernel applied per axis on worker
// threads, in two phases (x and y per slice, then z), with a byte and a float variant.
#include "filter/BlurGaussData_cls.h"
#include "filter/FilterBase_cls.h"
#include "filter/MultiThreadCtrl_cls.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class BlurGauss_cls;

/// Worker of the byte variant: mode 0 blurs slices along x and y (source -> temporary buffer),
/// mode 3 blurs them along z (temporary buffer -> destination).
class ThreadBluring : public MultiThreadThread_cls
{
  public:
    /// Hands the worker its filter, buffers, slice range [zFirst, zEnd) and mode (0 or 3).
    void SetParameters(BlurGauss_cls* filter, unsigned char* out, const unsigned char* in, const unsigned int* sizes,
                       unsigned char* temp, unsigned int zFirst, unsigned int zEnd, int mode);
    /// Runs the pass over the slice range; worker thread.
    void Entry() override;

  private:
    BlurGauss_cls* mpFilter = nullptr;
    unsigned char* mpOut = nullptr;
    const unsigned char* mpIn = nullptr;
    unsigned char* mpTemp = nullptr;
    unsigned int muSize[3] = {0, 0, 0};
    unsigned int muZFirst = 0, muZEnd = 0;
    int miMode = 0;
};

/// Worker of the float variant: as ThreadBluring, with the intermediate volume held in floats.
class ThreadBluringF : public MultiThreadThread_cls
{
  public:
    /// Hands the worker its filter, buffers, slice range [zFirst, zEnd) and mode (0 or 3).
    void SetParameters(BlurGauss_cls* filter, unsigned char* out, const unsigned char* in, const unsigned int* sizes,
                       float* temp, unsigned int zFirst, unsigned int zEnd, int mode);
    /// Runs the pass over the slice range; worker thread.
    void Entry() override;

  private:
    BlurGauss_cls* mpFilter = nullptr;
    unsigned char* mpOut = nullptr;
    const unsigned char* mpIn = nullptr;
    float* mpTemp = nullptr;
    unsigned int muSize[3] = {0, 0, 0};
    unsigned int muZFirst = 0, muZEnd = 0;
    int miMode = 0;
};

/// The Gaussian blur filter (chain type 5, "Gauss Blur"). Settings in GetData(); call
/// ProcessXYZData from the thread that asks for the processed frame (one call at a time).
class BlurGauss_cls : public FilterBase_cls
{
  public:
    /// The chain's type code of this filter.
    static constexpr int kTypeCode = 5;

    /// A blur with the default settings (switched on, kernel value 0); `owner` may be null.
    explicit BlurGauss_cls(FilterCtrl_cls* owner = nullptr);

    /// The persistent settings as the chain sees them.
    FilterData_cls* GetPData() override { return &mCData; }
    /// The configuration lines of the settings.
    std::wstring SerializeConf() const override { return mCData.SerializeConf(); }

    /// The persistent settings.
    BlurGaussData_cls& GetData() { return mCData; }
    const BlurGaussData_cls& GetData() const { return mCData; }

    /// The chain's entry: blurs `in` (sizes[0..2] voxels along x, y, z) into `out` with the byte
    /// variant, or the float variant when `floatVariant` is set. When the variant did nothing,
    /// `byteCount` bytes of `in` are copied to `out`; a switched-off filter copies as well.
    /// Returns the switched-on state. `in` is never written; `out` must not overlap it.
    bool ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* sizes, size_t byteCount,
                        bool floatVariant);
    /// Byte variant (each pass truncates to bytes). False when nothing was written (no axis to
    /// blur, or the temporary buffer could not be allocated).
    bool ProcessXYZDataC(unsigned char* out, const unsigned char* in, const unsigned int* sizes);
    /// Float variant (passes hand floats to each other; one truncation at the end). False when
    /// nothing was written.
    bool ProcessXYZDataF(unsigned char* out, const unsigned char* in, const unsigned int* sizes);

    /// "BlurGauss::" + kernel type ("%u") + kernel value and the three per-axis values ("%f");
    /// changes with every setting that affects the output.
    std::wstring GetFilterStatusStr() const override;

    /// Radius of the kernel for value s: 0 when s is 0 (or not positive), else trunc(s) + 1.
    static int KernelRadius(float s);
    /// Normalised weights k(-r..r) = exp(-i^2 / (2 s)) / sum, as floats; {1.0} when s is 0.
    /// s acts as the variance of the Gaussian: existing projects rely on the 2 s denominator.
    /// `maxRadius` bounds the work for absurd values (a kernel wider than the volume is unused).
    static std::vector<float> MakeKernel(float s, int maxRadius = 1 << 20);

    // The passes, called by the workers on their slice ranges (worker threads).
    /// Byte variant, mode 0: x then y for slices [z0, z1), `in` -> `temp`.
    void BlurSlicesXY(unsigned char* temp, const unsigned char* in, const unsigned int* sizes, unsigned int z0,
                      unsigned int z1) const;
    /// Byte variant, mode 3: z for slices [z0, z1), `temp` -> `out`.
    void BlurSlicesZ(unsigned char* out, const unsigned char* temp, const unsigned int* sizes, unsigned int z0,
                     unsigned int z1) const;
    /// Float variant, mode 0: x then y for slices [z0, z1), `in` -> float `temp`.
    void BlurSlicesXYF(float* temp, const unsigned char* in, const unsigned int* sizes, unsigned int z0,
                       unsigned int z1) const;
    /// Float variant, mode 3: z for slices [z0, z1), float `temp` -> `out`.
    void BlurSlicesZF(unsigned char* out, const float* temp, const unsigned int* sizes, unsigned int z0,
                      unsigned int z1) const;

  private:
    /// Takes the kernels for this run from the settings; false when no axis would be blurred.
    bool PrepareKernels(const unsigned int* sizes);
    /// Runs the two phases with N workers of type W over the given buffers.
    template <typename W, typename T>
    void RunPhases(int threadNum, unsigned char* out, const unsigned char* in, const unsigned int* sizes, T* temp);

    BlurGaussData_cls mCData;
    /// Per-axis kernels and radii of the current run (read-only while workers run).
    std::vector<float> mvfKernel[3];
    int miRadius[3] = {0, 0, 0};
    /// Temporary volumes kept between runs; re-allocated only when the frame size changes.
    std::vector<unsigned char> mvTemp;
    std::vector<float> mvfTemp;
};
