// Sections: 1. item types and menu; 2. construction, list and tags; 3. queries; 4. edits through
// the history; 5. time; 6. processing and the reprocessing test; 7. text form; 8. omission list.
#include "filter/FilterCtrl_cls.h"

#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "filter/BlurGauss_cls.h"
#include "filter/BoxCopy_cls.h"
#include "filter/ComFilterConfChange.h"
#include "filter/ComFilterParamRemove_cls.h"
#include "filter/ComFilterParamSwap_cls.h"
#include "filter/DataRotate_cls.h"
#include "filter/FilterCenterOfMass_cls.h"
#include "filter/FilterClipping_cls.h"
#include "filter/FilterFixPosition_cls.h"
#include "filter/InvDiffuse_cls.h"
#include "filter/LayerColorCurve_cls.h"
#include "filter/LevelAndGamma_cls.h"
#include "filter/MorphOpenClose_cls.h"
#include "filter/PovCrossSection_cls.h"
#include "filter/PovDiffObject_cls.h"
#include "filter/PovFog_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "filter/PovObject_cls.h"
#include "filter/PovStreamLine_cls.h"
#include "filter/PovThreeView_cls.h"
#include "filter/PovVelField_cls.h"
#include "filter/PovVolume_cls.h"
#include "volume/DF3Sequence_cls.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <new>

// ---- 1. item types and menu ----

const wchar_t* const FilterCtrl_cls::msBlockEnd = L"--END";

const FilterCtrl_cls::ItemType FilterCtrl_cls::msItemType[FilterBase_cls::kTypeNum] = {
    {0, L"PovIsosurface_cls", L"Isosurface", L"--Isosurface", kRoleOutput},
    {1, L"PovFog_cls", L"Fog", L"--Fog", kRoleOutput},
    {2, L"BoxCopy_cls", L"Box Copy", L"--BoxCopy", kRoleBox},
    {3, L"FilterClipping_cls", L"Clipping", L"--ClipBox", kRoleBox},
    {4, L"PovVolume_cls", L"Volume", L"--Volume", kRoleOutput},
    {5, L"BlurGauss_cls", L"Gauss Blur", L"--BlurGauss", kRoleData},
    {6, L"LevelAndGamma_cls", L"Level Gamma", L"--LevelAndGamma", kRoleData},
    {7, L"InvDiffuse_cls", L"Inverse Diffuse", L"--InvDiffuse", kRoleData},
    {8, L"FilterFixPosition_cls", L"FixPosition", L"--FixPosition", kRoleAnalysis},
    {9, L"DataRotate_cls", L"Data Rotate", L"--DataRotate", kRoleData},
    {10, L"LayerColorCurve_cls", L"Density Curve", L"--LayerColorCurve", kRoleData},
    {11, L"PovCrossSection_cls", L"Cross-section", L"--CrossSection", kRoleOutput},
    {12, L"PovObject_cls", L"Object", L"--PovObject", kRoleOutput},
    {13, L"FilterCenterOfMass_cls", L"CenterOfMass", L"--CenterOfMass", kRoleAnalysis},
    {14, L"PovDiffObject_cls", L"DiffObject", L"--PovDiffObject", kRoleOutput},
    {15, L"MorphOpenClose_cls", L"Morph Filter", L"--MorphOpenClose", kRoleData},
    {16, L"PovThreeView_cls", L"Three-view", L"--PovThreeView", kRoleOutput},
    {17, L"PovStreamLine_cls", L"Streamline", L"--PovStreamLine", kRoleOutput},
    {18, L"PovVelField_cls", L"VelocityField", L"--PovVelocityField", kRoleOutput},
};

const wchar_t* FilterCtrl_cls::GetTag(int type)
{
    return type >= 0 && type < FilterBase_cls::kTypeNum ? msItemType[type].pTag : L"";
}

