#pragma once
// Resumable reader of DF3 files into a frame. The header holds three signed 16-bit big-endian
// sizes; the sample width (8 or 16 bit) follows from the file size. Each call reads whole blocks
// of slices until the frame's 25 ms budget is spent, and the next call continues where it stopped.
#include "volume/ResumableProgress_cls.h"

#include <cstdint>
#include <vector>

class DF3_cls;
class UserPrompt_cls;

class ReadBodyDF3_cls : public ResumableProgress_cls
{
  public:
    /// Slices per block when reading 8-bit samples.
    static constexpr uint32_t kBlock8bit = 8;
    /// Slices per block when reading 16-bit samples (each block is converted by two workers).
    static constexpr uint32_t kBlock16bit = 16;

    /// frame: the frame this reader fills (not owned). Position and total count current z slices.
    explicit ReadBodyDF3_cls(DF3_cls* frame) : mpDF3(frame) {}

    /// Reads the 6-byte header into the frame's true sizes. A file that cannot be opened shows
    /// path + "can not open" titled "read error Header DF3" on parent (nothing when parent is null).
    bool ReadHeaderInfo(UserPrompt_cls* parent);
    /// Reads as many blocks as the budget allows (all with noInterrupt). The frame must be
    /// allocated. Returns false, with a message on parent (or the process prompt when null), when
    /// the file size fits neither width or the file cannot be read. GUI thread.
    bool MainProcess(bool noInterrupt, UserPrompt_cls* parent);

    /// Sample width found by the last MainProcess: 8, 16, or 0 before any body read.
    int GetSampleBits() const { return miSampleBits; }

  private:
    bool Read8bit(bool noInterrupt, int fd);
    bool Read8bitDownSize(bool noInterrupt, int fd);
    bool Read16bit(bool noInterrupt, int fd);
    bool Read16bitDownSize(bool noInterrupt, int fd);
    bool ReadExactly(int fd, uint8_t* dst, uint64_t bytes, uint64_t offset);
    bool ReportShortRead();

    DF3_cls* mpDF3;
    UserPrompt_cls* mpParent = nullptr;
    int miSampleBits = 0;
    std::vector<uint8_t> mvBlock;     ///< raw samples of the block (16-bit or down-sized reads)
    std::vector<uint8_t> mvBlockNext; ///< the following 16-bit block, read while mvBlock is converted
};
