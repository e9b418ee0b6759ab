// The four-at-a-time edge normals against the general trilinear normal, bit for bit.
#include "iso/EdgeNormalBatch_cls.h"
#include "iso/ThreadMarching.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

namespace
{

struct Grid {
    int size[3];
    std::vector<unsigned char> v;
};

Grid RandomGrid(int nx, int ny, int nz, std::mt19937& rng, bool fewValues)
{
    Grid g{{nx, ny, nz}, std::vector<unsigned char>(static_cast<size_t>(nx) * ny * nz)};
    // A few values only: many equal neighbours, zero gradients and zero differences.
    const unsigned char few[4] = {0, 127, 128, 255};
    for (unsigned char& c : g.v)
        c = fewValues ? few[rng() % 4] : static_cast<unsigned char>(rng() % 256);
    return g;
}

// Every edge of the grid along every axis, each with several fractions that matter: the ends
// (1 moves on to the next voxel), the carry boundaries around 0.5, offsets a real level gives,
// and random ones.
struct EdgeList {
    std::vector<int> axis;
    std::vector<std::array<int, 3>> index;
    std::vector<float> frac;
};

EdgeList AllEdges(const Grid& g, std::mt19937& rng)
{
    EdgeList e;
    std::uniform_real_distribution<float> uni(0.0f, 1.0f);
    const float edgeCases[] = {0.0f,
                               1.0f,
                               0.5f,
                               std::nextafter(0.5f, 0.0f),
                               std::nextafter(0.5f, 1.0f),
                               std::nextafter(1.0f, 0.0f),
                               static_cast<float>(ThreadMarching::GetEdgeOffset(40, 200, 127)),
                               static_cast<float>(ThreadMarching::GetEdgeOffset(200, 3, 127))};
    for (int a = 0; a < 3; ++a)
        for (int z = 0; z < g.size[2] - (a == 2); ++z)
            for (int y = 0; y < g.size[1] - (a == 1); ++y)
                for (int x = 0; x < g.size[0] - (a == 0); ++x)
                    for (int k = 0; k < 3; ++k) {
                        e.axis.push_back(a);
                        e.index.push_back({x, y, z});
                        e.frac.push_back(k == 0 ? uni(rng)
                                                : edgeCases[rng() % (sizeof edgeCases / sizeof edgeCases[0])]);
                    }
    return e;
}

void ExpectSameAsGeneral(const Grid& g, const EdgeList& e, const char* what)
{
    const size_t n = e.axis.size();
    std::vector<std::array<float, 3>> got(n);
    EdgeNormalBatch_cls::Compute(g.v.data(), g.size, e.axis.data(), reinterpret_cast<const int(*)[3]>(e.index.data()),
                                 e.frac.data(), n, reinterpret_cast<float(*)[3]>(got.data()));
    size_t differ = 0;
    for (size_t i = 0; i < n; ++i) {
        float frac[3] = {0.0f, 0.0f, 0.0f};
        frac[e.axis[i]] = e.frac[i];
        float want[3];
        ThreadMarching::GetNormalPrecise2(g.v.data(), g.size, e.index[i].data(), frac, want);
        if (std::memcmp(want, got[i].data(), sizeof want) != 0 && differ++ < 5)
            ADD_FAILURE() << what << ": axis " << e.axis[i] << " at " << e.index[i][0] << "," << e.index[i][1] << ","
                          << e.index[i][2] << " frac " << e.frac[i] << ": " << got[i][0] << " " << got[i][1] << " "
                          << got[i][2] << " instead of " << want[0] << " " << want[1] << " " << want[2];
    }
    EXPECT_EQ(differ, 0u) << what;
}

} // namespace

TEST(EdgeNormalBatch, BitForBitTheGeneralNormalOnEveryEdgeOfOddGrids)
{
    std::mt19937 rng(20261121);
    const int shapes[][3] = {{7, 9, 11}, {5, 5, 5}, {13, 6, 4}, {4, 4, 4}, {2, 3, 9}};
    for (const auto& s : shapes)
        for (bool few : {false, true}) {
            const Grid g = RandomGrid(s[0], s[1], s[2], rng, few);
            const EdgeList e = AllEdges(g, rng);
            ExpectSameAsGeneral(g, e, few ? "few values" : "random bytes");
        }
}

TEST(EdgeNormalBatch, QueuesInteriorVerticesAndLeavesFaceVerticesToTheCaller)
{
    std::mt19937 rng(7);
    const Grid g = RandomGrid(6, 7, 8, rng, false);
    EdgeNormalBatch_cls batch;
    batch.SetGrid(g.v.data(), g.size);
    // Along x the samples reach base - 1 and base + 2; across, base - 1 and base + 1.
    const int inside[3] = {1, 1, 1}, lastAlong[3] = {3, 5, 6};
    EXPECT_TRUE(batch.Queue(0, inside, 0.25f, 0));
    EXPECT_TRUE(batch.Queue(0, lastAlong, 0.25f, 1));
    const int pastAlong[3] = {4, 5, 6};
    EXPECT_FALSE(batch.Queue(0, pastAlong, 0.25f, 2));
    // A fraction of 1 is the next voxel's 0: at the last base that fits it no longer fits.
    EXPECT_FALSE(batch.Queue(0, lastAlong, 1.0f, 2));
    const int atFace[3] = {0, 3, 3};
    EXPECT_FALSE(batch.Queue(1, atFace, 0.5f, 2));
    const int topY[3] = {2, 6, 3};
    EXPECT_FALSE(batch.Queue(0, topY, 0.5f, 2));
    EXPECT_EQ(batch.GetQueued(), 2u);

    // Flush writes through the stride and empties the queue; a partial step of four leaves the
    // slots it does not own alone.
    std::vector<float> out(2 * 5, -7.0f);
    batch.Flush(out.data(), 5);
    EXPECT_EQ(batch.GetQueued(), 0u);
    for (int id = 0; id < 2; ++id) {
        const int* idx = id == 0 ? inside : lastAlong;
        const float frac[3] = {0.25f, 0.0f, 0.0f};
        float want[3];
        ThreadMarching::GetNormalPrecise2(g.v.data(), g.size, idx, frac, want);
        EXPECT_EQ(std::memcmp(want, &out[static_cast<size_t>(id) * 5], sizeof want), 0) << id;
        EXPECT_EQ(out[static_cast<size_t>(id) * 5 + 3], -7.0f);
        EXPECT_EQ(out[static_cast<size_t>(id) * 5 + 4], -7.0f);
    }
}

TEST(EdgeNormalBatch, FlatNeighbourhoodPointsAlongZ)
{
    // Equal samples all round: the zero gradient becomes (0, 0, 1) in the vector path too.
    Grid g{{5, 5, 5}, std::vector<unsigned char>(125, 90)};
    const int axis[4] = {0, 1, 2, 0};
    const int index[4][3] = {{1, 1, 1}, {2, 1, 2}, {1, 2, 1}, {2, 2, 2}};
    const float frac[4] = {0.3f, 0.0f, 0.75f, 1.0f};
    float normal[4][3];
    EdgeNormalBatch_cls::Compute(g.v.data(), g.size, axis, index, frac, 4, normal);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(normal[i][0], 0.0f);
        EXPECT_FALSE(std::signbit(normal[i][0])) << i;
        EXPECT_EQ(normal[i][1], 0.0f);
        EXPECT_EQ(normal[i][2], 1.0f);
    }
}
