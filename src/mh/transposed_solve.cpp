// Solves with the transpose of a factorised matrix for many right-hand sides at once.
//
// Row i of the work matrix holds unknown i of all systems. The plain solve finishes unknown i and subtracts its multiples
// from those behind, i ascending: block by block that is a product with the transposed block of U. The solve with L' goes
// downwards, so that L and the unknowns are reversed before it. A column whose right-hand side begins or ends with a zero
// is solved apart, since the plain solve leaves such zeros out; so are all when something is not finite.
#include "transposed_solve.h"

#include <sarvo/mh/solve.h>

#include <string.h>

#include "simd/simd.h"

using sarvo::mh::all_finite;
using sarvo::mh::smaller;
using sarvo::mh::View;
using sarvo::simd::kernels;

namespace {

constexpr uint64_t block = 32;

// Solves T' y = x in place, T upper triangular by rows (a unit diagonal unless `divide`), for `width` systems.
void solve_ascending(const View &T, bool divide, double *x, uint64_t width, double *work) {
    const uint64_t n = T.rows;
    for (uint64_t i0 = 0; i0 < n; i0 += block) {
        const uint64_t end = smaller(i0 + block, n);
        const double *above[block];
        double factors[block];
        for (uint64_t i = i0; i < end; i++) {
            double *xi = x + i * width;
            for (uint64_t q = i0; q < i; q++) factors[q - i0] = -T.p[q * T.ld + i];
            kernels().add_rows(i - i0, width, above, factors, xi);
            if (divide) kernels().divide_by(width, T.p[i * T.ld + i], xi, xi);
            above[i - i0] = xi;
        }
        kernels().product_subtract(n - end, width, end - i0, T.p + i0 * T.ld + end, 1, T.ld, x + i0 * width, width,
                                   x + end * width, width, work);
    }
}

bool any_zero(const double *x, uint64_t n) { return kernels().first_zero(n, x) < n; }

void exchange_rows(double *x, double *y, uint64_t n) {
    for (uint64_t j = 0; j < n; j++) {
        const double t = x[j];
        x[j] = y[j];
        y[j] = t;
    }
}

// All columns together; false when one of them needs the plain solve.
bool solve_together(const View &LU, const PERM &pivot, const View &B, const View &X, double *x, double *work) {
    const uint64_t n = LU.rows;
    for (uint64_t i = 0; i < n; i++) {
        if (LU.p[i * LU.ld + i] == 0.0 || !all_finite(LU.p + i * LU.ld, n)) return false;
        memcpy(x + i * n, B.p + i * B.ld, n * sizeof *x);
    }
    if (n == 0) return true;
    if (any_zero(x, n)) return false;
    solve_ascending(LU, true, x, n, work);
    if (any_zero(x + (n - 1) * n, n)) return false;
    double *reversed = work; // unit lower triangle seen from its end: an upper one
    for (uint64_t i = 0; i < n; i++)
        for (uint64_t j = 0; j <= i; j++) reversed[(n - 1 - i) * n + n - 1 - j] = LU.p[i * LU.ld + j];
    for (uint64_t i = 0; i < n / 2; i++) exchange_rows(x + i * n, x + (n - 1 - i) * n, n);
    solve_ascending({reversed, n, n, n}, false, x, n, work + n * n);
    if (!all_finite(x, n * n)) return false;
    for (uint64_t i = 0; i < n; i++) memcpy(X.p + pivot.elems[i] * X.ld, x + (n - 1 - i) * n, n * sizeof *x);
    return true;
}

} // namespace

namespace sarvo::mh {

sarko_error_t solve_transposed(const MAT &LU, const PERM &pivot, const View &B, const View &X) {
    const uint64_t n = LU.rows;
    Buffer<double> work;
    if (sarko_error_t e = work.allocate_unset(2 * n * n + kernels().product_work(n, n, block))) return e;
    if (solve_together(view(LU), pivot, B, X, work.get(), work.get() + n * n)) return 0;
    TemporaryVector b, x;
    if (sarko_error_t e = sarvo_mh_v_get(n, &b.p)) return e;
    for (uint64_t c = 0; c < n; c++) {
        for (uint64_t i = 0; i < n; i++) b.p->elems[i] = B.p[i * B.ld + c];
        if (sarko_error_t e = sarvo_mh_LUTsolve(&LU, &pivot, b.p, &x.p)) return e;
        for (uint64_t i = 0; i < n; i++) X.p[i * X.ld + c] = x.p->elems[i];
    }
    return 0;
}

} // namespace sarvo::mh
