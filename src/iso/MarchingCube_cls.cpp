// Marching-cubes driver.
//
// Sections:
//   1. Block split, value ranges and scheduling of the block workers
//   2. Welding stages
//   3. Clearing and counts
//   4. mesh2 and OBJ text, file writing
#include "iso/MarchingCube_cls.h"

#include "config/TextFormat.h"
#include "iso/IsoSpareMemory_cls.h"
#include "iso/ThreadIsoLane.h"
#include "iso/ThreadIsoWriterBase_cls.h"
#include "iso/ThreadMarching.h"
#include "iso/ThreadOptimizeA.h"
#include "iso/ThreadOptimizeFull.h"
#include "iso/ThreadWavefrontWriterBase_cls.h"

#include <algorithm>
#include <atomic>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

// ---------------------------------------------------------------------------------------------
// 1. Block split, value ranges and scheduling
// ---------------------------------------------------------------------------------------------

MarchingCube_cls::MarchingCube_cls() : mvBlocks(kBlockNum)
{
}

MarchingCube_cls::~MarchingCube_cls()
{
    IsoSpareMemory_cls& store = IsoSpareMemory_cls::Get();
    for (std::unique_ptr<MarchingArena_cls>& arena : mvArena)
        store.GiveArena(std::move(arena));
    store.GiveLists(mvPosFull, mvNormFull, mvIndexFull);
}

void MarchingCube_cls::SetBlockRanges()
{
    // Part k of an axis with n voxels (n - 1 cubes) covers cubes [trunc(k*n/8), min(n-1, trunc((k+1)*n/8))):
    // the parts tile every cube exactly once, and axes shorter than 8 simply leave parts empty.
    auto part = [](int n, int k, int& begin, int& end) {
        begin = static_cast<int>(static_cast<long long>(k) * n / kDiv);
        end = static_cast<int>(std::min<long long>(n - 1, static_cast<long long>(k + 1) * n / kDiv));
        begin = std::min(begin, n - 1);
        end = std::max(end, begin);
    };
    for (int kz = 0; kz < kDiv; ++kz)
        for (int ky = 0; ky < kDiv; ++ky)
            for (int kx = 0; kx < kDiv; ++kx) {
                MarchingBlock_cls& b = mvBlocks[static_cast<size_t>((kz * kDiv + ky) * kDiv + kx)];
                part(miSize[0], kx, b.miBegin[0], b.miEnd[0]);
                part(miSize[1], ky, b.miBegin[1], b.miEnd[1]);
                part(miSize[2], kz, b.miBegin[2], b.miEnd[2]);
            }
}

namespace
{
// Lowers lo and raises hi to the smallest and largest of n bytes.
void RowMinMax(const unsigned char* p, size_t n, int& lo, int& hi)
{
    size_t i = 0;
#if defined(__SSE2__)
    if (n >= 16) {
        __m128i mn = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        __m128i mx = mn;
        for (i = 16; i + 16 <= n; i += 16) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
            mn = _mm_min_epu8(mn, v);
            mx = _mm_max_epu8(mx, v);
        }
        alignas(16) unsigned char a[16], b[16];
        _mm_store_si128(reinterpret_cast<__m128i*>(a), mn);
        _mm_store_si128(reinterpret_cast<__m128i*>(b), mx);
        for (int k = 0; k < 16; ++k) {
            lo = std::min<int>(lo, a[k]);
            hi = std::max<int>(hi, b[k]);
        }
    }
#endif
    for (; i < n; ++i) {
        lo = std::min<int>(lo, p[i]);
        hi = std::max<int>(hi, p[i]);
    }
}
} // namespace

void MarchingCube_cls::GetMinMaxValue(const unsigned char* data)
{
    const size_t nx = static_cast<size_t>(miSize[0]), nxy = nx * static_cast<size_t>(miSize[1]);
    mCThreadCtrl.RunRanges(mvBlocks.size(), [&](size_t first, size_t last) {
        for (size_t i = first; i < last; ++i) {
            MarchingBlock_cls& b = mvBlocks[i];
            int lo = 255, hi = 0;
            if (b.GetCubeNumber() > 0) {
                // The cubes of the block reach one voxel past the end of the cube range.
                for (int z = b.miBegin[2]; z <= b.miEnd[2]; ++z)
                    for (int y = b.miBegin[1]; y <= b.miEnd[1]; ++y) {
                        const unsigned char* row = data + static_cast<size_t>(z) * nxy + static_cast<size_t>(y) * nx;
                        RowMinMax(row + b.miBegin[0], static_cast<size_t>(b.miEnd[0] - b.miBegin[0]) + 1, lo, hi);
                    }
            }
            b.miMin = lo;
            b.miMax = hi;
        }
    });
}

