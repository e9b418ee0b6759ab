#pragma once
// The undoable commands that act on one key-framed parameter set. The two members of a pair are
// usually two instances of one class with opposite data. Keys are found by index, checked
// against the time the key had when the command was made, so that a command never acts on a
// different key after the list was re-sorted; a command whose set no longer lives does nothing.
#include "anim/CommandItem_cls.h"
#include "anim/KeyFrame_cls.h"
#include "anim/Parameters_cls.h"

#include <vector>

class ComParamBase_cls : public CommandItem_cls
{
  public:
    /// Commands of the set named "Color" carry the colour redraw flags.
    explicit ComParamBase_cls(Parameters_cls* param);
    /// Runs Apply on a live set, re-sorts the keys, recomputes the automatic tangents and the
    /// current values, and returns the chain flag (CheckRepeat).
    bool Execute(bool undo) override;
    /// Chain flag: on redo true when the set has a master, on undo true when it has a slave,
    /// because a master's edit records the slave's pair just before its own.
    bool CheckRepeat(bool undo) const;
    Parameters_cls* GetPParam() const { return mpParam; }

  protected:
    /// The edit itself.
    virtual void Apply(Parameters_cls& param) = 0;
    Parameters_cls* mpParam;
};

/// Sets a key at a time: overwrites the fields of a key lying exactly there, else inserts one.
class ComParamSetKey_cls : public ComParamBase_cls
{
  public:
    ComParamSetKey_cls(Parameters_cls* param, double time, const std::vector<double>& values, unsigned type,
                       const std::vector<double>& D1, const std::vector<double>& D2);

    /// Display name of the edit (msgid).
    const char* GetName() const override { return "Set Key"; }

  protected:
    void Apply(Parameters_cls& param) override;

  private:
    double mdTime;
    std::vector<double> mvValue;
    unsigned muKeyType;
    std::vector<double> mvD1;
    std::vector<double> mvD2;
};

/// Inserts a whole key at its sorted place.
class ComParamSetKeyC_cls : public ComParamBase_cls
{
  public:
    ComParamSetKeyC_cls(Parameters_cls* param, const KeyFrame_cls& key);

    /// Display name of the edit (msgid).
    const char* GetName() const override { return "Set Key"; }

  protected:
    void Apply(Parameters_cls& param) override;

  private:
    KeyFrame_cls mCKey;
};

/// Overwrites the key at an index (which had time `expectedTime`) with a whole key.
class ComParamOvwtKeyC_cls : public ComParamBase_cls
{
  public:
    ComParamOvwtKeyC_cls(Parameters_cls* param, int index, double expectedTime, const KeyFrame_cls& key);

    /// Display name of the edit (msgid).
    const char* GetName() const override { return "Set Key"; }

  protected:
    void Apply(Parameters_cls& param) override;

  private:
    int miIndex;
    double mdExpectedTime;
    KeyFrame_cls mCKey;
};

/// Deletes the key at an index (which had time `expectedTime`).
class ComParamDelKey_cls : public ComParamBase_cls
{
  public:
    ComParamDelKey_cls(Parameters_cls* param, int index, double expectedTime);

    /// Display name of the edit (msgid).
    const char* GetName() const override { return "Delete Key"; }

  protected:
    void Apply(Parameters_cls& param) override;

  private:
    int miIndex;
    double mdExpectedTime;
};

/// Moves the key at fromTime (exact, else within half the resolution) to toTime.
class ComParamMoveKey_cls : public ComParamBase_cls
{
  public:
    ComParamMoveKey_cls(Parameters_cls* param, double fromTime, double toTime, double resolution);

    /// Display name of the edit (msgid).
    const char* GetName() const override { return "Move Key"; }

  protected:
    void Apply(Parameters_cls& param) override;

  private:
    double mdFrom;
    double mdTo;
    double mdResolution;
};

/// Sets one key's interpolation type.
class ComParamSetKeyType_cls : public ComParamBase_cls
{
  public:
    ComParamSetKeyType_cls(Parameters_cls* param, int index, unsigned type);

    /// Display name of the edit (msgid).
    const char* GetName() const override { return "Set Key Type"; }

  protected:
    void Apply(Parameters_cls& param) override;

  private:
    int miIndex;
    unsigned muKeyType;
};

/// Sets several keys' interpolation types (indices and types of equal length).
class ComParamSetKeyTypeMulti_cls : public ComParamBase_cls
{
  public:
    ComParamSetKeyTypeMulti_cls(Parameters_cls* param, const std::vector<int>& indices,
                                const std::vector<unsigned>& types);
    unsigned GetNum() const { return static_cast<unsigned>(mviIndex.size()); }

    /// Display name of the edit (msgid).
    const char* GetName() const override { return "Set Key Type"; }

  protected:
    void Apply(Parameters_cls& param) override;

  private:
    std::vector<int> mviIndex;
    std::vector<unsigned> mvuType;
};

/// Removes all keys and keeps the given values as the constant value.
class ComParamClearKey_cls : public ComParamBase_cls
{
  public:
    ComParamClearKey_cls(Parameters_cls* param, const std::vector<double>& values);

    /// Display name of the edit (msgid).
    const char* GetName() const override { return "Clear Keys"; }

  protected:
    void Apply(Parameters_cls& param) override;

  private:
    std::vector<double> mvValue;
};

/// Sets the "timeDepend " flag.
class ComParamSetTimeDependent_cls : public ComParamBase_cls
{
  public:
    ComParamSetTimeDependent_cls(Parameters_cls* param, bool on);

    /// Display name of the edit (msgid).
    const char* GetName() const override { return "Time Dependence"; }

  protected:
    void Apply(Parameters_cls& param) override;

  private:
    bool mbOn;
};

/// Restores the whole set from a full copy taken when the command was made.
class ComParamMemento_cls : public ComParamBase_cls
{
  public:
    ComParamMemento_cls(Parameters_cls* param, const Parameters_cls::Snapshot& snapshot);

    /// Display name of the edit (msgid).
    const char* GetName() const override { return "Restore Parameter"; }

  protected:
    void Apply(Parameters_cls& param) override;

  private:
    Parameters_cls::Snapshot mCSnapshot;
};
