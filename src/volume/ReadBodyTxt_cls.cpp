// Text-volume reader.
// Sections: tokens (scanner, value syntax); header; body (range phase, conversion phase).
#include "volume/ReadBodyTxt_cls.h"
#include "volume/FileDescriptor_cls.h"

#include "config/TessanAssert.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "volume/DF3_cls.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <fcntl.h>
#include <limits>
#include <unistd.h>
#include <vector>

namespace
{

constexpr const char* kSource = "SRC/DF3/FILEIO/clsReadBodyTxt";

// --- tokens -----------------------------------------------------------------------------------

inline bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

inline bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Splits a file into white-space separated tokens from a given offset, skipping "#" comments and
// counting lines, so that every token knows its line and column (1-based, in bytes).
class TextScanner_cls
{
  public:
    TextScanner_cls(int fd, uint64_t offset, uint64_t line, uint64_t lineStart)
        : miFd(fd), mvBuffer(kBufferBytes), muBase(offset), muLine(line), muLineStart(lineStart)
    {
    }

    /// The next token; false at the end of the file or when reading failed (ReadFailed()).
    bool Next()
    {
        mStrToken.clear();
        for (;;) {
            if (muPos == muEnd && !Fill())
                return false;
            const char c = mvBuffer[muPos];
            if (c == '\n') {
                ++muPos;
                ++muLine;
                muLineStart = muBase + muPos;
            } else if (IsBlank(c)) {
                ++muPos;
            } else if (c == '#') {
                // The comment ends before its line break, which the loop above then counts.
                for (;;) {
                    while (muPos < muEnd && mvBuffer[muPos] != '\n')
                        ++muPos;
                    if (muPos < muEnd || !Fill())
                        break;
                }
            } else {
                break;
            }
        }
        muTokenLine = muLine;
        muTokenColumn = muBase + muPos - muLineStart + 1;
        for (;;) {
            const size_t start = muPos;
            while (muPos < muEnd && !IsBlank(mvBuffer[muPos]) && mvBuffer[muPos] != '#')
                ++muPos;
            mStrToken.append(mvBuffer.data() + start, muPos - start);
            if (muPos < muEnd || !Fill())
                break;
        }
        return !mbReadFailed;
    }
    const std::string& Token() const { return mStrToken; }
    uint64_t TokenLine() const { return muTokenLine; }
    uint64_t TokenColumn() const { return muTokenColumn; }
    /// File offset just after the last token, with its line and the offset of that line's start.
    uint64_t Offset() const { return muBase + muPos; }
    uint64_t Line() const { return muLine; }
    uint64_t LineStart() const { return muLineStart; }
    bool ReadFailed() const { return mbReadFailed; }

  private:
    // A scanner is made for every read call (and a second one when the conversion phase begins),
    // so its buffer stays small: 64 KiB per read(2) is already past the point where bigger
    // buffers read a file faster, and a zero-budget read of a small file then costs little.
    static constexpr size_t kBufferBytes = size_t(1) << 16;

    bool Fill()
    {
        muBase += muEnd;
        muPos = muEnd = 0;
        for (;;) {
            const ssize_t got = pread(miFd, mvBuffer.data(), mvBuffer.size(), static_cast<off_t>(muBase));
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                mbReadFailed = true;
            if (got <= 0)
                return false;
            muEnd = static_cast<size_t>(got);
            return true;
        }
    }

