#include "gui/PovSettingsModel_cls.h"

#include "anim/UndoManager_cls.h"
#include "config/ConfItem_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "pov/PovRay_cls.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cwchar>
#include <memory>
#include <set>

namespace
{

// Labels the users know from earlier versions for the path settings; every other setting is
// labelled by its key, which is also what they find in their project files.
const std::map<std::wstring, std::wstring>& PathLabels()
{
    static const std::map<std::wstring, std::wstring> sLabels = {
        {L"POVRAY_PATH=", L"Pov-Ray Path="},
        {L"WORKING_DIR=", L"Work Dir="},
        {L"POV_SNAP_FILE=", L"Snap File="},
        {L"POV_ANIM_FILE=", L"Anim File="},
    };
    return sLabels;
}

// Settings that only change speed or memory of the ray tracer, or cut the picture: hidden until
// "PovShowTweaks=" asks for them.
const std::set<std::wstring>& ExpertKeys()
{
    static const std::set<std::wstring> sKeys = {
        L"PovRenderBlockSize=", L"PovBoundingMethod=", L"PovBufferSize=", L"PovSSSQuality1=", L"PovSSSQuality2",
        L"PovSubsetRow=",       L"PovStartRow=",       L"PovEnRow=",      L"PovDisplay=",
    };
    return sKeys;
}

// Settings whose numbers stand for named choices.
std::vector<std::wstring> ChoicesOf(const std::wstring& key)
{
    if (key == L"PovRenderRegion=")
        return {TrW("Play range"), TrW("All frames"), TrW("Custom range")};
    if (key == L"PovOutputType=")
        return {L"PNG", L"TGA", L"PPM", L"BMP"};
    if (key == L"PovBoundingMethod=")
        return {TrW("Bounding boxes"), TrW("BSP tree")};
    if (key == L"PovStereoEye=")
        return {TrW("Mono"), TrW("Stereo (left and right eye)")};
    return {};
}

bool ParseWholeLong(const std::wstring& text, long* out)
{
    const std::wstring t = text;
    if (t.empty())
        return false;
    wchar_t* end = nullptr;
    errno = 0;
    const long v = std::wcstol(t.c_str(), &end, 10);
    if (errno != 0 || end == t.c_str())
        return false;
    while (*end == L' ' || *end == L'\t')
        ++end;
    if (*end != L'\0')
        return false;
    *out = v;
    return true;
}

bool ParseWholeDouble(const std::wstring& text, double* out)
{
    // The whole text must be one number with the C locale's "." (never the user's decimal
    // comma): the value goes into files that other programs read.
    const std::vector<std::wstring> parts = SplitBlanks(text);
    if (parts.size() != 1)
        return false;
    const std::string narrow = Narrow(parts[0]);
    double v = 0;
    const char* first = narrow.data();
    const char* last = narrow.data() + narrow.size();
    if (first != last && *first == '+')
        ++first;
    const auto [end, ec] = std::from_chars(first, last, v, std::chars_format::general);
    if (ec != std::errc() || end != last || !std::isfinite(v))
        return false;
    *out = v;
    return true;
}

std::wstring Trimmed(const std::wstring& text)
{
    const size_t a = text.find_first_not_of(L" \t");
    if (a == std::wstring::npos)
        return L"";
    const size_t b = text.find_last_not_of(L" \t");
    return text.substr(a, b - a + 1);
}

} // namespace

