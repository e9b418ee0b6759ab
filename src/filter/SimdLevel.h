#pragma once
// Run-time choice of the vector instruction set used by the voxel filters' inner loops.
// The binaries are built for x86-64-v2 (SSE4.1 always present); AVX2 and AVX-512 loops are
// compiled with target attributes and chosen only when the processor reports them. A filter
// without a loop for some level uses the best one it has below it. Every level gives the same
// bytes: the loops differ only in how many voxels they handle per step, never in the order of
// the arithmetic for one voxel.

/// Instruction sets the filter loops can use, from plain C++ upwards.
enum class SimdLevel { Scalar = 0, Sse41 = 1, Avx2 = 2, Avx512Vbmi = 3 };

/// The level in use: the best the processor supports, capped by SetSimdLevelLimit. Any thread.
SimdLevel GetSimdLevel();
/// Caps the level (tests compare the paths; benches measure them). Call while no filter runs.
void SetSimdLevelLimit(SimdLevel limit);
/// The best level this processor and build support, ignoring the cap.
SimdLevel GetSimdLevelSupported();
