/* array: vectors and matrices whose element type is chosen at run time, and the arithmetic over them.
 *
 * The element type is a data-type id, 1 to 24, whose size in bytes SarvoDtype gives. Every id can be allocated,
 * resized, zeroed and freed as a vector; copying, printing and arithmetic know id 5 (32-bit signed integer) and id 20
 * (double) only, and so do matrices that have elements.
 *
 * Objects belong to the caller. An operation that fills an object takes the address of the caller's pointer: a null
 * pointer is allocated, a smaller object grown, none is ever shrunk below its capacity. The free operations accept
 * null.
 * Indices count from 0; matrices are stored by rows. Distinct objects may be used in any number of threads.
 *
 *     #include <sarvo/array.h>
 *     int main(void) {
 *         sarvo_initialize();
 *         sarvo_matrix *a = NULL, *b = NULL;
 *         sarko_error_t e = sarvo_matrix_alloc(&a, SARVO_DOUBLE, 0, 2, 2);
 *         if (!e) {
 *             ((double **)a->row_ptrs)[0][1] = 3.0;
 *             ((double **)a->row_ptrs)[1][0] = 4.0;
 *             e = sarvo_mm_mlt(a, a, &b);
 *             sarvo_matrix_fprintf(b, stdout, NULL, 0);
 *         }
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_matrix_free(a); sarvo_matrix_free(b);
 *         sarvo_terminate();
 *     }
 *
 * Texts in the lists of errors: "Invalid data type %d" and "Invalid or not implemented data type %d" carry code
 * SarvoDtypeEC and name the offending id. "the allocator's" are the kernel library's errors, passed on unchanged.
 */
#ifndef SARVO_ARRAY_H
#define SARVO_ARRAY_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

#define SARVO_DTYPES 25 /* entries of SarvoDtype, the unused entry 0 included */

enum {
    SARVO_INT32 = 5,  /* data-type id of int32_t */
    SARVO_DOUBLE = 20 /* data-type id of double */
};

/* Element size in bytes of each data-type id; entry 0 is 0. Filled by sarvo_initialize. */
SARVO_API extern uint64_t SarvoDtype[SARVO_DTYPES];

typedef struct sarvo_vector {
    uint32_t dtype;    /* data-type id */
    uint64_t length;   /* elements in use */
    uint64_t capacity; /* elements allocated */
    void *data;        /* the elements; null when none was ever allocated */
} sarvo_vector;

/* A 2 x 3 matrix that was once 3 x 4: rows = 2, cols = 3, max_rows = 3, max_cols = 4, and the block of 12 elements
 * reads
 *     a00 a01 a02 a10 a11 a12 -  -  -  -  -  -        row_ptrs[1] = data + 1 * cols * size
 */
typedef struct sarvo_matrix {
    uint32_t dtype; /* data-type id */
    uint64_t rows;  /* current shape */
    uint64_t cols;
    uint64_t max_rows; /* row pointers allocated */
    uint64_t max_cols; /* largest column count laid out; the block holds max_rows * max_cols elements */
    void **row_ptrs;   /* max_rows pointers; row i < rows begins at data + i * cols * size; null without rows */
    void *data;        /* the elements, row after row; null when none was ever allocated */
} sarvo_matrix;

enum { SARVO_REALLOC_DTYPE = 1 }; /* flag of the realloc operations: the result must have the requested dtype */

/* ---- Vectors ---- */

/* Allocates a vector of `length` zeroed elements and stores it in *v (whose old value is not looked at). `unused` is
 * ignored.
 * Errors, in order: v null: SarvoNullEC; dtype not in 1..24: "Invalid data type %d"; the allocator's ("Size of
 * allocation overflows." included). *v is unchanged after a failure. */
SARVO_API sarko_error_t sarvo_vector_alloc(sarvo_vector **v, uint32_t dtype, uint64_t unused, uint64_t length);

/* Resizes *v to `length` elements, keeping contents; new elements are zero. Growth is exact; shrinking keeps the
 * capacity.
 *   *v null: allocated with dtype. *v of another dtype: with SARVO_REALLOC_DTYPE in flags (or when its dtype is
 *   invalid) it is freed and allocated anew, else it keeps its own dtype and the requested one is ignored.
 * Errors, in order: v null: SarvoNullEC; those of sarvo_vector_alloc (after a freed vector *v is null then);
 * SarvoOverflowEC "Too large size %zu" (the request); the allocator's. The vector keeps its length and contents after a
 * failed growth. */
