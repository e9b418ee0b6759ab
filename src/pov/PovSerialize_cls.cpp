#include "pov/PovSerialize_cls.h"

#include "config/TessanAssert.h"
#include "config/TextFormat.h"

#include <algorithm>

namespace
{

constexpr const char* kSource = "SRC/POV/PovSerialize";

int ClampDigits(int digits)
{
    return std::clamp(digits, 0, 20);
}

// The vector templates are built per call, exactly like the scalar one: the precision is
// printed into the template first and the result is the format for the values.
std::string VectorFormat(int components, int digits, bool colourTemplate)
{
    // Colour templates write the precision with a leading zero ("%.03f"); printf reads it as
    // the same precision, and the form is kept so colour text is built the one way it always was.
    std::string one =
        colourTemplate ? StrPrintf("%%.0%df", ClampDigits(digits)) : StrPrintf("%%.%df", ClampDigits(digits));
    std::string fmt = "<";
    for (int i = 0; i < components; ++i) {
        if (i)
            fmt += ",";
        fmt += one;
    }
    return fmt + ">";
}

} // namespace

std::string PovSerialize_cls::GetPrecisionFormat(int digits)
{
    return StrPrintf("%%.%df", ClampDigits(digits));
}

std::wstring PovSerialize_cls::PovOutf(float value, int digits)
{
    return WStrPrintf(GetPrecisionFormat(digits).c_str(), static_cast<double>(value));
}

std::wstring PovSerialize_cls::PovOutf(const std::wstring& prefix, float value, int digits)
{
    return prefix + PovOutf(value, digits);
}

std::wstring PovSerialize_cls::GetCutoffString(float value, int digits)
{
    std::wstring out;
    out += PovOutf(value, digits);
    return out;
}

std::wstring PovSerialize_cls::PovOut3d(const std::wstring& prefix, const double* v, int digits)
{
    TESSAN_ASSERT(v != nullptr, kSource);
    if (!v)
        return prefix;
    return prefix + WStrPrintf(VectorFormat(3, digits, false).c_str(), v[0], v[1], v[2]);
}

std::wstring PovSerialize_cls::PovOut3f(const std::wstring& prefix, const float* v, int digits)
{
    TESSAN_ASSERT(v != nullptr, kSource);
    if (!v)
        return prefix;
    return prefix + WStrPrintf(VectorFormat(3, digits, false).c_str(), static_cast<double>(v[0]),
                               static_cast<double>(v[1]), static_cast<double>(v[2]));
}

void PovSerialize_cls::PushBackPovOut3f(std::wstring* target, const std::wstring& prefix, const float* v, int digits)
{
    if (target)
        *target += PovOut3f(prefix, v, digits);
}

std::wstring PovSerialize_cls::PovOut4f(const std::wstring& prefix, const float* v, int digits)
{
    TESSAN_ASSERT(v != nullptr, kSource);
    if (!v)
        return prefix;
    return prefix + WStrPrintf(VectorFormat(4, digits, false).c_str(), static_cast<double>(v[0]),
                               static_cast<double>(v[1]), static_cast<double>(v[2]), static_cast<double>(v[3]));
}

std::wstring PovSerialize_cls::PovOut3(const std::wstring& prefix, float x, float y, float z)
{
    return prefix + WStrPrintf("<%g,%g,%g>", static_cast<double>(x), static_cast<double>(y), static_cast<double>(z));
}

std::wstring PovSerialize_cls::PovOut4(const std::wstring& prefix, float a, float b, float c, float d)
{
    return prefix + WStrPrintf("<%g,%g,%g,%g>", static_cast<double>(a), static_cast<double>(b), static_cast<double>(c),
                               static_cast<double>(d));
}

std::wstring PovSerialize_cls::PovOut3dS(const std::wstring& prefix, const double* v, int digits)
{
    TESSAN_ASSERT(v != nullptr, kSource);
    if (!v)
        return prefix;
    std::string fmt = GetPrecisionFormat(digits);
    std::wstring out = prefix + L"<";
    for (int i = 0; i < 3; ++i) {
        if (i)
            out += L",";
        out += GetShortString(WStrPrintf(fmt.c_str(), v[i]));
    }
    return out + L">";
}

std::wstring PovSerialize_cls::PovOut3fS(const std::wstring& prefix, const float* v, int digits)
{
    TESSAN_ASSERT(v != nullptr, kSource);
    if (!v)
        return prefix;
    const double d[3] = {v[0], v[1], v[2]};
    return PovOut3dS(prefix, d, digits);
}

std::wstring PovSerialize_cls::GetShortString(const std::wstring& number)
{
    if (number.find(L'.') == std::wstring::npos)
        return number;
    // An exponent form ("1.50e+10") would lose digits of its exponent; the "%f" forms that the
    // exporter writes never have one, so such text is left as it is.
    if (number.find_first_of(L"eE") != std::wstring::npos)
        return number;
    std::wstring out = number;
    while (!out.empty() && out.back() == L'0')
        out.pop_back();
    if (!out.empty() && out.back() == L'.')
        out.pop_back();
    return out;
}

