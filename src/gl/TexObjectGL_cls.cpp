#include "gl/TexObjectGL_cls.h"

#include "config/PreviewProperty_cls.h"
#include "config/Translate.h"
#include "gl/DF3GL_cls.h"
#include "gl/ThreadMappingByCPU.h"
#include "volume/DF3_cls.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>

#ifndef GL_CLAMP_TO_EDGE
#define GL_CLAMP_TO_EDGE 0x812F
#endif

namespace
{

struct TexFormat {
    GLint iInternal;
    GLenum uFormat;
};

TexFormat FormatOf(unsigned type)
{
    switch (type) {
    case PreviewProperty_cls::kTexLuminanceAlpha:
        return {GL_LUMINANCE8_ALPHA8, GL_LUMINANCE_ALPHA};
    case PreviewProperty_cls::kTexRGBA:
        return {GL_RGBA8, GL_RGBA};
    default:
        return {GL_ALPHA8, GL_ALPHA};
    }
}

void SetTexParameters(GLenum target)
{
    const GLint filter = DF3GL_cls::GetGLTexFilter();
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, filter);
    // Clamping keeps the linear filter from blending the far edge into the near one.
    glTexParameteri(target, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(target, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    if (target == GL_TEXTURE_3D)
        glTexParameteri(target, GL_TEXTURE_WRAP_R, GL_CLAMP_TO_EDGE);
}

// Byte rows of any width: the slices are rarely a multiple of 4 wide.
class ScopedUnpackAlignment
{
  public:
    ScopedUnpackAlignment()
    {
        glGetIntegerv(GL_UNPACK_ALIGNMENT, &miOld);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    }
    ~ScopedUnpackAlignment() { glPixelStorei(GL_UNPACK_ALIGNMENT, miOld); }

  private:
    GLint miOld = 4;
};

// Texel bytes per unit: what the measured upload rate fills in a fraction of a pass, so that
// one unit stays well inside the 25 ms budget of an idle pass even with colour baking.
uint64_t UnitBytes()
{
    return TexSlabPlan_cls::UnitBytesFor(TexSlabPlan_cls::GetUploadRate(), TexSlabPlan_cls::kTargetUnitMs);
}

} // namespace

// --- construction -----------------------------------------------------------------------------

TexObjectGL_cls::TexObjectGL_cls(DF3GL_cls* owner) : mpOwner(owner)
{
}

TexObjectGL_cls::~TexObjectGL_cls()
{
    FreeTextures();
}

std::vector<TexObjectGL_cls::Spare3D_cls> TexObjectGL_cls::msvSpare3D;
bool TexObjectGL_cls::msbKeepSpare = false;
uint64_t TexObjectGL_cls::msuBrickBytes = TexObjectGL_cls::DefaultBrickBytes();

uint64_t TexObjectGL_cls::DefaultBrickBytes()
{
    // TESSAN_TEX_BRICK_KB cuts 3D textures into smaller bricks than usual (for trying the
    // seams with small data).
    if (const char* kb = std::getenv("TESSAN_TEX_BRICK_KB")) {
        char* end = nullptr;
        const unsigned long long value = std::strtoull(kb, &end, 10);
        if (end != kb && *end == '\0' && value > 0 && value <= (uint64_t{1} << 30))
            return value * 1024;
    }
    return kBrickBytes;
}

void TexObjectGL_cls::FreeTextures()
{
    for (auto& names : mvTex2D) {
        if (!names.empty())
            glDeleteTextures(static_cast<GLsizei>(names.size()), names.data());
        names.clear();
    }
    if (!mvTex3D.empty()) {
        // Making a large 3D texture takes the driver tens of milliseconds (a software renderer
        // clears fresh memory for it); while a series streams in, frames of one size come and
        // go. A few freed textures are kept whole, and the next frames of their size and format
        // take them.
        if (msbKeepSpare && msvSpare3D.size() < kMaxSpares && muBytes != 0 && mvTex3D.size() == mvBricks.size()) {
            msvSpare3D.push_back({mvTex3D, mvSize, muTextureType, muBytes});
            CountSpares();
        } else {
            glDeleteTextures(static_cast<GLsizei>(mvTex3D.size()), mvTex3D.data());
        }
    }
    mvTex3D.clear();
    muBytes = 0;
}

bool TexObjectGL_cls::TakeSpare3D()
{
    if (msvSpare3D.empty())
        return false;
    // A spare of another size or format will not fit the frames that follow either: the series
    // changed. Those go.
    bool taken = false;
    std::vector<Spare3D_cls> kept;
    for (Spare3D_cls& spare : msvSpare3D) {
        if (spare.vSize != mvSize || spare.uTextureType != muTextureType || spare.vNames.size() != mvBricks.size()) {
            glDeleteTextures(static_cast<GLsizei>(spare.vNames.size()), spare.vNames.data());
        } else if (taken) {
            kept.push_back(std::move(spare));
        } else {
            mvTex3D = std::move(spare.vNames);
            muBytes = spare.uBytes;
            taken = true;
        }
    }
    msvSpare3D = std::move(kept);
    CountSpares();
    return taken;
}

void TexObjectGL_cls::DropSpareTexture()
{
    for (const Spare3D_cls& spare : msvSpare3D)
        glDeleteTextures(static_cast<GLsizei>(spare.vNames.size()), spare.vNames.data());
    msvSpare3D.clear();
    CountSpares();
}

std::vector<GLuint> TexObjectGL_cls::GetSpareTextures()
{
    std::vector<GLuint> names;
    for (const Spare3D_cls& spare : msvSpare3D)
        names.insert(names.end(), spare.vNames.begin(), spare.vNames.end());
    return names;
}

void TexObjectGL_cls::CountSpares()
{
    uint64_t bytes = 0;
    for (const Spare3D_cls& spare : msvSpare3D)
        bytes += spare.uBytes;
    SetSpareTextureKB(static_cast<uint32_t>(bytes / 1024));
}

std::vector<TexBrickGL> TexObjectGL_cls::GetDrawBricks() const
{
    std::vector<TexBrickGL> bricks;
    if (mvTex3D.empty() || mvTex3D.size() != mvBricks.size())
        return bricks;
    const double depth = mvSize[2];
    for (size_t k = 0; k < mvBricks.size(); ++k) {
        const TexSlabPlan_cls::Brick& b = mvBricks[k];
        TexBrickGL d;
        d.uName = mvTex3D[k];
        // The ends of the volume are not cut: what lies beyond them is the clamp's business.
        if (b.uFirst > 0)
            d.dFirst = b.uFirst / depth;
        if (b.uEnd < mvSize[2])
            d.dEnd = b.uEnd / depth;
        const double stored = b.GetStoredPlanes();
        d.dRScale = depth / stored;
        d.dROffset = -static_cast<double>(b.uStoreFirst) / stored;
        bricks.push_back(d);
    }
    return bricks;
}

bool TexObjectGL_cls::Fail(const char* text)
{
    mStrError = TrW(text);
    FreeTextures();
    return false;
}

// --- jobs -------------------------------------------------------------------------------------

bool TexObjectGL_cls::StartGenerate(DF3_cls& frame, uint32_t& total)
{
    mStrError.clear();
    if (!frame.IsAllocated())
        return false;
    for (int a = 0; a < 3; ++a)
        mvSize[a] = frame.GetCurrSize(a);
    if (mvSize[0] == 0 || mvSize[1] == 0 || mvSize[2] == 0)
        return false;
    FreeTextures();
    const PreviewProperty_cls& preview = GetPreviewProperty();
    Set3DTexture(preview.Is3DTexture());
    muTextureType = preview.GetTextureType();
    if (muTextureType > PreviewProperty_cls::kTexRGBA)
        muTextureType = PreviewProperty_cls::kTexAlpha;
    GLint maxSize = 0;
    uint32_t deepest = mvSize[2];
    mvBricks.clear();
    if (Is3DTexture()) {
        // One brick per unit: each is one allocation of the driver.
        glGetIntegerv(GL_MAX_3D_TEXTURE_SIZE, &maxSize);
        const uint64_t plane = uint64_t{BytesPerTexel(muTextureType)} * mvSize[0] * mvSize[1];
        mvBricks = TexSlabPlan_cls::MakeBricks(mvSize[2], plane, msuBrickBytes);
        deepest = 0;
        for (const TexSlabPlan_cls::Brick& b : mvBricks)
            deepest = std::max(deepest, b.GetStoredPlanes());
        total = static_cast<uint32_t>(mvBricks.size());
    } else {
        // The stacks are made a run of slices at a time, as they are filled.
        glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxSize);
        const uint32_t size[3] = {mvSize[0], mvSize[1], mvSize[2]};
        mCGenPlan.Make(size, false, BytesPerTexel(muTextureType), UnitBytes());
        total = mCGenPlan.GetUnitCount();
    }
    // Without a context nothing reports a size: nothing can be made either.
    if (maxSize <= 0)
        return Fail("No OpenGL context");
    if (mvSize[0] > static_cast<uint32_t>(maxSize) || mvSize[1] > static_cast<uint32_t>(maxSize) ||
        deepest > static_cast<uint32_t>(maxSize))
        return Fail("The volume is larger than the largest texture of this OpenGL driver");
    return true;
}