bool MarchingCube_cls::ThreadControlMain(const unsigned char* data, int nx, int ny, int nz, float level, unsigned flags)
{
    Clear(1);
    if (data == nullptr || nx < 2 || ny < 2 || nz < 2 || !(level >= 0.0f && level <= 1.0f))
        return false;
    miSize[0] = nx;
    miSize[1] = ny;
    miSize[2] = nz;
    miLevel = static_cast<int>(255.0f * level);
    mbNormals = (flags & kFlagNormals) != 0;

    mCThreadCtrl.InitializeThreadCtrl();
    SetBlockRanges();

    const bool cubeByCube = (flags & kFlagCubeByCube) != 0;
    const unsigned workerFlags = (mbNormals ? ThreadMarching::kFlagNormals : 0u) |
                                 ((flags & kFlagWeldInBlock) ? ThreadMarching::kFlagWeldInBlock : 0u) |
                                 (cubeByCube ? ThreadMarching::kFlagCubeByCube : 0u) |
                                 ((flags & kFlagWeldCountOnly) ? ThreadMarching::kFlagWeldCountOnly : 0u);
    std::vector<MarchingBlock_cls*> work;
    work.reserve(mvBlocks.size());
    if (cubeByCube) {
        // The reference march learns the value ranges first and only marches the blocks whose
        // range holds the level (inclusive at both ends: a minimum or maximum equal to L cuts).
        GetMinMaxValue(data);
        for (MarchingBlock_cls& b : mvBlocks) {
            if (b.GetCubeNumber() == 0)
                b.miStatus = MarchingBlock_cls::kNotMarched;
            else if (miLevel < b.miMin)
                b.miStatus = MarchingBlock_cls::kAllAbove;
            else if (miLevel > b.miMax)
                b.miStatus = MarchingBlock_cls::kAllBelow;
            else
                work.push_back(&b);
        }
    } else {
        // The classified march finds the range itself while it reads the block's corners (one pass
        // over the data instead of two) and stops there when the level lies outside it.
        for (MarchingBlock_cls& b : mvBlocks) {
            if (b.GetCubeNumber() == 0) {
                b.miStatus = MarchingBlock_cls::kNotMarched;
                b.miMin = 255;
                b.miMax = 0;
            } else {
                work.push_back(&b);
            }
        }
    }
    // Blocks are handed out z-slab by z-slab, then y, then x, each to its own ThreadMarching
    // worker. The workers run on one long-lived lane per slot that takes the next block from a
    // shared counter: the same blocks and results as a thread per block, without starting and
    // joining 512 threads and without a slot idling until the calling thread wakes to refill it.
    std::atomic<size_t> next{0};
    // Each lane appends its blocks' counted-stage output to its own arena.
    const size_t lanes = static_cast<size_t>(std::max(1, mCThreadCtrl.GetThreadNum()));
    while (mvArena.size() < lanes)
        mvArena.push_back(IsoSpareMemory_cls::Get().TakeArena());
    for (size_t lane = 0; lane < lanes; ++lane)
        mvArena[lane]->SetExpectedBlocks((work.size() + lanes - 1) / lanes);
    ThreadIsoLane::RunLanes(mCThreadCtrl, lanes, [&](size_t lane) {
        for (size_t i = next.fetch_add(1); i < work.size(); i = next.fetch_add(1)) {
            ThreadMarching worker(data, miSize, miLevel, workerFlags, work[i], &mCScratchPool, mvArena[lane].get());
            worker.Entry();
        }
    });
    miMarchedBlocks = 0;
    for (const MarchingBlock_cls& b : mvBlocks)
        if (b.GetCubeNumber() > 0 && b.miMin <= miLevel && miLevel <= b.miMax)
            ++miMarchedBlocks;
    return true;
}

// ---------------------------------------------------------------------------------------------
// 2. Welding stages
// ---------------------------------------------------------------------------------------------

void MarchingCube_cls::OptimizeVertices()
{
    mCThreadCtrl.InitializeThreadCtrl();
    for (MarchingBlock_cls& b : mvBlocks) {
        if (b.mbOptDone || b.mvPos.empty())
            continue;
        mCThreadCtrl.WaitForThreadsAndRun(std::make_unique<ThreadOptimizeA>(&b));
    }
    mCThreadCtrl.WaitAllThreadsEnd();
}

