// What the orthogonal transforms share: rotations, reflections, the reduction and the expansion of its reflections.
#pragma once

#include <math.h>

#include "dense.h"

namespace sarvo::mh {

struct Rotation {
    double c, s, radius;
};

inline Rotation rotation(double x, double y) {
    const double r = sqrt(x * x + y * y);
    if (r == 0.0) return {1.0, 0.0, r};
    return {x / r, y / r, r};
}

// What sarvo_mh_hhvec makes of the n elements at x: beta, and the new leading value unless the norm is 0. x[0] changes.
struct Reflection {
    double beta, newval;
    bool made; // newval and x[0] are valid
};
inline Reflection reflection(uint64_t n, double *x) {
    double sum = 0.0;
    for (uint64_t i = 0; i < n; i++) sum += x[i] * x[i];
    const double norm = sqrt(sum);
    if (norm <= 0.0) return {0.0, 0.0, false};
    const double newval = x[0] > 0.0 ? -norm : norm;
    const double beta = 1.0 / ((fabs(x[0]) + norm) * norm);
    x[0] = x[0] - newval;
    return {beta, newval, true};
}

// Reduction of the square matrix a to Hessenberg form as sarvo_mh_Hfactor does it; diag and beta have a.rows - 1
// elements. Without `above`, rows are not transformed beyond their diagonal block: what is above the first
// superdiagonal, and that diagonal itself, is undefined then. work: reduction_work(n) doubles.
void reduce(const View &a, bool above, double *diag, double *beta, double *work);
inline uint64_t reduction_work(uint64_t n) { return 6 * n; }

// Strips that stay in the first-level cache as long as they can; wide ones, which compute faster, beyond.
inline uint64_t columns_of_strip(uint64_t n) { return n <= 160 || n > 640 ? 32 : n <= 320 ? 16 : 8; }
inline uint64_t expansion_work(uint64_t n) {
    return sum_of_counts(product_of_counts(n, n), product_of_counts(n, columns_of_strip(n)));
}
bool gather_reflections(const View &h, const double *diag, const double *beta, double *reflections);
void expand_strip(uint64_t n, uint64_t first, uint64_t width, bool finite, const double *reflections,
                  const double *beta, double *strip);

// The product of the reflections of a reduced matrix, a few columns at a time: take(first, count, strip, width) gets
// columns first .. first+count-1 in an array of n rows of `width` doubles. h is not read any more by then.
// work: expansion_work(n) doubles.
template <class Take> void expand(const View &h, const double *diag, const double *beta, double *work, Take take) {
    const uint64_t n = h.rows, width = columns_of_strip(n);
    double *reflections = work, *strip = work + n * n;
    const bool finite = gather_reflections(h, diag, beta, reflections);
    for (uint64_t j = 0; j < n; j += width) {
        expand_strip(n, j, width, finite, reflections, beta, strip);
        take(j, smaller(width, n - j), strip, width);
    }
}
// The transpose of a matrix of n rows in strips of up to 32 columns, one after the other, each contiguous by rows and
// filled up to a multiple of 8 columns: rotations of its rows then work on few pages of memory and all of a cache.
struct Strips {
    uint64_t n;
    double *p;

    static constexpr uint64_t columns = 32;
    static uint64_t size(uint64_t n) { return product_of_counts(n, sum_of_counts(n, 7) / 8 * 8); }
    uint64_t width(uint64_t column) const { return smaller(columns, (n - column + 7) / 8 * 8); }
    double *strip(uint64_t column) const { return p + column * n; } // column = 0, 32, 64, ...

    void set_columns(uint64_t first, uint64_t count, const double *matrix, uint64_t ld) const; // from matrix(:,0) on
    void store(const View &matrix) const;                                                      // all of it
};

// Diagonal a (n), off-diagonal b (n - 1). q is what the rotations are applied to, or has a null p. Fails with
// SarvoMHRangeEC when a NaN or infinity arises.
[[nodiscard]] sarko_error_t diagonalise(uint64_t n, double *a, double *b, const Strips &q);

// Leading dimension for n columns: whole vectors, and rows that do not lie at a power of two, where few of them would
// fit a cache.
inline uint64_t padded_columns(uint64_t n) {
    const uint64_t whole = sum_of_counts(n, 7) / 8 * 8;
    return whole % 32 == 0 && n > 0 ? sum_of_counts(whole, 8) : whole;
}

inline bool all_finite(uint64_t n, const double *x) {
    for (uint64_t i = 0; i < n; i++)
        if (!isfinite(x[i])) return false;
    return true;
}

} // namespace sarvo::mh
