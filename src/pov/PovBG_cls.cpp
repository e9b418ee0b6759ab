#include "pov/PovBG_cls.h"

#include "pov/PovSerialize_cls.h"

PovBG_cls::PovBG_cls()
{
    AddItem(&mCColor, L"PovBGColor=", L"0 0 0");
}

void PovBG_cls::SetColor(float r, float g, float b)
{
    mCColor.Set(0, r);
    mCColor.Set(1, g);
    mCColor.Set(2, b);
}

std::wstring PovBG_cls::GetPovStr() const
{
    const float rgb[3] = {mCColor.Get(0), mCColor.Get(1), mCColor.Get(2)};
    return PovSerialize_cls::PovOut3f(L"background { color rgb ", rgb, 3) + L" }";
}
