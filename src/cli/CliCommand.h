#pragma once
// Sub-commands of tessan-cli. Each command lives in its own Cmd*.cpp and registers itself with
// TESSAN_CLI_COMMAND; main() dispatches on the first argument.
#include <string>
#include <vector>

struct CliCommand {
    const char* mpName;                                 ///< the sub-command word ("info", "convert", ...)
    const char* mpSummary;                              ///< one line for the command list
    const char* mpUsage;                                ///< the full --help text (usage line, description, options)
    int (*mpRun)(const std::vector<std::string>& args); ///< args exclude the command word; returns the exit code
};

/// Adds a command to the registry (called from static initialisers).
bool RegisterCliCommand(const CliCommand& command);
/// All registered commands, sorted by name.
std::vector<CliCommand> GetCliCommands();
/// Reports a usage error of `command` on stderr with the pointer to its --help; returns 2,
/// the exit status of usage errors.
int CliUsageError(const char* command, const std::string& error);

#define TESSAN_CLI_COMMAND(ident, name, summary, usage, fn)                                                            \
    static const bool ident##Registered = RegisterCliCommand(CliCommand{name, summary, usage, fn})
