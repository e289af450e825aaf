// Products of dense matrices with matrices and vectors.
#include <sarvo/mh/arithmetic.h>

#include <string.h>

#include "dense.h"
#include "simd/simd.h"

using sarvo::mh::fail_text;
using sarvo::mh::null_matrix;
using sarvo::mh::size_exactly;
using sarvo::mh::smaller;
using sarvo::mh::View;
using sarvo::mh::view;
using sarvo::simd::Kernels;
using sarvo::simd::kernels;

namespace {

constexpr const char *bad_sizes = "Sizes of matrices are not consistent.";
constexpr const char *coincides = "Input matrix(ces) coincide with output matrix.";
constexpr const char *null_operand = "Input matrix and/or vector are/is not initialized.";
constexpr const char *bad_vector_size = "Sizes of matrix and vector are not consistent.";
constexpr const char *vector_coincides = "Input vector coincides with output vector.";

// out = a b by one of the product kernels; a transposed a has its strides exchanged.
sarko_error_t multiply(decltype(Kernels::product) kernel, uint64_t m, uint64_t n, uint64_t k, const View &a,
                       bool transposed, const View &b, MAT **out) {
    sarvo::Buffer<double> work;
    if (sarko_error_t e = work.allocate_unset(kernels().product_work(m, n, k))) return e;
    if (sarko_error_t e = size_exactly(out, m, n)) return e;
    const View c = view(**out);
    kernel(m, n, k, a.p, transposed ? 1 : a.ld, transposed ? a.ld : 1, b.p, b.ld, c.p, c.ld, work.get());
    return 0;
}

// y = y + s(i) row i, i ascending; rows with s(i) exactly 0 are left out.
void add_rows(uint64_t rows, uint64_t n, double *const *row, const double *s, double *y) {
    constexpr uint64_t batch = 64;
    const double *kept[batch];
    double factors[batch];
    for (uint64_t i = 0; i < rows;) {
        const uint64_t run = kernels().first_zero(rows - i, s + i); // a NaN is not
        if (run >= batch / 2 || run == rows - i) {
            kernels().add_rows(run, n, row + i, s + i, y);
            i += run;
            continue;
        }
        uint64_t count = 0;
        for (; i < rows && count < batch; i++) {
            if (s[i] == 0.0) continue;
            kept[count] = row[i];
            factors[count++] = s[i];
        }
        kernels().add_rows(count, n, kept, factors, y);
    }
}

// The checks of u + alpha A w and u + alpha w' A, and out = u.
sarko_error_t copy_addend(const VEC *u, const VEC *w, const MAT *A, bool transposed, VEC **out) {
    if (!u || !w || !A || !out) return fail_text("Input vector(s) and/or matrix is/are not initialized.");
    if (w == *out) return fail_text(vector_coincides);
    if ((transposed ? A->cols : A->rows) != u->dim || (transposed ? A->rows : A->cols) != w->dim)
        return fail_text("Sizes of input vectors and matrix are not consistent.");
    return sarvo_mh_v_copy_(u, out, 0);
}

sarko_error_t check_matrix_vector(const MAT *A, const VEC *b, bool transposed, VEC *const *out) {
    if (!A || !b || !out) return fail_text(null_operand);
    if ((transposed ? A->rows : A->cols) != b->dim) return fail_text(bad_vector_size);
    if (b == *out) return fail_text(vector_coincides);
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_m_mlt(const MAT *A, const MAT *B, MAT **out) {
    if (!A || !B || !out) return fail_text(null_matrix);
    if (A->cols != B->rows) return fail_text(bad_sizes);
    if (*out == A || *out == B) return fail_text(coincides);
    return multiply(kernels().product, A->rows, B->cols, A->cols, view(*A), false, view(*B), out);
}

sarko_error_t sarvo_mh_mmtr_mlt(const MAT *A, const MAT *B, MAT **out) {
    if (!A || !B || !out) return fail_text(null_matrix);
    if (*out == A || *out == B) return fail_text(coincides);
    if (A->cols != B->cols) return fail_text(bad_sizes);
    return multiply(kernels().product_transposed, A->rows, B->rows, A->cols, view(*A), false, view(*B), out);
}

sarko_error_t sarvo_mh_mtrm_mlt(const MAT *A, const MAT *B, MAT **out) {
    if (!A || !B || !out) return fail_text(null_matrix);
    if (*out == A || *out == B) return fail_text(coincides);
    if (A->rows != B->rows) return fail_text(bad_sizes);
    return multiply(kernels().product, A->cols, B->cols, A->rows, view(*A), true, view(*B), out);
}

sarko_error_t sarvo_mh_mv_mlt(const MAT *A, const VEC *b, VEC **out) {
    if (sarko_error_t e = check_matrix_vector(A, b, false, out)) return e;
    if (sarko_error_t e = size_exactly(out, A->rows)) return e;
    const View a = view(*A);
    kernels().dot_rows(a.rows, a.cols, a.p, a.ld, b->elems, (*out)->elems);
    return 0;
}

sarko_error_t sarvo_mh_vm_mlt(const MAT *A, const VEC *b, VEC **out) {
    if (sarko_error_t e = check_matrix_vector(A, b, true, out)) return e;
    if (sarko_error_t e = size_exactly(out, A->cols)) return e;
    sarvo_mh_v_zero(*out);
    add_rows(A->rows, A->cols, A->row_ptrs, b->elems, (*out)->elems);
    return 0;
}

sarko_error_t sarvo_mh_mv_mltadd(const VEC *u, const VEC *w, const MAT *A, double alpha, VEC **out) {
    if (sarko_error_t e = copy_addend(u, w, A, false, out)) return e;
    if (alpha == 0.0) return 0;
    constexpr uint64_t batch = 128;
    double sums[batch];
    const View a = view(*A);
    for (uint64_t i = 0; i < a.rows; i += batch) {
        const uint64_t count = smaller(batch, a.rows - i);
        kernels().dot_rows(count, a.cols, a.p + i * a.ld, a.ld, w->elems, sums);
        kernels().axpy(count, alpha, sums, (*out)->elems + i);
    }
    return 0;
}

sarko_error_t sarvo_mh_vm_mltadd(const VEC *u, const VEC *w, const MAT *A, double alpha, VEC **out) {
    if (sarko_error_t e = copy_addend(u, w, A, true, out)) return e;
    if (alpha == 0.0) return 0;
    constexpr uint64_t batch = 64;
    double factors[batch];
    for (uint64_t i = 0; i < A->rows; i += batch) {
        const uint64_t count = smaller(batch, A->rows - i);
        kernels().scale(count, alpha, w->elems + i, factors);
        add_rows(count, A->cols, A->row_ptrs + i, factors, (*out)->elems);
    }
    return 0;
}

} // extern "C"
