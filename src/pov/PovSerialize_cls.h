#pragma once
// The textual form of every number, vector, colour and indentation written into a ray-tracer
// scene. One stateless helper so that all exported text looks alike and stays byte-stable:
// fixed precision where a digit count is given, "%g" elsewhere, trimmed decimals for compact
// vectors, "rgb"/"rgbt"/"rgbft" colours with transmit derived from alpha, tabs by nesting level.
// All numbers go through the C locale, whatever the process locale is. Any thread may call.
#include <string>

class PovSerialize_cls
{
  public:
    PovSerialize_cls() = delete;

    /// The printf format "%.<digits>f" built from "%%.%df"; digits outside 0..20 are clamped.
    static std::string GetPrecisionFormat(int digits);

    /// value with digits decimals ("%.<digits>f").
    static std::wstring PovOutf(float value, int digits);
    /// prefix followed by PovOutf(value, digits).
    static std::wstring PovOutf(const std::wstring& prefix, float value, int digits);
    /// The same number text as PovOutf(value, digits).
    static std::wstring GetCutoffString(float value, int digits);

    /// prefix + "<x,y,z>" with digits decimals per component; v holds three doubles.
    static std::wstring PovOut3d(const std::wstring& prefix, const double* v, int digits);
    /// prefix + "<x,y,z>" with digits decimals per component; v holds three floats.
    static std::wstring PovOut3f(const std::wstring& prefix, const float* v, int digits);
    /// Appends PovOut3f(prefix, v, digits) to *target (nothing happens when target is null).
    static void PushBackPovOut3f(std::wstring* target, const std::wstring& prefix, const float* v, int digits);
    /// prefix + "<a,b,c,d>" with digits decimals per component; v holds four floats.
    static std::wstring PovOut4f(const std::wstring& prefix, const float* v, int digits);
    /// prefix + "<x,y,z>" in the shortest "%g" form.
    static std::wstring PovOut3(const std::wstring& prefix, float x, float y, float z);
    /// prefix + "<a,b,c,d>" in the shortest "%g" form.
    static std::wstring PovOut4(const std::wstring& prefix, float a, float b, float c, float d);
    /// prefix + "<x,y,z>", each component with digits decimals, then trailing zeros trimmed.
    static std::wstring PovOut3dS(const std::wstring& prefix, const double* v, int digits);
    /// Float variant of PovOut3dS.
    static std::wstring PovOut3fS(const std::wstring& prefix, const float* v, int digits);

    /// Number text with trailing zeros (and then a bare ".") removed: "1.500000" -> "1.5",
    /// "2.000000" -> "2"; text without "." (or in exponent form) is returned unchanged.
    static std::wstring GetShortString(const std::wstring& number);
    /// value formatted with "%f", then shortened as above.
    static std::wstring GetShortString(float value);

    /// level tab characters for levels 1..7; empty for any other level.
    static std::wstring GetTab(int level);

    /// Colour from red, green, blue, alpha (rgba holds four floats). With filterAlpha false:
    /// "rgb <r,g,b>" when alpha is 1 (or above), else "rgbt <r,g,b,1-alpha>". With filterAlpha
    /// true: "rgbt <r,g,b,1-alpha*FilterAlpha>", FilterAlpha being declared by the scene. The
    /// keyword and its blank are written only when keyword is true.
    static std::wstring PovOut4fRGBTfromRGBA(const float* rgba, int digits, bool keyword, bool filterAlpha);
    /// "rgbft <r,g,b,f,t>" from five floats with digits decimals each.
    static std::wstring PovOut5rgbft(const float* rgbft, int digits);

    /// Rotation statements for angles (four doubles, degrees): yaw about y, pitch about x,
    /// roll about z and a second yaw about y. They are applied to the object as roll, pitch, yaw,
    /// second yaw; each non-zero angle gives one line prefix + "rotate <%g,%g,%g>\n". All zero
    /// gives an empty string.
    static std::wstring PovOutRotation(const std::wstring& prefix, const double* angles);

    /// Appends a uv-mapped PNG image map ("uv_mapping image_map { png "file" gamma G
    /// interpolate 2" + "}" or " transmit all T}") to out; nothing when file is empty.
    static void GetStrPovPigmentImageMap(std::wstring& out, const std::wstring& file, float gamma, float alpha);

    /// Appends a material block to out:
    ///   texture {
    ///       pigment { color rgbft <r,g,b,filter,transmit> }
    ///       finish { <finishName> }      (only when finishName is not empty)
    ///       normal { <normalName> }      (only when normalName is not empty)
    ///   }
    /// rgb holds three floats; level is the nesting level of the "texture {" line (GetTab).
    /// finishName and normalName are identifiers or bodies that the scene understands.
    static void GetStrPovTextureColor(std::wstring& out, const float* rgb, float filter, float transmit,
                                      const std::wstring& finishName, const std::wstring& normalName, int level,
                                      int digits = 3);
};
