#pragma once
// Menu commands as data records (name, key, text, help, icon) and the user's key assignments.
// The records are the single table that the menu bar, the accelerators and the saved key
// assignments are built from; handlers are bound by command id.
#include <string>
#include <vector>

class wxMenuBar;

/// Command ids of the menu entries (wx ids from this base upward).
enum ShortcutId : int {
    kIdOpenProject = 6100,
    kIdSaveProject,
    kIdSaveProjectAs,
    kIdQuit,
    kIdOneView,
    kIdFourViews,
    kIdResetCamera,
    kIdExtraView,
    kIdToolTip,
    kIdAbout,
    kIdUndo,
    kIdRedo,
    kIdAddKey,
    kIdDeleteKeys,
    kIdCopyKeys,
    kIdPasteKeys,
    kIdPlay,
    kIdStop,
    kIdStepForward,
    kIdStepBack,
    kIdFirstFrame,
    kIdLastFrame,
    kIdUseTimeRemap,
    kIdOpenData,
    kIdAppendData,
    kIdCloseData,
    kIdExportImgSeq,
    kIdExportIsoSeq,
    kIdSnapshot,
    kIdExportSnapshot,
    kIdExportAnim,
    kIdRenderAnim,
    kIdPovSettings,
    kIdDrawingBlocks,
    kIdStereoView,
    kIdStereoSettings,
    kIdSaveViewImage,
    kIdUseCameraPath,
    kIdShowCameraPath,
    kIdPreferences,
    kIdExportParallel,
    kIdExportSlurm,
    kIdRecentFirst = 6200, ///< recent-project entries use kIdRecentFirst .. kIdRecentFirst + 9
};

class Shortcut_cls
{
  public:
    enum Kind { kNormal, kCheck, kRadio, kSeparator, kRecentSubmenu };
    /// One menu entry.
    struct Record {
        int miId;              ///< command id (ShortcutId)
        const char* mpMenu;    ///< menu title msgid ("&File")
        const char* mpName;    ///< stable name used in the saved key assignments (no blanks)
        const char* mpText;    ///< entry text msgid
        const char* mpHelp;    ///< status-bar help msgid
        const char* mpDefault; ///< default key in wx accelerator syntax ("Ctrl+Q"), "" for none
        const char* mpIcon;    ///< icon file under ICONS/, "" for none
        Kind meKind;
    };
    /// One entry of the menu model: what the menu bar is built from.
    struct MenuEntry {
        int miId = 0;
        Kind meKind = kNormal;
        std::wstring mStrLabel; ///< translated text, "\t" and the key when one is assigned
        std::wstring mStrHelp;  ///< translated help text
    };
    /// One menu of the model.
    struct Menu {
        std::wstring mStrTitle;
        std::vector<MenuEntry> mvEntries;
    };

    Shortcut_cls();

    /// The command table, in menu order.
    static const std::vector<Record>& Records();
    /// The current key of the entry `name` ("" when none or unknown).
    std::wstring GetKey(const std::string& name) const;
    /// Assigns `key` to the entry `name`. An empty key removes the key. Returns false (and changes
    /// nothing) for an unknown name, a key that is not a valid accelerator, or a key already
    /// used by another entry.
    bool SetKey(const std::string& name, const std::wstring& key);

    /// Reads the key-assignment block ("-ShortcutBegin" ... "-ShortcutEnd") of a configuration
    /// file. A missing file or block leaves the defaults. Returns the number of keys taken.
    int ReadShortcutSection(const std::string& path);
    /// Takes the assignments from the lines of a block (without the markers): "Name=Key".
    /// Lines with unknown names or invalid keys are skipped. Returns the number taken.
    int ReadShortcutLines(const std::vector<std::wstring>& lines);
    /// The command id whose current key is `key` (any spelling the toolkit accepts), 0 when no
    /// entry has it.
    int FindCommandByKey(const std::wstring& key) const;
    /// True when `key` has no modifier (Space, Left, Delete): such keys belong to an entry field
    /// that has the focus, and the arrows are not accepted as menu accelerators by GTK at all.
    static bool IsPlainKey(const std::wstring& key);

    /// The key-assignment block for the configuration file, markers included.
    std::wstring SerializeForConfigure() const;

    /// The translated menu model with the current keys. Pure data: safe to build on a worker
    /// thread while the GUI thread waits.
    std::vector<Menu> BuildMenuModel() const;
    /// Creates the menus of `model` in `bar` (GUI thread). Returns the recent-project submenu.
    static class wxMenu* SetMenuItem(wxMenuBar* bar, const std::vector<Menu>& model);

    /// True when `key` is empty or a key the toolkit accepts as an accelerator.
    static bool IsValidKey(const std::wstring& key);

  private:
    std::vector<std::wstring> mvKeys; ///< parallel to Records()
};