PovSettingsModel_cls::PovSettingsModel_cls(PovRay_cls* pov) : mpPov(pov)
{
    std::set<ConfItem_cls*> seen;
    auto makeField = [](ConfItem_cls* item) {
        Field f;
        f.pItem = item;
        f.strKey = item->GetKey();
        const auto label = PathLabels().find(f.strKey);
        f.strLabel = label != PathLabels().end() ? label->second : f.strKey;
        if (!f.strLabel.empty() && f.strLabel.back() == L'=')
            f.strLabel.pop_back();
        f.vChoices = ChoicesOf(f.strKey);
        if (!f.vChoices.empty())
            f.eKind = kChoice;
        else if (dynamic_cast<ConfItemBOOL_cls*>(item) != nullptr)
            f.eKind = kCheck;
        f.bExpert = ExpertKeys().count(f.strKey) != 0;
        return f;
    };
    auto addList = [&](Group& group, const std::vector<ConfItem_cls*>& items) {
        for (ConfItem_cls* item : items)
            if (seen.insert(item).second)
                group.vFields.push_back(makeField(item));
    };

    // The groups' own items, so that the remaining ones are the settings of PovRay_cls itself.
    std::set<ConfItem_cls*> grouped;
    for (const ConfItemList_cls* list :
         {&pov->GetRender().GetConfList(), &pov->GetFormat().GetConfList(), &pov->GetRadiosity().GetConfList(),
          &pov->GetPhotons().GetConfList(), &pov->GetFocalBlur().GetConfList(), &pov->GetBG().GetConfList()})
        for (ConfItem_cls* item : list->Items())
            grouped.insert(item);
    std::vector<ConfItem_cls*> files, rendering;
    for (ConfItem_cls* item : pov->GetConfList().Items()) {
        if (grouped.count(item) != 0)
            continue;
        const std::wstring key = item->GetKey();
        const bool isFile = dynamic_cast<ConfItemSTR_cls*>(item) != nullptr;
        (isFile ? files : rendering).push_back(item);
    }

    Group g;
    g.strTitle = TrW("Files");
    addList(g, files);
    mvGroups.push_back(std::move(g));
    g = Group{TrW("Rendering"), {}};
    addList(g, pov->GetRender().GetConfList().Items());
    addList(g, rendering);
    mvGroups.push_back(std::move(g));
    g = Group{TrW("Image"), {}};
    addList(g, pov->GetFormat().GetConfList().Items());
    mvGroups.push_back(std::move(g));
    g = Group{TrW("Radiosity and Photons"), {}};
    addList(g, pov->GetRadiosity().GetConfList().Items());
    addList(g, pov->GetPhotons().GetConfList().Items());
    mvGroups.push_back(std::move(g));
    g = Group{TrW("Focal Blur and Background"), {}};
    addList(g, pov->GetFocalBlur().GetConfList().Items());
    addList(g, pov->GetBG().GetConfList().Items());
    mvGroups.push_back(std::move(g));
}

const PovSettingsModel_cls::Field* PovSettingsModel_cls::FindField(const std::wstring& key) const
{
    for (const Group& g : mvGroups)
        for (const Field& f : g.vFields)
            if (f.strKey == key)
                return &f;
    return nullptr;
}

