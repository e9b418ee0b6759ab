#include "anim/CommandItem_cls.h"

#include "anim/UndoManager_cls.h"
#include "config/TessanAssert.h"

bool ComBlockOpen::Execute(bool /*undo*/)
{
    TESSAN_ASSERT(mpManager != nullptr, "SRC/ANIM/clsUndoManager");
    if (mpManager)
        mpManager->AddBlockDepth(1);
    return false;
}

bool ComBlockClose::Execute(bool /*undo*/)
{
    TESSAN_ASSERT(mpManager != nullptr, "SRC/ANIM/clsUndoManager");
    if (mpManager)
        mpManager->AddBlockDepth(-1);
    return false;
}
