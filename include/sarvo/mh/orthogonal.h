/* mh, orthogonal: Householder reflections, Givens rotations, Hessenberg form, symmetric eigenvalues, updates of
 * factorisations. See sarvo/mh.h. Methods: Golub and Van Loan, Matrix Computations (chapters 5, 7, 8, 12). */
#ifndef SARVO_MH_ORTHOGONAL_H
#define SARVO_MH_ORTHOGONAL_H

#include <sarvo/mh/objects.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Householder reflections ----
 * P = I - beta hh hh' on the positions from i0 on; elements of hh before i0 are not read. Products with P are grouped
 * as (beta * inner product) * element of hh; inner products ascend in one running sum from +0. */

/* Makes the reflection that maps elements i0 .. of vec onto a multiple of the unit vector at i0.
 * Elements i0 .. of vec are copied to *out (made or resized to vec.dim when null or shorter; a longer one keeps its
 * length; *out may be vec); norm = sqrt(sum out[i]^2, i >= i0). norm <= 0 (also i0 = vec.dim): *beta = 0 and *newval is
 * not written. Else *beta = 1 / ((|out[i0]| + norm) norm), *newval = -norm when out[i0] > 0, else norm, and
 * out[i0] = out[i0] - *newval. Nothing scales: squares overflow from about 1e154 on.
 * Errors, in order: null: "Input vector is not initialized."; i0 > vec.dim: SarvoMHBoundsEC; the allocator's. */
SARVO_API sarko_error_t sarvo_mh_hhvec(const VEC *vec, uint64_t i0, double *beta, VEC **out, double *newval);

/* out = P in. `in` is copied to *out first (made or resized to in.dim when null or shorter; *out may be `in`).
 * Errors, in order: null: SarvoMHNullEC; in.dim differs from hh.dim: SarvoMHSizesEC; i0 > in.dim: SarvoMHBoundsEC; the
 * allocator's. */
SARVO_API sarko_error_t sarvo_mh_hhtrvec(const VEC *hh, double beta, uint64_t i0, const VEC *in, VEC **out);

/* M = M P on rows i0 .. and columns j0 ..: row r becomes r - (beta (r.hh)) hh. beta = 0 does nothing; a row whose
 * scaled inner product is exactly 0 is left alone.
 * Errors, in order: null: SarvoMHNullEC; M.cols differs from hh.dim: SarvoMHRangeEC; i0 > M.rows or j0 > M.cols:
 * SarvoMHBoundsEC. */
SARVO_API sarko_error_t sarvo_mh_hhtrrows(MAT *M, uint64_t i0, uint64_t j0, const VEC *hh, double beta);

/* M = P M on columns j0 .. and rows i0 ..: w[j] = beta (sum hh[i] M(i,j), i >= i0), then M(i,j) = M(i,j) - hh[i] w[j].
 * beta = 0 does nothing. *workspace is made or resized to M.cols when null or shorter and holds w from j0 on
 * afterwards; the caller frees it.
 * Errors, in order: null: SarvoMHNullEC; M.rows differs from hh.dim: SarvoMHSizesEC; i0 > M.rows or j0 > M.cols:
 * SarvoMHBoundsEC; the allocator's. */
SARVO_API sarko_error_t sarvo_mh_hhtrcols_(MAT *M, uint64_t i0, uint64_t j0, const VEC *hh, double beta,
                                           VEC **workspace);

/* Always the error SarvoMHNullEC: a stub kept on purpose. Use sarvo_mh_hhtrcols_. */
SARVO_API sarko_error_t sarvo_mh_hhtrcols(void);

/* ---- Hessenberg form ---- */

