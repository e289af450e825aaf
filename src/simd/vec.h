// The vocabulary of the vector kernels: one vector of SARVO_SIMD_LANES doubles, for one level of instructions.
//
// Included only by sources that are compiled once per level with SARVO_SIMD_LEVEL (the namespace) and SARVO_SIMD_LANES
// defined.
// Everything is in an unnamed namespace: no function may be shared between levels, since the linker would keep one of
// them for all. The compilers' vector types give lanewise + - * with each operation rounded by itself
// (-ffp-contract=off).
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __FMA__
#error "compile without -mfma: fused operations must not be available to the compiler"
#endif

namespace {

constexpr uint64_t lanes = SARVO_SIMD_LANES;
constexpr uint64_t group = 8;             // lanes of a logical vector: partial sums do not depend on the level
constexpr uint64_t parts = group / lanes; // vectors in a logical vector

typedef double Vec __attribute__((vector_size(SARVO_SIMD_LANES * sizeof(double))));
typedef double VecAnywhere __attribute__((vector_size(SARVO_SIMD_LANES * sizeof(double)), aligned(8), may_alias));

inline Vec load(const double *p) { return *reinterpret_cast<const VecAnywhere *>(p); }
inline void store(double *p, Vec v) { *reinterpret_cast<VecAnywhere *>(p) = v; }
inline Vec broadcast(double x) { return x - Vec{}; } // x - (+0) is x, also for -0

// Eight partial sums, those of elements 0, 8, 16, ...; 1, 9, 17, ...; and so on.
struct Group {
    Vec part[parts];
};

// Sum of the eight partial sums, always in this order.
inline double fold(const Group &g) {
    double s[group];
    for (uint64_t p = 0; p < parts; p++) store(s + p * lanes, g.part[p]);
    return ((s[0] + s[4]) + (s[2] + s[6])) + ((s[1] + s[5]) + (s[3] + s[7]));
}

} // namespace
