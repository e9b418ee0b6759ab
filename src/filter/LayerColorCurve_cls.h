#pragma once
// Density curve: a key-framed list of points "x(in)" -> "x(out)" (normalised densities) through
// which every voxel is mapped, as one 256-entry table per frame.
#include "anim/MultiParameters_cls.h"
#include "filter/FilterBase_cls.h"
#include "filter/LayerColorCurveData_cls.h"
#include "filter/MultiThreadCtrl_cls.h"

#include <string>
#include <utility>
#include <vector>

/// The density-curve filter (chain type 10, "Density Curve"). Each point of the curve is one
/// two-value parameter set "DensityCurvePoints" of a MultiParameters_cls list, so points can be
/// added, removed and key-framed through the history. Use from the chain's thread.
class LayerColorCurve_cls : public FilterBase_cls
{
  public:
    /// The chain's type code of this filter.
    static constexpr int kTypeCode = 10;
    /// Name of the point sets.
    static const wchar_t* const msParamSetName;

    /// The identity curve: points (0, 0) and (1, 1). `owner` may be null outside a chain.
    explicit LayerColorCurve_cls(FilterCtrl_cls* owner = nullptr);

    FilterData_cls* GetPData() override { return &mCData; }
    /// Settings lines followed by the point list's text form.
    std::wstring SerializeConf() const override;
    /// The point list's text form, else a settings line.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& line) override;
    /// Evaluates every point at `time`.
    void UpdateParameters(double time) override;
    /// "LayerColorCurve::" + interpolation + every point in use.
    std::wstring GetFilterStatusStr() const override;

    LayerColorCurveData_cls& GetData() { return mCData; }
    /// The key-framed points (one set of "x(in)", "x(out)" each).
    MultiParameters_cls& GetPoints() { return mCPoints; }
    /// Replaces the points in use (normalised; no history, no keys): for callers that build a
    /// curve directly, like the command line. The key-framed list is replaced as well.
    void SetPoints(const std::vector<std::pair<double, double>>& points);
    /// The points in use, sorted by "x(in)" (stable for equal inputs).
    std::vector<std::pair<double, double>> GetSortedPoints() const;

    /// The curve at normalised density x: the points joined by straight segments (or S-curves),
    /// flat beyond the first and last point; x itself without points.
    double GetCurveValue(double x) const;
    /// table[k] = round(255 * curve(k / 255)) clamped to 0..255, for k = 0..255.
    void MakeTable(unsigned char* table) const;

    /// The chain's entry: maps `in` through the table into `out` on the "ThreadNumFilter="
    /// workers; a switched-off filter copies. Returns the switched-on state.
    bool ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* sizes);

  private:
    LayerColorCurveData_cls mCData;
    MultiParameters_cls mCPoints;
    std::vector<std::pair<double, double>> mvPoint; ///< values in use, in list order
    MultiThreadCtrl_cls mCThreadCtrl;
};
