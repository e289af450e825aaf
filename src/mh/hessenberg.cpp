// Reduction to Hessenberg form, the orthogonal matrix of the reduction, and the Hessenberg part.
//
// Step k transforms columns and rows by one reflection. Both updates are held back until the next step has found its
// reflection: then one pass over the matrix applies them and sums for the next columns, and a second, which only reads,
// sums for the next rows:
//
//     a(i,j) = (a(i,j) - u(i) y(j)) - x(i) v(j)        w(j) = beta sum_i h(i) a(i,j)
//     x(i) = beta sum_j (a(i,j) - h(i) w(j)) h(j)      next: u = v = h, y = w
//
// Each element meets the operations of the plain steps in their order. Rows whose x is exactly 0 are to be left alone:
// a step with such a row is completed at once.
#include <sarvo/mh/orthogonal.h>

#include <string.h>

#include "orthogonal.h"
#include "simd/simd.h"

using sarvo::fail;
using sarvo::wrap;
using sarvo::mh::columns_of_strip;
using sarvo::mh::product_of_counts;
using sarvo::mh::smaller;
using sarvo::mh::sum_of_counts;
using sarvo::mh::View;
using sarvo::mh::view;
using sarvo::simd::kernels;

namespace sarvo::mh {
namespace {

struct Reduction {
    View a;
    double *h, *w, *x; // of this step, all of n elements: reflection, scaled sums over columns, over rows
    double *u, *y, *s; // of the step before, when pending: reflection, w and x
    bool pending = false;

    double *at(uint64_t i, uint64_t j) const { return a.p + i * a.ld + j; }
    double updated(uint64_t i, uint64_t j) const { return (*at(i, j) - u[i] * y[j]) - s[i] * u[j]; }

    // Brings column k from row k on up to date, and with `row` also row k.
    void complete_border(uint64_t k, bool row) const {
        if (!pending) return;
        for (uint64_t i = k; i < a.rows; i++) *at(i, k) = updated(i, k);
        for (uint64_t j = k + 1; row && j < a.rows; j++) *at(k, j) = updated(k, j);
    }

    // Brings rows and columns from k on up to date.
    void complete(uint64_t k) {
        for (uint64_t i = k; pending && i < a.rows; i++)
            for (uint64_t j = k; j < a.rows; j++) *at(i, j) = updated(i, j);
        pending = false;
    }

    // w(j) = beta sum_i h(i) a(i,j) over the rows and columns from k on, after what is pending.
    void sum_columns(uint64_t k, double beta) {
        const uint64_t n = a.rows - k;
        for (uint64_t j = k; j < a.rows; j++) w[j] = 0.0;
        if (pending) kernels().update2_accumulate(n, n, at(k, k), a.ld, u + k, y + k, s + k, u + k, h + k, w + k);
        else
            for (uint64_t i = k; i < a.rows; i += 8) {
                const double *rows[8];
                const uint64_t count = smaller(8, a.rows - i);
                for (uint64_t r = 0; r < count; r++) rows[r] = at(i + r, k);
                kernels().add_rows(count, n, rows, h + i, w + k);
            }
        kernels().scale(n, beta, w + k, w + k);
        pending = false;
    }

    // x(i) = beta sum_j (a(i,j) - h(i) w(j)) h(j); then both updates of this step are pending, or made.
    void sum_rows(uint64_t k, double beta) {
        const uint64_t n = a.rows - k;
        kernels().dot_rows_updated(n, n, at(k, k), a.ld, h + k, w + k, h + k, x + k);
        kernels().scale(n, beta, x + k, x + k);
        if (kernels().first_zero(n, x + k) == n) {
            exchange(h, u);
            exchange(w, y);
            exchange(x, s);
            pending = true;
            return;
        }
        for (uint64_t i = k; i < a.rows; i++) {
            kernels().axpy(n, -h[i], w + k, at(i, k));
            if (x[i] != 0.0) kernels().axpy(n, -x[i], h + k, at(i, k));
        }
    }

    // Rows 0 .. k of the columns behind k, which no column transform meets any more.
    void transform_above(uint64_t k, const double *reflector, double beta) const {
        constexpr uint64_t block = 16;
        const uint64_t n = a.rows - (k + 1);
        for (uint64_t i = 0; i <= k; i += block) {
            const uint64_t count = smaller(block, k + 1 - i);
            double inner[block];
            kernels().dot_rows(count, n, at(i, k + 1), a.ld, reflector + k + 1, inner);
            for (uint64_t r = 0; r < count; r++) {
                const double scaled = beta * inner[r];
                if (scaled != 0.0) kernels().axpy(n, -scaled, reflector + k + 1, at(i + r, k + 1));
            }
        }
    }

