#include "pov/PovSceneObjects_cls.h"

#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "color/Coloring_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/PovCrossSection_cls.h"
#include "filter/PovDiffObject_cls.h"
#include "filter/PovFog_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "filter/PovObject_cls.h"
#include "filter/PovStreamLine_cls.h"
#include "filter/PovThreeView_cls.h"
#include "filter/PovVelField_cls.h"
#include "filter/PovVolume_cls.h"
#include "iso/MarchingCube_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"

#include <algorithm>
#include <cmath>
#include <fstream>

namespace
{

constexpr int kSlots = 4;
// Half the thickness of a section slab, in fractions of the box: thin enough that the density
// read at its faces is the plane's own.
constexpr double kSlabHalf = 0.0005;
// Emission (or absorption) of density 1 per box length at "Alpha" 1: a dense core glows fully,
// thin density stays translucent, much as the preview's stacked slices look.
constexpr double kMediaStrength = 6.0;

std::wstring Num(double v)
{
    return WStrPrintf("%.9g", v);
}

std::wstring Vec(double x, double y, double z)
{
    return WStrPrintf("<%.9g,%.9g,%.9g>", x, y, z);
}

// A unit-sized primitive (shape codes of the object items) scaled, turned and placed by the
// item's values: position 0..2 and scale 3..5 in fractions of the box, yaw, pitch, roll and a
// second yaw 6..9 in degrees.
std::wstring ShapeText(int shape, const double* v, const std::wstring& inner)
{
    std::wstring s = L"object {\n\t\t";
    switch (shape) {
    case 1:
        s += L"box { <-1,-1,-1>, <1,1,1> }\n";
        break;
    case 2:
        s += L"cylinder { <0,-1,0>, <0,1,0>, 1 }\n";
        break;
    case 3:
        s += L"cone { <0,-1,0>, 1, <0,1,0>, 0 }\n";
        break;
    case 4:
        s += L"torus { 1, 0.25 }\n";
        break;
    default:
        s += L"sphere { <0,0,0>, 1 }\n";
        break;
    }
    s += L"\t\tscale " + Vec(v[3], v[4], v[5]) + L"\n";
    s += L"\t\trotate " + Vec(0, v[6], 0) + L" rotate " + Vec(v[7], 0, 0) + L" rotate " + Vec(0, 0, v[8]) +
         L" rotate " + Vec(0, v[9], 0) + L"\n";
    s += L"\t\ttranslate " + Vec(v[0], v[1], v[2]) + L"\n" + inner + L"\t}\n";
    return s;
}

// Trilinear sample of one byte volume at voxel coordinates p (clamped to the grid).
double Sample(const uint8_t* d, const unsigned* n, const double* p)
{
    size_t i0[3], i1[3];
    double f[3];
    for (int a = 0; a < 3; ++a) {
        const double c = std::clamp(p[a], 0.0, static_cast<double>(n[a] - 1));
        i0[a] = static_cast<size_t>(c);
        i1[a] = std::min<size_t>(i0[a] + 1, n[a] - 1);
        f[a] = c - static_cast<double>(i0[a]);
    }
    auto at = [&](size_t x, size_t y, size_t z) { return static_cast<double>(d[(z * n[1] + y) * n[0] + x]); };
    const double c00 = at(i0[0], i0[1], i0[2]) * (1 - f[0]) + at(i1[0], i0[1], i0[2]) * f[0];
    const double c10 = at(i0[0], i1[1], i0[2]) * (1 - f[0]) + at(i1[0], i1[1], i0[2]) * f[0];
    const double c01 = at(i0[0], i0[1], i1[2]) * (1 - f[0]) + at(i1[0], i0[1], i1[2]) * f[0];
    const double c11 = at(i0[0], i1[1], i1[2]) * (1 - f[0]) + at(i1[0], i1[1], i1[2]) * f[0];
    return (c00 * (1 - f[1]) + c10 * f[1]) * (1 - f[2]) + (c01 * (1 - f[1]) + c11 * f[1]) * f[2];
}

// Velocity components are stored as bytes around 128 (at rest): 1 is -1, 255 is +1 (0 counts
// as 1).
void Velocity(const std::array<const uint8_t*, 3>& data, const unsigned* n, const double* p, double* v)
{
    for (int a = 0; a < 3; ++a)
        v[a] = std::clamp((Sample(data[static_cast<size_t>(a)], n, p) - 128.0) / 127.0, -1.0, 1.0);
}

} // namespace

std::wstring PovSceneObjects_cls::ItemName::Str() const
{
    return WStrPrintf("%d_%d", iSlot, iItem);
}

