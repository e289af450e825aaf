/* mh, permutations and access: operations on permutations, rows and columns of matrices, views. See sarvo/mh.h. */
#ifndef SARVO_MH_PERMUTATION_H
#define SARVO_MH_PERMUTATION_H

#include <sarvo/mh/objects.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Entries are followed as they stand: each is checked against the size (SarvoMHBoundsEC), that they are distinct is
 * not, except where said. "At least": *out is resized only when null or smaller. A null `out` is reported like a null
 * operand; the allocator's errors come after all checks but that of the entries. A permutation of negative size has no
 * entries: a result that would have to take its size is refused ("Incorrect dimension: %d"), and no matrix has it. An
 * operand that is const is never written, so any number of threads may share it. */

/* ---- Permutations ---- */

/* out = inverse of px, by following the cycles in place; *out, which may be px, is sized to px's size.
 * Errors, in order: px null: "Input permutation is not initialized."; the allocator's; an entry out of range or met
 * twice: SarvoMHBoundsEC, *out then holds a partly inverted copy. Entries from 2^31 on read as marks of the inversion
 * and are not noticed. */
SARVO_API sarko_error_t sarvo_mh_px_inv(const PERM *px, PERM **out);

/* out(i) = px1(px2(i)); *out at least of px1's size, neither px1 nor px2.
 * Errors, in order: null: SarvoMHNullEC; unequal sizes: SarvoMHSizesEC; out is an operand: SarvoMHInsituEC; the
 * allocator's; an entry of px2 out of range: SarvoMHBoundsEC, the entries before it are written. */
SARVO_API sarko_error_t sarvo_mh_px_mlt(const PERM *px1, const PERM *px2, PERM **out);

/* *sign = +1 for an even, -1 for an odd permutation. Entries that are no permutation give the parity of the exchanges
 * of this quicksort, compared as unsigned numbers: of a range of m >= 2 elements the first, p, is the pivot; from i = 0
 * and j = m, i steps up until x(i) >= p or i = m, then j steps down until x(j) <= p; if i < j the two are exchanged and
 * both go on; else x(0) and x(j) trade places, which counts unless j = 0, and the ranges before and after j are sorted.
 * Uses a copy. Cost: linear; for entries that are no permutation that of the quicksort, quadratic at worst.
 * Errors, in order: null: SarvoMHNullEC; the allocator's. */
SARVO_API sarko_error_t sarvo_mh_px_sign(const PERM *px, int32_t *sign);

/* Exchanges entries i and j; an index at or beyond the size does nothing. Error: null: SarvoMHNullEC. */
SARVO_API sarko_error_t sarvo_mh_px_transp(PERM *px, uint32_t i, uint32_t j);

/* out(i) = x(px(i)) for i below px's size; *out at least of x.dim elements, those from px's size on are not written.
 * A permutation without entries copies x. out may be x: then each cycle is followed from its lowest place and ends
 * where an entry is met twice; scratch of 4 bytes an entry, allocated where there are more than 256.
 * Errors, in order: null: SarvoMHNullEC; x shorter than px: SarvoMHSizesEC; the allocator's; an entry out of range:
 * SarvoMHBoundsEC, the elements before it are written. In place the entries are checked before the scratch is
 * allocated, and nothing is written on an error. */
SARVO_API sarko_error_t sarvo_mh_px_vec(const PERM *px, const VEC *x, VEC **out);

/* out(px(i)) = x(i): the inverse of px applied. As sarvo_mh_px_vec in all else; in place an entry met twice is
 * SarvoMHBoundsEC too, after the scratch is allocated. */
SARVO_API sarko_error_t sarvo_mh_pxinv_vec(const PERM *px, const VEC *x, VEC **out);

/* Row i of out = row px(i) of A; *out sized to A's shape, not A.
 * Errors, in order: null: SarvoMHNullEC; A.rows is not px's size: SarvoMHSizesEC; out is A: SarvoMHInsituEC; the
 * allocator's; an entry out of range: SarvoMHBoundsEC, the rows before it are written. */
SARVO_API sarko_error_t sarvo_mh_px_rows(const PERM *px, const MAT *A, MAT **out);

/* out(r, px(j)) = A(r, j): column j goes to column px(j). As sarvo_mh_px_rows with A.cols; elements before the entry
 * out of range are written, row by row. */
SARVO_API sarko_error_t sarvo_mh_px_cols(const PERM *px, const MAT *A, MAT **out);

/* ---- Rows and columns ---- */

/* out = column j (row i) of A; *out at least of A.rows (A.cols) elements, a longer one keeps the others.
 * Errors, in order: null: SarvoMHNullEC; index at or beyond the count: SarvoMHRangeEC; the allocator's. */
SARVO_API sarko_error_t sarvo_mh_get_col(const MAT *A, uint64_t j, VEC **out);
SARVO_API sarko_error_t sarvo_mh_get_row(const MAT *A, uint64_t i, VEC **out);

/* A(i,j) = v(i) for i0 <= i < min(A.rows, v.dim), and A(i,j) = v(j) for j0 <= j < min(A.cols, v.dim).
 * Errors, in order: null: SarvoMHNullEC; index at or beyond the count: SarvoMHRangeEC. */
SARVO_API sarko_error_t sarvo_mh_set_col_(MAT *A, uint64_t j, const VEC *v, uint64_t i0);
SARVO_API sarko_error_t sarvo_mh_set_row_(MAT *A, uint64_t i, const VEC *v, uint64_t j0);

/* sarvo_mh_swap_rows exchanges A(k,i) and A(k,j) for k = lo .. min(hi, A.cols - 1), that is entries of columns i and j;
 * sarvo_mh_swap_cols exchanges A(i,k) and A(j,k) for k = lo .. min(hi, A.rows - 1), entries of rows i and j. Crossed
 * with respect to their names, and kept so. An empty range does nothing. The caller sees to it that k addresses
 * existing rows, respectively columns.
 * Errors, in order: A null: "Input matrix is not initialized."; i or j 0, or not below A.rows (swap_cols: A.cols):
 * "Wrong input indices.". */
SARVO_API sarko_error_t sarvo_mh_swap_rows(MAT *A, uint64_t i, uint64_t j, uint64_t lo, uint64_t hi);
SARVO_API sarko_error_t sarvo_mh_swap_cols(MAT *A, uint64_t i, uint64_t j, uint64_t lo, uint64_t hi);

/* ---- Views: records that point into another object's elements, valid until that is resized or freed ---- */

/* View of rows r0 .. r1 and columns c0 .. c1, inclusive: base is null, row_ptrs point into A. A null *out gets a fresh
 * record; a record with fewer rows gets fresh row pointers (its old ones are not freed). Release it with
 * sarvo_mh_m_free, do not resize it.
 * Errors, in order: null: SarvoMHNullEC; bounds crossed or not inside A: SarvoMHRangeEC; the allocator's, *out as
 * before. */
SARVO_API sarko_error_t sarvo_mh_sub_mat(const MAT *A, uint64_t r0, uint64_t c0, uint64_t r1, uint64_t c1, MAT **out);

/* View of elements i0 .. i1, inclusive. i1 = x.dim is let through: the view's last element then lies beyond x. Release
 * only the record, with sarko_mem_free; do not resize it or pass it to sarvo_mh_v_free.
 * Errors, in order: null: SarvoMHNullEC; i1 < i0 or i1 > x.dim: SarvoMHRangeEC; the allocator's, *out as before. */
SARVO_API sarko_error_t sarvo_mh_sub_vec(const VEC *x, uint64_t i0, uint64_t i1, VEC **out);

#ifdef __cplusplus
}
#endif

#endif
