// Inner products, sums, extremes and norms of dense vectors and matrices.
#include <sarvo/mh/arithmetic.h>

#include <math.h>

#include "dense.h"
#include "simd/simd.h"
#include "sums.h"

using sarvo::fail;
using sarvo::mh::fail_text;
using sarvo::mh::null_matrix;
using sarvo::mh::smaller;
using sarvo::mh::View;
using sarvo::mh::view;
using sarvo::simd::kernels;

namespace {

// The checks of the scaled norms; the codes differ between them.
sarko_error_t check_norm(const VEC *x, const VEC *scale, const double *res, uint32_t null_code, uint32_t sizes_code) {
    if (!x || !res) return fail(null_code, sarvo::mh::null_vector);
    if (scale && scale->dim < x->dim) return fail(sizes_code, "Sizes of input vectors are not consistent.");
    return 0;
}

// accumulate(x(i) / scale(i)), i ascending; a scale of exactly 0 leaves the element as it is.
template <class Accumulate> void scaled_elements(const VEC &x, const VEC *scale, Accumulate accumulate) {
    if (!scale)
        for (uint64_t i = 0; i < x.dim; i++) accumulate(x.elems[i]);
    else
        for (uint64_t i = 0; i < x.dim; i++) {
            const double s = scale->elems[i];
            accumulate(s == 0.0 ? x.elems[i] : x.elems[i] / s);
        }
}

using Find = uint64_t (*)(uint64_t, const double *);

sarko_error_t extreme(const VEC *x, uint64_t *index, double *value, Find find) {
    if (!x) return fail(SarvoMHNullEC);
    if (x->dim == 0) return fail(SarvoMHSizesEC);
    const uint64_t i = find(x->dim, x->elems);
    if (index) *index = i;
    if (value) *value = x->elems[i];
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_in_prod_(const VEC *a, const VEC *b, uint64_t i0, double *res) {
    if (!a || !b || !res) return fail(SarvoMHNullEC);
    const uint64_t dim = smaller(a->dim, b->dim);
    if (dim < i0) return fail(SarvoMHBoundsEC);
    *res = sarvo::mh::dot(dim - i0, a->elems + i0, b->elems + i0);
    return 0;
}

sarko_error_t sarvo_mh_v_sum(const VEC *x, double *res) {
    if (!x || !res) return fail(SarvoMHNullEC);
    double sum = 0.0;
    for (uint64_t i = 0; i < x->dim; i++) sum += x->elems[i];
    *res = sum;
    return 0;
}

sarko_error_t sarvo_mh_v_min(const VEC *x, uint64_t *imin, double *vmin) {
    return extreme(x, imin, vmin, kernels().min_index);
}

sarko_error_t sarvo_mh_v_max(const VEC *x, uint64_t *imax, double *vmax) {
    return extreme(x, imax, vmax, kernels().max_index);
}

sarko_error_t sarvo_mh_v_norm1_s(const VEC *x, const VEC *scale, double *res) {
    if (sarko_error_t e = check_norm(x, scale, res, 0, 0)) return e;
    double sum = 0.0;
    scaled_elements(*x, scale, [&sum](double t) { sum += fabs(t); });
    *res = sum;
    return 0;
}

sarko_error_t sarvo_mh_v_norm2_s(const VEC *x, const VEC *scale, double *res) {
    if (sarko_error_t e = check_norm(x, scale, res, SarvoMHNullEC, SarvoMHSizesEC)) return e;
    double sum = 0.0;
    scaled_elements(*x, scale, [&sum](double t) { sum += t * t; });
    *res = sqrt(sum);
    return 0;
}

sarko_error_t sarvo_mh_v_norminf_s(const VEC *x, const VEC *scale, double *res) {
    if (sarko_error_t e = check_norm(x, scale, res, 0, 0)) return e;
    double largest = 0.0;
    if (!scale) largest = kernels().max_abs(x->dim, x->elems);
    else
        scaled_elements(*x, scale, [&largest](double t) {
            if (fabs(t) > largest) largest = fabs(t);
        });
    *res = largest;
    return 0;
}

sarko_error_t sarvo_mh_m_norm1(const MAT *A, double *res) {
    if (!A || !res) return fail_text(null_matrix);
    const View a = view(*A);
    *res = kernels().max_column_sum(a.rows, a.cols, a.p, a.ld);
    return 0;
}

sarko_error_t sarvo_mh_m_norm_inf(const MAT *A, double *res) {
    if (!A || !res) return fail_text(null_matrix);
    const View a = view(*A);
    *res = kernels().max_row_sum(a.rows, a.cols, a.p, a.ld);
    return 0;
}

sarko_error_t sarvo_mh_m_norm_frob(const MAT *A, double *res) {
    if (!A || !res) return fail_text(null_matrix);
    double sum = 0.0;
    for (uint64_t i = 0; i < A->rows; i++) sum = sarvo::mh::dot(A->cols, A->row_ptrs[i], A->row_ptrs[i], sum);
    *res = sqrt(sum);
    return 0;
}

} // extern "C"
