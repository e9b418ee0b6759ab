#include "gui/CommandLine_cls.h"

#include "config/TextFormat.h"

#include <cctype>

bool CommandLine_cls::ParseMonkey(const std::string& text, uint32_t& seed, long& count)
{
    const size_t colon = text.find(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 >= text.size())
        return false;
    const std::string s = text.substr(0, colon), c = text.substr(colon + 1);
    if (s.find_first_not_of("0123456789") != std::string::npos ||
        c.find_first_not_of("0123456789") != std::string::npos || s.size() > 9 || c.size() > 8)
        return false;
    const long n = ParseLong(c);
    if (n < 1 || n > 10000000)
        return false;
    seed = static_cast<uint32_t>(ParseLong(s));
    count = n;
    return true;
}

CommandLine_cls::Action CommandLine_cls::Parse(int argc, const char* const* argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](std::string& out) {
            // Both "--opt VALUE" and "--opt=VALUE".
            const size_t eq = arg.find('=');
            if (eq != std::string::npos) {
                out = arg.substr(eq + 1);
                return !out.empty();
            }
            if (i + 1 >= argc)
                return false;
            out = argv[++i];
            return true;
        };
        const std::string name = arg.substr(0, arg.find('='));
        if (arg == "--help" || arg == "-h")
            return kHelp;
        if (arg == "--version")
            return kVersion;
        if (name == "--screenshot") {
            if (!value(mStrScreenshot)) {
                mStrError = "option --screenshot needs a file name";
                return kUsageError;
            }
        } else if (name == "--size") {
            std::string text;
            if (!value(text) || !ParseSize(text, miWidth, miHeight)) {
                mStrError = "option --size needs WIDTHxHEIGHT (64 to 16384 each), e.g. 800x600";
                return kUsageError;
            }
        } else if (name == "--frame") {
            std::string text;
            const bool digits = value(text) && !text.empty() &&
                                text.find_first_not_of("0123456789") == std::string::npos && text.size() < 9;
            if (!digits) {
                mStrError = "option --frame needs a frame number (0 or more)";
                return kUsageError;
            }
            miFrame = static_cast<int>(ParseLong(text));
        } else if (arg == "--play") {
            mbPlay = true;
        } else if (name == "--screenshot-every") {
            if (!value(mStrScreenshotEvery)) {
                mStrError = "option --screenshot-every needs a folder";
                return kUsageError;
            }
        } else if (name == "--bench-log") {
            if (!value(mStrBenchLog)) {
                mStrError = "option --bench-log needs a file name";
                return kUsageError;
            }
        } else if (name == "--quit-after") {
            std::string text;
            const bool digits = value(text) && !text.empty() &&
                                text.find_first_not_of("0123456789") == std::string::npos && text.size() < 6;
            if (!digits || ParseLong(text) == 0) {
                mStrError = "option --quit-after needs a number of seconds (1 or more)";
                return kUsageError;
            }
            miQuitAfter = static_cast<int>(ParseLong(text));
        } else if (name == "--view-shot") {
            if (!value(mStrViewShot)) {
                mStrError = "option --view-shot needs a file name";
                return kUsageError;
            }
        } else if (name == "--view-scale") {
            std::string text;
            const bool digits = value(text) && !text.empty() && text.size() < 3 &&
                                text.find_first_not_of("0123456789") == std::string::npos;
            const long scale = digits ? ParseLong(text) : 0;
            if (scale < 1 || scale > 16) {
                mStrError = "option --view-scale needs a whole number from 1 to 16";
                return kUsageError;
            }
            miViewScale = static_cast<int>(scale);
        } else if (arg == "--offscreen") {
            mbOffscreen = true;
        } else if (name == "--stereo") {
            std::string text;
            const char* const modes[] = {"off", "parallel", "crossed", "anaglyph", "overunder"};
            miStereoMode = -1;
            if (value(text))
                for (int m = 0; m < 5; ++m)
                    if (text == modes[m])
                        miStereoMode = m;
            if (miStereoMode < 0) {
                mStrError = "option --stereo needs off, parallel, crossed, anaglyph or overunder";
                return kUsageError;
            }
        } else if (name == "--monkey") {
            // Not in --help: a robustness run for the test suite, not a user feature.
            std::string text;
            if (!value(text) || !ParseMonkey(text, muMonkeySeed, miMonkeyCount)) {
                mStrError = "option --monkey needs SEED:COUNT, e.g. 7:2000";
                return kUsageError;
            }
        } else if (arg.size() > 1 && arg[0] == '-') {
            mStrError = "unknown option '" + arg + "'";
            return kUsageError;
        } else if (mStrFile.empty()) {
            mStrFile = arg;
        } else {
            mStrError = "only one file can be opened at start-up";
            return kUsageError;
        }
    }
    return kRun;
}

bool CommandLine_cls::ParseSize(const std::string& text, int& width, int& height)
{
    const size_t x = text.find_first_of("xX");
    if (x == std::string::npos || x == 0 || x + 1 >= text.size())
        return false;
    for (size_t i = 0; i < text.size(); ++i)
        if (i != x && !std::isdigit(static_cast<unsigned char>(text[i])))
            return false;
    const long w = ParseLong(text.substr(0, x));
    const long h = ParseLong(text.substr(x + 1));
    if (w < 64 || h < 64 || w > 16384 || h > 16384)
        return false;
    width = static_cast<int>(w);
    height = static_cast<int>(h);
    return true;
}

std::string CommandLine_cls::HelpText()
{
    return "Usage: tessan [OPTION]... [FILE.df3 | PROJECT.vsp]\n"
           "View, filter and animate volumetric density data (DF3 volume series).\n"
           "\n"
           "  FILE.df3             open this DF3 volume (and the numbered series it belongs to)\n"
           "  PROJECT.vsp          open this project file\n"
           "      --size WxH       make the window's client area W x H pixels\n"
           "      --screenshot OUT.png\n"
           "                       when every visible view is drawn, save the window's client\n"
           "                       area as a PNG picture and exit (0 on success)\n"
           "      --frame N        show scene frame N after opening the file\n"
           "      --play           start playing once the file is open\n"
           "      --screenshot-every DIR\n"
           "                       show every frame of the working area in turn, save each as\n"
           "                       DIR/frame_NNNN.png (the paths are printed) and exit\n"
           "      --view-shot OUT.png\n"
           "                       as --screenshot, but only the active view (the stereogram\n"
           "                       view when shown)\n"
           "      --view-scale N   draw the --view-shot picture off-screen at N times the\n"
           "                       view's size (1 to 16)\n"
           "      --offscreen      draw the --view-shot picture off-screen also at scale 1\n"
           "      --stereo MODE    show the stereogram view at start: off, parallel, crossed,\n"
           "                       anaglyph or overunder\n"
           "  -h, --help           show this help and exit\n"
           "      --version        show the version and exit\n"
           "\n"
           "Settings are kept in KivrelConfigure.txt (working folder) and the recent projects in\n"
           "KivrelRecent.txt beside the program.\n";
}

std::string CommandLine_cls::VersionText()
{
    return std::string("tessan (Kivrel Tessan) ") + TESSAN_VERSION + "\n";
}
