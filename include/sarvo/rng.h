/* rng: the MT19937 generator with uniform, bounded, normal and gamma deviates.
 *
 * A record made by sarvo_rng_init owns its state; sarvo_rng_free releases both. The same seed always gives the same
 * stream, and every deviate is a fixed sequence of draws and operations, each rounded by itself. One record is for one
 * thread at a time; separate records are independent.
 *
 *     #include <sarvo/rng.h>
 *     int main(void) {
 *         sarvo_initialize();
 *         sarvo_rng_t *rng = NULL;
 *         sarko_error_t e = sarvo_rng_init(&rng, 0, 5489);
 *         if (!e) e = sarvo_rng_gauss_init(rng, 2);                      // ziggurat
 *         if (!e) e = sarvo_rng_gamma_init(rng, 0);
 *         if (!e) {
 *             printf("%u ", sarvo_rng_uint32(rng));                      // 3499211612
 *             printf("%.6f ", sarvo_rng_uniform(rng));
 *             printf("%.6f ", sarvo_rng_gauss(rng, 2.0));                // standard deviation 2
 *             printf("%.6f\n", sarvo_rng_gamma(rng, 2.5, 1.0));
 *         }
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         if (!e) sarvo_rng_free(rng);
 *         sarvo_terminate();
 *     }
 *
 * Calling order: sarvo_rng_init; sarvo_rng_gauss_init before any normal or gamma deviate; sarvo_rng_gamma_init before
 * any gamma deviate. The drawing functions take a valid record, so prepared, and do not check it: a null record, or a
 * method that was not chosen, is a null pointer that is followed.
 *
 * Bits: integers and uniform doubles are the same everywhere. Normal and gamma deviates take exp, log and pow from the
 * platform: the polar method and the gamma method for shapes below 1 in nearly every deviate, the ziggurat in one of
 * 80, where they only decide between deviates (the tail, one of 5000, also takes its value from a logarithm).
 */
#ifndef SARVO_RNG_H
#define SARVO_RNG_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The fields belong to the library and are read and written through the operations alone. */
typedef struct sarvo_rng_t {
    uint32_t method;                                        /* 1: MT19937 */
    const char *name;                                       /* "MT19937" */
    uint64_t max;                                           /* largest integer drawn: 4294967295 */
    uint64_t min;                                           /* smallest integer drawn: 0 */
    void (*set)(void *state, uint64_t seed);                /* seeds the state */
    uint64_t (*get)(void *state);                           /* next integer in [min, max] */
    double (*get_double)(void *state);                      /* next double in [0, 1) */
    uint64_t state_size;                                    /* bytes of the state: 5000 */
    void *state;                                            /* owned: 624 words of 64 bits, each a 32-bit value, and
                                                                  * the 64-bit signed index of the next to hand out */
    uint32_t gauss_method;                                  /* 0 none yet, 1 polar, 2 ziggurat */
    double (*gauss)(struct sarvo_rng_t *rng, double sigma); /* null until sarvo_rng_gauss_init */
    uint32_t gamma_method;                                  /* 0 none yet, 1 Marsaglia and Tsang */
    double (*gamma)(struct sarvo_rng_t *rng, double a, double b); /* null until sarvo_rng_gamma_init */
} sarvo_rng_t;

/* ---- Creation ---- */

/* Makes a seeded generator and stores it in *rng, whose old value is not looked at. No normal or gamma method is
 * chosen.
 *   method  0 or 1: MT19937, the 32-bit Mersenne Twister (Matsumoto and Nishimura 1998), period 2^19937 - 1
 *   seed    0 stands for 4357; of any other seed the low 32 bits count. The state's words are w_0 = seed,
 *           w_i = 1812433253 (w_{i-1} xor (w_{i-1} >> 30)) + i mod 2^32 (the authors' seeding of 2002).
 * Errors, in order: the allocator's (*rng null when the record, *and the released address of the record* when the state
 * could not be had: after any error there is no generator, whatever *rng holds); method above 1:
 * SarvoRngInvalidMethodEC (*rng null; noticed after the record was allocated, before its state). */
SARVO_API sarko_error_t sarvo_rng_init(sarvo_rng_t **rng, uint32_t method, uint64_t seed);

/* Releases the state and the record; null is allowed. */
SARVO_API void sarvo_rng_free(sarvo_rng_t *rng);

/* ---- Integers ---- */

