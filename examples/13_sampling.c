/* Lesson 13: a function sampled where it bends, and a spline through the samples. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include <sarvo/nr.h>
#include <sarvo/sampler.h>

static double bump(double x) { return 1.0 / (1.0 + 400.0 * (x - 0.3) * (x - 0.3)); }

int main(void) {
    double next[16];
    if (sarvo_initialize() != 0) return 1;
    sarvo_fsampler_1d_t *s = sarvo_fsampler_1d_new(NULL);
    if (!s) return 1;
    for (int i = 0; i <= 8; i++) sarvo_fsampler_1d_add(s, i / 8.0, bump(i / 8.0), 0);
    for (int round = 1, n; round < 40 && (n = sarvo_fsampler_1d_get_refine(s, 16, next)) > 0; round++)
        for (int i = 0; i < n; i++) sarvo_fsampler_1d_add(s, next[i], bump(next[i]), (uint32_t)round);

    /* The samples lie close where the curve bends. */
    const int n = sarvo_fsampler_1d_num_samples(s);
    double *x = malloc(sizeof *x * (size_t)n), *y = malloc(sizeof *y * (size_t)n), widest = 0.0, narrowest = 1.0;
    uint32_t tag;
    if (!x || !y) return 1;
    for (int i = 0; i < n; i++) {
        sarvo_fsampler_1d_get(s, i, &x[i], &y[i], &tag);
        if (i > 0 && x[i] - x[i - 1] > widest) widest = x[i] - x[i - 1];
        if (i > 0 && x[i] - x[i - 1] < narrowest) narrowest = x[i] - x[i - 1];
    }
    double top_x, top_y;
    sarvo_fsampler_1d_get_max(s, &top_x, &top_y, &tag);
    printf("done: %d, largest value %.4f at %.4f\n", sarvo_fsampler_1d_is_done(s), top_y, top_x);
    printf("widest interval over narrowest: more than 10 times: %s\n", widest > 10 * narrowest ? "yes" : "no");

    sarvo_nr_itpl spline;
    sarko_error_t e = sarvo_nr_itpl_init_cspline(&spline, x, y, NULL, n, 1e99, 1e99);
    double worst = 0.0;
    for (int i = 0; !e && i <= 1000; i++) {
        double value;
        e = sarvo_nr_itpl_cspline(&spline, &value, i / 1000.0);
        worst = fmax(worst, fabs(value - bump(i / 1000.0)));
    }
    printf("a spline through them is off by less than 0.001: %s\n", worst < 1e-3 ? "yes" : "no");
    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    if (!e) sarvo_nr_itpl_free_cspline(&spline);
    sarvo_fsampler_1d_destroy(s);
    free(x);
    free(y);
    sarvo_terminate();
    return e != 0;
}
