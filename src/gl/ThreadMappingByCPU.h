#pragma once
// Colour baking for the RGBA texel format: turns density bytes into RGBA texels through the
// 256-entry table of ColorTable_cls on worker threads. Workers only fill memory, each its own
// range of texels, so they take no locks; GL calls stay with the thread that owns the context.
#include "filter/MultiThreadCtrl_cls.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

class DF3GL_cls;

class ThreadMappingByCPU : public MultiThreadThread_cls
{
  public:
    /// One worker's share [begin, end) of the texels. owner: the drawing object the texels are
    /// for (not used by the kernel; kept so a worker can be traced to its sequence); out: 4 bytes
    /// per texel; density / colour: one byte per texel (the same pointer when the colour comes
    /// from the density itself); table: 256 RGBA quadruples; done: set when the share is written.
    /// Nothing is owned.
    ThreadMappingByCPU(const DF3GL_cls* owner, uint8_t* out, const uint8_t* density, const uint8_t* colour,
                       size_t begin, size_t end, const uint8_t* table, std::atomic<bool>* done);
    /// Maps the share on the worker thread, then sets the done flag.
    void Entry() override;

    /// The kernel over [begin, end): with density == colour every texel becomes the table entry
    /// of its density; otherwise red, green and blue come from the entry of the colour byte and
    /// alpha is the density byte as it stands. Any thread.
    static void MapRange(uint8_t* out, const uint8_t* density, const uint8_t* colour, size_t begin, size_t end,
                         const uint8_t* table);
    /// Maps `count` texels on `threads` workers (1..16; one worker runs on the calling thread)
    /// and waits for all. Returns true when every worker reported its share done.
    static bool MapAll(const DF3GL_cls* owner, uint8_t* out, const uint8_t* density, const uint8_t* colour,
                       size_t count, const uint8_t* table, int threads);

    const DF3GL_cls* GetOwner() const { return mpOwner; }

  private:
    const DF3GL_cls* mpOwner;
    uint8_t* mpOut;
    const uint8_t* mpDensity;
    const uint8_t* mpColour;
    size_t muBegin;
    size_t muEnd;
    const uint8_t* mpTable;
    std::atomic<bool>* mpDone;
};
