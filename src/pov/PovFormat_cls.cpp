#include "pov/PovFormat_cls.h"

#include "config/TextFormat.h"

PovFormat_cls::PovFormat_cls()
{
    AddItem(&muWidth, L"PovImageWidth=", L"640");
    AddItem(&muHeight, L"PovImageHeight=", L"480");
    AddItem(&mbAntialias, L"PovAntialias=", L"1");
    AddItem(&mfAntialiasThreshold, L"PovAntialiasThreshold=", L"0.3");
    AddItem(&muAntialiasDepth, L"PovAntialiasDepth=", L"3");
    AddItem(&muOutputType, L"PovOutputType=", L"0");
    AddItem(&mbDisplay, L"PovDisplay=", L"0");
}

double PovFormat_cls::GetAspect() const
{
    return GetHeight() == 0 ? 1.0 : static_cast<double>(GetWidth()) / GetHeight();
}

std::wstring PovFormat_cls::GetExtension() const
{
    switch (GetOutputType()) {
    case kTga:
        return L".tga";
    case kPpm:
        return L".ppm";
    case kBmp:
        return L".bmp";
    default:
        return L".png";
    }
}

std::wstring PovFormat_cls::GetIniText() const
{
    static const char kLetters[] = {'N', 'T', 'P', 'B'};
    const unsigned type = GetOutputType() < 4 ? GetOutputType() : 0;
    std::wstring s = WStrPrintf("Width=%u\nHeight=%u\n", GetWidth(), GetHeight());
    if (GetAntialias()) {
        s += WStrPrintf("Antialias=On\nAntialias_Threshold=%g\nAntialias_Depth=%u\n",
                        static_cast<double>(mfAntialiasThreshold.Get()), muAntialiasDepth.Get());
    } else {
        s += L"Antialias=Off\n";
    }
    s += WStrPrintf("Output_File_Type=%c\nOutput_Alpha=Off\n", kLetters[type]);
    s += GetDisplay() ? L"Display=On\n" : L"Display=Off\n";
    return s;
}
