#include "filter/FilterBase_cls.h"

#include "config/LineStream_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"

const wchar_t* const FilterBase_cls::msDefaultLabelStr[kTypeNum] = {
    L"Isosurface",    L"Fog",           L"Box Copy",        L"Clipping",     L"Volume",
    L"Gauss Blur",    L"Level Gamma",   L"Inverse Diffuse", L"FixPosition",  L"Data Rotate",
    L"Density Curve", L"Cross-section", L"Object",          L"CenterOfMass", L"DiffObject",
    L"Morph Filter",  L"Three-view",    L"Streamline",      L"VelocityField"};

void FilterBase_cls::ConstructorCommon(FilterCtrl_cls* owner, const std::wstring& label, int type)
{
    mpOwner = owner;
    miType = type;
    mbDataFilter = IsDataFilterType(type);
    GetPData()->SetName(label);
}

bool FilterBase_cls::IsDataFilterType(int type)
{
    return type == 5 || type == 6 || type == 7 || type == 9 || type == 10 || type == 15;
}

std::wstring FilterBase_cls::GetDefaultLabel(int type)
{
    return type >= 0 && type < kTypeNum ? msDefaultLabelStr[type] : L"";
}

std::wstring FilterBase_cls::GetLocaleStrLabel()
{
    const std::wstring& name = GetPData()->GetName();
    if (name == GetDefaultLabel(miType))
        return TrW(Narrow(name).c_str());
    return name;
}

std::wstring FilterBase_cls::GetLocaleIndependentStrLabel()
{
    return GetPData()->GetName();
}

bool FilterBase_cls::ReadStrLine(LineStream_cls& /*stream*/, const std::wstring& line)
{
    return GetPData()->ReadStrLine(line);
}

void FilterBase_cls::SetIdTag(const std::wstring& tag)
{
    mStrIdTag = tag;
    GetPData()->GetIdTagItem().Set(tag.empty() ? std::wstring(L"!!SKIP!!") : tag);
}

std::wstring FilterBase_cls::GetSettingsStatusStr() const
{
    std::wstring s;
    // GetPData is not const (items hand out their settings for editing); reading is safe.
    for (const ConfItem_cls* item : const_cast<FilterBase_cls*>(this)->GetPData()->GetConfList().Items()) {
        if (item->GetKey() == L"FilterName=" || item->GetKey() == L"FilterIdTag=")
            continue;
        s += item->GetItemStr() + L" ";
    }
    return s;
}
