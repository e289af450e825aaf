/* nr: numerical routines: singular value decomposition and what follows from it, eigenvalues of symmetric matrices by
 * Jacobi rotations, sorting, interpolation; and a light random generator with its deviates.
 *
 * A = U diag(w) V' for a block of a double matrix (array.h, id 20). The record owns U, V and w; the settings eps,
 * thresh and maxiter are the caller's and may be changed between sarvo_nr_svd_init and sarvo_nr_svd_decompose. Singular
 * values not above thresh count as zero, so every solve is a least-squares, minimum-norm solve. One record is for one
 * thread at a time.
 *
 *     #include <sarvo/nr.h>
 *     int main(void) {
 *         sarvo_initialize();
 *         sarvo_nr_svd *svd = NULL; sarvo_matrix *a = NULL; sarvo_vector *b = NULL, *x = NULL;
 *         sarko_error_t e = sarvo_matrix_alloc(&a, SARVO_DOUBLE, 0, 3, 2);
 *         if (!e) e = sarvo_vector_alloc(&b, SARVO_DOUBLE, 0, 3);
 *         if (!e) e = sarvo_nr_svd_init(&svd);
 *         for (int i = 0; !e && i < 3; i++) {              // fit b = x0 + x1 i through (0,1), (1,3), (2,5)
 *             double *row = ((double **)a->row_ptrs)[i];
 *             row[0] = 1.0; row[1] = i; ((double *)b->data)[i] = 1.0 + 2.0 * i;
 *         }
 *         if (!e) e = sarvo_nr_svd_decompose(a, 0, 0, 0, 0, svd);
 *         if (!e) e = sarvo_nr_svd_vsolve(svd, b, &x);     // x = (1, 2)
 *         if (!e) sarvo_vector_fprintf(x, stdout, " %.3f", 0);
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_nr_svd_free(svd); sarvo_matrix_free(a); sarvo_vector_free(b); sarvo_vector_free(x);
 *         sarvo_terminate();
 *     }
 */
#ifndef SARVO_NR_H
#define SARVO_NR_H

#include <sarvo/nr/interpolation.h>
#include <sarvo/nr/jacobi.h>
#include <sarvo/nr/rng.h>
#include <sarvo/nr/sort.h>
#include <sarvo/nr/svd.h>

#endif
