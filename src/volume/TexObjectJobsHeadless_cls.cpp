#include "volume/TexObjectJobsHeadless_cls.h"

#include "config/PreviewProperty_cls.h"
#include "volume/DF3_cls.h"

bool TexObjectJobsHeadless_cls::StartGenerate(DF3_cls& frame, uint32_t& total)
{
    if (!frame.IsAllocated())
        return false;
    // The kind is fixed when the job starts, as with OpenGL textures: a job that runs on over
    // several steps is of the kind the preview asks for now.
    Set3DTexture(GetPreviewProperty().Is3DTexture());
    total = 1;
    return true;
}

bool TexObjectJobsHeadless_cls::GenerateUnit(DF3_cls& frame, uint32_t /*unit*/)
{
    const PreviewProperty_cls& preview = GetPreviewProperty();
    Set3DTexture(preview.Is3DTexture());
    const uint64_t bytes = frame.GetCurrentTotalSize() * preview.GetTextureBytesPerVoxel();
    muKB = static_cast<uint32_t>(bytes / 1024);
    ++muGenerateCount;
    return true;
}

bool TexObjectJobsHeadless_cls::StartBind(DF3_cls& /*frame*/, uint32_t& total)
{
    total = 1;
    return true;
}

bool TexObjectJobsHeadless_cls::BindUnit(DF3_cls& /*frame*/, uint32_t /*unit*/)
{
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
    return true;
}
