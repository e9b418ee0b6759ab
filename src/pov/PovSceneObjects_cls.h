#pragma once
// The exported object kinds of the data slots' filter chains: each slot's volume item becomes a
// data box of media, and its isosurface, cross-section, three-view, object, difference-object,
// stream-line, velocity-field and fog items become scene text, each from the frame's data as it
// stood at the item's place in the chain. Install() connects the export driver's hooks to the
// slots, so the window and the command line export the same scene.
//
// Geometry. Every slot's data fill the box the preview draws: centred on the origin, its sides
// the active frame's aspect (longest side 1) times the "BoxSize" extent. Items are written in
// the unit cube [0,1]^3 of the data (voxel i of n at (i + 0.5) / n, as the preview draws it) and
// placed by the slot's transform SLOTPLACE_<slot>, which also mirrors z into the ray tracer's
// left-handed frame.
//
// Sections: set-up and hooks; frame preparation; data boxes; object text (isosurface,
// sections, primitives, stream lines and velocity field); fog.
#include "config/ConfItem_cls.h"
#include "pov/PovExport_cls.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

class Coloring_cls;
class DF3SeqCtrl_cls;
class FilterBase_cls;
class FilterCtrl_cls;
class Parameters_cls;
class PovCrossSection_cls;
class PovIsosurface_cls;
class PovObject_cls;
class PovStreamLine_cls;
class PovThreeView_cls;
class PovVelField_cls;
class TimeCtrl_cls;

class PovSceneObjects_cls
{
  public:
    /// slots, clock and coloring are not owned and must outlive this object; coloring may be
    /// null (white maps); boxSize is the shared "BoxSize" set (null: the unit extent).
    PovSceneObjects_cls(DF3SeqCtrl_cls* slots, TimeCtrl_cls* clock, Coloring_cls* coloring,
                        Parameters_cls* boxSize = nullptr);

    // ---- set-up and hooks --------------------------------------------------------------------
    /// Points the driver's hooks (filter kinds, frame preparation, parameter update, data boxes,
    /// objects, fog) at the slots, and hands it the colour maps.
    void Install(PovExport_cls& exporter);
    /// True when a switched-on item of `kind` exists in any slot that holds data.
    bool DoesFilterExist(int kind) const;

    // ---- frame preparation -------------------------------------------------------------------
    /// Sets the clock to `frame`, evaluates every chain at its time, reads the slots' frames of
    /// that step and runs them through their chains (always afresh, so the output items hold
    /// this frame's data). False when a slot's frame cannot be read.
    bool PrepareFrame(int frame);

    // ---- data boxes --------------------------------------------------------------------------
    /// One box per slot with data and a switched-on volume item, from the prepared frame.
    std::vector<PovExport_cls::DataBox> GetDataBoxes(int frame);
    /// The media settings of the chain's volume item in a box: emission or absorption (or
    /// both, by "VolumeDataType=") at the strength its "Alpha" gives, and "VolumeIntervals=".
    /// A chain without a volume item gives the item's defaults (the window draws such slots).
    static void ApplyVolumeItem(const FilterCtrl_cls& chain, PovExport_cls::DataBox& box);
    /// The sides of the drawing box for the current frame (see the geometry note above).
    std::array<double, 3> GetBoxExtent() const;

    // ---- object text -------------------------------------------------------------------------
    /// The declarations and union members of every output item of every slot for the prepared
    /// frame. Isosurfaces go to include files named stem + "_ISO<slot>_<item>.inc" (into the
    /// scene itself when the driver's isosurface output type is 2) and sections
    /// to density files stem + "_CS..." / "_TV..." in the working directory; bOk is false when
    /// one of them cannot be written.
    PovExport_cls::ObjectsText GetObjects(int frame, double time, const std::wstring& workDir,
                                          const std::wstring& stem);

    // ---- fog ---------------------------------------------------------------------------------
    /// The fog of every slot's volume (the switched-on fog item aimed at it, or one aimed at
    /// nothing), distance in box units scaled to the drawing box.
    std::wstring GetFog(double time) const;

    /// The transform of slot placement, declared once per scene (SLOTPLACE_<slot>).
    std::wstring GetPlaceDeclare(int slot) const;
    /// The colour of density d (0..1) under colour index `index`, scaled by the density, the
    /// way the preview tints sections and surfaces.
    void GetMapColor(float d, int index, float* rgb) const;
    /// With on, PrepareFrame releases each slot's previously prepared frame when it moves on,
    /// so a long export without a window holds one frame per slot (the window leaves releasing
    /// to its idle loop).
    void SetReleaseAfterUse(bool on) { mbReleaseAfterUse = on; }
    /// True when the last PrepareFrame read and processed every slot's frame.
    bool IsPrepared() const { return mbPrepared; }

  private:
    struct ItemName {
        int iSlot;
        int iItem;
        std::wstring Str() const;
    };
    const uint8_t* SlotVoxels(int slot, unsigned* size) const;
    std::wstring IsosurfaceText(PovIsosurface_cls& item, const ItemName& name, int colorIndex,
                                const std::wstring& workDir, const std::wstring& stem, PovExport_cls::ObjectsText& out);
    bool SectionText(const std::vector<unsigned char>& plane, const unsigned* size, int axis, double layer,
                     const std::string& df3Path, const std::wstring& df3Name, int colorIndex, double alpha, double crit,
                     std::wstring& out) const;
    std::wstring ObjectText(PovObject_cls& item, const ItemName& name) const;
    std::wstring StreamLineText(PovStreamLine_cls& item, const ItemName& name, PovExport_cls::ObjectsText& out);
    std::wstring VelFieldText(PovVelField_cls& item, const ItemName& name, PovExport_cls::ObjectsText& out);
    bool GetVelocitySlots(const int* slots, std::array<const uint8_t*, 3>& data, unsigned* size) const;
    /// The velocity components of the three slots an item names (its slot setting); false with
    /// the scene comment that says why the item (`kind` `id`) exports nothing.
    bool VelocityInput(const ConfItemINTARRAY_cls& slotItem, const wchar_t* kind, const std::wstring& id,
                       std::array<const uint8_t*, 3>& data, unsigned* size, std::wstring& comment) const;

    DF3SeqCtrl_cls* mpSlots;
    TimeCtrl_cls* mpClock;
    Coloring_cls* mpColoring;
    Parameters_cls* mpBoxSize;
    PovExport_cls* mpExporter = nullptr;            ///< the driver hooked up by Install (not owned)
    std::array<int, 4> mviPrepared{-1, -1, -1, -1}; ///< data index prepared per slot (-1: none)
    std::array<int, 4> mviLastPrepared{-1, -1, -1, -1};
    bool mbPrepared = true;
    bool mbReleaseAfterUse = false;
};
