// Polynomials of a matrix: Horner's rule in a power of the matrix, all columns at once.
#include "polynomial.h"

#include <sarvo/mh/arithmetic.h>
#include <sarvo/mh/function.h>

#include <math.h>
#include <string.h>

#include "simd/simd.h"

using sarvo::mh::all_finite;
using sarvo::mh::fail_text;
using sarvo::mh::View;
using sarvo::simd::kernels;

namespace {

// out = a b, n x n times n x width: a sum from +0 with no term left out.
void multiply(uint64_t n, uint64_t width, const View &a, const double *b, double *out, double *work) {
    memset(out, 0, n * width * sizeof *out);
    kernels().product_add(n, width, n, a.p, a.ld, 1, b, width, out, width, work);
}

// out = a (c I): the product with its terms that are zero left out, and so without -0.
void multiply_by_identity(uint64_t n, uint64_t width, const View &a, double c, double *out) {
    for (uint64_t i = 0; i < n; i++) {
        kernels().scale(n, c, a.p + i * a.ld, out + i * width);
        kernels().shift(n, 0.0, out + i * width, out + i * width);
    }
}

// Adds coefficients c(0) I + c(1) A + ... of `terms` terms to one polynomial's columns. powers: A^1, A^2, ... packed.
void add_block(uint64_t n, uint64_t width, const double *c, uint64_t terms, const double *powers, double *out) {
    for (uint64_t i = 0; i < n; i++) {
        out[i * width + i] += c[0];
        for (uint64_t t = 1; t < terms; t++) kernels().axpy(n, c[t], powers + (t - 1) * n * n + i * n, out + i * width);
    }
}

} // namespace

namespace sarvo::mh {

uint64_t horner_block(uint64_t degree) {
    const auto r = static_cast<uint64_t>(floor(sqrt(static_cast<double>(degree) * 0.5)));
    return r < 1 ? 1 : r;
}

// The powers A^1 .. A^(r-1) or those that the top block has, the other half of the product, the product's own space.
uint64_t polynomial_work(uint64_t n, uint64_t degree, uint64_t count) {
    return n * n * horner_block(degree) + n * n * count + kernels().product_work(n, n * count, n);
}

void evaluate_polynomials(const View &A, const View &P, uint64_t degree, uint64_t count,
                          const double *const *coefficients, double *out, double *work) {
    const uint64_t n = A.rows, width = n * count, r = horner_block(degree), k = degree / r;
    double *powers = work, *other = work + n * n * r, *product_work = other + n * width;
    for (uint64_t i = 0; r > 1 && i < n; i++) memcpy(powers + i * n, A.p + i * A.ld, n * sizeof *powers);
    for (uint64_t t = 2; t < r; t++)
        multiply(n, n, A, powers + (t - 2) * n * n, powers + (t - 1) * n * n, product_work);
    // The sums alternate between the two buffers and end in out.
    double *sum = k % 2 == 0 ? out : other, *next = k % 2 == 0 ? other : out;
    const uint64_t top = degree - k * r + 1; // terms of the highest block
    // A highest block c I makes the first product a multiple of P, unless 0 times an infinity is among its terms.
    bool multiple_of_identity = top == 1 && all_finite(P);
    for (uint64_t p = 0; p < count; p++) multiple_of_identity &= fabs(coefficients[p][k * r]) < INFINITY;
    if (!multiple_of_identity) {
        memset(sum, 0, n * width * sizeof *sum);
        for (uint64_t p = 0; p < count; p++) add_block(n, width, coefficients[p] + k * r, top, powers, sum + p * n);
    }
    for (uint64_t b = k; b-- > 0;) {
        if (b == k - 1 && multiple_of_identity)
            for (uint64_t p = 0; p < count; p++)
                multiply_by_identity(n, width, P, coefficients[p][k * r], next + p * n);
        else multiply(n, width, P, sum, next, product_work);
        for (uint64_t p = 0; p < count; p++) add_block(n, width, coefficients[p] + b * r, r, powers, next + p * n);
        double *t = sum;
        sum = next;
        next = t;
    }
}

} // namespace sarvo::mh

extern "C" {

sarko_error_t sarvo_mh_m_poly(const MAT *A, const VEC *coeffs, MAT **out) {
    if (!A || !coeffs || !out) return fail_text("Input matrix and/or are/is not initialized.");
    if (A->rows != A->cols) return fail_text("Input matrix is not square.");
    if (*out == A) return fail_text("Input matrix coincides with output matrix.");
    const uint64_t n = A->rows;
    if (coeffs->dim < 3) {
        if (sarko_error_t e = sarvo::mh::size_exactly(out, n, n)) return e;
        if (coeffs->dim == 2)
            if (sarko_error_t e = sarvo_mh_sm_mlt(A, out, coeffs->elems[1])) return e;
        if (coeffs->dim < 2) sarvo_mh_m_zero(*out);
        for (uint64_t i = 0; i < n && coeffs->dim != 0; i++)
            (*out)->row_ptrs[i][i] = coeffs->elems[0] + (coeffs->dim == 2 ? (*out)->row_ptrs[i][i] : 0.0);
        return 0;
    }
    const uint64_t degree = coeffs->dim - 1;
    sarvo::mh::TemporaryMatrix P, tmp;
    sarvo::Buffer<double> work;
    if (sarko_error_t e = sarvo_mh_m_pow_(A, static_cast<int32_t>(sarvo::mh::horner_block(degree)), &tmp.p, &P.p))
        return e;
    if (sarko_error_t e = work.allocate_unset(n * n + sarvo::mh::polynomial_work(n, degree, 1))) return e;
    if (sarko_error_t e = sarvo::mh::size_exactly(out, n, n)) return e;
    if (n == 0) return 0;
    const View result = sarvo::mh::view(**out);
    double *values = work.get();
    sarvo::mh::evaluate_polynomials(sarvo::mh::view(*A), sarvo::mh::view(*P.p), degree, 1, &coeffs->elems, values,
                                    values + n * n);
    for (uint64_t i = 0; i < n; i++) memcpy(result.p + i * result.ld, values + i * n, n * sizeof *values);
    return 0;
}

} // extern "C"
