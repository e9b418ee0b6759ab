#pragma once
// Density statistics of one frame: 256-bin histogram, minimum, maximum and mean.
#include <array>
#include <cstddef>
#include <cstdint>

class LevelMap_cls
{
  public:
    /// Counts the n densities at data. Replaces earlier contents. Any thread, one caller at a time.
    void Compute(const uint8_t* data, size_t n);
    /// Forgets the statistics (the frame was released).
    void Clear();
    /// True after Compute() and before Clear().
    bool IsValid() const { return mbValid; }
    /// Voxels with density d (0..255).
    uint64_t GetCount(int d) const { return mvHistogram[static_cast<size_t>(d)]; }
    const std::array<uint64_t, 256>& GetHistogram() const { return mvHistogram; }
    /// Voxels counted.
    uint64_t GetTotal() const { return muTotal; }
    /// Smallest and largest density present (0 and 0 for an empty frame).
    int GetMin() const { return miMin; }
    int GetMax() const { return miMax; }
    /// Mean density (0 for an empty frame).
    double GetMean() const { return mdMean; }

  private:
    std::array<uint64_t, 256> mvHistogram{};
    uint64_t muTotal = 0;
    int miMin = 0;
    int miMax = 0;
    double mdMean = 0.0;
    bool mbValid = false;
};