int FilterCtrl_cls::GetTypeFromTagLine(const std::wstring& line)
{
    std::wstring s = StripLineEnd(line);
    while (!s.empty() && (s.back() == L' ' || s.back() == L'\t'))
        s.pop_back();
    for (const ItemType& t : msItemType)
        if (s == t.pTag)
            return t.iCode;
    return -1;
}

const std::vector<FilterCtrl_cls::MenuEntry>& FilterCtrl_cls::GetMenuEntries()
{
    static const std::vector<MenuEntry> kEntries = {
        {0, "Add Isosurface", ""},
        {11, "Add Cross-section", ""},
        {16, "Add Three-View", ""},
        {1, "Add Fog", ""},
        {12, "Add Object", ""},
        {14, "Add Diff Object", ""},
        {4, "Add Volume", ""},
        {2, "Add Box Copy", "Box Filter"},
        {3, "Add Clipping", "Box Filter"},
        {6, "Add Level and Gamma", "Data Filter"},
        {5, "Add Gauss Blur", "Data Filter"},
        {7, "Add Inverse Diffuse", "Data Filter"},
        {9, "Add Data Rotate", "Data Filter"},
        {10, "Composite Density Curve", "Data Filter"},
        {15, "Morphological Filter", "Data Filter"},
        {18, "Velocity Field", ""},
        {17, "Stream Line", ""},
        {8, "Add Fix Position", "Analizer"},
        {13, "Add Center of Mass", "Analizer"},
    };
    return kEntries;
}

std::unique_ptr<FilterBase_cls> FilterCtrl_cls::CreateItem(int type, FilterCtrl_cls* owner)
{
    switch (type) {
    case 0:
        return std::make_unique<PovIsosurface_cls>(owner);
    case 1:
        return std::make_unique<PovFog_cls>(owner);
    case 2:
        return std::make_unique<BoxCopy_cls>(owner);
    case 3:
        return std::make_unique<FilterClipping_cls>(owner);
    case 4:
        return std::make_unique<PovVolume_cls>(owner);
    case 5:
        return std::make_unique<BlurGauss_cls>(owner);
    case 6:
        return std::make_unique<LevelAndGamma_cls>(owner);
    case 7:
        return std::make_unique<InvDiffuse_cls>(owner);
    case 8:
        return std::make_unique<FilterFixPosition_cls>(owner);
    case 9:
        return std::make_unique<DataRotate_cls>(owner);
    case 10:
        return std::make_unique<LayerColorCurve_cls>(owner);
    case 11:
        return std::make_unique<PovCrossSection_cls>(owner);
    case 12:
        return std::make_unique<PovObject_cls>(owner);
    case 13:
        return std::make_unique<FilterCenterOfMass_cls>(owner);
    case 14:
        return std::make_unique<PovDiffObject_cls>(owner);
    case 15:
        return std::make_unique<MorphOpenClose_cls>(owner);
    case 16:
        return std::make_unique<PovThreeView_cls>(owner);
    case 17:
        return std::make_unique<PovStreamLine_cls>(owner);
    case 18:
        return std::make_unique<PovVelField_cls>(owner);
    default:
        return nullptr;
    }
}

// ---- 2. construction, list and tags ----

namespace
{

std::vector<const FilterCtrl_cls*>& LiveChains()
{
    static std::vector<const FilterCtrl_cls*> sChains;
    return sChains;
}

int& OmitDepth()
{
    static int sDepth = 0;
    return sDepth;
}

/// Chains whose change notice waits for the end of the suspension (msOmitUpdateList).
std::vector<FilterCtrl_cls*>& OmitUpdateList()
{
    static std::vector<FilterCtrl_cls*> sList;
    return sList;
}

bool TakesData(int type)
{
    return type == 0 || type == 11 || type == 12 || type == 16;
}

} // namespace

FilterCtrl_cls::FilterCtrl_cls(DF3Sequence_cls* owner, int sequenceIndex)
    : mpOwner(owner), miSequenceIndex(sequenceIndex)
{
    LiveChains().push_back(this);
}

