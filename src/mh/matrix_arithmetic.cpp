// Sums, multiples and transposes of dense matrices.
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
using sarvo::simd::kernels;

namespace {

constexpr const char *bad_sizes = "Sizes of matrices are not consistent.";

bool same_shape(const MAT &A, const MAT &B) { return A.rows == B.rows && A.cols == B.cols; }

// operation(n, first of A, first of B, first of out) on each row, or once on all of them when they lie together.
template <class Operation> void by_rows(const MAT &A, const MAT &B, MAT &out, Operation operation) {
    const View a = view(A), b = view(B), c = view(out);
    if (a.rows == 0 || a.cols == 0) return;
    if (a.ld == a.cols && b.ld == b.cols && c.ld == c.cols) return operation(a.rows * a.cols, a.p, b.p, c.p);
    for (uint64_t i = 0; i < a.rows; i++) operation(a.cols, a.p + i * a.ld, b.p + i * b.ld, c.p + i * c.ld);
}

using Elementwise = void (*)(uint64_t, const double *, const double *, double *);

sarko_error_t combine(const MAT *A, const MAT *B, MAT **out, Elementwise operation) {
    if (!A || !B || !out) return fail_text(null_matrix);
    if (!same_shape(*A, *B)) return fail_text(bad_sizes);
    if (sarko_error_t e = size_exactly(out, A->rows, A->cols)) return e;
    by_rows(*A, *B, **out, operation);
    return 0;
}

// Exchanges element (i, j) with (j, i), block by block so that both sides stay in the first-level cache.
void transpose_in_place(const View &a) {
    constexpr uint64_t block = 16;
    for (uint64_t i0 = 0; i0 < a.rows; i0 += block)
        for (uint64_t j0 = 0; j0 <= i0; j0 += block)
            for (uint64_t i = i0; i < smaller(i0 + block, a.rows); i++)
                for (uint64_t j = j0; j < smaller(j0 + block, i); j++) {
                    const double x = a.p[i * a.ld + j];
                    a.p[i * a.ld + j] = a.p[j * a.ld + i];
                    a.p[j * a.ld + i] = x;
                }
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_m_add(const MAT *A, const MAT *B, MAT **out) { return combine(A, B, out, kernels().add); }

sarko_error_t sarvo_mh_m_sub(const MAT *A, const MAT *B, MAT **out) { return combine(A, B, out, kernels().subtract); }

sarko_error_t sarvo_mh_sm_mlt(const MAT *A, MAT **out, double s) {
    if (!A || !out) return fail_text(null_matrix);
    if (sarko_error_t e = size_exactly(out, A->rows, A->cols)) return e;
    by_rows(*A, *A, **out,
            [s](uint64_t n, const double *a, const double *, double *c) { kernels().scale(n, s, a, c); });
    return 0;
}

sarko_error_t sarvo_mh_ms_mltadd(const MAT *A, const MAT *B, double s, MAT **out) {
    if (!A || !B || !out) return fail_text("Input matrix(ces) is/are not initialized.");
    if (!same_shape(*A, *B)) return fail_text("Sizes of input matrices are not consistent.");
    if (sarko_error_t e = size_exactly(out, A->rows, A->cols)) return e;
    if (s == 0.0) return sarvo_mh_m_copy_(A, out, 0, 0);
    if (s == 1.0) by_rows(*A, *B, **out, kernels().add);
    else
        by_rows(*A, *B, **out,
                [s](uint64_t n, const double *a, const double *b, double *c) { kernels().scale_add(n, s, b, a, c); });
    return 0;
}

sarko_error_t sarvo_mh_m_transp(const MAT *A, MAT **out) {
    if (!A || !out) return fail_text(null_matrix);
    if (A == *out) {
        if (A->rows != A->cols) return fail_text("Input matrix coincides with output but is not square.");
        transpose_in_place(view(*A));
        return 0;
    }
    if (sarko_error_t e = size_exactly(out, A->cols, A->rows)) return e;
    const View a = view(*A), t = view(**out);
    kernels().transpose(a.rows, a.cols, a.p, a.ld, t.p, t.ld);
    return 0;
}

} // extern "C"
