#pragma once
// Timing log of the window's idle loop for the window benchmark (never used in normal runs):
// the duration of every idle pass and the time every played frame reached the screen. Written
// to a text file at the end, one record a line ("pass MICROSECONDS KIND [STAGE]", "frame MILLISECONDS INDEX"),
// followed by a summary line that the benchmark script prints:
// "summary passes=N median_ms=.. p95_ms=.. max_ms=.. over50=N frames=N fps=..".
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

class IdleBenchLog_cls
{
  public:
    /// Figures of a log.
    struct Summary {
        size_t uPasses = 0;
        double dMedianMs = 0, dP95Ms = 0, dMaxMs = 0;
        size_t uOver50 = 0; ///< passes longer than 50 ms
        size_t uFrames = 0;
        double dFps = 0; ///< frames per second between the first and the last logged frame
    };

    /// path: where Write puts the log.
    explicit IdleBenchLog_cls(std::string path) : mStrPath(std::move(path)) {}

    /// One idle pass of `us` microseconds; `kind` says what it did ("load", "play", ...) and
    /// `stage` which loading stage ran last in it ("body", "bind", ...; empty: none). Both
    /// string literals.
    void AddPass(int64_t us, const char* kind = "", const char* stage = "")
    {
        mvPassUs.push_back(us);
        mvPassKind.push_back(kind);
        mvPassStage.push_back(stage != nullptr ? stage : "");
    }
    /// A played frame (scene frame `index`) reached the screen `ms` milliseconds after the start.
    void AddFrame(double ms, int index) { mvFrames.push_back({ms, index}); }
    /// The figures of what was logged so far.
    Summary Summarise() const;
    /// The summary line (without newline).
    static std::string SummaryLine(const Summary& s);
    /// Writes records and summary; false when the file cannot be written.
    bool Write() const;

  private:
    struct FrameRecord {
        double dMs;
        int iIndex;
    };
    std::string mStrPath;
    std::vector<int64_t> mvPassUs;
    std::vector<const char*> mvPassKind;  ///< string literals
    std::vector<const char*> mvPassStage; ///< string literals
    std::vector<FrameRecord> mvFrames;
};
