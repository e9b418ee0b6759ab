#include "iso/ThreadOptimizeA.h"

#include <cstring>

namespace
{
inline bool SamePosition(const float* a, const float* b)
{
    return a[0] == b[0] && a[1] == b[1] && a[2] == b[2];
}
} // namespace

void ThreadOptimizeA::Entry()
{
    MarchingBlock_cls& b = *mpBlock;
    const size_t n = b.mvPos.size() / 3;
    const bool normals = b.mvNorm.size() == b.mvPos.size();
    b.mvPosOpt.clear();
    b.mvNormOpt.clear();
    b.mvIndexOpt.clear();
    // Welded here, not by the march: the full weld works the exact duplicates out itself.
    b.mvOptToExact.clear();
    b.mvExactFirst.clear();
    b.mvExactBorder.clear();
    b.mvPosOpt.reserve(n); // a closed surface has about half as many vertices as triangles
    if (normals)
        b.mvNormOpt.reserve(n);
    b.mvIndexOpt.reserve(n);

    for (size_t v = 0; v < n; ++v) {
        const float* p = &b.mvPos[v * 3];
        const size_t unique = b.mvPosOpt.size() / 3;
        uint32_t found = UINT32_MAX;
        // The first triangle's vertices are taken as they are; afterwards look back a little.
        if (v >= 3) {
            size_t stop = unique > static_cast<size_t>(kLookBack) ? unique - kLookBack : 0;
            for (size_t u = unique; u-- > stop;) {
                if (SamePosition(&b.mvPosOpt[u * 3], p)) {
                    found = static_cast<uint32_t>(u);
                    break;
                }
            }
        }
        if (found == UINT32_MAX) {
            found = static_cast<uint32_t>(unique);
            b.mvPosOpt.insert(b.mvPosOpt.end(), p, p + 3);
            if (normals)
                b.mvNormOpt.insert(b.mvNormOpt.end(), &b.mvNorm[v * 3], &b.mvNorm[v * 3] + 3);
        }
        b.mvIndexOpt.push_back(found);
    }
    b.mbOptDone = true;
}
