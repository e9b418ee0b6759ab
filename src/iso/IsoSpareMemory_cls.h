#pragma once
// Memory of finished extractions kept for the next one in the same process. The large arrays of
// an extraction (the lanes' arenas, the welded lists) are tens of megabytes that the system hands
// out as fresh pages, each cleared by the kernel on first touch: for a program that extracts one
// surface after another with a new extractor each time, that clearing was a sizeable part of every
// extraction. A finished extractor leaves its arenas and welded lists here; the next one takes
// them with their capacity, so their pages are already mapped.
#include "iso/MarchingArena_cls.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

/// Process-wide store of the arenas and welded-list arrays that extractors gave back. Any thread
/// may call it. It keeps what one extraction with up to kMaxArenas lanes left behind; anything
/// more is freed at once.
class IsoSpareMemory_cls
{
  public:
    /// Lanes' arenas kept at most (the most worker slots there are).
    static constexpr size_t kMaxArenas = 16;

    /// The store of this process.
    static IsoSpareMemory_cls& Get();

    /// A kept arena (its memory mapped, contents forgotten), or a new empty one.
    std::unique_ptr<MarchingArena_cls> TakeArena();
    /// Keeps an arena for a later extraction (freed when kMaxArenas are kept already).
    void GiveArena(std::unique_ptr<MarchingArena_cls> arena);

    /// Swaps the kept welded-list arrays into pos, norm and index when those have no capacity yet
    /// and one is kept. The arrays keep their old size and contents: the caller overwrites every
    /// element it uses, and resizing within the old size then fills nothing.
    void TakeLists(std::vector<float>& pos, std::vector<float>& norm, std::vector<uint32_t>& index);
    /// Keeps the arrays of pos, norm and index (the vectors are left empty) when their capacity
    /// is larger than that of the set kept now; the smaller set is freed.
    void GiveLists(std::vector<float>& pos, std::vector<float>& norm, std::vector<uint32_t>& index);

    /// Frees everything kept. Returns the bytes freed.
    size_t Release();
    /// Bytes of array capacity kept now.
    size_t GetKeptBytes();

  private:
    std::mutex mMutex;
    std::vector<std::unique_ptr<MarchingArena_cls>> mvArenas;
    std::vector<float> mvPos;
    std::vector<float> mvNorm;
    std::vector<uint32_t> mvIndex;
};