PovSceneObjects_cls::PovSceneObjects_cls(DF3SeqCtrl_cls* slots, TimeCtrl_cls* clock, Coloring_cls* coloring,
                                         Parameters_cls* boxSize)
    : mpSlots(slots), mpClock(clock), mpColoring(coloring), mpBoxSize(boxSize)
{
}

// ---- set-up and hooks ----------------------------------------------------------------------------

void PovSceneObjects_cls::Install(PovExport_cls& exporter)
{
    mpExporter = &exporter;
    exporter.SetColoring(mpColoring);
    exporter.mDoesFilterExist = [this](int kind) { return DoesFilterExist(kind); };
    exporter.mPrepareFrame = [this](int frame) { PrepareFrame(frame); };
    exporter.mUpdateFilterParameters = [this](double time) {
        for (int s = 0; s < kSlots; ++s)
            mpSlots->GetSequence(s).GetFilterCtrl().UpdateParameters(time);
    };
    exporter.mDataBoxes = [this](int frame) { return GetDataBoxes(frame); };
    PovExport_cls* exp = &exporter;
    exporter.mObjects = [this, exp](int frame, double time) {
        return GetObjects(frame, time, exp->GetPovRay().GetWorkingDir(), exp->GetCurrentStem());
    };
    exporter.mFog = [this](double time) { return GetFog(time); };
}

bool PovSceneObjects_cls::DoesFilterExist(int kind) const
{
    for (int s = 0; s < kSlots; ++s) {
        const DF3Sequence_cls& seq = mpSlots->GetSequence(s);
        if (seq.GetFrameCount() == 0)
            continue;
        const FilterCtrl_cls& chain = seq.GetFilterCtrl();
        for (int i = 0; i < chain.GetItemNum(); ++i) {
            FilterBase_cls* item = chain.GetPFilterBase(i);
            if (item->GetType() == kind && item->GetPData()->IsValid())
                return true;
        }
    }
    return false;
}

// ---- frame preparation ---------------------------------------------------------------------------

bool PovSceneObjects_cls::PrepareFrame(int frame)
{
    mpClock->SetIndex(frame);
    const double time = mpClock->GetDoubleIndex(frame);
    mbPrepared = true;
    for (int s = 0; s < kSlots; ++s) {
        DF3Sequence_cls& seq = mpSlots->GetSequence(s);
        mviPrepared[static_cast<size_t>(s)] = -1;
        if (seq.GetFrameCount() == 0)
            continue;
        FilterCtrl_cls& chain = seq.GetFilterCtrl();
        chain.UpdateParameters(time);
        // The output items keep a copy of the data they last saw; processing afresh makes sure
        // it is this frame's, whatever frame was processed in between with the same settings.
        chain.ClearSignatures();
        const int index = mpSlots->GetRemappedIndex(s, frame);
        const int previous = mviLastPrepared[static_cast<size_t>(s)];
        if (mbReleaseAfterUse && previous >= 0 && previous != index && previous != index + 1 &&
            seq.GetDF3(previous) != nullptr)
            seq.GetDF3(previous)->Release();
        mviLastPrepared[static_cast<size_t>(s)] = index;
        mpSlots->IdleProcessesMainEach(s, index, true, true);
        // Between two data frames the time remap blends in the next one: it must be read too.
        if (seq.IsRemap() && seq.GetRemapInterpolateFactor() != 0.0f && index + 1 < seq.GetFrameCount())
            mpSlots->IdleProcessesMainEach(s, index + 1, true, true);
        DF3_cls* df3 = seq.GetDF3(index);
        if (df3 == nullptr || !df3->IsAllocated() || !df3->GetReadFinishedFlag()) {
            mbPrepared = false;
            continue;
        }
        df3->ProcessXYZData();
        mviPrepared[static_cast<size_t>(s)] = index;
    }
    return mbPrepared;
}

const uint8_t* PovSceneObjects_cls::SlotVoxels(int slot, unsigned* size) const
{
    const int index = mviPrepared[static_cast<size_t>(slot)];
    if (index < 0)
        return nullptr;
    const DF3_cls* df3 = mpSlots->GetSequence(slot).GetDF3(index);
    if (df3 == nullptr || df3->GetProcessedData() == nullptr)
        return nullptr;
    for (int a = 0; a < 3; ++a)
        size[a] = df3->GetCurrSize(a);
    return df3->GetProcessedData();
}

// ---- data boxes ----------------------------------------------------------------------------------

