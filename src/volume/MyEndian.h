#pragma once
// Byte-order helpers for the big-endian DF3 format.
#include <cstdint>

class MyEndian
{
  public:
    /// Reverses the order of `size` bytes at p in place, unconditionally (whatever the host order).
    static void SwapByte(void* p, unsigned size);
    /// The signed 16-bit big-endian value at p (sign-extended), read byte by byte.
    static int16_t ReadInt16BE(const uint8_t* p) { return static_cast<int16_t>((p[0] << 8) | p[1]); }
    /// Stores the low 16 bits of v at p, most significant byte first.
    static void WriteUInt16BE(uint8_t* p, uint32_t v)
    {
        p[0] = static_cast<uint8_t>(v >> 8);
        p[1] = static_cast<uint8_t>(v);
    }
};
