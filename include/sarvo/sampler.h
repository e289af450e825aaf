/* sampler: where to evaluate a function of one variable so that a plot or table of it shows its bends.
 *
 * The caller adds samples in any order; the sampler keeps them sorted by x, scores the intervals beside each bend that
 * is sharp enough, and proposes the midpoints of those with the best scores:
 *
 *     #include <math.h>
 *     #include <sarvo/sampler.h>
 *     int main(void) {
 *         sarvo_initialize();
 *         sarvo_fsampler_1d_t *s = sarvo_fsampler_1d_new(NULL);
 *         for (int i = 0; i <= 10; i++) sarvo_fsampler_1d_add(s, 0.1 * i, sin(30.0 * i * 0.1), 0);
 *         double x[8];
 *         for (int n; (n = sarvo_fsampler_1d_get_refine(s, 8, x)) > 0;)
 *             for (int i = 0; i < n; i++) sarvo_fsampler_1d_add(s, x[i], sin(30.0 * x[i]), 1);
 *         printf("%d samples\n", sarvo_fsampler_1d_num_samples(s));
 *         sarvo_fsampler_1d_destroy(s);
 *         sarvo_terminate();
 *     }
 *
 * Failures are small negative integers. Memory comes from malloc and realloc of the system. One sampler is for one
 * thread at a time. Call sarvo_initialize before (limits come from the machine constants).
 */
#ifndef SARVO_SAMPLER_H
#define SARVO_SAMPLER_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct sarvo_fsampler_1d_options_t {
    double abs_tol;       /* a bend is ignored when both of its y steps are smaller than this (0.0) */
    double rel_tol;       /* ... than this times the range of all y so far (0.001) */
    double min_sin_angle; /* the sine of its angle must exceed this (0.17364817766693033, of 10 degrees) */
    double min_dx;        /* intervals not wider than this are never flagged (1e-6) */
    uint32_t
        refine_side; /* 0: bends of either sign; 1: counter-clockwise only, as at a minimum; 2: clockwise only (0) */
} sarvo_fsampler_1d_options_t;

typedef struct sarvo_fsampler_1d_sample_t {
    double x, y;
    double refine_score; /* of the interval from here to the next sample; above 0 when flagged, else 0 */
    uint32_t tag;        /* the caller's */
} sarvo_fsampler_1d_sample_t;

/* Made by sarvo_fsampler_1d_new only; the fields are for reading. A pointer to it is a pointer to its options. */
typedef struct sarvo_fsampler_1d_t {
    sarvo_fsampler_1d_options_t options;
    int32_t count;                       /* samples held */
    int32_t capacity;                    /* room for samples */
    sarvo_fsampler_1d_sample_t *samples; /* by ascending x, equal ones in the order of their coming */
    int32_t num_refine;                  /* flagged intervals */
    double *refine_buf;                  /* work space of sarvo_fsampler_1d_get_refine */
    double x_min, x_max, y_min, y_max;   /* ranges since creation or clearing; +-SarvoDblXmax at first */
} sarvo_fsampler_1d_t;

/* Fills in the defaults, given in parentheses above. Null is ignored. */
SARVO_API void sarvo_fsampler_1d_options_defaults(sarvo_fsampler_1d_options_t *options);

/* A new sampler, null when memory is short.
 *   options  null: the defaults; else copied, with negative rel_tol, then abs_tol taken as 0, min_sin_angle < 0 as
 *            SarvoDblEps and > 1 as 1.0, min_dx < SarvoDblEps as SarvoDblEps, refine_side > 2 as 0 */
SARVO_API sarvo_fsampler_1d_t *sarvo_fsampler_1d_new(const sarvo_fsampler_1d_options_t *options);

/* The sampler's own options, null for null. What is written there counts from the next evaluation on, unchecked. */
SARVO_API sarvo_fsampler_1d_options_t *sarvo_fsampler_1d_get_options(sarvo_fsampler_1d_t *sampler);

SARVO_API void sarvo_fsampler_1d_destroy(sarvo_fsampler_1d_t *sampler); /* null is ignored */

/* Forgets samples, flags and ranges; keeps options and memory. Null is ignored. */
SARVO_API void sarvo_fsampler_1d_clear(sarvo_fsampler_1d_t *sampler);

SARVO_API int32_t sarvo_fsampler_1d_is_done(const sarvo_fsampler_1d_t *sampler);     /* 1 for null or nothing flagged */
SARVO_API int32_t sarvo_fsampler_1d_num_samples(const sarvo_fsampler_1d_t *sampler); /* 0 for null */
SARVO_API int32_t sarvo_fsampler_1d_num_refine(const sarvo_fsampler_1d_t *sampler);  /* 0 for null */

/* Adds the sample (x, y) behind all with an x not greater; a NaN x goes to the end. It widens the ranges first (NaNs
 * change nothing; the first y since creation or clearing sets its range whatever it is), takes the flag from the
 * interval that it splits, or that ends at it when it comes last, and evaluates the bends at the sample before it, at
 * itself and at the one behind it, as far as these have two neighbours.
 * The bend at M between L and R, with dxl = M.x - L.x, dxr = R.x - M.x, dyl, dyr alike, counts unless
 *     both dx are below min_dx, or both |dy| below abs_tol, or both below (y_max - y_min) rel_tol,
 *     or |s| is not above min_sin_angle, or s has the wrong sign for refine_side,
 * where s = l.x r.y - r.x l.y of the unit vectors along (dxl / X, dyl / Y) and (dxr / X, dyr / Y), X = R.x - L.x, Y the
 * range of the three y. Its score |dyr dxl - dyl dxr|, if above 0, is that of each of both intervals that is wider than
 * min_dx and had no higher one.
 * Returns 0; -1 for a null sampler; -2 when the samples could not get more room (64, then twice as much each time):
 * they are lost then, and the sampler is only good to be cleared or destroyed. */
SARVO_API int32_t sarvo_fsampler_1d_add(sarvo_fsampler_1d_t *sampler, double x, double y, uint32_t tag);

/* Sample i, by ascending x; none of the pointers may be null.
 * Returns 0; -1 for a null sampler; -2 for i >= count (a negative index is not checked). */
SARVO_API int32_t sarvo_fsampler_1d_get(const sarvo_fsampler_1d_t *sampler, int32_t i, double *x, double *y,
                                        uint32_t *tag);

/* The sample of the smallest (largest) y; of equal ones the leftmost.
 * Returns 0; -1 for a null sampler; -2 without samples. */
SARVO_API int32_t sarvo_fsampler_1d_get_min(const sarvo_fsampler_1d_t *sampler, double *x, double *y, uint32_t *tag);
SARVO_API int32_t sarvo_fsampler_1d_get_max(const sarvo_fsampler_1d_t *sampler, double *x, double *y, uint32_t *tag);

/* The midpoints x(i+1) 0.5 + x(i) 0.5 of the at most nmax flagged intervals with the highest scores, the highest first,
 * of equal ones the left one. Flags stay.
 *   xs   room for nmax values
 * Returns their number; -1 for a null sampler; -2 for nmax < 1; -3 for null xs; -4 when there is no memory for nmax
 * scores (nmax = 1 needs none). */
SARVO_API int32_t sarvo_fsampler_1d_get_refine(sarvo_fsampler_1d_t *sampler, int32_t nmax, double *xs);

#ifdef __cplusplus
}
#endif

#endif
