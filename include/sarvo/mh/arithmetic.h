/* mh, arithmetic: sums, products, norms, extremes and sorting of dense matrices and vectors. See sarvo/mh.h. */
#ifndef SARVO_MH_ARITHMETIC_H
#define SARVO_MH_ARITHMETIC_H

#include <sarvo/mh/objects.h>

#ifdef __cplusplus
extern "C" {
#endif

/* `out` is the address of the result: null there makes a fresh object. "Sized to": resized unless it has that size;
 * "at least": resized only when null or smaller, a larger object keeps its size and its other elements. Inputs are not
 * modified. A result that coincides with an operand is allowed only where said. Errors of the allocator come last and
 * leave *out as it was. A null `out` or `res` is reported like a null operand. */

/* ---- Matrices; errors are texts of code 0 ---- */

/* out = A + B and out = A - B, sized to A's shape; out may be A or B.
 * Errors, in order: "Input matrix is not initialized."; "Sizes of matrices are not consistent." (unequal shapes). */
SARVO_API sarko_error_t sarvo_mh_m_add(const MAT *A, const MAT *B, MAT **out);
SARVO_API sarko_error_t sarvo_mh_m_sub(const MAT *A, const MAT *B, MAT **out);

/* out = A B, out(i,j) = sum_l A(i,l) B(l,j), l ascending in one running sum from +0; terms with A(i,l) exactly 0 are
 * left out. Sized to A.rows x B.cols; out must be neither A nor B.
 * Errors, in order: "Input matrix is not initialized."; "Sizes of matrices are not consistent." (A.cols is not B.rows);
 * "Input matrix(ces) coincide with output matrix.". Scratch when B has more than 4096 elements: at
 * most 1632 KiB. */
SARVO_API sarko_error_t sarvo_mh_m_mlt(const MAT *A, const MAT *B, MAT **out);

/* out = A B', out(i,j) = sum_l A(i,l) B(j,l), l ascending, no term left out. Sized to A.rows x B.rows; out must be
 * neither A nor B. Errors, in order: "Input matrix is not initialized."; "Input matrix(ces) coincide with output
 * matrix."; "Sizes of matrices are not consistent." (A.cols is not B.cols). */
SARVO_API sarko_error_t sarvo_mh_mmtr_mlt(const MAT *A, const MAT *B, MAT **out);

/* out = A' B, out(k,j) = sum_i A(i,k) B(i,j), i ascending; terms with A(i,k) exactly 0 are left out. Sized to
 * A.cols x B.cols; out must be neither A nor B. Errors as of sarvo_mh_mmtr_mlt (A.rows is not B.rows). */
SARVO_API sarko_error_t sarvo_mh_mtrm_mlt(const MAT *A, const MAT *B, MAT **out);

/* out = A b, sized to A.rows, each element one running sum over ascending columns; out must not be b.
 * Errors, in order: "Input matrix and/or vector are/is not initialized."; "Sizes of matrix and vector are not
 * consistent." (A.cols is not b.dim); "Input vector coincides with output vector.". */
SARVO_API sarko_error_t sarvo_mh_mv_mlt(const MAT *A, const VEC *b, VEC **out);

/* out = b' A as a vector, sized to A.cols: rows of A times b(i) are added in ascending i to zeros; rows with b(i)
 * exactly 0 are left out. out must not be b. Errors as of sarvo_mh_mv_mlt (A.rows is not b.dim). */
SARVO_API sarko_error_t sarvo_mh_vm_mlt(const MAT *A, const VEC *b, VEC **out);

/* out = s A, sized to A's shape; out may be A. Error: "Input matrix is not initialized.". */
SARVO_API sarko_error_t sarvo_mh_sm_mlt(const MAT *A, MAT **out, double s);

/* out = A + s B: s exactly 0 copies A, s exactly 1 gives A + B. Sized to A's shape; out may be A or B.
 * Errors, in order: "Input matrix(ces) is/are not initialized."; "Sizes of input matrices are not consistent.". */
SARVO_API sarko_error_t sarvo_mh_ms_mltadd(const MAT *A, const MAT *B, double s, MAT **out);

/* out = u + alpha A w: u is copied unless out is u; alpha exactly 0 ends there; then out(i) += alpha * (row i of A
 * times w, one ascending sum). Sized to at least u.dim; out may be u, not w.
 * Errors, in order: "Input vector(s) and/or matrix is/are not initialized."; "Input vector coincides with output
 * vector." (out is w); "Sizes of input vectors and matrix are not consistent." (A is not u.dim x w.dim). */
SARVO_API sarko_error_t sarvo_mh_mv_mltadd(const VEC *u, const VEC *w, const MAT *A, double alpha, VEC **out);

/* out = u + alpha w' A: u is copied as above; then row j of A times t = w(j) alpha is added, j ascending, rows with t
 * exactly 0 left out. Sized to at least u.dim; out may be u, not w. Errors as of sarvo_mh_mv_mltadd (A is not
 * w.dim x u.dim). */
SARVO_API sarko_error_t sarvo_mh_vm_mltadd(const VEC *u, const VEC *w, const MAT *A, double alpha, VEC **out);

/* out = A', sized to A.cols x A.rows; out may be A when A is square.
 * Errors, in order: "Input matrix is not initialized."; "Input matrix coincides with output but is not square.". */
SARVO_API sarko_error_t sarvo_mh_m_transp(const MAT *A, MAT **out);

/* ---- Vectors; errors are registered codes; out may be any operand ---- */

/* out = x1 + x2, x1 - x2, x1 x2 element by element, sized to x1.dim.
 * Errors, in order: null: SarvoMHNullEC; unequal dimensions: SarvoMHSizesEC. */
SARVO_API sarko_error_t sarvo_mh_v_add(const VEC *x1, const VEC *x2, VEC **out);
SARVO_API sarko_error_t sarvo_mh_v_sub(const VEC *x1, const VEC *x2, VEC **out);
SARVO_API sarko_error_t sarvo_mh_v_star(const VEC *x1, const VEC *x2, VEC **out);

/* out(i) = x2(i) / x1(i): x1 divides. Errors as of sarvo_mh_v_add, then an element of x1 equal to 0: SarvoMHSingEC; out
 * is sized and the elements before that one are written. */
SARVO_API sarko_error_t sarvo_mh_v_slash(const VEC *x1, const VEC *x2, VEC **out);

/* out = x1 + s x2: s exactly 0 copies x1, s exactly 1 gives x1 + x2. Sized to at least x1.dim. Errors as of
 * sarvo_mh_v_add. */
SARVO_API sarko_error_t sarvo_mh_v_mltadd(const VEC *x1, const VEC *x2, double s, VEC **out);

/* out = s x (s exactly 0: zeros; exactly 1: a copy), x + s, x - s, sized to x.dim. Error: null: SarvoMHNullEC. */
SARVO_API sarko_error_t sarvo_mh_sv_mlt(double s, const VEC *x, VEC **out);
SARVO_API sarko_error_t sarvo_mh_sv_add(double s, const VEC *x, VEC **out);
SARVO_API sarko_error_t sarvo_mh_sv_sub(double s, const VEC *x, VEC **out);

/* out(i) = f(x(i)), in ascending order, sized to x.dim; the second form hands `params` to f. f must not throw.
 * Error: f or x null: SarvoMHNullEC. */
SARVO_API sarko_error_t sarvo_mh_v_map(double (*f)(double), const VEC *x, VEC **out);
SARVO_API sarko_error_t sarvo_mh_v_map_(double (*f)(double, void *), void *params, const VEC *x, VEC **out);

/* out = sum_{k<n} a[k] v[k]: a[0] v[0] as by sarvo_mh_sv_mlt, then each further term as by sarvo_mh_v_mltadd. out may
 * be v[0] only. n below 1 sets *out to null (what it held is not freed) and succeeds.
 * Errors, in order: v or a null: SarvoMHNullEC; some v[k], k >= 1, is *out: SarvoMHInsituEC; v[0] null: SarvoMHNullEC;
 * then term by term: v[k] null: SarvoMHNullEC; of another dimension than out: SarvoMHSizesEC, the partial sum staying
 * in *out. */
SARVO_API sarko_error_t sarvo_mh_v_lincomb(int32_t n, VEC *const *v, const double *a, VEC **out);

/* out = a1 x1 + ... over pairs of a VEC * and a double, ended by a null VEC * (write (VEC *)NULL). out may be x1 only.
 * x1 null sets *out to null (not freed) and succeeds. For each further pair in order: a coefficient exactly 0 skips it;
 * the vector is *out: SarvoMHInsituEC; another dimension: SarvoMHSizesEC; coefficient exactly 1 adds, exactly -1
 * subtracts, any other adds its multiple. An error leaves the partial sum in *out. */
SARVO_API sarko_error_t sarvo_mh_v_linlist(VEC **out, const VEC *x1, double a1, ...);

/* ---- Reductions ---- */

/* *res = sum of a(i) b(i), i = i0 .. min(a.dim, b.dim) - 1 ascending from +0: the shorter vector decides.
 * Errors, in order: null: SarvoMHNullEC; i0 above that minimum: SarvoMHBoundsEC. *res is untouched then. */
SARVO_API sarko_error_t sarvo_mh_in_prod_(const VEC *a, const VEC *b, uint64_t i0, double *res);

/* *res = sum of the elements, ascending from +0. Error: null: SarvoMHNullEC. */
SARVO_API sarko_error_t sarvo_mh_v_sum(const VEC *x, double *res);

/* Smallest (largest) element and its index, the first of equals; NaNs after index 0 are passed over, a NaN at index 0
 * stays the result. Either pointer may be null. Errors, in order: x null: SarvoMHNullEC; dimension 0: SarvoMHSizesEC.
 */
SARVO_API sarko_error_t sarvo_mh_v_min(const VEC *x, uint64_t *imin, double *vmin);
SARVO_API sarko_error_t sarvo_mh_v_max(const VEC *x, uint64_t *imax, double *vmax);

/* Sorts x ascending, in place. With `order` (may be null) *order is sized to x.dim and receives the exchanges made:
 * entry i is the index before the sort of the element now at i.
 * Quicksort (Hoare, 1961) on an explicit stack, pivot the last element of the range, scans as follows, so the places
 * of equal elements and of NaNs are defined: i = l - 1, j = r; repeat { i up while x(++i) < pivot; j down while
 * x(--j) > pivot and j > 0; stop when i >= j; exchange x(i), x(j) }; exchange x(i), x(r). Not stable. Without `order`,
 * values without NaNs and without zeros of both signs are sorted to the same result in other ways: from 4000 elements
 * on by their bits in linear time with scratch of 8 x.dim bytes; where that is refused, in place. Otherwise sorted
 * input costs about x.dim^2 / 2 comparisons.
 * Errors, in order: x null: SarvoMHNullEC; order given and x.dim above 2^31 - 1: SarvoMHSizesEC; the allocator's for
 * *order. x is untouched then; without `order` there is no error but the first. */
SARVO_API sarko_error_t sarvo_mh_v_sort(VEC *x, PERM **order);

/* 1-, 2- and maximum-norm of x or, with a scale vector (may be null), of x(i) / scale(i), where a scale element exactly
 * 0 counts as 1. Sums ascend in one running sum; the 2-norm is the root of the sum of squares, unscaled; the maximum
 * starts at 0 and NaNs are passed over.
 * Errors, in order: "Input vector is not initialized."; "Sizes of input vectors are not consistent." (scale shorter
 * than x); code 0, of the 2-norm SarvoMHNullEC and SarvoMHSizesEC. */
SARVO_API sarko_error_t sarvo_mh_v_norm1_s(const VEC *x, const VEC *scale, double *res);
SARVO_API sarko_error_t sarvo_mh_v_norm2_s(const VEC *x, const VEC *scale, double *res);
SARVO_API sarko_error_t sarvo_mh_v_norminf_s(const VEC *x, const VEC *scale, double *res);

/* Largest column sum of magnitudes, largest row sum of magnitudes (sums ascend; NaN sums are passed over), and the root
 * of the sum of squares of all elements, row by row in one running sum. An empty matrix has 0.
 * Error: "Input matrix is not initialized." (code 0). */
SARVO_API sarko_error_t sarvo_mh_m_norm1(const MAT *A, double *res);
SARVO_API sarko_error_t sarvo_mh_m_norm_inf(const MAT *A, double *res);
SARVO_API sarko_error_t sarvo_mh_m_norm_frob(const MAT *A, double *res);

#ifdef __cplusplus
}
#endif

#endif
