#include "filter/LayerColorCurve_cls.h"

#include "config/TextFormat.h"
#include "filter/LevelAndGamma_cls.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

const wchar_t* const LayerColorCurve_cls::msParamSetName = L"DensityCurvePoints";

LayerColorCurve_cls::LayerColorCurve_cls(FilterCtrl_cls* owner) : mCPoints(2, msParamSetName)
{
    ConstructorCommon(owner, L"Density Curve", kTypeCode);
    SetPoints({{0.0, 0.0}, {1.0, 1.0}});
}

void LayerColorCurve_cls::SetPoints(const std::vector<std::pair<double, double>>& points)
{
    while (mCPoints.GetItemNumber() > 0)
        mCPoints.RemoveItemProc(static_cast<unsigned>(mCPoints.GetItemNumber() - 1));
    for (const auto& [xin, xout] : points) {
        auto set = std::make_unique<Parameters_cls>(2, msParamSetName);
        set->ProcClearKey({xin, xout});
        set->RefreshCurrent();
        mCPoints.AddItemProc(std::move(set), static_cast<unsigned>(mCPoints.GetItemNumber()));
    }
    mvPoint = points;
}

std::wstring LayerColorCurve_cls::SerializeConf() const
{
    return mCData.SerializeConf() + mCPoints.Serialize();
}

bool LayerColorCurve_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& line)
{
    if (mCPoints.ReadStrLine(stream, line)) {
        UpdateParameters(-1.0);
        return true;
    }
    return FilterBase_cls::ReadStrLine(stream, line);
}

void LayerColorCurve_cls::UpdateParameters(double time)
{
    mvPoint.clear();
    for (int i = 0; i < mCPoints.GetItemNumber(); ++i) {
        const double* v = mCPoints.GetPItem(i)->GetPInterpolatedValue(time);
        // A point at infinity (a key read as "1e999") has no place on the curve: left out.
        if (std::isfinite(v[0]) && std::isfinite(v[1]))
            mvPoint.emplace_back(v[0], v[1]);
    }
}

std::wstring LayerColorCurve_cls::GetFilterStatusStr() const
{
    std::wstring s = L"LayerColorCurve::" + WStrPrintf("%d", mCData.miInterpolation.Get());
    for (const auto& [xin, xout] : mvPoint)
        s += WStrPrintf(" %.17g:%.17g", xin, xout);
    return s;
}

std::vector<std::pair<double, double>> LayerColorCurve_cls::GetSortedPoints() const
{
    std::vector<std::pair<double, double>> p = mvPoint;
    std::stable_sort(p.begin(), p.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    return p;
}

double LayerColorCurve_cls::GetCurveValue(double x) const
{
    const std::vector<std::pair<double, double>> p = GetSortedPoints();
    if (p.empty())
        return x;
    if (x <= p.front().first)
        return p.front().second;
    if (x >= p.back().first)
        return p.back().second;
    // The last point at or below x starts the segment; equal inputs make a jump, not a division.
    size_t k = 0;
    while (k + 1 < p.size() && p[k + 1].first <= x)
        ++k;
    const double x0 = p[k].first, y0 = p[k].second, x1 = p[k + 1].first, y1 = p[k + 1].second;
    double t = (x - x0) / (x1 - x0);
    if (mCData.miInterpolation.Get() == 1)
        t = t * t * (3.0 - 2.0 * t);
    const double y = y0 + (y1 - y0) * t;
    // Outputs far apart overflow the difference; the weighted sum of two finite values never
    // becomes NaN (at worst an infinity, which the table clamps).
    return std::isnan(y) ? y0 * (1.0 - t) + y1 * t : y;
}

void LayerColorCurve_cls::MakeTable(unsigned char* table) const
{
    for (int k = 0; k < 256; ++k) {
        const double y = std::floor(GetCurveValue(k / 255.0) * 255.0 + 0.5);
        table[k] = static_cast<unsigned char>(std::clamp(y, 0.0, 255.0));
    }
}

bool LayerColorCurve_cls::ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* sizes)
{
    const size_t n = static_cast<size_t>(sizes[0]) * sizes[1] * sizes[2];
    if (!mCData.IsValid()) {
        if (out != in)
            std::memcpy(out, in, n);
        return false;
    }
    unsigned char table[256];
    MakeTable(table);
    mCThreadCtrl.InitializeThreadCtrl();
    mCThreadCtrl.RunRanges(n, [&](size_t b, size_t e) { LevelAndGamma_cls::MapRange(out, in, b, e, table); });
    return true;
}
