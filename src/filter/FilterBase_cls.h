#pragma once
// Base of every item of a sequence's filter chain: data filters that transform the voxels and
// output or analysis items that consume the data at their place in the chain.
#include "filter/FilterData_cls.h"

#include <string>

class FilterCtrl_cls;

class FilterBase_cls
{
  public:
    /// Number of item types (codes 0..18).
    static constexpr int kTypeNum = 19;
    /// Default label of each item type, indexed by the type code ("Isosurface" ... "VelocityField").
    static const wchar_t* const msDefaultLabelStr[kTypeNum];

    FilterBase_cls() = default;
    virtual ~FilterBase_cls() = default;
    FilterBase_cls(const FilterBase_cls&) = delete;
    FilterBase_cls& operator=(const FilterBase_cls&) = delete;

    /// The item's persistent settings (never null).
    virtual FilterData_cls* GetPData() = 0;
    /// A text that changes whenever anything that affects the item's result changes.
    virtual std::wstring GetFilterStatusStr() const = 0;
    /// The item's configuration lines followed by its own further lines (no tag, no end line).
    virtual std::wstring SerializeConf() const = 0;
    /// Hands the frame's normalised time to the item; animated items evaluate their keys.
    virtual void UpdateParameters(double time) {}

    /// Sets owner, type code and label; called by each item's constructor. `owner` may be null
    /// for an item that is not (yet) in a chain.
    void ConstructorCommon(FilterCtrl_cls* owner, const std::wstring& label, int type);

    /// The chain that owns the item (null outside a chain). Not owned.
    FilterCtrl_cls* GetOwner() const { return mpOwner; }
    void SetOwner(FilterCtrl_cls* owner) { mpOwner = owner; }
    /// Type code 0..18, fixed at construction.
    int GetType() const { return miType; }
    /// True for the types that transform voxels (5, 6, 7, 9, 10, 15).
    bool IsDataFilter() const { return mbDataFilter; }
    /// True when items of `type` transform voxels.
    static bool IsDataFilterType(int type);
    /// The default label of `type` (empty for codes outside 0..18).
    static std::wstring GetDefaultLabel(int type);

    /// Identifier tag, unique within the chain (sequence index and running number).
    const std::wstring& GetIdTag() const { return mStrIdTag; }
    void SetIdTag(const std::wstring& tag) { mStrIdTag = tag; }
    /// The signature this item was last processed with (the chain's reprocessing test).
    const std::wstring& GetLastStatusStr() const { return mStrLastStatus; }
    void SetLastStatusStr(const std::wstring& status) { mStrLastStatus = status; }

    /// The label as the user sees it: a default label is shown translated, a user's own as typed.
    std::wstring GetLocaleStrLabel();
    /// The label as stored ("FilterName="), the same in every locale.
    std::wstring GetLocaleIndependentStrLabel();

  private:
    FilterCtrl_cls* mpOwner = nullptr;
    int miType = -1;
    bool mbDataFilter = false;
    std::wstring mStrIdTag;
    std::wstring mStrLastStatus;
};
