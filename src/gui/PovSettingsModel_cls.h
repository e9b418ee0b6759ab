#pragma once
// What the ray-tracer settings dialog edits, without any widget: every configuration item of
// PovRay_cls and its groups in the order the dialog shows them, how each is presented (check
// box, choice or text field, expert or not), the check of a typed value against the item's type,
// and the undoable change of all settings at once. Kept apart from the dialog so that the rules
// can be tested without a display.
#include "anim/CommandItem_cls.h"

#include <map>
#include <string>
#include <vector>

class ConfItem_cls;
class PovRay_cls;

class PovSettingsModel_cls
{
  public:
    /// How an item is edited.
    enum Kind { kText, kCheck, kChoice };
    /// One setting as the dialog shows it.
    struct Field {
        ConfItem_cls* pItem = nullptr;
        std::wstring strKey;   ///< the configuration key ("PovImageWidth=")
        std::wstring strLabel; ///< the label shown beside the control
        Kind eKind = kText;
        std::vector<std::wstring> vChoices; ///< kChoice: the texts of the values 0, 1, ...
        bool bExpert = false;               ///< shown only with "PovShowTweaks=" on
    };
    /// One titled group of settings.
    struct Group {
        std::wstring strTitle;
        std::vector<Field> vFields;
    };

    /// pov: the settings edited (not owned; outlives the model).
    explicit PovSettingsModel_cls(PovRay_cls* pov);

    /// The groups in dialog order: files, rendering, image, radiosity and photons, camera and
    /// background. Every item of the settings appears exactly once.
    const std::vector<Group>& GetGroups() const { return mvGroups; }
    /// The field of `key`, or null.
    const Field* FindField(const std::wstring& key) const;

    /// True when `text` is a valid value of `item` (whole-text numbers of the item's type, an
    /// unsigned value not negative, arrays with the item's number of parts, "0"/"1" for flags);
    /// `normalised` receives the value as the item would write it back.
    static bool CheckValue(const ConfItem_cls* item, const std::wstring& text, std::wstring* normalised);

    /// Applies the edited values (key -> text) as one undoable step ("Ray-tracer Settings")
    /// through the global history. Keys not given keep their values. Returns 1 when something
    /// changed, 0 when nothing did, and -1 (changing nothing) when a value is invalid; then
    /// `badKey` names the first invalid one in dialog order.
    int Apply(const std::map<std::wstring, std::wstring>& values, std::wstring* badKey);

  private:
    PovRay_cls* mpPov;
    std::vector<Group> mvGroups;
};

/// Undoable change of the ray-tracer settings: the settings' lines before and after the edit.
class ComPovSettings_cls : public CommandItem_cls
{
  public:
    ComPovSettings_cls(PovRay_cls* pov, std::wstring lines) : mpPov(pov), mStrLines(std::move(lines)) {}
    /// Reads the lines back into the settings; never chains.
    bool Execute(bool undo) override;
    const char* GetName() const override { return "Ray-tracer Settings"; }

  private:
    PovRay_cls* mpPov;
    std::wstring mStrLines;
};
