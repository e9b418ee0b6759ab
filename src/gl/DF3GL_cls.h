#pragma once
// The drawing companion of one data slot: makes the OpenGL texture jobs of the slot's frames
// (TexObjectGL_cls, through the factory the window installs in DF3SeqCtrl_cls), holds the slot's
// colour choice and drawing block, and draws the slot's current frame as a stack of blended,
// textured slices, far side first:
//   - 2D lattice: per-axis stacks of 2D textures, the axis most nearly along the view;
//   - 3D lattice: the same slices cut from one 3D texture (Draw3DTexBoxB_cls);
//   - 3D camera-facing: planes normal to the view cut with the box (Draw3DTexBoxA_cls).
// Every slice is one colour pass, preceded by an absorption pass (reverse-subtract blending
// toward the complement colour) when "PreviewShading=" is 1 and the absorption factor is not 0.
// The volume is the unit cube shifted by -0.5, scaled by the data's aspect and SetBoxScale.
//
// Everything here runs on the thread that owns the GL context, with the context current.
//
// Sections: set-up and factory; colours; texture jobs of the current frame; drawing; counters.
#include "gl/DrawingBlock_cls.h"
#include "volume/DF3SeqCtrl_cls.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

class Coloring_cls;
class TexPropertyCtrl_cls;
class ColorTable_cls;
class DF3_cls;
class DF3Sequence_cls;
class Preference_cls;
class TexObjectGL_cls;
class TexObjectJobs_cls;
class UserPrompt_cls;

class DF3GL_cls
{
  public:
    /// DrawData's axis argument: choose the axis from the view.
    static constexpr int kAxisAuto = -1;
    /// DrawData flags.
    enum DrawFlags : unsigned {
        kDrawWholeBox = 1u,    ///< ignore the octree of the drawing block
        kDrawNoAbsorption = 2u ///< colour passes only, whatever "PreviewShading=" says
    };
    /// What the drawing emitted since the last ResetDrawCounters (tests and the status line).
    struct DrawCounters {
        unsigned long muAbsorptionPasses = 0; ///< slices drawn with the absorption pass
        unsigned long muColourPasses = 0;     ///< slices drawn with the colour pass
    };

    // --- set-up and factory -------------------------------------------------------------------
    /// sequence: the slot this object draws (not owned; must outlive it). GUI thread.
    explicit DF3GL_cls(DF3Sequence_cls* sequence);
    DF3GL_cls(const DF3GL_cls&) = delete;
    DF3GL_cls& operator=(const DF3GL_cls&) = delete;
    /// Once before use: where messages go (null: GetUserPrompt()), the data-slot controller (for
    /// the down-size layer steps and colour planes; may be null), the preferences for the worker
    /// count (null: GetPreference()) and the colour maps (null: a private plain set). Not owned.
    static void InitializeStaticMembers(UserPrompt_cls* parent, DF3SeqCtrl_cls* ctrl, Preference_cls* preference,
                                        Coloring_cls* coloring);
    /// The factory to install with DF3SeqCtrl_cls::SetTexJobsFactory: frames of the sequence of
    /// companions[slot] get OpenGL jobs from it; frames of other sequences get headless jobs.
    static DF3SeqCtrl_cls::TexJobsFactory
    MakeTexJobsFactory(std::array<DF3GL_cls*, DF3SeqCtrl_cls::kSlotCount> companions);
    /// OpenGL texture jobs for one frame of this slot.
    std::unique_ptr<TexObjectJobs_cls> CreateTexJobs(DF3_cls& frame);
    DF3Sequence_cls* GetSequence() const { return mpSequence; }
    /// The colour maps in use (the installed ones or the private plain set).
    static const Coloring_cls& GetColoring();
    /// The per-slot colour and alpha factors of the volume boxes (not owned; null: all 1). GUI
    /// thread, once at start-up.
    static void SetTexProperty(const TexPropertyCtrl_cls* texProperty) { mspTexProperty = texProperty; }
    /// Texture filter of "PreviewTexFilter=": GL_LINEAR for 1, else GL_NEAREST.
    static int GetGLTexFilter();
    /// Worker count for colour baking ("ThreadNumFilter=").
    int GetThreadNum() const;

    // --- colours ------------------------------------------------------------------------------
    /// Colour index of the slot (0/-1 white, 1..9 palettes, 10+ custom maps) and data layer.
    /// With baked colours (RGBA) the textures must be rebuilt afterwards (RequestTextureRebuild).
    void SetColorIndex(int index) { miColorIndex = index; }
    int GetColorIndex() const { return miColorIndex; }
    void SetColorLayer(int layer) { miColorLayer = layer; }
    int GetColorLayer() const { return miColorLayer; }
    /// Slot whose frames give the colour of this slot's texels (-1: the density itself). Used
    /// only when that slot's frame at the same index is loaded and of the same size.
    void SetColourPlaneSlot(int slot) { miColourPlaneSlot = slot; }
    int GetColourPlaneSlot() const { return miColourPlaneSlot; }
    /// The frame giving the colour plane for `frame`, or null (same plane).
    const DF3_cls* GetColourPlaneFrame(const DF3_cls& frame) const;
    /// Fills the 256-entry table of baked colours for this slot's colour index and layer.
    void BuildColourTable(ColorTable_cls& table) const;
    /// The slice colour (times "PreviewLuminanceFactor=" and the slot's colour factor) and its complement at the same
    /// brightness; the complement stays 0 for black. RGBA textures carry their colour, so
    /// their slice colour is white times the luminance factor.
    void GetCurrentColour(float colour[3], float complement[3]) const;
    /// Alpha of the colour pass, times the slot's box alpha factor: the layer's alpha factor for ALPHA and
    /// LUMINANCE_ALPHA textures, 1 for RGBA (the table holds it).
    float GetSliceAlpha() const;
    /// Marks every frame holding textures dirty, so the idle loop deletes and makes them again
    /// (after a texel-format, colour-map or colour-plane change).
    void RequestTextureRebuild();

