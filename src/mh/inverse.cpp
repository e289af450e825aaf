// The inverse by LU: all columns at once, or one after the other where something is not finite or singular.
//
// P A = L U. Column px(t) of P is unit vector e_t, so column px(t) of the inverse solves U x = column t of inverse(L).
// Each element of inverse(L) and of the solution has the operations of the plain solves of its column in their order:
// terms with a zero in the right-hand side, which those leave out, add +0 or -0 to a sum that started from +0 as long as
// the factors are finite. Otherwise, and when a result is not finite, the columns are solved one by one.
#include <sarvo/mh/solve.h>

#include <string.h>

#include "dense.h"
#include "lu.h"
#include "simd/simd.h"

using sarvo::mh::all_finite;
using sarvo::mh::Scratch;
using sarvo::mh::smaller;
using sarvo::mh::View;
using sarvo::simd::kernels;
using sarvo::simd::solve_strip;

namespace {

constexpr uint64_t block = 32; // rows of inverse(L) at a time
constexpr uint64_t strip = 96; // and columns: whole tiles of the product

constexpr uint64_t line = 8; // doubles of a cache line

// The systems of a strip are loaded again and again: no vector of theirs should cross a line.
double *aligned(double *p) {
    const uint64_t beyond = reinterpret_cast<uintptr_t>(p) / sizeof(double) % line;
    return beyond == 0 ? p : p + (line - beyond);
}

bool has_zero_diagonal(const View &a) {
    for (uint64_t i = 0; i < a.rows; i++)
        if (a.p[i * a.ld + i] == 0.0) return true;
    return false;
}

// y = inverse(L), lower triangle, the rest zero. Row i: y(i,t) = 0 - sum_{j=t..i-1} L(i,j) y(j,t), which is
// ((0 - first term) - second) - ... since zero minus a sum has the bits of subtracting its terms from zero.
void invert_lower(const View &lu, double *y, double *work) {
    const uint64_t n = lu.rows;
    memset(y, 0, n * n * sizeof *y);
    for (uint64_t i0 = 0; i0 < n; i0 += block) {
        const uint64_t rows = smaller(block, n - i0);
        for (uint64_t t0 = 0; t0 < i0; t0 += strip) // columns t0 .. of y are zero above row t0
            kernels().product_subtract(rows, smaller(strip, i0 - t0), i0 - t0, lu.p + i0 * lu.ld + t0, lu.ld, 1,
                                       y + t0 * n + t0, n, y + i0 * n + t0, n, work);
        const double *above[block];
        double factors[block];
        for (uint64_t r = 0; r < rows; r++) {
            double *yi = y + (i0 + r) * n;
            for (uint64_t q = 0; q < r; q++) factors[q] = -lu.p[(i0 + r) * lu.ld + i0 + q];
            kernels().add_rows(r, i0 + r, above, factors, yi);
            yi[i0 + r] = 1.0;
            above[r] = yi;
        }
    }
}

// Trailing zeros of a right-hand side give +0 whatever the sign of the diagonal.
void clear_trailing(const double *y, uint64_t n, uint64_t column, double *x, uint64_t lane) {
    for (uint64_t i = n; i-- > 0 && y[i * n + column] == 0.0;) x[i * solve_strip + lane] = 0.0;
}

// Columns px(t) of out = solutions of U x = y(:,t). False when one of them is not finite.
bool solve_upper(const View &lu, const double *y, const uint32_t *px, double *x, const View &out) {
    const uint64_t n = lu.rows;
    for (uint64_t t0 = 0; t0 < n; t0 += solve_strip) {
        const uint64_t count = smaller(solve_strip, n - t0);
        for (uint64_t i = 0; i < n; i++) {
            memcpy(x + i * solve_strip, y + i * n + t0, count * sizeof *y);
            for (uint64_t c = count; c < solve_strip; c++) x[i * solve_strip + c] = 0.0;
        }
        kernels().upper_solve_strip(n, lu.p, lu.ld, count, x);
        if (!all_finite(x, n * solve_strip)) return false;
        for (uint64_t c = 0; c < count; c++) clear_trailing(y, n, t0 + c, x, c);
        for (uint64_t i = 0; i < n; i++)
            for (uint64_t c = 0; c < count; c++) out.p[i * out.ld + px[t0 + c]] = x[i * solve_strip + c];
    }
    return true;
}

// Each column by the plain solves; those before a singular one are written.
sarko_error_t solve_by_columns(const View &lu, const uint32_t *px, MAT &out) {
    const uint64_t n = lu.rows;
    sarvo::mh::TemporaryMatrix LU;
    sarvo::mh::TemporaryPermutation pivot;
    sarvo::mh::TemporaryVector unit, x;
    if (sarko_error_t e = sarvo_mh_m_get(n, n, &LU.p)) return e;
    if (sarko_error_t e = sarvo_mh_px_get(static_cast<int32_t>(n), &pivot.p)) return e;
    if (sarko_error_t e = sarvo_mh_v_get(n, &unit.p)) return e;
    if (sarko_error_t e = sarvo_mh_v_get(n, &x.p)) return e;
    memcpy(LU.p->base, lu.p, n * n * sizeof *lu.p);
    memcpy(pivot.p->elems, px, n * sizeof *px);
    for (uint64_t i = 0; i < n; i++) {
        unit.p->elems[i] = 1.0;
        if (sarko_error_t e = sarvo_mh_LUsolve(LU.p, pivot.p, unit.p, &x.p)) return e;
        unit.p->elems[i] = 0.0;
        for (uint64_t r = 0; r < n; r++) out.row_ptrs[r][i] = x.p->elems[r];
    }
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_m_inverse(const MAT *A, MAT **out) {
    if (!A || !out) return sarvo::mh::fail_text(sarvo::mh::null_matrix);
    if (A->rows != A->cols) return sarvo::mh::fail_text("Input matrix is not square.");
    const uint64_t n = A->rows;
    Scratch<double, 1536> work; // enough for n = 16
    Scratch<uint32_t, 16> px;
    const uint64_t rest = sarvo::mh::larger(sarvo::mh::lu_work(n, n), kernels().product_work(block, strip, n));
    if (sarko_error_t e = work.allocate(2 * n * n + n * solve_strip + rest + line)) return e;
    if (sarko_error_t e = px.allocate(n)) return e;
    if (sarko_error_t e = sarvo::mh::size_at_least(out, n, n)) return e;
    double *x = aligned(work.get()), *y = x + n * solve_strip;
    const View lu = {y + n * n, n, n, n};
    double *scratch = lu.p + n * n;
    for (uint64_t i = 0; i < n; i++) memcpy(lu.p + i * n, A->row_ptrs[i], n * sizeof *lu.p);
    sarvo::mh::lu_factor(lu, px.get(), scratch);
    if (all_finite(lu) && !has_zero_diagonal(lu)) {
        invert_lower(lu, y, scratch);
        if (solve_upper(lu, y, px.get(), x, sarvo::mh::view(**out))) return 0;
    }
    return solve_by_columns(lu, px.get(), **out);
}

} // extern "C"