    int miFd;
    std::vector<char> mvBuffer;
    uint64_t muBase; ///< file offset of mvBuffer[0]
    size_t muPos = 0, muEnd = 0;
    uint64_t muLine, muLineStart;
    uint64_t muTokenLine = 0, muTokenColumn = 0;
    std::string mStrToken;
    bool mbReadFailed = false;
};

// A token shortened for messages, so a megabyte of garbage without blanks does not fill the screen.
// Length of the valid UTF-8 sequence at t[i], 0 when the bytes there are not one.
size_t Utf8Length(const std::string& t, size_t i)
{
    const unsigned char c = static_cast<unsigned char>(t[i]);
    const size_t n = c >= 0xF0 && c <= 0xF4 ? 4 : c >= 0xE0 ? 3 : c >= 0xC2 && c <= 0xDF ? 2 : 0;
    if (n == 0 || c >= 0xF5 || i + n > t.size())
        return 0;
    for (size_t k = 1; k < n; ++k)
        if ((static_cast<unsigned char>(t[i + k]) & 0xC0) != 0x80)
            return 0;
    return n;
}

// A token as quoted in a message: at most 40 characters, and bytes that are no printable text
// (binary garbage, a NUL that would cut the message short) written as \xNN.
std::string Shown(const std::string& token)
{
    const std::string t = token.size() <= 40 ? token : token.substr(0, 37);
    std::string out;
    for (size_t i = 0; i < t.size();) {
        const unsigned char c = static_cast<unsigned char>(t[i]);
        const size_t n = c >= 0x80 ? Utf8Length(t, i) : (c >= 0x20 && c != 0x7F ? 1 : 0);
        if (n == 0) {
            out += StrPrintf("\\x%02X", c);
            ++i;
        } else {
            out.append(t, i, n);
            i += n;
        }
    }
    return token.size() <= 40 ? out : out + "...";
}

} // namespace

bool ReadBodyTxt_cls::ParseValue(const std::string& t, double& v)
{
    const size_t n = t.size();
    size_t i = 0;
    const bool negative = n > 0 && t[0] == '-';
    if (n > 0 && (t[0] == '+' || t[0] == '-'))
        ++i;
    const size_t intStart = i;
    while (i < n && IsDigit(t[i]))
        ++i;
    const size_t intDigits = i - intStart;
    size_t fracDigits = 0;
    bool plain = true; // digits only: the common case is converted without strtod
    if (i < n && t[i] == '.') {
        plain = false;
        const size_t fracStart = ++i;
        while (i < n && IsDigit(t[i]))
            ++i;
        fracDigits = i - fracStart;
    }
    if (intDigits + fracDigits == 0)
        return false;
    if (i < n && (t[i] == 'e' || t[i] == 'E')) {
        plain = false;
        ++i;
        if (i < n && (t[i] == '+' || t[i] == '-'))
            ++i;
        const size_t expStart = i;
        while (i < n && IsDigit(t[i]))
            ++i;
        if (i == expStart)
            return false;
    }
    if (i != n)
        return false;
    if (plain && intDigits <= 18) {
        int64_t x = 0;
        for (size_t k = intStart; k < n; ++k)
            x = x * 10 + (t[k] - '0');
        v = static_cast<double>(negative ? -x : x);
        return true;
    }
    // from_chars is locale-independent like ParseDouble but needs no copy of the token, which
    // halves the time of a text volume of reals. It takes no leading "+".
    const char* begin = t.data() + (t[0] == '+' ? 1 : 0);
    const auto [end, ec] = std::from_chars(begin, t.data() + n, v);
    return ec == std::errc() && end == t.data() + n && std::isfinite(v);
}

uint8_t ReadBodyTxt_cls::Scale(double v, double min, double max)
{
    if (!(max > min))
        return 0;
    const double t = std::floor((v - min) * (255.0 / (max - min)) + 0.5);
    return static_cast<uint8_t>(std::clamp(t, 0.0, 255.0));
}

// --- header -----------------------------------------------------------------------------------

