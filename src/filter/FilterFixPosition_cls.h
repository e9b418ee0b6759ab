#pragma once
// Keeps a moving feature in place: the density-weighted centroid of the voxels above a
// threshold is tracked per frame, and the offset that moves it back to its position in a
// reference frame is offered to drawing and export.
#include "filter/FilterBase_cls.h"
#include "filter/FilterCenterOfMass_cls.h"
#include "filter/FilterFixPositionData_cls.h"
#include "filter/MultiThreadCtrl_cls.h"

#include <map>
#include <string>

/// Fix-position item (chain type 8, "FixPosition"). DoCalc runs on the chain's thread.
class FilterFixPosition_cls : public FilterBase_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 8;

    /// Threshold 0.5, reference frame 0, all axes; `owner` may be null outside a chain.
    explicit FilterFixPosition_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    std::wstring SerializeConf() const override { return mCData.SerializeConf(); }
    /// "FixPosition::" + threshold, reference frame and axes.
    std::wstring GetFilterStatusStr() const override;
    /// Tracks the feature in frame `frame` (switched off: nothing).
    void DoCalc(const unsigned char* data, const unsigned int* sizes, int frame) override;

    FilterFixPositionData_cls& GetData() { return mCData; }
    /// The feature's centroid in a frame (voxel coordinates); false when not computed yet.
    bool GetFeaturePosition(int frame, double* position) const;
    /// The offset (fractions of the data box) that moves the feature of `frame` onto its place
    /// in the reference frame, 0 on axes that are not held. False (offset 0) while either frame
    /// is not computed, holds no voxel above the threshold, or the item is switched off.
    bool GetOffset(int frame, double* offset) const;
    /// Forgets every frame's result.
    void ClearResults() { mResults.clear(); }

  private:
    FilterFixPositionData_cls mCData;
    MultiThreadCtrl_cls mCThreadCtrl;
    std::map<int, FilterCenterOfMass_cls::Centroid> mResults;
    unsigned int muSize[3] = {0, 0, 0};
};
