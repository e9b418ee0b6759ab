#include "gl/DF3GL_cls.h"

#include "color/ColorTable_cls.h"
#include "color/Coloring_cls.h"
#include "config/Preference_cls.h"
#include "config/PreviewProperty_cls.h"
#include "config/TexPropertyCtrl_cls.h"
#include "gl/Draw3DTexBoxA_cls.h"
#include "gl/Draw3DTexBoxB_cls.h"
#include "gl/SliceGeometry_cls.h"
#include "gl/TexObjectGL_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"

#define GL_GLEXT_PROTOTYPES 1
#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

UserPrompt_cls* DF3GL_cls::msPrompt = nullptr;
DF3SeqCtrl_cls* DF3GL_cls::msCtrl = nullptr;
const TexPropertyCtrl_cls* DF3GL_cls::mspTexProperty = nullptr;
Preference_cls* DF3GL_cls::msPreference = nullptr;
Coloring_cls* DF3GL_cls::msColoring = nullptr;
std::array<double, 3> DF3GL_cls::msBoxScale{1.0, 1.0, 1.0};
DF3GL_cls::DrawCounters DF3GL_cls::msCounters;

// --- set-up and factory -------------------------------------------------------------------------

DF3GL_cls::DF3GL_cls(DF3Sequence_cls* sequence) : mpSequence(sequence)
{
}

void DF3GL_cls::InitializeStaticMembers(UserPrompt_cls* parent, DF3SeqCtrl_cls* ctrl, Preference_cls* preference,
                                        Coloring_cls* coloring)
{
    msPrompt = parent;
    msCtrl = ctrl;
    msPreference = preference;
    msColoring = coloring;
}

DF3SeqCtrl_cls::TexJobsFactory
DF3GL_cls::MakeTexJobsFactory(std::array<DF3GL_cls*, DF3SeqCtrl_cls::kSlotCount> companions)
{
    return [companions](DF3_cls& frame) -> std::unique_ptr<TexObjectJobs_cls> {
        const DF3Sequence_cls* owner = frame.GetOwner();
        if (!owner)
            return nullptr;
        const int slot = owner->GetSlot();
        if (slot < 0 || slot >= DF3SeqCtrl_cls::kSlotCount)
            return nullptr;
        DF3GL_cls* companion = companions[static_cast<size_t>(slot)];
        // A frame of a sequence this set does not draw stays headless (the controller's default).
        if (!companion || companion->GetSequence() != owner)
            return nullptr;
        return companion->CreateTexJobs(frame);
    };
}

std::unique_ptr<TexObjectJobs_cls> DF3GL_cls::CreateTexJobs(DF3_cls& /*frame*/)
{
    return std::make_unique<TexObjectGL_cls>(this);
}

const Coloring_cls& DF3GL_cls::GetColoring()
{
    if (msColoring)
        return *msColoring;
    static const Coloring_cls plain;
    return plain;
}

int DF3GL_cls::GetGLTexFilter()
{
    return GetPreviewProperty().IsTexFilterLinear() ? GL_LINEAR : GL_NEAREST;
}

int DF3GL_cls::GetThreadNum() const
{
    const Preference_cls& pref = msPreference ? *msPreference : GetPreference();
    return std::clamp(pref.GetThreadNumFilter(), 1, 16);
}

// --- colours ------------------------------------------------------------------------------------

const DF3_cls* DF3GL_cls::GetColourPlaneFrame(const DF3_cls& frame) const
{
    if (miColourPlaneSlot < 0 || miColourPlaneSlot >= DF3SeqCtrl_cls::kSlotCount || !msCtrl)
        return nullptr;
    const DF3Sequence_cls& seq = msCtrl->GetSequence(miColourPlaneSlot);
    if (&seq == mpSequence || seq.GetFrameCount() == 0)
        return nullptr;
    const int index = std::clamp<int>(frame.GetSelfIndex(), 0, seq.GetLastIndex());
    const DF3_cls* plane = seq.GetDF3(index);
    if (!plane || !plane->IsAllocated() || !plane->GetReadFinishedFlag())
        return nullptr;
    for (int a = 0; a < 3; ++a)
        if (plane->GetCurrSize(a) != frame.GetCurrSize(a))
            return nullptr;
    return plane;
}

