// What follows from a singular value decomposition: order, pseudo-inverse, solves, bases of the range and the null
// space.
#include <sarvo/nr.h>

#include <string.h>

#include "core/fail.h"
#include "shell_sort.h"
#include "simd/simd.h"

namespace sarvo::nr {
namespace {

double *row(const sarvo_matrix *m, uint64_t i) { return static_cast<double *>(m->row_ptrs[i]); }
double *elements(const sarvo_vector *v) { return static_cast<double *>(v->data); }

sarko_error_t require_decomposition(const sarvo_nr_svd *svd) {
    if (!svd) return fail(SarvoNullEC, "SVD structure is not initialized");
    return svd->done == 1 ? 0 : fail(SarvoNrSvdNotReadyEC);
}

sarko_error_t require_doubles(uint32_t dtype) {
    return dtype == SARVO_DOUBLE ? 0 : failf(SarvoDtypeEC, "Invalid data type %d", static_cast<int>(dtype));
}

// Null outputs are made later; existing ones must hold doubles.
template <class Object> sarko_error_t require_output(Object *const *out) {
    if (!out) return fail(SarvoNullEC);
    return *out ? require_doubles((*out)->dtype) : 0;
}

// A missing output, or one that is smaller in a direction, becomes rows x cols.
sarko_error_t resize_smaller(sarvo_matrix **out, uint64_t rows, uint64_t cols) {
    if (*out && (*out)->rows >= rows && (*out)->cols >= cols) return 0;
    return sarvo_matrix_realloc(out, SARVO_DOUBLE, 0, rows, cols);
}

sarko_error_t allocate_elements(Buffer<double> &buffer, uint64_t rows, uint64_t cols) {
    uint64_t count;
    if (__builtin_mul_overflow(rows, cols, &count))
        return failf(SarvoOverflowEC, "Too large size for rows=%zu cols=%zu", rows, cols);
    return buffer.allocate(count);
}

// t(j) = t(j) / w(j), or 0 where w(j) is not above the threshold, for a row of `cols` values.
void divide_by_singular_value(const sarvo_nr_svd *svd, uint64_t j, double *t, uint64_t cols) {
    const double w = elements(svd->w)[j];
    if (w > svd->thresh)
        for (uint64_t c = 0; c < cols; c++) t[c] = t[c] / w;
    else memset(t, 0, cols * sizeof(double));
}

// The leading n x cols block of X := V T, each element one running sum over j ascending. `work` as for product_add.
void multiply_by_V(const sarvo_nr_svd *svd, const double *T, uint64_t cols, sarvo_matrix *X, double *work) {
    for (uint64_t i = 0; i < svd->n; i++) memset(row(X, i), 0, cols * sizeof(double));
    simd::kernels().product_add(svd->n, cols, svd->n, row(svd->V, 0), svd->V->cols, 1, T, cols, row(X, 0), X->cols,
                                work);
}

// ---- Order and signs ----

// Column k becomes column order(k), row by row; counts the negative entries of each new column.
void permute_columns(sarvo_matrix *M, const uint64_t *order, double *scratch, uint64_t *negatives) {
    for (uint64_t i = 0; i < M->rows; i++) {
        double *r = row(M, i);
        memcpy(scratch, r, M->cols * sizeof(double));
        for (uint64_t k = 0; k < M->cols; k++) {
            r[k] = scratch[order[k]];
            negatives[k] += r[k] < 0.0;
        }
    }
}

void negate_columns(sarvo_matrix *M, const uint64_t *negatives, uint64_t limit) {
    for (uint64_t i = 0; i < M->rows; i++)
        for (uint64_t k = 0; k < M->cols; k++)
            if (negatives[k] > limit) row(M, i)[k] = -row(M, i)[k];
}

sarko_error_t reorder(sarvo_nr_svd *svd) {
    if (sarko_error_t e = require_decomposition(svd)) return e;
    const uint64_t n = svd->n;
    Buffer<uint64_t> order;
    Buffer<uint64_t> negatives;
    Buffer<double> scratch;
    if (sarko_error_t e = order.allocate(n)) return e;
    if (sarko_error_t e = negatives.allocate(n)) return e;
    if (sarko_error_t e = scratch.allocate(n)) return e;
    shell_sort_descending(n, elements(svd->w), order.get());
    permute_columns(svd->U, order.get(), scratch.get(), negatives.get());
    permute_columns(svd->V, order.get(), scratch.get(), negatives.get());
    const uint64_t limit = (svd->m + n) / 2;
    negate_columns(svd->U, negatives.get(), limit);
    negate_columns(svd->V, negatives.get(), limit);
    return 0;
}

// ---- Solves ----

sarko_error_t invert(const sarvo_nr_svd *svd, sarvo_matrix **out) {
    if (sarko_error_t e = require_decomposition(svd)) return e;
    if (sarko_error_t e = require_output(out)) return e;
    Buffer<double> T; // n x m: diag(1/w) U'
    Buffer<double> work;
    if (sarko_error_t e = allocate_elements(T, svd->n, svd->m)) return e;
    if (sarko_error_t e = work.allocate(simd::kernels().product_work(svd->n, svd->m, svd->n))) return e;
    if (sarko_error_t e = resize_smaller(out, svd->n, svd->m)) return e;
    for (uint64_t i = 0; i < svd->m; i++)
        for (uint64_t j = 0; j < svd->n; j++) T[j * svd->m + i] = row(svd->U, i)[j];
    for (uint64_t j = 0; j < svd->n; j++) divide_by_singular_value(svd, j, T.get() + j * svd->m, svd->m);
    multiply_by_V(svd, T.get(), svd->m, *out, work.get());
    return 0;
}

sarko_error_t vsolve(const sarvo_nr_svd *svd, const sarvo_vector *b, sarvo_vector **x) {
    if (sarko_error_t e = require_decomposition(svd)) return e;
    if (!b) return fail(SarvoNullEC);
    if (sarko_error_t e = require_doubles(b->dtype)) return e;
    if (sarko_error_t e = require_output(x)) return e;
    if (b->length != svd->m)
        return failf(SarvoNrSizeEC, "Incompatibles sizes. A[%zu,%zu] b[%zu]", svd->m, svd->n, b->length);
    Buffer<double> t;
    if (sarko_error_t e = t.allocate(svd->n)) return e;
    for (uint64_t i = 0; i < svd->m; i++) // t = U'b, i ascending
        simd::kernels().axpy(svd->n, elements(b)[i], row(svd->U, i), t.get());
    for (uint64_t j = 0; j < svd->n; j++) divide_by_singular_value(svd, j, t.get() + j, 1);
    if (sarko_error_t e = sarvo_vector_realloc(x, SARVO_DOUBLE, 0, svd->n)) return e;
    for (uint64_t i = 0; i < svd->n; i++) {
        double sum = 0.0;
        for (uint64_t j = 0; j < svd->n; j++) sum += row(svd->V, i)[j] * t[j];
        elements(*x)[i] = sum;
    }
    return 0;
}

sarko_error_t msolve(const sarvo_nr_svd *svd, const sarvo_matrix *B, sarvo_matrix **X) {
    if (sarko_error_t e = require_decomposition(svd)) return e;
    if (!B) return fail(SarvoNullEC);
    if (sarko_error_t e = require_doubles(B->dtype)) return e;
    if (sarko_error_t e = require_output(X)) return e;
    if (B->rows != svd->m)
        return failf(SarvoNrSizeEC, "Incompatibles sizes. B[%zu,%zu] A[%zu,%zu]", B->rows, B->cols, svd->m, svd->n);
    const uint64_t cols = B->cols;
    const simd::Kernels &kernel = simd::kernels();
    const uint64_t work_TB = kernel.product_work(svd->n, cols, svd->m);
    const uint64_t work_VT = kernel.product_work(svd->n, cols, svd->n);
    Buffer<double> T; // n x cols: diag(1/w) U'B
    Buffer<double> work;
    if (sarko_error_t e = allocate_elements(T, svd->n, cols)) return e;
    if (sarko_error_t e = work.allocate(work_TB > work_VT ? work_TB : work_VT)) return e;
    if (cols > 0)
        kernel.product_add(svd->n, cols, svd->m, row(svd->U, 0), 1, svd->U->cols, row(B, 0), cols, T.get(), cols,
                           work.get());
    for (uint64_t j = 0; j < svd->n; j++) divide_by_singular_value(svd, j, T.get() + j * cols, cols);
    if (sarko_error_t e = resize_smaller(X, svd->n, cols)) return e;
    if (cols > 0) multiply_by_V(svd, T.get(), cols, *X, work.get());
    return 0;
}

// ---- Bases ----

// Whether column j is one of the `rank` columns with the largest singular values; of equal ones the first come first.
// Those are the columns with w > thresh, unless the threshold was changed after the decomposition.
bool in_range(const sarvo_nr_svd *svd, uint64_t j) {
    const double *w = elements(svd->w);
    uint64_t ahead = 0;
    for (uint64_t i = 0; i < svd->n; i++) ahead += w[i] > w[j] || (w[i] == w[j] && i < j);
    return ahead < svd->rank;
}

// The `count` columns of M that belong to the range, or to the null space, in order.
sarko_error_t select_columns(const sarvo_nr_svd *svd, const sarvo_matrix *M, bool of_range, uint64_t count,
                             sarvo_matrix **out) {
    Buffer<uint64_t> columns;
    if (sarko_error_t e = columns.allocate(count)) return e;
    uint64_t chosen = 0;
    for (uint64_t j = 0; j < svd->n && chosen < count; j++)
        if (in_range(svd, j) == of_range) columns[chosen++] = j;

    if (sarko_error_t e = sarvo_matrix_realloc(out, SARVO_DOUBLE, SARVO_REALLOC_DTYPE, M->rows, count)) return e;
    for (uint64_t i = 0; i < M->rows; i++)
        for (uint64_t k = 0; k < count; k++) row(*out, i)[k] = row(M, i)[columns[k]];
    return 0;
}

sarko_error_t range(const sarvo_nr_svd *svd, sarvo_matrix **out) {
    if (sarko_error_t e = require_decomposition(svd)) return e;
    if (!out) return fail(SarvoNullEC);
    if (svd->rank == 0) return fail(SarvoNrEmptyEC, "Matrix rank is zero");
    return select_columns(svd, svd->U, true, svd->rank, out);
}

sarko_error_t nullspace(const sarvo_nr_svd *svd, sarvo_matrix **out) {
    if (sarko_error_t e = require_decomposition(svd)) return e;
    if (!out) return fail(SarvoNullEC);
    if (svd->nullity == 0) return fail(SarvoNrEmptyEC, "Matrix nullity is zero");
    return select_columns(svd, svd->V, false, svd->nullity, out);
}

} // namespace
} // namespace sarvo::nr

