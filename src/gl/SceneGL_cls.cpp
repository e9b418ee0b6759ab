#include "gl/SceneGL_cls.h"

#include "color/Coloring_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/PovCrossSection_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "filter/PovThreeView_cls.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace
{

// The data's aspect (longest axis spans the box) times the shared box scale, as the slices use.
std::array<double, 3> ItemScale(const std::array<unsigned, 3>& size, const std::array<double, 3>& boxScale)
{
    const double longest = std::max({size[0], size[1], size[2], 1u});
    return {boxScale[0] * size[0] / longest, boxScale[1] * size[1] / longest, boxScale[2] * size[2] / longest};
}

// A fingerprint of a colour map: the section texels are baked again only when it changes.
uint64_t ColourMapPrint(const Coloring_cls& coloring, int colorIndex)
{
    uint64_t h = 1469598103934665603ull;
    for (int v = 0; v < 256; ++v) {
        float rgb[3];
        coloring.GetColor(rgb, v / 255.0f, colorIndex, true);
        for (float c : rgb) {
            h ^= static_cast<uint64_t>(std::lround(c * 65535.0f));
            h *= 1099511628211ull;
        }
    }
    return h;
}

} // namespace

void SceneGL_cls::IsoColour(const PovIsosurface_cls& iso, const Coloring_cls& coloring, int colorIndex, float rgb[3])
{
    coloring.GetColor(rgb, static_cast<float>(std::clamp(iso.GetCritical(), 0.0, 1.0)), colorIndex, true);
    const ConfItemFLOATARRAY_cls& own = iso.GetData().mvfColor;
    for (int c = 0; c < 3; ++c)
        rgb[c] = std::clamp(rgb[c] * (c < own.GetDimension() ? own.Get(c) : 1.0f), 0.0f, 1.0f);
}

SceneGL_cls::Entry& SceneGL_cls::EntryFor(const FilterBase_cls* item)
{
    std::unique_ptr<Entry>& entry = mCEntries[item];
    // A different item at a freed address must not inherit the old one's mesh.
    if (!entry || entry->strTag != item->GetIdTag()) {
        entry = std::make_unique<Entry>();
        entry->strTag = item->GetIdTag();
    }
    return *entry;
}

SceneGL_cls::Entry* SceneGL_cls::HeldEntry(const FilterBase_cls* item)
{
    const auto it = mCEntries.find(item);
    return it != mCEntries.end() && it->second->strTag == item->GetIdTag() ? it->second.get() : nullptr;
}

void SceneGL_cls::ResetPassCounters()
{
    mCCounters.miMeshes = 0;
    mCCounters.miSections = 0;
    mCCounters.muTriangles = 0;
}

void SceneGL_cls::Prune(const FilterCtrl_cls& chain)
{
    std::set<const FilterBase_cls*> live;
    for (int i = 0; i < chain.GetItemNum(); ++i)
        live.insert(chain.GetPFilterBase(i));
    for (auto it = mCEntries.begin(); it != mCEntries.end();)
        it = live.count(it->first) ? std::next(it) : mCEntries.erase(it);
}

void SceneGL_cls::DrawOpaque(const FilterCtrl_cls& chain, const Coloring_cls& coloring, int colorIndex,
                             const std::array<double, 3>& boxScale)
{
    DrawIso(chain, coloring, colorIndex, boxScale, true);
}

void SceneGL_cls::DrawTranslucent(const FilterCtrl_cls& chain, const Coloring_cls& coloring, int colorIndex,
                                  const std::array<double, 3>& boxScale)
{
    DrawIso(chain, coloring, colorIndex, boxScale, false);
    DrawSections(chain, coloring, colorIndex, boxScale);
}

