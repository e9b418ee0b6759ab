#pragma once
// The edit history: parallel lists of redo and undo commands (entry i of both forms one pair),
// the position of the next pair to redo, and the depth of open blocks. Pushing a pair drops the
// redo tail; a block groups a compound edit into one undo step; master/slave chains run together.
// Views refresh from the change notice; the clean mark drives the window's modified state.
#include "anim/CommandItem_cls.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class UndoManager_cls
{
  public:
    /// Position at and above which an undo resets the position to 0 instead of running a command.
    static constexpr int kPositionGuard = 65535;

    /// Called after every undo, redo and clear that leaves no block open; the argument is the
    /// union of the type flags of the commands that ran (0 after Clear).
    using Listener = std::function<void(uint32_t typeFlags)>;

    UndoManager_cls() = default;
    UndoManager_cls(const UndoManager_cls&) = delete;
    UndoManager_cls& operator=(const UndoManager_cls&) = delete;
    ~UndoManager_cls();

    /// Deletes every pair at or after the position, then appends the pair (ownership taken).
    /// The pair becomes the next to execute. GUI thread.
    void SetNewCommand(std::unique_ptr<CommandItem_cls> redo, std::unique_ptr<CommandItem_cls> undo);
    /// Appends the pair at the end without discarding anything (for a further pair of an edit
    /// that is already executing inside a block). GUI thread.
    void PushNewCommand(std::unique_ptr<CommandItem_cls> redo, std::unique_ptr<CommandItem_cls> undo);
    /// Redo from the position, following chains and open blocks. False when nothing was run.
    bool ExecCurrent();
    /// Undo before the position, following chains and open blocks. False when nothing to undo.
    bool UndoCurrent();
    /// Advances the position without executing, only while a block is open.
    void SkipCurrent();
    /// Records and executes a block-opening pair; the following pairs form one undo step.
    /// name: display name of the step (a msgid with static lifetime; "" lets the first named
    /// command inside the block name it).
    void OpenBlock(const char* name = "");
    /// Records and executes the closing pair. An empty block is removed again (no undo step).
    void CloseBlock();
    /// Deletes every command; position and block depth 0; the empty history counts as clean.
    void Clear();
    /// Deletes the pair at `index` (ignored when out of range).
    void RemoveItem(unsigned index);

    /// Type flags of the redo member of pair `index` (0 when out of range).
    uint32_t GetRedoCommandType(int index) const;
    /// Type flags of the undo member of pair `index` (0 when out of range).
    uint32_t GetUndoCommandType(int index) const;

    /// Display name (untranslated msgid) of the step that UndoCurrent would revert: a block's
    /// own name, else the first named command inside it; "" when there is nothing to undo.
    const char* GetUndoName() const;
    /// Display name of the step that ExecCurrent would run, by the same rule.
    const char* GetRedoName() const;

    /// Index of the next pair to redo; the pairs before it have been executed.
    int GetPosition() const { return miPosition; }
    /// Number of pairs held.
    int GetCount() const { return static_cast<int>(mvRedo.size()); }
    /// Number of blocks currently open.
    int GetBlockDepth() const { return miBlockDepth; }
    /// Changes the block depth; used by the block commands only.
    void AddBlockDepth(int delta) { miBlockDepth += delta; }
    /// True when an undo would do something.
    bool CanUndo() const { return miPosition > 0; }
    /// True when a redo would do something.
    bool CanRedo() const { return miPosition < GetCount(); }

    /// Marks the current position as the saved state.
    void SetClean();
    /// True when the history stands where SetClean (or Clear) left it and no block is open.
    bool IsClean() const;

    /// Subscribes to the change notice; returns an id for RemoveListener.
    int AddListener(Listener listener);
    /// Unsubscribes (unknown ids are ignored).
    void RemoveListener(int id);

  private:
    void DiscardFrom(int index);
    const char* StepName(int first, int last) const;
    void Notify(uint32_t flags);

    std::vector<std::unique_ptr<CommandItem_cls>> mvRedo;
    std::vector<std::unique_ptr<CommandItem_cls>> mvUndo;
    int miPosition = 0;
    int miBlockDepth = 0;
    int miCleanPosition = 0;     ///< -1 when the saved state can no longer be reached
    uint32_t muPendingFlags = 0; ///< flags of commands run while a block was open
    int miNextListenerId = 1;
    std::vector<std::pair<int, Listener>> mvListener;
};

/// The one history of the program. GUI thread.
UndoManager_cls& GetUndoManager();
