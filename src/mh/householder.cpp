// Householder reflections of vectors and matrices.
#include <sarvo/mh/orthogonal.h>

#include "orthogonal.h"
#include "simd/simd.h"
#include "sums.h"

using sarvo::fail;
using sarvo::mh::size_at_least;
using sarvo::mh::smaller;
using sarvo::mh::View;
using sarvo::mh::view;
using sarvo::simd::kernels;

extern "C" {

sarko_error_t sarvo_mh_hhvec(const VEC *vec, uint64_t i0, double *beta, VEC **out, double *newval) {
    if (!vec || !beta || !out || !newval) return sarvo::mh::fail_text(sarvo::mh::null_vector);
    if (i0 > vec->dim) return fail(SarvoMHBoundsEC);
    if (sarko_error_t e = sarvo_mh_v_copy_(vec, out, i0)) return e;
    const sarvo::mh::Reflection r = sarvo::mh::reflection(vec->dim - i0, (*out)->elems + i0);
    *beta = r.beta;
    if (r.made) *newval = r.newval;
    return 0;
}

sarko_error_t sarvo_mh_hhtrvec(const VEC *hh, double beta, uint64_t i0, const VEC *in, VEC **out) {
    if (!hh || !in || !out) return fail(SarvoMHNullEC);
    if (in->dim != hh->dim) return fail(SarvoMHSizesEC);
    if (i0 > in->dim) return fail(SarvoMHBoundsEC);
    if (sarko_error_t e = sarvo_mh_v_copy_(in, out, 0)) return e;
    const uint64_t n = in->dim - i0;
    double *x = (*out)->elems + i0;
    const double scaled = beta * sarvo::mh::dot(n, hh->elems + i0, x);
    kernels().axpy(n, -scaled, hh->elems + i0, x);
    return 0;
}

sarko_error_t sarvo_mh_hhtrrows(MAT *M, uint64_t i0, uint64_t j0, const VEC *hh, double beta) {
    if (!M || !hh) return fail(SarvoMHNullEC);
    if (M->cols != hh->dim) return fail(SarvoMHRangeEC);
    if (j0 > M->cols || i0 > M->rows) return fail(SarvoMHBoundsEC);
    if (beta == 0.0) return 0;
    constexpr uint64_t block = 16; // rows that stay in the first-level cache between the two passes
    const View a = sarvo::mh::view(*M);
    const uint64_t n = a.cols - j0;
    for (uint64_t i = i0; i < a.rows; i += block) {
        const uint64_t count = smaller(block, a.rows - i);
        double inner[block];
        kernels().dot_rows(count, n, a.p + i * a.ld + j0, a.ld, hh->elems + j0, inner);
        for (uint64_t r = 0; r < count; r++) {
            const double scaled = beta * inner[r];
            if (scaled != 0.0) kernels().axpy(n, -scaled, hh->elems + j0, a.p + (i + r) * a.ld + j0);
        }
    }
    return 0;
}

sarko_error_t sarvo_mh_hhtrcols_(MAT *M, uint64_t i0, uint64_t j0, const VEC *hh, double beta, VEC **workspace) {
    if (!M || !hh || !workspace) return fail(SarvoMHNullEC);
    if (M->rows != hh->dim) return fail(SarvoMHSizesEC);
    if (i0 > M->rows || j0 > M->cols) return fail(SarvoMHBoundsEC);
    if (beta == 0.0) return 0;
    if (sarko_error_t e = size_at_least(workspace, M->cols)) return e;
    constexpr uint64_t block = 64;
    const uint64_t n = M->cols - j0;
    if (n == 0) return 0;
    double *w = (*workspace)->elems + j0;
    for (uint64_t j = 0; j < n; j++) w[j] = 0.0;
    for (uint64_t i = i0; i < M->rows; i += block) {
        const uint64_t count = smaller(block, M->rows - i);
        const double *rows[block];
        for (uint64_t r = 0; r < count; r++) rows[r] = M->row_ptrs[i + r] + j0;
        kernels().add_rows(count, n, rows, hh->elems + i, w);
    }
    kernels().scale(n, beta, w, w);
    for (uint64_t i = i0; i < M->rows; i++) kernels().axpy(n, -hh->elems[i], w, M->row_ptrs[i] + j0);
    return 0;
}

sarko_error_t sarvo_mh_hhtrcols(void) { return fail(SarvoMHNullEC); }

} // extern "C"
