#pragma once
// One key of a key-framed parameter set: a time on the normalised animation time line (0..1),
// the values there, the tangent D1 and the second control array D2, and the interpolation type
// of the segment that starts at this key.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// Interpolation type codes; any code above kInterpStep interpolates like kInterpLinear.
enum KeyInterpType : unsigned {
    kInterpLinear = 0,
    kInterpHermiteAuto = 1,
    kInterpHermiteSemiAuto = 2,
    kInterpHermite = 3,
    kInterpStep = 4,
};

class KeyFrame_cls
{
  public:
    /// Number of interpolation types with a display name.
    static constexpr unsigned kInterpTypeCount = 5;

    /// A key without values (dimension 0).
    KeyFrame_cls() = default;
    /// A key of `dimension` zero values, unselected, time 0, type "HERMITE (AUTO)".
    explicit KeyFrame_cls(unsigned dimension);

    /// Copies the arrays (each `dimension` doubles); a null values, D1 or D2 array sets zeros.
    void Set(double time, unsigned type, const double* values, const double* D1, const double* D2, bool selected);
    /// Changes the dimension, keeping the leading values and padding with zeros.
    void Resize(unsigned dimension);

    unsigned GetDimension() const { return muDimension; }
    bool IsSelected() const { return mbSelected; }
    void SetSelected(bool on) { mbSelected = on; }
    unsigned GetType() const { return muType; }
    void SetType(unsigned type) { muType = type; }
    /// Normalised time 0..1.
    double GetTime() const { return mdTime; }
    void SetTime(double time) { mdTime = time; }
    const double* GetPValue() const { return mvValue.data(); }
    double* GetPValue() { return mvValue.data(); }
    const double* GetPD1() const { return mvD1.data(); }
    double* GetPD1() { return mvD1.data(); }
    const double* GetPD2() const { return mvD2.data(); }
    double* GetPD2() { return mvD2.data(); }
    const std::vector<double>& GetValues() const { return mvValue; }

    /// Keys compare by time only.
    bool operator>(const KeyFrame_cls& other) const { return mdTime > other.mdTime; }
    /// Exact equality of every field except the selection mark.
    bool SameContent(const KeyFrame_cls& other) const;

    /// Marks the key selected (unless testOnly) when its time lies strictly inside
    /// (time - halfWidth, time + halfWidth); returns whether it does.
    bool Select(double time, double halfWidth, bool testOnly);
    /// True when the key's time lies strictly inside (time - halfWidth, time + halfWidth).
    bool IsHit(double time, double halfWidth) const { return mdTime > time - halfWidth && mdTime < time + halfWidth; }
    /// Flips the selection mark when the key lies strictly inside the interval; returns the hit.
    bool Toggle(double time, double halfWidth);

    /// One text line: time, dimension, type, values, D1, D2 separated by single blanks with nine
    /// significant digits, ended by "\n". Locale-independent.
    std::wstring Serialize() const;
    /// Reads a line in the Serialize form. False (key unchanged) when the line does not start
    /// with three numbers; missing values read as 0.
    bool ReadStrLine(const std::wstring& line);

    /// The display name of an interpolation type ("LINEAR" for codes above 4), translated.
    static const std::wstring& GetInterpName(unsigned type);
    /// Translates the display names through the current translator. GUI thread, at start-up.
    static void InitializeStaticMembers();

  private:
    unsigned muDimension = 0;
    bool mbSelected = false;
    unsigned muType = kInterpHermiteAuto;
    double mdTime = 0.0;
    std::vector<double> mvValue;
    std::vector<double> mvD1;
    std::vector<double> mvD2;

    static std::array<std::wstring, kInterpTypeCount> msAstrInterp;
};
