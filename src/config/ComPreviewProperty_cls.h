#pragma once
// Undoable change of preview settings: configuration lines ("PreviewAbsorption=0.5") read into
// the preview property. The redo member holds the new lines, the undo member the old ones.
#include "anim/CommandItem_cls.h"

#include <string>

class PreviewProperty_cls;

class ComPreviewProperty_cls : public CommandItem_cls
{
  public:
    /// preview: not owned (the process-wide settings outlive the history); lines: "key=value\n"...
    ComPreviewProperty_cls(PreviewProperty_cls* preview, std::wstring lines)
        : mpPreview(preview), mStrLines(std::move(lines))
    {
    }
    /// Reads the lines into the settings and tells the settings' listener; never chains.
    bool Execute(bool undo) override;
    /// "Preview Setting" in the Edit menu.
    const char* GetName() const override { return "Preview Setting"; }

  private:
    PreviewProperty_cls* mpPreview;
    std::wstring mStrLines;
};