std::array<double, 3> PovSceneObjects_cls::GetBoxExtent() const
{
    std::array<double, 3> extent{1.0, 1.0, 1.0};
    if (mpBoxSize != nullptr && mpBoxSize->GetDimension() >= 6) {
        double box[6];
        mpBoxSize->Evaluate(mpClock->GetDoubleIndex(), 0.0, box);
        for (int a = 0; a < 3; ++a) {
            const double e = box[a + 3] - box[a];
            extent[static_cast<size_t>(a)] = e > 1e-6 ? e : 1e-6;
        }
    }
    // The active slot's frame gives the shape (the first slot with data when it has none).
    unsigned size[3] = {0, 0, 0};
    const uint8_t* data = SlotVoxels(mpSlots->GetActiveSlot(), size);
    for (int s = 0; s < kSlots && data == nullptr; ++s)
        data = SlotVoxels(s, size);
    if (data != nullptr) {
        const double longest = std::max({size[0], size[1], size[2]});
        for (int a = 0; a < 3; ++a)
            extent[static_cast<size_t>(a)] *= size[a] / longest;
    }
    return extent;
}

void PovSceneObjects_cls::ApplyVolumeItem(const FilterCtrl_cls& chain, PovExport_cls::DataBox& box)
{
    // The volume's "Alpha" scales how strongly the density glows or hides what lies behind.
    const float strength = static_cast<float>(kMediaStrength * std::max(0.0, chain.GetVolumeParameter(0)));
    const int type = chain.GetVolumeDataType();
    box.fEmission = type == 1 ? 0.0f : strength;
    box.fAbsorption = type == 0 ? 0.0f : strength;
    PovVolume_cls* volume = chain.GetVolumeItem();
    const int intervals = volume != nullptr ? volume->GetData().miIntervals.Get() : 0;
    box.uIntervals = intervals > 0 ? static_cast<unsigned>(intervals) : 0u;
}

std::vector<PovExport_cls::DataBox> PovSceneObjects_cls::GetDataBoxes(int /*frame*/)
{
    std::vector<PovExport_cls::DataBox> boxes;
    const std::array<double, 3> extent = GetBoxExtent();
    for (int s = 0; s < kSlots; ++s) {
        unsigned size[3];
        const uint8_t* data = SlotVoxels(s, size);
        FilterCtrl_cls& chain = mpSlots->GetSequence(s).GetFilterCtrl();
        if (data == nullptr || !chain.GetVolumeValidity())
            continue;
        PovExport_cls::DataBox box;
        box.pVoxels = data;
        box.uX = size[0];
        box.uY = size[1];
        box.uZ = size[2];
        std::copy(extent.begin(), extent.end(), box.dSize);
        box.iColorIndex = chain.GetVolumeColorType();
        ApplyVolumeItem(chain, box);
        // The clipping items before the volume leave a box of it; what lies outside is cut away.
        double clipMin[3], clipMax[3];
        const PovVolume_cls* volume = chain.GetVolumeItem();
        if (chain.GetClippingInformation(clipMin, clipMax, volume != nullptr ? volume->GetIdTag() : std::wstring()))
            box.strCutOut += L"\tdifference {\n\t\tbox { <-1,-1,-1>, <2,2,2> }\n\t\tbox { " +
                             Vec(clipMin[0], clipMin[1], clipMin[2]) + L", " + Vec(clipMax[0], clipMax[1], clipMax[2]) +
                             L" }\n\t}\n";
        // Difference objects of the slot are cut out of its media.
        for (int i = 0; i < chain.GetItemNum(); ++i) {
            auto* cut = dynamic_cast<PovDiffObject_cls*>(chain.GetPFilterBase(i));
            if (cut == nullptr || !cut->GetData().IsValid())
                continue;
            double v[10];
            for (int k = 0; k < 10; ++k)
                v[k] = cut->GetValue(k);
            box.strCutOut += L"\t" + ShapeText(cut->GetData().miShape.Get(), v, std::wstring());
        }
        boxes.push_back(box);
    }
    return boxes;
}

// ---- object text ---------------------------------------------------------------------------------

std::wstring PovSceneObjects_cls::GetPlaceDeclare(int slot) const
{
    const std::array<double, 3> e = GetBoxExtent();
    return WStrPrintf("#declare SLOTPLACE_%d=transform {\n\ttranslate <-0.5,-0.5,-0.5>\n\tscale <%.9g,%.9g,%.9g>\n}\n",
                      slot, e[0], e[1], -e[2]);
}

