#pragma once
// Helpers for the image-stack tests: pictures are made and checked by ImageMagick, a program that
// is no part of this project, from raw sample files the tests write themselves.
#include "support/TestUtil.h"

#include "config/RecordingPrompt_cls.h"
#include "config/TextFormat.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

inline std::string Quote(const std::string& s)
{
    return "'" + s + "'";
}

/// True when `convert` is ImageMagick's (and not some other program of that name).
inline bool HaveImageMagick()
{
    const RunResult r = RunCommand("convert -version");
    return r.exitCode == 0 && r.out.find("ImageMagick") != std::string::npos;
}

/// Turns raw samples (`map` "gray" or "rgb", depth 8 or 16 big-endian, one or more frames of w x h)
/// into an image file with ImageMagick; the output kind follows the name (or a "png:"-style prefix).
inline bool MagickFromRaw(const std::vector<uint8_t>& raw, uint32_t w, uint32_t h, int depth, const std::string& map,
                          const std::string& out, const std::string& extra = "")
{
    const std::string rawPath = out + ".raw";
    WriteFileBytes(rawPath, raw);
    const RunResult r =
        RunCommand("convert -size " + std::to_string(w) + "x" + std::to_string(h) + " -depth " + std::to_string(depth) +
                   " -endian MSB " + map + ":" + Quote(rawPath) + " " + extra + " " + Quote(out));
    std::remove(rawPath.c_str());
    EXPECT_EQ(r.exitCode, 0) << r.err;
    return r.exitCode == 0;
}

/// The 8-bit grey samples ImageMagick reads from an image file (first page).
inline std::vector<uint8_t> MagickGrey(const std::string& path)
{
    const std::string raw = path + ".grey";
    const RunResult r = RunCommand("convert " + Quote(path + "[0]") + " -depth 8 gray:" + Quote(raw));
    EXPECT_EQ(r.exitCode, 0) << r.err;
    std::vector<uint8_t> bytes = ReadFileBytes(raw);
    std::remove(raw.c_str());
    return bytes;
}

/// Samples z0 .. z0+n-1 of a volume stored slice after slice (bytes per slice given).
inline std::vector<uint8_t> Slices(const std::vector<uint8_t>& v, size_t sliceBytes, size_t z0, size_t n)
{
    return std::vector<uint8_t>(v.begin() + static_cast<long>(z0 * sliceBytes),
                                v.begin() + static_cast<long>((z0 + n) * sliceBytes));
}

/// The high bytes of big-endian 16-bit samples.
inline std::vector<uint8_t> HighBytes(const std::vector<uint8_t>& pairs)
{
    std::vector<uint8_t> v;
    for (size_t i = 0; i < pairs.size(); i += 2)
        v.push_back(pairs[i]);
    return v;
}

/// A frame of its own sequence, messages recorded.
struct FrameFixture {
    RecordingPrompt_cls prompt;
    DF3Sequence_cls seq;
    DF3_cls frame{&seq};
    FrameFixture() { seq.SetMessageParent(&prompt); }

    /// Header, allocation and a complete body read.
    bool Load(const std::string& path, int format, const std::string& last = "")
    {
        frame.SetFilePath(Widen(path), Widen(last), format);
        if (!frame.ReadHeader(&prompt) || !frame.Allocate())
            return false;
        return frame.ReadBodyIfNotFinished(true, &prompt);
    }
    std::vector<uint8_t> Data() const
    {
        const uint8_t* p = frame.GetXYZData();
        return p ? std::vector<uint8_t>(p, p + frame.GetCurrentTotalSize()) : std::vector<uint8_t>();
    }
    std::vector<uint32_t> Size() const { return {frame.GetCurrSize(0), frame.GetCurrSize(1), frame.GetCurrSize(2)}; }
    /// The only message box shown so far (fails the test when there is not exactly one).
    RecordingPrompt_cls::Entry OnlyMessage() const
    {
        const auto m = prompt.Messages();
        EXPECT_EQ(m.size(), 1u);
        return m.empty() ? RecordingPrompt_cls::Entry{RecordingPrompt_cls::Kind::Message, L"", L"", 0} : m[0];
    }
};
