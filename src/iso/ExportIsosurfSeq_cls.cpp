// Isosurface sequence export.
// Sections: helpers (prompt of a worker, worker thread); names; start; the workers; polling.
#include "iso/ExportIsosurfSeq_cls.h"

#include "anim/TimeCtrl_cls.h"
#include "config/LineStream_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/MultiThreadCtrl_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "iso/MarchingCube_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/ExportIMGSeq_cls.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <system_error>

namespace
{

// --- helpers ----------------------------------------------------------------------------------

// A worker must not open dialogs: the readers' messages are kept and shown by the polling thread.
class KeepMessagePrompt_cls : public UserPrompt_cls
{
  public:
    void Message(const std::wstring& text, const std::wstring&) override
    {
        if (mStrFirst.empty())
            mStrFirst = text;
    }
    bool AskYesNo(const std::wstring&, const std::wstring&, bool defaultYes) override { return defaultYes; }
    int AskChoice(const std::wstring&, const std::wstring&, const std::vector<std::wstring>&, int) override
    {
        return -1;
    }
    void SetStatusText(const std::wstring&, int) override {}
    void SetProgress(int) override {}
    /// Takes the first message since the last call (empty when none).
    std::wstring Take()
    {
        std::wstring text;
        text.swap(mStrFirst);
        return text;
    }

  private:
    std::wstring mStrFirst;
};

class ThreadIsosurfSeq : public MultiThreadThread_cls
{
  public:
    explicit ThreadIsosurfSeq(std::function<void()> work) : mFnWork(std::move(work)) {}
    void Entry() override { mFnWork(); }

  private:
    std::function<void()> mFnWork;
};

bool PathExists(const std::wstring& path)
{
    std::error_code ec;
    return std::filesystem::exists(std::filesystem::symlink_status(std::filesystem::path(Narrow(path)), ec));
}

bool IsFolderPattern(const std::wstring& pattern)
{
    std::error_code ec;
    return !pattern.empty() &&
           (pattern.back() == L'/' || std::filesystem::is_directory(std::filesystem::path(Narrow(pattern)), ec));
}

} // namespace

struct ExportIsosurfSeq_cls::Job {
    int iStep = 0;
    int iFrame = 0;
    double dTime = 0.0;
    DF3Sequence_cls::FileEntry CEntry;
    float fBlend = 0.0f;              ///< time-remap share of the next frame (0: none)
    DF3Sequence_cls::FileEntry CNext; ///< the next frame, when fBlend is not 0
};

struct ExportIsosurfSeq_cls::Worker {
    KeepMessagePrompt_cls CPrompt;
    DF3Sequence_cls CSeq; ///< own frames and own copy of the chain
    std::vector<int> viIsoPositions;
    std::vector<bool> vbIsoNormals;
    std::unique_ptr<ThreadIsosurfSeq> pThread;
};

// --- names ------------------------------------------------------------------------------------

bool ExportIsosurfSeq_cls::MakeNames(const std::wstring& pattern, const std::vector<int>& steps, int surfaces,
                                     const std::wstring& defaultExt, std::vector<std::wstring>& out,
                                     std::wstring& error)
{
    out.clear();
    if (steps.empty())
        return true;
    ExportIMGSeq_cls::Settings names;
    names.strPattern = pattern;
    if (IsFolderPattern(pattern)) {
        std::error_code ec;
        std::filesystem::create_directories(std::filesystem::path(Narrow(pattern)), ec);
        if (ec) {
            error = WStrPrintf(Tr("%s can not be created").c_str(), Narrow(pattern).c_str());
            return false;
        }
        names.strPattern = pattern + (pattern.back() == L'/' ? L"" : L"/") + L"iso_%04d" + defaultExt;
    } else {
        // A missing folder would only show when the first mesh is written, after minutes of work.
        const size_t slash = pattern.find_last_of(L'/');
        std::error_code ec;
        if (slash != std::wstring::npos && slash > 0 &&
            !std::filesystem::is_directory(std::filesystem::path(Narrow(pattern.substr(0, slash))), ec)) {
            error = WStrPrintf(Tr("The folder %s does not exist").c_str(), Narrow(pattern.substr(0, slash)).c_str());
            return false;
        }
    }
    names.iFirstNumber = steps.front();
    std::vector<std::wstring> consecutive;
    const uint32_t count = static_cast<uint32_t>(steps.back() - steps.front() + 1);
    if (!ExportIMGSeq_cls::MakeFileNames(names, count, consecutive, error))
        return false;
    for (int step : steps) {
        const std::wstring& name = consecutive[static_cast<size_t>(step - steps.front())];
        for (int k = 0; k < surfaces; ++k) {
            if (surfaces == 1) {
                out.push_back(name);
                continue;
            }
            const size_t slash = name.find_last_of(L'/');
            size_t dot = name.find_last_of(L'.');
            if (dot == std::wstring::npos || (slash != std::wstring::npos && dot < slash))
                dot = name.size();
            out.push_back(name.substr(0, dot) + WStrPrintf("_%d", k) + name.substr(dot));
        }
    }
    return true;
}