void PovSceneObjects_cls::GetMapColor(float d, int index, float* rgb) const
{
    rgb[0] = rgb[1] = rgb[2] = 1.0f;
    if (mpColoring != nullptr)
        mpColoring->GetColor(rgb, d, index, true);
    for (int c = 0; c < 3; ++c)
        rgb[c] = std::clamp(rgb[c] * d, 0.0f, 1.0f);
}

PovExport_cls::ObjectsText PovSceneObjects_cls::GetObjects(int /*frame*/, double /*time*/, const std::wstring& workDir,
                                                           const std::wstring& stem)
{
    PovExport_cls::ObjectsText out;
    if (!mbPrepared)
        out.bOk = false;
    for (int s = 0; s < kSlots; ++s) {
        if (mviPrepared[static_cast<size_t>(s)] < 0)
            continue;
        FilterCtrl_cls& chain = mpSlots->GetSequence(s).GetFilterCtrl();
        std::wstring declare;
        const int colorIndex = chain.GetVolumeColorType();
        for (int i = 0; i < chain.GetItemNum(); ++i) {
            FilterBase_cls* base = chain.GetPFilterBase(i);
            if (!base->GetPData()->IsValid())
                continue;
            const ItemName name{s, i};
            const std::wstring n = name.Str();
            switch (base->GetType()) {
            case PovIsosurface_cls::kTypeCode:
                declare += IsosurfaceText(*static_cast<PovIsosurface_cls*>(base), name, colorIndex, workDir, stem, out);
                break;
            case PovCrossSection_cls::kTypeCode: {
                auto* item = static_cast<PovCrossSection_cls*>(base);
                std::vector<unsigned char> plane;
                unsigned w = 0, h = 0;
                if (!item->GetCurrentSection(plane, w, h)) {
                    declare += L"// Cross-section " + n + L": no data reached it; nothing exported\n";
                    break;
                }
                const std::wstring df3 = stem + L"_CS" + n + L".df3";
                std::wstring body;
                if (!SectionText(plane, item->GetDataSize(), item->GetData().miAxis.Get(), item->GetValue(0),
                                 Narrow(workDir + L"/" + df3), df3, item->GetData().miColorIndex.Get(),
                                 item->GetValue(2), item->GetValue(3), body)) {
                    out.bOk = false;
                    break;
                }
                declare += L"#declare OBJECT_C_SECTION_" + n + L"=box {\n" + body + L"\ttransform { SLOTPLACE_" +
                           WStrPrintf("%d", s) + L" }\n}\n";
                out.strInstances += L"\tobject { OBJECT_C_SECTION_" + n + L" }\n";
                break;
            }
            case PovThreeView_cls::kTypeCode: {
                auto* item = static_cast<PovThreeView_cls*>(base);
                static const wchar_t* const kAxisName[3] = {L"X", L"Y", L"Z"};
                for (int axis = 0; axis < 3; ++axis) {
                    if (!item->GetData().mvbShow.Get(axis))
                        continue;
                    std::vector<unsigned char> plane;
                    unsigned w = 0, h = 0;
                    if (!item->GetCurrentSection(axis, plane, w, h))
                        continue;
                    const std::wstring df3 = stem + L"_TV" + n + kAxisName[axis] + L".df3";
                    // The plane is cut in two along the next axis at the point, so either half
                    // can be left out to look past it.
                    const int along = (axis + 1) % 3;
                    const double cut = std::clamp(item->GetValue(along), 0.0, 1.0);
                    for (int half = 0; half < 2; ++half) {
                        std::wstring body;
                        if (!SectionText(plane, item->GetDataSize(), axis, item->GetValue(axis),
                                         Narrow(workDir + L"/" + df3), df3, item->GetData().miColorIndex.Get(),
                                         item->GetValue(4), 0.0, body)) {
                            out.bOk = false;
                            break;
                        }
                        const std::wstring id = std::wstring(L"OBJECT_THREE_VIEW_") + kAxisName[axis] +
                                                (half == 0 ? L"_MINUS_" : L"_PLUS_") + n;
                        double lo[3] = {-1, -1, -1}, hi[3] = {2, 2, 2};
                        (half == 0 ? hi : lo)[along] = cut;
                        declare += L"#declare " + id + L"=intersection {\n\tbox {\n" + body + L"\t}\n\tbox { " +
                                   Vec(lo[0], lo[1], lo[2]) + L", " + Vec(hi[0], hi[1], hi[2]) +
                                   L" pigment { rgbt 1 } }\n\ttransform { SLOTPLACE_" + WStrPrintf("%d", s) +
                                   L" }\n}\n";
                        out.strInstances += L"\tobject { " + id + L" }\n";
                    }
                }
                break;
            }
            case PovObject_cls::kTypeCode:
                declare += ObjectText(*static_cast<PovObject_cls*>(base), name);
                out.strInstances += L"\tPOVOBJ_" + n + L"\n";
                break;
            case PovStreamLine_cls::kTypeCode:
                declare += StreamLineText(*static_cast<PovStreamLine_cls*>(base), name, out);
                break;
            case PovVelField_cls::kTypeCode:
                declare += VelFieldText(*static_cast<PovVelField_cls*>(base), name, out);
                break;
            default:
                break;
            }
        }
        if (!declare.empty())
            out.strDeclare += GetPlaceDeclare(s) + declare;
    }
    return out;
}