    // --- texture jobs of the current frame ------------------------------------------------------
    /// The GL texture jobs of the frame the clock shows (null when none or headless).
    TexObjectGL_cls* GetCurrentTexObject() const;
    /// Generates the current frame's textures (one step, or all with full); with force the
    /// textures are deleted first. False on failure.
    bool GenerateTexObjects(bool full, bool force);
    /// Fills the current frame's textures (one step, or all with full).
    bool BindTexObjects(bool full);
    /// Deletes the current frame's textures (one step, or all with full).
    bool DeleteTexObjects(bool full, bool isCurrent);
    /// Bind progress of the current frame, percent (0 without textures).
    int GetTextureBindPercent() const;
    /// Texture memory of all frames of the slot, kilobytes.
    uint32_t GetAllocatedTextureKB() const;
    /// The slot's drawing box and octree ("DrawingBox..." keys).
    DrawingBlock_cls& GetDrawingBlock() { return mCDrawingBlock; }

    // --- drawing ------------------------------------------------------------------------------
    /// Draws the current frame in the boxes of the drawing block, with the projection and
    /// modelview the caller loaded (world: the unit cube centred on the origin). axis: 0..2 forces
    /// the lattice axis, kAxisAuto chooses the one most nearly along the view. While the current
    /// frame's textures are still being filled, the frame drawn last stays on the screen (when
    /// its textures are still complete). False when there was nothing to draw.
    bool DrawData(unsigned flags = 0, int axis = kAxisAuto);
    /// Whether the last DrawData drew the current frame (false: nothing, or the frame before).
    bool DrewCurrentFrame() const { return mbDrewCurrent; }
    /// The texture jobs the drawing uses now: the current frame's, or while DrawData keeps the
    /// frame before on the screen, that frame's.
    const TexObjectGL_cls* GetDrawTexObject() const;
    /// Draws the current frame clipped to [clipMin, clipMax] (fractions 0..1 per axis).
    bool DrawData(const std::array<double, 3>& clipMin, const std::array<double, 3>& clipMax, int axis = kAxisAuto,
                  unsigned flags = 0);
    /// Saves the GL state the drawing changes and sets blending without depth writes, texture
    /// modulation and no lighting; pushes the modelview matrix.
    static void DrawDataInitSetting();
    /// Restores what DrawDataInitSetting saved.
    static void DrawDataEndSetting();
    /// Blend function of the colour pass by "PreviewType=": 0 source alpha / one minus source
    /// alpha, 1 source alpha / one (adding).
    static void SetBlendFunction();
    /// Overall scale of the box (the shared "BoxSize" parameters), multiplied with each frame's
    /// own aspect (its sizes divided by the largest). Default 1, 1, 1.
    static void SetBoxScale(double x, double y, double z);
    static const std::array<double, 3>& GetBoxScale() { return msBoxScale; }
    /// Lattice slices across `axis` from 2D textures, farthest first (fromLow: the low end is
    /// far), in the box [clipMin, clipMax]; every DownSizeLayer-th slice. Returns slices drawn.
    int DrawSlice(int axis, bool fromLow, const double clipMin[3], const double clipMax[3], float alpha,
                  unsigned flags = 0);
    /// One lattice slice: its 2D texture on a quad at depth (slice + 0.5) / N spanning the
    /// fractions s0..s1, t0..t1 of the other two axes, texture coordinates equal to them.
    void DrawSlice2D(int axis, int slice, double s0, double s1, double t0, double t1, const float colour[3],
                     const float complement[3], float alpha, unsigned flags = 0);
    /// The passes of one slice around `geometry` (which emits the vertices): the absorption pass
    /// when shading is on and the absorption factor is not 0, then the colour pass.
    static void DrawPasses(const std::function<void()>& geometry, const float colour[3], const float complement[3],
                           float alpha, unsigned flags = 0);
    /// Whether reverse-subtract blending is available (GL 1.4, or the imaging/blend-subtract
    /// extensions). Without it the absorption pass is skipped.
    static bool IsBlendEquationAvailable();
    /// The view normal of the current modelview matrix in object coordinates (unit length,
    /// pointing away from the viewer).
    static Vec3d CurrentViewNormal();

    // --- counters -----------------------------------------------------------------------------
    static const DrawCounters& GetDrawCounters() { return msCounters; }
    static void ResetDrawCounters() { msCounters = DrawCounters{}; }

  private:
    bool DrawBox(const TexObjectGL_cls& tex, const DF3_cls& frame, const std::array<double, 3>& clipMin,
                 const std::array<double, 3>& clipMax, int axis, unsigned flags, const Vec3d& normal);
    int GetLayerStep(int axis) const;

    DF3Sequence_cls* mpSequence;
    // The frame drawn last (index and its texture jobs, compared before use: the frame may be
    // gone), and the jobs standing in for the current frame during one DrawData.
    int miShownIndex = -1;
    const TexObjectGL_cls* mpShownTex = nullptr;
    const TexObjectGL_cls* mpDrawTex = nullptr;
    bool mbDrewCurrent = false;
    int miColorIndex = 0;
    int miColorLayer = 0;
    int miColourPlaneSlot = -1;
    DrawingBlock_cls mCDrawingBlock;

    static UserPrompt_cls* msPrompt;
    static DF3SeqCtrl_cls* msCtrl;
    static Preference_cls* msPreference;
    static Coloring_cls* msColoring;
    static const TexPropertyCtrl_cls* mspTexProperty;
    static std::array<double, 3> msBoxScale;
    static DrawCounters msCounters;
};