bool TexObjectGL_cls::GenerateUnit(DF3_cls& /*frame*/, uint32_t unit)
{
    const TexFormat fmt = FormatOf(muTextureType);
    const uint64_t texelBytes = BytesPerTexel(muTextureType);
    while (glGetError() != GL_NO_ERROR) {
    }
    if (Is3DTexture()) {
        // Their old contents never show: the frame counts as textured only once every slab of
        // its own is in. A spare brings every brick at once.
        if (unit == 0 && mvTex3D.empty() && TakeSpare3D())
            return true;
        if (unit < mvTex3D.size())
            return true;
        if (unit >= mvBricks.size() || unit != mvTex3D.size())
            return Fail("Not enough texture memory");
        const TexSlabPlan_cls::Brick& b = mvBricks[unit];
        GLuint name = 0;
        glGenTextures(1, &name);
        mvTex3D.push_back(name);
        glBindTexture(GL_TEXTURE_3D, name);
        SetTexParameters(GL_TEXTURE_3D);
        glTexImage3D(GL_TEXTURE_3D, 0, fmt.iInternal, mvSize[0], mvSize[1], b.GetStoredPlanes(), 0, fmt.uFormat,
                     GL_UNSIGNED_BYTE, nullptr);
        glBindTexture(GL_TEXTURE_3D, 0);
        muBytes += texelBytes * mvSize[0] * mvSize[1] * b.GetStoredPlanes();
    } else {
        if (unit >= mCGenPlan.GetUnitCount())
            return Fail("Not enough texture memory");
        const TexSlabPlan_cls::Unit& u = mCGenPlan.GetUnit(unit);
        const int axis = u.iAxis;
        const uint32_t s = mvSize[AxisXYZSTU_cls::GetAxisS(axis)], t = mvSize[AxisXYZSTU_cls::GetAxisT(axis)];
        if (mvTex2D[axis].size() != mvSize[axis])
            mvTex2D[axis].assign(mvSize[axis], 0);
        GLuint* names = mvTex2D[axis].data() + u.uFirst;
        glGenTextures(static_cast<GLsizei>(u.uCount), names);
        for (uint32_t k = 0; k < u.uCount; ++k) {
            glBindTexture(GL_TEXTURE_2D, names[k]);
            SetTexParameters(GL_TEXTURE_2D);
            glTexImage2D(GL_TEXTURE_2D, 0, fmt.iInternal, s, t, 0, fmt.uFormat, GL_UNSIGNED_BYTE, nullptr);
        }
        glBindTexture(GL_TEXTURE_2D, 0);
        muBytes += texelBytes * u.uCount * s * t;
    }
    if (glGetError() != GL_NO_ERROR)
        return Fail("Not enough texture memory");
    return true;
}