extern "C" {

sarko_error_t sarvo_nr_svd_reorder(sarvo_nr_svd *svd) {
    return sarvo::wrap(sarvo::nr::reorder(svd), "SVD reordering error");
}

sarko_error_t sarvo_nr_svd_invert(const sarvo_nr_svd *svd, sarvo_matrix **out) {
    return sarvo::wrap(sarvo::nr::invert(svd, out), "SVD inverting error");
}

sarko_error_t sarvo_nr_svd_vsolve(const sarvo_nr_svd *svd, const sarvo_vector *b, sarvo_vector **x) {
    return sarvo::wrap(sarvo::nr::vsolve(svd, b, x), "SVD vsolve error");
}

sarko_error_t sarvo_nr_svd_msolve(const sarvo_nr_svd *svd, const sarvo_matrix *B, sarvo_matrix **X) {
    return sarvo::wrap(sarvo::nr::msolve(svd, B, X), "SVD msolve error");
}

sarko_error_t sarvo_nr_svd_range(const sarvo_nr_svd *svd, sarvo_matrix **out) {
    return sarvo::wrap(sarvo::nr::range(svd, out), "SVD range error");
}

sarko_error_t sarvo_nr_svd_nullspace(const sarvo_nr_svd *svd, sarvo_matrix **out) {
    return sarvo::wrap(sarvo::nr::nullspace(svd, out), "SVD nullspace error");
}

} // extern "C"
