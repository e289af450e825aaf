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

// The product of the reflections of a reduced matrix into q, n rows of leading dimension ldq, a multiple of 8 not below
// n; columns from n on become 0. work: n * n doubles.
void expand(const View &h, const double *diag, const double *beta, double *q, uint64_t ldq, double *work);

// Diagonal a (n), off-diagonal b (n - 1). q, when not null, is the transpose of the matrix whose columns are rotated, n
// rows of leading dimension ldq, a multiple of 8. Fails with SarvoMHRangeEC when a NaN or infinity arises.
[[nodiscard]] sarko_error_t diagonalise(uint64_t n, double *a, double *b, double *q, uint64_t ldq);

// Leading dimension for n columns: whole vectors at every level, and rows that do not lie at a power of two, where few
// of them would fit a cache.
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