std::wstring PovSceneObjects_cls::IsosurfaceText(PovIsosurface_cls& item, const ItemName& name, int colorIndex,
                                                 const std::wstring& workDir, const std::wstring& stem,
                                                 PovExport_cls::ObjectsText& out)
{
    const std::wstring n = name.Str();
    const std::vector<unsigned char>& data = item.GetDataCopy();
    const unsigned* size = item.GetDataSize();
    if (data.empty())
        return L"// Isosurface " + n + L": no data reached it; nothing exported\n";
    const bool normals = item.GetData().mbNormal.Get();
    // The item's own mesh is used when it is fully welded; otherwise one is made for the file.
    MarchingCube_cls local;
    const MarchingCube_cls* mesh = &item.GetMesh();
    if (!item.IsMeshValid() || item.GetData().miOptimize.Get() < 2 || item.IsReprocessRequired()) {
        const float level = static_cast<float>(std::clamp(item.GetCritical(), 0.0, 1.0));
        if (!local.ThreadControlMain(data.data(), static_cast<int>(size[0]), static_cast<int>(size[1]),
                                     static_cast<int>(size[2]), level, normals ? MarchingCube_cls::kFlagNormals : 0u))
            return L"// Isosurface " + n + L": the data are too thin for a surface; nothing exported\n";
        local.OptimizeVerticesFull();
        mesh = &local;
    }
    if (mesh->GetIndicesFull().empty())
        return L"// Isosurface " + n + L": no surface at this level; nothing exported\n";
    std::string text;
    if (!mesh->GetStrPovMesh2(&text, n, L"", normals)) {
        out.bOk = false;
        return std::wstring();
    }
    // Output type 2 puts the mesh into the scene itself (one self-contained file per frame);
    // otherwise it goes to an include file beside the scene.
    const bool inScene = mpExporter != nullptr && mpExporter->miIsoOutputType == 2;
    const std::wstring file = stem + L"_ISO" + n + L".inc";
    if (!inScene) {
        std::ofstream inc(Narrow(workDir + L"/" + file), std::ios::binary | std::ios::trunc);
        inc << text;
        inc.close();
        if (!inc) {
            out.bOk = false;
            return std::wstring();
        }
    }
    float rgb[3] = {1, 1, 1};
    if (mpColoring != nullptr)
        mpColoring->GetColor(rgb, static_cast<float>(item.GetCritical()), colorIndex, true);
    for (int c = 0; c < 3; ++c)
        rgb[c] = std::clamp(rgb[c] * item.GetData().mvfColor.Get(c), 0.0f, 1.0f);
    const double alpha = std::clamp(item.GetAlpha(), 0.0, 1.0);
    std::wstring s = inScene ? Widen(text) + L"\n" : L"#include concat(WORKINGDIR, \"" + file + L"\")\n";
    // Mesh vertices sit at index / n; the preview draws voxel i at (i + 0.5) / n.
    s += L"#declare ISOBOX_" + n + L"=object { ISOSURF_" + n + L"\n\ttranslate " +
         Vec(0.5 / size[0], 0.5 / size[1], 0.5 / size[2]) + L"\n";
    double clipMin[3], clipMax[3];
    if (item.GetOwner() != nullptr && item.GetOwner()->GetClippingInformation(clipMin, clipMax, item.GetIdTag()))
        s += L"\tclipped_by { box { " + Vec(clipMin[0], clipMin[1], clipMin[2]) + L", " +
             Vec(clipMax[0], clipMax[1], clipMax[2]) + L" } }\n";
    s += L"#ifdef (ISOTEXGLOBAL_" + n + L")\n\ttexture { ISOTEXGLOBAL_" + n + L" }\n#else\n";
    s += WStrPrintf("\ttexture {\n\t\tpigment { rgbt <%.4f,%.4f,%.4f,%.4f> }\n"
                    "\t\tfinish { ambient 0.1 diffuse 0.8 specular 0.3 roughness 0.05 }\n\t}\n",
                    rgb[0], rgb[1], rgb[2], 1.0 - alpha);
    s += L"#end\n\ttransform { SLOTPLACE_" + WStrPrintf("%d", name.iSlot) + L" }\n}\n";
    out.strInstances += L"\tobject { ISOBOX_" + n + L" }\n";
    return s;
}