FilterCtrl_cls::~FilterCtrl_cls()
{
    auto& live = LiveChains();
    live.erase(std::remove(live.begin(), live.end(), this), live.end());
    auto& omit = OmitUpdateList();
    omit.erase(std::remove(omit.begin(), omit.end(), this), omit.end());
}

bool FilterCtrl_cls::IsLive(const FilterCtrl_cls* chain)
{
    const auto& live = LiveChains();
    return chain && std::find(live.begin(), live.end(), chain) != live.end();
}

FilterBase_cls* FilterCtrl_cls::GetPFilterBase(int i) const
{
    return i >= 0 && i < GetItemNum() ? mvpItem[static_cast<size_t>(i)].get() : nullptr;
}

FilterData_cls* FilterCtrl_cls::GetPFilterData(int i) const
{
    FilterBase_cls* item = GetPFilterBase(i);
    return item ? item->GetPData() : nullptr;
}

int FilterCtrl_cls::GetSelfIndex(const FilterBase_cls* item) const
{
    for (int i = 0; i < GetItemNum(); ++i)
        if (mvpItem[static_cast<size_t>(i)].get() == item)
            return i;
    return -1;
}

int FilterCtrl_cls::AddToList(int position, std::unique_ptr<FilterBase_cls> item)
{
    if (!item)
        return -1;
    if (position < 0 || position > GetItemNum())
        position = GetItemNum();
    const std::wstring tag = item->GetIdTag();
    if (tag.empty() || GetIndexFromTag(tag) >= 0)
        item->SetIdTag(GetIdString(item->GetType()));
    item->SetOwner(this);
    mvpItem.insert(mvpItem.begin() + position, std::move(item));
    return position;
}

std::unique_ptr<FilterBase_cls> FilterCtrl_cls::TakeFromList(int position)
{
    if (position < 0 || position >= GetItemNum())
        return nullptr;
    std::unique_ptr<FilterBase_cls> item = std::move(mvpItem[static_cast<size_t>(position)]);
    mvpItem.erase(mvpItem.begin() + position);
    return item;
}

bool FilterCtrl_cls::SwapFilterList(int a, int b)
{
    if (a < 0 || b < 0 || a >= GetItemNum() || b >= GetItemNum())
        return false;
    std::swap(mvpItem[static_cast<size_t>(a)], mvpItem[static_cast<size_t>(b)]);
    return true;
}

void FilterCtrl_cls::ClearFilter()
{
    mvpItem.clear();
    mvStrFrameStatus.clear();
    NotifyChanged();
}

std::wstring FilterCtrl_cls::GetIdString(int type) const
{
    std::wstring name = GetTag(type);
    if (name.size() > 2)
        name = name.substr(2);
    for (int k = 0;; ++k) {
        std::wstring candidate = WStrPrintf("%d_", miSequenceIndex) + name + WStrPrintf("_%d", k);
        if (GetIndexFromTag(candidate) < 0)
            return candidate;
    }
}

int FilterCtrl_cls::GetIndexFromTag(const std::wstring& tag) const
{
    if (tag.empty())
        return -1;
    for (int i = 0; i < GetItemNum(); ++i)
        if (mvpItem[static_cast<size_t>(i)]->GetIdTag() == tag)
            return i;
    return -1;
}

FilterBase_cls* FilterCtrl_cls::GetPFromTag(const std::wstring& tag) const
{
    return GetPFilterBase(GetIndexFromTag(tag));
}

bool FilterCtrl_cls::DoesSameFilterNameExist(const std::wstring& name, const FilterBase_cls* except) const
{
    for (const auto& item : mvpItem)
        if (item.get() != except && item->GetPData()->GetName() == name)
            return true;
    return false;
}

// ---- 3. queries ----

