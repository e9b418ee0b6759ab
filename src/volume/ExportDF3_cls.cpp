// DF3 writer.
// Sections: file creation; whole-file writing; the frame export with doubled axes.
#include "volume/ExportDF3_cls.h"

#include "config/TessanAssert.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/MyEndian.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace
{

// --- file creation ----------------------------------------------------------------------------

// An output file being written: created exclusively, removed again unless committed.
class OutputFile_cls
{
  public:
    OutputFile_cls(const std::wstring& path, UserPrompt_cls* parent) : mStrPath(path), mpParent(parent) {}
    ~OutputFile_cls()
    {
        if (miFd >= 0) {
            close(miFd);
            unlink(Narrow(mStrPath).c_str());
        }
    }
    OutputFile_cls(const OutputFile_cls&) = delete;
    OutputFile_cls& operator=(const OutputFile_cls&) = delete;

    bool Create()
    {
        if (ExportDF3_cls::RefuseExisting(mStrPath, mpParent))
            return false;
        // O_EXCL closes the window between the existence test and the creation.
        miFd = open(Narrow(mStrPath).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (miFd < 0) {
            if (errno == EEXIST) { // created by someone else since the test above
                mpParent->Message(WStrPrintf("%s %s", Narrow(mStrPath).c_str(), Tr("overwrite forbidden").c_str()),
                                  TrW("Write Error"));
                return false;
            }
            mpParent->Message(WStrPrintf(Tr("%s can not open").c_str(), Narrow(mStrPath).c_str()), TrW("Write Error"));
            return false;
        }
        return true;
    }
    bool Write(const uint8_t* p, size_t n)
    {
        while (n > 0) {
            ssize_t put = write(miFd, p, std::min<size_t>(n, 1u << 30));
            if (put < 0 && errno == EINTR)
                continue;
            if (put <= 0)
                return Fail();
            p += put;
            n -= static_cast<size_t>(put);
        }
        return true;
    }
    bool Commit()
    {
        int fd = miFd;
        miFd = -1;
        if (close(fd) != 0) {
            unlink(Narrow(mStrPath).c_str());
            mpParent->Message(WStrPrintf(Tr("%s could not be written completely").c_str(), Narrow(mStrPath).c_str()),
                              TrW("Write Error"));
            return false;
        }
        return true;
    }

  private:
    bool Fail()
    {
        mpParent->Message(WStrPrintf(Tr("%s could not be written completely").c_str(), Narrow(mStrPath).c_str()),
                          TrW("Write Error"));
        return false;
    }
    std::wstring mStrPath;
    UserPrompt_cls* mpParent;
    int miFd = -1;
};

// The header holds 16 bits per size; anything larger would be written as a different volume.
bool SizesFit(const std::wstring& path, const uint32_t* size, UserPrompt_cls* parent)
{
    for (int a = 0; a < 3; ++a)
        if (size[a] > 65535) {
            parent->Message(WStrPrintf(Tr("%s: size %u exceeds the 65535 a DF3 header can hold").c_str(),
                                       Narrow(path).c_str(), size[a]),
                            TrW("Write Error"));
            return false;
        }
    return true;
}

void MakeHeader(uint8_t* header, const uint32_t* size)
{
    for (int a = 0; a < 3; ++a)
        MyEndian::WriteUInt16BE(header + 2 * a, size[a]);
}

} // namespace

bool ExportDF3_cls::RefuseExisting(const std::wstring& path, UserPrompt_cls* parent)
{
    // Anything that can be opened for reading exists and stays untouched.
    int fd = open(Narrow(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 && errno != EACCES)
        return false;
    if (fd >= 0)
        close(fd);
    if (parent)
        parent->Message(WStrPrintf("%s %s", Narrow(path).c_str(), Tr("overwrite forbidden").c_str()),
                        TrW("Write Error"));
    return true;
}

// --- whole-file writing -----------------------------------------------------------------------

bool ExportDF3_cls::WriteFile(const std::wstring& path, uint32_t x, uint32_t y, uint32_t z, const uint8_t* samples,
                              unsigned width, UserPrompt_cls* parent)
{
    if (!parent)
        parent = GetUserPrompt();
    const uint32_t size[3] = {x, y, z};
    if (!SizesFit(path, size, parent))
        return false;
    OutputFile_cls file(path, parent);
    if (!file.Create())
        return false;
    uint8_t header[6];
    MakeHeader(header, size);
    const size_t bytes = static_cast<size_t>(x) * y * z * width;
    if (!file.Write(header, sizeof header) || !file.Write(samples, bytes))
        return false;
    return file.Commit();
}

// --- the frame export -------------------------------------------------------------------------

bool ExportDF3_cls::OutputDF3(const std::wstring& path, const bool* doubleAxes)
{
    UserPrompt_cls* parent = mpDF3->GetMessageParent();
    const uint32_t cur[3] = {mpDF3->GetCurrSize(0), mpDF3->GetCurrSize(1), mpDF3->GetCurrSize(2)};
    const bool dbl[3] = {doubleAxes && doubleAxes[0], doubleAxes && doubleAxes[1], doubleAxes && doubleAxes[2]};

    TESSAN_ASSERT(mpDF3->IsAllocated() == 1, "SRC/DF3/FILEIO/clsExportDF3");
    if (!mpDF3->IsAllocated())
        return false;
    uint32_t out[3];
    uint32_t offset[3];
    for (int a = 0; a < 3; ++a) {
        out[a] = dbl[a] ? cur[a] * 2 : cur[a];
        offset[a] = dbl[a] ? cur[a] / 2 : 0;
    }
    if (!SizesFit(path, out, parent))
        return false;
    OutputFile_cls file(path, parent);
    if (!file.Create())
        return false;

    const uint8_t* data = mpDF3->GetXYZData();
    DF3Sequence_cls* owner = mpDF3->GetOwner();
    if (owner && owner->IsFilterProcessRequired()) {
        // The frame decides through the chain's signature whether its processed voxels are stale.
        mpDF3->ProcessXYZData();
        data = mpDF3->GetProcessedData();
    }

    uint8_t header[6];
    MakeHeader(header, out);
    if (!file.Write(header, sizeof header))
        return false;

    if (!dbl[0] && !dbl[1] && !dbl[2]) {
        if (!file.Write(data, static_cast<size_t>(mpDF3->GetCurrentTotalSize())))
            return false;
        return file.Commit();
    }

    // Written plane by plane, so doubling all three axes of a large frame needs one output plane
    // of memory rather than eight times the frame.
    const size_t planeSize = static_cast<size_t>(out[0]) * out[1];
    std::vector<uint8_t> plane(planeSize);
    for (uint32_t z = 0; z < out[2]; ++z) {
        std::fill(plane.begin(), plane.end(), uint8_t{255});
        const bool zInside = z >= offset[2] && z - offset[2] < cur[2];
        if (zInside) {
            const uint32_t sz = z - offset[2];
            for (uint32_t y = offset[1]; y < offset[1] + cur[1]; ++y) {
                const uint8_t* src = data + mpDF3->GetIndex(0, y - offset[1], sz);
                uint8_t* row = plane.data() + static_cast<size_t>(y) * out[0];
                std::memcpy(row + offset[0], src, cur[0]);
                if (dbl[0])
                    for (uint32_t d = 1; d <= offset[0]; ++d)
                        row[offset[0] - d] = src[d];
            }
        }
        if (!file.Write(plane.data(), planeSize))
            return false;
    }
    return file.Commit();
}
