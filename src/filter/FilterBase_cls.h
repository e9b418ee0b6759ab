#pragma once
// Base of every item of a sequence's filter chain: data filters that transform the voxels and
// output or analysis items that consume the data at their place in the chain.
#include "filter/FilterData_cls.h"

#include <string>

class FilterCtrl_cls;
class LineStream_cls;

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
    /// Offers one line of the item's project block (after the tag line, before "--END"); items
    /// with further lines (parameter sets) may take following lines from `stream`. True when
    /// the line was the item's.
    virtual bool ReadStrLine(LineStream_cls& stream, const std::wstring& line);

    /// Output items that consume the data at their place (isosurface, cross-section, object,
    /// three-view): takes the current data of the chain (sizes[0..2] voxels, x fastest). The
    /// pointer is valid only during the call; items keep their own copy.
    virtual void RefreshFilter(const unsigned char* data, const unsigned int* sizes) {}
    /// Analysis items (fix position, centre of mass): compute on the data of frame `frame`.
    virtual void DoCalc(const unsigned char* data, const unsigned int* sizes, int frame) {}
    /// The output item's own need to be refreshed (its result is stale although the chain's
    /// signature may not say so); false for every other item.
    virtual bool IsReprocessRequired() const { return false; }
    /// Box items: the box (fractions 0..1 of the data box, min and max corners) they limit
    /// drawing and export to. False when the item does not clip.
    virtual bool GetClippingInformation(double* boxMin, double* boxMax) const { return false; }

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
    /// Sets the tag (also shown through the settings' "FilterIdTag=" item).
    void SetIdTag(const std::wstring& tag);
    /// The signature this item was last processed with (the chain's reprocessing test).
    const std::wstring& GetLastStatusStr() const { return mStrLastStatus; }
    void SetLastStatusStr(const std::wstring& status) { mStrLastStatus = status; }
    /// The data frame the item last received data of (-1: none); set by the chain.
    int GetRefreshFrame() const { return miRefreshFrame; }
    void SetRefreshFrame(int frame) { miRefreshFrame = frame; }

    /// The label as the user sees it: a default label is shown translated, a user's own as typed.
    std::wstring GetLocaleStrLabel();
    /// The label as stored ("FilterName="), the same in every locale.
    std::wstring GetLocaleIndependentStrLabel();
    /// The values of every setting except the label and the tag (which change no result),
    /// blank-separated: a building block of the status texts.
    std::wstring GetSettingsStatusStr() const;

  private:
    FilterCtrl_cls* mpOwner = nullptr;
    int miType = -1;
    bool mbDataFilter = false;
    std::wstring mStrIdTag;
    std::wstring mStrLastStatus;
    int miRefreshFrame = -1;
};
