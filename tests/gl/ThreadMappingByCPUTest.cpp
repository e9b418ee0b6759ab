// Colour baking and texel making: the worker split, the two plane cases, the texel formats and
// the slice layouts the textures are filled from.
#include "gl/ThreadMappingByCPU.h"
#include "color/ColorTable_cls.h"
#include "color/Coloring_cls.h"
#include "config/PreviewProperty_cls.h"
#include "gl/TexObjectGL_cls.h"
#include "volume/DF3_cls.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace
{

// A table whose entries all differ in every channel, so a wrong index or channel shows.
std::vector<uint8_t> DistinctTable()
{
    std::vector<uint8_t> t(256 * 4);
    for (int i = 0; i < 256; ++i) {
        t[i * 4 + 0] = static_cast<uint8_t>(i);
        t[i * 4 + 1] = static_cast<uint8_t>(255 - i);
        t[i * 4 + 2] = static_cast<uint8_t>((i * 7 + 3) & 255);
        t[i * 4 + 3] = static_cast<uint8_t>(i ^ 0x5a);
    }
    return t;
}

std::vector<uint8_t> RandomBytes(size_t n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::vector<uint8_t> v(n);
    for (auto& b : v)
        b = static_cast<uint8_t>(rng() & 255);
    return v;
}

} // namespace

TEST(ThreadMappingByCPU, SamePlaneGivesTheWholeTableEntry)
{
    const auto table = DistinctTable();
    const std::vector<uint8_t> density = {0, 1, 128, 255};
    std::vector<uint8_t> out(16, 0xee);
    ThreadMappingByCPU::MapRange(out.data(), density.data(), density.data(), 0, 4, table.data());
    EXPECT_EQ(out, (std::vector<uint8_t>{0, 255, 3, 0x5a, 1, 254, 10, 0x5b, 128, 127, 131, 0xda, 255, 0, 252, 0xa5}));
}

TEST(ThreadMappingByCPU, DifferentPlanesTakeColourFromTheColourPlaneAndAlphaFromTheDensity)
{
    const auto table = DistinctTable();
    const std::vector<uint8_t> density = {200, 7, 0};
    const std::vector<uint8_t> colour = {1, 128, 255};
    std::vector<uint8_t> out(12, 0xee);
    ThreadMappingByCPU::MapRange(out.data(), density.data(), colour.data(), 0, 3, table.data());
    EXPECT_EQ(out, (std::vector<uint8_t>{1, 254, 10, 200, 128, 127, 131, 7, 255, 0, 252, 0}));
}

TEST(ThreadMappingByCPU, OnlyTheShareIsWritten)
{
    const auto table = DistinctTable();
    const auto density = RandomBytes(10, 1);
    std::vector<uint8_t> out(40, 0xee);
    ThreadMappingByCPU::MapRange(out.data(), density.data(), density.data(), 3, 7, table.data());
    for (size_t i = 0; i < 10; ++i) {
        const bool inside = i >= 3 && i < 7;
        for (size_t c = 0; c < 4; ++c)
            EXPECT_EQ(out[i * 4 + c], inside ? table[density[i] * 4 + c] : 0xee) << i << "," << c;
    }
}

TEST(ThreadMappingByCPU, AnyWorkerCountCoversEveryTexelOnce)
{
    // An odd count so that the shares are uneven; large enough to really start workers.
    const size_t n = 100003;
    const auto table = DistinctTable();
    const auto density = RandomBytes(n, 2);
    const auto colour = RandomBytes(n, 3);
    for (int threads : {1, 2, 7}) {
        for (bool samePlane : {true, false}) {
            const uint8_t* c = samePlane ? density.data() : colour.data();
            std::vector<uint8_t> out(n * 4, 0xee);
            EXPECT_TRUE(ThreadMappingByCPU::MapAll(nullptr, out.data(), density.data(), c, n, table.data(), threads));
            size_t wrong = 0;
            for (size_t i = 0; i < n; ++i) {
                const uint8_t* e = &table[static_cast<size_t>(c[i]) * 4];
                const uint8_t alpha = samePlane ? e[3] : density[i];
                wrong +=
                    out[i * 4] != e[0] || out[i * 4 + 1] != e[1] || out[i * 4 + 2] != e[2] || out[i * 4 + 3] != alpha;
            }
            EXPECT_EQ(wrong, 0u) << threads << " workers, same plane " << samePlane;
        }
    }
}

TEST(ThreadMappingByCPU, WorkerSetsItsDoneFlagAfterItsShare)
{
    const auto table = DistinctTable();
    const auto density = RandomBytes(5000, 4);
    std::vector<uint8_t> out(5000 * 4, 0);
    std::atomic<bool> done{false};
    ThreadMappingByCPU worker(nullptr, out.data(), density.data(), density.data(), 1000, 4000, table.data(), &done);
    worker.Run();
    worker.Wait();
    EXPECT_TRUE(done.load());
    EXPECT_EQ(out[999 * 4 + 3], 0);
    EXPECT_EQ(out[1000 * 4 + 3], table[density[1000] * 4 + 3]);
    EXPECT_EQ(out[3999 * 4 + 1], table[density[3999] * 4 + 1]);
    EXPECT_EQ(out[4000 * 4 + 1], 0);
}

