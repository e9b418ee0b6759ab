#include "cli/CliCommand.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace
{
std::vector<CliCommand>& Registry()
{
    static std::vector<CliCommand> sCommands;
    return sCommands;
}
} // namespace

bool RegisterCliCommand(const CliCommand& command)
{
    Registry().push_back(command);
    return true;
}

std::vector<CliCommand> GetCliCommands()
{
    std::vector<CliCommand> out = Registry();
    std::sort(out.begin(), out.end(),
              [](const CliCommand& a, const CliCommand& b) { return std::strcmp(a.mpName, b.mpName) < 0; });
    return out;
}

int CliUsageError(const char* command, const std::string& error)
{
    std::fprintf(stderr, "tessan-cli %s: %s\nTry 'tessan-cli %s --help' for more information.\n", command, error.c_str(),
                 command);
    return 2;
}
