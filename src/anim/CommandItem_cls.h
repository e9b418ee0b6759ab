#pragma once
// The base of every undoable edit, and the two block markers that group edits into one step.
// A command touches model objects only (never widgets); the history runs it and owns it.
#include <cstdint>

class UndoManager_cls;

/// Type flags read by the user interface through the history.
enum CommandTypeFlags : uint32_t {
    kComBlockOpen = 1,    ///< the command opens a block
    kComBlockClose = 2,   ///< the command closes a block
    kComColorRedraw = 12, ///< bits 4 and 8: the colour map must be rebuilt after the command
};

class CommandItem_cls
{
  public:
    CommandItem_cls() = default;
    CommandItem_cls(const CommandItem_cls&) = delete;
    CommandItem_cls& operator=(const CommandItem_cls&) = delete;
    virtual ~CommandItem_cls() = default;

    /// Performs the command (undo false: the redo member of a pair; true: the undo member).
    /// Returns the chain flag: true when the neighbouring command in the history must run too.
    /// GUI thread only, like every edit of the model.
    virtual bool Execute(bool undo) = 0;
    /// Display name of the edit for the Undo and Redo menu entries: an untranslated msgid
    /// ("Move Key"), "" when the command has none (the step then takes a neighbour's name).
    virtual const char* GetName() const { return ""; }

    /// The type flags (CommandTypeFlags bits, combinable).
    uint32_t GetType() const { return muType; }
    /// Adds type flags (for example kComColorRedraw).
    void AddType(uint32_t flags) { muType |= flags; }
    /// The history that holds this command; set when the pair is handed over. Null before that.
    UndoManager_cls* GetPManager() const { return mpManager; }
    /// Called by the history when it takes ownership of the command.
    void SetPManager(UndoManager_cls* manager) { mpManager = manager; }

  protected:
    uint32_t muType = 0;
    UndoManager_cls* mpManager = nullptr;
};

/// Opens a block: raises the history's block depth by one.
class ComBlockOpen : public CommandItem_cls
{
  public:
    /// name: display name of the whole block (a msgid with static lifetime; "" for none).
    explicit ComBlockOpen(const char* name = "") : mpName(name ? name : "") { muType = kComBlockOpen; }
    /// Raises the block depth of the owning history; never chains.
    bool Execute(bool undo) override;
    /// The block's name, which names the whole undo step.
    const char* GetName() const override { return mpName; }

  private:
    const char* mpName;
};

/// Closes a block: lowers the history's block depth by one.
class ComBlockClose : public CommandItem_cls
{
  public:
    ComBlockClose() { muType = kComBlockClose; }
    /// Lowers the block depth of the owning history; never chains.
    bool Execute(bool undo) override;
};
