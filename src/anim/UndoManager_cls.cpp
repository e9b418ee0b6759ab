#include "anim/UndoManager_cls.h"

#include "config/TessanAssert.h"

#include <algorithm>

UndoManager_cls::~UndoManager_cls()
{
    // Undo members are released before redo members: a removal's pair shares the removed object.
    mvUndo.clear();
    mvRedo.clear();
}

void UndoManager_cls::DiscardFrom(int index)
{
    if (index < 0)
        index = 0;
    if (index >= GetCount())
        return;
    if (miCleanPosition > index)
        miCleanPosition = -1;
    mvUndo.erase(mvUndo.begin() + index, mvUndo.end());
    mvRedo.erase(mvRedo.begin() + index, mvRedo.end());
    if (miPosition > index)
        miPosition = index;
}

void UndoManager_cls::SetNewCommand(std::unique_ptr<CommandItem_cls> redo, std::unique_ptr<CommandItem_cls> undo)
{
    TESSAN_ASSERT(redo && undo, "SRC/ANIM/clsUndoManager");
    if (!redo || !undo)
        return;
    DiscardFrom(miPosition);
    PushNewCommand(std::move(redo), std::move(undo));
}

void UndoManager_cls::PushNewCommand(std::unique_ptr<CommandItem_cls> redo, std::unique_ptr<CommandItem_cls> undo)
{
    TESSAN_ASSERT(redo && undo, "SRC/ANIM/clsUndoManager");
    if (!redo || !undo)
        return;
    redo->SetPManager(this);
    undo->SetPManager(this);
    mvRedo.push_back(std::move(redo));
    mvUndo.push_back(std::move(undo));
}

bool UndoManager_cls::ExecCurrent()
{
    bool ran = false;
    uint32_t flags = 0;
    while (miPosition >= 0 && miPosition < GetCount()) {
        CommandItem_cls* command = mvRedo[static_cast<size_t>(miPosition)].get();
        flags |= command->GetType();
        const bool chain = command->Execute(false);
        ++miPosition;
        ran = true;
        if (chain)
            continue; // the partner of a master/slave pair runs at once
        if (miBlockDepth < 1)
            break;
    }
    if (ran)
        Notify(flags);
    return ran;
}

bool UndoManager_cls::UndoCurrent()
{
    if (miPosition <= 0)
        return false;
    uint32_t flags = 0;
    while (miPosition > 0) {
        --miPosition;
        if (miPosition >= kPositionGuard) {
            // A position this high can only come from a corrupted history: start over.
            miPosition = 0;
            break;
        }
        if (miPosition >= GetCount())
            continue;
        CommandItem_cls* command = mvUndo[static_cast<size_t>(miPosition)].get();
        flags |= command->GetType();
        const bool chain = command->Execute(true);
        if (!chain && miBlockDepth <= 0)
            break;
    }
    Notify(flags);
    return true;
}

void UndoManager_cls::SkipCurrent()
{
    if (miBlockDepth > 0 && miPosition < GetCount())
        ++miPosition;
}

void UndoManager_cls::OpenBlock(const char* name)
{
    SetNewCommand(std::make_unique<ComBlockOpen>(name), std::make_unique<ComBlockClose>());
    ExecCurrent();
}

void UndoManager_cls::CloseBlock()
{
    TESSAN_ASSERT(miBlockDepth > 0, "SRC/ANIM/clsUndoManager");
    if (miBlockDepth <= 0)
        return;
    const uint32_t previous = GetRedoCommandType(miPosition - 1);
    SetNewCommand(std::make_unique<ComBlockClose>(), std::make_unique<ComBlockOpen>());
    ExecCurrent();
    if ((previous & kComBlockOpen) != 0 && miPosition >= 2) {
        // Nothing happened inside the block: drop its two pairs so that it is no undo step.
        DiscardFrom(miPosition - 2);
    }
}

