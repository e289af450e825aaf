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
#if SARVO_SIMD_LANES > 2
#include <immintrin.h> // masked loads and stores
#endif

// Clang cannot have 512-bit vectors without fused operations; there -ffp-contract=off alone keeps them out, and the test
// of the built library looks for them.
#if defined(__FMA__) && !defined(__clang__)
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

typedef int64_t Mask __attribute__((vector_size(sizeof(Vec)))); // what comparisons give: -1 or 0 a lane

// Whether any lane is set.
#if SARVO_SIMD_LANES == 8
inline bool any(Mask m) { return _mm512_movepi64_mask(reinterpret_cast<__m512i>(m)) != 0; }
#elif SARVO_SIMD_LANES == 4
inline bool any(Mask m) { return _mm256_movemask_pd(reinterpret_cast<__m256d>(m)) != 0; }
#else
inline bool any(Mask m) {
    int64_t set = 0;
    for (uint64_t i = 0; i < lanes; i++) set |= m[i];
    return set != 0;
}
#endif

#if SARVO_SIMD_LANES == 8
inline bool any_nan(Vec x) { return _mm512_cmp_pd_mask(x, x, _CMP_UNORD_Q) != 0; }
#elif SARVO_SIMD_LANES == 4
inline bool any_nan(Vec x) { return _mm256_movemask_pd(_mm256_cmp_pd(x, x, _CMP_UNORD_Q)) != 0; }
#else
inline bool any_nan(Vec x) {
    bool nan = false;
    for (uint64_t i = 0; i < lanes; i++) nan |= x[i] != x[i];
    return nan;
}
#endif

inline Vec magnitude(Vec x) {
    typedef uint64_t Bits __attribute__((vector_size(sizeof(Vec))));
    return reinterpret_cast<Vec>(reinterpret_cast<Bits>(x) & ~(uint64_t{1} << 63));
}

inline uint64_t smaller(uint64_t x, uint64_t y) { return x < y ? x : y; }

// The first count lanes, 0 < count <= lanes; nothing behind them is read or written. Lanes not loaded are 0.
#if SARVO_SIMD_LANES == 8
inline Vec load_part(const double *p, uint64_t count) {
    return _mm512_maskz_loadu_pd(static_cast<__mmask8>((1u << count) - 1u), p);
}
inline void store_part(double *p, Vec v, uint64_t count) {
    _mm512_mask_storeu_pd(p, static_cast<__mmask8>((1u << count) - 1u), v);
}
#elif SARVO_SIMD_LANES == 4
inline __m256i first_lanes(uint64_t count) {
    return _mm256_cmpgt_epi64(_mm256_set1_epi64x(static_cast<int64_t>(count)), _mm256_set_epi64x(3, 2, 1, 0));
}
inline Vec load_part(const double *p, uint64_t count) { return _mm256_maskload_pd(p, first_lanes(count)); }
inline void store_part(double *p, Vec v, uint64_t count) { _mm256_maskstore_pd(p, first_lanes(count), v); }
#else
inline Vec load_part(const double *p, uint64_t count) {
    Vec v = {};
    for (uint64_t i = 0; i < count; i++) v[i] = p[i];
    return v;
}
inline void store_part(double *p, Vec v, uint64_t count) {
    for (uint64_t i = 0; i < count; i++) p[i] = v[i];
}
#endif

