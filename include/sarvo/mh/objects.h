/* mh, objects: records, allocation, resizing, filling, listing, copying and moving. See sarvo/mh.h. */
#ifndef SARVO_MH_OBJECTS_H
#define SARVO_MH_OBJECTS_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Dense matrix. A 2 x 3 matrix that was once 3 x 4 has max_rows = 3, max_cols = 4, capacity = 12, and its block reads
 *     a00 a01 a02 a10 a11 a12 -  -  -  -  -  -        row_ptrs[1] = base + 1 * cols
 * A matrix without rows has no row pointers, one without elements no block (null pointers). */
typedef struct MAT {
    uint64_t rows; /* current shape */
    uint64_t cols;
    uint64_t max_rows; /* row pointers allocated; never decreases */
    uint64_t max_cols; /* largest column count laid out; never decreases */
    uint64_t capacity; /* doubles that the block can hold */
    double **row_ptrs; /* row i < rows begins at row_ptrs[i] = base + i * cols */
    double *base;      /* the block, row after row; null in a view (sarvo_mh_sub_mat) */
} MAT;

/* Dense vector. */
typedef struct VEC {
    uint64_t dim;     /* elements in use */
    uint64_t max_dim; /* elements allocated; never decreases */
    double *elems;    /* null when made with dimension 0 */
} VEC;

/* Vector of 32-bit unsigned integers: indices and counts. */
typedef struct IVEC {
    uint64_t dim;
    uint64_t max_dim;
    uint32_t *elems;
} IVEC;

/* Vector of 64-bit signed integers. */
typedef struct I64VEC {
    uint64_t dim;
    uint64_t max_dim;
    int64_t *elems;
} I64VEC;

/* Permutation: entry i is the image of i. Valid when the entries are `size` distinct values below size. */
typedef struct PERM {
    uint32_t size;     /* as given to sarvo_mh_px_get; read as signed it may be negative: then there are no entries */
    uint32_t max_size; /* entries allocated */
    uint32_t *elems;   /* null when made with a size below 1 */
} PERM;

/* ---- Creation and release ---- */

/* Allocates an object with all elements 0 (a permutation: the identity) and stores it in *out, whose old value is not
 * looked at. A size of 0 is valid; a negative size gives a permutation without entries that keeps it.
 * Errors: the allocator's; nothing is left allocated and *out is untouched. */
SARVO_API sarko_error_t sarvo_mh_m_get(uint64_t rows, uint64_t cols, MAT **out);
SARVO_API sarko_error_t sarvo_mh_v_get(uint64_t dim, VEC **out);
SARVO_API sarko_error_t sarvo_mh_iv_get(uint64_t dim, IVEC **out);
SARVO_API sarko_error_t sarvo_mh_i64v_get(uint64_t dim, I64VEC **out);
SARVO_API sarko_error_t sarvo_mh_px_get(int32_t size, PERM **out);

/* Release an object; null is allowed. A permutation whose size is negative as a signed number is never freed by this
 * call: give it a size of 0 or more first (sarvo_mh_px_resize). */
SARVO_API void sarvo_mh_m_free(MAT *A);
SARVO_API void sarvo_mh_v_free(VEC *v);
SARVO_API void sarvo_mh_iv_free(IVEC *v);
SARVO_API void sarvo_mh_i64v_free(I64VEC *v);
SARVO_API void sarvo_mh_px_free(PERM *p);

/* ---- Resizing ----
 * A null object is created as by its *_get; an equal size changes nothing. The record stays where it is; its arrays may
 * be reallocated, so pointers into them are invalid afterwards. Storage is never given back. */

/* Element (i, j) keeps its value for i and j below both the old and the new counts; all others become 0.
 * Errors: the allocator's; the matrix keeps shape and contents. */
SARVO_API sarko_error_t sarvo_mh_m_resize(MAT **A, uint64_t rows, uint64_t cols);

/* Elements below both dimensions keep their values; new ones become 0, also those that an earlier shrink had hidden.
 * Errors: the allocator's; the vector is unchanged. */
SARVO_API sarko_error_t sarvo_mh_v_resize(VEC **v, uint64_t dim);
SARVO_API sarko_error_t sarvo_mh_iv_resize(IVEC **v, uint64_t dim);
SARVO_API sarko_error_t sarvo_mh_i64v_resize(I64VEC **v, uint64_t dim);

/* Growing keeps the entries and maps each new index to itself; shrinking resets to the identity of the new size.
 * Errors, in order: size negative: "Incorrect dimension: %d" with the size; the allocator's. *p is unchanged then. */
SARVO_API sarko_error_t sarvo_mh_px_resize(PERM **p, int32_t size);

/* ---- Filling: null objects and objects of size 0 are left alone ---- */

SARVO_API void sarvo_mh_m_zero(MAT *A); /* all elements 0 */
SARVO_API void sarvo_mh_v_zero(VEC *v);
SARVO_API void sarvo_mh_iv_zero(IVEC *v);
SARVO_API void sarvo_mh_i64v_zero(I64VEC *v);
SARVO_API void sarvo_mh_m_ones(MAT *A); /* all elements 1 */
SARVO_API void sarvo_mh_v_ones(VEC *v);
SARVO_API void sarvo_mh_iv_ones(IVEC *v);
SARVO_API void sarvo_mh_i64v_ones(I64VEC *v);
SARVO_API void sarvo_mh_m_ident(MAT *A);   /* 1 on the leading diagonal, else 0; need not be square */
SARVO_API void sarvo_mh_px_ident(PERM *p); /* entry i = i */
SARVO_API void sarvo_mh_v_count(VEC *v);   /* element i = i */