/* Reduces the square A (n x n) in place to upper Hessenberg form: for k = 0 .. n-2 the reflection that sarvo_mh_hhvec
 * makes of column k from k+1 on (newval goes to A(k+1,k), the leading component to diag[k], beta to beta[k]), then
 * sarvo_mh_hhtrcols_ from (k+1, k+1) on and sarvo_mh_hhtrrows from (0, k+1) on. Below the subdiagonal A keeps the tails
 * of the reflections. diag and beta may be longer than n-1. 10/3 n^3 operations.
 * Errors, in order: null: SarvoMHNullEC; diag or beta shorter than n-1: SarvoMHSizesEC; A not square: SarvoMHSquareEC;
 * the allocator's, all objects as before. */
SARVO_API sarko_error_t sarvo_mh_Hfactor(MAT *A, VEC *diag, VEC *beta);

/* *Q = P0 P1 .. P(n-2) of what sarvo_mh_Hfactor left: the matrix before the reduction is Q H Q'. Column i of Q is the
 * unit vector e_i with sarvo_mh_hhtrvec applied for k = n-2 .. 0. *Q is made or resized to n x n and may be H.
 * Errors, in order: null: SarvoMHNullEC; diag or beta shorter than n-1: SarvoMHSizesEC; H not square: SarvoMHSquareEC;
 * the allocator's wrapped as "Cannot construct Hessenberg orthogonalising matrix". */
SARVO_API sarko_error_t sarvo_mh_makeHQ(const MAT *H, const VEC *diag, const VEC *beta, MAT **Q);

/* *out = H without the elements below the first subdiagonal, which become 0. *out is made or resized to H's shape when
 * null or smaller in either count; of a larger one only the leading n x n block changes. *out may be H.
 * Errors, in order: null: SarvoMHNullEC; H not square: SarvoMHSquareEC; the allocator's. */
SARVO_API sarko_error_t sarvo_mh_makeH(const MAT *H, MAT **out);

/* ---- Givens rotations ---- */

/* (c, s) = (x, y) / r with r = sqrt(x^2 + y^2); r = 0 gives (1, 0). A null result is not written. */
SARVO_API void sarvo_mh_givens(double *c, double *s, double x, double y);

/* out = the input, with elements (rows, columns) i and k replaced by c i + s k and c k - s i, in this order (with i = k
 * the second remains). *out is made or resized to the input's size when null or smaller; a larger one keeps its size
 * and other elements. *out may be the input.
 * Errors, in order: null: SarvoMHNullEC; i or k at or beyond the count: SarvoMHRangeEC; the allocator's. */
SARVO_API sarko_error_t sarvo_mh_rot_vec(const VEC *x, uint64_t i, uint64_t k, double c, double s, VEC **out);
SARVO_API sarko_error_t sarvo_mh_rot_rows(const MAT *M, uint64_t i, uint64_t k, double c, double s, MAT **out);
SARVO_API sarko_error_t sarvo_mh_rot_cols(const MAT *M, uint64_t i, uint64_t k, double c, double s, MAT **out);

/* ---- Symmetric eigenvalues ---- */

/* Eigenvalues, unsorted, of the symmetric tridiagonal matrix with diagonal a (n) and off-diagonal b (n-1) into a; b is
 * destroyed. Implicit QR with Wilkinson's shift; each rotation of rows j, j+1 by (c, s) is applied to the columns of Q
 * as by sarvo_mh_rot_cols(Q, j, j+1, c, -s), when Q is not null: give it the identity, or the matrix of an earlier
 * reduction. An off-diagonal element below SarvoDblEps (|a[i]| + |a[i+1]|) becomes 0. Where products of tiny
 * elements vanish no more elements may get there: sweeps that bring a block back to what it was end it, and so do
 * 30 (n + 10) sweeps of one block.
 * With Q about 6 n^3 operations; scratch n^2 + 138 n doubles with Q, 2 n without.
 * Errors, in order: a or b null: SarvoMHNullEC; a.dim differs from b.dim + 1 (both 0 is valid): SarvoMHSizesEC; Q.rows
 * differs from a.dim: SarvoMHSizesEC; Q not square: SarvoMHSquareEC; an infinity or NaN in a or b: SarvoMHRangeEC; the
 * allocator's; all as before then. Elements whose squares overflow or vanish (beyond 1e+-150 or so) can make the shift
 * NaN, or keep a block from splitting: SarvoMHRangeEC, with a, b and Q in an undefined state. A multiple of the matrix
 * by a power of 2 that brings the largest element near 2^400 avoids it for all but extreme spreads. */
