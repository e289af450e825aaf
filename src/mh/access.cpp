// Rows, columns and views of dense objects.
#include <sarvo/mh/permutation.h>

#include <string.h>

#include "dense.h"

using sarvo::fail;
using sarvo::mh::size_at_least;
using sarvo::mh::smaller;

namespace {

// The checks of an exchange.
sarko_error_t check_exchange(const MAT *A, uint64_t i, uint64_t j, bool rows) {
    if (!A) return sarvo::mh::fail_text(sarvo::mh::null_matrix);
    const uint64_t bound = rows ? A->rows : A->cols;
    if (i == 0 || j == 0 || i >= bound || j >= bound) return sarvo::mh::fail_text("Wrong input indices.");
    return 0;
}

// One past the last of the positions lo .. min(hi, limit - 1).
uint64_t range_end(uint64_t hi, uint64_t limit) { return hi < limit ? hi + 1 : limit; }

void exchange(double &x, double &y) {
    const double t = x;
    x = y;
    y = t;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_get_col(const MAT *A, uint64_t j, VEC **out) {
    if (!A || !out) return fail(SarvoMHNullEC);
    if (j >= A->cols) return fail(SarvoMHRangeEC);
    if (sarko_error_t e = size_at_least(out, A->rows)) return e;
    for (uint64_t i = 0; i < A->rows; i++) (*out)->elems[i] = A->row_ptrs[i][j];
    return 0;
}

sarko_error_t sarvo_mh_get_row(const MAT *A, uint64_t i, VEC **out) {
    if (!A || !out) return fail(SarvoMHNullEC);
    if (i >= A->rows) return fail(SarvoMHRangeEC);
    if (sarko_error_t e = size_at_least(out, A->cols)) return e;
    if (A->cols != 0) memcpy((*out)->elems, A->row_ptrs[i], A->cols * sizeof(double));
    return 0;
}

sarko_error_t sarvo_mh_set_col_(MAT *A, uint64_t j, const VEC *v, uint64_t i0) {
    if (!A || !v) return fail(SarvoMHNullEC);
    if (j >= A->cols) return fail(SarvoMHRangeEC);
    for (uint64_t i = i0; i < smaller(A->rows, v->dim); i++) A->row_ptrs[i][j] = v->elems[i];
    return 0;
}

sarko_error_t sarvo_mh_set_row_(MAT *A, uint64_t i, const VEC *v, uint64_t j0) {
    if (!A || !v) return fail(SarvoMHNullEC);
    if (i >= A->rows) return fail(SarvoMHRangeEC);
    for (uint64_t j = j0; j < smaller(A->cols, v->dim); j++) A->row_ptrs[i][j] = v->elems[j];
    return 0;
}

sarko_error_t sarvo_mh_swap_rows(MAT *A, uint64_t i, uint64_t j, uint64_t lo, uint64_t hi) {
    if (sarko_error_t e = check_exchange(A, i, j, true)) return e;
    for (uint64_t k = lo; k < range_end(hi, A->cols); k++) exchange(A->row_ptrs[k][i], A->row_ptrs[k][j]);
    return 0;
}

sarko_error_t sarvo_mh_swap_cols(MAT *A, uint64_t i, uint64_t j, uint64_t lo, uint64_t hi) {
    if (sarko_error_t e = check_exchange(A, i, j, false)) return e;
    for (uint64_t k = lo; k < range_end(hi, A->rows); k++) exchange(A->row_ptrs[i][k], A->row_ptrs[j][k]);
    return 0;
}

sarko_error_t sarvo_mh_sub_mat(const MAT *A, uint64_t r0, uint64_t c0, uint64_t r1, uint64_t c1, MAT **out) {
    if (!A || !out) return fail(SarvoMHNullEC);
    if (r1 < r0 || c1 < c0 || r1 >= A->rows || c1 >= A->cols) return fail(SarvoMHRangeEC);
    const uint64_t rows = r1 - r0 + 1;
    sarvo::Buffer<MAT> record;
    sarvo::Buffer<double *> pointers;
    if (!*out)
        if (sarko_error_t e = record.allocate(1)) return e;
    MAT *view = *out ? *out : record.get();
    if (view->rows < rows) {
        if (sarko_error_t e = pointers.allocate(rows)) return e;
        view->row_ptrs = pointers.release();
    }
    view->rows = rows;
    view->cols = c1 - c0 + 1;
    view->base = nullptr;
    for (uint64_t k = 0; k < rows; k++) view->row_ptrs[k] = A->row_ptrs[r0 + k] + c0;
    if (!*out) *out = record.release();
    return 0;
}

sarko_error_t sarvo_mh_sub_vec(const VEC *x, uint64_t i0, uint64_t i1, VEC **out) {
    if (!x || !out) return fail(SarvoMHNullEC);
    if (i1 < i0 || i1 > x->dim) return fail(SarvoMHRangeEC);
    if (!*out) {
        sarvo::Buffer<VEC> record;
        if (sarko_error_t e = record.allocate(1)) return e;
        *out = record.release();
    }
    (*out)->dim = i1 - i0 + 1;
    (*out)->elems = x->elems + i0;
    return 0;
}

} // extern "C"