bool PovSceneObjects_cls::SectionText(const std::vector<unsigned char>& plane, const unsigned* size, int axis,
                                      double layer, const std::string& df3Path, const std::wstring& df3Name,
                                      int colorIndex, double alpha, double crit, std::wstring& out) const
{
    axis = std::clamp(axis, 0, 2);
    unsigned dims[3] = {size[0], size[1], size[2]};
    dims[axis] = 1;
    if (!PovVolume_cls::WritePaddedDF3(df3Path, plane.data(), dims[0], dims[1], dims[2]))
        return false;
    // The nearest voxel plane, as the item cuts it, at its centre in the box.
    const unsigned n = size[axis];
    const double k = std::floor(std::clamp(layer, 0.0, 1.0) * (n - 1) + 0.5);
    const double at = (k + 0.5) / n;
    double lo[3] = {0, 0, 0}, hi[3] = {1, 1, 1};
    lo[axis] = at - kSlabHalf;
    hi[axis] = at + kSlabHalf;
    // The pigment is placed like the volume's density; across the cut its single sample lands
    // on the slab.
    double scale[3], shift[3];
    for (int a = 0; a < 3; ++a) {
        scale[a] = (dims[a] + 2.0) / dims[a];
        shift[a] = -0.5 / dims[a];
    }
    shift[axis] = at - 1.0;
    alpha = std::clamp(alpha, 0.0, 1.0);
    crit = std::clamp(crit, 0.0, 1.0);
    std::wstring map;
    auto entry = [&](double d, bool hidden) {
        float rgb[3];
        GetMapColor(static_cast<float>(d), colorIndex, rgb);
        map += WStrPrintf("\t\t\t\t[%.4f rgbt <%.4f,%.4f,%.4f,%.4f>]\n", d, rgb[0], rgb[1], rgb[2],
                          hidden ? 1.0 : 1.0 - alpha);
    };
    if (crit > 0.0) {
        entry(0.0, true);
        entry(std::max(0.0, crit - 0.001), true);
    }
    for (int j = 0; j <= 16; ++j)
        if (j / 16.0 >= crit)
            entry(j / 16.0, false);
    out += L"\t" + Vec(lo[0], lo[1], lo[2]) + L", " + Vec(hi[0], hi[1], hi[2]) + L"\n";
    out += L"\ttexture {\n\t\tpigment {\n\t\t\tdensity_file df3 concat(WORKINGDIR, \"" + df3Name +
           L"\") interpolate 1\n\t\t\tcolor_map {\n" + map + L"\t\t\t}\n";
    out += L"\t\t\tscale " + Vec(scale[0], scale[1], scale[2]) + L"\n\t\t\ttranslate " +
           Vec(shift[0], shift[1], shift[2]) + L"\n\t\t}\n";
    out += L"\t\tfinish { ambient 0 emission 1 diffuse 0 }\n\t}\n";
    return true;
}

std::wstring PovSceneObjects_cls::ObjectText(PovObject_cls& item, const ItemName& name) const
{
    double v[10];
    for (int k = 0; k < 10; ++k)
        v[k] = item.GetValue(k);
    const PovObjectData_cls& data = item.GetData();
    const double alpha = std::clamp(item.GetValue(10), 0.0, 1.0);
    const std::wstring texture =
        WStrPrintf("\t\ttexture {\n\t\t\tpigment { rgbt <%.4f,%.4f,%.4f,%.4f> }\n"
                   "\t\t\tfinish { ambient 0.1 diffuse 0.8 specular 0.3 }\n\t\t}\n",
                   data.mvfColor.Get(0), data.mvfColor.Get(1), data.mvfColor.Get(2), 1.0 - alpha);
    return L"#declare POVOBJ_" + name.Str() + L"=object {\n\t" + ShapeText(data.miShape.Get(), v, texture) +
           L"\ttransform { SLOTPLACE_" + WStrPrintf("%d", name.iSlot) + L" }\n}\n";
}

