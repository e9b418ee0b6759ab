#include "filter/FilterCenterOfMass_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

FilterCenterOfMass_cls::FilterCenterOfMass_cls(FilterCtrl_cls* owner)
{
    ConstructorCommon(owner, L"CenterOfMass", kTypeCode);
}

std::wstring FilterCenterOfMass_cls::GetFilterStatusStr() const
{
    return L"CenterOfMass::" + WStrPrintf("%.9g", static_cast<double>(mCData.mfThreshold.Get()));
}

FilterCenterOfMass_cls::Centroid FilterCenterOfMass_cls::ComputeCentroid(const unsigned char* data,
                                                                         const unsigned int* sizes, int thresholdByte,
                                                                         MultiThreadCtrl_cls& threads)
{
    const size_t X = sizes[0], Y = sizes[1], Z = sizes[2];
    struct Sums {
        uint64_t m = 0, c = 0, x = 0, y = 0, z = 0;
    };
    std::vector<Sums> parts(static_cast<size_t>(std::max<size_t>(Z, 1)));
    threads.RunRanges(Z, [&](size_t z0, size_t z1) {
        for (size_t z = z0; z < z1; ++z) {
            Sums s;
            const unsigned char* slice = data + z * X * Y;
            for (size_t y = 0; y < Y; ++y) {
                uint64_t rowM = 0, rowX = 0, rowC = 0;
                const unsigned char* row = slice + y * X;
                for (size_t x = 0; x < X; ++x) {
                    const int v = row[x];
                    if (v > thresholdByte) {
                        rowM += static_cast<uint64_t>(v);
                        rowX += static_cast<uint64_t>(v) * x;
                        ++rowC;
                    }
                }
                s.m += rowM;
                s.x += rowX;
                s.y += rowM * y;
                s.c += rowC;
            }
            s.z = s.m * z;
            parts[z] = s;
        }
    });
    Sums all;
    for (const Sums& s : parts) {
        all.m += s.m;
        all.c += s.c;
        all.x += s.x;
        all.y += s.y;
        all.z += s.z;
    }
    Centroid r;
    r.uMass = all.m;
    r.uCount = all.c;
    if (all.m > 0) {
        r.dCentre[0] = static_cast<double>(all.x) / static_cast<double>(all.m);
        r.dCentre[1] = static_cast<double>(all.y) / static_cast<double>(all.m);
        r.dCentre[2] = static_cast<double>(all.z) / static_cast<double>(all.m);
    }
    return r;
}

void FilterCenterOfMass_cls::DoCalc(const unsigned char* data, const unsigned int* sizes, int frame)
{
    if (!mCData.IsValid() || !data)
        return;
    // A threshold from a garbled file (NaN, huge) must not overflow the conversion: 0..1 only.
    const float level = std::clamp(std::isnan(mCData.mfThreshold.Get()) ? 0.0f : mCData.mfThreshold.Get(), 0.0f, 1.0f);
    const int threshold = static_cast<int>(std::floor(level * 255.0f));
    mCThreadCtrl.InitializeThreadCtrl();
    mResults[frame] = ComputeCentroid(data, sizes, threshold, mCThreadCtrl);
    std::copy(sizes, sizes + 3, muSize);
}

bool FilterCenterOfMass_cls::GetCentroid(int frame, Centroid& result) const
{
    auto it = mResults.find(frame);
    if (it == mResults.end())
        return false;
    result = it->second;
    return true;
}

bool FilterCenterOfMass_cls::GetMarker(int frame, double* position, double& radius) const
{
    Centroid c;
    if (!GetCentroid(frame, c) || c.uMass == 0)
        return false;
    for (int a = 0; a < 3; ++a)
        position[a] = muSize[a] ? (c.dCentre[a] + 0.5) / muSize[a] : 0.0;
    radius = mCData.mfMarkerSize.Get();
    return true;
}

int FilterCenterOfMass_cls::WriteCSV(const std::string& path) const
{
    // "x": exclusive creation, so an existing file is never touched.
    std::FILE* f = std::fopen(path.c_str(), "wx");
    if (!f)
        return errno == EEXIST ? 1 : 2;
    std::string text = "frame,x,y,z,mass,count\n";
    for (const auto& [frame, c] : mResults)
        text += StrPrintf("%d,%.6f,%.6f,%.6f,%llu,%llu\n", frame, c.dCentre[0], c.dCentre[1], c.dCentre[2],
                          static_cast<unsigned long long>(c.uMass), static_cast<unsigned long long>(c.uCount));
    const bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
    if (std::fclose(f) != 0 || !ok) {
        std::remove(path.c_str());
        return 2;
    }
    return 0;
}
