#include "config/PreviewProperty_cls.h"

#include "anim/UndoManager_cls.h"
#include "config/ComPreviewProperty_cls.h"
#include "config/TextFormat.h"

#include <cstdlib>

namespace
{
constexpr int kNQuality[] = {32, 48, 64, 96, 128, 192, 256, 384, 512, 768, 1024, 1536, 2048};
}

PreviewProperty_cls::PreviewProperty_cls()
{
    mCConfList.Add(&muPreviewType3D, L"PreviewType3D=", L"1");
    mCConfList.Add(&muPreviewNormalQuality, L"PreviewNormalQuality=", L"4");
    mCConfList.Add(&muPreviewTextureType, L"PreviewTextureType=", L"0");
    mCConfList.Add(&muPreviewType, L"PreviewType=", L"0");
    mCConfList.Add(&muPreviewHiding, L"PreviewHiding=", L"0");
    mCConfList.Add(&mfPreviewAbsorption, L"PreviewAbsorption=", L"0");
    mCConfList.Add(&mfPreviewAbsorptionComplement, L"PreviewAbsorptionComplement=", L"0");
    mCConfList.Add(&mfPreviewLuminanceFactor, L"PreviewLuminanceFactor=", L"1");
    mCConfList.Add(&muPreviewShading, L"PreviewShading=", L"0");
    mCConfList.Add(&muPreviewShadingCoord, L"PreviewShadingCoord=", L"0");
    mCConfList.Add(&muPreviewShadingPattern, L"PreviewShadingPattern=", L"0");
    mCConfList.Add(&mfPreviewShadeOffset, L"PreviewShadeOffset=", L"0.001");
    mCConfList.Add(&muPreviewTexFilter, L"PreviewTexFilter=", L"1");
}

void PreviewProperty_cls::Set3DTextureCondition(int major, int minor)
{
    const char* force = std::getenv("TESSAN_FORCE_2D_TEXTURES");
    if (force && ParseLong(std::string_view(force)) != 0)
        return;
    if (major > 1 || (major == 1 && minor >= 2))
        mbUse3DTexture = true;
}

int PreviewProperty_cls::GetNQuality() const
{
    unsigned i = muPreviewNormalQuality.Get();
    if (i >= std::size(kNQuality))
        i = std::size(kNQuality) - 1;
    return kNQuality[i];
}

bool PreviewProperty_cls::IsFilterProcessRequired(int slot) const
{
    return mFilterRequiredHook ? mFilterRequiredHook(slot) : false;
}

double PreviewProperty_cls::GetLevelMapping(double density) const
{
    return mLevelMappingHook ? mLevelMappingHook(density) : density;
}

const std::vector<const char*>& PreviewProperty_cls::GetNormalQualityChoices()
{
    // "48 noamal layers" is spelled so on purpose: saved panels and translations use this text.
    static const std::vector<const char*> s = {
        "32 normal layers",   "48 noamal layers",   "64 normal layers",  "96 normal layers",  "128 normal layers",
        "192 normal layers",  "256 normal layers",  "384 normal layers", "512 normal layers", "768 normal layers",
        "1024 normal layers", "1536 normal layers", "2048 normal layers"};
    return s;
}

const std::vector<const char*>& PreviewProperty_cls::GetPreviewType3DChoices()
{
    static const std::vector<const char*> s = {"Lattice like", "Normal to Camera"};
    return s;
}

const std::vector<const char*>& PreviewProperty_cls::GetTextureTypeChoices()
{
    static const std::vector<const char*> s = {"ALPHA (Less Memory)", "LUMINANCE_ALPHA", "RGBA (High Quality)"};
    return s;
}

const std::vector<const char*>& PreviewProperty_cls::GetBlendTypeChoices()
{
    static const std::vector<const char*> s = {"0: Alpha Blend", "1: Add"};
    return s;
}

const std::vector<const char*>& PreviewProperty_cls::GetHidingChoices()
{
    static const std::vector<const char*> s = {"Mutual Hide", "No Hide", "Inverse Hide"};
    return s;
}

PreviewProperty_cls& GetPreviewProperty()
{
    static PreviewProperty_cls sPreviewProperty;
    return sPreviewProperty;
}

bool PreviewProperty_cls::SetItemExecute(const std::wstring& key, const std::wstring& value)
{
    const ConfItem_cls* item = mCConfList.Find(key);
    return item != nullptr && SetItemExecute(key, item->GetItemStr(), value);
}

bool PreviewProperty_cls::SetItemExecute(const std::wstring& key, const std::wstring& before, const std::wstring& value)
{
    ConfItem_cls* item = mCConfList.Find(key);
    if (item == nullptr)
        return false;
    // The value as the setting takes it (clamped, formatted), found by trying it.
    const std::wstring now = item->GetItemStr();
    ReadStrLine(key + value);
    const std::wstring after = item->GetItemStr();
    if (after == before) {
        // Dragged away and back: no step, but the setting ends where it began.
        if (now != after)
            NotifyChanged();
        return false;
    }
    // The history makes the change itself, from the value before the edit.
    ReadStrLine(key + before);
    UndoManager_cls& history = GetUndoManager();
    history.SetNewCommand(std::make_unique<ComPreviewProperty_cls>(this, key + after + L"\n"),
                          std::make_unique<ComPreviewProperty_cls>(this, key + before + L"\n"));
    history.ExecCurrent();
    return true;
}
