#pragma once
// Sizes of a volume and its index arithmetic: true sizes as found in the file, current sizes after
// the sequence-wide down-sizing, and the S/T axes that span the slices across each axis.
#include <cstddef>
#include <cstdint>

class AxisXYZSTU_cls
{
  public:
    /// Axis numbers used by every per-axis query.
    enum Axis { AXIS_X = 0, AXIS_Y = 1, AXIS_Z = 2 };

    virtual ~AxisXYZSTU_cls() = default;

    /// Sets the true sizes (voxel counts from the file header; a negative header value arrives
    /// here sign-extended, i.e. as a huge count, and makes the frame unusable).
    void SetTrueSize(uint32_t x, uint32_t y, uint32_t z);
    /// Current size = true size / factor per axis (integer division; a factor of 0 counts as 1).
    void CalcCurrentSize(uint32_t fx, uint32_t fy, uint32_t fz);

    uint32_t GetTrueSize(int axis) const { return muTrue[axis]; }
    uint32_t GetCurrSize(int axis) const { return muCurr[axis]; }
    /// The down-size factor last used by CalcCurrentSize (1 = none).
    uint32_t GetDownSize(int axis) const { return muDownSize[axis]; }
    /// True when any down-size factor differs from 1.
    bool IsDownSized() const { return muDownSize[0] != 1 || muDownSize[1] != 1 || muDownSize[2] != 1; }

    /// X*Y*Z of the true sizes, saturated at UINT64_MAX (so absurd headers never wrap to small).
    uint64_t GetTrueTotalSize() const;
    /// X*Y*Z of the current sizes, saturated like GetTrueTotalSize().
    uint64_t GetCurrentTotalSize() const;

    /// Voxel index, x fastest: (y + z*Y)*X + x in current sizes.
    size_t GetIndex(uint32_t x, uint32_t y, uint32_t z) const
    {
        return (static_cast<size_t>(y) + static_cast<size_t>(z) * muCurr[1]) * muCurr[0] + x;
    }

    /// The axis along a slice across `axis`: Y for X, X for Y and Z.
    static int GetAxisS(int axis) { return axis == AXIS_X ? AXIS_Y : AXIS_X; }
    /// The other axis of a slice across `axis`: Z for X and Y, Y for Z.
    static int GetAxisT(int axis) { return axis == AXIS_Z ? AXIS_Y : AXIS_Z; }
    uint32_t GetCurrSizeS(int axis) const { return muCurr[GetAxisS(axis)]; }
    uint32_t GetCurrSizeT(int axis) const { return muCurr[GetAxisT(axis)]; }
    /// Voxels in one slice across `axis` (current sizes).
    uint64_t GetCurrSizeSxT(int axis) const { return static_cast<uint64_t>(GetCurrSizeS(axis)) * GetCurrSizeT(axis); }

    /// This frame's place in its sequence, -1 until set.
    void SetSelfIndex(int32_t index) { miSelfIndex = index; }
    int32_t GetSelfIndex() const { return miSelfIndex; }

  private:
    uint32_t muTrue[3] = {0, 0, 0};
    uint32_t muCurr[3] = {0, 0, 0};
    uint32_t muDownSize[3] = {1, 1, 1};
    int32_t miSelfIndex = -1;
};
