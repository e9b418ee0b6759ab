#pragma once
// Helpers shared by the test programs: scratch folders, file bytes, running the CLI.
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// A fresh empty folder under the system temp dir, removed with the object.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& Path() const { return mPath; }
    std::string File(const std::string& name) const { return (mPath / name).string(); }

private:
    std::filesystem::path mPath;
};

/// Whole file contents (empty when unreadable).
std::vector<uint8_t> ReadFileBytes(const std::string& path);
std::string ReadFileText(const std::string& path);
void WriteFileBytes(const std::string& path, const std::vector<uint8_t>& bytes);
void WriteFileText(const std::string& path, const std::string& text);

/// Result of running a program.
struct RunResult {
    int exitCode = -1;
    std::string out; ///< standard output
    std::string err; ///< standard error
};
/// Runs a shell command line, capturing stdout and stderr.
RunResult RunCommand(const std::string& commandLine);
/// Runs tessan-cli with the given argument string (already shell-quoted as needed).
RunResult RunCli(const std::string& args);

/// Sets LC_ALL to a locale with a decimal comma (de_DE.UTF-8 or similar) for the scope, when
/// one is installed; Active() tells whether one was found.
class ScopedCommaLocale {
public:
    ScopedCommaLocale();
    ~ScopedCommaLocale();
    bool Active() const { return mbActive; }

private:
    std::string mOld;
    bool mbActive = false;
};
