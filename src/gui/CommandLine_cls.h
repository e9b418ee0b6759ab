#pragma once
// The command line of the window program: `tessan [--size WxH] [--screenshot OUT.png]
// [--frame N] [--play] [--screenshot-every DIR]
// [FILE.df3 | PROJECT.vsp]`, plus --help and --version. Parsed before the toolkit starts, so
// --help works without a display.
#include <cstdint>
#include <string>

class CommandLine_cls
{
  public:
    /// What main() should do after parsing.
    enum Action { kRun, kHelp, kVersion, kUsageError };

    /// Parses argv (argv[0] is skipped). Never exits; the result tells what to do.
    Action Parse(int argc, const char* const* argv);

    /// The --help text (ends with a newline).
    static std::string HelpText();
    /// The --version text (ends with a newline).
    static std::string VersionText();

    /// The usage error for kUsageError (no newline).
    const std::string& GetError() const { return mStrError; }
    /// The file to open at start-up (empty: none).
    const std::string& GetFile() const { return mStrFile; }
    /// Where --screenshot saves the picture (empty: no screenshot).
    const std::string& GetScreenshotPath() const { return mStrScreenshot; }
    /// The scene frame asked by --frame, -1 when not given.
    int GetFrame() const { return miFrame; }
    /// The client size asked by --size, 0 x 0 when not given.
    int GetWidth() const { return miWidth; }
    int GetHeight() const { return miHeight; }

    /// --play: start playing once the file is open.
    bool GetPlay() const { return mbPlay; }
    /// --screenshot-every DIR: step through every frame of the working area, save each drawn
    /// frame as DIR/frame_NNNN.png (paths printed), then exit. Empty when not given.
    const std::string& GetScreenshotEvery() const { return mStrScreenshotEvery; }
    /// --bench-log FILE (undocumented, for bench/bench_window.sh): log idle-pass durations and
    /// played frames to FILE; the program exits after --quit-after seconds or, when not
    /// playing, after stepping through every frame, each once loaded and drawn.
    const std::string& GetBenchLog() const { return mStrBenchLog; }
    /// --quit-after S: seconds after start-up when a benchmark run ends (0: not given).
    int GetQuitAfter() const { return miQuitAfter; }

    /// Where --view-shot saves the active view (empty: none).
    const std::string& GetViewShotPath() const { return mStrViewShot; }
    /// --view-scale: the view picture at this many times the view's size (1..16, default 1).
    int GetViewScale() const { return miViewScale; }
    /// --offscreen: draw the view picture off-screen even at scale 1.
    bool IsOffscreen() const { return mbOffscreen; }
    /// --stereo: the stereogram mode to show at start (-1: not given).
    int GetStereoMode() const { return miStereoMode; }

    /// The hidden robustness run `--monkey SEED:COUNT`: COUNT random user actions (0: none).
    long GetMonkeyCount() const { return miMonkeyCount; }
    uint32_t GetMonkeySeed() const { return muMonkeySeed; }
    /// Parses "SEED:COUNT" (whole numbers; SEED below 10^9, COUNT 1..10^7); false leaves both alone.
    static bool ParseMonkey(const std::string& text, uint32_t& seed, long& count);

    /// Parses "WxH" (both 64..16384); false leaves width and height untouched.
    static bool ParseSize(const std::string& text, int& width, int& height);

  private:
    std::string mStrError;
    std::string mStrFile;
    std::string mStrScreenshot;
    int miWidth = 0;
    int miHeight = 0;
    int miFrame = -1;
    bool mbPlay = false;
    std::string mStrScreenshotEvery;
    std::string mStrBenchLog;
    int miQuitAfter = 0;
    std::string mStrViewShot;
    int miViewScale = 1;
    bool mbOffscreen = false;
    int miStereoMode = -1;
    uint32_t muMonkeySeed = 0;
    long miMonkeyCount = 0;
};
