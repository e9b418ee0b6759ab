#pragma once
// Copies of the data box placed side by side, for drawing and export (a crystal's unit cell,
// a periodic simulation shown repeated).
#include "filter/BoxCopyData_cls.h"
#include "filter/FilterBase_cls.h"

#include <array>
#include <string>
#include <vector>

/// Box-copy item (chain type 2, "Box Copy"). It leaves the voxels alone; drawing and export ask
/// it where the copies go.
class BoxCopy_cls : public FilterBase_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 2;
    /// Most copies along one axis.
    static constexpr int kMaxNumber = 16;

    /// Two copies along x; `owner` may be null outside a chain.
    explicit BoxCopy_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    std::wstring SerializeConf() const override { return mCData.SerializeConf(); }
    /// "BoxCopy::" + counts + gaps.
    std::wstring GetFilterStatusStr() const override;

    BoxCopyData_cls& GetData() { return mCData; }
    /// Copies along axis 0..2, clamped to 1 ... kMaxNumber.
    int GetNumber(int axis) const;
    /// The offset of every copy, the original (0, 0, 0) first, x fastest; units of the data
    /// box's extent: copy i along an axis sits at i * (1 + gap). Switched off: the original only.
    std::vector<std::array<double, 3>> GetCopyOffsets() const;

  private:
    BoxCopyData_cls mCData;
};