TEST(TexelFormats, BytesAndLayoutPerFormat)
{
    EXPECT_EQ(TexObjectGL_cls::BytesPerTexel(PreviewProperty_cls::kTexAlpha), 1u);
    EXPECT_EQ(TexObjectGL_cls::BytesPerTexel(PreviewProperty_cls::kTexLuminanceAlpha), 2u);
    EXPECT_EQ(TexObjectGL_cls::BytesPerTexel(PreviewProperty_cls::kTexRGBA), 4u);
    EXPECT_EQ(TexObjectGL_cls::BytesPerTexel(9), 1u);

    Coloring_cls coloring;
    ColorTable_cls table;
    table.Build(coloring, 4, 0, true);
    const std::vector<uint8_t> density = {0, 100, 255};
    const std::vector<uint8_t> colour = {9, 8, 7};
    std::vector<uint8_t> out;
    TexObjectGL_cls::MakeTexels(PreviewProperty_cls::kTexAlpha, density.data(), colour.data(), 3, table, 1, out);
    EXPECT_EQ(out, density);
    TexObjectGL_cls::MakeTexels(PreviewProperty_cls::kTexLuminanceAlpha, density.data(), colour.data(), 3, table, 1,
                                out);
    EXPECT_EQ(out, (std::vector<uint8_t>{9, 0, 8, 100, 7, 255}));
    TexObjectGL_cls::MakeTexels(PreviewProperty_cls::kTexLuminanceAlpha, density.data(), density.data(), 3, table, 1,
                                out);
    EXPECT_EQ(out, (std::vector<uint8_t>{0, 0, 100, 100, 255, 255}));
    TexObjectGL_cls::MakeTexels(PreviewProperty_cls::kTexRGBA, density.data(), density.data(), 3, table, 2, out);
    ASSERT_EQ(out.size(), 12u);
    for (size_t i = 0; i < 3; ++i)
        for (size_t c = 0; c < 4; ++c)
            EXPECT_EQ(out[i * 4 + c], table.GetEntry(density[i])[c]);
}

// Voxel value from its coordinates, unique in a 5 x 4 x 3 volume.
static uint8_t Code(size_t x, size_t y, size_t z)
{
    return static_cast<uint8_t>(x + 5 * y + 20 * z);
}

TEST(TexelSlices, GatheredSlicesMatchTheAxisCopiesAndTheSliceAxes)
{
    // A frame with real axis copies, so the gather and the copies must agree texel by texel.
    DF3_cls frame(nullptr);
    frame.SetTrueSize(5, 4, 3);
    ASSERT_TRUE(frame.Allocate());
    for (size_t z = 0; z < 3; ++z)
        for (size_t y = 0; y < 4; ++y)
            for (size_t x = 0; x < 5; ++x)
                frame.GetXYZData()[frame.GetIndex(x, y, z)] = Code(x, y, z);
    ASSERT_TRUE(frame.AllocateXY());
    ASSERT_TRUE(frame.ConstructXYAxisData(false));
    const uint32_t size[3] = {5, 4, 3};
    std::vector<uint8_t> scratch;
    for (int axis = 0; axis < 3; ++axis) {
        const uint32_t S = size[AxisXYZSTU_cls::GetAxisS(axis)], T = size[AxisXYZSTU_cls::GetAxisT(axis)];
        for (uint32_t i = 0; i < size[axis]; ++i) {
            const uint8_t* gathered = TexObjectGL_cls::GetSlice(frame.GetXYZData(), size, axis, i, nullptr, scratch);
            const std::vector<uint8_t> g(gathered, gathered + S * T);
            for (uint32_t t = 0; t < T; ++t)
                for (uint32_t s = 0; s < S; ++s) {
                    size_t p[3];
                    p[axis] = i;
                    p[AxisXYZSTU_cls::GetAxisS(axis)] = s;
                    p[AxisXYZSTU_cls::GetAxisT(axis)] = t;
                    EXPECT_EQ(g[t * S + s], Code(p[0], p[1], p[2])) << axis << " " << i << " " << s << " " << t;
                }
            if (axis < 2) {
                std::vector<uint8_t> unused;
                const uint8_t* copy =
                    TexObjectGL_cls::GetSlice(frame.GetXYZData(), size, axis, i, frame.GetAxisData(axis), unused);
                EXPECT_EQ(std::vector<uint8_t>(copy, copy + S * T), g) << "axis copy " << axis << " slice " << i;
            }
        }
    }
}