void DF3GL_cls::BuildColourTable(ColorTable_cls& table) const
{
    table.Build(GetColoring(), miColorIndex, miColorLayer, true);
}

void DF3GL_cls::GetCurrentColour(float colour[3], float complement[3]) const
{
    const PreviewProperty_cls& preview = GetPreviewProperty();
    float base[3] = {1.0f, 1.0f, 1.0f};
    if (preview.GetTextureType() != PreviewProperty_cls::kTexRGBA)
        GetColoring().CopyRGB(base, miColorLayer, miColorIndex);
    const float lum = preview.GetLuminanceFactor();
    const int slot = mpSequence->GetSlot();
    std::array<float, 3> c{}, comp{0.0f, 0.0f, 0.0f};
    // The box's colour factor tints the slice before the complement is taken, so the
    // absorption pass darkens toward the complement of what is actually drawn.
    for (int i = 0; i < 3; ++i)
        c[i] = base[i] * lum * (mspTexProperty != nullptr ? mspTexProperty->GetColorFactor(slot, i) : 1.0f);
    SliceGeometry_cls::ComplementColour(c, comp);
    for (int i = 0; i < 3; ++i) {
        colour[i] = c[i];
        complement[i] = comp[i];
    }
}

float DF3GL_cls::GetSliceAlpha() const
{
    const float box = mspTexProperty != nullptr ? mspTexProperty->GetAlphaFactor(mpSequence->GetSlot()) : 1.0f;
    if (GetPreviewProperty().GetTextureType() == PreviewProperty_cls::kTexRGBA)
        return box;
    return GetColoring().GetAlphaFactor(miColorLayer, miColorIndex) * box;
}

void DF3GL_cls::RequestTextureRebuild()
{
    for (int i = 0; i < mpSequence->GetFrameCount(); ++i) {
        TexObjectJobs_cls* jobs = mpSequence->GetTexJobs(i);
        if (jobs && jobs->HasTexObjects())
            mpSequence->GetDF3(i)->SetDirty();
    }
    mCDrawingBlock.ClearChilds();
}

// --- texture jobs of the current frame ------------------------------------------------------------

TexObjectGL_cls* DF3GL_cls::GetCurrentTexObject() const
{
    if (mpSequence->GetFrameCount() == 0)
        return nullptr;
    return dynamic_cast<TexObjectGL_cls*>(mpSequence->GetTexJobs(mpSequence->GetRemappedIndex(-1)));
}

bool DF3GL_cls::GenerateTexObjects(bool full, bool force)
{
    TexObjectGL_cls* tex = GetCurrentTexObject();
    DF3_cls* frame = mpSequence->GetCurrentDF3();
    if (!tex || !frame)
        return false;
    if (force && tex->HasTexObjects())
        tex->DeleteTexObjects(true, true);
    return tex->GenerateTexObjects(*frame, full);
}

bool DF3GL_cls::BindTexObjects(bool full)
{
    TexObjectGL_cls* tex = GetCurrentTexObject();
    DF3_cls* frame = mpSequence->GetCurrentDF3();
    return tex && frame && tex->BindTexObjects(*frame, full);
}

bool DF3GL_cls::DeleteTexObjects(bool full, bool isCurrent)
{
    TexObjectGL_cls* tex = GetCurrentTexObject();
    return tex && tex->DeleteTexObjects(full, isCurrent);
}

int DF3GL_cls::GetTextureBindPercent() const
{
    const TexObjectGL_cls* tex = GetCurrentTexObject();
    return tex ? tex->GetTextureBindPercent() : 0;
}

uint32_t DF3GL_cls::GetAllocatedTextureKB() const
{
    return static_cast<uint32_t>(std::min<uint64_t>(mpSequence->GetTextureKB(), UINT32_MAX));
}

// --- drawing ------------------------------------------------------------------------------------

