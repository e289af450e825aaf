/* Lesson 6: which frequencies a signal has, taking one of them out, and smoothing by convolution. */
#include <math.h>
#include <stdio.h>

#include <sarvo/mh.h>

enum { n = 64 };

int main(void) {
    if (sarvo_initialize() != 0) return 1;
    const double turn = 2.0 * acos(-1.0);
    VEC *re = NULL, *im = NULL, *weights = NULL, *smooth = NULL;

    /* Three waves in a period and, weaker, twenty. */
    sarko_error_t e = sarvo_mh_v_get(n, &re);
    if (!e) e = sarvo_mh_v_get(n, &im);
    for (int k = 0; !e && k < n; k++) re->elems[k] = cos(turn * 3 * k / n) + 0.25 * sin(turn * 20 * k / n);

    if (!e) e = sarvo_mh_fft(re, im); /* in place: element j belongs to j waves in a period */
    for (int j = 0; !e && j <= n / 2; j++) {
        const double amplitude = 2.0 / n * hypot(re->elems[j], im->elems[j]);
        if (amplitude > 1e-12) printf("%2d waves, amplitude %.4f\n", j, amplitude);
    }

    /* Without the faster one, which lies at 20 and, mirrored, at n - 20. */
    for (int k = 20; !e && k < n; k += n - 40) re->elems[k] = im->elems[k] = 0.0;
    if (!e) e = sarvo_mh_ifft(re, im);
    double worst = 0.0;
    for (int k = 0; !e && k < n; k++) worst = fmax(worst, fabs(re->elems[k] - cos(turn * 3 * k / n)));
    if (!e) printf("what is left is the slow wave: %s\n", worst < 1e-14 ? "yes" : "no");

    /* A running mean of three, around the period: the weights of the past, the present and the future wrap. */
    if (!e) e = sarvo_mh_v_get(3, &weights);
    for (int i = 0; !e && i < 3; i++) weights->elems[i] = 1.0 / 3;
    if (!e) e = sarvo_mh_v_pconv(weights, re, &smooth);
    if (!e) printf("smoothed, the wave is lower: %.4f\n", smooth->elems[1]);
    if (!e) e = sarvo_mh_v_conv(weights, weights, &smooth);
    if (!e) sarvo_mh_v_foutput(stdout, " %.4f", smooth); /* smoothing twice */

    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    sarvo_mh_v_free(re);
    sarvo_mh_v_free(im);
    sarvo_mh_v_free(weights);
    sarvo_mh_v_free(smooth);
    sarvo_terminate();
    return e != 0;
}
