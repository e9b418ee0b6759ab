#pragma once
// Writer threads that format the sections of Wavefront OBJ text, one thread per section.
#include "iso/ThreadIsoWriterBase_cls.h"

#include <string>

/// Base of the OBJ section writers; shares the buffer, length and done flag of the mesh2 writers.
class ThreadWavefrontWriterBase_cls : public ThreadIsoWriterBase_cls
{
};

/// One line per vector: the prefix ("v", "vn"), then three numbers with `precision` decimals.
class ThreadWavefrontWriterVector3_cls final : public ThreadWavefrontWriterBase_cls
{
  public:
    ThreadWavefrontWriterVector3_cls(const std::vector<float>* values, std::string prefix, int precision)
        : mpvValues(values), mStrPrefix(std::move(prefix)), miPrecision(precision)
    {
    }
    void Entry() override;

  private:
    const std::vector<float>* mpvValues;
    std::string mStrPrefix;
    int miPrecision;
};

/// One line "f a b c" per triangle; indices are the global vertex numbers counted from 1.
class ThreadWavefrontWriterFaces_cls final : public ThreadWavefrontWriterBase_cls
{
  public:
    explicit ThreadWavefrontWriterFaces_cls(const std::vector<uint32_t>* indices) : mpvIndices(indices) {}
    void Entry() override;

  private:
    const std::vector<uint32_t>* mpvIndices;
};
