// Householder reduction of a matrix to bidiagonal form, and its transformation matrices, on padded work storage.
#pragma once

#include <stdint.h>

namespace sarvo::nr {

// Matrix in work storage: rows of `stride` doubles (a multiple of 8), aligned to 64 bytes, zero behind the last column.
struct Panel {
    double *p = nullptr;
    uint64_t rows = 0;
    uint64_t cols = 0;
    uint64_t stride = 0;

    double *row(uint64_t i) const { return p + i * stride; }
    uint64_t size() const { return rows * stride; }
};

// Doubles in a row of a panel: padded to whole cache lines, an odd number of them, since rows a power of two apart
// evict each other.
constexpr uint64_t panel_stride(uint64_t cols) {
    const uint64_t lines = (cols + 7) / 8;
    return 8 * (lines | 1);
}

// A = Q B P' for the m x n panel A, m >= n >= 1: B upper bidiagonal with diagonal d (n) and superdiagonal e (n - 1).
//   A    overwritten
//   Qt   k x m, n <= k <= m: row j receives column j of Q;  Pt  n x n: row j receives column j of P
//   work reduction_work(m, n, k) doubles, aligned to 64 bytes
// Sums of products are formed in eight parts (simd.h). Entries must be far from the ends of the exponent range.
void reduce_to_bidiagonal(const Panel &A, const Panel &Qt, const Panel &Pt, double *d, double *e, double *work);
uint64_t reduction_work(uint64_t m, uint64_t n, uint64_t k);

} // namespace sarvo::nr
