#pragma once
// A key-framed parameter set: a named vector of doubles of fixed dimension whose value at any
// moment of the animation is interpolated from a sorted list of keys on normalised time 0..1.
// Queries never touch the history; every edit goes through a command pair of the undo history.
//
// Sections: class-wide settings and registry; identity and flags; queries; selection; edits;
// text form and key copy/paste; operations run by the commands (no history).
#include "anim/KeyFrame_cls.h"
#include "config/ConfItemList_cls.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

class UndoManager_cls;
class CommandItem_cls;
class LineStream_cls;

class Parameters_cls
{
  public:
    /// Everything a memento restores: keys, current values and the flags of the item list.
    struct Snapshot {
        std::vector<KeyFrame_cls> vKeys;
        std::vector<double> vCurrent;
        bool bTimeDepend = false;
        bool bVisible = true;
        bool bShow = true;
        bool bSelectable = true;
    };
    /// How MovePosSelectedKey applies a handle drag to the values.
    enum HandleKind { kHandleTranslate = 0, kHandleBox = 1, kHandleTwoPoints = 2 };

    /// A set of `dimension` values named `name` ("Color", "BoxSize", "TimeRemap", ...); the name
    /// selects the labels and defaults. Registers the set class-wide. GUI thread.
    Parameters_cls(unsigned dimension, const std::wstring& name);
    /// Full copy of keys, flags, values and labels (not the master/slave links); registers itself.
    Parameters_cls(const Parameters_cls& other);
    Parameters_cls& operator=(const Parameters_cls&) = delete;
    /// Unregisters and unlinks the master and slave.
    ~Parameters_cls();

    // ---- class-wide settings and registry -------------------------------------------------
    /// Sets the number of output frames N (and the step of the clock, kept for information);
    /// the resolution becomes 1/N, or 1.0 when N < 1.
    static void SetFrameNumber(int frameNumber, int step = 1);
    static int GetFrameNumber() { return msFrameNumber; }
    static int GetFrameStep() { return msFrameStep; }
    /// Width of one frame in normalised time (the default resolution of every query).
    static double GetResolution() { return msResolution; }
    /// Sets the current time used wherever -1.0 is passed as a time.
    static void SetCurrentDoubleIndex(double time) { msCurrentDoubleIndex = time; }
    static double GetCurrentDoubleIndex() { return msCurrentDoubleIndex; }
    /// Rounds time to the grid of n frames (n = 0: the class-wide frame number; 0.0 when both
    /// are 0): trunc((trunc(2·time·m) + 1) / 2) / m, so halves go upwards.
    static double Quantize(double time, unsigned n);
    /// Multiplies every key time of every registered set by a/b (no history, no quantisation).
    static void RemapKeyFrameAll(int a, int b);
    /// True while `p` is a live registered set (commands check before acting).
    static bool IsLive(const Parameters_cls* p);
    /// All live sets, in order of creation.
    static std::vector<Parameters_cls*> GetInstances();
    /// Moves a box (minX, minY, minZ, maxX, maxY, maxZ) by a handle: 1 whole box, 2/3 the min/max
    /// X face, 4/5 Y, 6/7 Z; then scales each axis about the centre (a flat axis growing by a
    /// scale above 1 first opens to 0.002). Null delta or scale: none.
    static void MovePosForBox(double* box, const double* delta, const double* scale, int handle);
    /// Moves the first (handle 1) or second (handle 2) point of six values by delta.
    static void MovePosForTwoPoints(double* values, const double* delta, int handle);

