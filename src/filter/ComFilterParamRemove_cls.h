#pragma once
// Undoable structural edits of a filter chain: taking an item out and putting it back, and the
// add command of every item type. The two members of a pair share one holder, so the item that
// an undo takes out is the very object a redo puts back: its parameter sets stay the same and
// the key edits recorded for them in the history keep working.
#include "anim/CommandItem_cls.h"
#include "filter/FilterBase_cls.h"

#include <memory>
#include <string>

class FilterCtrl_cls;

class ComFilterParamRemove_cls : public CommandItem_cls
{
  public:
    /// The item while it is out of the chain, and the tag it carries.
    struct Holder {
        std::unique_ptr<FilterBase_cls> pItem;
        std::wstring strTag;
    };

    /// insert: puts the holder's item back at `position`; otherwise takes the item at
    /// `position` (checked against the holder's tag) into the holder.
    ComFilterParamRemove_cls(FilterCtrl_cls* chain, int position, std::shared_ptr<Holder> holder, bool insert);
    /// Does nothing when the chain is gone or the item is not where expected. Never chains.
    bool Execute(bool undo) override;
    /// "Remove Filter" in the Edit menu.
    const char* GetName() const override { return "Remove Filter"; }

    /// The redo/undo pair that removes item `position` of `chain`.
    static std::pair<std::unique_ptr<CommandItem_cls>, std::unique_ptr<CommandItem_cls>>
    MakeRemovePair(FilterCtrl_cls* chain, int position);

  protected:
    FilterCtrl_cls* mpChain;
    int miPosition;
    std::shared_ptr<Holder> mpHolder;
    bool mbInsert;
};

/// Adds an item of type Item: redo inserts it (created with the given settings), undo takes it
/// out again. One alias per item type names the command after it.
template <class Item> class ComFilterParamAdd_cls : public ComFilterParamRemove_cls
{
  public:
    ComFilterParamAdd_cls(FilterCtrl_cls* chain, int position, std::shared_ptr<Holder> holder, bool insert)
        : ComFilterParamRemove_cls(chain, position, std::move(holder), insert)
    {
    }
    /// "Add Filter" in the Edit menu.
    const char* GetName() const override { return "Add Filter"; }
};

class PovIsosurface_cls;
class PovFog_cls;
class BoxCopy_cls;
class FilterClipping_cls;
class PovVolume_cls;
class BlurGauss_cls;
class LevelAndGamma_cls;
class InvDiffuse_cls;
class FilterFixPosition_cls;
class DataRotate_cls;
class LayerColorCurve_cls;
class PovCrossSection_cls;
class PovObject_cls;
class FilterCenterOfMass_cls;
class PovDiffObject_cls;
class MorphOpenClose_cls;
class PovThreeView_cls;
class PovStreamLine_cls;
class PovVelField_cls;

using ComIsosurfaceParamAdd_cls = ComFilterParamAdd_cls<PovIsosurface_cls>;
using ComFogParamAdd_cls = ComFilterParamAdd_cls<PovFog_cls>;
using ComBoxCopyParamAdd_cls = ComFilterParamAdd_cls<BoxCopy_cls>;
using ComClippingParamAdd_cls = ComFilterParamAdd_cls<FilterClipping_cls>;
using ComVolumeParamAdd_cls = ComFilterParamAdd_cls<PovVolume_cls>;
using ComBlurGaussParamAdd_cls = ComFilterParamAdd_cls<BlurGauss_cls>;
using ComLevelAndGammaParamAdd_cls = ComFilterParamAdd_cls<LevelAndGamma_cls>;
using ComInvDiffuseParamAdd_cls = ComFilterParamAdd_cls<InvDiffuse_cls>;
using ComFixPositionParamAdd_cls = ComFilterParamAdd_cls<FilterFixPosition_cls>;
using ComDataRotateParamAdd_cls = ComFilterParamAdd_cls<DataRotate_cls>;
using ComLayerColorCurveParamAdd_cls = ComFilterParamAdd_cls<LayerColorCurve_cls>;
using ComCrossSectionParamAdd_cls = ComFilterParamAdd_cls<PovCrossSection_cls>;
using ComPovObjectParamAdd_cls = ComFilterParamAdd_cls<PovObject_cls>;
using ComCenterOfMassParamAdd_cls = ComFilterParamAdd_cls<FilterCenterOfMass_cls>;
using ComPovDiffObjectParamAdd_cls = ComFilterParamAdd_cls<PovDiffObject_cls>;
using ComMorphOpenCloseParamAdd_cls = ComFilterParamAdd_cls<MorphOpenClose_cls>;
using ComThreeViewParamAdd_cls = ComFilterParamAdd_cls<PovThreeView_cls>;
using ComPovStreamLineParamAdd_cls = ComFilterParamAdd_cls<PovStreamLine_cls>;
using ComPovVelFieldParamAdd_cls = ComFilterParamAdd_cls<PovVelField_cls>;
