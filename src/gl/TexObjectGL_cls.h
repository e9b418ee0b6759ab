#pragma once
// The OpenGL texture objects of one volume frame, made, filled and freed as the tracked jobs of
// TexObjectJobs_cls. Lattice mode (no 3D textures): one 2D texture per slice for each of the
// three axes; 3D mode: one 3D texture, cut along z into bricks of at most GetBrickBytes() (see
// TexSlabPlan_cls::MakeBricks; a frame that fits is one brick). Texels are ALPHA (1 byte), LUMINANCE_ALPHA (2 bytes) or
// RGBA (4 bytes, the colour map baked in on ThreadMappingByCPU workers), as "PreviewTextureType="
// says at generation time.
//
// Units of work (TexSlabPlan_cls): generation makes the texture names and their storage (one
// brick of the 3D texture or a run of 2D slices per unit); binding fills them (slabs of z planes
// of the 3D texture, written into every brick that stores them, or runs of 2D slices), each unit about what a fraction
// of a pass uploads at the measured rate; deletion frees everything in one unit. All of it on the thread that owns the
// GL context, with the context current.
//
// Sections: construction; jobs; texels; queries.
#include "color/ColorTable_cls.h"
#include "gl/Draw3DTexBoxA_cls.h"
#include "volume/TexObjectJobs_cls.h"
#include "volume/TexSlabPlan_cls.h"

#include <GL/gl.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

class DF3GL_cls;
class DF3_cls;

class TexObjectGL_cls : public TexObjectJobs_cls
{
  public:
    /// owner: the drawing companion of the frame's sequence; supplies the colour table, the
    /// colour plane and the worker count (not owned; may be null: white, same plane, one worker).
    explicit TexObjectGL_cls(DF3GL_cls* owner);
    /// Frees the texture objects; the GL context they were made in must be current (a missing
    /// context makes the deletion a no-op of the GL library, never a crash).
    ~TexObjectGL_cls() override;
    TexObjectGL_cls(const TexObjectGL_cls&) = delete;
    TexObjectGL_cls& operator=(const TexObjectGL_cls&) = delete;

    // --- texels -------------------------------------------------------------------------------
    /// Bytes per texel of a "PreviewTextureType=" value: 1 ALPHA, 2 LUMINANCE_ALPHA, 4 RGBA
    /// (anything else counts as ALPHA).
    static unsigned BytesPerTexel(unsigned textureType);
    /// The texels of `count` voxels in the given format into `out` (resized): ALPHA copies the
    /// density; LUMINANCE_ALPHA gives (colour byte, density); RGBA maps through `table` on
    /// `threads` workers (see ThreadMappingByCPU). colour may equal density. Any thread.
    static void MakeTexels(unsigned textureType, const uint8_t* density, const uint8_t* colour, size_t count,
                           const ColorTable_cls& table, int threads, std::vector<uint8_t>& out);
    /// Slice `i` across `axis` of the voxels `data` (x fastest, size[0..2]) as S x T bytes, S
    /// fastest (S, T as AxisXYZSTU_cls names them). Returns a pointer into `data` for Z slices,
    /// into `axisCopy` when given (the frame's copy for X or Y), else gathers into `scratch`.
    static const uint8_t* GetSlice(const uint8_t* data, const uint32_t size[3], int axis, uint32_t i,
                                   const uint8_t* axisCopy, std::vector<uint8_t>& scratch);

