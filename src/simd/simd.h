// The table of vector kernels: one contract per slot, filled once for the processor that runs.
//
// Each kernel gives the bits of its literal loop in ref/, at every level. Counts may be 0. Strides and leading dimensions are in
// elements. Pointers need the alignment of double only. Operands must not overlap unless said otherwise.
#pragma once

#include <stdint.h>

namespace sarvo::simd {

struct Kernels {
    const char *level; // "scalar", "v2", "v3", "v4"

    // ---- Element by element; out may be x or y exactly ----
    void (*add)(uint64_t n, const double *x, const double *y, double *out); // out(i) = x(i) + y(i)
    void (*scale)(uint64_t n, double s, const double *x, double *out);      // out(i) = s x(i)
    void (*shift)(uint64_t n, double s, const double *x, double *out);      // out(i) = x(i) + s
    void (*axpy)(uint64_t n, double s, const double *x, double *y);         // y(i) = y(i) + s x(i)

    // ---- Product ----
    // c(i,j) = sum_{l=0..k-1} a(i,l) b(l,j): l ascending, one running sum from +0, terms with a(i,l) == 0 left out.
    //   a     m x k, element (i,l) at a[i a_row + l a_col]: a transposed matrix is a pair of swapped strides
    //   b, c  k x n and m x n by rows, leading dimensions ldb and ldc; c is overwritten
    //   work  product_work(m, n, k) doubles
    void (*product)(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col,
                    const double *b, uint64_t ldb, double *c, uint64_t ldc, double *work);
    uint64_t (*product_work)(uint64_t m, uint64_t n, uint64_t k);
};

// The table for this processor.
const Kernels &kernels();

// For tests: the levels that this processor has, "scalar" first; forcing one (null restores the choice).
uint32_t available_levels(const Kernels **tables, uint32_t capacity);
void force_level(const Kernels *table);

} // namespace sarvo::simd
