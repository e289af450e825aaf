/* mh, sparse matrices: rows of sorted entries, with lists down the columns on request. See sarvo/mh.h.
 *
 * A matrix holds one growable array of (column, value) entries a row, in strictly ascending order of the column. What
 * is not stored is zero; a stored zero is an entry like any other. The matrix owns its rows and their arrays; a
 * free-standing row (sarvo_mh_sprow_get) is the caller's. Column lists and diagonal positions are made on request and
 * say by a flag whether they hold; changing the structure by insertion does not clear the flags.
 *
 *     #include <sarvo/mh.h>
 *     int main(void) {
 *         sarvo_initialize();
 *         SPMAT *A = NULL; VEC *x = NULL, *y = NULL;
 *         sarko_error_t e = sarvo_mh_sp_get(2, 3, 2, &A);
 *         if (!e) e = sarvo_mh_sp_set_val(A, 0, 2, 5.0);   //  0 0 5
 *         if (!e) e = sarvo_mh_sp_set_val(A, 1, 0, 7.0);   //  7 0 0
 *         if (!e) e = sarvo_mh_v_get(3, &x);
 *         sarvo_mh_v_count(x);
 *         if (!e) e = sarvo_mh_sp_mv_mlt(A, x, &y);        // 10 0
 *         sarvo_mh_v_foutput(stdout, " %g", y);
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_mh_sp_free(A); sarvo_mh_v_free(x); sarvo_mh_v_free(y);
 *         sarvo_terminate();
 *     }
 *
 * Errors: "code "name"" is an error of that code wrapped with the operation's short name (sarvo_mh_sp_get reports as
 * "sp_get"); errors of the allocator and of the operations that one is made of are passed on unchanged. An out address
 * that is null counts as a null input. Unless a declaration says otherwise the objects are unchanged after an error but
 * for storage that may have grown.
 */
#ifndef SARVO_MH_SPARSE_H
#define SARVO_MH_SPARSE_H

#include <sarvo/mh/objects.h>

