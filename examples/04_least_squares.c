/* Lesson 4: a weighted fit with a progress report and standard errors. y = x0 exp(-x1 t) + x2, counts with known
 * variances. */
#include <math.h>
#include <stdio.h>

#include <sarvo/lsq.h>

enum { points = 12 };

static sarko_error_t model(const sarvo_vector *x, sarvo_vector *r, sarvo_matrix *J, void *user) {
    const double *p = x->data, *y = user;
    for (int i = 0; i < points; i++) {
        const double decay = exp(-p[1] * i);
        ((double *)r->data)[i] = y[i] - (p[0] * decay + p[2]); /* data minus model */
        if (J) {
            double *row = ((double **)J->row_ptrs)[i];
            row[0] = decay; /* derivatives of the model */
            row[1] = -p[0] * i * decay;
            row[2] = 1.0;
        }
    }
    return 0;
}

static sarko_error_t report(int32_t stage, int32_t number, void *user, sarvo_lsq *fit) {
    (void)user;
    if (stage == 1) printf("iteration %d: chi square %.6f\n", number, fit->chisq);
    return 0;
}

int main(void) {
    double y[points] = {1012, 750, 541, 422, 302, 248, 173, 156, 118, 105, 84, 83};
    sarvo_lsq fit;
    sarvo_vector *start = NULL, *weights = NULL;
    sarvo_matrix *covariance = NULL;
    sarvo_lsq_init_default(&fit); /* starts the library too */
    fit.model = model;

    sarko_error_t e = sarvo_vector_alloc(&start, SARVO_DOUBLE, 0, 3);
    if (!e) e = sarvo_vector_alloc(&weights, SARVO_DOUBLE, 0, points);
    if (!e) e = sarvo_lsq_alloc(3, points, &fit);
    for (int i = 0; !e && i < points; i++) ((double *)weights->data)[i] = 1.0 / y[i]; /* variance of a count */
    if (!e) e = sarvo_lsq_weight_vinit(weights, &fit);
    if (!e) {
        double *x = start->data;
        x[0] = 900.0, x[1] = 0.2, x[2] = 10.0;
        fit.user_data = y;
        e = sarvo_lsq_iterate_init(start, &fit);
    }
    if (!e) e = sarvo_lsq_minimize(50, report, NULL, &fit);
    if (!e) e = sarvo_lsq_covar(&covariance, &fit);
    for (int i = 0; !e && i < 3; i++)
        printf("x%d = %8.4f +- %.4f\n", i, ((double *)fit.x->data)[i], sqrt(((double **)covariance->row_ptrs)[i][i]));

    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    sarvo_lsq_free(&fit);
    sarvo_vector_free(start);
    sarvo_vector_free(weights);
    sarvo_matrix_free(covariance);
    sarvo_terminate();
    return e != 0;
}