bool ReadBodyTxt_cls::ReadHeaderInfo(UserPrompt_cls* parent)
{
    const std::wstring& path = mpDF3->GetFilePath();
    auto fail = [&](const std::wstring& text) {
        if (parent)
            parent->Message(path + L"\n" + text, TrW("read error Header Text"));
        return false;
    };
    FileDescriptor_cls file(path);
    if (file.Get() < 0) {
        if (parent)
            parent->Message(path + TrW("can not open"), TrW("read error Header Text"));
        return false;
    }
    TextScanner_cls scanner(file.Get(), 0, 1, 0);
    std::string token[3];
    uint64_t size[3] = {0, 0, 0};
    uint64_t line = 0;
    for (int a = 0; a < 3; ++a) {
        const bool got = scanner.Next();
        if (scanner.ReadFailed())
            return fail(TrW("The file can not be read"));
        if (a == 0)
            line = scanner.TokenLine();
        if (!got || scanner.TokenLine() != line)
            return fail(WStrPrintf(Tr("Line %llu: the first line must hold the sizes X Y Z").c_str(),
                                   static_cast<unsigned long long>(got ? line : std::max<uint64_t>(line, 1))));
        token[a] = scanner.Token();
        const std::string& t = token[a];
        const size_t sign = t[0] == '-' || t[0] == '+' ? 1 : 0;
        if (t.size() == sign || t.find_first_not_of("0123456789", sign) != std::string::npos)
            return fail(WStrPrintf(Tr("Line %llu, column %llu: the size \"%s\" is not a whole number").c_str(),
                                   static_cast<unsigned long long>(scanner.TokenLine()),
                                   static_cast<unsigned long long>(scanner.TokenColumn()), Shown(t).c_str()));
    }
    for (int a = 0; a < 3; ++a) {
        const std::string& t = token[a];
        const size_t first = t.find_first_not_of("+-0");
        if (t[0] == '-' || first == std::string::npos)
            return fail(WStrPrintf(Tr("The sizes must be positive: %s x %s x %s").c_str(), Shown(token[0]).c_str(),
                                   Shown(token[1]).c_str(), Shown(token[2]).c_str()));
        // More than 12 significant digits is far beyond the limit; fewer cannot overflow.
        size[a] = t.size() - first > 12 ? UINT64_MAX : static_cast<uint64_t>(ParseLong(t));
    }
    const uint64_t body = scanner.Offset(), bodyLine = scanner.Line(), bodyLineStart = scanner.LineStart();
    if (scanner.Next() && scanner.TokenLine() == line)
        return fail(WStrPrintf(Tr("Line %llu: the first line must hold the sizes X Y Z and nothing else").c_str(),
                               static_cast<unsigned long long>(line)));
    // Each size is at most 2^31 here, so the products below cannot overflow.
    const uint64_t limit = DF3_cls::kMaxTotalSize;
    if (size[0] > limit || size[1] > limit || size[2] > limit || size[0] * size[1] > limit ||
        size[0] * size[1] * size[2] > limit)
        return fail(TrW("Too big data size (2GB limit is set)") +
                    WStrPrintf("\n\nsize: %sx%sx%s\n", token[0].c_str(), token[1].c_str(), token[2].c_str()));
    mpDF3->SetTrueSize(static_cast<uint32_t>(size[0]), static_cast<uint32_t>(size[1]), static_cast<uint32_t>(size[2]));
    muBodyOffset = body;
    muBodyLine = bodyLine;
    muBodyLineStart = bodyLineStart;
    Restart();
    return true;
}

// --- body -------------------------------------------------------------------------------------

void ReadBodyTxt_cls::Restart()
{
    muOffset = muBodyOffset;
    muLine = muBodyLine;
    muLineStart = muBodyLineStart;
    mdMin = std::numeric_limits<double>::infinity();
    mdMax = -std::numeric_limits<double>::infinity();
    mbRangeKnown = false;
}

