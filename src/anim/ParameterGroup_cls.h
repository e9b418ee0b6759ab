#pragma once
// A fixed group of key-framed parameter sets that belong together and travel as one block in
// project text: the hot-spot sets, the main controller's animated sets. The owner decides the
// members at construction; reading a group fills the members it knows by name and skips the
// sets it does not know (files from other versions).
#include "anim/Parameters_cls.h"

#include <memory>
#include <string>
#include <vector>

class LineStream_cls;

class ParameterGroup_cls
{
  public:
    /// An empty group called `name` (one word; it names the block).
    explicit ParameterGroup_cls(const std::wstring& name);
    ParameterGroup_cls(const ParameterGroup_cls&) = delete;
    ParameterGroup_cls& operator=(const ParameterGroup_cls&) = delete;

    const std::wstring& GetName() const { return mStrName; }
    /// Adds a member set of `dimension` values named `setName` holding the constant `values`
    /// (dimension values; null: zeros). Member names must be unique. Returns the set.
    Parameters_cls& AddMember(unsigned dimension, const std::wstring& setName, const double* values);
    int GetMemberNumber() const { return static_cast<int>(mvpMember.size()); }
    /// Member i (null when out of range).
    Parameters_cls* GetPMember(int i) const;
    /// The member named `setName`, or null.
    Parameters_cls* Find(const std::wstring& setName) const;
    /// Every member back to the constant it was created with (no history; used before a
    /// project is read).
    void ResetToInitial();

    /// "--ParameterGroup:" + name, "ParameterGroupMembers=<n>", every member's text,
    /// "--ParameterGroupEnd".
    std::wstring Serialize() const;
    /// Reads the block when `firstLine` opens this group's block; true then.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& firstLine);

  private:
    std::wstring mStrName;
    std::vector<std::unique_ptr<Parameters_cls>> mvpMember;
    std::vector<std::vector<double>> mvInitial;
};
