#pragma once
// Undoable edits of the light list: taking a light out and putting it back. The two members of
// a pair share one holder, so the light an undo takes out is the very set a redo puts back and
// the key edits recorded for it in the history keep working.
#include "anim/CommandItem_cls.h"

#include <memory>

class LightSRC_cls;
class Parameters_cls;

class ComLightParamRemove_cls : public CommandItem_cls
{
  public:
    /// The light while it is out of the list.
    struct Holder {
        std::unique_ptr<Parameters_cls> pParam;
        unsigned uKind = 0;
        ~Holder();
    };

    /// insert: puts the holder's light in at `index`; otherwise takes light `index` into it.
    ComLightParamRemove_cls(LightSRC_cls* lights, int index, std::shared_ptr<Holder> holder, bool insert);
    /// Does nothing when the list is gone or the light is not there. Never chains.
    bool Execute(bool undo) override;
    /// "Remove Light" in the Edit menu.
    const char* GetName() const override { return "Remove Light"; }

  protected:
    LightSRC_cls* mpLights;
    int miIndex;
    std::shared_ptr<Holder> mpHolder;
    bool mbInsert;
};

/// Adding a light: the same pair in the other order, named for the Edit menu.
class ComLightParamAdd_cls : public ComLightParamRemove_cls
{
  public:
    using ComLightParamRemove_cls::ComLightParamRemove_cls;
    /// "Add Light" in the Edit menu.
    const char* GetName() const override { return "Add Light"; }
};
