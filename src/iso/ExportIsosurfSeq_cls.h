#pragma once
// Isosurface sequence export: every frame of a slot's working range is read, run through a copy of
// the slot's filter chain, and the surface of each switched-on isosurface item (at the data the
// item receives, at its key-framed level for that frame's time) is written as a mesh2 and/or OBJ
// file numbered by the frame. Frames are scene steps when the slot follows a clock: through its
// time remap, and blended with the next data frame when a step falls between two, as the preview
// shows them.
//
// The work runs on worker threads, each with its own frame, its own copy of the chain and its own
// marching cubes, so the slot, its frames and the preview are never touched; the calling thread
// (the GUI thread, or the CLI's) starts the export and polls it, and only the polling thread talks
// to the user prompt. Names come from patterns with one integer conversion ("iso_%04d.pov"); a
// pattern that is a folder (or ends in "/") means "iso_%04d.pov" / "iso_%04d.obj" inside it. With
// more than one isosurface item, "_<n>" (the item's place among them, from 0) is added before the
// extension. Every name is checked before work starts and no existing file is ever replaced.
// Files of frames that were finished before a stop or an error stay: each is a complete mesh.
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class DF3Sequence_cls;
class UserPrompt_cls;

class ExportIsosurfSeq_cls
{
  public:
    /// What to write; filled by the export dialog or the CLI.
    struct Settings {
        int iFirst = 0;                       ///< first scene step (data frame without a clock)
        int iLast = -1;                       ///< last step, inclusive; -1: the working area's end (the last frame)
        int iStep = 1;                        ///< steps between exported frames (>= 1)
        std::wstring strPatternMesh2;         ///< mesh2 file names (empty: no mesh2 files)
        std::wstring strPatternObj;           ///< OBJ file names (empty: no OBJ files)
        std::wstring strName = L"Isosurface"; ///< mesh2 object "ISOSURF_<name>_<step>"
        /// >= 0: this level (0..1) for every surface, and, when the chain has no isosurface item,
        /// the surface of the chain's result at it; < 0: each item's key-framed "Critical".
        double dLevel = -1.0;
        int iWorkers = 0; ///< frames worked on at once, 1..16 (0: two, or one for one frame)
    };
    /// One written surface of one frame.
    struct FrameResult {
        int iStep = 0;    ///< scene step (the file number)
        int iFrame = 0;   ///< data frame it was read from
        int iSurface = 0; ///< place among the isosurface items (0 with one)
        size_t uTriangles = 0;
        size_t uVertices = 0;          ///< after full welding
        std::wstring strMesh2, strObj; ///< files written (empty when not asked)
        bool bDone = false;            ///< false for frames not reached (stop, error)
    };

    /// slot: the data slot whose frames and chain are exported (not owned; must outlive this).
    explicit ExportIsosurfSeq_cls(DF3Sequence_cls* slot);
    /// Stops a running export and waits for its workers.
    ~ExportIsosurfSeq_cls();
    ExportIsosurfSeq_cls(const ExportIsosurfSeq_cls&) = delete;
    ExportIsosurfSeq_cls& operator=(const ExportIsosurfSeq_cls&) = delete;

    /// Checks the settings and every file name, copies the chain and starts the workers. False
    /// (with a message on prompt, title "Write Error", and nothing written) when the range, a
    /// pattern or a name is unusable, or when there is no surface to export. Calling thread.
    bool Start(const Settings& settings, UserPrompt_cls* prompt);
    /// Reports progress (SetProgress, SetStatusText field 0) on the prompt given to Start; when
    /// the workers have finished, joins them, reports the outcome (an error as a message box)
    /// and returns false. True while the export runs. The thread that called Start.
    bool Poll();
    /// Asks the workers to stop after the frame each is working on. Any thread.
    void RequestStop() { mbStop = true; }
    /// Waits until the workers have finished or `ms` milliseconds passed; true when finished.
    bool WaitFinished(int ms);
    /// Start, then Poll until done. True when every frame was written.
    bool Run(const Settings& settings, UserPrompt_cls* prompt);

    /// True between a successful Start and the Poll that reports the end.
    bool IsRunning() const { return mbRunning; }
    /// Outcome of the last export: every frame written, stopped by RequestStop, first error text.
    bool IsSucceeded() const { return mbSucceeded; }
    bool IsStopped() const { return mbStopped; }
    const std::wstring& GetError() const { return mStrError; }
    /// Frames finished so far and frames in the export.
    int GetDoneNumber() const { return miDone; }
    int GetFrameNumber() const;
    /// Per surface and frame, in step order then item order (only after the export has ended).
    const std::vector<FrameResult>& GetResults() const { return mvResults; }

    /// The file names for `steps` from `pattern` (folder patterns get "iso_%04d" + defaultExt),
    /// with "_<k>" added before the extension for surface k when surfaces > 1; out is indexed
    /// [step index * surfaces + k]. False with `error` set when the pattern is unusable.
    static bool MakeNames(const std::wstring& pattern, const std::vector<int>& steps, int surfaces,
                          const std::wstring& defaultExt, std::vector<std::wstring>& out, std::wstring& error);

  private:
    struct Job;
    struct Worker;
    void WorkerMain(Worker& worker);
    bool DoJob(Worker& worker, size_t job);
    void Fail(const std::wstring& error);
    void Finish();

    DF3Sequence_cls* mpSlot;
    UserPrompt_cls* mpPrompt = nullptr;
    Settings mCSettings;
    std::vector<Job> mvJobs;
    std::vector<FrameResult> mvResults;
    std::vector<std::unique_ptr<Worker>> mvpWorkers;
    int miSurfaces = 0;
    std::atomic<size_t> muNextJob{0};
    std::atomic<int> miDone{0};
    std::atomic<int> miWorkersLeft{0};
    std::atomic<bool> mbStop{false};
    std::atomic<bool> mbFailed{false};
    bool mbRunning = false;
    bool mbSucceeded = false;
    bool mbStopped = false;
    int miReportedPercent = -1;
    std::wstring mStrError;
    std::mutex mMutex; ///< guards mStrError while workers run, and the end signal
    std::condition_variable mCondEnd;
};