int FilterCtrl_cls::CountDataFilterNumber() const
{
    return static_cast<int>(
        std::count_if(mvpItem.begin(), mvpItem.end(), [](const auto& p) { return p->IsDataFilter(); }));
}

int FilterCtrl_cls::CountEffectiveDataFilterNumber() const
{
    int pending = 0, effective = 0;
    for (const auto& item : mvpItem) {
        if (item->IsDataFilter() && item->GetPData()->IsValid())
            ++pending;
        if (item->GetType() == PovVolume_cls::kTypeCode) {
            effective += pending;
            pending = 0;
        }
    }
    return effective;
}

bool FilterCtrl_cls::IsNextFilterIsVolume(int index) const
{
    for (int j = index + 1; j < GetItemNum(); ++j) {
        const FilterBase_cls* item = mvpItem[static_cast<size_t>(j)].get();
        if (item->GetType() == PovVolume_cls::kTypeCode)
            return true;
        if (item->IsDataFilter())
            return false;
    }
    return false;
}

bool FilterCtrl_cls::DoesFilterExist(int type, int from, FilterBase_cls** found) const
{
    for (int i = std::max(from, 0); i < GetItemNum(); ++i)
        if (mvpItem[static_cast<size_t>(i)]->GetType() == type) {
            if (found)
                *found = mvpItem[static_cast<size_t>(i)].get();
            return true;
        }
    return false;
}

PovVolume_cls* FilterCtrl_cls::GetVolumeItem() const
{
    FilterBase_cls* item = nullptr;
    return DoesFilterExist(PovVolume_cls::kTypeCode, 0, &item) ? static_cast<PovVolume_cls*>(item) : nullptr;
}

bool FilterCtrl_cls::GetVolumeValidity() const
{
    for (const auto& item : mvpItem)
        if (item->GetType() == PovVolume_cls::kTypeCode && item->GetPData()->IsValid())
            return true;
    return false;
}

int FilterCtrl_cls::GetVolumeColorType() const
{
    PovVolume_cls* v = GetVolumeItem();
    return v ? v->GetData().miColorIndex.Get() : 1;
}

int FilterCtrl_cls::GetVolumeDataType() const
{
    PovVolume_cls* v = GetVolumeItem();
    return v ? v->GetData().miDataType.Get() : 0;
}

double FilterCtrl_cls::GetVolumeParameter(int i) const
{
    PovVolume_cls* v = GetVolumeItem();
    return v ? v->GetVolumeParameter(i) : 1.0;
}

PovFog_cls* FilterCtrl_cls::GetPFogTargettingMe(const std::wstring& tag, bool orAny) const
{
    PovFog_cls* any = nullptr;
    for (const auto& item : mvpItem) {
        if (item->GetType() != PovFog_cls::kTypeCode || !item->GetPData()->IsValid())
            continue;
        auto* fog = static_cast<PovFog_cls*>(item.get());
        const std::wstring& target = fog->GetData().mStrTarget.Get();
        if (!tag.empty() && target == tag)
            return fog;
        if (target.empty() && !any)
            any = fog;
    }
    return orAny ? any : nullptr;
}

bool FilterCtrl_cls::GetClippingInformation(double* boxMin, double* boxMax, const std::wstring& tag) const
{
    for (int a = 0; a < 3; ++a) {
        boxMin[a] = 0.0;
        boxMax[a] = 1.0;
    }
    const int end = GetIndexFromTag(tag) >= 0 ? GetIndexFromTag(tag) : GetItemNum();
    bool clipped = false;
    for (int i = 0; i < end; ++i) {
        double lo[3], hi[3];
        if (!mvpItem[static_cast<size_t>(i)]->GetClippingInformation(lo, hi))
            continue;
        clipped = true;
        for (int a = 0; a < 3; ++a) {
            boxMin[a] = std::max(boxMin[a], lo[a]);
            boxMax[a] = std::min(boxMax[a], hi[a]);
        }
    }
    return clipped;
}

// ---- 4. edits through the history ----