bool TexObjectGL_cls::StartBind(DF3_cls& frame, uint32_t& total)
{
    if (!frame.IsAllocated())
        return false;
    for (int a = 0; a < 3; ++a)
        if (frame.GetCurrSize(a) != mvSize[a])
            return false; // the frame changed size since generation: generate again first
    mpDensity = frame.GetProcessedData() ? frame.GetProcessedData() : frame.GetXYZData();
    if (!mpDensity)
        return false;
    mpColour = mpDensity;
    miThreads = 1;
    if (mpOwner) {
        mpOwner->BuildColourTable(mCTable);
        if (const DF3_cls* plane = mpOwner->GetColourPlaneFrame(frame)) {
            const uint8_t* c = plane->GetProcessedData() ? plane->GetProcessedData() : plane->GetXYZData();
            if (c && c != mpDensity)
                mpColour = c;
        }
        miThreads = mpOwner->GetThreadNum();
    } else {
        mCTable.Build(DF3GL_cls::GetColoring(), 0, 0, true);
    }
    // The axis copies are made from the voxels as read; they serve only while processing left
    // the voxels unchanged (one comparison instead of a gather per slice).
    mbUseAxisCopies = false;
    if (!Is3DTexture() && frame.IsAllocatedXY() && frame.IsXYConstructFinished() && frame.GetAxisData(0) &&
        frame.GetAxisData(1))
        mbUseAxisCopies = mpDensity == frame.GetXYZData() ||
                          std::memcmp(mpDensity, frame.GetXYZData(), frame.GetCurrentTotalSize()) == 0;
    // Slabs of z planes (3D) or runs of slices (2D), each about what a fraction of a pass
    // uploads; the textures count as filled only after the last one.
    const uint32_t size[3] = {mvSize[0], mvSize[1], mvSize[2]};
    mCBindPlan.Make(size, Is3DTexture(), BytesPerTexel(muTextureType), UnitBytes());
    total = mCBindPlan.GetUnitCount();
    return total > 0;
}

