#pragma once
// Rotation of the voxels about an axis through the centre of the volume by a key-framed angle,
// resampled trilinearly; whatever comes from outside the volume is 0.
#include "filter/DataRotateData_cls.h"
#include "filter/FilterWithParameter_cls.h"
#include "filter/MultiThreadCtrl_cls.h"

#include <string>

/// The rotation filter (chain type 9, "Data Rotate"), animated set "DataRotate" ("degree").
/// Output voxel p (integer coordinates) takes the input at q = R(-angle)(p - c) + c, with
/// c = ((X-1)/2, (Y-1)/2, (Z-1)/2) and the rotation counter-clockwise seen from the positive
/// axis (about z: x towards y). q is sampled trilinearly (a coordinate within 1e-6 of the volume
/// counts as inside) and stored as floor(v + 0.5); multiples of 90 degrees use exact sines.
class DataRotate_cls : public FilterWithParameter_cls
{
  public:
    /// The chain's type code of this filter.
    static constexpr int kTypeCode = 9;
    /// Name of the key-framed set.
    static const wchar_t* const msParamSetName;

    /// Angle 0 about z; `owner` may be null outside a chain.
    explicit DataRotate_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    /// Settings lines followed by the key-framed set.
    std::wstring SerializeConf() const override;
    /// "DataRotate::" + axis + angle in use.
    std::wstring GetFilterStatusStr() const override;

    DataRotateData_cls& GetData() { return mCData; }
    /// The angle in use, degrees.
    double GetDegree() const { return mdDegree; }
    /// Cosine and sine of an angle in degrees; exact for multiples of 90.
    static void CosSin(double degree, double& c, double& s);

    /// The chain's entry: rotates `in` into `out` (same sizes) on the "ThreadNumFilter="
    /// workers; a switched-off filter copies. Returns the switched-on state.
    bool ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* sizes);

  protected:
    void ApplyParameterValues(const double* values) override { mdDegree = values[0]; }

  private:
    DataRotateData_cls mCData;
    double mdDegree = 0.0;
    MultiThreadCtrl_cls mCThreadCtrl;
};
