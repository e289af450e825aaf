// Triangular solves with one right-hand side: by rows as inner products, by columns as updates, in blocks of rows.
#include <sarvo/mh/solve.h>

#include <math.h>

#include "dense.h"
#include "simd/simd.h"
#include "sums.h"

using sarvo::fail;
using sarvo::mh::size_at_least;
using sarvo::mh::smaller;
using sarvo::mh::View;
using sarvo::mh::view;
using sarvo::simd::kernels;

namespace {

constexpr uint64_t block = 16; // rows solved together

// Checks and sizes; dim = min(rows, cols).
sarko_error_t prepare(const MAT *A, const VEC *b, VEC **out, uint64_t *dim) {
    if (!A || !b || !out) return sarvo::mh::fail_text("Input matrix and/or vector are/is not initialized.");
    *dim = smaller(A->rows, A->cols);
    if (b->dim < *dim) return sarvo::mh::fail_text("Sizes of input matrix and vector are not consistent.");
    return size_at_least(out, *dim);
}

// The divisions of one solve.
struct Diagonal {
    const View &a;
    double diag; // 0: the stored one

    // x / diagonal element i, or false for a singular one. Division by 1 changes nothing.
    bool divide(uint64_t i, double *x) const {
        if (diag == 1.0) return true;
        const double d = diag != 0.0 ? diag : a.p[i * a.ld + i];
        if (diag == 0.0 && !(fabs(d) > 0.0 * fabs(*x))) return false;
        *x = *x / d;
        return true;
    }
    // The same with the reciprocal of a given diagonal.
    bool scale(uint64_t i, double *x) const {
        if (diag == 0.0) return divide(i, x);
        *x = *x * (1.0 / diag);
        return true;
    }
};

// First index with an element that is not exactly 0, else dim; and one past the last, else 0.
uint64_t first_nonzero(const double *b, uint64_t dim) {
    uint64_t f = 0;
    while (f < dim && b[f] == 0.0) f++;
    return f;
}
uint64_t end_of_nonzero(const double *b, uint64_t dim) {
    while (dim > 0 && b[dim - 1] == 0.0) dim--;
    return dim;
}

void set_zero(double *x, uint64_t from, uint64_t to) {
    for (uint64_t i = from; i < to; i++) x[i] = 0.0;
}

// x(j) -= x(i) a(i,j) for the rows i in `order` (first, step, count) and the columns from .. from+n-1.
void subtract_rows(const View &a, double *x, uint64_t first, int64_t step, uint64_t count, uint64_t from, uint64_t n) {
    const double *rows[block];
    double factors[block];
    for (uint64_t t = 0; t < count; t++) {
        const uint64_t i = first + static_cast<uint64_t>(step * static_cast<int64_t>(t));
        rows[t] = a.p + i * a.ld + from;
        factors[t] = -x[i];
    }
    kernels().add_rows(count, n, rows, factors, x + from);
}

} // namespace