SARVO_API sarko_error_t sarvo_vector_realloc(sarvo_vector **v, uint32_t dtype, uint32_t flags, uint64_t length);

/* Releases the vector and its elements; null is allowed. */
SARVO_API void sarvo_vector_free(sarvo_vector *v);

/* Copies `count` elements (0 = from the offset to the end) from source[source_offset...] to
 * (*destination)[destination_offset...].
 *   *destination null: allocated with the source's dtype and length count + destination_offset; resized to that length
 *   when it is shorter or of another dtype (then its old contents are lost); never shrunk. It may be the source:
 *   overlap is safe.
 * Errors, in order: source or destination null: SarvoNullEC; source's dtype invalid: "Invalid data type %d";
 * source_offset + count beyond the source's length: SarvoSizeEC; count + destination_offset wraps: SarvoOverflowEC;
 * those of the resize; dtype other than 5 and 20, after the destination was prepared: "Invalid or not implemented data
 * type %d". */
SARVO_API sarko_error_t sarvo_vector_copy(const sarvo_vector *source, uint64_t source_offset, uint64_t count,
                                          sarvo_vector **destination, uint64_t destination_offset);

/* Sets all elements to zero. Errors, in order: null: SarvoNullEC; invalid dtype: "Invalid data type %d". */
SARVO_API sarko_error_t sarvo_vector_zero(sarvo_vector *v);

/* Prints the elements to `stream`, `per_line` of them a line (0 = 5), each with `format` (null = " % d" for id 5,
 * " % e" for id 20), which receives one element. A last line that is not full is ended too. Prints nothing for a null
 * or empty vector or another dtype. */
SARVO_API void sarvo_vector_fprintf(const sarvo_vector *v, FILE *stream, const char *format, uint64_t per_line);

/* ---- Matrices ---- */

/* Allocates a rows x cols matrix of zeros and stores it in *m (whose old value is not looked at). `unused` is ignored.
 * Errors, in order: m null: SarvoNullEC; invalid dtype: "Invalid data type %d"; rows * cols beyond 64 bits:
 * SarvoOverflowEC "Too large size for rows=%zu cols=%zu"; the allocator's; rows and cols both not 0 and dtype other
 * than 5 and 20: "Invalid or not implemented data type %d". *m is unchanged after a failure. */
SARVO_API sarko_error_t sarvo_matrix_alloc(sarvo_matrix **m, uint32_t dtype, uint64_t unused, uint64_t rows,
                                           uint64_t cols);

/* Resizes *m to rows x cols. Elements inside both shapes keep their (row, column) place, all others are zero.
 *   *m null or of another dtype: as in sarvo_vector_realloc.
 * Errors, in order: m null: SarvoNullEC; those of sarvo_matrix_alloc; SarvoOverflowEC "Too large size for rows=%zu";
 * SarvoOverflowEC "Too large number of elements %zu"; the allocator's; "Invalid or not implemented data type %d" as
 * above. The matrix keeps its shape and contents after a failed resize; blocks already enlarged stay so. */
SARVO_API sarko_error_t sarvo_matrix_realloc(sarvo_matrix **m, uint32_t dtype, uint32_t flags, uint64_t rows,
                                             uint64_t cols);

/* Releases the matrix and its elements; null is allowed. */
SARVO_API void sarvo_matrix_free(sarvo_matrix *m);

/* Copies the rows x cols block (0 = the rest of the source in that direction) at (first_row, first_col) of source to
 * (destination_row, destination_col) of *destination.
 *   *destination null: allocated just large enough; kept when large enough and of the same dtype, else resized to the
 *   larger of its own and the needed extent in each direction. Rows are moved one by one, ascending; it may be the
 *   source when no row that is still to be read has been written.
 * Errors, in order: source or destination null: SarvoNullEC; source's dtype invalid: "Invalid data type %d"; block not
 * inside the source: SarvoSizeEC; needed extent wraps: SarvoOverflowEC; those of the resize; dtype other than 5 and 20:
 * "Invalid or not implemented data type %d". */
SARVO_API sarko_error_t sarvo_matrix_copy(const sarvo_matrix *source, uint64_t first_row, uint64_t first_col,
                                          uint64_t rows, uint64_t cols, sarvo_matrix **destination,
                                          uint64_t destination_row, uint64_t destination_col);

/* Sets all elements to zero. Errors, in order: null: SarvoNullEC; invalid dtype: "Invalid data type %d"; elements of
 * another id than 5 and 20: "Invalid or not implemented data type %d". */
