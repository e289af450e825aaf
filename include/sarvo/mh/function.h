/* mh, functions of a square matrix: integer powers, exponential, polynomials. See sarvo/mh.h. */
#ifndef SARVO_MH_FUNCTION_H
#define SARVO_MH_FUNCTION_H

#include <sarvo/mh/objects.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Errors in quotes have code 0. A null address in place of an output is reported like a null matrix; q_out and j_out
 * may be null. */

/* out = A^p, p >= 0, with the caller's work matrix *tmp; both are sized to A's shape. Binary powering from the highest
 * bit of p down: the power is squared and, for a bit that is 1, multiplied by A from the left, each product as by
 * sarvo_mh_m_mlt. A^0 is the identity. A, *tmp and *out must be three objects.
 * Errors, in order: "Input matrix is not initialized."; "Input matrix is not square."; "Power is negative.";
 * "Input matrix(ces) coincide with output matrix."; the allocator's. *tmp and *out are undefined after the latter. */
SARVO_API sarko_error_t sarvo_mh_m_pow_(const MAT *A, int32_t p, MAT **tmp, MAT **out);

/* out = A^p for any p: for p < 0 the inverse (sarvo_mh_m_inverse) to the power -p. *out, which may be A, is sized to A's
 * shape.
 * Errors, in order: "Input matrix is not initialized."; "Input matrix is not square."; the allocator's; A singular and
 * p < 0: SarvoMHSingEC. *out is untouched then unless only its own resizing failed. */
SARVO_API sarko_error_t sarvo_mh_m_pow(const MAT *A, int32_t p, MAT **out);

/* out = exp(A) by scaling and squaring with the diagonal Pade approximant of degree q (Golub and Van Loan, Matrix
 * Computations, section 11.3):
 *   j = floor(ln(norm) / ln 2 + 1), at least 0, norm the largest row sum of magnitudes; A / 2^j is used
 *   q = least q >= 1 with (1/6) prod_{i=1..q-1} 1 / ((2i + 3)(2i + 1) 16) <= eps; eps 0 stands for SarvoDblEps
 *   c(0) = 1, c(i) = c(i-1) (q - i + 1) / (i (2q - i + 1)); N = sum c(i) A^i, D = sum (-1)^i c(i) A^i
 *   N and D by Horner's rule in A^r, r = max(1, floor(sqrt(q / 2))), as sarvo_mh_m_poly does
 *   X solves D X = N by the factors of D' (sarvo_mh_LUfactor, sarvo_mh_LUTsolve); X is squared j times
 *   A     n x n, not modified                  eps   >= 0, relative accuracy wanted of the approximant
 *   *out  sized to n x n, not A                q_out, j_out   receive q and j; -1 and 0 for the zero matrix, whose
 *                                              exponential is the identity
 * Errors, in order: "Input matrix is not initialized."; "Input matrix is not square."; "Input matrix coincides with
 * output matrix."; "Invalid precision requested." (eps < 0); an infinity or NaN in A, or a norm that overflows:
 * SarvoMHRangeEC; the allocator's; SarvoMHSingEC of the solve. After any of the last three *out is freed and null. */
SARVO_API sarko_error_t sarvo_mh_m_exp_(const MAT *A, double eps, MAT **out, int32_t *q_out, int32_t *j_out);
SARVO_API sarko_error_t sarvo_mh_m_exp(const MAT *A, double eps, MAT **out);

/* out = coeffs(0) I + coeffs(1) A + ... + coeffs(d-1) A^(d-1), d = coeffs.dim; no coefficients give the zero matrix.
 * d up to 2: element by element. Else with m = d - 1, r = max(1, floor(sqrt(m / 2))), k = m div r by Horner's rule in
 * P = A^r (sarvo_mh_m_pow_): S = coeffs(kr) I + ... + coeffs(m) A^(m-kr), then for b = k-1 .. 0: S = P S, each element one
 * ascending sum, to which coeffs(br) I, coeffs(br+1) A, ..., coeffs(br+r-1) A^(r-1) are added in this order. The powers
 * below r are A times the power before. *out, not A, is sized to A's shape.
 * Errors, in order: "Input matrix and/or are/is not initialized." (A or coeffs null); "Input matrix is not square.";
 * "Input matrix coincides with output matrix."; the allocator's. *out is untouched then. */
SARVO_API sarko_error_t sarvo_mh_m_poly(const MAT *A, const VEC *coeffs, MAT **out);

#ifdef __cplusplus
}
#endif

#endif