void MarchingCube_cls::OptimizeVerticesFull()
{
    bool pending = std::any_of(mvBlocks.begin(), mvBlocks.end(),
                               [](const MarchingBlock_cls& b) { return !b.mbOptDone && !b.mvPos.empty(); });
    if (pending)
        OptimizeVertices();
    // One merge in block order; it runs on the calling thread, which would only wait otherwise.
    ThreadOptimizeFull merge(&mvBlocks, miSize, &mCThreadCtrl, &mvPosFull, &mvNormFull, &mvIndexFull);
    merge.Entry();
}

// ---------------------------------------------------------------------------------------------
// 3. Clearing and counts
// ---------------------------------------------------------------------------------------------

namespace
{
template <class T> void Release(std::vector<T>& v, bool keepCapacity)
{
    if (keepCapacity)
        v.clear();
    else
        std::vector<T>().swap(v);
}
} // namespace

void MarchingCube_cls::Clear(int keepCapacity)
{
    if (keepCapacity == 0)
        mCScratchPool.Clear();
    for (std::unique_ptr<MarchingArena_cls>& arena : mvArena) {
        if (keepCapacity == 0)
            arena->Release();
        else
            arena->Reset();
    }
    for (MarchingBlock_cls& b : mvBlocks) {
        Release(b.mvPos, keepCapacity != 0);
        Release(b.mvNorm, keepCapacity != 0);
        b.muVertexNum = 0;
        b.miStatus = MarchingBlock_cls::kNotMarched;
    }
    miMarchedBlocks = 0;
    for (MarchingBlock_cls& b : mvBlocks) {
        Release(b.mvPosOpt, keepCapacity != 0);
        Release(b.mvNormOpt, keepCapacity != 0);
        Release(b.mvIndexOpt, keepCapacity != 0);
        Release(b.mvOptToExact, keepCapacity != 0);
        Release(b.mvExactFirst, keepCapacity != 0);
        Release(b.mvExactBorder, keepCapacity != 0);
        b.muVertexOptNum = 0;
        b.mpArena = nullptr;
        b.muExactNum = 0;
        b.mbOptDone = false;
    }
    ClearOptFull();
}

void MarchingCube_cls::ClearOpt()
{
    for (MarchingBlock_cls& b : mvBlocks) {
        Release(b.mvPosOpt, false);
        Release(b.mvNormOpt, false);
        Release(b.mvIndexOpt, false);
        Release(b.mvOptToExact, false);
        Release(b.mvExactFirst, false);
        Release(b.mvExactBorder, false);
        b.muVertexOptNum = 0;
        b.mpArena = nullptr;
        b.muExactNum = 0;
        b.mbOptDone = false;
    }
}

void MarchingCube_cls::ClearOptFull()
{
    // Tens of megabytes for a large surface: the next full weld takes them back with their pages
    // mapped instead of having every page cleared anew.
    IsoSpareMemory_cls::Get().GiveLists(mvPosFull, mvNormFull, mvIndexFull);
    for (MarchingBlock_cls& b : mvBlocks) {
        b.muFaceBeginFull = 0;
        b.muFaceNumFull = 0;
        b.muFirstVertexFull = 0;
    }
}

size_t MarchingCube_cls::GetVertexNumber() const
{
    size_t n = 0;
    for (const MarchingBlock_cls& b : mvBlocks)
        n += b.GetVertexNumber();
    return n;
}

size_t MarchingCube_cls::GetVertexNumberOpt() const
{
    size_t n = 0;
    for (const MarchingBlock_cls& b : mvBlocks)
        n += b.mvPosOpt.size() / 3 + b.muVertexOptNum;
    return n;
}

double MarchingCube_cls::GetVertexDensity() const
{
    size_t cubes = 0;
    for (const MarchingBlock_cls& b : mvBlocks)
        cubes += b.GetCubeNumber();
    return cubes ? static_cast<double>(GetVertexNumber()) / static_cast<double>(cubes) : 0.0;
}

double MarchingCube_cls::GetMaxVertexDensity() const
{
    double best = 0.0;
    for (const MarchingBlock_cls& b : mvBlocks) {
        size_t cubes = b.GetCubeNumber();
        if (cubes)
            best = std::max(best, static_cast<double>(b.GetVertexNumber()) / static_cast<double>(cubes));
    }
    return best;
}

// ---------------------------------------------------------------------------------------------
// 4. mesh2 and OBJ text, file writing
// ---------------------------------------------------------------------------------------------

