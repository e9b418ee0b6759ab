#include "filter/DataRotate_cls.h"

#include "config/GlobalFlags.h"
#include "config/TextFormat.h"

#include <cmath>
#include <cstring>

const wchar_t* const DataRotate_cls::msParamSetName = L"DataRotate";

namespace
{
const double kDefault[1] = {0.0};
constexpr double kInsideTolerance = 1e-6;

/// Trilinear sample at (qx, qy, qz); 0 outside the volume.
double Sample(const unsigned char* in, const unsigned int* sizes, double qx, double qy, double qz)
{
    const double q[3] = {qx, qy, qz};
    long i0[3];
    double f[3];
    for (int a = 0; a < 3; ++a) {
        const double hi = static_cast<double>(sizes[a]) - 1.0;
        double v = q[a];
        if (v < -kInsideTolerance || v > hi + kInsideTolerance)
            return 0.0;
        v = v < 0.0 ? 0.0 : (v > hi ? hi : v);
        long k = static_cast<long>(std::floor(v));
        if (k > static_cast<long>(sizes[a]) - 2)
            k = static_cast<long>(sizes[a]) - 2;
        if (k < 0)
            k = 0;
        i0[a] = k;
        f[a] = sizes[a] > 1 ? v - static_cast<double>(k) : 0.0;
    }
    const size_t X = sizes[0], XY = static_cast<size_t>(sizes[0]) * sizes[1];
    // A one-voxel axis has no second sample; its step is 0.
    const size_t sx = sizes[0] > 1 ? 1 : 0, sy = sizes[1] > 1 ? X : 0, sz = sizes[2] > 1 ? XY : 0;
    const unsigned char* p = in + static_cast<size_t>(i0[2]) * XY + static_cast<size_t>(i0[1]) * X + i0[0];
    const double c00 = p[0] + (p[sx] - p[0]) * f[0];
    const double c10 = p[sy] + (p[sy + sx] - p[sy]) * f[0];
    const double c01 = p[sz] + (p[sz + sx] - p[sz]) * f[0];
    const double c11 = p[sz + sy] + (p[sz + sy + sx] - p[sz + sy]) * f[0];
    const double c0 = c00 + (c10 - c00) * f[1];
    const double c1 = c01 + (c11 - c01) * f[1];
    return c0 + (c1 - c0) * f[2];
}

} // namespace

DataRotate_cls::DataRotate_cls(FilterCtrl_cls* owner) : FilterWithParameter_cls(1, msParamSetName, kDefault)
{
    ConstructorCommon(owner, L"Data Rotate", kTypeCode);
}

std::wstring DataRotate_cls::SerializeConf() const
{
    return mCData.SerializeConf() + GetParameters().Serialize();
}

std::wstring DataRotate_cls::GetFilterStatusStr() const
{
    return L"DataRotate::" + WStrPrintf("%d %.17g", mCData.miAxis.Get(), mdDegree);
}

void DataRotate_cls::CosSin(double degree, double& c, double& s)
{
    const double quarter = degree / 90.0;
    if (quarter == std::floor(quarter) && std::fabs(quarter) < 1e15) {
        static const double kC[4] = {1.0, 0.0, -1.0, 0.0}, kS[4] = {0.0, 1.0, 0.0, -1.0};
        long k = static_cast<long>(quarter) % 4;
        if (k < 0)
            k += 4;
        c = kC[k];
        s = kS[k];
        return;
    }
    const double r = degree * M_PI / 180.0;
    c = std::cos(r);
    s = std::sin(r);
}

bool DataRotate_cls::ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* sizes)
{
    const size_t X = sizes[0], Y = sizes[1], Z = sizes[2], n = X * Y * Z;
    if (!mCData.IsValid()) {
        if (out != in)
            std::memcpy(out, in, n);
        return false;
    }
    double c, s;
    CosSin(mdDegree, c, s);
    const int axis = mCData.miAxis.Get() == 0 ? 0 : (mCData.miAxis.Get() == 1 ? 1 : 2);
    // The two coordinates turned by the rotation: (u, v) = (y, z) about x, (z, x) about y,
    // (x, y) about z, so that each turn is counter-clockwise seen from the positive axis.
    const int ua = axis == 0 ? 1 : (axis == 1 ? 2 : 0);
    const int va = axis == 0 ? 2 : (axis == 1 ? 0 : 1);
    const double centre[3] = {(X - 1.0) / 2.0, (Y - 1.0) / 2.0, (Z - 1.0) / 2.0};
    GbGLLockForMultithread = true;
    mCThreadCtrl.InitializeThreadCtrl();
    mCThreadCtrl.RunRanges(Z, [&](size_t z0, size_t z1) {
        for (size_t z = z0; z < z1; ++z)
            for (size_t y = 0; y < Y; ++y)
                for (size_t x = 0; x < X; ++x) {
                    double p[3] = {x - centre[0], y - centre[1], z - centre[2]};
                    double q[3] = {p[0], p[1], p[2]};
                    // Inverse rotation: where in the input does output voxel p come from.
                    q[ua] = c * p[ua] + s * p[va];
                    q[va] = -s * p[ua] + c * p[va];
                    const double v = Sample(in, sizes, q[0] + centre[0], q[1] + centre[1], q[2] + centre[2]);
                    out[(z * Y + y) * X + x] = static_cast<unsigned char>(std::floor(v + 0.5));
                }
    });
    GbGLLockForMultithread = false;
    return true;
}
