/* nr, random numbers: a light generator with its deviates. See nr.h. */
#ifndef SARVO_NR_RNG_H
#define SARVO_NR_RNG_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Random numbers: a generator of three 64-bit words ----
 *
 * Lighter than MT19937 (rng.h), with 64-bit draws. The same method and seed always give the same stream; each deviate
 * is a fixed sequence of draws and operations, each rounded by itself. Integers and uniform doubles have the same bits
 * everywhere; the other deviates take log and pow from the platform (the normal one only to decide in one of 90
 * trials). No operation but the two that return an error fails or checks its arguments. One record is for one thread
 * at a time. */
typedef struct sarvo_nr_rng_t {
    int32_t method; /* 0, 1, 2 as below; any other: every draw is 0, every deviate NaN */
    uint64_t u;     /* congruential state (method 0) */
    uint64_t v;     /* xorshift state */
    uint64_t w;     /* multiply-with-carry state (methods 0 and 2) */
} sarvo_nr_rng_t;

/* Makes a generator and stores it in *rng, whose old value is not looked at. All modulo 2^64:
 *   method  0: three generators combined (the pattern of Marsaglia's KISS, 1993). A draw makes the steps
 *              u = u 2862933555777941757 + 7046029254386353087;  v ^= v >> 17, v ^= v << 31, v ^= v >> 8;
 *              w = 4294957665 (w & 0xFFFFFFFF) + (w >> 32)
 *              and with x = u ^ (u << 21), x ^= x >> 35, x ^= x << 4 gives (x + v) ^ w.
 *           1: v ^= v >> 21, v ^= v << 35, v ^= v >> 4 gives v 2685821657736338717 (xorshift, Marsaglia 2003,
 *              multiplied).
 *           2: the steps of v and w of method 0 give w ^ v.
 *           any other: success; every draw is 0, and deviates that wait for another value never end.
 *   seed    any, 0 included; s = seed ^ 4101842887655102017.
 *           0: v = 4101842887655102017, w = 1, u = s, a draw, v = u, a draw, w = v, a draw.
 *           1: v = s, v = a draw.   2: v = s, w = 1, w = a draw, v = a draw.
 * Errors: the allocator's (*rng null). */
SARVO_API sarko_error_t sarvo_nr_rng_init(sarvo_nr_rng_t **rng, int32_t method, uint64_t seed);

/* Releases the record; null is allowed. */
SARVO_API void sarvo_nr_rng_free(sarvo_nr_rng_t *rng);

/* The next 64-bit draw; its low 32 bits; the draw as a double times 2^-64, in [0, 1] (the largest 2^10 draws round to
 * 1.0). One draw each. */
SARVO_API uint64_t sarvo_nr_rng_uint64(sarvo_nr_rng_t *rng);
SARVO_API uint32_t sarvo_nr_rng_uint32(sarvo_nr_rng_t *rng);
SARVO_API double sarvo_nr_rng_double(sarvo_nr_rng_t *rng);

/* Below, u is a draw of sarvo_nr_rng_double. */

/* Exponential deviate of rate beta: (-ln u) / beta, u drawn again while 0. */
SARVO_API double sarvo_nr_rng_expdev(sarvo_nr_rng_t *rng, double beta);

/* Logistic deviate of mean mu and standard deviation sigma: mu + (0.5513288954217921 sigma) ln(u / (1 - u)), u drawn
 * again while u (1 - u) is 0. The constant is sqrt(3) / pi. */
SARVO_API double sarvo_nr_rng_logdev(sarvo_nr_rng_t *rng, double mu, double sigma);

/* Cauchy deviate of centre mu and half width sigma: ((x sigma) / u2) + mu, x = 2 u1 - 1, the pair drawn again while
 * u2 is 0 or u2^2 + x^2 is not below 1 (the ratio of the coordinates of a point in the half disc). */
SARVO_API double sarvo_nr_rng_cauchydev(sarvo_nr_rng_t *rng, double mu, double sigma);

/* Normal deviate of mean mu and standard deviation sigma: mu + (sigma v) / u by the ratio of uniforms (Kinderman and
 * Monahan 1977) with quadratic bounds (Leva 1992). u, then v = 1.7156 (u2 - 0.5); x = u - 0.449871, y = |v| + 0.386595,
 * q = x^2 + y (0.196 y - 0.25472 x); taken if q <= 0.27597, drawn again if q > 0.27846, else taken if
 * v^2 <= (-4 ln u) u^2. */
SARVO_API double sarvo_nr_rng_normdev(sarvo_nr_rng_t *rng, double mu, double sigma);

/* What the parameters of a gamma deviate fix; for any number of deviates and generators. */
typedef struct sarvo_nr_rng_gamma_t {
    double alph;  /* the working shape: alpha, or alpha + 1 when alpha < 1 */
    double bet;   /* beta, the rate */
    double oalph; /* alpha as given */
    double a1;    /* alph - 1/3 */
    double a2;    /* 1 / sqrt(9 a1) */
} sarvo_nr_rng_gamma_t;

/* Fills *g for shape alpha and rate beta.
 * Errors: alpha <= 0: SarvoDomainEC "%f as alpha is not allowed" (alpha), *g as before. (A NaN is not refused: no
 * deviate ever ends with it.) */
SARVO_API sarko_error_t sarvo_nr_rng_gammadev_init(sarvo_nr_rng_gamma_t *g, double alpha, double beta);

/* Gamma deviate, density x^(alpha-1) exp(-beta x) beta^alpha / Gamma(alpha) (Marsaglia and Tsang 2000). x the v / u of
 * sarvo_nr_rng_normdev, v = 1 + a2 x, x drawn again while v <= 0; V = v^3; V is taken if u <= 1 - 0.331 ((x^2)(x^2)),
 * else if ln u <= 0.5 x^2 + a1 ((1 - V) + ln V), else all is drawn anew. The result is (a1 V) / bet; for alpha < 1
 * ((a1 V) u2^(1/oalph)) / bet, u2 drawn again while 0. */
SARVO_API double sarvo_nr_rng_gammadev(sarvo_nr_rng_t *rng, const sarvo_nr_rng_gamma_t *g);

#ifdef __cplusplus
}
#endif

#endif