void UndoManager_cls::Clear()
{
    mvUndo.clear();
    mvRedo.clear();
    miPosition = 0;
    miBlockDepth = 0;
    miCleanPosition = 0;
    muPendingFlags = 0;
    Notify(0);
}

void UndoManager_cls::RemoveItem(unsigned index)
{
    if (index >= mvRedo.size())
        return;
    const int i = static_cast<int>(index);
    if (miCleanPosition > i)
        miCleanPosition = -1;
    mvUndo.erase(mvUndo.begin() + i);
    mvRedo.erase(mvRedo.begin() + i);
    if (miPosition > i)
        --miPosition;
}

uint32_t UndoManager_cls::GetRedoCommandType(int index) const
{
    if (index < 0 || index >= GetCount())
        return 0;
    return mvRedo[static_cast<size_t>(index)]->GetType();
}

uint32_t UndoManager_cls::GetUndoCommandType(int index) const
{
    if (index < 0 || index >= GetCount())
        return 0;
    return mvUndo[static_cast<size_t>(index)]->GetType();
}

const char* UndoManager_cls::StepName(int first, int last) const
{
    // The outermost block's own name wins; an unnamed block is named by what it holds.
    for (int i = first; i <= last; ++i) {
        const char* name = mvRedo[static_cast<size_t>(i)]->GetName();
        if (name != nullptr && name[0] != '\0')
            return name;
    }
    return "";
}

const char* UndoManager_cls::GetUndoName() const
{
    const int last = std::min(miPosition, GetCount()) - 1;
    if (last < 0)
        return "";
    if ((mvRedo[static_cast<size_t>(last)]->GetType() & kComBlockClose) == 0)
        return StepName(last, last);
    // Back to the opening that matches this closing.
    int depth = 0;
    for (int i = last; i >= 0; --i) {
        const uint32_t type = mvRedo[static_cast<size_t>(i)]->GetType();
        depth += (type & kComBlockClose) != 0 ? 1 : 0;
        depth -= (type & kComBlockOpen) != 0 ? 1 : 0;
        if (depth == 0)
            return StepName(i, last);
    }
    return StepName(0, last);
}

const char* UndoManager_cls::GetRedoName() const
{
    const int first = miPosition;
    if (first < 0 || first >= GetCount())
        return "";
    if ((mvRedo[static_cast<size_t>(first)]->GetType() & kComBlockOpen) == 0)
        return StepName(first, first);
    int depth = 0;
    for (int i = first; i < GetCount(); ++i) {
        const uint32_t type = mvRedo[static_cast<size_t>(i)]->GetType();
        depth += (type & kComBlockOpen) != 0 ? 1 : 0;
        depth -= (type & kComBlockClose) != 0 ? 1 : 0;
        if (depth == 0)
            return StepName(first, i);
    }
    return StepName(first, GetCount() - 1);
}

void UndoManager_cls::SetClean()
{
    miCleanPosition = miPosition;
}

bool UndoManager_cls::IsClean() const
{
    return miBlockDepth == 0 && miCleanPosition == miPosition;
}

int UndoManager_cls::AddListener(Listener listener)
{
    const int id = miNextListenerId++;
    mvListener.emplace_back(id, std::move(listener));
    return id;
}

void UndoManager_cls::RemoveListener(int id)
{
    for (auto it = mvListener.begin(); it != mvListener.end(); ++it) {
        if (it->first == id) {
            mvListener.erase(it);
            return;
        }
    }
}

void UndoManager_cls::Notify(uint32_t flags)
{
    muPendingFlags |= flags;
    if (miBlockDepth > 0)
        return; // views refresh once, when the compound edit is complete
    flags = muPendingFlags;
    muPendingFlags = 0;
    // Copy: a listener may unsubscribe itself while being called.
    const auto listeners = mvListener;
    for (const auto& entry : listeners)
        if (entry.second)
            entry.second(flags);
}

UndoManager_cls& GetUndoManager()
{
    static UndoManager_cls sUndoManager;
    return sUndoManager;
}
