#pragma once
// The drawing settings of the slice-stack preview ("Preview Property"): one instance serves every
// data slot and every drawing class (GetPreviewProperty()). Settings only: the OpenGL code reads
// them, the panel edits them, the project and configuration files save them.
#include "config/ConfItemList_cls.h"

#include <functional>
#include <string>
#include <vector>

class PreviewProperty_cls
{
  public:
    /// Texel formats of "PreviewTextureType=".
    enum TextureType { kTexAlpha = 0, kTexLuminanceAlpha = 1, kTexRGBA = 2 };

    PreviewProperty_cls();

    /// Turns "Use 3D Texture" on when the GL version is 1.2 or later (never turns it off), unless
    /// the environment variable TESSAN_FORCE_2D_TEXTURES is set to a non-zero value.
    void Set3DTextureCondition(int major, int minor);
    /// Whether frames are drawn from one 3D texture (else from per-axis 2D stacks).
    bool Is3DTexture() const { return mbUse3DTexture; }
    /// Sets the flag directly (tests, and the hidden preference that forces the 2D path).
    void SetUse3DTexture(bool on) { mbUse3DTexture = on; }

    unsigned GetPreviewType3D() const { return muPreviewType3D.Get(); }
    unsigned GetNormalQualityIndex() const { return muPreviewNormalQuality.Get(); }
    /// Slices of the camera-facing mode: 32, 48, 64, 96, 128, … 2048 by "PreviewNormalQuality=".
    int GetNQuality() const;
    unsigned GetTextureType() const { return muPreviewTextureType.Get(); }
    /// Texture bytes per voxel for the current texel format (3 for ALPHA/LUMINANCE_ALPHA, 4 for RGBA).
    unsigned GetTextureBytesPerVoxel() const { return GetTextureType() == kTexRGBA ? 4u : 3u; }
    unsigned GetBlendType() const { return muPreviewType.Get(); }
    unsigned GetHiding() const { return muPreviewHiding.Get(); }
    float GetAbsorption() const { return mfPreviewAbsorption.Get(); }
    float GetAbsorptionComplement() const { return mfPreviewAbsorptionComplement.Get(); }
    float GetLuminanceFactor() const { return mfPreviewLuminanceFactor.Get(); }
    unsigned GetShading() const { return muPreviewShading.Get(); }
    unsigned GetShadingCoord() const { return muPreviewShadingCoord.Get(); }
    unsigned GetShadingPattern() const { return muPreviewShadingPattern.Get(); }
    float GetShadeOffset() const { return mfPreviewShadeOffset.Get(); }
    /// True when textures use the linear filter ("PreviewTexFilter=" 1), else nearest.
    bool IsTexFilterLinear() const { return muPreviewTexFilter.Get() == 1; }

    /// Whether the slot's data must pass the filter chain before it is shown or exported (its
    /// chain holds a data filter). Answered by the hook the data-slot controller installs.
    bool IsFilterProcessRequired(int slot) const;
    void SetFilterProcessRequiredHook(std::function<bool(int)> hook) { mFilterRequiredHook = std::move(hook); }
    /// Density (0..1) through the level mapping of the active filter chain (identity without hook).
    double GetLevelMapping(double density) const;
    void SetLevelMappingHook(std::function<double(double)> hook) { mLevelMappingHook = std::move(hook); }

    /// Choice texts of the panel (untranslated msgids; pass them through Tr when shown).
    static const std::vector<const char*>& GetNormalQualityChoices();
    static const std::vector<const char*>& GetPreviewType3DChoices();
    static const std::vector<const char*>& GetTextureTypeChoices();
    static const std::vector<const char*>& GetBlendTypeChoices();
    static const std::vector<const char*>& GetHidingChoices();

    ConfItemList_cls& GetConfList() { return mCConfList; }
    /// The settings as configuration lines.
    std::wstring SerializeConf() const { return mCConfList.SerializeAll(); }
    /// Takes a line when it is one of the settings' keys.
    bool ReadStrLine(const std::wstring& line) { return mCConfList.ReadStrLineAll(line); }
    /// Sets the setting `key` (with its "=") to the value text `value` as one undo step
    /// "Preview Setting" (ComPreviewProperty_cls), from the value it holds now. False, and no
    /// step, for an unknown key or a value that leaves the setting as it is.
    bool SetItemExecute(const std::wstring& key, const std::wstring& value);
    /// As SetItemExecute, from the value `before` (a setting already changed on the way, such as
    /// a slider being dragged, becomes one step from where the drag began).
    bool SetItemExecute(const std::wstring& key, const std::wstring& before, const std::wstring& value);
    /// Called after the history changed a setting (the edit itself, undo, redo). GUI thread.
    std::function<void()> FuncHookChanged;
    /// Runs FuncHookChanged (used by the commands).
    void NotifyChanged()
    {
        if (FuncHookChanged)
            FuncHookChanged();
    }

  private:
    ConfItemList_cls mCConfList;
    ConfItemUINT_cls muPreviewType3D;
    ConfItemUINT_cls muPreviewNormalQuality;
    ConfItemUINT_cls muPreviewTextureType;
    ConfItemUINT_cls muPreviewType;
    ConfItemUINT_cls muPreviewHiding;
    ConfItemFLOAT_cls mfPreviewAbsorption;
    ConfItemFLOAT_cls mfPreviewAbsorptionComplement;
    ConfItemFLOAT_cls mfPreviewLuminanceFactor;
    ConfItemUINT_cls muPreviewShading;
    ConfItemUINT_cls muPreviewShadingCoord;
    ConfItemUINT_cls muPreviewShadingPattern;
    ConfItemFLOAT_cls mfPreviewShadeOffset;
    ConfItemUINT_cls muPreviewTexFilter;
    bool mbUse3DTexture = false;
    std::function<bool(int)> mFilterRequiredHook;
    std::function<double(double)> mLevelMappingHook;
};

/// The process-wide preview settings.
PreviewProperty_cls& GetPreviewProperty();
