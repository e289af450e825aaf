/* Lesson 3: a decomposition used three ways: rank, least squares, null space. */
#include <math.h>
#include <stdio.h>

#include <sarvo/nr.h>

int main(void) {
    /* The third column is the sum of the first two: rank 2. */
    static const double rows[4][3] = {{1, 0, 1}, {0, 1, 1}, {1, 1, 2}, {2, 1, 3}};
    if (sarvo_initialize() != 0) return 1;
    sarvo_nr_svd *svd = NULL;
    sarvo_matrix *a = NULL, *null_space = NULL;
    sarvo_vector *b = NULL, *x = NULL;

    sarko_error_t e = sarvo_matrix_alloc(&a, SARVO_DOUBLE, 0, 4, 3);
    if (!e) e = sarvo_vector_alloc(&b, SARVO_DOUBLE, 0, 4);
    if (!e) e = sarvo_nr_svd_init(&svd);
    for (int i = 0; !e && i < 4; i++) {
        for (int j = 0; j < 3; j++) ((double **)a->row_ptrs)[i][j] = rows[i][j];
        ((double *)b->data)[i] = 3 * rows[i][0] + rows[i][1]; /* solved by (3, 1, 0) and by others */
    }
    if (!e) e = sarvo_nr_svd_decompose(a, 0, 0, 0, 0, svd);
    if (!e) e = sarvo_nr_svd_reorder(svd);
    if (!e) e = sarvo_nr_svd_vsolve(svd, b, &x);
    if (!e) e = sarvo_nr_svd_nullspace(svd, &null_space);
    if (!e) {
        const double *s = x->data, *n = null_space->data;
        printf("rank %u, nullity %u\n", svd->rank, svd->nullity);
        printf("solution of least norm:");
        sarvo_vector_fprintf(x, stdout, " %.4f", 3);
        printf("null space: (1, 1, -1) times %.4f\n", fabs(n[0]));
        printf("x is orthogonal to it: %s\n", fabs(s[0] * n[0] + s[1] * n[1] + s[2] * n[2]) < 1e-14 ? "yes" : "no");
    }
    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    sarvo_nr_svd_free(svd);
    sarvo_matrix_free(a);
    sarvo_matrix_free(null_space);
    sarvo_vector_free(b);
    sarvo_vector_free(x);
    sarvo_terminate();
    return e != 0;
}
