#include "iso/IsoSpareMemory_cls.h"

#include <utility>

namespace
{
template <class T> size_t CapacityBytes(const std::vector<T>& v)
{
    return v.capacity() * sizeof(T);
}
} // namespace

IsoSpareMemory_cls& IsoSpareMemory_cls::Get()
{
    static IsoSpareMemory_cls sStore;
    return sStore;
}

std::unique_ptr<MarchingArena_cls> IsoSpareMemory_cls::TakeArena()
{
    std::lock_guard<std::mutex> lock(mMutex);
    if (mvArenas.empty())
        return std::make_unique<MarchingArena_cls>();
    // The largest first: the busiest lane of the next extraction needs the most room.
    std::unique_ptr<MarchingArena_cls> arena = std::move(mvArenas.front());
    mvArenas.erase(mvArenas.begin());
    arena->Reset();
    return arena;
}

void IsoSpareMemory_cls::GiveArena(std::unique_ptr<MarchingArena_cls> arena)
{
    if (!arena)
        return;
    arena->Reset();
    std::lock_guard<std::mutex> lock(mMutex);
    if (mvArenas.size() >= kMaxArenas)
        return; // freed here
    // Kept largest first.
    auto at = mvArenas.begin();
    while (at != mvArenas.end() && (*at)->GetCapacityBytes() >= arena->GetCapacityBytes())
        ++at;
    mvArenas.insert(at, std::move(arena));
}

void IsoSpareMemory_cls::TakeLists(std::vector<float>& pos, std::vector<float>& norm, std::vector<uint32_t>& index)
{
    std::lock_guard<std::mutex> lock(mMutex);
    if (pos.capacity() == 0 && mvPos.capacity() > 0)
        pos.swap(mvPos);
    if (norm.capacity() == 0 && mvNorm.capacity() > 0)
        norm.swap(mvNorm);
    if (index.capacity() == 0 && mvIndex.capacity() > 0)
        index.swap(mvIndex);
}

void IsoSpareMemory_cls::GiveLists(std::vector<float>& pos, std::vector<float>& norm, std::vector<uint32_t>& index)
{
    std::vector<float> oldPos, oldNorm;
    std::vector<uint32_t> oldIndex;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        if (CapacityBytes(pos) > CapacityBytes(mvPos))
            mvPos.swap(pos);
        if (CapacityBytes(norm) > CapacityBytes(mvNorm))
            mvNorm.swap(norm);
        if (CapacityBytes(index) > CapacityBytes(mvIndex))
            mvIndex.swap(index);
    }
    // Whatever was not kept is freed outside the lock.
    oldPos.swap(pos);
    oldNorm.swap(norm);
    oldIndex.swap(index);
}

size_t IsoSpareMemory_cls::Release()
{
    std::vector<std::unique_ptr<MarchingArena_cls>> arenas;
    std::vector<float> pos, norm;
    std::vector<uint32_t> index;
    size_t bytes = 0;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        arenas.swap(mvArenas);
        pos.swap(mvPos);
        norm.swap(mvNorm);
        index.swap(mvIndex);
    }
    for (const auto& a : arenas)
        bytes += a->GetCapacityBytes();
    bytes += CapacityBytes(pos) + CapacityBytes(norm) + CapacityBytes(index);
    return bytes;
}

size_t IsoSpareMemory_cls::GetKeptBytes()
{
    std::lock_guard<std::mutex> lock(mMutex);
    size_t bytes = CapacityBytes(mvPos) + CapacityBytes(mvNorm) + CapacityBytes(mvIndex);
    for (const auto& a : mvArenas)
        bytes += a->GetCapacityBytes();
    return bytes;
}
