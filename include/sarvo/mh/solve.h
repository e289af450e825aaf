/* mh, linear systems: LU factorisation, triangular solves, condition estimate, inverse. See sarvo/mh.h. */
#ifndef SARVO_MH_SOLVE_H
#define SARVO_MH_SOLVE_H

#include <sarvo/mh/objects.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- LU factorisation ----
 * P A = L U in place: multipliers of the unit lower triangle below the diagonal, U on and above it, for 3 x 3
 *     u00 u01 u02
 *     l10 u11 u12        row i of P A is row pivot(i) of A
 *     l20 l21 u22
 * Gaussian elimination with scaled partial pivoting (Wilkinson, 1961): the row with the first largest
 * |A(i,k)| / scale(i), scale(i) being the largest magnitude in the row that stood at i at the start: scales are not
 * exchanged with their rows. The last diagonal position is no pivot step. A column without a positive ratio gets
 * A(k,k) = 0 and is not eliminated. Element (i,j) is decreased by A(i,k) A(k,j), k ascending; multipliers are quotients.
 *   A      m x n, replaced by its factors       pivot  size m, replaced; its entries on entry do not matter
 * Never reports singularity: zero pivots divide, and infinities and NaNs go their way.
 * Errors, in order: null: "Input matrix and/or permutation are/is not initialized."; A.rows is not pivot's size: "Sizes
 * of input matrix and permutation are not consistent."; the allocator's. Everything is untouched then. */
SARVO_API sarko_error_t sarvo_mh_LUfactor(MAT *A, PERM *pivot);

/* Solves A x = b, respectively A' x = b, from the factors of A: by a permutation and two triangular solves below. *x
 * may be b; LUsolve sizes it to b.dim exactly, LUTsolve when it is null or shorter.
 * Errors, in order: null: "Input matrix and/or permutation and/or vector are/is not initialized."; LU not square or of
 * another order than b.dim: "Sizes of input matrix and vector are not consistent or input matrix is not square."; pivot
 * of another size: the same; the allocator's; an entry of pivot out of range: SarvoMHBoundsEC; a diagonal element of U
 * that is 0, or a non-finite numerator: SarvoMHSingEC, *x is then partly solved. LUTsolve exchanges last, as
 * sarvo_mh_pxinv_vec in place does: an entry out of range or met twice is SarvoMHBoundsEC after the solves, and so
 * comes the allocator's error for the scratch of more than 256 entries; *x then holds what was not exchanged yet.
 * Factors and pivot are not written: threads may solve with the same ones. */
SARVO_API sarko_error_t sarvo_mh_LUsolve(const MAT *LU, const PERM *pivot, const VEC *b, VEC **x);
SARVO_API sarko_error_t sarvo_mh_LUTsolve(const MAT *LU, const PERM *pivot, const VEC *b, VEC **x);

/* ---- Triangular solves: L out = b, U out = b, L' out = b, U' out = b ----
 * Elements of the other triangle are never read; dim = min(rows, cols) of the matrix. diag 0 uses the diagonal as it is
 * stored, any other value (NaN too) stands for every diagonal element: 1 solves with a unit diagonal.
 * *out, which may be b, is resized to dim when null or smaller; of a longer one the elements from dim on stay.
 * Zeros at the start of b (Lsolve, UTsolve), respectively at its end (Usolve, LTsolve), give +0 and take no part: the
 * solves begin at the first, respectively last, element b(f) that is not exactly 0.
 *   Lsolve  i ascending:  out(i) = (b(i) - sum_{j=f..i-1} L(i,j) out(j)) / diagonal
 *   Usolve  i descending: out(i) = (b(i) - sum_{j=i+1..f} U(i,j) out(j)) / diagonal     sums ascend from +0
 *   UTsolve i ascending:  out(i) /= U(i,i), or *= (1 / diag); then out(j) -= out(i) U(i,j) for j > i
 *   LTsolve i descending: out(i) /= L(i,i), or *= (1 / diag); then out(j) -= out(i) L(i,j) for j < i
 * Errors, in order: null: "Input matrix and/or vector are/is not initialized."; b shorter than dim: "Sizes of input
 * matrix and vector are not consistent."; the allocator's; with diag 0, a diagonal element that is not greater in
 * magnitude than 0 times the numerator (it is 0, or the numerator is not finite): SarvoMHSingEC; what was solved before
 * stays in *out. */
SARVO_API sarko_error_t sarvo_mh_Lsolve(const MAT *L, const VEC *b, VEC **out, double diag);
SARVO_API sarko_error_t sarvo_mh_Usolve(const MAT *U, const VEC *b, VEC **out, double diag);
SARVO_API sarko_error_t sarvo_mh_LTsolve(const MAT *L, const VEC *b, VEC **out, double diag);
SARVO_API sarko_error_t sarvo_mh_UTsolve(const MAT *U, const VEC *b, VEC **out, double diag);

/* x(i) = b(i) / A(i,i) for i below min(rows, cols); *x, which may be b, is sized to A.cols, its other elements stay or
 * are 0. Errors, in order: null: "Input matrix and/or vector are/is not initialized."; b shorter than that minimum:
 * "Sizes of input matrix and vector are not consistent."; the allocator's; a diagonal element 0 under a finite b(i):
 * SarvoMHSingEC, the elements before it are written. */
SARVO_API sarko_error_t sarvo_mh_Dsolve(const MAT *A, const VEC *b, VEC **x);

/* ---- Condition and inverse ---- */

/* *cond = estimate of the condition number of A in the maximum norm from its factors; +infinity for a singular factor,
 * NaN for order 0. A right-hand side of elements +-1 is chosen so that the solution y of U' y = e grows, then L' y' = y
 * and A z = y' are solved: cond = |L||U| max|z| / max|y'| (after Cline, Moler, Stewart and Wilkinson, 1979).
 * Errors, in order: null: "Input matrix and/or permutation are/is not initialized."; LU not square or of another order
 * than pivot: "Sizes of input matrix and permutation are not consistent."; the allocator's; SarvoMHBoundsEC as of
 * sarvo_mh_LUsolve. *cond is untouched then. */
SARVO_API sarko_error_t sarvo_mh_LUcondest(const MAT *LU, const PERM *pivot, double *cond);

/* Leading n x n block of *out = inverse of the n x n matrix A: column i solves A x = e_i by the factors. *out, which may
 * be A, is resized to n x n when null or smaller in either direction; a larger one keeps its shape.
 * Errors, in order: null: "Input matrix is not initialized."; not square: "Input matrix is not square."; the
 * allocator's; singular: SarvoMHSingEC, the columns before the one that failed are written. */
SARVO_API sarko_error_t sarvo_mh_m_inverse(const MAT *A, MAT **out);

#ifdef __cplusplus
}
#endif

#endif
