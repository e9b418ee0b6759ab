#pragma once
// Writer threads that format the number-heavy sections of mesh2 text, one thread per section.
#include "filter/MultiThreadCtrl_cls.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

/// Base of the section writers: formats into its own buffer and reports the length and a done
/// flag. The inputs are not owned and must not change until the writer has been waited for.
class ThreadIsoWriterBase_cls : public MultiThreadThread_cls
{
  public:
    /// The formatted text (complete once IsDone()).
    const std::string& GetBuffer() const { return mStrBuf; }
    /// Length of the formatted text in bytes.
    size_t GetLength() const { return miLength; }
    /// Set last, after the buffer is complete.
    bool IsDone() const { return mbDone.load(std::memory_order_acquire); }
    /// Trims the buffer to the text written so far and raises the done flag.
    void SerializeClose(char* end);

    /// Writes v with `precision` decimals exactly as printf("%.*f") would in the C locale;
    /// returns the end of the text. Needs room for 48 characters.
    static char* WriteFixed(char* p, float v, int precision);
    /// Writes an unsigned integer in decimal; returns the end of the text.
    static char* WriteUInt(char* p, uint64_t v);

  protected:
    /// Makes room for at most `bytes` characters and returns the start of the buffer.
    char* Begin(size_t bytes);

    std::string mStrBuf;
    size_t miLength = 0;
    std::atomic<bool> mbDone{false};
};

/// mesh2 vectors: "<x,y,z>," items with `precision` decimals and a constant offset added to each
/// coordinate, three items per line, every line starting with a tab and ending with a line feed.
class ThreadIsoWriterVectors3_cls final : public ThreadIsoWriterBase_cls
{
  public:
    ThreadIsoWriterVectors3_cls(const std::vector<float>* values, int precision, float offset)
        : mpvValues(values), miPrecision(precision), mfOffset(offset)
    {
    }
    void Entry() override;

  private:
    const std::vector<float>* mpvValues;
    int miPrecision;
    float mfOffset;
};

/// mesh2 faces: "<a,b,c>," items of global vertex numbers, three items per line, same line rule.
class ThreadIsoWriterFaces_cls final : public ThreadIsoWriterBase_cls
{
  public:
    explicit ThreadIsoWriterFaces_cls(const std::vector<uint32_t>* indices) : mpvIndices(indices) {}
    void Entry() override;

  private:
    const std::vector<uint32_t>* mpvIndices;
};
