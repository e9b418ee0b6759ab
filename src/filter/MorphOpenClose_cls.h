#pragma once
// Grey-scale morphology of the one-byte voxels of a frame: erosion (minimum over a structuring
// element), dilation (maximum), and the opening and closing sequences built from them.
#include "filter/FilterBase_cls.h"
#include "filter/MorphOpenCloseData_cls.h"
#include "filter/MultiThreadCtrl_cls.h"

#include <cstddef>
#include <string>
#include <vector>

class MorphOpenClose_cls;

/// Shared state of the erosion and dilation workers: the slices [zFirst, zEnd) they write.
class ThreadMorphStep_cls : public MultiThreadThread_cls
{
  public:
    /// Hands the worker the filter, the buffers and its slice range.
    void SetParameters(const MorphOpenClose_cls* filter, unsigned char* out, const unsigned char* in,
                       const unsigned int* sizes, unsigned int zFirst, unsigned int zEnd);

  protected:
    /// Runs the minimum (isMax false) or maximum filter over the worker's slices.
    void RunExtreme(bool isMax);

  private:
    const MorphOpenClose_cls* mpFilter = nullptr;
    unsigned char* mpOut = nullptr;
    const unsigned char* mpIn = nullptr;
    unsigned int muSize[3] = {0, 0, 0};
    unsigned int muZFirst = 0, muZEnd = 0;
};

/// Worker of one erosion step: writes the slices [zFirst, zEnd) of the destination.
class ThreadMorphErosion : public ThreadMorphStep_cls
{
  public:
    /// Computes the minima of its slices; worker thread.
    void Entry() override { RunExtreme(false); }
};

/// Worker of one dilation step: writes the slices [zFirst, zEnd) of the destination.
class ThreadMorphDilation : public ThreadMorphStep_cls
{
  public:
    /// Computes the maxima of its slices; worker thread.
    void Entry() override { RunExtreme(true); }
};

/// The morphological filter (chain type 15, "Morph Filter"). Settings in GetData(); call
/// ProcessXYZData from the thread that asks for the processed frame (one call at a time).
class MorphOpenClose_cls : public FilterBase_cls
{
  public:
    /// The chain's type code of this filter.
    static constexpr int kTypeCode = 15;
    /// Largest element extent along any axis (cells), so radii are at most 12.
    static constexpr int kMaxElementSize = 25;
    /// Number of operations (codes 0..5).
    static constexpr int kOperationNum = 6;
    /// Display names of the operations, in code order.
    static const wchar_t* const msOperationName[kOperationNum];
    /// Step sequences of the operations ('D' dilation, 'E' erosion), in code order.
    static const char* const msOperationSteps[kOperationNum];
    /// Display names of the element shapes (0 "Sphere", 1 "Ellipsoid").
    static const wchar_t* const msKernelTypeName[2];

    /// Starts with a single-cell element until the first BuildElement.
    /// `owner` may be null for an item outside a chain.
    explicit MorphOpenClose_cls(FilterCtrl_cls* owner = nullptr);

    /// The persistent settings as the chain sees them.
    FilterData_cls* GetPData() override { return &mCData; }
    /// The configuration lines of the settings.
    std::wstring SerializeConf() const override { return mCData.SerializeConf(); }
    MorphOpenClose_cls(const MorphOpenClose_cls&) = delete;
    MorphOpenClose_cls& operator=(const MorphOpenClose_cls&) = delete;

    /// The persistent settings.
    MorphOpenCloseData_cls& GetData() { return mCData; }
    const MorphOpenCloseData_cls& GetData() const { return mCData; }

    /// The chain's entry: applies the operation to `in` (sizes[0..2] voxels) and writes `out`.
    /// A switched-off filter, an operation code outside 0..5, or a failed allocation copies.
    /// Returns the switched-on state. `in` is never written; `out` must not overlap it.
    bool ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* sizes);

    /// Status text for the chain's signature; changes with every setting that affects the output.
    std::wstring GetFilterStatusStr() const override;

    /// Builds the element from the settings (a kernel type other than 0 and 1 keeps the last one).
    void BuildElement();
    /// Element extent along axis 0..2 (odd, 1..25).
    int GetElementSize(int axis) const { return miElementSize[axis]; }
    /// True when the cell at offset (dx, dy, dz) from the centre belongs to the element.
    bool IsInElement(int dx, int dy, int dz) const;
    /// Number of cells in the element.
    size_t CountElementCells() const;

    /// One erosion step over the whole volume on the worker threads.
    void Erosion3D(unsigned char* out, const unsigned char* in, const unsigned int* sizes);
    /// One dilation step over the whole volume on the worker threads.
    void Dilation3D(unsigned char* out, const unsigned char* in, const unsigned int* sizes);
    /// Worker body: the extreme (maximum when `isMax`) under the element for slices [z0, z1).
    void ExtremeSlices(unsigned char* out, const unsigned char* in, const unsigned int* sizes, unsigned int z0,
                       unsigned int z1, bool isMax) const;

    /// Bytes one worker may spend on its cache of row extremes; beyond it the extremes are
    /// computed per output row instead (same result, slower). Set while no filter runs.
    static void SetRowCacheLimit(size_t bytes) { msuRowCacheLimit = bytes; }

  private:
    static inline size_t msuRowCacheLimit = size_t{96} << 20;
    /// One row of the element along x: the cells dx = -w..w at offsets dy, dz.
    struct Run {
        int miDy, miDz, miW;
        int miWidthIndex; ///< index into mviWidth, or -1 when miW is 0 (the voxel row itself)
    };
    /// Fills the element flags and its runs for the given extents.
    void SetElement(int sx, int sy, int sz);
    template <typename W> void RunStep(unsigned char* out, const unsigned char* in, const unsigned int* sizes);

    MorphOpenCloseData_cls mCData;
    MultiThreadCtrl_cls mCThreadCtrl;
    int miElementSize[3] = {1, 1, 1};
    std::vector<unsigned char> mvElement;
    std::vector<Run> mvRun;
    std::vector<int> mviWidth; ///< the distinct run half-widths above 0
};
