#include "volume/TexObjectJobsHeadless_cls.h"

#include "config/PreviewProperty_cls.h"
#include "volume/DF3_cls.h"

uint64_t TexObjectJobsHeadless_cls::UnitBytes() const
{
    if (muUnitBytes != 0)
        return muUnitBytes;
    return TexSlabPlan_cls::UnitBytesFor(TexSlabPlan_cls::GetUploadRate(), TexSlabPlan_cls::kTargetUnitMs);
}

bool TexObjectJobsHeadless_cls::StartGenerate(DF3_cls& frame, uint32_t& total)
{
    if (!frame.IsAllocated())
        return false;
    // The kind is fixed when the job starts, as with OpenGL textures: a job that runs on over
    // several steps is of the kind the preview asks for now.
    const PreviewProperty_cls& preview = GetPreviewProperty();
    Set3DTexture(preview.Is3DTexture());
    muKB = 0;
    muMadeTexels = 0;
    muTotalBytes = frame.GetCurrentTotalSize() * preview.GetTextureBytesPerVoxel();
    const uint32_t size[3] = {frame.GetCurrSize(0), frame.GetCurrSize(1), frame.GetCurrSize(2)};
    if (Is3DTexture()) {
        total = 1;
    } else {
        mCGenPlan.Make(size, false, 1, UnitBytes());
        total = mCGenPlan.GetUnitCount();
        muAllTexels = 3 * frame.GetCurrentTotalSize();
    }
    ++muGenerateCount;
    return true;
}

bool TexObjectJobsHeadless_cls::GenerateUnit(DF3_cls& /*frame*/, uint32_t unit)
{
    if (Is3DTexture() || muAllTexels == 0) {
        muKB = static_cast<uint32_t>(muTotalBytes / 1024);
        return true;
    }
    // The stacks take memory as their slices are made.
    muMadeTexels += mCGenPlan.GetUnitBytes(unit);
    const uint64_t bytes =
        unit + 1 == mCGenPlan.GetUnitCount() ? muTotalBytes : muTotalBytes * muMadeTexels / muAllTexels;
    muKB = static_cast<uint32_t>(bytes / 1024);
    return true;
}

bool TexObjectJobsHeadless_cls::StartBind(DF3_cls& frame, uint32_t& total)
{
    if (!frame.IsAllocated())
        return false;
    const uint32_t size[3] = {frame.GetCurrSize(0), frame.GetCurrSize(1), frame.GetCurrSize(2)};
    const unsigned type = GetPreviewProperty().GetTextureType();
    const unsigned texel =
        type == PreviewProperty_cls::kTexRGBA ? 4u : (type == PreviewProperty_cls::kTexLuminanceAlpha ? 2u : 1u);
    mCBindPlan.Make(size, Is3DTexture(), texel, UnitBytes());
    mvFilled.clear();
    total = mCBindPlan.GetUnitCount();
    return total > 0;
}

bool TexObjectJobsHeadless_cls::BindUnit(DF3_cls& /*frame*/, uint32_t unit)
{
    if (unit >= mCBindPlan.GetUnitCount())
        return false;
    mvFilled.push_back(mCBindPlan.GetUnit(unit));
    return true;
}

bool TexObjectJobsHeadless_cls::StartDelete(bool /*isCurrent*/, uint32_t& total)
{
    total = 1;
    return true;
}

bool TexObjectJobsHeadless_cls::DeleteUnit(bool /*isCurrent*/, uint32_t /*unit*/)
{
    muKB = 0;
    muMadeTexels = 0;
    mvFilled.clear();
    return true;
}