    // ---- identity and flags ----------------------------------------------------------------
    const std::wstring& GetName() const { return mStrName; }
    unsigned GetDimension() const { return muDimension; }
    /// Label of value i for panels and graphs (empty beyond the dimension).
    std::wstring GetLabel(unsigned i) const;
    /// Label of tangent column i.
    std::wstring GetLabelD(unsigned i) const;
    /// Curve colour of value i (red, green, blue, alpha in 0..1).
    std::array<float, 4> GetCurveColor(unsigned i) const;
    /// True when the set is animated ("timeDepend ").
    bool IsTimeDependent() const { return mbTimeDepend.Get(); }
    bool IsVisible() const { return mbVisible.Get(); }
    bool IsShow() const { return mbShow.Get(); }
    bool IsSelectable() const { return mbSelectable.Get(); }
    /// View flags; not part of the history.
    void SetVisible(bool on) { mbVisible.Set(on); }
    void SetShow(bool on) { mbShow.Set(on); }
    void SetSelectable(bool on) { mbSelectable.Set(on); }
    /// The item list ("dimension ", "timeDepend ", "visible ", "show ", "selectable ").
    ConfItemList_cls& GetConfList() { return mCConfList; }
    HandleKind GetHandleKind() const { return mHandleKind; }
    void SetHandleKind(HandleKind kind) { mHandleKind = kind; }

    /// Makes p this set's slave and this set p's master (null unlinks the old slave).
    void SetSlaveParam(Parameters_cls* p);
    /// Sets only the master link.
    void SetMasterParam(Parameters_cls* p) { mpMaster = p; }
    Parameters_cls* GetPMaster() const { return mpMaster; }
    Parameters_cls* GetPSlave() const { return mpSlave; }
    /// The history this set records into (null: the global one). Not owned.
    void SetUndoManager(UndoManager_cls* manager) { mpUndoManager = manager; }
    UndoManager_cls& GetUndo() const;

    // ---- queries (no history) ---------------------------------------------------------------
    /// Fills the current values with the value at `time` (-1.0: the current time; resolution 0:
    /// the class-wide one) and returns them.
    const double* GetPInterpolatedValue(double time = -1.0, double resolution = 0.0);
    /// The value at `time` into out[dimension] without touching the current values.
    void Evaluate(double time, double resolution, double* out) const;
    /// Value i at `time` (0 for i beyond the dimension).
    double GetPos(double time, int i) const;
    /// The current values (the result of the last interpolation, or the values being edited).
    double* GetPCurrentValue() { return mvCurrent.data(); }
    const double* GetPCurrentValue() const { return mvCurrent.data(); }
    int GetKeyNumber() const { return static_cast<int>(mvKeys.size()); }
    int GetSelectedKeyNum() const;
    /// Index of the first selected key, or -1.
    int GetSelectedKeyIndex() const;
    /// Time of key i (0 when out of range).
    double GetKeyFrameDoubleIndex(int i) const;
    /// Values, D1 and D2 of key i (null when out of range).
    const double* GetPKeyFrameValue(int i) const;
    const double* GetPKeyFrameValueD1(int i) const;
    const double* GetPKeyFrameValueD2(int i) const;
    /// Key i (null when out of range).
    const KeyFrame_cls* GetPKeyFrame(int i) const;
    const std::vector<KeyFrame_cls>& GetKeys() const { return mvKeys; }
    /// True when a key lies in [time - r/2, time + r/2).
    bool IsKeyFrame(double time, double resolution) const;
    /// Index of the last key closer than r/2 to time, else -1 (r = 0 is not replaced here).
    int CheckOverWrite(double time, double resolution) const;
    /// First key in the same-key interval; else -1, or with `nearest` the key at or before time.
    int GetKeyFrameIndexFromDouble(double time, double resolution, bool nearest) const;
    /// Index of the first key after time + r/2, or the key count.
    int GetKeyFrameIndexToInsert(double time, double resolution) const;
    /// Time of the first key after the same-key interval of time, or -1.0.
    double GetNextKeyPosDoubleIndex(double time) const;
    /// Time of the last key before the same-key interval of time, or -1.0.
    double GetPrevKeyPosDoubleIndex(double time) const;
    /// Index of the next (direction > 0) or previous (direction < 0) key around time, or -1.
    int GetAdjacentKey(double time, int direction) const;
    /// Interpolation type in force at time (0 with no keys).
    unsigned GetInterpTypeFromDouble(double time) const;
    /// Element-wise difference quotient between keys i and j (zeros when i = j or out of range).
    void CalcVelocity(int i, int j, double* out) const;
    /// Fills `key` as a new key at t: interpolated values, slope of the bracketing keys as D1.
    void SetKeyToValueAt(KeyFrame_cls& key, double t) const;

