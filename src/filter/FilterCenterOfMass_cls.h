#pragma once
// The density-weighted centre of mass of each frame: shown as a marker and written as a CSV
// time series on request. Also the centroid computation shared with the fix-position tracker.
#include "filter/FilterBase_cls.h"
#include "filter/FilterCenterOfMassData_cls.h"
#include "filter/MultiThreadCtrl_cls.h"

#include <cstdint>
#include <map>
#include <string>

/// Centre-of-mass item (chain type 13, "CenterOfMass"). DoCalc runs on the chain's thread.
class FilterCenterOfMass_cls : public FilterBase_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 13;

    /// Result of one centroid: the weights are the voxel values above the threshold.
    struct Centroid {
        uint64_t uMass = 0;            ///< sum of the counted values
        uint64_t uCount = 0;           ///< counted voxels
        double dCentre[3] = {0, 0, 0}; ///< voxel coordinates (0 ... size - 1); 0 without mass
    };

    /// Threshold 0; `owner` may be null outside a chain.
    explicit FilterCenterOfMass_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    std::wstring SerializeConf() const override { return mCData.SerializeConf(); }
    /// "CenterOfMass::" + threshold (the marker's look does not change any result).
    std::wstring GetFilterStatusStr() const override;
    /// Computes and keeps the centre of frame `frame` (switched off: nothing).
    void DoCalc(const unsigned char* data, const unsigned int* sizes, int frame) override;

    FilterCenterOfMassData_cls& GetData() { return mCData; }
    /// The centre of a frame computed before; false when there is none.
    bool GetCentroid(int frame, Centroid& result) const;
    /// Marker position (fractions of the data box: (c + 0.5) / size) and radius; false when
    /// the frame has no centre or no mass.
    bool GetMarker(int frame, double* position, double& radius) const;
    /// Forgets every frame's centre (new data).
    void ClearResults() { mResults.clear(); }
    /// Frames with a centre.
    int GetResultNumber() const { return static_cast<int>(mResults.size()); }

    /// Writes "frame,x,y,z,mass,count" and one line per computed frame (ascending) to a new
    /// file. 0 written, 1 the file exists (never replaced), 2 it could not be written.
    int WriteCSV(const std::string& path) const;

    /// Density-weighted centroid of the voxels above `thresholdByte`, summed exactly in
    /// integers so that the result does not depend on how the work is split.
    static Centroid ComputeCentroid(const unsigned char* data, const unsigned int* sizes, int thresholdByte,
                                    MultiThreadCtrl_cls& threads);

  private:
    FilterCenterOfMassData_cls mCData;
    MultiThreadCtrl_cls mCThreadCtrl;
    std::map<int, Centroid> mResults;
    unsigned int muSize[3] = {0, 0, 0};
};
