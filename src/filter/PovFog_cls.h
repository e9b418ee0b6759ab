#pragma once
// The fog item of a filter chain: distance, colour and the volume it belongs to.
#include "filter/FilterBase_cls.h"
#include "filter/PovFogData_cls.h"

#include <string>

/// Fog item (chain type 1, "Fog", block "--Fog"). It has no animated values; the export asks
/// the chain for the fog that targets a volume (FilterCtrl_cls::GetPFogTargettingMe).
class PovFog_cls : public FilterBase_cls
{
  public:
    /// The chain's type code of this item.
    static constexpr int kTypeCode = 1;

    /// Default settings; `owner` may be null outside a chain.
    explicit PovFog_cls(FilterCtrl_cls* owner = nullptr) { ConstructorCommon(owner, L"Fog", kTypeCode); }

    FilterData_cls* GetPData() override { return &mCData; }
    std::wstring SerializeConf() const override { return mCData.SerializeConf(); }
    /// "Fog::" + the settings that change the result.
    std::wstring GetFilterStatusStr() const override { return L"Fog::" + GetSettingsStatusStr(); }

    PovFogData_cls& GetData() { return mCData; }

  private:
    PovFogData_cls mCData;
};
