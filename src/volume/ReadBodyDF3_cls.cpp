// DF3 reader.
// Sections: file helpers; header; body (size check, dispatch); 8-bit blocks; 16-bit blocks;
// down-sized slices.
#include "volume/ReadBodyDF3_cls.h"
#include "volume/FileDescriptor_cls.h"

#include "config/TessanAssert.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "volume/DF3_cls.h"
#include "volume/MyEndian.h"
#include "volume/Thread16bitTo8bit.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace
{

constexpr uint64_t kHeaderSize = 6;

bool PReadAll(int fd, uint8_t* dst, uint64_t bytes, uint64_t offset)
{
    while (bytes > 0) {
        ssize_t got =
            pread(fd, dst, static_cast<size_t>(std::min<uint64_t>(bytes, 1u << 30)), static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        dst += got;
        bytes -= static_cast<uint64_t>(got);
        offset += static_cast<uint64_t>(got);
    }
    return true;
}

// Size as the file system reports it; -1 when the file cannot be queried.
long QueryFileSize(const std::wstring& path)
{
    struct stat st {
    };
    if (stat(Narrow(path).c_str(), &st) != 0)
        return -1;
    return static_cast<long>(st.st_size);
}

// Two long-lived threads that run the two conversion workers of each 16-bit block. Starting two
// fresh threads per block costs little on an idle machine, but on a busy desktop a new thread
// queues behind every runnable process, while a woken one is scheduled promptly. Each reading
// thread keeps one pair for its whole life (see ThisThreadsPair): a frame read in 25 ms slices
// over many idle passes, or a series of small frames, would otherwise start two threads per call.
// Each block is still converted by two Thread16bitTo8bit workers over disjoint halves, and the
// caller waits for both before it touches the block.
class ConversionPair_cls
{
  public:
    ConversionPair_cls()
    {
        try {
            for (int i = 0; i < 2; ++i)
                mThreads[i] = std::thread([this, i] { Loop(i); });
        } catch (const std::system_error&) {
            FatalCannotCreateThread();
        }
    }
    ~ConversionPair_cls()
    {
        {
            std::lock_guard lock(mMutex);
            mbStop = true;
        }
        mStart.notify_all();
        for (auto& t : mThreads)
            if (t.joinable())
                t.join();
    }
    ConversionPair_cls(const ConversionPair_cls&) = delete;
    ConversionPair_cls& operator=(const ConversionPair_cls&) = delete;

    /// Hands one worker to each thread.
    void Run(Thread16bitTo8bit* first, Thread16bitTo8bit* second)
    {
        {
            std::lock_guard lock(mMutex);
            mpJobs[0] = first;
            mpJobs[1] = second;
            miPending = 2;
            ++muGeneration;
        }
        mStart.notify_all();
    }
    /// Returns when both workers of the last Run have finished.
    void Wait()
    {
        std::unique_lock lock(mMutex);
        mDone.wait(lock, [this] { return miPending == 0; });
    }

  private:
    void Loop(int slot)
    {
        uint64_t seen = 0;
        std::unique_lock lock(mMutex);
        for (;;) {
            mStart.wait(lock, [&] { return mbStop || muGeneration != seen; });
            if (mbStop)
                return;
            seen = muGeneration;
            Thread16bitTo8bit* job = mpJobs[slot];
            lock.unlock();
            job->Entry();
            lock.lock();
            if (--miPending == 0)
                mDone.notify_all();
        }
    }

    std::thread mThreads[2];
    std::mutex mMutex;
    std::condition_variable mStart, mDone;
    Thread16bitTo8bit* mpJobs[2] = {nullptr, nullptr};
    int miPending = 0;
    uint64_t muGeneration = 0;
    bool mbStop = false;
};

/// The conversion pair of the calling thread, started on its first 16-bit block and joined when
/// that thread ends. A pair serves one caller at a time, so readers on different threads never
/// share one.
ConversionPair_cls& ThisThreadsPair()
{
    thread_local ConversionPair_cls pair;
    return pair;
}

} // namespace

bool ReadBodyDF3_cls::ReadExactly(int fd, uint8_t* dst, uint64_t bytes, uint64_t offset)
{
    return PReadAll(fd, dst, bytes, offset) || ReportShortRead();
}

bool ReadBodyDF3_cls::ReportShortRead()
{
    mpParent->Message(mpDF3->GetFilePath() + L"\n" + TrW("The file ended before all samples were read"),
                      TrW("read Error Main"));
    return false;
}

// --- header -----------------------------------------------------------------------------------

bool ReadBodyDF3_cls::ReadHeaderInfo(UserPrompt_cls* parent)
{
    FileDescriptor_cls file(mpDF3->GetFilePath());
    if (file.Get() < 0) {
        if (parent)
            parent->Message(mpDF3->GetFilePath() + TrW("can not open"), TrW("read error Header DF3"));
        return false;
    }
    uint8_t header[kHeaderSize];
    if (!PReadAll(file.Get(), header, kHeaderSize, 0)) {
        if (parent)
            parent->Message(mpDF3->GetFilePath() + L"\n" + TrW("The file is shorter than a DF3 header"),
                            TrW("read error Header DF3"));
        return false;
    }
    // Signed on purpose: sizes above 32 767 become negative (huge once stored unsigned), and the
    // allocation then refuses the frame instead of reading garbage.
    auto size = [&](int i) {
        return static_cast<uint32_t>(static_cast<int32_t>(MyEndian::ReadInt16BE(header + 2 * i)));
    };
    mpDF3->SetTrueSize(size(0), size(1), size(2));
    return true;
}

// --- body -------------------------------------------------------------------------------------

bool ReadBodyDF3_cls::MainProcess(bool noInterrupt, UserPrompt_cls* parent)
{
    mpParent = parent ? parent : mpDF3->GetMessageParent();
    Initialize(mpDF3->GetCurrSize(2));
    TESSAN_ASSERT(mpDF3->IsAllocated() == 1, "SRC/DF3/FILEIO/clsReadBodyDF3");
    if (!mpDF3->IsAllocated())
        return false;
    mpDF3->SetWorkState(DF3_cls::WORK_READ);
    struct WorkStateReset {
        DF3_cls* mpFrame;
        ~WorkStateReset() { mpFrame->SetWorkState(DF3_cls::WORK_IDLE); }
    } reset{mpDF3};

    const std::wstring& path = mpDF3->GetFilePath();
    // The size is asked before the file is opened, so a file that vanished since its header was
    // read reports the inconsistency with the failed size query's -1.
    const long fileSize = QueryFileSize(path);
    const uint64_t T = mpDF3->GetTrueTotalSize();
    const bool fits = T <= (static_cast<uint64_t>(1) << 60) && fileSize >= 0;
    if (fits && static_cast<uint64_t>(fileSize) == 2 * T + kHeaderSize) {
        miSampleBits = 16;
    } else if (fits && static_cast<uint64_t>(fileSize) == T + kHeaderSize) {
        miSampleBits = 8;
    } else {
        // The expected size shown is the current (down-sized) total, kept as users know it.
        mpParent->Message(TrW("File Size Inconsistency") + L"\n" + path + L"\n" +
                              WStrPrintf("Filesize = %ld : Expected size = %ld\n%d x %d x %d", fileSize,
                                         static_cast<long>(mpDF3->GetCurrentTotalSize() + kHeaderSize),
                                         static_cast<int>(mpDF3->GetCurrSize(0)),
                                         static_cast<int>(mpDF3->GetCurrSize(1)),
                                         static_cast<int>(mpDF3->GetCurrSize(2))),
                          TrW("read Error Main"));
        return false;
    }
    FileDescriptor_cls file(path);
    if (file.Get() < 0) {
        mpParent->Message(path + TrW("can not open"), TrW("read Error Main"));
        return false;
    }
    bool ok = true;
    if (mpDF3->GetCurrentTotalSize() == 0)
        SetPosition(mpDF3->GetCurrSize(2)); // no samples: a 0-size axis beside a huge one has no slices to walk
    else if (mpDF3->IsDownSized())
        ok = miSampleBits == 8 ? Read8bitDownSize(noInterrupt, file.Get()) : Read16bitDownSize(noInterrupt, file.Get());
    else
        ok = miSampleBits == 8 ? Read8bit(noInterrupt, file.Get()) : Read16bit(noInterrupt, file.Get());
    if (!ok)
        return false;
    if (IsFinishConditionSatisfied()) {
        Finalize();
        mpDF3->SetReadFinished();
        std::vector<uint8_t>().swap(mvBlock); // a loaded frame keeps no read buffers
        std::vector<uint8_t>().swap(mvBlockNext);
    }
    return true;
}

// --- 8-bit blocks -----------------------------------------------------------------------------

bool ReadBodyDF3_cls::Read8bit(bool noInterrupt, int fd)
{
    const uint64_t slice = static_cast<uint64_t>(mpDF3->GetCurrSize(0)) * mpDF3->GetCurrSize(1);
    const uint32_t Z = mpDF3->GetCurrSize(2);
    uint8_t* out = mpDF3->GetXYZData();
    int64_t longest = 0; // the longest block of this call: the next one is not started if it would overrun
    for (uint32_t z = GetPosition(); z < Z;) {
        const uint32_t n = std::min(kBlock8bit, Z - z);
        const int64_t started = Now();
        if (!ReadExactly(fd, out + z * slice, n * slice, kHeaderSize + z * slice))
            return false;
        longest = std::max(longest, Now() - started);
        z += n;
        SetPosition(z);
        if (IsResumeConditionSatisfied(noInterrupt, longest))
            break;
    }
    return true;
}

// --- 16-bit blocks ----------------------------------------------------------------------------

bool ReadBodyDF3_cls::Read16bit(bool noInterrupt, int fd)
{
    const uint64_t slice = static_cast<uint64_t>(mpDF3->GetCurrSize(0)) * mpDF3->GetCurrSize(1);
    const uint32_t Z = mpDF3->GetCurrSize(2);
    uint8_t* out = mpDF3->GetXYZData();
    auto blockBytes = [&](uint32_t z) { return 2 * std::min(kBlock16bit, Z - z) * slice; };
    uint32_t z = GetPosition();
    if (z >= Z)
        return true;
    mvBlock.resize(static_cast<size_t>(blockBytes(z)));
    if (!ReadExactly(fd, mvBlock.data(), mvBlock.size(), kHeaderSize + 2 * z * slice))
        return false;
    ConversionPair_cls& pair = ThisThreadsPair();
    while (z < Z) {
        const uint32_t n = std::min(kBlock16bit, Z - z);
        const uint64_t k = n * slice; // samples in this block (at most 2^31 under the size limit)
        // Two workers convert disjoint halves; the block is untouched until both have finished.
        const int64_t half = static_cast<int64_t>(k / 2);
        bool done[2] = {false, false};
        Thread16bitTo8bit worker[2];
        worker[0].SetParameters(&done[0], static_cast<int>(half), mvBlock.data(), out + z * slice);
        worker[1].SetParameters(&done[1], static_cast<int>(static_cast<int64_t>(k) - half), mvBlock.data() + 2 * half,
                                out + z * slice + half);
        pair.Run(&worker[0], &worker[1]);
        // Meanwhile the next block comes in from the file, unless this call is about to stop.
        const uint32_t next = z + n;
        bool prefetched = false, prefetchOk = true;
        if (next < Z && !IsResumeConditionSatisfied(noInterrupt)) {
            mvBlockNext.resize(static_cast<size_t>(blockBytes(next)));
            prefetchOk = PReadAll(fd, mvBlockNext.data(), mvBlockNext.size(), kHeaderSize + 2 * next * slice);
            prefetched = true;
        }
        pair.Wait();
        TESSAN_ASSERT(done[0] && done[1], "SRC/DF3/FILEIO/clsReadBodyDF3");
        z = next;
        SetPosition(z);
        if (!prefetchOk)
            return ReportShortRead();
        if (z >= Z || IsResumeConditionSatisfied(noInterrupt))
            break;
        if (prefetched) {
            mvBlock.swap(mvBlockNext);
        } else {
            mvBlock.resize(static_cast<size_t>(blockBytes(z)));
            if (!ReadExactly(fd, mvBlock.data(), mvBlock.size(), kHeaderSize + 2 * z * slice))
                return false;
        }
    }
    return true;
}

// --- down-sized slices ------------------------------------------------------------------------

namespace
{

// Nearest-sample decimation of one true slice; for 16-bit samples the high (first) byte is kept.
void DecimateSlice(const uint8_t* slice, uint8_t* out, uint32_t trueX, uint32_t curX, uint32_t curY, uint32_t fx,
                   uint32_t fy, unsigned width)
{
    for (uint32_t y = 0; y < curY; ++y) {
        const uint8_t* row = slice + static_cast<uint64_t>(y) * fy * trueX * width;
        uint8_t* dst = out + static_cast<uint64_t>(y) * curX;
        for (uint32_t x = 0; x < curX; ++x)
            dst[x] = row[static_cast<uint64_t>(x) * fx * width];
    }
}

} // namespace

bool ReadBodyDF3_cls::Read8bitDownSize(bool noInterrupt, int fd)
{
    const uint32_t X = mpDF3->GetTrueSize(0), Y = mpDF3->GetTrueSize(1);
    const uint32_t cx = mpDF3->GetCurrSize(0), cy = mpDF3->GetCurrSize(1), Z = mpDF3->GetCurrSize(2);
    const uint32_t fx = mpDF3->GetDownSize(0), fy = mpDF3->GetDownSize(1), fz = mpDF3->GetDownSize(2);
    const uint64_t trueSlice = static_cast<uint64_t>(X) * Y;
    mvBlock.resize(static_cast<size_t>(trueSlice));
    uint8_t* out = mpDF3->GetXYZData();
    for (uint32_t z = GetPosition(); z < Z;) {
        if (!ReadExactly(fd, mvBlock.data(), trueSlice, kHeaderSize + static_cast<uint64_t>(z) * fz * trueSlice))
            return false;
        DecimateSlice(mvBlock.data(), out + static_cast<uint64_t>(z) * cx * cy, X, cx, cy, fx, fy, 1);
        ++z;
        SetPosition(z);
        if (IsResumeConditionSatisfied(noInterrupt))
            break;
    }
    return true;
}

bool ReadBodyDF3_cls::Read16bitDownSize(bool noInterrupt, int fd)
{
    const uint32_t X = mpDF3->GetTrueSize(0), Y = mpDF3->GetTrueSize(1);
    const uint32_t cx = mpDF3->GetCurrSize(0), cy = mpDF3->GetCurrSize(1), Z = mpDF3->GetCurrSize(2);
    const uint32_t fx = mpDF3->GetDownSize(0), fy = mpDF3->GetDownSize(1), fz = mpDF3->GetDownSize(2);
    const uint64_t trueSlice = 2 * static_cast<uint64_t>(X) * Y;
    mvBlock.resize(static_cast<size_t>(trueSlice));
    uint8_t* out = mpDF3->GetXYZData();
    for (uint32_t z = GetPosition(); z < Z;) {
        if (!ReadExactly(fd, mvBlock.data(), trueSlice, kHeaderSize + static_cast<uint64_t>(z) * fz * trueSlice))
            return false;
        DecimateSlice(mvBlock.data(), out + static_cast<uint64_t>(z) * cx * cy, X, cx, cy, fx, fy, 2);
        ++z;
        SetPosition(z);
        if (IsResumeConditionSatisfied(noInterrupt))
            break;
    }
    return true;
}
