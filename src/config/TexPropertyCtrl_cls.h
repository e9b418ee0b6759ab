#pragma once
// The texture settings of the drawing blocks, one set per data slot: a colour factor (r, g, b)
// and an alpha factor that scale the slice colour and opacity of that slot's volume box in the
// preview. They let the user tone one slot down against the others (or tint it) without touching
// its colour map, which the scene export shares. Saved in projects as the block
// "--TextureForVolumeBox" followed by the item lines "TexBoxColorFactor0=" ...
// "TexBoxAlphaFactor3=". Factors are clamped to 0..kMaxFactor when used.
#include "config/ConfItemList_cls.h"

#include <array>
#include <string>

class LineStream_cls;

class TexPropertyCtrl_cls
{
  public:
    static constexpr int kSlotCount = 4;
    static constexpr float kMaxFactor = 8.0f;
    /// The block marker.
    static constexpr const wchar_t* kMarker = L"--TextureForVolumeBox";

    /// Factors 1 for every slot.
    TexPropertyCtrl_cls();
    TexPropertyCtrl_cls(const TexPropertyCtrl_cls&) = delete;
    TexPropertyCtrl_cls& operator=(const TexPropertyCtrl_cls&) = delete;

    /// Colour factor of `slot` (component 0..2), clamped; 1 for a slot out of range.
    float GetColorFactor(int slot, int component) const;
    void SetColorFactor(int slot, float r, float g, float b);
    /// Alpha factor of `slot`, clamped; 1 for a slot out of range.
    float GetAlphaFactor(int slot) const;
    void SetAlphaFactor(int slot, float alpha);
    /// True when every factor of `slot` is 1 (the slot draws as without these settings).
    bool IsNeutral(int slot) const;
    /// A number that changes with every change of a factor (views repaint when it moved).
    unsigned long GetSerial() const { return muSerial; }

    /// The block: the marker line, then every item line.
    std::wstring Serialize() const;
    /// Takes the marker (then the item lines right after it, up to the first line that is not
    /// one of them, which is left for the next reader) or a single item line.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& line);

  private:
    bool InRange(int slot) const { return slot >= 0 && slot < kSlotCount; }

    ConfItemList_cls mCConfList;
    std::array<ConfItemFLOATARRAY_cls, kSlotCount> mvCColor;
    std::array<ConfItemFLOAT_cls, kSlotCount> mvfAlpha;
    unsigned long muSerial = 0;
};