bool PovSettingsModel_cls::CheckValue(const ConfItem_cls* item, const std::wstring& text, std::wstring* normalised)
{
    const std::wstring t = Trimmed(text);
    long l = 0;
    double d = 0;
    bool ok = false;
    if (dynamic_cast<const ConfItemSTR_cls*>(item) != nullptr) {
        // A line break would end the line in the file and lose the rest of the value.
        ok = text.find_first_of(L"\r\n") == std::wstring::npos;
        if (ok && normalised != nullptr)
            *normalised = text;
        return ok;
    }
    if (dynamic_cast<const ConfItemBOOL_cls*>(item) != nullptr) {
        ok = t == L"0" || t == L"1";
    } else if (dynamic_cast<const ConfItemUINT_cls*>(item) != nullptr) {
        ok = ParseWholeLong(t, &l) && l >= 0 && l <= 0xFFFFFFFFL && t[0] != L'-';
    } else if (dynamic_cast<const ConfItemINT_cls*>(item) != nullptr) {
        ok = ParseWholeLong(t, &l) && l >= -2147483647L - 1 && l <= 2147483647L;
    } else if (dynamic_cast<const ConfItemFLOAT_cls*>(item) != nullptr ||
               dynamic_cast<const ConfItemDOUBLE_cls*>(item) != nullptr) {
        ok = ParseWholeDouble(t, &d);
    } else if (const auto* farr = dynamic_cast<const ConfItemFLOATARRAY_cls*>(item)) {
        const std::vector<std::wstring> parts = SplitBlanks(t);
        ok = static_cast<int>(parts.size()) == farr->GetDimension();
        for (const std::wstring& p : parts)
            ok = ok && ParseWholeDouble(p, &d);
    } else if (const auto* iarr = dynamic_cast<const ConfItemINTARRAY_cls*>(item)) {
        const std::vector<std::wstring> parts = SplitBlanks(t);
        ok = static_cast<int>(parts.size()) == iarr->GetDimension();
        for (const std::wstring& p : parts)
            ok = ok && ParseWholeLong(p, &l);
    } else if (const auto* uarr = dynamic_cast<const ConfItemUINTARRAY_cls*>(item)) {
        const std::vector<std::wstring> parts = SplitBlanks(t);
        ok = static_cast<int>(parts.size()) == uarr->GetDimension();
        for (const std::wstring& p : parts)
            ok = ok && ParseWholeLong(p, &l) && l >= 0;
    } else if (const auto* barr = dynamic_cast<const ConfItemBOOLARRAY_cls*>(item)) {
        const std::vector<std::wstring> parts = SplitBlanks(t);
        ok = static_cast<int>(parts.size()) == barr->GetDimension();
        for (const std::wstring& p : parts)
            ok = ok && (p == L"0" || p == L"1");
    }
    if (ok && normalised != nullptr) {
        // The item's own reading and writing decide the stored form (a copy, not the item).
        std::unique_ptr<ConfItem_cls> probe;
        if (dynamic_cast<const ConfItemBOOL_cls*>(item))
            probe = std::make_unique<ConfItemBOOL_cls>();
        else if (dynamic_cast<const ConfItemUINT_cls*>(item))
            probe = std::make_unique<ConfItemUINT_cls>();
        else if (dynamic_cast<const ConfItemINT_cls*>(item))
            probe = std::make_unique<ConfItemINT_cls>();
        else if (dynamic_cast<const ConfItemFLOAT_cls*>(item))
            probe = std::make_unique<ConfItemFLOAT_cls>();
        else if (dynamic_cast<const ConfItemDOUBLE_cls*>(item))
            probe = std::make_unique<ConfItemDOUBLE_cls>();
        else if (dynamic_cast<const ConfItemFLOATARRAY_cls*>(item))
            probe = std::make_unique<ConfItemFLOATARRAY_cls>();
        else if (dynamic_cast<const ConfItemINTARRAY_cls*>(item))
            probe = std::make_unique<ConfItemINTARRAY_cls>();
        else if (dynamic_cast<const ConfItemUINTARRAY_cls*>(item))
            probe = std::make_unique<ConfItemUINTARRAY_cls>();
        else
            probe = std::make_unique<ConfItemBOOLARRAY_cls>();
        probe->SetItem(L"V=", t);
        *normalised = probe->GetItemStr();
    }
    return ok;
}

int PovSettingsModel_cls::Apply(const std::map<std::wstring, std::wstring>& values, std::wstring* badKey)
{
    std::wstring lines;
    bool changed = false;
    for (const Group& g : mvGroups) {
        for (const Field& f : g.vFields) {
            const auto found = values.find(f.strKey);
            if (found == values.end())
                continue;
            std::wstring value;
            if (!CheckValue(f.pItem, found->second, &value)) {
                if (badKey != nullptr)
                    *badKey = f.strKey;
                return -1;
            }
            if (value == f.pItem->GetItemStr())
                continue;
            changed = true;
            lines += f.strKey + value + L"\n";
        }
    }
    if (!changed)
        return 0;
    // The undo member restores every setting as it was, the redo member sets the new ones.
    auto redo = std::make_unique<ComPovSettings_cls>(mpPov, lines);
    auto undo = std::make_unique<ComPovSettings_cls>(mpPov, mpPov->Serialize());
    UndoManager_cls& history = GetUndoManager();
    history.SetNewCommand(std::move(redo), std::move(undo));
    history.ExecCurrent();
    return 1;
}

bool ComPovSettings_cls::Execute(bool /*undo*/)
{
    size_t start = 0;
    while (start < mStrLines.size()) {
        size_t end = mStrLines.find(L'\n', start);
        if (end == std::wstring::npos)
            end = mStrLines.size();
        const std::wstring line = mStrLines.substr(start, end - start);
        if (!line.empty())
            mpPov->ReadStrLine(line);
        start = end + 1;
    }
    return false;
}
