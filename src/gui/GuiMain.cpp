// Entry point of the window program: --help and --version are answered before the toolkit
// starts, so they work without a display.
#include "gui/CommandLine_cls.h"
#include "gui/MyApp.h"

#include <cstdio>

int main(int argc, char** argv)
{
    CommandLine_cls commandLine;
    switch (commandLine.Parse(argc, argv)) {
    case CommandLine_cls::kHelp:
        std::fputs(CommandLine_cls::HelpText().c_str(), stdout);
        return 0;
    case CommandLine_cls::kVersion:
        std::fputs(CommandLine_cls::VersionText().c_str(), stdout);
        return 0;
    case CommandLine_cls::kUsageError:
        std::fprintf(stderr, "tessan: %s\nTry 'tessan --help' for more information.\n", commandLine.GetError().c_str());
        return 2;
    case CommandLine_cls::kRun:
        break;
    }
    MyApp::SetCommandLine(commandLine);
    // The toolkit sees only the program name: our options are already taken.
    int wxArgc = 1;
    char* wxArgv[] = {argv[0], nullptr};
    return wxEntry(wxArgc, wxArgv);
}
