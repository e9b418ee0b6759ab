#include "gl/DrawingBlock_cls.h"

#include "filter/MultiThreadCtrl_cls.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace
{

double ClampUnit(double v)
{
    if (!(v > 0.0)) // also NaN
        return 0.0;
    return v > 1.0 ? 1.0 : v;
}

} // namespace

const TreeBoxRule_cls* DrawingBlock_cls::mspTreeBoxRule = nullptr;

const TreeBoxRule_cls& DrawingBlock_cls::GetTreeBoxRule()
{
    static const TreeBoxRule_cls defaultRule;
    return mspTreeBoxRule != nullptr ? *mspTreeBoxRule : defaultRule;
}

DrawingBlock_cls::DrawingBlock_cls()
{
    mCConfList.Add(&mbUse8Tree, L"DrawingBoxUse8TRee=", L"0");
    mCConfList.Add(&mbUse8TreeForCopy, L"DrawingBoxUse8TReeForCopy=", L"0");
    const wchar_t* axes[3] = {L"X", L"Y", L"Z"};
    for (int a = 0; a < 3; ++a)
        mCConfList.Add(&mvfMin[a], std::wstring(L"DrawingBoxMin") + axes[a] + L"=", L"0");
    for (int a = 0; a < 3; ++a)
        mCConfList.Add(&mvfMax[a], std::wstring(L"DrawingBoxMax") + axes[a] + L"=", L"1");
}

// --- settings and text form -------------------------------------------------------------------

void DrawingBlock_cls::SetUse8Tree(bool on)
{
    mbUse8Tree.Set(on);
    mbChildsValid = false;
}

DrawingBlock_cls::Box DrawingBlock_cls::GetBox() const
{
    Box box;
    for (int a = 0; a < 3; ++a) {
        double lo = ClampUnit(mvfMin[a].Get()), hi = ClampUnit(mvfMax[a].Get());
        if (lo > hi)
            std::swap(lo, hi);
        box.mvMin[a] = lo;
        box.mvMax[a] = hi;
    }
    return box;
}

void DrawingBlock_cls::SetBox(const Box& box)
{
    for (int a = 0; a < 3; ++a) {
        mvfMin[a].Set(static_cast<float>(box.mvMin[a]));
        mvfMax[a].Set(static_cast<float>(box.mvMax[a]));
    }
    mbChildsValid = false;
}

bool DrawingBlock_cls::ReadStrLine(const std::wstring& line)
{
    const Box before = GetBox();
    const bool taken = mCConfList.ReadStrLineAll(line);
    if (taken && !(GetBox() == before))
        mbChildsValid = false;
    return taken;
}

// --- octree -----------------------------------------------------------------------------------

bool DrawingBlock_cls::IsChildsValidFor(uint64_t key) const
{
    const TreeBoxRule_cls& rule = GetTreeBoxRule();
    return mbChildsValid && muChildsKey == key && mpChildsRule == &rule && muChildsRuleSerial == rule.GetSerial();
}

std::vector<DrawingBlock_cls::Box> DrawingBlock_cls::SplitBox(const Box& box, const uint32_t size[3])
{
    const TreeBoxRule_cls& rule = GetTreeBoxRule();
    return SplitBox(box, size, rule.GetDepth(), rule.GetMinVoxels());
}

std::vector<DrawingBlock_cls::Box> DrawingBlock_cls::SplitBox(const Box& box, const uint32_t size[3], uint32_t depth,
                                                              uint32_t minVoxels)
{
    const double minHalf = std::max<uint32_t>(minVoxels, 1u);
    std::vector<Box> boxes{box};
    for (uint32_t level = 0; level < depth; ++level) {
        std::vector<Box> next;
        for (const Box& b : boxes) {
            // Per axis: cut in two at a voxel boundary, unless the halves would be too thin.
            std::array<std::vector<std::pair<double, double>>, 3> parts;
            for (int a = 0; a < 3; ++a) {
                const double n = size[a];
                const double lo = std::floor(n * b.mvMin[a]), hi = std::floor(n * b.mvMax[a]);
                const double mid = std::floor((lo + hi) / 2.0);
                if (hi - lo >= 2.0 * minHalf && n > 0) {
                    const double cut = mid / n;
                    parts[a] = {{b.mvMin[a], cut}, {cut, b.mvMax[a]}};
                } else {
                    parts[a] = {{b.mvMin[a], b.mvMax[a]}};
                }
            }
            for (const auto& px : parts[0])
                for (const auto& py : parts[1])
                    for (const auto& pz : parts[2])
                        next.push_back(Box{{px.first, py.first, pz.first}, {px.second, py.second, pz.second}});
        }
        // Nothing could be cut at this level: deeper levels cannot cut either.
        const bool same = next.size() == boxes.size();
        boxes = std::move(next);
        if (same)
            break;
    }
    return boxes;
}

