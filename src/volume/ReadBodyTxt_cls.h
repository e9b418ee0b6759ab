#pragma once
// Resumable reader of a frame stored as a text volume (source format 2; files ending in .txt, .dat
// or .vol are opened as such).
//
// Layout: the first line holds the sizes X Y Z as positive whole numbers; then X*Y*Z values follow,
// x fastest, then y, then z, separated by any white space (line breaks carry no meaning), integers
// or reals in C syntax ("12", "-3.5", "1e-3"; the decimal point is always "."). "#" starts a comment
// up to the end of its line, anywhere in the file. The values are scaled linearly from their range
// to bytes - the smallest becomes 0, the largest 255, rounded to nearest; a constant grid is all 0 -
// so integers 0..255 that use the full range keep their values.
//
// Reading runs in two phases over the file, each cut into steps of kValuesPerStep values checked
// against the frame's time budget: first the range is found (and every value checked, so a bad file
// is refused before any voxel changes), then the values are converted into the frame, down-sized by
// nearest sample like the other readers.
#include "volume/ResumableProgress_cls.h"

#include <cstdint>
#include <string>

class DF3_cls;
class UserPrompt_cls;

class ReadBodyTxt_cls : public ResumableProgress_cls
{
  public:
    /// Values handled between two looks at the time budget.
    static constexpr uint32_t kValuesPerStep = 65536;

    /// frame: the frame this reader fills (not owned). Position and total count steps of both phases.
    explicit ReadBodyTxt_cls(DF3_cls* frame) : mpDF3(frame) {}

    /// Reads the size line into the frame's true sizes. Failures (unreadable file, a size line that
    /// is not three whole numbers, sizes below 1, more than 2 GB of voxels) are shown on parent
    /// (nothing when null), titled "read error Header Text".
    bool ReadHeaderInfo(UserPrompt_cls* parent);
    /// Continues the two phases until the budget is spent (to the end with noInterrupt). Too few or
    /// too many values and anything that is not a number (with its line and column) are shown on
    /// parent (or the frame's message parent when null), titled "read Error Main". GUI thread.
    bool MainProcess(bool noInterrupt, UserPrompt_cls* parent);

    /// The smallest and largest value; meaningful once IsRangeKnown().
    double GetMin() const { return mdMin; }
    double GetMax() const { return mdMax; }
    /// True once the first phase has gone through the whole file.
    bool IsRangeKnown() const { return mbRangeKnown; }
    /// The byte for value v of the range [min, max]: round((v - min) * 255 / (max - min)), 0 when
    /// max <= min.
    static uint8_t Scale(double v, double min, double max);
    /// Parses one value in strict C syntax (no hex, no "nan"/"inf"); false when t is not a number.
    static bool ParseValue(const std::string& t, double& v);

  private:
    void Restart();

    DF3_cls* mpDF3;
    // Where the values begin: just after the sizes on the first line.
    uint64_t muBodyOffset = 0, muBodyLine = 1, muBodyLineStart = 0;
    // Where the next step starts (file offset, its line and the offset where that line begins).
    uint64_t muOffset = 0, muLine = 1, muLineStart = 0;
    double mdMin = 0.0, mdMax = 0.0;
    bool mbRangeKnown = false;
};