// --- start ------------------------------------------------------------------------------------

ExportIsosurfSeq_cls::ExportIsosurfSeq_cls(DF3Sequence_cls* slot) : mpSlot(slot)
{
}

ExportIsosurfSeq_cls::~ExportIsosurfSeq_cls()
{
    if (!mvpWorkers.empty()) {
        mbStop = true;
        for (auto& worker : mvpWorkers)
            if (worker->pThread)
                worker->pThread->Wait();
        mvpWorkers.clear();
    }
}

bool ExportIsosurfSeq_cls::Start(const Settings& settings, UserPrompt_cls* prompt)
{
    if (mbRunning)
        return false;
    mpPrompt = prompt;
    mCSettings = settings;
    mvJobs.clear();
    mvResults.clear();
    mStrError.clear();
    mbSucceeded = mbStopped = false;
    mbStop = mbFailed = false;
    miDone = 0;
    muNextJob = 0;
    miReportedPercent = -1;
    auto refuse = [&](const std::wstring& text) {
        if (prompt)
            prompt->Message(text, TrW("Write Error"));
        mStrError = text;
        return false;
    };

    // The range: scene steps through the clock's time remap, or data frames without a clock.
    const int lastFrame = mpSlot->GetLastIndex();
    if (lastFrame < 0)
        return refuse(TrW("No data is loaded in this slot"));
    const TimeCtrl_cls* clock = mpSlot->GetTimeCtrl();
    const int lastStep = clock ? clock->GetMaxFrame() : lastFrame;
    const int last = settings.iLast < 0 ? (clock ? clock->GetWAMax() : lastFrame) : settings.iLast;
    if (settings.iFirst < 0 || settings.iFirst > last || last > lastStep || settings.iStep < 1)
        return refuse(
            WStrPrintf(Tr("The frames %d to %d are not within 0 to %d").c_str(), settings.iFirst, last, lastStep));
    if (settings.strPatternMesh2.empty() && settings.strPatternObj.empty())
        return refuse(TrW("No file name was given for the meshes"));
    if (settings.dLevel > 1.0)
        return refuse(TrW("The level must lie between 0 and 1"));
    std::vector<int> steps;
    for (int s = settings.iFirst; s <= last; s += settings.iStep)
        steps.push_back(s);
    const auto& files = mpSlot->GetFileList();
    for (int s : steps) {
        Job job;
        job.iStep = s;
        job.iFrame = std::clamp(mpSlot->GetRemappedIndex(s), 0, lastFrame);
        job.dTime = clock ? clock->GetDoubleIndex(s) : (lastFrame > 0 ? static_cast<double>(s) / lastFrame : 0.0);
        job.CEntry = files[static_cast<size_t>(job.iFrame)];
        // Between two data frames the preview blends them (time remap); so does the export.
        if (clock && mpSlot->IsRemap() && job.iFrame < lastFrame) {
            const double position = clock->GetRemappedIndexDouble(s, lastFrame);
            const float factor = static_cast<float>(position - job.iFrame);
            if (factor > 0.0f && factor < 1.0f) {
                job.fBlend = factor;
                job.CNext = files[static_cast<size_t>(job.iFrame + 1)];
            }
        }
        mvJobs.push_back(job);
    }

    // The surfaces: the switched-on isosurface items of the chain, or the chain's result.
    FilterCtrl_cls& chain = mpSlot->GetFilterCtrl();
    std::vector<int> isoPositions;
    for (int i = 0; i < chain.GetItemNum(); ++i) {
        FilterBase_cls* item = chain.GetPFilterBase(i);
        if (item->GetType() == PovIsosurface_cls::kTypeCode && item->GetPData()->IsValid())
            isoPositions.push_back(i);
    }
    if (isoPositions.empty() && settings.dLevel < 0.0)
        return refuse(TrW("The filter list has no isosurface that is switched on"));
    miSurfaces = isoPositions.empty() ? 1 : static_cast<int>(isoPositions.size());

    std::vector<std::wstring> mesh2Names, objNames;
    std::wstring error;
    if ((!settings.strPatternMesh2.empty() &&
         !MakeNames(settings.strPatternMesh2, steps, miSurfaces, L".pov", mesh2Names, error)) ||
        (!settings.strPatternObj.empty() &&
         !MakeNames(settings.strPatternObj, steps, miSurfaces, L".obj", objNames, error)))
        return refuse(error);
    // Nothing is written when any name is taken: the user loses no file and gets no half series.
    std::vector<std::wstring> all = mesh2Names;
    all.insert(all.end(), objNames.begin(), objNames.end());
    for (const std::wstring& name : all)
        if (PathExists(name))
            return refuse(WStrPrintf("%s %s", Narrow(name).c_str(), Tr("overwrite forbidden").c_str()));
    std::vector<std::wstring> sorted = all;
    std::sort(sorted.begin(), sorted.end());
    if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end())
        return refuse(TrW("The mesh2 and the OBJ files would have the same names"));

    mvResults.resize(steps.size() * static_cast<size_t>(miSurfaces));
    for (size_t j = 0; j < steps.size(); ++j)
        for (int k = 0; k < miSurfaces; ++k) {
            FrameResult& r = mvResults[j * static_cast<size_t>(miSurfaces) + static_cast<size_t>(k)];
            r.iStep = mvJobs[j].iStep;
            r.iFrame = mvJobs[j].iFrame;
            r.iSurface = k;
            const size_t n = j * static_cast<size_t>(miSurfaces) + static_cast<size_t>(k);
            if (!mesh2Names.empty())
                r.strMesh2 = mesh2Names[n];
            if (!objNames.empty())
                r.strObj = objNames[n];
        }

    // Each worker gets its own copy of the chain, made here: items register their key-framed
    // sets class-wide, which only the calling thread may do.
    const std::wstring chainText = chain.SerializeConf();
    int workers = settings.iWorkers > 0 ? std::min(settings.iWorkers, 16) : 2;
    workers = std::max(1, std::min(workers, static_cast<int>(mvJobs.size())));
    mvpWorkers.clear();
    for (int w = 0; w < workers; ++w) {
        auto worker = std::make_unique<Worker>();
        worker->CSeq.SetMessageParent(&worker->CPrompt);
        for (int a = 0; a < 3; ++a)
            worker->CSeq.SetDownSizeSRC(a, mpSlot->GetDownSizeSRC(a));
        FilterCtrl_cls& copy = worker->CSeq.GetFilterCtrl();
        LineStream_cls stream(chainText);
        std::wstring line;
        while (stream.GetLine(line))
            copy.ReadStrLine(stream, line);
        for (int i = 0; i < copy.GetItemNum(); ++i) {
            FilterBase_cls* item = copy.GetPFilterBase(i);
            if (item->GetType() != PovIsosurface_cls::kTypeCode || !item->GetPData()->IsValid())
                continue;
            worker->viIsoPositions.push_back(i);
            worker->vbIsoNormals.push_back(static_cast<PovIsosurface_cls*>(item)->GetData().mbNormal.Get());
            // The item still receives its data, but does not build a mesh of its own: the worker
            // builds the one it writes.
            item->GetPData()->SetValid(false);
        }
        if (static_cast<int>(worker->viIsoPositions.size()) != static_cast<int>(isoPositions.size()))
            return refuse(TrW("The filter list could not be copied for the export"));
        mvpWorkers.push_back(std::move(worker));
    }

    mbRunning = true;
    miWorkersLeft = workers;
    if (prompt) {
        prompt->SetStatusText(WStrPrintf(Tr("Exporting isosurfaces of %d frames").c_str(), GetFrameNumber()), 0);
        prompt->SetProgress(0);
    }
    for (auto& worker : mvpWorkers) {
        Worker* w = worker.get();
        w->pThread = std::make_unique<ThreadIsosurfSeq>([this, w] { WorkerMain(*w); });
        w->pThread->Run();
    }
    return true;
}

