/* Lesson 14: statistics of an array, of a stream, with weights; which points lie in a polygon. */
#include <stdio.h>

#include <sarvo/geom.h>
#include <sarvo/rsamp.h>

int main(void) {
    static const double x[] = {2, 4, 4, 4, 5, 5, 7, 9};
    static const double weights[] = {2, 1, 1, 1, 1, 1, 1, 0};
    if (sarvo_initialize() != 0) return 1;

    double mean, skewness = 0.0, kurtosis = 0.0;
    const double variance = sarvo_rsamp_mean_variance(x, 8, &mean);
    sarvo_rsamp_statistics4(x, 8, NULL, NULL, &skewness, &kurtosis);
    printf("array:    mean %.4f, variance %.4f, skewness %.4f, kurtosis %.4f\n", mean, variance, skewness, kurtosis);

    sarvo_rsamp_incr_t plain, weighted;
    sarvo_rsamp_incr_init(&plain);
    sarvo_rsamp_incr_init(&weighted);
    for (int i = 0; i < 8; i++) {
        sarvo_rsamp_incr_add(&plain, x[i]);
        sarvo_rsamp_incr_add_w(&weighted, x[i], weights[i]);
    }
    sarvo_rsamp_incr_calc(&plain);
    sarvo_rsamp_incr_calc(&weighted);
    printf("stream:   mean %.4f, variance %.4f, from %g to %g\n", plain.mean, plain.variance, plain.min, plain.max);
    /* The weighted variance divides by the sum of weights; the value of weight 0 counts for the extremes alone. */
    printf("weighted: mean %.4f, variance %.4f, from %g to %g\n", weighted.mean, weighted.variance, weighted.min,
           weighted.max);

    static const double px[] = {0, 4, 4, 2, 0}, py[] = {0, 0, 4, 1, 4}; /* a square with a notch from above */
    for (double y = 3.5; y > 0; y -= 1.0) {
        for (double at = 0.25; at < 4; at += 0.5) putchar(sarvo_geom_pnpoly(5, px, py, at, y) ? '#' : '.');
        putchar('\n');
    }
    sarvo_terminate();
    return 0;
}