#ifdef __cplusplus
extern "C" {
#endif

/* One stored entry. */
typedef struct row_elt {
    int32_t col;     /* column, from 0 */
    int32_t nxt_row; /* row of the next entry down the column, -1 at its end; valid while the matrix's flag_col is 1 */
    int32_t nxt_idx; /* position of that entry inside its row, -1 at the end */
    double val;
} row_elt;

/* One row. Row "7 at column 2, 9 at column 5" of a matrix reads len = 2, elt[0] = {2, .., 7}, elt[1] = {5, .., 9}. */
typedef struct SPROW {
    int32_t len;    /* entries in use */
    int32_t maxlen; /* entries allocated, at least */
    int32_t diag; /* position of the diagonal entry, negative when absent (see sarvo_mh_sprow_idx), -1 when never set */
    row_elt *elt; /* entries 0 .. len-1 by strictly ascending column; null when there is no array */
} SPROW;

/* The matrix. For  | 0 5 |  with column lists: start_row = {1, 0}, start_idx = {0, 0}, and the entry 5 at row 0
 *                  | 7 9 |  position 0 goes on with nxt_row = 1, nxt_idx = 1, the entry 9, which ends the column. */
typedef struct SPMAT {
    int32_t m, n;         /* rows, columns */
    int32_t max_m, max_n; /* rows and columns allocated */
    uint8_t flag_col;     /* 1: nxt_row, nxt_idx, start_row, start_idx are valid */
    uint8_t flag_diag;    /* 1: diag of every row is valid */
    SPROW *row;           /* max_m rows, by value */
    int32_t *start_row;   /* max_n: first row with an entry in the column, -1: none */
    int32_t *start_idx;   /* max_n: position of that entry inside its row, -1: none */
} SPMAT;

/* ---- Creation, release, shape ---- */

/* m x n matrix without entries in *out, whose old value is not looked at; room for max(maxlen, 1) entries in each row.
 * Errors, in order: m or n negative: SarvoMHNegEC "sp_get"; the allocator's. *out is untouched then. */
SARVO_API sarko_error_t sarvo_mh_sp_get(int32_t m, int32_t n, int32_t maxlen, SPMAT **out);

/* sarvo_mh_sp_get, sarvo_mh_sp_resize, sarvo_mh_sp_free for each of a list of SPMAT ** ended by NULL, in turn; the
 * first error ends it. Freeing sets the callers' pointers to null. */
SARVO_API sarko_error_t sarvo_mh_sp_get_vars(int32_t m, int32_t n, int32_t maxlen, ...);
SARVO_API sarko_error_t sarvo_mh_sp_resize_vars(int32_t m, int32_t n, ...);
SARVO_API void sarvo_mh_sp_free_vars(SPMAT **first, ...);

/* Releases a matrix with all it owns; null is allowed. */
SARVO_API void sarvo_mh_sp_free(SPMAT *A);

/* Sets every stored value to 0 and keeps the structure; null is allowed. */
SARVO_API void sarvo_mh_sp_zero(SPMAT *A);

/* Gives *A the shape m x n. Null: made by sarvo_mh_sp_get with room for 10 entries a row. Entries at and beyond column
 * n and rows at and beyond m are dropped; rows and columns that come (again) are empty. Storage is kept, max_m and
 * max_n never decrease; both flags are cleared unless the shape is the same.
 * Errors, in order: m or n negative: SarvoMHNegEC "sp_resize"; the allocator's: shape and entries as before. */
SARVO_API sarko_error_t sarvo_mh_sp_resize(SPMAT **A, int32_t m, int32_t n);

/* Removes the entries with |val| <= tol; the others, NaNs among them, slide down. Clears both flags, keeps storage.
 * Errors, in order: null: SarvoMHNullEC; tol < 0: SarvoMHRangeEC; both "sp_compact". */
SARVO_API sarko_error_t sarvo_mh_sp_compact(SPMAT *A, double tol);

/* Free-standing row without entries and room for maxlen in *out, whose old value is not looked at.
 * Errors, in order: maxlen negative: SarvoMHNegEC "sprow_get"; the allocator's. *out is untouched then. */
SARVO_API sarko_error_t sarvo_mh_sprow_get(int32_t maxlen, SPROW **out);

/* Releases a free-standing row. Returns 0; -1 for a null row. */
SARVO_API int32_t sarvo_mh_sprow_free(SPROW *row);

/* Growth. *row null: a record is made first. No array: n zeroed entries, len 0. Else room for newlen = n entries if
 * len < n, max(2 len + 1, 10) if not: in an array that is large enough the entries after len are zeroed; one that is
 * too small is reallocated to newlen, where all maxlen entries stay and new ones are zeroed. len becomes newlen: the
 * caller fills the tail and sets len back to what it used.
 * Errors: the allocator's (a negative n without an array is more than it can give); the row is as before. */
SARVO_API sarko_error_t sarvo_mh_sprow_xpd(SPROW **row, int32_t n);

/* Sets len to n. Null: made by sarvo_mh_sprow_get(n). With an array of at least n entries, or len n already, nothing
 * else happens; otherwise the array is reallocated and len = maxlen = n: all maxlen entries stay, those after len too,
 * new ones are zeroed.
 * Errors, in order: n negative: SarvoMHNegEC "sprow_resize"; the allocator's. */
SARVO_API sarko_error_t sarvo_mh_sprow_resize(SPROW **row, int32_t n);

/* ---- Entries ---- */

/* Position of column col in the row; -(p + 2) when it is absent and would be inserted at p: -2 before position 0, in an
 * empty row, and for a null row. Binary search. */
SARVO_API int32_t sarvo_mh_sprow_idx(const SPROW *row, int32_t col);

/* *val = A(i,j), 0 when absent; A(i,j) = val, overwritten or inserted, zeros too. An insertion moves the entries behind
 * it up, reallocates a full row to max(2 maxlen + 1, 5) entries, and leaves lists, diagonal positions and flags as they
 * were: make them anew before relying on them. In ascending order of j a row is filled in amortised constant time an
 * entry, otherwise each insertion costs the entries behind it.
 * Errors, in order: null: SarvoMHNullEC; i or j negative or outside A: SarvoMHSizesEC; both without a name; the
 * allocator's. */
SARVO_API sarko_error_t sarvo_mh_sp_get_val(const SPMAT *A, int32_t i, int32_t j, double *val);
SARVO_API sarko_error_t sarvo_mh_sp_set_val(SPMAT *A, int32_t i, int32_t j, double val);

/* The same for a free-standing row; col is not checked. A full row is reallocated to max(2 maxlen + 1, 5) entries and
 * records maxlen = 2 maxlen + 1.
 * Errors, in order: null: SarvoMHNullEC "sprow_set_val"; the allocator's. */
SARVO_API sarko_error_t sarvo_mh_sprow_set_val(SPROW *row, int32_t col, double val);

/* Threads the entries of each column into a list of ascending rows and sets flag_col. Cost: entries + n.
 * Errors: null: SarvoMHNullEC "sp_col_access". */
SARVO_API sarko_error_t sarvo_mh_sp_col_access(SPMAT *A);

/* diag of row i = sarvo_mh_sprow_idx(row i, i); sets flag_diag. Errors: null: SarvoMHNullEC "sp_diag_access". */
SARVO_API sarko_error_t sarvo_mh_sp_diag_access(SPMAT *A);

/* ---- Products with a vector, dense form ---- */

/* out = A x: out(i) = sum of A(i,j) x(j) over the stored entries of row i, j ascending, one running sum from +0.
 * out = x' A: out(j) = sum of x(i) A(i,j) over the stored entries, i ascending, one running sum from +0.
 * *out null or shorter than the result: resized; of a longer one the tail stays. Reads each entry once.
 * Errors, in order: null: SarvoMHNullEC; x of the wrong dimension: SarvoMHSizesEC; *out is x: SarvoMHInsituEC; all
 * "sp_mv_mlt" or "sp_vm_mlt"; the allocator's. */
SARVO_API sarko_error_t sarvo_mh_sp_mv_mlt(const SPMAT *A, const VEC *x, VEC **out);
SARVO_API sarko_error_t sarvo_mh_sp_vm_mlt(const SPMAT *A, const VEC *x, VEC **out);

/* Dense copy. *out null, or with fewer rows or columns than A: replaced by a new m x n matrix (the old one is freed
 * once that is there); otherwise it keeps its size and the elements of all its rows that are not stored in A become 0.
 * Errors, in order: null: SarvoMHNullEC "sp_m2dense"; the allocator's: *out is untouched. */
SARVO_API sarko_error_t sarvo_mh_sp_m2dense(const SPMAT *A, MAT **out);

/* ---- Arithmetic of rows ----
 * *out null: made with room for 10 entries; else its contents are replaced. A full array grows to max(2 maxlen + 1, 10)
 * entries until the result fits. Entries that cancel are stored as zeros; diag of the result is -1. Errors wrapped with
 * "sprow_merge" and so on, in the order given, then the allocator's. Cost: the lengths of the rows, read twice. */

/* Union of the columns; where both rows have one, the entry of r1. null: SarvoMHNullEC; *out is r1 or r2:
 * SarvoMHInsituEC. */
SARVO_API sarko_error_t sarvo_mh_sprow_merge(const SPROW *r1, const SPROW *r2, SPROW **out);

/* A copy, entry by entry with its links and diag. null: SarvoMHNullEC; *out is the row: SarvoMHInsituEC. */
SARVO_API sarko_error_t sarvo_mh_sprow_copy(const SPROW *r, SPROW **out);

/* out(j) = r1(j) + r2(j), r1(j) - r2(j), r1(j) + s r2(j) for the columns j >= j0 that r1 or r2 stores; what a row does
 * not store enters as +0, as in the dense sum; s exactly 0 gives r1(j). null: SarvoMHNullEC; *out is r1 or r2:
 * SarvoMHInsituEC; j0 negative: SarvoMHBoundsEC. */
SARVO_API sarko_error_t sarvo_mh_sprow_add(const SPROW *r1, const SPROW *r2, int32_t j0, SPROW **out);
SARVO_API sarko_error_t sarvo_mh_sprow_sub(const SPROW *r1, const SPROW *r2, int32_t j0, SPROW **out);
SARVO_API sarko_error_t sarvo_mh_sprow_mltadd(const SPROW *r1, const SPROW *r2, double s, int32_t j0, SPROW **out);

/* out(j) = s r(j); *out may be r, whose links and diag then stay. null: SarvoMHNullEC. */
SARVO_API sarko_error_t sarvo_mh_sprow_smlt(const SPROW *r, double s, SPROW **out);

/* ---- Arithmetic of matrices ----
 * *out null: made with rows of just the length needed; else resized to the result's shape and its entries replaced.
 * Sums that cancel are stored as zeros; both flags of the result are 0 unless said otherwise. After any error *out is
 * as before but for room in its rows. Errors, in order: null: SarvoMHNullEC; the shapes do not fit: SarvoMHSizesEC;
 * both with the operation's name ("sp_add", ...); then as said below; the allocator's. */

/* out = A + B, A - B, A + s B, by the row operations above. *out is A or B: SarvoMHInsituEC with the name of the row
 * operation, which refuses it ("sprow_add", ...). */
SARVO_API sarko_error_t sarvo_mh_sp_add(const SPMAT *A, const SPMAT *B, SPMAT **out);
SARVO_API sarko_error_t sarvo_mh_sp_sub(const SPMAT *A, const SPMAT *B, SPMAT **out);
SARVO_API sarko_error_t sarvo_mh_sp_mltadd(const SPMAT *A, const SPMAT *B, double s, SPMAT **out);

/* out = s A; *out may be A, which keeps its structure, lists and flags. */
SARVO_API sarko_error_t sarvo_mh_sp_smlt(const SPMAT *A, double s, SPMAT **out);

/* out = A B: out(i,j) = sum of A(i,k) B(k,j) over the entries that both store, k ascending, one running sum from +0
 * (row by row: Gustavson, 1978). *out is A or B: SarvoMHInsituEC "sp_mlt". Cost: one operation a product of two
 * entries; scratch: 16 bytes a column of B. */
SARVO_API sarko_error_t sarvo_mh_sp_mlt(const SPMAT *A, const SPMAT *B, SPMAT **out);

/* Copies with links, diagonal positions and flags; of A onto itself: nothing happens. sp_copy2 makes the column lists
 * of the result anew and sets its flag_col. */
SARVO_API sarko_error_t sarvo_mh_sp_copy(const SPMAT *A, SPMAT **out);
SARVO_API sarko_error_t sarvo_mh_sp_copy2(const SPMAT *A, SPMAT **out);

/* ---- Listing ---- */

/* Writes, with the address of the array in hexadecimal and a blank line at the end,
 *     SparseRow dump:
 *     row: len = 1, maxlen = 4, diag idx = -1
 *     element list @ 0x5581c0
 *     Col: 2, Val: 5, nxt_row = -1, nxt_idx = -1
 * and "*** NULL row ***", respectively "*** NULL element list ***" without the blank line, for what is missing. */
SARVO_API void sarvo_mh_sprow_dump(FILE *stream, const SPROW *row);

/* Writes "SparseRow: **** NULL ****" for null, else
 *     SparseRow: length: 1
 *     Column 2: 5, next row: -1, next index -1
 */
SARVO_API void sarvo_mh_sprow_foutput(FILE *stream, const SPROW *row);

#ifdef __cplusplus
}
#endif

#endif