bool DrawingBlock_cls::CheckVis(const uint8_t* voxels, const uint32_t size[3], const Box& box, uint8_t emptyLevel)
{
    if (!voxels)
        return false;
    size_t lo[3], hi[3];
    for (int a = 0; a < 3; ++a) {
        // The same floor(N * fraction) rule as the slices, so a leaf tests exactly the voxels
        // its slices show.
        lo[a] = static_cast<size_t>(std::max(0.0, std::floor(size[a] * box.mvMin[a])));
        hi[a] = static_cast<size_t>(std::min<double>(size[a], std::floor(size[a] * box.mvMax[a])));
        if (lo[a] >= hi[a])
            return false;
    }
    const size_t X = size[0], Y = size[1];
    for (size_t z = lo[2]; z < hi[2]; ++z)
        for (size_t y = lo[1]; y < hi[1]; ++y) {
            const uint8_t* row = voxels + (y + z * Y) * X;
            if (std::any_of(row + lo[0], row + hi[0], [emptyLevel](uint8_t v) { return v > emptyLevel; }))
                return true;
        }
    return false;
}

void DrawingBlock_cls::MakeChilds(const uint8_t* voxels, const uint32_t size[3], uint64_t key, int threads)
{
    const TreeBoxRule_cls& rule = GetTreeBoxRule();
    const uint8_t emptyLevel = rule.GetEmptyLevel();
    const std::vector<Box> leaves = SplitBox(GetBox(), size, rule.GetDepth(), rule.GetMinVoxels());
    std::vector<uint8_t> visible(leaves.size(), 0);
    MultiThreadCtrl_cls ctrl;
    ctrl.SetThreadNum(std::clamp(threads, 1, MultiThreadCtrl_cls::kMaxSlots));
    // Each worker checks its own range of leaves and writes only their flags.
    ctrl.RunRanges(leaves.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i)
            visible[i] = CheckVis(voxels, size, leaves[i], emptyLevel) ? 1 : 0;
    });
    mvVisible.clear();
    for (size_t i = 0; i < leaves.size(); ++i)
        if (visible[i])
            mvVisible.push_back(leaves[i]);
    muLeafCount = leaves.size();
    muChildsKey = key;
    mpChildsRule = &rule;
    muChildsRuleSerial = rule.GetSerial();
    mbChildsValid = true;
}

// --- boxes for drawing and copying ------------------------------------------------------------

std::vector<DrawingBlock_cls::Box> DrawingBlock_cls::GetDrawBoxes(const Vec3d& viewNormal) const
{
    if (!IsUse8Tree() || !mbChildsValid)
        return {GetBox()};
    std::vector<std::pair<double, Box>> keyed;
    keyed.reserve(mvVisible.size());
    for (const Box& b : mvVisible) {
        double d = 0.0;
        for (int a = 0; a < 3; ++a)
            d += (b.mvMin[a] + b.mvMax[a]) * 0.5 * viewNormal[a];
        keyed.emplace_back(d, b);
    }
    // The normal points away from the viewer: the largest distance is the farthest box.
    std::stable_sort(keyed.begin(), keyed.end(), [](const auto& x, const auto& y) { return x.first > y.first; });
    std::vector<Box> out;
    out.reserve(keyed.size());
    for (auto& [d, b] : keyed)
        out.push_back(b);
    return out;
}

std::vector<DrawingBlock_cls::Box> DrawingBlock_cls::GetCopyBoxes() const
{
    if (!IsUse8TreeForCopy() || !mbChildsValid)
        return {GetBox()};
    return mvVisible;
}
