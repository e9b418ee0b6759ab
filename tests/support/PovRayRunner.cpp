#include "support/PovRayRunner.h"

#include "support/TestUtil.h"

#include <cctype>
#include <cstdlib>
#include <unistd.h>

namespace
{

std::string ShellQuote(const std::string& s)
{
    std::string out = "'";
    for (char c : s) {
        if (c == '\'')
            out += "'\\''";
        else
            out += c;
    }
    return out + "'";
}

// Reads one header token of a PPM file, skipping blanks and "#" comments.
bool ReadToken(const std::vector<uint8_t>& b, size_t& pos, std::string& token)
{
    token.clear();
    for (;;) {
        while (pos < b.size() && std::isspace(b[pos]))
            ++pos;
        if (pos < b.size() && b[pos] == '#') {
            while (pos < b.size() && b[pos] != '\n')
                ++pos;
            continue;
        }
        break;
    }
    while (pos < b.size() && !std::isspace(b[pos]) && b[pos] != '#')
        token += static_cast<char>(b[pos++]);
    return !token.empty();
}

bool ReadNumber(const std::vector<uint8_t>& b, size_t& pos, long& value)
{
    std::string t;
    if (!ReadToken(b, pos, t))
        return false;
    for (char c : t)
        if (!std::isdigit(static_cast<unsigned char>(c)))
            return false;
    value = std::strtol(t.c_str(), nullptr, 10);
    return true;
}

} // namespace

std::array<double, 3> PovImage::Pixel(int x, int y) const
{
    size_t i = (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3;
    return {vData[i] / double(maxValue), vData[i + 1] / double(maxValue), vData[i + 2] / double(maxValue)};
}

bool DecodePpm(const std::vector<uint8_t>& bytes, PovImage& out)
{
    out = PovImage();
    size_t pos = 0;
    std::string magic;
    if (!ReadToken(bytes, pos, magic) || (magic != "P6" && magic != "P3"))
        return false;
    long w = 0, h = 0, maxv = 0;
    if (!ReadNumber(bytes, pos, w) || !ReadNumber(bytes, pos, h) || !ReadNumber(bytes, pos, maxv))
        return false;
    if (w <= 0 || h <= 0 || w > 100000 || h > 100000 || maxv <= 0 || maxv > 65535)
        return false;
    const size_t count = static_cast<size_t>(w) * static_cast<size_t>(h) * 3;
    std::vector<uint16_t> data(count);
    if (magic == "P6") {
        ++pos; // the single blank after the maximum value
        const size_t bytesPer = maxv > 255 ? 2 : 1;
        if (bytes.size() < pos + count * bytesPer)
            return false;
        for (size_t i = 0; i < count; ++i) {
            data[i] = bytesPer == 2 ? static_cast<uint16_t>(bytes[pos + 2 * i] << 8 | bytes[pos + 2 * i + 1])
                                    : bytes[pos + i];
        }
    } else {
        for (size_t i = 0; i < count; ++i) {
            long v = 0;
            if (!ReadNumber(bytes, pos, v) || v > maxv)
                return false;
            data[i] = static_cast<uint16_t>(v);
        }
    }
    out.width = static_cast<int>(w);
    out.height = static_cast<int>(h);
    out.maxValue = static_cast<int>(maxv);
    out.vData = std::move(data);
    return true;
}

std::string PovRayPath()
{
    const char* env = std::getenv("TESSAN_POVRAY");
    return env && *env ? env : "/usr/bin/povray";
}

bool IsPovRayAvailable()
{
    return access(PovRayPath().c_str(), X_OK) == 0;
}

PovRayResult RunPovRay(const std::string& sceneText, const PovRayOptions& options)
{
    PovRayResult result;
    TempDir dir;
    WriteFileText(dir.File("scene.pov"), sceneText);
    for (const auto& [name, text] : options.vIncludes)
        WriteFileText(dir.File(name), text);
    if (ReadFileText(dir.File("scene.pov")) != sceneText)
        return result;

    // HOME points at the scratch folder: POV-Ray looks for its user configuration there and
    // must not touch the real one. The working folder is the scratch folder, which the system
    // I/O restrictions of POV-Ray allow it to read and write.
    const std::string d = ShellQuote(dir.Path().string());
    std::string cmd = "cd " + d + " && HOME=" + d + " timeout -k 5 " + std::to_string(options.timeoutSeconds) + " " +
                      ShellQuote(PovRayPath()) + " +Iscene.pov +Oout.ppm +FP -D -A -V" + " +W" +
                      std::to_string(options.width) + " +H" + std::to_string(options.height) + " +L" + d +
                      " +L/usr/share/povray-3.7/include";
    if (options.bLinearOutput)
        cmd += " File_Gamma=1.0";
    for (const std::string& opt : options.vExtraOptions)
        cmd += " " + ShellQuote(opt);

    RunResult run = RunCommand(cmd);
    result.bStarted = true;
    result.exitCode = run.exitCode;
    result.bTimedOut = run.exitCode == 124 || run.exitCode == 137;
    result.err = run.err + run.out;
    // "Possible Parse Error" is only a warning (for instance a missing assumed_gamma); real
    // errors read "File '...' line N: Parse Error: ..." and end the parse.
    size_t pos = 0;
    while ((pos = result.err.find("Parse Error", pos)) != std::string::npos) {
        const bool possible = pos >= 9 && result.err.compare(pos - 9, 9, "Possible ") == 0;
        (possible ? result.bParseWarning : result.bParseError) = true;
        pos += 11;
    }
    if (result.err.find("Fatal error in parser") != std::string::npos)
        result.bParseError = true;
    if (result.err.find("Parse Warning") != std::string::npos)
        result.bParseWarning = true;
    DecodePpm(ReadFileBytes(dir.File("out.ppm")), result.image);
    return result;
}