UndoManager_cls& FilterCtrl_cls::GetUndo() const
{
    return mpUndoManager ? *mpUndoManager : GetUndoManager();
}

bool FilterCtrl_cls::AddFilterExecute(int type, int position, std::unique_ptr<FilterBase_cls> preset)
{
    std::unique_ptr<FilterBase_cls> item = preset ? std::move(preset) : CreateItem(type, this);
    if (!item || item->GetType() != type)
        return false;
    if (position < 0 || position > GetItemNum())
        position = GetItemNum();
    auto holder = std::make_shared<ComFilterParamRemove_cls::Holder>();
    // The tag is chosen now so that redo after undo brings back the same tag.
    holder->strTag = GetIdString(type);
    item->SetOwner(this);
    holder->pItem = std::move(item);
    // One add command class per item type names the edit in the history.
    auto make = [&](auto* tagType, bool insert) -> std::unique_ptr<CommandItem_cls> {
        using Item = std::remove_pointer_t<decltype(tagType)>;
        return std::make_unique<ComFilterParamAdd_cls<Item>>(this, position, holder, insert);
    };
    std::unique_ptr<CommandItem_cls> redo, undo;
    switch (type) {
#define TESSAN_ADD_PAIR(code, cls)                                                                                     \
    case code:                                                                                                         \
        redo = make(static_cast<cls*>(nullptr), true);                                                                 \
        undo = make(static_cast<cls*>(nullptr), false);                                                                \
        break;
        TESSAN_ADD_PAIR(0, PovIsosurface_cls)
        TESSAN_ADD_PAIR(1, PovFog_cls)
        TESSAN_ADD_PAIR(2, BoxCopy_cls)
        TESSAN_ADD_PAIR(3, FilterClipping_cls)
        TESSAN_ADD_PAIR(4, PovVolume_cls)
        TESSAN_ADD_PAIR(5, BlurGauss_cls)
        TESSAN_ADD_PAIR(6, LevelAndGamma_cls)
        TESSAN_ADD_PAIR(7, InvDiffuse_cls)
        TESSAN_ADD_PAIR(8, FilterFixPosition_cls)
        TESSAN_ADD_PAIR(9, DataRotate_cls)
        TESSAN_ADD_PAIR(10, LayerColorCurve_cls)
        TESSAN_ADD_PAIR(11, PovCrossSection_cls)
        TESSAN_ADD_PAIR(12, PovObject_cls)
        TESSAN_ADD_PAIR(13, FilterCenterOfMass_cls)
        TESSAN_ADD_PAIR(14, PovDiffObject_cls)
        TESSAN_ADD_PAIR(15, MorphOpenClose_cls)
        TESSAN_ADD_PAIR(16, PovThreeView_cls)
        TESSAN_ADD_PAIR(17, PovStreamLine_cls)
        TESSAN_ADD_PAIR(18, PovVelField_cls)
#undef TESSAN_ADD_PAIR
    default:
        return false;
    }
    UndoManager_cls& history = GetUndo();
    history.SetNewCommand(std::move(redo), std::move(undo));
    history.ExecCurrent();
    return true;
}

bool FilterCtrl_cls::DeleteFilterItem(int position)
{
    if (!GetPFilterBase(position))
        return false;
    auto pair = ComFilterParamRemove_cls::MakeRemovePair(this, position);
    UndoManager_cls& history = GetUndo();
    history.SetNewCommand(std::move(pair.first), std::move(pair.second));
    history.ExecCurrent();
    return true;
}

bool FilterCtrl_cls::DeleteFilter(const FilterBase_cls* item)
{
    return DeleteFilterItem(GetSelfIndex(item));
}

bool FilterCtrl_cls::SwapFilter(int position)
{
    return SwapFilterExecute(position, position + 1);
}

