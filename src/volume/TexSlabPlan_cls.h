#pragma once
// How the texels of one frame go to its textures over several idle passes: the upload is cut
// into units of about the same number of bytes, each small enough for a fraction of a pass.
// A 3D texture is filled in slabs of whole z planes; the 2D stacks slice by slice, a run of
// neighbouring slices of one axis per unit, axis 0 first. Every plane or slice lies in exactly
// one unit, and the units come in order, so the last unit completes the textures. The unit size
// follows the measured upload rate (SetUploadRate), so that a slow driver gets thinner slabs.
//
// A large 3D texture is also cut along z into bricks (MakeBricks): making one texture is a
// single driver call whose time grows with its size (a software renderer clears fresh memory
// for it), and bricks let the idle passes make a large frame's storage a piece at a time.
#include <cstdint>
#include <vector>

class TexSlabPlan_cls
{
  public:
    /// One unit: slices [uFirst, uFirst + uCount) across axis iAxis (2 for a 3D slab of z planes).
    struct Unit {
        int iAxis = 2;
        uint32_t uFirst = 0;
        uint32_t uCount = 0;
        bool operator==(const Unit&) const = default;
    };

    /// Plans the upload of a frame of size[0..2] voxels: one 3D texture (is3D) or the three 2D
    /// stacks, bytesPerTexel per voxel, about unitBytes per unit (never less than one plane or
    /// slice). An empty size gives no units.
    void Make(const uint32_t size[3], bool is3D, unsigned bytesPerTexel, uint64_t unitBytes);
    uint32_t GetUnitCount() const { return static_cast<uint32_t>(mvUnit.size()); }
    /// Unit i (i < GetUnitCount()).
    const Unit& GetUnit(uint32_t i) const { return mvUnit[i]; }
    /// Texel bytes of unit i.
    uint64_t GetUnitBytes(uint32_t i) const;

    /// One brick of a 3D texture cut along z. It draws the planes [uFirst, uEnd) and stores
    /// [uStoreFirst, uStoreEnd): one plane more on each side where the volume goes on, so that
    /// the linear filter next to a seam reads the same texels as in one whole texture.
    struct Brick {
        uint32_t uFirst = 0;
        uint32_t uEnd = 0;
        uint32_t uStoreFirst = 0;
        uint32_t uStoreEnd = 0;
        uint32_t GetStoredPlanes() const { return uStoreEnd - uStoreFirst; }
        bool operator==(const Brick&) const = default;
    };
    /// Cuts `depth` z planes of planeBytes each into bricks that store at most brickBytes
    /// (never less than one drawn plane and its neighbours), as evenly as the planes allow, low
    /// z first. The drawn ranges cover every plane exactly once. One brick when the whole volume
    /// fits; none for depth 0.
    static std::vector<Brick> MakeBricks(uint32_t depth, uint64_t planeBytes, uint64_t brickBytes);
    /// Stored bytes of a 3D texture cut by MakeBricks (the overlap planes count twice).
    static uint64_t BrickedBytes(uint32_t depth, uint64_t planeBytes, uint64_t brickBytes);

    /// Bytes per unit that make one unit take about targetMs at bytesPerMs (clamped to
    /// 256 KB .. 8 MB; the lower end while no rate is known).
    static uint64_t UnitBytesFor(double bytesPerMs, double targetMs);
    /// The upload rate measured so far (bytes per millisecond of wall time; 0: none yet).
    static double GetUploadRate() { return msBytesPerMs; }
    /// Folds one measured upload of `bytes` in `ms` into the rate (a running average).
    static void AddUploadSample(uint64_t bytes, double ms);
    /// Sets (or with 0 forgets) the rate.
    static void SetUploadRate(double bytesPerMs) { msBytesPerMs = bytesPerMs; }
    /// Share of a pass one unit aims at, milliseconds.
    static constexpr double kTargetUnitMs = 6.0;

  private:
    std::vector<Unit> mvUnit;
    uint32_t mvSize[3] = {0, 0, 0};
    unsigned muBytesPerTexel = 1;
    static double msBytesPerMs;
};