/* ---- Listing ----
 * Write an object to a stream, each element with the caller's printf format (of a double; of an unsigned for IVEC).
 * The returned value has no meaning. Layouts:
 *     Matrix: [1-by-5]                  row label and four elements, then lines of five
 *     row 0:  1 2 3 4
 *      5
 *     Vector: [dim=6]                   lines of five; an IVEC says "I-Vector: [dim=6]"
 *      1 2 3 4 5
 *      6
 *     Permutation: [size=9]             lines of eight pairs
 *     0->0 1->1 2->2 3->3 4->4 5->5 6->6 7->7
 *       8->8
 * A null object prints "Matrix: NULL", "Vector: NULL" (an IVEC too) or "Permutation: NULL"; one without row pointers or
 * elements its header and "NULL". */
SARVO_API int32_t sarvo_mh_m_foutput(FILE *stream, const char *format, const MAT *A);
SARVO_API int32_t sarvo_mh_v_foutput(FILE *stream, const char *format, const VEC *v);
SARVO_API int32_t sarvo_mh_iv_foutput(FILE *stream, const char *format, const IVEC *v);
SARVO_API int32_t sarvo_mh_px_foutput(FILE *stream, const PERM *p);

/* ---- Copying ----
 * Copying an object onto itself does nothing and succeeds. Errors, in order: `in` null: "Input matrix is not
 * initialized.", "Input vector is not initialized." or "Input permutation is not initialized."; the allocator's. */

/* Copies the elements from row i0 and column j0 on to the same places of *out. *out null, or with fewer rows or columns
 * than `in`: resized to in's shape; a larger one keeps its shape and all other elements. Offsets beyond `in` copy
 * nothing. */
SARVO_API sarko_error_t sarvo_mh_m_copy_(const MAT *in, MAT **out, uint64_t i0, uint64_t j0);

/* The same for elements from i0 on. *out null or shorter: resized to in's dimension; a longer one keeps its length. */
SARVO_API sarko_error_t sarvo_mh_v_copy_(const VEC *in, VEC **out, uint64_t i0);
SARVO_API sarko_error_t sarvo_mh_iv_copy_(const IVEC *in, IVEC **out, uint64_t i0);
SARVO_API sarko_error_t sarvo_mh_i64v_copy_(const I64VEC *in, I64VEC **out, uint64_t i0);

/* Copies all entries; *out null or of any other size is resized to in's size. */
SARVO_API sarko_error_t sarvo_mh_px_copy(const PERM *in, PERM **out);

/* ---- Block moves ----
 * `in` and *out may be one object. Errors, in order: `in` null: the message of its kind as above; block empty or not
 * inside `in`: SarvoMHSizesEC "Wrong bounds for input matrix." or "Wrong bounds for input vector."; the allocator's
 * (sizes of *out that overflow 64 bits included). */

/* Moves the bm x bn block at (i0, j0) of `in` to (i1, j1) of *out, row after row in ascending order, each row safe
 * against overlap. *out null: made (i1 + bm) x (j1 + bn); too small: resized to the larger of that and its own shape.
 */
SARVO_API sarko_error_t sarvo_mh_m_move(const MAT *in, uint64_t i0, uint64_t j0, uint64_t bm, uint64_t bn, MAT **out,
                                        uint64_t i1, uint64_t j1);

/* Moves elements i0 .. i0+len-1 of `in` to i1 .. of *out, safe against overlap. *out null or shorter than i1 + len:
 * resized to that. */
SARVO_API sarko_error_t sarvo_mh_v_move(const VEC *in, uint64_t i0, uint64_t len, VEC **out, uint64_t i1);
SARVO_API sarko_error_t sarvo_mh_iv_move(const IVEC *in, uint64_t i0, uint64_t len, IVEC **out, uint64_t i1);
SARVO_API sarko_error_t sarvo_mh_i64v_move(const I64VEC *in, uint64_t i0, uint64_t len, I64VEC **out, uint64_t i1);

/* Writes the bm x bn block at (i0, j0) of `in`, row after row, to *out from i1 on. *out null or shorter than
 * i1 + bm bn: resized to that. */
SARVO_API sarko_error_t sarvo_mh_mv_move(const MAT *in, uint64_t i0, uint64_t j0, uint64_t bm, uint64_t bn, VEC **out,
                                         uint64_t i1);

/* Fills the bm x bn block at (i1, j1) of *out, row after row, with elements i0 .. i0+bm*bn-1 of `in`. *out null: made
 * (i1 + bm) x (j1 + bn); else resized to the larger of that and its own shape. */
SARVO_API sarko_error_t sarvo_mh_vm_move(const VEC *in, uint64_t i0, MAT **out, uint64_t i1, uint64_t j1, uint64_t bm,
                                         uint64_t bn);

#ifdef __cplusplus
}
#endif

#endif
