#include "filter/SimdLevel.h"

#include <atomic>

namespace
{
std::atomic<int> GiSimdLevelLimit{static_cast<int>(SimdLevel::Avx512Vbmi)};
}

SimdLevel GetSimdLevelSupported()
{
#if defined(__x86_64__) || defined(__i386__)
    static const SimdLevel sLevel = [] {
        __builtin_cpu_init();
        if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi"))
            return SimdLevel::Avx512Vbmi;
        if (__builtin_cpu_supports("avx2"))
            return SimdLevel::Avx2;
        if (__builtin_cpu_supports("sse4.1"))
            return SimdLevel::Sse41;
        return SimdLevel::Scalar;
    }();
    return sLevel;
#else
    return SimdLevel::Scalar;
#endif
}

SimdLevel GetSimdLevel()
{
    int supported = static_cast<int>(GetSimdLevelSupported());
    int limit = GiSimdLevelLimit.load(std::memory_order_relaxed);
    return static_cast<SimdLevel>(supported < limit ? supported : limit);
}

void SetSimdLevelLimit(SimdLevel limit)
{
    GiSimdLevelLimit.store(static_cast<int>(limit));
}