    static void exchange(double *&p, double *&q) {
        double *old = p;
        p = q;
        q = old;
    }
};

} // namespace

void reduce(const View &a, bool above, double *diag, double *beta, double *work) {
    const uint64_t n = a.rows;
    Reduction r = {a, work, work + n, work + 2 * n, work + 3 * n, work + 4 * n, work + 5 * n};
    for (uint64_t k = 0; k + 1 < n; k++) {
        r.complete_border(k, above);
        for (uint64_t i = k + 1; i < n; i++) r.h[i] = *r.at(i, k);
        const Reflection made = reflection(n - k - 1, r.h + k + 1);
        if (made.made) *r.at(k + 1, k) = made.newval;
        diag[k] = r.h[k + 1];
        beta[k] = made.beta;
        if (!above) memcpy(r.at(k, k + 1), r.h + k + 1, (n - k - 1) * sizeof(double));
        if (made.beta == 0.0) {
            r.complete(k + 1);
            continue;
        }
        if (above) r.transform_above(k, r.h, made.beta);
        r.sum_columns(k + 1, made.beta);
        r.sum_rows(k + 1, made.beta);
    }
    if (n > 0) r.complete(n - 1);
}

Reflections gather_reflections(const View &h, const double *diag, const double *beta, double *rows) {
    const uint64_t n = h.rows;
    kernels().transpose(n, n, h.p, h.ld, rows, n);
    bool finite = all_finite(beta, n - 1);
    for (uint64_t k = 0; k + 1 < n; k++) {
        rows[k * n + k + 1] = diag[k];
        finite = finite && all_finite(rows + k * n + k + 1, n - k - 1);
    }
    return {n, rows, n, beta, finite};
}

// Columns first .. of the product, those from n on 0. Column j is still a unit vector when the reflections k >= j have
// been applied: as long as these are finite they add zeros.
void expand_strip(const Reflections &r, uint64_t first, uint64_t width, double *strip) {
    memset(strip, 0, r.n * width * sizeof *strip);
    for (uint64_t j = first; j < r.n && j < first + width; j++) strip[j * width + j - first] = 1.0;
    kernels().reflect_columns(r.finite ? smaller(r.n - 1, first + width) : r.n - 1, r.n, width, r.rows, r.ld, r.beta,
                              strip, width);
}

} // namespace sarvo::mh

namespace {

sarko_error_t check(const MAT *A, const VEC *diag, const VEC *beta) {
    if (!A || !diag || !beta) return fail(SarvoMHNullEC);
    const uint64_t steps = A->rows == 0 ? 0 : A->rows - 1;
    if (diag->dim < steps || beta->dim < steps) return fail(SarvoMHSizesEC);
    if (A->rows != A->cols) return fail(SarvoMHSquareEC);
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_Hfactor(MAT *A, VEC *diag, VEC *beta) {
    if (sarko_error_t e = check(A, diag, beta)) return e;
    sarvo::Buffer<double> work;
    if (sarko_error_t e = work.allocate_unset(sarvo::mh::reduction_work(A->rows))) return e;
    sarvo::mh::reduce(sarvo::mh::view(*A), true, diag->elems, beta->elems, work.get());
    return 0;
}

sarko_error_t sarvo_mh_makeHQ(const MAT *H, const VEC *diag, const VEC *beta, MAT **Q) {
    if (!Q) return fail(SarvoMHNullEC);
    if (sarko_error_t e = check(H, diag, beta)) return e;
    constexpr const char *text = "Cannot construct Hessenberg orthogonalising matrix";
    const uint64_t n = H->rows;
    sarvo::Buffer<double> work;
    if (sarko_error_t e = work.allocate_unset(product_of_counts(n, sum_of_counts(n, columns_of_strip(n)))))
        return wrap(e, text);
    if (sarko_error_t e = sarvo::mh::size_exactly(Q, n, n)) return wrap(e, text);
    if (n == 0) return 0;
    const auto r = sarvo::mh::gather_reflections(view(*H), diag->elems, beta->elems, work.get());
    sarvo::mh::expand(r, work.get() + n * n, [Q](uint64_t first, uint64_t count, const double *strip, uint64_t width) {
        for (uint64_t i = 0; i < (*Q)->rows; i++)
            memcpy((*Q)->row_ptrs[i] + first, strip + i * width, count * sizeof(double));
    });
    return 0;
}

sarko_error_t sarvo_mh_makeH(const MAT *H, MAT **out) {
    if (!H || !out) return fail(SarvoMHNullEC);
    if (H->rows != H->cols) return fail(SarvoMHSquareEC);
    if (sarko_error_t e = sarvo_mh_m_copy_(H, out, 0, 0)) return e;
    for (uint64_t i = 2; i < H->rows; i++) memset((*out)->row_ptrs[i], 0, (i - 1) * sizeof(double));
    return 0;
}

} // extern "C"
