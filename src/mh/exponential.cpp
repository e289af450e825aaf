// The exponential of a matrix: scaling and squaring with a diagonal Pade approximant.
#include <sarvo/mh/arithmetic.h>
#include <sarvo/mh/function.h>
#include <sarvo/mh/solve.h>

#include <math.h>
#include <string.h>

#include "core/elementary.h"
#include "dense.h"
#include "lu.h"
#include "polynomial.h"
#include "simd/simd.h"
#include "transposed_solve.h"

using sarvo::fail;
using sarvo::mh::all_finite;
using sarvo::mh::fail_text;
using sarvo::mh::TemporaryMatrix;
using sarvo::mh::view;
using sarvo::simd::kernels;

namespace {

constexpr double ln_2 = 0.6931471805599453;
constexpr uint64_t most_degree = 32; // with the least positive double as eps the degree is 27

// Degree of the approximant.
uint64_t degree_for(double eps) {
    double c = 0.16666666666666666;
    uint64_t q = 1;
    for (; eps < c && q < most_degree; q++) {
        const auto x = static_cast<double>(q);
        c = c / ((2.0 * x + 3.0) * (2.0 * x + 1.0) * 16.0);
    }
    return q;
}

// Coefficients of numerator and denominator.
void set_coefficients(uint64_t q, double *numerator, double *denominator) {
    numerator[0] = denominator[0] = 1.0;
    const auto degree = static_cast<double>(q);
    for (uint64_t i = 1; i <= q; i++) {
        const auto x = static_cast<double>(i);
        numerator[i] = numerator[i - 1] * (degree - x + 1.0) / (x * (2.0 * degree - x + 1.0));
        denominator[i] = i % 2 ? -numerator[i] : numerator[i];
    }
}

// *X = inverse(D) N for the scaled matrix A, of degree q.
sarko_error_t approximate(MAT *A, uint64_t q, MAT **X) {
    const uint64_t n = A->rows, r = sarvo::mh::horner_block(q);
    double numerator[most_degree + 1], denominator[most_degree + 1];
    set_coefficients(q, numerator, denominator);
    const double *const coefficients[] = {numerator, denominator};
    TemporaryMatrix P, tmp;
    sarvo::Buffer<double> work;
    if (r > 1)
        if (sarko_error_t e = sarvo_mh_m_pow_(A, static_cast<int32_t>(r), &tmp.p, &P.p)) return e;
    if (sarko_error_t e = work.allocate_unset(2 * n * n + sarvo::mh::polynomial_work(n, q, 2))) return e;
    double *both = work.get(); // N and D side by side
    sarvo::mh::evaluate_polynomials(view(*A), view(r > 1 ? *P.p : *A), q, 2, coefficients, both, both + 2 * n * n);
    TemporaryMatrix D;
    sarvo::mh::TemporaryPermutation pivot;
    if (sarko_error_t e = sarvo_mh_m_get(n, n, &D.p)) return e;
    if (sarko_error_t e = sarvo_mh_px_get(static_cast<int32_t>(n), &pivot.p)) return e;
    kernels().transpose(n, n, both + n, 2 * n, D.p->base, n);
    if (sarko_error_t e = sarvo_mh_LUfactor(D.p, pivot.p)) return e;
    if (sarko_error_t e = sarvo::mh::size_exactly(X, n, n)) return e;
    return sarvo::mh::solve_transposed(*D.p, *pivot.p, {both, n, n, 2 * n}, view(**X));
}

// *q_out and *j_out come with the values for the zero matrix.
sarko_error_t exponential(const MAT *A, double eps, MAT **out, int32_t *q_out, int32_t *j_out) {
    const uint64_t n = A->rows;
    double norm;
    if (sarko_error_t e = sarvo_mh_m_norm_inf(A, &norm)) return e;
    if (!all_finite(view(*A)) || !(norm < INFINITY)) return fail(SarvoMHRangeEC);
    if (norm <= 0.0) {
        if (sarko_error_t e = sarvo::mh::size_exactly(out, n, n)) return e;
        sarvo_mh_m_ident(*out);
        return 0;
    }
    const double exponent = floor(sarvo::elementary::log(norm) / ln_2 + 1.0);
    const int32_t j = exponent > 0.0 ? static_cast<int32_t>(exponent) : 0;
    const uint64_t q = degree_for(eps == 0.0 ? SarvoDblEps : eps);
    TemporaryMatrix scaled, X;
    if (sarko_error_t e = sarvo_mh_sm_mlt(A, &scaled.p, scalbn(1.0, -j))) return e;
    if (sarko_error_t e = approximate(scaled.p, q, &X.p)) return e;
    for (int32_t s = 0; s < j; s++) {
        if (sarko_error_t e = sarvo_mh_m_mlt(X.p, X.p, &scaled.p)) return e;
        MAT *t = X.p;
        X.p = scaled.p;
        scaled.p = t;
    }
    if (sarko_error_t e = sarvo::mh::size_exactly(out, n, n)) return e;
    *q_out = static_cast<int32_t>(q);
    *j_out = j;
    return sarvo_mh_m_copy_(X.p, out, 0, 0);
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_m_exp_(const MAT *A, double eps, MAT **out, int32_t *q_out, int32_t *j_out) {
    if (!A || !out) return fail_text(sarvo::mh::null_matrix);
    if (A->rows != A->cols) return fail_text("Input matrix is not square.");
    if (*out == A) return fail_text("Input matrix coincides with output matrix.");
    if (eps < 0.0) return fail_text("Invalid precision requested.");
    int32_t q = -1, j = 0;
    const sarko_error_t e = exponential(A, eps, out, &q, &j);
    if (e) {
        sarvo_mh_m_free(*out);
        *out = nullptr;
        return e;
    }
    if (q_out) *q_out = q;
    if (j_out) *j_out = j;
    return 0;
}

sarko_error_t sarvo_mh_m_exp(const MAT *A, double eps, MAT **out) {
    return sarvo_mh_m_exp_(A, eps, out, nullptr, nullptr);
}

} // extern "C"
