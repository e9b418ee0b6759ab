#pragma once
// Reserving the large output arrays of an extraction with transparent huge pages where the system
// offers them: a surface of a few million triangles fills tens of megabytes that are written once,
// and taking them in 4 KB pages costs one page fault per page, which on a fresh array is a good
// part of the whole extraction. Advice only: without huge pages the arrays behave as before.
#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

/// Asks the kernel to back the whole huge pages inside [p, p + bytes) with huge pages when they
/// are first touched; nothing for ranges under two huge pages.
inline void AdviseLargePages(void* p, size_t bytes)
{
#if defined(MADV_HUGEPAGE)
    constexpr uintptr_t kHuge = uintptr_t{2} << 20;
    if (p == nullptr || bytes < 2 * kHuge)
        return;
    const auto begin = reinterpret_cast<uintptr_t>(p);
    // Only whole huge pages inside the allocation (madvise works on page-aligned ranges).
    const uintptr_t lo = (begin + kHuge - 1) & ~(kHuge - 1);
    const uintptr_t hi = (begin + bytes) & ~(kHuge - 1);
    if (hi > lo)
        ::madvise(reinterpret_cast<void*>(lo), hi - lo, MADV_HUGEPAGE);
#else
    (void)p;
    (void)bytes;
#endif
}

/// Reserves room for n elements in v (keeping its contents) and, for arrays of several megabytes,
/// advises huge pages for the untouched part. Returns v.data().
template <class T> T* ReserveWithLargePages(std::vector<T>& v, size_t n)
{
    v.reserve(n);
    AdviseLargePages(v.data(), v.capacity() * sizeof(T));
    return v.data();
}