SARVO_API sarko_error_t sarvo_matrix_zero(sarvo_matrix *m);

/* Zeroes the matrix, then writes ones on the diagonal of length min(rows, cols). Errors of sarvo_matrix_zero. */
SARVO_API sarko_error_t sarvo_matrix_ident(sarvo_matrix *m);

/* Prints the rows like sarvo_vector_fprintf prints a vector, each row beginning a new line. */
SARVO_API void sarvo_matrix_fprintf(const sarvo_matrix *m, FILE *stream, const char *format, uint32_t per_line);

/* ---- Arithmetic ----
 * Every operation is rounded by itself (no fused multiply-add). Only ids 5 and 20 take part. */

/* *result = sum_{k=0..count-1} x[x_offset+k] * y[y_offset+k], k ascending, one running sum from +0.0 in double. int *
 * int is formed in 32 bits, wrapping, and then converted; in mixed products the int is converted first. count 0: as
 * many as both have left.
 * Errors, in order: x, y or result null: SarvoNullEC; count 0 and an offset not below its vector's length, or count
 * beyond either end: SarvoBoundsEC; then *result = 0.0; another id: "Invalid or not implemented data type %d" (x's id
 * if it is the bad one, else y's). */
SARVO_API sarko_error_t sarvo_vv_inprod(const sarvo_vector *x, const sarvo_vector *y, uint64_t x_offset,
                                        uint64_t y_offset, uint64_t count, double *result);

/* *out = x + y. The result has id 5 when both operands have (32-bit sums, wrapping), else 20.
 *   *out  null: allocated; else resized and, if need be, made anew with the result's id; may be x or y when it already
 *   has the result's id.
 * Errors, in order: x, y or out null: SarvoNullEC; lengths differ: SarvoSizeEC; another id: "Invalid or not implemented
 * data type %d" (x's if it is the bad one, else y's); *out is x or y and has not the result's id: SarvoInsituEC; those
 * of the resize. *out is untouched by all but the last. */
SARVO_API sarko_error_t sarvo_vv_add(const sarvo_vector *x, const sarvo_vector *y, sarvo_vector **out);

/* *out = s x, x + s, x - s, element by element.
 *   *out  null: allocated with x's dtype; resized to x's length when that differs, keeping its own dtype; may be x.
 * With s = 1 (sv_mlt) or 0 (sv_add, vs_sub) *out becomes a copy of x, dtype included; sv_mlt with s = 0 zeroes *out. In
 * these cases id 5 is allowed throughout. Otherwise *out must be id 20 by then: give a double destination when x is id
 * 5.
 * Errors, in order: x or out null: SarvoNullEC; those of the resize; those of sarvo_vector_copy where it copies; *out
 * not id 20, then x neither 5 nor 20: "Invalid or not implemented data type %d". */
SARVO_API sarko_error_t sarvo_sv_mlt(double s, const sarvo_vector *x, sarvo_vector **out);
SARVO_API sarko_error_t sarvo_sv_add(double s, const sarvo_vector *x, sarvo_vector **out);
SARVO_API sarko_error_t sarvo_vs_sub(double s, const sarvo_vector *x, sarvo_vector **out);

/* *out = a b,  out(i,j) = sum_k a(i,k) b(k,j), k ascending, one running sum from +0.0; terms whose a(i,k) is zero are
 * left out (a NaN is not), so that 0 times infinity adds nothing.
 *   a    m x k, not modified      b    k x n, not modified
 *   out  null: allocated; else resized to m x n doubles; must be neither a nor b
 * int * int, int * double and double * int are accepted and do nothing: success, *out untouched.
 * Errors, in order: a, b or out null: SarvoNullEC; a's cols not b's rows: SarvoSizeEC; *out is a or b: SarvoInsituEC;
 * another id: "Invalid or not implemented data type %d" (a's if it is the bad one, else b's); the allocator's (work
 * space of at most 1.7 MiB); those of the resize. *out is untouched by all but the last. */
SARVO_API sarko_error_t sarvo_mm_mlt(const sarvo_matrix *a, const sarvo_matrix *b, sarvo_matrix **out);

/* *out = a s, element by element; the rules of sarvo_sv_mlt. */
SARVO_API sarko_error_t sarvo_sm_mlt(double s, const sarvo_matrix *a, sarvo_matrix **out);

#ifdef __cplusplus
}
#endif

#endif