bool TexObjectGL_cls::BindUnit(DF3_cls& frame, uint32_t unit)
{
    if (unit >= mCBindPlan.GetUnitCount())
        return false;
    const auto started = std::chrono::steady_clock::now();
    const TexSlabPlan_cls::Unit& u = mCBindPlan.GetUnit(unit);
    const TexFormat fmt = FormatOf(muTextureType);
    ScopedUnpackAlignment alignment;
    while (glGetError() != GL_NO_ERROR) {
    }
    if (Is3DTexture()) {
        if (mvTex3D.empty() || mvTex3D.size() != mvBricks.size()) {
            mStrError = TrW("No texture to fill");
            return false;
        }
        const uint32_t z0 = u.uFirst;
        const uint32_t z1 = std::min(mvSize[2], z0 + u.uCount);
        const size_t plane = static_cast<size_t>(mvSize[0]) * mvSize[1];
        const size_t offset = plane * z0, count = plane * (z1 - z0);
        const uint8_t* texels = mpDensity + offset;
        if (muTextureType != PreviewProperty_cls::kTexAlpha) {
            MakeTexels(muTextureType, mpDensity + offset, mpColour + offset, count, mCTable, miThreads, mvTexels);
            texels = mvTexels.data();
        }
        // The slab goes into every brick that stores any of its planes (a plane next to a seam
        // into both).
        const size_t planeBytes = plane * BytesPerTexel(muTextureType);
        for (size_t k = 0; k < mvBricks.size(); ++k) {
            const TexSlabPlan_cls::Brick& b = mvBricks[k];
            const uint32_t lo = std::max(z0, b.uStoreFirst), hi = std::min(z1, b.uStoreEnd);
            if (lo >= hi)
                continue;
            glBindTexture(GL_TEXTURE_3D, mvTex3D[k]);
            glTexSubImage3D(GL_TEXTURE_3D, 0, 0, 0, static_cast<GLint>(lo - b.uStoreFirst), mvSize[0], mvSize[1],
                            static_cast<GLsizei>(hi - lo), fmt.uFormat, GL_UNSIGNED_BYTE,
                            texels + planeBytes * (lo - z0));
        }
        glBindTexture(GL_TEXTURE_3D, 0);
    } else {
        const int axis = u.iAxis;
        const uint32_t size[3] = {mvSize[0], mvSize[1], mvSize[2]};
        const uint8_t* copy = (mbUseAxisCopies && axis < 2) ? frame.GetAxisData(axis) : nullptr;
        const uint32_t s = mvSize[AxisXYZSTU_cls::GetAxisS(axis)], t = mvSize[AxisXYZSTU_cls::GetAxisT(axis)];
        for (uint32_t slice = u.uFirst; slice < u.uFirst + u.uCount; ++slice) {
            if (slice >= mvTex2D[axis].size())
                return false;
            const uint8_t* density = GetSlice(mpDensity, size, axis, slice, copy, mvScratch);
            const uint8_t* colour = density;
            if (mpColour != mpDensity)
                colour = GetSlice(mpColour, size, axis, slice, nullptr, mvColourScratch);
            const uint8_t* texels = density;
            if (muTextureType != PreviewProperty_cls::kTexAlpha) {
                MakeTexels(muTextureType, density, colour, static_cast<size_t>(s) * t, mCTable, miThreads, mvTexels);
                texels = mvTexels.data();
            }
            glBindTexture(GL_TEXTURE_2D, mvTex2D[axis][slice]);
            glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, s, t, fmt.uFormat, GL_UNSIGNED_BYTE, texels);
        }
        glBindTexture(GL_TEXTURE_2D, 0);
    }
    if (glGetError() != GL_NO_ERROR) {
        // The textures stay: a later bind job may fill them yet.
        mStrError = TrW("Texture upload failed");
        return false;
    }
    TexSlabPlan_cls::AddUploadSample(
        mCBindPlan.GetUnitBytes(unit),
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count());
    if (unit + 1 == mCBindPlan.GetUnitCount()) {
        ++muContentSerial;
        // The work buffers are as large as a slice or slab; no need to keep them between jobs.
        std::vector<uint8_t>().swap(mvTexels);
        std::vector<uint8_t>().swap(mvScratch);
        std::vector<uint8_t>().swap(mvColourScratch);
    }
    return true;
}