bool PovSceneObjects_cls::GetVelocitySlots(const int* slots, std::array<const uint8_t*, 3>& data, unsigned* size) const
{
    for (int a = 0; a < 3; ++a) {
        if (slots[a] < 0 || slots[a] >= kSlots)
            return false;
        unsigned s[3];
        data[static_cast<size_t>(a)] = SlotVoxels(slots[a], s);
        if (data[static_cast<size_t>(a)] == nullptr)
            return false;
        if (a == 0)
            std::copy(s, s + 3, size);
        else if (s[0] != size[0] || s[1] != size[1] || s[2] != size[2])
            return false;
    }
    return size[0] > 1 && size[1] > 1 && size[2] > 1;
}

bool PovSceneObjects_cls::VelocityInput(const ConfItemINTARRAY_cls& slotItem, const wchar_t* kind,
                                        const std::wstring& id, std::array<const uint8_t*, 3>& data, unsigned* size,
                                        std::wstring& comment) const
{
    const int slots[3] = {slotItem.Get(0), slotItem.Get(1), slotItem.Get(2)};
    if (GetVelocitySlots(slots, data, size))
        return true;
    comment = L"// " + std::wstring(kind) + L" " + id +
              WStrPrintf(": slots %d, %d, %d hold no velocity data of one size; nothing exported\n", slots[0],
                         slots[1], slots[2]);
    return false;
}

std::wstring PovSceneObjects_cls::StreamLineText(PovStreamLine_cls& item, const ItemName& name,
                                                 PovExport_cls::ObjectsText& out)
{
    auto& data = item.GetData();
    std::array<const uint8_t*, 3> vel{};
    unsigned n[3];
    const std::wstring id = name.Str();
    std::wstring comment;
    if (!VelocityInput(data.mviSlot, L"Streamline", id, vel, n, comment))
        return comment;
    const int seeds = std::clamp(data.miSeedNumber.Get(), 1, 4096);
    const double step = std::clamp(static_cast<double>(data.mfStepLength.Get()), 0.05, 8.0);
    const double radius = std::max(0.002, item.GetValue(2));
    // Seeds from a fixed sequence, so every export of the frame draws the same lines.
    uint32_t state = 12345u;
    auto next = [&state] {
        state = state * 1664525u + 1013904223u;
        return (state >> 8) / 16777216.0;
    };
    std::wstring lines;
    int written = 0;
    for (int k = 0; k < seeds; ++k) {
        double p[3] = {next() * (n[0] - 1), next() * (n[1] - 1), next() * (n[2] - 1)};
        std::vector<std::array<double, 3>> path{{p[0], p[1], p[2]}};
        for (int i = 0; i < 512; ++i) {
            // Midpoint rule on the unit direction: lines follow the flow at an even pace.
            double v[3], m[3], vm[3];
            Velocity(vel, n, p, v);
            const double speed = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
            if (speed < 0.02)
                break;
            for (int a = 0; a < 3; ++a)
                m[a] = p[a] + 0.5 * step * v[a] / speed;
            Velocity(vel, n, m, vm);
            const double sm = std::sqrt(vm[0] * vm[0] + vm[1] * vm[1] + vm[2] * vm[2]);
            if (sm < 0.02)
                break;
            bool inside = true;
            for (int a = 0; a < 3; ++a) {
                p[a] += step * vm[a] / sm;
                inside = inside && p[a] >= 0.0 && p[a] <= n[a] - 1.0;
            }
            if (!inside)
                break;
            path.push_back({p[0], p[1], p[2]});
        }
        if (path.size() < 2)
            continue;
        lines += WStrPrintf("\tsphere_sweep { linear_spline %zu,\n", path.size());
        for (const auto& q : path)
            lines += L"\t\t" + Vec((q[0] + 0.5) / n[0], (q[1] + 0.5) / n[1], (q[2] + 0.5) / n[2]) + L", " +
                     Num(radius) + L"\n";
        lines += L"\t}\n";
        ++written;
    }
    if (written == 0)
        return L"// Streamline " + id + L": the velocity is zero at every seed; nothing exported\n";
    const double alpha = std::clamp(item.GetValue(0), 0.0, 1.0);
    std::wstring s = L"#declare OBJECT_STREAM_LINES_" + id + L"=union {\n" + lines;
    s += L"#ifdef (STREAMLINETEXGLOBAL_" + id + L")\n\ttexture { STREAMLINETEXGLOBAL_" + id + L" }\n#else\n";
    s += WStrPrintf("\ttexture {\n\t\tpigment { rgbt <1,1,1,%.4f> }\n\t\tfinish { ambient 0.2 diffuse 0.8 }\n\t}\n",
                    1.0 - alpha);
    s += L"#end\n\ttransform { SLOTPLACE_" + WStrPrintf("%d", name.iSlot) + L" }\n}\n";
    out.strInstances += L"\tobject { OBJECT_STREAM_LINES_" + id + L" }\n";
    return s;
}

