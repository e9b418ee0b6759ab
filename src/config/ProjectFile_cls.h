#pragma once
// The configuration file "KivrelConfigure.txt" and project files (".vsp"): one text format,
// written and read by the same two functions. The writer concatenates every object's text in a
// fixed block order (a project adds the scene blocks, the configuration adds the key
// assignments); the reader offers every line to the objects' readers in a fixed dispatch order,
// where a block marker lets its owner read the rest of its block from the stream. Lines no
// reader knows are skipped, so files of other versions load as far as their keys are known.
//
// Parts owned by the window (its item list, the view anchor, the view controllers, the colour
// dialog's custom colours, the key assignments, the drawing blocks) take part through hooks, so
// this class stays free of the toolkit; without a hook a part is simply absent.
//
// Sections: hooks; text; files; opening a project.
#include <array>
#include <functional>
#include <string>

class LineStream_cls;
class Main_cls;
class UserPrompt_cls;

class ProjectFile_cls
{
  public:
    /// The configuration file's name (in the working directory).
    static constexpr const wchar_t* kConfigureName = L"KivrelConfigure.txt";

    /// Parts that other layers provide.
    enum Hook {
        kHookWindowItems = 0, ///< the window's item list and its unsigned item (both kinds)
        kHookViewAnchor,      ///< "--AnchorPos" (project)
        kHookDrawingBlock,    ///< the root drawing block (project)
        kHookViewCtrls,       ///< the five "--GLCanvas" view controllers (project)
        kHookCustomColours,   ///< the colour dialog's custom colours (project)
        kHookShortcuts,       ///< "-ShortcutBegin" ... "-ShortcutEnd" (configuration)
        kHookCount
    };
    /// One part's serialiser and line reader. The reader gets every line that reaches its place
    /// in the dispatch order and returns whether it took it; it may read further lines of a
    /// block from the stream.
    struct BlockHooks {
        std::function<std::wstring()> fnSerialize;
        std::function<bool(LineStream_cls& stream, const std::wstring& line)> fnRead;
    };

    /// Works on the objects of `main` (which owns this object).
    explicit ProjectFile_cls(Main_cls& main);
    ProjectFile_cls(const ProjectFile_cls&) = delete;
    ProjectFile_cls& operator=(const ProjectFile_cls&) = delete;

    // ---- hooks --------------------------------------------------------------------------------
    /// Installs (or, with empty functions, removes) the hooks of one part. GUI thread.
    void SetHooks(Hook hook, BlockHooks hooks);
    /// Called after a file was read, before the undo history is cleared (panel refreshes).
    std::function<void()> FuncHookAfterRead;

    // ---- text ---------------------------------------------------------------------------------
    /// The whole text of a project (`project` true) or of the configuration file.
    std::wstring BuildText(bool project) const;
    /// Offers every line of `text` to the readers (omission list pushed meanwhile). Returns the
    /// number of lines some reader took (block lines read by their owner not counted).
    size_t ReadText(const std::wstring& text);
    /// The count ReadText returned for the last file read.
    size_t GetLastTakenLines() const { return muLastTaken; }
    /// Offers one line in the dispatch order; true when some reader took it.
    bool DispatchLine(LineStream_cls& stream, const std::wstring& line);

    // ---- files ----------------------------------------------------------------------------------
    /// True when the file name part of `path` is "KivrelConfigure.txt".
    static bool IsConfigureFile(const std::wstring& path);
    /// Writes the text to `path` through a temporary file renamed over it, so a failed write
    /// leaves the old file untouched. On failure shows "File open fails" (through `prompt`, null:
    /// the process-wide prompt) and returns false. A path other than the configuration file is
    /// pushed onto the recent list.
    bool Save(const std::wstring& path, bool project, UserPrompt_cls* prompt) const;
    /// Reads `path` (either kind). A file that cannot be read is not an error: false, defaults
    /// stay. A path other than the configuration file that was read is pushed onto the recent
    /// list.
    bool Read(const std::wstring& path);

    // ---- opening a project ----------------------------------------------------------------------
    /// Clears all filter chains and the camera path, reads `path`, clears the undo history and
    /// lets the clock repair its ranges. False (nothing cleared) when the file does not exist.
    bool OpenProject(const std::wstring& path);

  private:
    std::wstring HookText(Hook hook) const;
    bool HookRead(Hook hook, LineStream_cls& stream, const std::wstring& line);

    Main_cls& mrMain;
    std::array<BlockHooks, kHookCount> mvHooks;
    size_t muLastTaken = 0;
};