namespace
{
constexpr const char* kProgramTitle = "Kivrel Tessan v ";
constexpr const char* kPlaceholder = "##########";

void AppendSection(std::string& s, const char* head, size_t count, const ThreadIsoWriterBase_cls& body)
{
    s += head;
    s += "\n\t\t";
    s += std::to_string(count);
    s += ",\n";
    s += body.GetBuffer();
    s += "\n\t}\n";
}
} // namespace

bool MarchingCube_cls::GetStrPovMesh2(std::string* out, const std::wstring& name, const std::wstring& suffix,
                                      bool withNormals) const
{
    if (out == nullptr)
        return false;
    const bool normals = withNormals && !mvNormFull.empty() && mvNormFull.size() == mvPosFull.size();
    // The sections are formatted in parallel before the text is assembled.
    ThreadIsoWriterVectors3_cls vertexWriter(&mvPosFull, kPrecisionPosition, 0.0f);
    ThreadIsoWriterVectors3_cls normalWriter(&mvNormFull, kPrecisionNormal, 0.0f);
    ThreadIsoWriterFaces_cls faceWriter(&mvIndexFull);
    vertexWriter.Run();
    if (normals)
        normalWriter.Run();
    faceWriter.Run();

    std::string& s = *out;
    s.clear();
    s += "//Mesh2file generated by ";
    s += kProgramTitle;
    s += TESSAN_VERSION;
    s += "\n//normal_start_at=";
    const size_t normalField = s.size();
    s += kPlaceholder;
    s += "\n//index_start_at=";
    const size_t indexField = s.size();
    s += kPlaceholder;
    s += "\n#declare ISOSURF_";
    s += Narrow(name);
    s += Narrow(suffix);
    s += "=mesh2{\n";

    vertexWriter.Wait();
    if (normals)
        normalWriter.Wait();
    faceWriter.Wait();
    s.reserve(s.size() + vertexWriter.GetLength() + normalWriter.GetLength() + faceWriter.GetLength() + 256);

    AppendSection(s, "\tvertex_vectors{", GetVertexNumberOptFull(), vertexWriter);
    const size_t normalStart = s.size();
    if (normals)
        AppendSection(s, "\tnormal_vectors{", GetVertexNumberOptFull(), normalWriter);
    const size_t indexStart = s.size();
    AppendSection(s, "\tface_indices{", GetFaceNumberOptFull(), faceWriter);
    s += "\tinside_vector <0.01, 0.01, 0.99>\n\n}\n";

    // Same width as the placeholder, so nothing after it moves. Without normals both fields point
    // at the index section, where a reader would have found the normals.
    const std::string normalPos = StrPrintf("%010zu", normals ? normalStart : indexStart);
    const std::string indexPos = StrPrintf("%010zu", indexStart);
    s.replace(normalField, normalPos.size(), normalPos);
    s.replace(indexField, indexPos.size(), indexPos);
    return true;
}

bool MarchingCube_cls::GetStrWaveFrontObj(std::string* out, bool withNormals) const
{
    if (out == nullptr)
        return false;
    const bool normals = withNormals && !mvNormFull.empty() && mvNormFull.size() == mvPosFull.size();
    ThreadWavefrontWriterVector3_cls vertexWriter(&mvPosFull, "v", kPrecisionPosition);
    ThreadWavefrontWriterVector3_cls normalWriter(&mvNormFull, "vn", kPrecisionNormal);
    ThreadWavefrontWriterFaces_cls faceWriter(&mvIndexFull);
    vertexWriter.Run();
    if (normals)
        normalWriter.Run();
    faceWriter.Run();
    vertexWriter.Wait();
    if (normals)
        normalWriter.Wait();
    faceWriter.Wait();

    std::string& s = *out;
    s.clear();
    s.reserve(vertexWriter.GetLength() + normalWriter.GetLength() + faceWriter.GetLength() + 32);
    s += "o Isosurface\n";
    s += vertexWriter.GetBuffer();
    if (normals)
        s += normalWriter.GetBuffer();
    s += "s off\n";
    s += faceWriter.GetBuffer();
    return true;
}

int MarchingCube_cls::WriteNewFile(const std::string& path, const std::string& text)
{
    // O_EXCL: an existing file (or a link to one) is never touched.
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0)
        return errno == EEXIST ? 1 : 2;
    const char* p = text.data();
    size_t left = text.size();
    bool ok = true;
    while (left > 0) {
        ssize_t n = ::write(fd, p, left);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            ok = false;
            break;
        }
        p += n;
        left -= static_cast<size_t>(n);
    }
    if (::close(fd) != 0)
        ok = false;
    if (!ok) {
        ::unlink(path.c_str());
        return 2;
    }
    return 0;
}