void DF3GL_cls::DrawDataInitSetting()
{
    glPushAttrib(GL_ENABLE_BIT | GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_CURRENT_BIT | GL_TEXTURE_BIT);
    // Slices are translucent: they are tested against what is already drawn (guides, meshes)
    // but never hide each other through the depth buffer.
    glDepthMask(GL_FALSE);
    glEnable(GL_BLEND);
    glDisable(GL_LIGHTING);
    glDisable(GL_CULL_FACE);
    glDisable(GL_ALPHA_TEST);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
}

void DF3GL_cls::DrawDataEndSetting()
{
    glMatrixMode(GL_MODELVIEW);
    glPopMatrix();
    if (IsBlendEquationAvailable())
        glBlendEquation(GL_FUNC_ADD);
    glBindTexture(GL_TEXTURE_2D, 0);
    glBindTexture(GL_TEXTURE_3D, 0);
    glPopAttrib();
}

void DF3GL_cls::SetBlendFunction()
{
    if (GetPreviewProperty().GetBlendType() == 1)
        glBlendFunc(GL_SRC_ALPHA, GL_ONE);
    else
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}

void DF3GL_cls::SetBoxScale(double x, double y, double z)
{
    msBoxScale = {x, y, z};
}

bool DF3GL_cls::IsBlendEquationAvailable()
{
    // Per process: every view shares one context, so the answer does not change.
    static int available = -1;
    if (available < 0) {
        const char* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
        const char* ext = reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS));
        if (!version)
            return false; // no context yet: ask again later
        int major = 0, minor = 0;
        std::sscanf(version, "%d.%d", &major, &minor);
        const bool core = major > 1 || (major == 1 && minor >= 4);
        const bool extension = ext && (std::strstr(ext, "GL_ARB_imaging") || std::strstr(ext, "GL_EXT_blend_subtract"));
        available = (core || extension) ? 1 : 0;
    }
    return available == 1;
}

Vec3d DF3GL_cls::CurrentViewNormal()
{
    GLdouble m[16];
    glGetDoublev(GL_MODELVIEW_MATRIX, m);
    // Eye depth is row 2 of the matrix: planes of equal eye depth are the camera-facing planes,
    // and the eye looks toward -z, so the normal away from the viewer is minus that row.
    Vec3d n = {-m[2], -m[6], -m[10]};
    const double len = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    if (len > 0.0)
        for (double& c : n)
            c /= len;
    return n;
}

const TexObjectGL_cls* DF3GL_cls::GetDrawTexObject() const
{
    return mpDrawTex != nullptr ? mpDrawTex : GetCurrentTexObject();
}

int DF3GL_cls::GetLayerStep(int axis) const
{
    const DF3SeqCtrl_cls* ctrl = mpSequence->GetCtrl();
    return ctrl ? static_cast<int>(std::max<uint32_t>(ctrl->GetDownSizeLayer(axis), 1)) : 1;
}

void DF3GL_cls::DrawPasses(const std::function<void()>& geometry, const float colour[3], const float complement[3],
                           float alpha, unsigned flags)
{
    const PreviewProperty_cls& preview = GetPreviewProperty();
    const float absorption = preview.GetAbsorption();
    if (preview.GetShading() == 1 && absorption != 0.0f && !(flags & kDrawNoAbsorption) && IsBlendEquationAvailable()) {
        // Subtracting the complement darkens toward the complementary hue where the slice is
        // dense, so the volume shows depth even in additive blending.
        const float k = preview.GetAbsorptionComplement();
        glBlendEquation(GL_FUNC_REVERSE_SUBTRACT);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        glColor4f(colour[0] + (complement[0] - colour[0]) * k, colour[1] + (complement[1] - colour[1]) * k,
                  colour[2] + (complement[2] - colour[2]) * k, absorption * alpha);
        geometry();
        ++msCounters.muAbsorptionPasses;
    }
    SetBlendFunction();
    if (IsBlendEquationAvailable())
        glBlendEquation(GL_FUNC_ADD);
    glColor4f(colour[0], colour[1], colour[2], alpha);
    geometry();
    ++msCounters.muColourPasses;
}