/* The next integer of the stream, 0 .. 4294967295. Both are the same draw of the same stream. */
SARVO_API uint64_t sarvo_rng_uint64(sarvo_rng_t *rng);
SARVO_API uint32_t sarvo_rng_uint32(sarvo_rng_t *rng);

/* k in 0 .. s - 1, all equally likely: k = floor(draw / scale), scale = floor(4294967295 / s), drawn again while k >= s
 * (so also for s = 1 when the draw is 4294967295).
 *   s  1 .. 4294967295. Any other is a malfunction: an error of kind SARKO_KIND_MALFUNCTION, code 0, "Invalid s in
 *      sarvo_rng_uint64_scale." goes to sarko_error_malfunction, whose default handler ends the program; if a handler
 *      returns, the result is 0 and nothing was drawn. */
SARVO_API uint64_t sarvo_rng_uint64_scale(sarvo_rng_t *rng, uint64_t s);

/* ---- Uniform doubles ---- */

/* The next integer times 2^-32, exact: [0, 1), 32 bits of resolution, 0.0 possible. */
SARVO_API double sarvo_rng_uniform(sarvo_rng_t *rng);

/* a + (b - a) u, u = sarvo_rng_uniform. */
SARVO_API double sarvo_rng_uniform_scale(sarvo_rng_t *rng, double a, double b);

/* sarvo_rng_uniform, drawn again while it is 0.0: (0, 1). */
SARVO_API double sarvo_rng_uniformp(sarvo_rng_t *rng);

/* ---- Normal deviates: mean 0, standard deviation sigma ---- */

/* Chooses the method; may be called again.
 *   method  0 or 1: polar (Marsaglia and Bray 1964). x = 2 u1 - 1, y = 2 u2 - 1 with u1, u2 from sarvo_rng_uniformp,
 *           until r2 = x^2 + y^2 is at most 1 and not 0; then (sigma y) sqrt((-2 ln r2) / r2). The second deviate
 *           of the pair is not kept. 2.55 draws a deviate.
 *           2: ziggurat of 128 layers (Marsaglia and Tsang 2000, the layer and the abscissa from separate bits). From
 *           one draw k: layer i = k & 127, sign from bit 7, x = (k >> 8) width_i. Most x lie inside the layer above and
 *           are taken at once; else, beside it, x is taken if h_{i+1} + (h_i - h_{i+1}) u < exp(-x^2 / 2), h the
 *           layers' heights; in the base layer x = R - ln(1 - u1) / R, R = 3.44428647676, is taken if
 *           exp(-R (x - R/2)) u2 < exp(-x^2 / 2); else all is drawn anew. The result is (+-sigma) x. 1.02 draws a
 *           deviate. The abscissas have 24 bits.
 * Errors: method above 2: SarvoRngInvalidMethodEC, the record as before. */
SARVO_API sarko_error_t sarvo_rng_gauss_init(sarvo_rng_t *rng, uint32_t method);

/* The next normal deviate. */
SARVO_API double sarvo_rng_gauss(sarvo_rng_t *rng, double sigma);

/* ---- Gamma deviates: density x^(a-1) exp(-x/b) / (Gamma(a) b^a) ---- */

/* Chooses the method; may be called again.
 *   method  0 or 1: Marsaglia and Tsang (2000). With d = a - 1/3, c = (1/3) / sqrt(d): x a normal deviate of the
 *           record's method, v = 1 + c x, x drawn again while v <= 0; V = v^3; u from sarvo_rng_uniformp; V is taken if
 *           u < 1 - 0.0331 ((x^2)(x^2)), else if ln u < 0.5 x^2 + d ((1 - V) + ln V), else x and u are drawn anew. The
 *           result is (b d) V. For a < 1, u first, from sarvo_rng_uniformp, then a deviate of shape a + 1, times
 *           u^(1/a).
 * Errors: method above 1: SarvoRngInvalidMethodEC, the record as before. */
SARVO_API sarko_error_t sarvo_rng_gamma_init(sarvo_rng_t *rng, uint32_t method);

/* The next gamma deviate.
 *   a  shape, above 0. A NaN, or a shape below -1000, gives a NaN and draws nothing; a negative one above that recurses
 *      as deep as its size, with values that mean nothing.
 *   b  scale */
SARVO_API double sarvo_rng_gamma(sarvo_rng_t *rng, double a, double b);

#ifdef __cplusplus
}
#endif

#endif
