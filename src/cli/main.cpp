// tessan-cli: batch front end of Kivrel Tessan for machines without a display.
#include "cli/CliCommand.h"
#include "cli/TerminalPrompt_cls.h"
#include "config/Translate.h"

#include <clocale>
#include <cstdio>
#include <cstring>
#include <libintl.h>
#include <string>
#include <vector>

namespace
{

void PrintUsage(FILE* out)
{
    std::fprintf(out, "Usage: tessan-cli COMMAND [OPTION]... [ARG]...\n"
                      "Headless volume processing and export for Kivrel Tessan.\n\n"
                      "Commands:\n");
    for (const CliCommand& c : GetCliCommands())
        std::fprintf(out, "  %-10s %s\n", c.mpName, c.mpSummary);
    std::fprintf(out, "\nRun 'tessan-cli COMMAND --help' for a command's options.\n"
                      "  --help     display this help and exit\n"
                      "  --version  output version information and exit\n");
}

void PrintVersion()
{
    std::printf("tessan-cli (Kivrel Tessan) %s\n", TESSAN_VERSION);
}

} // namespace

int main(int argc, char** argv)
{
    std::setlocale(LC_ALL, "");
    bindtextdomain("Tessan", "./locale");
    bind_textdomain_codeset("Tessan", "UTF-8");
    SetTranslator([](const char* msgid) { return std::string(dgettext("Tessan", msgid)); });
    TerminalPrompt_cls prompt;
    SetUserPrompt(&prompt);

    if (argc < 2) {
        PrintUsage(stderr);
        return 2;
    }
    std::string word = argv[1];
    if (word == "--help" || word == "-h") {
        PrintUsage(stdout);
        return 0;
    }
    if (word == "--version") {
        PrintVersion();
        return 0;
    }
    std::vector<std::string> args(argv + 2, argv + argc);
    for (const CliCommand& c : GetCliCommands()) {
        if (word != c.mpName)
            continue;
        for (const std::string& a : args) {
            if (a == "--") // everything after "--" is an operand
                break;
            if (a == "--help") {
                std::fputs(c.mpUsage, stdout);
                return 0;
            }
            if (a == "--version") {
                PrintVersion();
                return 0;
            }
        }
        return c.mpRun(args);
    }
    std::fprintf(stderr, "tessan-cli: unknown command '%s'\nTry 'tessan-cli --help' for more information.\n",
                 word.c_str());
    return 2;
}
