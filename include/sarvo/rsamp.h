/* rsamp: summary statistics of a sample of doubles, over an array in one call or one observation at a time.
 *
 * Nothing here allocates, keeps state of its own or reports an error; degenerate samples have the results stated. Sums
 * run in index order in one running sum from +0.0, every operation is rounded by itself, formulas are evaluated from
 * left to right with powers first (x^4 is (x x)(x x)): the bits are the same on every processor. An accumulator is for
 * one thread at a time.
 *
 *     #include <sarvo/rsamp.h>
 *     int main(void) {
 *         static const double x[] = {1, 2, 3, 4};
 *         sarvo_rsamp_incr_t acc;
 *         sarvo_initialize();
 *         sarvo_rsamp_incr_init(&acc);
 *         for (int i = 0; i < 4; i++) sarvo_rsamp_incr_add(&acc, x[i]);
 *         sarvo_rsamp_incr_calc(&acc);
 *         printf("%g %g, kurtosis %g\n", sarvo_rsamp_mean(x, 4), acc.variance, acc.kurtosis); // 2.5 1.66667 -1.36
 *         sarvo_terminate();
 *     }
 */
#ifndef SARVO_RSAMP_H
#define SARVO_RSAMP_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Over an array: x has n elements and is only read; it is not looked at for n < 1 ---- */

/* Returns (x(0) + x(1) + ...) / n; 0.0 for n < 1. Plain summation, no compensation. */
SARVO_API double sarvo_rsamp_mean(const double *x, int32_t n);

/* Returns the sample variance in two passes: mean as above, s1 = sum (x(i) - mean), s2 = sum (x(i) - mean)^2,
 * (s2 - s1 s1 / n) / (n - 1). The s1 term corrects the rounding of the mean. 0.0 for n < 2.
 *   mean_out  receives the mean; may be null; 0.0 for n < 1 */
SARVO_API double sarvo_rsamp_mean_variance(const double *x, int32_t n, double *mean_out);

/* Mean, variance, skewness and excess kurtosis in one pass of moment updates (T. B. Terriberry 2007; P. Pebay 2008),
 * all from 0.0:
 *     k' = k, k = k + 1, d = x - mean, dn = d / k, t = d dn k', mean = mean + dn
 *     M4 = M4 + t dn^2 (k^2 - 3k + 3) + 6 dn^2 M2 - 4 dn M3
 *     M3 = M3 + t dn (k - 2) - 3 dn M2
 *     M2 = M2 + t
 * Each output may be null. Those that have no value are left untouched, so that callers can set a default before:
 *   mean      always stored
 *   variance  M2 / (k - 1), for k > 1
 *   skewness  sqrt(k / M2^3) M3, for M2 not 0
 *   kurtosis  k M4 / M2^2 - 3, for M2 not 0 */
SARVO_API void sarvo_rsamp_statistics4(const double *x, int32_t n, double *mean, double *variance, double *skewness,
                                       double *kurtosis);

/* ---- One observation at a time ---- */

/* The fields may be read at any time; the last three are results of sarvo_rsamp_incr_calc. */
typedef struct sarvo_rsamp_incr_t {
    uint64_t n;      /* observations added, those of weight zero included */
    double sum_w;    /* sum of weights; 0 while only sarvo_rsamp_incr_add is used, which selects the plain formulas */
    double mean;     /* running mean, weighted if there are weights */
    double m2;       /* sum of squared deviations from the mean */
    double m3;       /* sum of their cubes */
    double m4;       /* sum of their fourth powers */
    double min;      /* smallest observation; SarvoDblXmax at first */
    double max;      /* largest observation; -SarvoDblXmax at first */
    double variance; /* result */
    double skewness; /* result */
    double kurtosis; /* result: excess kurtosis */
} sarvo_rsamp_incr_t;

/* All zero, min = SarvoDblXmax, max = -SarvoDblXmax (the finite extremes: call sarvo_initialize before). */
SARVO_API void sarvo_rsamp_incr_init(sarvo_rsamp_incr_t *acc);

/* Adds an observation: n' = n, n = n + 1, d = x - mean, dn = d / n, t = n' d dn,
 *     m3 = m3 + (n' - 1) t dn - 3 dn m2 and m4 = m4 + t dn^2 (n^2 - 3n + 3) + 6 dn^2 m2 - 4 dn m3, of the old m2, m3;
 *     mean = mean + dn, m2 = m2 + t.
 * Then x > max becomes the maximum and x < min the minimum; a NaN changes neither (but spoils the moments). Do not mix
 * with weighted observations: nothing guards against it. */
SARVO_API void sarvo_rsamp_incr_add(sarvo_rsamp_incr_t *acc, double x);

/* Adds an observation of weight w: n grows by one; unless w is exactly zero W' = sum_w, W = W' + w, sum_w = W,
 * d = x - mean, r = w / W, dn = r d, e = (W' / W) d and, of the old m2 and m3,
 *     m4 = m4 + W' dn^4 + w e^4 - 4 d m3 r + 6 d^2 m2 r^2,  m3 = m3 - W' dn^3 + w e^3 - 3 d m2 r,
 *     mean = mean + dn,  m2 = m2 + W' dn^2 + w e^2.
 * Extremes as above, also for weight zero. */
SARVO_API void sarvo_rsamp_incr_add_w(sarvo_rsamp_incr_t *acc, double x, double w);

/* Computes the results from the moments, which stay as they are; writes nothing when n < 2 or m2 is exactly zero.
 *   sum_w zero: variance = m2 / (n - 1), skewness = sqrt(n / m2^3) m3, kurtosis = n m4 / m2^2 - 3
 *   else:       variance = m2 / sum_w (no correction of bias), the others with sum_w in place of n */
SARVO_API void sarvo_rsamp_incr_calc(sarvo_rsamp_incr_t *acc);

#ifdef __cplusplus
}
#endif

#endif