bool FilterCtrl_cls::SwapFilterExecute(int a, int b)
{
    FilterBase_cls* pa = GetPFilterBase(a);
    FilterBase_cls* pb = GetPFilterBase(b);
    if (!pa || !pb || a == b)
        return false;
    UndoManager_cls& history = GetUndo();
    history.SetNewCommand(std::make_unique<ComFilterParamSwap_cls>(this, pa->GetIdTag(), pb->GetIdTag()),
                          std::make_unique<ComFilterParamSwap_cls>(this, pa->GetIdTag(), pb->GetIdTag()));
    history.ExecCurrent();
    return true;
}

bool FilterCtrl_cls::IssueConfChange(const std::wstring& tag, int item, int kind, double value)
{
    const auto k = static_cast<ComFilterConfChange_cls::Kind>(kind);
    double old = 0.0;
    if (!ComFilterConfChange_cls::GetValue(this, tag, item, k, &old))
        return false;
    std::unique_ptr<CommandItem_cls> redo, undo;
    switch (k) {
    case ComFilterConfChange_cls::kFloat:
        // Compared as the setting stores it, so that a float that rounds to the old value is no edit.
        if (static_cast<float>(old) == static_cast<float>(value))
            return false;
        redo = std::make_unique<ComFilterConfChangeFLOAT>(this, tag, item, static_cast<float>(value));
        undo = std::make_unique<ComFilterConfChangeFLOAT>(this, tag, item, static_cast<float>(old));
        break;
    case ComFilterConfChange_cls::kInt:
        if (old == value)
            return false;
        redo = std::make_unique<ComFilterConfChangeINT>(this, tag, item, static_cast<int>(value));
        undo = std::make_unique<ComFilterConfChangeINT>(this, tag, item, static_cast<int>(old));
        break;
    case ComFilterConfChange_cls::kBool:
        if ((old != 0.0) == (value != 0.0))
            return false;
        redo = std::make_unique<ComFilterConfChangeBOOL>(this, tag, item, value != 0.0);
        undo = std::make_unique<ComFilterConfChangeBOOL>(this, tag, item, old != 0.0);
        break;
    }
    UndoManager_cls& history = GetUndo();
    history.SetNewCommand(std::move(redo), std::move(undo));
    history.ExecCurrent();
    return true;
}

bool FilterCtrl_cls::ChangeConfFLOATExecute(const std::wstring& tag, int item, float value)
{
    return IssueConfChange(tag, item, ComFilterConfChange_cls::kFloat, value);
}

bool FilterCtrl_cls::ChangeConfINTExecute(const std::wstring& tag, int item, int value)
{
    return IssueConfChange(tag, item, ComFilterConfChange_cls::kInt, value);
}

bool FilterCtrl_cls::ChangeConfBOOLExecute(const std::wstring& tag, int item, bool value)
{
    return IssueConfChange(tag, item, ComFilterConfChange_cls::kBool, value ? 1.0 : 0.0);
}

void FilterCtrl_cls::NotifyChanged()
{
    if (IsListOmitted()) {
        auto& omit = OmitUpdateList();
        if (std::find(omit.begin(), omit.end(), this) == omit.end())
            omit.push_back(this);
        return;
    }
    if (FuncHookChanged)
        FuncHookChanged(*this);
}

// ---- 5. time ----

void FilterCtrl_cls::UpdateParameters(double time)
{
    for (auto& item : mvpItem)
        item->UpdateParameters(time);
}

int FilterCtrl_cls::GetRemappedTimeIndex() const
{
    return mpOwner ? mpOwner->GetRemappedIndex(-1) : 0;
}

double FilterCtrl_cls::GetRemappedDoubleIndex() const
{
    return Parameters_cls::GetCurrentDoubleIndex();
}

// ---- 6. processing and the reprocessing test ----