    // --- queries (GL thread) ------------------------------------------------------------------
    /// Texture memory of the generated textures, kilobytes (bytes / 1024).
    uint32_t GetAllocatedTextureKB() const override { return static_cast<uint32_t>(muBytes / 1024); }
    /// Texture memory in bytes: texels times BytesPerTexel of the format.
    uint64_t GetAllocatedTextureBytes() const { return muBytes; }
    /// True when the textures are generated and completely filled.
    bool IsReady() const { return IsTexObjectGenFinished() && IsTexObjectBindFinished(); }
    /// The 2D texture of slice `slice` across `axis` (0 when there is none).
    GLuint GetTexture2D(int axis, int slice) const;
    /// Number of 2D textures across `axis`.
    int GetSliceCount(int axis) const { return static_cast<int>(mvTex2D[axis].size()); }
    /// Brick `brick` of the 3D texture, low z first (0 when there is none).
    GLuint GetTexture3D(size_t brick = 0) const { return brick < mvTex3D.size() ? mvTex3D[brick] : 0; }
    /// Number of bricks the 3D texture has (0 without one).
    size_t GetBrickCount() const { return mvTex3D.size(); }
    /// The planes brick `brick` draws and stores (brick < GetBrickCount()).
    const TexSlabPlan_cls::Brick& GetBrick(size_t brick) const { return mvBricks[brick]; }
    /// The bricks as the slice drawing takes them: name, the part of the unit box each draws
    /// and its r coordinate from the whole volume's. Empty until every brick is made.
    std::vector<TexBrickGL> GetDrawBricks() const;
    /// Largest storage of one brick of a 3D texture, bytes: each brick is one allocation of the
    /// driver, made in an idle pass of its own.
    static uint64_t GetBrickBytes() { return msuBrickBytes; }
    /// Sets the brick storage for the frames generated from now on (0 restores the default).
    static void SetBrickBytes(uint64_t bytes) { msuBrickBytes = bytes != 0 ? bytes : DefaultBrickBytes(); }
    /// The usual brick storage: a software renderer makes 4 MB in about a quarter of a pass's
    /// 50 ms limit even in memory the machine has not touched before.
    static constexpr uint64_t kBrickBytes = 4u * 1024u * 1024u;
    /// kBrickBytes, or TESSAN_TEX_BRICK_KB kilobytes when that is set to a positive number.
    static uint64_t DefaultBrickBytes();
    /// The texel format of the last generation ("PreviewTextureType=").
    unsigned GetTextureType() const { return muTextureType; }
    /// Voxel sizes of the frame at the last generation.
    const std::array<uint32_t, 3>& GetSize() const { return mvSize; }
    /// Grows by one every time a bind job completes: names the texture contents.
    uint32_t GetContentSerial() const { return muContentSerial; }
    /// At most this many freed 3D textures are kept for reuse: the release step of a streaming
    /// series frees textures in pairs now and then, and each one kept is one allocation less.
    static constexpr size_t kMaxSpares = 2;
    /// Frees the 3D textures kept for reuse (GL thread, context current; before the context goes).
    static void DropSpareTexture();
    /// Whether freed 3D textures are kept for the next frames of their size (off by default:
    /// only a program with one lasting context, which drops the spares before the context goes,
    /// may turn it on).
    static void SetKeepSpareTexture(bool keep) { msbKeepSpare = keep; }
    /// The names of the 3D textures kept for reuse (every brick), oldest first.
    static std::vector<GLuint> GetSpareTextures();
    /// Text of the last failure (empty when none).
    const std::wstring& GetLastError() const { return mStrError; }

  protected:
    bool StartGenerate(DF3_cls& frame, uint32_t& total) override;
    bool GenerateUnit(DF3_cls& frame, uint32_t unit) override;
    bool StartBind(DF3_cls& frame, uint32_t& total) override;
    bool BindUnit(DF3_cls& frame, uint32_t unit) override;
    bool StartDelete(bool isCurrent, uint32_t& total) override;
    bool DeleteUnit(bool isCurrent, uint32_t unit) override;

  private:
    struct Spare3D_cls {
        std::vector<GLuint> vNames; ///< its bricks
        std::array<uint32_t, 3> vSize{0, 0, 0};
        unsigned uTextureType = 0;
        uint64_t uBytes = 0;
    };
    void FreeTextures();
    bool TakeSpare3D();
    bool Fail(const char* text);

    DF3GL_cls* mpOwner;
    std::array<std::vector<GLuint>, 3> mvTex2D;
    std::vector<GLuint> mvTex3D;                  ///< the bricks made so far, low z first
    std::vector<TexSlabPlan_cls::Brick> mvBricks; ///< the bricks of the frame's 3D texture
    std::array<uint32_t, 3> mvSize{0, 0, 0};
    unsigned muTextureType = 0;
    uint64_t muBytes = 0;
    uint32_t muContentSerial = 0;
    std::wstring mStrError;
    // Set at the start of a bind job.
    ColorTable_cls mCTable;
    const uint8_t* mpDensity = nullptr;
    const uint8_t* mpColour = nullptr;
    bool mbUseAxisCopies = false;
    int miThreads = 1;
    std::vector<uint8_t> mvScratch;
    std::vector<uint8_t> mvColourScratch;
    std::vector<uint8_t> mvTexels;
    TexSlabPlan_cls mCGenPlan;
    TexSlabPlan_cls mCBindPlan;
    static void CountSpares();
    static std::vector<Spare3D_cls> msvSpare3D; ///< freed 3D textures, for the next frames of their size
    static bool msbKeepSpare;
    static uint64_t msuBrickBytes;
};
