/* nr, singular values: the decomposition of a matrix, its rank, inverse, solves, range and null space. See nr.h. */
#ifndef SARVO_NR_SVD_H
#define SARVO_NR_SVD_H

#include <sarvo/array.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct sarvo_nr_svd {
    uint32_t done;   /* 1 while a decomposition is valid, else 0 */
    uint64_t m;      /* rows decomposed */
    uint64_t n;      /* columns decomposed */
    sarvo_matrix *U; /* m x n, left singular vectors in columns; for m < n the last n - m columns and w are zero */
    sarvo_matrix *V; /* n x n, right singular vectors in columns, orthogonal */
    sarvo_vector *w; /* n singular values, none negative, in no particular order until sarvo_nr_svd_reorder */
    double wmax;     /* the largest of w; -SarvoDblXmax for n = 0 */
    double eps;      /* setting: relative tolerance of negligible elements; negative = SarvoDblEps (default -1.0) */
    double thresh;   /* setting: w not above it count as zero; negative = derived by the decomposition (default -1.0);
                        changed after a decomposition, it matters to solves and inverse, not to rank and the bases */
    uint32_t maxiter; /* setting: limit of QR sweeps for one singular value, per 8 values of min(m, n), begun ones
                         counted: 30 (the default) allows 30 sweeps up to 8 values, 60 up to 16, 390 at 100 */
    uint32_t rank;    /* number of w > thresh, when it was decomposed */
    uint32_t nullity; /* number of w <= thresh, when it was decomposed */
    double rcond;     /* smallest w / wmax (NaN for the zero matrix) */
} sarvo_nr_svd;

/* Allocates a record with eps = thresh = -1.0 and maxiter = 30 and stores it in *svd (whose old value is not looked
 * at).
 * Errors, in order: svd null: SarvoNullEC; the allocator's (*svd unchanged). */
SARVO_API sarko_error_t sarvo_nr_svd_init(sarvo_nr_svd **svd);

/* Decomposes the rows x cols block of A at (first_row, first_col); a count of 0 stands for the rest in that direction.
 *   A    doubles, not modified; must not be one of svd's own matrices
 *   svd  receives m, n, U, V, w, wmax, rcond, rank, nullity, done; eps and thresh when they were negative:
 *        eps = SarvoDblEps, thresh = eps * 0.5 * sqrt(m + n + 1) * wmax. Both stay so for the next decomposition.
 * Method: Householder reduction to bidiagonal form, then implicitly shifted QR sweeps from the last singular value to
 * the first (Golub and Kahan 1965; Golub and Reinsch 1970). A superdiagonal or diagonal element is negligible when its
 * magnitude is at most eps * max(|d_i| + |e_i|), a superdiagonal one also when it is at most 4 * 2^-52 times the smaller
 * diagonal element beside it, which is what rounding leaves between equal singular values. A block of b values that
 * 10 + b sweeps do not break is swept without shift every second time, and the first bound doubles with each of these
 * sweeps, so that every block ends: no finite matrix is known to need the default limit. Matrices whose entries are near the ends of the exponent range are
 * scaled by a power of 2 meanwhile; rows and columns are taken largest first when their sizes differ by more than 256
 * times, which keeps the small singular values of graded matrices. The order of every operation is fixed: equal bits
 * on every processor.
 * Errors, in order, all but the third wrapped with "Cannot do SVD": svd null: SarvoNullEC "SVD structure is not
 * initialized"; A null: SarvoNullEC; A not of id 20: SarvoDtypeEC "Invalid data type %d"; from here on done is 0:
 * SarvoNrSizeEC "Requested number of rows (%zu) starting from index (%zu) is not available in input matrix (%zu)."
 * (count, first row, A's rows), for a count of 0 that leaves fewer than 2 "Requested number of rows is too small
 * (%zu)."; the same two for columns;
 * the allocator's; SarvoNrIterEC "No convergence in %d iterations" (maxiter), also for a matrix with NaN or infinite
 * entries. An explicit count of 1 is allowed.
 * Cost: about 12 n^3 operations for a square matrix, about 8 m n^2 for a tall one; scratch about 2 m n + n^2 doubles
 * and, for a wide one, as for its transpose. */
