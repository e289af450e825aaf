// Solving with the factors of a matrix, and the estimate of its condition.
#include <sarvo/mh/permutation.h>
#include <sarvo/mh/solve.h>

#include <math.h>

#include "dense.h"
#include "simd/simd.h"
#include "sums.h"

using sarvo::mh::fail_text;
using sarvo::mh::has_size;
using sarvo::mh::smaller;
using sarvo::mh::View;
using sarvo::mh::view;
using sarvo::simd::kernels;

namespace {

sarko_error_t check(const MAT *LU, const PERM *pivot, const VEC *b, VEC *const *x) {
    if (!LU || !pivot || !b || !x)
        return fail_text("Input matrix and/or permutation and/or vector are/is not initialized.");
    if (LU->rows != LU->cols || LU->rows != b->dim || !has_size(*pivot, b->dim))
        return fail_text("Sizes of input matrix and vector are not consistent or input matrix is not square.");
    return 0;
}

// U' y = e with e of elements +-1 chosen so that y grows. The sums over columns are kept by rows: each y(i) adds its
// row of terms to all sums behind, a block of rows at a time, in ascending i. False when U is singular.
bool growing_solution(const View &a, double *y) {
    constexpr uint64_t block = 16;
    for (uint64_t i = 0; i < a.rows; i++) y[i] = 0.0; // the sums, until solved
    for (uint64_t i0 = 0; i0 < a.rows; i0 += block) {
        const uint64_t end = smaller(i0 + block, a.rows);
        const double *rows[block];
        for (uint64_t i = i0; i < end; i++) {
            rows[i - i0] = a.p + i * a.ld + end;
            const double d = a.p[i * a.ld + i];
            double sum = -y[i];
            sum = sum < 0.0 ? sum - 1.0 : sum + 1.0;
            if (fabs(d) <= 0.0 * fabs(sum)) return false;
            y[i] = sum / d;
            for (uint64_t j = i + 1; j < end; j++) y[j] += a.p[i * a.ld + j] * y[i];
        }
        kernels().add_rows(end - i0, a.cols - end, rows, y + i0, y + end);
    }
    return true;
}

// Largest sum of magnitudes of a row, of U and of L with its unit diagonal.
double norm_of_upper(const View &a) {
    double largest = 0.0;
    for (uint64_t i = 0; i < a.rows; i++) {
        double sum = 0.0;
        for (uint64_t j = i; j < a.cols; j++) sum += fabs(a.p[i * a.ld + j]);
        if (sum > largest) largest = sum;
    }
    return largest;
}
double norm_of_lower(const View &a) {
    double largest = 0.0;
    for (uint64_t i = 0; i < a.rows; i++) {
        double sum = 1.0;
        for (uint64_t j = 0; j < i; j++) sum += fabs(a.p[i * a.ld + j]);
        if (sum > largest) largest = sum;
    }
    return largest;
}

// Turns a singular system into *cond = infinity. Before start-up all codes are 0 and tell nothing: the error stays.
sarko_error_t forgive_singular(sarko_error_t e, double *cond) {
    if (!e || SarvoMHSingEC == 0 || sarko_error_code(e) != SarvoMHSingEC) return e;
    *cond = INFINITY;
    return sarko_error_clear(e);
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_LUsolve(const MAT *LU, const PERM *pivot, const VEC *b, VEC **x) {
    if (sarko_error_t e = check(LU, pivot, b, x)) return e;
    if (sarko_error_t e = sarvo::mh::size_exactly(x, LU->rows)) return e;
    if (sarko_error_t e = sarvo_mh_px_vec(pivot, b, x)) return e;
    if (sarko_error_t e = sarvo_mh_Lsolve(LU, *x, x, 1.0)) return e;
    return sarvo_mh_Usolve(LU, *x, x, 0.0);
}

sarko_error_t sarvo_mh_LUTsolve(const MAT *LU, const PERM *pivot, const VEC *b, VEC **x) {
    if (sarko_error_t e = check(LU, pivot, b, x)) return e;
    if (sarko_error_t e = sarvo_mh_v_copy_(b, x, 0)) return e;
    if (sarko_error_t e = sarvo_mh_UTsolve(LU, *x, x, 0.0)) return e;
    if (sarko_error_t e = sarvo_mh_LTsolve(LU, *x, x, 1.0)) return e;
    return sarvo_mh_pxinv_vec(pivot, *x, x);
}

sarko_error_t sarvo_mh_LUcondest(const MAT *LU, const PERM *pivot, double *cond) {
    if (!LU || !pivot || !cond) return fail_text("Input matrix and/or permutation are/is not initialized.");
    if (LU->rows != LU->cols || !has_size(*pivot, LU->rows))
        return fail_text("Sizes of input matrix and permutation are not consistent.");
    sarvo::mh::TemporaryVector y, z;
    if (sarko_error_t e = sarvo_mh_v_get(LU->rows, &y.p)) return e;
    if (sarko_error_t e = sarvo_mh_v_get(LU->rows, &z.p)) return e;
    const View a = view(*LU);
    if (!growing_solution(a, y.p->elems)) {
        *cond = INFINITY;
        return 0;
    }
    if (sarko_error_t e = sarvo_mh_LTsolve(LU, y.p, &y.p, 1.0)) return forgive_singular(e, cond);
    if (sarko_error_t e = sarvo_mh_LUsolve(LU, pivot, y.p, &z.p)) return forgive_singular(e, cond);
    *cond = norm_of_upper(a) * norm_of_lower(a) * kernels().max_abs(a.rows, z.p->elems) /
            kernels().max_abs(a.rows, y.p->elems);
    return 0;
}

} // extern "C"