    // ---- selection (view state, no history) -------------------------------------------------
    /// Selects keys strictly within halfWidth of time (clearing others unless add); hit count.
    int SelectKeyFrame(double time, double halfWidth, bool add);
    /// Flips the keys strictly within halfWidth of time; hit count.
    int ToggleKeyFrame(double time, double halfWidth);
    /// Selects keys with t0 <= time <= t1 (either order; clearing others unless add); count.
    int SelectKeyFrameRegion(double t0, double t1, bool add);
    /// Index of the key under time (within r/2, r = 0: class-wide), or -1.
    int OnWhichKeyFrame(double time, double resolution) const;
    void SetKeySelected(int i, bool on);
    void ClearSelection();
    void SelectAll();

    // ---- edits (each one undo step; true when a command was issued) -------------------------
    /// Sets a key built from the arrays (null D1/D2: zeros) at time.
    bool ExecCommandSetKey(double time, const double* values, unsigned type, const double* D1, const double* D2);
    /// Sets the key (overwriting a key within half a resolution of its time).
    bool ExecCommandSetKey(const KeyFrame_cls& key);
    /// Sets key on this set and slaveKey (or, without a dimension, this set's own interpolated
    /// values at the key's time) on the slave. r = 0: the class-wide resolution.
    bool SetKey(const KeyFrame_cls& key, const KeyFrame_cls& slaveKey, double resolution);
    /// Keys the current values at time (-1: current time; not animated: 0) if they differ from
    /// the interpolated value there, or always with force.
    bool SetKeyIfChanged(double time, bool force);
    /// Inserts a key at time with values (null: the interpolated ones); an existing key there
    /// keeps its type, tangents and selection.
    bool InsertKey(double time, const double* values);
    bool ExecCommandDeleteKey(int index);
    bool DeleteKey(double time, double resolution);
    bool DeleteSelectedKey();
    /// Moves the key at fromTime (exact, else within r/2) to toTime.
    bool ExecCommandMoveKey(double fromTime, double toTime, double resolution);
    /// Moves key index by deltaTime, quantised to n frames (0: class-wide) and clamped to 0..1;
    /// a key at the target is overwritten. One undo step unless nested.
    bool MoveKey(int index, double deltaTime, unsigned frameNumber, bool nested);
    bool MoveTimeSelectedKey(double deltaTime);
    /// Applies a handle drag to the values of every selected key (see HandleKind).
    bool MovePosSelectedKey(const double* delta, const double* scale, int handle);
    /// Applies a handle drag to the value at time and keys the result there.
    bool MoveInterpolatedPos(double time, const double* delta, const double* scale, int handle);
    bool SetKeyType(unsigned index, unsigned type);
    bool ExecCommandSetKeyType(unsigned index, unsigned type) { return SetKeyType(index, type); }
    /// Sets the type of every selected key (the selection is copied to the slave).
    bool SetKeyTypeMulti(unsigned type);
    bool ExecCommandSetKeyTypeMulti(unsigned type) { return SetKeyTypeMulti(type); }
    bool ExecCommandOvwtKey(unsigned index, const KeyFrame_cls& key);
    bool ExecCommandTimeDependent(bool on) { return SetTimeDependent(on, false); }
    /// Switches animation on or off; keys are cleared to the current values as a constant.
    bool SetTimeDependent(bool on, bool nested);
    bool ExecCommandInitSet(const double* values) { return InitSet(values); }
    /// Sets the constant value of a set that is not animated (animated: keys it at the current time).
    bool InitSet(const double* values);
    /// Moves every key with a non-zero time to time·factor. One undo step unless nested.
    bool RemapKeys(double factor, bool nested = false);
    /// Multiplies every key time by a/b directly (no history).
    void RemapKeyFrame(int a, int b);
    /// Full copy of p's keys, flags and values (no history; dimension stays this set's).
    void CopyFromP(const Parameters_cls* p);
    /// Copy of p's keys, flags and values; with undoable as one undo step.
    bool CopyParameterFromP(const Parameters_cls* p, bool undoable);

