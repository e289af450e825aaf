/* nr, eigenvalues: those of a real symmetric matrix with their vectors, by cyclic Jacobi rotations. See nr.h. */
#ifndef SARVO_NR_JACOBI_H
#define SARVO_NR_JACOBI_H

#include <sarvo/array.h>

#ifdef __cplusplus
extern "C" {
#endif

/* One record is for one thread at a time. It owns V and d. */
typedef struct sarvo_nr_jtsm {
    uint32_t n;          /* order of the last matrix that was solved */
    sarvo_matrix *V;     /* n x n, orthogonal: column k is the eigenvector of eigenvalue k */
    sarvo_vector *d;     /* the n eigenvalues, the largest first */
    double tol;          /* setting: relative tolerance of negligible elements; negative = SarvoDblEps (default -1.0) */
    uint32_t max_sweeps; /* setting: limit of sweeps (default 50); taken literally, 0 always fails */
} sarvo_nr_jtsm;

/* Allocates a record, all zero but tol = -1.0 and max_sweeps = 50, and stores it in *record (whose old value is not
 * looked at).
 * Errors, in order: record null: SarvoNullEC; the allocator's (*record unchanged). */
SARVO_API sarko_error_t sarvo_nr_jtsm_init(sarvo_nr_jtsm **record);

/* Eigenvalues and vectors of the square block of A at (first_row, first_col).
 *   A      doubles, not modified; of the block only the diagonal and what is above it is taken. May not be record->V.
 *   order  of the block; 0: all that is left, which must be square
 *   record receives V, d, n; V and d are made just n x n and n long
 * Method (Jacobi 1846; thresholds of Rutishauser 1966): V = 1, b = d = diag(a), z = 0; sweeps i = 1, 2, ...:
 *     sm = sum of |a(p,q)| over p < q, row by row;  done when sm is exactly 0;  tresh = 0.2 sm / n^2 for i < 4, else 0
 *     for p < q, row by row:  g = 100 |a(p,q)|
 *         i > 4, |d(p)| tol >= g and |d(q)| tol >= g:  a(p,q) = 0;  else for |a(p,q)| > tresh:
 *         h = d(q) - d(p);  t = a(p,q) / h if |h| tol >= g,  else theta = 0.5 h / a(p,q),
 *         t = 1 / (|theta| + sqrt(1 + theta^2)), with the sign of theta (+ for 0);
 *         c = 1 / sqrt(1 + t^2), s = t c, tau = s / (1 + c), h = t a(p,q);
 *         z(p) -= h, z(q) += h, d(p) -= h, d(q) += h, a(p,q) = 0;  each pair x of column p and y of column q, in the
 *         upper triangle of a and in V, becomes x - s (y + x tau), y + s (x - y tau)
 *     b = b + z, d = b, z = 0
 * and in the end the eigenvalues are sorted by selection, largest first, columns of V along.
 * Errors, in order, all wrapped with "JTSM error": A or record null: SarvoNullEC; A not of id 20: SarvoDtypeEC "Invalid
 * data type %d"; order beyond the matrix: SarvoNrSizeEC "Requested number of columns and rows (%zu) starting from indces
 * (%zu,%zu) is not available in input matrix (%zu,%zu)." (order, first row, first column, rows, columns); order 0 and a
 * rest that is not square: SarvoNrSizeEC "Input matrix (%zu,%zu) starting from indeces (%zu,%zu) is not square." (rows,
 * columns, first row, first column); the allocator's; SarvoNrIterEC "No convergence after %d rotations" (max_sweeps, a
 * number of sweeps in spite of the text), also for NaN entries. n is unchanged after any of them; the
 * contents of V and d are not, once the sizes have been found right.
 * Cost: about 6 n^3 operations a sweep, six to ten sweeps; scratch 2 n^2 doubles. */
SARVO_API sarko_error_t sarvo_nr_jtsm_compute(const sarvo_matrix *A, uint64_t first_row, uint64_t first_col,
                                              uint64_t order, sarvo_nr_jtsm *record);

/* Releases V, d and the record; null is allowed. */
SARVO_API void sarvo_nr_jtsm_free(sarvo_nr_jtsm *record);

#ifdef __cplusplus
}
#endif

#endif