void DF3GL_cls::DrawSlice2D(int axis, int slice, double s0, double s1, double t0, double t1, const float colour[3],
                            const float complement[3], float alpha, unsigned flags)
{
    const TexObjectGL_cls* tex = GetDrawTexObject();
    if (!tex || axis < 0 || axis > 2)
        return;
    const GLuint name = tex->GetTexture2D(axis, slice);
    const int n = tex->GetSliceCount(axis);
    if (name == 0 || n <= 0)
        return;
    glBindTexture(GL_TEXTURE_2D, name);
    const int s = AxisXYZSTU_cls::GetAxisS(axis), t = AxisXYZSTU_cls::GetAxisT(axis);
    const double depth = SliceGeometry_cls::SliceDepth(slice, n);
    const double corners[4][2] = {{s0, t0}, {s1, t0}, {s1, t1}, {s0, t1}};
    DrawPasses(
        [&] {
            glBegin(GL_QUADS);
            for (const auto& c : corners) {
                double p[3];
                p[axis] = depth - 0.5;
                p[s] = c[0] - 0.5;
                p[t] = c[1] - 0.5;
                glTexCoord2d(c[0], c[1]);
                glVertex3dv(p);
            }
            glEnd();
        },
        colour, complement, alpha, flags);
}

int DF3GL_cls::DrawSlice(int axis, bool fromLow, const double clipMin[3], const double clipMax[3], float alpha,
                         unsigned flags)
{
    const TexObjectGL_cls* tex = GetDrawTexObject();
    if (!tex || axis < 0 || axis > 2)
        return 0;
    float colour[3], complement[3];
    GetCurrentColour(colour, complement);
    glDisable(GL_TEXTURE_3D);
    glEnable(GL_TEXTURE_2D);
    const int s = AxisXYZSTU_cls::GetAxisS(axis), t = AxisXYZSTU_cls::GetAxisT(axis);
    int drawn = 0;
    for (int i : SliceGeometry_cls::LatticeSlices(tex->GetSliceCount(axis), clipMin[axis], clipMax[axis],
                                                  GetLayerStep(axis), fromLow)) {
        DrawSlice2D(axis, i, clipMin[s], clipMax[s], clipMin[t], clipMax[t], colour, complement, alpha, flags);
        ++drawn;
    }
    return drawn;
}

bool DF3GL_cls::DrawData(unsigned flags, int axis)
{
    const DrawingBlock_cls::Box box = mCDrawingBlock.GetBox();
    return DrawData(box.mvMin, box.mvMax, axis, flags);
}

