#pragma once
// A growable array of plain values that is never filled on allocation: its elements are written
// by the code that owns it before they are read, so the first touch of every page is that write
// (in the worker that makes it), not a zero-fill in whichever thread allocated.
#include "iso/LargeVector.h"

#include <cstring>
#include <memory>

/// Uninitialised storage of T (trivially copyable) with a capacity that only grows.
template <class T> class LargeBuffer_cls
{
  public:
    /// Makes room for n elements, keeping the first `keep` (<= the old capacity); at least doubles
    /// the capacity when it grows, so that growing block by block copies little. Returns Data().
    T* Reserve(size_t n, size_t keep)
    {
        if (n <= muCapacity)
            return mpData.get();
        // Never less than a few huge pages: untouched capacity costs address space only, and a
        // buffer that starts small would be copied at every doubling until it is large.
        constexpr size_t kMinimum = (size_t{8} << 20) / sizeof(T);
        size_t capacity = n > 2 * muCapacity ? n : 2 * muCapacity;
        capacity = capacity > kMinimum ? capacity : kMinimum;
        std::unique_ptr<T[]> grown = std::make_unique_for_overwrite<T[]>(capacity);
        AdviseLargePages(grown.get(), capacity * sizeof(T));
        if (keep > 0)
            std::memcpy(grown.get(), mpData.get(), keep * sizeof(T));
        mpData = std::move(grown);
        muCapacity = capacity;
        return mpData.get();
    }
    /// The storage (null before the first Reserve).
    T* Data() { return mpData.get(); }
    const T* Data() const { return mpData.get(); }
    /// Number of elements there is room for.
    size_t Capacity() const { return muCapacity; }
    /// Frees the storage.
    void Release()
    {
        mpData.reset();
        muCapacity = 0;
    }

  private:
    std::unique_ptr<T[]> mpData;
    size_t muCapacity = 0;
};