// --- the workers ------------------------------------------------------------------------------

void ExportIsosurfSeq_cls::Fail(const std::wstring& error)
{
    std::lock_guard<std::mutex> lock(mMutex);
    if (mStrError.empty())
        mStrError = error;
    mbFailed = true;
}

void ExportIsosurfSeq_cls::WorkerMain(Worker& worker)
{
    while (!mbStop && !mbFailed) {
        const size_t job = muNextJob++;
        if (job >= mvJobs.size())
            break;
        if (!DoJob(worker, job))
            break;
        ++miDone;
    }
    {
        std::lock_guard<std::mutex> lock(mMutex);
        --miWorkersLeft;
    }
    mCondEnd.notify_all();
}

bool ExportIsosurfSeq_cls::DoJob(Worker& worker, size_t j)
{
    const Job& job = mvJobs[j];
    DF3_cls frame(&worker.CSeq);
    frame.SetFilePath(job.CEntry.strPath, job.CEntry.strPath2, job.CEntry.iFormat);
    if (!frame.ReadHeader(&worker.CPrompt) || !frame.Allocate() ||
        !frame.ReadBodyIfNotFinished(true, &worker.CPrompt)) {
        std::wstring why = worker.CPrompt.Take();
        Fail(WStrPrintf(Tr("Frame %d could not be read").c_str(), job.iFrame) + L"\n" +
             (why.empty() ? job.CEntry.strPath : why));
        return false;
    }
    const unsigned size[3] = {frame.GetCurrSize(0), frame.GetCurrSize(1), frame.GetCurrSize(2)};
    const size_t n = static_cast<size_t>(size[0]) * size[1] * size[2];
    DF3_cls next(&worker.CSeq);
    if (job.fBlend > 0.0f) {
        next.SetFilePath(job.CNext.strPath, job.CNext.strPath2, job.CNext.iFormat);
        if (!next.ReadHeader(&worker.CPrompt) || !next.Allocate() ||
            !next.ReadBodyIfNotFinished(true, &worker.CPrompt)) {
            std::wstring why = worker.CPrompt.Take();
            Fail(WStrPrintf(Tr("Frame %d could not be read").c_str(), job.iFrame + 1) + L"\n" +
                 (why.empty() ? job.CNext.strPath : why));
            return false;
        }
        if (next.GetCurrentTotalSize() != n) {
            Fail(WStrPrintf(Tr("Frames %d and %d differ in size and can not be blended").c_str(), job.iFrame,
                            job.iFrame + 1));
            return false;
        }
    }

    // The chain at this frame's time: the items' animated values and the data they receive.
    FilterCtrl_cls& chain = worker.CSeq.GetFilterCtrl();
    std::vector<unsigned char> out(n);
    chain.UpdateParameters(job.dTime);
    const bool blend = job.fBlend > 0.0f;
    // Through the slot's processing step: without a volume item `out` still gets the blended frame.
    worker.CSeq.ProcessXYZData(out.data(), frame.GetXYZData(), size, blend, job.fBlend,
                               blend ? next.GetXYZData() : nullptr, job.iFrame);

    for (int k = 0; k < miSurfaces; ++k) {
        if (mbStop)
            return false;
        const unsigned char* data = out.data();
        const unsigned* dataSize = size;
        double level = mCSettings.dLevel;
        bool normals = true;
        if (!worker.viIsoPositions.empty()) {
            auto* item =
                static_cast<PovIsosurface_cls*>(chain.GetPFilterBase(worker.viIsoPositions[static_cast<size_t>(k)]));
            data = item->GetDataCopy().data();
            dataSize = item->GetDataSize();
            if (level < 0.0)
                level = item->GetCritical();
            normals = worker.vbIsoNormals[static_cast<size_t>(k)];
        }
        level = std::clamp(level, 0.0, 1.0);
        MarchingCube_cls mc;
        const unsigned flags = (normals ? MarchingCube_cls::kFlagNormals : 0u) | MarchingCube_cls::kFlagWeldInBlock |
                               MarchingCube_cls::kFlagWeldCountOnly;
        if (!data || !mc.ThreadControlMain(data, static_cast<int>(dataSize[0]), static_cast<int>(dataSize[1]),
                                           static_cast<int>(dataSize[2]), static_cast<float>(level), flags)) {
            Fail(WStrPrintf(Tr("Frame %d: a volume needs at least 2 voxels along each axis").c_str(), job.iFrame));
            return false;
        }
        mc.OptimizeVerticesFull();
        FrameResult& r = mvResults[j * static_cast<size_t>(miSurfaces) + static_cast<size_t>(k)];
        r.uTriangles = mc.GetFaceNumberOptFull();
        r.uVertices = mc.GetVertexNumberOptFull();
        const std::wstring suffix = miSurfaces > 1 ? WStrPrintf("_%d_%d", k, job.iStep) : WStrPrintf("_%d", job.iStep);
        std::string text;
        for (int kind = 0; kind < 2; ++kind) {
            const std::wstring& path = kind == 0 ? r.strMesh2 : r.strObj;
            if (path.empty())
                continue;
            text.clear();
            if (kind == 0)
                mc.GetStrPovMesh2(&text, mCSettings.strName, suffix, normals);
            else
                mc.GetStrWaveFrontObj(&text, normals);
            const int rc = MarchingCube_cls::WriteNewFile(Narrow(path), text);
            if (rc != 0) {
                Fail(rc == 1 ? WStrPrintf("%s %s", Narrow(path).c_str(), Tr("overwrite forbidden").c_str())
                             : WStrPrintf(Tr("%s could not be written completely").c_str(), Narrow(path).c_str()));
                return false;
            }
        }
        r.bDone = true;
    }
    return true;
}

