// Volume frame.
// Sections: construction; allocation and release; axis copies; processing; reading dispatch;
// export; accounting; file and change tracking.
#include "volume/DF3_cls.h"

#include "config/TessanAssert.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/ExportDF3_cls.h"
#include "volume/ThreadConstructX_cls.h"

#include <functional>
#include <new>

namespace
{

constexpr const char* kSource = "SRC/DF3/clsDF3";

// Buffers are filled completely by the readers, so they are not zeroed first (that would touch
// every page twice for large volumes).
std::unique_ptr<uint8_t[]> AllocateBytes(uint64_t n)
{
    try {
        return std::make_unique_for_overwrite<uint8_t[]>(static_cast<size_t>(n));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

} // namespace

// --- construction -----------------------------------------------------------------------------

DF3_cls::DF3_cls(DF3Sequence_cls* owner)
    : mCReadBodyDF3(this), mCReadBodyImgSeq(this), mCReadBodyTxt(this), mpOwner(owner)
{
}

DF3_cls::~DF3_cls() = default;

UserPrompt_cls* DF3_cls::GetMessageParent() const
{
    return mpOwner ? mpOwner->GetMessageParent() : GetUserPrompt();
}

// --- allocation and release -------------------------------------------------------------------

bool DF3_cls::Allocate()
{
    TESSAN_ASSERT(mbAllocated == 0, kSource);
    if (mbAllocated)
        return true;
    if (mpOwner)
        CalcCurrentSize(mpOwner->GetDownSizeSRC(0), mpOwner->GetDownSizeSRC(1), mpOwner->GetDownSizeSRC(2));
    else
        CalcCurrentSize(1, 1, 1);
    const uint64_t total = GetCurrentTotalSize();
    auto refuse = [&](const char* reason) {
        mbValid = false;
        mpXYZData.reset();
        mpProcessedData.reset();
        muAllocatedSize = 0;
        GetMessageParent()->Message(WStrPrintf("%s\n\nsize: %dx%dx%d = %lld byte\n", Tr(reason).c_str(),
                                               static_cast<int>(GetCurrSize(0)), static_cast<int>(GetCurrSize(1)),
                                               static_cast<int>(GetCurrSize(2)), static_cast<long long>(total)),
                                    TrW("Allocation Error"));
        return false;
    };
    // Strictly greater: exactly 2 GB is still accepted.
    if (!IsAllowedTotalSize(total))
        return refuse("Too big data size (2GB limit is set)");

    const bool reuse = mpXYZData && mpProcessedData && muAllocatedSize == total;
    if (!reuse) {
        mpXYZData.reset();
        mpProcessedData.reset();
        mpXYZData = AllocateBytes(total);
        mpProcessedData = AllocateBytes(total);
        if (!mpXYZData || !mpProcessedData)
            return refuse("Not enough memory for this volume");
    }
    mbAllocated = true;
    mbAllocatedProcessed = true;
    muAllocatedSize = total;
    mbProcessed = false;
    mbReadFinished = false;
    mbDirty = true;
    ClearReaders();
    return true;
}

bool DF3_cls::AllocateXY()
{
    TESSAN_ASSERT(mbAllocatedXYAxis == 0, kSource);
    TESSAN_ASSERT(mCConstructXY[0].IsCleared() && mCConstructXY[1].IsCleared(), kSource);
    if (mbAllocatedXYAxis)
        return true;
    const uint64_t total = GetCurrentTotalSize();
    if (!IsAllowedTotalSize(total))
        return false;
    for (auto& buffer : mpAxisData) {
        buffer = AllocateBytes(total);
        if (!buffer) {
            FreeAxisBuffers();
            GetMessageParent()->Message(WStrPrintf("%s\n\nsize: %dx%dx%d = %lld byte\n",
                                                   Tr("Not enough memory for this volume").c_str(),
                                                   static_cast<int>(GetCurrSize(0)), static_cast<int>(GetCurrSize(1)),
                                                   static_cast<int>(GetCurrSize(2)), static_cast<long long>(total) * 2),
                                        TrW("Allocation Error"));
            return false;
        }
    }
    mbAllocatedXYAxis = true;
    mCConstructXY[0].Clear();
    mCConstructXY[1].Clear();
    return true;
}

void DF3_cls::FreeAxisBuffers()
{
    mpAxisData[0].reset();
    mpAxisData[1].reset();
    mbAllocatedXYAxis = false;
    mCConstructXY[0].Clear();
    mCConstructXY[1].Clear();
}

void DF3_cls::ClearReaders()
{
    mCReadBodyDF3.Clear();
    mCReadBodyImgSeq.Clear();
    mCReadBodyTxt.Clear();
}

void DF3_cls::ReleaseImpl(bool keepSameSize)
{
    if (mbValid && !mStrLoadedFile.empty())
        TESSAN_ASSERT(mbAllocated == 1, kSource);
    FreeAxisBuffers();
    const bool keep = keepSameSize && mpXYZData && mpProcessedData && GetCurrentTotalSize() == muAllocatedSize;
    if (!keep) {
        mpXYZData.reset();
        mpProcessedData.reset();
        muAllocatedSize = 0;
    }
    mbAllocated = false;
    mbAllocatedProcessed = false;
    mbProcessed = false;
    mbReadFinished = false;
    mbDirty = true;
    ClearReaders();
    mCLevelMap.Clear();
    mStrLoadedFile.clear();
}

void DF3_cls::Release()
{
    ReleaseImpl(false);
}

void DF3_cls::FakeRelease()
{
    ReleaseImpl(true);
}

void DF3_cls::ReleaseXY()
{
    FreeAxisBuffers();
}

// --- axis copies ------------------------------------------------------------------------------

bool DF3_cls::ConstructXYAxisData(bool resumable)
{
    TESSAN_ASSERT(mbAllocatedXYAxis == 1, kSource);
    TESSAN_ASSERT(mbAllocated == 1, kSource);
    if (!mbAllocatedXYAxis || !mbAllocated)
        return false;
    muWorkState = WORK_AXIS;
    mbConstructResumable = resumable;
    ThreadConstructX_cls workerX(0, this, mpXYZData.get(), mpAxisData[0].get(), &mCConstructXY[0], resumable);
    ThreadConstructX_cls workerY(1, this, mpXYZData.get(), mpAxisData[1].get(), &mCConstructXY[1], resumable);
    workerX.Run();
    workerY.Run();
    workerX.Wait();
    workerY.Wait();
    const bool done = IsXYFinishConditionSatisfied();
    if (done) {
        for (auto& record : mCConstructXY)
            if (!record.IsFinished())
                record.Finalize();
        mbDirty = true;
    }
    muWorkState = WORK_IDLE;
    return done;
}

bool DF3_cls::IsXYConstructFinished() const
{
    return mCConstructXY[0].IsFinished() && mCConstructXY[1].IsFinished();
}

bool DF3_cls::IsXYFinishConditionSatisfied() const
{
    return mCConstructXY[0].IsFinishConditionSatisfied() && mCConstructXY[1].IsFinishConditionSatisfied();
}

int DF3_cls::GetConstructPercent() const
{
    return (mCConstructXY[0].GetPercent() + mCConstructXY[1].GetPercent()) / 2;
}

// --- processing -------------------------------------------------------------------------------

bool DF3_cls::ProcessXYZData()
{
    // The chain serves one frame at a time: a run on the slot's worker ends first.
    if (mpOwner)
        mpOwner->WaitProcessing();
    ProcessJob job;
    if (!BeginProcessXYZData(job))
        return true;
    return RunProcessXYZData(job);
}

bool DF3_cls::StartProcessXYZData()
{
    if (!mpOwner) {
        ProcessJob job;
        if (!BeginProcessXYZData(job))
            return false;
        RunProcessXYZData(job);
        return true;
    }
    return mpOwner->StartProcessing(*this);
}

bool DF3_cls::IsProcessingOnWorker() const
{
    return mpOwner && mpOwner->IsProcessing(this);
}

bool DF3_cls::PollProcessXYZData(std::chrono::microseconds wait)
{
    if (!IsProcessingOnWorker())
        return true;
    return mpOwner->PollProcessing(wait);
}

bool DF3_cls::BeginProcessXYZData(ProcessJob& job)
{
    job = ProcessJob{};
    // Asked every time, so that the chain records the signature this frame is processed with.
    const bool required = mpOwner && mpOwner->IsReprocessRequiredFor(GetSelfIndex());
    if (mbProcessed && !required)
        return false;
    if (!mbAllocated)
        return false;
    mbProcessed = true;
    mbDirty = true;
    // The neighbour only takes part when it holds a complete frame of the same size.
    if (mpNeighbourFrame && mpNeighbourFrame != this && mpNeighbourFrame->IsAllocated() &&
        mpNeighbourFrame->GetReadFinishedFlag() && mpNeighbourFrame->GetCurrentTotalSize() == GetCurrentTotalSize())
        job.pNext = mpNeighbourFrame->GetXYZData();
    if (mpOwner) {
        job.bBlend = mpOwner->IsRemap();
        job.fFactor = mpOwner->GetRemapInterpolateFactor();
    }
    job.iFrame = GetSelfIndex();
    job.bRun = true;
    return true;
}

bool DF3_cls::RunProcessXYZData(const ProcessJob& job)
{
    if (!job.bRun)
        return true;
    const uint32_t size[3] = {GetCurrSize(0), GetCurrSize(1), GetCurrSize(2)};
    if (!mpOwner)
        return DF3Sequence_cls().ProcessXYZData(mpProcessedData.get(), mpXYZData.get(), size, false, 0.0f, nullptr);
    return mpOwner->ProcessXYZData(mpProcessedData.get(), mpXYZData.get(), size, job.bBlend, job.fFactor, job.pNext,
                                   job.iFrame);
}

// --- reading dispatch -------------------------------------------------------------------------

bool DF3_cls::ReadHeader(UserPrompt_cls* parent)
{
    mbValid = false;
    if (miSourceFormat == FORMAT_DF3)
        mbValid = mCReadBodyDF3.ReadHeaderInfo(parent);
    else if (miSourceFormat == FORMAT_IMGSEQ)
        mbValid = mCReadBodyImgSeq.ReadHeaderInfo(parent);
    else if (miSourceFormat == FORMAT_TXT)
        mbValid = mCReadBodyTxt.ReadHeaderInfo(parent);
    if (mbValid)
        mStrLoadedFile = mStrFilePath;
    return mbValid;
}

bool DF3_cls::ReadBodyIfNotFinished(bool noInterrupt, UserPrompt_cls* parent)
{
    mbValid = false;
    ResumableProgress_cls* reader = nullptr;
    if (miSourceFormat == FORMAT_DF3)
        reader = &mCReadBodyDF3;
    else if (miSourceFormat == FORMAT_IMGSEQ)
        reader = &mCReadBodyImgSeq;
    else if (miSourceFormat == FORMAT_TXT)
        reader = &mCReadBodyTxt;
    if (!reader)
        return false;
    if (reader->IsFinished()) {
        mbValid = true;
        return true;
    }
    if (miSourceFormat == FORMAT_DF3)
        mbValid = mCReadBodyDF3.MainProcess(noInterrupt, parent);
    else if (miSourceFormat == FORMAT_IMGSEQ)
        mbValid = mCReadBodyImgSeq.MainProcess(noInterrupt, parent);
    else
        mbValid = mCReadBodyTxt.MainProcess(noInterrupt, parent);
    return mbValid;
}

bool DF3_cls::IsReadFinished() const
{
    if (miSourceFormat == FORMAT_DF3)
        return mCReadBodyDF3.IsFinished();
    if (miSourceFormat == FORMAT_IMGSEQ)
        return mCReadBodyImgSeq.IsFinished();
    if (miSourceFormat == FORMAT_TXT)
        return mCReadBodyTxt.IsFinished();
    return false;
}

void DF3_cls::SetReadFinished()
{
    mbReadFinished = true;
    mbDirty = true;
}

const LevelMap_cls* DF3_cls::GetLevelMap()
{
    if (!mCLevelMap.IsValid() && mbReadFinished && mbAllocated && mpXYZData)
        mCLevelMap.Compute(mpXYZData.get(), static_cast<size_t>(GetCurrentTotalSize()));
    return mCLevelMap.IsValid() ? &mCLevelMap : nullptr;
}

// --- export -----------------------------------------------------------------------------------

bool DF3_cls::ExportDF3(const std::wstring& path, const bool* doubleAxes)
{
    return ExportLoaded([&] {
        ExportDF3_cls exporter(this);
        return exporter.OutputDF3(path, doubleAxes);
    });
}

bool DF3_cls::ExportIMGSeq(const ExportIMGSeq_cls::Settings& settings, UserPrompt_cls* progress)
{
    return ExportLoaded([&] {
        ExportIMGSeq_cls exporter(this);
        return exporter.OutputIMGSeq(settings, progress ? progress : GetMessageParent());
    });
}

bool DF3_cls::ExportLoaded(const std::function<bool()>& write)
{
    bool loadedHere = false;
    if (!mbAllocated) {
        if (!ReadHeader(GetMessageParent()))
            return false;
        mStrLoadedFile = mStrFilePath;
        if (!Allocate())
            return false;
        loadedHere = true;
    }
    bool ok = true;
    if (!IsReadFinished())
        ok = ReadBodyIfNotFinished(true, GetMessageParent());
    if (ok)
        ok = write();
    // A frame loaded only for the export does not stay in memory behind the sequence's back.
    if (loadedHere)
        Release();
    return ok;
}

// --- accounting -------------------------------------------------------------------------------

uint32_t DF3_cls::GetAllocatedXYKB() const
{
    if (!mbAllocatedXYAxis)
        return 0;
    return static_cast<uint32_t>(2 * GetCurrentTotalSize() / 1024);
}

uint32_t DF3_cls::GetAllocatedXYZKB() const
{
    if (!mbAllocated)
        return 0;
    const uint64_t total = GetCurrentTotalSize();
    uint64_t kb = total / 1024 + total / 1024;
    if (mbAllocatedXYAxis)
        kb += total / 512;
    return static_cast<uint32_t>(kb);
}

// --- file and change tracking -----------------------------------------------------------------

void DF3_cls::SetFilePath(const std::wstring& path, const std::wstring& path2, int format)
{
    mStrFilePath = path;
    mStrFilePath2 = format == FORMAT_IMGSEQ ? path2 : std::wstring();
    miSourceFormat = format;
}

void DF3_cls::SetFileChangedTag()
{
    if (!mStrLoadedFile.empty())
        mStrLoadedFile = L".";
}