SARVO_API sarko_error_t sarvo_mh_trieig(VEC *a, VEC *b, MAT *Q);

/* Eigenvalues, unsorted, of the symmetric A into *out, made or resized to exactly A.rows; when Q is not null,
 * eigenvectors into the columns of *Q, made or resized to A's shape. A is not changed. The bits are those of
 * sarvo_mh_Hfactor on a copy of A, sarvo_mh_makeHQ, and sarvo_mh_trieig on diagonal and subdiagonal: both triangles of
 * A are read. About 9 n^3 operations with eigenvectors, 3 n^3 without.
 *
 *     #include <sarvo/mh.h>
 *     int main(void) {
 *         MAT *A = NULL, *Q = NULL;
 *         VEC *w = NULL;
 *         sarvo_initialize();
 *         sarko_error_t e = sarvo_mh_m_get(2, 2, &A);
 *         sarvo_mh_m_ones(A);
 *         if (!e) e = sarvo_mh_symmeig(A, &Q, &w);           // eigenvalues 2 and 0
 *         sarvo_mh_v_foutput(stdout, " %.3f", w);
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_mh_m_free(A); sarvo_mh_m_free(Q); sarvo_mh_v_free(w);
 *         sarvo_terminate();
 *     }
 *
 * Errors, each wrapped as "Cannot compute eigenvalues of a dense symmetric matrix", in order: A or out null:
 * SarvoMHNullEC; A not square: SarvoMHSquareEC; an infinity or NaN in A, or squares that overflow or vanish on the way
 * (see sarvo_mh_trieig): SarvoMHRangeEC; the allocator's. */
SARVO_API sarko_error_t sarvo_mh_symmeig(const MAT *A, MAT **Q, VEC **out);

/* ---- Updates of factorisations ---- */

/* L D L' becomes that of L D L' + alpha w w' (Bennett): CH (n x n) holds D on the diagonal and L, whose diagonal of
 * ones is not stored, below; what is above the diagonal is not read. For k = 0 .. n-1: p = w[k]; d = CH(k,k);
 * d' = (p alpha) p + d; for i > k: w[i] = w[i] - CH(i,k) p, CH(i,k) = CH(i,k) + w[i] ((alpha p) / d'); CH(k,k) = d';
 * alpha = alpha (d / d'). w is overwritten.
 * Errors, in order: null: SarvoMHNullEC; CH not square or w of another dimension: SarvoMHSizesEC; the allocator's, all
 * as before; d' <= 0 (a NaN passes): SarvoMHPosdefEC, with CH and w as the steps before k left them. */
SARVO_API sarko_error_t sarvo_mh_LDLupdate(MAT *CH, VEC *w, double alpha);

/* Q R becomes the factorisation of Q (R + u v'): u is taken in the coordinates of R, so a caller who wants Q R + x v'
 * gives u = Q' x. With k the last non-zero element of u: rotations (i, i+1), i = k-1 .. 0, made of u[i], u[i+1] turn u
 * into a multiple of e_0; u[0] v is added to row 0 of R; rotations (i, i+1), i = 0 .. k-1, made of R(i,i), R(i+1,i),
 * left out where both vanish, make R triangular again (up to rounding below the diagonal). Each is applied to the rows of R,
 * and to the columns of Q when Q is not null. R is m x n, Q m x m. u is overwritten.
 * Errors, in order: R, u or v null: SarvoMHNullEC; Q not square or not of order m, u.dim not m, v.dim not n:
 * SarvoMHSizesEC; the allocator's, all as before. */
SARVO_API sarko_error_t sarvo_mh_QRupdate(MAT *Q, MAT *R, VEC *u, const VEC *v);

#ifdef __cplusplus
}
#endif

#endif