bool FilterCtrl_cls::ProcessXYZData(unsigned char* out, const unsigned char* in, const unsigned int* size, bool blend,
                                    float factor, const unsigned char* next)
{
    const size_t n = static_cast<size_t>(size[0]) * size[1] * size[2];
    mviRoute.clear();
    mvdItemSeconds.assign(mvpItem.size(), 0.0);
    mbOutputWritten = false;
    // 1. Work buffers of n bytes each, kept between frames of the same size.
    if (mbWorkAllocated && mvWork[0].size() != n) {
        mvWork[0] = {};
        mvWork[1] = {};
        mbWorkAllocated = false;
    }
    if (!mbWorkAllocated) {
        try {
            mvWork[0].resize(n);
            mvWork[1].resize(n);
            mbWorkAllocated = true;
        } catch (const std::bad_alloc&) {
            mvWork[0] = {};
            mvWork[1] = {};
            GetUserPrompt()->Message(TrW("Memory Allocation for the filter work buffers fails. Ignore the filters"),
                                     TrW("Allocation Error"));
            if (out != in)
                std::memcpy(out, in, n);
            mbOutputWritten = true;
            return false;
        }
    }
    miNextWork = 0;
    // 2. Blending with the next data frame (time remap).
    const unsigned char* current = in;
    if (blend && factor != 0.0f && next) {
        unsigned char* w = mvWork[0].data();
        const float keep = 1.0f - factor;
        for (size_t i = 0; i < n; ++i) {
            float v = static_cast<float>(in[i]) * keep + static_cast<float>(next[i]) * factor;
            // Only a factor outside 0..1 could leave the byte range; it must not become undefined.
            v = v < 0.0f ? 0.0f : (v > 255.0f ? 255.0f : v);
            w[i] = static_cast<unsigned char>(v);
        }
        current = w;
        miNextWork = 1;
    }
    const int frame = miProcessFrame >= 0 ? miProcessFrame : GetRemappedTimeIndex();
    // 3.-5. The items in list order.
    for (int i = 0; i < GetItemNum(); ++i) {
        FilterBase_cls* item = mvpItem[static_cast<size_t>(i)].get();
        const int type = item->GetType();
        const auto start = std::chrono::steady_clock::now();
        struct Stopwatch {
            std::chrono::steady_clock::time_point tStart;
            double& dSeconds;
            ~Stopwatch()
            {
                dSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - tStart).count();
            }
        } watch{start, mvdItemSeconds[static_cast<size_t>(i)]};
        if (type == PovVolume_cls::kTypeCode) {
            if (current != out)
                std::memcpy(out, current, n);
            mbOutputWritten = true;
        } else if (TakesData(type)) {
            item->SetRefreshFrame(frame);
            item->RefreshFilter(current, size);
        } else if (type == FilterFixPosition_cls::kTypeCode || type == FilterCenterOfMass_cls::kTypeCode) {
            item->DoCalc(current, size, frame);
        }
        if (!item->IsDataFilter() || !item->GetPData()->IsValid())
            continue;
        unsigned char* dest = nullptr;
        int route = kRouteOut;
        // Straight into the output when the volume item takes the result next; never in place.
        if (IsNextFilterIsVolume(i) && current != out) {
            dest = out;
        } else {
            route = miNextWork;
            dest = mvWork[static_cast<size_t>(miNextWork)].data();
            miNextWork ^= 1;
        }
        switch (type) {
        case BlurGauss_cls::kTypeCode: {
            auto* blur = static_cast<BlurGauss_cls*>(item);
            blur->ProcessXYZData(dest, current, size, n, blur->GetData().mbFloatVariant.Get());
            break;
        }
        case LevelAndGamma_cls::kTypeCode:
            static_cast<LevelAndGamma_cls*>(item)->ProcessXYZData(dest, current, size);
            break;
        case InvDiffuse_cls::kTypeCode:
            static_cast<InvDiffuse_cls*>(item)->ProcessXYZData(dest, current, size);
            break;
        case DataRotate_cls::kTypeCode:
            static_cast<DataRotate_cls*>(item)->ProcessXYZData(dest, current, size);
            break;
        case LayerColorCurve_cls::kTypeCode:
            static_cast<LayerColorCurve_cls*>(item)->ProcessXYZData(dest, current, size);
            break;
        case MorphOpenClose_cls::kTypeCode:
            static_cast<MorphOpenClose_cls*>(item)->ProcessXYZData(dest, current, size);
            break;
        default:
            std::memcpy(dest, current, n);
            break;
        }
        if (dest == out)
            mbOutputWritten = true;
        mviRoute.push_back(route);
        current = dest;
    }
    return true;
}

