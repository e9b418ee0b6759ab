#pragma once
// The rule by which a drawing block's clip box is divided into sub-boxes (an octree): how many
// levels deep, how thin a sub-box may get, and up to which density a sub-box counts as empty and
// is skipped when drawing. One rule serves every data slot's drawing block; it travels with the
// project (the division depends on the data the scene was set up for).
//
// Keys: "TreeBoxRuleDepth=" (levels, 0..kMaxDepth, default 2), "TreeBoxRuleMinVoxels=" (a box
// is not cut along an axis where a half would hold fewer voxels, 1..4096, default 4),
// "TreeBoxRuleEmptyLevel=" (0..255, default 0: only all-zero sub-boxes are skipped, which never
// changes the picture since density 0 is fully transparent in every texel format).
#include "config/ConfItemList_cls.h"

#include <cstdint>
#include <string>

class TreeBoxRule_cls
{
  public:
    /// Deepest division offered (8^5 = 32768 leaves at most).
    static constexpr uint32_t kMaxDepth = 5;
    static constexpr uint32_t kMaxMinVoxels = 4096;

    /// The default rule (2 levels, 4 voxels, empty level 0).
    TreeBoxRule_cls();
    TreeBoxRule_cls(const TreeBoxRule_cls&) = delete;
    TreeBoxRule_cls& operator=(const TreeBoxRule_cls&) = delete;

    /// Levels of division, clamped to 0..kMaxDepth.
    uint32_t GetDepth() const;
    void SetDepth(uint32_t depth);
    /// Thinnest half (voxels) a cut may leave, clamped to 1..kMaxMinVoxels.
    uint32_t GetMinVoxels() const;
    void SetMinVoxels(uint32_t voxels);
    /// Highest density of a sub-box that is still skipped as empty, 0..255.
    uint8_t GetEmptyLevel() const;
    void SetEmptyLevel(uint32_t level);
    /// A number that changes whenever a setting changes (a division made under another rule is
    /// out of date). Settings read from a file count as changes.
    uint64_t GetSerial() const { return muSerial; }

    /// The settings as configuration lines ("TreeBoxRuleDepth=2\n" ...).
    std::wstring SerializeConf() const { return mCConfList.SerializeAll(); }
    /// Takes the line when it holds one of the rule's keys.
    bool ReadStrLine(const std::wstring& line);

  private:
    ConfItemList_cls mCConfList;
    ConfItemUINT_cls muDepth;
    ConfItemUINT_cls muMinVoxels;
    ConfItemUINT_cls muEmptyLevel;
    uint64_t muSerial = 0;
};
