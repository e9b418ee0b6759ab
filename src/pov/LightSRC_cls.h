#pragma once
// The scene's light sources: point, spot and parallel lights whose position, colour and energy
// are key-framed ("Light" parameter sets of seven values: x, y, z in world units, red, green,
// blue, energy), written as light_source blocks for the frame's time and kept in project text
// between "--LightSource" and "--FinishLightSource".
#include <functional>
#include <memory>
#include <string>
#include <vector>

class LineStream_cls;
class Parameters_cls;

class LightSRC_cls
{
  public:
    /// Kinds of light.
    enum Kind : unsigned { kPoint = 0, kSpot = 1, kParallel = 2 };
    /// Values per light: position (3), colour (3), energy.
    static constexpr unsigned kDimension = 7;

    LightSRC_cls();
    ~LightSRC_cls();
    LightSRC_cls(const LightSRC_cls&) = delete;
    LightSRC_cls& operator=(const LightSRC_cls&) = delete;

    /// Adds a light aimed at the origin (spot and parallel lights); returns its index.
    int AddLight(unsigned kind, const double* position, const double* rgb, double energy);
    /// Removes light i (out of range: nothing). True when removed.
    bool RemoveLight(size_t i);
    void Clear();
    /// Takes light i out of the list with its set (null when out of range); kind in *kind.
    /// No history: the undoable form is ComLightParamRemove_cls.
    std::unique_ptr<Parameters_cls> TakeLight(size_t i, unsigned* kind);
    /// Puts a light back at index i (clamped to the end). No history.
    void InsertLight(size_t i, unsigned kind, std::unique_ptr<Parameters_cls> param);
    /// Adds a light as one undo step "Add Light" (ComLightParamAdd_cls); returns its index.
    int AddLightExecute(unsigned kind, const double* position, const double* rgb, double energy);
    /// Removes light i as one undo step "Remove Light"; false when out of range.
    bool RemoveLightExecute(size_t i);
    /// Called after every change of the list (edit, undo, redo, read). GUI thread.
    std::function<void()> FuncHookChanged;
    /// Runs FuncHookChanged (used by the commands).
    void NotifyChanged()
    {
        if (FuncHookChanged)
            FuncHookChanged();
    }
    /// True while `lights` is alive (commands check before acting).
    static bool IsLive(const LightSRC_cls* lights);
    size_t GetCount() const { return mvLights.size(); }
    bool IsEmpty() const { return mvLights.empty(); }
    unsigned GetKind(size_t i) const { return mvLights.at(i).uKind; }
    /// The key-framed values of light i.
    Parameters_cls& GetParam(size_t i) { return *mvLights.at(i).pParam; }

    /// One light_source block per light with its values at time (normalised 0..1), positions
    /// mirrored into the ray tracer's frame, colour times energy. Empty without lights.
    std::wstring GetPovStrLightSource(double time) const;

    /// "--LightSource", per light "LightKind=<kind>" and the set's text, "--FinishLightSource".
    std::wstring Serialize() const;
    /// Reads the block when firstLine is "--LightSource" (replacing every light); true then.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& firstLine);

  private:
    struct Light {
        unsigned uKind = kPoint;
        std::unique_ptr<Parameters_cls> pParam;
    };
    std::vector<Light> mvLights;
};
