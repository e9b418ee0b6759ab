#include "gl/ThreadMappingByCPU.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

ThreadMappingByCPU::ThreadMappingByCPU(const DF3GL_cls* owner, uint8_t* out, const uint8_t* density,
                                       const uint8_t* colour, size_t begin, size_t end, const uint8_t* table,
                                       std::atomic<bool>* done)
    : mpOwner(owner), mpOut(out), mpDensity(density), mpColour(colour), muBegin(begin), muEnd(end), mpTable(table),
      mpDone(done)
{
}

void ThreadMappingByCPU::Entry()
{
    MapRange(mpOut, mpDensity, mpColour, muBegin, muEnd, mpTable);
    if (mpDone)
        mpDone->store(true, std::memory_order_release);
}

void ThreadMappingByCPU::MapRange(uint8_t* out, const uint8_t* density, const uint8_t* colour, size_t begin, size_t end,
                                  const uint8_t* table)
{
    if (density == colour) {
        for (size_t i = begin; i < end; ++i)
            std::memcpy(out + i * 4, table + static_cast<size_t>(density[i]) * 4, 4);
        return;
    }
    for (size_t i = begin; i < end; ++i) {
        const uint8_t* e = table + static_cast<size_t>(colour[i]) * 4;
        uint8_t* o = out + i * 4;
        o[0] = e[0];
        o[1] = e[1];
        o[2] = e[2];
        o[3] = density[i];
    }
}

bool ThreadMappingByCPU::MapAll(const DF3GL_cls* owner, uint8_t* out, const uint8_t* density, const uint8_t* colour,
                                size_t count, const uint8_t* table, int threads)
{
    threads = std::clamp(threads, 1, MultiThreadCtrl_cls::kMaxSlots);
    // Small jobs are not worth a thread start each.
    if (threads == 1 || count < 4096) {
        MapRange(out, density, colour, 0, count, table);
        return true;
    }
    // The flags live until every worker has been joined below.
    auto done = std::make_unique<std::atomic<bool>[]>(static_cast<size_t>(threads));
    MultiThreadCtrl_cls ctrl;
    ctrl.SetThreadNum(threads);
    for (int t = 0; t < threads; ++t) {
        done[t].store(false);
        const auto [begin, end] = MultiThreadCtrl_cls::Range(count, t, threads);
        ctrl.WaitForThreadsAndRun(
            std::make_unique<ThreadMappingByCPU>(owner, out, density, colour, begin, end, table, &done[t]));
    }
    ctrl.WaitAllThreadsEnd();
    bool all = true;
    for (int t = 0; t < threads; ++t)
        all = all && done[t].load(std::memory_order_acquire);
    return all;
}
