// Givens rotations of vectors, rows and columns.
#include <sarvo/mh/orthogonal.h>

#include "orthogonal.h"
#include "simd/simd.h"

using sarvo::fail;
using sarvo::simd::kernels;

namespace {

// The new x, then the new y, from the old values; with x and y one place the second remains.
void rotate(double c, double s, double &x, double &y) {
    const double old_x = x, old_y = y;
    x = c * old_x + s * old_y;
    y = c * old_y - s * old_x;
}

// Checks, and makes *out a copy of M.
sarko_error_t prepare(const MAT *M, uint64_t i, uint64_t k, uint64_t MAT::*count, MAT **out) {
    if (!M || !out) return fail(SarvoMHNullEC);
    if (i >= M->*count || k >= M->*count) return fail(SarvoMHRangeEC);
    return M == *out ? 0 : sarvo_mh_m_copy_(M, out, 0, 0);
}

} // namespace

extern "C" {

void sarvo_mh_givens(double *c, double *s, double x, double y) {
    const sarvo::mh::Rotation r = sarvo::mh::rotation(x, y);
    if (c) *c = r.c;
    if (s) *s = r.s;
}

sarko_error_t sarvo_mh_rot_vec(const VEC *x, uint64_t i, uint64_t k, double c, double s, VEC **out) {
    if (!x || !out) return fail(SarvoMHNullEC);
    if (i >= x->dim || k >= x->dim) return fail(SarvoMHRangeEC);
    if (sarko_error_t e = sarvo_mh_v_copy_(x, out, 0)) return e;
    rotate(c, s, (*out)->elems[i], (*out)->elems[k]);
    return 0;
}

sarko_error_t sarvo_mh_rot_rows(const MAT *M, uint64_t i, uint64_t k, double c, double s, MAT **out) {
    if (sarko_error_t e = prepare(M, i, k, &MAT::rows, out)) return e;
    double *x = (*out)->row_ptrs[i], *y = (*out)->row_ptrs[k];
    if (i != k) kernels().rotate(M->cols, c, s, x, y);
    for (uint64_t j = 0; i == k && j < M->cols; j++) rotate(c, s, x[j], x[j]);
    return 0;
}

sarko_error_t sarvo_mh_rot_cols(const MAT *M, uint64_t i, uint64_t k, double c, double s, MAT **out) {
    if (sarko_error_t e = prepare(M, i, k, &MAT::cols, out)) return e;
    for (uint64_t r = 0; r < M->rows; r++) rotate(c, s, (*out)->row_ptrs[r][i], (*out)->row_ptrs[r][k]);
    return 0;
}

} // extern "C"
