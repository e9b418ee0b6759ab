#pragma once
// The part of a data slot's volume that is drawn (and copied by the box-copy export): one clip
// box given as fractions 0..1 of the volume per axis, optionally divided as an octree so that
// sub-boxes holding no density at all are skipped when drawing.
//
// The division follows the block-tree rule (TreeBoxRule_cls, linked once for all blocks): the
// clip box is cut into 2 x 2 x 2 children, each child again, down to the rule's depth or until a
// child would be thinner than the rule's minimum along an axis (then that axis is not cut
// further). A leaf is visible when any voxel inside it is above the rule's empty level: with the
// default level 0 skipping changes nothing in the picture (density 0 gives alpha 0 in every texel
// format). Leaves of one level are of equal size, so ordering them by the distance of their
// centres along the view normal is a correct back-to-front order for compositing.
//
// Sections: settings and text form; octree; boxes for drawing and copying.
#include "config/ConfItemList_cls.h"
#include "pov/Camera_cls.h"
#include "volume/TreeBoxRule_cls.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

class DrawingBlock_cls
{
  public:
    /// A box as clip fractions 0..1 per axis (min <= max).
    struct Box {
        std::array<double, 3> mvMin{0.0, 0.0, 0.0};
        std::array<double, 3> mvMax{1.0, 1.0, 1.0};
        bool operator==(const Box&) const = default;
    };
    /// The rule every block divides by (not owned; null: a built-in default rule). Set once at
    /// start-up, GUI thread.
    static void SetTreeBoxRule(const TreeBoxRule_cls* rule) { mspTreeBoxRule = rule; }
    /// The rule in use.
    static const TreeBoxRule_cls& GetTreeBoxRule();

    /// The whole volume, no octree. Keys: "DrawingBoxUse8TRee=", "DrawingBoxUse8TReeForCopy=",
    /// "DrawingBoxMinX=" ... "DrawingBoxMaxZ=".
    DrawingBlock_cls();
    DrawingBlock_cls(const DrawingBlock_cls&) = delete;
    DrawingBlock_cls& operator=(const DrawingBlock_cls&) = delete;

    // --- settings and text form ---------------------------------------------------------------
    /// Whether drawing uses the octree (empty sub-boxes skipped).
    bool IsUse8Tree() const { return mbUse8Tree.Get(); }
    void SetUse8Tree(bool on);
    /// Whether the box-copy export copies the visible sub-boxes instead of the whole box.
    bool IsUse8TreeForCopy() const { return mbUse8TreeForCopy.Get(); }
    void SetUse8TreeForCopy(bool on) { mbUse8TreeForCopy.Set(on); }
    /// The clip box as read from the items, made valid: each value clamped to 0..1, and a
    /// minimum above its maximum swapped with it.
    Box GetBox() const;
    /// Sets the clip box (made valid as GetBox does). Drops the octree.
    void SetBox(const Box& box);
    /// The settings as configuration lines.
    std::wstring SerializeConf() const { return mCConfList.SerializeAll(); }
    /// Takes a line when it holds one of the keys; the octree is dropped when the box changes.
    bool ReadStrLine(const std::wstring& line);
    ConfItemList_cls& GetConfList() { return mCConfList; }

    // --- octree -------------------------------------------------------------------------------
    /// Divides the clip box for the voxels `voxels` (x fastest, size[0..2]) and keeps the visible
    /// leaves. `key` names the contents (e.g. a frame and its texture serial) so that the
    /// division is made once per contents (IsChildsValidFor). Leaves are checked on `threads`
    /// workers. Any thread, but not at the same time as drawing from this block.
    void MakeChilds(const uint8_t* voxels, const uint32_t size[3], uint64_t key, int threads);
    /// True when MakeChilds ran for `key` and neither the box nor the rule changed since.
    bool IsChildsValidFor(uint64_t key) const;
    /// Drops the division (the next drawing makes it again).
    void ClearChilds() { mbChildsValid = false; }
    /// The leaves of the division of `box` (visible or not) under the rule in use, in no
    /// particular order.
    static std::vector<Box> SplitBox(const Box& box, const uint32_t size[3]);
    /// The same for an explicit depth and thinnest half (voxels, at least 1).
    static std::vector<Box> SplitBox(const Box& box, const uint32_t size[3], uint32_t depth, uint32_t minVoxels);
    /// True when a voxel inside the box (voxel ranges floor(N*min) .. floor(N*max)-1) is above
    /// `emptyLevel`.
    static bool CheckVis(const uint8_t* voxels, const uint32_t size[3], const Box& box, uint8_t emptyLevel = 0);
    /// Number of leaves the division made and of those found visible.
    size_t GetLeafCount() const { return muLeafCount; }
    size_t GetVisibleCount() const { return mvVisible.size(); }

    // --- boxes for drawing and copying ----------------------------------------------------------
    /// The boxes to draw, farthest first along `viewNormal` (object coordinates of the unit cube,
    /// pointing away from the viewer): the visible leaves when the octree is in use and made,
    /// else the clip box alone.
    std::vector<Box> GetDrawBoxes(const Vec3d& viewNormal) const;
    /// The boxes the box-copy export copies: the visible leaves with "DrawingBoxUse8TReeForCopy="
    /// set and the octree made, else the clip box.
    std::vector<Box> GetCopyBoxes() const;

  private:
    ConfItemList_cls mCConfList;
    ConfItemBOOL_cls mbUse8Tree;
    ConfItemBOOL_cls mbUse8TreeForCopy;
    std::array<ConfItemFLOAT_cls, 3> mvfMin;
    std::array<ConfItemFLOAT_cls, 3> mvfMax;
    std::vector<Box> mvVisible;
    size_t muLeafCount = 0;
    uint64_t muChildsKey = 0;
    const TreeBoxRule_cls* mpChildsRule = nullptr;
    uint64_t muChildsRuleSerial = 0;
    bool mbChildsValid = false;
    static const TreeBoxRule_cls* mspTreeBoxRule;
};