bool FilterCtrl_cls::IsReprocessRequired(int frame, double time, FilterBase_cls* upTo)
{
    std::wstring signature = WStrPrintf("%g", time) + L"::";
    bool own = false;
    for (const auto& item : mvpItem) {
        signature += item->GetFilterStatusStr();
        // The status texts do not all carry the switched-on state; the signature must.
        signature += item->GetPData()->IsValid() ? L"|1|" : L"|0|";
        if (TakesData(item->GetType())) {
            own = item->IsReprocessRequired() || own;
            // An output item holds the data of one frame: showing another frame must refresh it
            // even when that frame's own processed voxels are still valid.
            if (!upTo && frame >= 0 && item->GetPData()->IsValid() && item->GetRefreshFrame() != frame)
                own = true;
        }
        if (item.get() == upTo)
            break;
    }
    bool changed;
    if (upTo) {
        changed = upTo->GetLastStatusStr() != signature;
        upTo->SetLastStatusStr(signature);
    } else {
        if (frame < 0)
            frame = 0;
        if (mvStrFrameStatus.size() <= static_cast<size_t>(frame))
            mvStrFrameStatus.resize(static_cast<size_t>(frame) + 1);
        std::wstring& stored = mvStrFrameStatus[static_cast<size_t>(frame)];
        // A frame never processed has no signature: it always needs processing.
        changed = stored.empty() || stored != signature;
        stored = signature;
    }
    return changed || own;
}

void FilterCtrl_cls::ClearSignatures()
{
    mvStrFrameStatus.clear();
    for (auto& item : mvpItem)
        item->SetLastStatusStr(L"");
}

// ---- 7. text form ----

std::wstring FilterCtrl_cls::SerializeConf()
{
    std::wstring text;
    for (auto& item : mvpItem) {
        ConfItemSTR_cls& tagItem = item->GetPData()->GetIdTagItem();
        const std::wstring saved = tagItem.Get();
        tagItem.Set(L"!!SKIP!!");
        text += std::wstring(GetTag(item->GetType())) + L"\n" + item->SerializeConf() + msBlockEnd + L"\n";
        tagItem.Set(saved);
    }
    return text;
}

bool FilterCtrl_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& line)
{
    const int type = GetTypeFromTagLine(line);
    if (type < 0)
        return false;
    std::unique_ptr<FilterBase_cls> item = CreateItem(type, this);
    std::wstring next;
    while (stream.GetLine(next)) {
        next = StripLineEnd(next);
        if (next == msBlockEnd)
            break;
        item->ReadStrLine(stream, next);
    }
    // A tag from a file belongs to another session; the item gets a fresh one.
    item->SetIdTag(L"");
    AddToList(-1, std::move(item));
    NotifyChanged();
    return true;
}

// ---- 8. omission list ----

void FilterCtrl_cls::PushListOmit()
{
    ++OmitDepth();
}

void FilterCtrl_cls::PopListOmit()
{
    if (OmitDepth() == 0 || --OmitDepth() > 0)
        return;
    std::vector<FilterCtrl_cls*> pending;
    pending.swap(OmitUpdateList());
    for (FilterCtrl_cls* chain : pending)
        if (IsLive(chain))
            chain->NotifyChanged();
}

bool FilterCtrl_cls::IsListOmitted()
{
    return OmitDepth() > 0;
}
