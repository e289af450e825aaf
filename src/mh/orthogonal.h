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
// elements. Without `above`, rows are not transformed beyond their diagonal block, and the place behind the diagonal of
// row k is given to reflection k: that of row k in Reflections. work: reduction_work(n) doubles.
void reduce(const View &a, bool above, double *diag, double *beta, double *work);
inline uint64_t reduction_work(uint64_t n) { return product_of_counts(6, n); }

// The reflections of a reduction: number k has its components k + 1 .. n-1 in row k.
struct Reflections {
    uint64_t n;
    const double *rows;
    uint64_t ld;
    const double *beta;
    bool finite; // all components and beta
};
// Of a matrix reduced with `above`, into an array of n rows of n.
Reflections gather_reflections(const View &h, const double *diag, const double *beta, double *rows);

// Strips that mostly stay in the first-level cache; wide ones, which compute faster, beyond.
inline uint64_t columns_of_strip(uint64_t n) { return n <= 160 || n > 640 ? 32 : 16; }

// The product of reflections, a few columns at a time: take(first, count, strip, width) gets columns first ..
// first+count-1 in an array of n rows of `width` doubles. strip: n * columns_of_strip(n) doubles.
void expand_strip(const Reflections &r, uint64_t first, uint64_t width, double *strip);
template <class Take> void expand(const Reflections &r, double *strip, Take take) {
    const uint64_t width = columns_of_strip(r.n);
    for (uint64_t j = 0; j < r.n; j += width) {
        expand_strip(r, j, width, strip);
        take(j, smaller(width, r.n - j), strip, width);
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

    void clear_padding() const;                                                                // before all else
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

} // namespace sarvo::mh
