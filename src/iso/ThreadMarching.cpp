// Marching one block of cubes.
//
// Sections:
//   1. Case tables (edge flags, triangle connections, edge and corner geometry)
//   2. Edge offsets, trilinear sampling and normals
//   3. Marching one cube
//   4. Row and layer loops with uniform-cube skipping
//   5. Classified block march (the default): corner flags, cut edges once, emission in march order
//   6. Worker entry and the cube-by-cube reference march
#include "iso/ThreadMarching.h"

#include "config/TessanAssert.h"
#include "iso/EdgeNormalBatch_cls.h"
#include "iso/ThreadOptimizeA.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <type_traits>
#if defined(__SSE2__)
#include <emmintrin.h>
#include <xmmintrin.h>
#endif

// ---------------------------------------------------------------------------------------------
// 1. Case tables
//
// Corner i of a cube sits at VOffset[i]; edge e joins corners a2iEdgeConnection[e]. Bit i of the
// case index is set when corner i lies at or below the level. The two big tables are the classic
// ones of the method: for each case the cut edges, and the triangles over those edges. Every
// triangle is wound so that its geometric normal points towards the corners at or below the level,
// the same way as the gradient normals (from high towards low density).
// ---------------------------------------------------------------------------------------------

const int ThreadMarching::VOffset[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                           {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};

const int ThreadMarching::a2iEdgeConnection[12][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6},
                                                      {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};

const float ThreadMarching::a2fEdgeDirection[12][3] = {{1.0f, 0.0f, 0.0f},  {0.0f, 1.0f, 0.0f},  {-1.0f, 0.0f, 0.0f},
                                                       {0.0f, -1.0f, 0.0f}, {1.0f, 0.0f, 0.0f},  {0.0f, 1.0f, 0.0f},
                                                       {-1.0f, 0.0f, 0.0f}, {0.0f, -1.0f, 0.0f}, {0.0f, 0.0f, 1.0f},
                                                       {0.0f, 0.0f, 1.0f},  {0.0f, 0.0f, 1.0f},  {0.0f, 0.0f, 1.0f}};

const int ThreadMarching::aiCubeEdgeFlags[256] = {
    0x000, 0x109, 0x203, 0x30a, 0x406, 0x50f, 0x605, 0x70c, 0x80c, 0x905, 0xa0f, 0xb06, 0xc0a, 0xd03, 0xe09, 0xf00,
    0x190, 0x099, 0x393, 0x29a, 0x596, 0x49f, 0x795, 0x69c, 0x99c, 0x895, 0xb9f, 0xa96, 0xd9a, 0xc93, 0xf99, 0xe90,
    0x230, 0x339, 0x033, 0x13a, 0x636, 0x73f, 0x435, 0x53c, 0xa3c, 0xb35, 0x83f, 0x936, 0xe3a, 0xf33, 0xc39, 0xd30,
    0x3a0, 0x2a9, 0x1a3, 0x0aa, 0x7a6, 0x6af, 0x5a5, 0x4ac, 0xbac, 0xaa5, 0x9af, 0x8a6, 0xfaa, 0xea3, 0xda9, 0xca0,
    0x460, 0x569, 0x663, 0x76a, 0x066, 0x16f, 0x265, 0x36c, 0xc6c, 0xd65, 0xe6f, 0xf66, 0x86a, 0x963, 0xa69, 0xb60,
    0x5f0, 0x4f9, 0x7f3, 0x6fa, 0x1f6, 0x0ff, 0x3f5, 0x2fc, 0xdfc, 0xcf5, 0xfff, 0xef6, 0x9fa, 0x8f3, 0xbf9, 0xaf0,
    0x650, 0x759, 0x453, 0x55a, 0x256, 0x35f, 0x055, 0x15c, 0xe5c, 0xf55, 0xc5f, 0xd56, 0xa5a, 0xb53, 0x859, 0x950,
    0x7c0, 0x6c9, 0x5c3, 0x4ca, 0x3c6, 0x2cf, 0x1c5, 0x0cc, 0xfcc, 0xec5, 0xdcf, 0xcc6, 0xbca, 0xac3, 0x9c9, 0x8c0,
    0x8c0, 0x9c9, 0xac3, 0xbca, 0xcc6, 0xdcf, 0xec5, 0xfcc, 0x0cc, 0x1c5, 0x2cf, 0x3c6, 0x4ca, 0x5c3, 0x6c9, 0x7c0,
    0x950, 0x859, 0xb53, 0xa5a, 0xd56, 0xc5f, 0xf55, 0xe5c, 0x15c, 0x055, 0x35f, 0x256, 0x55a, 0x453, 0x759, 0x650,
    0xaf0, 0xbf9, 0x8f3, 0x9fa, 0xef6, 0xfff, 0xcf5, 0xdfc, 0x2fc, 0x3f5, 0x0ff, 0x1f6, 0x6fa, 0x7f3, 0x4f9, 0x5f0,
    0xb60, 0xa69, 0x963, 0x86a, 0xf66, 0xe6f, 0xd65, 0xc6c, 0x36c, 0x265, 0x16f, 0x066, 0x76a, 0x663, 0x569, 0x460,
    0xca0, 0xda9, 0xea3, 0xfaa, 0x8a6, 0x9af, 0xaa5, 0xbac, 0x4ac, 0x5a5, 0x6af, 0x7a6, 0x0aa, 0x1a3, 0x2a9, 0x3a0,
    0xd30, 0xc39, 0xf33, 0xe3a, 0x936, 0x83f, 0xb35, 0xa3c, 0x53c, 0x435, 0x73f, 0x636, 0x13a, 0x033, 0x339, 0x230,
    0xe90, 0xf99, 0xc93, 0xd9a, 0xa96, 0xb9f, 0x895, 0x99c, 0x69c, 0x795, 0x49f, 0x596, 0x29a, 0x393, 0x099, 0x190,
    0xf00, 0xe09, 0xd03, 0xc0a, 0xb06, 0xa0f, 0x905, 0x80c, 0x70c, 0x605, 0x50f, 0x406, 0x30a, 0x203, 0x109, 0x000};

// clang-format off
const signed char ThreadMarching::a2iTriangleConnectionTable[256][16] = {
    {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 8, 3, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 1, 9, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {1, 8, 3, 9, 8, 1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {1, 2, 10, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 8, 3, 1, 2, 10, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {9, 2, 10, 0, 2, 9, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {2, 8, 3, 2, 10, 8, 10, 9, 8, -1, -1, -1, -1, -1, -1, -1},
    {3, 11, 2, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 11, 2, 8, 11, 0, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {1, 9, 0, 2, 3, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {1, 11, 2, 1, 9, 11, 9, 8, 11, -1, -1, -1, -1, -1, -1, -1},
    {3, 10, 1, 11, 10, 3, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 10, 1, 0, 8, 10, 8, 11, 10, -1, -1, -1, -1, -1, -1, -1},
    {3, 9, 0, 3, 11, 9, 11, 10, 9, -1, -1, -1, -1, -1, -1, -1},
    {9, 8, 10, 10, 8, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {4, 7, 8, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {4, 3, 0, 7, 3, 4, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 1, 9, 8, 4, 7, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {4, 1, 9, 4, 7, 1, 7, 3, 1, -1, -1, -1, -1, -1, -1, -1},
    {1, 2, 10, 8, 4, 7, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {3, 4, 7, 3, 0, 4, 1, 2, 10, -1, -1, -1, -1, -1, -1, -1},
    {9, 2, 10, 9, 0, 2, 8, 4, 7, -1, -1, -1, -1, -1, -1, -1},
    {2, 10, 9, 2, 9, 7, 2, 7, 3, 7, 9, 4, -1, -1, -1, -1},
    {8, 4, 7, 3, 11, 2, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {11, 4, 7, 11, 2, 4, 2, 0, 4, -1, -1, -1, -1, -1, -1, -1},
    {9, 0, 1, 8, 4, 7, 2, 3, 11, -1, -1, -1, -1, -1, -1, -1},
    {4, 7, 11, 9, 4, 11, 9, 11, 2, 9, 2, 1, -1, -1, -1, -1},
    {3, 10, 1, 3, 11, 10, 7, 8, 4, -1, -1, -1, -1, -1, -1, -1},
    {1, 11, 10, 1, 4, 11, 1, 0, 4, 7, 11, 4, -1, -1, -1, -1},
    {4, 7, 8, 9, 0, 11, 9, 11, 10, 11, 0, 3, -1, -1, -1, -1},
    {4, 7, 11, 4, 11, 9, 9, 11, 10, -1, -1, -1, -1, -1, -1, -1},
    {9, 5, 4, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {9, 5, 4, 0, 8, 3, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 5, 4, 1, 5, 0, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {8, 5, 4, 8, 3, 5, 3, 1, 5, -1, -1, -1, -1, -1, -1, -1},
    {1, 2, 10, 9, 5, 4, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {3, 0, 8, 1, 2, 10, 4, 9, 5, -1, -1, -1, -1, -1, -1, -1},
    {5, 2, 10, 5, 4, 2, 4, 0, 2, -1, -1, -1, -1, -1, -1, -1},
    {2, 10, 5, 3, 2, 5, 3, 5, 4, 3, 4, 8, -1, -1, -1, -1},
    {9, 5, 4, 2, 3, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 11, 2, 0, 8, 11, 4, 9, 5, -1, -1, -1, -1, -1, -1, -1},
    {0, 5, 4, 0, 1, 5, 2, 3, 11, -1, -1, -1, -1, -1, -1, -1},
    {2, 1, 5, 2, 5, 8, 2, 8, 11, 4, 8, 5, -1, -1, -1, -1},
    {10, 3, 11, 10, 1, 3, 9, 5, 4, -1, -1, -1, -1, -1, -1, -1},
    {4, 9, 5, 0, 8, 1, 8, 10, 1, 8, 11, 10, -1, -1, -1, -1},
    {5, 4, 0, 5, 0, 11, 5, 11, 10, 11, 0, 3, -1, -1, -1, -1},
    {5, 4, 8, 5, 8, 10, 10, 8, 11, -1, -1, -1, -1, -1, -1, -1},
    {9, 7, 8, 5, 7, 9, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {9, 3, 0, 9, 5, 3, 5, 7, 3, -1, -1, -1, -1, -1, -1, -1},
    {0, 7, 8, 0, 1, 7, 1, 5, 7, -1, -1, -1, -1, -1, -1, -1},
    {1, 5, 3, 3, 5, 7, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {9, 7, 8, 9, 5, 7, 10, 1, 2, -1, -1, -1, -1, -1, -1, -1},
    {10, 1, 2, 9, 5, 0, 5, 3, 0, 5, 7, 3, -1, -1, -1, -1},
    {8, 0, 2, 8, 2, 5, 8, 5, 7, 10, 5, 2, -1, -1, -1, -1},
    {2, 10, 5, 2, 5, 3, 3, 5, 7, -1, -1, -1, -1, -1, -1, -1},
    {7, 9, 5, 7, 8, 9, 3, 11, 2, -1, -1, -1, -1, -1, -1, -1},
    {9, 5, 7, 9, 7, 2, 9, 2, 0, 2, 7, 11, -1, -1, -1, -1},
    {2, 3, 11, 0, 1, 8, 1, 7, 8, 1, 5, 7, -1, -1, -1, -1},
    {11, 2, 1, 11, 1, 7, 7, 1, 5, -1, -1, -1, -1, -1, -1, -1},
    {9, 5, 8, 8, 5, 7, 10, 1, 3, 10, 3, 11, -1, -1, -1, -1},
    {5, 7, 0, 5, 0, 9, 7, 11, 0, 1, 0, 10, 11, 10, 0, -1},
    {11, 10, 0, 11, 0, 3, 10, 5, 0, 8, 0, 7, 5, 7, 0, -1},
    {11, 10, 5, 7, 11, 5, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {10, 6, 5, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 8, 3, 5, 10, 6, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {9, 0, 1, 5, 10, 6, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {1, 8, 3, 1, 9, 8, 5, 10, 6, -1, -1, -1, -1, -1, -1, -1},
    {1, 6, 5, 2, 6, 1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {1, 6, 5, 1, 2, 6, 3, 0, 8, -1, -1, -1, -1, -1, -1, -1},
    {9, 6, 5, 9, 0, 6, 0, 2, 6, -1, -1, -1, -1, -1, -1, -1},
    {5, 9, 8, 5, 8, 2, 5, 2, 6, 3, 2, 8, -1, -1, -1, -1},
    {2, 3, 11, 10, 6, 5, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {11, 0, 8, 11, 2, 0, 10, 6, 5, -1, -1, -1, -1, -1, -1, -1},
    {0, 1, 9, 2, 3, 11, 5, 10, 6, -1, -1, -1, -1, -1, -1, -1},
    {5, 10, 6, 1, 9, 2, 9, 11, 2, 9, 8, 11, -1, -1, -1, -1},
    {6, 3, 11, 6, 5, 3, 5, 1, 3, -1, -1, -1, -1, -1, -1, -1},
    {0, 8, 11, 0, 11, 5, 0, 5, 1, 5, 11, 6, -1, -1, -1, -1},
    {3, 11, 6, 0, 3, 6, 0, 6, 5, 0, 5, 9, -1, -1, -1, -1},
    {6, 5, 9, 6, 9, 11, 11, 9, 8, -1, -1, -1, -1, -1, -1, -1},
    {5, 10, 6, 4, 7, 8, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {4, 3, 0, 4, 7, 3, 6, 5, 10, -1, -1, -1, -1, -1, -1, -1},
    {1, 9, 0, 5, 10, 6, 8, 4, 7, -1, -1, -1, -1, -1, -1, -1},
    {10, 6, 5, 1, 9, 7, 1, 7, 3, 7, 9, 4, -1, -1, -1, -1},
    {6, 1, 2, 6, 5, 1, 4, 7, 8, -1, -1, -1, -1, -1, -1, -1},
    {1, 2, 5, 5, 2, 6, 3, 0, 4, 3, 4, 7, -1, -1, -1, -1},
    {8, 4, 7, 9, 0, 5, 0, 6, 5, 0, 2, 6, -1, -1, -1, -1},
    {7, 3, 9, 7, 9, 4, 3, 2, 9, 5, 9, 6, 2, 6, 9, -1},
    {3, 11, 2, 7, 8, 4, 10, 6, 5, -1, -1, -1, -1, -1, -1, -1},
    {5, 10, 6, 4, 7, 2, 4, 2, 0, 2, 7, 11, -1, -1, -1, -1},
    {0, 1, 9, 4, 7, 8, 2, 3, 11, 5, 10, 6, -1, -1, -1, -1},
    {9, 2, 1, 9, 11, 2, 9, 4, 11, 7, 11, 4, 5, 10, 6, -1},
    {8, 4, 7, 3, 11, 5, 3, 5, 1, 5, 11, 6, -1, -1, -1, -1},
    {5, 1, 11, 5, 11, 6, 1, 0, 11, 7, 11, 4, 0, 4, 11, -1},
    {0, 5, 9, 0, 6, 5, 0, 3, 6, 11, 6, 3, 8, 4, 7, -1},
    {6, 5, 9, 6, 9, 11, 4, 7, 9, 7, 11, 9, -1, -1, -1, -1},
    {10, 4, 9, 6, 4, 10, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {4, 10, 6, 4, 9, 10, 0, 8, 3, -1, -1, -1, -1, -1, -1, -1},
    {10, 0, 1, 10, 6, 0, 6, 4, 0, -1, -1, -1, -1, -1, -1, -1},
    {8, 3, 1, 8, 1, 6, 8, 6, 4, 6, 1, 10, -1, -1, -1, -1},
    {1, 4, 9, 1, 2, 4, 2, 6, 4, -1, -1, -1, -1, -1, -1, -1},
    {3, 0, 8, 1, 2, 9, 2, 4, 9, 2, 6, 4, -1, -1, -1, -1},
    {0, 2, 4, 4, 2, 6, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {8, 3, 2, 8, 2, 4, 4, 2, 6, -1, -1, -1, -1, -1, -1, -1},
    {10, 4, 9, 10, 6, 4, 11, 2, 3, -1, -1, -1, -1, -1, -1, -1},
    {0, 8, 2, 2, 8, 11, 4, 9, 10, 4, 10, 6, -1, -1, -1, -1},
    {3, 11, 2, 0, 1, 6, 0, 6, 4, 6, 1, 10, -1, -1, -1, -1},
    {6, 4, 1, 6, 1, 10, 4, 8, 1, 2, 1, 11, 8, 11, 1, -1},
    {9, 6, 4, 9, 3, 6, 9, 1, 3, 11, 6, 3, -1, -1, -1, -1},
    {8, 11, 1, 8, 1, 0, 11, 6, 1, 9, 1, 4, 6, 4, 1, -1},
    {3, 11, 6, 3, 6, 0, 0, 6, 4, -1, -1, -1, -1, -1, -1, -1},
    {6, 4, 8, 11, 6, 8, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {7, 10, 6, 7, 8, 10, 8, 9, 10, -1, -1, -1, -1, -1, -1, -1},
    {0, 7, 3, 0, 10, 7, 0, 9, 10, 6, 7, 10, -1, -1, -1, -1},
    {10, 6, 7, 1, 10, 7, 1, 7, 8, 1, 8, 0, -1, -1, -1, -1},
    {10, 6, 7, 10, 7, 1, 1, 7, 3, -1, -1, -1, -1, -1, -1, -1},
    {1, 2, 6, 1, 6, 8, 1, 8, 9, 8, 6, 7, -1, -1, -1, -1},
    {2, 6, 9, 2, 9, 1, 6, 7, 9, 0, 9, 3, 7, 3, 9, -1},
    {7, 8, 0, 7, 0, 6, 6, 0, 2, -1, -1, -1, -1, -1, -1, -1},
    {7, 3, 2, 6, 7, 2, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {2, 3, 11, 10, 6, 8, 10, 8, 9, 8, 6, 7, -1, -1, -1, -1},
    {2, 0, 7, 2, 7, 11, 0, 9, 7, 6, 7, 10, 9, 10, 7, -1},
    {1, 8, 0, 1, 7, 8, 1, 10, 7, 6, 7, 10, 2, 3, 11, -1},
    {11, 2, 1, 11, 1, 7, 10, 6, 1, 6, 7, 1, -1, -1, -1, -1},
    {8, 9, 6, 8, 6, 7, 9, 1, 6, 11, 6, 3, 1, 3, 6, -1},
    {0, 9, 1, 11, 6, 7, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {7, 8, 0, 7, 0, 6, 3, 11, 0, 11, 6, 0, -1, -1, -1, -1},
    {7, 11, 6, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {7, 6, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {3, 0, 8, 11, 7, 6, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 1, 9, 11, 7, 6, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {8, 1, 9, 8, 3, 1, 11, 7, 6, -1, -1, -1, -1, -1, -1, -1},
    {10, 1, 2, 6, 11, 7, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {1, 2, 10, 3, 0, 8, 6, 11, 7, -1, -1, -1, -1, -1, -1, -1},
    {2, 9, 0, 2, 10, 9, 6, 11, 7, -1, -1, -1, -1, -1, -1, -1},
    {6, 11, 7, 2, 10, 3, 10, 8, 3, 10, 9, 8, -1, -1, -1, -1},
    {7, 2, 3, 6, 2, 7, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {7, 0, 8, 7, 6, 0, 6, 2, 0, -1, -1, -1, -1, -1, -1, -1},
    {2, 7, 6, 2, 3, 7, 0, 1, 9, -1, -1, -1, -1, -1, -1, -1},
    {1, 6, 2, 1, 8, 6, 1, 9, 8, 8, 7, 6, -1, -1, -1, -1},
    {10, 7, 6, 10, 1, 7, 1, 3, 7, -1, -1, -1, -1, -1, -1, -1},
    {10, 7, 6, 1, 7, 10, 1, 8, 7, 1, 0, 8, -1, -1, -1, -1},
    {0, 3, 7, 0, 7, 10, 0, 10, 9, 6, 10, 7, -1, -1, -1, -1},
    {7, 6, 10, 7, 10, 8, 8, 10, 9, -1, -1, -1, -1, -1, -1, -1},
    {6, 8, 4, 11, 8, 6, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {3, 6, 11, 3, 0, 6, 0, 4, 6, -1, -1, -1, -1, -1, -1, -1},
    {8, 6, 11, 8, 4, 6, 9, 0, 1, -1, -1, -1, -1, -1, -1, -1},
    {9, 4, 6, 9, 6, 3, 9, 3, 1, 11, 3, 6, -1, -1, -1, -1},
    {6, 8, 4, 6, 11, 8, 2, 10, 1, -1, -1, -1, -1, -1, -1, -1},
    {1, 2, 10, 3, 0, 11, 0, 6, 11, 0, 4, 6, -1, -1, -1, -1},
    {4, 11, 8, 4, 6, 11, 0, 2, 9, 2, 10, 9, -1, -1, -1, -1},
    {10, 9, 3, 10, 3, 2, 9, 4, 3, 11, 3, 6, 4, 6, 3, -1},
    {8, 2, 3, 8, 4, 2, 4, 6, 2, -1, -1, -1, -1, -1, -1, -1},
    {0, 4, 2, 4, 6, 2, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {1, 9, 0, 2, 3, 4, 2, 4, 6, 4, 3, 8, -1, -1, -1, -1},
    {1, 9, 4, 1, 4, 2, 2, 4, 6, -1, -1, -1, -1, -1, -1, -1},
    {8, 1, 3, 8, 6, 1, 8, 4, 6, 6, 10, 1, -1, -1, -1, -1},
    {10, 1, 0, 10, 0, 6, 6, 0, 4, -1, -1, -1, -1, -1, -1, -1},
    {4, 6, 3, 4, 3, 8, 6, 10, 3, 0, 3, 9, 10, 9, 3, -1},
    {10, 9, 4, 6, 10, 4, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {4, 9, 5, 7, 6, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 8, 3, 4, 9, 5, 11, 7, 6, -1, -1, -1, -1, -1, -1, -1},
    {5, 0, 1, 5, 4, 0, 7, 6, 11, -1, -1, -1, -1, -1, -1, -1},
    {11, 7, 6, 8, 3, 4, 3, 5, 4, 3, 1, 5, -1, -1, -1, -1},
    {9, 5, 4, 10, 1, 2, 7, 6, 11, -1, -1, -1, -1, -1, -1, -1},
    {6, 11, 7, 1, 2, 10, 0, 8, 3, 4, 9, 5, -1, -1, -1, -1},
    {7, 6, 11, 5, 4, 10, 4, 2, 10, 4, 0, 2, -1, -1, -1, -1},
    {3, 4, 8, 3, 5, 4, 3, 2, 5, 10, 5, 2, 11, 7, 6, -1},
    {7, 2, 3, 7, 6, 2, 5, 4, 9, -1, -1, -1, -1, -1, -1, -1},
    {9, 5, 4, 0, 8, 6, 0, 6, 2, 6, 8, 7, -1, -1, -1, -1},
    {3, 6, 2, 3, 7, 6, 1, 5, 0, 5, 4, 0, -1, -1, -1, -1},
    {6, 2, 8, 6, 8, 7, 2, 1, 8, 4, 8, 5, 1, 5, 8, -1},
    {9, 5, 4, 10, 1, 6, 1, 7, 6, 1, 3, 7, -1, -1, -1, -1},
    {1, 6, 10, 1, 7, 6, 1, 0, 7, 8, 7, 0, 9, 5, 4, -1},
    {4, 0, 10, 4, 10, 5, 0, 3, 10, 6, 10, 7, 3, 7, 10, -1},
    {7, 6, 10, 7, 10, 8, 5, 4, 10, 4, 8, 10, -1, -1, -1, -1},
    {6, 9, 5, 6, 11, 9, 11, 8, 9, -1, -1, -1, -1, -1, -1, -1},
    {3, 6, 11, 0, 6, 3, 0, 5, 6, 0, 9, 5, -1, -1, -1, -1},
    {0, 11, 8, 0, 5, 11, 0, 1, 5, 5, 6, 11, -1, -1, -1, -1},
    {6, 11, 3, 6, 3, 5, 5, 3, 1, -1, -1, -1, -1, -1, -1, -1},
    {1, 2, 10, 9, 5, 11, 9, 11, 8, 11, 5, 6, -1, -1, -1, -1},
    {0, 11, 3, 0, 6, 11, 0, 9, 6, 5, 6, 9, 1, 2, 10, -1},
    {11, 8, 5, 11, 5, 6, 8, 0, 5, 10, 5, 2, 0, 2, 5, -1},
    {6, 11, 3, 6, 3, 5, 2, 10, 3, 10, 5, 3, -1, -1, -1, -1},
    {5, 8, 9, 5, 2, 8, 5, 6, 2, 3, 8, 2, -1, -1, -1, -1},
    {9, 5, 6, 9, 6, 0, 0, 6, 2, -1, -1, -1, -1, -1, -1, -1},
    {1, 5, 8, 1, 8, 0, 5, 6, 8, 3, 8, 2, 6, 2, 8, -1},
    {1, 5, 6, 2, 1, 6, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {1, 3, 6, 1, 6, 10, 3, 8, 6, 5, 6, 9, 8, 9, 6, -1},
    {10, 1, 0, 10, 0, 6, 9, 5, 0, 5, 6, 0, -1, -1, -1, -1},
    {0, 3, 8, 5, 6, 10, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {10, 5, 6, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {11, 5, 10, 7, 5, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {11, 5, 10, 11, 7, 5, 8, 3, 0, -1, -1, -1, -1, -1, -1, -1},
    {5, 11, 7, 5, 10, 11, 1, 9, 0, -1, -1, -1, -1, -1, -1, -1},
    {10, 7, 5, 10, 11, 7, 9, 8, 1, 8, 3, 1, -1, -1, -1, -1},
    {11, 1, 2, 11, 7, 1, 7, 5, 1, -1, -1, -1, -1, -1, -1, -1},
    {0, 8, 3, 1, 2, 7, 1, 7, 5, 7, 2, 11, -1, -1, -1, -1},
    {9, 7, 5, 9, 2, 7, 9, 0, 2, 2, 11, 7, -1, -1, -1, -1},
    {7, 5, 2, 7, 2, 11, 5, 9, 2, 3, 2, 8, 9, 8, 2, -1},
    {2, 5, 10, 2, 3, 5, 3, 7, 5, -1, -1, -1, -1, -1, -1, -1},
    {8, 2, 0, 8, 5, 2, 8, 7, 5, 10, 2, 5, -1, -1, -1, -1},
    {9, 0, 1, 5, 10, 3, 5, 3, 7, 3, 10, 2, -1, -1, -1, -1},
    {9, 8, 2, 9, 2, 1, 8, 7, 2, 10, 2, 5, 7, 5, 2, -1},
    {1, 3, 5, 3, 7, 5, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 8, 7, 0, 7, 1, 1, 7, 5, -1, -1, -1, -1, -1, -1, -1},
    {9, 0, 3, 9, 3, 5, 5, 3, 7, -1, -1, -1, -1, -1, -1, -1},
    {9, 8, 7, 5, 9, 7, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {5, 8, 4, 5, 10, 8, 10, 11, 8, -1, -1, -1, -1, -1, -1, -1},
    {5, 0, 4, 5, 11, 0, 5, 10, 11, 11, 3, 0, -1, -1, -1, -1},
    {0, 1, 9, 8, 4, 10, 8, 10, 11, 10, 4, 5, -1, -1, -1, -1},
    {10, 11, 4, 10, 4, 5, 11, 3, 4, 9, 4, 1, 3, 1, 4, -1},
    {2, 5, 1, 2, 8, 5, 2, 11, 8, 4, 5, 8, -1, -1, -1, -1},
    {0, 4, 11, 0, 11, 3, 4, 5, 11, 2, 11, 1, 5, 1, 11, -1},
    {0, 2, 5, 0, 5, 9, 2, 11, 5, 4, 5, 8, 11, 8, 5, -1},
    {9, 4, 5, 2, 11, 3, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {2, 5, 10, 3, 5, 2, 3, 4, 5, 3, 8, 4, -1, -1, -1, -1},
    {5, 10, 2, 5, 2, 4, 4, 2, 0, -1, -1, -1, -1, -1, -1, -1},
    {3, 10, 2, 3, 5, 10, 3, 8, 5, 4, 5, 8, 0, 1, 9, -1},
    {5, 10, 2, 5, 2, 4, 1, 9, 2, 9, 4, 2, -1, -1, -1, -1},
    {8, 4, 5, 8, 5, 3, 3, 5, 1, -1, -1, -1, -1, -1, -1, -1},
    {0, 4, 5, 1, 0, 5, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {8, 4, 5, 8, 5, 3, 9, 0, 5, 0, 3, 5, -1, -1, -1, -1},
    {9, 4, 5, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {4, 11, 7, 4, 9, 11, 9, 10, 11, -1, -1, -1, -1, -1, -1, -1},
    {0, 8, 3, 4, 9, 7, 9, 11, 7, 9, 10, 11, -1, -1, -1, -1},
    {1, 10, 11, 1, 11, 4, 1, 4, 0, 7, 4, 11, -1, -1, -1, -1},
    {3, 1, 4, 3, 4, 8, 1, 10, 4, 7, 4, 11, 10, 11, 4, -1},
    {4, 11, 7, 9, 11, 4, 9, 2, 11, 9, 1, 2, -1, -1, -1, -1},
    {9, 7, 4, 9, 11, 7, 9, 1, 11, 2, 11, 1, 0, 8, 3, -1},
    {11, 7, 4, 11, 4, 2, 2, 4, 0, -1, -1, -1, -1, -1, -1, -1},
    {11, 7, 4, 11, 4, 2, 8, 3, 4, 3, 2, 4, -1, -1, -1, -1},
    {2, 9, 10, 2, 7, 9, 2, 3, 7, 7, 4, 9, -1, -1, -1, -1},
    {9, 10, 7, 9, 7, 4, 10, 2, 7, 8, 7, 0, 2, 0, 7, -1},
    {3, 7, 10, 3, 10, 2, 7, 4, 10, 1, 10, 0, 4, 0, 10, -1},
    {1, 10, 2, 8, 7, 4, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {4, 9, 1, 4, 1, 7, 7, 1, 3, -1, -1, -1, -1, -1, -1, -1},
    {4, 9, 1, 4, 1, 7, 0, 8, 1, 8, 7, 1, -1, -1, -1, -1},
    {4, 0, 3, 7, 4, 3, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {4, 8, 7, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {9, 10, 8, 10, 11, 8, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {3, 0, 9, 3, 9, 11, 11, 9, 10, -1, -1, -1, -1, -1, -1, -1},
    {0, 1, 10, 0, 10, 8, 8, 10, 11, -1, -1, -1, -1, -1, -1, -1},
    {3, 1, 10, 11, 3, 10, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {1, 2, 11, 1, 11, 9, 9, 11, 8, -1, -1, -1, -1, -1, -1, -1},
    {3, 0, 9, 3, 9, 11, 1, 2, 9, 2, 11, 9, -1, -1, -1, -1},
    {0, 2, 11, 8, 0, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {3, 2, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {2, 3, 8, 2, 8, 10, 10, 8, 9, -1, -1, -1, -1, -1, -1, -1},
    {9, 10, 2, 0, 9, 2, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {2, 3, 8, 2, 8, 10, 0, 1, 8, 1, 10, 8, -1, -1, -1, -1},
    {1, 10, 2, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {1, 3, 8, 9, 1, 8, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 9, 1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {0, 3, 8, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}};
// clang-format on

// ---------------------------------------------------------------------------------------------
// 2. Edge offsets, trilinear sampling and normals
// ---------------------------------------------------------------------------------------------

double ThreadMarching::GetEdgeOffset(int a, int b, int level)
{
    if (a == b)
        return 0.5;
    return (static_cast<double>(level) - a) / (static_cast<double>(b) - a);
}

namespace
{

inline int ClampIndex(int i, int n)
{
    return i < 0 ? 0 : (i >= n ? n - 1 : i);
}

// Moves a sample coordinate (index + fraction) by d (|d| <= 1) and renormalises the fraction into
// [0, 1), carrying into the neighbouring index.
inline void Shift(int& index, float& frac, float d)
{
    frac += d;
    if (frac < 0.0f) {
        frac += 1.0f;
        --index;
    } else if (frac >= 1.0f) {
        frac -= 1.0f;
        ++index;
    }
}

// The bodies live here as inline functions so that the block march gets them inlined with its
// constants; the class's static functions are the same code, so results agree bit for bit.
[[gnu::always_inline]] inline float InterpolateAt(const unsigned char* data, const int size[3], const int index[3],
                                                  const float frac[3])
{
    const int nx = size[0], ny = size[1], nz = size[2];
    const int x0 = ClampIndex(index[0], nx), x1 = ClampIndex(index[0] + 1, nx);
    const int y0 = ClampIndex(index[1], ny), y1 = ClampIndex(index[1] + 1, ny);
    const int z0 = ClampIndex(index[2], nz), z1 = ClampIndex(index[2] + 1, nz);
    const float fx = frac[0], fy = frac[1], fz = frac[2];
    // a + f * (b - a) with f == 0 is exactly a, so zero fractions skip their loads without
    // changing the result; vertices lie on cube edges, which makes most fractions zero.
    auto row = [&](int y, int z) -> float {
        const unsigned char* r = data + (static_cast<size_t>(z) * ny + y) * nx;
        float a = r[x0];
        return fx == 0.0f ? a : a + fx * (static_cast<float>(r[x1]) - a);
    };
    auto plane = [&](int z) -> float {
        float a = row(y0, z);
        return fy == 0.0f ? a : a + fy * (row(y1, z) - a);
    };
    float a = plane(z0);
    return fz == 0.0f ? a : a + fz * (plane(z1) - a);
}

[[gnu::always_inline]] inline void NormalAt(const unsigned char* data, const int size[3], const int index[3],
                                            const float frac[3], float normal[3])
{
    int base[3];
    float f[3];
    for (int a = 0; a < 3; ++a) {
        base[a] = index[a];
        f[a] = frac[a];
        Shift(base[a], f[a], 0.0f); // a fraction of exactly 1 moves to the next voxel
    }
    for (int a = 0; a < 3; ++a) {
        int im[3] = {base[0], base[1], base[2]}, ip[3] = {base[0], base[1], base[2]};
        float fm[3] = {f[0], f[1], f[2]}, fp[3] = {f[0], f[1], f[2]};
        Shift(im[a], fm[a], -0.5f);
        Shift(ip[a], fp[a], 0.5f);
        float lo = InterpolateAt(data, size, im, fm);
        float hi = InterpolateAt(data, size, ip, fp);
        normal[a] = (lo - hi) * static_cast<float>(size[a]);
    }
    float len = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    if (len == 0.0f) {
        normal[0] = 0.0f;
        normal[1] = 0.0f;
        normal[2] = 1.0f;
        return;
    }
    normal[0] /= len;
    normal[1] /= len;
    normal[2] /= len;
}

} // namespace

float ThreadMarching::GetInterpolatedValue2(const unsigned char* data, const int size[3], const int index[3],
                                            const float frac[3])
{
    return InterpolateAt(data, size, index, frac);
}

void ThreadMarching::GetNormalPrecise2(const unsigned char* data, const int size[3], const int index[3],
                                       const float frac[3], float normal[3])
{
    NormalAt(data, size, index, frac, normal);
}

// ---------------------------------------------------------------------------------------------
// 3. Marching one cube
// ---------------------------------------------------------------------------------------------

ThreadMarching::ThreadMarching(const unsigned char* data, const int size[3], int level, unsigned flags,
                               MarchingBlock_cls* out, MarchingScratchPool_cls* pool, MarchingArena_cls* arena)
    : mpData(data), miSize{size[0], size[1], size[2]},
      muSliceStride(static_cast<size_t>(size[0]) * static_cast<size_t>(size[1])), miLevel(level),
      mbNormals((flags & kFlagNormals) != 0), mbWeld((flags & kFlagWeldInBlock) != 0),
      mbCubeByCube((flags & kFlagCubeByCube) != 0),
      mbCountOnly((flags & kFlagWeldCountOnly) != 0 && (flags & kFlagWeldInBlock) != 0 && arena != nullptr),
      mpPool(pool), mpArena(arena), mpOut(out)
{
}

void ThreadMarching::AdvanceLayer()
{
    // Planes: x- and y-edges of even voxel layers (0, 1), of odd voxel layers (2, 3), vertical
    // edges of the current cube layer (4). Moving up from cube layer z, voxel layer z + 1 stays and
    // voxel layer z (same parity as the coming z + 2) is dropped together with the vertical edges.
    ++miCacheZ;
    const size_t drop = static_cast<size_t>((miCacheZ + 1) & 1) * 2;
    std::fill_n(mvValid.begin() + static_cast<std::ptrdiff_t>(drop * muPlane), 2 * muPlane, 0);
    std::fill_n(mvValid.begin() + static_cast<std::ptrdiff_t>(4 * muPlane), muPlane, 0);
}

const ThreadMarching::EdgeVertex& ThreadMarching::GetEdgeVertex(int e, int x, int y, int z, const int v[8])
{
    // The offset is measured from the edge's lower corner (mathematically the same point as from
    // its first corner) so that the four cubes sharing an edge produce bit-identical vertices,
    // which the exact-equality welding across blocks relies on.
    const int c0 = a2iEdgeConnection[e][0], c1 = a2iEdgeConnection[e][1];
    const int axis = a2fEdgeDirection[e][0] != 0.0f ? 0 : (a2fEdgeDirection[e][1] != 0.0f ? 1 : 2);
    const int lo = VOffset[c0][axis] < VOffset[c1][axis] ? c0 : c1;
    const int hi = lo == c0 ? c1 : c0;
    int index[3] = {x + VOffset[lo][0], y + VOffset[lo][1], z + VOffset[lo][2]};

    const size_t cell = static_cast<size_t>(index[1] - mpOut->miBegin[1]) * static_cast<size_t>(miCacheW) +
                        static_cast<size_t>(index[0] - mpOut->miBegin[0]);
    const size_t plane = axis == 2 ? 4 : static_cast<size_t>((index[2] & 1) * 2 + axis);
    const size_t slot = plane * muPlane + cell;
    EdgeVertex& ev = mvCache[slot];
    if (mvValid[slot])
        return ev;
    mvValid[slot] = 1;

    const double t = GetEdgeOffset(v[lo], v[hi], miLevel);
    for (int a = 0; a < 3; ++a)
        ev.mfPos[a] = static_cast<float>(static_cast<double>(index[a]) / miSize[a]);
    ev.mfPos[axis] = static_cast<float>((static_cast<double>(index[axis]) + t) / miSize[axis]);
    if (mbNormals) {
        float frac[3] = {0.0f, 0.0f, 0.0f};
        frac[axis] = static_cast<float>(t);
        GetNormalPrecise2(mpData, miSize, index, frac, ev.mfNorm);
    }
    return ev;
}

void ThreadMarching::Emit(const EdgeVertex& ev)
{
    MarchingBlock_cls& b = *mpOut;
    const size_t n = muEmitted++;
    if (!mbWeld) {
        // Entry() reserved the exact size, so these appends never reallocate.
        b.mvPos.insert(b.mvPos.end(), ev.mfPos, ev.mfPos + 3);
        if (mbNormals)
            b.mvNorm.insert(b.mvNorm.end(), ev.mfNorm, ev.mfNorm + 3);
        return;
    }
    // The same rule as ThreadOptimizeA: the first triangle as it is, then a short look-back.
    const size_t unique = b.mvPosOpt.size() / 3;
    if (n >= 3) {
        const size_t stop = unique > static_cast<size_t>(ThreadOptimizeA::kLookBack)
                                ? unique - static_cast<size_t>(ThreadOptimizeA::kLookBack)
                                : 0;
        for (size_t u = unique; u-- > stop;) {
            const float* q = &b.mvPosOpt[u * 3];
            if (q[0] == ev.mfPos[0] && q[1] == ev.mfPos[1] && q[2] == ev.mfPos[2]) {
                b.mvIndexOpt.push_back(static_cast<uint32_t>(u));
                return;
            }
        }
    }
    b.mvPosOpt.insert(b.mvPosOpt.end(), ev.mfPos, ev.mfPos + 3);
    if (mbNormals)
        b.mvNormOpt.insert(b.mvNormOpt.end(), ev.mfNorm, ev.mfNorm + 3);
    b.mvIndexOpt.push_back(static_cast<uint32_t>(unique));
}

int ThreadMarching::MarchCube(int x, int y, int z)
{
    const size_t nx = static_cast<size_t>(miSize[0]);
    const unsigned char* p = mpData + static_cast<size_t>(z) * muSliceStride + static_cast<size_t>(y) * nx + x;
    const int v[8] = {p[0],
                      p[1],
                      p[nx + 1],
                      p[nx],
                      p[muSliceStride],
                      p[muSliceStride + 1],
                      p[muSliceStride + nx + 1],
                      p[muSliceStride + nx]};
    const int L = miLevel;
    int flagIndex = 0;
    for (int i = 0; i < 8; ++i)
        flagIndex |= (v[i] <= L) << i;
    if (flagIndex == 0)
        return MarchingBlock_cls::kAllAbove;
    if (flagIndex == 255)
        return MarchingBlock_cls::kAllBelow;

    const signed char* tri = a2iTriangleConnectionTable[flagIndex];
    for (int k = 0; k < 15 && tri[k] >= 0; ++k)
        Emit(GetEdgeVertex(tri[k], x, y, z, v));
    return MarchingBlock_cls::kCut;
}

// ---------------------------------------------------------------------------------------------
// 4. Row and layer loops
//
// Cubes at odd offsets are marched first. The cube between two marched cubes shares all its
// corners with them, so when both reported the same uniform code it is uniform too and is skipped.
// The same reasoning applies to whole rows within a layer.
// ---------------------------------------------------------------------------------------------

int ThreadMarching::MarchCubeLOOPX1(int y, int z)
{
    const int xb = mpOut->miBegin[0], xe = mpOut->miEnd[0];
    bool cut = false;
    int last = MarchingBlock_cls::kCut;
    int prev = -1; // code of the cube two places back (none at the row start)
    for (int x = xb + 1; x < xe; x += 2) {
        int code = MarchCube(x, y, z);
        cut |= code == 0;
        if (!(code != 0 && code == prev))
            cut |= MarchCube(x - 1, y, z) == 0;
        prev = code;
        last = code;
    }
    if ((xe - xb) % 2 == 1) {
        last = MarchCube(xe - 1, y, z);
        cut |= last == 0;
    }
    return cut ? MarchingBlock_cls::kCut : last;
}

int ThreadMarching::MarchCubeLOOPY(int z)
{
    const int yb = mpOut->miBegin[1], ye = mpOut->miEnd[1];
    bool cut = false;
    int last = MarchingBlock_cls::kCut;
    int prev = -1;
    for (int y = yb + 1; y < ye; y += 2) {
        int code = MarchCubeLOOPX1(y, z);
        cut |= code == 0;
        if (!(code != 0 && code == prev))
            cut |= MarchCubeLOOPX1(y - 1, z) == 0;
        prev = code;
        last = code;
    }
    if ((ye - yb) % 2 == 1) {
        last = MarchCubeLOOPX1(ye - 1, z);
        cut |= last == 0;
    }
    return cut ? MarchingBlock_cls::kCut : last;
}

// ---------------------------------------------------------------------------------------------
// 5. Classified block march
//
// The cube-by-cube march reads eight corners per cube and looks every edge up in a cache. Here
// the block's corner masks and cube patterns are computed first, sixteen at a time with SSE2;
// the vertices of the cut edges of a layer are then computed in one sweep, each exactly once and
// with the same arithmetic as GetEdgeVertex; finally the cut cubes emit their triangles in the
// order the cube-by-cube march visits them (odd offsets first, then the one before), so the block
// arrays come out identical, bit for bit. Rows of cubes without a cut cube are skipped.
//
// Welding uses canonical vertex numbers: a vertex's own number, or for a vertex lying exactly on a
// voxel the number of the first vertex there, so that equal numbers mean equal positions. The
// look-back then compares numbers, and the exact duplicates the full weld must remove are known
// without hashing positions.
// ---------------------------------------------------------------------------------------------

namespace
{

// Triangles per case, from the connection table.
const std::array<unsigned char, 256>& TriangleCounts()
{
    static const auto sTriangles = [] {
        std::array<unsigned char, 256> n{};
        for (int c = 0; c < 256; ++c) {
            int k = 0;
            while (k < 15 && ThreadMarching::a2iTriangleConnectionTable[c][k] >= 0)
                k += 3;
            n[static_cast<size_t>(c)] = static_cast<unsigned char>(k / 3);
        }
        return n;
    }();
    return sTriangles;
}

// Position k of the march order over n cubes or rows: 1, 0, 3, 2, ... and the last one alone when
// n is odd.
inline int MarchOrder(int k, int n)
{
    const int o = k ^ 1;
    return o < n ? o : k;
}

constexpr uint32_t kNoVertex = UINT32_MAX;
// Slack after the block arrays so that 16-byte loads at the end of a row stay inside them.
constexpr size_t kSimdPad = 16;

// dst[x] = 0xFF where src[x] <= L, else 0, for x < n; lowers lo and raises hi to the smallest and
// largest byte. The block's value range comes from the same loads as its corner masks, so the
// data passes through the cache once.
void ClassifyRow(const unsigned char* src, uint8_t* dst, size_t n, int L, int& lo, int& hi)
{
    size_t x = 0;
#if defined(__SSE2__)
    if (n >= 16) {
        // v <= L exactly when min(v, L) == v (unsigned bytes).
        const __m128i level = _mm_set1_epi8(static_cast<char>(L));
        __m128i mn = _mm_set1_epi8(static_cast<char>(0xFF)), mx = _mm_setzero_si128();
        for (; x + 16 <= n; x += 16) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + x));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x), _mm_cmpeq_epi8(_mm_min_epu8(v, level), v));
            mn = _mm_min_epu8(mn, v);
            mx = _mm_max_epu8(mx, v);
        }
        // Horizontal minimum and maximum of the sixteen lanes.
        mn = _mm_min_epu8(mn, _mm_srli_si128(mn, 8));
        mn = _mm_min_epu8(mn, _mm_srli_si128(mn, 4));
        mn = _mm_min_epu8(mn, _mm_srli_si128(mn, 2));
        mn = _mm_min_epu8(mn, _mm_srli_si128(mn, 1));
        mx = _mm_max_epu8(mx, _mm_srli_si128(mx, 8));
        mx = _mm_max_epu8(mx, _mm_srli_si128(mx, 4));
        mx = _mm_max_epu8(mx, _mm_srli_si128(mx, 2));
        mx = _mm_max_epu8(mx, _mm_srli_si128(mx, 1));
        lo = std::min(lo, _mm_cvtsi128_si32(mn) & 0xFF);
        hi = std::max(hi, _mm_cvtsi128_si32(mx) & 0xFF);
    }
#endif
    for (; x < n; ++x) {
        const int v = src[x];
        dst[x] = v <= L ? 0xFF : 0;
        lo = std::min(lo, v);
        hi = std::max(hi, v);
    }
}

// Patterns of the n cubes of a row from the corner masks of its four point rows (p0: y, z;
// p1: y + 1, z; p2: y, z + 1; p3: y + 1, z + 1); returns the row's triangle count and sets bit x of
// cutMask (64 cubes a word, cleared by the caller) for each cut cube.
size_t CaseRow(const uint8_t* p0, const uint8_t* p1, const uint8_t* p2, const uint8_t* p3, uint8_t* c, int n,
               uint64_t* cutMask)
{
    const auto& triangles = TriangleCounts();
    auto scalar = [&](int x) {
        c[x] = static_cast<uint8_t>((p0[x] & 1) | (p0[x + 1] & 2) | (p1[x + 1] & 4) | (p1[x] & 8) | (p2[x] & 16) |
                                    (p2[x + 1] & 32) | (p3[x + 1] & 64) | (p3[x] & 128));
        return static_cast<size_t>(triangles[c[x]]);
    };
    size_t total = 0;
    int x = 0;
#if defined(__SSE2__)
    auto load = [](const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); };
    auto bit = [](int b) { return _mm_set1_epi8(static_cast<char>(b)); };
    const __m128i zero = _mm_setzero_si128(), all = _mm_set1_epi8(static_cast<char>(0xFF));
    // The masks of corners 1, 2, 5, 6 are read one point on: the loads reach x + 16, inside the row
    // plus its slack.
    for (; x + 16 <= n; x += 16) {
        __m128i v = _mm_and_si128(load(p0 + x), bit(1));
        v = _mm_or_si128(v, _mm_and_si128(load(p0 + x + 1), bit(2)));
        v = _mm_or_si128(v, _mm_and_si128(load(p1 + x + 1), bit(4)));
        v = _mm_or_si128(v, _mm_and_si128(load(p1 + x), bit(8)));
        v = _mm_or_si128(v, _mm_and_si128(load(p2 + x), bit(16)));
        v = _mm_or_si128(v, _mm_and_si128(load(p2 + x + 1), bit(32)));
        v = _mm_or_si128(v, _mm_and_si128(load(p3 + x + 1), bit(64)));
        v = _mm_or_si128(v, _mm_and_si128(load(p3 + x), bit(128)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(c + x), v);
        const int uniform = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(v, zero), _mm_cmpeq_epi8(v, all)));
        const unsigned cuts = static_cast<unsigned>(~uniform) & 0xFFFFu;
        cutMask[x >> 6] |= static_cast<uint64_t>(cuts) << (x & 63);
        for (unsigned cut = cuts; cut != 0; cut &= cut - 1)
            total += triangles[c[x + std::countr_zero(cut)]];
    }
#endif
    for (; x < n; ++x) {
        const size_t t = scalar(x);
        if (t != 0)
            cutMask[x >> 6] |= uint64_t{1} << (x & 63);
        total += t;
    }
    return total;
}

// The vertex on the edge from voxel (x, y, z) one step along axis A, with the expressions of
// GetEdgeVertex: offset from the edge's lower corner in double, position per axis as index / size
// in double stored as float (gridPos[a][i] holds that value for index begin[a] + i, computed with
// the same expression), normal by NormalAt. A is a template argument so that, once NormalAt is
// inlined, the zero fractions of the other two axes fold away.
// Calls f(i), in increasing i, for each i < n where the masks a[i] and b[i] differ: the cut edges
// between two rows (or planes) of corner masks.
template <class F> inline void ForEachDiffering(const uint8_t* a, const uint8_t* b, size_t n, F&& f)
{
    size_t i = 0;
#if defined(__SSE2__)
    for (; i + 16 <= n; i += 16) {
        const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + i));
        const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + i));
        for (unsigned bits = static_cast<unsigned>(_mm_movemask_epi8(_mm_xor_si128(va, vb))); bits != 0;
             bits &= bits - 1)
            f(i + static_cast<size_t>(std::countr_zero(bits)));
    }
#endif
    for (; i < n; ++i)
        if (a[i] != b[i])
            f(i);
}

// Returns the fraction along the edge as the normal takes it (float).
template <int A>
float EdgeVertexOn(const unsigned char* data, const int size[3], size_t slice, int level, int x, int y, int z,
                   const int begin[3], const float* const gridPos[3], MarchingScratch_cls::Vertex& v)
{
    const size_t nx = static_cast<size_t>(size[0]);
    const unsigned char* p = data + static_cast<size_t>(z) * slice + static_cast<size_t>(y) * nx + x;
    const size_t step = A == 0 ? 1 : (A == 1 ? nx : slice);
    const double t = ThreadMarching::GetEdgeOffset(p[0], p[step], level);
    const int index[3] = {x, y, z};
    for (int a = 0; a < 3; ++a)
        v.mfPos[a] = gridPos[a][index[a] - begin[a]];
    v.mfPos[A] = static_cast<float>((static_cast<double>(index[A]) + t) / size[A]);
    // On a grid point when the position along the edge rounds to either end of it.
    const float* g = gridPos[A] + (index[A] - begin[A]);
    v.miGridEnd = v.mfPos[A] == g[0] ? 0 : (v.mfPos[A] == g[1] ? 1 : -1);
    return static_cast<float>(t);
}

// The normal of an edge vertex whose samples are clamped at the grid's faces: the general code,
// kept out of line so that the common path stays small.
[[gnu::noinline]] void NormalNearFace(const unsigned char* data, const int size[3], const int index[3], int axis,
                                      float frac, float normal[3])
{
    float f[3] = {0.0f, 0.0f, 0.0f};
    f[axis] = frac;
    NormalAt(data, size, index, f, normal);
}

} // namespace

template <int A>
inline MarchingScratch_cls::EdgeRef ThreadMarching::AddVertex(MarchingScratch_cls& s, int x, int y, int z) const
{
    constexpr int axis = A;
    // Built in place (MarchBlockClassified reserved room for every edge of the block).
    const uint32_t id = static_cast<uint32_t>(s.mvVertex.size());
    MarchingScratch_cls::Vertex& v = s.mvVertex.emplace_back();
    const int* begin = mpOut->miBegin;
    const float* const gridPos[3] = {s.mvGridPos[0].data(), s.mvGridPos[1].data(), s.mvGridPos[2].data()};
    const float frac = EdgeVertexOn<A>(mpData, miSize, muSliceStride, miLevel, x, y, z, begin, gridPos, v);
    v.muCanon = id;
    bool copied = false;
    if (v.miGridEnd >= 0) {
        // Every vertex on the same voxel takes the number of the first one there, so that equal
        // numbers mean equal positions.
        const MarchingBlock_cls& b = *mpOut;
        const size_t pw = static_cast<size_t>(b.miEnd[0] - b.miBegin[0]) + 1;
        const size_t ph = static_cast<size_t>(b.miEnd[1] - b.miBegin[1]) + 1;
        int p[3] = {x - b.miBegin[0], y - b.miBegin[1], z - b.miBegin[2]};
        p[axis] += v.miGridEnd;
        const size_t point =
            (static_cast<size_t>(p[2]) * ph + static_cast<size_t>(p[1])) * pw + static_cast<size_t>(p[0]);
        uint32_t& first = s.mvPointVertex[point];
        if (first == kNoVertex) {
            first = id;
            s.mvPointTouched.push_back(point);
        }
        v.muCanon = first;
        if (mbNormals && (frac == 0.0f || frac == 1.0f)) {
            // Exactly on the voxel: the normal is sampled at the voxel itself, whichever edge led
            // there (a fraction of 1 is the next voxel's 0), so the first such vertex's normal is
            // every other one's, bit for bit. Copied once the batch has computed it.
            uint32_t& source = s.mvPointNormal[point];
            if (source == kNoVertex) {
                source = id;
            } else {
                s.mvNormalCopy.push_back({id, source});
                copied = true;
            }
        }
    }
    if (mbNormals && !copied) {
        // Most normals wait for the layer's batch (EdgeNormalBatch_cls, four at a time); those
        // whose samples reach the grid's faces are clamped and taken one by one here.
        const int index[3] = {x, y, z};
        if (!s.mCNormals.QueueOn<A>(index, frac, id))
            NormalNearFace(mpData, miSize, index, A, frac, v.mfNorm);
    }
    return {id, v.muCanon};
}

// Edge-vertex planes as in the cube-by-cube cache: x and y edges of even voxel layers (0, 1), of odd
// voxel layers (2, 3), z edges of the cube layer in work (4); each plane has one entry per block point.
void ThreadMarching::ComputeLayerEdges(MarchingScratch_cls& s, int z)
{
    const MarchingBlock_cls& b = *mpOut;
    const int W = b.miEnd[0] - b.miBegin[0], H = b.miEnd[1] - b.miBegin[1];
    const size_t pw = static_cast<size_t>(W) + 1, plane = pw * (static_cast<size_t>(H) + 1);
    const uint8_t* in = s.mvInside.data() + static_cast<size_t>(z - b.miBegin[2]) * plane;
    MarchingScratch_cls::EdgeRef* ex = s.mvEdgeVertex.data() + static_cast<size_t>((z & 1) * 2) * plane;
    MarchingScratch_cls::EdgeRef* ey = ex + plane;
    for (int y = 0; y <= H; ++y) {
        const uint8_t* r = in + static_cast<size_t>(y) * pw;
        MarchingScratch_cls::EdgeRef* rx = ex + static_cast<size_t>(y) * pw;
        ForEachDiffering(r, r + 1, static_cast<size_t>(W), [&](size_t x) {
            rx[x] = AddVertex<0>(s, b.miBegin[0] + static_cast<int>(x), b.miBegin[1] + y, z);
        });
        if (y == H)
            break;
        MarchingScratch_cls::EdgeRef* ry = ey + static_cast<size_t>(y) * pw;
        ForEachDiffering(r, r + pw, pw, [&](size_t x) {
            ry[x] = AddVertex<1>(s, b.miBegin[0] + static_cast<int>(x), b.miBegin[1] + y, z);
        });
    }
    FlushNormals(s);
}

void ThreadMarching::FlushNormals(MarchingScratch_cls& s) const
{
    if (!mbNormals)
        return;
    if (s.mCNormals.GetQueued() > 0)
        s.mCNormals.Flush(s.mvVertex.data()->mfNorm, sizeof(MarchingScratch_cls::Vertex) / sizeof(float));
    for (const auto& [to, from] : s.mvNormalCopy)
        std::memcpy(s.mvVertex[to].mfNorm, s.mvVertex[from].mfNorm, sizeof s.mvVertex[to].mfNorm);
    s.mvNormalCopy.clear();
}

void ThreadMarching::ComputeVerticalEdges(MarchingScratch_cls& s, int z)
{
    const MarchingBlock_cls& b = *mpOut;
    const int W = b.miEnd[0] - b.miBegin[0], H = b.miEnd[1] - b.miBegin[1];
    const size_t pw = static_cast<size_t>(W) + 1, plane = pw * (static_cast<size_t>(H) + 1);
    const uint8_t* lo = s.mvInside.data() + static_cast<size_t>(z - b.miBegin[2]) * plane;
    const uint8_t* hi = lo + plane;
    MarchingScratch_cls::EdgeRef* ez = s.mvEdgeVertex.data() + 4 * plane;
    ForEachDiffering(lo, hi, plane, [&](size_t i) {
        const int y = static_cast<int>(i / pw), x = static_cast<int>(i % pw);
        ez[i] = AddVertex<2>(s, b.miBegin[0] + x, b.miBegin[1] + y, z);
    });
    FlushNormals(s);
}

void ThreadMarching::MarchBlockClassified(MarchingScratch_cls& s)
{
    MarchingBlock_cls& b = *mpOut;
    const int W = b.miEnd[0] - b.miBegin[0], H = b.miEnd[1] - b.miBegin[1], D = b.miEnd[2] - b.miBegin[2];
    const size_t pw = static_cast<size_t>(W) + 1, plane = pw * (static_cast<size_t>(H) + 1);
    const size_t nx = static_cast<size_t>(miSize[0]);
    const int L = miLevel;

    // Corner masks of every point of the block: 0xFF at or below L, else 0; and the block's value
    // range, which decides (inclusive at both ends) whether it is marched at all.
    s.mvInside.resize(plane * (static_cast<size_t>(D) + 1) + kSimdPad);
    int lo = 255, hi = 0;
    // The block's rows are short pieces of long grid rows, too far apart for the hardware to
    // guess: ask for the row a few steps ahead while the current one is classified.
    constexpr int kAhead = 6;
    const unsigned char* blockData = mpData + static_cast<size_t>(b.miBegin[2]) * muSliceStride +
                                     static_cast<size_t>(b.miBegin[1]) * nx + static_cast<size_t>(b.miBegin[0]);
    for (int z = 0; z <= D; ++z)
        for (int y = 0; y <= H; ++y) {
            const unsigned char* src = blockData + static_cast<size_t>(z) * muSliceStride + static_cast<size_t>(y) * nx;
#if defined(__SSE2__)
            {
                const int ya = y + kAhead <= H ? y + kAhead : y + kAhead - (H + 1);
                const int za = y + kAhead <= H ? z : z + 1;
                if (za <= D) {
                    const unsigned char* ahead =
                        blockData + static_cast<size_t>(za) * muSliceStride + static_cast<size_t>(ya) * nx;
                    _mm_prefetch(reinterpret_cast<const char*>(ahead), _MM_HINT_T0);
                    _mm_prefetch(reinterpret_cast<const char*>(ahead + pw - 1), _MM_HINT_T0);
                }
            }
#endif
            ClassifyRow(src, s.mvInside.data() + static_cast<size_t>(z) * plane + static_cast<size_t>(y) * pw, pw, L,
                        lo, hi);
        }
    b.miMin = lo;
    b.miMax = hi;
    if (L < lo || L > hi) {
        // Not marched: the block keeps no output and is left for the block welding as it is.
        b.miStatus = L < lo ? MarchingBlock_cls::kAllAbove : MarchingBlock_cls::kAllBelow;
        b.muVertexNum = 0;
        return;
    }

    // Cube patterns (bit i = corner i at or below L), the triangle count, and per row of cubes
    // whether any cube is cut (most rows of a smooth field are not, and the emission skips them).
    s.mvCase.resize(static_cast<size_t>(W) * static_cast<size_t>(H) * static_cast<size_t>(D) + kSimdPad);
    const size_t maskWords = (static_cast<size_t>(W) + 63) / 64;
    s.mvCutMask.assign(maskWords * static_cast<size_t>(H) * static_cast<size_t>(D), 0);
    size_t triangleNum = 0;
    for (int z = 0; z < D; ++z)
        for (int y = 0; y < H; ++y) {
            const uint8_t* p0 = s.mvInside.data() + static_cast<size_t>(z) * plane + static_cast<size_t>(y) * pw;
            const size_t row = static_cast<size_t>(z) * H + static_cast<size_t>(y);
            triangleNum += CaseRow(p0, p0 + pw, p0 + plane, p0 + plane + pw, s.mvCase.data() + row * W, W,
                                   s.mvCutMask.data() + row * maskWords);
        }
    const size_t vertexNum = triangleNum * 3;
    muEmitted = vertexNum;
    b.muVertexNum = vertexNum;
    if (triangleNum == 0) {
        // No cube is cut, so all share their corners' side (neighbours share corners).
        b.miStatus = s.mvCase[0] == 0 ? MarchingBlock_cls::kAllAbove : MarchingBlock_cls::kAllBelow;
        if (mbWeld)
            b.mbOptDone = true;
        return;
    }
    b.miStatus = MarchingBlock_cls::kCut;

    // Output: the unshared arrays at their exact size, or the block-welded lists.
    float* outPos = nullptr;
    float* outNorm = nullptr;
    uint32_t* outIndex = nullptr;
    // Counted block stage: the exact vertices and the corners go straight to the lane's arena,
    // which has room for the most the block can give (one vertex per cut edge, and no more than
    // its triangle corners).
    const size_t arenaVertexBegin = mbCountOnly ? mpArena->GetVertexNumber() : 0;
    const size_t arenaIndexBegin = mbCountOnly ? mpArena->GetIndexNumber() : 0;
    if (mbCountOnly) {
        mpArena->MakeRoom(std::min(vertexNum, 3 * plane * (static_cast<size_t>(D) + 1)), vertexNum, mbNormals);
        outIndex = mpArena->Index() + arenaIndexBegin;
    } else if (mbWeld) {
        b.mvIndexOpt.resize(vertexNum);
        outIndex = b.mvIndexOpt.data();
        s.mvUniquePos.resize(vertexNum * 3);
        if (mbNormals)
            s.mvUniqueNorm.resize(vertexNum * 3);
    } else {
        b.mvPos.resize(vertexNum * 3);
        outPos = b.mvPos.data();
        if (mbNormals) {
            b.mvNorm.resize(vertexNum * 3);
            outNorm = b.mvNorm.data();
        }
    }
    float* uPos = s.mvUniquePos.data();
    float* uNorm = s.mvUniqueNorm.data();
    size_t unique = 0, emitted = 0;
    float* xPos = mbCountOnly ? mpArena->Pos() + arenaVertexBegin * 3 : nullptr;
    float* xNorm = mbCountOnly && mbNormals ? mpArena->Norm() + arenaVertexBegin * 3 : nullptr;
    uint8_t* xBorder = mbCountOnly ? mpArena->Border() + arenaVertexBegin : nullptr;
    size_t exactNum = 0;

    // No clearing: an entry is read only for an edge that is cut, and every cut edge of the layers
    // in work is written (ComputeLayerEdges, ComputeVerticalEdges) before its cubes emit.
    if (s.mvEdgeVertex.size() < 5 * plane)
        s.mvEdgeVertex.resize(5 * plane, MarchingScratch_cls::EdgeRef{kNoVertex, kNoVertex});
    s.mvVertex.clear();
    // Room for a vertex on every edge of the block: AddVertex builds each in place.
    s.mvVertex.reserve(3 * plane * (static_cast<size_t>(D) + 1));
    s.mCNormals.SetGrid(mpData, miSize);
    s.mvPointVertex.resize(plane * (static_cast<size_t>(D) + 1), kNoVertex);
    s.mvPointNormal.resize(plane * (static_cast<size_t>(D) + 1), kNoVertex);
    s.mvPointTouched.clear();
    s.mvNormalCopy.clear();
    for (int a = 0; a < 3; ++a) {
        // Voxel-plane positions of the block's points, and one more for the grid test at the far end.
        s.mvGridPos[a].resize(static_cast<size_t>(b.miEnd[a] - b.miBegin[a]) + 2);
        for (size_t i = 0; i < s.mvGridPos[a].size(); ++i)
            s.mvGridPos[a][i] = static_cast<float>(static_cast<double>(b.miBegin[a] + static_cast<int>(i)) / miSize[a]);
    }
    float borderLo[3], borderHi[3];
    for (int a = 0; a < 3; ++a) {
        // The expression of a vertex position on a voxel plane, so that equality is exact.
        borderLo[a] = static_cast<float>(static_cast<double>(b.miBegin[a]) / miSize[a]);
        borderHi[a] = static_cast<float>(static_cast<double>(b.miEnd[a]) / miSize[a]);
    }
    const auto& triangleCounts = TriangleCounts();
    const int zb = b.miBegin[2];
    ComputeLayerEdges(s, zb);
    for (int z = zb; z < b.miEnd[2]; ++z) {
        ComputeLayerEdges(s, z + 1);
        ComputeVerticalEdges(s, z);
        // Where each of the twelve edges of cube (0, 0) of this layer finds its vertex number.
        size_t edgeSlot[12];
        for (int e = 0; e < 12; ++e) {
            const int c0 = a2iEdgeConnection[e][0], c1 = a2iEdgeConnection[e][1];
            const int axis = a2fEdgeDirection[e][0] != 0.0f ? 0 : (a2fEdgeDirection[e][1] != 0.0f ? 1 : 2);
            const int lo = VOffset[c0][axis] < VOffset[c1][axis] ? c0 : c1;
            const size_t planeNo = axis == 2 ? 4 : static_cast<size_t>(((z + VOffset[lo][2]) & 1) * 2 + axis);
            edgeSlot[e] =
                planeNo * plane + static_cast<size_t>(VOffset[lo][1]) * pw + static_cast<size_t>(VOffset[lo][0]);
        }
        if (mbWeld) {
            s.mvCanon.resize(s.mvVertex.size(), MarchingScratch_cls::CanonState{kNoVertex, kNoVertex});
        }
        // The emission, compiled once per output kind so that the per-corner work carries no
        // test of the options.
        auto emitLayer = [&](auto weldTag, auto countTag) {
            constexpr bool kWeld = decltype(weldTag)::value;
            constexpr bool kCount = decltype(countTag)::value;
            // Local copies of the arrays' addresses: the stores of the loop could otherwise alias
            // the vectors' own pointers, and every corner would reload them.
            const MarchingScratch_cls::EdgeRef* edgeVertex = s.mvEdgeVertex.data();
            const MarchingScratch_cls::Vertex* vertex = s.mvVertex.data();
            MarchingScratch_cls::CanonState* canon = s.mvCanon.data();
            const size_t slot[12] = {edgeSlot[0], edgeSlot[1], edgeSlot[2], edgeSlot[3], edgeSlot[4],  edgeSlot[5],
                                     edgeSlot[6], edgeSlot[7], edgeSlot[8], edgeSlot[9], edgeSlot[10], edgeSlot[11]};
            const uint8_t* layerCase = s.mvCase.data() + static_cast<size_t>(z - zb) * H * W;
            for (int ky = 0; ky < H; ++ky) {
                const int y = MarchOrder(ky, H);
                const uint8_t* rowCase = layerCase + static_cast<size_t>(y) * W;
                const uint64_t* rowMask =
                    s.mvCutMask.data() + (static_cast<size_t>(z - zb) * H + static_cast<size_t>(y)) * maskWords;
                // The cut cubes of the row in march order: pairs (2m + 1, 2m) in turn, the odd last
                // cube alone. Swapping the bits of each pair makes that ascending bit order (a pair
                // never straddles two mask words, and the last cube's missing partner is no bit).
                for (size_t word = 0; word < maskWords; ++word) {
                    const uint64_t m = rowMask[word];
                    constexpr uint64_t kEven = 0x5555555555555555ull;
                    for (uint64_t bits = ((m >> 1) & kEven) | ((m & kEven) << 1); bits != 0; bits &= bits - 1) {
                        const int x = static_cast<int>(word * 64) + (std::countr_zero(bits) ^ 1);
                        const int c = rowCase[x];
                        const size_t cell = static_cast<size_t>(y) * pw + static_cast<size_t>(x);
                        const signed char* tri = a2iTriangleConnectionTable[c];
                        const int corners = 3 * triangleCounts[static_cast<size_t>(c)];
                        for (int k = 0; k < corners; ++k) {
                            const MarchingScratch_cls::EdgeRef edge = edgeVertex[slot[tri[k]] + cell];
                            const uint32_t id = edge.muId;
                            const MarchingScratch_cls::Vertex& v = vertex[id];
                            if constexpr (!kWeld) {
                                std::memcpy(outPos + emitted * 3, v.mfPos, sizeof v.mfPos);
                                if (outNorm)
                                    std::memcpy(outNorm + emitted * 3, v.mfNorm, sizeof v.mfNorm);
                                ++emitted;
                                continue;
                            }
                            // The rule of ThreadOptimizeA: the first triangle as it is, then the last
                            // kLookBack unique vertices, exact on all three coordinates. Equal canonical
                            // numbers mean equal positions (AddVertex), and the newest unique vertex with
                            // a number is the one a backward search would meet first, so the look-back is
                            // one test: is that vertex among the last kLookBack?
                            MarchingScratch_cls::CanonState& state = canon[edge.muCanon];
                            uint32_t& last = state.muLast;
                            uint32_t found = kNoVertex;
                            if (emitted >= 3 && last != kNoVertex &&
                                static_cast<size_t>(last) + static_cast<size_t>(ThreadOptimizeA::kLookBack) >= unique)
                                found = last;
                            if (kCount && found == kNoVertex) {
                                // Counted, not kept; the exact list gets the vertex on its first visit.
                                last = static_cast<uint32_t>(unique++);
                                uint32_t& exact = state.muExact;
                                if (exact == kNoVertex) {
                                    exact = static_cast<uint32_t>(exactNum++);
                                    std::memcpy(xPos + static_cast<size_t>(exact) * 3, v.mfPos, sizeof v.mfPos);
                                    if (mbNormals)
                                        std::memcpy(xNorm + static_cast<size_t>(exact) * 3, v.mfNorm, sizeof v.mfNorm);
                                    // Branch-free: most vertices lie inside, and the test is unpredictable.
                                    xBorder[exact] =
                                        static_cast<uint8_t>((v.mfPos[0] == borderLo[0]) | (v.mfPos[0] == borderHi[0]) |
                                                             (v.mfPos[1] == borderLo[1]) | (v.mfPos[1] == borderHi[1]) |
                                                             (v.mfPos[2] == borderLo[2]) | (v.mfPos[2] == borderHi[2]));
                                }
                                outIndex[emitted++] = exact;
                                continue;
                            }
                            if (kCount && found != kNoVertex) {
                                outIndex[emitted++] = state.muExact;
                                continue;
                            }
                            if (found == kNoVertex) {
                                std::memcpy(uPos + unique * 3, v.mfPos, sizeof v.mfPos);
                                if (mbNormals)
                                    std::memcpy(uNorm + unique * 3, v.mfNorm, sizeof v.mfNorm);
                                last = static_cast<uint32_t>(unique);
                                // Exact duplicates beyond the look-back, and which vertices lie on the
                                // block's border planes: the full weld takes both from here.
                                uint32_t& exact = state.muExact;
                                if (exact == kNoVertex) {
                                    exact = static_cast<uint32_t>(b.mvExactFirst.size());
                                    b.mvExactFirst.push_back(static_cast<uint32_t>(unique));
                                    bool border = false;
                                    for (int a = 0; a < 3; ++a)
                                        border |= v.mfPos[a] == borderLo[a] || v.mfPos[a] == borderHi[a];
                                    b.mvExactBorder.push_back(border ? 1 : 0);
                                }
                                b.mvOptToExact.push_back(exact);
                                found = static_cast<uint32_t>(unique++);
                            }
                            outIndex[emitted++] = found;
                        }
                    }
                }
            }
        };
        if (mbCountOnly)
            emitLayer(std::true_type{}, std::true_type{});
        else if (mbWeld)
            emitLayer(std::true_type{}, std::false_type{});
        else
            emitLayer(std::false_type{}, std::false_type{});
    }
    TESSAN_ASSERT(emitted == vertexNum, "SRC/ISO/ThreadMarching");
    for (size_t point : s.mvPointTouched) {
        s.mvPointVertex[point] = kNoVertex;
        s.mvPointNormal[point] = kNoVertex;
    }
    s.mvCanon.clear();
    if (mbCountOnly) {
        mpArena->Commit(exactNum, vertexNum);
        b.mpArena = mpArena;
        b.muArenaVertexBegin = arenaVertexBegin;
        b.muArenaIndexBegin = arenaIndexBegin;
        b.muExactNum = exactNum;
        b.mbArenaNormals = mbNormals;
        b.muVertexOptNum = unique;
        b.mbOptDone = true;
    } else if (mbWeld) {
        b.mvPosOpt.assign(uPos, uPos + unique * 3);
        if (mbNormals)
            b.mvNormOpt.assign(uNorm, uNorm + unique * 3);
        b.mbOptDone = true;
    }
}

// ---------------------------------------------------------------------------------------------
// 6. Worker entry and the cube-by-cube reference march
// ---------------------------------------------------------------------------------------------

size_t ThreadMarching::CountTriangles() const
{
    const auto& sTriangles = TriangleCounts();
    const MarchingBlock_cls& b = *mpOut;
    const size_t nx = static_cast<size_t>(miSize[0]);
    size_t total = 0;
    for (int z = b.miBegin[2]; z < b.miEnd[2]; ++z)
        for (int y = b.miBegin[1]; y < b.miEnd[1]; ++y) {
            const unsigned char* p = mpData + static_cast<size_t>(z) * muSliceStride + static_cast<size_t>(y) * nx;
            const unsigned char* q = p + nx;
            const unsigned char* r = p + muSliceStride;
            const unsigned char* s = r + nx;
            // The left face of each cube is the right face of the one before it.
            int left = (p[b.miBegin[0]] <= miLevel) | (q[b.miBegin[0]] <= miLevel) << 3 |
                       (r[b.miBegin[0]] <= miLevel) << 4 | (s[b.miBegin[0]] <= miLevel) << 7;
            for (int x = b.miBegin[0]; x < b.miEnd[0]; ++x) {
                int right = (p[x + 1] <= miLevel) << 1 | (q[x + 1] <= miLevel) << 2 | (r[x + 1] <= miLevel) << 5 |
                            (s[x + 1] <= miLevel) << 6;
                total += sTriangles[static_cast<size_t>(left | right)];
                left = (right >> 1 & 1) | (right >> 2 & 1) << 3 | (right >> 5 & 1) << 4 | (right >> 6 & 1) << 7;
            }
        }
    return total;
}

void ThreadMarching::MarchBlockCubeByCube()
{
    MarchingBlock_cls& b = *mpOut;
    b.mvPos.clear();
    b.mvNorm.clear();
    // Counting first costs one cheap pass and saves the copies of a growing array.
    const size_t floats = CountTriangles() * 9;
    muEmitted = 0;
    if (mbWeld) {
        // A closed surface has about half as many vertices as triangles; the look-back keeps some
        // duplicates, so start at two thirds of the unshared count and let the rare rest grow.
        b.mvPosOpt.clear();
        b.mvNormOpt.clear();
        b.mvIndexOpt.clear();
        b.mvOptToExact.clear();
        b.mvExactFirst.clear();
        b.mvExactBorder.clear();
        b.mpArena = nullptr;
        b.muExactNum = 0;
        b.muVertexOptNum = 0;
        b.mvIndexOpt.reserve(floats / 3);
        b.mvPosOpt.reserve(floats * 2 / 3);
        if (mbNormals)
            b.mvNormOpt.reserve(floats * 2 / 3);
    } else {
        b.mvPos.reserve(floats);
        if (mbNormals)
            b.mvNorm.reserve(floats);
    }
    miCacheW = b.miEnd[0] - b.miBegin[0] + 1;
    muPlane = static_cast<size_t>(miCacheW) * static_cast<size_t>(b.miEnd[1] - b.miBegin[1] + 1);
    mvCache.resize(5 * muPlane);
    mvValid.assign(5 * muPlane, 0);
    miCacheZ = b.miBegin[2];
    bool cut = false;
    int last = MarchingBlock_cls::kNotMarched;
    for (int z = b.miBegin[2]; z < b.miEnd[2]; ++z) {
        if (z > b.miBegin[2])
            AdvanceLayer();
        last = MarchCubeLOOPY(z);
        cut |= last == 0;
    }
    b.miStatus = cut ? MarchingBlock_cls::kCut : last;
    b.muVertexNum = muEmitted;
    if (mbWeld)
        b.mbOptDone = true;
}

void ThreadMarching::Entry()
{
    MarchingBlock_cls& b = *mpOut;
    if (mbCubeByCube) {
        MarchBlockCubeByCube();
        return;
    }
    b.mvPos.clear();
    b.mvNorm.clear();
    b.mvPosOpt.clear();
    b.mvNormOpt.clear();
    b.mvIndexOpt.clear();
    b.mvOptToExact.clear();
    b.mvExactFirst.clear();
    b.mvExactBorder.clear();
    b.mpArena = nullptr;
    b.muExactNum = 0;
    b.muVertexOptNum = 0;
    if (b.GetCubeNumber() == 0) {
        b.miStatus = MarchingBlock_cls::kNotMarched;
        b.muVertexNum = 0;
        return;
    }
    std::unique_ptr<MarchingScratch_cls> scratch = mpPool ? mpPool->Acquire() : std::make_unique<MarchingScratch_cls>();
    MarchBlockClassified(*scratch);
    if (mpPool)
        mpPool->Release(std::move(scratch));
}
