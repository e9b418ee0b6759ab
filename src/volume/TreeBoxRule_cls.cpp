#include "volume/TreeBoxRule_cls.h"

#include <algorithm>

TreeBoxRule_cls::TreeBoxRule_cls()
{
    mCConfList.Add(&muDepth, L"TreeBoxRuleDepth=", L"2");
    mCConfList.Add(&muMinVoxels, L"TreeBoxRuleMinVoxels=", L"4");
    mCConfList.Add(&muEmptyLevel, L"TreeBoxRuleEmptyLevel=", L"0");
}

// Values are clamped when used, not when read, so that a file written by another version with a
// wider range still writes back what it held.

uint32_t TreeBoxRule_cls::GetDepth() const
{
    return std::min(muDepth.Get(), kMaxDepth);
}

void TreeBoxRule_cls::SetDepth(uint32_t depth)
{
    muDepth.Set(std::min(depth, kMaxDepth));
    ++muSerial;
}

uint32_t TreeBoxRule_cls::GetMinVoxels() const
{
    return std::clamp<uint32_t>(muMinVoxels.Get(), 1u, kMaxMinVoxels);
}

void TreeBoxRule_cls::SetMinVoxels(uint32_t voxels)
{
    muMinVoxels.Set(std::clamp<uint32_t>(voxels, 1u, kMaxMinVoxels));
    ++muSerial;
}

uint8_t TreeBoxRule_cls::GetEmptyLevel() const
{
    return static_cast<uint8_t>(std::min<uint32_t>(muEmptyLevel.Get(), 255u));
}

void TreeBoxRule_cls::SetEmptyLevel(uint32_t level)
{
    muEmptyLevel.Set(std::min<uint32_t>(level, 255u));
    ++muSerial;
}

bool TreeBoxRule_cls::ReadStrLine(const std::wstring& line)
{
    if (!mCConfList.ReadStrLineAll(line))
        return false;
    ++muSerial;
    return true;
}