bool TexObjectGL_cls::StartDelete(bool /*isCurrent*/, uint32_t& total)
{
    total = 1;
    return true;
}

bool TexObjectGL_cls::DeleteUnit(bool /*isCurrent*/, uint32_t /*unit*/)
{
    FreeTextures();
    return true;
}

// --- texels -----------------------------------------------------------------------------------

unsigned TexObjectGL_cls::BytesPerTexel(unsigned textureType)
{
    switch (textureType) {
    case PreviewProperty_cls::kTexLuminanceAlpha:
        return 2;
    case PreviewProperty_cls::kTexRGBA:
        return 4;
    default:
        return 1;
    }
}

void TexObjectGL_cls::MakeTexels(unsigned textureType, const uint8_t* density, const uint8_t* colour, size_t count,
                                 const ColorTable_cls& table, int threads, std::vector<uint8_t>& out)
{
    out.resize(count * BytesPerTexel(textureType));
    switch (textureType) {
    case PreviewProperty_cls::kTexLuminanceAlpha:
        for (size_t i = 0; i < count; ++i) {
            out[2 * i] = colour[i];
            out[2 * i + 1] = density[i];
        }
        break;
    case PreviewProperty_cls::kTexRGBA:
        ThreadMappingByCPU::MapAll(nullptr, out.data(), density, colour, count, table.GetData().data(), threads);
        break;
    default:
        std::memcpy(out.data(), density, count);
        break;
    }
}

const uint8_t* TexObjectGL_cls::GetSlice(const uint8_t* data, const uint32_t size[3], int axis, uint32_t i,
                                         const uint8_t* axisCopy, std::vector<uint8_t>& scratch)
{
    const size_t X = size[0], Y = size[1], Z = size[2];
    if (axis == AxisXYZSTU_cls::AXIS_Z)
        return data + i * X * Y;
    if (axis == AxisXYZSTU_cls::AXIS_Y) {
        // S = x, T = z: row t is the source row (y = i, z = t).
        if (axisCopy)
            return axisCopy + i * X * Z;
        scratch.resize(X * Z);
        for (size_t t = 0; t < Z; ++t)
            std::memcpy(scratch.data() + t * X, data + (i + t * Y) * X, X);
        return scratch.data();
    }
    // S = y, T = z: a gather with stride X.
    if (axisCopy)
        return axisCopy + i * Y * Z;
    scratch.resize(Y * Z);
    for (size_t t = 0; t < Z; ++t)
        for (size_t s = 0; s < Y; ++s)
            scratch[t * Y + s] = data[(s + t * Y) * X + i];
    return scratch.data();
}

GLuint TexObjectGL_cls::GetTexture2D(int axis, int slice) const
{
    if (axis < 0 || axis > 2 || slice < 0 || static_cast<size_t>(slice) >= mvTex2D[axis].size())
        return 0;
    return mvTex2D[axis][static_cast<size_t>(slice)];
}