bool ReadBodyTxt_cls::MainProcess(bool noInterrupt, UserPrompt_cls* parent)
{
    UserPrompt_cls* prompt = parent ? parent : mpDF3->GetMessageParent();
    const std::wstring& path = mpDF3->GetFilePath();
    const uint32_t X = mpDF3->GetTrueSize(0), Y = mpDF3->GetTrueSize(1), Z = mpDF3->GetTrueSize(2);
    const uint64_t T = mpDF3->GetTrueTotalSize();
    const uint32_t steps = static_cast<uint32_t>((T + kValuesPerStep - 1) / kValuesPerStep);
    Initialize(2 * steps);
    TESSAN_ASSERT(mpDF3->IsAllocated() == 1, kSource);
    if (!mpDF3->IsAllocated())
        return false;
    mpDF3->SetWorkState(DF3_cls::WORK_READ);
    struct WorkStateReset {
        DF3_cls* mpFrame;
        ~WorkStateReset() { mpFrame->SetWorkState(DF3_cls::WORK_IDLE); }
    } reset{mpDF3};
    // The record is cleared (position 0) whenever the frame is allocated or released.
    if (GetPosition() == 0)
        Restart();

    FileDescriptor_cls file(path);
    if (file.Get() < 0) {
        prompt->Message(path + TrW("can not open"), TrW("read Error Main"));
        return false;
    }
    auto fail = [&](const std::wstring& text) {
        prompt->Message(path + L"\n" + text, TrW("read Error Main"));
        return false;
    };
    auto notANumber = [&](const TextScanner_cls& s) {
        return fail(WStrPrintf(Tr("Line %llu, column %llu: \"%s\" is not a number").c_str(),
                               static_cast<unsigned long long>(s.TokenLine()),
                               static_cast<unsigned long long>(s.TokenColumn()), Shown(s.Token()).c_str()));
    };
    auto tooFew = [&](uint64_t found) {
        return fail(WStrPrintf(Tr("Too few values: %llu for %u x %u x %u = %llu voxels").c_str(),
                               static_cast<unsigned long long>(found), X, Y, Z, static_cast<unsigned long long>(T)));
    };

    const uint32_t cx = mpDF3->GetCurrSize(0), cy = mpDF3->GetCurrSize(1), cz = mpDF3->GetCurrSize(2);
    const uint32_t fx = mpDF3->GetDownSize(0), fy = mpDF3->GetDownSize(1), fz = mpDF3->GetDownSize(2);
    const bool downSized = mpDF3->IsDownSized();
    uint8_t* out = mpDF3->GetXYZData();
    auto scanner = std::make_unique<TextScanner_cls>(file.Get(), muOffset, muLine, muLineStart);
    double v = 0.0;
    while (GetPosition() < 2 * steps) {
        const uint32_t p = GetPosition();
        const bool converting = p >= steps;
        const uint64_t first = static_cast<uint64_t>(converting ? p - steps : p) * kValuesPerStep;
        const uint64_t count = std::min<uint64_t>(kValuesPerStep, T - first);
        if (!converting) {
            double lo = mdMin, hi = mdMax;
            for (uint64_t i = 0; i < count; ++i) {
                if (!scanner->Next())
                    return scanner->ReadFailed() ? fail(TrW("The file can not be read")) : tooFew(first + i);
                if (!ParseValue(scanner->Token(), v))
                    return notANumber(*scanner);
                lo = std::min(lo, v);
                hi = std::max(hi, v);
            }
            mdMin = lo;
            mdMax = hi;
        } else {
            const double lo = mdMin, hi = mdMax;
            // True coordinates of the step's first value, then counted along.
            uint64_t x = first % X, y = (first / X) % Y, z = first / X / Y;
            for (uint64_t i = 0; i < count; ++i) {
                if (!scanner->Next())
                    return scanner->ReadFailed() ? fail(TrW("The file can not be read")) : tooFew(first + i);
                if (!ParseValue(scanner->Token(), v))
                    return notANumber(*scanner);
                if (!downSized) {
                    out[first + i] = Scale(v, lo, hi);
                } else if (x % fx == 0 && y % fy == 0 && z % fz == 0 && x / fx < cx && y / fy < cy && z / fz < cz) {
                    out[mpDF3->GetIndex(static_cast<uint32_t>(x / fx), static_cast<uint32_t>(y / fy),
                                        static_cast<uint32_t>(z / fz))] = Scale(v, lo, hi);
                }
                if (++x == X) {
                    x = 0;
                    if (++y == Y) {
                        y = 0;
                        ++z;
                    }
                }
            }
        }
        if (!converting && p + 1 == steps) {
            // Anything but white space and comments after the last value means the sizes are wrong.
            if (scanner->Next())
                return fail(WStrPrintf(Tr("Line %llu, column %llu: more values than %u x %u x %u = %llu").c_str(),
                                       static_cast<unsigned long long>(scanner->TokenLine()),
                                       static_cast<unsigned long long>(scanner->TokenColumn()), X, Y, Z,
                                       static_cast<unsigned long long>(T)));
            if (scanner->ReadFailed())
                return fail(TrW("The file can not be read"));
            mbRangeKnown = true;
            muOffset = muBodyOffset;
            muLine = muBodyLine;
            muLineStart = muBodyLineStart;
            scanner = std::make_unique<TextScanner_cls>(file.Get(), muOffset, muLine, muLineStart);
        } else {
            muOffset = scanner->Offset();
            muLine = scanner->Line();
            muLineStart = scanner->LineStart();
        }
        SetPosition(p + 1);
        if (IsResumeConditionSatisfied(noInterrupt))
            break;
    }
    if (IsFinishConditionSatisfied()) {
        Finalize();
        mpDF3->SetReadFinished();
    }
    return true;
}