std::wstring PovSerialize_cls::GetShortString(float value)
{
    return GetShortString(WStrPrintf("%f", static_cast<double>(value)));
}

std::wstring PovSerialize_cls::GetTab(int level)
{
    if (level < 1 || level > 7)
        return std::wstring();
    return std::wstring(static_cast<size_t>(level), L'\t');
}

std::wstring PovSerialize_cls::PovOut4fRGBTfromRGBA(const float* rgba, int digits, bool keyword, bool filterAlpha)
{
    TESSAN_ASSERT(rgba != nullptr, kSource);
    if (!rgba)
        return std::wstring();
    const double r = rgba[0], g = rgba[1], b = rgba[2];
    const float alpha = rgba[3];
    if (filterAlpha) {
        // The transmit is left to the ray tracer: the scene declares FilterAlpha once and every
        // colour of the scene follows it.
        std::string one = StrPrintf("%%.0%df", ClampDigits(digits));
        std::string fmt = "<" + one + "," + one + "," + one + ",1-" + one + "*FilterAlpha>";
        return (keyword ? L"rgbt " : L"") + WStrPrintf(fmt.c_str(), r, g, b, static_cast<double>(alpha));
    }
    // Opaque colours stay three-component; an alpha above 1 is treated as opaque rather than
    // written as a negative transmit.
    if (alpha >= 1.0f)
        return (keyword ? L"rgb " : L"") + WStrPrintf(VectorFormat(3, digits, true).c_str(), r, g, b);
    const double t = 1.0f - alpha;
    return (keyword ? L"rgbt " : L"") + WStrPrintf(VectorFormat(4, digits, true).c_str(), r, g, b, t);
}

std::wstring PovSerialize_cls::PovOut5rgbft(const float* rgbft, int digits)
{
    TESSAN_ASSERT(rgbft != nullptr, kSource);
    if (!rgbft)
        return std::wstring();
    return L"rgbft " + WStrPrintf(VectorFormat(5, digits, true).c_str(), static_cast<double>(rgbft[0]),
                                  static_cast<double>(rgbft[1]), static_cast<double>(rgbft[2]),
                                  static_cast<double>(rgbft[3]), static_cast<double>(rgbft[4]));
}

std::wstring PovSerialize_cls::PovOutRotation(const std::wstring& prefix, const double* angles)
{
    TESSAN_ASSERT(angles != nullptr, kSource);
    if (!angles)
        return std::wstring();
    const double yaw = angles[0], pitch = angles[1], roll = angles[2], yaw2 = angles[3];
    std::wstring out;
    // The ray tracer applies transformations in the order written: roll first, so that yaw and
    // pitch keep their meaning of heading and elevation of the rolled object.
    if (roll != 0.0)
        out += prefix + WStrPrintf("rotate <%g,%g,%g>\n", 0.0, 0.0, roll);
    if (pitch != 0.0)
        out += prefix + WStrPrintf("rotate <%g,%g,%g>\n", pitch, 0.0, 0.0);
    if (yaw != 0.0)
        out += prefix + WStrPrintf("rotate <%g,%g,%g>\n", 0.0, yaw, 0.0);
    if (yaw2 != 0.0)
        out += prefix + WStrPrintf("rotate <%g,%g,%g>\n", 0.0, yaw2, 0.0);
    return out;
}

void PovSerialize_cls::GetStrPovPigmentImageMap(std::wstring& out, const std::wstring& file, float gamma, float alpha)
{
    if (file.empty())
        return;
    out += L"uv_mapping image_map { png \"";
    out += file;
    out += L"\"";
    out += WStrPrintf(" gamma %.2f", static_cast<double>(gamma));
    out += L" interpolate 2";
    if (alpha == 1.0f) {
        out += L"}";
        return;
    }
    out += WStrPrintf(" transmit all %.3f", static_cast<double>(1.0f - alpha));
    out += L"}";
}

void PovSerialize_cls::GetStrPovTextureColor(std::wstring& out, const float* rgb, float filter, float transmit,
                                             const std::wstring& finishName, const std::wstring& normalName, int level,
                                             int digits)
{
    TESSAN_ASSERT(rgb != nullptr, kSource);
    if (!rgb)
        return;
    const float rgbft[5] = {rgb[0], rgb[1], rgb[2], filter, transmit};
    const std::wstring tab = GetTab(level), inner = GetTab(level + 1);
    out += tab + L"texture {\n";
    out += inner + L"pigment { color " + PovOut5rgbft(rgbft, digits) + L" }\n";
    if (!finishName.empty())
        out += inner + L"finish { " + finishName + L" }\n";
    if (!normalName.empty())
        out += inner + L"normal { " + normalName + L" }\n";
    out += tab + L"}\n";
}