    // ---- text form ---------------------------------------------------------------------------
    /// "Parameter_" + name, the item lines, "itemnum " + count, one line per key.
    std::wstring Serialize() const;
    /// Reads the text form when firstLine is "Parameter_" + this set's name; the set is replaced
    /// without history. A foreign line ends the text early and is handed back to the stream.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& firstLine);
    /// The selected keys as text for the clipboard (empty when none is selected).
    std::wstring CopyKeyFrameToClipBoard() const;
    /// Sets the keys of clipboard text so that the first lands at time (-1: current time); one
    /// undo step. False (nothing changed) for foreign text or another dimension.
    bool PasteKeyFrameFromClipBoard(const std::wstring& text, double time = -1.0);

    // ---- operations run by the commands (no history; keys re-sorted by the command) --------
    void ProcInsertKey(const KeyFrame_cls& key);
    void ProcOverwriteKey(int index, const KeyFrame_cls& key);
    void ProcDeleteKey(int index);
    void ProcSetKeyTime(int index, double time);
    void ProcSetKeyType(int index, unsigned type);
    /// Keys replaced by one key at time 0 holding values (the constant value).
    void ProcClearKey(const std::vector<double>& values);
    void ProcSetTimeDependent(bool on) { mbTimeDepend.Set(on); }
    Snapshot TakeSnapshot() const;
    void RestoreSnapshot(const Snapshot& snapshot);
    /// Index of the key whose time is exactly `time`, preferring `hint`; -1 when none.
    int FindKey(int hint, double time) const;
    /// Re-sorts the slave's keys, then this set's (stable for equal times).
    void SortKey();
    /// Recomputes the automatic tangents of "HERMITE (AUTO)" and "(SEMIAUTO)" keys.
    void AdjustAutoControl();
    /// Re-evaluates the current values at the current time.
    void RefreshCurrent();

  private:
    friend class SlaveDrive_cls;
    void Issue(std::unique_ptr<CommandItem_cls> redo, std::unique_ptr<CommandItem_cls> undo);
    bool NeedsOwnBlock() const;
    bool SetKeyTypeImpl(unsigned index, unsigned type, bool force);
    bool SetKeyTypeMultiImpl(unsigned type, bool force);
    bool MoveKeyImpl(int index, double deltaTime, unsigned frameNumber);
    bool DeleteKeyImpl(int index);
    void InitLabels();

    std::wstring mStrName;
    unsigned muDimension = 0;
    ConfItemList_cls mCConfList;
    ConfItemINT_cls miDimensionItem;
    ConfItemBOOL_cls mbTimeDepend;
    ConfItemBOOL_cls mbVisible;
    ConfItemBOOL_cls mbShow;
    ConfItemBOOL_cls mbSelectable;
    Parameters_cls* mpMaster = nullptr;
    Parameters_cls* mpSlave = nullptr;
    std::vector<double> mvCurrent;
    std::vector<KeyFrame_cls> mvKeys;
    std::vector<std::wstring> mvStrLabel;
    std::vector<std::wstring> mvStrLabelD;
    std::vector<std::array<float, 4>> mvColor;
    HandleKind mHandleKind = kHandleTranslate;
    UndoManager_cls* mpUndoManager = nullptr;
    int miDrivenByMaster = 0; ///< > 0 while the master is applying its own edit to this set

    static std::vector<Parameters_cls*> mspVPInstancePrim;
    static int msFrameNumber;
    static int msFrameStep;
    static double msResolution;
    static double msCurrentDoubleIndex;
};