std::wstring PovSceneObjects_cls::VelFieldText(PovVelField_cls& item, const ItemName& name,
                                               PovExport_cls::ObjectsText& out)
{
    auto& data = item.GetData();
    std::array<const uint8_t*, 3> vel{};
    unsigned n[3];
    const std::wstring id = name.Str();
    std::wstring comment;
    if (!VelocityInput(data.mviSlot, L"VelocityField", id, vel, n, comment))
        return comment;
    const unsigned stride = static_cast<unsigned>(std::clamp(data.miStride.Get(), 1, 1024));
    const double longest = std::max({n[0], n[1], n[2]});
    const double length = std::max(0.0, item.GetValue(1)) * stride / longest;
    const double radius = 0.12 * stride / longest;
    std::wstring arrows;
    for (unsigned z = stride / 2; z < n[2]; z += stride)
        for (unsigned y = stride / 2; y < n[1]; y += stride)
            for (unsigned x = stride / 2; x < n[0]; x += stride) {
                const double p[3] = {static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)};
                double v[3];
                Velocity(vel, n, p, v);
                const double speed = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
                if (speed < 0.05 || length <= 0.0)
                    continue;
                const double a[3] = {(x + 0.5) / n[0], (y + 0.5) / n[1], (z + 0.5) / n[2]};
                double b[3], c[3];
                for (int k = 0; k < 3; ++k) {
                    b[k] = a[k] + v[k] * length * 0.7;
                    c[k] = a[k] + v[k] * length;
                }
                arrows += L"\tcylinder { " + Vec(a[0], a[1], a[2]) + L", " + Vec(b[0], b[1], b[2]) + L", " +
                          Num(radius) + L" }\n";
                arrows += L"\tcone { " + Vec(b[0], b[1], b[2]) + L", " + Num(radius * 2.0) + L", " +
                          Vec(c[0], c[1], c[2]) + L", 0 }\n";
            }
    if (arrows.empty())
        return L"// VelocityField " + id + L": the velocity is zero at every arrow; nothing exported\n";
    const double alpha = std::clamp(item.GetValue(0), 0.0, 1.0);
    std::wstring s = L"#declare OBJECT_VELOCITYFIELD_" + id + L"=union {\n" + arrows;
    s += WStrPrintf("\ttexture {\n\t\tpigment { rgbt <1,0.9,0.6,%.4f> }\n\t\tfinish { ambient 0.2 diffuse 0.8 }\n\t}\n",
                    1.0 - alpha);
    s += L"\ttransform { SLOTPLACE_" + WStrPrintf("%d", name.iSlot) + L" }\n}\n";
    out.strInstances += L"\tobject { OBJECT_VELOCITYFIELD_" + id + L" }\n";
    return s;
}

// ---- fog -----------------------------------------------------------------------------------------

std::wstring PovSceneObjects_cls::GetFog(double /*time*/) const
{
    std::wstring s;
    const std::array<double, 3> e = GetBoxExtent();
    const double size = std::max({e[0], e[1], e[2]});
    for (int s0 = 0; s0 < kSlots; ++s0) {
        const DF3Sequence_cls& seq = mpSlots->GetSequence(s0);
        if (seq.GetFrameCount() == 0)
            continue;
        const FilterCtrl_cls& chain = seq.GetFilterCtrl();
        const PovVolume_cls* volume = chain.GetVolumeItem();
        PovFog_cls* fog = chain.GetPFogTargettingMe(volume != nullptr ? volume->GetIdTag() : std::wstring(), true);
        if (fog == nullptr)
            continue;
        const PovFogData_cls& d = fog->GetData();
        const double distance = std::max(1e-4, static_cast<double>(d.mfDistance.Get()) * size);
        s += WStrPrintf("fog {\n\tfog_type 1\n\tdistance %.9g\n\tcolor rgb <%.4f,%.4f,%.4f>\n}\n", distance,
                        std::clamp(d.mvfColor.Get(0), 0.0f, 1.0f), std::clamp(d.mvfColor.Get(1), 0.0f, 1.0f),
                        std::clamp(d.mvfColor.Get(2), 0.0f, 1.0f));
    }
    return s;
}