void SceneGL_cls::DrawIso(const FilterCtrl_cls& chain, const Coloring_cls& coloring, int colorIndex,
                          const std::array<double, 3>& boxScale, bool opaque)
{
    for (int i = 0; i < chain.GetItemNum(); ++i) {
        auto* iso = dynamic_cast<PovIsosurface_cls*>(chain.GetPFilterBase(i));
        if (!iso || !iso->GetPData()->IsValid())
            continue;
        const float alpha = static_cast<float>(std::clamp(iso->GetAlpha(), 0.0, 1.0));
        if ((alpha >= 1.0f) != opaque || alpha <= 0.0f)
            continue;
        Entry* held = nullptr;
        if (mbItemsBusy) {
            held = HeldEntry(iso);
            if (held == nullptr || held->iBuild < 0)
                continue;
        } else {
            if (iso->GetBuildCount() == 0)
                continue;
            held = &EntryFor(iso);
            if (held->iBuild != iso->GetBuildCount()) {
                held->iBuild = iso->GetBuildCount();
                if (iso->IsMeshValid())
                    held->CMesh.SetMesh(iso->GetMesh(), iso->GetDataSize());
                else
                    held->CMesh.Clear();
                std::copy(iso->GetDataSize(), iso->GetDataSize() + 3, held->vSize.begin());
                ++mCCounters.miUploads;
            }
        }
        Entry& entry = *held;
        float rgb[3];
        IsoColour(*iso, coloring, colorIndex, rgb);
        const std::array<double, 3> scale = ItemScale(entry.vSize, boxScale);
        if (entry.CMesh.Draw(rgb, alpha, scale.data())) {
            ++mCCounters.miMeshes;
            mCCounters.muTriangles += entry.CMesh.GetTriangleCount();
        }
    }
}

void SceneGL_cls::DrawSections(const FilterCtrl_cls& chain, const Coloring_cls& coloring, int colorIndex,
                               const std::array<double, 3>& boxScale)
{
    uint64_t print = 0;
    bool printed = false;
    for (int i = 0; i < chain.GetItemNum(); ++i) {
        FilterBase_cls* base = chain.GetPFilterBase(i);
        auto* cross = dynamic_cast<PovCrossSection_cls*>(base);
        auto* three = dynamic_cast<PovThreeView_cls*>(base);
        if ((!cross && !three) || !base->GetPData()->IsValid())
            continue;
        const FilterOutput_cls& out = cross ? static_cast<const FilterOutput_cls&>(*cross) : *three;
        if (!mbItemsBusy && out.GetDataCopy().empty())
            continue;
        // The item's own colour choice; 0 means "as the slot".
        const int index = cross ? cross->GetData().miColorIndex.Get() : three->GetData().miColorIndex.Get();
        const int useIndex = index != 0 ? index : colorIndex;
        if (!printed || useIndex != colorIndex) {
            print = ColourMapPrint(coloring, useIndex);
            printed = useIndex == colorIndex;
        }
        // Values: the layers, then emboss, alpha and threshold.
        const double alpha = cross ? cross->GetValue(2) : three->GetValue(4);
        const double crit = cross ? cross->GetValue(3) : three->GetValue(5);
        Entry* held = mbItemsBusy ? HeldEntry(base) : &EntryFor(base);
        if (held == nullptr)
            continue;
        Entry& entry = *held;
        if (!mbItemsBusy)
            std::copy(out.GetDataSize(), out.GetDataSize() + 3, entry.vSize.begin());
        const std::array<double, 3> scale = ItemScale(entry.vSize, boxScale);
        for (int axis = 0; axis < 3; ++axis) {
            if (cross && axis != cross->GetData().miAxis.Get())
                continue;
            if (three && !three->GetData().mvbShow.Get(axis))
                continue;
            const size_t a = static_cast<size_t>(axis);
            if (mbItemsBusy) {
                // The plane baked before, where it was.
                if (!entry.vSectionKey[a].empty() &&
                    entry.vSection[a].Draw(axis, entry.vSectionLayer[a], entry.vSize[a], scale.data()))
                    ++mCCounters.miSections;
                continue;
            }
            const double layer = cross ? cross->GetValue(0) : three->GetValue(axis);
            const unsigned n = out.GetDataSize()[axis];
            const unsigned k = SectionGL_cls::LayerIndex(layer, n);
            const std::wstring key =
                WStrPrintf("%llu %u %d %.6g %.6g %llx", static_cast<unsigned long long>(out.GetDataGeneration()), k,
                           useIndex, alpha, crit, static_cast<unsigned long long>(print));
            SectionGL_cls& section = entry.vSection[static_cast<size_t>(axis)];
            if (entry.vSectionKey[static_cast<size_t>(axis)] != key) {
                std::vector<uint8_t> plane;
                unsigned w = 0, h = 0;
                if (!out.GetSection(axis, layer, plane, w, h))
                    continue;
                section.SetPlane(plane, w, h, coloring, useIndex, static_cast<float>(alpha), static_cast<float>(crit));
                entry.vSectionKey[static_cast<size_t>(axis)] = key;
            }
            entry.vSectionLayer[a] = k;
            if (section.Draw(axis, k, n, scale.data()))
                ++mCCounters.miSections;
        }
    }
}
