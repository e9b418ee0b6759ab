#include "support/TestUtil.h"

#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

TempDir::TempDir()
{
    std::random_device rd;
    for (;;) {
        auto candidate = std::filesystem::temp_directory_path() /
                         ("tessan-test-" + std::to_string(getpid()) + "-" + std::to_string(rd()));
        if (std::filesystem::create_directory(candidate)) {
            mPath = candidate;
            break;
        }
    }
}

TempDir::~TempDir()
{
    std::error_code ec;
    std::filesystem::remove_all(mPath, ec);
}

std::vector<uint8_t> ReadFileBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

std::string ReadFileText(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

void WriteFileBytes(const std::string& path, const std::vector<uint8_t>& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void WriteFileText(const std::string& path, const std::string& text)
{
    std::ofstream out(path, std::ios::binary);
    out << text;
}

RunResult RunCommand(const std::string& commandLine)
{
    TempDir dir;
    std::string outFile = dir.File("out"), errFile = dir.File("err");
    std::string cmd = commandLine + " >'" + outFile + "' 2>'" + errFile + "' </dev/null";
    int status = std::system(cmd.c_str());
    RunResult r;
    r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.out = ReadFileText(outFile);
    r.err = ReadFileText(errFile);
    return r;
}

RunResult RunCli(const std::string& args) { return RunCommand(std::string("'") + TESSAN_CLI_PATH + "' " + args); }

ScopedCommaLocale::ScopedCommaLocale()
{
    const char* old = std::setlocale(LC_ALL, nullptr);
    mOld = old ? old : "C";
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "de_DE", "fr_FR.utf8"}) {
        if (std::setlocale(LC_ALL, name)) {
            mbActive = true;
            return;
        }
    }
}

ScopedCommaLocale::~ScopedCommaLocale() { std::setlocale(LC_ALL, mOld.c_str()); }