extern "C" {

// Rows i0 .. of a block take their sums over columns f .. i0-1 together, one lane a row; then come the terms of the
// block's own columns: each unknown is added to the sums of the rows behind as soon as it is known.
sarko_error_t sarvo_mh_Lsolve(const MAT *L, const VEC *b, VEC **out, double diag) {
    uint64_t dim;
    if (sarko_error_t e = prepare(L, b, out, &dim)) return e;
    const View a = view(*L);
    const Diagonal diagonal{a, diag};
    double *x = (*out)->elems;
    const uint64_t f = first_nonzero(b->elems, dim);
    set_zero(x, 0, f);
    for (uint64_t i0 = f; i0 < dim; i0 += block) {
        const uint64_t rows = smaller(block, dim - i0);
        double sums[block];
        kernels().dot_rows(rows, i0 - f, a.p + i0 * a.ld + f, a.ld, x + f, sums);
        for (uint64_t i = i0; i < i0 + rows; i++) {
            double xi = b->elems[i] - sums[i - i0];
            if (!diagonal.divide(i, &xi)) return fail(SarvoMHSingEC);
            x[i] = xi;
            for (uint64_t r = i + 1; r < i0 + rows; r++) sums[r - i0] += a.p[r * a.ld + i] * xi;
        }
    }
    return 0;
}

// A serial chain as stated: the sum of row i begins with x(i+1).
sarko_error_t sarvo_mh_Usolve(const MAT *U, const VEC *b, VEC **out, double diag) {
    uint64_t dim;
    if (sarko_error_t e = prepare(U, b, out, &dim)) return e;
    const View a = view(*U);
    const Diagonal diagonal{a, diag};
    double *x = (*out)->elems;
    const uint64_t end = end_of_nonzero(b->elems, dim);
    set_zero(x, end, dim);
    double last = 0.0; // x(i+1): not taken from memory, where it has only just been stored
    for (uint64_t i = end; i-- > 0;) {
        const double *row = a.p + i * a.ld;
        double sum = 0.0;
        if (i + 1 < end) sum = sarvo::mh::dot(end - i - 2, row + i + 2, x + i + 2, sum + row[i + 1] * last);
        last = b->elems[i] - sum;
        if (!diagonal.divide(i, &last)) return fail(SarvoMHSingEC);
        x[i] = last;
    }
    return 0;
}

// Each block of rows is solved with its own columns; then all its rows are subtracted from the rest at once.
sarko_error_t sarvo_mh_UTsolve(const MAT *U, const VEC *b, VEC **out, double diag) {
    uint64_t dim;
    if (sarko_error_t e = prepare(U, b, out, &dim)) return e;
    const View a = view(*U);
    const Diagonal diagonal{a, diag};
    double *x = (*out)->elems;
    const uint64_t f = first_nonzero(b->elems, dim);
    for (uint64_t i = f; i < dim; i++) x[i] = b->elems[i];
    set_zero(x, 0, f);
    for (uint64_t i0 = f; i0 < dim; i0 += block) {
        const uint64_t end = smaller(i0 + block, dim);
        uint64_t i = i0;
        for (; i < end && diagonal.scale(i, x + i); i++)
            for (uint64_t j = i + 1; j < end; j++) x[j] -= x[i] * a.p[i * a.ld + j];
        subtract_rows(a, x, i0, 1, i - i0, end, dim - end);
        if (i < end) return fail(SarvoMHSingEC);
    }
    return 0;
}

sarko_error_t sarvo_mh_LTsolve(const MAT *L, const VEC *b, VEC **out, double diag) {
    uint64_t dim;
    if (sarko_error_t e = prepare(L, b, out, &dim)) return e;
    const View a = view(*L);
    const Diagonal diagonal{a, diag};
    double *x = (*out)->elems;
    const uint64_t end = end_of_nonzero(b->elems, dim);
    for (uint64_t i = 0; i < end; i++) x[i] = b->elems[i];
    set_zero(x, end, dim);
    for (uint64_t last = end; last > 0; last -= smaller(block, last)) { // rows first .. last-1, downwards
        const uint64_t first = last - smaller(block, last);
        uint64_t i = last;
        for (; i > first && diagonal.scale(i - 1, x + i - 1); i--)
            for (uint64_t j = first; j < i - 1; j++) x[j] -= x[i - 1] * a.p[(i - 1) * a.ld + j];
        subtract_rows(a, x, last - 1, -1, last - i, 0, first);
        if (i > first) return fail(SarvoMHSingEC);
    }
    return 0;
}

sarko_error_t sarvo_mh_Dsolve(const MAT *A, const VEC *b, VEC **x) {
    if (!A || !b || !x) return sarvo::mh::fail_text("Input matrix and/or vector are/is not initialized.");
    const uint64_t dim = smaller(A->rows, A->cols);
    if (b->dim < dim) return sarvo::mh::fail_text("Sizes of input matrix and vector are not consistent.");
    if (sarko_error_t e = sarvo::mh::size_exactly(x, A->cols)) return e;
    for (uint64_t i = 0; i < dim; i++) {
        const double d = A->row_ptrs[i][i], bi = b->elems[i];
        if (fabs(d) <= 0.0 * fabs(bi)) return fail(SarvoMHSingEC);
        (*x)->elems[i] = bi / d;
    }
    return 0;
}

} // extern "C"