// --- polling ----------------------------------------------------------------------------------

int ExportIsosurfSeq_cls::GetFrameNumber() const
{
    return static_cast<int>(mvJobs.size());
}

bool ExportIsosurfSeq_cls::WaitFinished(int ms)
{
    std::unique_lock<std::mutex> lock(mMutex);
    return mCondEnd.wait_for(lock, std::chrono::milliseconds(ms), [this] { return miWorkersLeft == 0; });
}

void ExportIsosurfSeq_cls::Finish()
{
    for (auto& worker : mvpWorkers)
        worker->pThread->Wait();
    // The copies of the chain go on the thread that made them (their sets are registered there).
    mvpWorkers.clear();
    mbRunning = false;
    mbStopped = mbStop && !mbFailed && miDone < GetFrameNumber();
    mbSucceeded = !mbFailed && miDone == GetFrameNumber();
    if (!mpPrompt)
        return;
    mpPrompt->SetProgress(-1);
    if (mbSucceeded)
        mpPrompt->SetStatusText(WStrPrintf(Tr("Isosurfaces of %d frames written").c_str(), miDone.load()), 0);
    else if (mbStopped)
        mpPrompt->SetStatusText(
            WStrPrintf(Tr("Isosurface export stopped after %d of %d frames").c_str(), miDone.load(), GetFrameNumber()),
            0);
    else
        mpPrompt->Message(mStrError, TrW("Write Error"));
}

bool ExportIsosurfSeq_cls::Poll()
{
    if (!mbRunning)
        return false;
    bool finished;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        finished = miWorkersLeft == 0;
    }
    if (finished) {
        Finish();
        return false;
    }
    const int total = std::max(1, GetFrameNumber());
    const int percent = miDone * 100 / total;
    if (mpPrompt && percent != miReportedPercent) {
        miReportedPercent = percent;
        mpPrompt->SetProgress(percent);
        mpPrompt->SetStatusText(
            WStrPrintf(Tr("Exporting isosurfaces: %d of %d frames").c_str(), miDone.load(), GetFrameNumber()), 0);
    }
    return true;
}

bool ExportIsosurfSeq_cls::Run(const Settings& settings, UserPrompt_cls* prompt)
{
    if (!Start(settings, prompt))
        return false;
    while (Poll())
        WaitFinished(100);
    return mbSucceeded;
}
