/* A program of somebody else: solves 2 x 2 equations in the least-squares sense and checks the answer. */
#include <math.h>
#include <stdio.h>

#include <sarvo/lsq.h>

int main(void) {
    sarvo_matrix *a = NULL;
    sarvo_vector *b = NULL, *x = NULL;
    sarvo_nr_svd *svd = NULL;
    if (sarvo_initialize() != 0) return 2;
    sarko_error_t e = sarvo_matrix_alloc(&a, SARVO_DOUBLE, 0, 2, 2);
    if (!e) e = sarvo_vector_alloc(&b, SARVO_DOUBLE, 0, 2);
    if (!e) e = sarvo_nr_svd_init(&svd);
    if (!e) {
        double *m = a->data, *v = b->data;
        m[0] = 2.0, m[1] = 1.0, m[2] = 1.0, m[3] = 3.0;
        v[0] = 5.0, v[1] = 10.0; /* x = (1, 3) */
        e = sarvo_nr_svd_decompose(a, 0, 0, 0, 0, svd);
    }
    if (!e) e = sarvo_nr_svd_vsolve(svd, b, &x);
    const int right = !e && fabs(((double *)x->data)[0] - 1.0) < 1e-14 && fabs(((double *)x->data)[1] - 3.0) < 1e-14;
    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    sarvo_matrix_free(a);
    sarvo_vector_free(b);
    sarvo_vector_free(x);
    sarvo_nr_svd_free(svd);
    sarvo_terminate();
    puts(right ? "right" : "wrong");
    return right ? 0 : 1;
}