SARVO_API sarko_error_t sarvo_nr_svd_decompose(const sarvo_matrix *A, uint64_t first_row, uint64_t first_col,
                                               uint64_t rows, uint64_t cols, sarvo_nr_svd *svd);

/* All operations below fail first when svd is null (SarvoNullEC "SVD structure is not initialized") or done is not 1
 * (SarvoNrSvdNotReadyEC), and wrap every error with the text named at the operation. Outputs: *out null is allocated.
 * */

/* Sorts w into descending order, columns of U and V along (Shell sort, increments 1, 4, 13, 40, ...); then, for each k,
 * if more than (m + n) / 2 (integer) entries of column k of U and of V together are negative, negates both columns.
 * Wrap: "SVD reordering error". Errors: the two above; the allocator's (work space; nothing is changed then). */
SARVO_API sarko_error_t sarvo_nr_svd_reorder(sarvo_nr_svd *svd);

/* *out = V diag(1/w) U', the pseudo-inverse, n x m, with 1/w = 0 for w <= thresh; each element summed over j ascending.
 *   *out  resized to n x m when missing or smaller in a direction, a larger one keeps its size and the rest of its
 *   contents.
 * Wrap: "SVD inverting error". Errors: the two above; out null: SarvoNullEC; *out not of id 20: SarvoDtypeEC "Invalid
 * data type %d"; the allocator's. */
SARVO_API sarko_error_t sarvo_nr_svd_invert(const sarvo_nr_svd *svd, sarvo_matrix **out);

/* *x = V t,  t_j = (sum_i U(i,j) b_i) / w_j for w_j > thresh, else 0: the least-squares solution of A x = b of least
 * norm. Sums ascend.
 *   b    length m, not modified      *x   resized to n; may be b
 * Wrap: "SVD vsolve error". Errors: the two above; b or x null: SarvoNullEC; b or *x not of id 20: SarvoDtypeEC
 * "Invalid data type %d"; b's length not m: SarvoNrSizeEC "Incompatibles sizes. A[%zu,%zu] b[%zu]" (m, n, length); the
 * allocator's. */
SARVO_API sarko_error_t sarvo_nr_svd_vsolve(const sarvo_nr_svd *svd, const sarvo_vector *b, sarvo_vector **x);

/* The same for each column of B; equal bits to column-wise sarvo_nr_svd_vsolve.
 *   B    m x k, not modified         *X   resized to n x k when missing or smaller in a direction; may be B
 * Wrap: "SVD msolve error". Errors as for vsolve, with SarvoNrSizeEC "Incompatibles sizes. B[%zu,%zu] A[%zu,%zu]" (B's
 * rows, B's cols, m, n). */
SARVO_API sarko_error_t sarvo_nr_svd_msolve(const sarvo_nr_svd *svd, const sarvo_matrix *B, sarvo_matrix **X);

/* *out = the columns of U with w > thresh, in order: an orthonormal basis of the range, m x rank (made a double matrix
 * of just that shape). They are the `rank` columns of the largest w, which does not change with thresh afterwards.
 * Wrap: "SVD range error". Errors: the two above; out null: SarvoNullEC; rank 0: SarvoNrEmptyEC "Matrix rank is zero";
 * the allocator's. */
SARVO_API sarko_error_t sarvo_nr_svd_range(const sarvo_nr_svd *svd, sarvo_matrix **out);

/* *out = the columns of V with w <= thresh, those that the range leaves, in order: an orthonormal basis of the null
 * space, n x nullity.
 * Wrap: "SVD nullspace error". Errors as above with "Matrix nullity is zero". */
SARVO_API sarko_error_t sarvo_nr_svd_nullspace(const sarvo_nr_svd *svd, sarvo_matrix **out);

/* Releases U, V, w and the record; null is allowed. */
SARVO_API void sarvo_nr_svd_free(sarvo_nr_svd *svd);

#ifdef __cplusplus
}
#endif

#endif