bool DF3GL_cls::DrawData(const std::array<double, 3>& clipMin, const std::array<double, 3>& clipMax, int axis,
                         unsigned flags)
{
    mbDrewCurrent = false;
    const TexObjectGL_cls* tex = GetCurrentTexObject();
    const DF3_cls* frame = mpSequence->GetCurrentDF3();
    if (tex && frame && tex->IsReady()) {
        mbDrewCurrent = true;
        miShownIndex = mpSequence->GetRemappedIndex(-1);
        mpShownTex = tex;
    } else {
        // The new frame is still being uploaded: the one drawn before stays until its last slab
        // is in, rather than a blank view in between. Only complete textures of a frame that is
        // still in the slot qualify.
        tex = nullptr;
        frame = nullptr;
        if (miShownIndex >= 0 && miShownIndex < mpSequence->GetFrameCount() &&
            mpSequence->GetTexJobs(miShownIndex) == mpShownTex && mpShownTex != nullptr && mpShownTex->IsReady()) {
            tex = mpShownTex;
            frame = mpSequence->GetDF3(miShownIndex);
        }
        if (!tex || !frame)
            return false;
    }
    struct DrawTexScope {
        const TexObjectGL_cls*& pSlot;
        ~DrawTexScope() { pSlot = nullptr; }
    } scope{mpDrawTex};
    mpDrawTex = tex;
    DrawDataInitSetting();
    // The data's aspect: the longest axis spans the unit cube.
    const std::array<uint32_t, 3>& size = tex->GetSize();
    const double longest = std::max({size[0], size[1], size[2]});
    glScaled(msBoxScale[0] * size[0] / longest, msBoxScale[1] * size[1] / longest, msBoxScale[2] * size[2] / longest);
    const Vec3d normal = CurrentViewNormal();

    bool drawn = false;
    DrawingBlock_cls::Box clip{clipMin, clipMax};
    if (mCDrawingBlock.IsUse8Tree() && !(flags & kDrawWholeBox)) {
        // The division follows the drawing block's own box; the contents name the frame's
        // texture generation, so it is made once per new contents.
        const uint64_t key =
            (static_cast<uint64_t>(reinterpret_cast<uintptr_t>(frame)) << 20) ^ tex->GetContentSerial();
        if (!mCDrawingBlock.IsChildsValidFor(key)) {
            const uint8_t* voxels = frame->GetProcessedData() ? frame->GetProcessedData() : frame->GetXYZData();
            mCDrawingBlock.MakeChilds(voxels, size.data(), key, GetThreadNum());
        }
        for (const DrawingBlock_cls::Box& b : mCDrawingBlock.GetDrawBoxes(normal)) {
            // Each leaf, clipped further by the caller's box.
            DrawingBlock_cls::Box c;
            bool empty = false;
            for (int a = 0; a < 3; ++a) {
                c.mvMin[a] = std::max(b.mvMin[a], clipMin[a]);
                c.mvMax[a] = std::min(b.mvMax[a], clipMax[a]);
                empty = empty || c.mvMin[a] >= c.mvMax[a];
            }
            if (!empty)
                drawn = DrawBox(*tex, *frame, c.mvMin, c.mvMax, axis, flags, normal) || drawn;
        }
    } else {
        drawn = DrawBox(*tex, *frame, clip.mvMin, clip.mvMax, axis, flags, normal);
    }
    DrawDataEndSetting();
    return drawn;
}

bool DF3GL_cls::DrawBox(const TexObjectGL_cls& tex, const DF3_cls& /*frame*/, const std::array<double, 3>& clipMin,
                        const std::array<double, 3>& clipMax, int axis, unsigned flags, const Vec3d& normal)
{
    const PreviewProperty_cls& preview = GetPreviewProperty();
    const std::array<uint32_t, 3>& size = tex.GetSize();
    bool fromLow = false;
    const int major = SliceGeometry_cls::ChooseAxis(normal, fromLow);
    if (axis < 0 || axis > 2)
        axis = major;
    else
        fromLow = normal[axis] < 0.0;
    const float alpha = GetSliceAlpha();
    if (!tex.Is3DTexture())
        return DrawSlice(axis, fromLow, clipMin.data(), clipMax.data(), alpha, flags) > 0;

    float colour[3], complement[3];
    GetCurrentColour(colour, complement);
    const std::vector<TexBrickGL> bricks = tex.GetDrawBricks();
    if (bricks.empty())
        return false;
    glDisable(GL_TEXTURE_2D);
    glEnable(GL_TEXTURE_3D);
    if (preview.GetPreviewType3D() == 1) {
        const int n = preview.GetNQuality();
        // A direction of length 2 makes the spacing 1/n: n slices span the unit cube along the
        // view, as a lattice of n voxels would.
        const Vec3d d = {2.0 * normal[0], 2.0 * normal[1], 2.0 * normal[2]};
        Draw3DTexBoxA_cls::CalcAllSlice(d, n, clipMin, clipMax);
        // Opacity per slice follows the slice density: with more slices than voxels along the
        // view each slice takes its share, so the picture keeps its brightness at any quality.
        const float perSlice = alpha * std::min(1.0f, static_cast<float>(size[static_cast<size_t>(major)]) / n);
        return Draw3DTexBoxA_cls::DrawAllSlice({0.0, 0.0, 0.0}, bricks, colour, complement, perSlice, flags) > 0;
    }
    return Draw3DTexBoxB_cls::DrawSlice3D(axis, static_cast<int>(size[static_cast<size_t>(axis)]), fromLow,
                                          clipMin.data(), clipMax.data(), GetLayerStep(axis), bricks, colour,
                                          complement, alpha, flags) > 0;
}
