#include "anim/MultiParameters_cls.h"

#include "anim/ComMultiParam_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/ConfItem_cls.h"
#include "config/LineStream_cls.h"
#include "config/TextFormat.h"

#include <algorithm>
#include <mutex>

namespace
{
std::mutex& ListRegistryMutex()
{
    static std::mutex sMutex;
    return sMutex;
}
std::vector<const MultiParameters_cls*>& ListRegistry()
{
    static std::vector<const MultiParameters_cls*> sLists;
    return sLists;
}
const wchar_t kBlockTag[] = L"--MultiParameter:";
const wchar_t kCountKey[] = L"MultiParamItemNum=";
} // namespace

MultiParameters_cls::MultiParameters_cls(unsigned dimension, const std::wstring& name)
    : mStrName(name), muDimension(dimension), mvInit(dimension, 0.0)
{
    std::lock_guard<std::mutex> lock(ListRegistryMutex());
    ListRegistry().push_back(this);
}

MultiParameters_cls::~MultiParameters_cls()
{
    std::lock_guard<std::mutex> lock(ListRegistryMutex());
    auto& lists = ListRegistry();
    lists.erase(std::remove(lists.begin(), lists.end(), this), lists.end());
}

bool MultiParameters_cls::IsLive(const MultiParameters_cls* list)
{
    if (!list)
        return false;
    std::lock_guard<std::mutex> lock(ListRegistryMutex());
    const auto& lists = ListRegistry();
    return std::find(lists.begin(), lists.end(), list) != lists.end();
}

Parameters_cls* MultiParameters_cls::GetPItem(int i) const
{
    if (i < 0 || i >= GetItemNumber())
        return nullptr;
    return mvItems[static_cast<size_t>(i)].get();
}

void MultiParameters_cls::SetActiveIndex(int i)
{
    miActive = std::clamp(i, 0, std::max(GetItemNumber() - 1, 0));
}

int MultiParameters_cls::GetActiveItemKeyNum() const
{
    const Parameters_cls* item = GetPActiveItem();
    return item ? item->GetKeyNumber() : 0;
}

void MultiParameters_cls::SetInitParam(const double* values)
{
    for (unsigned i = 0; i < muDimension; ++i)
        mvInit[i] = values ? values[i] : 0.0;
}

std::unique_ptr<Parameters_cls> MultiParameters_cls::NewItem() const
{
    auto item = std::make_unique<Parameters_cls>(muDimension, mStrName);
    item->SetUndoManager(mpUndoManager);
    item->ProcClearKey(mvInit);
    item->RefreshCurrent();
    return item;
}

bool MultiParameters_cls::AddItem()
{
    auto holder = std::make_shared<std::unique_ptr<Parameters_cls>>(NewItem());
    const unsigned index = static_cast<unsigned>(mvItems.size());
    UndoManager_cls& undo = GetUndo();
    undo.SetNewCommand(std::make_unique<ComMultiParamAdd_cls>(this, index, holder),
                       std::make_unique<ComMultiParamRemove_cls>(this, index, holder));
    undo.ExecCurrent();
    return true;
}

bool MultiParameters_cls::RemoveItem()
{
    return RemoveItemAt(miActive);
}

bool MultiParameters_cls::RemoveItemAt(int index)
{
    if (index < 0 || index >= GetItemNumber())
        return false;
    auto holder = std::make_shared<std::unique_ptr<Parameters_cls>>();
    const unsigned i = static_cast<unsigned>(index);
    UndoManager_cls& undo = GetUndo();
    undo.SetNewCommand(std::make_unique<ComMultiParamRemove_cls>(this, i, holder),
                       std::make_unique<ComMultiParamAdd_cls>(this, i, holder));
    undo.ExecCurrent();
    return true;
}

void MultiParameters_cls::AddItemProc(std::unique_ptr<Parameters_cls> item, unsigned index)
{
    if (!item)
        return;
    const size_t at = std::min<size_t>(index, mvItems.size());
    mvItems.insert(mvItems.begin() + static_cast<std::ptrdiff_t>(at), std::move(item));
    miActive = static_cast<int>(at);
    ItemNumberChanged();
}

std::unique_ptr<Parameters_cls> MultiParameters_cls::RemoveItemProc(unsigned index)
{
    if (index >= mvItems.size())
        return nullptr;
    std::unique_ptr<Parameters_cls> item = std::move(mvItems[index]);
    mvItems.erase(mvItems.begin() + index);
    SetActiveIndex(miActive > static_cast<int>(index) ? miActive - 1 : miActive);
    ItemNumberChanged();
    return item;
}

void MultiParameters_cls::ItemNumberChanged()
{
    if (FuncHookItemNumberChanged)
        FuncHookItemNumberChanged(*this);
}

void MultiParameters_cls::AdjustAutoControl()
{
    for (auto& item : mvItems)
        item->AdjustAutoControl();
}

void MultiParameters_cls::HideTLPanel(int shown)
{
    for (int i = 0; i < GetItemNumber(); ++i)
        mvItems[static_cast<size_t>(i)]->SetShow(i == shown);
}

void MultiParameters_cls::SetUndoManager(UndoManager_cls* manager)
{
    mpUndoManager = manager;
    for (auto& item : mvItems)
        item->SetUndoManager(manager);
}

UndoManager_cls& MultiParameters_cls::GetUndo() const
{
    return mpUndoManager ? *mpUndoManager : GetUndoManager();
}

std::wstring MultiParameters_cls::Serialize() const
{
    std::wstring out = std::wstring(kBlockTag) + mStrName + L"\n";
    ConfItemINT_cls count;
    count.SetItem(kCountKey, L"0");
    count.Set(GetItemNumber());
    out += count.Serialize();
    for (const auto& item : mvItems)
        out += item->Serialize();
    return out;
}

bool MultiParameters_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& firstLine)
{
    std::wstring head = StripLineEnd(firstLine);
    while (!head.empty() && (head.back() == L' ' || head.back() == L'\t'))
        head.pop_back();
    if (head != std::wstring(kBlockTag) + mStrName)
        return false;
    ConfItemINT_cls count;
    count.SetItem(kCountKey, L"0");
    std::wstring line;
    if (stream.GetLine(line) && !count.ReadStrLine(line))
        stream.UngetLine();
    std::vector<std::unique_ptr<Parameters_cls>> items;
    for (int i = 0; i < count.Get() && stream.GetLine(line); ++i) {
        std::unique_ptr<Parameters_cls> item = NewItem();
        if (!item->ReadStrLine(stream, line)) {
            stream.UngetLine();
            break;
        }
        items.push_back(std::move(item));
    }
    mvItems = std::move(items);
    miActive = 0;
    ItemNumberChanged();
    return true;
}