// Transposes lanes x lanes doubles: lane j of vector i and lane i of vector j change places.
#if SARVO_SIMD_LANES == 8
inline void transpose_lanes(Vec (&r)[8]) {
    Vec s[8];
    for (int i = 0; i < 8; i += 2) {
        s[i] = __builtin_shufflevector(r[i], r[i + 1], 0, 8, 2, 10, 4, 12, 6, 14);
        s[i + 1] = __builtin_shufflevector(r[i], r[i + 1], 1, 9, 3, 11, 5, 13, 7, 15);
    }
    Vec t[8];
    for (int h = 0; h < 8; h += 4)
        for (int i = 0; i < 2; i++) {
            t[h + i] = __builtin_shufflevector(s[h + i], s[h + i + 2], 0, 1, 8, 9, 4, 5, 12, 13);
            t[h + i + 2] = __builtin_shufflevector(s[h + i], s[h + i + 2], 2, 3, 10, 11, 6, 7, 14, 15);
        }
    for (int i = 0; i < 4; i++) {
        r[i] = __builtin_shufflevector(t[i], t[i + 4], 0, 1, 2, 3, 8, 9, 10, 11);
        r[i + 4] = __builtin_shufflevector(t[i], t[i + 4], 4, 5, 6, 7, 12, 13, 14, 15);
    }
}
#elif SARVO_SIMD_LANES == 4
inline void transpose_lanes(Vec (&r)[4]) {
    const Vec a = __builtin_shufflevector(r[0], r[1], 0, 4, 2, 6), b = __builtin_shufflevector(r[0], r[1], 1, 5, 3, 7);
    const Vec c = __builtin_shufflevector(r[2], r[3], 0, 4, 2, 6), d = __builtin_shufflevector(r[2], r[3], 1, 5, 3, 7);
    r[0] = __builtin_shufflevector(a, c, 0, 1, 4, 5);
    r[1] = __builtin_shufflevector(b, d, 0, 1, 4, 5);
    r[2] = __builtin_shufflevector(a, c, 2, 3, 6, 7);
    r[3] = __builtin_shufflevector(b, d, 2, 3, 6, 7);
}
#else
inline void transpose_lanes(Vec (&r)[2]) {
    const Vec a = __builtin_shufflevector(r[0], r[1], 0, 2), b = __builtin_shufflevector(r[0], r[1], 1, 3);
    r[0] = a;
    r[1] = b;
}
#endif

// The lanes x lanes block at p, transposed: lane i of vector j is element (i, j). Half of the exchange is done by the
// loads, which leaves the shuffle port to the rest.
#if SARVO_SIMD_LANES == 8
inline void load_transposed(const double *p, uint64_t ld, Vec (&column)[8]) {
    for (uint64_t h = 0; h < 2; h++) { // columns 4h .. 4h+3
        Vec r[4];
        for (uint64_t i = 0; i < 4; i++) {
            const __m512d low = _mm512_castpd256_pd512(_mm256_loadu_pd(p + i * ld + 4 * h));
            r[i] = _mm512_maskz_insertf64x4(0xff, low, _mm256_loadu_pd(p + (i + 4) * ld + 4 * h), 1);
        }
        const Vec a = __builtin_shufflevector(r[0], r[1], 0, 8, 2, 10, 4, 12, 6, 14);
        const Vec b = __builtin_shufflevector(r[0], r[1], 1, 9, 3, 11, 5, 13, 7, 15);
        const Vec c = __builtin_shufflevector(r[2], r[3], 0, 8, 2, 10, 4, 12, 6, 14);
        const Vec d = __builtin_shufflevector(r[2], r[3], 1, 9, 3, 11, 5, 13, 7, 15);
        column[4 * h] = __builtin_shufflevector(a, c, 0, 1, 8, 9, 4, 5, 12, 13);
        column[4 * h + 1] = __builtin_shufflevector(b, d, 0, 1, 8, 9, 4, 5, 12, 13);
        column[4 * h + 2] = __builtin_shufflevector(a, c, 2, 3, 10, 11, 6, 7, 14, 15);
        column[4 * h + 3] = __builtin_shufflevector(b, d, 2, 3, 10, 11, 6, 7, 14, 15);
    }
}
#else
inline void load_transposed(const double *p, uint64_t ld, Vec (&column)[lanes]) {
    for (uint64_t i = 0; i < lanes; i++) column[i] = load(p + i * ld);
    transpose_lanes(column);
}
#endif

// Elements before the first whole vector that lies within a cache line, for doubles at p.
inline uint64_t to_alignment(const double *p) {
    const uint64_t offset = reinterpret_cast<uintptr_t>(p) / sizeof(double) % lanes;
    return offset == 0 ? 0 : lanes - offset;
}

// Eight partial sums, those of elements 0, 8, 16, ...; 1, 9, 17, ...; and so on.
struct Group {
    Vec part[parts];
};

} // namespace
